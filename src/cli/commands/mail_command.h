#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cli/command_context.h"
#include "store/index_record.h"

namespace CLI {
class Option;
}

namespace postkite::cli {

/// Adds `mail` and the commands below it.
void AddMailCommand(CLI::App& application, CommandContext& context);

/// "    3 *  97/01/24 08:05  name  subject", the star for an unread one.
[[nodiscard]] std::string MailRowText(int number, const store::MailListEntry& entry);

/// Reads the body of a mail that is to be written from a file that the user named. Nothing where it cannot be one;
/// the user knows why.
[[nodiscard]] std::optional<std::string> MailBody(CommandContext& context, const std::string& file);

/// The option that names that file.
CLI::Option* AddBodyOption(CLI::App& command, CommandContext& context, std::string& file);

/// Says where a mail was written, `folder` in code page 932. Returns the exit status.
[[nodiscard]] int PrintWrittenMail(CommandContext& context, std::string_view folder, int number,
                                   std::string_view localId);

// Its parts, each adding some of the commands to `mail`.

/// `list`, `show` and `find`.
void AddMailReadingCommands(CLI::App& mail, CommandContext& context);
/// `add` and `replace`.
void AddMailWritingCommands(CLI::App& mail, CommandContext& context);
/// `reply`.
void AddMailReplyCommand(CLI::App& mail, CommandContext& context);
/// Flags, `trash` and `delete`.
void AddMailMarkingCommands(CLI::App& mail, CommandContext& context);

}  // namespace postkite::cli
