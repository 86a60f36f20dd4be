#include "core/system_file_system.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace postkite::core {

namespace {

/// Calls again what a signal interrupted; then a negated errno value or the call's own result.
template <typename Call>
auto Retry(Call call) -> decltype(call()) {
    for (;;) {
        const auto result = call();
        if (result >= 0) return result;
        if (errno != EINTR) return -errno;
    }
}

/// An open descriptor, closed with its owner.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }
    [[nodiscard]] int number() const { return number_; }

  private:
    int number_;
};

/// In a program that was started with a standard stream closed, its number would go to the next file, and what is meant
/// for the stream into it.
int AwayFromStandardStreams(int number) {
    const Descriptor taken(number);
    return Retry([&] { return fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1); });
}

class SystemFile final : public File {
  public:
    explicit SystemFile(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

    std::int64_t ReadAt(std::uint64_t offset, std::span<char> buffer) override {
        std::size_t done = 0;
        while (done < buffer.size()) {
            const auto count = Retry([&] {
                return pread(descriptor_.number(), buffer.data() + done, buffer.size() - done,
                             static_cast<off_t>(offset + done));
            });
            if (count < 0) return count;
            if (count == 0) break;
            done += static_cast<std::size_t>(count);
        }
        return static_cast<std::int64_t>(done);
    }

    int WriteAt(std::uint64_t offset, std::string_view bytes) override {
        while (!bytes.empty()) {
            const auto count = Retry([&] {
                return pwrite(descriptor_.number(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
            });
            if (count < 0) return static_cast<int>(count);
            if (count == 0) return -EIO;
            offset += static_cast<std::uint64_t>(count);
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return 0;
    }

    std::int64_t Size() override {
        struct stat status {};
        if (fstat(descriptor_.number(), &status) != 0) return -errno;
        return status.st_size;
    }

    int Truncate(std::uint64_t size) override {
        return Retry([&] { return ftruncate(descriptor_.number(), static_cast<off_t>(size)); });
    }

    int Sync() override {
        return Retry([&] { return fsync(descriptor_.number()); });
    }

    int Identify(FileIdentity& identity) override {
        struct stat status {};
        if (fstat(descriptor_.number(), &status) != 0) return -errno;
        identity = {status.st_dev, status.st_ino};
        return 0;
    }

    // A lock of the open file, not of the process, so that readers within one program count too. All readers share it,
    // and nobody ever takes it alone, so it is always to be had.
    int BeginReading() override {
        struct flock lock = WholeFile(F_RDLCK);
        return Retry([&] { return fcntl(descriptor_.number(), F_OFD_SETLK, &lock); });
    }

    int HasReaders(bool& hasReaders) override {
        struct flock lock = WholeFile(F_WRLCK);
        const int result = Retry([&] { return fcntl(descriptor_.number(), F_OFD_GETLK, &lock); });
        hasReaders = lock.l_type != F_UNLCK;
        return result;
    }

  private:
    static struct flock WholeFile(short type) {
        struct flock lock {};
        lock.l_type = type;
        lock.l_whence = SEEK_SET;
        return lock;
    }

    Descriptor descriptor_;
};

class SystemFileLock final : public FileLock {
  public:
    explicit SystemFileLock(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

  private:
    Descriptor descriptor_;
};

int FlagsOf(OpenMode mode) {
    switch (mode) {
        case OpenMode::Read:
            return O_RDONLY;
        case OpenMode::ReadWrite:
            return O_RDWR;
        case OpenMode::ReadWriteOrCreate:
            return O_RDWR | O_CREAT;
        case OpenMode::CreateNew:
            return O_RDWR | O_CREAT | O_EXCL;
    }
    return O_RDONLY;
}

}  // namespace

int SystemFileSystem::Open(const std::filesystem::path& path, OpenMode mode, std::unique_ptr<File>& file) {
    constexpr mode_t kOwnerOnly = 0600;
    // O_NONBLOCK: opening a pipe that nobody writes to must not hang; regular files do not heed it.
    const int flags = FlagsOf(mode) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    int opened = Retry([&] { return open(path.c_str(), flags, kOwnerOnly); });
    if (opened >= 0 && opened <= STDERR_FILENO) opened = AwayFromStandardStreams(opened);
    if (opened < 0) return opened;
    Descriptor descriptor(opened);
    struct stat status {};
    if (fstat(descriptor.number(), &status) != 0) return -errno;
    if (S_ISDIR(status.st_mode)) return -EISDIR;
    if (!S_ISREG(status.st_mode)) return -EINVAL;
    file = std::make_unique<SystemFile>(std::move(descriptor));
    return 0;
}

int SystemFileSystem::Inspect(const std::filesystem::path& path, EntryKind& kind) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) return -errno;
        kind = EntryKind::Missing;
    } else if (S_ISREG(status.st_mode)) {
        kind = EntryKind::File;
    } else if (S_ISDIR(status.st_mode)) {
        kind = EntryKind::Directory;
    } else {
        kind = EntryKind::Other;
    }
    return 0;
}

int SystemFileSystem::List(const std::filesystem::path& directory,
                           std::vector<std::filesystem::path>& names) {
    names.clear();
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
    if (stream == nullptr) return -errno;
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(stream.get());
        if (entry == nullptr) return -errno;
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.emplace_back(entry->d_name);
        }
    }
}

int SystemFileSystem::Rename(const std::filesystem::path& from, const std::filesystem::path& to) {
    return rename(from.c_str(), to.c_str()) == 0 ? 0 : -errno;
}

int SystemFileSystem::Remove(const std::filesystem::path& path) {
    return unlink(path.c_str()) == 0 ? 0 : -errno;
}

int SystemFileSystem::CreateDirectory(const std::filesystem::path& path) {
    constexpr mode_t kOwnerOnly = 0700;
    return mkdir(path.c_str(), kOwnerOnly) == 0 ? 0 : -errno;
}

int SystemFileSystem::SyncDirectory(const std::filesystem::path& directory) {
    const Descriptor descriptor(
        Retry([&] { return open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (descriptor.number() < 0) return descriptor.number();
    const int result = Retry([&] { return fsync(descriptor.number()); });
    // Some file systems (FAT, network shares) cannot sync a directory and need not.
    return result == -EINVAL ? 0 : result;
}

int SystemFileSystem::Lock(const std::filesystem::path& directory, bool wait,
                           std::unique_ptr<FileLock>& lock) {
    Descriptor descriptor(Retry([&] { return open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (descriptor.number() < 0) return descriptor.number();
    const int operation = wait ? LOCK_EX : LOCK_EX | LOCK_NB;
    const int result = Retry([&] { return flock(descriptor.number(), operation); });
    if (result < 0) return result;
    lock = std::make_unique<SystemFileLock>(std::move(descriptor));
    return 0;
}

}  // namespace postkite::core
