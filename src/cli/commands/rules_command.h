#pragma once

#include "cli/command_context.h"

namespace postkite::cli {

/// Adds `rules` and the commands below it.
void AddRulesCommand(CLI::App& application, CommandContext& context);

}  // namespace postkite::cli
