#pragma once

#include <QHash>
#include <QIcon>
#include <QStyledItemDelegate>

namespace postkite::ui {

/// Draws the mail list's rows: unread ones bold, deleted ones greyed and struck out, and the marks as icons side by
/// side in the first column, behind the number where there is one.
class MailRowDelegate final : public QStyledItemDelegate {
    Q_OBJECT

  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

  private:
    void PaintMarks(QPainter* painter, const QStyleOptionViewItem& option, unsigned marks) const;

    mutable QHash<QString, QIcon> icons_;
};

}  // namespace postkite::ui
