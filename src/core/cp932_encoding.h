#pragma once

#include <cstddef>

#include "core/cp932_table.h"

/// UTF-8 into code page 932 one character at a time, for the conversion at run time and for the literal
/// alike. Nothing here is meant for other callers: see core/shift_jis.h.
namespace postkite::core::detail {

/// A character and the number of bytes that it takes; 0 bytes when there is no such character.
struct Utf8Character {
    char16_t character = 0;
    std::size_t length = 0;
};

constexpr bool IsContinuation(char8_t byte) noexcept {
    return (byte & 0xC0U) == 0x80U;
}

/// The character that begins at `text`, with `available` bytes to read, at least one. The code page has
/// nothing beyond U+FFFF, so a sequence of four bytes is refused unread. Surrogates are read: the tables have
/// no code for one.
constexpr Utf8Character ReadUtf8Character(const char8_t* text, std::size_t available) noexcept {
    const unsigned lead = text[0];
    if (lead < 0x80U) return {static_cast<char16_t>(lead), 1};
    if (lead >= 0xE0U && lead < 0xF0U) {
        if (available < 3 || !IsContinuation(text[1]) || !IsContinuation(text[2])) return {};
        const unsigned character = (lead & 0x0FU) << 12U | (text[1] & 0x3FU) << 6U | (text[2] & 0x3FU);
        if (character < 0x800U) return {};
        return {static_cast<char16_t>(character), 3};
    }
    // 0xC0 and 0xC1 could only begin an overlong form of an ASCII character.
    if (lead < 0xC2U || lead >= 0xE0U || available < 2 || !IsContinuation(text[1])) return {};
    return {static_cast<char16_t>((lead & 0x1FU) << 6U | (text[1] & 0x3FU)), 2};
}

/// The code that stands for exactly this character, one byte if below 0x100. 0 when there is none, and for
/// U+0000.
constexpr char16_t Cp932Code(char16_t character) noexcept {
    const std::size_t page = kCp932PageNumbers[character >> 6U];
    return kCp932Pages[page << 6U | (character & 0x3FU)];
}

/// The text of a literal, as a template argument can hold it. Closing zero included.
template <std::size_t size>
struct LiteralText {
    char8_t units[size] = {};

    // Not explicit: the literal's characters become the template argument through it.
    consteval LiteralText(const char (&text)[size]) noexcept {  // NOLINT(google-explicit-constructor)
        for (std::size_t i = 0; i < size; ++i)
            units[i] = static_cast<char8_t>(text[i]);
    }
};

/// A literal's bytes in the code page, with zeros behind them; never more bytes than in UTF-8.
template <std::size_t capacity>
struct EncodedLiteral {
    char bytes[capacity] = {};
    std::size_t size = 0;
    bool inCodePage = true;
};

template <std::size_t capacity>
consteval EncodedLiteral<capacity> EncodeLiteral(const LiteralText<capacity>& text) noexcept {
    EncodedLiteral<capacity> encoded;
    for (std::size_t position = 0; position < capacity - 1;) {
        const Utf8Character next = ReadUtf8Character(text.units + position, capacity - 1 - position);
        const unsigned code = Cp932Code(next.character);
        if (next.length == 0 || (code == 0 && next.character != 0)) {
            encoded.inCodePage = false;
            break;
        }
        if (code > 0xFF) encoded.bytes[encoded.size++] = static_cast<char>(code >> 8U);
        encoded.bytes[encoded.size++] = static_cast<char>(code & 0xFFU);
        position += next.length;
    }
    return encoded;
}

/// Where the bytes of a literal live.
template <LiteralText text>
inline constexpr auto kEncodedLiteral = EncodeLiteral(text);

}  // namespace postkite::core::detail
