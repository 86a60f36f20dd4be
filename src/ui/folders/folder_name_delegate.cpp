#include "ui/folders/folder_name_delegate.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QValidator>

#include "store/folder_tree.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

/// As many bytes as a folder's name may have. A character that the code page lacks counts as one of two bytes, and is
/// refused when all has been typed.
class NameValidator final : public QValidator {
  public:
    using QValidator::QValidator;

    State validate(QString& text, int&) const override {
        const auto typed = Typed(text);
        const std::size_t bytes = typed ? typed->size() : static_cast<std::size_t>(text.size());
        return bytes <= store::kLongestFolderName ? Acceptable : Invalid;
    }
};

}  // namespace

FolderNameDelegate::FolderNameDelegate(WindowUserInterface& ui, QObject* parent)
    : QStyledItemDelegate(parent), ui_(&ui) {
}

QWidget* FolderNameDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                          const QModelIndex&) const {
    auto* editor = new QLineEdit(parent);
    editor->setFrame(false);
    editor->setAccessibleName(tr("フォルダの名前"));
    editor->setMaxLength(static_cast<int>(store::kLongestFolderName));
    return editor;
}

void FolderNameDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    auto* field = qobject_cast<QLineEdit*>(editor);
    // A count that changes meanwhile must not take away what was typed.
    if (field->validator() != nullptr) return;
    field->setText(index.data(Qt::EditRole).toString());
    field->selectAll();
    // Not before: a longer name of an old file has to be shown.
    field->setValidator(new NameValidator(field));
}

void FolderNameDelegate::setModelData(QWidget* editor, QAbstractItemModel*, const QModelIndex& index) const {
    const QString name = qobject_cast<QLineEdit*>(editor)->text();
    if (name != index.data(Qt::EditRole).toString().left(static_cast<qsizetype>(store::kLongestFolderName)))
        emit NameTyped(index, name);
}

/// As wide as the view, for the name to grow.
void FolderNameDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                              const QModelIndex& index) const {
    QStyledItemDelegate::updateEditorGeometry(editor, option, index);
    QRect place = editor->geometry();
    place.setRight(qMax(place.right(), option.rect.right()));
    editor->setGeometry(place);
}

bool FolderNameDelegate::CanBeTyped(const QString& name) const {
    QString refused;
    if (Typed(name, &refused)) return true;
    ui_->Tell(tr("フォルダの名前に文字「%1」を使えません。").arg(refused), core::MessageIcon::Warning);
    return false;
}

bool FolderNameDelegate::eventFilter(QObject* watched, QEvent* event) {
    auto* editor = qobject_cast<QLineEdit*>(watched);
    // The box takes the focus only for a while.
    if (telling_ && (event->type() == QEvent::FocusOut || event->type() == QEvent::Hide)) return false;
    if (editor == nullptr || event->type() != QEvent::KeyPress)
        return QStyledItemDelegate::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    const bool next = key == Qt::Key_Tab || key == Qt::Key_Backtab;
    if (!next && key != Qt::Key_Return && key != Qt::Key_Enter)
        return QStyledItemDelegate::eventFilter(watched, event);
    telling_ = true;
    const bool canBeTyped = CanBeTyped(editor->text());
    telling_ = false;
    if (canBeTyped) {
        // The next folder's name is not for editing by that.
        emit commitData(editor);
        emit closeEditor(editor, NoHint);
    } else {
        editor->setFocus();
    }
    return true;
}

}  // namespace postkite::ui
