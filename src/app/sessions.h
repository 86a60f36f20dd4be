#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "app/session_records.h"
#include "comm/serial_port.h"
#include "comm/session.h"
#include "core/clock.h"
#include "core/environments.h"
#include "core/file_system.h"
#include "core/settings.h"
#include "core/user_interface.h"
#include "core/workspace.h"
#include "store/mailbox.h"

namespace postkite::app {

/// The program's sessions, one at a time, with what comes before and after each. In a working directory only
/// one program has a session at any time; meanwhile the others may read and write mail. Borrows everything it
/// is made from; settings and environments must not change while a session runs.
class Sessions {
  public:
    Sessions(comm::SerialPort& port, core::Workspace& workspace, const core::Settings& settings,
             const core::Environments& environments, core::UserInterface& ui, const core::Clock& clock,
             store::Mailbox& mailbox);

    /// Begins a session, with the built-in script or with `script`; see `comm::Session::Begin`. What an
    /// earlier session captured and nobody has analysed is set aside first, and the user told. Returns 0, or
    /// -1 where a session runs, here or in another program, where the line cannot be opened and where
    /// captures cannot be set aside. The user knows, unless the session is unattended (`AUTOMODE`);
    /// "error.log" has it in any case.
    [[nodiscard]] int Begin(comm::Session::Start start, const std::string& device,
                            const comm::ScriptLines* script = nullptr);

    /// To be called every 200 ms while a session runs. Returns `comm::kSessionGoesOn`, or how it ended.
    [[nodiscard]] int Tick();
    /// As the session's own.
    void Disconnect() { session_.Disconnect(); }
    void HangUp();

    /// Whether a session of this program runs.
    [[nodiscard]] bool running() const { return session_.running(); }
    /// Whether another program has a session in the working directory. Waits for that program where it is
    /// just beginning it.
    [[nodiscard]] bool RunElsewhere() const;

    /// Why the line could not be opened, a negated errno value; 0 where that was not the reason.
    [[nodiscard]] int lineError() { return session_.line().error(); }

    /// What the last session has brought. No message of a forum is counted before there is an analyser for
    /// them: it tells those that are there already.
    struct Yield {
        int mails = 0;  ///< captured
        int messages = 0;
        int sent = 0;  ///< mails and posts
    };
    [[nodiscard]] Yield yield();

  private:
    void End();
    [[nodiscard]] int TakeSessionLock();
    [[nodiscard]] int SetLeftOversAside();
    [[nodiscard]] int SetAside(std::string_view file);
    void Tell(std::string_view text);
    void Refuse(std::string_view japanese, std::string_view english, std::string_view file, int error);

    core::Workspace* workspace_;
    const core::Settings* settings_;
    core::UserInterface* ui_;
    SessionRecords records_;
    comm::Session session_;
    std::unique_ptr<core::FileLock> lock_;  ///< while a session runs
    bool captured_ = false;                 ///< whether the captures are those of the last session
};

}  // namespace postkite::app
