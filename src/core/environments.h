#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/host_entries.h"
#include "core/positional_file.h"
#include "core/settings.h"
#include "core/user_interface.h"
#include "core/workspace.h"

/// The ten connection environments and their file, "Setting\Hostdata.ini": ten blocks of fourteen lines, bare
/// values taken by position, a separator behind each block.
namespace postkite::core {

inline constexpr std::string_view kEnvironmentsFile = "Setting\\Hostdata.ini";

/// One way to reach the host, with what goes with it. Texts are code page 932.
struct Environment {
    std::string name;  ///< shown in menus
    std::string userId;
    std::string password;  ///< in plain text here
    std::string telephone;
    std::string route;                 ///< FENICS route, a digit
    std::string speed;                 ///< bit/s, as text
    std::string dialling = "DP";       ///< "PB" tone, "DP" pulse
    std::string from;                  ///< From line for host mail
    std::string modem = "ATQ0V1E1M1";  ///< modem initialisation command
    std::string outbox = "Outbox";     ///< folder of outgoing mail
    std::string inbox = "Inbox";       ///< folder of incoming mail
    std::string forum;                 ///< forum name
    std::int32_t integer = 0;          ///< kept for each environment; nothing uses it
};

/// The texts of an `Environment` in file order; the integer follows them.
[[nodiscard]] std::span<const RecordField<Environment>> EnvironmentFields();

/// Every host that can be called. One a program.
struct Environments {
    /// The values that stand before any file is read: those of `DefaultEnvironments`, and other ones for
    /// entries 7 to 9.
    Environments();

    std::array<Environment, kEnvironmentCount> entries;
    HostEntries hostEntries;
};

/// Sets entries 0 to 6 to their defaults. 7 to 9 keep what they hold, on purpose: they begin with route "3"
/// and no speed.
void DefaultEnvironments(Environments& environments);

/// Reads the file and copies the active environment into the settings. Missing lines leave their values as
/// they are. Returns 0; -ENOENT without a file, when nothing changes; another negated errno value when it
/// cannot be read.
[[nodiscard]] int LoadEnvironments(const Workspace& workspace, Environments& environments,
                                   Settings& settings);

/// Writes the file whole and copies the active environment into the settings.
[[nodiscard]] SaveOutcome SaveEnvironments(Workspace& workspace, const Environments& environments,
                                           Settings& settings);

/// The part of the two above that touches the settings: the nine that belong to environment
/// `settings.currentId`. A number that no environment has copies nothing.
void CopyActiveEnvironment(const Environments& environments, Settings& settings);

/// The other way round, for the first time that environments are saved: gives the active environment the nine
/// values that the settings have, so that they stay what they are. Returns how many values had to be cut to
/// the length of their field.
[[nodiscard]] int FillActiveEnvironment(Environments& environments, const Settings& settings);

/// The setting that an environment's text is copied into, or nullptr.
[[nodiscard]] std::string Settings::*SettingOfEnvironmentField(std::string Environment::*member);

/// The folders that go with a host index, 0 to 19.
struct FolderNames {
    std::string_view outbox;
    std::string_view inbox;
};
[[nodiscard]] FolderNames FolderNamesOf(const Environments& environments, std::size_t hostIndex);

struct EnvironmentMenuEntry {
    int number;         ///< of the environment, 0 to 9
    std::string label;  ///< "%s (%s) \tShift + F%d": name, user ID, number + 1
};

/// An entry for every environment that has a name.
[[nodiscard]] std::vector<EnvironmentMenuEntry> EnvironmentMenu(const Environments& environments);

/// What switching asks of the rest of the program.
class HostSwitchPartners {
  public:
    HostSwitchPartners() = default;
    HostSwitchPartners(const HostSwitchPartners&) = delete;
    HostSwitchPartners& operator=(const HostSwitchPartners&) = delete;
    virtual ~HostSwitchPartners() = default;

    [[nodiscard]] virtual bool SessionRunning() const = 0;
    /// Something else is under way in the main window that must not see the host change.
    [[nodiscard]] virtual bool MainWindowBusy() const = 0;
    /// Makes the mailbox bank current. Says itself what goes wrong; 0 or -1.
    [[nodiscard]] virtual int SwitchBank(int number) = 0;
    /// Shows the environment in the tool bar's chooser, where there is one.
    virtual void SetEnvironmentChooser(int number) = 0;
};

/// Switches between hosts. Borrows everything.
class HostSwitch {
  public:
    HostSwitch(Workspace& workspace, Settings& settings, Environments& environments, UserInterface& ui,
               HostSwitchPartners& partners);

    /// Makes environment `number` the active one and saves the environments. While a session runs it says so
    /// and changes nothing. Returns 0, or -1 when it was refused or the file could not be saved; also,
    /// without a word, for a number that no environment has.
    [[nodiscard]] int SwitchEnvironment(int number);

    /// Makes the settings follow `settings.currentHostL`: the environment or host entry of that index, and
    /// its bank. Refused with a message while a session runs or the main window is busy. Returns 0 or -1.
    [[nodiscard]] int ApplyHostIndex();

  private:
    [[nodiscard]] int Save();

    Workspace* workspace_;
    Settings* settings_;
    Environments* environments_;
    UserInterface* ui_;
    HostSwitchPartners* partners_;
};

}  // namespace postkite::core
