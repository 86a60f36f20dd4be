#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/settings.h"

namespace postkite::core {

/// One line of the settings file: its key, and where its value lives in a `Settings`. Files are read by
/// position, so the order of the table is the format.
struct SettingLine {
    enum class Kind {
        Integer,
        Text,
        Secret,  ///< a text that the file holds scrambled
    };

    std::string_view key;  ///< code page 932; several lines may share one
    Kind kind;
    std::int32_t& (*integer)(Settings&);  ///< of an Integer, else nullptr
    std::string& (*text)(Settings&);      ///< of a Text or Secret, else nullptr
    std::int32_t defaultInteger;
    std::string_view defaultText;
    std::size_t longestText;  ///< in bytes; 0 for an Integer
    /// Brings a value that was read within its bounds; nullptr where every value is taken as it stands.
    void (*correct)(Settings&);
};

inline constexpr std::size_t kSettingLineCount = 202;

/// All lines in file order; line n of the file is element n - 1.
[[nodiscard]] std::span<const SettingLine, kSettingLineCount> SettingLines();

}  // namespace postkite::core
