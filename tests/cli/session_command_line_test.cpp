// `postkite session` and `postkite script run` from the words typed to the log-off, with a host that answers
// and a timer that need not be waited for.

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>

#include "cli/session_timer.h"
#include "core/shift_jis.h"
#include "tests/support/command_line.h"
#include "tests/support/scripted_port.h"

namespace postkite::cli {
namespace {

using core::operator""_sjis;
using support::MemoryFileSystem;
using support::RunResult;

class FakeTimer final : public SessionTimer {
  public:
    void Start(int chosen) override { pace = chosen; }
    [[nodiscard]] Wake Wait() override {
        constexpr int kMostWaits = 5000;
        if (++waits > kMostWaits) {
            ADD_FAILURE() << "no end";
            return Wake::Terminate;
        }
        return wake ? wake() : Wake::Tick;
    }

    std::function<Wake()> wake;
    int pace = 0;
    int waits = 0;
};

using Wake = SessionTimer::Wake;

class SessionCommandLine : public testing::Test {
  protected:
    SessionCommandLine() {
        disk_.PutDirectory("/mail/Setting");
        EXPECT_EQ(Run({"settings", "set", "USERID", "ABC01234"}).status, 0);
    }

    RunResult Run(std::vector<std::string> arguments, const std::string& language = "en_GB.UTF-8") {
        return support::RunPostkite(disk_, std::move(arguments),
                                    {{"LANG", language}, {"POSTKITE_COM3", "com3"}}, {},
                                    [this](Console& console) {
                                        console.serialPort = &port_;
                                        console.sessionTimer = &timer_;
                                    });
    }
    /// Wakes up for `wakes` once the client has come to wait for `text`'s turn.
    void WakeAt(std::string_view text, std::vector<Wake> wakes) {
        timer_.wake = [this, text, wakes, next = std::size_t{0}]() mutable {
            const bool due = next > 0 || port_.next() == text;
            return due && next < wakes.size() ? wakes[next++] : Wake::Tick;
        };
    }

    MemoryFileSystem disk_;
    support::ScriptedPort port_;
    FakeTimer timer_;
    const std::string listing_ = support::MailHeaderLine() + "subject\r\ntext\x1B[2J\r\naction:DELETE\r\n" +
                                 support::MailHeaderLine() + "subject\r\nend\r\naction:DELETE\r\nMAIL>";
};

TEST_F(SessionCommandLine, ReceivesAndSaysWhatCame) {
    port_.ExpectReceiving("ABC01234", listing_);
    const RunResult run = Run({"session", "--receive-only", "--pace", "7"}, "ja_JP.UTF-8");
    EXPECT_EQ(run.status, kDone) << run.err;
    EXPECT_EQ(run.out, "受信したメール: 2　会議室の発言: 0　送信: 0\n");
    EXPECT_EQ(port_.left(), 0U);
    EXPECT_FALSE(port_.open);
    EXPECT_EQ(port_.device, "/dev/ttyS1");
    EXPECT_EQ(timer_.pace, 7);
    EXPECT_FALSE(disk_.Exists("/mail/maillog.txt"));
    EXPECT_TRUE(run.err.starts_with("ウェイト 2 秒\nモデム初期化中\nウェイト 1 秒\nダイアル中\n")) << run.err;
    EXPECT_TRUE(
        run.err.ends_with("回線切断中\nウェイト 1 秒\n回線切断完了\n受信メール解析中\n"
                          "受信メール情報:        2 通のメールを受信しました。       \n"))
        << run.err;
    EXPECT_EQ(run.err.find("MAIL>"), std::string::npos);

    port_.ExpectReceiving("ABC01234", listing_);
    const RunResult again = Run({"--json", "session", "--receive-only", "--monitor"});
    EXPECT_EQ(again.status, kDone) << again.err;
    EXPECT_EQ(nlohmann::json::parse(again.out),
              nlohmann::json::parse(R"({"result":1,"mails":2,"messages":0,"sent":0})"));
    EXPECT_NE(again.err.find("\nsubject\ntext\uFFFD[2J\naction:DELETE\n"), std::string::npos) << again.err;
    EXPECT_TRUE(Run({"mail", "show", "Inbox", "3", "--raw"}).out.ends_with("subject\r\nend\r\n"));

    // What cannot be stored stays, and the exit status says so.
    ASSERT_EQ(disk_.Remove("/mail/MailBox1/Inbox.loc"), 0);
    disk_.PutDirectory("/mail/MailBox1/Inbox.loc");
    port_.ExpectReceiving("ABC01234", listing_);
    EXPECT_EQ(Run({"session", "--receive-only"}).status, kRefused);
    EXPECT_EQ(disk_.Get("/mail/maillog.txt"), listing_);
}

TEST_F(SessionCommandLine, RefusesBeforeTheLineIsOpened) {
    for (const auto& words : std::vector<std::vector<std::string>>{
             {"session", "--receive-only", "--pace", "0"}, {"session", "--receive-only", "--port", ""}})
        EXPECT_EQ(Run(words).status, kWrongUsage);
    EXPECT_EQ(Run({"script", "run", "/no/such/script"}).status, kRefused);
    ASSERT_EQ(Run({"settings", "set", "RS PORT", "COM2"}).status, 0);
    const RunResult port = Run({"session", "--receive-only"});
    EXPECT_EQ(port.status, kRefused);
    EXPECT_NE(port.err.find("\"COM2\", which is no port number"), std::string::npos) << port.err;
    EXPECT_EQ(port_.device, "");
}

TEST_F(SessionCommandLine, NamesTheDeviceThatCannotBeOpened) {
    port_.openError = -ENOENT;
    ASSERT_EQ(Run({"settings", "set", "RS PORT", "3"}).status, 0);
    const RunResult run = Run({"--json", "session", "--receive-only"});
    EXPECT_EQ(run.status, kRefused);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(port_.device, "com3");
    EXPECT_TRUE(run.err.starts_with("Error message: 通信ポートをオープン出来ませんでした。\nPostkite: com3 "))
        << run.err;
    ASSERT_EQ(Run({"settings", "set", "AUTOMODE", "1"}).status, 0);
    const RunResult unattended = Run({"session", "--receive-only", "--port", "tcp:host:1"});
    EXPECT_EQ(unattended.status, kRefused);
    EXPECT_TRUE(unattended.err.starts_with("Postkite: tcp:host:1 ")) << unattended.err;
}

TEST_F(SessionCommandLine, TheFirstInterruptLogsOffAndTheSecondHangsUp) {
    port_.ExpectReceiving("ABC01234", "");
    WakeAt("READ ALL\r", {Wake::Interrupt});
    const RunResult once = Run({"session", "--receive-only"});
    EXPECT_EQ(once.status, kDone) << once.err;
    EXPECT_EQ(port_.next(), "READ ALL\r") << "not sent";
    EXPECT_NE(port_.unexpected().find("OFF\r+++ATH\r"), std::string::npos) << port_.unexpected();
    EXPECT_FALSE(port_.open);

    const struct {
        std::vector<Wake> wakes;
    } hangUps[] = {{{Wake::Interrupt, Wake::Tick, Wake::Interrupt}}, {{Wake::Terminate}}};
    for (const auto& hangUp : hangUps) {
        port_.Reset();
        port_.ExpectReceiving("ABC01234", "");
        WakeAt("READ ALL\r", hangUp.wakes);
        const RunResult run = Run({"--json", "session", "--receive-only"});
        EXPECT_EQ(run.status, kRefused);
        EXPECT_FALSE(port_.open);
        EXPECT_EQ(port_.unexpected().find("ATH"), std::string::npos);
        EXPECT_EQ(nlohmann::json::parse(run.out).at("result"), 0);
        EXPECT_TRUE(run.err.ends_with("Postkite: Hung up without a log-off.\n")) << run.err;
    }
}

TEST_F(SessionCommandLine, TheExitStatusSaysHowItEnded) {
    port_.Expect("\r\n", "OK\r\n");
    port_.Expect("ATDT", "");
    port_.Expect("\r", "NO DIALTONE\r\n");
    const RunResult run = Run({"--json", "session", "--receive-only"});
    EXPECT_EQ(run.status, kRefused);
    EXPECT_EQ(nlohmann::json::parse(run.out).at("result"), -100);
    EXPECT_NE(run.err.find("Error message!!: ダイアルトーンの検出が出来ません。"), std::string::npos)
        << run.err;
    EXPECT_TRUE(run.err.ends_with("(result -100).\n")) << run.err;
    // Nobody is there to read a message box, but whoever called the command is.
    ASSERT_EQ(Run({"settings", "set", "AUTOMODE", "1"}).status, 0);
    port_.Reset();
    const RunResult unattended = Run({"session", "--receive-only"});
    EXPECT_EQ(unattended.status, kRefused);
    EXPECT_TRUE(unattended.err.ends_with("(result -3).\n")) << unattended.err;
    EXPECT_EQ(unattended.err.find("Error message"), std::string::npos);
}

TEST_F(SessionCommandLine, AScriptThatCheckWouldFaultIsRunAllTheSame) {
    disk_.Put("/here/s", "1 SEND,hello\\r,\n2 WAIT,>,\n3 GOTO,,*NOWHERE\n4 END,,\n");
    port_.Expect("hello\r", "who are you\r\n>");
    const RunResult run = Run({"--json", "script", "run", "/here/s", "--port", "line"});
    EXPECT_EQ(run.status, kRefused);
    EXPECT_TRUE(run.err.starts_with("Postkite: /here/s:3: the label \"*NOWHERE\" is not defined\n"))
        << run.err;
    EXPECT_EQ(port_.left(), 0U);
    EXPECT_EQ(port_.device, "line");
    EXPECT_EQ(nlohmann::json::parse(run.out).at("result"), -1);
    EXPECT_FALSE(port_.open);

    disk_.Put("/here/s", "1 SEND,hello\\r,\n2 WAIT,>,終り\n3 END,,\n");
    port_.Reset();
    port_.Expect("hello\r", "who are you\r\n>");
    const RunResult sound = Run({"script", "run", "/here/s"});
    EXPECT_EQ(sound.status, kDone);
    EXPECT_EQ(sound.err, "終り\n");
}

}  // namespace
}  // namespace postkite::cli
