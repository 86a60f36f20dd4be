#pragma once

#include <cstdint>
#include <string>

#include "cli/console.h"
#include "core/user_interface.h"

namespace postkite::cli {

/// The engine's messages and questions on a terminal. Everything goes to standard error: a message is a line
/// "caption: text"; the status text and the progress bar share the last line where that is a terminal and are
/// not shown elsewhere; the monitor's text stands as it comes; there is no sound. Borrows the console, and ends
/// its status line while it lives.
class TerminalUserInterface final : public core::UserInterface {
  public:
    /// `yes` answers every question with OK. Otherwise a question is asked on the terminal; without one it
    /// counts as refused.
    TerminalUserInterface(Console& console, core::Language language, bool yes);
    ~TerminalUserInterface() override;
    TerminalUserInterface(const TerminalUserInterface&) = delete;
    TerminalUserInterface& operator=(const TerminalUserInterface&) = delete;

    /// `Printed`: each status text is a line of its own, whatever standard error is. A text that differs from
    /// the one before only in a number at its end, a countdown, is not printed again.
    enum class StatusTexts { Drawn, Printed };
    void ShowStatusTexts(StatusTexts how) { statusTexts_ = how; }

    [[nodiscard]] core::Language language() const override { return language_; }
    void ShowMessage(std::string_view caption, std::string_view text, core::MessageIcon icon) override;
    [[nodiscard]] bool AskQuestion(std::string_view caption, std::string_view text) override;
    void SetStatusText(std::string_view text) override;
    void SetProgress(std::uint64_t position, std::uint64_t total) override;
    void PlaySoundFile(std::string_view fileName) override;
    void AppendMonitorText(std::string_view text) override;
    /// Nothing: what a terminal has shown stays.
    void ReplaceMonitorText(std::string_view) override {}
    void PumpMessages() override;
    void RedrawMainWindow() override;

  private:
    void PrintStatusText();
    [[nodiscard]] bool ErrTakesMore() const;
    void DrawStatusLine();
    void ClearStatusLine();
    void EndStatusLine();

    Console* console_;
    core::Language language_;
    bool yes_;
    StatusTexts statusTexts_ = StatusTexts::Drawn;
    std::string statusText_;   ///< code page 932
    std::string printedText_;  ///< the one that was printed last, without a number at its end
    static constexpr int kNoBar = -1;
    int percent_ = kNoBar;
    std::string bar_;
    std::string drawn_;  ///< what stands on the status line now
    bool inMonitorLine_ = false;
    bool monitorEndsInReturn_ = false;  ///< a LF that comes next belongs to it
};

}  // namespace postkite::cli
