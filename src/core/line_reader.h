#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/file_system.h"

namespace postkite::core {

/// A place in a text file whose lines end in CR LF, for `ReadLogLine` and `ReadRawLine`. Reads the file in blocks, with the
/// results of reading it byte by byte. Borrows the file, which must outlive it and must not change meanwhile.
class LineReader {
  public:
    static constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

    /// Of a line of more than `longestLine` bytes the first `longestLine` are kept; the rest is read and
    /// dropped, so that a file without a line end does not fill the memory.
    explicit LineReader(File& file, std::size_t longestLine = kNoLimit);

    /// Offset of the next byte to be read.
    [[nodiscard]] std::uint64_t position() const { return position_; }
    void Seek(std::uint64_t position) { position_ = position; }

    /// The next line as `ReadLogLine` reads it, but not copied: valid until the reader is used again. Nothing where the line
    /// is not here whole; the reader stays where it is then, and `ReadLogLine` gives it.
    [[nodiscard]] std::optional<std::string_view> TakeLine();

    /// How many bytes stood behind the last line end, as the last reading that returned -1 found it: 0
    /// when the file ends with a line end, otherwise the length of the cut line (at most the longest line).
    [[nodiscard]] std::size_t cutLineBytes() const { return cutLine_.size(); }

    /// 0, or the negated errno value of the disk call that ended the reading for good.
    [[nodiscard]] int error() const { return error_; }

  private:
    friend int ReadLogLine(LineReader& file, std::string& buffer);
    friend int ReadRawLine(LineReader& file, std::string& buffer);

    [[nodiscard]] bool InBlock() const;
    [[nodiscard]] bool FillBlock();
    void Keep(const char* bytes, std::size_t count);
    [[nodiscard]] bool CollectUpTo(char end);

    File* file_;
    std::size_t longestLine_;
    std::uint64_t position_ = 0;
    std::vector<char> block_;
    std::uint64_t blockStart_ = 0;
    std::size_t blockBytes_ = 0;
    std::string cutLine_;
    int error_ = 0;
};

/// Reads one line: the bytes up to a CR. The CR ends the line and the one byte behind it, whatever it is, is
/// thrown away. Returns 0, with the line (zero bytes included) in `buffer`.
///
/// Returns -1 when the file ends, or cannot be read on, before a CR. The bytes read till then have
/// overwritten the beginning of `buffer`, and what stood behind them is left as it was: at the very end of a
/// file `buffer` still holds the previous line. Callers rely on that.
[[nodiscard]] int ReadLogLine(LineReader& file, std::string& buffer);

/// Reads one line with its end: the bytes up to and with an LF. Returns 0; also for the last line of a file without
/// an LF. -1 at the end of the file, and where the file cannot be read on; `buffer` is left alone then.
///
/// Of a line that is too long the end is dropped with the rest.
[[nodiscard]] int ReadRawLine(LineReader& file, std::string& buffer);

}  // namespace postkite::core
