#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "practice/host_session.h"
#include "practice/log_in.h"
#include "practice/modem.h"
#include "practice/transcript.h"
#include "practice/trouble.h"

namespace postkite::practice {

struct HostOptions {
    Account account;
    char route = '2';
    bool modem = true;               ///< false: a connection is a call
    bool echoLateLineFeeds = false;  ///< as a modem emulator does
    int speedBps = 0;                ///< 0: as fast as it is taken
    Trouble trouble;
};

/// The whole practice host as one state machine: a modem, the telephone line behind it, and the host at its
/// other end. It is fed with what the client writes and with a clock that does not go back, and gives what
/// the client is to read. It never waits. Borrows the holdings and the clock, which is for dates only.
class PracticeHost {
  public:
    PracticeHost(HostOptions options, Holdings& holdings, const core::Clock& clock);

    /// A client has opened the line. Without a modem that is the call.
    void Connect(std::chrono::milliseconds now);
    void Receive(std::string_view bytes, std::chrono::milliseconds now);
    /// Lets time pass. To be called when `nextEvent` has come.
    void Advance(std::chrono::milliseconds now);
    /// The client has closed the line.
    void Disconnect();

    /// Takes what the client is to read by now; what belongs into one write. Empty when there is nothing yet.
    [[nodiscard]] std::string Output(std::chrono::milliseconds now);

    /// When `Advance` and `Output` will have something to do; nullopt when only the client can bring it
    /// about.
    [[nodiscard]] std::optional<std::chrono::milliseconds> nextEvent() const;

    /// Whether the client is to be read from. Not while it leaves much of the output unread and goes on
    /// typing.
    [[nodiscard]] bool takesInput() const;
    /// Without a modem: the host has hung up, and the line is to be closed.
    [[nodiscard]] bool hungUp() const { return hungUp_; }
    /// Whether the client has done anything since it came.
    [[nodiscard]] bool wasUsed() const { return used_; }

  private:
    void ReceiveByte(char byte, std::chrono::milliseconds now);
    void StartCall(std::chrono::milliseconds now);
    void Type(char byte, std::chrono::milliseconds now);
    void HoldTyped(char byte, std::chrono::milliseconds now);
    void ReleaseTyped(std::chrono::milliseconds now);
    void TakeScreen();
    void EndCallWhenDone();
    void EndCall(std::string_view reason);

    HostOptions options_;
    Holdings* holdings_;
    const core::Clock* clock_;
    Transcript transcript_;
    Modem modem_;
    CallTrouble callTrouble_;
    std::uint32_t calls_ = 0;
    std::unique_ptr<TelephoneLine> line_;   ///< while there is a call
    std::unique_ptr<HostSession> session_;  ///< as well
    std::string typedAhead_;                ///< what the client types while it leaves much unread
    std::string heldLine_;                  ///< the beginning of the last line of that
    bool hungUp_ = false;
    bool used_ = false;
};

}  // namespace postkite::practice
