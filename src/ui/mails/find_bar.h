#pragma once

#include <QTimer>
#include <QWidget>

class QComboBox;
class QLabel;
class QLineEdit;
class QToolButton;

namespace postkite::ui {

/// The line to search with: in the list, which is then filtered as one types, or in the text of the mail shown.
class FindBar final : public QWidget {
    Q_OBJECT

  public:
    enum class Mode { List, Text };

    /// `withList` false: in the text alone.
    FindBar(bool withList, QWidget* parent);

    /// Shows the bar with the focus in it. What stood there is selected.
    void Open(Mode mode);
    /// Hides it; no filter stays.
    void Close();
    [[nodiscard]] Mode mode() const;
    [[nodiscard]] QString text() const;

    /// The list shows all mails again, for a reason of its own.
    void ForgetFilter();
    /// What became of `FindAsked`.
    void ShowFound(bool found);

  signals:
    /// Empty for all mails.
    void FilterChanged(const QString& text);
    void FindAsked(const QString& text, bool backward);
    void Closed();

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void TellFilter();
    void AskToFind(bool backward);
    void FollowMode();

    QLineEdit* line_;
    QComboBox* modes_;
    QToolButton* next_;
    QToolButton* previous_;
    QLabel* result_;
    QTimer typing_;
    QString told_;
};

}  // namespace postkite::ui
