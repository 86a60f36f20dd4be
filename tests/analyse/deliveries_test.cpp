#include "analyse/deliveries.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/store/mailbox_program.h"

namespace postkite::analyse {
namespace {

using store::MailRecord;

struct DeliveriesTest : store::InboxTest {};

TEST_F(DeliveriesTest, WhatIsMadeStorableIsWhatIsReadBack) {
    const std::string mark = "\x01\x01\r\n";
    const std::string endless(store::MAIL_BODY_MAX * 2, 'x');
    const struct {
        std::string body;
        std::string stored;
    } kBodies[] = {
        {"", "\r\n"},
        {"a", "a\r\n"},
        {"a\n", "a\n"},
        {"a\x01\x01", "a\x01\x01 \r\n"},
        {"a" + mark + mark + "b\r\n", "a\x01\x01 \r\n\x01\x01 \r\nb\r\n"},
        {std::string("a\0\0b\r\n", 6), "a  b\r\n"},
        {"\x01\x01\r", "\x01\x01\r\r\n"},
        {endless, ""},
        {std::string(store::MAIL_BODY_MAX - store::kReadHeadroomBytes - 6, 'x') + "\x01\x01", ""},
        {"a\x83" + endless, ""},
    };
    for (const auto& [body, stored] : kBodies) {
        MailRecord record = program.Mail(std::string("a\r\nb\0c", 6), body);
        // A long header takes room from the body.
        const bool shortHeader = body.size() > 1000 && body.ends_with('\x01');
        record.address = shortHeader ? "a" : endless;
        const bool cut = MakeStorable(record);
        EXPECT_EQ(cut, stored.empty());
        EXPECT_EQ(record.subject, "a  b c");
        EXPECT_EQ(record.address.size(), shortHeader ? 1U : 2499U);
        EXPECT_TRUE(stored.empty() || record.body == stored) << testing::PrintToString(stored);
        const std::string made = record.body;
        EXPECT_FALSE(MakeStorable(record)) << "once is enough";
        EXPECT_TRUE(record.body == made);
        const int number = mailbox.CountMails("Inbox");
        ASSERT_EQ(mailbox.AppendMail("Inbox", record, -1), 0);
        store::FolderReader reader;
        ASSERT_EQ(reader.Open(mailbox.FilesOf("Inbox")), 0);
        EXPECT_EQ(reader.ReadMail(number, store::MAIL_BODY_MAX - store::kReadHeadroomBytes, record),
                  store::FolderReader::Condition::Whole);
        EXPECT_TRUE(record.body == made);
    }
    ASSERT_EQ(program.Compact(), 0);
    EXPECT_TRUE(program.ui.messages.empty()) << "compaction finds the end of each";
}

TEST_F(DeliveriesTest, MoreFoldersThanCanBeOpenAndOneInAnyLetterCase) {
    constexpr int kFolders = 115;
    int begun = 0;
    Deliveries deliveries(mailbox, [&begun](std::string_view) { return ++begun, 0; });
    for (int round = 0; round < 2; ++round) {
        for (int number = 0; number < kFolders; ++number) {
            MailRecord mail = program.Mail(std::to_string(round));
            const std::string folder = (round == 0 ? "room" : "ROOM") + std::to_string(number);
            ASSERT_EQ(deliveries.Deliver(folder, mail), 0) << folder;
        }
    }
    EXPECT_FALSE(deliveries.allCommitted());
    EXPECT_EQ(deliveries.Finish(), 0);
    EXPECT_EQ(deliveries.committed(), 2 * kFolders);
    EXPECT_EQ(begun, kFolders);
    for (int number = 0; number < kFolders; ++number)
        EXPECT_EQ(program.Subjects("room" + std::to_string(number)), (store::Names{"0", "1"})) << number;
}

TEST_F(DeliveriesTest, AFolderThatFailsTakesTheBatchBack) {
    int allowed = 0;
    Deliveries deliveries(mailbox, [&](std::string_view folder) { return folder == "A" ? allowed : 0; });
    MailRecord mail = program.Mail("1");
    EXPECT_EQ(deliveries.Deliver("Inbox", mail), 0);
    EXPECT_EQ(deliveries.OpenFolder("no\\name"), -1) << "its mail can go elsewhere";
    EXPECT_EQ(program.ui.messages.size(), 1U);
    EXPECT_TRUE(deliveries.complete());
    allowed = -EACCES;
    EXPECT_EQ(deliveries.Deliver("A", mail), -1);
    allowed = 0;
    EXPECT_EQ(deliveries.OpenFolder("A"), 0) << "its mail must not go elsewhere";
    EXPECT_EQ(deliveries.Deliver("A", mail), -1) << "never again";
    EXPECT_EQ(deliveries.Deliver("Inbox", mail), -1) << "nothing behind what was taken back";
    EXPECT_TRUE(deliveries.takenBack());
    EXPECT_EQ(program.ui.messages.size(), 2U);
    EXPECT_EQ(deliveries.Finish(), -1);
    EXPECT_EQ(deliveries.committed(), 0);
    EXPECT_TRUE(program.Subjects("Inbox").empty());
    EXPECT_TRUE(program.Subjects("A").empty());
}

}  // namespace
}  // namespace postkite::analyse
