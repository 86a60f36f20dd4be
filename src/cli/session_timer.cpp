#include "cli/session_timer.h"

#include <poll.h>

#include <algorithm>
#include <iterator>

namespace postkite::cli {

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t kTickNanoseconds = 200'000'000;
constexpr std::int64_t kMostMissedTicks = 5;

// A signal's handler reaches nothing but variables of the whole program.
volatile std::sig_atomic_t interrupted = 0;
volatile std::sig_atomic_t terminated = 0;

extern "C" void NoteSignal(int number) {
    (number == SIGINT ? interrupted : terminated) = 1;
}

std::int64_t NowNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

}  // namespace

SignalTimer::SignalTimer() {
    interrupted = 0;
    terminated = 0;
    pthread_sigmask(SIG_SETMASK, nullptr, &foundMask_);
    waitingMask_ = foundMask_;
    for (std::size_t which = 0; which < std::size(kSignals); ++which) {
        const int number = kSignals[which];
        sigaction(number, nullptr, &found_[which]);
        if (found_[which].sa_handler == SIG_IGN) continue;
        struct sigaction action {};
        // Without SA_RESTART: the opening of the line ends at once.
        action.sa_handler = number == SIGPIPE ? SIG_IGN : NoteSignal;
        sigemptyset(&action.sa_mask);
        sigaction(number, &action, nullptr);
        sigdelset(&waitingMask_, number);
    }
}

SignalTimer::~SignalTimer() {
    // Whatever comes until now is still noted, and has nothing more to say.
    pthread_sigmask(SIG_SETMASK, &foundMask_, nullptr);
    for (std::size_t which = 0; which < std::size(kSignals); ++which)
        sigaction(kSignals[which], &found_[which], nullptr);
}

void SignalTimer::Start(int pace) {
    sigset_t blocked = foundMask_;
    for (const int number : kSignals)
        sigaddset(&blocked, number);
    pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
    periodNanoseconds_ = kTickNanoseconds / std::max(pace, 1);
    nextNanoseconds_ = NowNanoseconds();
}

SessionTimer::Wake SignalTimer::Wait() {
    for (;;) {
        // Only in the waiting do signals come in, so there is one also when the tick is late already.
        const bool noted = interrupted != 0 || terminated != 0;
        const std::int64_t left = noted ? 0 : std::max<std::int64_t>(nextNanoseconds_ - NowNanoseconds(), 0);
        const timespec waiting{left / kNanosecondsPerSecond, left % kNanosecondsPerSecond};
        static_cast<void>(ppoll(nullptr, 0, &waiting, &waitingMask_));
        if (terminated != 0) {
            terminated = 0;
            return Wake::Terminate;
        }
        if (interrupted != 0) {
            interrupted = 0;
            return Wake::Interrupt;
        }
        const std::int64_t now = NowNanoseconds();
        if (now < nextNanoseconds_) continue;
        const bool keepsUp = now - nextNanoseconds_ <= kMostMissedTicks * periodNanoseconds_;
        nextNanoseconds_ = (keepsUp ? nextNanoseconds_ : now) + periodNanoseconds_;
        return Wake::Tick;
    }
}

}  // namespace postkite::cli
