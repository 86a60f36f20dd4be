#include "core/positional_file.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "core/shift_jis.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::core {
namespace {

TEST(PositionalFileTest, ParsesTheNumberThatATextBeginsWith) {
    constexpr std::int32_t kMost = 2147483647;
    constexpr std::int32_t kLeast = -kMost - 1;
    constexpr std::pair<std::string_view, std::int32_t> kNumbers[] = {{"", 0},
                                                                      {"0", 0},
                                                                      {"  \t42", 42},
                                                                      {"-7", -7},
                                                                      {"+7", 7},
                                                                      {"12abc", 12},
                                                                      {"abc", 0},
                                                                      {"1 2", 1},
                                                                      {"- 5", 0},
                                                                      {"-", 0},
                                                                      {"--5", 0},
                                                                      {"+-5", 0},
                                                                      {"007", 7},
                                                                      {"0x10", 0},
                                                                      {"１"_sjis, 0},
                                                                      {"\r5", 0},
                                                                      {"2147483647", kMost},
                                                                      {"2147483648", kMost},
                                                                      {"-2147483648", kLeast},
                                                                      {"-2147483649", kLeast},
                                                                      {"4294967296", kMost},
                                                                      {"99999999999999999999999", kMost},
                                                                      {"-99999999999999999999999", kLeast}};
    for (const auto& [text, number] : kNumbers)
        EXPECT_EQ(ParseInteger(text), number) << text;
}

TEST(PositionalFileTest, AValueThatALineCannotHoldDoesNotMoveTheNextOnes) {
    EXPECT_TRUE(FitsInLine("") && FitsInLine("a=b 能"_sjis));
    for (const std::string_view value : {std::string_view("ab\rc"), std::string_view("ab\0c", 4)}) {
        EXPECT_FALSE(FitsInLine(value));
        std::string output;
        AppendValue(output, value, false);
        EXPECT_EQ(output, "ab\r\n");
    }
    EXPECT_FALSE(FitsInLine("ab\nc"));
    std::string kept;
    AppendValue(kept, "ab\nc", false);
    AppendValue(kept, "a\r", true);
    EXPECT_EQ(kept, "ab\nc\r\n106C\r\n") << "a LF ends no line, and a scrambled value holds anything";
    std::string secret;
    AppendValue(secret, std::string(34, 'q') + std::string("能"_sjis), true);
    EXPECT_EQ(secret.size(), 68U + 2U) << "35 bytes end within the character";
}

TEST(PositionalFileTest, ValuesEndAtAZeroByteAndBetweenCharacters) {
    EXPECT_EQ(ValueOfLine(std::string_view("ab\0cd", 5), 10, false), "ab");
    EXPECT_EQ(ValueOfLine("a能能"_sjis, 5, false), "a能能"_sjis);
    EXPECT_EQ(ValueOfLine("a能能"_sjis, 4, false), "a能"_sjis);
    EXPECT_EQ(ValueOfLine("100319", 2, true), "ab") << "cut when it is plain";
}

TEST(PositionalFileTest, TellsWhatSavingDid) {
    support::RecordingUserInterface ui;
    ReportSave(ui, "x.ini", {0, ""});
    EXPECT_TRUE(ui.messages.empty());
    ReportSave(ui, "x.ini", {-ENOSPC, "x.ini.bak"});
    ui.spoken = Language::English;
    ReportSave(ui, "x.ini", {-ENOSPC, "x.ini.bak"});
    const std::vector<support::ShownMessage> expected = {
        {"Postkite",
         std::string(
             "x.ini に読み取れない部分があったため、元のファイルを x.ini.bak として残しました。"_sjis),
         MessageIcon::Warning},
        {"Postkite", std::string("x.ini を保存できませんでした。（ディスクの空き容量が足りません）"_sjis),
         MessageIcon::Stop},
        {"Postkite", "x.ini held something that could not be read; the old file is kept as x.ini.bak.",
         MessageIcon::Warning},
        {"Postkite", "x.ini could not be saved: the disk is full.", MessageIcon::Stop}};
    EXPECT_EQ(ui.messages, expected);
}

}  // namespace
}  // namespace postkite::core
