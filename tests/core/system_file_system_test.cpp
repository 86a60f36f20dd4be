#include "core/system_file_system.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <tuple>

namespace postkite::core {
namespace {

using std::filesystem::path;

constexpr OpenMode kOpenings[] = {OpenMode::Read, OpenMode::ReadWrite, OpenMode::ReadWriteOrCreate};

/// A new directory, with nothing that the process's mask takes away.
class SystemFileSystemTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "postkite_XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        directory = pattern;
        ASSERT_EQ(disk.Open(directory / "a", OpenMode::CreateNew, file), 0);
        ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
    }
    void TearDown() override {
        umask(oldMask);
        std::filesystem::remove_all(directory);
    }

    [[nodiscard]] mode_t ModeOf(const path& name) const {
        struct stat status {};
        return stat((directory / name).c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }
    [[nodiscard]] EntryKind KindOf(const path& name) {
        EntryKind kind{};
        EXPECT_EQ(disk.Inspect(directory / name, kind), 0);
        return kind;
    }
    [[nodiscard]] std::string Read(std::uint64_t offset) {
        char buffer[8];
        const std::int64_t count = file->ReadAt(offset, buffer);
        return count < 0 ? "failed" : std::string(buffer, static_cast<std::size_t>(count));
    }

    mode_t oldMask = umask(0);
    SystemFileSystem disk;
    path directory;
    std::unique_ptr<File> file;
};

TEST_F(SystemFileSystemTest, WhatItMakesIsItsOwnersAlone) {
    EXPECT_EQ(ModeOf("a"), mode_t{0600});
    ASSERT_EQ(disk.Open(directory / "made", OpenMode::ReadWriteOrCreate, file), 0);
    EXPECT_EQ(ModeOf("made"), mode_t{0600});
    ASSERT_EQ(disk.CreateDirectory(directory / "d"), 0);
    EXPECT_EQ(ModeOf("d"), mode_t{0700});
    EXPECT_EQ(disk.CreateDirectory(directory / "d"), -EEXIST);
    EXPECT_EQ(disk.CreateDirectory(directory / "none" / "d"), -ENOENT);
}

TEST_F(SystemFileSystemTest, OpensRegularFilesAsTheModeSays) {
    ASSERT_EQ(file->WriteAt(0, "content"), 0);
    EXPECT_EQ(disk.Open(directory / "a", OpenMode::CreateNew, file), -EEXIST);
    EXPECT_EQ(disk.Open(directory / "none", OpenMode::Read, file), -ENOENT);
    EXPECT_EQ(disk.Open(directory / "none", OpenMode::ReadWrite, file), -ENOENT);
    alarm(20);  // ends a test that hangs
    for (const OpenMode mode : kOpenings) {
        EXPECT_EQ(disk.Open(directory, mode, file), -EISDIR);
        EXPECT_EQ(disk.Open(directory / "pipe", mode, file), -EINVAL);
        EXPECT_EQ(disk.Open("/dev/null", mode, file), -EINVAL);
        ASSERT_EQ(disk.Open(directory / "a", mode, file), 0);
        EXPECT_EQ(Read(0), "content");
        EXPECT_EQ(file->WriteAt(0, "c"), mode == OpenMode::Read ? -EBADF : 0);
    }
    alarm(0);
}

TEST_F(SystemFileSystemTest, ReadsAndWritesAnywhere) {
    ASSERT_EQ(file->WriteAt(0, "0123456789"), 0);
    ASSERT_EQ(file->WriteAt(12, "end"), 0);
    EXPECT_EQ(file->Sync(), 0);
    EXPECT_EQ(file->Size(), 15);
    EXPECT_EQ(Read(3), std::string("3456789\0", 8));
    EXPECT_EQ(Read(12), "end");
    EXPECT_EQ(Read(15) + Read(1000), "");
    ASSERT_EQ(file->Truncate(4), 0);
    EXPECT_EQ(Read(0), "0123");
}

TEST_F(SystemFileSystemTest, AShortWriteIsCarriedOnUntilItFails) {
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit tight = {60, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    const int result = file->WriteAt(10, std::string(100, 'x'));
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(result, -EFBIG);
    EXPECT_EQ(file->Size(), 60) << "the part that there was room for";
}

TEST_F(SystemFileSystemTest, ListsRenamesAndRemoves) {
    const path japanese = u8"表.txt";
    ASSERT_EQ(disk.Open(directory / japanese, OpenMode::CreateNew, file), 0);
    ASSERT_EQ(file->WriteAt(0, "moved"), 0);
    std::vector<path> names = {"left from before"};
    ASSERT_EQ(disk.List(directory, names), 0);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<path>{"a", "pipe", japanese}));
    EXPECT_EQ(disk.List(directory / "none", names), -ENOENT);
    EXPECT_EQ(disk.List(directory / "a", names), -ENOTDIR);

    EXPECT_EQ(disk.Rename(directory / japanese, directory / "a"), 0);
    EXPECT_EQ(disk.Rename(directory / japanese, directory / "a"), -ENOENT);
    ASSERT_EQ(disk.Open(directory / "a", OpenMode::Read, file), 0);
    EXPECT_EQ(Read(0), "moved");
    EXPECT_EQ(disk.Remove(directory / "a"), 0);
    EXPECT_EQ(disk.Remove(directory / "a"), -ENOENT);
    EXPECT_EQ(disk.SyncDirectory(directory), 0);
    EXPECT_EQ(disk.SyncDirectory(directory / "none"), -ENOENT);
}

TEST_F(SystemFileSystemTest, InspectsWhatALinkLeadsTo) {
    std::filesystem::create_symlink("a", directory / "toFile");
    std::filesystem::create_symlink(".", directory / "toDirectory");
    std::filesystem::create_symlink("nowhere", directory / "dangling");
    EXPECT_EQ(KindOf("a"), EntryKind::File);
    EXPECT_EQ(KindOf("."), EntryKind::Directory);
    EXPECT_EQ(KindOf("pipe"), EntryKind::Other);
    EXPECT_EQ(KindOf("none"), EntryKind::Missing);
    EXPECT_EQ(KindOf("a/below a file"), EntryKind::Missing);
    EXPECT_EQ(KindOf("toFile"), EntryKind::File);
    EXPECT_EQ(KindOf("toDirectory"), EntryKind::Directory);
    EXPECT_EQ(KindOf("dangling"), EntryKind::Missing);
}

TEST_F(SystemFileSystemTest, AFilesReadersAreKnownToWhoeverHasItOpen) {
    const auto hasReaders = [this] {
        bool has = false;
        EXPECT_EQ(file->HasReaders(has), 0);
        return has;
    };
    std::unique_ptr<File> readers[2];
    for (auto& reader : readers) {
        ASSERT_EQ(disk.Open(directory / "a", OpenMode::Read, reader), 0);
        EXPECT_FALSE(&reader == readers && hasReaders()) << "an open file alone is no reader";
        EXPECT_EQ(reader->BeginReading(), 0);
    }
    EXPECT_EQ(file->BeginReading(), 0);
    for (auto& reader : readers) {
        EXPECT_TRUE(hasReaders());
        reader.reset();
    }
    EXPECT_FALSE(hasReaders()) << "it does not count itself";

    ASSERT_EQ(disk.Rename(directory / "a", directory / "b"), 0);
    FileIdentity identities[3];
    for (const auto& [name, mode, place] :
         {std::tuple("b", OpenMode::Read, 0), {"b", OpenMode::ReadWrite, 1}, {"a", OpenMode::CreateNew, 2}}) {
        ASSERT_EQ(disk.Open(directory / name, mode, readers[0]), 0);
        ASSERT_EQ(readers[0]->Identify(identities[place]), 0);
    }
    EXPECT_TRUE(identities[0] == identities[1]);
    EXPECT_FALSE(identities[0] == identities[2]);
}

TEST_F(SystemFileSystemTest, ALockKeepsTheNextHolderOut) {
    SystemFileSystem other;
    std::unique_ptr<FileLock> first;
    std::unique_ptr<FileLock> second;
    ASSERT_EQ(disk.Lock(directory, true, first), 0);
    EXPECT_EQ(other.Lock(directory, false, second), -EWOULDBLOCK);
    first.reset();
    EXPECT_EQ(other.Lock(directory, false, second), 0);
    EXPECT_EQ(disk.Lock(directory, false, first), -EWOULDBLOCK) << "a lock taken without waiting";
    EXPECT_EQ(disk.Lock(directory / "none", false, first), -ENOENT);
}

}  // namespace
}  // namespace postkite::core
