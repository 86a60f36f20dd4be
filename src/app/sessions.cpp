#include "app/sessions.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "comm/capture_logs.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/shift_jis.h"
#include "store/index_record.h"

namespace postkite::app {

using namespace core::literals;

namespace {

/// The send queue's directory: it belongs to the session that runs, and so does its lock. Nothing else locks
/// it.
constexpr std::string_view kSessionDirectory = "BMTEMP.$$$";

}  // namespace

Sessions::Sessions(comm::SerialPort& port, core::Workspace& workspace, const core::Settings& settings,
                   core::UserInterface& ui, const core::Clock& clock, const ActiveFolders& active,
                   store::Mailbox& mailbox, store::Folders& folders)
    : workspace_(&workspace),
      settings_(&settings),
      ui_(&ui),
      clock_(&clock),
      active_(active),
      mailbox_(&mailbox),
      folders_(&folders),
      records_(workspace, clock, active, mailbox),
      session_(port, workspace, settings, ui, clock, records_) {
}

int Sessions::Begin(Start start, const std::string& device, const comm::ScriptLines* script) {
    if (running() || TakeLock(lock_) < 0) return -1;
    yield_ = {};
    disconnected_ = false;
    notesError_ = TakeOver();
    for (const outgoing::SendingNotes::Note& note : records_.TakeUnsure())
        TellUnsure(note);
    if (AnalyseLeftOvers() == 0 && PrepareQueue(start) == 0 &&
        session_.Begin(start, device, PatrolOfToday(*workspace_, *clock_, folders_->tree()), script) == 0)
        return 0;
    records_.Tidy();
    lock_.reset();
    return -1;
}

void Sessions::Disconnect() {
    disconnected_ = running();
    session_.Disconnect();
}

/// Whatever an earlier session could not mark is marked now.
int Sessions::TakeOver() {
    std::vector<std::string> marked;
    const int result = records_.TakeOver(marked);
    if (marked.empty()) return result;
    std::string text(core::Choose(*ui_, "前回の通信で送信したメールに、送信済みの印を付けました:"_sjis,
                                  "Sent by an earlier session and marked as sent now:"));
    for (const std::string& subject : marked)
        text += "\r\n" + subject;
    Tell(text);
    return result;
}

/// The program was killed while the mail went out. It is still reserved, and the person decides whether it may come
/// twice.
void Sessions::TellUnsure(const outgoing::SendingNotes::Note& note) {
    core::LogError(*workspace_, "session: " + note.localId +
                                    " went out in an earlier session, which ended before it was marked");
    const std::string outbox = note.folder.empty() ? active_.Outbox() : note.folder;
    store::MailListEntry entry;
    const int number = mailbox_->FindMail(outbox, note.localId);
    if (number < 0 || mailbox_->ReadListEntry(outbox, number, entry) < 0 ||
        entry.flags.view()[store::flag::kSent] == 'S')
        return;
    std::string text(
        core::Choose(*ui_,
                     "前回の通信は、次のメールを送りはじめてから、送信済みの印を付ける前に終わりました。"
                     "予約したままなので、二度届くことがあります: "_sjis,
                     "An earlier session ended between the beginning of this mail and its mark as sent. "
                     "It is still reserved and may arrive twice: "));
    text += store::WithoutTrailingBlanks(entry.subject.view());
    if (settings_->autoMode == 0) ui_->ShowMessage(core::kProductName, text, core::MessageIcon::Warning);
}

/// Changes `start` where there is nothing to send.
int Sessions::PrepareQueue(Start& start) {
    uploadBytes_ = 0;
    if (start == Start::ReceiveOnly) return 0;
    outgoing::SendQueue queue;
    if (MakeQueue(queue) == 0) {
        uploadBytes_ = queue.uploadBytes;
        if (const int reserved = records_.Reserve(queue); reserved < 0) return RefuseToSend(reserved);
        return 0;
    }
    if (queue.refused) return -1;
    ui_->SetStatusText(core::Choose(*ui_, "受信だけを行います。"_sjis, "Receiving only."));
    start = Start::ReceiveOnly;
    return 0;
}

int Sessions::MakeQueue(outgoing::SendQueue& queue) {
    if (notesError_ < 0) {
        queue.refused = true;
        return RefuseToSend(notesError_);
    }
    return outgoing::BuildSendQueue(*mailbox_, *settings_, active_.Outbox(), outgoing::PostOrder::Ascending,
                                    queue, records_.Accepted());
}

/// Without notes a mail could go out twice, and nobody would know.
int Sessions::RefuseToSend(int error) {
    std::string text(outgoing::SendingNotes::kFile);
    text += core::Choose(*ui_, " を使用できないため、送信できません。\r\n"_sjis,
                         " cannot be used, so nothing can be sent.\r\n");
    Tell(text + core::DescribeError(error, ui_->language()));
    return -1;
}

int Sessions::Tick() {
    if (!session_.running()) return comm::kSessionGoesOn;
    const int result = session_.Tick();
    if (session_.running()) {
        records_.WriteWaiting(SessionRecords::Waiting::No);
    } else {
        End();
    }
    return result;
}

void Sessions::HangUp() {
    if (!session_.running()) return;
    session_.HangUp();
    if (!session_.running()) End();
}

void Sessions::End() {
    if (ending_) return;
    ending_ = true;
    records_.WriteWaiting(SessionRecords::Waiting::Yes);
    // Whatever is unsure has been told.
    static_cast<void>(records_.TakeUnsure());
    records_.Tidy();
    const std::vector<std::string> unmarked = records_.Unmarked();
    yield_.sent = session_.sent();
    const int queueError = session_.queueError();
    yield_.settled =
        unmarked.empty() && session_.unmarked() == 0 && !session_.refusedUpload() && queueError == 0;
    AnalyseCaptures();
    lock_.reset();
    ending_ = false;
    TellUnmarked(unmarked);
    if (queueError == 0) return;
    std::string text(core::Choose(*ui_, "送信キューを読み込めないため、すべては送信していません。\r\n"_sjis,
                                  "The send queue cannot be read, so not all of it was sent.\r\n"));
    Tell(text + core::DescribeError(queueError, ui_->language()));
}

void Sessions::TellUnmarked(const std::vector<std::string>& subjects) {
    if (subjects.empty()) return;
    std::string text(
        core::Choose(*ui_,
                     "次のメールは送信しましたが、送信済みの印を付けられませんでした。"
                     "二度送信することはありません。印は次の通信のときに付けます。"_sjis,
                     "These mails were sent and could not be marked as sent. They will not be sent "
                     "again; the next session tries to mark them."));
    for (const std::string& subject : subjects)
        text += "\r\n" + subject;
    Tell(text);
}

analyse::Analysis Sessions::MakeAnalysis(bool resultMessages) {
    return {*workspace_, *settings_, *mailbox_, *folders_, *ui_, *clock_, active_.Inbox(), resultMessages};
}

void Sessions::AnalyseCaptures() {
    const analyse::Analysis analysis = MakeAnalysis(true);
    analyse::MailLogResult mails;
    const int received = analyse::AnalyseMailLog(analysis, comm::kMailLogFile, mails);
    yield_.mails = received < 0 || mails.complete ? std::max(received, 0) : mails.stored;
    yield_.whole = yield_.whole && mails.unread == 0 && (!mails.open || disconnected_);
    analyse::ForumLogResult messages;
    yield_.messages = analyse::AnalyseForumLog(analysis, comm::kForumLogFile, messages);
    yield_.stored = CapturesAreGone();
    analyse::ReportForumMessages(analysis, yield_.messages);
}

/// A session makes the mail's capture anew, and what is in an old one is gone from the host. So no session begins
/// before that is stored.
int Sessions::AnalyseLeftOvers() {
    const analyse::Analysis analysis = MakeAnalysis(false);
    analyse::MailLogResult mails;
    const int received = analyse::AnalyseMailLog(analysis, comm::kMailLogFile, mails);
    yield_.whole = mails.unread == 0;
    analyse::ForumLogResult messages;
    const int stored = analyse::AnalyseForumLog(analysis, comm::kForumLogFile, messages);
    if (received > 0 || stored > 0) {
        std::string text(core::Choose(*ui_, "前回の通信の受信データを保存しました。メール: "_sjis,
                                      "What an earlier session had received was stored. Mails: "));
        text += std::to_string(std::max(mails.stored, 0));
        text += core::Choose(*ui_, "　会議室データ: "_sjis, ", messages: ");
        Tell(text + std::to_string(stored));
    }
    if (CapturesAreGone()) return 0;
    Tell(core::Choose(
        *ui_, "前回の通信の受信データ（maillog.txt、MesLog.txt）を保存できないため、通信を始めません。"_sjis,
        "What an earlier session has received (maillog.txt, MesLog.txt) cannot be stored, so no session was "
        "begun."));
    return -1;
}

/// The analysers delete a capture when all that is in it is stored. One that cannot be opened is there all the same.
bool Sessions::CapturesAreGone() const {
    const auto isGone = [this](std::string_view file) {
        core::EntryKind kind{};
        return workspace_->Inspect(file, kind) == 0 && kind == core::EntryKind::Missing;
    };
    return isGone(comm::kMailLogFile) && isGone(comm::kForumLogFile);
}

int Sessions::BuildQueue(outgoing::SendQueue& queue) {
    SessionLock lock;
    if (RefuseWhileRunning() < 0 || TakeLock(lock) < 0) return -1;
    notesError_ = TakeOver();
    records_.Tidy();
    return MakeQueue(queue);
}

int Sessions::AnalyseMailLog(std::string_view path, analyse::MailLogResult& result) {
    SessionLock lock;
    if (RefuseWhileRunning() < 0 || TakeLock(lock) < 0) return kRefused;
    return analyse::AnalyseMailLog(MakeAnalysis(true), path, result);
}

int Sessions::AnalyseForumLog(std::string_view path, analyse::ForumLogResult& result) {
    SessionLock lock;
    if (RefuseWhileRunning() < 0 || TakeLock(lock) < 0) return kRefused;
    const analyse::Analysis analysis = MakeAnalysis(true);
    const int stored = analyse::AnalyseForumLog(analysis, path, result);
    analyse::ReportForumMessages(analysis, stored);
    return stored;
}

int Sessions::RefuseWhileRunning() {
    if (!running()) return 0;
    Tell("送受信中です。"_sjis);
    return -1;
}

/// The working directory's lock is held as well while this one is taken or tried, so that nobody's try is
/// taken for a session.
int Sessions::TakeLock(SessionLock& lock) {
    core::WorkspaceLock workspaceLock;
    int result = workspace_->Lock(true, workspaceLock);
    if (result == 0) result = workspace_->CreateDirectory(kSessionDirectory);
    if (result == 0 || result == -EEXIST) result = workspace_->LockDirectory(kSessionDirectory, lock);
    if (result == 0) return 0;
    if (result == -EWOULDBLOCK) {
        Tell(core::Choose(*ui_, "ほかの Postkite が通信中です。"_sjis,
                          "Another Postkite has a session in this working directory."));
        return -1;
    }
    std::string text(kSessionDirectory);
    text += core::Choose(*ui_, " を使用できないため、通信を始めません。"_sjis,
                         " cannot be used. The session was not begun.");
    Tell(text + "\r\n" + core::DescribeError(result, ui_->language()));
    return -1;
}

bool Sessions::RunElsewhere() const {
    core::WorkspaceLock lock;
    std::unique_ptr<core::FileLock> tried;
    return !running() && workspace_->Lock(true, lock) == 0 &&
           workspace_->LockDirectory(kSessionDirectory, tried) == -EWOULDBLOCK;
}

void Sessions::Tell(std::string_view text) {
    core::LogError(*workspace_, text);
    if (settings_->autoMode == 0) ui_->ShowMessage(core::kProductName, text, core::MessageIcon::Information);
}

}  // namespace postkite::app
