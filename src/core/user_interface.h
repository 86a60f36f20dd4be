#pragma once

#include <cstdint>
#include <string_view>

namespace postkite::core {

enum class MessageIcon { None, Information, Warning, Stop };

/// The language of texts that are not the product's own fixed ones.
enum class Language { Japanese, English };

/// The caption of nearly every message box.
inline constexpr std::string_view kProductName = "Postkite";

/// What the engine shows to and asks of the person in front of it. The terminal, the desktop and the tests
/// implement it. Texts are code page 932; they may hold CR LF. Calls come from the one thread that does all
/// the work.
class UserInterface {
  public:
    UserInterface() = default;
    UserInterface(const UserInterface&) = delete;
    UserInterface& operator=(const UserInterface&) = delete;
    virtual ~UserInterface() = default;

    [[nodiscard]] virtual Language language() const = 0;

    /// A message box with an OK button; returns when it has been seen, or at once where there is nothing to
    /// wait for.
    virtual void ShowMessage(std::string_view caption, std::string_view text, MessageIcon icon) = 0;

    /// A message box with OK and Cancel; true for OK.
    [[nodiscard]] virtual bool AskQuestion(std::string_view caption, std::string_view text) = 0;

    /// The text of the status line, until the next one; empty clears it.
    virtual void SetStatusText(std::string_view text) = 0;

    /// The progress bar. `total` 0 takes it away.
    virtual void SetProgress(std::uint64_t position, std::uint64_t total) = 0;

    /// Starts to play a WAVE file and returns at once. A name that leads to no sound stays silent.
    virtual void PlaySoundFile(std::string_view fileName) = 0;

    /// Text that came over the line, for the monitor. Never ends within a character.
    virtual void AppendMonitorText(std::string_view text) = 0;

    /// The monitor's text from now on, in place of all that it had: it was cleared, or its first half went.
    virtual void ReplaceMonitorText(std::string_view text) = 0;

    /// Lets the windows handle what waits for them, so that they stay alive during long work.
    virtual void PumpMessages() = 0;

    /// Something that the main window draws has changed.
    virtual void RedrawMainWindow() = 0;
};

/// The one of two texts that suits the person.
[[nodiscard]] inline std::string_view Choose(const UserInterface& ui, std::string_view japanese,
                                             std::string_view english) {
    return ui.language() == Language::Japanese ? japanese : english;
}

}  // namespace postkite::core
