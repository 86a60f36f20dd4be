#include "cli/commands/queue_command.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "cli/application.h"
#include "outgoing/send_queue.h"

namespace postkite::cli {

namespace {

using Json = nlohmann::ordered_json;

Json JsonOf(const outgoing::SendQueue& queue) {
    Json mails = Json::array();
    for (const outgoing::QueuedMail& mail : queue.mails) {
        if (!mail.target.empty()) continue;
        Json addressees = Json::array();
        for (const std::string& addressee : mail.addressees)
            addressees.push_back(Utf8Bytes(addressee));
        mails.push_back({{"number", mail.recordNumber},
                         {"localId", Utf8Bytes(mail.localId)},
                         {"to", addressees},
                         {"subject", Utf8Bytes(mail.subject)},
                         {"file", Utf8Bytes(mail.file)}});
    }
    Json forum = Json::array();
    for (const std::size_t post : queue.posts) {
        const outgoing::QueuedMail& mail = queue.mails[post];
        forum.push_back({{"target", Utf8Bytes(mail.target)}, {"file", Utf8Bytes(mail.file)}});
    }
    return {{"queued", queue.mails.size()}, {"mails", mails}, {"forum", forum}};
}

/// "    3  ABC00123, INET:a@b  subject  bmtemp.$$$\1.mtx"
std::string RowOf(const outgoing::QueuedMail& mail) {
    constexpr std::size_t kNumberColumns = 5;
    const std::string digits = std::to_string(mail.recordNumber);
    std::string row(kNumberColumns - std::min(kNumberColumns, digits.size()), ' ');
    row += digits + "  " + Printable(mail.target);
    for (std::size_t at = 0; at < mail.addressees.size(); ++at)
        row += (at == 0 ? "" : ", ") + Printable(mail.addressees[at]);
    return row + "  " + Printable(mail.subject) + "  " + Printable(mail.file) + "\n";
}

int Queue(CommandContext& context) {
    const auto session = context.OpenBank();
    if (session == nullptr) return kRefused;
    outgoing::SendQueue queue;
    queue.refused = true;  // until it is built
    const bool queued = session->program.sessions().BuildQueue(queue) == 0;
    // Message boxes are for who is there to read them; whoever called the command is.
    const bool unattended = session->program.settings().autoMode == 1;
    if (!queued && unattended) {
        context.Remark({"送信キューは空です。理由は error.log にあることがあります。",
                        "The send queue is empty. error.log may say why."});
    }
    if (queue.refused) return kRefused;
    std::string rows;
    for (const outgoing::QueuedMail& mail : queue.mails)
        rows += RowOf(mail);
    // Where there is nothing to send, a program that reads the document learns so from it as well.
    const int printed = context.json ? context.PrintJson(JsonOf(queue)) : context.Print(rows);
    return queued ? printed : kRefused;
}

}  // namespace

void AddQueueCommand(CLI::App& application, CommandContext& context) {
    const Bilingual about = {"送信キューを作り、送信されるものを表示する",
                             "Build the send queue and say what would go out"};
    application.add_subcommand("queue", about.In(context.language()))->callback([&context] {
        context.run = [&context] { return Queue(context); };
    });
}

}  // namespace postkite::cli
