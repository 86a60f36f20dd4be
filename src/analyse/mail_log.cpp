#include "analyse/mail_log.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "analyse/capture_deletions.h"
#include "analyse/capture_part.h"
#include "analyse/captured_lines.h"
#include "analyse/deliveries.h"
#include "analyse/mail_addresses.h"
#include "analyse/torn_mails.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/shift_jis.h"
#include "core/time_stamp.h"
#include "organise/rule_table.h"
#include "store/mail_record.h"

namespace postkite::analyse {

using namespace core::literals;

namespace {

/// Columns of a header line.
constexpr std::size_t kNameColumn = 4;
constexpr std::size_t kNameBytes = 16;
constexpr std::size_t kIdColumn = 22;
constexpr std::size_t kDateColumn = 40;

constexpr std::size_t kSubjectColumn = 10;

/// A mail that has as much takes no further line. A line is taken whole, whatever its length.
constexpr std::size_t kFullBodyBytes = store::MAIL_BODY_MAX - 3000;

constexpr std::string_view kGateway = "INET GATE";
constexpr std::string_view kFrom = "From";

constexpr std::string_view kUnreadSubject = "読み取れなかった受信データ"_sjis;
constexpr std::string_view kMenuAnswer = "："_sjis;

constexpr int kUnattended = 1;

/// One run over a capture.
class MailLogRun {
  public:
    MailLogRun(const Analysis& analysis, std::string_view path)
        : analysis_(analysis),
          ui_(analysis.ui),
          path_(path),
          part_(analysis.mailbox, path),
          deletions_(analysis.workspace, path),
          torn_(analysis.mailbox),
          deliveries_(analysis.mailbox, [this](std::string_view folder) { return part_.AddFolder(folder); }) {
    }

    [[nodiscard]] int Run(MailLogResult& result);

  private:
    [[nodiscard]] int Prepare(core::File& file);
    void ReadMails(CapturedLines& capture);
    [[nodiscard]] bool FindHeaderLine(CapturedLines& capture);
    void PassOver(const CapturedLines& capture);
    [[nodiscard]] bool BeginMail(CapturedLines& capture);
    void ReadBody(CapturedLines& capture);
    void EndMail(const CapturedLines& capture, bool atQuestion);
    [[nodiscard]] bool IsAnsweredAtEnd(const CapturedLines& capture) const;
    [[nodiscard]] bool IsConfirmed(const CapturedLines& capture);
    void AddLine(std::string_view line);
    void ClearRecord();
    void TakeSender(std::string_view line);
    void StoreMail();
    [[nodiscard]] bool StoreForTorn(store::MailRecord& record);
    void StoreUnread();
    void Deliver(std::string_view folder);
    [[nodiscard]] std::string_view ChooseFolder();
    void MoveMark();
    void PutCaptureAway();
    [[nodiscard]] int KeepCapture();
    void TellCount();
    void TellUnread();
    void TellOpen();
    void TellIncomplete();
    void Tell(const std::string& text);

    const Analysis& analysis_;
    core::UserInterface& ui_;
    std::string path_;
    core::WorkspaceLock lock_;
    organise::RuleTable rules_;
    CapturePart part_;
    CaptureDeletions deletions_;
    TornMails torn_;
    Deliveries deliveries_;
    core::File* file_ = nullptr;
    store::MailRecord record_;
    std::optional<std::size_t> openText_;  ///< how much of an open mail's body is its text
    bool open_ = false;                    ///< the mail is the last one, and may come again
    bool isTorn_ = false;                  ///< the mail has no question behind it
    bool tornOff_ = false;                 ///< and the host cannot have been let to delete it
    bool deletedBehind_ = false;           ///< the last mail has its deletion
    std::string openSubject_;
    std::string passedOver_;        ///< since the last mail or deletion, while there are deletions to come
    std::uint64_t mailBehind_ = 0;  ///< where the last mail ended
    int unread_ = 0;
    std::string keptAs_;
    std::string ruleTarget_;
    bool fromGateway_ = false;  ///< and its "From" line has not come yet
    int headerLines_ = 0;
    int stored_ = 0;  ///< found stored, by earlier runs
    std::uint64_t captureBytes_ = 0;
    std::uint64_t mailEnd_ = 0;  ///< of the last mail that is in a folder
    int mailsBefore_ = 0;        ///< that end
    int committedAtMark_ = 0;
    int error_ = 0;        ///< what keeps the run from being complete, where it is not a folder
    bool failed_ = false;  ///< the user knows
    bool complete_ = false;
};

int MailLogRun::Run(MailLogResult& result) {
    error_ = analysis_.workspace.Lock(true, lock_);
    // Where the rules cannot be read the user knows, and all goes to the Inbox.
    static_cast<void>(rules_.LoadRules(analysis_.folders, analysis_.settings, organise::kEnabledRules));
    std::unique_ptr<core::File> file;
    if (const int opened = analysis_.workspace.Open(path_, core::OpenMode::Read, file); opened < 0) {
        // A later capture must not be taken for the one that it belonged to.
        if (opened == -ENOENT && error_ == 0) {
            part_.Remove();
            deletions_.Remove();
        }
        return -1;
    }
    ui_.SetStatusText("受信メール解析中"_sjis);
    if (error_ == 0) error_ = Prepare(*file);
    if (error_ == 0) {
        CapturedLines capture(*file);
        capture.Seek(part_.offset());
        ReadMails(capture);
        error_ = capture.error();
    }
    const bool delivered = deliveries_.Finish() == 0;
    file.reset();
    if (delivered && error_ == 0 && !failed_) PutCaptureAway();
    if (!complete_) MoveMark();
    result = {stored_ + deliveries_.committed(), complete_, complete_ ? unread_ : 0, complete_ && open_};
    ui_.SetProgress(captureBytes_, captureBytes_);
    if (complete_) {
        TellCount();
        TellUnread();
        TellOpen();
    } else {
        TellIncomplete();
    }
    ui_.SetProgress(0, 0);
    ui_.SetStatusText("");
    return headerLines_;
}

int MailLogRun::Prepare(core::File& file) {
    record_.body.reserve(store::MAIL_BODY_MAX);
    const std::int64_t size = file.Size();
    if (size < 0) return static_cast<int>(size);
    captureBytes_ = static_cast<std::uint64_t>(size);
    ui_.SetProgress(0, captureBytes_);
    file_ = &file;
    int result = part_.Load(file);
    if (result == 0) result = part_.FindStored(analysis_.folders.tree());
    if (result == 0) result = deletions_.Load();
    if (result < 0) return result;
    if (deletions_.known()) torn_.Load();
    headerLines_ = stored_ = mailsBefore_ = part_.mails();
    mailEnd_ = mailBehind_ = part_.offset();
    // The mark never passes what could not be read.
    static_cast<void>(deletions_.TakeUpTo(mailEnd_));
    return 0;
}

void MailLogRun::ReadMails(CapturedLines& capture) {
    while (!deliveries_.hopeless() && BeginMail(capture)) {
        ReadBody(capture);
        // What came before a read that failed is not the whole mail.
        if (capture.error() < 0) return;
        StoreMail();
        // The mails that are stored stay the first ones of the capture: a mark says how many they are.
        if (!deliveries_.complete() || failed_) return;
        mailEnd_ = capture.position();
        mailsBefore_ = headerLines_;
        if (deliveries_.allCommitted()) MoveMark();
        ui_.SetProgress(capture.position(), captureBytes_);
        ui_.RedrawMainWindow();
    }
}

/// Everything between mails is passed over.
bool MailLogRun::FindHeaderLine(CapturedLines& capture) {
    passedOver_.clear();
    while (capture.Read() && deliveries_.complete()) {
        if (IsMailHeaderLine(capture.line())) return true;
        if (deletions_.pending()) PassOver(capture);
    }
    return false;
}

/// What the host was let to delete is a mail, whether its header line can be told or not.
void MailLogRun::PassOver(const CapturedLines& capture) {
    const std::string_view line = capture.line();
    if (passedOver_.size() < kFullBodyBytes) passedOver_.append(line).append("\r\n");
    const int deletions = deletions_.TakeUpTo(capture.position());
    if (deletions == 0) return;
    // The menu asks for the answer to its question in a line of its own.
    const bool ofMailBehind = capture.lineStart() == mailBehind_ && line.starts_with(kMenuAnswer);
    unread_ += ofMailBehind && !deletedBehind_ ? deletions - 1 : deletions;
    deletedBehind_ = true;
    if (!ofMailBehind) StoreUnread();
    passedOver_.clear();
}

/// False when the capture ends first. A header line in its last line is counted and nothing more.
bool MailLogRun::BeginMail(CapturedLines& capture) {
    if (!FindHeaderLine(capture)) return false;
    ++headerLines_;
    const std::string_view line = capture.line();
    ClearRecord();
    record_.name.assign(line, kNameColumn, kNameBytes);
    record_.address.assign(line, kIdColumn, line.find(' ', kIdColumn) - kIdColumn);
    record_.date.assign(line, kDateColumn);
    record_.date += ' ';
    record_.date += core::FormatNowDate(analysis_.clock);
    fromGateway_ = record_.name.starts_with(kGateway);
    AddLine(line);
    if (!capture.Read()) return false;
    record_.subject = capture.line().substr(std::min(kSubjectColumn, capture.line().size()));
    AddLine(capture.line());
    return true;
}

/// Its memory is kept.
void MailLogRun::ClearRecord() {
    record_.flags = store::kReceivedMailFlags;
    for (std::string* field :
         {&record_.body, &record_.attach, &record_.cc, &record_.bcc, &record_.extraAddress, &record_.sizeText,
          &record_.sourceId, &record_.messageId, &record_.spare1, &record_.spare2, &record_.spare3,
          &record_.spare4, &record_.spare5})
        field->clear();
}

void MailLogRun::ReadBody(CapturedLines& capture) {
    bool atEnd = false;
    while (!atEnd) {
        // At the end the line is the one before once more. So the last line of a mail without the host's question behind it
        // stands there twice: that is wanted.
        atEnd = !capture.Read();
        const std::string_view line = capture.line();
        if (!atEnd && IsAnsweredAtEnd(capture)) {
            EndMail(capture, true);
            return;
        }
        if (atEnd) EndMail(capture, false);
        if (fromGateway_ && line.starts_with(kFrom)) TakeSender(line);
        if (EndsMail(line)) {
            if (!atEnd) EndMail(capture, true);
            return;
        }
        AddLine(line);
    }
}

/// Whether the capture ends in the line of a question that was answered: the text is whole, only the answer's echo is not.
bool MailLogRun::IsAnsweredAtEnd(const CapturedLines& capture) const {
    return capture.position() >= captureBytes_ && deletions_.pending() &&
           deletions_.next() > capture.lineStart() && deletions_.next() <= capture.position();
}

/// The mail's last line has been read, and its text is whole, or as whole as it came.
void MailLogRun::EndMail(const CapturedLines& capture, bool atQuestion) {
    mailBehind_ = capture.position();
    // With more than one deletion it is more than one mail, and the line between them could not be told.
    const int deletions = deletions_.TakeUpTo(mailBehind_);
    unread_ += std::max(deletions - 1, 0);
    deletedBehind_ = deletions > 0;
    isTorn_ = !atQuestion;
    tornOff_ = isTorn_ && deletions == 0;
    open_ = deletions_.known() && (!atQuestion || !IsConfirmed(capture));
    openText_.reset();
    if (open_) openText_ = record_.body.size();
}

/// Whether the host has gone on behind the answer that lets it delete the mail.
bool MailLogRun::IsConfirmed(const CapturedLines& capture) {
    std::array<char, 64> rest{};
    const std::int64_t count = file_->ReadAt(capture.position(), rest);
    // What cannot be read is not the end, and ends the run.
    if (count < 0) return true;
    std::string_view behind(rest.data(), static_cast<std::size_t>(count));
    const bool answersInLineBehind = capture.line().find("action:") == std::string_view::npos;
    if (answersInLineBehind && behind.size() < rest.size()) {
        const std::size_t end = behind.find('\r');
        behind.remove_prefix(end == std::string_view::npos ? behind.size()
                                                           : std::min(end + 2, behind.size()));
    }
    return !behind.empty();
}

void MailLogRun::AddLine(std::string_view line) {
    if (record_.body.size() >= kFullBodyBytes) return;
    record_.body += line;
    record_.body += "\r\n";
}

/// Of the "From" lines of a mail from the Internet only the first counts.
void MailLogRun::TakeSender(std::string_view line) {
    fromGateway_ = false;
    static_cast<void>(ExtractInetAddress(line, record_.address));
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) return;
    record_.name = line.substr(colon + 1);
    ExtractDisplayName(record_.name);
}

void MailLogRun::StoreMail() {
    if (open_) openSubject_ = record_.subject;
    if (part_.hasStored() || deletions_.known()) {
        store::MailRecord asStored = record_;
        MakeStorable(asStored);
        if (part_.TakeStored(asStored.body) || StoreForTorn(asStored)) {
            ++stored_;
            return;
        }
        if (failed_) return;
    }
    Deliver(ChooseFolder());
}

/// Whether the mail is stored with that: what came of it before the line was lost has all of it, or gives it its place. The
/// record is the mail as it is stored.
bool MailLogRun::StoreForTorn(store::MailRecord& record) {
    std::string folder;
    std::string localId;
    if (torn_.TakeReplaced(record.body, folder, localId)) {
        if (openText_) torn_.Remember(folder, localId, *openText_);
        return true;
    }
    const TornMails::Found found = torn_.Find(record.body, isTorn_ ? openText_ : std::nullopt);
    if (found.relation != TornMails::Relation::Continues)
        return found.relation == TornMails::Relation::HasAll;
    folder = torn_.FolderOf(found.entry);
    failed_ = deliveries_.Release(folder) < 0 || torn_.Replace(found.entry, record) < 0;
    if (failed_) return false;
    if (openText_) torn_.Remember(folder, record.localId, *openText_);
    return true;
}

/// The lines that were passed over, as they are.
void MailLogRun::StoreUnread() {
    ClearRecord();
    record_.name = core::kProductName;
    record_.address.clear();
    record_.subject = kUnreadSubject;
    record_.date = core::FormatNowDate(analysis_.clock);
    record_.date += ' ' + record_.date;
    record_.body = passedOver_;
    openText_.reset();
    if (part_.hasStored()) {
        store::MailRecord asStored = record_;
        MakeStorable(asStored);
        if (part_.TakeStored(asStored.body)) {
            ++stored_;
            return;
        }
    }
    Deliver(analysis_.inbox);
}

void MailLogRun::Deliver(std::string_view folder) {
    // The folder gives it another, and has always been given one.
    record_.localId = analysis_.mailbox.identifiers().MakeMailKey();
    // What fails is in the account of the deliveries.
    if (deliveries_.Deliver(folder, record_) < 0 || !openText_) return;
    // Before it counts: so no run that is broken off leaves a torn mail that is not remembered.
    torn_.Remember(folder, record_.localId, *openText_);
}

std::string_view MailLogRun::ChooseFolder() {
    if (analysis_.settings.filterReceive != 1) return analysis_.inbox;
    if (rules_.FindRuleTarget(record_, ruleTarget_) < 0) return analysis_.inbox;
    return deliveries_.OpenFolder(ruleTarget_) == 0 ? std::string_view(ruleTarget_) : analysis_.inbox;
}

/// Once all mails up to here are in their folders for good, the next run need not look at them. It may be that it has to
/// look at them all the same, where this fails.
void MailLogRun::MoveMark() {
    if (unread_ > 0 || deliveries_.takenBack() || part_.hasStored() ||
        deliveries_.committed() == committedAtMark_)
        return;
    committedAtMark_ = deliveries_.committed();
    static_cast<void>(part_.Advance(mailEnd_, mailsBefore_));
}

/// The files beside the capture go last: without them a capture that is still there would be stored a second time.
void MailLogRun::PutCaptureAway() {
    // For what the host deletes by number nobody knows which mail that was, only how many.
    const int told = headerLines_ + unread_;
    if (deletions_.byNumber() > 0 && told < deletions_.count()) unread_ += deletions_.count() - told;
    error_ = unread_ > 0 ? KeepCapture() : analysis_.workspace.Remove(path_);
    if (error_ < 0) return;
    complete_ = true;
    if (analysis_.workspace.SyncNames(path_) < 0) return;
    part_.Remove();
    deletions_.Remove();
    if (deletions_.known()) torn_.Save();
}

/// A copy from before is never written over.
int MailLogRun::KeepCapture() {
    for (int number = 1;; ++number) {
        keptAs_ = path_ + ".bak" + (number == 1 ? std::string() : std::to_string(number));
        core::EntryKind kind{};
        if (const int error = analysis_.workspace.Inspect(keptAs_, kind); error < 0) return error;
        if (kind == core::EntryKind::Missing) return analysis_.workspace.Rename(path_, keptAs_);
    }
}

void MailLogRun::TellCount() {
    if (analysis_.settings.autoMode == kUnattended || !analysis_.resultMessages) return;
    const auto caption = "受信メール情報"_sjis;
    if (headerLines_ == 0 && unread_ > 0) return;
    if (headerLines_ == 0) {
        ui_.ShowMessage(caption, "新規受信メールはありませんでした。"_sjis, core::MessageIcon::Information);
        return;
    }
    // The blanks keep the box wide.
    std::string text = "       " + std::to_string(headerLines_);
    text += " 通のメールを受信しました。       "_sjis;
    ui_.ShowMessage(caption, text, core::MessageIcon::None);
}

void MailLogRun::TellUnread() {
    if (unread_ == 0) return;
    const std::string count = std::to_string(unread_);
    std::string text;
    if (ui_.language() == core::Language::Japanese) {
        text.append("ホストから削除したメールのうち "_sjis).append(count);
        text += " 通は、受信データが乱れていて読み取れませんでした。"_sjis;
        text.append("読み取れなかった部分を「"_sjis).append(kUnreadSubject).append("」として "_sjis);
        text.append(analysis_.inbox).append(" に保存し、受信ファイルを "_sjis).append(keptAs_);
        text += " に残しました。"_sjis;
    } else {
        text = "Of the mails that the host has deleted " + count +
               " could not be read: what was received is garbled. ";
        text.append("What could not be read is in ").append(analysis_.inbox).append(" as \"");
        text.append(kUnreadSubject).append("\", and the capture is kept as ").append(keptAs_).append(".");
    }
    Tell(text);
}

void MailLogRun::TellOpen() {
    if (!open_) return;
    const bool japanese = ui_.language() == core::Language::Japanese;
    std::string text(japanese ? "メール「"_sjis : "The mail \"");
    text += openSubject_;
    if (tornOff_) {
        text += japanese ? "」は途中までしか受信できませんでした。次の通信でもう一度届きます。"_sjis
                         : "\" was torn off. It will come again with the next session.";
    } else {
        text +=
            japanese
                ? "」をホストが削除したかどうか確認できませんでした。次の通信でもう一度届くことがあります。"_sjis
                : "\" may not have been deleted by the host. It may come again with the next session.";
    }
    Tell(text);
}

void MailLogRun::Tell(const std::string& text) {
    core::LogError(analysis_.workspace, text);
    if (analysis_.settings.autoMode == kUnattended) return;
    ui_.ShowMessage(core::kProductName, text, core::MessageIcon::Warning);
}

void MailLogRun::TellIncomplete() {
    const bool japanese = ui_.language() == core::Language::Japanese;
    const std::string reason = error_ < 0 ? core::DescribeError(error_, ui_.language()) : std::string();
    const std::string count = std::to_string(stored_ + deliveries_.committed());
    std::string text = path_;
    if (japanese) {
        text += " に保存できなかったメールが残っています。"_sjis;
        if (!reason.empty()) text.append("（"_sjis).append(reason).append("）"_sjis);
        text.append(count).append(" 通は保存しました。"_sjis);
        text += "ファイルは残してありますので、もう一度解析すると残りのメールを保存します。"_sjis;
    } else {
        text += " still holds mails that could not be stored";
        if (!reason.empty()) text += " (" + reason + ")";
        text += "; " + count + " are stored. The file is kept: analyse it again to store the rest.";
    }
    Tell(text);
}

}  // namespace

int CountCapturedMails(const core::Workspace& workspace, std::string_view path) {
    std::unique_ptr<core::File> file;
    if (workspace.Open(path, core::OpenMode::Read, file) < 0) return 0;
    CapturedLines capture(*file);
    int count = 0;
    while (capture.Read()) {
        if (!IsMailHeaderLine(capture.line())) continue;
        ++count;
        // The subject, and whatever looks like a header line in the text.
        if (!capture.Read()) break;
        while (capture.Read() && !EndsMail(capture.line())) {
        }
    }
    return count;
}

int AnalyseMailLog(const Analysis& analysis, std::string_view path, MailLogResult& result) {
    result = {};
    try {
        return MailLogRun(analysis, path).Run(result);
    } catch (const std::bad_alloc&) {
        analysis.ui.SetProgress(0, 0);
        analysis.ui.SetStatusText("");
        analysis.ui.ShowMessage(core::kProductName, "解析に必要なメモリが確保出来ません。"_sjis,
                                core::MessageIcon::Information);
        return 0;
    }
}

}  // namespace postkite::analyse
