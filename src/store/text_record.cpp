#include "store/text_record.h"

#include <algorithm>
#include <array>

#include "store/index_record.h"

namespace postkite::store {

namespace {

using Member = std::string MailRecord::*;

constexpr Member kHeaderLines[] = {
    &MailRecord::flags,     &MailRecord::localId,      &MailRecord::address,  &MailRecord::name,
    &MailRecord::date,      &MailRecord::subject,      &MailRecord::attach,   &MailRecord::cc,
    &MailRecord::bcc,       &MailRecord::extraAddress, &MailRecord::sizeText, &MailRecord::sourceId,
    &MailRecord::messageId, &MailRecord::spare1,       &MailRecord::spare2,   &MailRecord::spare3,
};

/// Whether the text together with the line end behind it would form the terminator.
bool EndsLikeTerminator(std::string_view text) {
    return text.ends_with(kTerminator.substr(0, 2));
}

bool HasLine17(std::string_view flags) {
    return flags.size() > flag::kLine17 && flags[flag::kLine17] == 'Y';
}

/// Moves `offset` behind the header lines. False when the text ends before they do.
bool SkipHeader(TextWindow& text, std::uint64_t& offset) {
    std::string line;
    bool hasLine17 = false;
    for (std::size_t number = 0; number < std::size(kHeaderLines); ++number) {
        if (!ReadHeaderField(text, offset, line)) return false;
        if (number == 0) hasLine17 = HasLine17(line);
    }
    return !hasLine17 || ReadHeaderField(text, offset, line);
}

}  // namespace

void FormatHeaderLines(const MailRecord& record, std::string& output) {
    const auto line = [&output](std::string_view text, std::size_t width) {
        output += text;
        if (text.size() < width) {
            output.append(width - text.size(), ' ');
        } else if (EndsLikeTerminator(text)) {
            output += ' ';
        }
        output += "\r\n";
    };
    for (const Member member : kHeaderLines)
        line(record.*member, member == &MailRecord::date ? kDateLineBytes : 0);
    line(record.spare5, 0);
}

std::string_view EndBehind(std::string_view body) {
    constexpr std::string_view kEnd = " \r\n\x01\x01\r\n";
    static_assert(kEnd.ends_with(kTerminator));
    if (body.ends_with('\n')) return kEnd.substr(3);
    return EndsLikeTerminator(body) ? kEnd : kEnd.substr(1);
}

void FormatTextRecord(const MailRecord& record, std::string& output) {
    FormatHeaderLines(record, output);
    output += record.body;
    output += EndBehind(record.body);
}

bool ReadHeaderField(TextWindow& text, std::uint64_t& offset, std::string& field) {
    if (!text.ReadLine(offset, field)) return false;
    field.resize(std::min(field.find('\0'), field.size()));
    return true;
}

std::string_view WholeTextRecord(TextWindow& text, std::uint64_t offset, std::size_t bytesBehind) {
    // Old files can hold header lines that end in the terminator's first bytes; such a line closes no mail. A
    // terminator in the first place does: it is all that is left of a mail whose text was lost.
    std::uint64_t body = offset;
    if (text.At(offset, kTerminator.size()) != kTerminator && !SkipHeader(text, body)) body = offset;
    constexpr std::size_t kFirstPieceBytes = 8192;
    constexpr std::size_t kSearchBytes = kLongestTextRecordBytes;
    std::size_t searched = static_cast<std::size_t>(body - offset);
    for (std::size_t length = std::max(kFirstPieceBytes, std::min(searched * 2, kSearchBytes));;
         length = std::min(length * 2, kSearchBytes)) {
        const std::string_view piece = text.At(offset, length);
        const std::size_t end = piece.find(kTerminator, std::min(searched, piece.size()));
        if (end != std::string_view::npos) return text.At(offset, end + kTerminator.size() + bytesBehind);
        if (piece.size() < length || length == kSearchBytes) return {};
        searched = std::max(searched, piece.size() - (kTerminator.size() - 1));
    }
}

std::string_view IdentifierLineOf(std::string_view textRecord) {
    const std::size_t flagsEnd = textRecord.find('\r');
    if (flagsEnd == std::string_view::npos || flagsEnd + 2 > textRecord.size()) return {};
    const std::string_view second = textRecord.substr(flagsEnd + 2);
    return second.substr(0, second.find('\r'));
}

std::int64_t FlagLineBytes(core::File& text, std::uint64_t offset, std::string_view indexRecord) {
    // The flags and the identifier, each with its line end.
    std::array<char, index_field::kFlags.width + 2 + index_field::kLocalId.width + 2> lines{};
    const std::int64_t count = text.ReadAt(offset, lines);
    if (count <= 0) return count;
    const std::string_view read(lines.data(), static_cast<std::size_t>(count));
    const std::size_t end = read.find('\r');
    if (end == std::string_view::npos || end > index_field::kFlags.width || end + 2 > read.size()) return 0;
    return BearsIdentifierOf(indexRecord, IdentifierLineOf(read)) ? static_cast<std::int64_t>(end) : 0;
}

TextRecordFault ReadTextRecord(TextWindow& text, std::uint64_t offset, std::size_t bodyLimit,
                               MailRecord& record, HeaderLines lines) {
    for (const Member member : kHeaderLines) {
        std::string& value = record.*member;
        if (!ReadHeaderField(text, offset, value)) return TextRecordFault::Nowhere;
    }
    // What compaction leaves of a mail whose text was lost is a terminator alone; the lines behind it are
    // another mail's.
    if (record.flags == kTerminator.substr(0, 2)) return TextRecordFault::Nowhere;
    record.spare4.clear();
    record.spare5.clear();
    const bool hasLine17 = lines == HeaderLines::AsFlagged && HasLine17(record.flags);
    if (hasLine17 && !ReadHeaderField(text, offset, record.spare5)) return TextRecordFault::Nowhere;
    return text.ReadUpTo(offset, kTerminator, bodyLimit, record.body) ? TextRecordFault::None
                                                                      : TextRecordFault::Unended;
}

}  // namespace postkite::store
