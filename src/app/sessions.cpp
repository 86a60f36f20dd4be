#include "app/sessions.h"

#include <cerrno>

#include "comm/capture_logs.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/shift_jis.h"

namespace postkite::app {

using namespace core::literals;

namespace {

/// The send queue's directory: it belongs to the session that runs, and so does its lock. Nothing else locks
/// it.
constexpr std::string_view kSessionDirectory = "BMTEMP.$$$";

}  // namespace

Sessions::Sessions(comm::SerialPort& port, core::Workspace& workspace, const core::Settings& settings,
                   const core::Environments& environments, core::UserInterface& ui, const core::Clock& clock,
                   store::Mailbox& mailbox)
    : workspace_(&workspace),
      settings_(&settings),
      ui_(&ui),
      records_(workspace, settings, environments, mailbox),
      session_(port, workspace, settings, ui, clock, records_) {
}

int Sessions::Begin(comm::Session::Start start, const std::string& device, const comm::ScriptLines* script) {
    if (running() || TakeSessionLock() < 0) return -1;
    captured_ = false;
    records_.BeginSession();
    // Nothing is sent or captured before the first tick. The captures stay in their place where the line
    // cannot be opened, which can take so long that nothing else may be locked meanwhile.
    if (session_.Begin(start, device, {}, script) == 0 && SetLeftOversAside() == 0) {
        captured_ = true;
        return 0;
    }
    HangUp();
    return -1;
}

int Sessions::Tick() {
    const int result = session_.Tick();
    if (running()) {
        records_.SetWaitingMarks(SessionRecords::Waiting::No);
    } else {
        End();
    }
    return result;
}

void Sessions::HangUp() {
    session_.HangUp();
    if (!running()) End();
}

void Sessions::End() {
    records_.SetWaitingMarks(SessionRecords::Waiting::Yes);
    lock_.reset();
    if (records_.unmarked() == 0) return;
    std::string text(core::Choose(*ui_, "送信済みの印を付けられなかったメール: "_sjis,
                                  "Mails that were sent and could not be marked as sent: "));
    Tell(text + std::to_string(records_.unmarked()));
    records_.BeginSession();
}

Sessions::Yield Sessions::yield() {
    return {captured_ ? records_.CountCapturedMails() : 0, 0, session_.sent()};
}

/// The working directory's lock is held as well while this one is taken or tried, so that nobody's try is
/// taken for a session.
int Sessions::TakeSessionLock() {
    core::WorkspaceLock lock;
    int result = workspace_->Lock(true, lock);
    if (result == 0) result = workspace_->CreateDirectory(kSessionDirectory);
    if (result == 0 || result == -EEXIST) result = workspace_->LockDirectory(kSessionDirectory, lock_);
    if (result == 0) return 0;
    if (result == -EWOULDBLOCK) {
        Tell(core::Choose(*ui_, "ほかの Postkite が通信中です。"_sjis,
                          "Another Postkite has a session in this working directory."));
    } else {
        Refuse(" を使用できないため、通信を始めません。"_sjis, " cannot be used. The session was not begun.",
               kSessionDirectory, result);
    }
    return -1;
}

bool Sessions::RunElsewhere() const {
    core::WorkspaceLock lock;
    std::unique_ptr<core::FileLock> tried;
    return !running() && workspace_->Lock(true, lock) == 0 &&
           workspace_->LockDirectory(kSessionDirectory, tried) == -EWOULDBLOCK;
}

/// The one place that knows what becomes of mails that an earlier session captured: it was broken off before they
/// were analysed, or they could not be. A session makes their file anew, and they are gone from the host. The
/// other captures are appended to.
int Sessions::SetLeftOversAside() {
    core::WorkspaceLock lock;
    if (const int result = workspace_->Lock(true, lock); result < 0) {
        Refuse(" を使用できないため、通信を始めません。"_sjis, " cannot be used. The session was not begun.",
               comm::kMailLogFile, result);
        return -1;
    }
    if (const int result = SetAside(comm::kMailLogFile); result < 0) {
        Refuse(" に前回の通信が残っていて、別の名前で保存できません。通信を始めません。"_sjis,
               " is left from an earlier session and cannot be kept under another name. The session was "
               "not begun.",
               comm::kMailLogFile, result);
        return -1;
    }
    return 0;
}

int Sessions::SetAside(std::string_view file) {
    std::unique_ptr<core::File> opened;
    int result = workspace_->Open(file, core::OpenMode::Read, opened);
    if (result == -ENOENT) return 0;
    if (result < 0) return result;
    const std::int64_t size = opened->Size();
    opened.reset();
    if (size <= 0) return static_cast<int>(size);

    constexpr int kMostKept = 999;
    for (int number = 1; number <= kMostKept; ++number) {
        const std::string kept =
            std::string(file) + ".bak" + (number == 1 ? std::string() : std::to_string(number));
        core::EntryKind kind{};
        result = workspace_->Inspect(kept, kind);
        if (result < 0) return result;
        if (kind != core::EntryKind::Missing) continue;
        result = workspace_->Rename(file, kept);
        if (result == 0) result = workspace_->SyncNames(kept);
        if (result < 0) return result;
        std::string text(file);
        text += core::Choose(*ui_, " に前回の通信が残っていたため、次の名前で保存しました: "_sjis,
                             " is left from an earlier session. It was kept as ");
        Tell(text + kept);
        return 0;
    }
    return -EEXIST;
}

void Sessions::Refuse(std::string_view japanese, std::string_view english, std::string_view file, int error) {
    std::string text(file);
    text += core::Choose(*ui_, japanese, english);
    Tell(text + "\r\n" + core::DescribeError(error, ui_->language()));
}

void Sessions::Tell(std::string_view text) {
    core::LogError(*workspace_, text);
    if (settings_->autoMode == 0) ui_->ShowMessage(core::kProductName, text, core::MessageIcon::Information);
}

}  // namespace postkite::app
