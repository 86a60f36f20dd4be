#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace postkite::practice {

/// Puts the bytes that come from a client together to lines, with the echo that a terminal at the other end
/// needs: it shows only what the host sends back. A line ends in CR; LF behind it is passed over, LF alone
/// ends a line too. Backspace takes the last character back.
class Keyboard {
  public:
    /// What a line has beyond this many bytes is neither kept nor echoed.
    static constexpr std::size_t kLongestLine = 16384;

    /// Takes one byte and appends what is to be echoed to `echo`. Returns the line that it ends, without its
    /// end.
    [[nodiscard]] std::optional<std::string> Hear(char byte, std::string& echo);

    /// What has been typed of the line that has not ended yet.
    [[nodiscard]] const std::string& begun() const { return line_; }

    /// Off while a password is typed: only the line's end is echoed.
    void SetEcho(bool on) { echoes_ = on; }

  private:
    void Backspace(std::string& echo);

    std::string line_;
    bool echoes_ = true;
    bool lastWasReturn_ = false;
};

}  // namespace postkite::practice
