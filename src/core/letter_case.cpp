#include "core/letter_case.h"

#include "core/shift_jis.h"

namespace postkite::core {

namespace {

struct CapitalRange {
    unsigned first;
    unsigned last;
    unsigned toSmall;  ///< what to add for the small letter
};

constexpr CapitalRange kCapitals[] = {
    {'A', 'Z', 'a' - 'A'},  {0x8260, 0x8279, 0x21},  // full-width Latin
    {0x839F, 0x83B6, 0x20},                          // Greek
    {0x8440, 0x844E, 0x30},                          // Cyrillic up to the gap at the small letters' 0x847F
    {0x844F, 0x8460, 0x31},                          // and behind it
};

unsigned SmallLetter(std::string_view character) {
    unsigned code = 0;
    for (const char byte : character) {
        code = code << 8 | static_cast<unsigned char>(byte);
    }
    for (const CapitalRange& range : kCapitals) {
        if (code >= range.first && code <= range.last) return code + range.toSmall;
    }
    return code;
}

}  // namespace

bool EqualIgnoringCase(std::string_view left, std::string_view right) noexcept {
    if (left.size() != right.size()) return false;
    for (std::size_t at = 0; at < left.size();) {
        const std::size_t length = CharacterLength(left, at);
        if (CharacterLength(right, at) != length) return false;
        if (SmallLetter(left.substr(at, length)) != SmallLetter(right.substr(at, length))) return false;
        at += length;
    }
    return true;
}

std::string SmallLetters(std::string_view text) {
    std::string small;
    small.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = CharacterLength(text, at);
        const unsigned code = SmallLetter(text.substr(at, length));
        if (length == 2) small += static_cast<char>(code >> 8);
        small += static_cast<char>(code & 0xFF);
        at += length;
    }
    return small;
}

}  // namespace postkite::core
