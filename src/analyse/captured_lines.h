#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/line_reader.h"
#include "store/mail_record.h"

namespace postkite::analyse {

/// Whether a line is the summary by which the host opens a mail: 54 bytes with the date in its columns.
[[nodiscard]] bool IsMailHeaderLine(std::string_view line);

/// Whether a line of a mail is what the host asks behind it, and so ends it.
[[nodiscard]] bool EndsMail(std::string_view line);

/// The lines that do so, as they begin.
[[nodiscard]] std::span<const std::string_view> QuestionsBehindMail();

/// The lines of a capture. A last one without a line end is a line like any other. Borrows the file.
class CapturedLines {
  public:
    /// The rest of a longer line is dropped: a line is never more than a mail can hold.
    static constexpr std::size_t kLongestLine = store::MAIL_BODY_MAX;

    explicit CapturedLines(core::File& capture) : reader_(capture, kLongestLine) {}

    /// False at the end, where the line is still the one before, and where the capture cannot be read on.
    [[nodiscard]] bool Read();

    /// Valid until the next one is read.
    [[nodiscard]] std::string_view line() const { return line_; }
    /// Where it begins, and where it ends.
    [[nodiscard]] std::uint64_t lineStart() const { return lineStart_; }
    [[nodiscard]] std::uint64_t position() const { return reader_.position(); }
    [[nodiscard]] int error() const { return reader_.error(); }
    void Seek(std::uint64_t position) { reader_.Seek(position); }

  private:
    core::LineReader reader_;
    std::string kept_;
    std::string_view line_;
    std::uint64_t lineStart_ = 0;
};

}  // namespace postkite::analyse
