#include "core/system_clock.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <fstream>

namespace postkite::core {
namespace {

TEST(SystemClockTest, ShowsTheTimeOfTheUsersZone) {
    ASSERT_EQ(setenv("TZ", "JST-9", 1), 0);
    tzset();
    const std::time_t before = std::time(nullptr);
    const LocalTime now = SystemClock().Now();
    const std::time_t after = std::time(nullptr);
    std::tm read{};
    read.tm_year = now.year - 1900;
    read.tm_mon = now.month - 1;
    read.tm_mday = now.day;
    read.tm_hour = now.hour;
    read.tm_min = now.minute;
    read.tm_sec = now.second;
    constexpr std::time_t kNineHours = 9 * 60 * 60;
    const std::time_t asUtc = timegm(&read) - kNineHours;
    EXPECT_GE(asUtc, before);
    EXPECT_LE(asUtc, after);
}

TEST(SystemClockTest, CountsTicksSinceTheSystemStarted) {
    const SystemClock clock;
    double upSeconds = 0;
    std::ifstream("/proc/uptime") >> upSeconds;
    const double ticks = static_cast<double>(clock.TickCount().count());
    EXPECT_NEAR(ticks / 1000, upSeconds, 60);
}

}  // namespace
}  // namespace postkite::core
