#pragma once

#include "cli/command_context.h"

namespace postkite::cli {

/// Adds `mail` and the commands below it.
void AddMailCommand(CLI::App& application, CommandContext& context);

// Its parts, each adding some of the commands to `mail`.

/// `list`, `show` and `find`.
void AddMailReadingCommands(CLI::App& mail, CommandContext& context);
/// `add` and `replace`.
void AddMailWritingCommands(CLI::App& mail, CommandContext& context);
/// Flags, `trash` and `delete`.
void AddMailMarkingCommands(CLI::App& mail, CommandContext& context);

}  // namespace postkite::cli
