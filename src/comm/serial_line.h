#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "comm/capture_logs.h"
#include "comm/monitor_text.h"
#include "comm/receive_ring.h"
#include "comm/serial_port.h"
#include "core/clock.h"
#include "core/settings.h"
#include "core/user_interface.h"
#include "core/workspace.h"

namespace postkite::comm {

/// The modem's line during a session: polled on each tick, cleaned, shown in the monitor, captured; and
/// written to. One a session. Borrows everything it is made from. Texts are bytes as they go over the line,
/// code page 932.
class SerialLine {
  public:
    /// What one poll takes at most, and a byte more; what waits beyond that is left to the next poll.
    static constexpr std::size_t kReceiveBufferBytes = 32'868;

    SerialLine(SerialPort& port, core::Workspace& workspace, const core::Settings& settings,
               core::UserInterface& ui, const core::Clock& clock);
    SerialLine(const SerialLine&) = delete;
    SerialLine& operator=(const SerialLine&) = delete;

    /// Opens the port at the speed of the settings. Returns 0, or -1 where it cannot be opened; `error()`
    /// says why.
    [[nodiscard]] int OpenLine(const std::string& device);

    /// Closes the port if it is open. Returns 0. What has been received and not written stays pending: flush
    /// the captures.
    int CloseLine();

    /// Reads what waits, cleans, shows and captures it. `buffer` becomes the cleaned text, empty when nothing
    /// waited. Returns 0, or -1 when the device is gone: what was captured stays. The caller appends `buffer`
    /// to the ring.
    ///
    /// While the captures have trouble with the disk nothing is read, and `buffer` stays empty; what had been
    /// read before comes as soon as it has been written.
    [[nodiscard]] int PollReceive(std::string& buffer);

    /// Writes the whole text. Faults go to "error.log" and nowhere else: the error number where writing
    /// failed, and that the length is not what was written where bytes are lost. Returns 0.
    int SendText(std::string_view text);

    /// 0 when fewer than 10 bytes wait to go out, else -1.
    [[nodiscard]] int OutputDrained();

    /// Why `OpenLine` failed, or with what the device went away: a negated errno value; else 0.
    [[nodiscard]] int error() const { return error_; }

    /// Set by "MAIL_LOG_ON", cleared by "MODEM_INIT": from then on whatever arrives gives the host another 30
    /// seconds.
    bool mailCaptureArmed = false;
    /// Whether the last poll brought anything, be it only bytes that cleaning removes.
    [[nodiscard]] bool received() const { return received_; }

    [[nodiscard]] ReceiveRing& ring() { return ring_; }
    [[nodiscard]] CaptureLogs& captures() { return captures_; }
    [[nodiscard]] MonitorText& monitor() { return monitor_; }

  private:
    SerialPort* port_;
    core::Workspace* workspace_;
    const core::Settings* settings_;
    ReceiveRing ring_;
    CaptureLogs captures_;
    MonitorText monitor_;
    std::vector<char> receiveBuffer_;
    std::string heldBack_;  ///< cleaned text that the captures have not written yet
    bool received_ = false;
    bool open_ = false;
    int error_ = 0;
};

}  // namespace postkite::comm
