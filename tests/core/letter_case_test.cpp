#include "core/letter_case.h"

#include <gtest/gtest.h>

#include "core/shift_jis.h"

namespace postkite::core {
namespace {

TEST(LetterCaseTest, LettersOfEveryAlphabetFold) {
    constexpr std::pair<std::string_view, std::string_view> kEqual[] = {
        {"", ""},
        {"abcdefghijklmnopqrstuvwxyz@[`{09", "ABCDEFGHIJKLMNOPQRSTUVWXYZ@[`{09"},
        {"ａｂｃｄｅｆｇｈｉｊｋｌｍｎｏｐｑｒｓｔｕｖｗｘｙｚ"_sjis,
         "ＡＢＣＤＥＦＧＨＩＪＫＬＭＮＯＰＱＲＳＴＵＶＷＸＹＺ"_sjis},
        {"αβγδεζηθικλμνξοπρστυφχψω"_sjis, "ΑΒΓΔΕΖΗΘΙΚΛΜΝΞΟΠΡΣΤΥΦΧΨΩ"_sjis},
        {"абвгдеёжзийклмнопрстуфхцчшщъыьэюя"_sjis, "АБВГДЕЁЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯ"_sjis},
        {"受信Box"_sjis, "受信bOX"_sjis},
        {"x\x83", "X\x83"},
    };
    for (const auto& [small, capital] : kEqual) {
        EXPECT_TRUE(EqualIgnoringCase(small, capital)) << capital;
        EXPECT_TRUE(EqualIgnoringCase(capital, small)) << capital;
    }
}

TEST(LetterCaseTest, EverythingElseDiffers) {
    constexpr std::pair<std::string_view, std::string_view> kDifferent[] = {
        {"a", "b"},
        {"a", "aa"},
        {"@", "`"},
        {"[", "{"},
        {"A", "Ａ"_sjis},
        {"ア"_sjis, "ヂ"_sjis},  // 0x8341 and 0x8361: trail bytes are no letters
        {"ァ"_sjis, "ア"_sjis},
        {"ア"_sjis, "ｱ"_sjis},
        {"０"_sjis, "ａ"_sjis},
        {"Ω"_sjis, "Я"_sjis},
        {"\x83"
         "A",
         "\x83"
         "a"},
        {"х"_sjis, "x"},
    };
    for (const auto& [left, right] : kDifferent)
        EXPECT_FALSE(EqualIgnoringCase(left, right)) << left << " " << right;
}

}  // namespace
}  // namespace postkite::core
