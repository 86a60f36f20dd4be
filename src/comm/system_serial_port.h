#pragma once

#include <termios.h>

#include <optional>
#include <string>

#include "comm/serial_port.h"
#include "core/telnet_codec.h"

namespace postkite::comm {

/// The system's terminal devices and TCP connections.
///
/// A terminal device is raw, 8 data bits, no parity, 1 stop bit, at the speed nearest to the one asked for
/// that the system has a name for, with XON/XOFF both ways (the limits are the driver's own), DTR and RTS on,
/// and no other flow control. What it lacks of this, as pseudo-terminals lack nearly all, is passed over. Its
/// settings are put back when it is closed.
///
/// "tcp:HOST:PORT" is a host name or address, "tcp:[ADDRESS]:PORT" one with colons in it; PORT is a number. Bytes pass
/// as they are. "telnet:HOST:PORT" is the same with the telnet protocol on top, in which the server begins.
class SystemSerialPort final : public SerialPort {
  public:
    /// How many bytes wait here at most for a device that takes none.
    static constexpr std::size_t kLongestQueue = std::size_t{1} << 20U;

    ~SystemSerialPort() override;

    [[nodiscard]] int Open(const std::string& device, int bitsPerSecond) override;
    void Close() override;
    [[nodiscard]] std::int64_t Read(std::span<char> buffer) override;
    [[nodiscard]] int Write(std::string_view bytes) override;
    [[nodiscard]] std::size_t WaitingBytes() override;

  private:
    [[nodiscard]] int OpenTerminal(const std::string& path, int bitsPerSecond);
    [[nodiscard]] int OpenConnection(std::string_view hostAndPort);
    [[nodiscard]] int TakeAlone();
    void Configure(int bitsPerSecond);
    [[nodiscard]] std::int64_t ReadSome(std::span<char> buffer);
    [[nodiscard]] int WriteBytes(std::string_view bytes);
    [[nodiscard]] int WriteSome(std::string_view bytes, std::size_t& written) const;
    void SendQueued();

    int descriptor_ = -1;
    bool isConnection_ = false;
    bool isExclusive_ = false;
    std::optional<core::TelnetCodec> telnet_;
    std::optional<termios> found_;  ///< the device's settings before this program's
    std::string queue_;  ///< written bytes that the device has not taken, behind `queueStart_` sent ones
    std::size_t queueStart_ = 0;
    int writeError_ = 0;  ///< with what writing queued bytes failed: the device is gone
};

}  // namespace postkite::comm
