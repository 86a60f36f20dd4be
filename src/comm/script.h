#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/settings.h"

namespace postkite::comm {

inline constexpr int kScriptLines = 250;
inline constexpr std::size_t kLongestScriptLine = 79;  ///< bytes
inline constexpr int kScriptLabels = 30;
inline constexpr std::size_t kLongestLabel = 19;  ///< bytes, the "*" among them
inline constexpr std::size_t kScriptCommands = 73;
/// Where the user's disconnect goes on: every long script has its log-off there.
inline constexpr int kLogOffLine = 200;

/// A connection script: lines of code page 932 by number. Line 0 is empty; empty lines are passed over.
using ScriptLines = std::array<std::string, kScriptLines>;

/// A line's three fields. They borrow the line.
struct ScriptFields {
    std::string_view command;
    std::string_view first;
    std::string_view second;
};

/// Splits a line at ",", or at "@" where the route is "4" or "5" (the setting "FENICS LOAD"). The first
/// character always belongs to the command, also where it is the separator. The separator is looked for by
/// characters. Fields are as they stand: no blank is trimmed and nothing can be quoted.
[[nodiscard]] ScriptFields SplitLine(std::string_view line, std::string_view fenicsLoad);

/// The commands of the language, in the order in which they are told apart.
[[nodiscard]] std::span<const std::string_view> CommandNames();

/// Whether the line ends a script: it begins with "END", whatever follows.
[[nodiscard]] bool EndsScript(std::string_view line);

/// Whether a script has a line 200 that is loaded, for the user's disconnect to go on at.
[[nodiscard]] bool HasLogOffLine(const ScriptLines& lines);

/// Whether a script reads the send queue: one of its lines has a command that does.
[[nodiscard]] bool ReadsSendQueue(const ScriptLines& lines, std::string_view fenicsLoad);

/// The four scripts that are built in.
enum class BuiltInScript { A, B, C, D };
[[nodiscard]] const ScriptLines& BuiltInScriptLines(BuiltInScript script);

/// The one for the settings' route and forum.
[[nodiscard]] BuiltInScript ChooseScript(const core::Settings& settings);

/// The script that a session works on, with its labels. One a program: what an earlier, longer script left
/// behind the end of a shorter one stays, and so do the line numbers of labels that are no longer there.
class WorkingScript {
  public:
    /// Copies the lines up to the one that ends the script, each cut between characters to the longest, and
    /// finds the labels in what the table then holds up to such a line. Labels beyond the 30th are not known,
    /// and a longer name is cut as well.
    void Load(const ScriptLines& lines, std::string_view fenicsLoad);

    /// Lines 0 to 249.
    [[nodiscard]] const std::string& line(int number) const {
        return lines_[static_cast<std::size_t>(number)];
    }

    /// The line of the label, its "*" included; -1 where there is none. The empty name finds the first unused
    /// entry, and with it a line of an earlier script, or 0.
    [[nodiscard]] int LineOf(std::string_view label) const;

  private:
    struct Label {
        std::string name;
        std::int32_t line = 0;
    };
    ScriptLines lines_;
    std::array<Label, kScriptLabels> labels_;
};

}  // namespace postkite::comm
