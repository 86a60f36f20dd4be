#include "app/sessions.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "app/captured_mails.h"
#include "app/program.h"
#include "core/shift_jis.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/recording_user_interface.h"
#include "tests/support/scripted_port.h"

namespace postkite::app {
namespace {

using core::operator""_sjis;
using Start = comm::Session::Start;

constexpr const char* kMailLog = "/mail/maillog.txt";
constexpr const char* kForumLog = "/mail/MesLog.txt";

/// A program on a disk that others may be on as well.
struct Running {
    explicit Running(support::MemoryFileSystem& disk) : workspace(disk, "/mail"), state(disk, "/state") {
        program.Start();
        program.settings().userId = "ABC01234";
    }
    int Begin() { return program.sessions().Begin(Start::ReceiveOnly, "line"); }
    int RunToItsEnd() {
        for (int tick = 0; tick < 1000; ++tick) {
            if (const int result = program.sessions().Tick(); result != comm::kSessionGoesOn) return result;
        }
        ADD_FAILURE() << "no end";
        return 0;
    }
    /// Message boxes since the last look.
    std::vector<std::string> Told() {
        std::vector<std::string> texts;
        for (const auto& message : ui.messages)
            texts.push_back(message.text);
        ui.messages.clear();
        return texts;
    }

    core::Workspace workspace;
    core::Workspace state;
    support::RecordingUserInterface ui;
    support::FixedClock clock;
    support::ScriptedPort port;
    Program program{workspace, state, ui, clock, port};
};

using Texts = std::vector<std::string>;

Texts Text(std::string_view text) {
    return {std::string(text)};
}

class SessionsTest : public ::testing::Test {
  protected:
    SessionsTest() { disk.PutDirectory("/mail/Setting"); }

    support::MemoryFileSystem disk;
};

TEST_F(SessionsTest, OneAtATimeInAWorkingDirectoryAndNoSwitchingMeanwhile) {
    Running one(disk);
    Running other(disk);
    ASSERT_EQ(one.program.OpenBank(), 0);
    disk.PutDirectory("/mail/MailBox2");
    one.port.ExpectReceiving("ABC01234", support::MailHeaderLine() + "subject\r\nMAIL>");
    ASSERT_EQ(one.Begin(), 0);
    EXPECT_EQ(one.Begin(), -1);
    EXPECT_TRUE(one.Told().empty());

    EXPECT_EQ(other.Begin(), -1);
    EXPECT_EQ(other.Told(), Text("ほかの Postkite が通信中です。"_sjis));
    EXPECT_EQ(other.port.device, "") << "its line stays closed";
    EXPECT_EQ(other.program.OpenBank(), 0) << "mail is everybody's";
    for (Running* program : {&one, &other}) {
        EXPECT_EQ(program->program.SwitchEnvironment(3), -1);
        EXPECT_EQ(program->Told(), Text("送受信中には環境を切り替える事はできません。"_sjis));
        EXPECT_EQ(program->program.SwitchBank(1), -1);
        EXPECT_EQ(program->Told(), Text("送受信中です。"_sjis));
    }

    EXPECT_EQ(one.RunToItsEnd(), comm::kSessionEnded);
    EXPECT_EQ(one.port.left(), 0U);
    EXPECT_FALSE(one.port.open);
    EXPECT_EQ(one.program.sessions().yield().mails, 1);
    EXPECT_EQ(other.program.SwitchBank(1), 0);
    ASSERT_EQ(other.Begin(), 0);
    other.program.sessions().HangUp();
    ASSERT_EQ(one.Begin(), 0) << "a hang-up lets others";
    disk.Restart();
    Running next(disk);
    EXPECT_EQ(next.Begin(), 0) << "nothing of a program that was killed keeps others away";
}

TEST_F(SessionsTest, WhatAnEarlierSessionCapturedIsSetAside) {
    disk.Put(kMailLog, "first");
    disk.Put(kForumLog, "posts");
    disk.Put("/mail/MAILLOG.TXT.BAK", "oldest");
    Running running(disk);
    running.port.openError = -ENXIO;
    EXPECT_EQ(running.Begin(), -1);
    EXPECT_EQ(running.Told(), Text("通信ポートをオープン出来ませんでした。"_sjis));
    EXPECT_EQ(running.program.sessions().lineError(), -ENXIO);
    EXPECT_EQ(disk.Get(kMailLog), "first") << "nothing was going to empty it";
    EXPECT_FALSE(running.program.sessions().RunElsewhere());

    running.port.openError = 0;
    ASSERT_EQ(running.Begin(), 0);
    EXPECT_EQ(disk.Get("/mail/MAILLOG.TXT.BAK"), "oldest");
    EXPECT_EQ(disk.Get("/mail/maillog.txt.bak2"), "first");
    EXPECT_EQ(disk.Get(kForumLog), "posts") << "it is appended to";
    const std::string left(" に前回の通信が残っていたため、次の名前で保存しました: "_sjis);
    EXPECT_EQ(running.Told(), Text("maillog.txt" + left + "maillog.txt.bak2"));
    EXPECT_EQ(running.program.sessions().yield().mails, 0);
    running.program.sessions().HangUp();

    disk.Put(kMailLog, "");
    running.program.settings().autoMode = 1;
    ASSERT_EQ(running.Begin(), 0);
    EXPECT_TRUE(disk.Exists(kMailLog)) << "there is nothing in it";
    EXPECT_TRUE(running.Told().empty());
}

TEST_F(SessionsTest, NoFaultLosesWhatAnEarlierSessionCaptured) {
    bool struck = true;
    int refused = 0;
    for (int call = 1; struck; ++call) {
        support::MemoryFileSystem faulty;
        faulty.PutDirectory("/mail/Setting");
        faulty.Put(kMailLog, "first");
        Running running(faulty);
        faulty.FailCall(call, -EIO);
        const int begun = running.Begin();
        struck = faulty.struck();
        faulty.Restart();
        faulty.PowerCut();
        const bool inPlace = faulty.Get(kMailLog) == "first";
        EXPECT_NE(inPlace, faulty.Get("/mail/maillog.txt.bak") == "first") << "call " << call;
        EXPECT_FALSE(begun == 0 && inPlace) << "call " << call;
        EXPECT_EQ(begun == 0, running.port.open) << "call " << call;
        EXPECT_FALSE(running.Told().empty()) << "call " << call;
        refused += begun < 0 ? 1 : 0;
    }
    EXPECT_GT(refused, 3);
}

class SentMails : public SessionsTest {
  protected:
    SentMails() {
        running.program.settings().currentId = 2;
        running.program.environments().entries[2].outbox = "Out2";
        EXPECT_EQ(running.program.OpenBank(), 0);
    }

    std::string Add(std::string_view folder) {
        store::MailRecord record;
        record.flags = store::kComposedMailFlags;
        record.body = "text\r\n";
        EXPECT_EQ(running.program.mailbox().AppendMail(folder, record, -1), 0);
        return record.localId;
    }
    char SentFlag(std::string_view folder) {
        store::MailListEntry entry;
        EXPECT_EQ(running.program.mailbox().ReadListEntry(folder, 0, entry), 0);
        return entry.flags.view()[store::flag::kSent];
    }

    Running running{disk};
    SessionRecords records{running.workspace, running.program.settings(), running.program.environments(),
                           running.program.mailbox()};
};

TEST_F(SentMails, AreMarkedInTheOutgoingFolder) {
    const std::string own = Add("Out2");
    const std::string usual = Add("Outbox");
    records.MarkMailSent(own);
    EXPECT_EQ(SentFlag("Out2"), 'S');
    EXPECT_EQ(SentFlag("Outbox"), 's');
    records.MarkMailSent(usual);
    EXPECT_EQ(SentFlag("Outbox"), 'S');
    EXPECT_EQ(records.unmarked(), 0);

    running.program.settings().currentId = -1;
    const std::string another = Add("Out2");
    records.MarkMailSent(another);
    EXPECT_EQ(records.unmarked(), 1) << "no folder of an environment that there is not";
    EXPECT_NE(disk.Get("/mail/error.log")->find(another), std::string::npos);
    running.program.settings().currentId = 2;
    running.program.environments().entries[2].outbox = "..\\Out2";
    records.MarkMailSent(another);
    EXPECT_EQ(records.unmarked(), 2);
}

TEST_F(SentMails, OneThatCannotBeMarkedIsToldAtTheEnd) {
    disk.Put("/mail/BMTEMP.$$$/send.inf", "TO:A\r\nSUB:s\r\nbmtemp.$$$\\1.mtx\r\n");
    disk.Put("/mail/BMTEMP.$$$/MailID.tmp", "970124080509-1-0\r\n");
    disk.Put("/mail/BMTEMP.$$$/1.mtx", "hello\r\n/E\r\n");
    comm::ScriptLines lines;
    int number = 0;
    for (const char* line :
         {"", "READ_FILE_FAST,*END,", "UPLOAD_FBUF,,", "CHECK_SEND_END,,", "*END,,", "END,,"})
        lines[static_cast<std::size_t>(number++)] = line;
    Sessions& sessions = running.program.sessions();
    ASSERT_EQ(sessions.Begin(Start::SendAndReceive, "line", &lines), 0);
    EXPECT_EQ(running.RunToItsEnd(), comm::kSessionEnded);
    EXPECT_EQ(sessions.yield().sent, 1);
    EXPECT_EQ(running.Told(), Text("送信済みの印を付けられなかったメール: 1"_sjis));
}

TEST(CapturedMails, AreToldByTheirHeaderLines) {
    const std::string header = support::MailHeaderLine();
    const std::string asked(
        "受信後 (1:削除  2:保存  *:返信  *:返信＋削除  5:転送  6:転送＋削除  E:終了)\r\n"_sjis);
    const std::string subject = "   SUBJ:  s\r\n";
    std::string twoLines = header;
    twoLines.erase(twoLines.size() - 2);
    const struct {
        std::string capture;
        int mails;
    } cases[] = {
        {"", 0},
        {"READ ALL\r\nMAIL>", 0},
        {header + subject + "text\r\naction:DELETE\r\n" + header + subject + "MAIL>", 2},
        {header + subject + asked + "\r\n" + header + subject, 2},
        {header + subject + "> " + asked + header + subject, 1},  // all of it is one mail's text
        {header + subject + header + subject, 1},
        {header + header + "action:DELETE\r\n" + header + subject, 2},  // the second one is a subject
        {" " + header + twoLines + " \r\n" + twoLines, 0},
        {header.substr(1) + header + subject + std::string(40000, 'x') + "\r\naction:DELETE\r\n" + header, 2},
    };
    for (const auto& one : cases) {
        support::MemoryFileSystem disk;
        disk.Put(kMailLog, one.capture);
        EXPECT_EQ(CountCapturedMails(core::Workspace(disk, "/mail")), one.mails)
            << one.capture.substr(0, 300);
    }
    support::MemoryFileSystem empty;
    empty.PutDirectory("/mail");
    EXPECT_EQ(CountCapturedMails(core::Workspace(empty, "/mail")), 0);
}

}  // namespace
}  // namespace postkite::app
