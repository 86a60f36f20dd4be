#include <CLI/CLI.hpp>
#include <limits>

#include "app/reply.h"
#include "cli/application.h"
#include "cli/commands/mail_command.h"
#include "cli/mail_folder.h"

namespace postkite::cli {

namespace {

struct ReplyOptions {
    std::string folder;
    int number = 0;
    std::string body;
    CLI::Option* bodyOption = nullptr;
};

int MakeReply(CommandContext& context, const ReplyOptions& options) {
    // The text may come from somebody who types it: nobody waits for that.
    std::string text;
    if (options.bodyOption->count() > 0) {
        auto body = MailBody(context, options.body);
        if (!body) return kRefused;
        text = std::move(*body);
    }
    const auto folder = OpenMailFolder(context, options.folder);
    if (!folder || !AreThere(context, *folder, {options.number})) return kRefused;
    app::Program& program = folder->session->program;
    const std::string outbox = program.Outbox();
    app::Reply reply;
    const int made = app::MakeReply(program.mailbox(), program.settings(), folder->session->clock,
                                    {folder->name, options.number}, outbox, text, reply);
    if (made < 0) return kRefused;
    const int printed = PrintWrittenMail(context, outbox, reply.recordNumber, reply.localId);
    return reply.marked ? printed : kRefused;
}

}  // namespace

void AddMailReplyCommand(CLI::App& mail, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    auto options = std::make_shared<ReplyOptions>();
    CLI::App* reply = mail.add_subcommand(
        "reply", say({"メールへの返信を送信箱に作る", "Make a reply to a mail in the Outbox"}));
    reply->add_option("FOLDER", options->folder)->required()->type_name("");
    reply->add_option("N", options->number, say({"メールの番号", "the mail's number"}))
        ->required()
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description(""))
        ->type_name("");
    options->bodyOption = AddBodyOption(*reply, context, options->body);
    reply->callback(
        [&context, options] { context.run = [&context, options] { return MakeReply(context, *options); }; });
}

}  // namespace postkite::cli
