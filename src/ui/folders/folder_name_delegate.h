#pragma once

#include <QStyledItemDelegate>

#include "ui/window_user_interface.h"

namespace postkite::ui {

/// Edits a folder's name in its place. A name that is too long cannot be typed; one with a character that the code page
/// lacks is refused, and the editor stays. The model is left alone: what was typed is for `NameTyped`.
class FolderNameDelegate final : public QStyledItemDelegate {
    Q_OBJECT

  public:
    FolderNameDelegate(WindowUserInterface& ui, QObject* parent);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;
    bool eventFilter(QObject* watched, QEvent* event) override;

    /// Tells what cannot be stored, and why. False then.
    [[nodiscard]] bool CanBeTyped(const QString& name) const;

  signals:
    /// Editing ends; not for a name that has stayed as it was.
    void NameTyped(const QModelIndex& index, const QString& name) const;

  private:
    WindowUserInterface* ui_;
    bool telling_ = false;
};

}  // namespace postkite::ui
