#include "store/compaction.h"

#include <gtest/gtest.h>

#include "tests/store/mailbox_program.h"

namespace postkite::store {
namespace {

using support::MemoryFileSystem;

constexpr auto kNothing = [] {};

struct Compaction : testing::Test {
    MemoryFileSystem disk;
    MailboxProgram program{disk};
    Mailbox& mailbox = program.mailbox;

    void SetUp() override {
        disk.PutDirectory("/mail/Bank");
        disk.PutDirectory("/state");
        for (const char* subject : {"one", "two", "three", "four"})
            ASSERT_EQ(program.Add(subject), 0);
    }
    std::string Index() { return disk.Get(kIndexPath).value_or("missing"); }
    std::string Text() { return disk.Get(kTextPath).value_or("missing"); }
    std::string IndexRecord(std::size_t number) { return Index().substr(number * 900, 900); }
    std::size_t Offset(std::size_t number) {
        return static_cast<std::size_t>(std::stoul(IndexRecord(number).substr(0, 20)));
    }
    /// A mail's bytes with its terminator.
    std::string TextOf(std::size_t number) {
        const std::size_t end = Text().find("\x01\x01\r\n", Offset(number)) + 4;
        return Text().substr(Offset(number), end - Offset(number));
    }
    /// The index record, moved to another place of the text.
    std::string Moved(std::size_t number, std::size_t offset) {
        std::string head = std::to_string(offset);
        head.resize(20, ' ');
        return head + IndexRecord(number).substr(20);
    }
};

TEST_F(Compaction, IndexLosesDeletedRecordsFromTheFirstOn) {
    ASSERT_EQ(mailbox.CompactIndex("Inbox"), 0);
    const std::string kept = IndexRecord(0) + IndexRecord(2);
    ASSERT_EQ(mailbox.MarkDeleted("Inbox", 1), 0);
    ASSERT_EQ(mailbox.MarkDeleted("Inbox", 3), 0);
    const std::string text = Text();
    // A torn record behind the last goes as well.
    disk.Put(kIndexPath, Index() + std::string(899, '7'));
    ASSERT_EQ(mailbox.CompactIndex("Inbox"), 0);
    EXPECT_EQ(Index(), kept);
    EXPECT_EQ(Text(), text);
    ASSERT_EQ(program.Add("five"), 0);
    EXPECT_EQ(program.Mails(), (Mails{"one: text\r\n", "three: text\r\n", "five: text\r\n"}));
    for (int number = 0; number < 3; ++number)
        ASSERT_EQ(mailbox.MarkDeleted("Inbox", number), 0);
    ASSERT_EQ(mailbox.CompactIndex("Inbox"), 0);
    EXPECT_EQ(Index(), "");
    EXPECT_EQ(mailbox.CompactIndex("Nowhere"), 0);
}

TEST_F(Compaction, TextKeepsTwoBytesBehindEachTerminator) {
    MailRecord mail;
    ASSERT_EQ(mailbox.ReadMail("Inbox", 0, mail, 0), 0);
    mail.body = "longer\r\n";
    ASSERT_EQ(mailbox.ReplaceMail("Inbox", 0, mail), 0);  // its old text is dead now, its new one last
    ASSERT_EQ(mailbox.MarkDeleted("Inbox", 2), 0);
    const std::string one = TextOf(0);
    const std::string two = TextOf(1) + "Rx";  // behind it stands the deleted one
    const std::string four = TextOf(3) + "Ro";
    const std::string text = one + two + four;
    const std::string index = Moved(0, 0) + Moved(1, one.size()) + Moved(3, one.size() + two.size());
    int mails = 0;
    ASSERT_EQ(mailbox.CompactText("Inbox", [&mails] { ++mails; }), 0);
    EXPECT_EQ(mails, 3);
    EXPECT_EQ(Text(), text);
    EXPECT_EQ(Index(), index);
    // The new text of the first mail was the last and is so no more; from now on nothing changes.
    const std::string settled = one + "Ro" + two + four;
    for (int run = 0; run < 2; ++run) {
        ASSERT_EQ(mailbox.CompactText("Inbox", kNothing), 0);
        EXPECT_EQ(Text(), settled);
        EXPECT_EQ(Offset(1), one.size() + 2);
    }

    // A mail behind the two bytes, and deleted records that do not come back.
    ASSERT_EQ(program.Add("five"), 0);
    EXPECT_EQ(Offset(3), settled.size());
    ASSERT_EQ(mailbox.MarkDeleted("Inbox", 1), 0);
    ASSERT_EQ(mailbox.CompactText("Inbox", kNothing), 0);
    EXPECT_EQ(program.Mails(), (Mails{"one: longer\r\n", "four: text\r\n", "five: text\r\n"}));
    EXPECT_EQ(Text(), one + "Ro" + four + TextOf(2));
    EXPECT_EQ(disk.Names("/mail/Bank"), (std::vector<std::string>{"Inbox.loc", "Inbox.mtx"}));
    EXPECT_TRUE(program.ui.messages.empty());
}

TEST_F(Compaction, WhereTextsAreLostTheOldFileIsKept) {
    std::string index = Index();
    index.replace(900, 20, "123456789           ");
    index.replace(1800, 20, "no number           ");
    disk.Put(kIndexPath, index);
    const std::string text = Text();
    const std::string four = TextOf(3);
    ASSERT_EQ(mailbox.CompactText("Inbox", kNothing), 0);
    EXPECT_EQ(program.Mails(), (Mails{"one: text\r\n", "damaged", "damaged", "four: text\r\n"}));
    EXPECT_EQ(Text().substr(Offset(1)), "\x01\x01\r\n\x01\x01\r\n" + four);
    EXPECT_EQ(disk.Get("/mail/Bank/Inbox.mtx.bak"), text);
    ASSERT_EQ(program.ui.messages.size(), 1U);
    EXPECT_NE(program.ui.messages[0].text.find("Inbox.mtx.bak"), std::string::npos);

    // The next loss is kept beside that.
    const std::string second = Text();
    disk.Put(kTextPath, second.substr(0, second.size() - 1));
    ASSERT_EQ(mailbox.CompactText("Inbox", kNothing), 0);
    EXPECT_EQ(disk.Get("/mail/Bank/Inbox.mtx.bak"), text);
    EXPECT_EQ(disk.Get("/mail/Bank/Inbox.mtx.bak2"), second.substr(0, second.size() - 1));
    EXPECT_EQ(program.Mails(), (Mails{"one: text\r\n", "damaged", "damaged", "damaged"}));
}

TEST_F(Compaction, TheTerminatorIsLookedForWithinTheMailBuffer) {
    const std::size_t header = TextOf(0).size() - 10;             // without the body and the terminator
    const std::size_t body = MAIL_BODY_MAX - 1 - header - 3 - 4;  // "big" is no longer than "one"
    ASSERT_EQ(program.Add("big", std::string(body, 'b') + "\r\n\n"), 0);
    ASSERT_EQ(TextOf(4).size(), MAIL_BODY_MAX - 1);
    ASSERT_EQ(mailbox.CompactText("Inbox", kNothing), 0);
    EXPECT_TRUE(program.ui.messages.empty());
    ASSERT_EQ(program.Add("big", std::string(body, 'b') + "\r\n\n\n"), 0);
    ASSERT_EQ(mailbox.CompactText("Inbox", kNothing), 0);
    EXPECT_EQ(program.ui.messages.size(), 1U);
    EXPECT_EQ(program.Mails().back(), "damaged");
}

TEST_F(Compaction, AMissingTextOrIndexIsNoFailure) {
    ASSERT_EQ(mailbox.CompactText("Nowhere", kNothing), 0);
    EXPECT_EQ(disk.Names("/mail/Bank").size(), 2U);
    ASSERT_EQ(disk.Remove(kTextPath), 0);
    ASSERT_EQ(mailbox.CompactText("Inbox", kNothing), 0);
    EXPECT_EQ(program.Mails(), (Mails{"damaged", "damaged", "damaged", "damaged"}));
    EXPECT_EQ(program.ui.messages.size(), 1U);
    ASSERT_EQ(program.Add("five"), 0);
    EXPECT_EQ(program.Mails().back(), "five: text\r\n");
}

/// What a program that was cut off left: old files in capitals, as other systems spell them.
struct Leftovers : Compaction {
    std::string newIndex;
    std::string newText;
    Mails oldMails;
    const Mails newMails{"one: text\r\n", "three: text\r\n", "four: text\r\n"};

    void SetUp() override {
        Compaction::SetUp();
        ASSERT_EQ(mailbox.MarkDeleted("Inbox", 1), 0);
        oldMails = program.Mails();
        const std::string oldIndex = Index();
        const std::string oldText = Text();
        ASSERT_EQ(mailbox.CompactText("Inbox", kNothing), 0);
        newIndex = Index();
        newText = Text();
        ASSERT_EQ(disk.Remove(kIndexPath) + disk.Remove(kTextPath), 0);
        disk.Put("/mail/Bank/INBOX.LOC", oldIndex);
        disk.Put("/mail/Bank/INBOX.MTX", oldText);
    }
    void ExpectMails(const Mails& mails) {
        EXPECT_EQ(FinishInterruptedChanges(mailbox.FilesOf("Inbox")), 0);
        EXPECT_EQ(program.Mails(), mails);
        EXPECT_EQ(disk.Names("/mail/Bank").size(), 2U) << testing::PrintToString(disk.Names("/mail/Bank"));
        ASSERT_EQ(program.Add("next"), 0);
        EXPECT_EQ(program.Mails().back(), "next: text\r\n");
    }
};

TEST_F(Leftovers, NewTextAloneIsThrownAway) {
    disk.Put("/mail/Bank/Inbox.$$t", newText.substr(0, 100));
    ExpectMails(oldMails);
}

TEST_F(Leftovers, BothNewFilesBesideBothOldOnesAreThrownAway) {
    disk.Put("/mail/Bank/Inbox.$$t", newText);
    disk.Put("/mail/Bank/Inbox.$$l", newIndex.substr(0, 1000));
    ExpectMails(oldMails);
}

TEST_F(Leftovers, BothNewFilesTakeThePlaceOfDeletedOldOnes) {
    ASSERT_EQ(disk.Remove("/mail/Bank/INBOX.LOC") + disk.Remove("/mail/Bank/INBOX.MTX"), 0);
    disk.Put("/mail/Bank/Inbox.$$t", newText);
    disk.Put("/mail/Bank/Inbox.$$l", newIndex);
    ExpectMails(newMails);
}

TEST_F(Leftovers, TheNewIndexFollowsItsText) {
    disk.Put("/mail/Bank/INBOX.MTX", newText);
    disk.Put("/mail/Bank/Inbox.$$l", newIndex);
    ExpectMails(newMails);
}

TEST_F(Leftovers, AJournalIsCopiedAsOftenAsNeedBe) {
    std::string header = "1 cut";
    header.resize(64, ' ');
    const std::string whole = disk.Get("/mail/Bank/INBOX.LOC").value_or("");
    const std::string journal = header + whole.substr(1800);
    disk.Put("/mail/Bank/Inbox.$$i.$$$", "half");
    for (const std::size_t done : {std::size_t{900}, std::size_t{1000}, whole.size()}) {
        disk.Put("/mail/Bank/INBOX.LOC", whole.substr(0, 900) + whole.substr(1800, done - 900) +
                                             whole.substr(std::min(done, whole.size())));
        disk.Put("/mail/Bank/Inbox.$$i", journal);
        EXPECT_EQ(program.Mails(), newMails) << done;
        EXPECT_FALSE(disk.Exists("/mail/Bank/Inbox.$$i"));
        EXPECT_EQ(disk.Get("/mail/Bank/INBOX.LOC"), whole.substr(0, 900) + whole.substr(1800));
    }
}

}  // namespace
}  // namespace postkite::store
