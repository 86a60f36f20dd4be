#include "ui/window/folder_chooser.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QVBoxLayout>

#include "ui/text.h"

namespace postkite::ui {

namespace {

constexpr int kBaseNameRole = Qt::UserRole;

QListWidgetItem* MakeItem(const store::Folder& folder, const std::string& baseName) {
    const QString indent(2 * store::DepthOf(folder), u' ');
    auto* item = new QListWidgetItem(indent + Shown(folder.name));
    item->setData(kBaseNameRole, QByteArray::fromStdString(baseName));
    item->setData(Qt::AccessibleTextRole, Shown(baseName));
    return item;
}

}  // namespace

FolderChooser::FolderChooser(Desktop& desktop, const QString& title, QWidget* parent)
    : QDialog(parent), folders_(new QListWidget(this)) {
    setWindowTitle(title);
    auto* label = new QLabel(tr("移動先のフォルダ(&F):"), this);
    label->setBuddy(folders_);
    desktop.program.folders().tree().Walk([this](const store::Folder& folder, const std::string& baseName) {
        folders_->addItem(MakeItem(folder, baseName));
        return true;
    });
    folders_->setCurrentRow(0);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(folders_, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(folders_);
    layout->addWidget(buttons);
}

std::optional<std::string> FolderChooser::Ask() {
    if (exec() != QDialog::Accepted || folders_->currentItem() == nullptr) return std::nullopt;
    return folders_->currentItem()->data(kBaseNameRole).toByteArray().toStdString();
}

}  // namespace postkite::ui
