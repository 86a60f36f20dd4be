#pragma once

#include <string>
#include <vector>

#include "cli/console.h"
#include "core/file_system.h"

namespace postkite::cli {

/// Exit statuses of the terminal programs.
inline constexpr int kDone = 0;
inline constexpr int kRefused = 1;
inline constexpr int kWrongUsage = 2;

/// Runs `postkite` with the arguments behind the program's name and returns its exit status.
[[nodiscard]] int RunPostkite(std::vector<std::string> arguments, core::FileSystem& fileSystem,
                              Console& console);

}  // namespace postkite::cli
