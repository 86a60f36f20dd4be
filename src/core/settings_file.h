#pragma once

#include <array>
#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/environments.h"
#include "core/positional_file.h"
#include "core/settings.h"
#include "core/workspace.h"

/// "Setting\setting.ini": code page 932 text, one line KEY=VALUE a setting, CR LF behind each, in the order
/// of `SettingLines`. Lines are taken back by their position; the keys are for people.
namespace postkite::core {

inline constexpr std::string_view kSettingsFile = "Setting\\setting.ini";

enum class ToolBarStyle { Plain, Bands };

/// What the band-style tool bar looks like at the moment of saving.
struct BandLayout {
    std::array<std::int32_t, 4> widths{};
    std::int32_t rows = 1;
    std::string order = "012";
    std::int32_t orderFlag = 1;
};

/// How reading the settings went, a file each: 0, -ENOENT when it is missing, or another negated errno value
/// when it is there and cannot be read (then what was not read keeps its default, and saving would lose it).
struct LoadOutcome {
    int settings = -ENOENT;
    int environments = -ENOENT;
    int hostEntries = -ENOENT;
};

/// Start-up: gives the environments their defaults, takes every line that the settings file has, then loads
/// the environments, which put the active one's values into `settings`. Values out of range are corrected, a
/// short or odd file is no error. Without a settings file the other files are not read either, on purpose.
[[nodiscard]] LoadOutcome LoadSettings(const Workspace& workspace, Settings& settings,
                                       Environments& environments, ToolBarStyle style);

enum class Corrections { Made, None };

/// Takes the lines of an open settings file into `settings`, the values as they stand or corrected where they
/// are out of range. Returns 0, or the negated errno value of the disk call that ended the reading.
[[nodiscard]] int ReadSettingLines(File& file, Settings& settings, Corrections corrections);

/// The bytes of the file that holds `settings`.
[[nodiscard]] std::string FormatSettings(Settings settings);

/// The program's end: writes the file whole. `bands` is the tool bar's layout where the band style is in use,
/// else nullptr; it is taken into `settings` first. Where `savePassword` is 0 the host password is cleared,
/// in memory too.
[[nodiscard]] SaveOutcome SaveSettings(Workspace& workspace, Settings& settings, const BandLayout* bands);

}  // namespace postkite::core
