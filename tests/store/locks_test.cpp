#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <vector>

#include "store/compaction.h"
#include "store/folder_properties.h"
#include "tests/store/mailbox_program.h"

namespace postkite::store {
namespace {

/// Every operation that changes a folder takes the lock itself, whoever calls it.
TEST(StoreLocks, NothingIsChangedWhileAnotherHasTheLock) {
    const std::function<int(MailboxProgram&)> changes[] = {
        [](MailboxProgram& program) { return program.Add("new"); },
        [](MailboxProgram& program) {
            MailRecord mail = MailboxProgram::Mail("new");
            MailListEntry entry;
            if (program.mailbox.ReadListEntry("Inbox", 1, entry) < 0) return -1;
            mail.localId = entry.localId.view();
            return program.mailbox.ReplaceMail("Inbox", 1, mail);
        },
        [](MailboxProgram& program) { return program.mailbox.SetRead("Inbox", 1, true); },
        [](MailboxProgram& program) { return program.mailbox.MarkSent("Inbox", 1, true); },
        [](MailboxProgram& program) { return program.mailbox.MarkDeleted("Inbox", 1); },
        [](MailboxProgram& program) { return program.mailbox.RemoveMails("Inbox", std::array{1}); },
        [](MailboxProgram& program) { return RemoveRecords(program.mailbox.FilesOf("Inbox"), {}); },
        [](MailboxProgram& program) { return RewriteText(program.mailbox.FilesOf("Inbox"), [] {}).result; },
        [](MailboxProgram& program) {
            FolderProperties properties;
            properties.sound = "ding.wav";
            return WriteFolderProperties(program.mailbox.FilesOf("Inbox"), properties);
        },
    };
    for (std::size_t number = 0; number < std::size(changes); ++number) {
        SCOPED_TRACE(number);
        MemoryFileSystem disk;
        disk.PutDirectory(kBankPath);
        MailboxProgram program(disk);
        ASSERT_EQ(program.Add("A") + program.Add("B") + program.Add("C"), 0);
        ASSERT_EQ(program.mailbox.MarkDeleted("Inbox", 0), 0);
        const auto contents = [&disk] {
            return std::array{disk.Get(kIndexPath), disk.Get(kTextPath), disk.Get("/mail/Bank/Inbox.PROP")};
        };
        const auto before = contents();
        std::unique_ptr<core::FileLock> elsewhere;
        ASSERT_EQ(disk.Lock("/mail", false, elsewhere), 0);
        EXPECT_LT(changes[number](program), 0);
        EXPECT_EQ(contents(), before);
        elsewhere.reset();
        EXPECT_GE(changes[number](program), 0);
        EXPECT_NE(contents(), before);
    }
}

/// What is found out about a mail holds until it is replaced, whenever another program wants to take one out.
TEST(StoreLocks, TheMailIsReplacedThatWasMeant) {
    int calls = 1;
    for (int call = 1; call <= calls; ++call) {
        SCOPED_TRACE(call);
        MemoryFileSystem disk;
        disk.PutDirectory(kBankPath);
        MailboxProgram program(disk);
        MailboxProgram other(disk);
        ASSERT_EQ(program.Add("A") + program.Add("B") + program.Add("C"), 0);
        MailRecord mail = MailboxProgram::Mail("new");
        MailListEntry entry;
        ASSERT_EQ(program.mailbox.ReadListEntry("Inbox", 1, entry), 0);
        mail.localId = entry.localId.view();
        disk.VisitAtCall(call,
                         [&other] { static_cast<void>(other.mailbox.RemoveMails("Inbox", std::array{0})); });
        const int before = disk.calls();
        ASSERT_EQ(program.mailbox.ReplaceMail("Inbox", 1, mail), 0);
        calls = std::max(calls, disk.calls() - before);
        const std::vector<std::string> mails = MailboxProgram(disk).Mails();
        ASSERT_GE(mails.size(), 2U);
        EXPECT_EQ(mails[mails.size() - 2], "new: text\r\n");
        EXPECT_EQ(mails.back(), "C: text\r\n");
    }
    EXPECT_GT(calls, 10);
}

}  // namespace
}  // namespace postkite::store
