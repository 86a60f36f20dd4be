#pragma once

#include <cstddef>
#include <string>

namespace postkite::core {

/// The longest password, in bytes, that scrambling carries through a file unharmed.
inline constexpr std::size_t kLongestPassword = 35;

/// Scrambles a password in place as the files keep it: each byte XORed with the key and written as two
/// upper-case hexadecimal digits. It hides a password from a glance, no more. Of a text longer than
/// `kLongestPassword` the output holds a CR LF and lacks the tail; that is the form that the files have
/// always had.
void ScramblePassword(std::string& text);

/// Takes back `ScramblePassword`, in place. CR and LF are passed over; anything else counts as a digit, so
/// that any text has a result. The result is at most half as long as the text and ends before a zero byte.
void UnscramblePassword(std::string& text);

}  // namespace postkite::core
