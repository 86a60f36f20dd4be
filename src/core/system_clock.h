#pragma once

#include "core/clock.h"

namespace postkite::core {

/// The operating system's clock, in the time zone of the user.
class SystemClock final : public Clock {
  public:
    [[nodiscard]] LocalTime Now() const override;
    [[nodiscard]] std::chrono::milliseconds TickCount() const override;
};

}  // namespace postkite::core
