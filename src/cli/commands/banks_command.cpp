#include "cli/commands/banks_command.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "cli/application.h"

namespace postkite::cli {

namespace {

int List(CommandContext& context) {
    const auto session = context.Open();
    if (session == nullptr) return kRefused;
    const core::Settings& settings = session->program.settings();
    nlohmann::ordered_json document = nlohmann::ordered_json::array();
    std::string text;
    for (int number = 0; const std::string& directory : settings.mailBoxPathName) {
        const bool active = settings.nowBoxNo == number;
        document.push_back({{"number", number}, {"directory", Utf8Bytes(directory)}, {"active", active}});
        text += std::string(active ? "*" : " ") + (number < 10 ? "  " : " ") + std::to_string(number) + "  " +
                Printable(directory) + "\n";
        ++number;
    }
    return context.json ? context.PrintJson(document) : context.Print(text);
}

int Switch(CommandContext& context, int number) {
    core::WorkspaceLock lock;
    const auto session = context.OpenForChange(lock);
    if (session == nullptr) return kRefused;
    app::Program& program = session->program;
    // The current one is opened as every start opens it.
    const bool isCurrent = program.settings().nowBoxNo == number;
    if ((isCurrent ? program.OpenBank() : program.SwitchBank(number)) < 0) {
        context.HintAtBankDirectory(*session, number);
        return kRefused;
    }
    return session->program.SaveSettings() < 0 ? kRefused : kDone;
}

std::vector<std::string> CompleteNumber(const std::vector<std::string>& words) {
    std::vector<std::string> numbers;
    for (std::size_t number = 0; words.empty() && number < core::kBankCount; ++number) {
        numbers.push_back(std::to_string(number));
    }
    return numbers;
}

}  // namespace

void AddBanksCommand(CLI::App& application, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    CLI::App* banks = application.add_subcommand("banks", say({"メールボックスバンク", "The mailbox banks"}));
    banks->require_subcommand(0, 1);
    banks->callback([banks, &context] {
        if (banks->get_subcommands().empty()) context.run = [&context] { return List(context); };
    });

    auto number = std::make_shared<int>(0);
    CLI::App* switchTo =
        banks->add_subcommand("switch", say({"バンクを切り替える", "Make a bank the current one"}));
    switchTo->add_option("N", *number, say({"バンクの番号（0～19）", "the bank's number, 0 to 19"}))
        ->required()
        ->check(CLI::Range(0, static_cast<int>(core::kBankCount) - 1).description(""))
        ->type_name("");
    switchTo->callback(
        [&context, number] { context.run = [&context, number] { return Switch(context, *number); }; });
    context.completers[switchTo] = CompleteNumber;
}

}  // namespace postkite::cli
