#pragma once

#include "cli/command_context.h"

namespace postkite::cli {

/// Adds `sort`.
void AddSortCommand(CLI::App& application, CommandContext& context);

}  // namespace postkite::cli
