#include <array>
#include <string>

#include "comm/interpreter.h"
#include "core/shift_jis.h"

/// Forums: posts from the queue, rooms of the patrol.
namespace postkite::comm {

using namespace core::literals;

namespace {

constexpr std::int32_t kSecondsAfterPrompt = 30;
constexpr std::int32_t kSecondsForHost = 60;

constexpr auto kForumPrompts = std::to_array<std::string_view>({"E:終了\r\n＞"_sjis, "FORUM>"});
constexpr auto kRoomPrompts = std::to_array<std::string_view>({"CCS(N)>", "CCS(R)>", "CCS(P)>", "CCS(C)>"});

}  // namespace

int Interpreter::SendGoMail(const ScriptFields&) {
    Send("go " + settings_->forumName + "\r");
    Advance();
    return kSessionGoesOn;
}

int Interpreter::WaitForum(const ScriptFields&) {
    return AdvanceAt(kForumPrompts, kSecondsForHost);
}

int Interpreter::WaitCcs(const ScriptFields&) {
    return AdvanceAt(kRoomPrompts, kSecondsAfterPrompt);
}

/// Both lines of a message in the queue: its forum and room, and its file.
int Interpreter::ReadMessageTarget(const ScriptFields& fields) {
    std::string target;
    if (!queue_.ReadPostLine(target) || !queue_.ReadPostLine(state_.lineBuffer)) {
        JumpToLabel(fields.second);
        return kSessionGoesOn;
    }
    const std::size_t comma = core::FindCharacter(target, ',');
    state_.target = PatrolEntry{};
    state_.target.forum = target.substr(0, comma);
    if (comma != std::string::npos) state_.target.place = target.substr(comma + 1);
    state_.queueTarget = true;
    Advance();
    return kSessionGoesOn;
}

/// Goes on when there is a forum to go to, else to the label in the second argument where it names one.
int Interpreter::CheckForum(const ScriptFields& fields) {
    if (CurrentRoom() == nullptr && !queue_.hasPosts() && fields.second.starts_with('*')) {
        JumpToLabel(fields.second);
    } else {
        Advance();
    }
    SetTimeOut(kSecondsForHost);
    return kSessionGoesOn;
}

const PatrolEntry* Interpreter::CurrentRoom() const {
    if (state_.queueTarget) return &state_.target;
    return state_.roomIndex < lists_.rooms.size() ? &lists_.rooms[state_.roomIndex] : nullptr;
}

int Interpreter::GoToForum(const ScriptFields& fields) {
    return EnterForum(CurrentRoom(), fields);
}

/// In the forum already: its set-up is skipped. The list is exhausted: the patrol is over.
int Interpreter::EnterForum(const PatrolEntry* entry, const ScriptFields& fields) {
    if (entry == nullptr) {
        JumpToLabel(fields.second);
    } else if (entry->forum == state_.currentForum) {
        JumpToLabel(fields.first);
    } else {
        state_.currentForum = entry->forum;
        Send("GO " + entry->forum + "\r");
        Advance();
    }
    return kSessionGoesOn;
}

/// The label in the first argument is left alone: the room's name is sent also to where the session already
/// is.
int Interpreter::GoToMessages(const ScriptFields&) {
    return SendPlace(CurrentRoom());
}

int Interpreter::SendPlace(const PatrolEntry* entry) {
    if (entry != nullptr) Send(entry->place + "\r");
    Advance();
    return kSessionGoesOn;
}

/// The list goes on here, so that each room is read once.
int Interpreter::WriteLastAccess(const ScriptFields&) {
    if (const PatrolEntry* room = CurrentRoom(); room != nullptr) {
        partners_->RecordLastAccess(*room);
        if (!state_.queueTarget) ++state_.roomIndex;
    }
    Advance();
    return kSessionGoesOn;
}

int Interpreter::ForumLogOn(const ScriptFields&) {
    line_->captures().FlushCapture();
    line_->captures().switches.captureForum = true;
    state_.queueTarget = false;
    state_.roomIndex = 0;
    Advance();
    return kSessionGoesOn;
}

int Interpreter::ForumLogOff(const ScriptFields&) {
    return StopCapture(&CaptureSwitches::captureForum);
}

}  // namespace postkite::comm
