#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "cli/application.h"
#include "cli/commands/folders_command.h"

namespace postkite::cli {

namespace {

int Compact(CommandContext& context) {
    const auto session = context.OpenBank();
    if (session == nullptr) return kRefused;
    store::Folders& folders = session->program.folders();
    const bool done = folders.CompactAllFolders() == 0;
    const std::uint64_t mails = folders.progressTotal();
    const Bilingual text = {"メール {} 通\n", mails == 1 ? "{} mail\n" : "{} mails\n"};
    const int printed = context.json ? context.PrintJson({{"mails", mails}})
                                     : context.Print(text.In(context.language(), {std::to_string(mails)}));
    return done ? printed : kRefused;
}

}  // namespace

void AddCompactCommand(CLI::App& application, CommandContext& context) {
    const Bilingual about = {"すべてのフォルダをコンパクションする", "Compact every folder"};
    application.add_subcommand("compact", about.In(context.language()))->callback([&context] {
        context.run = [&context] { return Compact(context); };
    });
}

}  // namespace postkite::cli
