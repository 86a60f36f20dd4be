#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "core/shift_jis.h"
#include "tests/dialogue/dialogue.h"

/// Sending files, and sessions in which something goes wrong beside the line.
namespace postkite::dialogue {
namespace {

using namespace core::literals;
using comm::Session;
using support::ShownMessage;

core::Settings Usual() {
    core::Settings settings;
    settings.fenicsLoad = "3";
    return settings;
}

const comm::ScriptLines& UploadScript() {
    static const comm::ScriptLines script = ScriptOf({
        {4, "READ_FILE_FAST,*END,"},
        {5, "UPLOAD_FBUF,,sending"},
        {6, "WAIT,ok,"},
        {7, "CHECK_SEND_END,,"},
        {8, "CHECK_SEND_END,,"},  // there is nothing left to mark
        {9, "GOTO,4,"},
        {10, "*END,,"},
        {11, "GOTO,201,"},
        {200, "SEND,OFF\r,"},
        {201, "END,,"},
    });
    return script;
}

/// One queued mail with that text, in a session that begins to send it with its next tick.
struct Upload : Stage {
    explicit Upload(std::string_view text, const core::Settings& chosen = Usual(),
                    const std::string& file = "bmtemp.$$$\\1.mtx")
        : Stage(chosen) {
        disk.Put("/w/BMTEMP.$$$/send.inf", "SUB:x\r\n" + file + "\r\n");
        disk.Put("/w/BMTEMP.$$$/1.mtx", text);
        disk.Put("/w/BMTEMP.$$$/MailID.tmp", "id\r\n");
        Start(UploadScript());
    }
    void Start(const comm::ScriptLines& script) {
        ASSERT_EQ(session.Begin(Session::Start::SendAndReceive, "/dev/modem", {}, &script), 0);
        Ticks(5);
    }
};

TEST(SessionUploadTest, ALineGoesOutWithEachTickAndTheScriptWaitsForTheLast) {
    Upload stage("one\r\n\r\nlone LF\nno line end");
    stage.port.toClient = "ok";
    for (const char* line : {"one\r", "\r", "lone LF\r", "no line end\r"}) {
        stage.Ticks(1);
        EXPECT_EQ(std::exchange(stage.port.fromClient, {}), line);
    }
    EXPECT_EQ(stage.session.bytesSent(), 5U + 2 + 8 + 11);
    stage.Ticks(1);
    EXPECT_EQ(stage.session.currentLine(), 6);
    EXPECT_TRUE(stage.partners.marked.empty());
    stage.Ticks(2);
    EXPECT_EQ(stage.partners.marked, std::vector<std::string>{"id"});
    EXPECT_EQ(stage.session.sent(), 1);
    EXPECT_EQ(stage.TickUntilEnd(), comm::kSessionEnded);
    EXPECT_EQ(stage.session.sent(), 1);
}

TEST(SessionUploadTest, AFullOutputHoldsALineBackUntilItsTimeOut) {
    Upload stage("one\r\ntwo\r\n");
    stage.Ticks(1);
    stage.port.waitingBytes = 10;
    stage.Ticks(150);
    EXPECT_EQ(stage.port.fromClient, "one\r");
    Upload drained("one\r\ntwo\r\n");
    drained.Ticks(1);
    drained.port.waitingBytes = 10;
    drained.Ticks(149);
    drained.port.waitingBytes = 9;
    drained.Ticks(1);
    EXPECT_EQ(drained.port.fromClient, "one\rtwo\r");
    // The other one is over, and closes whatever the device still holds.
    EXPECT_EQ(stage.TickUntilEnd(Session::kMostClosingTicks + 1), comm::kSessionTimedOut);
    EXPECT_FALSE(stage.port.open);
}

TEST(SessionUploadTest, HighSpeedSendsWhatTheOutputTakes) {
    core::Settings settings = Usual();
    settings.highSpeedUpload = 1;
    std::string text;
    for (int line = 0; line < 5000; ++line)
        text += "line\r\n";
    Upload stage(text, settings);
    stage.Ticks(1);
    EXPECT_EQ(stage.port.fromClient.size(), 5U * 5000);
    EXPECT_EQ(stage.port.writes.size(), 5000U);

    // However fast the device is, a tick ends.
    Upload large(std::string(3'000'000, 'x') + "\r\n", settings);
    large.Ticks(1);
    EXPECT_LT(large.port.fromClient.size(), 1'100'000U);
    large.Ticks(2);
    EXPECT_EQ(large.port.fromClient.size(), 3'000'001U);
    EXPECT_EQ(large.port.fromClient.back(), '\r');
}

TEST(SessionUploadTest, RoutesWithAPromptWaitForItBeforeEveryLineButTheFirst) {
    for (const std::string route : {"4", "5"}) {
        core::Settings settings = Usual();
        settings.fenicsLoad = route;
        settings.highSpeedUpload = 1;
        Stage stage(settings);
        stage.disk.Put("/w/1.mtx", "one\r\n" + std::string(5000, 'x') + "\r\nthree\r\n");
        stage.disk.Put("/w/BMTEMP.$$$/send.inf", "1.mtx\r\n");
        const comm::ScriptLines script =
            ScriptOf({{1, "READ_FILE@9@"}, {2, "UPLOAD_FBUF"}, {3, "END"}, {9, "END"}});
        ASSERT_EQ(stage.session.Begin(Session::Start::SendAndReceive, "x", {}, &script), 0);
        stage.Ticks(10);
        EXPECT_EQ(std::exchange(stage.port.fromClient, {}), "one\r");
        stage.port.toClient = "\r\n> ";
        stage.Ticks(2);
        EXPECT_EQ(stage.port.fromClient, "");
        stage.port.toClient = "\r\n>";
        stage.Ticks(2);
        // A line that comes in two parts is one line to the host.
        EXPECT_EQ(std::exchange(stage.port.fromClient, {}), std::string(5000, 'x') + "\r");
        stage.port.toClient = "\r\n>";
        stage.Ticks(1);
        EXPECT_EQ(std::exchange(stage.port.fromClient, {}), "three\r");
        stage.port.toClient = "\r\n>";
        EXPECT_EQ(stage.TickUntilEnd(5), comm::kSessionEnded);
    }
}

TEST(SessionUploadTest, AFileThatCannotBeSentLeadsToTheLogOff) {
    const ShownMessage refusal{"Error", std::string("アップロードファイルを認識出来ません。(ERROR-1)"_sjis),
                               core::MessageIcon::Information};
    for (const char* file : {"bmtemp.$$$\\7.mtx", "..\\1.mtx", "c:\\up\\1.mtx", "BMTEMP.$$$", ""}) {
        SCOPED_TRACE(file);
        Upload stage("one\r\n", Usual(), file);
        EXPECT_EQ(stage.TickUntilEnd(5), comm::kSessionEnded);
        EXPECT_EQ(stage.port.fromClient, "OFF\r");
        EXPECT_EQ(stage.ui.messages, std::vector<ShownMessage>{refusal});
    }
    // A disk that fails in the middle: the mail is not taken for sent.
    Upload stage("one\r\n" + std::string(100'000, 'x'));
    stage.Ticks(4);
    stage.disk.FailCall(1, -EIO);
    EXPECT_EQ(stage.TickUntilEnd(10), comm::kSessionEnded);
    EXPECT_TRUE(stage.port.fromClient.ends_with("xOFF\r"));
    EXPECT_EQ(stage.ui.messages, std::vector<ShownMessage>{refusal});
    EXPECT_TRUE(stage.partners.marked.empty());
}

TEST(SessionUploadTest, ALineEndsInOneCarriageReturnWhereverItsPartsEnd) {
    for (const std::size_t length : {4094U, 4095U, 4096U, 4097U, 8191U}) {
        for (const char* end : {"\r\n", "\n", "\r", ""}) {
            SCOPED_TRACE(std::to_string(length) + " and " + std::to_string(std::strlen(end)));
            const std::string line(length, 'x');
            Upload stage(line + end);
            stage.Ticks(12);
            EXPECT_EQ(stage.port.fromClient.size(), length + 1);
            EXPECT_EQ(stage.port.fromClient, line + "\r");
        }
    }
}

TEST(SessionUploadTest, AQueueThatVanishesMeanwhileIsStillReadToItsEnd) {
    Upload stage("one\r\n");
    for (const char* name : {"send.inf", "MailID.tmp", "1.mtx"})
        ASSERT_EQ(stage.disk.Remove(std::filesystem::path("/w/BMTEMP.$$$") / name), 0);
    stage.port.toClient = "ok";
    EXPECT_EQ(stage.TickUntilEnd(10), comm::kSessionEnded);
    EXPECT_EQ(stage.partners.marked, std::vector<std::string>{"id"});
}

TEST(SessionUploadTest, AMailThatCannotBeMarkedIsReported) {
    Stage unmarked(Usual());
    unmarked.disk.Put("/w/BMTEMP.$$$/send.inf", "SUB:x\r\n9.mtx\r\n");
    unmarked.disk.Put("/w/9.mtx", "one\r\n");
    ASSERT_EQ(unmarked.session.Begin(Session::Start::SendAndReceive, "x", {}, &UploadScript()), 0);
    unmarked.port.toClient = "ok";
    EXPECT_EQ(unmarked.TickUntilEnd(), comm::kSessionEnded);
    EXPECT_EQ(unmarked.session.sent(), 1);
    ASSERT_EQ(unmarked.ui.messages.size(), 1U);
    EXPECT_EQ(unmarked.ui.messages[0].text, "送信済みの印を付けられなかったメール: 1"_sjis);
    EXPECT_NE(unmarked.disk.Get("/w/error.log")->find("9.mtx"), std::string::npos);
}

TEST(SessionUploadTest, NothingGoesOutThatCannotBeNoted) {
    for (const bool listIsThere : {true, false}) {
        Upload stage("one\r\n");
        stage.session.HangUp();
        if (listIsThere) {
            stage.partners.noteError = -ENOSPC;
        } else {
            ASSERT_EQ(stage.disk.Remove("/w/BMTEMP.$$$/MailID.tmp"), 0);
            stage.disk.PutDirectory("/w/BMTEMP.$$$/MailID.tmp");
        }
        stage.port.fromClient.clear();
        stage.Start(UploadScript());
        EXPECT_EQ(stage.TickUntilEnd(), comm::kSessionEnded);
        EXPECT_EQ(stage.port.fromClient, "OFF\r") << "the log-off";
        EXPECT_TRUE(stage.session.refusedUpload());
        ASSERT_EQ(stage.ui.messages.size(), 1U);
        EXPECT_TRUE(stage.ui.messages[0].text.starts_with("送信の記録を書き込めないため"_sjis));
    }
}

TEST(SessionUploadTest, AMailWithoutSubjectOrFileIsPassedOver) {
    for (const std::string_view queue :
         {"TO:a\r\nTO:b\r\n", "TO:a\r\nSUB:x\r\n", "TO:a\r\nSUB:x\r\n1.mt", ""}) {
        SCOPED_TRACE(queue);
        Stage stage(Usual());
        stage.disk.Put("/w/BMTEMP.$$$/send.inf", queue);
        ASSERT_EQ(stage.session.Begin(Session::Start::SendAndReceive, "x", {}, &UploadScript()), 0);
        EXPECT_EQ(stage.TickUntilEnd(), comm::kSessionEnded);
        EXPECT_EQ(stage.port.fromClient, "");
        EXPECT_EQ(stage.disk.Exists("/w/error.log"), !queue.empty());
    }
    // Neither does a queue without line ends, or without a subject, fill the memory.
    Stage stage(Usual());
    std::string queue(2'000'000, 'T');
    for (int line = 0; line < 100'000; ++line)
        queue += "\r\nTO:somebody";
    stage.disk.Put("/w/BMTEMP.$$$/send.inf", queue);
    ASSERT_EQ(stage.session.Begin(Session::Start::SendAndReceive, "x", {}, &UploadScript()), 0);
    EXPECT_EQ(stage.TickUntilEnd(), comm::kSessionEnded);
    EXPECT_EQ(stage.port.fromClient, "");
}

TEST(SessionTest, ALineThatCannotBeOpenedIsSaid) {
    for (const auto start : {Session::Start::SendAndReceive, Session::Start::ReceiveOnly}) {
        for (const std::int32_t autoMode : {0, 1}) {
            Stage stage(Usual());
            stage.settings.autoMode = autoMode;
            stage.disk.Put("/w/BMTEMP.$$$/send.inf", "SUB:x\r\n");
            stage.port.openError = -EBUSY;
            EXPECT_EQ(stage.session.Begin(start, "/dev/x", {}), -1);
            EXPECT_FALSE(stage.session.running());
            EXPECT_EQ(stage.session.currentLine(), 0);
            EXPECT_EQ(stage.Tick(), comm::kSessionGoesOn);
            EXPECT_EQ(stage.disk.Exists("/w/BMTEMP.$$$/send.inf"), start == Session::Start::SendAndReceive);
            std::vector<ShownMessage> messages;
            if (start == Session::Start::SendAndReceive || autoMode == 0) {
                messages.push_back({"Error message",
                                    std::string("通信ポートをオープン出来ませんでした。"_sjis),
                                    core::MessageIcon::Information});
            }
            EXPECT_EQ(stage.ui.messages, messages);
        }
    }
}

TEST(SessionTest, OneObjectMakesOneConnectionAfterAnother) {
    Stage stage(Usual());
    const comm::ScriptLines waiting =
        ScriptOf({{1, "MODEM_INIT,,"}, {2, "MAIL_LOG_ON,,"}, {3, "WAIT_TIME,1,"}, {4, "END"}});
    for (int session = 0; session < 2; ++session) {
        ASSERT_EQ(stage.session.Begin(Session::Start::ReceiveOnly, "/dev/x", {}, &waiting), 0);
        EXPECT_EQ(stage.session.Begin(Session::Start::ReceiveOnly, "/dev/x", {}, &waiting), -1);
        EXPECT_FALSE(stage.session.line().captures().switches.captureMail);
        stage.Ticks(3);
        stage.port.toClient = "mail " + std::to_string(session);
        EXPECT_EQ(stage.TickUntilEnd(), comm::kSessionEnded);
        stage.disk.PowerCut();
        EXPECT_EQ(stage.disk.Get("/w/maillog.txt"), "mail " + std::to_string(session));
    }
    EXPECT_EQ(stage.port.speed, 2400);
}

TEST(SessionTest, HangingUpKeepsTheCapture) {
    Stage stage(Usual());
    const comm::ScriptLines waiting = ScriptOf({{1, "MAIL_LOG_ON,,"}, {2, "WAIT,never,"}, {3, "END"}});
    ASSERT_EQ(stage.session.Begin(Session::Start::ReceiveOnly, "/dev/x", {}, &waiting), 0);
    stage.Ticks(1);
    stage.port.toClient = "half a mail";
    stage.Ticks(1);
    stage.session.HangUp();
    EXPECT_FALSE(stage.session.running());
    EXPECT_FALSE(stage.port.open);
    stage.disk.PowerCut();
    EXPECT_EQ(stage.disk.Get("/w/maillog.txt"), "half a mail");
    EXPECT_EQ(stage.Tick(), comm::kSessionGoesOn);
}

TEST(SessionTest, WhatCameIsOnTheDiskBeforeTheLogOff) {
    Stage stage(Usual());
    const comm::ScriptLines script = ScriptOf({{1, "MESLOGON,,"},
                                               {2, "WAIT,FORUM>,"},
                                               {3, "LOGOFF,,"},
                                               {4, "SEND,OFF\r,"},
                                               {5, "WAIT,never,"},
                                               {6, "END"}});
    ASSERT_EQ(stage.session.Begin(Session::Start::ReceiveOnly, "/dev/x", {}, &script), 0);
    stage.Ticks(1);
    stage.port.toClient = "messages\r\nFORUM>";
    for (int tick = 0; tick < 5 && stage.port.fromClient.empty(); ++tick)
        stage.Ticks(1);
    ASSERT_EQ(stage.port.fromClient, "OFF\r");
    stage.disk.PowerCut();
    EXPECT_EQ(stage.disk.Get("/w/MesLog.txt"), "messages\r\nFORUM>");
}

TEST(SessionTest, ADisconnectWithoutALogOffInTheScriptHangsUp) {
    // A longer script before it leaves its line 200 in the table; it is none of this one's.
    Stage stage(Usual());
    ASSERT_EQ(stage.session.Begin(Session::Start::ReceiveOnly, "/dev/x", {}), 0);
    stage.session.HangUp();
    const comm::ScriptLines script = ScriptOf({{1, "SEND,ATDT1\r,"}, {2, "WAIT,never,"}, {3, "END"}});
    ASSERT_EQ(stage.session.Begin(Session::Start::ReceiveOnly, "/dev/x", {}, &script), 0);
    stage.Ticks(2);
    stage.session.Disconnect();
    EXPECT_TRUE(stage.session.running());
    EXPECT_EQ(stage.TickUntilEnd(Session::kMostClosingTicks + 1), comm::kSessionEnded);
    EXPECT_EQ(stage.port.writes, (std::vector<std::string>{"ATDT1\r", "+++", "ATH\r"}));
}

TEST(SessionTest, AHostThatNeverEndsALineIsCapturedWholeAndBoundTheMemory) {
    Stage stage(Usual());
    const comm::ScriptLines script = ScriptOf({{1, "MAIL_LOG_ON,,"}, {2, "WAIT_ACTION,,"}, {3, "END"}});
    ASSERT_EQ(stage.session.Begin(Session::Start::ReceiveOnly, "/dev/x", {}, &script), 0);
    stage.Ticks(1);
    std::string all;
    for (int chunk = 0; chunk < 200; ++chunk) {
        // Every byte value but those that are cleaned away, and prompts in the middle of it.
        std::string text = "action: MAIL> ";
        for (int byte = 0x20; byte < 0x100; ++byte)
            text += static_cast<char>(byte);
        all += text;
        stage.port.toClient += text;
        stage.Ticks(chunk % 3);
    }
    stage.Ticks(1);
    EXPECT_EQ(stage.port.fromClient, "");
    stage.port.toClient = "MAIL>";
    EXPECT_EQ(stage.TickUntilEnd(), comm::kSessionEnded);
    EXPECT_EQ(stage.disk.Get("/w/maillog.txt"), all + "MAIL>");
}

/// A session that captures mail and waits with that command, and hears what the host prints up to its question.
struct Reading : Stage {
    Reading(std::string_view command, std::string_view heard) : Stage(Usual()) {
        script = ScriptOf({{1, "WAIT_NEXT_LIST,,"},
                           {2, "MAIL_LOG_ON,,"},
                           {3, std::string(command)},
                           {4, "END"},
                           {200, "SEND,OFF\r,"},
                           {201, "WAIT,bye,"},
                           {202, "END"}});
        port.toClient =
            "   7 YAMADA TARO       ABC01234         97/01/23 12:34\r\n(M,S,F,H,Q,RBn,SCn,Dn,RT,PFn,J,DLn)=";
        EXPECT_EQ(session.Begin(Session::Start::ReceiveOnly, "/dev/x", {}, &script), 0);
        Ticks(2);
        port.toClient = heard;
    }
    comm::ScriptLines script;
};

/// Whatever call fails at first, and be it the power: what the host is let to delete is on the disk by then, and so is that it was.
TEST(SessionTest, NoMailIsDeletedOnTheHostThatIsNotOnTheDisk) {
    const struct {
        const char* command;
        std::string heard;
        std::string answer;
        std::string place;
    } kWays[] = {
        {"WAIT_ACTION,,", "a mail\r\naction:", "DELETE\r", "15"},
        {"WAIT_SP1,,",
         "a mail\r\n" +
             std::string(
                 "受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)\r\n："_sjis),
         "1\r", "87"},
        {"DELETE_MAIL,4,", "a mail\r\n", "D7\r\n", "0"},
    };
    for (const auto& [command, heard, answer, place] : kWays) {
        bool struck = true;
        int calls = 0;
        for (int call = 1; struck; ++call) {
            SCOPED_TRACE(std::string(command) + " call " + std::to_string(call));
            Reading stage(command, heard);
            stage.disk.FailCall(call, call % 2 == 0 ? -EIO : -ENOSPC);
            stage.Ticks(1);
            struck = stage.disk.struck();
            EXPECT_TRUE(!stage.port.fromClient.empty() || !stage.ui.messages.empty())
                << "the user knows why it waits";
            if (stage.port.fromClient.empty()) stage.Ticks(1);
            EXPECT_EQ(stage.port.fromClient, answer);
            stage.session.HangUp();
            stage.disk.PowerCut();
            EXPECT_EQ(stage.disk.Get("/w/maillog.txt"), heard);
            EXPECT_EQ(stage.disk.Get("/w/maillog.txt.deleted"), "Postkite deletions 1\r\n" + place + "\r\n");
            calls = call;
        }
        EXPECT_GT(calls, 8);
    }
    // The power is gone with the answer.
    Reading stage("WAIT_ACTION,,", "a mail\r\naction:");
    stage.Ticks(1);
    EXPECT_EQ(stage.port.fromClient, "DELETE\r");
    const int before = stage.disk.calls();
    stage.port.toClient = "DELETE\r\nanother\r\naction:";
    stage.Ticks(1);
    EXPECT_LT(stage.disk.calls() - before, 30) << "one sync a mail, and none of the directory";
    stage.disk.PowerCut();
    EXPECT_EQ(stage.disk.Get("/w/maillog.txt"), "a mail\r\naction:DELETE\r\nanother\r\naction:");
    EXPECT_EQ(stage.disk.Get("/w/maillog.txt.deleted"), "Postkite deletions 1\r\n15\r\n39\r\n");
    stage.session.HangUp();
}

/// What the program says to hang up, and what the modem says, is in no capture.
TEST(SessionTest, TheCaptureEndsWhereTheClosingBegins) {
    const std::string text = "half a mail\r\nNO CARRIER\r\nhalf a li";
    for (const std::string_view lost : {"", "\r\nNO CARRIER\r\n"}) {
        Reading timedOut("WAIT_ACTION,,", text + std::string(lost));
        int result = comm::kSessionGoesOn;
        while (result == comm::kSessionGoesOn) {
            result = timedOut.Tick();
            if (timedOut.port.fromClient.ends_with("+++"))
                timedOut.port.toClient = "+++\r\nOK\r\nATH\r\nOK\r\n";
        }
        EXPECT_LT(result, 0);
        EXPECT_EQ(timedOut.disk.Get("/w/maillog.txt"), text);

        Reading left("WAIT_ACTION,,", text + std::string(lost));
        left.Ticks(1);
        left.session.Disconnect();
        left.port.toClient = "OFF\r\nbye";
        EXPECT_EQ(left.TickUntilEnd(), comm::kSessionEnded);
        EXPECT_EQ(left.disk.Get("/w/maillog.txt"), text);
    }
    // Behind a deletion it is the host's: nothing is taken away that it may have forgotten.
    Reading deleted("WAIT_ACTION,,", "a mail\r\nNO CARRIER\r\naction:");
    deleted.Ticks(1);
    deleted.session.HangUp();
    EXPECT_EQ(deleted.disk.Get("/w/maillog.txt"), "a mail\r\nNO CARRIER\r\naction:");
}

TEST(SessionTest, NothingIsReadThatCannotBeCaptured) {
    Stage refused(Usual());
    refused.disk.PutDirectory("/w/maillog.txt");
    ASSERT_EQ(refused.session.Begin(Session::Start::ReceiveOnly, "/dev/x", {},
                                    &comm::BuiltInScriptLines(comm::BuiltInScript::A)),
              0);
    refused.session.HangUp();
    const comm::ScriptLines reading = ScriptOf({{1, "MAIL_LOG_ON,,"},
                                                {2, "SEND,READ ALL\r,"},
                                                {3, "GOTO,201,"},
                                                {200, "SEND,OFF\r,"},
                                                {201, "END"}});
    ASSERT_EQ(refused.session.Begin(Session::Start::ReceiveOnly, "/dev/x", {}, &reading), 0);
    EXPECT_EQ(refused.TickUntilEnd(), comm::kSessionEnded);
    EXPECT_EQ(refused.port.fromClient, "OFF\r");
    EXPECT_EQ(refused.ui.messages.size(), 1U);
}

}  // namespace
}  // namespace postkite::dialogue
