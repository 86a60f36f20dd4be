#include "practice/keyboard.h"

#include <utility>

#include "core/shift_jis.h"

namespace postkite::practice {

namespace {

constexpr char kXon = 0x11;
constexpr char kXoff = 0x13;
constexpr char kDelete = 0x7F;

}  // namespace

std::optional<std::string> Keyboard::Hear(char byte, std::string& echo) {
    const bool behindReturn = std::exchange(lastWasReturn_, byte == '\r');
    switch (byte) {
        case '\0':
        case kXon:
        case kXoff:
            return std::nullopt;
        case '\n':
            if (behindReturn) return std::nullopt;
            [[fallthrough]];
        case '\r':
            echo += "\r\n";
            return std::exchange(line_, std::string());
        case '\b':
        case kDelete:
            Backspace(echo);
            return std::nullopt;
        default:
            break;
    }
    if (line_.size() < kLongestLine) {
        line_ += byte;
        if (echoes_) echo += byte;
    }
    return std::nullopt;
}

void Keyboard::Backspace(std::string& echo) {
    if (line_.empty()) return;
    std::size_t last = 0;
    for (std::size_t next = 0; next < line_.size(); next += core::CharacterLength(line_, next)) {
        last = next;
    }
    const std::size_t width = line_.size() - last;
    line_.resize(last);
    if (!echoes_) return;
    for (const char sign : {'\b', ' ', '\b'}) {
        echo.append(width, sign);
    }
}

}  // namespace postkite::practice
