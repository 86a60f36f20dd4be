#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <functional>

#include "tests/store/mailbox_program.h"

namespace postkite::store {
namespace {

using support::MemoryFileSystem;
using NamesKept = MemoryFileSystem::NamesKept;

/// Something done with the Inbox, and the lists of mails that it may leave when it does not get through; the
/// last of them is what it has to leave when it does.
struct Operation {
    std::function<int(MailboxProgram&)> run;
    std::vector<Mails> outcomes;
    std::function<void(const MemoryFileSystem&, bool done)> check = [](const MemoryFileSystem&, bool) {};
};

enum class Fault { FullDisk, BadDisk, Killed, PowerCutDurable, PowerCutWritten, TornWrite, TornAndPowerCut };
constexpr Fault kFaults[] = {Fault::FullDisk,        Fault::BadDisk,         Fault::Killed,
                             Fault::PowerCutDurable, Fault::PowerCutWritten, Fault::TornWrite,
                             Fault::TornAndPowerCut};

void Arrange(MemoryFileSystem& disk, Fault fault, int call) {
    switch (fault) {
        case Fault::FullDisk:
            return disk.FailCall(call, -ENOSPC);
        case Fault::BadDisk:
            return disk.FailCall(call, -EIO);
        case Fault::TornWrite:
        case Fault::TornAndPowerCut:
            return disk.StopWithinWrite(call, 7);
        default:
            return disk.StopAtCall(call);
    }
}

void End(MemoryFileSystem& disk, Fault fault) {
    const bool powerCut =
        fault == Fault::PowerCutDurable || fault == Fault::PowerCutWritten || fault == Fault::TornAndPowerCut;
    if (powerCut) {
        disk.PowerCut(fault == Fault::PowerCutDurable ? NamesKept::Durable : NamesKept::Written);
    } else {
        disk.Restart();
    }
}

/// Three mails of 1, 2 and 3 body lines, the files as `Put` makes them: on the disk for good.
struct Folder {
    std::string index;
    std::string text;

    Folder() {
        MemoryFileSystem disk;
        disk.PutDirectory("/mail/Bank");
        MailboxProgram program(disk);
        EXPECT_EQ(
            program.Add("A", "1\r\n") + program.Add("B", "1\r\n2\r\n") + program.Add("C", "1\r\n2\r\n3\r\n"),
            0);
        index = disk.Get(kIndexPath).value_or("");
        text = disk.Get(kTextPath).value_or("");
    }
    void PutOn(MemoryFileSystem& disk) const {
        disk.PutDirectory("/mail/Bank");
        disk.PutDirectory("/state");
        disk.Put(kIndexPath, index);
        disk.Put(kTextPath, text);
    }
};

const std::string kA = "A: 1\r\n";
const std::string kB = "B: 1\r\n2\r\n";
const std::string kC = "C: 1\r\n2\r\n3\r\n";

/// The folder opens, has one of the lists, and takes a mail that stays whatever happens then.
void ExpectUsable(MemoryFileSystem& disk, const std::vector<Mails>& allowed) {
    MailboxProgram program(disk);
    program.clock.now.hour = 10;
    Mails mails = program.Mails();
    EXPECT_TRUE(std::find(allowed.begin(), allowed.end(), mails) != allowed.end())
        << testing::PrintToString(mails);
    EXPECT_EQ(program.Add("next"), 0);
    mails.emplace_back("next: text\r\n");
    disk.PowerCut(NamesKept::Durable);
    MailboxProgram later(disk);
    EXPECT_EQ(later.Mails(), mails);
    for (const char* left : {"Inbox.$$i", "Inbox.$$t", "Inbox.$$l"})
        EXPECT_FALSE(disk.Exists(std::string("/mail/Bank/") + left)) << left;
}

/// Strikes at every call of the operation, once each. Returns how often.
int StrikeEverywhere(const Operation& operation, const std::function<void(MemoryFileSystem&)>& arrange) {
    int struck = 0;
    for (const Fault fault : kFaults) {
        for (int call = 1;; ++call) {
            MemoryFileSystem disk;
            arrange(disk);
            MailboxProgram program(disk);
            program.clock.now.hour = 9;
            Arrange(disk, fault, call);
            const bool done = operation.run(program) == 0;
            const bool hit = disk.struck();
            End(disk, fault);
            SCOPED_TRACE("fault " + std::to_string(static_cast<int>(fault)) + " at " + std::to_string(call));
            EXPECT_TRUE(hit || done);
            ExpectUsable(disk, done ? std::vector<Mails>{operation.outcomes.back()} : operation.outcomes);
            operation.check(disk, done);
            if (testing::Test::HasFailure() || !hit) break;
            ++struck;
        }
    }
    return struck;
}

int StrikeEverywhere(const Operation& operation, const Folder& folder = {}) {
    return StrikeEverywhere(operation, [&folder](MemoryFileSystem& disk) { folder.PutOn(disk); });
}

TEST(StoreCrash, AppendingSeveralMails) {
    const std::string d = "D: text\r\n";
    const std::string e = "E: text\r\n";
    const auto append = [](MailboxProgram& program) {
        const auto writer = program.mailbox.OpenWriter("Inbox");
        if (writer == nullptr) return -1;
        for (const char* subject : {"D", "E"}) {
            MailRecord mail = MailboxProgram::Mail(subject);
            if (program.mailbox.AppendTo(*writer, mail) < 0) return -1;
        }
        return program.mailbox.Commit(*writer, "Inbox");
    };
    EXPECT_GT(StrikeEverywhere({append, {{kA, kB, kC}, {kA, kB, kC, d}, {kA, kB, kC, d, e}}}), 40);

    const auto noFiles = [](MemoryFileSystem& disk) {
        disk.PutDirectory("/mail/Bank");
        disk.PutDirectory("/state");
    };
    EXPECT_GT(StrikeEverywhere({append, {{}, {d}, {d, e}}}, noFiles), 40);
}

TEST(StoreCrash, ReplacingAMail) {
    const auto replace = [](MailboxProgram& program) {
        MailRecord mail = MailboxProgram::Mail("new");
        const std::string id = "970124080509-1000-3";
        mail.localId = id;
        const int result = program.mailbox.ReplaceMail("Inbox", 1, mail);
        return mail.localId == id ? -1 : result;  // nothing was found to be replaced
    };
    EXPECT_GT(StrikeEverywhere({replace, {{kA, kB, kC}, {kA, "new: text\r\n", kC}}}), 80);
}

TEST(StoreCrash, DeletingAMail) {
    const auto remove = [](MailboxProgram& program) {
        if (program.mailbox.MarkDeleted("Inbox", 1) < 0) return -1;
        return program.mailbox.CompactIndex("Inbox");
    };
    EXPECT_GT(StrikeEverywhere({remove, {{kA, kB, kC}, {kA, "damaged", kC}, {kA, kC}}}), 80);
}

TEST(StoreCrash, CompactingTheText) {
    const auto compact = [](MailboxProgram& program) { return program.mailbox.CompactText("Inbox", [] {}); };
    Folder folder;
    folder.index.replace(900, 22, 22, ' ');
    EXPECT_GT(StrikeEverywhere({compact, {{kA, "damaged", kC}, {kA, kC}}}, folder), 80);

    // A text that is lost, and with it the mail: the old file stays under whichever name.
    Folder lossy;
    lossy.index.replace(900, 20, "123456              ");
    const auto oldTextIsThere = [&lossy](const MemoryFileSystem& disk, bool) {
        const std::string text = disk.Get(kTextPath).value_or("");
        EXPECT_TRUE(text.starts_with(lossy.text) || disk.Get("/mail/Bank/Inbox.mtx.bak") == lossy.text);
    };
    EXPECT_GT(StrikeEverywhere({compact, {{kA, "damaged", kC}}, oldTextIsThere}, lossy), 80);
}

TEST(StoreCrash, SettingFlags) {
    const Folder folder;
    const std::size_t text = std::stoul(folder.index.substr(900, 20));
    const auto mark = [](MailboxProgram& program) {
        return program.mailbox.MarkSent("Inbox", 1, true) + program.mailbox.SetRead("Inbox", 1, true);
    };
    const auto check = [&](const MemoryFileSystem& disk, bool done) {
        const std::string indexFlags = disk.Get(kIndexPath).value_or("").substr(924, 9);
        const std::string textFlags = disk.Get(kTextPath).value_or("").substr(text, 9);
        for (const std::string& flags : {indexFlags, textFlags}) {
            EXPECT_TRUE(flags[2] == 's' || flags[2] == 'S') << flags;
            EXPECT_TRUE(flags[3] == 'r' || flags[3] == 'R') << flags;
            if (done) {
                EXPECT_EQ(flags, "RoSRr --y");
            }
        }
    };
    EXPECT_GT(StrikeEverywhere({mark, {{kA, kB, kC}}, check}, folder), 80);
}

TEST(StoreDamage, FilesCutAtEveryLengthAreAppendedTo) {
    const Folder folder;
    const Mails mails{kA, kB, kC};
    std::vector<std::size_t> ends;
    for (std::size_t at = 0; (at = folder.text.find("\x01\x01\r\n", at)) != std::string::npos;)
        ends.push_back(at += 4);
    ASSERT_EQ(ends.size(), 3U);
    for (std::size_t length = 0; length <= folder.text.size() && !HasFailure(); ++length) {
        MemoryFileSystem disk;
        folder.PutOn(disk);
        disk.Put(kTextPath, folder.text.substr(0, length));
        MailboxProgram program(disk);
        SCOPED_TRACE("text of " + std::to_string(length));
        ASSERT_EQ(program.Add("next"), 0);
        const Mails read = program.Mails();
        ASSERT_EQ(read.size(), 4U);
        for (std::size_t mail = 0; mail < 3; ++mail) {
            if (ends[mail] <= length) {
                EXPECT_EQ(read[mail], mails[mail]);
            }
        }
        EXPECT_EQ(read[3], "next: text\r\n");
    }
    for (std::size_t length = 0; length <= folder.index.size() && !HasFailure(); ++length) {
        MemoryFileSystem disk;
        folder.PutOn(disk);
        disk.Put(kIndexPath, folder.index.substr(0, length));
        MailboxProgram program(disk);
        SCOPED_TRACE("index of " + std::to_string(length));
        Mails expected(mails.begin(), mails.begin() + static_cast<std::ptrdiff_t>(length / 900));
        EXPECT_EQ(program.Mails(), expected);
        ASSERT_EQ(program.Add("next"), 0);
        expected.emplace_back("next: text\r\n");
        EXPECT_EQ(program.Mails(), expected);
        EXPECT_EQ(disk.Get(kIndexPath).value_or("").size(), expected.size() * 900);
    }
}

TEST(StoreDamage, OneDamagedRecordSpoilsNoOther) {
    const std::string garbage(900, '\xff');
    const std::vector<std::string> heads = {
        "99999               ", "-1                  ",  "18446744073709551615",
        "18446744073709551616", "99999999999999999999",  "0x10                ",
        "12,5                ", "\t0                  ", garbage,
    };
    for (const std::string& head : heads) {
        Folder folder;
        folder.index.replace(900, head.size(), head);
        MemoryFileSystem disk;
        folder.PutOn(disk);
        MailboxProgram program(disk);
        SCOPED_TRACE(testing::PrintToString(head.substr(0, 20)));
        EXPECT_EQ(program.Mails(), (Mails{kA, "damaged", kC}));
        EXPECT_EQ(program.mailbox.SetRead("Inbox", 1, true), -1);
        EXPECT_EQ(disk.Get(kIndexPath), folder.index);
        EXPECT_EQ(program.mailbox.MarkDeleted("Inbox", 1), 0);
        EXPECT_EQ(disk.Get(kTextPath), folder.text);
        EXPECT_EQ(program.mailbox.CompactIndex("Inbox"), 0);
        EXPECT_EQ(program.Mails(), (Mails{kA, kC}));
    }
}

TEST(StoreDamage, AMissingTextLeavesTheList) {
    const Folder folder;
    MemoryFileSystem disk;
    folder.PutOn(disk);
    ASSERT_EQ(disk.Remove(kTextPath), 0);
    MailboxProgram program(disk);
    EXPECT_EQ(program.Mails(), (Mails{"damaged", "damaged", "damaged"}));
    MailRecord mail;
    EXPECT_EQ(program.mailbox.ReadMail("Inbox", 1, mail, 0), -1);
    EXPECT_EQ(mail.subject, "B") << "what the index knows";
    EXPECT_EQ(program.mailbox.SetRead("Inbox", 1, true), -1);
    EXPECT_EQ(program.mailbox.MarkDeleted("Inbox", 1), 0);
    EXPECT_EQ(program.mailbox.CompactIndex("Inbox"), 0);
    EXPECT_EQ(program.mailbox.CountMails("Inbox"), 2);
    EXPECT_FALSE(disk.Exists(kTextPath));
}

}  // namespace
}  // namespace postkite::store
