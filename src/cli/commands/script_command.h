#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/command_context.h"
#include "comm/script_file.h"

namespace postkite::cli {

/// A script file that the user named.
struct UserScript {
    comm::ScriptFile file;
    std::vector<comm::ScriptProblem> unread;  ///< what `file` lacks, since it could not be read
};

/// Reads the file where the user says, `-` being standard input, or else in the directory of the setting
/// "SCRIPTDIRECTORY". Nothing where it cannot be read at all; the user knows why.
[[nodiscard]] std::optional<UserScript> ReadUserScript(CommandContext& context, Session& session,
                                                       const std::string& file);

/// Everything that is wrong with it, in the order of the file's lines.
[[nodiscard]] std::vector<comm::ScriptProblem> ProblemsOf(const UserScript& script);

/// A problem as one line, without line end: "FILE:LINE: what it is".
[[nodiscard]] std::string ProblemLine(const CommandContext& context, const std::string& file,
                                      const comm::ScriptProblem& problem);

/// `script list`, `script show` and `script check`. Returns the command, for `script run` to be added to it.
CLI::App& AddScriptCommand(CLI::App& application, CommandContext& context);

}  // namespace postkite::cli
