#include "cli/application.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <ostream>

#include "cli/command_context.h"
#include "cli/commands/analyse_command.h"
#include "cli/commands/banks_command.h"
#include "cli/commands/demo_command.h"
#include "cli/commands/environments_command.h"
#include "cli/commands/folders_command.h"
#include "cli/commands/forums_command.h"
#include "cli/commands/mail_command.h"
#include "cli/commands/queue_command.h"
#include "cli/commands/rules_command.h"
#include "cli/commands/script_command.h"
#include "cli/commands/session_command.h"
#include "cli/commands/settings_command.h"
#include "cli/commands/sort_command.h"
#include "cli/completion.h"

namespace postkite::cli {

namespace {

void SpeakJapanese(CLI::App& application) {
    const auto formatter = std::make_shared<CLI::Formatter>();
    formatter->label("Usage", "使い方");
    formatter->label("OPTIONS", "オプション");
    formatter->label("SUBCOMMAND", "コマンド");
    formatter->label("SUBCOMMANDS", "コマンド");
    formatter->label("Positionals", "引数");
    formatter->label("REQUIRED", "（必須）");
    application.formatter(formatter);
    application.failure_message([](const CLI::App*, const CLI::Error& error) {
        return std::string(error.what()) + "\n使い方は --help で表示します。\n";
    });
}

/// The headings over options and commands are the parser's in each command on its own, so this comes last.
void HeadInJapanese(CLI::App& application) {
    for (CLI::Option* option : application.get_options()) {
        if (!option->get_positional()) option->group("オプション");
    }
    for (CLI::App* command : application.get_subcommands([](const CLI::App*) { return true; })) {
        command->group("コマンド");
        HeadInJapanese(*command);
    }
}

void AddGlobalOptions(CLI::App& application, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    application.set_help_flag("-h,--help", say({"この説明を表示する", "Print this help"}));
    application.set_version_flag("--version", "postkite " POSTKITE_VERSION,
                                 say({"バージョンを表示する", "Print the version"}));
    application
        .add_option("--dir", context.directory,
                    say({"作業ディレクトリ（既定: $POSTKITE_DIR、$XDG_DATA_HOME/postkite、"
                         "~/.local/share/postkite）",
                         "The working directory (default: $POSTKITE_DIR, $XDG_DATA_HOME/postkite, "
                         "~/.local/share/postkite)"}))
        ->type_name("DIR")
        ->check([](const std::string& given) { return given.empty() ? "--dir: \"\"" : std::string(); });
    application.add_flag("--json", context.json, say({"結果を JSON で出力する", "Print the result as JSON"}));
    application.add_flag("--yes", context.yes,
                         say({"質問にはすべて「はい」と答える", "Answer every question with yes"}));
}

/// `postkite complete -- WORD...`, for the shell and not for people: the parser does not know of it, since
/// anything at all can stand in a half-typed line.
constexpr std::string_view kCompleteCommand = "complete";

int PrintCompletions(const CLI::App& application, CommandContext& context, std::vector<std::string> words) {
    words.erase(words.begin());
    if (!words.empty() && words.front() == "--") words.erase(words.begin());
    std::string lines;
    for (const std::string& candidate : Complete(application, context, words)) {
        lines += candidate + "\n";
    }
    return context.Print(lines);
}

}  // namespace

int RunPostkite(std::vector<std::string> arguments, core::FileSystem& fileSystem, Console& console) {
    CommandContext context(fileSystem, console);
    CLI::App application(Bilingual{"テキストメニュー型ホストのためのメールクライアント",
                                   "Mail client for a text-menu host reached by modem"}
                             .In(context.language()),
                         "postkite");
    if (context.language() == core::Language::Japanese) SpeakJapanese(application);
    application.fallthrough();
    AddGlobalOptions(application, context);
    AddSettingsCommand(application, context);
    AddEnvironmentsCommand(application, context);
    AddBanksCommand(application, context);
    AddFoldersCommand(application, context);
    AddCompactCommand(application, context);
    AddMailCommand(application, context);
    AddRulesCommand(application, context);
    AddSortCommand(application, context);
    AddForumsCommand(application, context);
    AddAnalyseCommand(application, context);
    AddQueueCommand(application, context);
    AddSessionCommand(application, context);
    AddScriptRunCommand(AddScriptCommand(application, context), context);
    AddDemoCommand(application, context);
    if (context.language() == core::Language::Japanese) HeadInJapanese(application);
    if (!arguments.empty() && arguments.front() == kCompleteCommand) {
        return PrintCompletions(application, context, std::move(arguments));
    }

    try {
        std::reverse(arguments.begin(), arguments.end());  // the order that the parser takes them in
        application.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        if (application.exit(error, console.out, console.err) != 0) return kWrongUsage;
        return context.Print({});  // whether help or version could be written
    }
    if (!context.run) {
        console.err << application.help();
        return kWrongUsage;
    }
    return context.run();
}

}  // namespace postkite::cli
