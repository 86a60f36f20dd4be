#pragma once

#include <QScrollArea>
#include <QString>
#include <vector>

#include "ui/desktop.h"
#include "ui/dialogs/setting_editor.h"
#include "ui/dialogs/setting_pages.h"

class QFormLayout;
class QVBoxLayout;

namespace postkite::ui {

/// A page of the settings dialog, scrolled where it is longer than the dialog.
class SettingsPage final : public QScrollArea {
    Q_OBJECT

  public:
    SettingsPage(const SettingPage& page, Desktop& desktop, QWidget* parent);

    [[nodiscard]] const std::vector<SettingEditor*>& editors() const { return editors_; }
    [[nodiscard]] const QString& title() const { return title_; }

    /// Shows the settings alone whose labels have all the words, or every one where the page's title has them. False
    /// where nothing is left.
    bool Filter(const QStringList& words);

  private:
    /// Rows that stand together.
    struct Group {
        QWidget* widget;
        QFormLayout* form;
        std::vector<SettingEditor*> editors;
    };
    void AddGroup(QVBoxLayout& column, QWidget* widget, std::span<const SettingRow> rows, Desktop& desktop);

    QString title_;
    std::vector<Group> groups_;
    std::vector<SettingEditor*> editors_;
};

}  // namespace postkite::ui
