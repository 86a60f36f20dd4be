#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/file_system.h"
#include "core/user_interface.h"
#include "core/workspace.h"

/// What a front end takes from where it was started.
namespace postkite::app {

/// An environment variable of the process; nothing when it is not set or empty.
using VariableReader = std::function<std::optional<std::string>(const char* name)>;

/// The variables of this process.
[[nodiscard]] std::optional<std::string> ReadVariable(const char* name);

/// $POSTKITE_DIR, $XDG_DATA_HOME/postkite or ~/.local/share/postkite, the first that says something; nothing where
/// none does.
[[nodiscard]] std::optional<std::filesystem::path> WorkingDirectory(const VariableReader& variable);

/// The directory of the program's own state: $XDG_STATE_HOME/postkite or ~/.local/state/postkite.
[[nodiscard]] std::optional<std::filesystem::path> StateDirectory(const VariableReader& variable);

/// English for people who have set another language than Japanese, else Japanese.
[[nodiscard]] core::Language LanguageOf(const VariableReader& variable);

/// What came of opening a working directory.
struct OpenedDirectory {
    /// 0, also for a directory in which nothing can be made but which can be read; or a negated errno value.
    int result = 0;
    /// The directories that are called "Setting" but for their letter case, UTF-8, where there are several: nothing
    /// must be read or written before all but one are gone.
    std::vector<std::u8string> settingDirectories;
};

/// Makes the working directory where it is missing, and looks whether it can be worked in.
[[nodiscard]] OpenedDirectory OpenWorkingDirectory(core::Workspace& workspace, core::FileSystem& fileSystem);

}  // namespace postkite::app
