#include "store/text_window.h"

#include <algorithm>
#include <cstring>

namespace postkite::store {

namespace {

constexpr std::size_t kBlockBytes = 256 * 1024;

}  // namespace

std::string_view TextWindow::At(std::uint64_t offset, std::size_t count) {
    const bool begins = offset >= start_ && offset < start_ + bytes_;
    if (!begins || start_ + bytes_ - offset < count) {
        // What is here already of the piece is moved to the front, not read again.
        const std::size_t kept = begins ? static_cast<std::size_t>(start_ + bytes_ - offset) : 0;
        if (kept > 0) std::memmove(block_.data(), block_.data() + (offset - start_), kept);
        block_.resize(std::max({block_.size(), count, kBlockBytes}));
        const std::int64_t read = file_->ReadAt(offset + kept, std::span<char>(block_).subspan(kept));
        if (read < 0) error_ = static_cast<int>(read);
        start_ = offset;
        bytes_ = kept + (read > 0 ? static_cast<std::size_t>(read) : 0);
    }
    const std::size_t from = static_cast<std::size_t>(offset - start_);
    return {block_.data() + from, std::min(count, bytes_ - from)};
}

}  // namespace postkite::store
