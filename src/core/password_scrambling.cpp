#include "core/password_scrambling.h"

#include <string_view>

namespace postkite::core {

namespace {

constexpr std::string_view kKey = "qazxs";

unsigned char KeyByte(std::size_t index) {
    return static_cast<unsigned char>(kKey[index % kKey.size()]);
}

unsigned DigitValue(char digit) {
    const auto byte = static_cast<unsigned char>(digit);
    return byte < 'A' ? byte - unsigned{'0'} : byte - unsigned{'A'} + 10;
}

}  // namespace

void ScramblePassword(std::string& text) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    constexpr std::string_view kLineEnd = "\r\n";
    std::string output;
    output.reserve(2 * text.size() + kLineEnd.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        const unsigned byte = static_cast<unsigned char>(text[index]) ^ KeyByte(index);
        output += kDigits[byte >> 4];
        output += kDigits[byte & 0xF];
        if ((index + 1) % kLongestPassword == 0) output += kLineEnd;
    }
    // The line end behind a last, shorter group would always be cut off again.
    output.resize(2 * text.size());
    text = std::move(output);
}

void UnscramblePassword(std::string& text) {
    std::string output;
    std::string_view rest = text;
    const auto nextDigit = [&rest]() -> int {
        while (!rest.empty() && (rest.front() == '\r' || rest.front() == '\n'))
            rest.remove_prefix(1);
        if (rest.empty()) return -1;
        const unsigned value = DigitValue(rest.front());
        rest.remove_prefix(1);
        return static_cast<int>(value & 0xFF);
    };
    for (;;) {
        const int high = nextDigit();
        const int low = nextDigit();
        if (low < 0) break;
        const int byte = (high * 16 + low) & 0xFF;
        output += static_cast<char>(byte ^ KeyByte(output.size()));
    }
    output.resize(output.find('\0') == std::string::npos ? output.size() : output.find('\0'));
    text = std::move(output);
}

}  // namespace postkite::core
