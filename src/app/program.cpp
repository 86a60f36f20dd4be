#include "app/program.h"

#include <cerrno>
#include <string>

#include "core/error_text.h"
#include "core/shift_jis.h"
#include "organise/sorter.h"

namespace postkite::app {

using namespace core::literals;

Program::Program(core::Workspace& workspace, core::Workspace& programState, core::UserInterface& ui,
                 const core::Clock& clock, comm::SerialPort& port)
    : workspace_(&workspace),
      programState_(&programState),
      ui_(&ui),
      clock_(&clock),
      identifiers_(clock),
      mailbox_(workspace, programState, ui, clock, identifiers_),
      folders_(mailbox_, settings_.mailBoxPathName),
      active_(settings_, environments_, folders_),
      sessions_(port, workspace, settings_, ui, clock, active_, mailbox_, folders_) {
}

void Program::Start() {
    loaded_ = core::LoadSettings(*workspace_, settings_, environments_, core::ToolBarStyle::Plain);
}

bool Program::WasReadOrMissing(std::string_view file, int result) {
    if (result == 0 || result == -ENOENT) return true;
    const std::string reason = core::DescribeError(result, ui_->language());
    const std::string name(file);
    ui_->ShowMessage(core::kProductName,
                     ui_->language() == core::Language::Japanese
                         ? name + std::string(" を読み込めないため、変更を中止しました。（"_sjis) + reason +
                               std::string("）"_sjis)
                         : name + " cannot be read, so nothing was changed: " + reason + ".",
                     core::MessageIcon::Stop);
    return false;
}

int Program::PrepareChange() {
    if (loaded_.settings == -ENOENT) {
        loaded_.environments = core::LoadEnvironments(*workspace_, environments_, settings_);
        loaded_.hostEntries = core::LoadHostEntries(*workspace_, environments_.hostEntries);
    }
    const bool safe = WasReadOrMissing(core::kSettingsFile, loaded_.settings) &&
                      WasReadOrMissing(core::kEnvironmentsFile, loaded_.environments) &&
                      WasReadOrMissing(core::kHostEntriesFile, loaded_.hostEntries);
    if (!safe) return -1;
    if (loaded_.settings == 0 && loaded_.environments == -ENOENT) {
        cutSettings_ = core::FillActiveEnvironment(environments_, settings_);
    }
    return 0;
}

int Program::SortAtEnd() {
    if (settings_.filterAtEnd != 1 || sessions_.running()) return 0;
    organise::Sorter sorter(settings_, folders_, mailbox_, *ui_);
    return sorter.SortInbox(Inbox(), store::MailEditing::No) < 0 ? -1 : 0;
}

int Program::End() {
    const int sorted = SortAtEnd();
    return SaveSettings() == 0 ? sorted : -1;
}

int Program::SaveSettings() {
    const core::SaveOutcome outcome = core::SaveSettings(*workspace_, settings_, nullptr);
    core::ReportSave(*ui_, core::kSettingsFile, outcome);
    return outcome.result < 0 ? -1 : 0;
}

int Program::SaveEnvironments() {
    const core::SaveOutcome outcome = core::SaveEnvironments(*workspace_, environments_, settings_);
    core::ReportSave(*ui_, core::kEnvironmentsFile, outcome);
    if (outcome.result < 0) return -1;
    EnvironmentsAreSaved();
    return 0;
}

int Program::SwitchEnvironment(int number) {
    core::HostSwitch hostSwitch(*workspace_, settings_, environments_, *ui_, *this);
    const int result = hostSwitch.SwitchEnvironment(number);
    core::EntryKind kind{};
    // The bank may have been refused and the environments be saved all the same.
    if (workspace_->Inspect(core::kEnvironmentsFile, kind) == 0 && kind == core::EntryKind::File) {
        EnvironmentsAreSaved();
    }
    return result;
}

void Program::EnvironmentsAreSaved() {
    loaded_.environments = 0;
    if (cutSettings_ > 0) {
        ui_->ShowMessage(
            core::kProductName,
            core::Choose(*ui_, "長すぎる設定の値を接続環境の長さに切り詰めました。"_sjis,
                         "Settings too long for a connection environment were cut to its lengths."),
            core::MessageIcon::Warning);
    }
    cutSettings_ = 0;
}

int Program::OpenBank() {
    const int number = settings_.nowBoxNo;
    if (folders_.MakeBankDirectory(number) < 0) return -1;
    // A session of another program keeps nobody from reading and writing mail.
    return folders_.SwitchBank(number, sessions_.running());
}

int Program::PrepareClipboard() {
    const int made = programState_->MakeRoot();
    if (made < 0) mailbox_.ReportFault(store::kClipboardFolder, made);
    return made < 0 ? -1 : 0;
}

core::Environment* Program::ActiveEnvironment() {
    const std::int32_t number = settings_.currentId;
    if (loaded_.environments < 0 || number < 0) return nullptr;
    const auto slot = static_cast<std::size_t>(number);
    return slot < core::kEnvironmentCount ? &environments_.entries[slot] : nullptr;
}

bool Program::SessionRunning() const {
    return sessions_.running() || sessions_.RunElsewhere();
}

bool Program::MainWindowBusy() const {
    return false;
}

int Program::SwitchBank(int number) {
    const bool bankIsOpen = folders_.currentBank() >= 0;
    if (!bankIsOpen && number == settings_.nowBoxNo) return 0;
    if (folders_.SwitchBank(number, SessionRunning()) < 0) return -1;
    settings_.nowBoxNo = number;
    return 0;
}

// The windows, where there are any, draw what the settings say when they are redrawn.
void Program::SetEnvironmentChooser(int) {
}

}  // namespace postkite::app
