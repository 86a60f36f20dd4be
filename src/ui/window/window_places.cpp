#include "ui/window/window_places.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>

namespace postkite::ui {

namespace {

constexpr int kLeastListPercent = 10;
constexpr int kMostListPercent = 90;
/// A splitter shares what it has in proportion to the sizes that it is given.
constexpr int kSplitterUnits = 10000;
/// A file can say anything; no screen reaches as far as this, and sums of it are numbers still.
constexpr int kFarthest = 1'000'000;

int Near(int coordinate) {
    return std::clamp(coordinate, -kFarthest, kFarthest);
}

}  // namespace

void RestorePlace(QMainWindow& window, const core::Settings& settings) {
    QRect place(Near(settings.mailWindowLeft), Near(settings.mailWindowTop), Near(settings.mailWindowWidth),
                Near(settings.mailWindowHeight));
    // A screen may be gone, or a file be from elsewhere: the window is brought where it can be taken hold of.
    const QScreen* screen = QGuiApplication::screenAt(place.center());
    if (screen == nullptr) screen = QGuiApplication::primaryScreen();
    if (screen != nullptr) {
        const QRect there = screen->availableGeometry();
        place.setSize(place.size().boundedTo(there.size()));
        place.moveLeft(std::clamp(place.left(), there.left(), there.right() - place.width() + 1));
        place.moveTop(std::clamp(place.top(), there.top(), there.bottom() - place.height() + 1));
    }
    window.resize(place.size());
    window.move(place.topLeft());
    if (settings.maximisedAtEnd != 0) window.setWindowState(window.windowState() | Qt::WindowMaximized);
}

void KeepPlace(const QMainWindow& window, core::Settings& settings) {
    settings.maximisedAtEnd = window.isMaximized() ? 1 : 0;
    if (window.isMaximized() || window.isMinimized()) return;
    settings.mailWindowLeft = window.pos().x();
    settings.mailWindowTop = window.pos().y();
    settings.mailWindowWidth = std::max(window.width(), 200);
    settings.mailWindowHeight = std::max(window.height(), 200);
}

void RestorePanes(QSplitter& folders, QSplitter& mails, const core::Settings& settings) {
    const int width = std::clamp(settings.mailBoxListWidth, 20, std::max(20, settings.mailWindowWidth));
    folders.setSizes({width, std::max(1, folders.width() - width)});
    if (settings.listHeight > kMostListPercent) {
        mails.setSizes({settings.listHeight, std::max(1, mails.height() - settings.listHeight)});
        return;
    }
    const int percent = std::max(settings.listHeight, kLeastListPercent);
    mails.setSizes({kSplitterUnits * percent / 100, kSplitterUnits * (100 - percent) / 100});
}

void KeepPanes(const QSplitter& folders, const QSplitter& mails, core::Settings& settings) {
    // A hidden pane has no size of its own, and the one that it had stays.
    if (folders.sizes().value(0) > 0) settings.mailBoxListWidth = folders.sizes().value(0);
    const int list = mails.sizes().value(0);
    const int whole = list + mails.sizes().value(1);
    // To the nearest, so that what was restored comes back as it was.
    if (whole > 0) settings.listHeight = std::min((list * 100 + whole / 2) / whole, kMostListPercent);
}

}  // namespace postkite::ui
