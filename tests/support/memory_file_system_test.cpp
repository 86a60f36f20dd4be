#include "tests/support/memory_file_system.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace postkite::support {
namespace {

using core::OpenMode;
using NamesKept = MemoryFileSystem::NamesKept;

TEST(MemoryFileSystemTest, PowerCutLeavesWhatWasSynced) {
    MemoryFileSystem disk;
    std::unique_ptr<core::File> file;
    disk.Put("/a/old", "0123456789");
    ASSERT_EQ(disk.Open("/a/old", OpenMode::ReadWrite, file), 0);
    EXPECT_EQ(file->WriteAt(8, "XYZ") + file->Sync(), 0);
    EXPECT_EQ(file->WriteAt(2, "--") + file->Truncate(5) + file->WriteAt(7, "far"), 0);
    disk.Restart();
    EXPECT_EQ(file->WriteAt(0, "late"), -EBADF) << "the file of an ended program";
    EXPECT_EQ(disk.Get("/a/old"), std::string("01--4\0\0far", 10));
    disk.PowerCut();
    EXPECT_EQ(disk.Get("/a/old"), "01234567XYZ");

    for (const NamesKept kept : {NamesKept::Durable, NamesKept::Written}) {
        ASSERT_EQ(disk.Open("/a/new", OpenMode::CreateNew, file), 0);
        EXPECT_EQ(file->WriteAt(0, "unsynced") + disk.Rename("/a/new", "/a/old") + disk.CreateDirectory("/b"),
                  0);
        disk.PowerCut(kept);
        EXPECT_EQ(disk.Get("/a/old"), kept == NamesKept::Durable ? "01234567XYZ" : "");
        EXPECT_EQ(disk.Exists("/b"), kept == NamesKept::Written);
    }
}

TEST(MemoryFileSystemTest, FaultsStrikeWhereTheyWerePut) {
    MemoryFileSystem disk;
    std::unique_ptr<core::File> file;
    disk.FailCall(2, -EACCES);
    disk.ShortWrite(2, 3);
    disk.StopWithinWrite(3, 1);
    ASSERT_EQ(disk.Open("/f", OpenMode::CreateNew, file), 0);
    EXPECT_EQ(file->WriteAt(0, "no"), -EACCES);
    EXPECT_EQ(file->WriteAt(0, "one"), 0);
    EXPECT_EQ(file->WriteAt(3, "second"), -ENOSPC);
    EXPECT_EQ(file->WriteAt(6, "third"), -EIO);
    EXPECT_EQ(file->Truncate(0), -EIO);
    EXPECT_EQ(disk.Get("/f"), "onesect");
}

}  // namespace
}  // namespace postkite::support
