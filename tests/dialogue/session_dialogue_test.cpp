#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "core/shift_jis.h"
#include "tests/dialogue/dialogue.h"

/// Whole connections with the built-in scripts, from dialling to hanging up.
namespace postkite::dialogue {
namespace {

using namespace core::literals;
using support::ShownMessage;

core::Settings SettingsFor(const std::string& route, const std::string& forum = {}) {
    core::Settings settings;
    settings.fenicsLoad = route;
    settings.forumName = forum;
    settings.phoneNumber = "03-1234";
    settings.pbDp = "PB";
    settings.userId = "KIT00001";
    settings.userPassword = "sesame";
    settings.redialInterval = 3;
    settings.redialTimes = 2;
    settings.sound = 1;
    settings.connectSound = "connect.wav";
    settings.disconnectSound = "bye.wav";
    return settings;
}

constexpr std::string_view kMailText = "本文 (3000行まで　終了は行頭で/E　修正編集は 300行迄です)\r\n"_sjis;
constexpr std::string_view kPostText = "本文（300 行まで　終了は行頭で/E）\r\n"_sjis;

/// The modem's answer is short: it has two seconds, also where it comes byte by byte.
void Dial(Dialogue& line, std::string_view answer = "CONNECT 9600\r\n") {
    line.Client("ATQ0V1E1\r\n").Host("\r\nOK\r\n").Client("ATDT03-1234\r").Host(answer);
}

/// From the connection to "MAIL>", by the route's network where it has one.
void EnterHost(Dialogue& line) {
    const std::string route = line.settings.fenicsLoad;
    if (route == "1") {
        line.Client("\r\n").Client("NIFTY\r\n");
    } else if (route == "7") {
        line.Host("Login: ").Client("NIFTY\r").Host("Password: ").Client("\r");
    } else {
        if (route == "2") line.Client("@P\r");
        line.Host("HOST NAME?\r\n*").Client("C NIF\r");
    }
    line.Host("\r\nEnter Connection-ID  --->").Client("SVC\r");
    line.Host("SVC\r\nEnter User-ID  --->").Client("KIT00001\r");
    line.Host("KIT00001\r\nEnter Password --->").Client("sesame\r");
    line.Host("\r\n番号またはコマンド (改行でトップメニュー)\r\n＞"_sjis).Client("SET MENU OFF\r");
    line.Host("\r\n＞"_sjis).Client("SET PAGE OFF\r").Host("\r\n＞"_sjis).Client("GO MAIL\r");
    line.Host("GO MAIL\r\nMAIL>");
}

void ReadTwoMails(Dialogue& line) {
    line.Client("READ ALL\r");
    line.Host("  1 A\r\nfirst\r\naction:").Client("DELETE\r");
    line.Host("\r\n  2 B\r\nRe: 転送\r\n\r\naction:"_sjis).Client("DELETE\r").Host("\r\nMAIL>");
}

void EnterForum(Dialogue& line, const std::string& forum) {
    line.Client("GO " + forum + "\r").Host("E:終了\r\n＞"_sjis).Client("SET MENU OFF\r").Host("FORUM>");
    line.Client("SET PAGE OFF\r").Host("FORUM>").Client("SET DLM ON\r").Host("FORUM>");
}

void LogOff(Dialogue& line) {
    line.Client("OFF\r").Host("OFF\r\n").Client("+++").Client("ATH\r").Ends(comm::kSessionEnded);
}

void QueueTwoMails(Dialogue& line) {
    line.files["BMTEMP.$$$/send.inf"] =
        "TO:KIT00002\r\nTO:INET:a@b\r\nSUB:one\r\nbmtemp.$$$\\1.mtx\r\n"
        "TO:KIT00003\r\nSUB:two\r\nbmtemp.$$$\\2.mtx\r\n";
    line.files["BMTEMP.$$$/1.mtx"] = "hello\r\n\r\n/POST\r\n";
    line.files["BMTEMP.$$$/2.mtx"] = "FROM:me\r\n/POST\r\n";
    line.files["BMTEMP.$$$/MailID.Tmp"] = "id-0\r\nid-1\r\nid-2\r\nid-3\r\n";
}

TEST(SessionDialogueTest, ScriptAReceivesMailByEveryRoute) {
    for (const std::string route : {"2", "3", "7"}) {
        SCOPED_TRACE("route " + route);
        Dialogue line(SettingsFor(route));
        line.start = comm::Session::Start::ReceiveOnly;
        line.files["maillog.txt"] = "of an earlier session";
        line.files["BMTEMP.$$$/send.inf"] = "TO:nobody\r\nSUB:old\r\nbmtemp.$$$\\1.mtx\r\n";
        Dial(line);
        EnterHost(line);
        line.Client("KITE\r").Host("MAIL>");
        ReadTwoMails(line);
        LogOff(line);
        const Outcome outcome = line.PlayEveryWay();
        EXPECT_EQ(outcome.captures.at("maillog.txt"),
                  "  1 A\r\nfirst\r\naction:\r\n  2 B\r\nRe: 転送\r\n\r\naction:\r\nMAIL>"_sjis);
        EXPECT_EQ(outcome.sounds, (std::vector<std::string>{"connect.wav", "bye.wav"}));
        EXPECT_EQ(outcome.messages, std::vector<ShownMessage>{});
        EXPECT_EQ(outcome.statusTexts.back(), "回線切断完了"_sjis);
        if (HasFailure()) return;
    }
}

TEST(SessionDialogueTest, ScriptASendsMailAndPostsAndPatrols) {
    Dialogue line(SettingsFor("3"));
    QueueTwoMails(line);
    line.files["BMTEMP.$$$/mes.inf"] =
        "FKITE,MES 3\r\nbmtemp.$$$\\3.mtx\r\nFKITE,MES 4\r\nbmtemp.$$$\\4.mtx\r\n";
    line.files["BMTEMP.$$$/3.mtx"] = "SUB:post\r\nRE:NON\r\nbody\r\n/POST\r\n";
    line.files["BMTEMP.$$$/4.mtx"] = "SUB:again\r\nRE:012\r\n/POST\r\n";
    line.lists.rooms = {
        {"FKITE", "mes3", {}, {}, 0}, {"FKITE", "mes5", {}, {}, 0}, {"FWIND", "mes1", {}, {}, 0}};
    Dial(line);
    EnterHost(line);
    line.Client("KITE\r").Host("MAIL>");
    line.Client("COM\r").Host(kMailText);
    line.Client("TO:KIT00002\rTO:INET:a@b\rSUB:one\rhello\r\r/POST\r").Host("MAIL>");
    line.Client("COM\r").Host(kMailText).Client("TO:KIT00003\rSUB:two\rFROM:me\r/POST\r").Host("MAIL>");
    ReadTwoMails(line);
    // Two posts in one forum: its set-up is made once.
    EnterForum(line, "FKITE");
    line.Client("MES 3\r").Host("CCS(N)>").Client("COM\r").Host(kPostText);
    line.Client("SUB:post\rRE:NON\rbody\r/POST\r").Host("CCS(P)>");
    line.Client("MES 4\r").Host("CCS(N)>").Client("COM\r").Host(kPostText);
    line.Client("SUB:again\rRE:012\r/POST\r").Host("CCS(P)>");
    // The patrol: still in that forum, then into another.
    line.Client("mes3\r").Host("CCS(N)>").Client("MRE\r").Host("CCS(N)>MRE\r\nFKITE MES( 3)\r\nCCS(C)>");
    line.Client("mes5\r").Host("CCS(N)>").Client("MRE\r").Host(
        "CCS(N)>MRE\r\n◆現在未読の発言はありません◆\r\nCCS(R)>"_sjis);
    EnterForum(line, "FWIND");
    line.Client("mes1\r").Host("CCS(N)>").Client("MRE\r").Host("one message\r\nCCS(C)>");
    LogOff(line);
    const Outcome outcome = line.PlayEveryWay();
    EXPECT_EQ(outcome.sent, 4);
    EXPECT_EQ(outcome.marked, (std::vector<std::string>{"id-0", "id-1", "id-2", "id-3"}));
    EXPECT_EQ(outcome.accessed, (std::vector<std::string>{"FKITE,mes3", "FKITE,mes5", "FWIND,mes1"}));
    EXPECT_NE(outcome.captures.at("MesLog.txt").find("FKITE MES( 3)"), std::string::npos);
    EXPECT_EQ(outcome.captures.at("maillog.txt").find("FKITE"), std::string::npos);
}

TEST(SessionDialogueTest, ScriptBReadsMailAndSendsInTheForum) {
    Dialogue line(SettingsFor("3", "FKITE"));
    QueueTwoMails(line);
    Dial(line);
    EnterHost(line);
    line.Client("KITE\r").Host("MAIL>");
    ReadTwoMails(line);
    line.Client("go FKITE\r").Host("E:終了\r\n＞"_sjis).Client("SET MENU OFF\r").Host("FORUM>");
    line.Client("SET PAGE OFF\r").Host("FORUM>").Client("SMAIL\r").Host(kMailText);
    line.Client("TO:KIT00002\rTO:INET:a@b\rSUB:one\rhello\r\r/POST\r").Host("FORUM>");
    line.Client("SMAIL\r").Host(kMailText).Client("TO:KIT00003\rSUB:two\rFROM:me\r/POST\r").Host("FORUM>");
    LogOff(line);
    EXPECT_EQ(line.PlayEveryWay().marked, (std::vector<std::string>{"id-0", "id-1"}));

    // Nothing to send: from line 38 to 120, and through the empty lines to the log-off.
    Dialogue receiving(SettingsFor("3", "FKITE"));
    receiving.start = comm::Session::Start::ReceiveOnly;
    Dial(receiving);
    EnterHost(receiving);
    receiving.Client("KITE\r").Host("MAIL>");
    ReadTwoMails(receiving);
    LogOff(receiving);
    EXPECT_EQ(receiving.PlayEveryWay().sent, 0);
}

TEST(SessionDialogueTest, ScriptCEntersWithoutAHostName) {
    Dialogue line(SettingsFor("1"));
    QueueTwoMails(line);
    Dial(line);
    EnterHost(line);
    line.Client("KITE\r").Host("MAIL>");
    line.Client("COM\r").Host(kMailText);
    line.Client("TO:KIT00002\rTO:INET:a@b\rSUB:one\rhello\r\r/POST\r").Host("MAIL>");
    line.Client("COM\r").Host(kMailText).Client("TO:KIT00003\rSUB:two\rFROM:me\r/POST\r").Host("MAIL>");
    ReadTwoMails(line);
    LogOff(line);
    EXPECT_EQ(line.PlayEveryWay().marked, (std::vector<std::string>{"id-0", "id-1"}));
}

TEST(SessionDialogueTest, ScriptDStopsAtItsLine60AndIsHungUp) {
    Dialogue line(SettingsFor("1", "FKITE"));
    QueueTwoMails(line);
    Dial(line);
    EnterHost(line);
    line.Client("COM\r").Host(kPostText);
    line.Client("TO:KIT00002\rTO:INET:a@b\rSUB:one\rhello\r\r/POST\r").Host("MAIL>");
    line.Client("COM\r").Host(kPostText).Client("TO:KIT00003\rSUB:two\rFROM:me\r/POST\r").Host("MAIL>");
    line.Client("READ NEW\r").Host("  1 A\r\nfirst\r\nMAIL>");
    Dialogue disconnected = line;
    line.Client("+++").Client("ATH\r").Ends(comm::kSessionTimedOut);
    const Outcome outcome = line.PlayEveryWay();
    EXPECT_EQ(outcome.captures.at("maillog.txt"), "  1 A\r\nfirst\r\nMAIL>");
    ASSERT_EQ(outcome.messages.size(), 1U);
    EXPECT_EQ(outcome.messages[0].text, "ホストが応答しないため、通信を中断しました。"_sjis);

    // The user's disconnect finds the log-off, which is not at line 200 here.
    disconnected.UserDisconnects();
    LogOff(disconnected);
    EXPECT_EQ(disconnected.PlayEveryWay().captures.at("maillog.txt"), "  1 A\r\nfirst\r\nMAIL>");
}

TEST(SessionDialogueTest, ABusyLineIsDialledAgainAsOftenAsTheSettingsSay) {
    Dialogue line(SettingsFor("3"));
    line.start = comm::Session::Start::ReceiveOnly;
    Dial(line, "BUSY\r\n");
    line.Client("ATH\r\n").Quiet(14);
    Dial(line, "NO CARRIER\r\n");
    line.Client("ATH\r\n");
    Dialogue connected = line;
    Dial(line, "BUSY\r\n");
    line.Client("ATH\r\nATH\r\n").Ends(comm::kSessionGaveUp);
    Outcome outcome = line.PlayEveryWay();
    EXPECT_EQ(outcome.messages,
              (std::vector<ShownMessage>{
                  {"Postkite", std::string("リダイアルを 2 回 試みましたが接続できませんでした。"_sjis),
                   core::MessageIcon::Information}}));
    for (const std::string_view status : {"話し中（ﾘﾀﾞｲｱﾙ待ち）"_sjis, "話し中(ﾘﾀﾞｲｱﾙ待ち)-3"_sjis,
                                          "話し中(ﾘﾀﾞｲｱﾙ待ち)-2"_sjis, "話し中(ﾘﾀﾞｲｱﾙ待ち)-0"_sjis}) {
        EXPECT_EQ(std::count(outcome.statusTexts.begin(), outcome.statusTexts.end(), status),
                  status == "話し中（ﾘﾀﾞｲｱﾙ待ち）"_sjis ? 3 : 2);
    }
    line.settings.autoMode = 1;
    EXPECT_TRUE(line.Play().messages.empty());

    Dial(connected, "CONNECT\r\n");
    EnterHost(connected);
    connected.Client("KITE\r").Host("MAIL>").Client("READ ALL\r").Host("MAIL>");
    LogOff(connected);
    connected.PlayEveryWay();
}

TEST(SessionDialogueTest, WithoutRedialABusyLineEndsTheSession) {
    Dialogue line(SettingsFor("3"));
    line.settings.redial = 0;
    Dial(line, "BUSY\r\n");
    line.Client("ATH\r\n").Ends(comm::kSessionBusyOnce);
    const Outcome outcome = line.PlayEveryWay();
    ASSERT_EQ(outcome.messages.size(), 1U);
    EXPECT_EQ(outcome.messages[0].text, "話し中のため、接続できませんでした。"_sjis);
}

TEST(SessionDialogueTest, NoDialToneGivesUpAtOnce) {
    Dialogue line(SettingsFor("3"));
    Dial(line, "NO DIALTONE\r\n");
    line.Ends(comm::kSessionGaveUp);
    EXPECT_EQ(
        line.PlayEveryWay().messages,
        (std::vector<ShownMessage>{
            {"Error message!!",
             std::string(
                 "ダイアルトーンの検出が出来ません。\r\nモデムに電話回線が接続されているか確認してください。"_sjis),
             core::MessageIcon::Information}}));
    line.settings.autoMode = 1;
    EXPECT_TRUE(line.Play().messages.empty());
}

TEST(SessionDialogueTest, TheHostNameIsAskedForFourTimesMoreThenTheSessionLogsOff) {
    Dialogue line(SettingsFor("3"));
    line.start = comm::Session::Start::ReceiveOnly;
    Dial(line);
    line.Host("HOST NAME?\r\n*").Client("C NIF\r");
    // Line 17 sends a bare CR in this script.
    for (int retry = 0; retry < 4; ++retry)
        line.Host("\r\nHOST NAME?\r\n*").Client("\r");
    Dialogue connected = line;
    line.Host("\r\nHOST NAME?\r\n*");
    LogOff(line);
    line.PlayEveryWay();

    connected.Host("\r\nEnter Connection-ID  --->").Client("SVC\r").UserDisconnects();
    LogOff(connected);
    connected.PlayEveryWay();
}

TEST(SessionDialogueTest, AModemThatDoesNotAnswerIsNotHungUp) {
    Dialogue line(SettingsFor("3"));
    line.Client("ATQ0V1E1\r\n").Host("ATQ0V1E1\r").Quiet(9).Ends(-3);
    const Outcome outcome = line.Play();
    EXPECT_EQ(outcome.messages.at(0).text, "モデムが応答しないため、通信を中断しました。"_sjis);
    // An emulator that echoes: the command's LF comes behind the answer.
    Dialogue emulator(SettingsFor("3"));
    emulator.Client("ATQ0V1E1\r\n").Host("ATQ0V1E1\r\r\nOK\r\n\n").Quiet(9).Ends(-3);
    EXPECT_TRUE(emulator.Play().messages.at(0).text.starts_with("モデムは OK と応答しましたが、"_sjis));
    // Line 1, its pause of 10 ticks, line 2, and the 2 seconds of line 3 that end below zero.
    EXPECT_EQ(outcome.ticks, 1 + 10 + 1 + 11);
}

TEST(SessionDialogueTest, TheUserDisconnectsAnywhere) {
    struct Place {
        const char* name;
        std::function<void(Dialogue&)> reach;
        std::string captured;
    };
    const Place places[] = {
        {"before the modem answers", [](Dialogue& line) { line.Client("ATQ0V1E1\r\n"); }, ""},
        {"while it dials",
         [](Dialogue& line) { line.Client("ATQ0V1E1\r\n").Host("OK\r\n").Client("ATDT03-1234\r"); }, ""},
        {"while it waits to redial",
         [](Dialogue& line) { Dial(line, "BUSY\r\n"), line.Client("ATH\r\n").Quiet(5); }, ""},
        {"at a prompt", [](Dialogue& line) { Dial(line), EnterHost(line), line.Client("KITE\r"); }, ""},
        {"in the middle of a file",
         [](Dialogue& line) {
             Dial(line), EnterHost(line);
             line.Client("KITE\r").Host("MAIL>").Client("COM\r").Host(kMailText);
             line.Client("TO:KIT00002\rTO:INET:a@b\rSUB:one\r").Client("hello\r");
         },
         ""},
        {"in the middle of a mail",
         [](Dialogue& line) {
             line.files.clear();
             Dial(line), EnterHost(line);
             line.Client("KITE\r").Host("MAIL>").Client("READ ALL\r").Host("  1 A\r\nfir");
         },
         "  1 A\r\nfir"},
    };
    for (const Place& place : places) {
        SCOPED_TRACE(place.name);
        Dialogue line(SettingsFor("3"));
        QueueTwoMails(line);
        place.reach(line);
        line.UserDisconnects();
        LogOff(line);
        const Outcome outcome = line.PlayEveryWay();
        EXPECT_EQ(outcome.captures.at("maillog.txt"), place.captured);
        EXPECT_EQ(outcome.marked, std::vector<std::string>{});
        EXPECT_TRUE(outcome.messages.empty());
    }
}

TEST(SessionDialogueTest, LibrariesAreListedAndFilesFetched) {
    Dialogue line(SettingsFor("3"));
    line.start = comm::Session::Start::ReceiveOnly;
    const comm::ScriptLines script = ScriptOf({
        {1, "BINLISTON,,"},
        {2, "LIBLOGON,,"},
        {3, "HOSOKULOGON,,"},
        {4, "*LIB,,"},
        {5, "GOTOFORUML,*SAME,*DOWN"},
        {6, "WAIT_FORUM,,"},
        {7, "*SAME,,"},
        {8, "GOTOLIB,,"},
        {9, "WAIT,LIB>,"},
        {10, "DOLIST,,"},
        {11, "WAIT,LIB>,"},
        {12, "GOTO,,*LIB"},
        {20, "*DOWN,,"},
        {21, "LIBLOGOFF,,"},
        {22, "*NEXT,,"},
        {23, "GOTOFORUMD,*THERE,*OFF"},
        {24, "WAIT_FORUM,,"},
        {25, "*THERE,,"},
        {26, "GOTODOWNLIB,,"},
        {27, "WAIT,LIB>,"},
        {28, "DODOWN,,"},
        {29, "WAITKOUMOKU,,*NEXT"},
        {30, "SEND,1\r,"},
        {31, "WAIT,name:,"},
        {32, "SENDFILENAME,,"},
        {33, "WAIT05,,"},
        {34, "CHECKDOWNEND,,"},
        {35, "GOTO,,*NEXT"},
        {40, "*OFF,,"},
        {41, "HOSOKULOGOFF,,"},
        {42, "BINLISTOFF,,"},
        {43, "END,,"},
    });
    line.script = &script;
    line.hasDownload = true;
    line.lists.libraries = {{"FKITE", "lib2", {}, {}, 0}, {"FKITE", "LIB 5", {}, {}, 0}};
    line.lists.downloads = {{"FKITE", "lib2", "77", "kite.lzh", 12}, {"FWIND", "lib1", "8", "wind.lzh", 13}};
    line.lastAccess["FKITE,LIB 5"] = "970101";
    line.files["down/kite.lzh"] = "old";
    line.files["LibLog.txt"] = "before";
    line.files["HosokuLog.txt"] = "old";
    line.files["BinList.txt"] = "old";
    line.Client("GO FKITE\r").Host("FORUM>").Client("lib2\r").Host("LIB>").Client("SCA DATE:950101\r");
    line.Host("list 2\r\nLIB>")
        .Client("LIB 5\r")
        .Host("LIB>")
        .Client("SCA DATE:970101\r")
        .Host("list 5\r\nLIB>");
    line.Client("lib2\r").Host("LIB>").Client("DOW 77 PROT:BPL\r");
    line.Host("項目 (1:OK  2:NG  E:終了)\r\n："_sjis).Client("1\r").Host("name:").Client("down\\kite.lzh\r");
    line.Host("\x05");
    // Not there: the next one, and there is none.
    line.Client("GO FWIND\r")
        .Host("FORUM>")
        .Client("lib1\r")
        .Host("LIB>")
        .Client("DOW 8 PROT:BPL\r")
        .Host("LIB>");
    line.Ends(comm::kSessionEnded);
    const Outcome outcome = line.PlayEveryWay();
    EXPECT_EQ(outcome.accessed, (std::vector<std::string>{"FKITE,lib2", "FKITE,LIB 5"}));
    EXPECT_EQ(outcome.downloaded, std::vector<int>{12});
    EXPECT_EQ(outcome.captures.at("LibLog.txt"),
              "beforeFORUM>LIB>\r\n\bFKITE,lib2\r\nlist 2\r\nLIB>LIB>\r\n\bFKITE,lib5\r\nlist 5\r\nLIB>");
    EXPECT_NE(outcome.captures.at("HosokuLog.txt").find("\r\n\bFKITE,lib2,77,down\\kite.lzh\r\n"),
              std::string::npos);
    EXPECT_TRUE(outcome.captures.at("HosokuLog.txt").starts_with("FORUM>LIB>"));
}

}  // namespace
}  // namespace postkite::dialogue
