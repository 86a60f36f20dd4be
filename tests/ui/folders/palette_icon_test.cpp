#include "ui/icons/palette_icon.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QPalette>
#include <set>

namespace postkite::ui {
namespace {

/// The colours of what is wholly covered.
std::set<QRgb> ColoursOf(const QPixmap& pixmap) {
    const QImage image = pixmap.toImage();
    std::set<QRgb> colours;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).alpha() == 255) colours.insert(image.pixel(x, y));
        }
    }
    return colours;
}

TEST(PaletteIcon, IsDrawnInThePaletteInForceAtAnySize) {
    const QPalette before = QApplication::palette();
    const QIcon icon = PaletteIcon(QStringLiteral("folder"));
    for (const QColor colour : {QColor(10, 20, 30), QColor(240, 250, 245)}) {
        QPalette palette = before;
        palette.setColor(QPalette::Text, colour);
        palette.setColor(QPalette::Disabled, QPalette::Text, Qt::gray);
        palette.setColor(QPalette::HighlightedText, Qt::red);
        QApplication::setPalette(palette);
        EXPECT_EQ(ColoursOf(icon.pixmap(64)), std::set<QRgb>{colour.rgb()});
        EXPECT_EQ(ColoursOf(icon.pixmap(64, QIcon::Disabled)), std::set<QRgb>{QColor(Qt::gray).rgb()});
        EXPECT_EQ(ColoursOf(icon.pixmap(64, QIcon::Selected)), std::set<QRgb>{QColor(Qt::red).rgb()});
    }
    QApplication::setPalette(before);
    const QPixmap doubled = icon.pixmap(QSize(16, 16), 2.0);
    EXPECT_EQ(doubled.size(), QSize(32, 32));
    EXPECT_EQ(doubled.devicePixelRatio(), 2.0);
}

TEST(PaletteIcon, EveryDrawingCanBeRead) {
    EXPECT_TRUE(PaletteIcon(QStringLiteral("nowhere")).isNull());
    const QStringList files = QDir(QStringLiteral(":/icons")).entryList();
    EXPECT_GT(files.size(), 30);
    for (const QString& file : files)
        EXPECT_FALSE(ColoursOf(PaletteIcon(file.chopped(4)).pixmap(48)).empty()) << file.toStdString();
}

}  // namespace
}  // namespace postkite::ui
