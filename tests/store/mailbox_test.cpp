#include "store/mailbox.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "core/shift_jis.h"
#include "tests/store/mailbox_program.h"
#include "tests/store/older_folder.h"

namespace postkite::store {
namespace {

using namespace core::literals;
std::string Padded(std::string_view text, std::size_t width) {
    std::string field(text);
    field.resize(width, ' ');
    return field;
}

/// An index record, byte by byte; the texts in index order, the first nine of width 50, four of width 100.
std::string IndexBytes(std::size_t offset, const std::vector<std::string>& texts) {
    std::string bytes = Padded(std::to_string(offset), 20) + "30\r\n";
    for (std::size_t i = 0; i < 13; ++i)
        bytes += Padded(i < texts.size() ? texts[i] : "", i < 9 ? 50 : 100) + "\r\n";
    return bytes;
}

std::string TextBytes(const std::vector<std::string>& lines, std::string_view bodyAndLineEnd) {
    std::string bytes;
    for (const std::string& line : lines)
        bytes += line + "\r\n";
    return bytes + std::string(bodyAndLineEnd) + "\x01\x01\r\n";
}

using MailboxFiles = InboxTest;

TEST_F(MailboxFiles, AppendWritesTheBytesThatTheFilesAlwaysHad) {
    MailRecord mail;
    mail.flags = kComposedMailFlags;
    mail.address = std::string(49, 'a');
    mail.name = std::string(50, 'n');
    mail.date = "97/01/24 08:05";
    mail.subject = std::string(60, 's');
    mail.attach = std::string(48, 't') + "\x82\xa0" + "tail";    // the character ends at the width
    mail.sizeText = std::string(49, 'z') + "\x82\xa0" + "tail";  // the width cuts through the character
    mail.sourceId = std::string(51, 'o');
    mail.cc = std::string(2000, 'c');
    mail.bcc = "bcc";
    mail.extraAddress = "extra";
    mail.messageId = std::string(101, 'm');
    mail.spare1 = std::string(100, '1');
    mail.spare2 = mail.spare3 = mail.spare4 = "cleared";
    mail.spare5 = "five";
    mail.body = "no line end";
    MailRecord second = mail;
    const MailRecord whole = mail;
    ASSERT_EQ(mailbox.AppendMail("Inbox", mail, -1), 0);
    ASSERT_EQ(mailbox.AppendMail("Inbox", second, -1), 0);

    const std::string flags = "Sosrr ---- 0P Y   ";
    const std::string date = Padded("97/01/24 08:05", 50);
    const auto text = [&](const std::string& id) {
        return TextBytes(
            {flags, id, whole.address, whole.name, date, whole.subject, whole.attach, whole.cc, "bcc",
             "extra", whole.sizeText, whole.sourceId, whole.messageId, whole.spare1, "", "", "five"},
            "no line end\r\n");
    };
    const auto index = [&](std::size_t offset, const std::string& id) {
        return IndexBytes(offset, {flags, id, whole.address, whole.name, date, std::string(49, 's'),
                                   std::string(48, 't') + "\x82\xa0", std::string(49, 'z'),
                                   std::string(49, 'o'), std::string(99, 'm'), whole.spare1, "", ""});
    };
    // Of the two serial numbers that every append takes the second is used.
    const std::string first = text("970124080509-1000-1");
    EXPECT_EQ(Text(), first + text("970124080509-1000-3"));
    EXPECT_EQ(Index(), index(0, "970124080509-1000-1") + index(first.size(), "970124080509-1000-3"));
    EXPECT_EQ(mail.subject, std::string(49, 's'));
    EXPECT_EQ(mail.localId, "970124080509-1000-1");
    EXPECT_EQ(mailbox.lastWrittenFolder(), "Inbox");

    MailRecord read;
    ASSERT_EQ(mailbox.ReadMail("Inbox", 1, read, 0), 0);
    EXPECT_EQ(read.subject, whole.subject);
    EXPECT_EQ(read.messageId, whole.messageId);
    EXPECT_EQ(read.spare5, "five");
    EXPECT_EQ(read.body, "no line end\r\n");
    MailListEntry entry;
    ASSERT_EQ(mailbox.ReadListEntry("Inbox", 0, entry), 0);
    EXPECT_EQ(entry.date.view(), date);
    EXPECT_EQ(entry.attach.view(), std::string(48, 't') + "\x82\xa0");
    EXPECT_EQ(entry.messageId.view(), std::string(99, 'm'));
    EXPECT_EQ(mailbox.ReadListEntry("Inbox", 2, entry), -1);
}

TEST_F(MailboxFiles, BodiesKeepTheirEnds) {
    ASSERT_EQ(program.Add("empty", ""), 0);
    ASSERT_EQ(program.Add("open", "open"), 0);
    ASSERT_EQ(program.Add("ended", "ended\r\n"), 0);
    ASSERT_EQ(program.Add("ones", "ones\x01\x01"), 0);
    ASSERT_EQ(program.Add("last", "\x01\x01\n\x01"), 0);
    EXPECT_EQ(program.Mails(), (Mails{"empty: \r\n", "open: open\r\n", "ended: ended\r\n",
                                      "ones: ones\x01\x01 \r\n", "last: \x01\x01\n\x01\r\n"}));
    EXPECT_TRUE(Text().ends_with("\r\n\x01\x01\n\x01\r\n\x01\x01\r\n"));
}

TEST_F(MailboxFiles, WhatWouldBreakTheFilesIsRefusedBeforeAnythingIsWritten) {
    ASSERT_EQ(program.Add("first"), 0);
    const std::string files = Index() + Text();
    const std::vector<std::function<void(MailRecord&)>> faults = {
        [](MailRecord& mail) { mail.body = "a\x01\x01\r\nb"; },
        [](MailRecord& mail) { mail.body = std::string(MAIL_BODY_MAX, 'b'); },
        [](MailRecord& mail) { mail.flags = std::string(51, ' '); },
        [](MailRecord& mail) { mail.subject = "a\rb"; },
        [](MailRecord& mail) { mail.cc = "a\r\nb"; },
        [](MailRecord& mail) { mail.spare5 = std::string("a\0b", 3); },
    };
    for (const auto& spoil : faults) {
        for (const int place : {-1, 0}) {
            MailRecord mail = MailboxProgram::Mail("bad");
            spoil(mail);
            EXPECT_EQ(mailbox.AppendMail("Inbox", mail, place), -1);
        }
        MailRecord mail = MailboxProgram::Mail("bad");
        ASSERT_EQ(mailbox.ReadMail("Inbox", 0, mail, 0), 0);
        spoil(mail);
        EXPECT_EQ(mailbox.ReplaceMail("Inbox", 0, mail), -1);
    }
    MailRecord mail = MailboxProgram::Mail("nowhere");
    EXPECT_EQ(mailbox.AppendMail("Inbox", mail, 1), -1) << "a record that is not there cannot be replaced";
    EXPECT_EQ(Index() + Text(), files);
    EXPECT_EQ(program.ui.messages.size(), faults.size() * 3 + 1);
    // One that is too large does not take the others of the same commit along.
    const auto writer = mailbox.OpenWriter("Inbox");
    MailRecord large = MailboxProgram::Mail("large", std::string(MAIL_BODY_MAX, 'b'));
    MailRecord small = MailboxProgram::Mail("small");
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(mailbox.AppendTo(*writer, large), -EMSGSIZE);
    EXPECT_EQ(mailbox.AppendTo(*writer, small) + mailbox.Commit(*writer, "Inbox"), 0);
    EXPECT_EQ(program.Subjects("Inbox"), (Names{"first", "small"}));
}

TEST_F(MailboxFiles, ReplacingKeepsThePlaceAndMarksTheOldText) {
    AddMails({"one", "two", "three"});
    std::string oldText = Text();
    const std::string oldIndex = Index();
    const std::size_t start = Offset(1);
    MailRecord mail;
    ASSERT_EQ(mailbox.ReadMail("Inbox", 1, mail, 0), 0);
    const std::string oldId = mail.localId;
    mail.subject = "new two";
    mail.localId += "  ";
    ASSERT_EQ(mailbox.ReplaceMail("Inbox", 0, mail), 0);
    EXPECT_NE(mail.localId, oldId);
    EXPECT_EQ(mailbox.FindMail("Inbox", mail.localId), 1);
    EXPECT_EQ(mailbox.FindMail("Inbox", oldId), -1);
    EXPECT_EQ(program.Mails(), (Mails{"one: text\r\n", "new two: text\r\n", "three: text\r\n"}));

    oldText[start + 1] = 'x';
    EXPECT_EQ(Text(), oldText + TextOf(1));
    EXPECT_EQ(Offset(1), oldText.size());
    EXPECT_EQ(IndexRecord(0) + IndexRecord(2), oldIndex.substr(0, 900) + oldIndex.substr(1800));

    const std::string text = Text();
    mail.localId = "nobody's";
    EXPECT_EQ(mailbox.ReplaceMail("Inbox", 1, mail), 0);
    EXPECT_EQ(mailbox.ReplaceMail("Nowhere", 1, mail), 0);
    EXPECT_EQ(Text(), text);
}

TEST_F(MailboxFiles, ReplacingWhatTheIndexLeadsNowhereForSpoilsNoOther) {
    AddMails({"one", "two", "three"});
    MailRecord mail;
    ASSERT_EQ(mailbox.ReadMail("Inbox", 1, mail, 0), 0);
    for (const std::size_t offset :
         {Offset(0), Offset(0) + 7, Offset(2), Text().size(), std::size_t{1} << 20U, std::size_t{1} << 61U}) {
        PointTo(1, offset);
        const std::string text = Text();
        ASSERT_EQ(mailbox.ReplaceMail("Inbox", 1, mail), 0);
        EXPECT_EQ(program.Subjects("Inbox"), (Names{"one", "two", "three"}));
        EXPECT_TRUE(Text() == text + TextOf(1)) << offset;
    }
}

TEST_F(MailboxFiles, AReplacementThatFailsIsToldAndCanBeTriedAgain) {
    bool struck = true;
    for (int round = 2; struck; ++round) {
        SCOPED_TRACE(round);
        MemoryFileSystem fresh;
        fresh.PutDirectory(kBankPath);
        MailboxProgram one(fresh);
        ASSERT_EQ(one.Add("one"), 0);
        MailRecord mail;
        ASSERT_EQ(one.mailbox.ReadMail("Inbox", 0, mail, 0), 0);
        mail.subject = "edited";
        fresh.FailCall(round / 2, round % 2 == 0 ? -EIO : -ENOSPC);
        const int result = one.mailbox.ReplaceMail("Inbox", 0, mail);
        struck = fresh.struck();
        EXPECT_EQ(one.ui.messages.empty(), result == 0);
        EXPECT_EQ(result == 0 ? 0 : one.mailbox.ReplaceMail("Inbox", 0, mail), 0);
        EXPECT_EQ(one.Mails(), Mails{"edited: text\r\n"});
    }
}

TEST_F(MailboxFiles, AReadThatFailsIsNoMissingMail) {
    AddMails({"one", "two"});
    const std::pair<std::function<int()>, int> reads[] = {
        {[this] { return mailbox.CountMails("Inbox"); }, 2},
        {[this] { return mailbox.FindMail("Inbox", "970124080509-1000-3"); }, 1}};
    for (const auto& [read, expected] : reads) {
        bool struck = true;
        for (int call = 1; struck; ++call) {
            program.ui.messages.clear();
            disk.FailCall(call, -EIO);
            const int result = read();
            EXPECT_EQ(result, program.ui.messages.empty() ? expected : -1) << expected << " at " << call;
            struck = disk.struck();
            disk.Restart();
        }
    }
    for (int call = 1; call < 100; ++call) {
        FolderReader reader;
        MailRecord mail;
        disk.StopAtCall(call);
        const bool opened = reader.Open(mailbox.FilesOf("Inbox")) == 0;
        if (opened && reader.ReadMail(1, 1000, mail) == FolderReader::Condition::Damaged) {
            EXPECT_LT(reader.error(), 0) << call;
        }
        disk.Restart();
    }
}

TEST_F(MailboxFiles, ReadingStopsAtTheLimitOfTheMode) {
    // The body, its CR LF and the terminator fit exactly; with one byte more they do not.
    ASSERT_EQ(program.Add("fits", std::string(28994, 'f')), 0);
    ASSERT_EQ(program.Add("over", std::string(29001, 'o')), 0);
    ASSERT_EQ(program.Add("huge", "HERE\r\n"), 0);
    Patch(kTextPath, "HERE", std::string(MAIL_BODY_MAX, 'h'));  // no writer stores that much
    MailRecord mail;
    ASSERT_EQ(mailbox.ReadMail("Inbox", 0, mail, 1), 0);
    EXPECT_EQ(mail.body, std::string(28994, 'f') + "\r\n");
    ASSERT_EQ(mailbox.ReadMail("Inbox", 1, mail, 1), 0);
    EXPECT_EQ(mail.body, std::string(29000, 'o'));
    ASSERT_EQ(mailbox.ReadMail("Inbox", 1, mail, 0), 0);
    EXPECT_EQ(mail.body, std::string(29001, 'o') + "\r\n");
    ASSERT_EQ(mailbox.ReadMail("Inbox", 2, mail, 0), 0);
    EXPECT_EQ(mail.body, std::string(MAIL_BODY_MAX - 1000, 'h'));
    EXPECT_EQ(mailbox.ReadMail("Inbox", 3, mail, 0), -1);
    EXPECT_EQ(mailbox.ReadMail("Inbox", -1, mail, 0), -1);
    EXPECT_EQ(mailbox.ReadMail("Nowhere", 0, mail, 0), -1);
}

TEST_F(MailboxFiles, FindIgnoresBlanksBehindAndTakesTheFirst) {
    AddMails({"one", "two", "three"});
    disk.Put(kIndexPath, Index().replace(2 * 900 + 76, 50, IndexRecord(1).substr(76, 50)));
    for (const char* id : {"970124080509-1000-3", "970124080509-1000-3    "})
        EXPECT_EQ(mailbox.FindMail("Inbox", id), 1);
    for (const char* id : {" 970124080509-1000-3", "970124080509-1000-", ""})
        EXPECT_EQ(mailbox.FindAndDeleteMail("Inbox", id), -1);
    EXPECT_EQ(mailbox.FindAndDeleteMail("Inbox", "970124080509-1000-3 "), 1);
    EXPECT_EQ(program.Subjects("Inbox"), (Names{"one", "damaged", "damaged"}))
        << "the third record bears an identifier that its text does not";
}

TEST_F(MailboxFiles, FlagsStandInBothFiles) {
    AddMails({"one", "two"});
    std::string index = Index();
    std::string text = Text();
    const std::size_t start = text.size() / 2;
    const auto expect = [&](std::string_view flags) {
        EXPECT_EQ(Index(), index.replace(900 + 24, flags.size(), flags));
        EXPECT_EQ(Text(), text.replace(start, flags.size(), flags));
    };
    EXPECT_EQ(mailbox.SetRead("Inbox", 1, true), 0);
    EXPECT_EQ(mailbox.SetPosition8("Inbox", 1, true), 0);
    EXPECT_EQ(mailbox.SetCharacter5("Inbox", 1, '*'), 0);
    EXPECT_EQ(mailbox.SetDigit("Inbox", 1, 7), 0);
    EXPECT_EQ(mailbox.SetFlag("Inbox", 1, 17, 'q'), 0);
    expect("RosRr*--Y7 OP Y  q");
    EXPECT_EQ(mailbox.SetRead("Inbox", 1, false), 0);
    EXPECT_EQ(mailbox.SetPosition8("Inbox", 1, false), 0);
    expect("Rosrr*--y7 OP Y  q");

    EXPECT_EQ(mailbox.SetFlag("Inbox", 1, 18, 'q'), -1) << "behind the end of the flag line";
    EXPECT_EQ(mailbox.SetFlag("Inbox", 1, 1000, 'q'), -1);
    EXPECT_EQ(mailbox.SetFlag("Inbox", 1, 5, '\r'), -1);
    EXPECT_EQ(mailbox.SetRead("Inbox", 2, true), -1);
    EXPECT_EQ(mailbox.SetRead("Inbox", -1, true), -1);
    EXPECT_EQ(mailbox.SetRead("Nowhere", 0, true), -1);
    expect("");

    // A flag line of another program's that is wider than its field, and a torn record.
    text.insert(start + 18, 42, ' ');
    index += index.substr(900, 500);
    disk.Put(kTextPath, text);
    disk.Put(kIndexPath, index);
    EXPECT_EQ(mailbox.SetFlag("Inbox", 1, 50, 'q'), -1);
    EXPECT_EQ(mailbox.SetRead("Inbox", 2, true), -1);
    expect("");
}

TEST_F(MailboxFiles, MarkingSentStampsTheDate) {
    MailRecord mail = MailboxProgram::Mail("short date");
    mail.date = "97/01/20 10:00";
    ASSERT_EQ(mailbox.AppendMail("Inbox", mail, -1), 0);
    const std::size_t second = Text().size();
    mail = MailboxProgram::Mail("long date");
    mail.date = "97/01/21 11:00" + std::string(37, 'd');
    ASSERT_EQ(mailbox.AppendMail("Inbox", mail, -1), 0);
    std::string index = Index();
    std::string text = Text();
    for (const int number : {0, 1})
        ASSERT_EQ(mailbox.MarkSent("Inbox", number, true), 0);

    index.replace(24, 9, "RoSrr --y");
    index.replace(232, 50, Padded("97/01/20 10:00 97/01/24 08:05", 50));
    index.replace(900 + 24, 9, "RoSrr --y");
    index.replace(900 + 232, 50, Padded("97/01/21 11:00d97/01/24 08:05", 50));
    text.replace(0, 9, "RoSrr --y");
    text.replace(text.find("97/01/20"), 50, Padded("97/01/20 10:00 97/01/24 08:05", 50));
    text.replace(second, 9, "RoSrr --y");  // a line of another length stays
    EXPECT_EQ(Index(), index);
    EXPECT_EQ(Text(), text);

    program.clock.now.hour = 9;
    ASSERT_EQ(mailbox.SetPosition8("Inbox", 0, true), 0);
    ASSERT_EQ(mailbox.MarkSent("Inbox", 0, false), 0);
    index.replace(24, 9, "Rosrr --Y");
    text.replace(0, 9, "Rosrr --Y");
    EXPECT_EQ(Index(), index) << "not sent: that flag alone";
    EXPECT_EQ(Text(), text);

    // A flag line that ends before the reservation: nothing is marked by half.
    Patch(kTextPath, text.substr(0, 18), "Rosrr --");
    text = Text();
    EXPECT_EQ(mailbox.MarkSent("Inbox", 0, true), -1);
    EXPECT_EQ(Index(), index);
    EXPECT_EQ(Text(), text);
}

TEST_F(MailboxFiles, MarkingDeletedChangesTheseBytesAlone) {
    AddMails({"one", "two"});
    std::string index = Index();
    std::string text = Text();
    ASSERT_EQ(mailbox.MarkDeleted("Inbox", 1), 0);
    text[text.size() / 2 + 1] = 'x';
    index[900 + 25] = 'x';
    index.replace(900, 22, 22, ' ');
    EXPECT_EQ(Index(), index);
    EXPECT_EQ(Text(), text);
    EXPECT_EQ(mailbox.CountMails("Inbox"), 2) << "in the list until the index is compacted";
    EXPECT_EQ(mailbox.SetRead("Inbox", 1, true), -1);
    EXPECT_EQ(mailbox.MarkDeleted("Inbox", 1), -1);
    EXPECT_EQ(Index(), index);
    disk.Put(kIndexPath, index.substr(0, 1799));
    EXPECT_EQ(mailbox.CountMails("Inbox"), 1);
}

TEST_F(MailboxFiles, ServerListModeWritesToTheServersFolder) {
    mailbox.SetServerListMode(true);
    ASSERT_EQ(program.Add("stored", std::string(12004, 'b')), 0);
    mailbox.SetServerListMode(false);
    EXPECT_EQ(mailbox.lastWrittenFolder(), "server");
    EXPECT_EQ(mailbox.CountMails("Inbox"), 0);
    MailListEntry entry;
    ASSERT_EQ(mailbox.ReadListEntry("server", 0, entry), 0);
    EXPECT_EQ(entry.sizeText.view(), "  13 Kbyte");
    EXPECT_EQ(entry.flags.view(), Padded("Rosrr ---- OPSY   ", 50));
}

TEST_F(MailboxFiles, FilesAreMadeAndTheClipboardLiesOutsideTheBanks) {
    EXPECT_EQ(mailbox.CreateFolderFiles("Work#97"), 0);
    EXPECT_EQ(disk.Get("/mail/Bank/Work#97.loc"), "");
    EXPECT_FALSE(disk.Exists("/mail/Bank/Work#97.mtx"));
    ASSERT_EQ(program.Add("kept"), 0);
    EXPECT_EQ(mailbox.CreateFolderFiles("INBOX"), 0) << "there already";
    EXPECT_EQ(program.Mails(), Mails{"kept: text\r\n"});
    EXPECT_EQ(mailbox.CreateFolderFiles("..\\out"), 2);
    EXPECT_EQ(
        program.ui.messages.back(),
        (ShownMessage{"Postkite", std::string("メールボックスファイルの初期化ができませんでした。"_sjis),
                      core::MessageIcon::Stop}));

    MailRecord mail = MailboxProgram::Mail("clip");
    ASSERT_EQ(mailbox.AppendMail(kClipboardFolder, mail, -1), 0);
    EXPECT_EQ(disk.Names("/state"),
              (std::vector<std::string>{"$PostkiteClipFile$.loc", "$PostkiteClipFile$.mtx"}));
    EXPECT_EQ(mailbox.DeleteClipboardFiles(), 0);
    EXPECT_TRUE(disk.Names("/state").empty());
    EXPECT_EQ(mailbox.DeleteClipboardFiles(), 0);
}

TEST_F(MailboxFiles, AFolderOfAnOlderLayoutIsLeftAlone) {
    for (const FolderLayout layout : {FolderLayout::V1, FolderLayout::V2}) {
        const OlderFolder older = MakeOlderFolder(layout, 3);
        disk.Put(kIndexPath, older.index);
        disk.Put(kTextPath, older.text);
        program.ui.messages.clear();
        MailRecord mail = MailboxProgram::Mail("new");
        for (const int result :
             {mailbox.AppendMail("Inbox", mail, -1), mailbox.SetRead("Inbox", 0, true),
              mailbox.MarkDeleted("Inbox", 0), mailbox.CompactIndex("Inbox"), program.Compact(),
              mailbox.ReadMail("Inbox", 0, mail, 0), mailbox.CountMails("Inbox")})
            EXPECT_EQ(result, -1);
        EXPECT_EQ(program.ui.messages.size(), 7U);
        EXPECT_EQ(Index() + Text(), older.index + older.text);
    }
}

}  // namespace
}  // namespace postkite::store
