// Any bytes as a settings file: reading them and saving what was read gives a file that says the same, and a
// copy of the old file, where one is said to be kept, is that file.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "core/settings_file.h"
#include "core/settings_table.h"
#include "tests/support/memory_file_system.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace postkite;
    constexpr const char* kPath = "/mail/Setting/setting.ini";
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    support::MemoryFileSystem files;
    files.Put(kPath, bytes);
    core::Workspace workspace(files, "/mail");
    core::Settings settings;
    core::Environments environments;
    if (LoadSettings(workspace, settings, environments, core::ToolBarStyle::Plain).settings != 0)
        std::abort();
    const core::Settings read = settings;
    const core::SaveOutcome outcome = SaveSettings(workspace, settings, nullptr);
    if (outcome.result != 0) std::abort();
    core::Settings again;
    if (LoadSettings(workspace, again, environments, core::ToolBarStyle::Plain).settings != 0) std::abort();
    const std::string saved = files.Get(kPath).value();
    // A host password that is not to be kept is the one thing that saving drops.
    core::Settings expected = read;
    // Defaults of lines that the file lacked are corrected only now that it has them.
    for (const core::SettingLine& line : core::SettingLines()) {
        if (line.correct != nullptr) line.correct(expected);
    }
    if (expected.savePassword == 0) expected.userPassword.clear();
    if (core::FormatSettings(again) != core::FormatSettings(expected)) std::abort();
    if (!outcome.keptAs.empty() && files.Get("/mail/Setting/setting.ini.bak") != bytes) std::abort();
    return 0;
}
