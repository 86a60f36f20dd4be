// Any bytes as an environments file: what was read is within its lengths, and saving it gives a file that
// says the same.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "core/environments.h"
#include "tests/support/memory_file_system.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace postkite;
    constexpr const char* kPath = "/mail/Setting/Hostdata.ini";
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    support::MemoryFileSystem files;
    files.Put(kPath, bytes);
    core::Workspace workspace(files, "/mail");
    core::Settings settings;
    core::Environments environments;
    if (LoadEnvironments(workspace, environments, settings) != 0) std::abort();
    for (const core::Environment& environment : environments.entries) {
        for (const auto& field : core::EnvironmentFields()) {
            const std::string& value = environment.*field.member;
            if (value.size() > field.longest) std::abort();
        }
    }
    const core::SaveOutcome outcome = SaveEnvironments(workspace, environments, settings);
    if (outcome.result != 0) std::abort();
    if (!outcome.keptAs.empty() && files.Get("/mail/Setting/Hostdata.ini.bak") != bytes) std::abort();
    const std::string saved = files.Get(kPath).value();
    core::Environments again;
    if (LoadEnvironments(workspace, again, settings) != 0) std::abort();
    for (std::size_t number = 0; number < again.entries.size(); ++number) {
        for (const auto& field : core::EnvironmentFields()) {
            if (again.entries[number].*field.member != environments.entries[number].*field.member)
                std::abort();
        }
    }
    if (SaveEnvironments(workspace, again, settings).result != 0 || files.Get(kPath) != saved) std::abort();
    return 0;
}
