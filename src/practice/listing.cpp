#include "practice/listing.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "core/shift_jis.h"

namespace postkite::practice {

using namespace core::literals;

namespace {

/// `text` in a column of exactly `width` bytes.
std::string Column(std::string_view text, std::size_t width) {
    std::string column(core::CutToBytes(text, width));
    column.append(width - column.size(), ' ');
    return column;
}

std::string Digits(int number, std::size_t width, char fill) {
    const std::string digits = std::to_string(number);
    return std::string(width - std::min(width, digits.size()), fill) + digits;
}

std::size_t DigitsOf(NumberWidth width) {
    return width == NumberWidth::Three ? 3 : 5;
}

}  // namespace

std::string MailHeaderLine(int number, const Letter& mail) {
    const std::string_view id = std::string_view(mail.id).substr(0, mail.id.find(' '));
    return Digits(number % 1000, 3, ' ') + " " + Column(mail.name, 16) + "  " + Column(id, 17) + " " +
           mail.date + "\r\n";
}

std::string MailSubjectLine(const Letter& mail) {
    constexpr std::string_view kHeading = "件名    ："_sjis;
    static_assert(kHeading.size() == 10);
    return std::string(kHeading) + mail.subject + "\r\n";
}

NumberWidth WidthFor(int highest) {
    return highest > 999 ? NumberWidth::Five : NumberWidth::Three;
}

std::string MessageHeaderLine(const Letter& message, int highest, NumberWidth width) {
    const std::string numbers =
        Digits(message.number, DigitsOf(width), '0') + "/" + Digits(highest, DigitsOf(width), '0');
    const bool narrow = width == NumberWidth::Three;
    return Column(numbers, narrow ? 10 : 12) + Column(message.id, 8) + "  " +
           Column(message.name, narrow ? 17 : 16) + " " + message.subject + "\r\n";
}

std::string MessageSecondLine(const Letter& message, NumberWidth width) {
    std::string line = std::string(7, ' ') + message.date;
    if (message.replyTo != 0) {
        line += "  " + Digits(message.replyTo, DigitsOf(width), '0');
        line += "へのコメント"_sjis;
    }
    return line + "\r\n";
}

}  // namespace postkite::practice
