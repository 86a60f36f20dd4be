#include "comm/upload_file.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace postkite::comm {

namespace {

constexpr std::size_t kBlockBytes = 4 * UploadFile::kLongestPart;

}  // namespace

int UploadFile::Open(const core::Workspace& workspace, std::string_view name) {
    Close();
    std::unique_ptr<core::File> file;
    const int error = workspace.Open(name, core::OpenMode::Read, file);
    if (error < 0) return error;
    const std::int64_t size = file->Size();
    if (size < 0) return static_cast<int>(size);
    file_ = std::move(file);
    sizeBytes_ = static_cast<std::uint64_t>(size);
    block_.resize(kBlockBytes);
    return 0;
}

void UploadFile::Close() {
    file_.reset();
    sizeBytes_ = 0;
    error_ = 0;
    offset_ = 0;
    blockStart_ = 0;
    blockEnd_ = 0;
}

std::int64_t UploadFile::Fill() {
    std::memmove(block_.data(), block_.data() + blockStart_, blockEnd_ - blockStart_);
    blockEnd_ -= blockStart_;
    blockStart_ = 0;
    const std::int64_t count = file_->ReadAt(offset_, std::span(block_).subspan(blockEnd_));
    if (count <= 0) return count;
    offset_ += static_cast<std::uint64_t>(count);
    blockEnd_ += static_cast<std::size_t>(count);
    return count;
}

UploadFile::Piece UploadFile::Next(std::string_view& text) {
    if (file_ == nullptr) return Piece::End;
    for (;;) {
        const std::string_view held(block_.data() + blockStart_, blockEnd_ - blockStart_);
        const std::size_t lineFeed = held.substr(0, kLongestPart).find('\n');
        if (lineFeed != std::string_view::npos) {
            text = held.substr(0, lineFeed + 1);
            blockStart_ += text.size();
            return Piece::Line;
        }
        // One byte more: a part must not end between CR and LF, nor where the file ends.
        if (held.size() > kLongestPart) {
            text = held.substr(0, held[kLongestPart - 1] == '\r' ? kLongestPart - 1 : kLongestPart);
            blockStart_ += text.size();
            return Piece::Part;
        }
        const std::int64_t count = Fill();
        if (count < 0) {
            error_ = static_cast<int>(count);
            return Piece::Fault;
        }
        if (count > 0) continue;
        text = std::string_view(block_.data() + blockStart_, blockEnd_ - blockStart_);
        blockStart_ = blockEnd_;
        return text.empty() ? Piece::End : Piece::Line;
    }
}

}  // namespace postkite::comm
