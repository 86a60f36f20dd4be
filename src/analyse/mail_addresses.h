#pragma once

#include <string>
#include <string_view>

/// The sender's "From" line of a mail that came through the Internet gateway. Both work byte by byte, as such lines have
/// always been taken apart here, and on any bytes.
namespace postkite::analyse {

/// The bare address in the line: what stands around its first "@". A line with nothing before the address gives all behind
/// "From: ". 0, or -1 where the line holds no "@"; `out` is left alone then.
[[nodiscard]] int ExtractInetAddress(std::string_view line, std::string& out);

/// Makes of an address value what a person is called there: its display name, its comment, or the address
/// alone.
void ExtractDisplayName(std::string& text);

}  // namespace postkite::analyse
