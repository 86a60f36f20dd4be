#include "ui/dialogs/environment_page.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <algorithm>

#include "ui/text.h"

namespace postkite::ui {

using core::Environment;

namespace {

std::size_t LongestOf(std::string Environment::*member) {
    for (const auto& field : core::EnvironmentFields()) {
        if (field.member == member) return field.longest;
    }
    return 0;
}

/// Selects the item of the value, which is added with `words` where there is none.
int Select(QComboBox& box, const QVariant& value, const QString& words) {
    if (box.findData(value) < 0) box.addItem(words, value);
    box.setCurrentIndex(box.findData(value));
    return box.currentIndex();
}

}  // namespace

EnvironmentPage::EnvironmentPage(const std::vector<std::string>& folders,
                                 const std::vector<QString>& bankDirectories, QWidget* parent)
    : QWidget(parent), bank_(new QComboBox(this)) {
    auto* form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    TextField* name = AddText(*form, tr("環境の名前"), u'N', &Environment::name);
    connect(name, &QLineEdit::textChanged, this, &EnvironmentPage::NameEdited);
    AddText(*form, tr("ユーザー ID"), u'U', &Environment::userId);
    AddText(*form, tr("パスワード"), u'P', &Environment::password)->setEchoMode(QLineEdit::Password);
    AddText(*form, tr("電話番号"), u'T', &Environment::telephone);
    AddChoice(*form, tr("アクセス経路"), u'R', &Environment::route,
              {{"1", tr("1（.00+ を送って接続）")},
               {"2", tr("2（@P を送って接続）")},
               {"3", tr("3（何も送らずに接続）")},
               {"7", tr("7（ROAD7、Login: に応答）")},
               {"4", tr("4（区切りが @ のスクリプト用）")},
               {"5", tr("5（区切りが @ のスクリプト用）")},
               {"0", tr("0（自作のスクリプト用）")},
               {"6", tr("6（自作のスクリプト用）")},
               {"8", tr("8（自作のスクリプト用）")},
               {"9", tr("9（自作のスクリプト用）")}});
    AddEditable(
        *form, tr("通信速度（bit/s）"), u'S', &Environment::speed,
        {QStringLiteral("1200"), QStringLiteral("2400"), QStringLiteral("4800"), QStringLiteral("9600"),
         QStringLiteral("19200"), QStringLiteral("38400"), QStringLiteral("57600")});
    AddChoice(*form, tr("ダイアル方式"), u'D', &Environment::dialling,
              {{"PB", tr("PB（プッシュ回線）")}, {"DP", tr("DP（ダイアル回線）")}});
    AddPresets(
        *form, tr("モデム初期化コマンド"), u'M', &Environment::modem,
        {{"ATQ0V1E1M1", tr("ATQ0V1E1M1（モデム）")}, {"ATQ0V1E0", tr("ATQ0V1E0（モデムエミュレータ）")}});
    AddText(*form, tr("メールの差出人行（From）"), u'F', &Environment::from);
    AddFolder(*form, tr("送信フォルダ"), u'B', &Environment::outbox, folders);
    AddFolder(*form, tr("受信フォルダ"), u'I', &Environment::inbox, folders);
    AddText(*form, tr("フォーラム名"), u'G', &Environment::forum);
    for (std::size_t number = 0; number < bankDirectories.size(); ++number)
        bank_->addItem(tr("バンク %1（%2）").arg(number + 1).arg(bankDirectories[number]),
                       static_cast<int>(number));
    AddRow(*form, tr("使うバンク"), u'K', bank_);
}

void EnvironmentPage::AddRow(QFormLayout& form, const QString& label, QChar key, QWidget* field) {
    auto* widget = new QLabel(WithAccessKey(label, key), this);
    widget->setBuddy(field);
    field->setAccessibleName(label);
    form.addRow(widget, field);
    if (auto* box = qobject_cast<QComboBox*>(field)) {
        // A long name of a directory or folder must not make the dialog wide.
        constexpr int kLetters = 24;
        box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        box->setMinimumContentsLength(kLetters);
    }
}

TextField* EnvironmentPage::AddText(QFormLayout& form, const QString& label, QChar key, Member member) {
    auto* field = new TextField(LongestOf(member), this);
    AddRow(form, label, key, field);
    texts_.push_back({member, label, field});
    return field;
}

QComboBox* EnvironmentPage::AddEditable(QFormLayout& form, const QString& label, QChar key, Member member,
                                        const QStringList& values) {
    auto* box = new QComboBox(this);
    auto* field = new TextField(LongestOf(member), box);
    box->setEditable(true);
    box->setLineEdit(field);
    box->setCompleter(nullptr);
    box->setInsertPolicy(QComboBox::NoInsert);
    box->addItems(values);
    AddRow(form, label, key, box);
    field->setAccessibleName(label);
    texts_.push_back({member, label, field});
    return box;
}

void EnvironmentPage::AddPresets(QFormLayout& form, const QString& label, QChar key, Member member,
                                 const std::vector<std::pair<const char*, QString>>& presets) {
    QComboBox* box = AddEditable(form, label, key, member, {});
    for (const auto& [value, words] : presets)
        box->addItem(words, QString::fromLatin1(value));
    // The words say what it is for; what is taken is the value.
    connect(box, &QComboBox::activated, this,
            [box](int item) { box->setEditText(box->itemData(item).toString()); });
}

void EnvironmentPage::AddFolder(QFormLayout& form, const QString& label, QChar key, Member member,
                                const std::vector<std::string>& folders) {
    QStringList names;
    for (const std::string& folder : folders)
        names.append(Shown(folder));
    AddEditable(form, label, key, member, names);
}

void EnvironmentPage::AddChoice(QFormLayout& form, const QString& label, QChar key, Member member,
                                const std::vector<std::pair<const char*, QString>>& choices) {
    auto* box = new QComboBox(this);
    for (const auto& [value, words] : choices)
        box->addItem(words, QByteArray(value));
    AddRow(form, label, key, box);
    choices_.push_back({member, box});
}

void EnvironmentPage::Show(const Environment& environment, int bank) {
    for (const TextRow& row : texts_)
        row.field->SetBytes(environment.*row.member);
    for (ChoiceRow& row : choices_) {
        const std::string& value = environment.*row.member;
        row.shown =
            Select(*row.box, QByteArray::fromStdString(value), tr("そのほか（%1）").arg(Shown(value)));
    }
    shownBank_ = Select(*bank_, bank, tr("ないバンク（%1）").arg(bank));
}

QString EnvironmentPage::Take(Environment& environment, int& bank, QWidget*& refused) const {
    for (const TextRow& row : texts_) {
        std::string value;
        QString refusal = row.field->Take(row.name, value);
        if (refusal.isEmpty() && row.field->isChanged() && row.member == &Environment::speed &&
            value.find_first_not_of("0123456789") != std::string::npos)
            refusal = tr("「%1」は数字で入力してください。").arg(row.name);
        if (!refusal.isEmpty()) {
            refused = row.field;
            return refusal;
        }
        environment.*row.member = value;
    }
    for (const ChoiceRow& row : choices_) {
        if (row.box->currentIndex() != row.shown)
            environment.*row.member = row.box->currentData().toByteArray().toStdString();
    }
    if (bank_->currentIndex() != shownBank_) bank = bank_->currentData().toInt();
    return {};
}

QString EnvironmentPage::environmentName() const {
    return texts_.front().field->text();
}

}  // namespace postkite::ui
