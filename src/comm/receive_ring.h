#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace postkite::comm {

/// The last 256 received bytes, in which the script looks for the host's prompts.
class ReceiveRing {
  public:
    static constexpr std::size_t kBytes = 256;

    /// Stores each byte at the write index, which wraps.
    void RingAppend(std::string_view text);

    /// 0 when what has arrived so far ends with `text`, and clears the ring then; else -1. A text of more
    /// than 256 bytes never matches.
    [[nodiscard]] int RingEndsWith(std::string_view text);

    /// The last received byte; zero in a cleared ring.
    [[nodiscard]] char LastByte() const;

    void RingClear();

    /// 0 when "CONNECT" stands anywhere in the ring and 1 when it does not: the opposite of the next one,
    /// kept on purpose. Both read the ring from its first byte to the first zero byte, not from the oldest
    /// byte.
    [[nodiscard]] int RingCheckConnect() const;

    /// 1 when the host says that there is no unread mail.
    [[nodiscard]] int RingHasNoUnreadMail() const;

  private:
    [[nodiscard]] bool Holds(std::string_view text) const;

    std::array<char, kBytes> bytes_{};
    std::size_t index_ = 0;
};

}  // namespace postkite::comm
