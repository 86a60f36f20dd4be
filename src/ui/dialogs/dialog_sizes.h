#pragma once

#include <QDialog>
#include <initializer_list>

class QHeaderView;

namespace postkite::ui {

/// The width of so many letters of the widget's font, a Japanese character counting as two.
[[nodiscard]] int LettersWidth(const QWidget& widget, int letters);

/// No more than the screen has room for.
void ResizeWithinScreen(QDialog& dialog, const QSize& wanted);
void ResizeToLetters(QDialog& dialog, int letters, int rows);

/// Gives each column its share of `width`.
void ShareColumns(QHeaderView& header, int width, std::initializer_list<int> shares);

}  // namespace postkite::ui
