#include "app/reply.h"

#include <cerrno>

#include "core/shift_jis.h"
#include "store/folder_properties.h"
#include "store/text_record.h"
#include "tests/store/mailbox_program.h"

namespace postkite::app {
namespace {

using namespace core::literals;
using store::MailRecord;

/// A program with a mail to be answered.
struct Replying : store::MailboxProgram {
    explicit Replying(support::MemoryFileSystem& disk) : MailboxProgram(disk) {
        settings.userId = "ABC01234";
        received.flags = store::kReceivedMailFlags;
        received.address = "ABC00123";
        received.name = "YAMADA TARO     ";
        received.date = "97/01/23 12:34 97/01/24 08:05";
        received.subject = "Re: news";
        received.body = "one\r\n\r\ntwo\r\n";
    }
    /// Adds a mail and answers it.
    int Answer(std::string_view folder, std::string_view text = {}) {
        MailRecord stored = received;
        EXPECT_EQ(mailbox.AppendMail(folder, stored, -1), 0);
        sourceId = stored.localId;
        return Answer(folder, mailbox.CountMails(folder) - 1, text);
    }
    int Answer(std::string_view folder, int number, std::string_view text = {}) {
        return MakeReply(mailbox, settings, clock, {folder, number}, "Outbox", text, reply);
    }
    MailRecord Made() {
        MailRecord record;
        EXPECT_EQ(mailbox.ReadMail("Outbox", reply.recordNumber, record, 0), 0);
        return record;
    }
    char Mark(std::string_view folder) {
        MailRecord record;
        EXPECT_EQ(mailbox.ReadMail(folder, mailbox.CountMails(folder) - 1, record, 0), 0);
        return record.flags[store::flag::kReply];
    }

    core::Settings settings;
    MailRecord received;
    std::string sourceId;
    Reply reply;
};

class ReplyTest : public testing::Test {
  protected:
    ReplyTest() { Prepare(disk_); }
    static void Prepare(support::MemoryFileSystem& disk) {
        disk.PutDirectory("/mail/Bank");
        disk.PutDirectory("/state");
    }

    support::MemoryFileSystem disk_;
    Replying program_{disk_};
};

TEST_F(ReplyTest, AReceivedMail) {
    std::string hostLine = "   1YAMADA TARO     12ABC00123";
    hostLine.resize(40, ' ');
    hostLine += "97/01/23 12:34";
    program_.received.body = hostLine + "\r\nSUBJECT:  Re: news\r\none\r\n\r\n> two\n/POST\r" + "three";
    program_.settings.signature = "3";
    program_.settings.replySubjectStyle = 1;
    program_.settings.quotationMark = "> ";
    ASSERT_EQ(program_.Answer("Inbox", "mine\r\n"), 0);
    const MailRecord made = program_.Made();
    EXPECT_EQ(made.flags, "Sosrr ---- 3P Y   ");
    EXPECT_EQ(made.address, "ABC00123");
    EXPECT_EQ(made.name, "YAMADA TARO");
    EXPECT_EQ(made.date.substr(0, 20), "97/01/24 08:05      ");
    EXPECT_EQ(made.subject, "Re^2:news");
    EXPECT_EQ(made.sourceId, program_.sourceId);
    EXPECT_EQ(made.messageId, "<9701240805.0001ABC01234>");
    EXPECT_EQ(made.localId, program_.reply.localId);
    std::string body("YAMADA TARO      さんの\r\n題名：Re: news\r\nに対する返信メールです。\r\n"_sjis);
    body += "> one\r\n>\r\n> > two\r\n> /POST\r\n> three\r\nmine\r\n";
    EXPECT_EQ(made.body, body);
    EXPECT_EQ(program_.Mark("Inbox"), 'R');
    EXPECT_TRUE(program_.ui.messages.empty());

    // A first line that the host did not write is the sender's.
    program_.received.body = "one\r\ntwo";
    program_.settings.signature = "0";
    ASSERT_EQ(program_.Answer("Inbox"), 0);
    EXPECT_TRUE(program_.Made().body.ends_with("> one\r\n> two\r\n"));
    EXPECT_EQ(program_.Made().flags[store::flag::kSignature], '0');
}

TEST_F(ReplyTest, WhereItGoes) {
    MailRecord& mail = program_.received;
    const auto goesTo = [this](std::string_view folder) {
        EXPECT_EQ(program_.Answer(folder), 0);
        return program_.Made().address;
    };
    mail.flags[store::flag::kKind] = 'N';
    mail.date = "97/01/23    12    11 FA";
    mail.body = "   12 97/01/23 ABC00123 title\r\n      97/01/23\r\ntext\r\n";
    EXPECT_EQ(goesTo("FA,mes3"), "/FA,MES3,12");
    EXPECT_TRUE(program_.Made().body.ends_with("\x81\x42\r\n>text\r\n")) << "without the host's lines";
    EXPECT_EQ(goesTo("Forums#FA,mes3"), "/FA,MES3,12");
    EXPECT_EQ(goesTo("Work"), "ABC00123") << "nobody knows the room any more";
    EXPECT_EQ(goesTo("FA,lib3"), "ABC00123");
    mail.date = "97/01/23";
    EXPECT_EQ(goesTo("FA,mes3"), "/FA,MES3");
    mail.flags = store::kComposedMailFlags;
    mail.address = "A,b@c";
    EXPECT_EQ(goesTo("FA,mes3"), "A,b@c");
}

TEST_F(ReplyTest, TheFolderSaysHowItBegins) {
    const store::FolderFiles files = program_.mailbox.FilesOf("Inbox");
    ASSERT_EQ(WriteFolderProperties(files, {"", "copy@x", "%a wrote:"}), 0);
    ASSERT_EQ(program_.Answer("Inbox"), 0);
    EXPECT_EQ(program_.Made().body, "copy@x\r\nABC00123 wrote:\r\n>one\r\n>\r\n>two\r\n");
    EXPECT_EQ(program_.Made().extraAddress, "copy@x");
    disk_.Put("/mail/Bank/Inbox.PROP", "PKV232 SETTING FILE\r\n\r\n");
    ASSERT_EQ(program_.Answer("Inbox"), 0);
    EXPECT_EQ(program_.Made().body, ">one\r\n>\r\n>two\r\n") << "an empty template is one that was chosen";
}

TEST_F(ReplyTest, WhatCannotBeAnsweredChangesNothing) {
    program_.ui.spoken = core::Language::English;
    const auto refuses = [this](int made, std::string_view reason) {
        EXPECT_EQ(made, -1) << reason;
        ASSERT_EQ(program_.ui.messages.size(), 1U) << reason;
        EXPECT_NE(program_.ui.messages[0].text.find(reason), std::string::npos)
            << program_.ui.messages[0].text;
        program_.ui.messages.clear();
        EXPECT_EQ(program_.mailbox.CountMails("Outbox"), 0);
    };
    refuses(program_.Answer("Inbox", 0), "Mail 0 is not there");
    program_.received.body = std::string(store::MAIL_BODY_MAX - 1100, 'a');
    refuses(program_.Answer("Inbox", std::string(80, 'b')), "too long");
    EXPECT_EQ(program_.Mark("Inbox"), 'r');
    ASSERT_EQ(program_.mailbox.MarkDeleted("Inbox", 0), 0);
    refuses(program_.Answer("Inbox", 0), "not there");
    ASSERT_EQ(program_.Add("damaged"), 0);
    std::string index = *disk_.Get(store::kIndexPath);
    disk_.Put(store::kIndexPath, index.replace(900, 10, "9999999999"));
    refuses(program_.Answer("Inbox", 1), "damaged");
    program_.settings.quotationMark = "\x01";
    program_.received.body = "\x01\r\n";
    refuses(program_.Answer("Inbox"), "mark that ends a mail");
}

TEST_F(ReplyTest, AReplyIsWholeOrAbsentAndTheMarkComesBehindIt) {
    bool struck = true;
    for (int call = 1; struck; ++call) {
        support::MemoryFileSystem disk;
        Prepare(disk);
        Replying program(disk);
        MailRecord stored = program.received;
        ASSERT_EQ(program.mailbox.AppendMail("Inbox", stored, -1), 0);
        disk.FailCall(call, -ENOSPC);
        const int made = program.Answer("Inbox", 0, "mine\r\n");
        struck = disk.struck();
        disk.Restart();
        const auto mails = program.Mails("Outbox");
        EXPECT_EQ(mails.size(), made == 0 ? 1U : 0U) << call;
        if (made == 0) {
            EXPECT_TRUE(mails[0].ends_with(">two\r\nmine\r\n")) << call;
            EXPECT_EQ(program.Mark("Inbox") == 'R', program.reply.marked) << call;
            EXPECT_EQ(program.ui.messages.empty(), program.reply.marked) << call;
        } else {
            EXPECT_EQ(program.Mark("Inbox"), 'r') << call;
            EXPECT_FALSE(program.ui.messages.empty()) << call;
        }
    }
}

}  // namespace
}  // namespace postkite::app
