#include "cli/commands/script_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>

#include "cli/application.h"
#include "core/error_text.h"

namespace postkite::cli {

namespace {

using comm::BuiltInScript;

struct BuiltIn {
    std::string_view name;
    BuiltInScript script;
    Bilingual use;
};

constexpr BuiltIn kBuiltIns[] = {
    {"A",
     BuiltInScript::A,
     {"FENICS LOAD が 1 以外、FORUM NAME なし: メールの送受信とフォーラムの巡回",
      "FENICS LOAD other than 1, no FORUM NAME: sends and reads mail, patrols forums"}},
    {"B",
     BuiltInScript::B,
     {"FENICS LOAD が 1 以外、FORUM NAME あり: メールを読み、そのフォーラムからメールを送る",
      "FENICS LOAD other than 1, with a FORUM NAME: reads mail, sends mail from that forum"}},
    {"C",
     BuiltInScript::C,
     {"FENICS LOAD が 1、FORUM NAME なし: メールの送受信とフォーラムの巡回",
      "FENICS LOAD 1, no FORUM NAME: sends and reads mail, patrols forums"}},
    {"D",
     BuiltInScript::D,
     {"FENICS LOAD が 1、FORUM NAME あり: メールを送り、新着メールを読む",
      "FENICS LOAD 1, with a FORUM NAME: sends mail, reads new mail"}},
};

std::string Bytes(std::u8string_view utf8) {
    return {utf8.begin(), utf8.end()};
}

int ListScripts(CommandContext& context) {
    const auto session = context.Open();
    if (session == nullptr) return kRefused;
    const core::Settings& settings = session->program.settings();
    const BuiltInScript chosen = comm::ChooseScript(settings);
    nlohmann::ordered_json document = nlohmann::ordered_json::array();
    std::string text;
    for (const BuiltIn& builtIn : kBuiltIns) {
        const bool isChosen = builtIn.script == chosen;
        const std::string use = builtIn.use.In(context.language());
        document.push_back({{"name", builtIn.name}, {"builtIn", true}, {"chosen", isChosen}, {"use", use}});
        text += std::string(isChosen ? "*" : " ") + std::string(builtIn.name) + "  " + use + "\n";
    }
    std::vector<std::string> files;
    const int listed = comm::ListScriptFiles(session->workspace, settings, files);
    if (listed < 0) {
        context.Remark({"SCRIPTDIRECTORY の {} を読み込めません。（{}）",
                        "{}, the SCRIPTDIRECTORY, cannot be read: {}."},
                       Utf8Bytes(settings.scriptDirectory),
                       Utf8Bytes(core::DescribeError(listed, context.language())));
    }
    for (const std::string& file : files) {
        document.push_back({{"name", Utf8Bytes(file)}, {"builtIn", false}, {"chosen", false}, {"use", ""}});
        text += " " + Printable(file) + "\n";
    }
    return context.json ? context.PrintJson(document) : context.Print(text);
}

int PrintScript(CommandContext& context, const comm::ScriptLines& lines) {
    nlohmann::ordered_json document = nlohmann::ordered_json::array();
    std::string text;
    for (std::size_t number = 1; number < lines.size(); ++number) {
        if (lines[number].empty()) continue;
        document.push_back({{"number", number}, {"line", Utf8Bytes(lines[number])}});
        text += std::to_string(number) + " " + Visible(Bytes(comm::FormatScriptLine(lines[number]))) + "\n";
    }
    return context.json ? context.PrintJson(document) : context.Print(text);
}

int Show(CommandContext& context, const std::string& name) {
    for (const BuiltIn& builtIn : kBuiltIns) {
        if (builtIn.name == name) return PrintScript(context, comm::BuiltInScriptLines(builtIn.script));
    }
    const auto session = context.Open();
    if (session == nullptr) return kRefused;
    const auto script = ReadUserScript(context, *session, name);
    if (!script) return kRefused;
    for (const comm::ScriptProblem& problem : script->unread)
        context.Remark({"{}", "{}"}, ProblemLine(context, name, problem));
    return script->unread.empty() ? PrintScript(context, script->file.lines) : kRefused;
}

int Check(CommandContext& context, const std::string& file) {
    const auto session = context.Open();
    if (session == nullptr) return kRefused;
    const auto script = ReadUserScript(context, *session, file);
    if (!script) return kRefused;
    const auto problems = ProblemsOf(*script);
    nlohmann::ordered_json document = nlohmann::ordered_json::array();
    std::string text;
    for (const comm::ScriptProblem& problem : problems) {
        const std::string words = Visible(Bytes(comm::DescribeScriptProblem(problem, context.language())));
        document.push_back({{"line", problem.line}, {"problem", words}});
        text += ProblemLine(context, file, problem) + "\n";
    }
    const int printed = context.json ? context.PrintJson(document) : context.Print(text);
    if (!comm::HasLogOffLine(script->file.lines)) {
        context.Remark({"{} には 200 行がありません。接続中に切断すると、ログオフせずに回線を切ります。",
                        "{} has no line 200: a disconnect by the user hangs up without a log-off."},
                       file);
    }
    return problems.empty() ? printed : kRefused;
}

}  // namespace

std::optional<UserScript> ReadUserScript(CommandContext& context, Session& session, const std::string& file) {
    std::string bytes;
    int read = context.ReadBytes(file, comm::kLongestScriptFileBytes, bytes);
    if (read == 0 && bytes.size() > comm::kLongestScriptFileBytes) read = -EFBIG;
    if (const auto name = Typed(file); read == -ENOENT && name) {
        const int found = comm::ReadScriptFile(session.workspace, session.program.settings(), *name, bytes);
        // A name that only a path can have is no name in that directory.
        if (found != -EINVAL) read = found;
    }
    if (read < 0) {
        static_cast<void>(context.Refuse({"{} を読み込めません。（{}）", "{} cannot be read: {}."}, file,
                                         Utf8Bytes(core::DescribeError(read, context.language()))));
        return std::nullopt;
    }
    UserScript script;
    script.unread = comm::ParseScript(std::u8string(bytes.begin(), bytes.end()), script.file);
    return script;
}

std::vector<comm::ScriptProblem> ProblemsOf(const UserScript& script) {
    std::vector<comm::ScriptProblem> problems = script.unread;
    const auto faults = comm::CheckScript(script.file);
    problems.insert(problems.end(), faults.begin(), faults.end());
    std::stable_sort(
        problems.begin(), problems.end(),
        [](const comm::ScriptProblem& a, const comm::ScriptProblem& b) { return a.line < b.line; });
    return problems;
}

std::string ProblemLine(const CommandContext& context, const std::string& file,
                        const comm::ScriptProblem& problem) {
    const std::string words = Bytes(comm::DescribeScriptProblem(problem, context.language()));
    return Visible(file + ":" + std::to_string(problem.line) + ": " + words);
}

CLI::App& AddScriptCommand(CLI::App& application, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    CLI::App* script = application.add_subcommand("script", say({"接続スクリプト", "Connection scripts"}));
    script->require_subcommand(1);

    script
        ->add_subcommand("list", say({"スクリプトと、使われる場合の一覧",
                                      "List the scripts and say when each one is used"}))
        ->callback([&context] { context.run = [&context] { return ListScripts(context); }; });

    auto name = std::make_shared<std::string>();
    CLI::App* show = script->add_subcommand("show", say({"スクリプトを表示する", "Print a script"}));
    show->add_option("NAME", *name, say({"A ～ D、またはスクリプトファイル", "A to D, or a script file"}))
        ->required()
        ->type_name("");
    show->callback([&context, name] { context.run = [&context, name] { return Show(context, *name); }; });
    context.completers[show] = [](const std::vector<std::string>& words) {
        std::vector<std::string> names;
        for (const BuiltIn& builtIn : kBuiltIns) {
            if (words.empty()) names.emplace_back(builtIn.name);
        }
        return names;
    };

    CLI::App* check = script->add_subcommand(
        "check", say({"スクリプトファイルを調べる", "Look for faults in a script file"}));
    check->add_option("FILE", *name, say({"スクリプトファイル", "the script file"}))
        ->required()
        ->type_name("");
    check->callback([&context, name] { context.run = [&context, name] { return Check(context, *name); }; });
    return *script;
}

}  // namespace postkite::cli
