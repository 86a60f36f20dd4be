#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/file_system.h"

namespace postkite::core {

class WorkspaceLock;
class DirectoryListings;

/// The working directory: `Setting`, the banks, the captures, the logs. Takes names as the program spells
/// them, in code page 932 with "\" between components ("Setting\\setting.ini"), and finds them on disk
/// whatever their letter case.
///
/// This is the one place that decides what a name may reach. A name that comes from a file or from the host
/// cannot leave the directory: absolute names, drive letters, "..", control characters, the names of devices,
/// characters that no Windows file name holds, and bytes that are no character are refused, always with
/// -EINVAL.
///
/// Borrows the file system. Operations return 0 or a negated errno value.
class Workspace {
  public:
    Workspace(FileSystem& fileSystem, std::filesystem::path root);

    [[nodiscard]] const std::filesystem::path& root() const { return root_; }

    /// Makes the directory and its `Setting` where they are missing.
    [[nodiscard]] int Prepare();

    /// Makes the directory alone, with those that it lies in, where it is missing.
    [[nodiscard]] int MakeRoot();

    /// The entries of the directory that are called `name` but for their letter case. More than one mean that
    /// only one of them is ever found.
    [[nodiscard]] std::vector<std::string> SpellingsOf(std::string_view name) const;

    /// Whether `component` can be one file's or directory's name: no separator, and nothing that is refused.
    [[nodiscard]] static bool IsSafeComponent(std::string_view component);

    /// The path of the entry that `name` means: the spelling found on disk, else the name's own spelling.
    [[nodiscard]] int Locate(std::string_view name, std::filesystem::path& path) const;

    /// `name` with its last component as the disk spells it; as it is where there is no such entry.
    [[nodiscard]] std::string AsOnDisk(std::string_view name) const;

    [[nodiscard]] int Open(std::string_view name, OpenMode mode, std::unique_ptr<File>& file) const;
    [[nodiscard]] int Inspect(std::string_view name, EntryKind& kind) const;
    /// These two are for a name that this program alone makes: only its own spelling counts, which spares the
    /// search for others.
    [[nodiscard]] int InspectExactly(std::string_view name, EntryKind& kind) const;
    [[nodiscard]] int OpenExactly(std::string_view name, OpenMode mode, std::unique_ptr<File>& file) const;
    [[nodiscard]] int CreateDirectory(std::string_view name);
    [[nodiscard]] int Remove(std::string_view name);
    /// Puts `from` in the place of `to` in one step.
    [[nodiscard]] int Rename(std::string_view from, std::string_view to);
    /// Returns when the names in the directory that holds `name` are on the disk itself, as the three above
    /// left them.
    [[nodiscard]] int SyncNames(std::string_view name);
    /// The entries of a directory, in order, without those whose names the code page lacks. "." is the root.
    [[nodiscard]] int List(std::string_view directory, std::vector<std::string>& names) const;

    /// Puts `bytes` in the place of the file `name`, or makes it. Whatever the moment of a crash, the name
    /// leads to the whole old or the whole new content; when this returns 0, to the new one for good. The
    /// file is readable by its owner alone. Hold the lock.
    [[nodiscard]] int Replace(std::string_view name, std::string_view bytes);

    /// Makes a file `copyName` with the content of the file `name`. -EEXIST when there is a `copyName`. Hold
    /// the lock.
    [[nodiscard]] int Copy(std::string_view name, std::string_view copyName);

    /// Keeps every other program out of the working directory's changes until the last `WorkspaceLock` of
    /// this object is gone. With `wait`, waits for whoever has it; otherwise -EWOULDBLOCK.
    [[nodiscard]] int Lock(bool wait, WorkspaceLock& lock);
    /// Whether this object has that lock.
    [[nodiscard]] bool HoldsLock() const { return !held_.expired(); }

    /// Keeps every other holder, in this program too, out of what the directory `name` stands for, until
    /// `lock` is gone. It has nothing to do with the lock above. -EWOULDBLOCK when somebody has it.
    [[nodiscard]] int LockDirectory(std::string_view name, std::unique_ptr<FileLock>& lock) const;

    /// For an operation on many files: as long as what it returns lives, a directory in which names are looked for in other
    /// letters is listed once, not for each name. What this object makes, renames and removes meanwhile is followed. What
    /// others make is found as it is spelled, and perhaps not in other letters.
    [[nodiscard]] std::shared_ptr<const DirectoryListings> KeepListings() const;

  private:
    enum class LetterCase { Any, AsSpelled };
    [[nodiscard]] int LocateComponent(const std::filesystem::path& directory, std::string_view component,
                                      LetterCase letterCase, std::filesystem::path& path) const;
    [[nodiscard]] int Locate(std::string_view name, LetterCase lastComponent,
                             std::filesystem::path& path) const;
    [[nodiscard]] int LocateFile(std::string_view name, std::filesystem::path& path) const;
    /// What changes names goes through these three, which tell the listings.
    [[nodiscard]] int OpenPath(const std::filesystem::path& path, OpenMode mode,
                               std::unique_ptr<File>& file) const;
    [[nodiscard]] int RenamePath(const std::filesystem::path& from, const std::filesystem::path& to);
    [[nodiscard]] int RemovePath(const std::filesystem::path& path);
    [[nodiscard]] bool Exists(const std::filesystem::path& path) const;
    [[nodiscard]] int MakeDirectory(const std::filesystem::path& path);
    [[nodiscard]] int CreateAnew(const std::filesystem::path& path, std::unique_ptr<File>& file);
    [[nodiscard]] int WriteBeside(const std::filesystem::path& beside, std::string_view bytes);

    FileSystem* fileSystem_;
    std::filesystem::path root_;
    std::weak_ptr<FileLock> held_;
    mutable std::weak_ptr<DirectoryListings> listings_;
};

/// A share in the lock of a `Workspace`; empty until `Workspace::Lock` fills it.
class WorkspaceLock {
  private:
    friend class Workspace;
    std::shared_ptr<FileLock> share_;
};

}  // namespace postkite::core
