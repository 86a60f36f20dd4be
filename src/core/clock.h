#pragma once

#include <chrono>

namespace postkite::core {

/// A moment as the wall clock of the user's time zone shows it.
struct LocalTime {
    int year = 1970;
    int month = 1;  ///< 1 to 12
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

/// The only source of time; tests set their own.
class Clock {
  public:
    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;

    [[nodiscard]] virtual LocalTime Now() const = 0;

    /// Time since the system was started; never goes back.
    [[nodiscard]] virtual std::chrono::milliseconds TickCount() const = 0;
};

}  // namespace postkite::core
