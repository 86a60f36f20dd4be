#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace postkite::practice {

/// A line that a client typed at a prompt, taken apart: "read all" is READ with ALL, "MES1" and "MES 1" are
/// both MES with 1. Both parts in upper case, without blanks around them.
struct Command {
    std::string name;
    std::string argument;
};

[[nodiscard]] Command ParseCommand(std::string_view line);

/// The text with the letters a to z in upper case. For comparing only: trail bytes of double-byte characters
/// change too.
[[nodiscard]] std::string Upper(std::string_view text);

/// Without the blanks at both ends.
[[nodiscard]] std::string_view Trimmed(std::string_view text);

/// A whole decimal number from 0 to 99999.
[[nodiscard]] std::optional<int> WholeNumber(std::string_view text);

}  // namespace postkite::practice
