#include "core/environments.h"

#include <memory>

#include "core/line_reader.h"
#include "core/password_scrambling.h"
#include "core/shift_jis.h"

namespace postkite::core {

namespace {

constexpr std::string_view kSeparatorLine = "----------------";

/// How many environments `DefaultEnvironments` sets.
constexpr std::size_t kDefaultedCount = 7;

/// In file order. The lengths are those of the fixed buffers that the file has always been read into, less
/// the closing zero.
constexpr std::array<RecordField<Environment>, 12> kFields = {{
    {"name", &Environment::name, 19},
    {"user", &Environment::userId, 19},
    {"password", &Environment::password, kLongestPassword, true},
    {"telephone", &Environment::telephone, 19},
    {"route", &Environment::route, 1},
    {"speed", &Environment::speed, 5},
    {"dialling", &Environment::dialling, 2},
    {"from", &Environment::from, 127},
    {"modem", &Environment::modem, 127},
    {"outbox", &Environment::outbox, 511},
    {"inbox", &Environment::inbox, 511},
    {"forum", &Environment::forum, 29},
}};

struct CopiedField {
    std::string Environment::*from;
    std::string Settings::*to;
};

constexpr CopiedField kCopied[] = {
    {&Environment::userId, &Settings::userId},         {&Environment::password, &Settings::userPassword},
    {&Environment::telephone, &Settings::phoneNumber}, {&Environment::route, &Settings::fenicsLoad},
    {&Environment::speed, &Settings::rsSpeed},         {&Environment::dialling, &Settings::pbDp},
    {&Environment::from, &Settings::nifFrom},          {&Environment::modem, &Settings::modemInitialCommand},
    {&Environment::forum, &Settings::forumName},
};

int ReadEnvironments(File& file, Environments& environments) {
    LineReader reader(file, kLongestPositionalLine);
    std::string line;
    for (Environment& environment : environments.entries) {
        for (const auto& field : kFields) {
            ReadValue(reader, environment.*field.member, field.longest, field.secret);
        }
        if (ReadLogLine(reader, line) == 0) environment.integer = ParseInteger(line);
        static_cast<void>(ReadLogLine(reader, line));  // the separator, or nothing at the end of a short file
    }
    return reader.error();
}

std::string FormatEnvironments(const Environments& environments) {
    std::string output;
    for (const Environment& environment : environments.entries) {
        for (const auto& field : kFields) {
            AppendValue(output, environment.*field.member, field.secret);
        }
        AppendValue(output, std::to_string(environment.integer), false);
        AppendValue(output, kSeparatorLine, false);
    }
    return output;
}

bool IsNumberBelow(std::int32_t number, std::size_t count) {
    return number >= 0 && static_cast<std::size_t>(number) < count;
}

}  // namespace

std::span<const RecordField<Environment>> EnvironmentFields() {
    return kFields;
}

Environments::Environments() {
    DefaultEnvironments(*this);
    for (std::size_t number = kDefaultedCount; number < entries.size(); ++number) {
        entries[number].route = "3";
    }
}

void DefaultEnvironments(Environments& environments) {
    for (std::size_t number = 0; number < kDefaultedCount; ++number) {
        Environment& environment = environments.entries[number];
        environment.name.clear();
        environment.userId.clear();
        environment.password.clear();
        environment.telephone.clear();
        environment.route = "2";
        environment.speed = "2400";
        environment.dialling = "DP";
        environment.integer = 0;
    }
}

int LoadEnvironments(const Workspace& workspace, Environments& environments, Settings& settings) {
    std::unique_ptr<File> file;
    const int opened = workspace.Open(kEnvironmentsFile, OpenMode::Read, file);
    if (opened < 0) return opened;
    const int result = ReadEnvironments(*file, environments);
    CopyActiveEnvironment(environments, settings);
    return result;
}

SaveOutcome SaveEnvironments(Workspace& workspace, const Environments& environments, Settings& settings) {
    SaveOutcome outcome =
        ReplacePositionalFile(workspace, kEnvironmentsFile, FormatEnvironments(environments), [](File& old) {
            Environments understood;
            // What cannot be read is missing from the result, and so the file counts as holding more.
            static_cast<void>(ReadEnvironments(old, understood));
            return FormatEnvironments(understood);
        });
    CopyActiveEnvironment(environments, settings);
    return outcome;
}

void CopyActiveEnvironment(const Environments& environments, Settings& settings) {
    if (!IsNumberBelow(settings.currentId, kEnvironmentCount)) return;
    const Environment& active = environments.entries[static_cast<std::size_t>(settings.currentId)];
    for (const CopiedField& field : kCopied) {
        settings.*field.to = active.*field.from;
    }
}

int FillActiveEnvironment(Environments& environments, const Settings& settings) {
    if (!IsNumberBelow(settings.currentId, kEnvironmentCount)) return 0;
    Environment& active = environments.entries[static_cast<std::size_t>(settings.currentId)];
    int cut = 0;
    for (const auto& field : kFields) {
        const auto setting = SettingOfEnvironmentField(field.member);
        if (setting == nullptr) continue;
        active.*field.member = CutToBytes(settings.*setting, field.longest);
        if (active.*field.member != settings.*setting) ++cut;
    }
    return cut;
}

std::string Settings::*SettingOfEnvironmentField(std::string Environment::*member) {
    for (const CopiedField& field : kCopied) {
        if (field.from == member) return field.to;
    }
    return nullptr;
}

FolderNames FolderNamesOf(const Environments& environments, std::size_t hostIndex) {
    if (hostIndex < kHostEntryCount) {
        const HostEntry& entry = environments.hostEntries[hostIndex];
        return {entry.outbox, entry.inbox};
    }
    const Environment& environment = environments.entries[hostIndex - kHostEntryCount];
    return {environment.outbox, environment.inbox};
}

std::vector<EnvironmentMenuEntry> EnvironmentMenu(const Environments& environments) {
    std::vector<EnvironmentMenuEntry> menu;
    for (int number = 0; const Environment& environment : environments.entries) {
        if (!environment.name.empty()) {
            menu.push_back({number, environment.name + " (" + environment.userId + ") \tShift + F" +
                                        std::to_string(number + 1)});
        }
        ++number;
    }
    return menu;
}

HostSwitch::HostSwitch(Workspace& workspace, Settings& settings, Environments& environments,
                       UserInterface& ui, HostSwitchPartners& partners)
    : workspace_(&workspace),
      settings_(&settings),
      environments_(&environments),
      ui_(&ui),
      partners_(&partners) {
}

int HostSwitch::Save() {
    const SaveOutcome outcome = SaveEnvironments(*workspace_, *environments_, *settings_);
    ReportSave(*ui_, kEnvironmentsFile, outcome);
    return outcome.result < 0 ? -1 : 0;
}

int HostSwitch::SwitchEnvironment(int number) {
    if (!IsNumberBelow(number, kEnvironmentCount)) return -1;
    if (partners_->SessionRunning()) {
        ui_->ShowMessage(kProductName, "送受信中には環境を切り替える事はできません。"_sjis,
                         MessageIcon::Information);
        return -1;
    }
    settings_->currentId = number;
    settings_->currentHostL = number + static_cast<std::int32_t>(kHostEntryCount);
    int result = ApplyHostIndex();
    // A busy main window refused that and nothing is saved, but the environment is switched all the same.
    if (partners_->MainWindowBusy()) result = Save();
    ui_->RedrawMainWindow();
    partners_->SetEnvironmentChooser(number);
    return result;
}

int HostSwitch::ApplyHostIndex() {
    if (partners_->SessionRunning() || partners_->MainWindowBusy()) {
        ui_->ShowMessage(kProductName, "送受信中は環境設定を変更できません。"_sjis, MessageIcon::None);
        return -1;
    }
    const std::int32_t index = settings_->currentHostL;
    if (!IsNumberBelow(index, kHostIndexCount)) return -1;
    const auto slot = static_cast<std::size_t>(index);
    int result = 0;
    if (slot >= kHostEntryCount) {
        settings_->currentId = static_cast<std::int32_t>(slot - kHostEntryCount);
        result = Save();
    } else {
        CopyHostEntry(environments_->hostEntries[slot], *settings_);
    }
    const int switched = partners_->SwitchBank(settings_->bank[slot]);
    ui_->RedrawMainWindow();
    return result < 0 ? result : switched;
}

}  // namespace postkite::core
