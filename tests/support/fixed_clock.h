#pragma once

#include "core/clock.h"

namespace postkite::support {

/// Shows the time that the test sets.
class FixedClock final : public core::Clock {
  public:
    [[nodiscard]] core::LocalTime Now() const override { return now; }
    [[nodiscard]] std::chrono::milliseconds TickCount() const override { return ticks; }

    core::LocalTime now = {1997, 1, 24, 8, 5, 9};
    std::chrono::milliseconds ticks{1000};
};

}  // namespace postkite::support
