#include "cli/commands/mail_command.h"

#include <CLI/CLI.hpp>

namespace postkite::cli {

void AddMailCommand(CLI::App& application, CommandContext& context) {
    const Bilingual about = {"メールの一覧・表示・操作", "List, show and change mails"};
    CLI::App* mail = application.add_subcommand("mail", about.In(context.language()));
    mail->require_subcommand(1);
    AddMailReadingCommands(*mail, context);
    AddMailWritingCommands(*mail, context);
    AddMailReplyCommand(*mail, context);
    AddMailMarkingCommands(*mail, context);
}

}  // namespace postkite::cli
