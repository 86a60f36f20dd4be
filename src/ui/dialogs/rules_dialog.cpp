#include "ui/dialogs/rules_dialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTreeWidget>

#include "core/error_text.h"
#include "organise/sorter.h"
#include "ui/dialogs/dialog_sizes.h"
#include "ui/dialogs/rule_dialog.h"
#include "ui/dialogs/rule_trial_dialog.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

using organise::SortingRule;

enum Column { Name, State, Action, Field, Text, Target };

void TellUnreadable(Desktop& desktop, int error) {
    desktop.ui.Tell(
        RulesDialog::tr("振り分け規則のファイル %1 を読み込めません。（%2）")
            .arg(Shown(organise::kRuleFile), Shown(core::DescribeError(error, desktop.ui.language()))),
        core::MessageIcon::Stop);
}

bool HasFolder(Desktop& desktop, const SortingRule& rule) {
    const store::Folder* folder = desktop.program.folders().tree().Find(rule.folder);
    return folder != nullptr && folder->parent != nullptr && store::Mailbox::IsUsableName(rule.folder);
}

}  // namespace

bool RulesDialog::Edit(Desktop& desktop, std::string_view folder, QWidget* parent) {
    Rules rules;
    const int read = organise::ReadRules(desktop.workspace, rules);
    if (read < 0) {
        TellUnreadable(desktop, read);
        return false;
    }
    RulesDialog dialog(desktop, folder, std::move(rules), parent);
    return dialog.exec() == QDialog::Accepted && dialog.rules_ != dialog.asRead_;
}

RulesDialog::RulesDialog(Desktop& desktop, std::string_view folder, Rules rules, QWidget* parent)
    : QDialog(parent),
      desktop_(&desktop),
      folder_(folder),
      asRead_(std::move(rules)),
      rules_(asRead_),
      list_(new QTreeWidget(this)) {
    setWindowTitle(tr("振り分け規則"));
    list_->setHeaderLabels({tr("振り分け名"), tr("状態"), tr("動作"), tr("...に"),
                            tr("...が含まれるメールを"), tr("...へ移動する")});
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->setAlternatingRowColors(true);
    list_->setAllColumnsShowFocus(true);
    AddButtons();
    list_->installEventFilter(this);
    for (QPushButton* button : buttons_)
        button->installEventFilter(this);
    list_->setFocus();
    connect(list_, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item, int column) {
        if (column == State) TakeCheckState(*item);
    });
    connect(list_, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem*, int column) {
        if (column != State) EditRule();
    });
    connect(list_, &QTreeWidget::currentItemChanged, this, [this] {
        for (QPushButton* button : buttonsOfARule_)
            button->setEnabled(selected() >= 0);
    });
    ShowRules(0);
    ResizeToLetters(*this, 120, 26);
    ShareColumns(*list_->header(), width() - LettersWidth(*this, 20), {20, 10, 8, 12, 24, 26});
    for (const Column column : {State, Action, Field})
        list_->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
}

QPushButton* RulesDialog::AddButton(const QString& text, void (RulesDialog::*act)()) {
    auto* button = new QPushButton(text, this);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, act);
    buttons_.push_back(button);
    return button;
}

void RulesDialog::AddButtons() {
    AddButton(tr("追加(&A)..."), &RulesDialog::AddRule);
    buttonsOfARule_ = {AddButton(tr("編集(&E)..."), &RulesDialog::EditRule),
                       AddButton(tr("複写(&P)"), &RulesDialog::CopyRule),
                       AddButton(tr("削除(&D)"), &RulesDialog::DeleteRule),
                       AddButton(tr("上へ(&U)"), &RulesDialog::MoveUp),
                       AddButton(tr("下へ(&W)"), &RulesDialog::MoveDown)};
    AddButton(tr("試す(&T)..."), &RulesDialog::Try)
        ->setToolTip(tr("表示中のフォルダから移動するメールの一覧を表示します。何も移動しません。"));
    auto* label = new QLabel(tr("規則（上から順に調べ、最初に合った規則で移動します）(&L)"), this);
    label->setBuddy(list_);
    auto* note = new QLabel(
        tr("使われるのは、先頭から %1 個までの有効な規則です。").arg(organise::RuleTable::kMostRules), this);
    auto* column = new QVBoxLayout();
    for (QPushButton* button : buttons_)
        column->addWidget(button);
    column->addStretch();
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &RulesDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &RulesDialog::reject);
    auto* grid = new QGridLayout(this);
    grid->addWidget(label, 0, 0, 1, 2);
    grid->addWidget(list_, 1, 0);
    grid->addLayout(column, 1, 1);
    grid->addWidget(note, 2, 0, 1, 2);
    grid->addWidget(buttons, 3, 0, 1, 2);
    grid->setColumnStretch(0, 1);
}

bool RulesDialog::eventFilter(QObject* watched, QEvent* event) {
    struct Key {
        QKeyCombination keys;
        bool inListOnly;
        void (RulesDialog::*act)();
    };
    static constexpr Key kKeys[] = {
        {Qt::Key_Space, true, &RulesDialog::SwitchEnabled},
        {Qt::Key_Return, true, &RulesDialog::EditRule},
        {Qt::KeypadModifier | Qt::Key_Enter, true, &RulesDialog::EditRule},
        {Qt::Key_Insert, true, &RulesDialog::AddRule},
        {Qt::Key_Delete, true, &RulesDialog::DeleteRule},
        {Qt::ALT | Qt::Key_Up, false, &RulesDialog::MoveUp},
        {Qt::ALT | Qt::Key_Down, false, &RulesDialog::MoveDown},
    };
    if (event->type() == QEvent::KeyPress) {
        const QKeyCombination pressed = static_cast<QKeyEvent*>(event)->keyCombination();
        for (const Key& key : kKeys) {
            if (key.keys != pressed || (key.inListOnly && watched != list_)) continue;
            (this->*key.act)();
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void RulesDialog::ShowRules(int selected) {
    {
        const QSignalBlocker quiet(list_);
        list_->clear();
        QList<QTreeWidgetItem*> items;
        for (int number = 0; number < static_cast<int>(rules_.size()); ++number) {
            items.append(new QTreeWidgetItem());
            ShowRule(number, *items.back());
        }
        list_->addTopLevelItems(items);
    }
    Select(selected);
    for (QPushButton* button : buttonsOfARule_)
        button->setEnabled(this->selected() >= 0);
}

void RulesDialog::ShowRule(int number, QTreeWidgetItem& item) const {
    const SortingRule& rule = rules_[static_cast<std::size_t>(number)];
    const auto part = [](const std::string& text) {
        if (text.empty()) return tr("（空です）");
        return text.size() > organise::kLongestRulePart ? tr("%1（長すぎます）").arg(Shown(text))
                                                        : Shown(text);
    };
    item.setText(Name, Shown(rule.name));
    item.setCheckState(State, rule.enabled ? Qt::Checked : Qt::Unchecked);
    item.setText(State, rule.enabled ? tr("有効") : tr("無効"));
    item.setText(Action, rule.automatic ? tr("自動") : QString());
    const auto field = organise::RuleFieldOf(rule.field);
    item.setText(Field, field ? Shown(*field) : tr("%1（使えない項目）").arg(Shown(rule.field)));
    item.setText(Text, part(rule.text));
    item.setText(Target, rule.folder.empty() || HasFolder(*desktop_, rule)
                             ? part(rule.folder)
                             : tr("%1（フォルダがありません）").arg(Shown(rule.folder)));
}

int RulesDialog::selected() const {
    return list_->currentItem() == nullptr ? -1 : list_->indexOfTopLevelItem(list_->currentItem());
}

void RulesDialog::Select(int number) {
    const int last = list_->topLevelItemCount() - 1;
    if (last >= 0) list_->setCurrentItem(list_->topLevelItem(std::clamp(number, 0, last)));
}

void RulesDialog::AddRule() {
    SortingRule rule;
    rule.field = organise::kRuleFields.front();
    RuleDialog dialog(*desktop_, folder_, rule, this);
    if (dialog.exec() != QDialog::Accepted) return;
    rules_.push_back(dialog.rule());
    ShowRules(static_cast<int>(rules_.size()) - 1);
}

void RulesDialog::EditRule() {
    const int number = selected();
    if (number < 0) return;
    RuleDialog dialog(*desktop_, folder_, rules_[static_cast<std::size_t>(number)], this);
    if (dialog.exec() != QDialog::Accepted) return;
    rules_[static_cast<std::size_t>(number)] = dialog.rule();
    ShowRules(number);
}

void RulesDialog::CopyRule() {
    const int number = selected();
    if (number < 0) return;
    const SortingRule copy = rules_[static_cast<std::size_t>(number)];
    rules_.insert(rules_.begin() + number + 1, copy);
    ShowRules(number + 1);
}

void RulesDialog::DeleteRule() {
    const int number = selected();
    if (number < 0) return;
    rules_.erase(rules_.begin() + number);
    ShowRules(number);
}

void RulesDialog::Move(int by) {
    const int number = selected();
    const int other = number + by;
    if (number < 0 || other < 0 || other >= static_cast<int>(rules_.size())) return;
    std::swap(rules_[static_cast<std::size_t>(number)], rules_[static_cast<std::size_t>(other)]);
    ShowRules(other);
}

void RulesDialog::SwitchEnabled() {
    QTreeWidgetItem* item = list_->currentItem();
    if (item != nullptr)
        item->setCheckState(State, item->checkState(State) == Qt::Checked ? Qt::Unchecked : Qt::Checked);
}

void RulesDialog::TakeCheckState(QTreeWidgetItem& item) {
    const int number = list_->indexOfTopLevelItem(&item);
    if (number < 0) return;
    rules_[static_cast<std::size_t>(number)].enabled = item.checkState(State) == Qt::Checked;
    const QSignalBlocker quiet(list_);
    ShowRule(number, item);
}

void RulesDialog::Try() {
    app::Program& program = desktop_->program;
    organise::RuleTable table;
    table.TakeRules(program.folders(), program.settings(), rules_, organise::kEnabledRules);
    organise::Sorter sorter(program.settings(), program.folders(), program.mailbox(), desktop_->ui);
    std::vector<organise::SortedMail> plan;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const int planned = sorter.Plan(folder_, table, plan);
    QApplication::restoreOverrideCursor();
    if (planned < 0) return;
    RuleTrialDialog(*desktop_, folder_, table, plan, this).exec();
}

void RulesDialog::accept() {
    if (rules_ == asRead_) return QDialog::accept();
    core::WorkspaceLock lock;
    Rules inFile;
    int result = desktop_->workspace.Lock(true, lock);
    if (result == 0) result = organise::ReadRules(desktop_->workspace, inFile);
    if (result < 0) return TellUnreadable(*desktop_, result);
    if (inFile != asRead_) {
        // Nobody is kept waiting for the answer.
        lock = {};
        if (!desktop_->ui.Ask(tr("振り分け規則は、ほかのプログラムで変更されています。\n上書きしますか？")))
            return;
    }
    const core::SaveOutcome outcome = organise::SaveRules(desktop_->workspace, organise::kRuleFile, rules_);
    core::ReportSave(desktop_->ui, organise::kRuleFile, outcome);
    if (outcome.result == 0) QDialog::accept();
}

}  // namespace postkite::ui
