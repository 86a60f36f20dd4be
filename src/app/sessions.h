#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "analyse/analysis.h"
#include "analyse/forum_log.h"
#include "analyse/mail_log.h"
#include "app/active_folders.h"
#include "app/session_records.h"
#include "comm/serial_port.h"
#include "comm/session.h"
#include "core/clock.h"
#include "core/file_system.h"
#include "core/settings.h"
#include "core/user_interface.h"
#include "core/workspace.h"
#include "outgoing/send_queue.h"
#include "store/folder_commands.h"
#include "store/mailbox.h"

namespace postkite::app {

/// The program's sessions, one at a time, from the command to the stored mail, and what else works on the send
/// queue and the captures. In a working directory only one program does so at any time; meanwhile the others
/// may read and write mail. Borrows everything it is made from. Settings, environments and the current bank
/// must not change while a session runs.
///
/// Before a session the captures that an earlier one has left, because the program was killed, are analysed. At
/// its end its own are, however it ended: what is in them may be gone from the host.
class Sessions {
  public:
    Sessions(comm::SerialPort& port, core::Workspace& workspace, const core::Settings& settings,
             core::UserInterface& ui, const core::Clock& clock, const ActiveFolders& active,
             store::Mailbox& mailbox, store::Folders& folders);

    using Start = comm::Session::Start;

    /// Begins a session, with the built-in script or with `script`; see `comm::Session::Begin`. With the queue,
    /// builds it first; where nothing is reserved for sending the session only receives, and says so. Returns
    /// 0, or -1 where a session runs, here or in another program, where the queue or captures of an earlier
    /// session cannot be worked on, and where the line cannot be opened. The user knows, unless the session is
    /// unattended (`AUTOMODE`); "error.log" has it in any case.
    [[nodiscard]] int Begin(Start start, const std::string& device,
                            const comm::ScriptLines* script = nullptr);

    /// To be called every 200 ms while a session runs. Returns `comm::kSessionGoesOn`, or how it ended: the
    /// captures are analysed then. A call that comes from a message box or from the windows during the analysis
    /// does nothing.
    [[nodiscard]] int Tick();
    /// As the session's own.
    void Disconnect();
    /// As the session's own; then the captures are analysed.
    void HangUp();

    /// Builds the send queue from the Outbox. As `outgoing::BuildSendQueue`; also -1 while a session runs, here or
    /// in another program, and the user knows.
    [[nodiscard]] int BuildQueue(outgoing::SendQueue& queue);

    /// The maintenance run of an analyser over a capture file. As the analysers return; `kRefused` while a session
    /// runs, here or in another program, and the user knows.
    static constexpr int kRefused = -2;
    [[nodiscard]] int AnalyseMailLog(std::string_view path, analyse::MailLogResult& result);
    [[nodiscard]] int AnalyseForumLog(std::string_view path, analyse::ForumLogResult& result);

    /// Whether a session of this program runs, the analysis of its captures included.
    [[nodiscard]] bool running() const { return session_.running() || ending_; }
    /// Whether another program has a session in the working directory. Waits for that program where it is
    /// just beginning it.
    [[nodiscard]] bool RunElsewhere() const;

    /// How far the upload of the session is.
    struct Upload {
        std::uint64_t sentBytes = 0;   ///< of message files
        std::uint64_t totalBytes = 0;  ///< about what they have together; 0 where nothing is sent
    };
    [[nodiscard]] Upload upload() const { return {session_.bytesSent(), uploadBytes_}; }

    /// Why the line could not be opened, a negated errno value; 0 where that was not the reason.
    [[nodiscard]] int lineError() { return session_.line().error(); }

    /// What the last session has brought.
    struct Yield {
        int mails = 0;       ///< received
        int messages = 0;    ///< of forums, stored
        int sent = 0;        ///< mails and posts
        bool stored = true;  ///< false: a capture could not be stored whole, and stays
        /// False: a mail that the host has taken could not be marked as sent, or one was not sent for want of its
        /// file. It was named.
        bool settled = true;
        /// False: mails could not be read, the capture is kept; or the line has torn one that will come again. With those of
        /// captures that an earlier session has left.
        bool whole = true;

        /// Whether all of it was done. What was not has been told.
        [[nodiscard]] bool allDone() const { return stored && settled && whole; }
    };
    [[nodiscard]] const Yield& yield() const { return yield_; }

  private:
    /// The session's lock while it lives.
    using SessionLock = std::unique_ptr<core::FileLock>;
    [[nodiscard]] int TakeLock(SessionLock& lock);
    [[nodiscard]] int RefuseWhileRunning();
    [[nodiscard]] int TakeOver();
    void TellUnsure(const outgoing::SendingNotes::Note& note);
    void TellUnmarked(const std::vector<std::string>& subjects);
    [[nodiscard]] int MakeQueue(outgoing::SendQueue& queue);
    [[nodiscard]] int RefuseToSend(int error);
    [[nodiscard]] int PrepareQueue(Start& start);
    [[nodiscard]] int AnalyseLeftOvers();
    void AnalyseCaptures();
    [[nodiscard]] bool CapturesAreGone() const;
    void End();
    [[nodiscard]] analyse::Analysis MakeAnalysis(bool resultMessages);
    void Tell(std::string_view text);

    core::Workspace* workspace_;
    const core::Settings* settings_;
    core::UserInterface* ui_;
    const core::Clock* clock_;
    ActiveFolders active_;
    store::Mailbox* mailbox_;
    store::Folders* folders_;
    SessionRecords records_;
    comm::Session session_;
    SessionLock lock_;  ///< while a session runs
    bool ending_ = false;
    int notesError_ = 0;  ///< why nobody knows what has been sent, a negated errno value
    Yield yield_;
    bool disconnected_ = false;  ///< by the user, who knows then that a mail may be torn
    std::uint64_t uploadBytes_ = 0;
};

}  // namespace postkite::app
