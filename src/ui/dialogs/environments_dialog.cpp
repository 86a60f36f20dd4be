#include "ui/dialogs/environments_dialog.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QListWidget>
#include <QScrollArea>
#include <QStackedWidget>
#include <QStyle>

#include "ui/dialogs/dialog_sizes.h"
#include "ui/dialogs/environment_page.h"
#include "ui/dialogs/folder_choice.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

/// The bank of an environment stands behind those of the host entries.
std::int32_t& BankOf(core::Settings& settings, std::size_t environment) {
    return settings.bank[core::kHostEntryCount + environment];
}

}  // namespace

EnvironmentsDialog::EnvironmentsDialog(Desktop& desktop, QWidget* parent)
    : QDialog(parent), desktop_(&desktop), list_(new QListWidget(this)), stack_(new QStackedWidget(this)) {
    setWindowTitle(tr("接続環境"));
    core::Settings& settings = desktop.program.settings();
    const std::vector<std::string> folders = FolderChoice(desktop.program.folders());
    std::vector<QString> banks;
    for (const std::string& directory : settings.mailBoxPathName)
        banks.push_back(Shown(directory));
    for (std::size_t number = 0; number < core::kEnvironmentCount; ++number) {
        auto* scroll = new QScrollArea(stack_);
        scroll->setWidgetResizable(true);
        scroll->setFrameShape(QFrame::NoFrame);
        auto* page = new EnvironmentPage(folders, banks, scroll);
        page->Show(desktop.program.environments().entries[number], BankOf(settings, number));
        scroll->setWidget(page);
        stack_->addWidget(scroll);
        list_->addItem(QString());
        pages_.push_back(page);
        ShowName(static_cast<int>(number));
        connect(page, &EnvironmentPage::NameEdited, this,
                [this, number] { ShowName(static_cast<int>(number)); });
    }
    constexpr int kLetters = 24;
    list_->setFixedWidth(LettersWidth(*this, kLetters));
    list_->setTextElideMode(Qt::ElideRight);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* label = new QLabel(tr("環境(&E)"), this);
    label->setBuddy(list_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    auto* grid = new QGridLayout(this);
    grid->addWidget(label, 0, 0);
    grid->addWidget(list_, 1, 0);
    grid->addWidget(stack_, 0, 1, 2, 1);
    grid->addWidget(buttons, 2, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    connect(list_, &QListWidget::currentRowChanged, stack_, &QStackedWidget::setCurrentIndex);
    connect(buttons, &QDialogButtonBox::accepted, this, &EnvironmentsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &EnvironmentsDialog::reject);
    const int active = settings.currentId;
    list_->setCurrentRow(active >= 0 && active < list_->count() ? active : 0);
    list_->setFocus();
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
    const QSize around(list_->width() + bar, buttons->sizeHint().height());
    const QSize wanted = pages_.front()->sizeHint() + around + QSize(2, 2) * fontMetrics().lineSpacing();
    ResizeWithinScreen(*this, wanted);
}

void EnvironmentsDialog::ShowName(int number) {
    const QString name = pages_[static_cast<std::size_t>(number)]->environmentName();
    const bool active = desktop_->program.settings().currentId == number;
    const QString words = name.isEmpty() ? tr("（名前なし）") : name;
    list_->item(number)->setText(active ? tr("%1: %2（使用中）").arg(number + 1).arg(words)
                                        : tr("%1: %2").arg(number + 1).arg(words));
}

bool EnvironmentsDialog::Take(core::Environments& environments, core::Settings& settings) {
    for (std::size_t number = 0; number < pages_.size(); ++number) {
        QWidget* field = nullptr;
        int bank = BankOf(settings, number);
        const QString refusal = pages_[number]->Take(environments.entries[number], bank, field);
        if (!refusal.isEmpty()) {
            list_->setCurrentRow(static_cast<int>(number));
            field->setFocus();
            desktop_->ui.Tell(refusal, core::MessageIcon::Warning);
            return false;
        }
        BankOf(settings, number) = bank;
    }
    return true;
}

void EnvironmentsDialog::accept() {
    app::Program& program = desktop_->program;
    core::Environments changed = program.environments();
    core::Settings settings = program.settings();
    if (!Take(changed, settings)) return;
    core::WorkspaceLock lock;
    const int locked = desktop_->workspace.Lock(true, lock);
    // Saving puts the active environment into the settings even where it fails.
    const core::Environments before = program.environments();
    const core::Settings settingsBefore = program.settings();
    program.environments() = std::move(changed);
    if (locked < 0 || program.SaveEnvironments() < 0) {
        program.environments() = before;
        for (const auto& field : core::EnvironmentFields()) {
            const auto setting = core::SettingOfEnvironmentField(field.member);
            if (setting != nullptr) program.settings().*setting = settingsBefore.*setting;
        }
        return;
    }
    program.settings().bank = settings.bank;
    const std::int32_t index = settings.currentHostL;
    hasChangedActiveBank_ = index >= 0 && static_cast<std::size_t>(index) < core::kHostIndexCount &&
                            settings.bank[static_cast<std::size_t>(index)] !=
                                settingsBefore.bank[static_cast<std::size_t>(index)];
    QDialog::accept();
}

}  // namespace postkite::ui
