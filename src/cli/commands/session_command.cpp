#include "cli/commands/session_command.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <optional>

#include "app/sessions.h"
#include "cli/application.h"
#include "cli/commands/script_command.h"
#include "cli/session_run.h"
#include "comm/device_names.h"
#include "comm/session.h"
#include "core/error_text.h"

namespace postkite::cli {

namespace {

struct SessionOptions {
    bool receiveOnly = false;
    std::optional<std::string> port;
    bool monitor = false;
    int pace = 1;
    std::string script;  ///< the file that `script run` was given
};

/// Nothing where the setting is no port; the user knows.
std::optional<std::string> DeviceFor(CommandContext& context, Session& session,
                                     const SessionOptions& options) {
    const std::string& rsPort = session.program.settings().rsPort;
    std::string device;
    const int found =
        comm::FindDevice(options.port.value_or(std::string()), rsPort, context.console().variable,
                         context.fileSystem(), session.workspace.root(), device);
    if (found == 0) return device;
    static_cast<void>(context.Refuse({"{}", "{}"}, Utf8Bytes(comm::DescribeRefusedPort(rsPort, session.ui))));
    return std::nullopt;
}

int Report(CommandContext& context, app::Sessions& sessions, std::optional<int> result) {
    const app::Sessions::Yield yield = sessions.yield();
    const int printed =
        context.json
            ? context.PrintJson(nlohmann::ordered_json{{"result", result.value_or(comm::kSessionGoesOn)},
                                                       {"mails", yield.mails},
                                                       {"messages", yield.messages},
                                                       {"sent", yield.sent}})
            : context.Print(
                  Bilingual{"受信したメール: {}　会議室の発言: {}　送信: {}\n",
                            "Mails received: {}, forum messages: {}, sent: {}\n"}
                      .In(context.language(), {std::to_string(yield.mails), std::to_string(yield.messages),
                                               std::to_string(yield.sent)}));
    if (!result) return context.Refuse({"ログオフせずに回線を切りました。", "Hung up without a log-off."});
    if (*result == comm::kSessionEnded) return yield.allDone() ? printed : kRefused;
    return context.Refuse({"通信は正常に終わりませんでした。（結果 {}）",
                           "The session did not come to its proper end (result {})."},
                          std::to_string(*result));
}

int RefuseToBegin(CommandContext& context, Session& session, const std::string& device) {
    const int error = session.program.sessions().lineError();
    if (error < 0) {
        return context.Refuse({"{} を開けません。（{}）", "{} cannot be opened: {}."}, device,
                              Utf8Bytes(core::DescribeError(error, context.language())));
    }
    // Whoever is not there to read messages finds the reason in a file.
    if (session.program.settings().autoMode == 0) return kRefused;
    return context.Refuse({"通信を始められません。error.log を見てください。",
                           "The session could not be begun. See error.log."});
}

int Connect(CommandContext& context, Session& session, const SessionOptions& options,
            app::Sessions::Start start, const comm::ScriptLines* script) {
    const auto device = DeviceFor(context, session, options);
    if (!device) return kRefused;
    session.program.settings().monitorWindow = options.monitor ? 1 : 0;
    session.ui.ShowStatusTexts(TerminalUserInterface::StatusTexts::Printed);

    std::optional<SignalTimer> system;
    SessionTimer* timer = context.console().sessionTimer;
    if (timer == nullptr) timer = &system.emplace();
    app::Sessions& sessions = session.program.sessions();
    if (sessions.Begin(start, *device, script) < 0) return RefuseToBegin(context, session, *device);
    timer->Start(options.pace);
    const std::optional<int> result = RunToItsEnd(context, sessions, *timer);
    const int status = Report(context, sessions, result);
    return session.program.SortAtEnd() < 0 ? kRefused : status;
}

int RunSession(CommandContext& context, const SessionOptions& options) {
    using Start = app::Sessions::Start;
    const auto session = context.OpenBank();
    const Start start = options.receiveOnly ? Start::ReceiveOnly : Start::SendAndReceive;
    return session == nullptr ? kRefused : Connect(context, *session, options, start, nullptr);
}

/// What is reserved for sending goes out where the script sends it.
int RunScript(CommandContext& context, const SessionOptions& options) {
    using Start = app::Sessions::Start;
    const auto session = context.OpenBank();
    if (session == nullptr) return kRefused;
    const auto script = ReadUserScript(context, *session, options.script);
    if (!script) return kRefused;
    for (const comm::ScriptProblem& problem : ProblemsOf(*script))
        context.Remark({"{}", "{}"}, ProblemLine(context, options.script, problem));
    const comm::ScriptLines& lines = script->file.lines;
    const bool sends = comm::ReadsSendQueue(lines, session->program.settings().fenicsLoad);
    return Connect(context, *session, options, sends ? Start::SendAndReceive : Start::ReceiveOnly, &lines);
}

void AddLineOptions(CLI::App& command, SessionOptions& options, const CommandContext& context) {
    constexpr int kFastest = 1000;
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    command
        .add_option("--port", options.port,
                    say({"デバイス、または tcp:HOST:PORT、telnet:HOST:PORT（既定: RS PORT の値が 2 のとき "
                         "$POSTKITE_COM2、dosdevices/com2、/dev/ttyS1 の順）",
                         "The device, or tcp:HOST:PORT, telnet:HOST:PORT (default for RS PORT 2: "
                         "$POSTKITE_COM2, dosdevices/com2, /dev/ttyS1)"}))
        ->type_name("DEVICE")
        ->check([](const std::string& given) { return given.empty() ? "--port: \"\"" : std::string(); });
    command.add_flag("--monitor", options.monitor,
                     say({"ホストの文字を標準エラー出力に表示する", "Print what the host prints"}));
    command
        .add_option("--pace", options.pace,
                    say({"通信のタイマーを N 倍の速さで進める", "Run the session timer N times as fast"}))
        ->type_name("N")
        ->check(CLI::Range(1, kFastest).description(""));
}

}  // namespace

void AddSessionCommand(CLI::App& application, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    const auto options = std::make_shared<SessionOptions>();
    CLI::App* session =
        application.add_subcommand("session", say({"ホストに接続する", "Connect to the host"}));
    session->add_flag("--receive-only", options->receiveOnly, say({"受信だけを行う", "Only receive"}));
    AddLineOptions(*session, *options, context);
    session->callback(
        [&context, options] { context.run = [&context, options] { return RunSession(context, *options); }; });
}

void AddScriptRunCommand(CLI::App& script, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    const auto options = std::make_shared<SessionOptions>();
    CLI::App* run =
        script.add_subcommand("run", say({"スクリプトファイルで接続する", "Connect with a script file"}));
    run->add_option("FILE", options->script, say({"スクリプトファイル", "the script file"}))
        ->required()
        ->type_name("");
    AddLineOptions(*run, *options, context);
    run->callback(
        [&context, options] { context.run = [&context, options] { return RunScript(context, *options); }; });
}

}  // namespace postkite::cli
