#pragma once

#include "core/file_system.h"

namespace postkite::core {

/// The operating system's files. Has no state; one a program is enough.
class SystemFileSystem final : public FileSystem {
  public:
    [[nodiscard]] int Open(const std::filesystem::path& path, OpenMode mode,
                           std::unique_ptr<File>& file) override;
    [[nodiscard]] int Inspect(const std::filesystem::path& path, EntryKind& kind) override;
    [[nodiscard]] int List(const std::filesystem::path& directory,
                           std::vector<std::filesystem::path>& names) override;
    [[nodiscard]] int Rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
    [[nodiscard]] int Remove(const std::filesystem::path& path) override;
    [[nodiscard]] int CreateDirectory(const std::filesystem::path& path) override;
    [[nodiscard]] int SyncDirectory(const std::filesystem::path& directory) override;
    [[nodiscard]] int Lock(const std::filesystem::path& directory, bool wait,
                           std::unique_ptr<FileLock>& lock) override;
};

}  // namespace postkite::core
