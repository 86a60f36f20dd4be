#include "ui/dialogs/rule_trial_dialog.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "store/folder_reader.h"
#include "ui/dialogs/dialog_sizes.h"
#include "ui/text.h"

namespace postkite::ui {

RuleTrialDialog::RuleTrialDialog(Desktop& desktop, std::string_view folder, const organise::RuleTable& rules,
                                 const std::vector<organise::SortedMail>& plan, QWidget* parent)
    : QDialog(parent), list_(new QTreeWidget(this)) {
    setWindowTitle(tr("振り分けを試す"));
    const int count = static_cast<int>(plan.size());
    QString words = count == 0 ? tr("%1 フォルダには、規則に合うメールがありません。").arg(Shown(folder))
                               : tr("%1 フォルダの %2 通のメールが規則に合います。まだ何も移動していません。")
                                     .arg(Shown(folder), QString::number(count));
    if (count > kMostRows) words += u'\n' + tr("最初の %1 通を表示しています。").arg(kMostRows);
    auto* label = new QLabel(words, this);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    list_->setHeaderLabels({tr("題名"), tr("差出人・宛先"), tr("日付"), tr("振り分け名"), tr("移動先")});
    list_->setAccessibleName(tr("移動するメール"));
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->setAlternatingRowColors(true);
    Fill(desktop, folder, rules, plan);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* column = new QVBoxLayout(this);
    column->addWidget(label);
    column->addWidget(list_);
    column->addWidget(buttons);
    ResizeToLetters(*this, 110, 24);
    ShareColumns(*list_->header(), width() - LettersWidth(*this, 6), {34, 18, 16, 16, 16});
    constexpr int kDate = 2;
    list_->header()->setSectionResizeMode(kDate, QHeaderView::ResizeToContents);
}

void RuleTrialDialog::Fill(Desktop& desktop, std::string_view folder, const organise::RuleTable& rules,
                           const std::vector<organise::SortedMail>& plan) {
    using namespace store::index_field;
    store::FolderReader reader;
    if (reader.Open(desktop.program.mailbox().FilesOf(folder)) < 0) return;
    for (const organise::SortedMail& mail : plan) {
        if (list_->topLevelItemCount() == kMostRows) break;
        const std::string_view row = reader.IndexRecord(mail.recordNumber);
        if (row.empty()) continue;
        const auto field = [row](store::IndexField which) {
            return Shown(store::WithoutTrailingBlanks(store::FieldOf(row, which)));
        };
        const organise::SortingRule& rule = rules.rules()[static_cast<std::size_t>(mail.rule)].rule;
        const QString name = field(kName);
        new QTreeWidgetItem(list_, {field(kSubject), name.isEmpty() ? field(kAddress) : name, field(kDate),
                                    Shown(rule.name), Shown(rule.folder)});
    }
    if (list_->topLevelItemCount() > 0) list_->setCurrentItem(list_->topLevelItem(0));
}

}  // namespace postkite::ui
