#include "core/time_stamp.h"

#include <gtest/gtest.h>

#include "core/shift_jis.h"
#include "tests/support/fixed_clock.h"

namespace postkite::core {
namespace {

class TimeStampTest : public ::testing::Test {
  protected:
    support::FixedClock clock;
    IdentifierMaker maker{clock};
};

TEST_F(TimeStampTest, Formats) {
    EXPECT_EQ(FormatNowDate(clock), "97/01/24 08:05");
    EXPECT_EQ(FormatNowDay(clock), "01/24");
    EXPECT_EQ(FormatNowStamp(clock), "970124080509");
    clock.now = {2000, 12, 31, 23, 59, 60};
    EXPECT_EQ(FormatNowDate(clock), "00/12/31 23:59");
    EXPECT_EQ(FormatNowDay(clock), "12/31");
    EXPECT_EQ(FormatNowStamp(clock), "001231235960");
}

TEST_F(TimeStampTest, MailKeysCountToAThousandAndBeginAgain) {
    for (int serial = 0; serial <= 999; ++serial)
        ASSERT_EQ(maker.MakeMailKey(), "970124080509-1000-" + std::to_string(serial));
    for (int serial = 0; serial <= 999; ++serial)
        ASSERT_EQ(maker.MakeMailKey(), "970124080509-1001-" + std::to_string(serial))
            << "no key is made twice";
    EXPECT_EQ(maker.MakeMailKey(), "970124080509-1002-0");
    EXPECT_EQ(IdentifierMaker(clock).MakeMailKey(), "970124080509-1000-0") << "each has its own counter";
    IdentifierMaker other(clock);
    for (const char* key :
         {"970124080509-1000-5", "970124080509-999-1", "970124080509-99999-1", "", "1-", "-x"})
        other.KeepClearOf(key);
    EXPECT_EQ(other.MakeMailKey(), "970124080509-1001-0") << "another program's first";
    // The tick count is a signed one of 32 bits.
    clock.ticks = std::chrono::milliseconds(0x7FFFFFFF);
    EXPECT_EQ(maker.MakeMailKey(), "970124080509-2147483647-1");
    clock.ticks = std::chrono::milliseconds(0x80000000);
    EXPECT_EQ(maker.MakeMailKey(), "970124080509--2147483648-2");
    clock.ticks = std::chrono::milliseconds(0xFFFFFFFF);
    EXPECT_EQ(maker.MakeMailKey(), "970124080509--1-3");
    clock.ticks = std::chrono::milliseconds(0x100000005);
    EXPECT_EQ(maker.MakeMailKey(), "970124080509-5-4");
}

TEST_F(TimeStampTest, MessageIdsCountInHexadecimal) {
    EXPECT_EQ(maker.MakeMessageId("abc@example.jp"), "<9701240805.0001@example.jp>");
    EXPECT_EQ(maker.MakeMailKey(), "970124080509-1000-0") << "the counters are apart";
    EXPECT_EQ(maker.MakeMessageId("ABC01234"), "<9701240805.0002ABC01234>");
    EXPECT_EQ(maker.MakeMessageId("a@b@c"), "<9701240805.0003@b@c>");
    EXPECT_EQ(maker.MakeMessageId("ァ@x"_sjis), "<9701240805.0004@x>") << "0x8340 ends in no sign";
    for (int count = 5; count < 0xFFFF; ++count)
        static_cast<void>(maker.MakeMessageId(""));
    EXPECT_EQ(maker.MakeMessageId(""), "<9701240805.FFFF>");
    EXPECT_EQ(maker.MakeMessageId(""), "<9701240805.0000>");
}

}  // namespace
}  // namespace postkite::core
