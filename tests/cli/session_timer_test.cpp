#include "cli/session_timer.h"

#include <gtest/gtest.h>

#include <chrono>

namespace postkite::cli {
namespace {

using Wake = SessionTimer::Wake;
using std::chrono::steady_clock;
using namespace std::chrono_literals;

void (*HandlerOf(int number))(int) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    return action.sa_handler;
}

TEST(SignalTimer, TicksInTimeAndDoesNotMakeUpForMissedOnes) {
    constexpr auto kPeriod = 1ms;
    constexpr int kTicks = 20;
    SignalTimer timer;
    timer.Start(200);
    const auto start = steady_clock::now();
    for (int tick = 0; tick < kTicks; ++tick)
        ASSERT_EQ(timer.Wait(), Wake::Tick);
    EXPECT_GE(steady_clock::now() - start, (kTicks - 2) * kPeriod);

    while (steady_clock::now() - start < 3 * kTicks * kPeriod) {
    }
    const auto late = steady_clock::now();
    for (int tick = 0; tick < kTicks; ++tick)
        ASSERT_EQ(timer.Wait(), Wake::Tick);
    EXPECT_GE(steady_clock::now() - late, (kTicks - 2) * kPeriod);
}

TEST(SignalTimer, SignalsWakeItAtOnceAndAreThemselvesAgainBehindIt) {
    const auto ignored = std::signal(SIGHUP, SIG_IGN);
    {
        SignalTimer timer;
        static_cast<void>(raise(SIGINT));  // while the line is being opened
        timer.Start(1);
        EXPECT_EQ(timer.Wait(), Wake::Interrupt);
        EXPECT_EQ(timer.Wait(), Wake::Tick);
        const auto start = steady_clock::now();
        static_cast<void>(raise(SIGINT));
        static_cast<void>(raise(SIGTERM));
        static_cast<void>(raise(SIGPIPE));
        EXPECT_EQ(timer.Wait(), Wake::Terminate);
        EXPECT_EQ(timer.Wait(), Wake::Interrupt);
        EXPECT_LT(steady_clock::now() - start, 150ms) << "not with the next tick";
        static_cast<void>(raise(SIGHUP));
        EXPECT_EQ(timer.Wait(), Wake::Tick) << "whoever ignored it before goes on ignoring it";
    }
    EXPECT_EQ(HandlerOf(SIGINT), SIG_DFL);
    EXPECT_EQ(HandlerOf(SIGHUP), SIG_IGN);
    static_cast<void>(std::signal(SIGHUP, ignored));
    sigset_t blocked{};
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGINT), 0);
}

}  // namespace
}  // namespace postkite::cli
