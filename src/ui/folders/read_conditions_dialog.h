#pragma once

#include <QDialog>
#include <array>
#include <string>

#include "analyse/read_conditions.h"
#include "ui/desktop.h"

class QLineEdit;
class QRadioButton;

namespace postkite::ui {

/// Whether sessions read a forum room or a library.
class ReadConditionsDialog final : public QDialog {
    Q_OBJECT

  public:
    /// Whether a folder, by its base name, is a room or a library.
    [[nodiscard]] static bool IsFor(const std::string& folder);

    /// Shows it for such a folder, whose file is made where it is missing, and returns when it has been closed. True when
    /// the condition has been written; where it cannot be read, or for another folder, the user knows.
    static bool Show(Desktop& desktop, const std::string& folder, QWidget* parent);

    /// `place` is named as its file is.
    ReadConditionsDialog(Desktop& desktop, std::string place, const analyse::ReadCondition& condition,
                         QWidget* parent);

    void accept() override;

  private:
    Desktop* desktop_;
    std::string place_;
    std::array<QRadioButton*, 3> choices_{};
    QLineEdit* date_;
};

}  // namespace postkite::ui
