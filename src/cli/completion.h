#pragma once

#include <string>
#include <vector>

#include "cli/command_context.h"

namespace postkite::cli {

/// What can stand in the place of the last of `words`, which may be empty or half typed: commands, options
/// and, where a command has a completer, its values. The words are those behind the program's name. UTF-8.
[[nodiscard]] std::vector<std::string> Complete(const CLI::App& application, const CommandContext& context,
                                                const std::vector<std::string>& words);

}  // namespace postkite::cli
