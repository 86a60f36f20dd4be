#pragma once

#include <QDialog>
#include <string>
#include <string_view>
#include <vector>

#include "organise/rule_file.h"
#include "ui/desktop.h"

class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace postkite::ui {

/// The sorting rules, in the order in which they are tried. OK saves them.
class RulesDialog final : public QDialog {
    Q_OBJECT

  public:
    /// True where rules were changed and saved, and the menu of rules is another one. `folder` is the displayed one.
    [[nodiscard]] static bool Edit(Desktop& desktop, std::string_view folder, QWidget* parent);

  public slots:
    void accept() override;

  protected:
    /// The keys of the list and of the buttons beside it.
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    using Rules = std::vector<organise::SortingRule>;

    RulesDialog(Desktop& desktop, std::string_view folder, Rules rules, QWidget* parent);
    void AddButtons();
    QPushButton* AddButton(const QString& text, void (RulesDialog::*act)());

    void ShowRules(int selected);
    void ShowRule(int number, QTreeWidgetItem& item) const;
    /// The selected rule, or -1.
    [[nodiscard]] int selected() const;
    void Select(int number);

    void AddRule();
    void EditRule();
    void CopyRule();
    void DeleteRule();
    void MoveUp() { Move(-1); }
    void MoveDown() { Move(1); }
    void Move(int by);
    void SwitchEnabled();
    void TakeCheckState(QTreeWidgetItem& item);
    void Try();

    Desktop* desktop_;
    std::string folder_;
    Rules asRead_;
    Rules rules_;
    QTreeWidget* list_;
    std::vector<QPushButton*> buttons_;
    std::vector<QPushButton*> buttonsOfARule_;  ///< of use while one is selected
};

}  // namespace postkite::ui
