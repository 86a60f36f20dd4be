#include "analyse/forum_log.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>

#include "analyse/forum_rooms.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/line_reader.h"
#include "core/shift_jis.h"
#include "store/mail_record.h"

namespace postkite::analyse {

using namespace core::literals;

namespace {

constexpr std::string_view kReadCommand = "CCS(A)>MRE\r\n";
constexpr std::string_view kPrompt = "CCS(A)>";
constexpr std::size_t kDirectionColumn = 4;
constexpr std::string_view kNothingUnread = "◆現在未読の発言はありません◆"_sjis;
constexpr std::string_view kMessageEnd = " \b\r\n";
constexpr std::string_view kLineEnd = "\r\n";
constexpr int kLinesBetweenPumps = 30;

/// A text of these takes no further line. The room behind is for a line that is longer than it should be.
constexpr std::size_t kFullText = store::MAIL_BODY_MAX - 3000;
/// A piece of a header line.
struct Columns {
    std::size_t first;
    std::size_t count;
};

/// Where the header lines of messages have what. Rooms with numbers of three digits have the short ones.
struct Layout {
    Columns number;
    Columns id;
    Columns name;
    std::size_t title;
};
constexpr Layout kShortNumbers = {{0, 3}, {10, 8}, {20, 17}, 38};
constexpr Layout kLongNumbers = {{0, 5}, {12, 8}, {22, 16}, 39};
constexpr std::size_t kLayoutColumn = 3;

constexpr Columns kDate = {7, 8};
constexpr std::size_t kReferenceColumn = 23;

/// Fewer bytes where the line ends before; none of a character that the columns cut.
std::string_view Piece(std::string_view line, Columns columns) {
    return core::CutToBytes(line.substr(std::min(columns.first, line.size())), columns.count);
}

std::string RightAligned(std::string_view text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + std::string(text);
}

std::string_view WithoutLineEnd(std::string_view line) {
    if (line.ends_with('\n')) line.remove_suffix(1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

/// Whether the line begins with a text that names some direction.
bool BeginsWith(std::string_view line, std::string_view text) {
    return line.size() >= text.size() && line.starts_with(text.substr(0, kDirectionColumn)) &&
           line.substr(kDirectionColumn + 1).starts_with(text.substr(kDirectionColumn + 1));
}

bool IsReadCommand(std::string_view line) {
    return line.size() == kReadCommand.size() && BeginsWith(line, kReadCommand);
}

/// A capture on its way through the analyser.
class ForumLog {
  public:
    ForumLog(const Analysis& analysis, core::File& file, std::uint64_t bytes)
        : analysis_(analysis), reader_(file, store::MAIL_BODY_MAX), bytes_(bytes), rooms_(analysis) {}

    /// Stores the messages. False where not every one is stored; the user knows why, but for a capture that
    /// cannot be read on.
    [[nodiscard]] bool Run();

    [[nodiscard]] int readError() const { return reader_.error(); }
    [[nodiscard]] std::uint64_t cutMessages() const { return cutMessages_; }
    [[nodiscard]] const ForumRooms& rooms() const { return rooms_; }

  private:
    enum class Next { Message, BlockEnd, FileEnd };

    [[nodiscard]] bool FindRoom();
    [[nodiscard]] Next ReadMessage();
    [[nodiscard]] bool ReadText();
    void TakeHeader(std::string_view header);
    void TakeSecondLine();
    void AddToText(std::string_view line);
    void StoreMessage();
    void ShowProgress();

    const Analysis& analysis_;
    core::LineReader reader_;
    std::uint64_t bytes_;
    ForumRooms rooms_;
    std::string line_;
    store::MailRecord record_;
    std::string number_;
    std::size_t referenceBytes_ = 0;
    bool cut_ = false;
    int searched_ = 0;
    std::uint64_t cutMessages_ = 0;
};

bool ForumLog::Run() {
    if (rooms_.Open() < 0) return false;
    Next next = Next::BlockEnd;
    while (!rooms_.hopeless() && next != Next::FileEnd) {
        if (next == Next::BlockEnd && !FindRoom()) break;
        next = ReadMessage();
        if (next == Next::Message) StoreMessage();
    }
    const bool finished = rooms_.Finish();
    return finished && reader_.error() == 0;
}

/// Reads up to and with the next room's line. False at the end of the file.
bool ForumLog::FindRoom() {
    rooms_.EndBlock();
    while (ReadRawLine(reader_, line_) == 0) {
        if (++searched_ % kLinesBetweenPumps == 0) {
            searched_ = 0;
            ShowProgress();
            analysis_.ui.PumpMessages();
        }
        if (!IsReadCommand(line_)) continue;
        if (ReadLogLine(reader_, line_) < 0) return false;
        if (line_ == kNothingUnread) continue;
        rooms_.BeginBlock(ParseRoomLine(line_));
        return true;
    }
    return false;
}

ForumLog::Next ForumLog::ReadMessage() {
    if (ReadRawLine(reader_, line_) < 0) return Next::FileEnd;
    if (BeginsWith(line_, kPrompt)) return Next::BlockEnd;
    // The text keeps what it has allocated.
    std::string text = std::move(record_.body);
    record_ = store::MailRecord();
    record_.body = std::move(text);
    record_.body.clear();
    cut_ = false;
    TakeHeader(line_);
    if (ReadLogLine(reader_, line_) < 0) return Next::FileEnd;
    TakeSecondLine();
    return ReadText() ? Next::Message : Next::FileEnd;
}

void ForumLog::TakeHeader(std::string_view header) {
    AddToText(header);
    const std::string_view line = WithoutLineEnd(header);
    const bool isShort = line.size() > kLayoutColumn && line[kLayoutColumn] == '/';
    const Layout& layout = isShort ? kShortNumbers : kLongNumbers;
    number_ = Piece(line, layout.number);
    record_.flags = store::kReceivedMailFlags;
    record_.flags[store::flag::kKind] = 'N';
    record_.address = Piece(line, layout.id);
    record_.name = Piece(line, layout.name);
    record_.subject = line.substr(std::min(layout.title, line.size()));
    // A reference has as many digits as the number.
    referenceBytes_ = layout.number.count;
}

void ForumLog::TakeSecondLine() {
    AddToText(line_);
    AddToText(kLineEnd);
    const std::string_view reference = Piece(line_, {kReferenceColumn, referenceBytes_});
    // Every column has its place, so that the number is found again; a date is of its full length.
    std::string date(Piece(line_, kDate));
    date.resize(kDate.count, ' ');
    record_.date = date + ' ' + RightAligned(number_, kMessageNumberBytes) + ' ' +
                   RightAligned(reference, kMessageNumberBytes) + ' ';
}

/// False where the file ends before the message does.
bool ForumLog::ReadText() {
    while (ReadRawLine(reader_, line_) == 0) {
        if (line_ == kMessageEnd) return true;
        AddToText(line_);
    }
    return false;
}

void ForumLog::AddToText(std::string_view line) {
    if (record_.body.size() < kFullText) {
        record_.body += line;
    } else {
        cut_ = true;
    }
}

void ForumLog::StoreMessage() {
    if (rooms_.Store(record_) == ForumRooms::Outcome::Stored && cut_) ++cutMessages_;
    analysis_.ui.PumpMessages();
    ShowProgress();
}

void ForumLog::ShowProgress() {
    analysis_.ui.SetProgress(reader_.position(), bytes_);
    analysis_.ui.RedrawMainWindow();
}

/// The text with each "{}" replaced by the next of the values.
std::string Fill(std::string_view text, std::initializer_list<std::string_view> values) {
    constexpr std::string_view kMark = "{}";
    std::string filled;
    for (const std::string_view value : values) {
        const std::size_t at = core::FindText(text, kMark);
        filled += text.substr(0, at);
        filled += value;
        text.remove_prefix(at + kMark.size());
    }
    return filled += text;
}

/// What goes wrong is in "error.log" in any case, and on the screen where somebody looks at it.
void Warn(const Analysis& analysis, const std::string& text) {
    core::LogError(analysis.workspace, text);
    if (analysis.settings.autoMode == 1) return;
    analysis.ui.ShowMessage(core::kProductName, text, core::MessageIcon::Warning);
}

void ReportMisplaced(const Analysis& analysis, const ForumRooms& rooms) {
    if (rooms.misplaced() == 0) return;
    const std::string_view text = Choose(
        analysis.ui, "フォルダを作れない会議室の発言 {} 件を {} に保存しました。（{}）"_sjis,
        "Messages of rooms that no folder can be made for: {}. They were stored in {}. The first room: {}");
    Warn(analysis,
         Fill(text, {std::to_string(rooms.misplaced()), analysis.inbox, rooms.firstMisplacedRoom()}));
}

void LogCutMessages(const Analysis& analysis, std::uint64_t count) {
    if (count == 0) return;
    const std::string_view text = Choose(analysis.ui, "長すぎる発言 {} 件の終わりを保存しませんでした。"_sjis,
                                         "The end was left out of messages that are too long: {}");
    core::LogError(analysis.workspace, Fill(text, {std::to_string(count)}));
}

/// `error` is a negated errno value, or 0 where the user knows it.
void ReportIncomplete(const Analysis& analysis, std::string_view path, int error) {
    std::string text =
        Fill(Choose(analysis.ui,
                    "会議室ログの解析を完了できませんでした。ファイル {} は残してあります。\r\n"
                    "もう一度解析すると、保存できなかった発言だけを保存します。"_sjis,
                    "The forum log could not be analysed to the end. The file {} stays.\r\n"
                    "Analyse it again to store only those messages that were not stored."),
             {path});
    if (error < 0) {
        text += "\r\n";
        text += core::DescribeError(error, analysis.ui.language());
    }
    Warn(analysis, text);
}

/// Stores what the capture holds and removes it. `error` gets a negated errno value where the user does not
/// know yet why that failed.
void StoreAll(const Analysis& analysis, std::string_view path, ForumLog& log, ForumLogResult& result,
              int& error) {
    // What a folder holds stays so for the length of the run.
    core::WorkspaceLock lock;
    error = analysis.workspace.Lock(true, lock);
    if (error < 0) return;
    result.complete = log.Run();
    error = log.readError();
    if (!result.complete) return;
    error = analysis.workspace.Remove(path);
    result.complete = error == 0;
    // Should it come back, its messages are known.
    if (result.complete) static_cast<void>(analysis.workspace.SyncNames(path));
}

}  // namespace

int AnalyseForumLog(const Analysis& analysis, std::string_view path, ForumLogResult& result) {
    result = {};
    std::unique_ptr<core::File> file;
    if (analysis.workspace.Open(path, core::OpenMode::Read, file) < 0) return 0;
    result.found = true;
    const auto bytes = static_cast<std::uint64_t>(std::max<std::int64_t>(file->Size(), 0));
    analysis.ui.SetStatusText("会議室ログの解析"_sjis);
    analysis.ui.SetProgress(0, bytes);
    ForumLog log(analysis, *file, bytes);
    int error = 0;
    StoreAll(analysis, path, log, result, error);
    analysis.ui.SetProgress(bytes, bytes);
    analysis.ui.SetProgress(0, 0);
    analysis.ui.SetStatusText({});
    ReportMisplaced(analysis, log.rooms());
    LogCutMessages(analysis, log.cutMessages());
    if (!result.complete) ReportIncomplete(analysis, path, error);
    return log.rooms().committed();
}

void ReportForumMessages(const Analysis& analysis, int count) {
    if (count <= 0 || analysis.settings.autoMode == 1 || !analysis.resultMessages) return;
    analysis.ui.ShowMessage(core::kProductName,
                            std::to_string(count) + std::string(" 件の会議室データを読み込みました。"_sjis),
                            core::MessageIcon::Information);
}

}  // namespace postkite::analyse
