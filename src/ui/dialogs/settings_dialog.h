#pragma once

#include <QDialog>
#include <set>
#include <vector>

#include "ui/desktop.h"

class QLineEdit;
class QListWidget;
class QStackedWidget;

namespace postkite::ui {

class SettingsPage;

/// The settings, in pages. OK changes them in memory; they are written when the program ends. Not to be opened while a
/// session runs.
class SettingsDialog final : public QDialog {
    Q_OBJECT

  public:
    SettingsDialog(Desktop& desktop, QWidget* parent);

    /// Once it was accepted: the lines of the settings file whose values are other ones now.
    [[nodiscard]] const std::set<int>& changedLines() const { return changedLines_; }

    /// Once it was accepted: whether the open bank's directory is another one now. The old one is still open, and the
    /// new one has been made.
    [[nodiscard]] bool hasMovedOpenBank() const { return hasMovedOpenBank_; }

    /// Shows the page with this line of the settings file, its editor focused.
    void GoTo(int line);

  public slots:
    void accept() override;

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void Filter();
    /// Why what was entered cannot be taken is told here.
    [[nodiscard]] bool Take(core::Settings& settings);
    /// Makes the directories of the banks that were changed; the line of the one that failed, or 0.
    [[nodiscard]] int MakeBankDirectories(const std::set<int>& lines);

    Desktop* desktop_;
    QLineEdit* search_;
    QListWidget* list_;
    QStackedWidget* stack_;
    std::vector<SettingsPage*> pages_;
    std::set<int> changedLines_;
    bool hasMovedOpenBank_ = false;
};

}  // namespace postkite::ui
