#pragma once

#include "app/active_folders.h"
#include "app/sessions.h"
#include "comm/serial_port.h"
#include "core/clock.h"
#include "core/environments.h"
#include "core/settings.h"
#include "core/settings_file.h"
#include "core/time_stamp.h"
#include "core/user_interface.h"
#include "core/workspace.h"
#include "store/folder_commands.h"
#include "store/mailbox.h"

namespace postkite::app {

/// The one object that owns the program's state; front ends hold one and call it. Borrows the working
/// directory, the directory of the program's own state outside it, the user interface, the clock and the
/// device that sessions talk through. Operations that fail have told the user why when they return -1.
class Program final : private core::HostSwitchPartners {
  public:
    Program(core::Workspace& workspace, core::Workspace& programState, core::UserInterface& ui,
            const core::Clock& clock, comm::SerialPort& port);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Start-up: reads the settings, the environments and the host entries. What cannot be read keeps its
    /// defaults, without a word.
    void Start();

    /// To be called between `Start` and the first change. Refuses where a file is there but could not be
    /// read, since saving would put defaults in its place. Where there are environments but no settings,
    /// which start-up passes over, reads the environments, so that they are not lost.
    [[nodiscard]] int PrepareChange();

    /// Sorts the Inbox with the enabled rules where `FilterAtEnd` asks for it. For an open bank; refused while a session
    /// runs. -1 where that fails, and the user knows.
    [[nodiscard]] int SortAtEnd();

    /// The end of a program that people change settings in: `SortAtEnd`, then the settings are written back, once. -1 where
    /// either fails.
    [[nodiscard]] int End();

    /// Writes the settings back.
    [[nodiscard]] int SaveSettings();

    /// Writes the environments back; the active one's values enter the settings.
    [[nodiscard]] int SaveEnvironments();

    /// Makes environment `number`, 0 to 9, the active one. Refused while a session runs, here or in another
    /// program.
    [[nodiscard]] int SwitchEnvironment(int number);

    /// Opens the bank that is current at start-up, its directory made where it is missing. Nothing can be
    /// done with `mailbox` and `folders` before, and only what needs mail has to.
    [[nodiscard]] int OpenBank();

    /// Makes bank `number` the current one and opens it. Its directory has to be there: an unmounted disk
    /// must not become an empty bank. Refused while a session runs, here or in another program. While no bank
    /// is open the current one is not looked at. The settings are not saved.
    [[nodiscard]] int SwitchBank(int number) override;

    /// Makes the directory of the program's state, which holds the clipboard folder, where it is missing. To
    /// be called before that folder is written.
    [[nodiscard]] int PrepareClipboard();

    /// The environment whose values stand in the settings and are put there again at the next start; nullptr
    /// where there is no environments file, and so none that would be.
    [[nodiscard]] core::Environment* ActiveEnvironment();

    /// The base names of the folders that incoming mail goes to and that outgoing mail waits in: those of the active
    /// environment where the tree has them, else "Inbox" and "Outbox". For an open bank.
    [[nodiscard]] std::string Inbox() const { return active_.Inbox(); }
    [[nodiscard]] std::string Outbox() const { return active_.Outbox(); }

    [[nodiscard]] core::Settings& settings() { return settings_; }
    [[nodiscard]] core::Environments& environments() { return environments_; }
    [[nodiscard]] store::Mailbox& mailbox() { return mailbox_; }
    [[nodiscard]] store::Folders& folders() { return folders_; }
    [[nodiscard]] Sessions& sessions() { return sessions_; }
    [[nodiscard]] const core::Clock& clock() const { return *clock_; }

  private:
    [[nodiscard]] bool SessionRunning() const override;
    [[nodiscard]] bool MainWindowBusy() const override;
    void SetEnvironmentChooser(int number) override;

    void EnvironmentsAreSaved();
    [[nodiscard]] bool WasReadOrMissing(std::string_view file, int result);

    core::Workspace* workspace_;
    core::Workspace* programState_;
    core::UserInterface* ui_;
    const core::Clock* clock_;
    core::Settings settings_;
    core::Environments environments_;
    core::LoadOutcome loaded_;
    core::IdentifierMaker identifiers_;
    store::Mailbox mailbox_;
    store::Folders folders_;
    ActiveFolders active_;
    Sessions sessions_;
    int cutSettings_ =
        0;  ///< how many settings lose their end when the environments are saved for the first time
};

}  // namespace postkite::app
