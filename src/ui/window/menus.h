#pragma once

#include <QMainWindow>

#include "ui/desktop.h"
#include "ui/window/commands.h"

class QMenu;

namespace postkite::ui {

/// The main window's menu bar: the command table, and between it the entries for what there is any number of: the
/// environments, the banks, the rules. Borrows everything.
class Menus final : public QObject {
    Q_OBJECT

  public:
    Menus(Desktop& desktop, const Commands& commands, QMainWindow& window);

    /// Shows the environments, banks and rules as they are now.
    void Refresh();

  signals:
    void EnvironmentChosen(int number);
    void BankChosen(int number);
    /// 0-based, counted over all rules of the file.
    void RuleChosen(int number);

  private:
    [[nodiscard]] QMenu* AddMenu(const QString& title);
    void FillEnvironments();
    void FillBanks();
    void FillRules();

    Desktop* desktop_;
    const Commands* commands_;
    QMainWindow* window_;
    QMenu* environments_ = nullptr;
    QMenu* banks_ = nullptr;
    QMenu* rules_ = nullptr;
};

}  // namespace postkite::ui
