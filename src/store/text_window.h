#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/file_system.h"

namespace postkite::store {

/// Any piece of a file as bytes in memory, read in blocks and kept until another piece is asked for, so that
/// pieces in file order cost one pass over the file. Borrows the file.
class TextWindow {
  public:
    explicit TextWindow(core::File& file) : file_(&file) {}

    /// Up to `count` bytes from `offset` on, fewer only at the file's end or where reading fails. Valid until
    /// the next call.
    [[nodiscard]] std::string_view At(std::uint64_t offset, std::size_t count);

    /// Reads up to the next CR into `line` and moves `offset` behind the byte that follows it. False when the file ends
    /// before that, or the mail buffer would.
    [[nodiscard]] bool ReadLine(std::uint64_t& offset, std::string& line);

    /// Reads up to `end` into `text`. False when that is not within `limit` bytes: `text` is then what there is of them.
    [[nodiscard]] bool ReadUpTo(std::uint64_t offset, std::string_view end, std::size_t limit,
                                std::string& text);

    /// 0, or the negated errno value of the last read that failed.
    [[nodiscard]] int error() const { return error_; }

    /// To be called when the file has been written to.
    void Forget() { bytes_ = 0; }

  private:
    core::File* file_;
    std::vector<char> block_;
    std::uint64_t start_ = 0;
    std::size_t bytes_ = 0;
    int error_ = 0;
};

}  // namespace postkite::store
