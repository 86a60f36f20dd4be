#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace postkite::analyse {

inline constexpr std::uint64_t kHashOfNothing = 0xCBF29CE484222325;

/// FNV-1a, going on from the hash of what stood before.
[[nodiscard]] inline std::uint64_t HashOf(std::string_view bytes, std::uint64_t before = kHashOfNothing) {
    constexpr std::uint64_t kPrime = 0x100000001B3;
    for (const char byte : bytes)
        before = (before ^ static_cast<unsigned char>(byte)) * kPrime;
    return before;
}

/// 16 upper-case digits.
[[nodiscard]] inline std::string HexadecimalOf(std::uint64_t value) {
    std::string text(16, '0');
    for (std::size_t at = text.size(); at-- > 0; value >>= 4)
        text[at] = "0123456789ABCDEF"[value & 15];
    return text;
}

}  // namespace postkite::analyse
