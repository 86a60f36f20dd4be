#include "core/host_entries.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/support/memory_file_system.h"

namespace postkite::core {
namespace {

TEST(HostEntriesTest, SurviveAndAreTheseBytes) {
    support::MemoryFileSystem disk;
    disk.PutDirectory("/mail/Setting");
    Workspace workspace(disk, "/mail");
    HostEntries entries;
    EXPECT_EQ(LoadHostEntries(workspace, entries), -ENOENT);
    entries[0] = {"host", "03-1", "ID", "abc", "9600", "me", "o", "i"};
    ASSERT_EQ(SaveHostEntries(workspace, entries).result, 0);
    std::string expected = "host\r\n03-1\r\nID\r\n100319\r\n9600\r\nme\r\no\r\ni\r\n----------------\r\n";
    for (int number = 1; number < 10; ++number)
        expected += "\r\n\r\n\r\n\r\n\r\n\r\nOutbox\r\nInbox\r\n----------------\r\n";
    EXPECT_EQ(disk.Get("/mail/Setting/HostEntry.ini"), expected);

    entries = HostEntries();
    ASSERT_EQ(LoadHostEntries(workspace, entries), 0);
    EXPECT_EQ(entries[0].password + entries[0].inbox, "abci");
    entries[9].hostName = "last";
    EXPECT_EQ(SaveHostEntries(workspace, entries).keptAs, "");
    entries = HostEntries();
    ASSERT_EQ(LoadHostEntries(workspace, entries), 0);
    EXPECT_EQ(entries[9].hostName, "last");

    disk.Put("/mail/Setting/HostEntry.ini", "first\r\ncut");
    ASSERT_EQ(LoadHostEntries(workspace, entries), 0);
    EXPECT_EQ(entries[0].hostName + entries[0].telephone, "first03-1");
    EXPECT_EQ(SaveHostEntries(workspace, entries).keptAs, "Setting\\HostEntry.ini.bak");
}

}  // namespace
}  // namespace postkite::core
