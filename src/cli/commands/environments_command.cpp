#include "cli/commands/environments_command.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "cli/application.h"
#include "cli/environment_values.h"

namespace postkite::cli {

namespace {

using core::Environment;
using Field = core::RecordField<Environment>;

constexpr std::string_view kIntegerField = "number";

bool IsActive(const core::Settings& settings, int number) {
    return settings.currentId == number;
}

nlohmann::ordered_json JsonOf(const Environment& environment, int number, bool active, bool showPasswords) {
    nlohmann::ordered_json entry = {{"number", number}};
    for (const Field& field : core::EnvironmentFields()) {
        if (field.secret && !showPasswords) continue;
        entry[std::string(field.name)] = Utf8Bytes(environment.*field.member);
    }
    entry["integer"] = environment.integer;
    entry["active"] = active;
    return entry;
}

/// "* 0  自宅  user=... telephone=...", without the values that are empty.
std::string RowOf(const Environment& environment, int number, bool active, bool showPasswords) {
    std::string row = std::string(active ? "*" : " ") + " " + std::to_string(number) + " ";
    for (const Field& field : core::EnvironmentFields()) {
        const std::string& value = environment.*field.member;
        if (value.empty()) continue;
        const bool hidden = field.secret && !showPasswords;
        row +=
            " " + std::string(field.name) + "=" + (hidden ? std::string(kHiddenPassword) : Printable(value));
    }
    if (environment.integer != 0) {
        row += " " + std::string(kIntegerField) + "=" + std::to_string(environment.integer);
    }
    return row + "\n";
}

int List(CommandContext& context, bool showPasswords) {
    const auto session = context.Open();
    if (session == nullptr) return kRefused;
    const core::Settings& settings = session->program.settings();
    nlohmann::ordered_json document = nlohmann::ordered_json::array();
    std::string text;
    for (int number = 0; const Environment& environment : session->program.environments().entries) {
        const bool active = IsActive(settings, number);
        if (context.json) {
            document.push_back(JsonOf(environment, number, active, showPasswords));
        } else {
            text += RowOf(environment, number, active, showPasswords);
        }
        ++number;
    }
    return context.json ? context.PrintJson(document) : context.Print(text);
}

/// Takes one FIELD=VALUE into the environment. Returns the exit status.
int Assign(CommandContext& context, Environment& environment, const std::string& assignment) {
    const std::size_t equals = assignment.find('=');
    const std::string name = assignment.substr(0, equals);
    const std::string typed = equals == std::string::npos ? std::string() : assignment.substr(equals + 1);
    if (equals != std::string::npos && name == kIntegerField) {
        const auto value = IntegerValue(context, name, typed);
        if (!value) return kRefused;
        environment.integer = *value;
        return kDone;
    }
    for (const Field& field : core::EnvironmentFields()) {
        if (equals == std::string::npos || field.name != name) continue;
        const auto value = EnvironmentValue(context, field, name, typed);
        if (!value) return kRefused;
        environment.*field.member = *value;
        return kDone;
    }
    std::string names;
    for (const Field& field : core::EnvironmentFields()) {
        names += std::string(field.name) + ", ";
    }
    static_cast<void>(context.Refuse({"{} は FIELD=VALUE の形ではありません。FIELD は {} です。",
                                      "{} is not FIELD=VALUE with FIELD one of {}."},
                                     assignment, names + std::string(kIntegerField)));
    return kWrongUsage;
}

int Set(CommandContext& context, int number, const std::vector<std::string>& assignments) {
    core::WorkspaceLock lock;
    const auto session = context.OpenForChange(lock);
    if (session == nullptr) return kRefused;
    Environment& environment = session->program.environments().entries[static_cast<std::size_t>(number)];
    for (const std::string& assignment : assignments) {
        const int assigned = Assign(context, environment, assignment);
        if (assigned != kDone) return assigned;
    }
    // The settings are saved as well, since without their file the environments would not be read again, and
    // first, since what stands there of an environment has no effect until the environment says the same.
    core::CopyActiveEnvironment(session->program.environments(), session->program.settings());
    if (session->program.SaveSettings() < 0) return kRefused;
    return session->program.SaveEnvironments() < 0 ? kRefused : kDone;
}

int Switch(CommandContext& context, int number) {
    core::WorkspaceLock lock;
    const auto session = context.OpenForChange(lock);
    if (session == nullptr) return kRefused;
    const int switched = session->program.SwitchEnvironment(number);
    // Where its bank is refused the old bank stays, and the environment is the new one all the same.
    const bool isActive = session->program.settings().currentId == number;
    if (isActive && session->program.SaveSettings() < 0) return kRefused;
    if (switched < 0) {
        const std::size_t hostIndex = core::kHostEntryCount + static_cast<std::size_t>(number);
        context.HintAtBankDirectory(*session, session->program.settings().bank[hostIndex]);
        return kRefused;
    }
    return kDone;
}

std::vector<std::string> CompleteNumber(const std::vector<std::string>& words) {
    std::vector<std::string> numbers;
    for (std::size_t number = 0; words.empty() && number < core::kEnvironmentCount; ++number) {
        numbers.push_back(std::to_string(number));
    }
    return numbers;
}

std::vector<std::string> CompleteAssignment(const std::vector<std::string>& words) {
    if (words.empty()) return CompleteNumber(words);
    std::vector<std::string> names;
    for (const Field& field : core::EnvironmentFields()) {
        names.push_back(std::string(field.name) + "=");
    }
    names.push_back(std::string(kIntegerField) + "=");
    return names;
}

}  // namespace

void AddEnvironmentsCommand(CLI::App& application, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    const Bilingual aboutNumber = {"接続環境の番号（0～9）", "the environment's number, 0 to 9"};
    const CLI::Validator numbers =
        CLI::Range(0, static_cast<int>(core::kEnvironmentCount) - 1).description("");

    CLI::App* environments = application.add_subcommand(
        "environments", say({"10 個の接続環境", "The ten connection environments"}));
    environments->require_subcommand(0, 1);
    auto showPasswords = std::make_shared<bool>(false);
    environments->add_flag("--show-passwords", *showPasswords,
                           say({"パスワードを隠さず表示する", "Print passwords as they are"}));
    environments->callback([environments, &context, showPasswords] {
        if (environments->get_subcommands().empty()) {
            context.run = [&context, showPasswords] { return List(context, *showPasswords); };
        }
    });

    auto number = std::make_shared<int>(0);
    auto assignments = std::make_shared<std::vector<std::string>>();
    CLI::App* set = environments->add_subcommand(
        "set", say({"接続環境の値を変更して保存する", "Change an environment's values and save"}));
    set->add_option("N", *number, say(aboutNumber))->required()->check(numbers)->type_name("");
    set->add_option(
           "FIELD=VALUE", *assignments,
           say({"name user password telephone route speed dialling from modem outbox inbox forum number",
                "name user password telephone route speed dialling from modem outbox inbox forum number"}))
        ->required()
        ->type_name("");
    set->callback([&context, number, assignments] {
        context.run = [&context, number, assignments] { return Set(context, *number, *assignments); };
    });
    context.completers[set] = CompleteAssignment;

    CLI::App* switchTo =
        environments->add_subcommand("switch", say({"接続環境を切り替える", "Switch to an environment"}));
    switchTo->add_option("N", *number, say(aboutNumber))->required()->check(numbers)->type_name("");
    switchTo->callback(
        [&context, number] { context.run = [&context, number] { return Switch(context, *number); }; });
    context.completers[switchTo] = CompleteNumber;
}

}  // namespace postkite::cli
