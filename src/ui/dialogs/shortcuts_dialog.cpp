#include "ui/dialogs/shortcuts_dialog.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "ui/dialogs/dialog_sizes.h"
#include "ui/dialogs/text_field.h"

namespace postkite::ui {

ShortcutsDialog::ShortcutsDialog(const std::vector<std::pair<QString, QString>>& keys, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(tr("キーの一覧"));
    auto* list = new QTreeWidget(this);
    list->setAccessibleName(windowTitle());
    list->setHeaderLabels({tr("操作"), tr("キー")});
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setAlternatingRowColors(true);
    for (const auto& [text, key] : keys) {
        QString command = WithoutAccessKey(text);
        if (command.endsWith(QStringLiteral("..."))) command.chop(3);
        new QTreeWidgetItem(list, {command, key});
    }
    list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    if (list->topLevelItemCount() > 0) list->setCurrentItem(list->topLevelItem(0));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* column = new QVBoxLayout(this);
    column->addWidget(list);
    column->addWidget(buttons);
    ResizeToLetters(*this, 60, 28);
}

}  // namespace postkite::ui
