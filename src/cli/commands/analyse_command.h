#pragma once

#include "cli/command_context.h"

namespace postkite::cli {

/// Adds `analyse` and the commands below it.
void AddAnalyseCommand(CLI::App& application, CommandContext& context);

}  // namespace postkite::cli
