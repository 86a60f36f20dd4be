#pragma once

#include "cli/command_context.h"

namespace postkite::cli {

/// Adds `queue`.
void AddQueueCommand(CLI::App& application, CommandContext& context);

}  // namespace postkite::cli
