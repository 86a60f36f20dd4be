#include "practice/command.h"

#include <charconv>
#include <cstddef>

namespace postkite::practice {

namespace {

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

}  // namespace

Command ParseCommand(std::string_view line) {
    const std::string text = Upper(Trimmed(line));
    std::size_t end = text.find(' ');
    if (end == std::string::npos) {
        end = text.size();
        while (end > 0 && IsDigit(text[end - 1])) {
            --end;
        }
        if (end == 0) end = text.size();
    }
    return {text.substr(0, end), std::string(Trimmed(std::string_view(text).substr(end)))};
}

std::string Upper(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 'a' + 'A');
    }
    return result;
}

std::string_view Trimmed(std::string_view text) {
    while (text.starts_with(' ')) {
        text.remove_prefix(1);
    }
    while (text.ends_with(' ')) {
        text.remove_suffix(1);
    }
    return text;
}

std::optional<int> WholeNumber(std::string_view text) {
    constexpr std::size_t kMostDigits = 5;
    if (text.empty() || text.size() > kMostDigits) return std::nullopt;
    for (const char character : text) {
        if (!IsDigit(character)) return std::nullopt;
    }
    int number = 0;
    static_cast<void>(std::from_chars(text.data(), text.data() + text.size(), number));  // digits alone
    return number;
}

}  // namespace postkite::practice
