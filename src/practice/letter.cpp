#include "practice/letter.h"

#include <charconv>
#include <cstddef>
#include <optional>

#include "core/shift_jis.h"
#include "practice/command.h"

namespace postkite::practice {

using namespace core::literals;

namespace {

constexpr int kHighestNumber = 99999;

/// Takes one line off the front of `text`, without its end.
std::u8string_view TakeLine(std::u8string_view& text) {
    const std::size_t end = text.find(u8'\n');
    std::u8string_view line = text.substr(0, end);
    text.remove_prefix(end == std::u8string_view::npos ? text.size() : end + 1);
    if (line.ends_with(u8'\r')) line.remove_suffix(1);
    return line;
}

void BlankControlCharacters(std::string& text) {
    for (char& byte : text) {
        if (static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F) byte = ' ';
    }
}

bool IsDate(std::string_view text) {
    constexpr std::string_view kForm = "00/00/00 00:00";
    if (text.size() != kForm.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool fits = kForm[i] == '0' ? text[i] >= '0' && text[i] <= '9' : text[i] == kForm[i];
        if (!fits) return false;
    }
    return true;
}

int ToNumber(std::string_view text) {
    int number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() && number > 0 && number <= kHighestNumber ? number : 0;
}

void TakeHeader(std::string_view line, Letter& letter) {
    const std::size_t colon = line.find(':');  // never a trail byte
    if (colon == std::string_view::npos) return;
    const std::string key = Upper(line.substr(0, colon));
    std::string value(Trimmed(line.substr(colon + 1)));
    BlankControlCharacters(value);
    if (key == "NAME") letter.name = value;
    if (key == "ID") letter.id = value;
    if (key == "DATE") letter.date = value;
    if (key == "SUBJECT") letter.subject = value;
    if (key == "NUMBER") letter.number = ToNumber(value);
    if (key == "REPLY-TO") letter.replyTo = ToNumber(value);
}

}  // namespace

std::string ToHostText(std::u8string_view text) {
    std::string result;
    while (!text.empty()) {
        std::size_t refusedAt = 0;
        if (const std::optional<std::string> whole = core::FromUtf8(text, &refusedAt)) return result + *whole;
        result += core::FromUtf8(text.substr(0, refusedAt)).value_or(std::string());
        result += "〓"_sjis;
        std::size_t next = refusedAt + 1;
        while (next < text.size() && (text[next] & 0xC0) == 0x80) {
            ++next;
        }
        text.remove_prefix(next);
    }
    return result;
}

Letter ParseLetter(std::u8string_view file, std::string_view defaultDate) {
    constexpr std::u8string_view kByteOrderMark = u8"\uFEFF";
    if (file.starts_with(kByteOrderMark)) file.remove_prefix(kByteOrderMark.size());
    Letter letter;
    while (!file.empty()) {
        const std::u8string_view line = TakeLine(file);
        if (line.empty()) break;
        TakeHeader(ToHostText(line), letter);
    }
    if (!IsDate(letter.date)) letter.date = defaultDate;
    while (!file.empty()) {
        letter.text += ToHostText(TakeLine(file));
        letter.text += "\r\n";
    }
    return letter;
}

}  // namespace postkite::practice
