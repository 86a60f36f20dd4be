#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "store/mailbox.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::store {

constexpr const char* kIndexPath = "/mail/Bank/Inbox.loc";
constexpr const char* kTextPath = "/mail/Bank/Inbox.mtx";

/// A program with the bank "Bank" open, on the files of a disk.
struct MailboxProgram {
    explicit MailboxProgram(support::MemoryFileSystem& disk)
        : workspace(disk, "/mail"), state(disk, "/state") {
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
    [[nodiscard]] int Add(std::string_view subject, std::string_view body = "text\r\n") {
        MailRecord record = Mail(subject, body);
        return mailbox.AppendMail("Inbox", record, -1);
    }
    /// Subject and body of every mail of the Inbox; "damaged" where it cannot be read.
    [[nodiscard]] std::vector<std::string> Mails() {
        std::vector<std::string> mails;
        FolderReader reader;
        if (reader.Open(mailbox.FilesOf("Inbox")) < 0) return mails;
        MailRecord record;
        for (int number = 0; number < reader.CountMails(); ++number) {
            const auto condition = reader.ReadMail(number, MAIL_BODY_MAX - kReadHeadroomBytes, record);
            const bool damaged = condition == FolderReader::Condition::Damaged;
            mails.push_back(damaged ? "damaged" : record.subject + ": " + record.body);
        }
        return mails;
    }
};

using Mails = std::vector<std::string>;

}  // namespace postkite::store
