#include "comm/script_file.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <memory>
#include <optional>

#include "core/shift_jis.h"

namespace postkite::comm {

namespace {

constexpr std::u8string_view kByteOrderMark = u8"\uFEFF";
constexpr std::string_view kDigits = "0123456789";

struct Words {
    ScriptFault fault;
    std::u8string_view japanese;
    std::u8string_view english;
};

/// "{}" stands for the problem's detail.
constexpr Words kWords[] = {
    {ScriptFault::BadNumber, u8"行番号と空白で始まっていません",
     u8"does not begin with a line number and a blank"},
    {ScriptFault::NumberOutOfRange, u8"行番号 {} は 1～249 の範囲にありません",
     u8"the line number {} is not one of 1 to 249"},
    {ScriptFault::NumberNotRising, u8"行番号 {} が前の行より大きくありません",
     u8"the line number {} is not above the one before"},
    {ScriptFault::BadEscape, u8"「{}」という書き方はありません（\\r、\\n、\\\\ のどれか）",
     u8"there is no escape \"{}\", only \\r, \\n and \\\\"},
    {ScriptFault::CarriageReturn, u8"行の途中に復帰文字があります（\\r と書きます）",
     u8"holds a carriage return, which is written \\r"},
    {ScriptFault::ZeroByte, u8"ゼロバイトがあります", u8"holds a zero byte"},
    {ScriptFault::NotInCodePage, u8"Shift-JIS で表せない文字「{}」があります",
     u8"holds \"{}\", which Shift-JIS has no code for"},
    {ScriptFault::LineTooLong, u8"{} バイトあります（Shift-JIS で 79 バイトまで）",
     u8"has {} bytes, and 79 of Shift-JIS are the most"},
    {ScriptFault::UnknownCommand, u8"コマンド「{}」はありません", u8"there is no command \"{}\""},
    {ScriptFault::LabelTooLong, u8"ラベル「{}」が長すぎます（Shift-JIS で 19 バイトまで）",
     u8"the label \"{}\" is too long: 19 bytes of Shift-JIS at most"},
    {ScriptFault::TooManyLabels, u8"ラベル「{}」は 31 個目以降です（30 個まで）",
     u8"the label \"{}\" is one too many: 30 at most"},
    {ScriptFault::UndefinedLabel, u8"ラベル「{}」が定義されていません", u8"the label \"{}\" is not defined"},
    {ScriptFault::JumpOutOfRange, u8"飛び先の行 {} は 1～249 の範囲にありません",
     u8"jumps to line {}, which is not one of 1 to 249"},
    {ScriptFault::JumpBehindEnd, u8"飛び先の行 {} は END より後にあります", u8"jumps to line {}, behind END"},
    {ScriptFault::BehindEnd, u8"END より後にあります（ここから先は読み込まれません）",
     u8"stands behind END: from here on nothing is loaded"},
    {ScriptFault::MissingEnd, u8"END がありません", u8"there is no END"},
};

std::u8string Digits(long long number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

bool IsDigit(char8_t unit) {
    return unit >= u8'0' && unit <= u8'9';
}

/// The character that begins at `at`, as it stands there.
std::u8string_view CharacterAt(std::u8string_view text, std::size_t at) {
    constexpr std::size_t kLongestCharacter = 4;
    std::size_t end = at + 1;
    while (end < text.size() && end < at + kLongestCharacter && (text[end] & 0xC0U) == 0x80U)
        ++end;
    return text.substr(at, end - at);
}

/// Takes the escapes out of `text`. Returns the one that there is not, or nothing.
std::optional<std::u8string> Unescape(std::u8string_view text, std::u8string& plain) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != u8'\\') {
            plain += text[at];
            continue;
        }
        const char8_t escape = ++at < text.size() ? text[at] : u8'\0';
        if (escape == u8'r') {
            plain += u8'\r';
        } else if (escape == u8'n') {
            plain += u8'\n';
        } else if (escape == u8'\\') {
            plain += u8'\\';
        } else {
            return std::u8string(u8"\\").append(at < text.size() ? CharacterAt(text, at) : u8"");
        }
    }
    return std::nullopt;
}

/// Reads the lines of one file into a `ScriptFile`.
class Parser {
  public:
    explicit Parser(ScriptFile& file) : file_(&file) {}

    void ReadLine(std::u8string_view line) {
        ++fileLine_;
        file_->lastFileLine = fileLine_;
        if (line.starts_with(u8'#') || line.find_first_not_of(u8" \t\u3000") == std::u8string_view::npos)
            return;
        const std::optional<int> number = TakeNumber(line);
        if (number) TakeText(*number, line);
    }

    [[nodiscard]] std::vector<ScriptProblem> TakeProblems() { return std::move(problems_); }

  private:
    void Fault(ScriptFault fault, std::u8string detail = {}) {
        problems_.push_back({fileLine_, fault, std::move(detail)});
    }

    /// Takes number and blank from `line`.
    std::optional<int> TakeNumber(std::u8string_view& line) {
        const auto digitsEnd = std::find_if_not(line.begin(), line.end(), IsDigit);
        const auto digits = line.substr(0, static_cast<std::size_t>(digitsEnd - line.begin()));
        const std::u8string_view rest = line.substr(digits.size());
        if (digits.empty() || (!rest.empty() && rest.front() != u8' ')) {
            Fault(ScriptFault::BadNumber);
            return std::nullopt;
        }
        int number = 0;
        const char* const first = reinterpret_cast<const char*>(digits.data());
        const auto read = std::from_chars(first, first + digits.size(), number);
        if (read.ec != std::errc() || number < 1 || number >= kScriptLines) {
            constexpr std::size_t kShownDigits = 20;
            Fault(ScriptFault::NumberOutOfRange, std::u8string(digits.substr(0, kShownDigits)));
            return std::nullopt;
        }
        if (number <= lastNumber_) {
            Fault(ScriptFault::NumberNotRising, Digits(number));
            return std::nullopt;
        }
        lastNumber_ = number;
        line = rest.empty() ? rest : rest.substr(1);
        return number;
    }

    void TakeText(int number, std::u8string_view escaped) {
        std::u8string plain;
        if (escaped.find(u8'\r') != std::u8string_view::npos) return Fault(ScriptFault::CarriageReturn);
        if (escaped.find(u8'\0') != std::u8string_view::npos) return Fault(ScriptFault::ZeroByte);
        if (const auto badEscape = Unescape(escaped, plain)) return Fault(ScriptFault::BadEscape, *badEscape);
        std::size_t refusedAt = 0;
        const auto text = core::FromUtf8(plain, &refusedAt);
        if (!text) return Fault(ScriptFault::NotInCodePage, std::u8string(CharacterAt(plain, refusedAt)));
        if (text->size() > kLongestScriptLine)
            Fault(ScriptFault::LineTooLong, Digits(static_cast<long long>(text->size())));
        file_->lines[static_cast<std::size_t>(number)] = core::CutToBytes(*text, kLongestScriptLine);
        file_->fileLines[static_cast<std::size_t>(number)] = fileLine_;
    }

    ScriptFile* file_;
    std::vector<ScriptProblem> problems_;
    int fileLine_ = 0;
    int lastNumber_ = 0;
};

/// What an argument is to the commands that jump.
enum class Target {
    None,
    Line,           ///< a label where "*" begins it, else a number
    LineOrNothing,  ///< the same, but the empty text is no fault: built-in scripts have it
    Label,          ///< a label where "*" begins it, else not looked at
};

struct Jump {
    std::string_view command;
    Target first;
    Target second;
};

constexpr Jump kJumps[] = {
    {"CASE_FENICS", Target::None, Target::Label},
    {"CHECKFORUM", Target::None, Target::Label},
    {"CHECK_SENDLOGF", Target::None, Target::LineOrNothing},
    {"CHECK_SENDMAIL", Target::Line, Target::None},
    {"CHKSMAIL", Target::Line, Target::None},
    {"READ_FILE_FAST", Target::LineOrNothing, Target::None},
    {"READ_FILE", Target::Line, Target::None},
    {"READ_VANID", Target::Line, Target::None},
    {"READ_MES_TO", Target::None, Target::LineOrNothing},
    {"DELETE_MAIL", Target::Line, Target::None},
    {"DOWN_MAIL", Target::Line, Target::None},
    {"GOTOFORUM", Target::LineOrNothing, Target::LineOrNothing},
    {"GOTOFORUML", Target::LineOrNothing, Target::LineOrNothing},
    {"GOTOFORUMD", Target::LineOrNothing, Target::LineOrNothing},
    {"WAITKOUMOKU", Target::None, Target::LineOrNothing},
    {"WAITLIST", Target::None, Target::LineOrNothing},
    {"BINUP", Target::None, Target::LineOrNothing},
};

/// Leading digits; 0 without any, the largest number where there are too many.
int LeadingNumber(std::string_view text) {
    int number = 0;
    const std::string_view digits = text.substr(0, text.find_first_not_of(kDigits));
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return read.ec == std::errc::result_out_of_range ? INT32_MAX : number;
}

/// Goes through the lines of one script.
class Checker {
  public:
    explicit Checker(const ScriptFile& file) : file_(&file) {
        const auto& lines = file.lines;
        end_ = static_cast<int>(std::find_if(lines.begin(), lines.end(), EndsScript) - lines.begin());
        for (int number = 0; number < end_; ++number)
            if (const auto command = FieldsOf(number).command; command.starts_with('*'))
                TakeLabel(number, command);
    }

    [[nodiscard]] std::vector<ScriptProblem> Check() {
        for (int number = 0; number < end_; ++number)
            if (!LineAt(number).empty()) CheckLine(number, FieldsOf(number));
        for (int number = end_ + 1; number < kScriptLines; ++number) {
            if (LineAt(number).empty()) continue;
            Fault(number, ScriptFault::BehindEnd);
            break;
        }
        std::stable_sort(problems_.begin(), problems_.end(),
                         [](const ScriptProblem& a, const ScriptProblem& b) { return a.line < b.line; });
        if (end_ == kScriptLines) problems_.push_back({file_->lastFileLine, ScriptFault::MissingEnd, {}});
        return std::move(problems_);
    }

  private:
    [[nodiscard]] const std::string& LineAt(int number) const {
        return file_->lines[static_cast<std::size_t>(number)];
    }

    [[nodiscard]] ScriptFields FieldsOf(int number) const { return SplitLine(LineAt(number), {}); }

    void Fault(int number, ScriptFault fault, std::u8string detail = {}) {
        problems_.push_back({file_->fileLines[static_cast<std::size_t>(number)], fault, std::move(detail)});
    }

    void TakeLabel(int number, std::string_view label) {
        if (label.size() > kLongestLabel) Fault(number, ScriptFault::LabelTooLong, FormatScriptLine(label));
        if (labels_.size() == static_cast<std::size_t>(kScriptLabels))
            return Fault(number, ScriptFault::TooManyLabels, FormatScriptLine(label));
        labels_.push_back(label);
    }

    void CheckLine(int number, const ScriptFields& fields) {
        if (fields.command.starts_with('*')) return;
        const auto names = CommandNames();
        if (std::find(names.begin(), names.end(), fields.command) == names.end())
            return Fault(number, ScriptFault::UnknownCommand, FormatScriptLine(fields.command));
        if (fields.command == "GOTO") return CheckGoto(number, fields);
        if (fields.command == "RELJUMP") return CheckLineNumber(number, number - LeadingNumber(fields.first));
        const auto jump = std::find_if(std::begin(kJumps), std::end(kJumps), [&fields](const Jump& entry) {
            return entry.command == fields.command;
        });
        if (jump == std::end(kJumps)) return;
        CheckTarget(number, fields.first, jump->first);
        CheckTarget(number, fields.second, jump->second);
    }

    void CheckGoto(int number, const ScriptFields& fields) {
        if (fields.second.starts_with('*')) return CheckLabel(number, fields.second);
        CheckLineNumber(number, LeadingNumber(fields.first));
    }

    void CheckTarget(int number, std::string_view text, Target target) {
        if (target == Target::None || (target == Target::LineOrNothing && text.empty())) return;
        if (text.starts_with('*')) return CheckLabel(number, text);
        if (target != Target::Label) CheckLineNumber(number, LeadingNumber(text));
    }

    void CheckLabel(int number, std::string_view label) {
        if (std::find(labels_.begin(), labels_.end(), label) != labels_.end()) return;
        Fault(number, ScriptFault::UndefinedLabel, FormatScriptLine(label));
    }

    void CheckLineNumber(int number, long long target) {
        if (target < 1 || target >= kScriptLines) {
            Fault(number, ScriptFault::JumpOutOfRange, Digits(target));
        } else if (target > end_) {
            Fault(number, ScriptFault::JumpBehindEnd, Digits(target));
        }
    }

    const ScriptFile* file_;
    int end_ = 0;  ///< the line of the END, or 250
    std::vector<std::string_view> labels_;
    std::vector<ScriptProblem> problems_;
};

/// The name of a script file as the working directory takes it; nothing where there is no directory.
std::optional<std::string> PathOf(const core::Settings& settings, std::string_view name) {
    if (settings.scriptDirectory.empty()) return std::nullopt;
    return settings.scriptDirectory + "\\" + std::string(name);
}

}  // namespace

std::u8string FormatScriptLine(std::string_view line) {
    std::u8string escaped;
    for (const char8_t unit : core::ToUtf8(line)) {
        if (unit == u8'\r') {
            escaped += u8"\\r";
        } else if (unit == u8'\n') {
            escaped += u8"\\n";
        } else if (unit == u8'\\') {
            escaped += u8"\\\\";
        } else {
            escaped += unit;
        }
    }
    return escaped;
}

std::u8string FormatScript(const ScriptLines& lines) {
    std::u8string text;
    for (std::size_t number = 1; number < lines.size(); ++number) {
        if (lines[number].empty()) continue;
        text += Digits(static_cast<long long>(number)) + u8" " + FormatScriptLine(lines[number]) + u8"\n";
    }
    return text;
}

std::vector<ScriptProblem> ParseScript(std::u8string_view text, ScriptFile& file) {
    file = ScriptFile();
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    Parser parser(file);
    while (!text.empty()) {
        const std::size_t end = text.find(u8'\n');
        std::u8string_view line = text.substr(0, end);
        text.remove_prefix(end == std::u8string_view::npos ? text.size() : end + 1);
        if (line.ends_with(u8'\r')) line.remove_suffix(1);
        parser.ReadLine(line);
    }
    return parser.TakeProblems();
}

std::vector<ScriptProblem> CheckScript(const ScriptFile& file) {
    return Checker(file).Check();
}

std::u8string DescribeScriptProblem(const ScriptProblem& problem, core::Language language) {
    const auto words = std::find_if(std::begin(kWords), std::end(kWords),
                                    [&problem](const Words& entry) { return entry.fault == problem.fault; });
    std::u8string text(language == core::Language::Japanese ? words->japanese : words->english);
    constexpr std::u8string_view kPlace = u8"{}";
    const std::size_t place = text.find(kPlace);
    if (place != std::u8string::npos) text.replace(place, kPlace.size(), problem.detail);
    return text;
}

int ListScriptFiles(const core::Workspace& workspace, const core::Settings& settings,
                    std::vector<std::string>& names) {
    names.clear();
    if (settings.scriptDirectory.empty()) return 0;
    const int listed = workspace.List(settings.scriptDirectory, names);
    if (listed < 0) return listed;
    std::erase_if(names, [&workspace, &settings](const std::string& name) {
        core::EntryKind kind{};
        return workspace.Inspect(*PathOf(settings, name), kind) < 0 || kind != core::EntryKind::File;
    });
    return 0;
}

int ReadScriptFile(const core::Workspace& workspace, const core::Settings& settings, std::string_view name,
                   std::string& bytes) {
    const std::optional<std::string> path = PathOf(settings, name);
    if (!path) return -ENOENT;
    std::unique_ptr<core::File> file;
    const int opened = workspace.Open(*path, core::OpenMode::Read, file);
    if (opened < 0) return opened;
    bytes.resize(kLongestScriptFileBytes + 1);
    const std::int64_t count = file->ReadAt(0, bytes);
    if (count < 0) return static_cast<int>(count);
    bytes.resize(static_cast<std::size_t>(count));
    return bytes.size() > kLongestScriptFileBytes ? -EFBIG : 0;
}

}  // namespace postkite::comm
