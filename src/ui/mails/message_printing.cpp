#include "ui/mails/message_printing.h"

#include <QCoreApplication>
#include <QHash>
#include <QPainter>
#include <algorithm>

namespace postkite::ui {

namespace {

constexpr qreal kPointSize = 10;
constexpr int kTabCharacters = 8;
/// Rows that the title and the page number take.
constexpr int kHeadRows = 2;

}  // namespace

QStringList RowsOf(const QString& text, const QFontMetricsF& metrics, qreal width) {
    QHash<QString, qreal> widths;
    QStringList rows;
    QString row;
    qreal used = 0;
    int columns = 0;
    const auto add = [&](const QString& character) {
        const auto known = widths.constFind(character);
        const qreal wide = known != widths.constEnd()
                               ? *known
                               : *widths.insert(character, metrics.horizontalAdvance(character));
        if (used + wide > width && !row.isEmpty()) {
            rows.append(row);
            row.clear();
            used = 0;
        }
        row += character;
        used += wide;
        ++columns;
    };
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (text[at] == u'\n') {
            rows.append(row);
            row.clear();
            used = 0;
            columns = 0;
        } else if (text[at] == u'\t') {
            do
                add(QStringLiteral(" "));
            while (columns % kTabCharacters != 0);
        } else {
            const bool isPair = text[at].isHighSurrogate() && at + 1 < text.size();
            add(text.mid(at, isPair ? 2 : 1));
            if (isPair) ++at;
        }
    }
    if (!row.isEmpty()) rows.append(row);
    return rows;
}

bool PrintText(QPrinter& printer, const QString& text, const QString& title, const QFont& font) {
    QPainter painter;
    if (!painter.begin(&printer)) return false;
    QFont printed = font;
    printed.setPointSizeF(kPointSize);
    painter.setFont(printed);
    const QFontMetricsF metrics(printed, &printer);
    const QRectF page(QPointF(), printer.pageLayout().paintRectPixels(printer.resolution()).size());
    const int rowsAPage = std::max(static_cast<int>(page.height() / metrics.lineSpacing()) - kHeadRows, 1);
    const QStringList rows = RowsOf(text, metrics, page.width());
    const int pages = std::max((static_cast<int>(rows.size()) + rowsAPage - 1) / rowsAPage, 1);
    for (int number = 0; number < pages; ++number) {
        if (number > 0 && !printer.newPage()) return false;
        const QString place =
            QCoreApplication::translate("MessagePrinting", "%1 / %2 ページ").arg(number + 1).arg(pages);
        const qreal placeWidth = metrics.horizontalAdvance(place) + metrics.averageCharWidth();
        painter.drawText(QPointF(0, metrics.ascent()),
                         metrics.elidedText(title, Qt::ElideRight, page.width() - placeWidth));
        painter.drawText(QPointF(page.width() - placeWidth, metrics.ascent()), place);
        for (int row = 0; row < rowsAPage && number * rowsAPage + row < rows.size(); ++row) {
            const qreal top = (row + kHeadRows) * metrics.lineSpacing();
            painter.drawText(QPointF(0, top + metrics.ascent()), rows[number * rowsAPage + row]);
        }
    }
    return painter.end();
}

}  // namespace postkite::ui
