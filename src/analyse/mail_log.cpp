#include "analyse/mail_log.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "analyse/capture_part.h"
#include "analyse/deliveries.h"
#include "analyse/mail_addresses.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/line_reader.h"
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
constexpr std::size_t kHeaderLineBytes = 54;

constexpr std::size_t kSubjectColumn = 10;

/// A mail that has as much takes no further line. A line is taken whole, whatever its length.
constexpr std::size_t kFullBodyBytes = store::MAIL_BODY_MAX - 3000;

/// The rest of a longer line is dropped: a line is never more than a mail can hold.
constexpr std::size_t kLongestLine = store::MAIL_BODY_MAX;

constexpr std::string_view kGateway = "INET GATE";
constexpr std::string_view kFrom = "From";

/// The lines of a capture. A last one without a line end is a line like any other.
class CapturedLines {
  public:
    explicit CapturedLines(core::File& capture) : reader_(capture, kLongestLine) {}

    /// False at the end, where the line is still the one before, and where the capture cannot be read on.
    [[nodiscard]] bool Read() {
        if (const auto line = reader_.TakeLine()) {
            line_ = *line;
            return true;
        }
        if (line_.data() != kept_.data()) kept_ = line_;
        const bool read = core::ReadLogLine(reader_, kept_) == 0;
        const std::size_t cutBytes = read || reader_.error() < 0 ? 0 : reader_.cutLineBytes();
        if (cutBytes > 0) kept_.resize(cutBytes);
        line_ = kept_;
        return read || cutBytes > 0;
    }

    /// Everything between mails is passed over.
    [[nodiscard]] bool FindHeaderLine() {
        while (Read()) {
            if (IsMailHeaderLine(line_)) return true;
        }
        return false;
    }

    /// Valid until the next one is read.
    [[nodiscard]] std::string_view line() const { return line_; }
    [[nodiscard]] std::uint64_t position() const { return reader_.position(); }
    [[nodiscard]] int error() const { return reader_.error(); }
    void Seek(std::uint64_t position) { reader_.Seek(position); }

  private:
    core::LineReader reader_;
    std::string kept_;
    std::string_view line_;
};

/// One run over a capture.
class MailLogRun {
  public:
    MailLogRun(const Analysis& analysis, std::string_view path)
        : analysis_(analysis),
          ui_(analysis.ui),
          path_(path),
          part_(analysis.mailbox, path),
          deliveries_(analysis.mailbox, [this](std::string_view folder) { return part_.AddFolder(folder); }) {
    }

    [[nodiscard]] int Run(MailLogResult& result);

  private:
    [[nodiscard]] int Prepare(core::File& file);
    void ReadMails(CapturedLines& capture);
    [[nodiscard]] bool BeginMail(CapturedLines& capture);
    void ReadBody(CapturedLines& capture);
    void AddLine(std::string_view line);
    void TakeSender(std::string_view line);
    void StoreMail();
    [[nodiscard]] std::string_view ChooseFolder();
    void MoveMark();
    void RemoveCapture();
    void TellCount();
    void TellIncomplete();

    const Analysis& analysis_;
    core::UserInterface& ui_;
    std::string path_;
    core::WorkspaceLock lock_;
    organise::RuleTable rules_;
    CapturePart part_;
    Deliveries deliveries_;
    store::MailRecord record_;
    std::string ruleTarget_;
    bool fromGateway_ = false;  ///< and its "From" line has not come yet
    int headerLines_ = 0;
    int stored_ = 0;  ///< found stored, by earlier runs
    std::uint64_t captureBytes_ = 0;
    std::uint64_t mailEnd_ = 0;  ///< of the last mail that is in a folder
    int mailsBefore_ = 0;        ///< that end
    int committedAtMark_ = 0;
    int error_ = 0;  ///< what keeps the run from being complete, where it is not a folder
    bool complete_ = false;
};

int MailLogRun::Run(MailLogResult& result) {
    error_ = analysis_.workspace.Lock(true, lock_);
    // Where the rules cannot be read the user knows, and all goes to the Inbox.
    static_cast<void>(rules_.LoadRules(analysis_.folders, analysis_.settings, organise::kEnabledRules));
    std::unique_ptr<core::File> file;
    if (const int opened = analysis_.workspace.Open(path_, core::OpenMode::Read, file); opened < 0) {
        // A later capture must not be taken for the one that it belonged to.
        if (opened == -ENOENT && error_ == 0) part_.Remove();
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
    if (delivered && error_ == 0) RemoveCapture();
    if (!complete_) MoveMark();
    result = {stored_ + deliveries_.committed(), complete_};
    ui_.SetProgress(captureBytes_, captureBytes_);
    if (complete_) {
        TellCount();
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
    int result = part_.Load(file);
    if (result == 0) result = part_.FindStored(analysis_.folders.tree());
    if (result < 0) return result;
    headerLines_ = stored_ = mailsBefore_ = part_.mails();
    mailEnd_ = part_.offset();
    return 0;
}

void MailLogRun::ReadMails(CapturedLines& capture) {
    while (!deliveries_.hopeless() && BeginMail(capture)) {
        ReadBody(capture);
        // What came before a read that failed is not the whole mail.
        if (capture.error() < 0) return;
        StoreMail();
        // The mails that are stored stay the first ones of the capture: a mark says how many they are.
        if (!deliveries_.complete()) return;
        mailEnd_ = capture.position();
        mailsBefore_ = headerLines_;
        if (deliveries_.allCommitted()) MoveMark();
        ui_.SetProgress(capture.position(), captureBytes_);
        ui_.RedrawMainWindow();
    }
}

/// False when the capture ends first. A header line in its last line is counted and nothing more.
bool MailLogRun::BeginMail(CapturedLines& capture) {
    if (!capture.FindHeaderLine()) return false;
    ++headerLines_;
    const std::string_view line = capture.line();
    record_.body.clear();
    record_.flags = store::kReceivedMailFlags;
    record_.name.assign(line, kNameColumn, kNameBytes);
    record_.address.assign(line, kIdColumn, line.find(' ', kIdColumn) - kIdColumn);
    record_.date.assign(line, kDateColumn);
    record_.date += ' ';
    record_.date += core::FormatNowDate(analysis_.clock);
    for (std::string* field : {&record_.attach, &record_.cc, &record_.bcc, &record_.extraAddress,
                               &record_.sizeText, &record_.sourceId, &record_.messageId, &record_.spare1,
                               &record_.spare2, &record_.spare3, &record_.spare4, &record_.spare5})
        field->clear();
    fromGateway_ = record_.name.starts_with(kGateway);
    AddLine(line);
    if (!capture.Read()) return false;
    record_.subject = capture.line().substr(std::min(kSubjectColumn, capture.line().size()));
    AddLine(capture.line());
    return true;
}

void MailLogRun::ReadBody(CapturedLines& capture) {
    bool atEnd = false;
    while (!atEnd) {
        // At the end the line is the one before once more. So the last line of a mail without the host's question behind it
        // stands there twice: that is wanted.
        atEnd = !capture.Read();
        const std::string_view line = capture.line();
        if (fromGateway_ && line.starts_with(kFrom)) TakeSender(line);
        if (EndsMail(line)) return;
        AddLine(line);
    }
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
    if (part_.hasStored()) {
        store::MailRecord asStored = record_;
        MakeStorable(asStored);
        if (part_.TakeStored(asStored.body)) {
            ++stored_;
            return;
        }
    }
    // The folder gives it another, and has always been given one.
    record_.localId = analysis_.mailbox.identifiers().MakeMailKey();
    // What fails is in the account of the deliveries.
    static_cast<void>(deliveries_.Deliver(ChooseFolder(), record_));
}

std::string_view MailLogRun::ChooseFolder() {
    if (analysis_.settings.filterReceive != 1) return analysis_.inbox;
    if (rules_.FindRuleTarget(record_, ruleTarget_) < 0) return analysis_.inbox;
    return deliveries_.OpenFolder(ruleTarget_) == 0 ? std::string_view(ruleTarget_) : analysis_.inbox;
}

/// Once all mails up to here are in their folders for good, the next run need not look at them. It may be that it has to
/// look at them all the same, where this fails.
void MailLogRun::MoveMark() {
    if (deliveries_.takenBack() || part_.hasStored() || deliveries_.committed() == committedAtMark_) return;
    committedAtMark_ = deliveries_.committed();
    static_cast<void>(part_.Advance(mailEnd_, mailsBefore_));
}

/// The part file goes last: without it a capture that is still there would be stored a second time.
void MailLogRun::RemoveCapture() {
    error_ = analysis_.workspace.Remove(path_);
    if (error_ < 0) return;
    complete_ = true;
    if (analysis_.workspace.SyncNames(path_) == 0) part_.Remove();
}

void MailLogRun::TellCount() {
    constexpr int kUnattended = 1;
    if (analysis_.settings.autoMode == kUnattended || !analysis_.resultMessages) return;
    const auto caption = "受信メール情報"_sjis;
    if (headerLines_ == 0) {
        ui_.ShowMessage(caption, "新規受信メールはありませんでした。"_sjis, core::MessageIcon::Information);
        return;
    }
    // The blanks keep the box wide.
    std::string text = "       " + std::to_string(headerLines_);
    text += " 通のメールを受信しました。       "_sjis;
    ui_.ShowMessage(caption, text, core::MessageIcon::None);
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
    core::LogError(analysis_.workspace, text);
    constexpr int kUnattended = 1;
    if (analysis_.settings.autoMode == kUnattended) return;
    ui_.ShowMessage(core::kProductName, text, core::MessageIcon::Warning);
}

}  // namespace

bool IsMailHeaderLine(std::string_view line) {
    return line.size() == kHeaderLineBytes && line[42] == '/' && line[45] == '/' && line[51] == ':' &&
           line[48] == ' ' && line[39] == ' ';
}

bool EndsMail(std::string_view line) {
    // Of the answer the colon is what is rare in texts.
    for (std::size_t at = line.find(':'); at != std::string_view::npos; at = line.find(':', at + 1)) {
        if (line.substr(0, at).ends_with("action") && line.substr(at).starts_with(":DELETE")) return true;
    }
    constexpr std::string_view kPrompt =
        "受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis;
    constexpr std::string_view kOtherPrompt =
        "受信後 (1:削除  2:保存  *:返信  *:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis;
    return line == kPrompt || line == kOtherPrompt;
}

int CountCapturedMails(const core::Workspace& workspace, std::string_view path) {
    std::unique_ptr<core::File> file;
    if (workspace.Open(path, core::OpenMode::Read, file) < 0) return 0;
    CapturedLines capture(*file);
    int count = 0;
    while (capture.FindHeaderLine()) {
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
