#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/program.h"
#include "cli/console.h"
#include "cli/language.h"
#include "cli/terminal_user_interface.h"
#include "comm/system_serial_port.h"
#include "core/file_system.h"
#include "core/system_clock.h"
#include "core/workspace.h"

namespace CLI {
class App;
}

namespace postkite::cli {

/// A working directory and the program started in it, for the length of one command.
struct Session {
    Session(core::FileSystem& fileSystem, const std::filesystem::path& directory,
            const std::filesystem::path& stateDirectory, Console& console, core::Language language, bool yes);

    core::Workspace workspace;
    core::Workspace programState;
    core::SystemClock clock;
    comm::SystemSerialPort systemPort;
    TerminalUserInterface ui;
    app::Program program;
};

/// What the command line said for every command, and what commands need to do their work. A command's file
/// registers it with the parser and sets `run` when the parser meets it.
class CommandContext {
  public:
    CommandContext(core::FileSystem& fileSystem, Console& console);

    // Set by the parser.
    std::optional<std::string> directory;  ///< --dir
    bool json = false;
    bool yes = false;

    /// The work of the command that was met, returning the exit status.
    std::function<int()> run;

    /// What can follow the words already typed behind a command, for the shell's completion; UTF-8.
    using Completer = std::function<std::vector<std::string>(const std::vector<std::string>& words)>;
    std::map<const CLI::App*, Completer> completers;

    [[nodiscard]] core::Language language() const { return language_; }
    [[nodiscard]] const Console& console() const { return *console_; }
    [[nodiscard]] core::FileSystem& fileSystem() { return *fileSystem_; }

    /// A program in a directory of the caller's choice; nothing is opened or started.
    [[nodiscard]] std::unique_ptr<Session> NewSession(const std::filesystem::path& directory,
                                                      const std::filesystem::path& stateDirectory);

    /// Opens the working directory, made when missing, and starts the program in it. nullptr when that fails;
    /// the user knows why.
    [[nodiscard]] std::unique_ptr<Session> Open();

    /// As `Open`, with the current mailbox bank open as well. Nothing is locked: what changes mail does that
    /// itself.
    [[nodiscard]] std::unique_ptr<Session> OpenBank();

    /// As `Open`, with the working directory kept for changes until `lock` goes, and the program ready for
    /// them.
    [[nodiscard]] std::unique_ptr<Session> OpenForChange(core::WorkspaceLock& lock);

    /// The whole of a text file or pipe that the user named, or of standard input for "-", in code page 932
    /// with CR LF as line ends. Nothing where it cannot be read, is longer than `longest` bytes or holds what the
    /// code page lacks; the user knows why.
    [[nodiscard]] std::optional<std::string> TextFile(const std::string& file, std::size_t longest);

    /// The bytes of such a file, at most one more than `longest`. Returns 0 or a negated errno value, and says
    /// nothing.
    [[nodiscard]] int ReadBytes(const std::string& file, std::size_t longest, std::string& bytes);

    /// Writes to standard output. Returns the exit status.
    [[nodiscard]] int Print(std::string_view text);
    [[nodiscard]] int PrintJson(const nlohmann::ordered_json& document);

    /// Says on standard error why the command is refused. Returns the exit status.
    template <typename... Values>
    [[nodiscard]] int Refuse(const Bilingual& text, const Values&... values) {
        return RefuseWith(text.In(language_, {values...}));
    }

    /// Says something beside the result.
    template <typename... Values>
    void Remark(const Bilingual& text, const Values&... values) {
        Say(text.In(language_, {values...}));
    }

    /// On a terminal, says how to make the directory of a bank that could not be switched to, where it is
    /// missing.
    void HintAtBankDirectory(Session& session, int bank);

    /// What was typed as a value for a line of a positional file of at most `longest` bytes, in code page
    /// 932. Nothing when the file cannot hold it; the user knows why. `what` names the value, UTF-8.
    [[nodiscard]] std::optional<std::string> LineValue(std::string_view what, std::string_view typed,
                                                       std::size_t longest);

  private:
    void Say(std::string_view text);
    [[nodiscard]] int RefuseWith(std::string_view text);
    [[nodiscard]] static int ReadStream(const std::string& file, std::string& bytes);
    [[nodiscard]] std::unique_ptr<Session> OpenDirectory();

    core::FileSystem* fileSystem_;
    Console* console_;
    core::Language language_;
};

}  // namespace postkite::cli
