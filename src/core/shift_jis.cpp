#include "core/shift_jis.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace postkite::core {

namespace {

constexpr std::size_t kTrailBytes = 0xFC - 0x40 + 1;

struct LenientCode {
    char16_t character;
    char16_t code;
};

/// Characters that input methods and other systems use for a sign of the code page. The sign's own character
/// (U+FF5E, U+FF0D, U+2225, U+FFE0, U+FFE1, U+FFE2, U+2015) is in the tables.
constexpr LenientCode kLenientCodes[] = {
    {0x301C, 0x8160},  // wave dash
    {0x2212, 0x817C},  // minus sign
    {0x2016, 0x8161},  // double vertical line
    {0x00A2, 0x8191},  // cent sign
    {0x00A3, 0x8192},  // pound sign
    {0x00AC, 0x81CA},  // not sign
    {0x2014, 0x815C},  // em dash
};

constexpr bool IsTrailByte(unsigned char byte) noexcept {
    return byte >= 0x40 && byte <= 0xFC && byte != 0x7F;
}

/// `lead` is a lead byte, `trail` a trail byte.
char16_t DoubleByteCharacter(unsigned char lead, unsigned char trail) noexcept {
    const std::size_t row = lead < 0xA0 ? lead - 0x81U : lead - 0xC1U;
    return detail::kCp932DoubleBytes[row * kTrailBytes + (trail - 0x40U)];
}

/// How many of the eight bytes, in the order of memory, come before the first that is not ASCII.
std::size_t AsciiBytes(std::uint64_t eightBytes) noexcept {
    const std::uint64_t high = eightBytes & 0x8080808080808080U;
    const int bits =
        std::endian::native == std::endian::little ? std::countr_zero(high) : std::countl_zero(high);
    return static_cast<std::size_t>(bits) / 8;
}

/// Copies ASCII from `in` to `out` up to `end` or the first other byte, and moves both behind it. There is as
/// much room at `out` as there is input; what it holds behind the copied bytes is undefined.
template <typename In, typename Out>
void CopyAscii(const In*& in, const In* end, Out*& out) noexcept {
    while (end - in >= 8) {
        std::uint64_t eightBytes;
        std::memcpy(&eightBytes, in, 8);
        std::memcpy(out, &eightBytes, 8);
        const std::size_t copied = AsciiBytes(eightBytes);
        in += copied;
        out += copied;
        if (copied < 8) return;
    }
    while (in != end && static_cast<unsigned char>(*in) < 0x80)
        *out++ = static_cast<Out>(*in++);
}

char8_t* WriteUtf8(char16_t character, char8_t* out) noexcept {
    const unsigned value = character;
    if (value < 0x800) {
        *out++ = static_cast<char8_t>(0xC0U | value >> 6U);
    } else {
        *out++ = static_cast<char8_t>(0xE0U | value >> 12U);
        *out++ = static_cast<char8_t>(0x80U | (value >> 6U & 0x3FU));
    }
    *out++ = static_cast<char8_t>(0x80U | (value & 0x3FU));
    return out;
}

/// 0 when there is none.
char16_t LenientCodeOf(char16_t character) noexcept {
    for (const LenientCode& entry : kLenientCodes)
        if (entry.character == character) return entry.code;
    return 0;
}

/// Goes from `boundary`, a character boundary, to the first one at or behind `position`.
std::size_t BoundaryFrom(std::string_view text, std::size_t boundary, std::size_t position) noexcept {
    while (boundary < position)
        boundary += CharacterLength(text, boundary);
    return boundary;
}

}  // namespace

std::size_t FindCharacter(std::string_view text, char character, std::size_t from) noexcept {
    for (std::size_t position = from; position < text.size();) {
        const std::size_t length = CharacterLength(text, position);
        if (length == 1 && text[position] == character) return position;
        position += length;
    }
    return std::string_view::npos;
}

std::size_t FindLastCharacter(std::string_view text, char character) noexcept {
    std::size_t last = std::string_view::npos;
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t length = CharacterLength(text, position);
        if (length == 1 && text[position] == character) last = position;
        position += length;
    }
    return last;
}

std::size_t FindText(std::string_view text, std::string_view wanted, std::size_t from) noexcept {
    std::size_t boundary = from;
    while (true) {
        const std::size_t found = text.find(wanted, boundary);
        if (found == std::string_view::npos) return found;
        boundary = BoundaryFrom(text, boundary, found);
        if (boundary == found) return found;
    }
}

namespace {

enum class PrivateBytes { Kept, Replaced };

/// Of a byte that no trail byte follows.
char16_t SingleByteCharacter(unsigned char byte, PrivateBytes privateBytes) noexcept {
    const bool halfWidthKatakana = byte >= 0xA1 && byte <= 0xDF;
    if (privateBytes == PrivateBytes::Replaced && !halfWidthKatakana) return 0xFFFD;
    return detail::kCp932SingleBytes[byte];
}

std::u8string Decode(std::string_view text, PrivateBytes privateBytes) {
    std::u8string utf8(3 * text.size(), u8'\0');
    char8_t* out = utf8.data();
    const char* in = text.data();
    const char* const end = in + text.size();
    while (in != end) {
        const auto byte = static_cast<unsigned char>(*in);
        if (byte < 0x80) {
            CopyAscii(in, end, out);
        } else if (IsLeadByte(*in) && end - in > 1 && IsTrailByte(static_cast<unsigned char>(in[1]))) {
            out = WriteUtf8(DoubleByteCharacter(byte, static_cast<unsigned char>(in[1])), out);
            in += 2;
        } else {
            out = WriteUtf8(SingleByteCharacter(byte, privateBytes), out);
            ++in;
        }
    }
    utf8.resize(static_cast<std::size_t>(out - utf8.data()));
    return utf8;
}

}  // namespace

std::u8string ToUtf8(std::string_view text) {
    return Decode(text, PrivateBytes::Kept);
}

std::u8string ToShownUtf8(std::string_view text) {
    return Decode(text, PrivateBytes::Replaced);
}

std::optional<std::string> FromUtf8(std::u8string_view text, std::size_t* refusedAt) {
    std::string bytes(text.size(), '\0');
    char* out = bytes.data();
    const char8_t* in = text.data();
    const char8_t* const end = in + text.size();
    while (in != end) {
        if (*in < 0x80) {
            CopyAscii(in, end, out);
            continue;
        }
        const detail::Utf8Character next = detail::ReadUtf8Character(in, static_cast<std::size_t>(end - in));
        unsigned code = detail::Cp932Code(next.character);
        if (code == 0) code = LenientCodeOf(next.character);
        if (code == 0) {
            if (refusedAt != nullptr) *refusedAt = static_cast<std::size_t>(in - text.data());
            return std::nullopt;
        }
        // No branch: texts mix codes of one and of two bytes. There is room for two, as the character took
        // two or three.
        const bool isDouble = code > 0xFF;
        out[0] = static_cast<char>(isDouble ? code >> 8U : code);
        out[1] = static_cast<char>(code & 0xFFU);
        out += isDouble ? 2 : 1;
        in += next.length;
    }
    bytes.resize(static_cast<std::size_t>(out - bytes.data()));
    return bytes;
}

}  // namespace postkite::core
