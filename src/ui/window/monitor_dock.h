#pragma once

#include <QDockWidget>

#include "ui/desktop.h"

class QPlainTextEdit;

namespace postkite::ui {

/// The terminal monitor: what comes over the line, as the engine keeps it.
class MonitorDock final : public QDockWidget {
    Q_OBJECT

  public:
    MonitorDock(Desktop& desktop, QWidget* parent);

    void ApplySettings();

  private:
    void Append(const QString& text);
    void Replace(const QString& text);

    Desktop* desktop_;
    QPlainTextEdit* text_;
};

}  // namespace postkite::ui
