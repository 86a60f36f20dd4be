#include "cli/commands/rules_command.h"

#include <CLI/CLI.hpp>
#include <limits>
#include <nlohmann/json.hpp>

#include "cli/application.h"
#include "cli/mail_folder.h"
#include "core/error_text.h"
#include "organise/rule_table.h"

namespace postkite::cli {

namespace {

using organise::SortingRule;

int RefuseFile(CommandContext& context, int error) {
    return context.Refuse({"振り分け規則のファイル {} を読み込めません。（{}）",
                           "The file of sorting rules, {}, cannot be read: {}."},
                          Utf8Bytes(organise::kRuleFile),
                          Utf8Bytes(core::DescribeError(error, context.language())));
}

/// "    3  有効 自動  name  Subject:に modemが含まれるメールを Workへ移動する".
std::string RowOf(CommandContext& context, std::size_t number, const SortingRule& rule) {
    constexpr std::size_t kNumberColumns = 5;
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    const std::string digits = std::to_string(number);
    return std::string(kNumberColumns - std::min(kNumberColumns, digits.size()), ' ') + digits + "  " +
           say(rule.enabled ? Bilingual{"有効", "enabled "} : Bilingual{"無効", "disabled"}) + " " +
           say(rule.automatic ? Bilingual{"自動", "automatic"} : Bilingual{"    ", "         "}) + "  " +
           Printable(rule.name) + "  " +
           Bilingual{"{}に {}が含まれるメールを {}へ移動する\n", "{} with {} goes to {}\n"}.In(
               context.language(), {Printable(rule.field), Printable(rule.text), Printable(rule.folder)});
}

int List(CommandContext& context) {
    const auto session = context.Open();
    if (session == nullptr) return kRefused;
    std::vector<SortingRule> rules;
    const int read = organise::ReadRules(session->workspace, rules);
    if (read < 0) return RefuseFile(context, read);
    nlohmann::ordered_json document = nlohmann::ordered_json::array();
    std::string text;
    for (std::size_t number = 0; number < rules.size(); ++number) {
        const SortingRule& rule = rules[number];
        document.push_back({{"number", number},
                            {"enabled", rule.enabled},
                            {"automatic", rule.automatic},
                            {"name", Utf8Bytes(rule.name)},
                            {"field", Utf8Bytes(rule.field)},
                            {"text", Utf8Bytes(rule.text)},
                            {"folder", Utf8Bytes(rule.folder)}});
        text += RowOf(context, number, rule);
    }
    return context.json ? context.PrintJson(document) : context.Print(text);
}

/// Saves what the lock still holds together with the reading. Returns the exit status.
int Save(Session& session, const std::vector<SortingRule>& rules) {
    const core::SaveOutcome outcome = organise::SaveRules(session.workspace, organise::kRuleFile, rules);
    core::ReportSave(session.ui, organise::kRuleFile, outcome);
    return outcome.result < 0 ? kRefused : kDone;
}

/// A new rule as it was typed.
struct TypedRule {
    std::string name;
    std::string field;
    std::string text;
    std::string folder;
    bool disabled = false;
    bool automatic = false;
};

/// The field that was meant; nothing where there is none, and the user knows.
std::optional<std::string_view> FieldOf(CommandContext& context, const std::string& typed) {
    const auto field = context.LineValue("FIELD", typed, organise::kLongestRulePart);
    if (!field) return std::nullopt;
    constexpr std::string_view kBody = "body";
    const bool isBody = organise::ToCapitals(*field) == organise::ToCapitals(kBody);
    if (isBody) return organise::kRuleFields.back();
    for (const std::string& spelled : {*field, *field + ":"}) {
        const auto known = organise::RuleFieldOf(spelled);
        if (known) return known;
    }
    std::string names;
    for (const std::string_view name : organise::kRuleFields)
        names += (names.empty() ? "" : " ") + Utf8Bytes(name);
    static_cast<void>(context.Refuse(
        {"{} という項目はありません。（{}）", "There is no field {}; the fields are {}."}, typed, names));
    return std::nullopt;
}

int Add(CommandContext& context, const TypedRule& typed) {
    constexpr std::size_t kLongest = organise::kLongestRulePart;
    SortingRule rule{!typed.disabled, typed.automatic, {}, {}, {}, {}};
    const auto name = context.LineValue("NAME", typed.name, kLongest);
    const auto field = name ? FieldOf(context, typed.field) : std::nullopt;
    const auto text = field ? context.LineValue("TEXT", typed.text, kLongest) : std::nullopt;
    if (!text) return kRefused;
    if (text->empty()) return context.Refuse({"TEXT が空です。", "TEXT is empty."});
    auto folder = OpenTreeFolder(context, typed.folder);
    if (!folder || !LockForChange(context, *folder)) return kRefused;
    if (folder->folders().tree().Find(folder->name)->parent == nullptr || folder->name.size() > kLongest) {
        return context.Refuse({"フォルダ {} へは振り分けられません。", "No mails can be sorted into {}."},
                              typed.folder);
    }
    rule.name = *name;
    rule.field = *field;
    rule.text = *text;
    rule.folder = folder->name;
    std::vector<SortingRule> rules;
    const int read = organise::ReadRules(folder->session->workspace, rules);
    if (read < 0) return RefuseFile(context, read);
    rules.push_back(std::move(rule));
    const int saved = Save(*folder->session, rules);
    if (saved == kDone && rules.size() > organise::RuleTable::kMostRules) {
        context.Remark({"振り分けに使われるのは、先頭から {} 個までの有効な規則です。",
                        "Only the first {} rules that can work are used."},
                       std::to_string(organise::RuleTable::kMostRules));
    }
    return saved;
}

int Remove(CommandContext& context, std::size_t number) {
    const auto session = context.Open();
    if (session == nullptr) return kRefused;
    core::WorkspaceLock lock;
    std::vector<SortingRule> rules;
    int result = session->workspace.Lock(true, lock);
    if (result == 0) result = organise::ReadRules(session->workspace, rules);
    if (result < 0) return RefuseFile(context, result);
    if (number >= rules.size()) {
        return context.Refuse({"番号 {} の規則はありません。", "There is no rule of number {}."},
                              std::to_string(number));
    }
    rules.erase(rules.begin() + static_cast<std::ptrdiff_t>(number));
    return Save(*session, rules);
}

void AddAdding(CLI::App& rules, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    auto typed = std::make_shared<TypedRule>();
    CLI::App* add = rules.add_subcommand("add", say({"規則を最後に加える", "Add a rule behind the others"}));
    add->add_option("NAME", typed->name, say({"規則の名前", "what the rule is called"}))
        ->required()
        ->type_name("");
    add->add_option("FIELD", typed->field,
                    say({"調べる項目: Address、To、From、Subject、Cc、Bcc、Attach、本文",
                         "what is searched: Address, To, From, Subject, Cc, Bcc, Attach, body"}))
        ->required()
        ->type_name("");
    add->add_option("TEXT", typed->text, say({"含まれるべき文字列", "the text that it has to hold"}))
        ->required()
        ->type_name("");
    add->add_option("FOLDER", typed->folder, say({"移動先のフォルダ", "where the mails go"}))
        ->required()
        ->type_name("");
    add->add_flag("--disabled", typed->disabled, say({"無効にしておく", "not to be used yet"}));
    add->add_flag("--automatic", typed->automatic, say({"自動の印を付ける", "mark it automatic"}));
    add->callback([&context, typed] { context.run = [&context, typed] { return Add(context, *typed); }; });
}

}  // namespace

void AddRulesCommand(CLI::App& application, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    CLI::App* rules = application.add_subcommand(
        "rules", say({"振り分け規則の一覧と変更", "List and change sorting rules"}));
    rules->require_subcommand(0, 1);
    rules->callback([rules, &context] {
        if (rules->get_subcommands().empty()) context.run = [&context] { return List(context); };
    });
    AddAdding(*rules, context);

    auto number = std::make_shared<int>(0);
    CLI::App* remove = rules->add_subcommand("remove", say({"規則を取り除く", "Remove a rule"}));
    remove->add_option("N", *number, say({"規則の番号", "the rule's number"}))
        ->required()
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description(""))
        ->type_name("");
    remove->callback([&context, number] {
        context.run = [&context, number] { return Remove(context, static_cast<std::size_t>(*number)); };
    });
}

}  // namespace postkite::cli
