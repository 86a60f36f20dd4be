#pragma once

#include <QMainWindow>
#include <string>

#include "ui/desktop.h"

namespace postkite::ui {

class FindBar;
class MessageView;

/// A mail in a window of its own, which goes away when it is closed. Its place is taken from the settings and put
/// there when it closes.
class MessageWindow final : public QMainWindow {
    Q_OBJECT

  public:
    MessageWindow(Desktop& desktop, QWidget* parent);

    void ShowMail(const std::string& folder, int recordNumber);
    [[nodiscard]] MessageView& view() { return *view_; }
    [[nodiscard]] FindBar& findBar() { return *findBar_; }

  signals:
    /// The space bar at the end of the text.
    void NextUnreadAsked();

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void MakeToolBar();
    void TakePlace();
    void KeepPlace();

    Desktop* desktop_;
    MessageView* view_;
    FindBar* findBar_;
};

}  // namespace postkite::ui
