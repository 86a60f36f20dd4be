#include "cli/console.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "app/surroundings.h"
#include "core/shift_jis.h"

namespace postkite::cli {

namespace {

std::u8string_view AsUtf8(std::string_view bytes) {
    return {reinterpret_cast<const char8_t*>(bytes.data()), bytes.size()};
}

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// The length of the whole and visible character that begins at `at`, or 0.
std::size_t VisibleLength(std::string_view utf8, std::size_t at) {
    const auto lead = static_cast<unsigned char>(utf8[at]);
    if (lead < 0x80) return lead >= 0x20 && lead != 0x7F ? 1 : 0;
    if (lead < 0xC2 || lead > 0xF4) return 0;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    const std::string_view character = utf8.substr(at, length);
    if (character.size() < length) return 0;
    for (const char byte : character.substr(1)) {
        if ((static_cast<unsigned char>(byte) & 0xC0) != 0x80) return 0;
    }
    const auto second = static_cast<unsigned char>(character[1]);
    const bool c1Control = lead == 0xC2 && second < 0xA0;
    const bool surrogate = lead == 0xED && second >= 0xA0;
    return c1Control || surrogate ? 0 : length;
}

}  // namespace

Console SystemConsole() {
    return {std::cin,
            std::cout,
            std::cerr,
            isatty(STDIN_FILENO) == 1,
            isatty(STDERR_FILENO) == 1,
            app::ReadVariable,
            [] {
                pollfd err{STDERR_FILENO, POLLOUT, 0};
                return poll(&err, 1, 0) > 0;
            }};
}

std::string Printable(std::string_view text, LineEnds lineEnds) {
    const std::string utf8 = Utf8Bytes(text);
    if (lineEnds == LineEnds::Replaced) return Visible(utf8);
    std::string result;
    std::string_view rest = utf8;
    for (;;) {
        const std::size_t end = rest.find_first_of("\r\n\t");
        result += Visible(rest.substr(0, end));
        if (end == std::string_view::npos) return result;
        result += rest[end];
        rest.remove_prefix(end + 1);
    }
}

std::string Visible(std::string_view utf8) {
    std::string result;
    result.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        const std::size_t length = VisibleLength(utf8, at);
        result += length > 0 ? utf8.substr(at, length) : kReplacement;
        at += std::max<std::size_t>(length, 1);
        // The rest of a control character of two bytes.
        if (length == 0 && static_cast<unsigned char>(utf8[at - 1]) == 0xC2 && at < utf8.size() &&
            (static_cast<unsigned char>(utf8[at]) & 0xC0) == 0x80) {
            ++at;
        }
    }
    return result;
}

std::string Utf8Bytes(std::string_view text) {
    const std::u8string utf8 = core::ToShownUtf8(text);
    return {reinterpret_cast<const char*>(utf8.data()), utf8.size()};
}

std::optional<std::string> Typed(std::string_view utf8, std::string* refused) {
    std::size_t at = 0;
    std::optional<std::string> text = core::FromUtf8(AsUtf8(utf8), &at);
    if (!text && refused != nullptr) {
        const std::size_t length = VisibleLength(utf8, at);
        *refused = length > 0 ? utf8.substr(at, length) : kReplacement;
    }
    return text;
}

}  // namespace postkite::cli
