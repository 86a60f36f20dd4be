#include "ui/dialogs/settings_dialog.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollBar>
#include <QStackedWidget>
#include <algorithm>

#include "core/settings_table.h"
#include "ui/dialogs/dialog_sizes.h"
#include "ui/dialogs/settings_page.h"

namespace postkite::ui {

namespace {

using core::SettingLine;

const SettingLine& LineOf(int number) {
    return core::SettingLines()[static_cast<std::size_t>(number) - 1];
}

bool IsEqual(const SettingLine& line, core::Settings& one, core::Settings& other) {
    return line.kind == SettingLine::Kind::Integer ? line.integer(one) == line.integer(other)
                                                   : line.text(one) == line.text(other);
}

void Copy(const SettingLine& line, core::Settings& from, core::Settings& to) {
    if (line.kind == SettingLine::Kind::Integer) {
        line.integer(to) = line.integer(from);
    } else {
        line.text(to) = line.text(from);
    }
}

/// The number of the bank whose directory the setting names; -1 for another setting.
int BankOf(const SettingLine& line, core::Settings& settings) {
    if (line.kind == SettingLine::Kind::Integer) return -1;
    const auto& banks = settings.mailBoxPathName;
    const auto found = std::find_if(banks.begin(), banks.end(), [&line, &settings](const std::string& bank) {
        return &bank == &line.text(settings);
    });
    return found == banks.end() ? -1 : static_cast<int>(found - banks.begin());
}

}  // namespace

SettingsDialog::SettingsDialog(Desktop& desktop, QWidget* parent)
    : QDialog(parent),
      desktop_(&desktop),
      search_(new QLineEdit(this)),
      list_(new QListWidget(this)),
      stack_(new QStackedWidget(this)) {
    setWindowTitle(tr("設定"));
    for (const SettingPage& page : SettingPages()) {
        auto* widget = new SettingsPage(page, desktop, stack_);
        for (SettingEditor* editor : widget->editors())
            editor->Show(desktop.program.settings());
        stack_->addWidget(widget);
        list_->addItem(widget->title());
        pages_.push_back(widget);
    }
    search_->setClearButtonEnabled(true);
    list_->setFixedWidth(list_->sizeHintForColumn(0) + 2 * list_->frameWidth() +
                         list_->verticalScrollBar()->sizeHint().width());
    auto* searchLabel = new QLabel(tr("設定の検索(&F)"), this);
    searchLabel->setBuddy(search_);
    auto* listLabel = new QLabel(tr("ページ(&L)"), this);
    listLabel->setBuddy(list_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    auto* grid = new QGridLayout(this);
    grid->addWidget(listLabel, 0, 0);
    grid->addWidget(list_, 1, 0);
    auto* searchRow = new QHBoxLayout();
    searchRow->addStretch();
    searchRow->addWidget(searchLabel);
    searchRow->addWidget(search_);
    grid->addLayout(searchRow, 0, 1);
    grid->addWidget(stack_, 1, 1);
    grid->addWidget(buttons, 2, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    connect(list_, &QListWidget::currentRowChanged, stack_, &QStackedWidget::setCurrentIndex);
    connect(search_, &QLineEdit::textChanged, this, &SettingsDialog::Filter);
    connect(buttons, &QDialogButtonBox::accepted, this, &SettingsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SettingsDialog::reject);
    list_->setCurrentRow(0);
    list_->setFocus();
    ResizeToLetters(*this, 110, 32);
}

void SettingsDialog::Filter() {
    const QStringList words = search_->text().simplified().split(u' ', Qt::SkipEmptyParts);
    int first = -1;
    for (int number = 0; number < stack_->count(); ++number) {
        const bool any = pages_[static_cast<std::size_t>(number)]->Filter(words);
        list_->setRowHidden(number, !any);
        if (any && first < 0) first = number;
    }
    stack_->setVisible(first >= 0);
    const int current = list_->currentRow();
    if (first >= 0 && (current < 0 || list_->isRowHidden(current))) list_->setCurrentRow(first);
}

void SettingsDialog::keyPressEvent(QKeyEvent* event) {
    const bool ends = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    // Whoever ends a word that is looked for wants to see what was found, and not to be through.
    if (ends && search_->hasFocus()) {
        focusNextChild();
    } else {
        QDialog::keyPressEvent(event);
    }
}

void SettingsDialog::GoTo(int line) {
    search_->clear();
    for (int number = 0; number < stack_->count(); ++number) {
        SettingsPage* page = pages_[static_cast<std::size_t>(number)];
        for (SettingEditor* editor : page->editors()) {
            if (editor->line() != line) continue;
            list_->setCurrentRow(number);
            page->ensureWidgetVisible(editor);
            editor->setFocus();
            return;
        }
    }
}

bool SettingsDialog::Take(core::Settings& settings) {
    for (const SettingsPage* page : pages_) {
        for (SettingEditor* editor : page->editors()) {
            const QString refusal = editor->Take(settings);
            if (refusal.isEmpty()) continue;
            GoTo(editor->line());
            desktop_->ui.Tell(refusal, core::MessageIcon::Warning);
            return false;
        }
    }
    return true;
}

int SettingsDialog::MakeBankDirectories(const std::set<int>& lines) {
    for (const int number : lines) {
        const int bank = BankOf(LineOf(number), desktop_->program.settings());
        if (bank >= 0 && desktop_->program.folders().MakeBankDirectory(bank) < 0) return number;
    }
    return 0;
}

void SettingsDialog::accept() {
    core::Settings& settings = desktop_->program.settings();
    core::Settings changed = settings;
    if (!Take(changed)) return;
    std::set<int> lines;
    for (int number = 1; number <= static_cast<int>(core::kSettingLineCount); ++number) {
        if (IsEqual(LineOf(number), changed, settings)) continue;
        if (LineOf(number).correct != nullptr) LineOf(number).correct(changed);
        lines.insert(number);
    }
    // It would never be asked for.
    const bool asks = changed.askStartUpPassword != 0 && changed.startUpPassword.empty();
    constexpr int kAskLine = 40;
    constexpr int kPasswordLine = 115;
    if (asks && (lines.contains(kAskLine) || lines.contains(kPasswordLine))) {
        GoTo(kPasswordLine);
        desktop_->ui.Tell(tr("起動時パスワードを入力してください。"), core::MessageIcon::Warning);
        return;
    }
    // The engine makes the directories that the settings in force name; one that fails takes all changes back.
    core::Settings before = settings;
    for (const int number : lines)
        Copy(LineOf(number), changed, settings);
    const int failed = MakeBankDirectories(lines);
    if (failed > 0) {
        for (const int number : lines)
            Copy(LineOf(number), before, settings);
        GoTo(failed);
        return;
    }
    const int open = desktop_->program.folders().currentBank();
    hasMovedOpenBank_ = std::any_of(lines.begin(), lines.end(), [&settings, open](int number) {
        const int bank = BankOf(LineOf(number), settings);
        return bank >= 0 && bank == open;
    });
    changedLines_ = std::move(lines);
    QDialog::accept();
}

}  // namespace postkite::ui
