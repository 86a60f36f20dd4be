#include "core/password_scrambling.h"

#include <gtest/gtest.h>

#include "core/shift_jis.h"

namespace postkite::core {
namespace {

std::string Scrambled(std::string text) {
    ScramblePassword(text);
    return text;
}

std::string Unscrambled(std::string text) {
    UnscramblePassword(text);
    return text;
}

/// 35 times "q": the key is five letters long and begins with "q".
const std::string kFullLine = "00100B090200100B090200100B090200100B090200100B090200100B090200100B0902";

TEST(PasswordScramblingTest, KnownPasswords) {
    const std::pair<std::string, std::string> known[] = {{"", ""},
                                                         {"abc", "100319"},
                                                         {"secret", "0204190A1605"},
                                                         {"qazxs", "0000000000"},
                                                         {std::string("能ﾃ"_sjis), "E53DB9"},
                                                         {std::string(35, 'q'), kFullLine}};
    for (const auto& [plain, hidden] : known) {
        EXPECT_EQ(Scrambled(plain), hidden);
        EXPECT_EQ(Unscrambled(hidden), plain);
    }
    for (int byte = 1; byte <= 255; ++byte) {
        const std::string text(5, static_cast<char>(byte));
        EXPECT_EQ(Unscrambled(Scrambled(text)), text);
    }
}

TEST(PasswordScramblingTest, BeyondThirtyFiveBytesALineEndTakesTheTailsPlace) {
    EXPECT_EQ(Scrambled(std::string(36, 'q')), kFullLine + "\r\n");
    EXPECT_EQ(Unscrambled(kFullLine + "\r\n"), std::string(35, 'q'));
    const std::string seventy = kFullLine + "\r\n" + kFullLine.substr(0, 68);
    EXPECT_EQ(Scrambled(std::string(70, 'q')), seventy);
    EXPECT_EQ(Unscrambled(seventy), std::string(69, 'q'));
}

TEST(PasswordScramblingTest, AnyTextHasAResult) {
    EXPECT_EQ(Unscrambled("10031"), "ab") << "a digit left over";
    EXPECT_EQ(Unscrambled("1"), "");
    EXPECT_EQ(Unscrambled("10\r\n0\r3\n"), "ab");
    EXPECT_EQ(Unscrambled("\r\n"), "");
    EXPECT_EQ(Unscrambled("aa"), "\xBB") << "small letters count on from where capitals end";
    EXPECT_EQ(Unscrambled("  "), "\x81") << "signs before 0 count backwards";
    EXPECT_EQ(Unscrambled("10037A19"), "ab") << "ends before a zero byte";
}

}  // namespace
}  // namespace postkite::core
