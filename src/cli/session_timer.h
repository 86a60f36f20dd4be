#pragma once

#include <csignal>
#include <cstdint>
#include <ctime>

namespace postkite::cli {

/// What a session in the terminal waits for: the next tick, or that somebody wants it to end.
class SessionTimer {
  public:
    enum class Wake {
        Tick,
        Interrupt,  ///< Ctrl+C
        Terminate,  ///< the program has to end now
    };

    SessionTimer() = default;
    SessionTimer(const SessionTimer&) = delete;
    SessionTimer& operator=(const SessionTimer&) = delete;
    virtual ~SessionTimer() = default;

    /// The first tick comes at once, then one every 200 ms divided by `pace`.
    virtual void Start(int pace) = 0;

    /// Returns when a tick is due, or at once when there is anything else.
    [[nodiscard]] virtual Wake Wait() = 0;
};

/// The system's clock and signals. From its making to its end SIGINT, SIGTERM and SIGHUP do not end the
/// program, but for those that whoever started it has set to be ignored, and neither does a closed pipe. From
/// `Start` on they interrupt no system call but the waiting. Only one at a time.
///
/// Ticks keep to the time of the first, so that they do not come later and later. A program that was stopped,
/// or cannot keep up, does not get those that it missed.
class SignalTimer final : public SessionTimer {
  public:
    SignalTimer();
    ~SignalTimer() override;

    void Start(int pace) override;
    [[nodiscard]] Wake Wait() override;

  private:
    static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

    struct sigaction found_[sizeof kSignals / sizeof *kSignals]{};
    sigset_t foundMask_{};
    sigset_t waitingMask_{};
    std::int64_t periodNanoseconds_ = 0;
    std::int64_t nextNanoseconds_ = 0;
};

}  // namespace postkite::cli
