#include "store/compaction.h"

#include <gtest/gtest.h>

#include <array>

#include "core/shift_jis.h"
#include "tests/store/mailbox_program.h"

namespace postkite::store {
namespace {

using namespace core::literals;

struct Compaction : InboxTest {
    void SetUp() override {
        InboxTest::SetUp();
        AddMails({"one", "two", "three", "four"});
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
    EXPECT_EQ(program.Subjects("Inbox"), (Names{"one", "three", "five"}));
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
        ASSERT_EQ(program.Compact(), 0);
        EXPECT_EQ(Text(), settled);
        EXPECT_EQ(Offset(1), one.size() + 2);
    }

    // A mail behind the two bytes, and deleted records that do not come back.
    ASSERT_EQ(program.Add("five"), 0);
    EXPECT_EQ(Offset(3), settled.size());
    ASSERT_EQ(mailbox.MarkDeleted("Inbox", 1), 0);
    ASSERT_EQ(program.Compact(), 0);
    EXPECT_EQ(program.Mails(), (Mails{"one: longer\r\n", "four: text\r\n", "five: text\r\n"}));
    EXPECT_EQ(Text(), one + "Ro" + four + TextOf(2));
    EXPECT_EQ(disk.Names(kBankPath), (Names{"Inbox.loc", "Inbox.mtx"}));
    EXPECT_TRUE(program.ui.messages.empty());
}

TEST_F(Compaction, WhereTextsAreLostBothOldFilesAreKept) {
    Patch(kTextPath, TextOf(1).substr(20, 20), "of nobody's mail----");
    // To another mail, into one, behind the end.
    for (const auto& [mail, further] : {std::pair(0U, 0U), {0U, 5U}, {3U, 5U}, {3U, 123456789U}}) {
        const std::size_t offset = Offset(mail) + further;
        SCOPED_TRACE(offset);
        const std::string number = disk.Exists("/mail/Bank/Inbox.mtx.bak") ? "2" : "";
        PointTo(1, offset);
        const std::string index = Index();
        const std::string text = Text();
        program.ui.messages.clear();
        ASSERT_EQ(program.Compact(), 0);
        EXPECT_EQ(program.Subjects("Inbox"), (Names{"one", "damaged", "three", "four"}));
        EXPECT_EQ(disk.Get("/mail/Bank/Inbox.mtx.bak" + number), text);
        EXPECT_EQ(disk.Get("/mail/Bank/Inbox.loc.bak" + number), index);
        ASSERT_EQ(program.ui.messages.size(), 1U);
        EXPECT_NE(program.ui.messages[0].text.find("Inbox.mtx.bak" + number), std::string::npos);
        if (number == "2") {
            ASSERT_EQ(disk.Remove("/mail/Bank/Inbox.mtx.bak2"), 0);
            ASSERT_EQ(disk.Remove("/mail/Bank/Inbox.loc.bak2"), 0);
        }
    }
    EXPECT_EQ(Text().substr(Offset(1), 4), "\x01\x01\r\n") << "what is left of a mail that is nowhere";
    EXPECT_EQ(Offset(2), Offset(1) + 4);
    // It is lost once: no further copies of both files are kept.
    program.ui.messages.clear();
    ASSERT_EQ(program.Compact(), 0);
    EXPECT_TRUE(program.ui.messages.empty());
    EXPECT_FALSE(disk.Exists("/mail/Bank/Inbox.mtx.bak2"));
}

/// Records that lead to a wrong place of the text in which their mails are.
TEST_F(Compaction, AMailIsLookedForByItsIdentifierBeforeItIsGivenUp) {
    const Mails mails = program.Mails();
    ASSERT_EQ(program.Compact(), 0);
    const std::string index = Index();
    const std::string text = Text();
    const std::string own = TextOf(2);
    std::string deleted = own;
    deleted[1] = 'x';
    // Two exchanged; bytes before all of them; a deleted copy before the mail, and alone.
    PointTo(1, Offset(3));
    PointTo(3, 50);
    ASSERT_EQ(program.Compact(), 0);
    EXPECT_EQ(program.Mails(), mails);
    for (const std::string& before :
         {std::string("bytes\r\n\x01\x01\r\n"), deleted, std::string(5000, 'x') + "\r\n"}) {
        disk.Put(kIndexPath, index);
        disk.Put(kTextPath, before + text);
        ASSERT_EQ(program.Compact(), 0);
        EXPECT_EQ(program.Mails(), mails) << before.substr(0, 10);
    }
    disk.Put(kIndexPath, index);
    std::string shifted = text;
    disk.Put(kTextPath,
             std::string(70, 'x') + "\r\n" + shifted.replace(shifted.find(own), own.size(), deleted));
    ASSERT_EQ(program.Compact(), 0);
    EXPECT_EQ(program.Mails(), mails);
    EXPECT_TRUE(program.ui.messages.empty());
    EXPECT_EQ(disk.Names(kBankPath), (Names{"Inbox.loc", "Inbox.mtx"}));

    // A text that another record leads to stays that one's, and one text is not two mails.
    disk.Put(kIndexPath, Index() + Moved(0, 12345) + Moved(0, 23456));
    ASSERT_EQ(program.Compact(), 0);
    EXPECT_EQ(program.Mails().size(), 6U);
    EXPECT_EQ(program.Mails()[4], "damaged");
    EXPECT_EQ(program.Mails()[5], "damaged");
}

TEST_F(Compaction, OneTerminatorIsAsGoodAsAnotherOnlyBehindTheHeader) {
    Patch(kTextPath, "three", "thr\x01\x01");
    const std::size_t header = TextOf(0).size() - 10;             // without the body and the terminator
    const std::size_t body = MAIL_BODY_MAX - 1 - header - 3 - 4;  // "big" is no longer than "one"
    ASSERT_EQ(program.Add("big", std::string(body, 'b') + "\r\n\n"), 0);
    ASSERT_EQ(program.Compact(), 0);
    EXPECT_TRUE(program.ui.messages.empty());
    EXPECT_EQ(program.Subjects("Inbox"), (Names{"one", "two", "thr\x01\x01", "four", "big"}));
    Patch(kTextPath, "bb\r\n\n", "bb\r\n\n\n");
    ASSERT_EQ(program.Compact(), 0);
    EXPECT_EQ(program.ui.messages.size(), 1U) << "no longer within the mail buffer";
    EXPECT_EQ(program.Mails().back(), "damaged");
}

TEST_F(Compaction, AFlagLineEndsAtAZeroByte) {
    // So this one says nothing of a line 17, and the mail has none, nor a body.
    std::string text = Text();
    text[Offset(3) + 2] = 0;
    constexpr std::string_view kBehindLine16 = "\r\ntext\r\n";
    text.erase(text.rfind(kBehindLine16), kBehindLine16.size());
    disk.Put(kTextPath, text);
    ASSERT_EQ(program.Mails().back(), "four: ");
    ASSERT_EQ(program.Compact(), 0);
    EXPECT_EQ(program.Mails().back(), "four: ");
    EXPECT_TRUE(program.ui.messages.empty());
}

TEST_F(Compaction, AListWithoutItsTextIsNotTouched) {
    ASSERT_EQ(mailbox.CompactText("Nowhere", [] {}), 0);
    ASSERT_EQ(disk.Remove(kTextPath), 0);
    MailRecord mail;
    EXPECT_EQ(mailbox.ReadMail("Inbox", 1, mail, 0), -1);
    EXPECT_EQ(mail.subject, "two") << "what the index knows";
    EXPECT_EQ(mailbox.SetRead("Inbox", 1, true), -1);
    ASSERT_EQ(mailbox.MarkDeleted("Inbox", 1), 0);
    const std::string index = Index();
    ASSERT_EQ(program.Compact(), -1);
    program.ExpectTold("フォルダ Inbox を処理できませんでした。（本文のファイルがありません）"_sjis);
    EXPECT_EQ(Index(), index);
    EXPECT_EQ(disk.Names(kBankPath), Names{"Inbox.loc"});
    // Where no mail is left there is nothing that could come back.
    for (const int number : {0, 2, 3})
        ASSERT_EQ(mailbox.MarkDeleted("Inbox", number), 0);
    ASSERT_EQ(program.Compact(), 0);
    ASSERT_EQ(program.Add("five"), 0);
    EXPECT_EQ(program.Mails(), Mails{"five: text\r\n"});
}

TEST_F(Compaction, AReaderThatItOvertakesReadsOn) {
    MailRecord mail;
    ASSERT_EQ(mailbox.ReadMail("Inbox", 0, mail, 0), 0);
    ASSERT_EQ(mailbox.ReplaceMail("Inbox", 0, mail), 0);  // the texts behind the old one will move
    FolderReader reader;
    ASSERT_EQ(reader.Open(mailbox.FilesOf("Inbox")), 0);
    ASSERT_EQ(reader.FindMail("nobody's"), -1) << "the whole list is read";
    MailboxProgram other(disk);
    ASSERT_EQ(other.Compact(), 0);
    for (const auto& [number, subject] : {std::pair(2, "three"), {0, "one"}}) {
        EXPECT_EQ(reader.ReadMail(number, 1000, mail), FolderReader::Condition::Whole);
        EXPECT_EQ(mail.subject, subject);
    }
}

/// What a program that was cut off left: old files in capitals, as other systems spell them.
struct Leftovers : Compaction {
    std::string oldIndex, oldText, newIndex, newText;
    const Mails newMails{"one: text\r\n", "three: text\r\n", "four: text\r\n"};
    const Mails oldMails{"one: text\r\n", "damaged", "three: text\r\n", "four: text\r\n"};

    void SetUp() override {
        Compaction::SetUp();
        ASSERT_EQ(mailbox.MarkDeleted("Inbox", 1), 0);
        oldIndex = Index();
        oldText = Text();
        ASSERT_EQ(program.Compact(), 0);
        newIndex = Index();
        newText = Text();
    }
    /// What a program reads that cannot finish anything, since another one has the lock.
    Mails MailsWhileLocked() {
        const std::vector<std::string> names = disk.Names(kBankPath);
        core::Workspace other(disk, "/mail");
        core::WorkspaceLock lock;
        EXPECT_EQ(other.Lock(false, lock), 0);
        Mails mails = MailboxProgram(disk).Mails();
        EXPECT_EQ(disk.Names(kBankPath), names);
        return mails;
    }
    void Put(const std::vector<std::pair<std::string, std::string>>& files) {
        for (const std::string& name : disk.Names(kBankPath))
            ASSERT_EQ(disk.Remove("/mail/Bank/" + name), 0);
        for (const auto& [name, bytes] : files)
            disk.Put("/mail/Bank/" + name, bytes);
    }
};

TEST_F(Leftovers, AnInterruptedCompactionIsFinishedOrThrownAway) {
    const std::pair<std::string, std::string> index{"INBOX.LOC", oldIndex}, text{"INBOX.MTX", oldText},
        smallT{"INBOX.$$t", newText}, smallL{"INBOX.$$l", newIndex}, bigT{"INBOX.$$T", newText},
        bigL{"INBOX.$$L", newIndex};
    const std::string lastIndex = newIndex.substr(0, 1000);
    const struct {
        const char* what;
        std::vector<std::pair<std::string, std::string>> files;
        bool isFinished;
    } cases[] = {
        {"new text alone", {index, text, {"INBOX.$$t", newText.substr(0, 100)}}, false},
        {"half an index beside both", {index, text, smallT, {"INBOX.$$l", lastIndex}}, false},
        {"both beside both", {index, text, smallT, smallL}, false},
        {"text removed by somebody, half an index", {index, smallT, {"INBOX.$$l", lastIndex}}, false},
        {"text out of the way", {index, smallT, smallL}, true},
        {"index follows its text", {index, {"INBOX.MTX", newText}, smallL}, true},
        {"older program, both old ones deleted", {bigT, bigL}, true},
        {"older program, index deleted", {text, bigT, bigL}, true},
        {"older program, index deleted, in other letters", {text, {"Inbox.$$T", newText}, bigL}, true},
        {"older program, text renamed", {{"INBOX.MTX", newText}, bigL}, true},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.what);
        Put(one.files);
        const bool hasText = one.files.size() > 1 && one.files[1].first == "INBOX.MTX";
        const Mails textless{"damaged", "damaged", "damaged", "damaged"};
        const Mails mails = one.isFinished ? newMails : hasText ? oldMails : textless;
        EXPECT_EQ(MailsWhileLocked(), mails);
        program.ui.messages.clear();
        EXPECT_EQ(program.Mails(), mails);
        for (const std::string& name : disk.Names(kBankPath))
            EXPECT_EQ(name.find("$$"), std::string::npos) << name;
        const bool isDoubtful = disk.Exists("/mail/Bank/INBOX.loc.new");
        EXPECT_EQ(isDoubtful, !one.isFinished && !hasText) << "the only text there is is not thrown away";
        EXPECT_EQ(program.ui.messages.size(), isDoubtful ? 2U : 0U);
        ASSERT_EQ(program.Add("next"), 0);
        EXPECT_EQ(program.Mails().size(), mails.size() + 1);
        EXPECT_EQ(program.Mails().back(), "next: text\r\n");
    }
}

TEST_F(Leftovers, AJournalIsCopiedAsOftenAsNeedBe) {
    const auto journal = [&](std::string header) {
        header.resize(64, ' ');
        return header + oldIndex.substr(1800);
    };
    for (const std::size_t done : {std::size_t{900}, std::size_t{1000}, oldIndex.size()}) {
        const std::string half = oldIndex.substr(0, 900) + oldIndex.substr(1800, done - 900) +
                                 oldIndex.substr(std::min(done, oldIndex.size()));
        Put({{"INBOX.LOC", half},
             {"INBOX.MTX", oldText},
             {"INBOX.$$i", journal("1 cut")},
             {"INBOX.$$i.$$$", "half"}});
        EXPECT_EQ(MailsWhileLocked(), newMails) << done;
        EXPECT_EQ(program.Mails(), newMails) << done;
        EXPECT_FALSE(disk.Exists("/mail/Bank/INBOX.$$i"));
        EXPECT_EQ(disk.Get("/mail/Bank/INBOX.LOC"), oldIndex.substr(0, 900) + oldIndex.substr(1800));
    }
    // What nobody here has written does not keep the folder shut, and does not take mails away.
    for (const std::string& header :
         {std::string(40, '9'), std::string("x"), std::string(), std::string("9 cut"), std::string("0 cut"),
          std::string("0 cut 2 4 123456"), std::string("1 cot")}) {
        Put({{"INBOX.LOC", oldIndex}, {"INBOX.MTX", oldText}, {"INBOX.$$i", journal(header)}});
        EXPECT_EQ(program.Mails(), oldMails) << header;
        EXPECT_EQ(disk.Get("/mail/Bank/INBOX.jnl.new"), journal(header)) << header;
    }
    Put({{"Inbox.$$i", journal("0 keep")}});
    EXPECT_EQ(program.Add("two"), 0);
    EXPECT_EQ(program.Mails(), Mails{"two: text\r\n"}) << "nor does one without an index";
}

/// A journal as it is now, which has a sum of what is in it.
TEST_F(Leftovers, AJournalThatIsNotAsItWasWrittenIsPutAside) {
    std::string journal;
    for (int call = 1; journal.empty(); ++call) {
        Put({{"Inbox.loc", oldIndex}, {"Inbox.mtx", oldText}});
        MailboxProgram killed(disk);
        disk.StopAtCall(call);
        ASSERT_EQ(killed.mailbox.RemoveMails("Inbox", std::array{0, 2}), -1);
        disk.Restart();
        journal = disk.Get("/mail/Bank/Inbox.$$i").value_or("");
    }
    ASSERT_EQ(journal.size(), 64 + 900U);
    EXPECT_TRUE(journal.starts_with("0 cut 1 4 "));
    EXPECT_EQ(MailboxProgram(disk).Mails(), Mails{"four: text\r\n"});
    int kept = 0;
    const auto expectPutAside = [&](const std::string& bytes, const std::string& index) {
        disk.Put(kIndexPath, index);
        disk.Put("/mail/Bank/Inbox.$$i", bytes);
        MailboxProgram next(disk);
        EXPECT_FALSE(next.Mails().empty());
        EXPECT_TRUE(disk.Get(kIndexPath) == index);
        const std::string name = "Inbox.jnl.new" + (++kept == 1 ? std::string() : std::to_string(kept));
        EXPECT_TRUE(disk.Get("/mail/Bank/" + name) == bytes) << "none is written over";
        ASSERT_EQ(next.ui.messages.size(), 1U);
        EXPECT_NE(next.ui.messages[0].text.find(name), std::string::npos);
        EXPECT_NE(disk.Get("/mail/error.log").value_or("").find(name), std::string::npos);
    };
    for (std::size_t at = 0; at < journal.size(); at += at < 64 ? 1 : 41) {
        std::string garbled = journal;
        garbled[at] ^= 4;
        expectPutAside(garbled, oldIndex);
    }
    for (const std::size_t length : {std::size_t{0}, std::size_t{30}, std::size_t{64}, std::size_t{500}})
        expectPutAside(journal.substr(0, length), oldIndex);
    // An index that has come back from somewhere, with more mails in it.
    expectPutAside(journal, oldIndex + oldIndex.substr(0, 900));
}

/// An index beside that nobody has a text for, or that has fewer mails than the one that is there.
TEST_F(Leftovers, AnIndexAloneTakesNoMailsAway) {
    for (const std::string& text : {oldText, newText}) {
        const std::string& index = text == oldText ? oldIndex : newIndex;
        const Mails& mails = text == oldText ? oldMails : newMails;
        for (const std::string& beside : {std::string(), newIndex.substr(0, 900), newIndex.substr(0, 1000),
                                          oldIndex.substr(0, 1800), std::string(2700, '\0')}) {
            SCOPED_TRACE(beside.size());
            Put({{"Inbox.loc", index}, {"Inbox.mtx", text}, {"Inbox.$$l", beside}});
            program.ui.messages.clear();
            EXPECT_EQ(program.Mails(), mails);
            EXPECT_EQ(disk.Get(kIndexPath), index);
            EXPECT_EQ(disk.Get("/mail/Bank/Inbox.loc.new"), beside);
            EXPECT_EQ(program.ui.messages.size(), 1U);
        }
    }
}

}  // namespace
}  // namespace postkite::store
