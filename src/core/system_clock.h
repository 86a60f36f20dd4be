#pragma once

#include <ctime>

#include "core/clock.h"

namespace postkite::core {

/// The operating system's clock, in the time zone of the user.
class SystemClock final : public Clock {
  public:
    [[nodiscard]] LocalTime Now() const override;
    [[nodiscard]] std::chrono::milliseconds TickCount() const override;

  private:
    /// The last time that was asked for: work on many mails asks often within a second.
    mutable std::time_t lastSecond_ = -1;
    mutable LocalTime lastTime_;
};

}  // namespace postkite::core
