#include "ui/mails/mail_row_delegate.h"

#include <QApplication>
#include <QPainter>
#include <algorithm>

#include "ui/icons/palette_icon.h"
#include "ui/mails/mail_list_columns.h"
#include "ui/mails/mail_list_model.h"
#include "ui/mails/readable_colour.h"

namespace postkite::ui {

namespace {

const QStyle& StyleOf(const QStyleOptionViewItem& option) {
    return option.widget != nullptr ? *option.widget->style() : *QApplication::style();
}

int IconSize(const QStyleOptionViewItem& option) {
    return StyleOf(option).pixelMetric(QStyle::PM_SmallIconSize, nullptr, option.widget);
}

int Margin(const QStyleOptionViewItem& option) {
    return StyleOf(option).pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, option.widget) + 1;
}

}  // namespace

void MailRowDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    const unsigned marks = index.data(MailListModel::kMarksRole).toUInt();
    if ((marks & kUnreadMark) != 0) option->font.setBold(true);
    if ((marks & kDeletedMark) != 0) {
        constexpr float kPartOfBase = 0.45F;
        option->font.setStrikeOut(true);
        const QPalette& palette = option->palette;
        const QColor grey = Blend(palette.color(QPalette::Text), palette.color(QPalette::Base), kPartOfBase);
        option->palette.setColor(QPalette::Text, grey);
    }
    option->fontMetrics = QFontMetrics(option->font);
}

void MailRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    QStyledItemDelegate::paint(painter, option, index);
    if (index.column() != kMarksColumn) return;
    QStyleOptionViewItem whole = option;
    initStyleOption(&whole, index);
    const unsigned marks = index.data(MailListModel::kMarksRole).toUInt();
    const int textWidth = whole.text.isEmpty() ? 0 : whole.fontMetrics.horizontalAdvance(whole.text);
    whole.rect.setLeft(whole.rect.left() + textWidth + Margin(option) * (textWidth > 0 ? 3 : 1));
    // Only what people see of a mail whose row is known.
    if (!index.data(Qt::AccessibleTextRole).toString().isEmpty()) PaintMarks(painter, whole, marks);
}

void MailRowDelegate::PaintMarks(QPainter* painter, const QStyleOptionViewItem& option,
                                 unsigned marks) const {
    const int size = IconSize(option);
    QIcon::Mode mode = QIcon::Normal;
    if ((option.state & QStyle::State_Selected) != 0) {
        mode = QIcon::Selected;
    } else if ((marks & kDeletedMark) != 0) {
        mode = QIcon::Disabled;
    }
    painter->save();
    painter->setClipRect(option.rect);
    QRect place(option.rect.left(), option.rect.top() + (option.rect.height() - size) / 2, size, size);
    for (const QString& name : IconsOf(marks)) {
        QIcon& icon = icons_[name];
        if (icon.isNull()) icon = PaletteIcon(name);
        icon.paint(painter, place, Qt::AlignCenter, mode);
        place.translate(size + 1, 0);
    }
    painter->restore();
}

QSize MailRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setHeight(std::max(size.height(), IconSize(option) + 2));
    return size;
}

}  // namespace postkite::ui
