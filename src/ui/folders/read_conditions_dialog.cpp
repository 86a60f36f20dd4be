#include "ui/folders/read_conditions_dialog.h"

#include <QDialogButtonBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QVBoxLayout>
#include <utility>

#include "core/error_text.h"
#include "store/folder_tree.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

struct Choice {
    std::string_view condition;
    const char* text;
};
constexpr std::array<Choice, 3> kChoices{{
    {analyse::kNotRead, QT_TRANSLATE_NOOP("postkite::ui::ReadConditionsDialog", "読み込まない(&N)")},
    {analyse::kRead, QT_TRANSLATE_NOOP("postkite::ui::ReadConditionsDialog", "通信のたびに読み込む(&E)")},
    {analyse::kPerDay, QT_TRANSLATE_NOOP("postkite::ui::ReadConditionsDialog", "1 日 1 回読み込む(&P)")},
}};

/// The folder's name up to its first blank, as the tree's images take it.
std::string PlaceOf(const std::string& folder) {
    const std::size_t separator = folder.rfind(store::kBaseNameSeparator);
    const std::string name = separator == std::string::npos ? folder : folder.substr(separator + 1);
    return name.substr(0, name.find(' '));
}

void TellFault(Desktop& desktop, const std::string& place, int error) {
    desktop.ui.Tell(ReadConditionsDialog::tr("%1 の読み込み条件を扱えません。（%2）")
                        .arg(Shown(place), Shown(core::DescribeError(error, desktop.ui.language()))),
                    core::MessageIcon::Stop);
}

QString Introduction(const analyse::ForumPlace& place, const QString& name) {
    if (place.library) {
        return ReadConditionsDialog::tr(
                   "%1 ライブラリの読み込み条件の設定\n\n最終アクセス日で指定された日以降に"
                   "アップロードされたライブラリデータ一覧を読み込みます。")
            .arg(name);
    }
    return ReadConditionsDialog::tr(
               "%1 会議室の読み込み条件の設定\n\n最終アクセス日で指定された日より今日の日付が"
               "新しい時に会議室の未読発言を読み込みます。")
        .arg(name);
}

}  // namespace

bool ReadConditionsDialog::IsFor(const std::string& folder) {
    analyse::ForumPlace place;
    return analyse::ParseForumPlace(PlaceOf(folder), place);
}

bool ReadConditionsDialog::Show(Desktop& desktop, const std::string& folder, QWidget* parent) {
    if (folder.empty() || desktop.ui.busy()) return false;
    const std::string place = PlaceOf(folder);
    if (!IsFor(folder)) {
        desktop.ui.Tell(tr("%1 は会議室でもライブラリでもありません。").arg(Shown(place)));
        return false;
    }
    analyse::ReadCondition condition;
    int result = analyse::ReadReadCondition(desktop.workspace, place, condition);
    if (result == 0 && !condition.hasFile) {
        condition.lastAccess = analyse::kFirstAccessDate;
        result = analyse::CreateReadCondition(desktop.workspace, place);
    }
    if (result < 0) {
        TellFault(desktop, place, result);
        return false;
    }
    return ReadConditionsDialog(desktop, place, condition, parent).exec() == Accepted;
}

ReadConditionsDialog::ReadConditionsDialog(Desktop& desktop, std::string place,
                                           const analyse::ReadCondition& condition, QWidget* parent)
    : QDialog(parent), desktop_(&desktop), place_(std::move(place)), date_(new QLineEdit(this)) {
    setWindowTitle(tr("読み込み条件の設定"));
    analyse::ForumPlace forum;
    static_cast<void>(analyse::ParseForumPlace(place_, forum));
    auto* introduction = new QLabel(this);
    introduction->setTextFormat(Qt::PlainText);
    introduction->setText(Introduction(forum, Shown(place_)));
    introduction->setWordWrap(true);

    auto* conditions = new QGroupBox(tr("読み込み条件"), this);
    auto* choiceLayout = new QVBoxLayout(conditions);
    for (std::size_t number = 0; number < kChoices.size(); ++number) {
        choices_[number] = new QRadioButton(tr(kChoices[number].text), conditions);
        choiceLayout->addWidget(choices_[number]);
        if (condition.condition == kChoices[number].condition) choices_[number]->setChecked(true);
    }
    // Whatever else a file says is shown as the tree shows it.
    if (!choices_[0]->isChecked() && !choices_[1]->isChecked()) choices_[2]->setChecked(true);

    date_->setText(Shown(condition.lastAccess));
    auto* label = new QLabel(tr("最終アクセス日(&D)（年/月/日）:"), this);
    label->setBuddy(date_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &ReadConditionsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    setTabOrder(choices_.back(), date_);
    setTabOrder(date_, buttons);
    auto* dateLayout = new QHBoxLayout;
    dateLayout->addWidget(label);
    dateLayout->addWidget(date_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(introduction);
    layout->addWidget(conditions);
    layout->addLayout(dateLayout);
    layout->addStretch();
    layout->addWidget(buttons);
    for (QRadioButton* choice : choices_) {
        if (choice->isChecked()) choice->setFocus();
    }
    constexpr int kColumns = 56;
    setMinimumWidth(fontMetrics().horizontalAdvance(QString(kColumns, u'0')));
}

void ReadConditionsDialog::accept() {
    const std::string date = Typed(date_->text()).value_or(std::string());
    if (!analyse::IsAccessDate(date)) {
        desktop_->ui.Tell(ShownLines(analyse::WrongAccessDateText()));
        date_->setFocus();
        date_->selectAll();
        return;
    }
    analyse::ReadCondition condition;
    for (std::size_t number = 0; number < kChoices.size(); ++number) {
        if (choices_[number]->isChecked()) condition.condition = kChoices[number].condition;
    }
    condition.lastAccess = date;
    const int result = analyse::WriteReadCondition(desktop_->workspace, place_, condition);
    if (result < 0) {
        TellFault(*desktop_, place_, result);
        return;
    }
    QDialog::accept();
}

}  // namespace postkite::ui
