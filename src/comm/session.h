#pragma once

#include <string>
#include <string_view>

#include "comm/interpreter.h"
#include "comm/script.h"
#include "comm/serial_line.h"
#include "comm/session_partners.h"
#include "comm/session_result.h"
#include "core/clock.h"
#include "core/settings.h"
#include "core/user_interface.h"
#include "core/workspace.h"

namespace postkite::comm {

/// One connection from the command to the hang-up. `app` ticks it every 200 ms; nothing in it waits. Borrows
/// everything it is made from; one object may make any number of connections, one after another. Settings
/// must not change while a session runs.
///
/// A session that ends has one more stretch of ticks before it reports its result, the closing:
/// - The captures are flushed, ended and synced first, whatever the result: what comes now is about the hanging up.
/// - A script that has not come to its END (a time-out, a jump to nowhere) has not hung up. Where a call may
///   be up, that is where anything has been sent since the modem was set up, the modem is told to: 1.2
///   seconds of silence, "+++", 1.2 seconds of silence, "ATH\r". A script that gave up (-17 and -100 after
///   the modem's answer) has hung up itself.
/// - What the device has not taken yet gets at most 2 more seconds.
///
/// The line is polled all the while, for monitor and session log. The closing takes at most `kMostClosingTicks` ticks;
/// then what was left is flushed and synced once more, the line is closed and the result is reported, with a message to
/// the user where it is negative and the session is not unattended (`AUTOMODE`), and a line in "error.log".
///
/// Message boxes come when everything else of a tick is done, so that a timer that goes on behind an open box
/// may call `Tick` again. Only the one about captures that cannot be written comes in between: ticks that come
/// meanwhile do nothing, and a disconnect or hang-up is done when it is closed.
class Session {
  public:
    static constexpr int kMostClosingTicks = 23;

    Session(SerialPort& port, core::Workspace& workspace, const core::Settings& settings,
            core::UserInterface& ui, const core::Clock& clock, SessionPartners& partners);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    /// Hangs up where a session runs.
    ~Session();

    /// With the queue: opens "BMTEMP.$$$\send.inf", "BMTEMP.$$$\mes.inf" and "BMTEMP.$$$\MailID.tmp" where
    /// they exist. Without: removes the first two and opens none.
    enum class Start { SendAndReceive, ReceiveOnly };

    /// Chooses the built-in script, or takes `script`, opens the line and begins at line 1. `device` is as
    /// `SerialPort::Open` takes it. Returns 0, or -1 when the line cannot be opened; the user knows, but for
    /// a receive-only start in `AUTOMODE`. Also -1, without a word, while a session runs.
    [[nodiscard]] int Begin(Start start, const std::string& device, PatrolLists lists,
                            const ScriptLines* script = nullptr);

    /// 200 ms of the session: polls the line, then one step of the script. Returns `kSessionGoesOn`, or how
    /// it ended: the line is closed and the captures are on the disk then. Does nothing where no session
    /// runs.
    [[nodiscard]] int Tick();

    /// The user's disconnect: goes on with the script's log-off at line 200, at line 65 in the built-in
    /// script D. A script that has none is left, and the closing hangs up; the result is `kSessionEnded` in
    /// both cases. The captures end here, a file being sent is closed, and the log-off has 60 seconds. Does nothing where no session
    /// runs, during the log-off and during the closing.
    void Disconnect();

    /// Hangs up at once, without a log-off and without a result: the captures are flushed and synced and the
    /// line is closed, which drops it. Does nothing where no session runs.
    void HangUp();

    /// From a `Begin` that returned 0 to the result or the hang-up.
    [[nodiscard]] bool running() const { return phase_ != Phase::Idle; }
    /// 0 while closing, too.
    [[nodiscard]] int currentLine() const { return interpreter_.currentLine(); }

    /// Mails and posts that the host has taken since `Begin`, also after the end.
    [[nodiscard]] int sent() const { return interpreter_.sent(); }
    /// With what the queue could not be read to its end, a negated errno value: not all of it was sent.
    [[nodiscard]] int queueError() { return interpreter_.queue().error(); }
    /// Whether some of them cannot be marked, and whether something could not be sent: as the interpreter's.
    [[nodiscard]] int unmarked() const { return interpreter_.unmarked(); }
    [[nodiscard]] bool refusedUpload() const { return interpreter_.refusedUpload(); }
    /// Bytes of message files that have gone out since `Begin`.
    [[nodiscard]] std::uint64_t bytesSent() const { return interpreter_.bytesSent(); }

    [[nodiscard]] SerialLine& line() { return line_; }

  private:
    enum class Phase { Idle, Script, Closing };

    [[nodiscard]] int LoadScript(const ScriptLines* script);
    void RefuseToBegin(Start start, const std::string& device);
    [[nodiscard]] int TickPhase();
    [[nodiscard]] int RunScript();
    void BeginClosing(int result, bool hangUp);
    [[nodiscard]] int GoOnClosing();
    void EndCaptures();
    void SaveCaptures();
    [[nodiscard]] int Finish();
    [[nodiscard]] std::string TextFor(int result) const;
    void Report(int result);
    void RemoveQueue();
    void ReportUnconfirmed();

    core::Workspace* workspace_;
    const core::Settings* settings_;
    core::UserInterface* ui_;
    SerialLine line_;
    WorkingScript script_;
    Interpreter interpreter_;
    std::string received_;
    Phase phase_ = Phase::Idle;
    bool loggingOff_ = false;
    bool inTick_ = false;
    bool disconnectAsked_ = false;  ///< while in a tick
    bool hangUpAsked_ = false;

    int result_ = 0;  ///< to report when the closing is over
    bool hangUp_ = false;
    int closingTicks_ = 0;
};

}  // namespace postkite::comm
