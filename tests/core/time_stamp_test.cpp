#include "core/time_stamp.h"

#include <gtest/gtest.h>

#include "core/shift_jis.h"
#include "tests/support/fixed_clock.h"

namespace postkite::core {
namespace {

TEST(TimeStampTest, Formats) {
    support::FixedClock clock;
    clock.now = {1997, 1, 24, 8, 5, 9};
    EXPECT_EQ(FormatNowDate(clock), "97/01/24 08:05");
    EXPECT_EQ(FormatNowDay(clock), "01/24");
    EXPECT_EQ(FormatNowStamp(clock), "970124080509");
    clock.now = {2000, 12, 31, 23, 59, 60};
    EXPECT_EQ(FormatNowDate(clock), "00/12/31 23:59");
    EXPECT_EQ(FormatNowDay(clock), "12/31");
    EXPECT_EQ(FormatNowStamp(clock), "001231235960");
}

TEST(TimeStampTest, MailKeysCountToAThousandAndBeginAgain) {
    support::FixedClock clock;
    clock.ticks = std::chrono::milliseconds(12345);
    IdentifierMaker maker(clock);
    EXPECT_EQ(maker.MakeMailKey(), "970124080509-12345-0");
    for (int serial = 1; serial < 999; ++serial)
        ASSERT_EQ(maker.MakeMailKey(), "970124080509-12345-" + std::to_string(serial));
    EXPECT_EQ(maker.MakeMailKey(), "970124080509-12345-999");
    EXPECT_EQ(maker.MakeMailKey(), "970124080509-12345-0");
    EXPECT_EQ(IdentifierMaker(clock).MakeMailKey(), "970124080509-12345-0") << "each has its own counter";
}

TEST(TimeStampTest, TheTickCountIsAThirtyTwoBitOne) {
    support::FixedClock clock;
    IdentifierMaker maker(clock);
    const std::pair<std::int64_t, std::string> ticks[] = {
        {0x7FFFFFFF, "2147483647"}, {0x80000000, "-2147483648"}, {0xFFFFFFFF, "-1"}, {0x100000005, "5"}};
    int serial = 0;
    for (const auto& [count, text] : ticks) {
        clock.ticks = std::chrono::milliseconds(count);
        EXPECT_EQ(maker.MakeMailKey(), "970124080509-" + text + "-" + std::to_string(serial++));
    }
}

TEST(TimeStampTest, MessageIdsCountInHexadecimal) {
    support::FixedClock clock;
    IdentifierMaker maker(clock);
    EXPECT_EQ(maker.MakeMessageId("abc@example.jp"), "<9701240805.0001@example.jp>");
    EXPECT_EQ(maker.MakeMailKey(), "970124080509-1000-0") << "the counters are apart";
    EXPECT_EQ(maker.MakeMessageId("ABC01234"), "<9701240805.0002ABC01234>");
    EXPECT_EQ(maker.MakeMessageId("a@b@c"), "<9701240805.0003@b@c>");
    EXPECT_EQ(maker.MakeMessageId(""), "<9701240805.0004>");
    // 0x8340 is a character whose trail byte looks like "@".
    EXPECT_EQ(maker.MakeMessageId("ァ@x"_sjis), "<9701240805.0005@x>");
    for (int count = 6; count < 0xFFFF; ++count)
        static_cast<void>(maker.MakeMessageId(""));
    EXPECT_EQ(maker.MakeMessageId(""), "<9701240805.FFFF>");
    EXPECT_EQ(maker.MakeMessageId(""), "<9701240805.0000>");
}

}  // namespace
}  // namespace postkite::core
