#include "organise/pattern_set.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace postkite::organise {

namespace {

/// Bytes that are looked up at once.
constexpr std::size_t kMostGramBytes = 4;
/// More places of a pattern in the table would make it say yes too often.
constexpr std::size_t kLongestStep = 4;
constexpr std::size_t kHashes = 32768;

/// The searched text is taken in pieces of that size, so that what a pass works on stays in the processor's
/// nearest memory.
constexpr std::size_t kPieceBytes = 4096;

/// Places that are looked at before there is a decision.
constexpr std::size_t kPlacesAtOnce = 8;
/// Bytes behind a piece that may be read and mean nothing.
constexpr std::size_t kPadding = kPlacesAtOnce * kLongestStep + kMostGramBytes;

constexpr char Capital(char byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - ('a' - 'A')) : byte;
}

unsigned ByteAt(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

std::uint32_t GramAt(const char* bytes) {
    std::uint32_t gram = 0;
    std::memcpy(&gram, bytes, sizeof gram);
    return gram;
}

std::uint32_t MaskOf(std::size_t gramBytes) {
    return GramAt(std::string(gramBytes, '\xFF').append(kMostGramBytes - gramBytes, '\0').data());
}

std::size_t HashOf(std::uint32_t gram) {
    constexpr std::uint32_t kMultiplier = 0x9E3779B1;
    return gram * kMultiplier >> 17U;
}
static_assert(kHashes == std::size_t{1} << (32U - 17U));

}  // namespace

std::string ToCapitals(std::string_view text) {
    std::string capitals(text);
    std::transform(capitals.begin(), capitals.end(), capitals.begin(), Capital);
    return capitals;
}

/// A piece of the searched text, with `kPadding` bytes behind it.
struct PatternSet::Piece {
    const char* bytes;
    std::size_t size;
};

PatternSet::PatternSet(const std::vector<Pattern>& patterns, LetterCase letterCase)
    : letterCase_(letterCase) {
    for (const Pattern& pattern : patterns) {
        patterns_.push_back({pattern.number, letterCase == LetterCase::Ignored ? ToCapitals(pattern.text)
                                                                               : std::string(pattern.text)});
    }
    if (patterns_.empty()) return;
    std::sort(patterns_.begin(), patterns_.end(), [](const Kept& left, const Kept& right) {
        return left.text != right.text ? left.text < right.text : left.number < right.number;
    });
    const auto sameText = [](const Kept& left, const Kept& right) { return left.text == right.text; };
    patterns_.erase(std::unique(patterns_.begin(), patterns_.end(), sameText), patterns_.end());

    lowestNumber_ = patterns_.front().number;
    for (const Kept& pattern : patterns_) {
        lowestNumber_ = std::min(lowestNumber_, pattern.number);
        longest_ = std::max(longest_, pattern.text.size());
        ++firstByte_[ByteAt(pattern.text, 0) + 1];
    }
    for (std::size_t byte = 1; byte < firstByte_.size(); ++byte)
        firstByte_[byte] = static_cast<std::uint16_t>(firstByte_[byte] + firstByte_[byte - 1]);
    for (std::size_t gramBytes = 1; gramBytes <= kMostGramBytes; ++gramBytes)
        AddGroup(gramBytes);
}

void PatternSet::AddGroup(std::size_t gramBytes) {
    const auto isIn = [gramBytes](const Kept& pattern) {
        return std::min(pattern.text.size(), kMostGramBytes) == gramBytes;
    };
    std::size_t shortest = 0;
    for (const Kept& pattern : patterns_) {
        if (isIn(pattern) && (shortest == 0 || pattern.text.size() < shortest))
            shortest = pattern.text.size();
    }
    if (shortest == 0) return;
    Group group;
    group.mask = MaskOf(gramBytes);
    group.gramBytes = gramBytes;
    group.step = std::min(shortest - gramBytes + 1, kLongestStep);
    group.isKnown.resize(kHashes);
    for (const Kept& pattern : patterns_) {
        if (!isIn(pattern)) continue;
        for (std::size_t at = 0; at < group.step; ++at) {
            const std::string gram = pattern.text.substr(at, gramBytes).append(kMostGramBytes, '\0');
            group.isKnown[HashOf(GramAt(gram.data()) & group.mask)] = 1;
        }
    }
    groups_.push_back(std::move(group));
}

/// Looks for every pattern that begins at `at`.
void PatternSet::Match(const Piece& piece, std::size_t at, int& lowest) const {
    const std::string_view text(piece.bytes + at, piece.size - at);
    // Those that agree up to the byte at `depth`; a pattern that ends there is the first of them.
    auto begin = patterns_.begin() + firstByte_[ByteAt(text, 0)];
    auto end = patterns_.begin() + firstByte_[ByteAt(text, 0) + 1];
    for (std::size_t depth = 1; begin != end; ++depth) {
        if (begin->text.size() == depth) {
            lowest = std::min(lowest, begin->number);
            if (++begin == end) return;
        }
        if (depth >= text.size()) return;
        const unsigned wanted = ByteAt(text, depth);
        const auto byteOf = [depth](const Kept& pattern) { return ByteAt(pattern.text, depth); };
        // Sorted as they are, all agree where the first and the last do.
        if (byteOf(*begin) == byteOf(*std::prev(end))) {
            if (byteOf(*begin) != wanted) return;
            continue;
        }
        begin =
            std::partition_point(begin, end, [&](const Kept& pattern) { return byteOf(pattern) < wanted; });
        end =
            std::partition_point(begin, end, [&](const Kept& pattern) { return byteOf(pattern) == wanted; });
    }
}

/// Looks for the patterns that the bytes at `at` can belong to.
void PatternSet::MatchNear(const Piece& piece, std::size_t at, const Group& group, int& lowest) const {
    if (group.isKnown[HashOf(GramAt(piece.bytes + at) & group.mask)] == 0) return;
    for (std::size_t before = 0; before < group.step && before <= at; ++before)
        Match(piece, at - before, lowest);
}

void PatternSet::Search(const Piece& piece, const Group& group, int& lowest) const {
    const std::uint8_t* const isKnown = group.isKnown.data();
    for (std::size_t at = 0; at < piece.size; at += kPlacesAtOnce * group.step) {
        unsigned known = 0;
        for (std::size_t place = 0; place < kPlacesAtOnce; ++place)
            known |= isKnown[HashOf(GramAt(piece.bytes + at + place * group.step) & group.mask)];
        if (known == 0) continue;
        for (std::size_t place = 0; place < kPlacesAtOnce; ++place) {
            if (at + place * group.step < piece.size)
                MatchNear(piece, at + place * group.step, group, lowest);
        }
        if (lowest == lowestNumber_) return;
    }
}

int PatternSet::FindLowest(std::string_view text, int limit) const {
    if (!hasBelow(limit)) return limit;
    int lowest = limit;
    std::array<char, kPieceBytes + kPadding> bytes;
    // What may have begun before the end of a piece is looked for again in the next one.
    const std::size_t overlap = longest_ - 1;
    for (std::size_t start = 0; start < text.size(); start += kPieceBytes - overlap) {
        const std::string_view part = text.substr(start, kPieceBytes);
        if (letterCase_ == LetterCase::Ignored) {
            std::transform(part.begin(), part.end(), bytes.begin(), Capital);
        } else {
            part.copy(bytes.data(), part.size());
        }
        std::fill_n(bytes.data() + part.size(), kPadding, '\0');
        for (const Group& group : groups_) {
            Search({bytes.data(), part.size()}, group, lowest);
            if (lowest == lowestNumber_) return lowest;
        }
        if (part.size() < kPieceBytes) break;
    }
    return lowest;
}

}  // namespace postkite::organise
