#include "ui/window/menus.h"

#include <QActionGroup>
#include <QMenu>
#include <QMenuBar>

#include "organise/sorter.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

/// A name as a label: what stands behind a tab is the label's own, and no letter becomes an access key.
QString Label(std::string_view text) {
    return ShownLines(text).replace(u'&', QStringLiteral("&&")).replace(u'\n', u' ');
}

}  // namespace

Menus::Menus(Desktop& desktop, const Commands& commands, QMainWindow& window)
    : QObject(&window), desktop_(&desktop), commands_(&commands), window_(&window) {
    const std::pair<MenuId, QString> titles[] = {
        {MenuId::File, tr("ファイル(&F)")},
        {MenuId::Edit, tr("編集(&E)")},
        {MenuId::View, tr("表示(&V)")},
        {MenuId::Folder, tr("フォルダ(&D)")},
        {MenuId::Mail, tr("メール(&M)")},
        {MenuId::Connection, tr("通信(&C)")},
        {MenuId::Environment, tr("接続環境(&N)")},
        {MenuId::Rules, tr("振り分け(&R)")},
        {MenuId::Settings, tr("設定(&S)")},
        {MenuId::Help, tr("ヘルプ(&H)")},
    };
    for (const auto& [id, title] : titles) {
        QMenu* menu = AddMenu(title);
        if (id == MenuId::Environment) {
            environments_ = menu;
        } else if (id == MenuId::Rules) {
            rules_ = menu;
        } else {
            commands.Fill(*menu, id);
        }
        if (id != MenuId::Folder) continue;
        menu->addSeparator();
        banks_ = menu->addMenu(tr("メールボックスバンク(&B)"));
    }
    for (int number = 0; number < static_cast<int>(core::kEnvironmentCount); ++number) {
        auto* action = new QAction(&window);
        action->setShortcut(
            QKeySequence(static_cast<int>(Qt::SHIFT) | (static_cast<int>(Qt::Key_F1) + number)));
        connect(action, &QAction::triggered, this, [this, number] { emit EnvironmentChosen(number); });
        window.addAction(action);
    }
}

QMenu* Menus::AddMenu(const QString& title) {
    return window_->menuBar()->addMenu(title);
}

void Menus::Refresh() {
    FillEnvironments();
    FillBanks();
    FillRules();
}

void Menus::FillEnvironments() {
    environments_->clear();
    auto* group = new QActionGroup(environments_);
    for (const core::EnvironmentMenuEntry& entry : core::EnvironmentMenu(desktop_->program.environments())) {
        QAction* action = environments_->addAction(Label(entry.label));
        action->setCheckable(true);
        action->setChecked(entry.number == desktop_->program.settings().currentId);
        group->addAction(action);
        connect(action, &QAction::triggered, this,
                [this, number = entry.number] { emit EnvironmentChosen(number); });
    }
    commands_->Fill(*environments_, MenuId::Environment);
}

void Menus::FillBanks() {
    banks_->clear();
    auto* group = new QActionGroup(banks_);
    const auto& paths = desktop_->program.settings().mailBoxPathName;
    for (int number = 0; number < static_cast<int>(paths.size()); ++number) {
        QAction* action = banks_->addAction(
            QStringLiteral("%1: %2").arg(number + 1).arg(Label(paths[static_cast<std::size_t>(number)])));
        action->setCheckable(true);
        action->setChecked(number == desktop_->program.folders().currentBank());
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, number] { emit BankChosen(number); });
    }
}

void Menus::FillRules() {
    rules_->clear();
    constexpr int kKeys = 10;
    // Every entry more costs more than the one before, and nobody finds one in a menu as long as this.
    constexpr int kMostEntries = 1000;
    for (const organise::RuleMenuItem& item : organise::BuildRuleMenu(desktop_->workspace)) {
        const int number = item.command - organise::kFirstRuleCommand;
        if (number >= kMostEntries) break;
        QAction* action = rules_->addAction(Label(item.label));
        if (number < kKeys) {
            action->setShortcut(
                QKeySequence(static_cast<int>(Qt::CTRL) | (static_cast<int>(Qt::Key_0) + number)));
        }
        connect(action, &QAction::triggered, this, [this, number] { emit RuleChosen(number); });
    }
    commands_->Fill(*rules_, MenuId::Rules);
}

}  // namespace postkite::ui
