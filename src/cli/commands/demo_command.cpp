#include "cli/commands/demo_command.h"

#include <CLI/CLI.hpp>
#include <array>
#include <nlohmann/json.hpp>

#include "analyse/read_conditions.h"
#include "app/practice_host_process.h"
#include "app/temporary_directory.h"
#include "cli/application.h"
#include "cli/commands/mail_command.h"
#include "cli/session_run.h"
#include "core/error_text.h"
#include "core/shift_jis.h"
#include "organise/rule_file.h"
#include "store/index_record.h"

namespace postkite::cli {

namespace {

using namespace core::literals;
using Json = nlohmann::ordered_json;

constexpr std::string_view kUser = "PKT00099";
constexpr std::string_view kPassword = "practice";
constexpr std::string_view kSortedFolder = "凧あげ"_sjis;

/// What waits in the Outbox: a mail to a member of the host and to somebody on the Internet, and an answer in a
/// forum's room.
struct Composed {
    std::string_view address;
    std::string_view subject;
    std::string_view body;
};
constexpr std::array<Composed, 2> kComposed = {{
    {"PKT00021 (凪野 ひさし), aya@harbour.example (Mori, Aya)"_sjis, "Re:日曜の凧あげ"_sjis,
     "日曜はうかがいます。一時に、水門の横で。\r\n\r\n手袋は持っています。糸巻をひとつ余分に持っていきます。\r\n"_sjis},
    {"/FSORA,MES1,14", "RE:犬の耳"_sjis,
     "うちの犬にも聞こえるようです。\r\n凧があがると、糸の根もとで耳を立てます。\r\n"_sjis},
}};

int FillOutbox(app::Program& program) {
    for (const Composed& composed : kComposed) {
        store::MailRecord record;
        record.flags = store::kComposedMailFlags;
        record.flags[store::flag::kPosition8] = 'Y';
        record.address = composed.address;
        record.date = core::FormatNowDate(program.clock());
        record.subject = composed.subject;
        record.body = composed.body;
        if (program.mailbox().AppendMail(program.Outbox(), record, -1) < 0) return -1;
    }
    return 0;
}

/// A working directory as somebody has it who knows the practice host: an account, a rule, rooms to read, mail to
/// send. Returns 0, or -1 or a negated errno value.
int Prepare(Session& session) {
    if (const int prepared = session.workspace.Prepare(); prepared < 0) return prepared;
    app::Program& program = session.program;
    program.Start();
    core::Settings& settings = program.settings();
    settings.userId = kUser;
    settings.userPassword = kPassword;
    settings.phoneNumber = "03-1234-5678";
    settings.filterReceive = 1;
    settings.monitorWindow = 0;
    if (program.OpenBank() < 0 || program.folders().NewFolder(store::kDesktop, kSortedFolder) < 0) return -1;

    organise::SortingRule rule;
    rule.name = "凧の仲間"_sjis;
    rule.field = "From:";
    rule.text = "PKT00021";
    rule.folder = kSortedFolder;
    int result = organise::SaveRules(session.workspace, organise::kRuleFile, std::array{rule}).result;
    for (const std::string_view room : {"FSORA,mes1", "FSORA,mes2", "FUMIBE,mes1"}) {
        const analyse::ReadCondition condition{std::string(analyse::kRead), "93/01/01"};
        if (result == 0) result = analyse::WriteReadCondition(session.workspace, room, condition);
    }
    return result < 0 ? result : FillOutbox(program);
}

/// Prints the folders that have mails, with their mails.
int PrintFolders(CommandContext& context, app::Program& program, Json& document) {
    std::string text;
    document["folders"] = Json::array();
    program.folders().tree().Walk([&](const store::Folder&, const std::string& baseName) {
        store::FolderReader reader;
        if (reader.Open(program.mailbox().FilesOf(baseName)) < 0 || reader.CountMails() <= 0) return true;
        text += "\n" + Printable(baseName) + "\n";
        Json mails = Json::array();
        store::MailListEntry entry;
        for (int number = 0; reader.ReadListEntry(number, entry) == 0; ++number) {
            text += MailRowText(number, entry);
            mails.push_back(Utf8Bytes(store::WithoutTrailingBlanks(entry.subject.view())));
        }
        document["folders"].push_back({{"folder", Utf8Bytes(baseName)}, {"mails", std::move(mails)}});
        return true;
    });
    return context.json ? context.PrintJson(document) : context.Print(text);
}

int Connect(CommandContext& context, Session& session, const std::string& device, int pace) {
    session.ui.ShowStatusTexts(context.console().errIsTerminal ? TerminalUserInterface::StatusTexts::Drawn
                                                               : TerminalUserInterface::StatusTexts::Printed);
    SignalTimer timer;
    app::Sessions& sessions = session.program.sessions();
    if (sessions.Begin(app::Sessions::Start::SendAndReceive, device) < 0) return kRefused;
    timer.Start(pace);
    const int result = RunToItsEnd(context, sessions, timer).value_or(comm::kSessionGoesOn);
    const app::Sessions::Yield& yield = sessions.yield();
    Json document = {
        {"result", result}, {"mails", yield.mails}, {"messages", yield.messages}, {"sent", yield.sent}};
    const int printed = PrintFolders(context, session.program, document);
    return result == comm::kSessionEnded && yield.allDone() ? printed : kRefused;
}

int RunDemo(CommandContext& context, int pace) {
    app::TemporaryDirectory directory;
    int result = directory.Make();
    app::PracticeHostProcess host;
    if (result == 0) {
        context.Remark({"練習用ホストを起動します。", "Starting a practice host."});
        result =
            host.Start({}, {"--once", "--user", std::string(kUser), "--password", std::string(kPassword)});
    }
    if (result < 0) {
        return context.Refuse({"練習用ホスト（postkite-host）を起動できません。（{}）",
                               "The practice host (postkite-host) cannot be started: {}."},
                              Utf8Bytes(core::DescribeError(result, context.language())));
    }
    const auto session = context.NewSession(directory.path() / "mail", directory.path() / "state");
    result = Prepare(*session);
    if (result < -1) {
        return context.Refuse({"{} を使用できません。（{}）", "{} cannot be used: {}."},
                              directory.path().string(),
                              Utf8Bytes(core::DescribeError(result, context.language())));
    }
    if (result < 0) return kRefused;
    context.Remark({"接続します。Ctrl+C で切断できます。", "Connecting. Ctrl+C disconnects."});
    return Connect(context, *session, host.device(), pace);
}

}  // namespace

void AddDemoCommand(CLI::App& application, CommandContext& context) {
    constexpr int kPace = 5;
    constexpr int kFastest = 1000;
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    const auto pace = std::make_shared<int>(kPace);
    CLI::App* demo = application.add_subcommand(
        "demo", say({"練習用ホストに一度接続して、送受信をひととおり見せる",
                     "Connect once with a practice host of its own, sending and receiving"}));
    demo->add_option("--pace", *pace,
                     say({"通信のタイマーを N 倍の速さで進める（既定: 5）",
                          "Run the session timer N times as fast (default: 5)"}))
        ->type_name("N")
        ->check(CLI::Range(1, kFastest).description(""));
    demo->callback([&context, pace] { context.run = [&context, pace] { return RunDemo(context, *pace); }; });
}

}  // namespace postkite::cli
