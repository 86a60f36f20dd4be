#include "core/positional_file.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>
#include <vector>

#include "core/error_text.h"
#include "core/password_scrambling.h"
#include "core/shift_jis.h"

namespace postkite::core {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

/// Whether `text` begins with the whole content of the file. Not so of a file that cannot be read on.
bool IsBeginningOf(std::string_view text, File& file) {
    const std::int64_t size = file.Size();
    if (size < 0 || static_cast<std::uint64_t>(size) > text.size()) return false;
    std::vector<char> content(static_cast<std::size_t>(size));
    return file.ReadAt(0, content) == size && std::equal(content.begin(), content.end(), text.begin());
}

/// Copies `name` to "name.bak", or where that is taken to "name.bak2" and so on.
int KeepCopy(Workspace& workspace, std::string_view name, std::string& copyName) {
    constexpr int kMostCopies = 999;
    for (int number = 1; number <= kMostCopies; ++number) {
        copyName = std::string(name) + ".bak" + (number == 1 ? std::string() : std::to_string(number));
        const int result = workspace.Copy(name, copyName);
        if (result != -EEXIST) return result;
    }
    return -EEXIST;
}

}  // namespace

bool FitsInLine(std::string_view value) {
    return value.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

std::int32_t ParseInteger(std::string_view text) {
    constexpr std::int64_t kLimit = std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1;
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    const bool negative = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
    std::int64_t value = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9') break;
        value = std::min(value * 10 + (digit - '0'), kLimit);
    }
    return static_cast<std::int32_t>(negative ? -value : std::min(value, kLimit - 1));
}

std::string ValueOfLine(std::string_view line, std::size_t longest, bool secret) {
    std::string value(line.substr(0, line.find('\0')));
    if (secret) UnscramblePassword(value);
    return std::string(CutToBytes(value, longest));
}

void ReadValue(LineReader& file, std::string& value, std::size_t longest, bool secret) {
    std::string line;
    if (ReadLogLine(file, line) == 0) value = ValueOfLine(line, longest, secret);
}

void AppendValue(std::string& output, std::string_view value, bool secret) {
    value = value.substr(0, value.find('\0'));
    if (secret) {
        std::string scrambled(CutToBytes(value, kLongestPassword));
        ScramblePassword(scrambled);
        output += scrambled;
    } else {
        // A LF that an old file holds moves nothing: lines end at a CR.
        output += value.substr(0, value.find('\r'));
    }
    output += kLineEnd;
}

SaveOutcome ReplacePositionalFile(Workspace& workspace, std::string_view name, std::string_view bytes,
                                  const Rewriting& rewriting) {
    SaveOutcome outcome;
    std::unique_ptr<File> old;
    const int opened = workspace.Open(name, OpenMode::Read, old);
    if (opened < 0 && opened != -ENOENT) return {opened, {}};
    if (opened == 0 && !IsBeginningOf(rewriting(*old), *old)) {
        outcome.result = KeepCopy(workspace, name, outcome.keptAs);
        if (outcome.result < 0) return {outcome.result, {}};
    }
    outcome.result = workspace.Replace(name, bytes);
    return outcome;
}

void ReportSave(UserInterface& ui, std::string_view name, const SaveOutcome& outcome) {
    const std::string file(name);
    const bool japanese = ui.language() == Language::Japanese;
    if (!outcome.keptAs.empty()) {
        ui.ShowMessage(kProductName,
                       japanese
                           ? file + std::string(" に読み取れない部分があったため、元のファイルを "_sjis) +
                                 outcome.keptAs + std::string(" として残しました。"_sjis)
                           : file + " held something that could not be read; the old file is kept as " +
                                 outcome.keptAs + ".",
                       MessageIcon::Warning);
    }
    if (outcome.result < 0) {
        const std::string reason = DescribeError(outcome.result, ui.language());
        ui.ShowMessage(kProductName,
                       japanese ? file + std::string(" を保存できませんでした。（"_sjis) + reason +
                                      std::string("）"_sjis)
                                : file + " could not be saved: " + reason + ".",
                       MessageIcon::Stop);
    }
}

}  // namespace postkite::core
