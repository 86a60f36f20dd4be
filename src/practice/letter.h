#pragma once

#include <string>
#include <string_view>

namespace postkite::practice {

/// A mail that waits for the client, or a message in a room of a forum. Texts are code page 932; none but
/// `text` holds a line end or another control character.
struct Letter {
    std::string name;     ///< of the sender
    std::string id;       ///< of the sender
    std::string date;     ///< always YY/MM/DD HH:MM
    std::string subject;  ///< or title
    int number = 0;       ///< of a message in its room; 0 where none is given
    int replyTo = 0;      ///< the message that this one answers; 0 for none
    std::string text;     ///< every line ends in CR LF
};

/// `text` as a host of the time could hold it: what the code page lacks, and bytes that are no UTF-8, become
/// "〓", the printer's mark for a missing type.
[[nodiscard]] std::string ToHostText(std::u8string_view text);

/// Reads a letter as people write it into a file: UTF-8, a line "Key: value" for each of Name, Id, Date,
/// Subject and for a message Number and Reply-To, an empty line, the text. Keys in any order and letter case,
/// unknown ones are passed over, lines end in LF or CR LF. A date of another form becomes `defaultDate`,
/// which has the right one.
[[nodiscard]] Letter ParseLetter(std::u8string_view file, std::string_view defaultDate);

}  // namespace postkite::practice
