#pragma once

#include <QDialog>
#include <QString>
#include <utility>
#include <vector>

namespace postkite::ui {

/// The keys of the windows, to be read.
class ShortcutsDialog final : public QDialog {
    Q_OBJECT

  public:
    /// Commands as the menus name them, access keys included, each with its key as people read it.
    ShortcutsDialog(const std::vector<std::pair<QString, QString>>& keys, QWidget* parent);
};

}  // namespace postkite::ui
