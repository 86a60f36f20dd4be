#include "store/block_output.h"

#include <algorithm>

namespace postkite::store {

namespace {

constexpr std::size_t kBlockBytes = 32 * 1024;

}  // namespace

int BlockOutput::Add(std::string_view bytes) {
    if (!bytes.empty()) block_.reserve(kBlockBytes);
    while (!bytes.empty()) {
        const std::size_t room = kBlockBytes - static_cast<std::size_t>(end_ % kBlockBytes);
        const std::size_t count = std::min(room, bytes.size());
        block_ += bytes.substr(0, count);
        end_ += count;
        bytes.remove_prefix(count);
        if (count < room) break;
        const int flushed = Flush();
        if (flushed < 0) return flushed;
    }
    return 0;
}

int BlockOutput::Flush() {
    const int written = file_->WriteAt(end_ - block_.size(), block_);
    block_.clear();
    return written;
}

}  // namespace postkite::store
