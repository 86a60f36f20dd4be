#include "store/folder_reader.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "tests/store/mailbox_program.h"

namespace postkite::store {
namespace {

/// What a program does to a folder of five mails, and what that is to others before and after.
struct Change {
    const char* what;
    std::function<int(MailboxProgram&)> run;
    Names after;
    Names between = {};  ///< where it has more than one step
};

int Delete(MailboxProgram& program, const std::vector<int>& numbers) {
    return program.mailbox.RemoveMails("Inbox", numbers);
}

int Replace(MailboxProgram& program, int number) {
    MailRecord mail;
    if (program.mailbox.ReadMail("Inbox", number, mail, 0) < 0) return -1;
    mail.subject = "new";
    return program.mailbox.ReplaceMail("Inbox", number, mail);
}

const Names kBefore = {"one", "two", "three", "four", "five"};
const Change kChanges[] = {
    {"append",
     [](auto& program) { return program.Add("six"); },
     {"one", "two", "three", "four", "five", "six"}},
    {"delete all",
     [](auto& program) {
         return Delete(program, {0, 1, 2, 3, 4});
     },
     {}},
    {"replace", [](auto& program) { return Replace(program, 1); }, {"one", "new", "three", "four", "five"}},
    {"compact", [](auto& program) { return program.Compact(); }, kBefore},
    {"delete and compact",
     [](auto& program) { return Delete(program, {0}) + program.Compact(); },
     {"two", "three", "four", "five"}},
    {"delete twice",
     [](auto& program) { return Delete(program, {0}) + Delete(program, {2}); },
     {"two", "three", "five"},
     {"two", "three", "four", "five"}},
};

/// Five mails, with dead text before the last two, so that compaction moves those.
struct FiveMails {
    std::string index;
    std::string text;

    FiveMails() {
        MemoryFileSystem disk;
        disk.PutDirectory(kBankPath);
        MailboxProgram program(disk);
        for (const char* subject : {"one", "two", "three", "dead", "four", "five"})
            EXPECT_EQ(program.Add(subject), 0);
        EXPECT_EQ(Delete(program, {3}), 0);
        index = disk.Get(kIndexPath).value_or("");
        text = disk.Get(kTextPath).value_or("");
    }
};

void Arrange(MemoryFileSystem& disk) {
    static const FiveMails mails;
    disk.Put(kIndexPath, mails.index);
    disk.Put(kTextPath, mails.text);
    disk.PutDirectory("/state");
}

/// The subjects of the rows as the index has them, then those of the mails as their texts do, which cannot be had where
/// the mail has gone meanwhile.
void ExpectOneOf(FolderReader& reader, const Change& change) {
    Names rows;
    Names mails;
    MailListEntry entry;
    MailRecord mail;
    for (int number = 0; reader.ReadListEntry(number, entry) == 0; ++number)
        rows.emplace_back(WithoutTrailingBlanks(entry.subject.view()));
    for (std::size_t number = 0; number < rows.size(); ++number) {
        const auto condition = reader.ReadMail(static_cast<int>(number), 1000, mail);
        const bool isThere = condition == FolderReader::Condition::Whole;
        const bool stays =
            std::find(change.after.begin(), change.after.end(), rows[number]) != change.after.end();
        EXPECT_TRUE(isThere || !stays) << rows[number];
        EXPECT_EQ(mail.subject, rows[number]);
        EXPECT_TRUE(!isThere || mail.flags.substr(2) == "srr ---- OP Y   ") << mail.flags;
    }
    EXPECT_EQ(reader.error(), 0);
    EXPECT_TRUE(rows == kBefore || rows == change.after ||
                (!change.between.empty() && rows == change.between))
        << testing::PrintToString(rows);
    EXPECT_EQ(reader.CountMails(), static_cast<int>(rows.size()));
}

/// A reader that opens before one call of the change and reads before another, or when the change is through. Returns
/// whether there were as many calls.
bool ReadMeanwhile(const Change& change, int openedAt, int readAt) {
    MemoryFileSystem disk;
    Arrange(disk);
    MailboxProgram program(disk);
    MailboxProgram other(disk);
    FolderReader reader;
    int opened = -1;
    const auto open = [&] {
        opened = reader.Open(other.mailbox.FilesOf("Inbox"));
        EXPECT_EQ(opened, 0);
    };
    const auto read = [&] {
        if (std::exchange(opened, -1) == 0) ExpectOneOf(reader, change);
    };
    disk.VisitAtCall(openedAt, [&] {
        open();
        if (readAt == openedAt) read();
    });
    if (readAt != openedAt) disk.VisitAtCall(readAt, read);
    EXPECT_EQ(change.run(program), 0) << "nothing keeps the writer waiting";
    const bool wasOpened = disk.struck();
    read();
    EXPECT_EQ(other.Subjects("Inbox"), change.after);
    return wasOpened;
}

TEST(FolderReader, SeesOneMomentOfAChangeThatGoesOn) {
    for (const Change& change : kChanges) {
        SCOPED_TRACE(change.what);
        int calls = 1;
        while (ReadMeanwhile(change, calls, calls) && !testing::Test::HasFailure())
            ++calls;
        EXPECT_GT(calls, 15);
        for (int openedAt = 1; openedAt < calls; ++openedAt) {
            for (const int readAt : {openedAt + 2, openedAt + 20, calls}) {
                SCOPED_TRACE("opened at " + std::to_string(openedAt) + ", read at " + std::to_string(readAt));
                if (!testing::Test::HasFailure()) static_cast<void>(ReadMeanwhile(change, openedAt, readAt));
            }
        }
    }
}

TEST(FolderReader, IsNotDisturbedByWhatComesBetweenItsLooks) {
    for (const Change& change : kChanges) {
        bool visited = true;
        for (int call = 1; visited && !testing::Test::HasFailure(); ++call) {
            SCOPED_TRACE(std::string(change.what) + " at " + std::to_string(call));
            MemoryFileSystem disk;
            Arrange(disk);
            MailboxProgram program(disk);
            MailboxProgram other(disk);
            disk.VisitAtCall(call, [&] { EXPECT_EQ(change.run(program), 0); });
            FolderReader reader;
            ASSERT_EQ(reader.Open(other.mailbox.FilesOf("Inbox")), 0);
            ExpectOneOf(reader, change);
            visited = disk.struck();
        }
    }
}

}  // namespace
}  // namespace postkite::store
