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

int ReadLogLine(LineReader& file, std::string& buffer) {
    file.cutLine_.clear();
    for (;;) {
        if (!file.InBlock() && !file.FillBlock()) break;
        const char* start = file.block_.data() + (file.position_ - file.blockStart_);
        const std::size_t available = file.blockBytes_ - (file.position_ - file.blockStart_);
        const char* end = static_cast<const char*>(std::memchr(start, '\r', available));
        const std::size_t count = end == nullptr ? available : static_cast<std::size_t>(end - start);
        file.Keep(start, count);
        file.position_ += count;
        if (end == nullptr) continue;
        ++file.position_;
        if (file.InBlock() || file.FillBlock()) ++file.position_;
        buffer.assign(file.cutLine_);
        file.cutLine_.clear();
        return 0;
    }
    buffer.replace(0, std::min(buffer.size(), file.cutLine_.size()), file.cutLine_);
    return -1;
}

}  // namespace postkite::core
