#pragma once

#include <QPlainTextEdit>
#include <QTimer>
#include <functional>
#include <string>
#include <vector>

#include "store/mail_record.h"
#include "ui/desktop.h"

namespace postkite::ui {

class MessageHighlighter;

/// One mail's text. Header lines stand above it as the settings say (`DispHeader`, `HideCC`).
class MessageView final : public QPlainTextEdit {
    Q_OBJECT

  public:
    MessageView(Desktop& desktop, QWidget* parent);

    void ApplySettings();

    /// Shows a mail; -1 shows none. A damaged mail shows what is known of it and says so. Does not mark it read.
    void ShowMail(const std::string& folder, int recordNumber);
    void Clear();
    [[nodiscard]] bool showsMail() const;

    /// A page down; false, and nothing moves, at the end of the text.
    bool PageDown();
    /// Selects the next place behind the cursor, in any letter case; from the top again at the end. False for none.
    bool FindNext(const QString& text, bool backward);

    /// The subject as people see it, whole; empty where no mail is shown.
    [[nodiscard]] QString subject() const;

    /// Takes the place of the desktop's services, which open links else.
    void SetLinkOpener(std::function<void(const QUrl&)> opener) { openLink_ = std::move(opener); }

    /// With dialogs for printer and file.
    void Print();
    void SaveAsText();

  signals:
    /// The space bar at the end of the text.
    void NextUnreadAsked();
    /// Another mail is shown, or none.
    void MailShown();

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;
    /// Lines that are shown in pieces are whole again.
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;

  private:
    enum class State { Nothing, Damaged, Mail };
    void Render();
    void ReadMail();
    void PageUp();
    /// Empty where there is none.
    [[nodiscard]] QUrl LinkAt(const QTextCursor& cursor) const;
    [[nodiscard]] QUrl LinkUnder(const QPoint& point) const;
    void OpenLink(const QUrl& url);

    Desktop* desktop_;
    MessageHighlighter* highlighter_;
    std::function<void(const QUrl&)> openLink_;
    std::string folder_;
    int recordNumber_ = -1;
    store::MailRecord mail_;
    State state_ = State::Nothing;
    std::vector<int> continuing_;
    QPoint pressedAt_;
    QString directory_;  ///< where a mail was saved last
    QTimer waiting_;
};

}  // namespace postkite::ui
