#pragma once

#include "cli/command_context.h"

namespace postkite::cli {

/// Adds `banks` and `banks switch`.
void AddBanksCommand(CLI::App& application, CommandContext& context);

}  // namespace postkite::cli
