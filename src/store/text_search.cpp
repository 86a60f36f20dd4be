#include "store/text_search.h"

#include <cstddef>
#include <string_view>

#include "store/index_record.h"
#include "store/mail_record.h"
#include "store/text_record.h"
#include "store/text_window.h"

namespace postkite::store {

namespace {

/// Longer lines are neither flags nor identifiers.
constexpr std::size_t kLongestLine = index_field::kFlags.width + kBytesBehindTerminator;

bool IsFlagLine(std::string_view line) {
    const auto isOneOf = [line](std::size_t position, std::string_view characters) {
        return line.size() > position && characters.find(line[position]) != std::string_view::npos;
    };
    return isOneOf(0, "RrSs") && isOneOf(flag::kSent, "Ss") && isOneOf(flag::kRead, "Rr");
}

/// How many bytes of a line are before the flags it ends in; nothing where it has none.
std::optional<std::size_t> BytesBeforeFlags(std::string_view line) {
    if (IsFlagLine(line)) return 0;
    // What compaction has put behind the mail before.
    if (line.size() > kBytesBehindTerminator && IsFlagLine(line.substr(kBytesBehindTerminator)))
        return kBytesBehindTerminator;
    return std::nullopt;
}

struct FlagLine {
    std::uint64_t offset;
    bool isDeleted;
};

std::optional<FlagLine> FlagsOf(std::string_view line, std::uint64_t offset) {
    const auto before = BytesBeforeFlags(line);
    if (!before) return std::nullopt;
    return FlagLine{offset + *before, line[*before + flag::kDeleted] == 'x'};
}

}  // namespace

int FindTexts(core::File& text, TextPlaces& places) {
    TextWindow window(text);
    std::optional<FlagLine> previous;  // the line before, where it has flags
    std::uint64_t offset = 0;
    std::map<std::string_view, bool>
        deleted;  // by identifiers of `places`: whether the mail that was found is
    constexpr std::size_t kPieceBytes = 4096;
    for (;;) {
        const std::string_view piece = window.At(offset, kPieceBytes);
        if (window.error() < 0) return window.error();
        const std::size_t end = piece.find('\r');
        if (end == std::string_view::npos) {
            if (piece.size() < kPieceBytes) return 0;
            // A line without an end is no header line: no more of it is kept than may be one's last bytes.
            offset += piece.size() - 1;
            previous.reset();
            continue;
        }
        const std::string_view line = piece.substr(0, end);
        const auto wanted = previous ? places.find(line) : places.end();
        if (wanted != places.end()) {
            const auto [found, isFirst] = deleted.try_emplace(wanted->first, previous->isDeleted);
            if (isFirst || (found->second && !previous->isDeleted)) {
                wanted->second = previous->offset;
                found->second = previous->isDeleted;
            }
        }
        previous = end <= kLongestLine ? FlagsOf(line, offset) : std::nullopt;
        offset += end + 2;
    }
}

}  // namespace postkite::store
