#include "ui/dialogs/rule_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>

#include "ui/dialogs/dialog_sizes.h"
#include "ui/dialogs/folder_choice.h"
#include "ui/dialogs/text_field.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

QByteArray DataOf(std::string_view bytes) {
    return QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

/// Selects the item of the value, which is added with `words` where there is none.
void Select(QComboBox& box, const QByteArray& value, const QString& words) {
    if (box.findData(value) < 0) box.addItem(words, value);
    box.setCurrentIndex(box.findData(value));
}

}  // namespace

RuleDialog::RuleDialog(Desktop& desktop, std::string_view folder, const organise::SortingRule& rule,
                       QWidget* parent)
    : QDialog(parent),
      desktop_(&desktop),
      rule_(rule),
      name_(new TextField(organise::kLongestRulePart, this)),
      field_(new QComboBox(this)),
      text_(new TextField(organise::kLongestRulePart, this)),
      folder_(new QComboBox(this)),
      enabled_(new QCheckBox(tr("有効(&V)"), this)),
      automatic_(new QCheckBox(tr("自動(&A)"), this)) {
    setWindowTitle(tr("%1 フォルダの振り分け設定").arg(Shown(folder)));
    auto* form = new QFormLayout(this);
    form->addRow(tr("振り分け名(&N)"), name_);
    form->addRow(tr("調べる項目(&I)"), field_);
    form->addRow(tr("含まれる文字列(&S)"), text_);
    form->addRow(tr("移動先のフォルダ(&F)"), folder_);
    form->addRow(QString(), enabled_);
    form->addRow(QString(), automatic_);
    constexpr int kLetters = 40;
    name_->setMinimumWidth(LettersWidth(*this, kLetters));
    folder_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    folder_->setMinimumContentsLength(kLetters / 2);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &RuleDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &RuleDialog::reject);
    ShowRule();
}

void RuleDialog::ShowRule() {
    name_->SetBytes(rule_.name);
    text_->SetBytes(rule_.text);
    enabled_->setChecked(rule_.enabled);
    automatic_->setChecked(rule_.automatic);
    for (const std::string_view field : organise::kRuleFields)
        field_->addItem(Shown(field), DataOf(field));
    const auto known = organise::RuleFieldOf(rule_.field);
    Select(*field_, DataOf(known.value_or(rule_.field)), tr("%1（使えない項目）").arg(Shown(rule_.field)));
    OfferFolders();
}

void RuleDialog::OfferFolders() {
    store::Folders& folders = desktop_->program.folders();
    for (const std::string& folder : FolderChoice(folders)) {
        if (folder.size() <= organise::kLongestRulePart) folder_->addItem(Shown(folder), DataOf(folder));
    }
    if (rule_.folder.empty()) {
        folder_->setCurrentIndex(-1);
        return;
    }
    const store::Folder* target = folders.tree().Find(rule_.folder);
    const bool isThere = target != nullptr && target->parent != nullptr;
    Select(*folder_, DataOf(isThere ? store::BaseNameOf(*target) : rule_.folder),
           tr("%1（フォルダがありません）").arg(Shown(rule_.folder)));
}

void RuleDialog::Refuse(QWidget& field, const QString& why) {
    field.setFocus();
    desktop_->ui.Tell(why, core::MessageIcon::Warning);
}

bool RuleDialog::TakeText(TextField& field, const QString& name, std::string& text) {
    QString refusal = field.Take(name, text);
    if (refusal.isEmpty() && text.empty()) refusal = tr("「%1」を入力してください。").arg(name);
    if (refusal.isEmpty()) return true;
    Refuse(field, refusal);
    return false;
}

void RuleDialog::accept() {
    organise::SortingRule rule = rule_;
    if (!TakeText(*name_, tr("振り分け名"), rule.name)) return;
    if (!TakeText(*text_, tr("含まれる文字列"), rule.text)) return;
    if (folder_->currentIndex() < 0) return Refuse(*folder_, tr("移動先のフォルダを選んでください。"));
    rule.field = field_->currentData().toByteArray().toStdString();
    rule.folder = folder_->currentData().toByteArray().toStdString();
    rule.enabled = enabled_->isChecked();
    rule.automatic = automatic_->isChecked();
    rule_ = rule;
    QDialog::accept();
}

}  // namespace postkite::ui
