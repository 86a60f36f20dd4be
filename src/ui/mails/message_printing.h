#pragma once

#include <QFont>
#include <QFontMetricsF>
#include <QPrinter>
#include <QString>
#include <QStringList>

namespace postkite::ui {

/// Prints lines separated by "\n", long ones broken where the page ends; each page bears the title and its number.
/// `font` gives the family. False where the printer fails.
[[nodiscard]] bool PrintText(QPrinter& printer, const QString& text, const QString& title, const QFont& font);

/// Lines cut into rows that are no wider than `width`, none within a character.
[[nodiscard]] QStringList RowsOf(const QString& text, const QFontMetricsF& metrics, qreal width);

}  // namespace postkite::ui
