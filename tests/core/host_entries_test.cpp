#include "core/host_entries.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/support/memory_file_system.h"

namespace postkite::core {
namespace {

constexpr const char* kPath = "/mail/Setting/HostEntry.ini";

TEST(HostEntriesTest, SurviveAndAreTheseBytes) {
    support::MemoryFileSystem disk;
    Workspace workspace(disk, "/mail");
    HostEntries entries;
    EXPECT_EQ(LoadHostEntries(workspace, entries), -ENOENT);
    disk.PutDirectory("/mail/Setting");
    entries[0] = {"host", "03-1", "ID", "abc", "9600", "me", "o", "i"};
    ASSERT_EQ(SaveHostEntries(workspace, entries).result, 0);
    std::string expected = "host\r\n03-1\r\nID\r\n100319\r\n9600\r\nme\r\no\r\ni\r\n----------------\r\n";
    for (int number = 1; number < 10; ++number)
        expected += "\r\n\r\n\r\n\r\n\r\n\r\nOutbox\r\nInbox\r\n----------------\r\n";
    EXPECT_EQ(disk.Get(kPath), expected);

    entries = HostEntries();
    ASSERT_EQ(LoadHostEntries(workspace, entries), 0);
    EXPECT_EQ(entries[0].password, "abc");
    EXPECT_EQ(entries[0].inbox, "i");
    entries[9].hostName = "last";
    const SaveOutcome outcome = SaveHostEntries(workspace, entries);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.keptAs, "");
    HostEntries again;
    ASSERT_EQ(LoadHostEntries(workspace, again), 0);
    EXPECT_EQ(again[9].hostName, "last");

    disk.Put(kPath, "cut\r\nin the second");
    again = HostEntries();
    ASSERT_EQ(LoadHostEntries(workspace, again), 0);
    EXPECT_EQ(again[0].hostName, "cut");
    EXPECT_EQ(again[0].telephone, "");
    EXPECT_EQ(again[0].outbox, "Outbox");
    EXPECT_EQ(SaveHostEntries(workspace, again).keptAs, "Setting\\HostEntry.ini.bak");
}

}  // namespace
}  // namespace postkite::core
