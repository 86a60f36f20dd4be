#pragma once

#include <QObject>
#include <QString>
#include <memory>

#include "core/settings.h"
#include "core/user_interface.h"
#include "core/workspace.h"

class QSoundEffect;

namespace postkite::ui {

/// The engine's messages and questions as boxes over the active window, and the rest of what it shows as signals. What
/// windows tell of their own goes through here too, so that a box is the same wherever it comes from.
class WindowUserInterface final : public QObject, public core::UserInterface {
    Q_OBJECT

  public:
    explicit WindowUserInterface(core::Language language);
    ~WindowUserInterface() override;

    /// Where sounds are looked for, and whether an error has one; nothing sounds before. Both borrowed.
    void SetSurroundings(const core::Workspace& workspace, const core::Settings& settings);

    /// True while the engine is in the middle of something: it pumps messages, or shows a box of its own.
    [[nodiscard]] bool busy() const { return engineCalls_ > 0; }

    /// From now on nobody is there: no box comes up, and every question is answered with Cancel. For a system that ends.
    void StopAsking() { unattended_ = true; }

    /// A box with OK, UTF-16; the caption is the product's name. Not an engine call: `busy` stays false.
    void Tell(const QString& text, core::MessageIcon icon = core::MessageIcon::Information);
    /// OK and Cancel; true for OK.
    [[nodiscard]] bool Ask(const QString& text);
    /// True, with a box that says `text`, while a session of this program runs: what changes the settings is refused.
    [[nodiscard]] bool RefuseWhile(bool running, std::string_view text);

    [[nodiscard]] core::Language language() const override { return language_; }
    void ShowMessage(std::string_view caption, std::string_view text, core::MessageIcon icon) override;
    [[nodiscard]] bool AskQuestion(std::string_view caption, std::string_view text) override;
    void SetStatusText(std::string_view text) override;
    void SetProgress(std::uint64_t position, std::uint64_t total) override;
    /// As the engine names it, in the working directory, or an absolute path of the system.
    void PlaySoundFile(std::string_view fileName) override;
    void AppendMonitorText(std::string_view text) override;
    void ReplaceMonitorText(std::string_view text) override;
    /// Paints and runs timers. What people type and click waits until the engine is done.
    void PumpMessages() override;
    void RedrawMainWindow() override;

  signals:
    void StatusTextChanged(const QString& text);
    /// `total` 0: no bar.
    void ProgressChanged(quint64 position, quint64 total);
    /// In whole characters; lines end in "\n".
    void MonitorTextAppended(const QString& text);
    void MonitorTextReplaced(const QString& text);
    /// Something that the windows draw has changed; may come in the middle of an operation.
    void RedrawAsked();

  private:
    [[nodiscard]] bool ShowBox(const QString& caption, const QString& text, core::MessageIcon icon,
                               bool question);

    core::Language language_;
    const core::Workspace* workspace_ = nullptr;
    const core::Settings* settings_ = nullptr;
    std::unique_ptr<QSoundEffect> sound_;
    int engineCalls_ = 0;
    bool unattended_ = false;
};

}  // namespace postkite::ui
