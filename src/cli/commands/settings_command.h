#pragma once

#include "cli/command_context.h"

namespace postkite::cli {

/// Adds `settings`, `settings get` and `settings set`.
void AddSettingsCommand(CLI::App& application, CommandContext& context);

}  // namespace postkite::cli
