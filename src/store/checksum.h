#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace postkite::store {

inline constexpr std::uint64_t kFirstSum = 0xcbf29ce484222325;

/// A sum that tells bytes from torn and from foreign ones, going on from `sum`. Of whole words of eight
/// bytes, low byte first, the last of them filled up with zeros. Not for bytes that somebody wants to be
/// mistaken.
[[nodiscard]] inline std::uint64_t SumOf(std::string_view bytes, std::uint64_t sum) {
    constexpr std::uint64_t kFactor = 0x100000001b3;
    for (std::size_t at = 0; at < bytes.size(); at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + at, std::min(sizeof(word), bytes.size() - at));
        // High bits reach low ones through the turning.
        sum = (sum ^ word) * kFactor;
        sum = (sum << 29U) | (sum >> 35U);
    }
    return sum;
}

}  // namespace postkite::store
