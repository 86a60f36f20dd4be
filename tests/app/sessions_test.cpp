#include "app/sessions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

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
constexpr const char* kOutList = "/mail/MailBox1/Out2.loc";
constexpr const char* kNotes = "/mail/BMTEMP.$$$/Unsure.tmp";

/// A program on a disk that others may be on as well.
struct Running {
    explicit Running(support::MemoryFileSystem& disk) : workspace(disk, "/mail"), state(disk, "/state") {
        program.Start();
        program.settings().userId = "ABC01234";
        EXPECT_EQ(program.OpenBank(), 0);
    }
    int Begin(Start start = Start::ReceiveOnly) { return program.sessions().Begin(start, "line"); }
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

    /// Appends a mail written here. Returns its identifier.
    std::string Compose(std::string_view folder, std::string_view address, bool reserved) {
        store::MailRecord record;
        record.flags = store::kComposedMailFlags;
        if (reserved) record.flags[store::flag::kPosition8] = 'Y';
        record.address = address;
        record.subject = "s";
        record.body = "text\r\n";
        EXPECT_EQ(program.mailbox().AppendMail(folder, record, -1), 0);
        return record.localId;
    }
    /// The flags of a folder's first mail.
    std::string Flags(std::string_view folder) {
        store::MailListEntry entry;
        EXPECT_EQ(program.mailbox().ReadListEntry(folder, 0, entry), 0);
        return std::string(entry.flags.view());
    }
    int Count(std::string_view folder) { return program.mailbox().CountMails(folder); }

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

/// What the host prints for a mail, with what it asks behind it.
std::string Listed(std::string_view text) {
    return support::MailHeaderLine() + "SUBJECT :  s\r\n" + std::string(text) + "\r\naction:DELETE\r\n";
}

/// A room's unread message as the host prints it, and all that stands around it in the capture.
std::string Posts(int number) {
    const std::string digits = std::to_string(number);
    return "CCS(N)>MRE\r\n" + std::string("◆FSORA MES(1)\r\n"_sjis) + std::string(3 - digits.size(), '0') +
           digits +
           "/014   ABC01234  NAGINO HISASHI    title\r\n       97/01/19 21:10\r\ntext\r\n \b\r\nCCS(N)>";
}

class SessionsTest : public ::testing::Test {
  protected:
    SessionsTest() { disk.PutDirectory("/mail/Setting"); }

    support::MemoryFileSystem disk;
};

TEST_F(SessionsTest, OneAtATimeInAWorkingDirectoryAndNoSwitchingMeanwhile) {
    Running one(disk);
    Running other(disk);
    disk.PutDirectory("/mail/MailBox2");
    one.port.ExpectReceiving("ABC01234", Listed("text") + "MAIL>");
    ASSERT_EQ(one.Begin(), 0);
    EXPECT_EQ(one.Begin(), -1);
    EXPECT_TRUE(one.Told().empty());

    EXPECT_EQ(other.Begin(), -1);
    EXPECT_EQ(other.Told(), Text("ほかの Postkite が通信中です。"_sjis));
    EXPECT_EQ(other.port.device, "") << "its line stays closed";
    EXPECT_EQ(other.program.OpenBank(), 0) << "mail is everybody's";
    outgoing::SendQueue queue;
    analyse::MailLogResult mails;
    analyse::ForumLogResult messages;
    for (Running* running : {&one, &other}) {
        Sessions& sessions = running->program.sessions();
        EXPECT_EQ(running->program.SwitchEnvironment(3), -1);
        EXPECT_EQ(running->Told(), Text("送受信中には環境を切り替える事はできません。"_sjis));
        EXPECT_EQ(running->program.SwitchBank(1), -1);
        EXPECT_EQ(running->Told(), Text("送受信中です。"_sjis));
        EXPECT_EQ(sessions.BuildQueue(queue), -1) << "it is being sent";
        EXPECT_EQ(sessions.AnalyseMailLog("maillog.txt", mails), Sessions::kRefused)
            << "it is being captured";
        EXPECT_EQ(sessions.AnalyseForumLog("meslog.txt", messages), Sessions::kRefused);
        EXPECT_EQ(running->Told().size(), 3U);
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

TEST_F(SessionsTest, WhatIsReservedGoesOutAndWhatWaitsArrives) {
    Running running(disk);
    running.Compose("Outbox", "DEF01234 (KITE), aya@harbour.example", true);
    running.Compose("Outbox", "DEF01234", false);
    running.port.ExpectLogIn("ABC01234");
    running.port.ExpectMail("TO:DEF01234\rTO:INET:aya@harbour.example\rSUB:s\rtext\r\r\r/POST\r");
    running.port.Expect("READ ALL\r", Listed("first") + Listed("second") + "MAIL>");
    running.port.Expect("OFF\r", "");
    ASSERT_EQ(running.Begin(Start::SendAndReceive), 0);
    EXPECT_EQ(running.RunToItsEnd(), comm::kSessionEnded);
    EXPECT_EQ(running.port.left(), 0U) << running.port.unexpected();
    const Sessions::Yield& yield = running.program.sessions().yield();
    EXPECT_EQ(yield.sent, 1);
    EXPECT_EQ(yield.mails, 2);
    EXPECT_TRUE(yield.stored);
    EXPECT_EQ(running.Count("Inbox"), 2);
    EXPECT_EQ(running.Flags("Outbox").substr(0, 9), "SoSrr --y") << "sent, and no longer reserved";
    EXPECT_FALSE(disk.Exists(kMailLog));

    running.Told();
    running.port.Reset();
    running.port.ExpectReceiving("ABC01234", "MAIL>");
    ASSERT_EQ(running.Begin(Start::SendAndReceive), 0);
    EXPECT_EQ(running.RunToItsEnd(), comm::kSessionEnded);
    EXPECT_EQ(running.port.left(), 0U) << running.port.unexpected();
    EXPECT_EQ(running.Told(), (Texts{std::string("送信予約されたメールがありません。"_sjis),
                                     std::string("新規受信メールはありませんでした。"_sjis)}));
    EXPECT_FALSE(disk.Exists("/mail/BMTEMP.$$$/send.inf"))
        << "and nothing of the earlier queue is left to send";
    EXPECT_FALSE(disk.Exists("/mail/BMTEMP.$$$/mes.inf"));
    EXPECT_EQ(running.Count("Inbox"), 2);
}

TEST_F(SessionsTest, ThePatrolReadsWhatTheConditionsAskFor) {
    disk.Put("/mail/Setting/FSORA,mes1", std::string("読み込み条件=perday\r\nlast access=93/01/01\r\n"_sjis));
    disk.Put("/mail/Setting/FSORA,mes2",
             std::string("読み込み条件=notread\r\nlast access=93/01/01\r\n"_sjis));
    Running running(disk);
    const comm::PatrolLists lists =
        PatrolOfToday(running.workspace, running.clock, running.program.folders().tree());
    ASSERT_EQ(lists.rooms.size(), 1U);
    EXPECT_TRUE(lists.libraries.empty());

    running.port.ExpectLogIn("ABC01234");
    running.port.Expect("READ ALL\r", "MAIL>");
    running.port.Expect("GO FSORA\r", "FORUM>");
    for (const char* setUp : {"SET MENU OFF\r", "SET PAGE OFF\r", "SET DLM ON\r"})
        running.port.Expect(setUp, "FORUM>");
    running.port.Expect("mes1\r", "mes1\r\nCCS(N)>");
    running.port.Expect("MRE\r", Posts(12).substr(7));
    running.port.Expect("OFF\r", "");
    ASSERT_EQ(running.Begin(), 0);
    EXPECT_EQ(running.RunToItsEnd(), comm::kSessionEnded);
    EXPECT_EQ(running.port.left(), 0U) << running.port.unexpected();
    EXPECT_EQ(running.program.sessions().yield().messages, 1);
    EXPECT_EQ(running.Count("FSORA,mes1"), 1);
    EXPECT_NE(running.program.folders().tree().Find("FSORA,mes1"), nullptr);
    EXPECT_TRUE(
        PatrolOfToday(running.workspace, running.clock, running.program.folders().tree()).rooms.empty())
        << "it was read today";
}

TEST_F(SessionsTest, LibrariesAreListedSinceTheirLastAccess) {
    disk.Put("/mail/Setting/FSORA,lib2", std::string("読み込み条件=read\r\nlast access=97/01/05\r\n"_sjis));
    Running running(disk);
    const comm::PatrolLists lists =
        PatrolOfToday(running.workspace, running.clock, running.program.folders().tree());
    ASSERT_EQ(lists.libraries.size(), 1U);
    const ActiveFolders active(running.program.settings(), running.program.environments(),
                               running.program.folders());
    SessionRecords records(running.workspace, running.clock, active, running.program.mailbox());
    EXPECT_EQ(records.LastAccess(lists.libraries[0]), "970105");
    core::Workspace elsewhere(disk, "/mail");
    core::WorkspaceLock lock;
    ASSERT_EQ(elsewhere.Lock(false, lock), 0);
    records.RecordLastAccess(lists.libraries[0]);
    EXPECT_EQ(records.LastAccess(lists.libraries[0]), "970105")
        << "another program works: a tick must not wait";
    lock = {};
    records.WriteWaiting(SessionRecords::Waiting::No);
    EXPECT_EQ(records.LastAccess(lists.libraries[0]).substr(0, 2),
              core::FormatNowDate(running.clock).substr(0, 2));
    EXPECT_NE(records.LastAccess(lists.libraries[0]), "970105");
}

TEST_F(SessionsTest, WhatAnEarlierSessionCapturedIsStoredFirst) {
    disk.Put(kMailLog, Listed("first"));
    disk.Put(kForumLog, Posts(12));
    Running running(disk);
    running.port.openError = -ENXIO;
    EXPECT_EQ(running.Begin(), -1);
    EXPECT_EQ(running.Told(),
              (Texts{std::string("前回の通信の受信データを保存しました。メール: 1　会議室データ: 1"_sjis),
                     std::string("通信ポートをオープン出来ませんでした。"_sjis)}));
    EXPECT_EQ(running.program.sessions().lineError(), -ENXIO);
    EXPECT_FALSE(running.program.sessions().RunElsewhere());
    EXPECT_EQ(running.Count("Inbox"), 1);
    EXPECT_EQ(running.Count("FSORA,mes1"), 1);
    EXPECT_FALSE(disk.Exists(kMailLog));
    EXPECT_FALSE(disk.Exists(kForumLog));

    running.port.openError = 0;
    disk.PutDirectory(kMailLog);
    ASSERT_EQ(running.Begin(), -1) << "whatever is in it cannot be stored";
    EXPECT_EQ(
        running.Told(),
        Text("前回の通信の受信データ（maillog.txt、MesLog.txt）を保存できないため、通信を始めません。"_sjis));
    EXPECT_FALSE(running.port.open);
}

TEST_F(SessionsTest, ABrokenOffSessionStoresWhatItCaptured) {
    Running running(disk);
    running.port.ExpectLogIn("ABC01234");
    running.port.Expect("READ ALL\r", Listed("first"));  // and then nothing
    ASSERT_EQ(running.Begin(), 0);
    EXPECT_LT(running.RunToItsEnd(), 0);
    EXPECT_EQ(running.Count("Inbox"), 1);
    EXPECT_EQ(running.program.sessions().yield().mails, 1);

    running.port.Reset();
    running.port.ExpectLogIn("ABC01234");
    running.port.Expect("READ ALL\r", Listed("second"));
    ASSERT_EQ(running.Begin(), 0);
    for (int tick = 0; tick < 200; ++tick)
        EXPECT_EQ(running.program.sessions().Tick(), comm::kSessionGoesOn);
    running.program.sessions().HangUp();
    EXPECT_EQ(running.Count("Inbox"), 2);
    EXPECT_FALSE(disk.Exists(kMailLog));
}

TEST_F(SessionsTest, NoFaultLosesWhatAnEarlierSessionCaptured) {
    bool struck = true;
    int refused = 0;
    for (int call = 1; struck; ++call) {
        support::MemoryFileSystem faulty;
        faulty.PutDirectory("/mail/Setting");
        Running running(faulty);
        faulty.Put(kMailLog, Listed("first"));
        faulty.FailCall(call, -EIO);
        const int begun = running.Begin();
        struck = faulty.struck();
        running.program.sessions().HangUp();
        faulty.Restart();
        faulty.PowerCut();
        const bool inPlace = faulty.Exists(kMailLog);
        Running next(faulty);
        EXPECT_TRUE(inPlace || next.Count("Inbox") == 1) << "call " << call;
        EXPECT_FALSE(struck && running.Told().empty()) << "call " << call;
        refused += begun < 0 ? 1 : 0;
        ASSERT_EQ(next.Begin(), 0) << "call " << call;
        EXPECT_EQ(next.Count("Inbox"), 1) << "call " << call;
    }
    EXPECT_GT(refused, 3);
}

class SentMails : public SessionsTest {
  protected:
    SentMails() {
        EXPECT_EQ(running.program.folders().NewFolder("Desktop", "Out2"), 0);
        running.program.settings().currentId = 2;
        running.program.environments().entries[2].outbox = "Out2";
    }

    /// Composes a mail, and notes down what is in the folder to go out. Returns the mail's identifier.
    std::string Reserve(std::string_view folder) {
        std::string localId = running.Compose(folder, "A", true);
        disk.PutDirectory("/mail/BMTEMP.$$$");
        outgoing::SendQueue queue;
        EXPECT_EQ(outgoing::BuildSendQueue(running.program.mailbox(), running.program.settings(), folder,
                                           outgoing::PostOrder::Ascending, queue),
                  0);
        EXPECT_EQ(records.Reserve(queue), 0);
        return localId;
    }
    char SentFlag(std::string_view folder) { return running.Flags(folder)[store::flag::kSent]; }

    Running running{disk};
    ActiveFolders active{running.program.settings(), running.program.environments(),
                         running.program.folders()};
    SessionRecords records{running.workspace, running.clock, active, running.program.mailbox()};
};

TEST_F(SentMails, AreMarkedInTheFolderThatTheyWentOutFrom) {
    const std::string own = running.Compose("Out2", "A", true);
    const std::string usual = running.Compose("Outbox", "A", true);
    records.MarkMailSent(own);
    EXPECT_EQ(SentFlag("Out2"), 'S');
    EXPECT_EQ(SentFlag("Outbox"), 's');
    records.MarkMailSent(usual);
    EXPECT_EQ(SentFlag("Outbox"), 'S');

    const std::string another = Reserve("Out2");
    running.program.environments().entries[2].outbox = "..\\Out2";
    EXPECT_EQ(active.Outbox(), "Outbox") << "no folder that the tree lacks";
    records.MarkMailSent(another);
    EXPECT_EQ(records.Unmarked(), Texts{});
    store::MailListEntry entry;
    ASSERT_EQ(running.program.mailbox().ReadListEntry("Out2", 1, entry), 0);
    EXPECT_EQ(entry.flags.view()[store::flag::kSent], 'S') << "the environment was switched, the mail stayed";
    running.program.settings().currentId = -1;
    EXPECT_EQ(active.Inbox(), "Inbox") << "no folder of an environment that there is not";
}

TEST_F(SentMails, AreNotedUntilTheyAreMarked) {
    const std::string first = running.Compose("Out2", "A", true);
    const std::string second = Reserve("Out2");
    core::Workspace elsewhere(disk, "/mail");
    core::WorkspaceLock lock;
    ASSERT_EQ(elsewhere.Lock(false, lock), 0);
    const auto line = [](char state, const std::string& id) {
        return std::string(1, state) + " " + id + "\tMailBox1\tOut2\ts\r\n";
    };
    ASSERT_EQ(records.MailGoesOut(first), 0);
    records.MarkMailSent(first);  // has to wait for the lock
    EXPECT_EQ(*disk.Get(kNotes), line('+', first) + line('-', second));
    ASSERT_EQ(records.MailGoesOut(second), 0);
    EXPECT_EQ(records.MailGoesOut("third"), -ENOENT) << "without a note";
    lock = {};
    records.WriteWaiting(SessionRecords::Waiting::No);
    EXPECT_EQ(*disk.Get(kNotes), line('.', first) + line('?', second));
    Texts unsure;
    for (const auto& note : records.TakeUnsure())
        unsure.push_back(note.localId);
    EXPECT_EQ(unsure, Text(second));
    EXPECT_TRUE(records.TakeUnsure().empty());
    records.Tidy();
    EXPECT_FALSE(disk.Exists(kNotes));

    disk.Put(kNotes, first + "\r\n");
    Texts marked;
    ASSERT_EQ(records.TakeOver(marked), 0);
    ASSERT_EQ(records.TakeUnsure().size(), 1U) << "as an earlier version wrote it";
    disk.Put(kNotes,
             line('+', first) + "+ " + second + "\tMailBox2\tOut2\ts\r\n+ gone\tMailBox1\tOut2\ts\r\n");
    ASSERT_EQ(records.TakeOver(marked), 0);
    EXPECT_EQ(records.Accepted(), (std::set<std::string, std::less<>>{second})) << "another bank's";
    EXPECT_EQ(records.Unmarked(), Texts{});
    EXPECT_NE(disk.Get("/mail/error.log")->find("gone was sent and is no longer in the Outbox"),
              std::string::npos);
}

TEST_F(SentMails, OneThatCannotBeMarkedOrIsNotConfirmedIsTold) {
    comm::ScriptLines lines;
    int number = 0;
    for (const char* line :
         {"", "READ_FILE_FAST,*END,", "UPLOAD_FBUF,,", "WAIT,MAIL>,", "CHECK_SEND_END,,", "*END,,", "END,,"})
        lines[static_cast<std::size_t>(number++)] = line;
    Sessions& sessions = running.program.sessions();
    const auto begin = [&] {
        running.Compose("Out2", "A", true);
        ASSERT_EQ(sessions.Begin(Start::SendAndReceive, "line", &lines), 0);
    };
    running.port.Expect("/POST\r", "MAIL>");
    begin();
    ASSERT_EQ(running.program.mailbox().MarkDeleted("Out2", 0), 0);
    ASSERT_EQ(running.program.mailbox().CompactIndex("Out2"), 0);
    EXPECT_EQ(running.RunToItsEnd(), comm::kSessionEnded);
    EXPECT_EQ(sessions.yield().sent, 1);
    EXPECT_TRUE(running.Told().empty()) << "a person has taken it away";
    EXPECT_TRUE(sessions.yield().settled);
    EXPECT_FALSE(disk.Exists(kNotes));

    // The list of the Outbox cannot be opened when the host has taken the mail.
    running.port.Reset();
    running.port.Expect("/POST\r", "MAIL>");
    begin();
    const std::string list = disk.Get(kOutList).value();
    ASSERT_EQ(disk.Remove(kOutList), 0);
    disk.PutDirectory(kOutList);
    EXPECT_EQ(running.RunToItsEnd(), comm::kSessionEnded);
    EXPECT_FALSE(sessions.yield().settled);
    const Texts toldAtEnd = running.Told();
    ASSERT_FALSE(toldAtEnd.empty());
    EXPECT_TRUE(toldAtEnd.back().starts_with("次のメールは送信しましたが、"_sjis)) << toldAtEnd.back();
    EXPECT_TRUE(toldAtEnd.back().ends_with("\r\ns")) << "by its subject";
    outgoing::SendQueue queue;
    EXPECT_EQ(sessions.BuildQueue(queue), -1);
    disk.Put(kOutList, list);
    running.Told();
    EXPECT_EQ(sessions.BuildQueue(queue), -1);
    EXPECT_EQ(SentFlag("Out2"), 'S') << "as soon as that can be written";
    EXPECT_TRUE(
        running.Told().front().starts_with("前回の通信で送信したメールに、送信済みの印を付けました:"_sjis));
    EXPECT_FALSE(disk.Exists(kNotes));
    ASSERT_EQ(running.program.mailbox().MarkDeleted("Out2", 0), 0);
    ASSERT_EQ(running.program.mailbox().CompactIndex("Out2"), 0);

    begin();
    EXPECT_LT(running.RunToItsEnd(), 0);
    EXPECT_EQ(sessions.yield().sent, 0);
    const Texts told = running.Told();
    ASSERT_EQ(told.size(), 2U);
    EXPECT_TRUE(told[1].starts_with("送信を終えたあと、ホストの確認を受け取る前に"_sjis)) << told[1];
    EXPECT_EQ(SentFlag("Out2"), 's') << "it goes out again rather than never";

    // Killed between the host's word and the mark.
    ASSERT_EQ(sessions.Begin(Start::SendAndReceive, "line", &lines), 0);
    for (int tick = 0; tick < 20; ++tick)
        EXPECT_EQ(sessions.Tick(), comm::kSessionGoesOn);
    disk.Restart();
    Running next(disk);
    next.program.settings() = running.program.settings();
    next.program.environments() = running.program.environments();
    next.port.openError = -ENXIO;
    EXPECT_EQ(next.Begin(), -1);
    const Texts toldNext = next.Told();
    ASSERT_EQ(toldNext.size(), 2U);
    EXPECT_TRUE(toldNext[0].ends_with("二度届くことがあります: s"_sjis)) << toldNext[0];
    EXPECT_EQ(next.Begin(), -1);
    EXPECT_EQ(next.Told().size(), 1U) << "told once";
}

/// Sends the mail and the post that are reserved, and what is left of them with the next session; between the two the
/// disk fails, or the program or the machine ends, at any one call.
class SendingFaults : public ::testing::TestWithParam<std::string> {
  protected:
    static comm::ScriptLines Script() {
        comm::ScriptLines lines;
        int number = 0;
        for (const char* line :
             {"", "READ_FILE_FAST,*POSTS,", "UPLOAD_FBUF,,", "WAIT,MAIL>,", "CHECK_SEND_END,,", "GOTO,1,",
              "*POSTS,,", "READ_MES_TO,,*END", "UPLOAD_FBUF,,", "WAIT,MAIL>,", "CHECK_SEND_END,,",
              "GOTO,,*POSTS", "*END,,", "END,,"})
            lines[static_cast<std::size_t>(number++)] = line;
        return lines;
    }
    /// Returns how many the host has taken. `done` where the session says that all is well.
    static int Send(Running& running, const comm::ScriptLines& lines, Texts& told, bool& done) {
        constexpr int kTurns = 6;
        constexpr int kMostTicks = 1000;
        running.port.Reset();
        for (int turn = 0; turn < kTurns; ++turn)
            running.port.Expect("/POST\r", "MAIL>");
        Sessions& sessions = running.program.sessions();
        int result = sessions.Begin(Start::SendAndReceive, "line", &lines);
        for (int tick = 0; result == comm::kSessionGoesOn && tick < kMostTicks; ++tick)
            result = sessions.Tick();
        done = result == comm::kSessionEnded && sessions.yield().settled;
        for (std::string& text : running.Told())
            told.push_back(std::move(text));
        return kTurns - static_cast<int>(running.port.left());
    }
    [[nodiscard]] static bool IsMarked(Running& running, int number) {
        store::MailListEntry entry;
        return running.program.mailbox().ReadListEntry("Outbox", number, entry) == 0 &&
               entry.flags.view()[store::flag::kSent] == 'S';
    }
    [[nodiscard]] static bool Ends() { return GetParam() != "fails once" && GetParam() != "fails for good"; }
    static void Strike(support::MemoryFileSystem& disk, int call) {
        constexpr int kForGood = 300;
        if (Ends()) return disk.StopAtCall(call);
        const bool once = GetParam() == "fails once";
        for (int more = 0; more < (once ? 1 : kForGood); ++more)
            disk.FailCall(call + more, once ? -EIO : -ENOSPC);
    }
};

TEST_P(SendingFaults, SendNothingTwiceInSilence) {
    const comm::ScriptLines lines = Script();
    bool struck = true;
    int taken = 0;
    // Every third call, each kind of fault beginning with another one: all of them would take a minute.
    for (int call = 1 + static_cast<int>(GetParam().size()) % 3; struck; call += 3) {
        SCOPED_TRACE("call " + std::to_string(call));
        support::MemoryFileSystem disk;
        disk.PutDirectory("/mail/Setting");
        Texts told;
        bool done = false;
        int arrived = 0;
        {
            Running running(disk);
            running.Compose("Outbox", "A", true);
            running.Compose("Outbox", "/FA,MES1", true);
            Strike(disk, call);
            arrived = Send(running, lines, told, done);
            struck = disk.struck();
            EXPECT_TRUE(done || Ends() || !told.empty()) << "no failure without a word";
            taken += done ? 0 : arrived;
            const bool saidSo = done;
            disk.Restart();
            EXPECT_FALSE(saidSo && !(arrived == 2 && IsMarked(running, 0) && IsMarked(running, 1)));
        }
        if (GetParam() == "power cut") disk.PowerCut();
        Running next(disk);
        arrived += Send(next, lines, told, done);
        const auto warnings = std::count_if(told.begin(), told.end(), [](const std::string& text) {
            return text.find("二度届く"_sjis) != std::string::npos;
        });
        EXPECT_GE(arrived, 2);
        EXPECT_LE(arrived, 2 + warnings);
        EXPECT_TRUE(IsMarked(next, 0) && IsMarked(next, 1));
    }
    EXPECT_GT(taken, 2) << "it was struck where that matters";
}

INSTANTIATE_TEST_SUITE_P(Sessions, SendingFaults,
                         ::testing::Values("fails once", "fails for good", "killed", "power cut"),
                         [](const auto& instance) {
                             std::string name = instance.param;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

TEST_F(SessionsTest, TheEndSortsTheInboxAndSavesTheSettings) {
    disk.Put("/mail/Setting/filter.ini", "1\r\nn\r\nSubject:\r\ns\r\nTrash\r\n");
    Running running(disk);
    running.Compose("Inbox", "A", false);
    ASSERT_EQ(running.program.End(), 0);
    EXPECT_EQ(running.Count("Trash"), 0);
    EXPECT_TRUE(disk.Exists("/mail/Setting/setting.ini"));
    running.program.settings().filterAtEnd = 1;
    ASSERT_EQ(running.program.End(), 0);
    EXPECT_EQ(running.Count("Trash"), 1);
    EXPECT_EQ(running.Count("Inbox"), 0);
}

}  // namespace
}  // namespace postkite::app
