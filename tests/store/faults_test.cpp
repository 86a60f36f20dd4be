// Faults that the store once had: each lost a mail, or showed one as another.

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/store/mailbox_program.h"

namespace postkite::store {
namespace {

using support::MemoryFileSystem;

struct StoreFaults : testing::Test {
    MemoryFileSystem disk;
    MailboxProgram program{disk};
    Mailbox& mailbox = program.mailbox;
    void SetUp() override {
        disk.PutDirectory("/mail/Bank");
        disk.PutDirectory("/state");
    }
};

// 1. A header line that ends in 01 01 forms the terminator with its CR LF; compaction cuts the mail there.
TEST_F(StoreFaults, HeaderEndingLikeTheTerminator) {
    const Mails mails{"bad\x01\x01 : text\r\n", "two: text\r\n"};
    ASSERT_EQ(program.Add("bad\x01\x01"), 0);
    ASSERT_EQ(program.Add("two"), 0);
    ASSERT_EQ(program.Mails(), mails);
    ASSERT_EQ(mailbox.CompactText("Inbox", [] {}), 0);
    EXPECT_EQ(program.Mails(), mails);
}

// 2. An older program deletes .loc, then .mtx, then renames: stopped between the deletes, the new index is all.
TEST_F(StoreFaults, OldIndexDeletedOldTextStillThere) {
    ASSERT_EQ(program.Add("one") + program.Add("two"), 0);
    disk.Put("/mail/Bank/Inbox.$$t", *disk.Get(kTextPath));
    disk.Put("/mail/Bank/Inbox.$$l", *disk.Get(kIndexPath));
    ASSERT_EQ(disk.Remove(kIndexPath), 0);
    EXPECT_EQ(program.Mails(), (Mails{"one: text\r\n", "two: text\r\n"}));
}

// 3. A replace that fails changes the record's localId all the same: saving again finds nothing and returns 0.
TEST_F(StoreFaults, ReplaceAgainAfterAFullDisk) {
    ASSERT_EQ(program.Add("one"), 0);
    MailRecord mail;
    ASSERT_EQ(mailbox.ReadMail("Inbox", 0, mail, 0), 0);
    mail.subject = "edited";
    disk.ShortWrite(1, 0);
    ASSERT_EQ(mailbox.ReplaceMail("Inbox", 0, mail), -1);
    disk.Restart();
    MailboxProgram next(disk);
    ASSERT_EQ(next.mailbox.ReplaceMail("Inbox", 0, mail), 0);
    EXPECT_EQ(next.Mails(), Mails{"edited: text\r\n"});
}

// 4. Text shorter than the index says, then appended to: the damaged record now points into the new mail.
TEST_F(StoreFaults, MarkingADamagedRecordSpoilsAnotherMail) {
    ASSERT_EQ(program.Add("one") + program.Add("two"), 0);
    const std::size_t second = disk.Get(kTextPath)->size() / 2;
    disk.Put(kTextPath, "");
    ASSERT_EQ(program.Add("three", std::string(second, 'b') + "\r\nshort\r\n"), 0);
    const std::string before = program.Mails()[2];
    static_cast<void>(mailbox.SetRead("Inbox", 1, true));
    static_cast<void>(mailbox.MarkDeleted("Inbox", 1));
    EXPECT_TRUE(program.Mails()[2] == before);
    EXPECT_EQ(program.Mails()[0], "damaged");
}

// 5. A journal whose index is gone keeps the folder shut for ever.
TEST_F(StoreFaults, JournalWithoutIndex) {
    ASSERT_EQ(program.Add("one"), 0);
    std::string header = "0 keep";
    header.resize(64, ' ');
    disk.Put("/mail/Bank/Inbox.$$i", header + *disk.Get(kIndexPath));
    ASSERT_EQ(disk.Remove(kIndexPath), 0);
    EXPECT_EQ(program.Add("two"), 0);
}

// 6. A number that no 64 bits hold throws out of the store.
TEST_F(StoreFaults, JournalWithAHugeNumber) {
    ASSERT_EQ(program.Add("one"), 0);
    std::string header(40, '9');
    header.resize(64, ' ');
    disk.Put("/mail/Bank/Inbox.$$i", header);
    EXPECT_NO_THROW(static_cast<void>(program.Add("two")));
}

// 7. A disk fault while looking for the mail: 0, and nothing told, although nothing is stored.
TEST_F(StoreFaults, ReplaceOnABadDiskSaysItIsDone) {
    ASSERT_EQ(program.Add("one"), 0);
    MailRecord mail;
    ASSERT_EQ(mailbox.ReadMail("Inbox", 0, mail, 0), 0);
    for (int call = 1; call < 200; ++call) {
        MailRecord edited = mail;
        edited.subject = "edited";
        disk.Restart();
        MailboxProgram next(disk);
        disk.FailCall(call, -EIO);
        const int result = next.mailbox.ReplaceMail("Inbox", 0, edited);
        if (!disk.struck()) break;
        const bool stored = next.Mails() == Mails{"edited: text\r\n"};
        if (stored) break;
        EXPECT_TRUE(result == -1) << "call " << call;
    }
}

// 8. What a failed commit takes back is not synced: an append that fails, then one that a power cut ends.
TEST_F(StoreFaults, TakenBackRecordsComeBackAfterAPowerCut) {
    for (int fail = 1; fail < 60 && !HasFailure(); ++fail) {
        for (int stop = 1; stop < 60 && !HasFailure(); ++stop) {
            MemoryFileSystem files;
            files.PutDirectory("/mail/Bank");
            MailboxProgram one(files);
            ASSERT_EQ(one.Add("one"), 0);
            files.FailCall(fail, -EIO);
            if (one.Add("D", "dd\r\n") == 0) return;
            files.StopAtCall(stop);
            const bool done = one.Add("E") == 0;
            files.PowerCut();
            MailboxProgram next(files);
            const Mails mails = next.Mails();
            const Mails a{"one: text\r\n"}, d{a[0], "D: dd\r\n"}, e{a[0], "E: text\r\n"},
                de{a[0], d[1], e[1]};
            const bool right =
                done ? mails == e || mails == de : mails == a || mails == d || mails == e || mails == de;
            MailListEntry entry;
            bool same = true;
            MailRecord mail;
            for (int n = 0; n < next.mailbox.CountMails("Inbox"); ++n) {
                static_cast<void>(next.mailbox.ReadListEntry("Inbox", n, entry));
                same = same && next.mailbox.ReadMail("Inbox", n, mail, 0) == 0 &&
                       entry.subject.view().starts_with(mail.subject);
            }
            EXPECT_TRUE(right && same) << fail << " " << stop << testing::PrintToString(mails) << same;
        }
    }
}

}  // namespace
}  // namespace postkite::store
