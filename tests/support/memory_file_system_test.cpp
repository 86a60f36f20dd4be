#include "tests/support/memory_file_system.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace postkite::support {
namespace {

using core::OpenMode;
using NamesKept = MemoryFileSystem::NamesKept;

class MemoryFileSystemTest : public ::testing::Test {
  protected:
    MemoryFileSystem disk;
    std::unique_ptr<core::File> file;
};

TEST_F(MemoryFileSystemTest, PowerCutLeavesWhatWasSynced) {
    disk.Put("/a/old", "0123456789");
    ASSERT_EQ(disk.Open("/a/old", OpenMode::ReadWrite, file), 0);
    ASSERT_EQ(file->WriteAt(8, "XYZ"), 0);
    ASSERT_EQ(file->Sync(), 0);
    ASSERT_EQ(file->WriteAt(2, "--"), 0);
    ASSERT_EQ(file->Truncate(5), 0);
    ASSERT_EQ(file->WriteAt(7, "far"), 0);
    EXPECT_EQ(disk.Get("/a/old"), std::string("01--4\0\0far", 10));
    disk.Restart();
    EXPECT_EQ(file->WriteAt(0, "late"), -EBADF) << "the file of an ended program";
    EXPECT_EQ(disk.Get("/a/old"), std::string("01--4\0\0far", 10));
    disk.PowerCut();
    EXPECT_EQ(disk.Get("/a/old"), "01234567XYZ");
}

TEST_F(MemoryFileSystemTest, PowerCutLeavesTheNamesOfTheLastSyncOrAll) {
    for (const NamesKept kept : {NamesKept::Durable, NamesKept::Written}) {
        disk.Put("/a/old", "old");
        ASSERT_EQ(disk.Open("/a/new", OpenMode::CreateNew, file), 0);
        ASSERT_EQ(file->WriteAt(0, "unsynced"), 0);
        ASSERT_EQ(disk.Rename("/a/new", "/a/old"), 0);
        ASSERT_EQ(disk.CreateDirectory("/a/b"), 0);
        disk.PowerCut(kept);
        EXPECT_EQ(disk.Get("/a/old"), kept == NamesKept::Durable ? "old" : "");
        EXPECT_EQ(disk.Exists("/a/b"), kept == NamesKept::Written);
    }
}

TEST_F(MemoryFileSystemTest, FaultsStrikeWhereTheyWerePut) {
    disk.Put("/f", "");
    disk.FailCall(2, -EACCES);
    disk.ShortWrite(2, 3);
    disk.StopWithinWrite(3, 1);
    ASSERT_EQ(disk.Open("/f", OpenMode::ReadWrite, file), 0);
    EXPECT_EQ(file->WriteAt(0, "no"), -EACCES);
    EXPECT_EQ(file->WriteAt(0, "one"), 0);
    EXPECT_EQ(file->WriteAt(3, "second"), -ENOSPC);
    EXPECT_EQ(file->WriteAt(6, "third"), -EIO);
    EXPECT_EQ(file->Truncate(0), -EIO);
    EXPECT_EQ(disk.Get("/f"), "onesect");
    EXPECT_EQ(disk.calls(), 6);
}

TEST_F(MemoryFileSystemTest, LocksEndWithTheirOwnerOrItsProgram) {
    std::unique_ptr<core::FileLock> first;
    std::unique_ptr<core::FileLock> second;
    ASSERT_EQ(disk.Lock("/", false, first), 0);
    EXPECT_EQ(disk.Lock("/", false, second), -EWOULDBLOCK);
    disk.Restart();
    ASSERT_EQ(disk.Lock("/", false, second), 0);
    first.reset();
    EXPECT_EQ(disk.Lock("/", false, first), -EWOULDBLOCK) << "freed by one who no longer had it";
}

}  // namespace
}  // namespace postkite::support
