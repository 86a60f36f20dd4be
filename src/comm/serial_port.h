#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace postkite::comm {

/// The device that a session talks through: a modem's line, a pseudo-terminal, a connection to a modem
/// emulator. Nothing but `Open` waits. Results are 0, a count, or a negated errno value. Closed by its
/// destructor.
class SerialPort {
  public:
    SerialPort() = default;
    SerialPort(const SerialPort&) = delete;
    SerialPort& operator=(const SerialPort&) = delete;
    virtual ~SerialPort() = default;

    /// Opens the device for this program alone. `device` is a native path, "tcp:HOST:PORT" or "telnet:HOST:PORT"; only
    /// the latter two can take time, about 10 seconds at most once the host's name is known. `bitsPerSecond` is the line's
    /// speed; 0 or less leaves the one that the device has, and a device that has none does not mind. -EBUSY
    /// when another program has the device, -ENOTTY or -EISDIR for a path that is no terminal device, -EINVAL
    /// for a name of neither kind.
    [[nodiscard]] virtual int Open(const std::string& device, int bitsPerSecond) = 0;

    /// Puts the device back as it was found and closes it; does nothing when it is closed. Bytes that the
    /// device has not taken by now are gone.
    virtual void Close() = 0;

    /// Reads what waits, at most `buffer.size()` bytes, without waiting: their count, 0 when nothing waits, a
    /// negated errno value when the device is gone, which it stays.
    [[nodiscard]] virtual std::int64_t Read(std::span<char> buffer) = 0;

    /// Takes all of `bytes` and returns at once; what the device does not take now goes out at later calls of
    /// any operation here. When it fails it has taken none of them: -ENOBUFS where too many wait already,
    /// else the device is gone.
    [[nodiscard]] virtual int Write(std::string_view bytes) = 0;

    /// How many written bytes wait, here and in the device.
    [[nodiscard]] virtual std::size_t WaitingBytes() = 0;
};

}  // namespace postkite::comm
