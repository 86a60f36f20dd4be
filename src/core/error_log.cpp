#include "core/error_log.h"

#include <memory>
#include <string>

namespace postkite::core {

void LogError(Workspace& workspace, std::string_view text) {
    std::unique_ptr<File> file;
    if (workspace.Open("error.log", OpenMode::ReadWriteOrCreate, file) < 0) return;
    const std::int64_t size = file->Size();
    if (size < 0) return;
    const std::string line = std::string(text) + "\r\n";
    // Half a line, of a disk that has just become full, would run into the next one.
    if (file->WriteAt(static_cast<std::uint64_t>(size), line) < 0) {
        static_cast<void>(file->Truncate(static_cast<std::uint64_t>(size)));
    }
}

}  // namespace postkite::core
