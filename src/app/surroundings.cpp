#include "app/surroundings.h"

#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "core/shift_jis.h"

namespace postkite::app {

namespace {

/// Whoever defines the XDG variables says that a relative path in one counts as none.
std::optional<std::filesystem::path> AbsolutePath(const VariableReader& variable, const char* name) {
    const auto value = variable(name);
    if (!value || !std::filesystem::path(*value).is_absolute()) return std::nullopt;
    return std::filesystem::path(*value);
}

}  // namespace

std::optional<std::string> ReadVariable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return std::nullopt;
    return std::string(value);
}

std::optional<std::filesystem::path> WorkingDirectory(const VariableReader& variable) {
    if (const auto set = variable("POSTKITE_DIR")) return *set;
    if (const auto data = AbsolutePath(variable, "XDG_DATA_HOME")) return *data / "postkite";
    if (const auto home = AbsolutePath(variable, "HOME")) return *home / ".local" / "share" / "postkite";
    return std::nullopt;
}

std::optional<std::filesystem::path> StateDirectory(const VariableReader& variable) {
    if (const auto state = AbsolutePath(variable, "XDG_STATE_HOME")) return *state / "postkite";
    if (const auto home = AbsolutePath(variable, "HOME")) return *home / ".local" / "state" / "postkite";
    return std::nullopt;
}

core::Language LanguageOf(const VariableReader& variable) {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const std::optional<std::string> value = variable(name);
        if (!value) continue;
        const std::string_view locale = std::string_view(*value).substr(0, value->find_first_of("._@"));
        // The locales without a language are what a machine has where nobody has chosen one.
        const bool chosen = locale != "C" && locale != "POSIX" && locale != "ja";
        return chosen ? core::Language::English : core::Language::Japanese;
    }
    return core::Language::Japanese;
}

OpenedDirectory OpenWorkingDirectory(core::Workspace& workspace, core::FileSystem& fileSystem) {
    OpenedDirectory opened;
    const int prepared = workspace.Prepare();
    core::EntryKind kind{};
    const int inspected = fileSystem.Inspect(workspace.root(), kind);
    // Where the directory is there but nothing can be made in it, it can still be read.
    if (inspected < 0 || kind != core::EntryKind::Directory) {
        opened.result = inspected < 0 ? inspected : prepared < 0 ? prepared : -ENOTDIR;
        return opened;
    }
    const auto spellings = workspace.SpellingsOf("Setting");
    if (spellings.size() < 2) return opened;
    for (const std::string& spelling : spellings)
        opened.settingDirectories.push_back(core::ToUtf8(spelling));
    return opened;
}

}  // namespace postkite::app
