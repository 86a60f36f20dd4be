#pragma once

#include <QDialog>
#include <optional>
#include <string>

#include "ui/desktop.h"

class QListWidget;

namespace postkite::ui {

/// Asks for one of the folders of the current bank.
class FolderChooser final : public QDialog {
    Q_OBJECT

  public:
    FolderChooser(Desktop& desktop, const QString& title, QWidget* parent);

    /// The base name of the folder chosen; nothing where the person does not want one.
    [[nodiscard]] std::optional<std::string> Ask();

  private:
    QListWidget* folders_;
};

}  // namespace postkite::ui
