// What a second run makes of a capture that the first one did not get through.

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <functional>

#include "core/shift_jis.h"
#include "tests/analyse/analysing_program.h"
#include "tests/store/faults.h"

namespace postkite::analyse {
namespace {

using namespace core::literals;
using store::Fault;
using store::Names;

/// Mails from before in two folders, a rule for one of them, and a capture of five mails, two of them equal.
struct Case {
    MemoryFileSystem disk;

    Case() {
        disk.PutDirectory("/state");
        disk.Put("/mail/Bank/MailBoxInfo.ini",
                 "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/0\r\n01A/0\r\n");
        disk.Put("/mail/Setting/MailBoxInfo.ini.tmp", "Inbox\r\nOutbox\r\nTrash\r\nA\r\n");
        disk.Put("/mail/Setting/filter.ini", "1\r\na\r\nSubject:\r\nfor A\r\nA\r\n");
        AnalysingProgram program(disk);
        EXPECT_EQ(program.Add("old") + program.AddTo("A", "old") + program.Add("older"), 0);
        const std::string twin = Captured("twin", "x\r\n");
        disk.Put(kCapturePath,
                 Captured("1", "1\r\n") + twin + Captured("for A", "2\r\n") + twin + Captured("3", "3\r\n"));
        EXPECT_EQ(disk.SyncDirectory("/mail/Bank"), 0);
    }
};

Names Sorted(Names names) {
    std::sort(names.begin(), names.end());
    return names;
}

void ExpectEachOnce(AnalysingProgram& program, const Names& inbox) {
    EXPECT_EQ(Sorted(program.Subjects("Inbox")), Sorted(inbox));
    const Names a = program.Subjects("A");
    EXPECT_EQ(std::count(a.begin(), a.end(), "for A"), 1);
    for (const std::string& mail : program.Mails())
        EXPECT_NE(mail, "damaged");
}

int AnalyseWithRules(AnalysingProgram& program) {
    program.settings.filterReceive = 1;
    return program.Analyse();
}

/// What somebody does with the mails between the two runs.
using Meanwhile = std::function<void(AnalysingProgram&)>;

/// Strikes at every call of a first run; the second one has to leave each mail once.
int StrikeEverywhere(Fault fault, const Meanwhile& meanwhile, const Names& inbox) {
    for (int call = 1;; ++call) {
        SCOPED_TRACE(store::Describe(fault, call));
        Case files;
        MemoryFileSystem& disk = files.disk;
        bool complete = false;
        {
            AnalysingProgram program(disk);
            store::Arrange(disk, fault, call);
            program.clock.now.hour = 9;
            const int count = AnalyseWithRules(program);
            complete = program.result.complete;
            EXPECT_TRUE(complete ? count == 5 && program.result.stored == 5 : program.result.stored < 6);
            EXPECT_TRUE(complete || count == -1 || !program.ui.messages.empty()) << "the user knows";
        }
        const bool struck = disk.struck();
        store::End(disk, fault);
        EXPECT_TRUE(complete || disk.Exists(kCapturePath) || store::IsPowerCut(fault) ||
                    fault == Fault::Killed || fault == Fault::TornWrite);
        AnalysingProgram program(disk);
        program.clock.now.hour = 10;
        meanwhile(program);
        if (disk.Exists(kCapturePath)) {
            EXPECT_EQ(AnalyseWithRules(program), 5);
            EXPECT_TRUE(program.result.complete);
            EXPECT_EQ(program.result.stored, 5);
        }
        // Where the rule's folder could not be opened the Inbox has its mail.
        Names inboxNow = inbox;
        if (program.Subjects("A") == Names{"old"}) {
            inboxNow.emplace_back("for A");
            EXPECT_EQ(Sorted(program.Subjects("Inbox")), Sorted(inboxNow));
        } else {
            ExpectEachOnce(program, inbox);
        }
        EXPECT_FALSE(disk.Exists(kCapturePath));
        if (testing::Test::HasFailure() || !struck) return call;
    }
}

constexpr int kFewestCalls = 60;

TEST(MailLogFaults, ASecondRunStoresWhatIsMissingAndNothingTwice) {
    for (const Fault fault : store::kFaults)
        EXPECT_GT(
            StrikeEverywhere(fault, [](AnalysingProgram&) {}, {"old", "older", "1", "twin", "twin", "3"}),
            fault == Fault::TornWrite || fault == Fault::TornAndPowerCut ? 5 : kFewestCalls);
}

TEST(MailLogFaults, AlsoWhenMailsAreDeletedMeanwhile) {
    const auto deleteTheFirst = [](AnalysingProgram& program) {
        EXPECT_EQ(program.mailbox.MarkDeleted("Inbox", 0), 0);
        EXPECT_EQ(program.mailbox.CompactIndex("Inbox"), 0);
    };
    EXPECT_GT(StrikeEverywhere(Fault::Killed, deleteTheFirst, {"older", "1", "twin", "twin", "3"}),
              kFewestCalls);
    const auto deleteBoth = [&](AnalysingProgram& program) {
        deleteTheFirst(program);
        deleteTheFirst(program);
    };
    EXPECT_GT(StrikeEverywhere(Fault::FullDisk, deleteBoth, {"1", "twin", "twin", "3"}), kFewestCalls);
}

TEST(MailLogFaults, AlsoWhenMailsAreMovedMeanwhile) {
    bool struck = true;
    for (int call = 1; struck; ++call) {
        Case files;
        {
            AnalysingProgram program(files.disk);
            files.disk.StopAtCall(call);
            static_cast<void>(AnalyseWithRules(program));
        }
        struck = files.disk.struck();
        files.disk.Restart();
        AnalysingProgram later(files.disk);
        std::vector<int> numbers;
        for (int number = 2; number < later.mailbox.CountMails("Inbox"); ++number)
            numbers.push_back(number);
        ASSERT_EQ(later.folders.MoveMails("Inbox", numbers, "Trash"), 0);
        if (later.mailbox.CountMails("A") == 2) {
            const int last = 1;
            ASSERT_EQ(later.folders.MoveMails("A", std::span(&last, 1), "Trash"), 0);
        }
        if (files.disk.Exists(kCapturePath)) static_cast<void>(AnalyseWithRules(later));
        Names all = later.Subjects("Inbox");
        for (const char* folder : {"Trash", "A"}) {
            for (const std::string& subject : later.Subjects(folder))
                all.push_back(subject);
        }
        ASSERT_EQ(Sorted(all), Sorted({"old", "older", "old", "1", "twin", "twin", "for A", "3"})) << call;
    }
}

std::string LongText(std::size_t kilobytes) {
    const std::string line = std::string(98, 'x') + "\r\n";
    std::string text;
    while (text.size() < kilobytes * 1000)
        text += line;
    return text;
}

/// The stored mails have gone elsewhere, and nobody finds them any more.
void TakeAway(MemoryFileSystem& disk) {
    for (const char* path : {store::kIndexPath, store::kTextPath, "/mail/Bank/A.loc", "/mail/Bank/A.mtx"})
        static_cast<void>(disk.Remove(path));
}

TEST(MailLogFaults, WhatIsKnownToBeStoredIsNotLookedFor) {
    // Everything is in its folder, and the capture cannot be removed.
    for (int call = 1;; ++call) {
        Case files;
        AnalysingProgram program(files.disk);
        files.disk.FailCall(call, -EACCES);
        static_cast<void>(AnalyseWithRules(program));
        ASSERT_TRUE(files.disk.struck()) << "there was no such call";
        if (program.result.complete || program.result.stored < 5) continue;
        EXPECT_EQ(program.ui.messages.back().icon, core::MessageIcon::Warning);
        const std::string told = program.ui.messages.back().text;
        EXPECT_TRUE(told.starts_with("maillog.txt"_sjis) &&
                    told.find("5 通は保存しました。"_sjis) != std::string::npos);
        TakeAway(files.disk);
        program.ui.messages.clear();
        EXPECT_EQ(AnalyseWithRules(program), 5);
        EXPECT_TRUE(program.result.complete && program.result.stored == 5);
        EXPECT_EQ(program.mailbox.CountMails("Inbox") + program.mailbox.CountMails("A"), 0);
        break;
    }
}

TEST(MailLogFaults, AReadThatFailsLeavesNoHalfMail) {
    const std::string capture =
        Captured("1", LongText(50)) + Captured("2", LongText(150)) + Captured("3", "3\r\n");
    const Names mails{"old: text\r\n", "older: text\r\n", Stored("1", LongText(50)),
                      Stored("2", LongText(150)), Stored("3", "3\r\n")};
    bool struck = true;
    for (int call = 1; struck; ++call) {
        Case files;
        files.disk.Put(kCapturePath, capture);
        AnalysingProgram program(files.disk);
        files.disk.FailCall(call, -EIO);
        static_cast<void>(program.Analyse());
        struck = files.disk.struck();
        files.disk.Restart();
        AnalysingProgram later(files.disk);
        static_cast<void>(later.Analyse());
        ASSERT_TRUE(later.Mails() == mails) << call << testing::PrintToString(later.Subjects("Inbox"));
    }
}

TEST(MailLogFaults, OfEqualMailsAsManyAreTakenForStoredAsThereAre) {
    for (int call = 1;; ++call) {
        Case files;
        AnalysingProgram program(files.disk);
        files.disk.StopAtCall(call);
        static_cast<void>(AnalyseWithRules(program));
        ASSERT_TRUE(files.disk.struck());
        files.disk.Restart();
        AnalysingProgram later(files.disk);
        const Names all{"old", "older", "1", "twin", "twin", "3"};
        if (later.Subjects("Inbox") != all) continue;
        ASSERT_TRUE(files.disk.Exists(kCapturePath));
        EXPECT_EQ(later.mailbox.MarkDeleted("Inbox", 3) + later.mailbox.CompactIndex("Inbox"), 0);
        EXPECT_EQ(AnalyseWithRules(later), 5);
        ExpectEachOnce(later, all);
        break;
    }
}

TEST(MailLogFaults, AFullDiskTakesBackABatch) {
    constexpr int kMails = 36;
    std::string capture;
    for (int number = 0; number < kMails; ++number)
        capture += Captured(std::to_string(number), LongText(500));
    Case files;
    files.disk.Put(kCapturePath, capture);
    AnalysingProgram program(files.disk);
    program.settings.autoMode = 1;
    // Of writes of 32 KB at most the 525th stands behind the first 16 MB.
    files.disk.ShortWrite(525, 5);
    EXPECT_LT(program.Analyse(), kMails) << "a full disk ends it";
    const int stored = program.result.stored;
    EXPECT_TRUE(!program.result.complete && stored > 30 && stored < kMails) << stored;
    EXPECT_EQ(program.mailbox.CountMails("Inbox"), 2 + stored);
    EXPECT_EQ(program.ui.messages.size(), 1U) << "the folder's own";
    const auto log = files.disk.Get("/mail/error.log").value_or("");
    EXPECT_NE(log.find("保存できなかったメール"_sjis), std::string::npos);
    TakeAway(files.disk);
    EXPECT_EQ(program.Analyse(), kMails);
    EXPECT_TRUE(program.result.complete && program.result.stored == kMails);
    EXPECT_EQ(program.mailbox.CountMails("Inbox"), kMails - stored);

    // A part file of another capture, or of nobody's making, is as good as none.
    const std::string small = Captured("1", "1\r\n");
    for (const std::string& part : {std::string("Postkite mail log 1\r\n99 0000000000000000\r\n50 1\r\n"),
                                    std::string("x"), std::string("Postkite mail log 1\r\n")}) {
        files.disk.Put(kPartPath, part);
        files.disk.Put(kCapturePath, small);
        const int before = program.mailbox.CountMails("Inbox");
        EXPECT_EQ(program.Analyse(), 1);
        EXPECT_EQ(program.mailbox.CountMails("Inbox"), before + 1);
        EXPECT_FALSE(files.disk.Exists(kPartPath));
    }
}

}  // namespace
}  // namespace postkite::analyse
