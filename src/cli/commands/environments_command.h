#pragma once

#include "cli/command_context.h"

namespace postkite::cli {

/// Adds `environments`, `environments set` and `environments switch`.
void AddEnvironmentsCommand(CLI::App& application, CommandContext& context);

}  // namespace postkite::cli
