#include "comm/interpreter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "core/shift_jis.h"
#include "tests/dialogue/dialogue.h"
#include "tests/support/allocation_count.h"

namespace postkite::comm {
namespace {

using namespace core::literals;

/// An interpreter on a line, with one script.
struct Machine {
    explicit Machine(const std::map<int, std::string>& lines, const std::string& route = "3") {
        settings.fenicsLoad = route;
        disk.PutDirectory("/w");
        script.Load(dialogue::ScriptOf(lines), settings.fenicsLoad);
        EXPECT_EQ(line.OpenLine("/dev/x"), 0);
        Begin();
    }
    void Begin(PatrolLists lists = {}) {
        interpreter.queue().Open(workspace);
        interpreter.Begin(std::move(lists), kLogOffLine);
    }
    /// What has arrived, and a step.
    int Step(std::string_view text = {}) {
        line.ring().RingAppend(text);
        interpreter.Heard(text);
        return interpreter.Step();
    }
    /// Steps until the script stands at that line.
    void StepTo(int number) {
        for (int step = 0; step < 1000 && interpreter.currentLine() != number; ++step)
            ASSERT_EQ(Step(), kSessionGoesOn);
        ASSERT_EQ(interpreter.currentLine(), number);
    }
    std::string Sent() { return std::exchange(port.fromClient, {}); }

    core::Settings settings;
    support::MemoryFileSystem disk;
    core::Workspace workspace{disk, "/w"};
    support::RecordingUserInterface ui;
    support::FixedClock clock;
    dialogue::FakePort port;
    dialogue::FakePartners partners;
    SerialLine line{port, workspace, settings, ui, clock};
    WorkingScript script;
    Interpreter interpreter{line, script, workspace, settings, ui, partners};
};

/// One line run once: what the host has sent before, what goes out, where the script stands, what the wait
/// counter says. 49 is the counter of a step that sets none.
struct LineCase {
    std::string line;
    std::string_view arrived;
    std::string_view sent;
    int next;
    std::int32_t waitTicks = 49;
    const char* route = "3";
};

void RunCases(const std::vector<LineCase>& cases) {
    for (const LineCase& one : cases) {
        SCOPED_TRACE(one.line + " / " + std::string(one.arrived) + " / route " + one.route);
        Machine machine({{1, one.line}, {7, "*L"}, {8, "*M"}, {249, "END"}}, one.route);
        machine.settings.userId = "ID";
        machine.settings.userPassword = "PW";
        machine.settings.forumName = "FKITE";
        EXPECT_EQ(machine.Step(one.arrived), kSessionGoesOn);
        EXPECT_EQ(machine.Sent(), one.sent);
        EXPECT_EQ(machine.interpreter.currentLine(), one.next);
        EXPECT_EQ(machine.interpreter.waitTicks(), one.waitTicks);
    }
}

TEST(InterpreterTest, KnowsEveryCommandInTheOrderOfTheLanguage) {
    const auto names = CommandNames();
    const auto commands = Interpreter::Commands();
    ASSERT_EQ(names.size(), commands.size());
    for (std::size_t index = 0; index < names.size(); ++index)
        EXPECT_EQ(commands[index].name, names[index]);
}

TEST(InterpreterTest, CommandsThatWait) {
    RunCases({
        {"WAIT,MAIL>,", "x MAIL>", "", 2, 150},
        {"WAIT,MAIL>", "MAIL> ", "", 1},
        {"WAIT,MAIL>,", "mail>", "", 1},
        {"WAIT2,a>,", "b>", "", 1},
        {"WAIT2,a>,b>", "b>", "", 2, 300},
        {"WAIT3,a>,b>", "a>", "", 2, 300},
        {"WAIT_TOP,,", "番号またはコマンド (改行でトップメニュー)\r\n＞"_sjis, "", 2, 300},
        {"WAIT_TOP,,", "x\r\n＞"_sjis, "", 2, 300},
        {"WAIT_TOP,,", "＞"_sjis, "", 1},
        {"WAIT_FORUM,,", "FORUM>", "", 2, 300},
        {"WAIT_FORUM,,", "E:終了\r\n＞"_sjis, "", 2, 300},
        {"WAITCCS,,", "CCS(N)>", "", 2, 150},
        {"WAITCCS,,", "CCS(R)>", "", 2, 150},
        {"WAITCCS,,", "CCS(P)>", "", 2, 150},
        {"WAITCCS,,", "CCS(C)>", "", 2, 150},
        {"WAITCCS,,", "CCS(A)>", "", 1},
        {"WAITLIST,,*L", "－あなた宛のメールはありません－\r\nMAIL>"_sjis, "", 7, 300},
        {"WAITLIST,,*L", "MAIL>", "", 2, 300},
        {"WAITKOUMOKU,,*L", "LIB>", "", 7, 150},
        {"WAITKOUMOKU,,*L", "項目 (1:OK  2:NG  E:終了)\r\n："_sjis, "", 2, 150},
        {"WAIT05,,", "\x05", "", 2, 150},
        {"WAIT05,,", "\x05 ", "", 1},
        {"WAIT_ACTION,,", "action:", "DELETE\r", 1, 300},
        {"WAIT_ACTION,,", "MAIL>", "", 2, 300},
        {"WAIT_ACTION,,", "action: ", "", 1},
        {"WAIT_SP1,,", "電子メール（1:受信　2:送信　3:送信簿　0:その他　E:終了）\r\n＞"_sjis, "", 2, 150},
        {"WAIT_SP1,,",
         "受信後 (1:削除  2:保存  *:返信  *:返信＋削除  5:転送  6:転送＋削除  E:終了)\r\n："_sjis, "1\r", 1,
         150},
        {"WAIT_SP1,,",
         "受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)\r\n："_sjis, "1\r", 1,
         150},
        {"WAIT_SP1,,", "続き (改行で表示　E:終了)\r\n＞"_sjis, "\r", 1, 150},
        {"WAIT_SP1,,", "続き (改行で次頁　S:次文書　E:終了)\r\n＞"_sjis, "\r", 1, 150},
        {"WAIT_OSIRASE,,", "(Y,N)=", "N\r\n", 1, 150},
        {"WAIT_OSIRASE,,", "(Y,N,GW)=", "N\r\n", 1, 150},
        {"WAIT_OSIRASE,,", "(H,Q,J)=", "", 2, 150},
        {"WAIT_OSIRASE,,", "ください="_sjis, "", 2, 150},
        {"WAIT_NEXT_LIST,,", "未読メールはありません\r\n"_sjis, "", 200},
        {"WAIT_NEXT_LIST,,", "(M,F,H,Q,R,RB,SC,J)=", "", 200},
        {"WAIT_NEXT_LIST,,", "(M,S,F,H,Q,B,RBn,SCn,Dn,RT,PFn,J,DLn)=", "", 2, 300},
        {"WAIT_NEXT_LIST,,", "(M,S,F,H,Q,N,RBn,SCn,Dn,RT,PFn,J,DLn)=", "", 2, 300},
        {"WAIT_NEXT_LIST,,", "(M,S,F,H,Q,RBn,SCn,Dn,RT,PFn,J,DLn)=", "", 2, 300},
        {"WAIT_NEXT_LIST,,", "(M,S,F,H,Q,RBn,SCn,Dn,E,RT,PFn,J,DLn)=", "", 2, 300},
        {"WAIT_NEXT_LIST,,", "(M,S,F,H,Q,B,RBn,SCn,Dn,E,RT,PFn,J,DLn)=", "", 2, 300},
        {"WAIT_NEXT_LIST,,", "(M,S,F,H,Q,N,B,RBn,SCn,Dn,RT,PFn,J,DLn)=", "\r\n", 1, 300},
        {"WAIT_NEXT_LIST,,", "(M,S,F,H,Q,N,B,RBn,SCn,Dn,E,RT,PFn,J,DLn)=", "\r\n", 1, 300},
        {"WAIT_NEXT_LIST,,", "(M,S,F,H,Q,N,RBn,SCn,Dn,E,RT,PFn,J,DLn)=", "\r\n", 1, 300},
        {"WAIT_CONNECTIONID,,", "Enter Connection-ID  --->", "", 2},
        {"WAIT_CONNECTIONID,,", "HOST NAME?\r\n*", "", 17},
    });
}

TEST(InterpreterTest, CommandsThatSend) {
    RunCases({
        {"SEND,SVC\r,", "", "SVC\r", 2, 300},
        {"SEND,,", "", "", 2, 300},
        {"SEND_ID,,", "", "ID\r", 2, 300},
        {"SEND_PASSWORD,,", "", "PW\r", 2, 300},
        {"SEND_GOMAIL,,", "", "go FKITE\r", 2},
        {"SEND_DID,,", "", "INET:INET#\r", 2, 49, "1"},
        {"SEND_DID,,", "", "INET:INET#\r", 2, 49, "2"},
        {"SEND_DID,,", "", "INET:INET#\r", 2, 49, "3"},
        {"SEND_DID,,", "", "INET#\r", 2, 49, "7"},
        {"SEND_FBUF,,", "", "\r", 2, 300},
        {"CASE_FENICS,,*L", "", ".00+\r", 4, 100, "1"},
        {"CASE_FENICS,,*L", "", "@P\r", 2, 100, "2"},
        {"CASE_FENICS,,*L", "", "", 2, 100, "3"},
        {"CASE_FENICS,,*L", "", "", 7, 100, "7"},
        {"CASE_FENICS,,*L", "", "", 1, 49, "6"},
        {"CASE_FENICS", "", "", 1, 49, "4"},
        {"CASE_FENICS,,*L", "", "", 1, 49, ""},
    });
}

TEST(InterpreterTest, CommandsThatJumpOrGoOn) {
    RunCases({
        {"GOTO,35,", "", "", 35},
        {"GOTO,35x,", "", "", 35},
        {"GOTO,35,*L", "", "", 7},
        {"*ANY,,*L", "", "", 2},
        {"", "", "", 2},
        {"SET_VOL,,", "", "", 3},
        {"SET_ATM,,", "", "", 3},
        {"CHKSMAIL,120,", "", "", 120},
        {"CHECK_SENDMAIL,*M,", "", "", 8},
        {"READ_FILE_FAST,*L,", "", "", 7},
        {"READ_FILE_FAST,58,", "", "", 58},
        {"READ_FILE,9,", "", "", 9},
        {"READ_MES_TO,,*L", "", "", 7},
        {"CHECK_SENDLOGF,,*L", "", "", 7},
        {"CHECKFORUM,,*L", "", "", 7, 300},
        {"CHECKFORUM,,", "", "", 2, 300},
        {"GOTOFORUM,*L,*M", "", "", 8},
        {"GOTOFORUML,*L,*M", "", "", 8},
        {"GOTOFORUMD,*L,*M", "", "", 8},
        {"GOTOMES,*L,", "", "", 2},
        {"DELETE_MAIL,9,", "", "", 9},
        {"DOWN_MAIL,9,", "", "", 9},
        {"BINUP,,*L", "", "", 7},
        {"CHECK_SEND_END,,", "", "", 2, 300},
        {"MAIL_LOG_ON,,", "", "", 2, 100},
        {"MAIL_LOG_OFF,,", "", "", 2, 300},
        {"DODOWN,,", "", "", 2, 32767},
        {"CHECKDOWNEND,,", "", "", 2, 150},
        {"NO_SUCH_COMMAND,,", "", "", 1},
        {"WAIT_TIME,2,", "", "", 1, 49, "4"},
        {"send,x,", "", "", 1},
    });
}

TEST(InterpreterTest, TheModemIsSetUpAndDialsInWritesOfTheirOwn) {
    Machine machine({{1, "MODEM_INIT,,init"}, {2, "SEND_DIAL,,dial"}, {3, "END"}});
    machine.settings.modemInitialCommand.clear();
    machine.settings.speakerOn = 0;
    machine.settings.volume = "3";
    machine.settings.pbDp = "PB";
    machine.settings.extensionDialling = 1;
    machine.settings.phoneNumber = "0312";
    machine.line.mailCaptureArmed = true;
    EXPECT_EQ(machine.Step(), kSessionGoesOn);
    EXPECT_EQ(machine.interpreter.waitTicks(), 10);
    EXPECT_FALSE(machine.line.mailCaptureArmed);
    EXPECT_FALSE(machine.interpreter.callMayBeUp());
    EXPECT_TRUE(machine.line.captures().switches.sessionLogging);
    EXPECT_EQ(machine.Step("CONNECT"), kSessionGoesOn);
    EXPECT_EQ(machine.interpreter.waitTicks(), 200);
    EXPECT_TRUE(machine.interpreter.callMayBeUp());
    EXPECT_EQ(machine.line.ring().RingCheckConnect(), 1);
    EXPECT_EQ(machine.port.writes,
              (std::vector<std::string>{"ATQ0V1E1", "M3", "\r\n", "ATDT", "0,", "0312", "\r"}));
    EXPECT_EQ(machine.ui.statusTexts, (std::vector<std::string>{"init", "dial"}));

    Machine plain({{1, "MODEM_INIT,,"}, {2, "SEND_DIAL,,"}, {3, "END"}});
    plain.settings.phoneNumber = "0312";
    plain.settings.modemInitialCommand = "ATZ";
    plain.settings.pbDp = "DP";
    plain.StepTo(3);
    EXPECT_EQ(plain.port.writes, (std::vector<std::string>{"ATZ", "\r\n", "ATDP", "0312", "\r"}));
}

TEST(InterpreterTest, TheModemsAnswers) {
    struct Answer {
        std::string_view text;
        int next;
        std::int32_t waitTicks;
        int result = kSessionGoesOn;
    };
    for (const Answer& answer : {Answer{"CONNECT\r\n", 6, 75},
                                 {"CONNECT 1200\r\n", 6, 75},
                                 {"CONNECT 57600", 6, 75},
                                 {"BUSY\r\n", 1, 100},
                                 {"\r\nNO CARRIER\r\n", 1, 100},
                                 {"NO DIALTONE\r\n", 0, 47, kSessionGaveUp},
                                 {"RING\r\n", 5, 47},
                                 {"BUSY", 5, 47}}) {
        SCOPED_TRACE(answer.text);
        Machine machine({{1, "GOTO,4,"}, {4, "*X"}, {5, "WAIT_CONNECT,,"}, {6, "END"}});
        machine.StepTo(5);
        EXPECT_EQ(machine.Step(answer.text), answer.result);
        EXPECT_EQ(machine.interpreter.currentLine(), answer.next);
        EXPECT_EQ(machine.interpreter.waitTicks(), answer.waitTicks);
        EXPECT_EQ(machine.interpreter.pauseTicks(), answer.next == 1 ? 50 : 0);
    }
    // An interval that no counter could hold, or none at all.
    for (const std::int32_t interval : {INT32_MAX, INT32_MIN, 0}) {
        Machine machine({{1, "WAIT_CONNECT,,"}, {2, "END"}});
        machine.settings.redialInterval = interval;
        machine.settings.redialTimes = INT32_MAX;
        EXPECT_EQ(machine.Step("BUSY\r\n"), kSessionGoesOn);
        EXPECT_GE(machine.interpreter.pauseTicks(), 0);
        EXPECT_LT(machine.interpreter.waitTicks(), Interpreter::kNoTimeOut);
    }
}

TEST(InterpreterTest, ATimeOutIsNamedByItsLine) {
    for (const auto& [number, code] :
         std::map<int, int>{{1, -1}, {2, -2}, {3, -3}, {4, -1}, {17, -17}, {200, -1}}) {
        Machine machine({{1, "GOTO," + std::to_string(number) + ","}, {number, "WAIT,never,"}, {249, "END"}});
        int result = 0;
        int steps = 0;
        for (; result == 0 && steps < 100; ++steps)
            result = machine.Step();
        EXPECT_EQ(result, code);
        EXPECT_EQ(steps, 51);
        EXPECT_EQ(machine.interpreter.lastLine(), number);
        EXPECT_EQ(machine.interpreter.currentLine(), 0);
        EXPECT_EQ(machine.Step(), kSessionGoesOn);
    }
}

TEST(InterpreterTest, AScriptThatLeadsNowhereEnds) {
    for (const char* line :
         {"GOTO,0,", "GOTO,x,", "GOTO,,*NONE", "GOTO,250,", "GOTO,99999999999,", "GOTO,-5,", "RELJUMP,1,",
          "RELJUMP,5,", "CHKSMAIL,,", "READ_FILE_FAST,,", "CASE_FENICS,,"}) {
        SCOPED_TRACE(line);
        Machine machine({{1, line}, {5, "*L"}, {249, "END"}}, "7");
        EXPECT_EQ(machine.Step(), kSessionTimedOut);
        EXPECT_EQ(machine.interpreter.ending(), Interpreter::Ending::NowhereToGo);
    }
    // No END: the last line is the end of the table.
    Machine machine({{1, "GOTO,249,"}, {249, "SEND,x,"}});
    EXPECT_EQ(machine.Step(), kSessionGoesOn);
    EXPECT_EQ(machine.Step(), kSessionTimedOut);
    // Backwards within the table is a loop like any other.
    Machine back({{3, "RELJUMP,2,"}, {4, "END"}});
    EXPECT_EQ((back.Step(), back.Step(), back.Step()), kSessionGoesOn);
    EXPECT_EQ(back.interpreter.currentLine(), 1);
}

TEST(InterpreterTest, PausesAndEmptyLinesTakeTheirTicks) {
    Machine machine({{1, "WAIT_TIME,2,"}, {5, "SEND,x,"}, {6, "END,,bye"}});
    EXPECT_EQ(machine.Step(), kSessionGoesOn);
    EXPECT_EQ(machine.interpreter.pauseTicks(), 10);
    for (int tick = 0; tick < 10 + 3; ++tick)
        EXPECT_EQ(machine.Step(), kSessionGoesOn);
    EXPECT_EQ(machine.port.fromClient, "");
    EXPECT_EQ(machine.interpreter.waitTicks(), 300 - 13);
    EXPECT_EQ(machine.Step(), kSessionGoesOn);
    EXPECT_EQ(machine.port.fromClient, "x");
    EXPECT_EQ(machine.Step(), kSessionEnded);
    EXPECT_EQ(machine.ui.statusTexts, (std::vector<std::string>{std::string("ウェイト 2 秒"_sjis), "bye"}));
    EXPECT_TRUE(machine.ui.sounds.empty());
}

TEST(InterpreterTest, MailThatArrivesGivesTheHostThirtySeconds) {
    Machine machine({{1, "SEND,x,"}, {2, "DODOWN,,"}, {3, "WAIT05,,"}, {4, "END"}});
    machine.interpreter.HostIsAlive();
    EXPECT_EQ(machine.interpreter.waitTicks(), 150);
    machine.StepTo(3);
    machine.interpreter.HostIsAlive();
    EXPECT_EQ(machine.interpreter.waitTicks(), Interpreter::kNoTimeOut);
    EXPECT_EQ(machine.Step("\x05"), kSessionGoesOn);
    EXPECT_EQ(machine.interpreter.waitTicks(), Interpreter::kNoTimeOut);
}

TEST(InterpreterTest, ListedMailsAreReadAndDeletedByTheirNumbers) {
    Machine machine({{1, "WAIT_NEXT_LIST,,"},
                     {2, "DOWN_MAIL,5,"},
                     {3, "GOTO,2,"},
                     {5, "DELETE_MAIL,8,"},
                     {6, "GOTO,5,"},
                     {8, "*L"},
                     {9, "END"}});
    const auto listed = [](const std::string& number) {
        std::string line = number + std::string(" sender name     KIT00002");
        line.resize(40, ' ');
        return line + "97/01/23 12:34\r\n";
    };
    machine.Step(listed("  1") + "not a mail\r\n" + listed(" 12").substr(0, 20));
    machine.Step(listed(" 12").substr(20) + std::string(100'000, 'x') + "\r\n" + listed("   "));
    machine.Step("(M,S,F,H,Q,RBn,SCn,Dn,RT,PFn,J,DLn)=");
    machine.StepTo(8);
    EXPECT_EQ(machine.Sent(), "rb1\r\nrb12\r\nD1\r\nD12\r\n");
}

TEST(InterpreterTest, AddresseesAreReadOneByOne) {
    Machine machine({{1, "READ_VANID,5,"},
                     {2, "SEND_DID,,"},
                     {3, "GOTO,1,"},
                     {5, "READ_FILE,9,"},
                     {6, "SEND_FBUF,,"},
                     {7, "READ_VANID,9,"},
                     {8, "SENDBINID,,"},
                     {9, "END"}},
                    "7");
    machine.disk.Put("/w/BMTEMP.$$$/send.inf", "TO:KIT1\r\nTO:INET:a@b\r\nSUB:x\r\n");
    machine.Begin();
    machine.StepTo(9);
    EXPECT_EQ(machine.Sent(), "INET#KIT1\rINET#a@b\rSUB:x\r\r");
}

TEST(InterpreterTest, BinaryUploadsGoByTheirNames) {
    Machine machine({{1, "BINUP,,*E"},
                     {2, "SENDUPLOADFILENAME,,"},
                     {3, "SENDBINMAILFNAME,,"},
                     {4, "GOTO,1,"},
                     {8, "*E"},
                     {9, "END"}});
    PatrolLists lists;
    lists.uploads = {"up\\a.lzh", "up\\b.lzh"};
    machine.Begin(lists);
    machine.StepTo(8);
    EXPECT_EQ(machine.Sent(), "up\\a.lzh\rup\\a.lzh\rup\\b.lzh\rup\\b.lzh\r");
}

TEST(InterpreterTest, CaptureSwitchesAndTheirFiles) {
    Machine machine({{1, "MESLOGON,,"},
                     {2, "LIBLOGON,,"},
                     {3, "BINLISTON,,"},
                     {4, "HOSOKULOGON,,"},
                     {5, "LOGON,,"},
                     {6, "MESLOGOFF,,"},
                     {7, "LIBLOGOFF,,"},
                     {8, "BINLISTOFF,,"},
                     {9, "HOSOKULOGOFF,,"},
                     {10, "LOGOFF,,"},
                     {11, "END"}});
    for (const std::string_view file : {kForumLogFile, kLibraryLogFile, kBinListFile, kSupplementLogFile})
        machine.disk.Put(std::filesystem::path("/w") / file, "old");
    machine.StepTo(6);
    const CaptureSwitches& on = machine.line.captures().switches;
    EXPECT_TRUE(on.captureForum && on.captureLibrary && on.captureBinList && on.captureSupplement &&
                on.sessionLogging);
    EXPECT_FALSE(on.captureMail);
    EXPECT_EQ(machine.disk.Get("/w/MesLog.txt"), "old");
    EXPECT_EQ(machine.disk.Get("/w/LibLog.txt"), "old");
    EXPECT_FALSE(machine.disk.Exists("/w/BinList.txt"));
    EXPECT_FALSE(machine.disk.Exists("/w/HosokuLog.txt"));
    machine.StepTo(11);
    EXPECT_FALSE(on.captureForum || on.captureLibrary || on.captureBinList || on.captureSupplement ||
                 on.sessionLogging);
}

TEST(InterpreterTest, TheNumberOfNewMailsIsShown) {
    Machine machine({{1, "CHECK_NEW_MAIL,,"}, {2, "CHECK_NEW_MAIL,,"}, {3, "END"}});
    machine.Step();
    machine.partners.capturedMails = 3;
    machine.Step();
    EXPECT_EQ(machine.ui.statusTexts, (std::vector<std::string>{std::string("未読メールはありません。"_sjis),
                                                                std::string("3 メイルあり"_sjis)}));
}

TEST(InterpreterTest, ATickWithNothingToDoTakesNothing) {
    Machine machine({{1, "WAIT_CONNECT,,waiting for the modem"}, {2, "END"}});
    machine.Step();
    const std::size_t before = support::AllocationCount();
    const int calls = machine.disk.calls();
    std::string received;
    for (int tick = 0; tick < 20; ++tick) {
        ASSERT_EQ(machine.line.PollReceive(received), 0);
        ASSERT_EQ(machine.interpreter.Step(), kSessionGoesOn);
    }
    const std::size_t allocated = support::AllocationCount() - before;
    EXPECT_EQ(allocated, 0U);
    EXPECT_EQ(machine.disk.calls(), calls);
    EXPECT_EQ(machine.ui.statusTexts.size(), 1U);
}

}  // namespace
}  // namespace postkite::comm
