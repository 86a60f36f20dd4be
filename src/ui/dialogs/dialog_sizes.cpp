#include "ui/dialogs/dialog_sizes.h"

#include <QHeaderView>
#include <QScreen>
#include <numeric>

namespace postkite::ui {

int LettersWidth(const QWidget& widget, int letters) {
    return widget.fontMetrics().horizontalAdvance(QStringLiteral("あ")) * letters / 2;
}

void ResizeWithinScreen(QDialog& dialog, const QSize& wanted) {
    dialog.resize(wanted.boundedTo(dialog.screen()->availableSize() * 9 / 10));
}

void ResizeToLetters(QDialog& dialog, int letters, int rows) {
    ResizeWithinScreen(dialog, {LettersWidth(dialog, letters), dialog.fontMetrics().lineSpacing() * rows});
}

void ShareColumns(QHeaderView& header, int width, std::initializer_list<int> shares) {
    const int all = std::accumulate(shares.begin(), shares.end(), 0);
    int section = 0;
    for (const int share : shares)
        header.resizeSection(section++, width * share / all);
}

}  // namespace postkite::ui
