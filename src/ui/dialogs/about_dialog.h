#pragma once

#include <QDialog>

namespace postkite::ui {

/// What this program is.
class AboutDialog final : public QDialog {
    Q_OBJECT

  public:
    explicit AboutDialog(QWidget* parent);
};

}  // namespace postkite::ui
