#include "store/text_record.h"

#include <algorithm>

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

/// Reads one line into `value`. False when the text ends before the line does.
bool ReadHeaderLine(TextWindow& text, std::uint64_t& offset, std::string& value) {
    for (std::size_t length = 1024;; length *= 2) {
        const std::string_view piece = text.At(offset, length);
        const std::size_t end = piece.find('\r');
        if (end != std::string_view::npos) {
            value = piece.substr(0, end);
            offset += end + 2;
            return true;
        }
        if (piece.size() < length || length >= MAIL_BODY_MAX) return false;
    }
}

}  // namespace

void FormatTextRecord(const MailRecord& record, std::string& output) {
    const auto line = [&output](std::string_view text) {
        output += text;
        if (EndsLikeTerminator(text)) output += ' ';
        output += "\r\n";
    };
    for (const Member member : kHeaderLines) {
        std::string_view value = record.*member;
        if (member == &MailRecord::date && value.size() < kDateLineBytes) {
            std::string padded(value);
            padded.resize(kDateLineBytes, ' ');
            line(padded);
        } else {
            line(value);
        }
    }
    line(record.spare5);
    output += record.body;
    if (EndsLikeTerminator(record.body)) output += ' ';
    if (!record.body.ends_with('\n')) output += "\r\n";
    output += kTerminator;
}

std::string_view WholeTextRecord(TextWindow& text, std::uint64_t offset, std::size_t bytesBehind) {
    // Old files can hold header lines that end in the terminator's first bytes; such a line closes no mail. A terminator
    // in the first place does: it is all that is left of a mail whose text was lost.
    std::uint64_t body = offset;
    if (text.At(offset, kTerminator.size()) != kTerminator) {
        std::string line;
        for (std::size_t number = 0; number < std::size(kHeaderLines); ++number) {
            if (!ReadHeaderLine(text, body, line)) {
                body = offset;
                break;
            }
        }
    }
    constexpr std::size_t kFirstPieceBytes = 8192;
    constexpr std::size_t kSearchBytes = MAIL_BODY_MAX - 1;
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

TextRecordFault ReadTextRecord(TextWindow& text, std::uint64_t offset, std::size_t bodyLimit,
                               MailRecord& record) {
    for (const Member member : kHeaderLines) {
        if (!ReadHeaderLine(text, offset, record.*member)) return TextRecordFault::Nowhere;
    }
    // What compaction leaves of a mail whose text was lost is a terminator alone; the lines behind it are
    // another mail's.
    if (record.flags == kTerminator.substr(0, 2)) return TextRecordFault::Nowhere;
    record.spare4.clear();
    record.spare5.clear();
    const bool hasLine17 = record.flags.size() > flag::kLine17 && record.flags[flag::kLine17] == 'Y';
    if (hasLine17 && !ReadHeaderLine(text, offset, record.spare5)) return TextRecordFault::Nowhere;

    // Most mails are short: look for the end in pieces that grow, from where the last piece could have missed
    // it.
    constexpr std::size_t kFirstPieceBytes = 4096;
    std::size_t searched = 0;
    for (std::size_t length = std::min(kFirstPieceBytes, bodyLimit);;
         length = std::min(length * 2, bodyLimit)) {
        const std::string_view piece = text.At(offset, length);
        const std::size_t end = piece.find(kTerminator, searched);
        const bool last = piece.size() < length || length == bodyLimit;
        if (end != std::string_view::npos || last) {
            record.body = piece.substr(0, end);
            return end == std::string_view::npos ? TextRecordFault::Unended : TextRecordFault::None;
        }
        searched = piece.size() - std::min(piece.size(), kTerminator.size() - 1);
    }
}

}  // namespace postkite::store
