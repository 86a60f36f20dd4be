#include "analyse/forum_rooms.h"

#include <algorithm>
#include <utility>

#include "analyse/read_conditions.h"
#include "core/letter_case.h"
#include "core/shift_jis.h"
#include "store/folder_tree.h"

namespace postkite::analyse {

namespace {

constexpr std::size_t kForumColumn = 2;
constexpr std::size_t kLongestForum = 15;
constexpr std::string_view kNumberMark = "MES(";
/// What the date field of a message in the Inbox has room for; one more than the number of a room has.
constexpr std::size_t kMostShownDigits = 10;

bool IsDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

/// What follows the first mark, behind blanks, up to the first byte that is no digit.
std::string_view NumberIn(std::string_view line) {
    const std::size_t mark = core::FindText(line, kNumberMark);
    if (mark == std::string_view::npos) return {};
    line.remove_prefix(mark + kNumberMark.size());
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    const auto end = std::find_if_not(line.begin(), line.end(), IsDigit);
    line = line.substr(0, static_cast<std::size_t>(end - line.begin()));
    // "01" is room 1.
    while (line.size() > 1 && line.front() == '0')
        line.remove_prefix(1);
    return line;
}

/// As the mailbox files will hold it, so that it is the same when it is read back.
void MakeDateStorable(std::string& date) {
    const auto isRefused = [](char byte) { return byte == '\r' || byte == '\n' || byte == '\0'; };
    std::replace_if(date.begin(), date.end(), isRefused, ' ');
}

/// Whether a folder of that name can be made at the top level.
bool CanHaveFolder(std::string_view name) {
    ForumPlace place;
    return ParseForumPlace(name, place) && name.size() <= store::kLongestFolderName &&
           name.find(store::kBaseNameSeparator) == std::string_view::npos &&
           store::Mailbox::IsUsableName(name);
}

}  // namespace

RoomLine ParseRoomLine(std::string_view line) {
    const std::string_view behindMark = line.substr(std::min(kForumColumn, line.size()));
    const std::string_view forum = core::CutToBytes(behindMark, kLongestForum);
    return {std::string(forum.substr(0, forum.find(' '))), std::string(NumberIn(line))};
}

ForumRooms::ForumRooms(const Analysis& analysis, int mostNewRooms)
    : analysis_(analysis),
      deliveries_(analysis.mailbox),
      inbox_{
          .folder = analysis.inbox, .wasThere = true, .known = KnownMessages(KnownMessages::By::DateField)},
      mostNewRooms_(mostNewRooms) {
}

int ForumRooms::Open() {
    if (analysis_.folders.TakeOverChanges() < 0) return -1;
    analysis_.folders.tree().Walk([this](const store::Folder& folder, const std::string& baseName) {
        ForumPlace place;
        if (!ParseForumPlace(folder.name, place) || place.library || !store::Mailbox::IsUsableName(baseName))
            return true;
        const auto [entry, isFirst] =
            rooms_.try_emplace(core::SmallLetters(folder.name), Room{.folder = baseName, .wasThere = true});
        Room& room = entry->second;
        const bool isBelow = room.folder.find(store::kBaseNameSeparator) != std::string::npos;
        if (!isFirst && isBelow && folder.parent->parent == nullptr) room.folder = baseName;
        return true;
    });
    return 0;
}

void ForumRooms::BeginBlock(RoomLine line) {
    EndBlock();
    line_ = std::move(line);
    folderName_ = line_.forum + ",mes" + line_.number.substr(0, kMostShownDigits);
}

void ForumRooms::EndBlock() {
    if (room_ != nullptr) room_->known.EndBlock();
    inbox_.known.EndBlock();
    room_ = nullptr;
    sought_ = false;
}

void ForumRooms::FindRoom() {
    if (std::exchange(sought_, true)) return;
    const auto found = rooms_.find(core::SmallLetters(folderName_));
    if (found != rooms_.end()) room_ = &found->second;
    canHaveFolder_ = room_ != nullptr || (newRooms_ < mostNewRooms_ && CanHaveFolder(folderName_));
}

ForumRooms::Outcome ForumRooms::Store(store::MailRecord& record) {
    FindRoom();
    const std::string dateHead = record.date;
    record.date += folderName_;
    MakeDateStorable(record.date);
    if (room_ == nullptr || !room_->wasThere) {
        // Before a run broke off it may have had too many new rooms when it came to this one.
        if (!Load(inbox_)) return Fail();
        if (inbox_.known.IsKnownMessage(record) == 1) return Outcome::Known;
    }
    if (!canHaveFolder_) return PutInInbox(record);
    record.date = dateHead + line_.forum;
    MakeDateStorable(record.date);
    if (room_ == nullptr) room_ = &AddRoom();
    return PutInRoom(*room_, record);
}

ForumRooms::Room& ForumRooms::AddRoom() {
    Room room{.folder = folderName_, .wasThere = false};
    return rooms_.try_emplace(core::SmallLetters(folderName_), std::move(room)).first->second;
}

/// Files of a folder that is not in the tree any more are those of the folder that is made: their messages are known.
ForumRooms::Outcome ForumRooms::PutInRoom(Room& room, store::MailRecord& record) {
    if (!Load(room)) return Fail();
    if (room.known.IsKnownMessage(record) == 1) return Outcome::Known;
    if (!MakeFolder(room) || deliveries_.Deliver(room.folder, record) < 0) return Fail();
    room.known.AddStored(record);
    return Outcome::Stored;
}

ForumRooms::Outcome ForumRooms::PutInInbox(store::MailRecord& record) {
    if (deliveries_.Deliver(inbox_.folder, record) < 0) return Fail();
    inbox_.known.AddStored(record);
    if (misplaced_++ == 0) firstMisplacedRoom_ = folderName_;
    return Outcome::Stored;
}

ForumRooms::Outcome ForumRooms::Fail() {
    whole_ = false;
    return Outcome::Failed;
}

/// The user is told once a folder where this fails.
bool ForumRooms::Load(Room& room) {
    if (room.loaded || room.failed) return room.loaded;
    const int result = room.known.LoadKnownMessageNumbers(analysis_.mailbox.FilesOf(room.folder));
    room.loaded = result == 0;
    room.failed = result < 0;
    if (room.failed) analysis_.mailbox.ReportFault(room.folder, result);
    return room.loaded;
}

/// Where it fails once it does for the other rooms too, and the user knows.
bool ForumRooms::MakeFolder(Room& room) {
    if (room.exists || makingFails_) return room.exists;
    ++newRooms_;
    room.exists = analysis_.folders.NewFolder(store::kDesktop, room.folder) == 0;
    makingFails_ = !room.exists;
    return room.exists;
}

bool ForumRooms::Finish() {
    EndBlock();
    const bool finished = deliveries_.Finish() == 0;
    return finished && deliveries_.complete() && whole_;
}

}  // namespace postkite::analyse
