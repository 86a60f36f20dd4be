#include "core/time_stamp.h"

#include <array>
#include <cstdio>

#include "core/shift_jis.h"

namespace postkite::core {

namespace {

template <typename... Values>
std::string Format(const char* format, Values... values) {
    std::array<char, 64> text{};
    const int length = std::snprintf(text.data(), text.size(), format, values...);
    return {text.data(), static_cast<std::size_t>(length)};
}

constexpr unsigned kLastSerial = 999;

int TwoDigitYear(const LocalTime& time) {
    return time.year % 100;
}

}  // namespace

std::string FormatNowDate(const Clock& clock) {
    const LocalTime now = clock.Now();
    return Format("%02d/%02d/%02d %02d:%02d", TwoDigitYear(now), now.month, now.day, now.hour, now.minute);
}

std::string FormatNowDay(const Clock& clock) {
    const LocalTime now = clock.Now();
    return Format("%02d/%02d", now.month, now.day);
}

std::string FormatNowStamp(const Clock& clock) {
    const LocalTime now = clock.Now();
    return Format("%02d%02d%02d%02d%02d%02d", TwoDigitYear(now), now.month, now.day, now.hour, now.minute,
                  now.second);
}

IdentifierMaker::IdentifierMaker(const Clock& clock)
    : clock_(&clock), mailSerial_(clock.ProcessNumber() % (kLastSerial + 1)) {
}

std::uint32_t IdentifierMaker::TicksOfNextKey() {
    const auto now = static_cast<std::uint32_t>(clock_->TickCount().count());
    // The count wraps after 49 days.
    const bool isLater = static_cast<std::int32_t>(now - keyTicks_) > 0;
    if (keysWithTicks_ == 0 || isLater) {
        keyTicks_ = now;
        keysWithTicks_ = 0;
    } else if (keysWithTicks_ > kLastSerial) {
        ++keyTicks_;
        keysWithTicks_ = 0;
    }
    ++keysWithTicks_;
    return keyTicks_;
}

std::string IdentifierMaker::MakeMailKey() {
    if (mailSerial_ > kLastSerial) mailSerial_ = 0;
    // The tick count is a 32-bit one and "%d" prints it signed: after 25 days of running it is negative.
    const auto ticks = static_cast<std::int32_t>(TicksOfNextKey());
    return FormatNowStamp(*clock_) + Format("-%d-%u", ticks, mailSerial_++);
}

std::string IdentifierMaker::MakeMessageId(std::string_view userId) {
    ++messageCounter_;
    const std::size_t at = FindCharacter(userId, '@');
    const std::string_view domain = at == std::string_view::npos ? userId : userId.substr(at);
    const std::string minute = FormatNowStamp(*clock_).substr(0, 10);
    return "<" + minute + Format(".%04X", static_cast<unsigned>(messageCounter_)) + std::string(domain) + ">";
}

}  // namespace postkite::core
