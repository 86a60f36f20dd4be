#include "comm/monitor_text.h"

#include <gtest/gtest.h>

#include "core/shift_jis.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::comm {
namespace {

using namespace core::literals;

class MonitorTextTest : public ::testing::Test {
  protected:
    core::Settings settings_;
    support::RecordingUserInterface ui_;
    MonitorText monitor_{settings_, ui_};
};

// 0x83 is a lead byte and a trail byte: "ア" is 83 41, "ダ" 83 5F, "モ" 83 82, "弌" 98 9F.
TEST_F(MonitorTextTest, CharactersAreShownWholeHoweverTheyAreSplit) {
    const std::string sent =
        std::string("ＡアダﾀﾞモM弌弌弌>"_sjis) + "\x83\x83\x83\x83" + std::string("終\r\n"_sjis);
    for (std::size_t piece = 1; piece <= 7; ++piece) {
        ui_.monitorText.clear();
        monitor_.ClearMonitor();
        for (std::size_t at = 0; at < sent.size(); at += piece) {
            monitor_.AppendMonitor(std::string_view(sent).substr(at, piece));
            ASSERT_EQ(monitor_.text(), core::CutToBytes(sent, std::min(at + piece, sent.size())))
                << "pieces of " << piece << ", at " << at;
        }
        EXPECT_EQ(ui_.monitorText, sent);
    }
}

TEST_F(MonitorTextTest, ClearingForgetsTheHalfCharacter) {
    monitor_.AppendMonitor("a\x83");
    EXPECT_EQ(monitor_.text(), "a");
    monitor_.ClearMonitor();
    monitor_.AppendMonitor("A");
    EXPECT_EQ(monitor_.text(), "A");
    settings_.monitorWindow = 0;
    monitor_.AppendMonitor("more");
    EXPECT_EQ(ui_.monitorText, "A") << "what was before is cleared, and the monitor is switched off now";
}

TEST_F(MonitorTextTest, TheFirstHalfGoesWhenThereIsTooMuch) {
    monitor_.AppendMonitor(std::string(14'999, 'x'));
    for (int i = 0; i < 7500; ++i)
        monitor_.AppendMonitor("ア"_sjis);
    monitor_.AppendMonitor("\n");
    ASSERT_EQ(monitor_.text().size(), 30'000U) << "exactly as much as may stay";
    monitor_.AppendMonitor("ア"_sjis);
    ASSERT_EQ(monitor_.text().size(), 30'002U) << "it is looked at before the new text goes in";
    monitor_.AppendMonitor("end");
    // The half is 15,001 bytes: 14,999 times "x" and one whole character.
    EXPECT_EQ(monitor_.text().size(), 15'004U);
    EXPECT_EQ(monitor_.text().substr(0, 2), "ア"_sjis);
    EXPECT_TRUE(monitor_.text().ends_with("\nアend"_sjis));
    EXPECT_EQ(ui_.monitorText, monitor_.text());
    // Where the half ends within a character, that character stays whole.
    monitor_.ClearMonitor();
    monitor_.AppendMonitor("x" + std::string(30'001, '\x83'));
    monitor_.AppendMonitor("x");
    EXPECT_EQ(monitor_.text().size(), 30'001U - 14'999U + 2U);
    EXPECT_EQ(monitor_.text().front(), '\x83');
}

}  // namespace
}  // namespace postkite::comm
