#include "core/system_file_system.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace postkite::core {
namespace {

using std::filesystem::path;

/// A new directory, with nothing that the process's mask takes away.
class SystemFileSystemTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "postkite_XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        directory = pattern;
        oldMask = umask(0);
    }
    void TearDown() override {
        umask(oldMask);
        std::filesystem::remove_all(directory);
    }

    static mode_t ModeOf(const path& entry) {
        struct stat status {};
        return stat(entry.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }
    static std::string ContentOf(const path& entry) {
        std::ifstream stream(entry, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    EntryKind KindOf(const path& entry) {
        EntryKind kind{};
        EXPECT_EQ(disk.Inspect(entry, kind), 0);
        return kind;
    }

    SystemFileSystem disk;
    path directory;
    mode_t oldMask = 0;
    std::unique_ptr<File> file;
};

TEST_F(SystemFileSystemTest, WhatItMakesIsItsOwnersAlone) {
    ASSERT_EQ(disk.CreateDirectory(directory / "d"), 0);
    EXPECT_EQ(ModeOf(directory / "d"), mode_t{0700});
    EXPECT_EQ(disk.CreateDirectory(directory / "d"), -EEXIST);
    EXPECT_EQ(disk.CreateDirectory(directory / "none" / "d"), -ENOENT);
    ASSERT_EQ(disk.Open(directory / "new", OpenMode::CreateNew, file), 0);
    EXPECT_EQ(ModeOf(directory / "new"), mode_t{0600});
    ASSERT_EQ(disk.Open(directory / "made", OpenMode::ReadWriteOrCreate, file), 0);
    EXPECT_EQ(ModeOf(directory / "made"), mode_t{0600});
}

TEST_F(SystemFileSystemTest, OpensAsTheModeSays) {
    EXPECT_EQ(disk.Open(directory / "a", OpenMode::Read, file), -ENOENT);
    EXPECT_EQ(disk.Open(directory / "a", OpenMode::ReadWrite, file), -ENOENT);
    EXPECT_EQ(file, nullptr);
    ASSERT_EQ(disk.Open(directory / "a", OpenMode::CreateNew, file), 0);
    ASSERT_EQ(file->WriteAt(0, "content"), 0);
    EXPECT_EQ(disk.Open(directory / "a", OpenMode::CreateNew, file), -EEXIST);
    for (const OpenMode mode : {OpenMode::Read, OpenMode::ReadWrite, OpenMode::ReadWriteOrCreate}) {
        ASSERT_EQ(disk.Open(directory / "a", mode, file), 0);
        EXPECT_EQ(file->Size(), 7);
        EXPECT_EQ(file->WriteAt(0, "c"), mode == OpenMode::Read ? -EBADF : 0);
    }
}

TEST_F(SystemFileSystemTest, OpensRegularFilesAlone) {
    ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
    alarm(20);  // ends a test that hangs
    for (const OpenMode mode : {OpenMode::Read, OpenMode::ReadWrite, OpenMode::ReadWriteOrCreate}) {
        EXPECT_EQ(disk.Open(directory, mode, file), -EISDIR);
        EXPECT_EQ(disk.Open(directory / "pipe", mode, file), -EINVAL);
        EXPECT_EQ(disk.Open("/dev/null", mode, file), -EINVAL);
    }
    alarm(0);
    EXPECT_EQ(file, nullptr);
}

TEST_F(SystemFileSystemTest, ReadsAndWritesAnywhere) {
    ASSERT_EQ(disk.Open(directory / "a", OpenMode::CreateNew, file), 0);
    ASSERT_EQ(file->WriteAt(0, "0123456789"), 0);
    ASSERT_EQ(file->WriteAt(12, "end"), 0);
    EXPECT_EQ(file->Sync(), 0);
    EXPECT_EQ(ContentOf(directory / "a"), std::string("0123456789\0\0end", 15));
    char buffer[8];
    EXPECT_EQ(file->ReadAt(3, buffer), 8);
    EXPECT_EQ(std::string(buffer, 7), "3456789");
    EXPECT_EQ(file->ReadAt(12, buffer), 3);
    EXPECT_EQ(file->ReadAt(15, buffer), 0);
    EXPECT_EQ(file->ReadAt(1000, buffer), 0);
    ASSERT_EQ(file->Truncate(4), 0);
    EXPECT_EQ(file->Size(), 4);
    EXPECT_EQ(ContentOf(directory / "a"), "0123");
}

TEST_F(SystemFileSystemTest, AShortWriteIsCarriedOnUntilItFails) {
    ASSERT_EQ(disk.Open(directory / "a", OpenMode::CreateNew, file), 0);
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit tight = old;
    tight.rlim_cur = 60;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    const int result = file->WriteAt(10, std::string(100, 'x'));
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(result, -EFBIG);
    EXPECT_EQ(file->Size(), 60) << "the part that there was room for";
}

TEST_F(SystemFileSystemTest, ListsRenamesAndRemoves) {
    const std::string japanese = "\xE8\xA1\xA8.txt";
    for (const std::string& name : {std::string("a"), std::string(".b"), japanese})
        ASSERT_EQ(disk.Open(directory / name, OpenMode::CreateNew, file), 0);
    ASSERT_EQ(file->WriteAt(0, "moved"), 0);
    std::vector<path> names = {"left from before"};
    ASSERT_EQ(disk.List(directory, names), 0);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<path>{".b", "a", japanese}));
    EXPECT_EQ(disk.List(directory / "none", names), -ENOENT);
    EXPECT_EQ(disk.List(directory / "a", names), -ENOTDIR);

    EXPECT_EQ(disk.Rename(directory / japanese, directory / "a"), 0);
    EXPECT_EQ(ContentOf(directory / "a"), "moved");
    EXPECT_EQ(disk.Rename(directory / japanese, directory / "a"), -ENOENT);
    EXPECT_EQ(disk.Remove(directory / "a"), 0);
    EXPECT_EQ(disk.Remove(directory / "a"), -ENOENT);
    EXPECT_EQ(disk.SyncDirectory(directory), 0);
    EXPECT_EQ(disk.SyncDirectory(directory / "none"), -ENOENT);
}

TEST_F(SystemFileSystemTest, InspectsWhatALinkLeadsTo) {
    ASSERT_EQ(disk.Open(directory / "a", OpenMode::CreateNew, file), 0);
    ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("a", directory / "toFile");
    std::filesystem::create_symlink(".", directory / "toDirectory");
    std::filesystem::create_symlink("nowhere", directory / "dangling");
    EXPECT_EQ(KindOf(directory / "a"), EntryKind::File);
    EXPECT_EQ(KindOf(directory), EntryKind::Directory);
    EXPECT_EQ(KindOf(directory / "pipe"), EntryKind::Other);
    EXPECT_EQ(KindOf(directory / "none"), EntryKind::Missing);
    EXPECT_EQ(KindOf(directory / "a" / "below a file"), EntryKind::Missing);
    EXPECT_EQ(KindOf(directory / "toFile"), EntryKind::File);
    EXPECT_EQ(KindOf(directory / "toDirectory"), EntryKind::Directory);
    EXPECT_EQ(KindOf(directory / "dangling"), EntryKind::Missing);
}

TEST_F(SystemFileSystemTest, ALockKeepsTheNextHolderOut) {
    SystemFileSystem other;
    std::unique_ptr<FileLock> first;
    std::unique_ptr<FileLock> second;
    ASSERT_EQ(disk.Lock(directory, true, first), 0);
    EXPECT_EQ(other.Lock(directory, false, second), -EWOULDBLOCK);
    EXPECT_EQ(second, nullptr);
    first.reset();
    EXPECT_EQ(other.Lock(directory, false, second), 0);
    EXPECT_EQ(disk.Lock(directory / "none", false, first), -ENOENT);
    EXPECT_TRUE(std::filesystem::is_empty(directory)) << "a lock file outlives its owner";
}

}  // namespace
}  // namespace postkite::core
