#include "core/line_reader.h"

#include <algorithm>
#include <cstring>

namespace postkite::core {

namespace {

constexpr std::size_t kBlockBytes = 64 * 1024;

}  // namespace

LineReader::LineReader(File& file, std::size_t longestLine) : file_(&file), longestLine_(longestLine) {
}

bool LineReader::InBlock() const {
    return position_ >= blockStart_ && position_ < blockStart_ + blockBytes_;
}

bool LineReader::FillBlock() {
    // Going on behind a failed read would take the middle of a line for its beginning.
    if (error_ != 0) return false;
    if (block_.empty()) block_.resize(kBlockBytes);
    const std::int64_t count = file_->ReadAt(position_, block_);
    if (count < 0) error_ = static_cast<int>(count);
    blockStart_ = position_;
    blockBytes_ = count > 0 ? static_cast<std::size_t>(count) : 0;
    return count > 0;
}

void LineReader::Keep(const char* bytes, std::size_t count) {
    cutLine_.append(bytes, std::min(count, longestLine_ - cutLine_.size()));
}

std::optional<std::string_view> LineReader::TakeLine() {
    if (!InBlock()) return std::nullopt;
    const char* start = block_.data() + (position_ - blockStart_);
    const std::size_t available = blockBytes_ - (position_ - blockStart_);
    const char* end = static_cast<const char*>(std::memchr(start, '\r', available));
    if (end == nullptr) return std::nullopt;
    const auto count = static_cast<std::size_t>(end - start);
    // The byte behind the CR has to be here too.
    if (count + 1 == available || count > longestLine_) return std::nullopt;
    position_ += count + 2;
    return std::string_view(start, count);
}

/// Collects the bytes in front of the next `end` and goes behind it. False where the file ends before.
bool LineReader::CollectUpTo(char end) {
    cutLine_.clear();
    while (InBlock() || FillBlock()) {
        const char* start = block_.data() + (position_ - blockStart_);
        const std::size_t available = blockBytes_ - (position_ - blockStart_);
        const char* found = static_cast<const char*>(std::memchr(start, end, available));
        const std::size_t count = found == nullptr ? available : static_cast<std::size_t>(found - start);
        Keep(start, count);
        position_ += count;
        if (found == nullptr) continue;
        ++position_;
        return true;
    }
    return false;
}

int ReadLogLine(LineReader& file, std::string& buffer) {
    if (file.CollectUpTo('\r')) {
        if (file.InBlock() || file.FillBlock()) ++file.position_;
        buffer.assign(file.cutLine_);
        file.cutLine_.clear();
        return 0;
    }
    buffer.replace(0, std::min(buffer.size(), file.cutLine_.size()), file.cutLine_);
    return -1;
}

int ReadRawLine(LineReader& file, std::string& buffer) {
    const bool ended = file.CollectUpTo('\n');
    if (ended) {
        file.Keep("\n", 1);
    } else if (file.error_ != 0 || file.cutLine_.empty()) {
        return -1;
    }
    buffer.assign(file.cutLine_);
    file.cutLine_.clear();
    return 0;
}

}  // namespace postkite::core
