#pragma once

#include "cli/command_context.h"

namespace postkite::cli {

/// Adds `folders` and the commands below it.
void AddFoldersCommand(CLI::App& application, CommandContext& context);

/// Adds `compact`.
void AddCompactCommand(CLI::App& application, CommandContext& context);

}  // namespace postkite::cli
