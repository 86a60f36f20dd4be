#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace postkite::store {

/// Bytes of the buffer that any mail's text has to fit into.
inline constexpr std::size_t MAIL_BODY_MAX = 524288;

/// Flags of a mail that was written here, and of one that arrived. The first has the digit zero at position
/// 11, the second the letter O; the files have always had both.
inline constexpr std::string_view kComposedMailFlags = "Sosrr ---- 0P     ";
inline constexpr std::string_view kReceivedMailFlags = "Rosrr ---- OP     ";

/// Positions in the flag string.
namespace flag {
inline constexpr std::size_t kOrigin = 0;   ///< 'R', 'r' received; 'S', 's' written here
inline constexpr std::size_t kDeleted = 1;  ///< 'x'
inline constexpr std::size_t kSent = 2;     ///< 'S' sent, 's' not
inline constexpr std::size_t kRead = 3;     ///< 'R' read, 'r' unread
inline constexpr std::size_t kReply = 4;    ///< 'R' replied, 'r' not
inline constexpr std::size_t kCharacter5 = 5;
inline constexpr std::size_t kPosition8 = 8;  ///< 'Y' reserved for sending, 'y' not
inline constexpr std::size_t kDigit = 9;
inline constexpr std::size_t kKind = 10;        ///< 'N', 'L' or blank
inline constexpr std::size_t kSignature = 11;   ///< '1' to '9': the stored signature of a mail written here
inline constexpr std::size_t kServerList = 13;  ///< 'S': an entry of the list of mails kept on the host
inline constexpr std::size_t kLine17 = 14;      ///< 'Y': the text record has the 17th header line
}  // namespace flag

/// A mail in memory. Texts are code page 932; header fields hold no CR. The comments say what the fields of
/// the files have always been made to hold, in bytes; longer ones are stored whole in the text file and cut
/// in the index.
struct MailRecord {
    std::string flags;    ///< 50
    std::string address;  ///< 2499: sender of received mail, recipients of outgoing mail
    std::string name;     ///< 511
    std::string date;  ///< 50: date of writing "%y/%m/%d %H:%M", a blank, from character 15 date of sending
    std::string subject;       ///< 513
    std::string body;          ///< lines ended by CR LF
    std::string attach;        ///< 999: names of attached files
    std::string cc;            ///< 2499
    std::string bcc;           ///< 2499
    std::string localId;       ///< 50: the store's identifier of this copy
    std::string extraAddress;  ///< 1023
    std::string sizeText;      ///< 99
    std::string sourceId;      ///< 99: localId of the mail that this one was made from
    std::string messageId;     ///< 99
    std::string spare1;        ///< 99
    std::string spare2;        ///< always stored empty, as is spare3
    std::string spare3;
    std::string spare4;  ///< never stored
    std::string spare5;  ///< 99
};

/// Shortens a text of more than `width` bytes to `width` - 1 bytes, or to `width` where a double-byte
/// character takes the last two. A text of `width` bytes stays whole.
void CutToWidth(std::string& text, std::size_t width);

}  // namespace postkite::store
