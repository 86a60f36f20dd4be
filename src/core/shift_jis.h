#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "core/cp932_encoding.h"

/// Text as the engine holds it: a `std::string` is Shift-JIS (code page 932) bytes, a `std::u8string` is
/// UTF-8.
///
/// Trail bytes cover most of ASCII's letters and `@ [ \ ] ^ _ { | } ~`, so a text that can hold double-byte
/// characters is stepped, cut and searched with the functions here and never byte by byte. A lead byte takes
/// the next byte with it whatever that is.
namespace postkite::core {

/// 0x81 to 0x9F and 0xE0 to 0xFC: the bytes that begin a two-byte character.
[[nodiscard]] constexpr bool IsLeadByte(char byte) noexcept {
    const auto value = static_cast<unsigned char>(byte);
    return (value >= 0x81 && value <= 0x9F) || (value >= 0xE0 && value <= 0xFC);
}

/// The bytes of the character at `position`, a character boundary before the end: 2 behind a lead byte unless
/// the text ends there, else 1.
[[nodiscard]] constexpr std::size_t CharacterLength(std::string_view text, std::size_t position) noexcept {
    return IsLeadByte(text[position]) && position + 1 < text.size() ? 2 : 1;
}

/// The longest beginning of `text` that has at most `maxBytes` bytes and splits no character.
[[nodiscard]] constexpr std::string_view CutToBytes(std::string_view text, std::size_t maxBytes) noexcept {
    if (text.size() <= maxBytes) return text;
    std::size_t end = 0;
    while (end < maxBytes) {
        const std::size_t next = end + CharacterLength(text, end);
        if (next > maxBytes) break;
        end = next;
    }
    return text.substr(0, end);
}

/// Where the single-byte character `character` first stands at or behind `from`, itself a character boundary.
/// A trail byte is never taken for it. npos when there is none or `from` is behind the end.
[[nodiscard]] std::size_t FindCharacter(std::string_view text, char character, std::size_t from = 0) noexcept;

/// The same for the last one of the text.
[[nodiscard]] std::size_t FindLastCharacter(std::string_view text, char character) noexcept;

/// Where `wanted` first begins at a character boundary at or behind `from`, itself one. npos when it does not
/// or `from` is behind the end. An empty text is found at `from`.
[[nodiscard]] std::size_t FindText(std::string_view text, std::string_view wanted,
                                   std::size_t from = 0) noexcept;

/// For file names, and whatever else comes back through `FromUtf8`. Bytes that are no character become U+FFFD:
/// one for a lead byte and a trail byte that together have no character, one for a lead byte without a trail
/// byte, and then the byte behind it is read anew. The five single bytes that are no character but have a
/// private meaning keep it, and so come back: 0x80 is U+0080, 0xA0 U+F8F0, 0xFD to 0xFF U+F8F1 to U+F8F3.
[[nodiscard]] std::u8string ToUtf8(std::string_view text);

/// For people and for other programs: the same, but those five become U+FFFD as well.
[[nodiscard]] std::u8string ToShownUtf8(std::string_view text);

/// For what people type and for file names. Where the code page has a character more than once the lowest
/// code wins, and the characters that other systems use for a full-width sign become that sign (U+301C and
/// U+FF5E are both 0x8160). nullopt for malformed UTF-8 or a character that the code page lacks; `refusedAt`,
/// if given, then holds the byte where it begins, and is left alone otherwise.
[[nodiscard]] std::optional<std::string> FromUtf8(std::u8string_view text, std::size_t* refusedAt = nullptr);

inline namespace literals {

/// `"通信ポート"_sjis`: the text in the code page, converted while compiling. The bytes are static and have a
/// closing zero behind them. A text that the code page lacks does not compile, and neither does one that only
/// the leniency of `FromUtf8` would save.
template <detail::LiteralText text>
[[nodiscard]] consteval std::string_view operator""_sjis() noexcept {
    constexpr const auto& encoded = detail::kEncodedLiteral<text>;
    static_assert(encoded.inCodePage, "the literal holds a character that code page 932 lacks");
    return {encoded.bytes, encoded.size};
}

}  // namespace literals

}  // namespace postkite::core
