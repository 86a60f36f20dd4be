#include "cli/console.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "core/shift_jis.h"

namespace postkite::cli {

namespace {

std::u8string_view AsUtf8(std::string_view bytes) {
    return {reinterpret_cast<const char8_t*>(bytes.data()), bytes.size()};
}

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// The character that begins at `at`, fit to be shown.
std::string VisibleCharacter(std::string_view utf8, std::size_t at) {
    const auto lead = static_cast<unsigned char>(utf8[at]);
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    const std::string_view character = utf8.substr(at, length);
    const bool c1Control =
        lead == 0xC2 && character.size() == 2 && static_cast<unsigned char>(character[1]) < 0xA0;
    bool whole = lead >= 0xC2 && lead <= 0xF4 && character.size() == length && !c1Control;
    for (const char byte : character.substr(1)) {
        whole = whole && (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
    }
    return std::string(whole ? character : kReplacement);
}

}  // namespace

Console SystemConsole() {
    return {std::cin,
            std::cout,
            std::cerr,
            isatty(STDIN_FILENO) == 1,
            isatty(STDERR_FILENO) == 1,
            [](const char* name) -> std::optional<std::string> {
                const char* value = std::getenv(name);
                if (value == nullptr || *value == '\0') return std::nullopt;
                return value;
            }};
}

std::string Printable(std::string_view text, LineEnds lineEnds) {
    const std::u8string utf8 = core::ToUtf8(text);
    std::string result;
    result.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size(); ++at) {
        const char8_t byte = utf8[at];
        const bool c1Control = byte == 0xC2 && utf8[at + 1] < 0xA0;
        const bool kept = lineEnds == LineEnds::Kept && (byte == '\r' || byte == '\n' || byte == '\t');
        if (!kept && (byte < 0x20 || byte == 0x7F || c1Control)) {
            result += kReplacement;
            if (c1Control) ++at;
        } else {
            result += static_cast<char>(byte);
        }
    }
    return result;
}

std::string Utf8Bytes(std::string_view text) {
    const std::u8string utf8 = core::ToUtf8(text);
    return {reinterpret_cast<const char*>(utf8.data()), utf8.size()};
}

std::optional<std::string> Typed(std::string_view utf8, std::string* refused) {
    std::size_t at = 0;
    std::optional<std::string> text = core::FromUtf8(AsUtf8(utf8), &at);
    if (!text && refused != nullptr) *refused = VisibleCharacter(utf8, at);
    return text;
}

}  // namespace postkite::cli
