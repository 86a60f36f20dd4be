#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>

#include "core/shift_jis.h"
#include "tests/store/faults.h"
#include "tests/store/mailbox_program.h"

namespace postkite::store {
namespace {

using namespace core::literals;

/// Something done with the Inbox, and the lists of mails that it may leave when it does not get through; the
/// last of them is what it has to leave when it does.
struct Operation {
    std::function<int(MailboxProgram&)> run;
    std::vector<Mails> outcomes;
    std::function<void(const MemoryFileSystem&, bool done, bool powerCut)> check = [](const auto&, bool,
                                                                                      bool) {};
};

/// Three mails of 1, 2 and 3 body lines, the files as `Put` makes them: on the disk for good.
struct Folder {
    std::string index;
    std::string text;

    Folder() {
        MemoryFileSystem disk;
        disk.PutDirectory(kBankPath);
        MailboxProgram program(disk);
        EXPECT_EQ(
            program.Add("A", "1\r\n") + program.Add("B", "1\r\n2\r\n") + program.Add("C", "1\r\n2\r\n3\r\n"),
            0);
        index = disk.Get(kIndexPath).value_or("");
        text = disk.Get(kTextPath).value_or("");
    }
    void PutOn(MemoryFileSystem& disk) const {
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
    disk.PowerCut();
    MailboxProgram later(disk);
    EXPECT_EQ(later.Mails(), mails);
    for (const std::string& name : disk.Names(kBankPath))
        EXPECT_TRUE(name.find("$$") == std::string::npos || name.ends_with(".$$$")) << name;
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
            SCOPED_TRACE(Describe(fault, call));
            EXPECT_TRUE(hit || done);
            ExpectUsable(disk, done ? std::vector<Mails>{operation.outcomes.back()} : operation.outcomes);
            operation.check(disk, done, IsPowerCut(fault));
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

    const auto noFiles = [](MemoryFileSystem& disk) { disk.PutDirectory(kBankPath); };
    EXPECT_GT(StrikeEverywhere({append, {{}, {d}, {d, e}}}, noFiles), 40);
    // A folder that was made and has had no mail: its text is a new file.
    const auto emptyIndex = [](MemoryFileSystem& disk) { disk.Put(kIndexPath, ""); };
    EXPECT_GT(StrikeEverywhere({append, {{}, {d}, {d, e}}}, emptyIndex), 40);
}

/// Where the greater part of a long list is to be written, it is made anew.
TEST(StoreCrash, DeletingFromALongList) {
    const Folder folder;
    std::string index;
    while (index.size() < 900 * 1003)
        index += folder.index;
    for (const Fault fault : {Fault::FullDisk, Fault::Killed, Fault::PowerCutDurable, Fault::TornWrite}) {
        bool hit = true;
        for (int call = 1; hit; ++call) {
            SCOPED_TRACE(Describe(fault, call));
            MemoryFileSystem disk;
            disk.Put(kIndexPath, index);
            disk.Put(kTextPath, folder.text);
            MailboxProgram program(disk);
            Arrange(disk, fault, call);
            const bool done = program.mailbox.RemoveMails("Inbox", std::array{0, 1}) == 0;
            hit = disk.struck();
            End(disk, fault);
            EXPECT_EQ(MailboxProgram(disk).mailbox.CompactIndex("Inbox"), 0);
            const auto left = disk.Get(kIndexPath);
            EXPECT_TRUE(left == index.substr(1800) || (left == index && !done));
            EXPECT_TRUE(hit || done);
            // The mails' texts stay, dead ones marked.
            EXPECT_EQ(disk.Get(kTextPath)->size(), folder.text.size());
        }
    }
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
    // Whoever spells the name in another way finds what is left.
    const auto remove = [](MailboxProgram& program) {
        if (program.mailbox.MarkDeleted("inbox", 1) < 0) return -1;
        return program.mailbox.CompactIndex("INBOX");
    };
    EXPECT_GT(StrikeEverywhere({remove, {{kA, kB, kC}, {kA, "damaged", kC}, {kA, kC}}}), 80);
}

TEST(StoreCrash, CompactingTheText) {
    const auto compact = [](MailboxProgram& program) { return program.Compact(); };
    Folder folder;
    folder.index.replace(900, 22, 22, ' ');
    EXPECT_GT(StrikeEverywhere({compact, {{kA, "damaged", kC}, {kA, kC}}}, folder), 80);

    // A text that is lost, and with it the mail: both old files stay under whichever names.
    Folder lossy;
    lossy.index.replace(900, 20, "123456              ");
    lossy.text.replace(lossy.text.find(lossy.index.substr(900 + 76, 19)), 6, "------");
    const auto bothAreThere = [&lossy](const MemoryFileSystem& disk, bool, bool) {
        const bool textIsOld = disk.Get(kTextPath).value_or("").starts_with(lossy.text);
        const bool indexIsOld = disk.Get(kIndexPath).value_or("").starts_with(lossy.index);
        EXPECT_TRUE(textIsOld || disk.Get("/mail/Bank/Inbox.mtx.bak") == lossy.text);
        EXPECT_TRUE(indexIsOld || disk.Get("/mail/Bank/Inbox.loc.bak") == lossy.index);
    };
    EXPECT_GT(StrikeEverywhere({compact, {{kA, "damaged", kC}}, bothAreThere}, lossy), 80);

    // A text that somebody else removed: the list is still there when it comes back.
    const Folder whole;
    const auto refused = [](MailboxProgram& program) { return program.Compact() < 0 ? 0 : -1; };
    const auto listIsThere = [&whole](const MemoryFileSystem& disk, bool, bool) {
        EXPECT_TRUE(disk.Get(kIndexPath).value_or("").starts_with(whole.index));
    };
    EXPECT_GT(StrikeEverywhere({refused, {{"damaged", "damaged", "damaged"}}, listIsThere},
                               [&whole](MemoryFileSystem& disk) {
                                   whole.PutOn(disk);
                                   ASSERT_EQ(disk.Remove(kTextPath) + disk.SyncDirectory(kBankPath), 0);
                               }),
              40);
}

TEST(StoreCrash, SettingFlags) {
    Folder folder;
    const std::size_t text = std::stoul(folder.index.substr(900, 20));
    folder.index[900 + 24 + flag::kPosition8] = folder.text[text + flag::kPosition8] = 'Y';
    const auto mark = [](MailboxProgram& program) {
        return program.mailbox.MarkSent("Inbox", 1, true) + program.mailbox.SetRead("Inbox", 1, true);
    };
    const auto check = [&](const MemoryFileSystem& disk, bool done, bool powerCut) {
        for (const std::string& flags : {disk.Get(kIndexPath).value_or("").substr(924, 9),
                                         disk.Get(kTextPath).value_or("").substr(text, 9)}) {
            // Marked by half it does not go out again. Only a power cut takes "read" back.
            EXPECT_TRUE(flags[2] == 's' || flags.ends_with(" --y")) << flags;
            EXPECT_TRUE(flags[3] == 'R' || (flags[3] == 'r' && (!done || powerCut))) << flags;
            EXPECT_TRUE(!done || flags.starts_with("RoS")) << flags;
        }
    };
    EXPECT_GT(StrikeEverywhere({mark, {{kA, kB, kC}}, check}, folder), 80);
}

/// A failed append whose record is taken back, then one that the power ends.
TEST(StoreCrash, WhatWasTakenBackDoesNotComeBackAsAnother) {
    const Mails a{"A: text\r\n"}, d{a[0], "D: text\r\n"}, e{a[0], "E: text\r\n"}, de{a[0], d[1], e[1]};
    for (int fail = 1;; ++fail) {
        for (int stop = 1, struck = true; struck; ++stop) {
            MemoryFileSystem disk;
            disk.PutDirectory(kBankPath);
            MailboxProgram program(disk);
            ASSERT_EQ(program.Add("A"), 0);
            disk.FailCall(fail, -EIO);
            if (program.Add("D") == 0) return;
            disk.StopAtCall(stop);
            const bool done = program.Add("E") == 0;
            struck = !done;
            disk.PowerCut();
            const Mails mails = MailboxProgram(disk).Mails();
            EXPECT_TRUE(mails == e || mails == de || (!done && (mails == a || mails == d)))
                << fail << " " << stop << testing::PrintToString(mails);
        }
    }
}

TEST(StoreDamage, FilesCutAtEveryLengthAreAppendedTo) {
    const Folder folder;
    const Mails mails{kA, kB, kC};
    const std::string note("（ここから先は失われました）\r\n"_sjis);
    for (std::size_t length = 0; length <= folder.text.size() && !HasFailure(); ++length) {
        MemoryFileSystem disk;
        folder.PutOn(disk);
        disk.Put(kTextPath, folder.text.substr(0, length));
        MailboxProgram program(disk);
        program.clock.now.hour = 10;
        SCOPED_TRACE("text of " + std::to_string(length));
        ASSERT_EQ(program.Add("next"), 0);
        const Mails read = program.Mails();
        ASSERT_EQ(read.size(), 4U);
        for (std::size_t mail = 0; mail < 3; ++mail) {
            const std::size_t start = std::stoul(folder.index.substr(mail * 900, 20));
            const std::size_t end = folder.text.find("\x01\x01\r\n", start) + 4;
            const bool torn = start < length && length < end;
            const bool saysSo = read[mail] == "damaged" || read[mail].ends_with(note);
            EXPECT_TRUE(read[mail] == mails[mail] ? end <= length + 2 : saysSo) << read[mail];
            EXPECT_TRUE(torn || read[mail] == (end <= length ? mails[mail] : "damaged")) << read[mail];
            EXPECT_EQ(read[mail].find("next"), std::string::npos);
        }
        EXPECT_EQ(read[3], "next: text\r\n");
        ASSERT_EQ(program.Compact(), 0);
        EXPECT_EQ(program.Mails(), read);
    }
    for (std::size_t length = 890; length <= 1810 && !HasFailure(); ++length) {
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

/// A power cut can leave an index longer by what has not been written.
TEST(StoreDamage, AnIndexGrownByZerosHasNoMoreMails) {
    const Folder folder;
    const std::string row = folder.index.substr(1800);
    const std::vector<std::string> tails = {std::string(900, '\0'), std::string(300 * 900 + 17, '\0'),
                                            row.substr(0, 100) + std::string(800, '\0'),
                                            std::string(700, '\0') + row.substr(700)};
    for (const std::string& tail : tails) {
        SCOPED_TRACE(tail.size());
        MemoryFileSystem disk;
        folder.PutOn(disk);
        disk.Put(kIndexPath, folder.index + tail);
        MailboxProgram program(disk);
        program.clock.now.hour = 10;
        EXPECT_EQ(program.mailbox.CountMails("Inbox"), 3);
        EXPECT_EQ(program.Mails(), (Mails{kA, kB, kC}));
        ASSERT_EQ(program.Compact(), 0);
        EXPECT_EQ(disk.Get(kIndexPath)->size(), 3 * 900U);
        folder.PutOn(disk);
        disk.Put(kIndexPath, folder.index + tail);
        ASSERT_EQ(program.Add("next"), 0);
        EXPECT_EQ(program.Mails(), (Mails{kA, kB, kC, "next: text\r\n"}));
    }
    // Before a mail it is a damaged record, which compaction drops; one that still says something stays.
    for (const std::size_t zeros : {900U, 70U}) {
        MemoryFileSystem disk;
        folder.PutOn(disk);
        std::string index = folder.index;
        disk.Put(kIndexPath, index.replace(900, zeros, zeros, '\0'));
        MailboxProgram program(disk);
        EXPECT_EQ(program.Mails(), (Mails{kA, "damaged", kC}));
        ASSERT_EQ(program.mailbox.CompactIndex("Inbox"), 0);
        EXPECT_EQ(program.Mails(), zeros == 900 ? (Mails{kA, kC}) : (Mails{kA, "damaged", kC}));
        ASSERT_EQ(program.Compact(), 0);
        EXPECT_EQ(program.Mails(), zeros == 900 ? (Mails{kA, kC}) : (Mails{kA, kB, kC}));
    }
}

TEST(StoreDamage, OneDamagedRecordSpoilsNoOther) {
    // Behind the end, farther than the system can be asked for, no number, another mail.
    const std::vector<std::string> heads = {
        "99999               ",   "4611686018427387904 ", "9223372036854775000 ",
        "18446744073709551616",   "-1                  ", "12,5                ",
        std::string(900, '\xff'), "0                   ", "9                   ",
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
        EXPECT_TRUE(program.ui.messages.empty()) << "no fault of the disk";
        EXPECT_EQ(program.mailbox.MarkDeleted("Inbox", 1), 0);
        EXPECT_EQ(disk.Get(kTextPath), folder.text);
        EXPECT_EQ(program.mailbox.CompactIndex("Inbox"), 0);
        EXPECT_EQ(program.Mails(), (Mails{kA, kC}));
    }
}

/// A disk that fails and does not let everything be taken back either leaves no record without its text.
TEST(StoreCrash, WhatCannotBeTakenBackStaysWhole) {
    const Folder folder;
    bool struck = true;
    for (int call = 1; struck; ++call) {
        SCOPED_TRACE(call);
        MemoryFileSystem disk;
        folder.PutOn(disk);
        {
            MailboxProgram program(disk);
            disk.FailCall(call, -EIO);
            disk.FailCall(call + 1, -EIO);
            static_cast<void>(program.Add("D", "4\r\n"));
            struck = disk.struck();
        }
        disk.Restart();
        MailboxProgram program(disk);
        const Mails mails = program.Mails();
        EXPECT_TRUE(mails == Mails({kA, kB, kC}) || mails == Mails({kA, kB, kC, "D: 4\r\n"}))
            << testing::PrintToString(mails);
    }
}

}  // namespace
}  // namespace postkite::store
