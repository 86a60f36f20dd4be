#pragma once

#include "cli/command_context.h"

namespace postkite::cli {

/// `session`.
void AddSessionCommand(CLI::App& application, CommandContext& context);

/// `script run`. `script` is what `AddScriptCommand` returns.
void AddScriptRunCommand(CLI::App& script, CommandContext& context);

}  // namespace postkite::cli
