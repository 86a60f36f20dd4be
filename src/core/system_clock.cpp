#include "core/system_clock.h"

namespace postkite::core {

LocalTime SystemClock::Now() const {
    const std::time_t now = std::time(nullptr);
    if (now == lastSecond_) return lastTime_;
    std::tm local{};
    localtime_r(&now, &local);
    lastSecond_ = now;
    lastTime_ = {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                 local.tm_hour,        local.tm_min,     local.tm_sec};
    return lastTime_;
}

std::chrono::milliseconds SystemClock::TickCount() const {
    timespec sinceStart{};
    clock_gettime(CLOCK_BOOTTIME, &sinceStart);
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::seconds(sinceStart.tv_sec) + std::chrono::nanoseconds(sinceStart.tv_nsec));
}

}  // namespace postkite::core
