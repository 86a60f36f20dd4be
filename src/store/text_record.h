#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/file_system.h"
#include "store/mail_record.h"
#include "store/text_window.h"

/// The layout of a mail in a folder's text, the ".mtx" file: 17 header lines (16 where flag 14 is not 'Y'),
/// the body, CR LF where the body does not end in LF, the terminator. Lines end in CR LF.
namespace postkite::store {

inline constexpr std::string_view kTerminator = "\x01\x01\r\n";

/// What compaction copies behind each terminator: the two bytes that follow it, as the files have always had them.
inline constexpr std::size_t kBytesBehindTerminator = 2;

/// Compaction finds no terminator behind more than these.
inline constexpr std::size_t kLongestTextRecordBytes = MAIL_BODY_MAX - 1;

/// What a body is read into at most in mode 1 and otherwise, and what of it stays free.
inline constexpr std::size_t kShortReadBytes = 30000;
inline constexpr std::size_t kReadHeadroomBytes = 1000;

/// The date line is padded to this width, so that it can be written over in place.
inline constexpr std::size_t kDateLineBytes = 50;

/// Appends the mail's bytes to `output`. Fields are written at full length. The mail is its header lines, its body and what
/// follows a body of these bytes.
void FormatTextRecord(const MailRecord& record, std::string& output);
void FormatHeaderLines(const MailRecord& record, std::string& output);
[[nodiscard]] std::string_view EndBehind(std::string_view body);

/// Reads one header line. False when the text ends before the line does. Fields have always ended at a zero byte.
[[nodiscard]] bool ReadHeaderField(TextWindow& text, std::uint64_t& offset, std::string& field);

/// The bytes of the mail at `offset` up to its terminator and, where there are as many, `bytesBehind` more; empty when
/// there is no terminator within the mail buffer. Valid until the window's next use.
[[nodiscard]] std::string_view WholeTextRecord(TextWindow& text, std::uint64_t offset,
                                               std::size_t bytesBehind);

/// The second line of a mail's bytes, its identifier.
[[nodiscard]] std::string_view IdentifierLineOf(std::string_view textRecord);

/// The length of the flag line of the mail at `offset` that the index record, 900 bytes, stands for; 0 where the text
/// holds another mail there or none; a negated errno value.
[[nodiscard]] std::int64_t FlagLineBytes(core::File& text, std::uint64_t offset,
                                         std::string_view indexRecord);

enum class TextRecordFault {
    None,
    Nowhere,  ///< the text ends before the header lines do
    Unended,  ///< no terminator within the limit: the body is cut there
};

/// How many header lines a mail has at most.
inline constexpr int kMostHeaderLines = 17;

enum class HeaderLines {
    AsFlagged,  ///< 17 where flag 14 says so, else 16
    Sixteen,    ///< whatever the flags say
};

/// Reads the mail at `offset` into `record`. Of the body at most `bodyLimit` bytes are read.
[[nodiscard]] TextRecordFault ReadTextRecord(TextWindow& text, std::uint64_t offset, std::size_t bodyLimit,
                                             MailRecord& record, HeaderLines lines = HeaderLines::AsFlagged);

}  // namespace postkite::store
