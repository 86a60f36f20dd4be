#include <gtest/gtest.h>

#include <array>
#include <functional>

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

}  // namespace
}  // namespace postkite::store
