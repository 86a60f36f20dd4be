#pragma once

#include <array>
#include <string>
#include <string_view>

#include "core/positional_file.h"
#include "core/settings.h"
#include "core/workspace.h"

/// The host entries of host indexes 0 to 9: hosts that are no connection environments.
/// "Setting\HostEntry.ini" holds ten blocks of nine lines, eight values and a separator, made the first time
/// that an entry is saved.
namespace postkite::core {

inline constexpr std::string_view kHostEntriesFile = "Setting\\HostEntry.ini";
inline constexpr std::size_t kHostEntryCount = 10;

/// Texts are code page 932.
struct HostEntry {
    std::string hostName;
    std::string telephone;
    std::string userId;
    std::string password;  ///< in plain text here
    std::string speed;     ///< bit/s, as text
    std::string from;
    std::string outbox = "Outbox";
    std::string inbox = "Inbox";
};

using HostEntries = std::array<HostEntry, kHostEntryCount>;

/// Reads the file; missing lines leave their values. Returns 0, -ENOENT without a file, or another negated
/// errno value.
[[nodiscard]] int LoadHostEntries(const Workspace& workspace, HostEntries& entries);

[[nodiscard]] SaveOutcome SaveHostEntries(Workspace& workspace, const HostEntries& entries);

/// Copies the six host texts of an entry into the settings that the rest of the program reads. An entry that
/// nobody has filled in changes nothing.
void CopyHostEntry(const HostEntry& entry, Settings& settings);

}  // namespace postkite::core
