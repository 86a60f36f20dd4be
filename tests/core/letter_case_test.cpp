#include "core/letter_case.h"

#include <gtest/gtest.h>

#include "core/shift_jis.h"

namespace postkite::core {
namespace {

TEST(LetterCaseTest, LettersOfEveryAlphabetFoldAndNothingElseDoes) {
    constexpr std::pair<std::string_view, std::string_view> kEqual[] = {
        {"", ""},
        {"受信Box"_sjis, "受信bOX"_sjis},
        {"x\x83", "X\x83"},
        {"abcdefghijklmnopqrstuvwxyz@[`{09", "ABCDEFGHIJKLMNOPQRSTUVWXYZ@[`{09"},
        {"ａｂｃｄｅｆｇｈｉｊｋｌｍｎｏｐｑｒｓｔｕｖｗｘｙｚ"_sjis,
         "ＡＢＣＤＥＦＧＨＩＪＫＬＭＮＯＰＱＲＳＴＵＶＷＸＹＺ"_sjis},
        {"αβγδεζηθικλμνξοπρστυφχψω"_sjis, "ΑΒΓΔΕΖΗΘΙΚΛΜΝΞΟΠΡΣΤΥΦΧΨΩ"_sjis},
        {"абвгдеёжзийклмнопрстуфхцчшщъыьэюя"_sjis, "АБВГДЕЁЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯ"_sjis}};
    for (const auto& [small, capital] : kEqual) {
        EXPECT_TRUE(EqualIgnoringCase(small, capital)) << capital;
        EXPECT_TRUE(EqualIgnoringCase(capital, small)) << capital;
        EXPECT_EQ(SmallLetters(capital), SmallLetters(small));
    }
    // アヂ: 0x8341 and 0x8361, whose trail bytes are no letters; the last is no character at all.
    constexpr std::pair<std::string_view, std::string_view> kDifferent[] = {{"a", "b"},
                                                                            {"a", "aa"},
                                                                            {"@", "`"},
                                                                            {"[", "{"},
                                                                            {"A", "Ａ"_sjis},
                                                                            {"х"_sjis, "x"},
                                                                            {"Ω"_sjis, "Я"_sjis},
                                                                            {"ア"_sjis, "ヂ"_sjis},
                                                                            {"ァ"_sjis, "ア"_sjis},
                                                                            {"ア"_sjis, "ｱ"_sjis},
                                                                            {"\x85\x41", "\x85\x61"}};
    for (const auto& [left, right] : kDifferent) {
        EXPECT_FALSE(EqualIgnoringCase(left, right)) << left << " " << right;
        EXPECT_NE(SmallLetters(left), SmallLetters(right)) << left << " " << right;
    }
}

}  // namespace
}  // namespace postkite::core
