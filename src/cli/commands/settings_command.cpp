#include "cli/commands/settings_command.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <nlohmann/json.hpp>

#include "cli/application.h"
#include "cli/environment_values.h"
#include "core/letter_case.h"
#include "core/settings_table.h"

namespace postkite::cli {

namespace {

using core::SettingLine;
using Kind = SettingLine::Kind;

std::string ValueText(const SettingLine& line, core::Settings& settings) {
    return line.kind == Kind::Integer ? std::to_string(line.integer(settings)) : line.text(settings);
}

std::string ListedValue(const SettingLine& line, core::Settings& settings, bool showPasswords) {
    const bool secret = line.kind == Kind::Secret ||
                        (line.kind == Kind::Text && &line.text(settings) == &settings.provisionalPassword);
    std::string value = ValueText(line, settings);
    return secret && !showPasswords && !value.empty() ? std::string(kHiddenPassword) : value;
}

/// Programs get the values as they are, passwords too; it is the list for the eye that hides them.
nlohmann::ordered_json JsonOf(const SettingLine& line, int number, core::Settings& settings) {
    nlohmann::ordered_json entry = {{"number", number}, {"key", Utf8Bytes(line.key)}};
    if (line.kind == Kind::Integer) {
        entry["value"] = line.integer(settings);
    } else {
        entry["value"] = Utf8Bytes(line.text(settings));
    }
    return entry;
}

int List(CommandContext& context, bool showPasswords) {
    const auto session = context.Open();
    if (session == nullptr) return kRefused;
    core::Settings& settings = session->program.settings();
    nlohmann::ordered_json document = nlohmann::ordered_json::array();
    std::string text;
    for (int number = 1; const SettingLine& line : core::SettingLines()) {
        if (context.json) {
            document.push_back(JsonOf(line, number, settings));
        } else {
            const std::string value = ListedValue(line, settings, showPasswords);
            const std::string digits = std::to_string(number);
            text += std::string(3 - digits.size(), ' ') + digits + "  " + Printable(line.key) + "=" +
                    Printable(value) + "\n";
        }
        ++number;
    }
    return context.json ? context.PrintJson(document) : context.Print(text);
}

/// The line that `key` means: a number of a line, or a key that only one line has, whatever its letter case.
/// nullptr when there is none; the user knows why.
const SettingLine* FindLine(CommandContext& context, const std::string& key) {
    const auto lines = core::SettingLines();
    const bool isNumber = !key.empty() && key.find_first_not_of("0123456789") == std::string::npos;
    if (isNumber) {
        std::size_t number = 0;
        std::from_chars(key.data(), key.data() + key.size(), number);
        if (number >= 1 && number <= lines.size()) return &lines[number - 1];
    }
    const std::string wanted = Typed(key).value_or(std::string());
    std::string numbers;
    const SettingLine* found = nullptr;
    std::size_t count = 0;
    for (const SettingLine& line : lines) {
        if (!core::EqualIgnoringCase(line.key, wanted)) continue;
        found = &line;
        ++count;
        numbers += (numbers.empty() ? "" : ", ") + std::to_string(&line - lines.data() + 1);
    }
    if (count == 1) return found;
    if (count == 0) {
        static_cast<void>(context.Refuse({"設定 {} はありません。一覧は postkite settings で表示します。",
                                          "There is no setting {}; \"postkite settings\" lists them all."},
                                         key));
    } else {
        static_cast<void>(context.Refuse({"{} という設定は {} 個あります。行番号で指定してください。（{}）",
                                          "{} is the key of {} settings; name one by its line number ({})."},
                                         key, std::to_string(count), numbers));
    }
    return nullptr;
}

int Get(CommandContext& context, const std::string& key) {
    const SettingLine* line = FindLine(context, key);
    if (line == nullptr) return kRefused;
    const auto session = context.Open();
    if (session == nullptr) return kRefused;
    core::Settings& settings = session->program.settings();
    if (!context.json) return context.Print(Printable(ValueText(*line, settings)) + "\n");
    const auto number = static_cast<int>(line - core::SettingLines().data()) + 1;
    return context.PrintJson(JsonOf(*line, number, settings));
}

/// The text of the active environment that start-up puts over this setting, or nullptr. While there is an
/// environments file a change has to reach both.
const core::RecordField<core::Environment>* FieldOver(const SettingLine& line, core::Settings& settings) {
    if (line.kind == Kind::Integer) return nullptr;
    for (const auto& field : core::EnvironmentFields()) {
        const auto copiedTo = core::SettingOfEnvironmentField(field.member);
        if (copiedTo != nullptr && &(settings.*copiedTo) == &line.text(settings)) return &field;
    }
    return nullptr;
}

/// A change that is made in memory, with what there is to say about it once it is saved.
struct Change {
    bool inEnvironment = false;  ///< the active environment's value was changed as well
    bool corrected = false;  ///< the value is not the one that was typed, but the nearest that reading takes
};

std::optional<Change> ChangeInteger(CommandContext& context, core::Settings& settings,
                                    const SettingLine& line, const std::string& key,
                                    const std::string& typed) {
    const auto value = IntegerValue(context, key, typed);
    if (!value) return std::nullopt;
    line.integer(settings) = *value;
    if (line.correct != nullptr) line.correct(settings);
    return Change{.corrected = line.integer(settings) != *value};
}

std::optional<Change> ChangeText(CommandContext& context, Session& session, const SettingLine& line,
                                 const std::string& key, const std::string& typed) {
    core::Settings& settings = session.program.settings();
    core::Environment* active = session.program.ActiveEnvironment();
    const auto* field = active == nullptr ? nullptr : FieldOver(line, settings);
    if (field == nullptr && &line.text(settings) == &settings.userPassword && settings.savePassword == 0) {
        static_cast<void>(context.Refuse(
            {"SAVEPASSWORD が 0 のため、{} は保存されません。", "{} is not kept while SAVEPASSWORD is 0."},
            key));
        return std::nullopt;
    }
    const auto value = field == nullptr ? context.LineValue(key, typed, line.longestText)
                                        : EnvironmentValue(context, *field, key, typed);
    if (!value) return std::nullopt;
    line.text(settings) = *value;
    if (line.correct != nullptr) line.correct(settings);
    if (field != nullptr) active->*field->member = *value;
    return Change{.inEnvironment = field != nullptr, .corrected = line.text(settings) != *value};
}

/// The number of the bank whose directory the setting names; nothing for another setting.
std::optional<int> BankOf(const SettingLine& line, core::Settings& settings) {
    if (line.kind == Kind::Integer) return std::nullopt;
    for (std::size_t bank = 0; bank < settings.mailBoxPathName.size(); ++bank) {
        if (&line.text(settings) == &settings.mailBoxPathName[bank]) return static_cast<int>(bank);
    }
    return std::nullopt;
}

int Set(CommandContext& context, const std::string& key, const std::string& typed) {
    const SettingLine* line = FindLine(context, key);
    if (line == nullptr) return kRefused;
    core::WorkspaceLock lock;
    const auto session = context.OpenForChange(lock);
    if (session == nullptr) return kRefused;
    core::Settings& settings = session->program.settings();
    const auto change = line->kind == Kind::Integer ? ChangeInteger(context, settings, *line, key, typed)
                                                    : ChangeText(context, *session, *line, key, typed);
    if (!change) return kRefused;
    const auto bank = BankOf(*line, settings);
    if (bank && session->program.folders().MakeBankDirectory(*bank) < 0) return kRefused;
    // The settings first: what stands there of an environment has no effect until the environment says the
    // same.
    if (session->program.SaveSettings() < 0) return kRefused;
    if (change->inEnvironment && session->program.SaveEnvironments() < 0) return kRefused;
    if (change->corrected) {
        context.Remark({"{} の値は {} に補正されました。", "The value of {} was corrected to {}."}, key,
                       Printable(ValueText(*line, settings)));
    }
    if (change->inEnvironment) {
        context.Remark({"{} は接続環境 {} の値です。接続環境も変更しました。",
                        "{} belongs to environment {}, which was changed too."},
                       key, std::to_string(settings.currentId));
    }
    return kDone;
}

std::vector<std::string> CompleteKey(const std::vector<std::string>& words) {
    std::vector<std::string> keys;
    if (!words.empty()) return keys;
    for (const SettingLine& line : core::SettingLines()) {
        keys.push_back(Utf8Bytes(line.key));
    }
    return keys;
}

}  // namespace

void AddSettingsCommand(CLI::App& application, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    const Bilingual aboutKey = {"設定のキーまたは行番号", "the setting's key or line number"};

    CLI::App* settings = application.add_subcommand(
        "settings", say({"設定の一覧・表示・変更", "List, print or change settings"}));
    settings->require_subcommand(0, 1);
    auto showPasswords = std::make_shared<bool>(false);
    settings->add_flag("--show-passwords", *showPasswords,
                       say({"パスワードを隠さず表示する", "Print passwords as they are"}));
    settings->callback([settings, &context, showPasswords] {
        if (settings->get_subcommands().empty()) {
            context.run = [&context, showPasswords] { return List(context, *showPasswords); };
        }
    });

    auto key = std::make_shared<std::string>();
    auto value = std::make_shared<std::string>();
    CLI::App* get = settings->add_subcommand("get", say({"値を表示する", "Print a value"}));
    get->add_option("KEY", *key, say(aboutKey))->required()->type_name("");
    get->callback([&context, key] { context.run = [&context, key] { return Get(context, *key); }; });
    context.completers[get] = CompleteKey;

    CLI::App* set = settings->add_subcommand(
        "set", say({"値を変更して保存する（- で始まる値の前には -- を置く）",
                    "Change a value and save (put -- before a value that begins with -)"}));
    set->add_option("KEY", *key, say(aboutKey))->required()->type_name("");
    set->add_option("VALUE", *value, say({"新しい値", "the new value"}))->required()->type_name("");
    set->callback([&context, key, value] {
        context.run = [&context, key, value] { return Set(context, *key, *value); };
    });
    context.completers[set] = CompleteKey;
}

}  // namespace postkite::cli
