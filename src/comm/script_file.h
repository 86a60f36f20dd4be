#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "comm/script.h"
#include "core/settings.h"
#include "core/user_interface.h"
#include "core/workspace.h"

/// Scripts as files that people write: UTF-8, a line "NUMBER COMMAND,ARGUMENT,ARGUMENT" for each script line,
/// the numbers rising from 1 to 249, "\r", "\n" and "\\" for the characters that a line cannot show, "#" at
/// the beginning of a comment. docs/script-language.md describes them for their writers.
namespace postkite::comm {

/// Far more than 249 lines and their comments need; a longer file is refused unread.
inline constexpr std::size_t kLongestScriptFileBytes = 262144;

enum class ScriptFault {
    // Of the file. The line is left out of the script, but for those that are too long.
    BadNumber,  ///< no number and blank at the beginning
    NumberOutOfRange,
    NumberNotRising,
    BadEscape,
    CarriageReturn,  ///< one within the line, and no "\r"
    ZeroByte,
    NotInCodePage,
    LineTooLong,
    // Of the script.
    UnknownCommand,
    LabelTooLong,
    TooManyLabels,
    UndefinedLabel,
    JumpOutOfRange,
    JumpBehindEnd,
    BehindEnd,
    MissingEnd,
};

struct ScriptProblem {
    int line = 0;  ///< of the file, from 1
    ScriptFault fault{};
    std::u8string detail;  ///< the text that is at fault, as it stands in the file, malformed or not
};

/// A script as it was read, with where its lines stand in the file.
struct ScriptFile {
    ScriptLines lines;
    std::array<int, kScriptLines> fileLines{};  ///< 0 for the numbers that the file leaves out
    int lastFileLine = 1;
};

/// The form in which `ParseScript` takes the lines. A character that the code page holds twice comes back as
/// the first of the two, and bytes that are no character are lost.
[[nodiscard]] std::u8string FormatScript(const ScriptLines& lines);

/// One line of it, without number and line end.
[[nodiscard]] std::u8string FormatScriptLine(std::string_view line);

/// Reads what it can, and returns what it could not. A byte order mark and both kinds of line ends are taken.
[[nodiscard]] std::vector<ScriptProblem> ParseScript(std::u8string_view text, ScriptFile& file);

/// What cannot work in a script that was read, in the order of its lines. The separator is ",".
[[nodiscard]] std::vector<ScriptProblem> CheckScript(const ScriptFile& file);

/// Puts a problem into words for a person.
[[nodiscard]] std::u8string DescribeScriptProblem(const ScriptProblem& problem, core::Language language);

/// The names of the files in the directory that the setting "SCRIPTDIRECTORY" names, in order; none where it
/// names none. Returns 0 or a negated errno value.
[[nodiscard]] int ListScriptFiles(const core::Workspace& workspace, const core::Settings& settings,
                                  std::vector<std::string>& names);

/// The bytes of a file in that directory. Returns 0 or a negated errno value: -ENOENT also where the setting
/// names no directory, -EFBIG for a file that is too long.
[[nodiscard]] int ReadScriptFile(const core::Workspace& workspace, const core::Settings& settings,
                                 std::string_view name, std::string& bytes);

}  // namespace postkite::comm
