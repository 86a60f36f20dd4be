#pragma once

#include "cli/command_context.h"

namespace postkite::cli {

/// Adds `forums` and the command below it.
void AddForumsCommand(CLI::App& application, CommandContext& context);

}  // namespace postkite::cli
