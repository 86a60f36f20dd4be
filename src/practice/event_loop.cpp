#include "practice/event_loop.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <string>

namespace postkite::practice {

using std::chrono::milliseconds;

namespace {

constexpr milliseconds kLookAgain{20};  ///< for a client, where nothing tells that one has come

volatile std::sig_atomic_t ended = 0;

extern "C" void NoteSignal(int) {
    ended = 1;
}

/// Keeps the signals that end the program away from it except while it waits, so that none comes between
/// looking and waiting.
class EndingSignals {
  public:
    EndingSignals() {
        sigset_t blocked;
        ::sigemptyset(&blocked);
        struct sigaction action {};
        action.sa_handler = NoteSignal;
        ::sigemptyset(&action.sa_mask);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            ::sigaddset(&blocked, signal);
            ::sigaction(signal, &action, nullptr);
        }
        ::sigprocmask(SIG_BLOCK, &blocked, &before_);
    }

    /// Waits for `events` on `descriptor`, or -1 for none, at most so long. Returns what came.
    [[nodiscard]] int Wait(int descriptor, short events, std::optional<milliseconds> atMost) const {
        timespec time{};
        if (atMost) {
            time.tv_sec = static_cast<std::time_t>(atMost->count() / 1000);
            time.tv_nsec = static_cast<long>(atMost->count() % 1000) * 1000000L;
        }
        pollfd state{descriptor, events, 0};
        const int count = ::ppoll(&state, 1, atMost ? &time : nullptr, &before_);
        if (count < 0) return errno == EINTR ? 0 : -errno;
        return state.revents;
    }

  private:
    sigset_t before_;
};

/// One client's stay.
class Stay {
  public:
    Stay(LineDevice& device, PracticeHost& host, const core::Clock& clock, const EndingSignals& signals)
        : device_(device), host_(host), clock_(clock), signals_(signals) {}

    /// Until the client has gone, is sent away, or the program is to end.
    [[nodiscard]] int Run() {
        host_.Connect(clock_.TickCount());
        while (ended == 0) {
            if (const int result = Step(); result < 0) return result == -EPIPE ? 0 : result;
            if (host_.hungUp() && unwritten_.empty()) return 0;
        }
        return 0;
    }

  private:
    [[nodiscard]] int Step() {
        host_.Advance(clock_.TickCount());
        if (const int result = Write(); result < 0) return result;
        if (host_.hungUp() && unwritten_.empty()) return 0;
        short events = host_.takesInput() ? POLLIN : 0;
        if (!unwritten_.empty()) events |= POLLOUT;
        const int came = signals_.Wait(device_.descriptor(), events, WaitingTime());
        if (came < 0) return came;
        if ((came & (POLLIN | POLLHUP | POLLERR)) != 0) return Read();
        return 0;
    }

    [[nodiscard]] std::optional<milliseconds> WaitingTime() const {
        const std::optional<milliseconds> next = host_.nextEvent();
        if (!next) return std::nullopt;
        // What waits for the client to read is no reason to look again before it does.
        return std::max(*next - clock_.TickCount(), unwritten_.empty() ? milliseconds(0) : kLookAgain);
    }

    [[nodiscard]] int Write() {
        while (true) {
            if (unwritten_.empty()) unwritten_ = host_.Output(clock_.TickCount());
            if (unwritten_.empty()) return 0;
            const int written = device_.Write(unwritten_);
            if (written < 0) return written;
            unwritten_.erase(0, static_cast<std::size_t>(written));
            if (!unwritten_.empty()) return 0;
        }
    }

    [[nodiscard]] int Read() {
        char buffer[4096];
        const int count = device_.Read(buffer, sizeof buffer);
        if (count < 0) return count;
        host_.Receive({buffer, static_cast<std::size_t>(count)}, clock_.TickCount());
        return 0;
    }

    LineDevice& device_;
    PracticeHost& host_;
    const core::Clock& clock_;
    const EndingSignals& signals_;
    std::string unwritten_;
};

}  // namespace

int RunEventLoop(LineDevice& device, PracticeHost& host, const core::Clock& clock, bool once) {
    const EndingSignals signals;
    while (ended == 0) {
        const int accepted = device.Accept();
        if (accepted < 0) return accepted;
        if (accepted == 0) {
            const int descriptor = device.waitingDescriptor();
            const std::optional<milliseconds> atMost =
                descriptor < 0 ? std::optional(kLookAgain) : std::nullopt;
            if (const int came = signals.Wait(descriptor, POLLIN, atMost); came < 0) return came;
            continue;
        }
        const int result = Stay(device, host, clock, signals).Run();
        const bool used = host.wasUsed();
        const bool sentAway = host.hungUp();
        host.Disconnect();
        if (result < 0) return result;
        if (once && (used || sentAway)) return 0;
        if (const int ready = sentAway ? device.HangUp() : device.Release(); ready < 0) return ready;
    }
    return 0;
}

}  // namespace postkite::practice
