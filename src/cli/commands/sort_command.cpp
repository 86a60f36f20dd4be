#include "cli/commands/sort_command.h"

#include <CLI/CLI.hpp>
#include <limits>
#include <nlohmann/json.hpp>

#include "cli/application.h"
#include "cli/mail_folder.h"
#include "organise/sorter.h"

namespace postkite::cli {

namespace {

using organise::RuleTable;
using organise::SortedMail;
using Mails = std::vector<SortedMail>;

struct SortOptions {
    std::string folder;
    int rule = 0;
    bool dryRun = false;
    CLI::Option* folderOption = nullptr;
    CLI::Option* ruleOption = nullptr;
};

std::optional<MailFolder> OpenSorted(CommandContext& context, const SortOptions& options) {
    if (options.folderOption->count() > 0) return OpenTreeFolder(context, options.folder);
    auto session = context.OpenBank();
    if (session == nullptr) return std::nullopt;
    std::string inbox = session->program.Inbox();
    return MailFolder{std::move(session), {}, std::move(inbox)};
}

/// False where the rules are not to be had, and the user knows.
bool Load(CommandContext& context, const SortOptions& options, MailFolder& folder, RuleTable& rules) {
    const core::Settings& settings = folder.session->program.settings();
    if (options.ruleOption->count() == 0)
        return rules.LoadRules(folder.folders(), settings, organise::kEnabledRules) == 0;
    if (rules.LoadSingleRule(folder.folders(), settings, options.rule) == 0) return true;
    static_cast<void>(context.Refuse(
        {"番号 {} の規則はないか、項目・文字列・フォルダのいずれかが使えません。",
         "There is no rule of number {} that can work: its field, its text and its folder have to be there."},
        std::to_string(options.rule)));
    return false;
}

/// The rows piece by piece: they can be any number.
int PrintRows(CommandContext& context, const RuleTable& rules, const Mails& mails) {
    constexpr std::size_t kPieceBytes = 65536;
    std::string piece;
    bool first = true;
    for (const SortedMail& mail : mails) {
        const RuleTable::LoadedRule& rule = rules.rules()[static_cast<std::size_t>(mail.rule)];
        if (context.json) {
            const nlohmann::ordered_json row = {{"number", mail.recordNumber},
                                                {"rule", rule.number},
                                                {"folder", Utf8Bytes(rule.rule.folder)}};
            piece += (first ? "\n    " : ",\n    ") + row.dump();
        } else {
            piece += Bilingual{"{}  {} {}  {}\n", "{}  {} {}  {}\n"}.In(
                context.language(), {std::to_string(mail.recordNumber), std::to_string(rule.number),
                                     Printable(rule.rule.name), Printable(rule.rule.folder)});
        }
        first = false;
        if (piece.size() < kPieceBytes) continue;
        if (context.Print(piece) != kDone) return kRefused;
        piece.clear();
    }
    return context.Print(piece);
}

int PrintResult(CommandContext& context, const RuleTable& rules, const Mails& mails, bool dryRun) {
    const std::string moved = std::to_string(dryRun ? 0 : mails.size());
    if (!context.json) {
        if (dryRun) return PrintRows(context, rules, mails);
        return context.Print(Bilingual{"{} 通のメールを移動しました。\n",
                                       mails.size() == 1 ? "{} mail was moved.\n" : "{} mails were moved.\n"}
                                 .In(context.language(), {moved}));
    }
    int printed = context.Print("{\n  \"moved\": " + moved + ",\n  \"mails\": [");
    if (printed == kDone) printed = PrintRows(context, rules, mails);
    return printed == kDone ? context.Print(mails.empty() ? "]\n}\n" : "\n  ]\n}\n") : printed;
}

int Sort(CommandContext& context, const SortOptions& options) {
    auto folder = OpenSorted(context, options);
    RuleTable rules;
    if (!folder || !Load(context, options, *folder, rules)) return kRefused;
    app::Program& program = folder->session->program;
    organise::Sorter sorter(program.settings(), folder->folders(), folder->mailbox(), folder->session->ui);
    Mails mails;
    const int result = options.dryRun
                           ? sorter.Plan(folder->name, rules, mails)
                           : sorter.SortFolder(folder->name, rules, store::MailEditing::No, &mails);
    // What went has gone, whatever stayed.
    const int printed = PrintResult(context, rules, mails, options.dryRun);
    return result < 0 ? kRefused : printed;
}

}  // namespace

void AddSortCommand(CLI::App& application, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    auto options = std::make_shared<SortOptions>();
    CLI::App* sort = application.add_subcommand(
        "sort", say({"規則に従ってメールを振り分ける", "Move mails by the sorting rules"}));
    options->folderOption =
        sort->add_option("FOLDER", options->folder, say({"既定は受信フォルダ", "the Inbox by default"}))
            ->type_name("");
    options->ruleOption =
        sort->add_option("--rule", options->rule,
                         say({"この番号の規則だけを使う", "use the rule of this number alone"}))
            ->check(CLI::Range(0, std::numeric_limits<int>::max()).description(""))
            ->type_name("N");
    sort->add_flag(
        "--dry-run", options->dryRun,
        say({"移動せず、移動するはずのメールを表示する", "move nothing, and print what would move"}));
    sort->callback(
        [&context, options] { context.run = [&context, options] { return Sort(context, *options); }; });
}

}  // namespace postkite::cli
