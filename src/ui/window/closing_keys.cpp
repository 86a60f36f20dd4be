#include "ui/window/closing_keys.h"

#include <QGuiApplication>
#include <QKeyEvent>

namespace postkite::ui {

ClosingKeys::ClosingKeys(QObject* parent) : QObject(parent) {
    qApp->installEventFilter(this);
}

bool ClosingKeys::ControlHeld() {
    return QGuiApplication::queryKeyboardModifiers().testFlag(Qt::ControlModifier);
}

bool ClosingKeys::eventFilter(QObject*, QEvent* event) {
    switch (event->type()) {
        case QEvent::KeyPress:
        case QEvent::KeyRelease: {
            const auto* key = static_cast<QKeyEvent*>(event);
            // A key that is held repeats, each time with a release that nobody made.
            if (key->key() == Qt::Key_F1 && !key->isAutoRepeat()) f1Held_ = event->type() == QEvent::KeyPress;
            break;
        }
        case QEvent::ApplicationStateChange:
            // The release goes to whoever has the keyboard then.
            if (QGuiApplication::applicationState() != Qt::ApplicationActive) f1Held_ = false;
            break;
        default:
            break;
    }
    return false;
}

}  // namespace postkite::ui
