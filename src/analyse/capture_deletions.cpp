#include "analyse/capture_deletions.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <memory>

#include "core/line_reader.h"

namespace postkite::analyse {

namespace {

constexpr std::string_view kFirstLine = "Postkite deletions 1";
constexpr std::size_t kLongestLine = 64;

}  // namespace

CaptureDeletions::CaptureDeletions(core::Workspace& workspace, std::string_view path)
    : workspace_(&workspace), fileName_(std::string(path) + std::string(kDeletionsSuffix)) {
}

int CaptureDeletions::Load() {
    std::unique_ptr<core::File> file;
    const int opened = workspace_->Open(fileName_, core::OpenMode::Read, file);
    if (opened < 0) return opened == -ENOENT ? 0 : opened;
    known_ = true;
    core::LineReader reader(*file, kLongestLine);
    std::string line;
    // A last line without its end was never answered for. Whatever else is no offset still is a deletion.
    while (core::ReadLogLine(reader, line) == 0) {
        if (line == kFirstLine) continue;
        std::uint64_t place = 0;
        std::from_chars(line.data(), line.data() + line.size(), place);
        if (place == 0) ++byNumber_;
        if (place != 0) places_.push_back(place);
    }
    std::sort(places_.begin(), places_.end());
    return reader.error();
}

int CaptureDeletions::TakeUpTo(std::uint64_t position) {
    const std::size_t before = next_;
    while (pending() && places_[next_] <= position)
        ++next_;
    return static_cast<int>(next_ - before);
}

void CaptureDeletions::Remove() {
    static_cast<void>(workspace_->Remove(fileName_));
}

}  // namespace postkite::analyse
