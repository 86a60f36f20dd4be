#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace postkite::core {

/// The one seam through which everything reaches the disk. Programs run on `SystemFileSystem`; tests put an
/// implementation here that fails, writes short or stops the world at a call of their choice.
///
/// Every call returns 0 (or a count) for success and a negated `errno` value for failure. Paths are native
/// ones; names as the program spells them become paths in `Workspace`.

enum class OpenMode {
    Read,               ///< must exist
    ReadWrite,          ///< must exist
    ReadWriteOrCreate,  ///< made empty when missing
    CreateNew,          ///< fails with -EEXIST when there is an entry of that name
};

/// Tells one file from every other that is there at the same time, whatever their names.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    [[nodiscard]] bool operator==(const FileIdentity&) const = default;
};

/// An open regular file. Offsets and sizes are in bytes. Closed by its destructor.
class File {
  public:
    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    virtual ~File() = default;

    /// Reads up to `buffer.size()` bytes. Returns their count, smaller than asked only at the file's end.
    [[nodiscard]] virtual std::int64_t ReadAt(std::uint64_t offset, std::span<char> buffer) = 0;

    /// Writes all of `bytes`, past the end if need be. After a failure a part of them may stand in the file.
    [[nodiscard]] virtual int WriteAt(std::uint64_t offset, std::string_view bytes) = 0;

    [[nodiscard]] virtual std::int64_t Size() = 0;
    [[nodiscard]] virtual int Truncate(std::uint64_t size) = 0;

    /// Returns when the content is on the disk itself.
    [[nodiscard]] virtual int Sync() = 0;

    [[nodiscard]] virtual int Identify(FileIdentity& identity) = 0;

    /// Has `HasReaders` see that the file is being read, until this object or its process is gone. Neither
    /// ever waits, and nobody is kept out. Where a file system cannot do the one it cannot do the other.
    [[nodiscard]] virtual int BeginReading() = 0;
    /// Whether the file is being read through another object, of this process or another.
    [[nodiscard]] virtual int HasReaders(bool& hasReaders) = 0;
};

/// An advisory lock, held until it is destroyed or its process ends.
class FileLock {
  public:
    FileLock() = default;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    virtual ~FileLock() = default;
};

enum class EntryKind { Missing, File, Directory, Other };

class FileSystem {
  public:
    FileSystem() = default;
    FileSystem(const FileSystem&) = delete;
    FileSystem& operator=(const FileSystem&) = delete;
    virtual ~FileSystem() = default;

    /// Opens a regular file; a directory gives -EISDIR, a device or pipe -EINVAL. A file made here is
    /// readable by its owner alone.
    [[nodiscard]] virtual int Open(const std::filesystem::path& path, OpenMode mode,
                                   std::unique_ptr<File>& file) = 0;

    /// Symbolic links are followed; one that leads nowhere is Missing.
    [[nodiscard]] virtual int Inspect(const std::filesystem::path& path, EntryKind& kind) = 0;

    /// The names of a directory's entries, without "." and "..", in no order.
    [[nodiscard]] virtual int List(const std::filesystem::path& directory,
                                   std::vector<std::filesystem::path>& names) = 0;

    /// Puts `from` in the place of `to` in one step.
    [[nodiscard]] virtual int Rename(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

    [[nodiscard]] virtual int Remove(const std::filesystem::path& path) = 0;

    /// Makes one directory, accessible to its owner alone; its parent must exist.
    [[nodiscard]] virtual int CreateDirectory(const std::filesystem::path& path) = 0;

    /// Returns when the entries made, renamed and removed in `directory` are on the disk itself.
    [[nodiscard]] virtual int SyncDirectory(const std::filesystem::path& directory) = 0;

    /// Locks a directory against every other holder, in this process too. Without `wait`, -EWOULDBLOCK when
    /// somebody has it.
    [[nodiscard]] virtual int Lock(const std::filesystem::path& directory, bool wait,
                                   std::unique_ptr<FileLock>& lock) = 0;
};

}  // namespace postkite::core
