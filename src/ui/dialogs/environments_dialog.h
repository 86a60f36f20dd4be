#pragma once

#include <QDialog>
#include <vector>

#include "core/environments.h"
#include "ui/desktop.h"

class QListWidget;
class QStackedWidget;

namespace postkite::ui {

class EnvironmentPage;

/// The ten connection environments. OK saves them, and the active one's values enter the settings. Not to be opened while
/// a session runs.
class EnvironmentsDialog final : public QDialog {
    Q_OBJECT

  public:
    EnvironmentsDialog(Desktop& desktop, QWidget* parent);

    /// Once it was accepted: whether another bank goes with the active environment now.
    [[nodiscard]] bool hasChangedActiveBank() const { return hasChangedActiveBank_; }

  public slots:
    void accept() override;

  private:
    void ShowName(int number);
    [[nodiscard]] bool Take(core::Environments& environments, core::Settings& settings);

    Desktop* desktop_;
    QListWidget* list_;
    QStackedWidget* stack_;
    std::vector<EnvironmentPage*> pages_;
    bool hasChangedActiveBank_ = false;
};

}  // namespace postkite::ui
