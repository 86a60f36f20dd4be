#pragma once

#include <QDialog>

#include "ui/desktop.h"

class QLineEdit;

namespace postkite::ui {

/// Asks for the start-up password before anything is shown.
class StartUpPasswordDialog final : public QDialog {
    Q_OBJECT

  public:
    /// Where the settings ask for the password and there is one: true once it was given, false after three wrong ones and
    /// when it was not given. True at once otherwise.
    [[nodiscard]] static bool Ask(Desktop& desktop, QWidget* parent);

  public slots:
    void accept() override;

  private:
    StartUpPasswordDialog(Desktop& desktop, QWidget* parent);

    Desktop* desktop_;
    QLineEdit* field_;
    int triesLeft_ = 3;
};

}  // namespace postkite::ui
