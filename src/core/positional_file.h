#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "core/file_system.h"
#include "core/line_reader.h"
#include "core/user_interface.h"
#include "core/workspace.h"

/// What the text files have in common that are read by position: one value a line, lines ended by CR LF, the
/// number of the line alone says which value it is. A value can hold neither CR nor LF nor a zero byte.
namespace postkite::core {

/// The bytes of a line that are looked at; more than any key, "=" and value need. The rest is passed over, so
/// that a file without line ends does not fill the memory.
inline constexpr std::size_t kLongestPositionalLine = 4096;

/// Where a text lives in a `Record`, and how long it may be.
template <typename Record>
struct RecordField {
    std::string_view name;  ///< for people; ASCII
    std::string Record::*member;
    std::size_t longest;  ///< in bytes
    bool secret = false;  ///< scrambled in the file
};

/// Whether a line of a positional file can hold `value`.
[[nodiscard]] bool FitsInLine(std::string_view value);

/// The number that text begins with, behind leading blanks: signed decimal, read up to the first byte that is
/// no digit. 0 when there is none; what 32 bits cannot hold becomes the nearest number that they can.
[[nodiscard]] std::int32_t ParseInteger(std::string_view text);

/// The value as a line's text gives it: up to a zero byte, unscrambled when `secret`, cut between characters
/// to `longest` bytes.
[[nodiscard]] std::string ValueOfLine(std::string_view line, std::size_t longest, bool secret);

/// Reads the next line's value into `value`. Where the file has ended, or ends within the line, `value` stays
/// as it is.
void ReadValue(LineReader& file, std::string& value, std::size_t longest, bool secret);

/// Appends a value and CR LF. What a line cannot hold is left out from there on, so that no value moves the
/// lines behind it; front ends refuse such values before (`FitsInLine`).
void AppendValue(std::string& output, std::string_view value, bool secret);

/// What saving did.
struct SaveOutcome {
    int result = 0;  ///< 0, or the negated errno value of what failed
    std::string
        keptAs;  ///< name of the copy that was made of the old file; empty when there was no need for one
};

/// Reads an open positional file and returns the bytes that saving what was read would write.
using Rewriting = std::function<std::string(File&)>;

/// Replaces the positional file `name` by `bytes`, or makes it. An old file that is not the beginning of what
/// `rewriting` gives (it has a cut last line, more lines than there are values, other line ends) is copied
/// beside first, since reading has passed such things over without a word. Fails, and leaves the old file,
/// when it cannot be read.
[[nodiscard]] SaveOutcome ReplacePositionalFile(Workspace& workspace, std::string_view name,
                                                std::string_view bytes, const Rewriting& rewriting);

/// Tells the user what there is to tell: that saving failed, or under which name the old file was kept.
void ReportSave(UserInterface& ui, std::string_view name, const SaveOutcome& outcome);

}  // namespace postkite::core
