#include "ui/window/monitor_dock.h"

#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextCursor>

#include "ui/mails/list_font.h"

namespace postkite::ui {

MonitorDock::MonitorDock(Desktop& desktop, QWidget* parent)
    : QDockWidget(tr("通信モニタ"), parent), desktop_(&desktop), text_(new QPlainTextEdit(this)) {
    setObjectName(QStringLiteral("monitor"));
    setAllowedAreas(Qt::BottomDockWidgetArea | Qt::TopDockWidgetArea | Qt::RightDockWidgetArea);
    text_->setReadOnly(true);
    text_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text_->setUndoRedoEnabled(false);
    text_->setTabChangesFocus(true);
    text_->setAccessibleName(tr("通信モニタ"));
    setWidget(text_);
    connect(&desktop.ui, &WindowUserInterface::MonitorTextAppended, this, &MonitorDock::Append);
    connect(&desktop.ui, &WindowUserInterface::MonitorTextReplaced, this, &MonitorDock::Replace);
    ApplySettings();
}

void MonitorDock::ApplySettings() {
    text_->setFont(ListFont(desktop_->program.settings()));
}

void MonitorDock::Append(const QString& text) {
    QTextCursor end(text_->document());
    end.movePosition(QTextCursor::End);
    end.insertText(text);
    text_->verticalScrollBar()->setValue(text_->verticalScrollBar()->maximum());
}

void MonitorDock::Replace(const QString& text) {
    text_->setPlainText(text);
    text_->verticalScrollBar()->setValue(text_->verticalScrollBar()->maximum());
}

}  // namespace postkite::ui
