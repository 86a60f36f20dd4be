#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/clock.h"

namespace postkite::core {

/// The local time of the call as "%y/%m/%d %H:%M", e.g. 97/01/24 08:05.
[[nodiscard]] std::string FormatNowDate(const Clock& clock);
/// As "%m/%d".
[[nodiscard]] std::string FormatNowDay(const Clock& clock);
/// As "%y%m%d%H%M%S".
[[nodiscard]] std::string FormatNowStamp(const Clock& clock);

/// Makes identifiers that no other item of this program gets. Owns the two counters behind them: one object a
/// program. Borrows the clock.
class IdentifierMaker {
  public:
    explicit IdentifierMaker(const Clock& clock) : clock_(&clock) {}

    /// The unique key of a stored mail, "%s-%d-%d": `FormatNowStamp`, the tick count in milliseconds, and a
    /// serial number that runs from 0 to 999 and wraps; the tick count goes on then, should the time not have.
    [[nodiscard]] std::string MakeMailKey();

    /// Makes no key any more like `key`, which another program may have made in this very moment.
    void KeepClearOf(std::string_view key);

    /// The identifier of a mail written here, "<%s.%04X%s>": the local time as "%y%m%d%H%M", a counter that
    /// starts at 1, and the part of `userId` from its first "@" on, or all of it when it has none.
    [[nodiscard]] std::string MakeMessageId(std::string_view userId);

  private:
    /// The tick count of the next key: the present one, unless all serial numbers were used with it.
    [[nodiscard]] std::uint32_t TicksOfNextKey();

    const Clock* clock_;
    unsigned mailSerial_ = 0;
    std::optional<std::uint32_t> keyTicks_;
    unsigned keysWithTicks_ = 0;
    std::string lastKey_;
    std::uint16_t messageCounter_ = 0;
};

}  // namespace postkite::core
