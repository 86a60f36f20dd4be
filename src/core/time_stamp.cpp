#include "core/time_stamp.h"

#include <array>
#include <charconv>
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

template <typename Number>
void AppendNumber(std::string& text, Number number) {
    std::array<char, 24> digits{};
    text.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
}

constexpr unsigned kLastSerial = 999;

/// Of two tick counts, which wrap after 49 days.
bool IsLater(std::uint32_t ticks, std::uint32_t than) {
    return static_cast<std::int32_t>(ticks - than) > 0;
}

/// Every mail that is stored is stamped several times: this is what `printf` is too slow for.
void PutTwoDigits(std::string& text, std::size_t at, int value) {
    text[at] = static_cast<char>('0' + value / 10 % 10);
    text[at + 1] = static_cast<char>('0' + value % 10);
}

}  // namespace

std::string FormatNowDate(const Clock& clock) {
    const LocalTime now = clock.Now();
    std::string text = "YY/MM/DD HH:MM";
    PutTwoDigits(text, 0, now.year);
    PutTwoDigits(text, 3, now.month);
    PutTwoDigits(text, 6, now.day);
    PutTwoDigits(text, 9, now.hour);
    PutTwoDigits(text, 12, now.minute);
    return text;
}

std::string FormatNowDay(const Clock& clock) {
    const LocalTime now = clock.Now();
    std::string text = "MM/DD";
    PutTwoDigits(text, 0, now.month);
    PutTwoDigits(text, 3, now.day);
    return text;
}

std::string FormatNowStamp(const Clock& clock) {
    const LocalTime now = clock.Now();
    std::string text = "YYMMDDHHMMSS";
    PutTwoDigits(text, 0, now.year);
    PutTwoDigits(text, 2, now.month);
    PutTwoDigits(text, 4, now.day);
    PutTwoDigits(text, 6, now.hour);
    PutTwoDigits(text, 8, now.minute);
    PutTwoDigits(text, 10, now.second);
    return text;
}

std::uint32_t IdentifierMaker::TicksOfNextKey() {
    const auto now = static_cast<std::uint32_t>(clock_->TickCount().count());
    if (!keyTicks_ || IsLater(now, *keyTicks_)) {
        keyTicks_ = now;
        keysWithTicks_ = 0;
    } else if (keysWithTicks_ > kLastSerial) {
        ++*keyTicks_;
        keysWithTicks_ = 0;
    }
    ++keysWithTicks_;
    return *keyTicks_;
}

void IdentifierMaker::KeepClearOf(std::string_view key) {
    if (key == lastKey_) return;
    const std::size_t stampEnd = key.find('-');
    if (stampEnd == std::string_view::npos) return;
    const std::string_view number = key.substr(stampEnd + 1);
    std::int32_t ticks = 0;
    if (std::from_chars(number.data(), number.data() + number.size(), ticks).ec != std::errc()) return;
    const auto next = static_cast<std::uint32_t>(ticks) + 1;
    const auto now = static_cast<std::uint32_t>(clock_->TickCount().count());
    // An older key, or one from before the system was started anew, is no danger.
    constexpr std::uint32_t kSoonMilliseconds = 10'000;
    if (!IsLater(next, now) || next - now > kSoonMilliseconds) return;
    if (keyTicks_ && !IsLater(next, *keyTicks_)) return;
    keyTicks_ = next;
    keysWithTicks_ = 0;
}

std::string IdentifierMaker::MakeMailKey() {
    if (mailSerial_ > kLastSerial) mailSerial_ = 0;
    // The tick count is a 32-bit one and "%d" prints it signed: after 25 days of running it is negative.
    const auto ticks = static_cast<std::int32_t>(TicksOfNextKey());
    lastKey_ = FormatNowStamp(*clock_);
    lastKey_ += '-';
    AppendNumber(lastKey_, ticks);
    lastKey_ += '-';
    AppendNumber(lastKey_, mailSerial_++);
    return lastKey_;
}

std::string IdentifierMaker::MakeMessageId(std::string_view userId) {
    ++messageCounter_;
    const std::size_t at = FindCharacter(userId, '@');
    const std::string_view domain = at == std::string_view::npos ? userId : userId.substr(at);
    const std::string minute = FormatNowStamp(*clock_).substr(0, 10);
    return "<" + minute + Format(".%04X", static_cast<unsigned>(messageCounter_)) + std::string(domain) + ">";
}

}  // namespace postkite::core
