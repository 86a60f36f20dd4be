#include "core/shift_jis.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <array>
#include <cstddef>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace postkite::core {
namespace {

constexpr std::size_t npos = std::string_view::npos;

static_assert("通信ポート"_sjis == "\x92\xCA\x90M\x83|\x81[\x83g");
static_assert("a\\ｱ¨～\r\n"_sjis == "a\\\xB1\x81N\x81`\r\n");
static_assert("a\0b"_sjis == std::string_view("a\0b", 3) && ""_sjis.empty());
static_assert("能"_sjis.data()[2] == '\0');
// What does not compile: leniency, a character that the code page lacks, a torn one, one beyond U+FFFF.
static_assert(!detail::kEncodedLiteral<"a〜">.inCodePage && !detail::kEncodedLiteral<"é">.inCodePage);
static_assert(!detail::kEncodedLiteral<"\xE3\x81">.inCodePage && !detail::kEncodedLiteral<"😀">.inCodePage);

static_assert(CutToBytes("表能"_sjis, 3) == "表"_sjis && CharacterLength("表"_sjis, 0) == 2);

/// The C library's own conversion of single texts, which the tables are measured against.
class Reference {
  public:
    Reference(const char* to, const char* from) : converter_(iconv_open(to, from)) {}
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;
    ~Reference() { iconv_close(converter_); }

    std::optional<std::string> Convert(std::string in) {
        std::array<char, 16> out = {};
        char* from = in.data();
        char* to = out.data();
        std::size_t inLeft = in.size();
        std::size_t outLeft = out.size();
        iconv(converter_, nullptr, nullptr, nullptr, nullptr);
        if (iconv(converter_, &from, &inLeft, &to, &outLeft) == static_cast<std::size_t>(-1))
            return std::nullopt;
        return std::string(out.data(), to);
    }

  private:
    iconv_t converter_;
};

std::string Bytes(unsigned code) {
    std::string bytes;
    if (code > 0xFF) bytes += static_cast<char>(code >> 8U);
    return bytes += static_cast<char>(code & 0xFFU);
}

unsigned Code(std::string_view bytes) {
    unsigned code = 0;
    for (const char byte : bytes)
        code = code << 8U | static_cast<unsigned char>(byte);
    return code;
}

std::string Plain(std::u8string_view text) {
    return {text.begin(), text.end()};
}

std::u8string Units(std::string_view text) {
    return {text.begin(), text.end()};
}

std::u8string Utf8(unsigned character) {
    const auto continuation = [&](unsigned shift) {
        return static_cast<char8_t>(0x80U | (character >> shift & 0x3FU));
    };
    if (character < 0x80) return {static_cast<char8_t>(character)};
    if (character < 0x800) return {static_cast<char8_t>(0xC0U | character >> 6U), continuation(0)};
    return {static_cast<char8_t>(0xE0U | character >> 12U), continuation(6), continuation(0)};
}

bool IsLead(unsigned byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

bool IsTrail(unsigned byte) {
    return byte >= 0x40 && byte <= 0xFC && byte != 0x7F;
}

/// Single bytes that the C library refuses and Windows gives a meaning of its own.
const std::map<unsigned, unsigned> kPrivateBytes = {
    {0x80, 0x0080}, {0xA0, 0xF8F0}, {0xFD, 0xF8F1}, {0xFE, 0xF8F2}, {0xFF, 0xF8F3},
};

/// Characters that the C library turns into an ASCII byte that looks alike; here they are refused.
const std::map<unsigned, std::string> kLookAlikes = {{0x00A5, "\\"}, {0x203E, "~"}};

/// Codes whose character has a better one: all of rows 0xED and 0xEE, and single ones.
bool HasBetterCode(unsigned code) {
    static const std::set<unsigned> kSingle = {0x8790, 0x8791, 0x8792, 0x8795, 0x8796,
                                               0x8797, 0x879A, 0x879B, 0x879C};
    const bool repeatsRows81And87 = (code >= 0xFA4A && code <= 0xFA54) || (code >= 0xFA58 && code <= 0xFA5B);
    return (code >= 0xED40 && code <= 0xEEFC) || repeatsRows81And87 || kSingle.contains(code);
}

TEST(ShiftJis, DecodesEveryByteAndPairLikeTheCLibrary) {
    Reference reference("UTF-8", "CP932");
    const std::string replacement = Plain(Utf8(0xFFFD));
    std::vector<std::string> singles;
    for (unsigned byte = 0; byte < 0x100; ++byte) {
        const auto own = kPrivateBytes.find(byte);
        const auto theirs = reference.Convert(std::string(1, static_cast<char>(byte)));
        ASSERT_FALSE(own != kPrivateBytes.end() && theirs) << std::hex << byte;
        singles.push_back(own != kPrivateBytes.end() ? Plain(Utf8(own->second))
                                                     : theirs.value_or(replacement));
        ASSERT_EQ(Plain(ToUtf8(std::string(1, static_cast<char>(byte)))), singles.back()) << std::hex << byte;
        ASSERT_EQ(Plain(ToShownUtf8(std::string(1, static_cast<char>(byte)))), theirs.value_or(replacement));
    }
    for (unsigned first = 0; first < 0x100; ++first) {
        for (unsigned second = 0; second < 0x100; ++second) {
            const std::string text = {static_cast<char>(first), static_cast<char>(second)};
            const std::string expected = IsLead(first) && IsTrail(second)
                                             ? reference.Convert(text).value_or(replacement)
                                             : singles[first] + singles[second];
            ASSERT_EQ(Plain(ToUtf8(text)), expected) << std::hex << first << ' ' << second;
            // A trail byte that looks like one of the private bytes is none.
            if (IsLead(first) && IsTrail(second)) {
                ASSERT_EQ(Plain(ToShownUtf8(text)), expected) << std::hex << first << ' ' << second;
            }
        }
    }
}

TEST(ShiftJis, EncodesEveryCharacterLikeTheCLibrary) {
    Reference reference("CP932", "UTF-8");
    std::map<unsigned, std::string> privateCharacters;
    for (const auto& [byte, character] : kPrivateBytes)
        privateCharacters[character] = Bytes(byte);
    for (unsigned character = 0; character < 0x10000; ++character) {
        if (character >= 0xD800 && character < 0xE000) continue;
        const std::u8string text = Utf8(character);
        const auto ours = FromUtf8(text);
        const auto theirs = reference.Convert(Plain(text));
        if (const auto own = privateCharacters.find(character); own != privateCharacters.end()) {
            ASSERT_EQ(ours, own->second) << std::hex << character;
            ASSERT_EQ(theirs, std::nullopt) << std::hex << character;
        } else if (const auto alike = kLookAlikes.find(character); alike != kLookAlikes.end()) {
            ASSERT_EQ(ours, std::nullopt) << std::hex << character;
            ASSERT_EQ(theirs, alike->second) << std::hex << character;
        } else {
            ASSERT_EQ(ours, theirs) << std::hex << character;
        }
    }
}

TEST(ShiftJis, EveryAssignedCodeRoundTripsButTheDuplicates) {
    unsigned assigned = 0;
    for (unsigned code = 0; code < 0x10000; ++code) {
        if (code > 0xFF && !(IsLead(code >> 8U) && IsTrail(code & 0xFFU))) continue;
        const std::u8string text = ToUtf8(Bytes(code));
        if (text == Utf8(0xFFFD)) continue;
        ++assigned;
        const auto back = FromUtf8(text);
        ASSERT_TRUE(back) << std::hex << code;
        ASSERT_TRUE(ToUtf8(*back) == text) << std::hex << code;
        if (HasBetterCode(code)) {
            ASSERT_NE(Code(*back), code) << std::hex << code;
        } else {
            ASSERT_EQ(Code(*back), code) << std::hex << code;
        }
    }
    EXPECT_EQ(assigned, 9604U + 196U);
}

TEST(ShiftJis, WhatPeopleTypeMapsLeniently) {
    EXPECT_EQ(FromUtf8(u8"\u301C\uFF5E\u2212\uFF0D\u2016\u2225\u2014\u2015"),
              "\x81\x60\x81\x60\x81\x7C\x81\x7C\x81\x61\x81\x61\x81\x5C\x81\x5C");
    EXPECT_EQ(FromUtf8(u8"\u00A2\uFFE0\u00A3\uFFE1\u00AC\uFFE2"),
              "\x81\x91\x81\x91\x81\x92\x81\x92\x81\xCA\x81\xCA");
}

// ASCII goes eight bytes at a time: every place of a longer character among them, and every length of the
// rest.
TEST(ShiftJis, AsciiRunsOfEveryLengthSurvive) {
    for (std::size_t before = 0; before < 20; ++before) {
        for (std::size_t after = 0; after < 20; ++after) {
            const std::string ascii = "0123456789abcdefghij";
            const std::string text =
                ascii.substr(0, before) + std::string("表ｱ"_sjis) + ascii.substr(20 - after);
            const std::string utf8 = ascii.substr(0, before) + "表ｱ" + ascii.substr(20 - after);
            ASSERT_EQ(Plain(ToUtf8(text)), utf8);
            ASSERT_EQ(FromUtf8(Units(utf8)), text);
        }
    }
}

TEST(ShiftJis, MalformedAndMissingCharactersAreRefusedWhereTheyBegin) {
    const std::map<std::string, std::vector<std::string>> groups = {
        {"begins with a continuation", {"\x80", "\xBF"}},
        {"overlong",
         {"\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF", "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF"}},
        {"overlong form of a character that the code page has", {"\xE0\x82\xA7", "\xF0\x83\x81\x82"}},
        {"surrogate", {"\xED\xA0\x80", "\xED\xBF\xBF", "\xED\xA1\x80\xED\xB0\x80"}},
        {"beyond U+10FFFF", {"\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF8\x88\x80\x80\x80", "\xFE", "\xFF"}},
        {"broken off", {"\xC2", "\xC2\xC2\xA7", "\xE3", "\xE3\x81", "\xE3\xE3\x81\x82", "\xF0\x9F\x98"}},
        {"not in the code page",
         {"é", "¥", "‾", "\xEF\xBF\xBD", "\xEF\xBF\xBF", "😀", "𠮟", "\xF3\x81\x82\x80"}},
    };
    for (const auto& [what, group] : groups) {
        for (const std::string& refused : group) {
            for (const char* behind : {"", "z", "能"}) {
                const std::string text = "a能" + refused + behind;
                std::size_t refusedAt = 0;
                EXPECT_EQ(FromUtf8(Units(text), &refusedAt), std::nullopt) << what << ": " << refused;
                EXPECT_EQ(refusedAt, 4U) << what << ": " << refused;
                EXPECT_EQ(FromUtf8(Units(text)), std::nullopt) << what << ": " << refused;
            }
        }
    }
    // The view ends inside the character, what it was cut from goes on.
    EXPECT_EQ(FromUtf8(std::u8string_view(u8"能").substr(0, 2)), std::nullopt);
    EXPECT_EQ(FromUtf8(std::u8string_view(u8"§").substr(0, 1)), std::nullopt);
    std::size_t untouched = 932;
    EXPECT_EQ(FromUtf8(u8"能", &untouched), "\x94\\");
    EXPECT_EQ(untouched, 932U);
}

TEST(ShiftJis, SteppingAndCuttingSplitNoCharacter) {
    const std::string_view text = "表ｱ能a"_sjis;
    std::vector<std::size_t> boundaries;
    for (std::size_t at = 0; at < text.size(); at += CharacterLength(text, at))
        boundaries.push_back(at);
    EXPECT_EQ(boundaries, (std::vector<std::size_t>{0, 2, 3, 5}));

    const std::size_t lengths[] = {0, 0, 2, 3, 3, 5, 6, 6};
    for (std::size_t maxBytes = 0; maxBytes < std::size(lengths); ++maxBytes)
        EXPECT_EQ(CutToBytes(text, maxBytes), text.substr(0, lengths[maxBytes])) << maxBytes;

    // A lead byte that the text ends in stands alone; one before a line end takes that byte with it.
    EXPECT_EQ(CharacterLength("a\x95", 1), 1U);
    EXPECT_EQ(CutToBytes("a\x95", 2), "a\x95");
    EXPECT_EQ(CutToBytes("a\x95", 1), "a");
    EXPECT_EQ(CutToBytes("a\x95\r\n", 2), "a");
}

TEST(ShiftJis, SearchingFindsNoTrailByte) {
    struct {
        std::string_view text;
        char character;
        std::size_t first, last;
    } const characters[] = {
        {"表能ソ"_sjis, '\\', npos, npos},
        {"表\\能\\ソ"_sjis, '\\', 2, 5},
        {"\\表"_sjis, '\\', 0, 0},
        {"ア　@ア"_sjis, '@', 4, 4},
        {"ポ|ポ|"_sjis, '|', 2, 5},
        {"ー[ー"_sjis, '[', 2, 2},
        {"ｱｲ\\"_sjis, '\\', 2, 2},
        {"ｱｲｱ"_sjis, '\xB1', 0, 2},
        {"", 'a', npos, npos},
        {"表"_sjis, '\x95', npos, npos},
        {"\x95\\\x95", '\x95', 2, 2},  // a lead byte alone, for it has no
                                       // trail byte
        {"a\x95\n\n", '\n', 3, 3},
        {"\x95\x95\\\\", '\\', 2, 3},
    };
    for (const auto& [text, character, first, last] : characters) {
        EXPECT_EQ(FindCharacter(text, character), first) << Plain(ToUtf8(text)) << character;
        EXPECT_EQ(FindLastCharacter(text, character), last) << Plain(ToUtf8(text)) << character;
    }
    EXPECT_EQ(FindCharacter("\\表\\"_sjis, '\\', 1), 3U);
    EXPECT_EQ(FindCharacter("\\", '\\', 1), npos);
    EXPECT_EQ(FindCharacter("\\", '\\', 2), npos);

    struct {
        std::string_view text, wanted;
        std::size_t from, found;
    } const texts[] = {
        {"表能表"_sjis, "表"_sjis, 0, 0},
        {"表能表"_sjis, "表"_sjis, 2, 4},
        {"表能"_sjis, "\\", 0, npos},
        {"表\\能"_sjis, "\\能"_sjis, 0, 2},
        {"ソソ"_sjis, "\\\x83\\", 0, npos},         // only across characters
        {"\x83\x83\\\x83\\", "\x83\\", 0, 3},       // across characters at 1
        {"\x83\x83\x83\\", "\x83\x83\\", 0, npos},  // the text pairs otherwise
        {"\x83\x83\x83\x83\\", "\x83\x83", 2, 2},
        {"能", "", 2, 2},
        {"a", "", 1, 1},
        {"a", "", 2, npos},
        {"a", "ab", 0, npos},
    };
    for (const auto& [text, wanted, from, found] : texts)
        EXPECT_EQ(FindText(text, wanted, from), found) << Plain(ToUtf8(text)) << '/' << Plain(ToUtf8(wanted));
}

}  // namespace
}  // namespace postkite::core
