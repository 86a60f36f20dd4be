#include "ui/folders/folder_properties_dialog.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <filesystem>
#include <utility>

#include "core/error_text.h"
#include "store/folder_tree.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

QString TitleOf(Desktop& desktop, const std::string& folder) {
    const std::size_t separator = folder.rfind(store::kBaseNameSeparator);
    const std::string name = separator == std::string::npos ? folder : folder.substr(separator + 1);
    //: %1: a bank's directory, %2: a folder's name
    return FolderPropertiesDialog::tr("%1\\%2 のプロパティ")
        .arg(Shown(desktop.program.mailbox().bankDirectory()), Shown(name));
}

void TellFault(Desktop& desktop, int error) {
    desktop.ui.Tell(FolderPropertiesDialog::tr("フォルダのプロパティを扱えません。（%1）")
                        .arg(Shown(core::DescribeError(error, desktop.ui.language()))),
                    core::MessageIcon::Stop);
}

QLabel* LabelOf(const QString& text, QWidget* widget) {
    auto* label = new QLabel(text, widget->parentWidget());
    label->setBuddy(widget);
    return label;
}

}  // namespace

bool FolderPropertiesDialog::Show(Desktop& desktop, const std::string& folder, QWidget* parent) {
    if (folder.empty() || desktop.ui.busy()) return false;
    store::FolderProperties properties;
    const int result = store::ReadFolderProperties(desktop.program.mailbox().FilesOf(folder), properties);
    if (result < 0) {
        TellFault(desktop, result);
        return false;
    }
    FolderPropertiesDialog(desktop, folder, properties, parent).exec();
    return true;
}

FolderPropertiesDialog::FolderPropertiesDialog(Desktop& desktop, std::string folder,
                                               const store::FolderProperties& properties, QWidget* parent)
    : QDialog(parent),
      desktop_(&desktop),
      folder_(std::move(folder)),
      sound_(new TextField(store::kLongestPropertyBytes, this)),
      address_(new TextField(store::kLongestPropertyBytes, this)),
      template_(new QPlainTextEdit(this)) {
    setWindowTitle(TitleOf(desktop, folder_));
    sound_->SetBytes(properties.sound);
    address_->SetBytes(properties.defaultAddress);
    ShowTemplate(properties.replyTemplate);

    auto* reset = new QPushButton(tr("初期値に戻す(&R)"), this);
    reset->setAutoDefault(false);
    connect(reset, &QPushButton::clicked, this,
            [this] { template_->setPlainText(ShownLines(store::kDefaultReplyTemplate)); });
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &FolderPropertiesDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QGridLayout(this);
    AddSound(*layout);
    layout->addWidget(LabelOf(tr("追加アドレスの初期値(&A):"), address_), 2, 0, 1, 3);
    layout->addWidget(address_, 3, 0, 1, 3);
    layout->addWidget(LabelOf(tr("返信ヘッダのテンプレート(&T):"), template_), 4, 0, 1, 3);
    layout->addWidget(template_, 5, 0, 1, 3);
    layout->addWidget(reset, 6, 0, 1, 3, Qt::AlignLeft);
    layout->addWidget(buttons, 7, 0, 1, 3);
    layout->setColumnStretch(0, 1);
    layout->setRowStretch(5, 1);
    constexpr int kColumns = 60;
    setMinimumWidth(fontMetrics().horizontalAdvance(QString(kColumns, u'0')));
}

void FolderPropertiesDialog::ShowTemplate(const std::string& replyTemplate) {
    template_->setPlainText(ShownLines(replyTemplate));
    templateText_.Set(replyTemplate, template_->toPlainText());
    template_->setTabChangesFocus(true);
    template_->setLineWrapMode(QPlainTextEdit::NoWrap);
    const QString placeholders =
        tr("%D 日付、%F 差出人の行、%M メッセージ ID、%S 題名、%a アドレス、%n 名前に置き換わります。");
    template_->setToolTip(placeholders);
    template_->setAccessibleDescription(placeholders);
}

void FolderPropertiesDialog::AddSound(QGridLayout& layout) {
    auto* browse = new QPushButton(tr("参照(&B)..."), this);
    auto* play = new QPushButton(tr("再生(&P)"), this);
    for (QPushButton* button : {browse, play})
        button->setAutoDefault(false);
    connect(browse, &QPushButton::clicked, this, &FolderPropertiesDialog::Browse);
    connect(play, &QPushButton::clicked, this, &FolderPropertiesDialog::Play);
    layout.addWidget(LabelOf(tr("サウンドファイル(&S):"), sound_), 0, 0, 1, 3);
    layout.addWidget(sound_, 1, 0);
    layout.addWidget(browse, 1, 1);
    layout.addWidget(play, 1, 2);
    setTabOrder(sound_, browse);
    setTabOrder(browse, play);
    setTabOrder(play, address_);
}

void FolderPropertiesDialog::Browse() {
    const QString root = ShownPath(desktop_->workspace.root().u8string());
    QString from = root;
    std::filesystem::path path;
    const auto typed = Typed(sound_->text());
    if (typed && !typed->empty() && desktop_->workspace.Locate(*typed, path) == 0)
        from = ShownPath(path.u8string());
    const QString picked =
        QFileDialog::getOpenFileName(this, tr("サウンドファイル"), from, tr("Wave File (*.wav *.WAV)"));
    if (!picked.isEmpty()) sound_->setText(PathForSetting(picked, root));
}

void FolderPropertiesDialog::Play() {
    std::string file;
    if (TakeSound(file)) desktop_->ui.PlaySoundFile(file);
}

bool FolderPropertiesDialog::Accepted(const QString& refusal, QWidget& field) {
    if (refusal.isEmpty()) return true;
    desktop_->ui.Tell(refusal, core::MessageIcon::Warning);
    field.setFocus();
    return false;
}

bool FolderPropertiesDialog::TakeSound(std::string& sound) {
    return Accepted(sound_->Take(tr("サウンドファイル"), sound), *sound_);
}

void FolderPropertiesDialog::accept() {
    store::FolderProperties properties;
    if (!TakeSound(properties.sound) ||
        !Accepted(address_->Take(tr("追加アドレスの初期値"), properties.defaultAddress), *address_) ||
        !Accepted(templateText_.Take(template_->toPlainText(), tr("返信ヘッダのテンプレート"),
                                     properties.replyTemplate),
                  *template_))
        return;
    const int result = store::WriteFolderProperties(desktop_->program.mailbox().FilesOf(folder_), properties);
    if (result < 0) {
        TellFault(*desktop_, result);
        return;
    }
    QDialog::accept();
}

}  // namespace postkite::ui
