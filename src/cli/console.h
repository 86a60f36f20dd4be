#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace postkite::comm {
class SerialPort;
}

namespace postkite::cli {

class SessionTimer;

/// What a terminal program is started in: streams, and what the surroundings say. Tests give it their own.
/// Streams are UTF-8; they are borrowed.
struct Console {
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    bool inIsTerminal = false;
    bool errIsTerminal = false;
    /// An environment variable; nothing when it is not set or empty.
    std::function<std::optional<std::string>(const char* name)> variable;
    /// Whether `err` takes a piece of `kErrPieceBytes` without waiting. Empty: it always does.
    std::function<bool()> errTakesMore = {};
    static constexpr std::size_t kErrPieceBytes = 1024;
    /// To be called before anything else is written: ends a line that is being redrawn in place. Empty where
    /// nobody draws one; whoever does puts it here.
    std::function<void()> endStatusLine = {};
    /// What sessions talk through and wait for; borrowed. nullptr: the system's devices, its clock and signals.
    comm::SerialPort* serialPort = nullptr;
    SessionTimer* sessionTimer = nullptr;
};

/// The console of this process.
[[nodiscard]] Console SystemConsole();

enum class LineEnds { Replaced, Kept };

/// Code page 932 text as the terminal gets it: UTF-8, with U+FFFD for bytes that are no character and for
/// control characters, so that no stored text can steer the terminal. `LineEnds::Kept` leaves CR, LF and
/// tabs.
[[nodiscard]] std::string Printable(std::string_view text, LineEnds lineEnds = LineEnds::Replaced);

/// Code page 932 text as UTF-8 bytes, with U+FFFD for bytes that are no character, but with all control
/// characters, for JSON.
[[nodiscard]] std::string Utf8Bytes(std::string_view text);

/// UTF-8 text from anywhere, such as the command line, made fit for a terminal in the same way.
[[nodiscard]] std::string Visible(std::string_view utf8);

/// What was typed, in code page 932; nothing when it is no UTF-8 or holds a character that the code page
/// lacks. Then `refused`, if given, is that character.
[[nodiscard]] std::optional<std::string> Typed(std::string_view utf8, std::string* refused = nullptr);

}  // namespace postkite::cli
