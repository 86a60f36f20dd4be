#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace postkite::practice {

/// Where clients come in: a pseudo-terminal that looks like a serial port, or a TCP address. One client at a
/// time.
///
/// Operations that return an int return 0, or a count, or a negated errno value. None of them waits.
class LineDevice {
  public:
    LineDevice() = default;
    LineDevice(const LineDevice&) = delete;
    LineDevice& operator=(const LineDevice&) = delete;
    virtual ~LineDevice() = default;

    /// What to poll while no client is there; -1 where only looking again after a while helps.
    [[nodiscard]] virtual int waitingDescriptor() const = 0;
    /// Takes a client that has come. Returns 1 when there is one now, 0 when not.
    [[nodiscard]] virtual int Accept() = 0;
    /// What to poll for the client that is there.
    [[nodiscard]] virtual int descriptor() const = 0;
    /// Up to `size` bytes. Returns their count; 0 when there are none just now; -EPIPE when the client has
    /// gone.
    [[nodiscard]] virtual int Read(char* buffer, std::size_t size) = 0;
    /// Returns how many bytes were taken, 0 when none can be just now: the next write has to begin with the same ones
    /// then. -EPIPE when the client has gone.
    [[nodiscard]] virtual int Write(std::string_view bytes) = 0;
    /// The client has gone: the line is made ready for the next one.
    [[nodiscard]] virtual int Release() = 0;
    /// The same for a client that is still there.
    [[nodiscard]] virtual int HangUp() = 0;
};

/// Makes a pseudo-terminal and the symbolic link `link` to it, which goes when the device does. A link that
/// is there and leads to a terminal, or to nothing any more, is replaced; anything else of that name is
/// -EEXIST.
[[nodiscard]] int OpenPseudoTerminal(const std::filesystem::path& link, std::unique_ptr<LineDevice>& device);

/// Listens on `address`, "ADDRESS:PORT"; an IPv6 address may stand in brackets. -EINVAL where it is of
/// another form. `heard` becomes the address with the port that is listened on, which port 0 leaves to the
/// system.
///
/// What a client negotiates by the telnet protocol is answered and is no input. With `telnet` this end begins.
[[nodiscard]] int OpenListener(const std::string& address, bool telnet, std::unique_ptr<LineDevice>& device,
                               std::string& heard);

}  // namespace postkite::practice
