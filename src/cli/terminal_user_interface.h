#pragma once

#include <cstdint>
#include <string>

#include "cli/console.h"
#include "core/user_interface.h"

namespace postkite::cli {

/// The engine's messages and questions on a terminal. Everything goes to standard error: a message is a line
/// "caption: text"; the status text and the progress bar share the last line where that is a terminal and are
/// not shown elsewhere; there is no sound. Borrows the console, and ends its status line while it lives.
class TerminalUserInterface final : public core::UserInterface {
  public:
    /// `yes` answers every question with OK. Otherwise a question is asked on the terminal; without one it
    /// counts as refused.
    TerminalUserInterface(Console& console, core::Language language, bool yes);
    ~TerminalUserInterface() override;
    TerminalUserInterface(const TerminalUserInterface&) = delete;
    TerminalUserInterface& operator=(const TerminalUserInterface&) = delete;

    [[nodiscard]] core::Language language() const override { return language_; }
    void ShowMessage(std::string_view caption, std::string_view text, core::MessageIcon icon) override;
    [[nodiscard]] bool AskQuestion(std::string_view caption, std::string_view text) override;
    void SetStatusText(std::string_view text) override;
    void SetProgress(std::uint64_t position, std::uint64_t total) override;
    void PlaySoundFile(std::string_view fileName) override;
    void AppendMonitorText(std::string_view text) override;
    void PumpMessages() override;
    void RedrawMainWindow() override;

  private:
    void DrawStatusLine();
    void ClearStatusLine();
    void EndStatusLine();

    Console* console_;
    core::Language language_;
    bool yes_;
    std::string statusText_;  ///< code page 932
    std::string bar_;
    std::string drawn_;  ///< what stands on the status line now
};

}  // namespace postkite::cli
