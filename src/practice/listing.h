#pragma once

#include <string>

#include "practice/letter.h"

/// How the host prints mails and messages. Clients cut these lines by columns, so that every column counts.
/// Columns are bytes, counted from 0; a double-byte character takes two.
namespace postkite::practice {

/// The line that opens a mail, 54 bytes, with its CR LF:
///
///     0-3    the mail's number in the list, a blank
///     4-19   the sender's name
///     22-38  the sender's ID
///     40-53  the date, YY/MM/DD HH:MM
[[nodiscard]] std::string MailHeaderLine(int number, const Letter& mail);

/// The line behind it: a heading of ten bytes, then the subject.
[[nodiscard]] std::string MailSubjectLine(const Letter& mail);

/// Which of two layouts a room's messages have. Rooms began with numbers of three digits; when the first of
/// them reached number 1000, five were needed and the columns moved.
enum class NumberWidth { Three, Five };

/// The narrowest in which `highest` can be printed.
[[nodiscard]] NumberWidth WidthFor(int highest);

/// The line that opens a message:
///
///     three digits   five digits
///     0-2            0-4           the message's number, with "/" and the room's highest number behind it
///     10-17          12-19         the sender's ID
///     20-36          22-37         the sender's name
///     38             39            the title, to the end of the line
[[nodiscard]] std::string MessageHeaderLine(const Letter& message, int highest, NumberWidth width);

/// The line behind it: the date and time from column 7 on, and for an answer the number that it answers at
/// column 23.
[[nodiscard]] std::string MessageSecondLine(const Letter& message, NumberWidth width);

/// What stands behind a message when the client has asked for delimiters (SET DLM ON): on a screen an empty
/// line, but a program can tell it from every line that a person writes.
inline constexpr char kMessageDelimiter[] = " \b\r\n";

}  // namespace postkite::practice
