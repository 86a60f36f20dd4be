#include "core/positional_file.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "core/shift_jis.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::core {
namespace {

using support::ShownMessage;

TEST(PositionalFileTest, ParsesTheNumberThatATextBeginsWith) {
    constexpr std::pair<std::string_view, std::int32_t> kNumbers[] = {
        {"", 0},
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
        {"2147483647", 2147483647},
        {"2147483648", 2147483647},
        {"-2147483648", -2147483647 - 1},
        {"-2147483649", -2147483647 - 1},
        {"4294967296", 2147483647},
        {"99999999999999999999999", 2147483647},
        {"-99999999999999999999999", -2147483647 - 1},
    };
    for (const auto& [text, number] : kNumbers)
        EXPECT_EQ(ParseInteger(text), number) << text;
}

TEST(PositionalFileTest, AValueThatALineCannotHoldDoesNotMoveTheNextOnes) {
    EXPECT_TRUE(FitsInLine("") && FitsInLine("a=b 能"_sjis));
    for (const std::string_view value : {std::string_view("ab\rc"), std::string_view("ab\nc"),
                                         std::string_view("ab\0c", 4), std::string_view("ab\r")}) {
        EXPECT_FALSE(FitsInLine(value));
        std::string output = "x";
        AppendValue(output, value, false);
        EXPECT_EQ(output, "xab\r\n");
        output.clear();
        AppendValue(output, value, true);
        EXPECT_EQ(output, "1003\r\n");
    }
}

TEST(PositionalFileTest, ValuesEndAtAZeroByteAndBetweenCharacters) {
    EXPECT_EQ(ValueOfLine(std::string_view("ab\0cd", 5), 10, false), "ab");
    EXPECT_EQ(ValueOfLine("a能能"_sjis, 5, false), "a能能"_sjis);
    EXPECT_EQ(ValueOfLine("a能能"_sjis, 4, false), "a能"_sjis);
    EXPECT_EQ(ValueOfLine("100319", 2, true), "ab") << "cut when it is plain";
}

TEST(PositionalFileTest, ASecretIsCutBetweenCharactersBeforeItIsScrambled) {
    std::string output;
    AppendValue(output, std::string(34, 'q') + std::string("能"_sjis), true);
    EXPECT_EQ(output.size(), 68U + 2U);
    EXPECT_EQ(ValueOfLine(std::string_view(output).substr(0, 68), 35, true), std::string(34, 'q'));
}

TEST(PositionalFileTest, TellsWhatSavingDid) {
    support::RecordingUserInterface ui;
    ReportSave(ui, "Setting\\x.ini", {0, ""});
    EXPECT_TRUE(ui.messages.empty());
    ReportSave(ui, "Setting\\x.ini", {-ENOSPC, "Setting\\x.ini.bak"});
    ui.spoken = Language::English;
    ReportSave(ui, "Setting\\x.ini", {-ENOSPC, "Setting\\x.ini.bak"});
    const std::string japaneseKept(
        "Setting\\x.ini に読み取れない部分があったため、元のファイルを Setting\\x.ini.bak として残しました。"_sjis);
    const std::string japaneseFailed(
        "Setting\\x.ini を保存できませんでした。（ディスクの空き容量が足りません）"_sjis);
    const std::vector<ShownMessage> expected = {
        {"Postkite", japaneseKept, MessageIcon::Warning},
        {"Postkite", japaneseFailed, MessageIcon::Stop},
        {"Postkite",
         "Setting\\x.ini held something that could not be read; the old file is kept as "
         "Setting\\x.ini.bak.",
         MessageIcon::Warning},
        {"Postkite", "Setting\\x.ini could not be saved: the disk is full.", MessageIcon::Stop},
    };
    EXPECT_EQ(ui.messages, expected);
}

}  // namespace
}  // namespace postkite::core
