#pragma once

#include <QStatusBar>

class QLabel;
class QProgressBar;

namespace postkite::ui {

/// The main window's status line: the engine's text, what the list shows, the upload of a session, the progress bar,
/// and the bank indicator.
class StatusLine final : public QStatusBar {
    Q_OBJECT

  public:
    explicit StatusLine(QWidget* parent);

    void ShowText(const QString& text);
    void ShowCounts(const QString& text);
    /// `total` 0 takes the bar away.
    void ShowProgress(quint64 position, quint64 total);
    void ShowBank(const QString& text);

  private:
    QLabel* text_;
    QLabel* counts_;
    QLabel* bank_;
    QProgressBar* progress_;
};

}  // namespace postkite::ui
