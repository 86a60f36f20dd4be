#include "store/text_window.h"

#include <algorithm>
#include <cstring>

#include "store/mail_record.h"

namespace postkite::store {

namespace {

/// One mail is wanted more often than a whole file: the first block is small.
constexpr std::size_t kFirstBlockBytes = 16 * 1024;
constexpr std::size_t kBlockBytes = 256 * 1024;
constexpr std::size_t kGrowth = 4;

}  // namespace

std::string_view TextWindow::At(std::uint64_t offset, std::size_t count) {
    const bool begins = offset >= start_ && offset < start_ + bytes_;
    if (!begins || start_ + bytes_ - offset < count) {
        // What is here already of the piece is moved to the front, not read again.
        const std::size_t kept = begins ? static_cast<std::size_t>(start_ + bytes_ - offset) : 0;
        if (kept > 0) std::memmove(block_.data(), block_.data() + (offset - start_), kept);
        // A block that was not filled has the file's end in it.
        const bool filled = bytes_ == block_.size();
        const std::size_t next = std::clamp(block_.size() * kGrowth, kFirstBlockBytes, kBlockBytes);
        block_.resize(std::max({block_.size(), count, filled ? next : 0}));
        const std::int64_t read = file_->ReadAt(offset + kept, std::span<char>(block_).subspan(kept));
        if (read < 0) error_ = static_cast<int>(read);
        start_ = offset;
        bytes_ = kept + (read > 0 ? static_cast<std::size_t>(read) : 0);
    }
    const std::size_t from = static_cast<std::size_t>(offset - start_);
    return {block_.data() + from, std::min(count, bytes_ - from)};
}

bool TextWindow::ReadLine(std::uint64_t& offset, std::string& line) {
    constexpr std::size_t kFirstPieceBytes = 1024;
    for (std::size_t length = kFirstPieceBytes;; length *= 2) {
        const std::string_view piece = At(offset, length);
        const std::size_t end = piece.find('\r');
        if (end != std::string_view::npos) {
            line = piece.substr(0, end);
            offset += end + 2;
            return true;
        }
        if (piece.size() < length || length >= MAIL_BODY_MAX) return false;
    }
}

bool TextWindow::ReadUpTo(std::uint64_t offset, std::string_view end, std::size_t limit, std::string& text) {
    // Most texts are short: look for the end in pieces that grow, from where the last piece could have missed it.
    constexpr std::size_t kFirstPieceBytes = 4096;
    std::size_t searched = 0;
    for (std::size_t length = std::min(kFirstPieceBytes, limit);; length = std::min(length * 2, limit)) {
        const std::string_view piece = At(offset, length);
        const std::size_t found = piece.find(end, searched);
        if (found != std::string_view::npos || piece.size() < length || length == limit) {
            text = piece.substr(0, found);
            return found != std::string_view::npos;
        }
        searched = piece.size() - (end.size() - 1);
    }
}

}  // namespace postkite::store
