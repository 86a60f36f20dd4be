#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "outgoing/refusal.h"

namespace postkite::outgoing {

/// The session reads a line of the queue up to 1,024 bytes, "TO:" and "INET:" included.
inline constexpr std::size_t kLongestAddresseeBytes = 1000;

/// Of all "TO:" lines of a mail with their ends. The session takes a header of 262,144 bytes.
inline constexpr std::size_t kLongestAddresseeLines = 200'000;

/// A line of "mes.inf" is half of a record of 64 bytes, with a closing zero.
inline constexpr std::size_t kLongestPostLine = 31;

/// Where a mail goes: to addressees at the host and beyond its gateway, or into a room of a forum.
struct Destination {
    std::vector<std::string> addressees;  ///< as behind "TO:", those beyond the gateway with "INET:"
    std::string room;                     ///< of a forum message, "%s,MES %d"; empty for a host mail
    int answered = 0;                     ///< number of the message that a forum message answers; 0: none
};

/// Takes the destination text of a mail apart. It is scanned by characters: the trail byte of a double-byte
/// character is never a bracket, a comma, "@", "/" or a blank. Blanks, parts in round brackets, with brackets
/// within them, and the bytes 0xA0 that stand for line ends are left out first; then commas separate, and
/// empty addressees are passed over.
///
/// `Refusal::None` where the mail can go there; `destination` is of no use otherwise.
[[nodiscard]] Refusal ParseDestination(std::string_view text, Destination& destination);

}  // namespace postkite::outgoing
