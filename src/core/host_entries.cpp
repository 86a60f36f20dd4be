#include "core/host_entries.h"

#include <memory>

#include "core/line_reader.h"
#include "core/password_scrambling.h"

namespace postkite::core {

namespace {

constexpr std::string_view kSeparatorLine = "----------------";

constexpr std::array<RecordField<HostEntry>, 8> kFields = {{
    {"host", &HostEntry::hostName, kLongestSettingText},
    {"telephone", &HostEntry::telephone, kLongestSettingText},
    {"user", &HostEntry::userId, kLongestSettingText},
    {"password", &HostEntry::password, kLongestPassword, true},
    {"speed", &HostEntry::speed, kLongestSettingText},
    {"from", &HostEntry::from, kLongestSettingText},
    {"outbox", &HostEntry::outbox, kLongestSettingText},
    {"inbox", &HostEntry::inbox, kLongestSettingText},
}};

int ReadEntries(File& file, HostEntries& entries) {
    LineReader reader(file, kLongestPositionalLine);
    for (HostEntry& entry : entries) {
        for (const auto& field : kFields) {
            ReadValue(reader, entry.*field.member, field.longest, field.secret);
        }
        std::string separator;
        ReadValue(reader, separator, kLongestPositionalLine, false);
    }
    return reader.error();
}

std::string FormatEntries(const HostEntries& entries) {
    std::string output;
    for (const HostEntry& entry : entries) {
        for (const auto& field : kFields) {
            AppendValue(output, entry.*field.member, field.secret);
        }
        AppendValue(output, kSeparatorLine, false);
    }
    return output;
}

}  // namespace

int LoadHostEntries(const Workspace& workspace, HostEntries& entries) {
    std::unique_ptr<File> file;
    const int opened = workspace.Open(kHostEntriesFile, OpenMode::Read, file);
    return opened < 0 ? opened : ReadEntries(*file, entries);
}

SaveOutcome SaveHostEntries(Workspace& workspace, const HostEntries& entries) {
    return ReplacePositionalFile(workspace, kHostEntriesFile, FormatEntries(entries), [](File& old) {
        HostEntries understood;
        static_cast<void>(ReadEntries(old, understood));
        return FormatEntries(understood);
    });
}

void CopyHostEntry(const HostEntry& entry, Settings& settings) {
    const bool filledIn = !entry.hostName.empty() || !entry.telephone.empty() || !entry.userId.empty();
    if (!filledIn) return;
    settings.hostName = entry.hostName;
    settings.phoneNumber = entry.telephone;
    settings.userId = entry.userId;
    settings.userPassword = entry.password;
    settings.rsSpeed = entry.speed;
    settings.nifFrom = entry.from;
}

}  // namespace postkite::core
