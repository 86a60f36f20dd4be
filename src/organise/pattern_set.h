#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace postkite::organise {

enum class LetterCase { Ignored, Counts };

/// The text as it is compared when letter case is ignored: every byte from 'a' to 'z' becomes a capital, also
/// one within a double-byte character. That is how searching has always worked, so two characters that differ
/// in such a byte alone are the same one here.
[[nodiscard]] std::string ToCapitals(std::string_view text);

/// Numbered texts to be looked for in other texts, all of them in one pass: what a search costs grows with the
/// searched text and hardly with the number of patterns.
///
/// A table says of any four bytes whether a pattern begins with them, or nearly begins: where the shortest
/// pattern has n + 3 bytes, four bytes that stand up to n - 1 bytes behind a beginning are in the table too,
/// and only every n-th place of a text has to be looked at. Where the table says so, the patterns, which are
/// sorted, are narrowed down byte by byte. Patterns of fewer than four bytes have tables of their own.
class PatternSet {
  public:
    static constexpr std::size_t kLongestPattern = 255;

    struct Pattern {
        int number;
        std::string_view text;  ///< not empty, at most `kLongestPattern` bytes
    };

    PatternSet() = default;
    /// Keeps copies of the texts.
    PatternSet(const std::vector<Pattern>& patterns, LetterCase letterCase);

    /// The lowest number of a pattern, below `limit`, that stands somewhere in `text`; `limit` when none does.
    [[nodiscard]] int FindLowest(std::string_view text, int limit) const;

    /// Whether a pattern has a number below `limit`: whether there is anything to be looked for at all.
    [[nodiscard]] bool hasBelow(int limit) const { return !patterns_.empty() && lowestNumber_ < limit; }

  private:
    struct Kept {
        int number;
        std::string text;
    };
    /// Patterns that are told apart by as many bytes.
    struct Group {
        std::uint32_t mask = 0;             ///< of those bytes among four
        std::size_t gramBytes = 0;          ///< how many they are
        std::size_t step = 1;               ///< from one place that is looked at to the next
        std::vector<std::uint8_t> isKnown;  ///< by the hash of the bytes
    };
    struct Piece;

    void AddGroup(std::size_t gramBytes);
    void Match(const Piece& piece, std::size_t at, int& lowest) const;
    void MatchNear(const Piece& piece, std::size_t at, const Group& group, int& lowest) const;
    void Search(const Piece& piece, const Group& group, int& lowest) const;

    LetterCase letterCase_ = LetterCase::Counts;
    std::vector<Kept> patterns_;                  ///< in the order of their texts, each text once
    std::array<std::uint16_t, 257> firstByte_{};  ///< where the patterns with that first byte begin
    int lowestNumber_ = 0;
    std::size_t longest_ = 0;
    std::vector<Group> groups_;
};

}  // namespace postkite::organise
