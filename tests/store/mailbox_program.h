#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "store/mailbox.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::store {

using support::MemoryFileSystem;
using support::ShownMessage;
using Mails = std::vector<std::string>;
using Names = std::vector<std::string>;

constexpr const char* kBankPath = "/mail/Bank";
constexpr const char* kIndexPath = "/mail/Bank/Inbox.loc";
constexpr const char* kTextPath = "/mail/Bank/Inbox.mtx";

/// A program with the bank "Bank" open, on the files of a disk.
struct MailboxProgram {
    explicit MailboxProgram(MemoryFileSystem& disk) : workspace(disk, "/mail"), state(disk, "/state") {
        mailbox.SetBankDirectory("Bank");
    }

    support::FixedClock clock;
    core::IdentifierMaker identifiers{clock};
    support::RecordingUserInterface ui;
    core::Workspace workspace;
    core::Workspace state;
    Mailbox mailbox{workspace, state, ui, clock, identifiers};

    static MailRecord Mail(std::string_view subject, std::string_view body = "text\r\n") {
        MailRecord record;
        record.flags = kReceivedMailFlags;
        record.subject = subject;
        record.body = body;
        return record;
    }
    int AddTo(std::string_view folder, std::string_view subject, std::string_view body = "text\r\n") {
        MailRecord record = Mail(subject, body);
        return mailbox.AppendMail(folder, record, -1);
    }
    int Add(std::string_view subject, std::string_view body = "text\r\n") {
        return AddTo("Inbox", subject, body);
    }
    int Compact() {
        return mailbox.CompactText("Inbox", [] {});
    }
    /// Subject and body of every mail of a folder; "damaged" where it cannot be read.
    std::vector<std::string> Mails(std::string_view folder = "Inbox") {
        std::vector<std::string> mails;
        FolderReader reader;
        if (reader.Open(mailbox.FilesOf(folder)) < 0) return mails;
        MailRecord record;
        for (int number = 0; number < reader.CountMails(); ++number) {
            const auto condition = reader.ReadMail(number, MAIL_BODY_MAX - kReadHeadroomBytes, record);
            const bool damaged = condition == FolderReader::Condition::Damaged;
            mails.push_back(damaged ? "damaged" : record.subject + ": " + record.body);
        }
        return mails;
    }
    std::vector<std::string> Subjects(std::string_view folder) {
        std::vector<std::string> subjects = Mails(folder);
        for (std::string& subject : subjects)
            subject.resize(std::min(subject.find(": "), subject.size()));
        return subjects;
    }
    /// The only message that was shown.
    void ExpectTold(std::string_view text) {
        ASSERT_EQ(ui.messages.size(), 1U) << "for " << text;
        EXPECT_EQ(ui.messages[0], (ShownMessage{"Postkite", std::string(text), core::MessageIcon::Stop}));
        ui.messages.clear();
    }
};

/// An empty bank, and a program on it.
struct InboxTest : testing::Test {
    MemoryFileSystem disk;
    MailboxProgram program{disk};
    Mailbox& mailbox = program.mailbox;

    void SetUp() override {
        disk.PutDirectory(kBankPath);
        disk.PutDirectory("/state");
    }
    void AddMails(std::initializer_list<const char*> subjects) {
        for (const char* subject : subjects)
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
    /// Puts bytes on the disk that no writer would.
    void Patch(const char* path, std::string_view old, std::string_view bytes) {
        std::string content = disk.Get(path).value();
        content.replace(content.find(old), old.size(), bytes);
        disk.Put(path, content);
    }
    void PointTo(std::size_t number, std::size_t offset) {
        disk.Put(kIndexPath, Index().substr(0, number * 900) + Moved(number, offset) +
                                 Index().substr((number + 1) * 900));
    }
};

}  // namespace postkite::store
