#include "ui/folders/folder_properties_dialog.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <filesystem>
#include <utility>

#include "core/error_text.h"
#include "core/positional_file.h"
#include "store/folder_tree.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

constexpr int kLongest = static_cast<int>(store::kLongestPropertyBytes);

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

/// A path of the system as the program names it: from the working directory on where it lies in there.
QString NameOfPath(const QString& path, const QString& workingDirectory) {
    const QString name = QDir(workingDirectory).relativeFilePath(path);
    if (name.startsWith(QStringLiteral("..")) || QDir::isAbsolutePath(name)) return path;
    return QString(name).replace(u'/', u'\\');
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
      sound_(new QLineEdit(this)),
      address_(new QLineEdit(this)),
      template_(new QPlainTextEdit(this)) {
    setWindowTitle(TitleOf(desktop, folder_));
    sound_->setText(Shown(properties.sound));
    address_->setText(Shown(properties.defaultAddress));
    for (QLineEdit* field : {sound_, address_}) {
        field->setMaxLength(kLongest);
        field->setCursorPosition(0);
    }
    template_->setPlainText(ShownLines(properties.replyTemplate));
    template_->setTabChangesFocus(true);
    template_->setLineWrapMode(QPlainTextEdit::NoWrap);
    const QString placeholders =
        tr("%D 日付、%F 差出人の行、%M メッセージ ID、%S 題名、%a アドレス、%n 名前に置き換わります。");
    template_->setToolTip(placeholders);
    template_->setAccessibleDescription(placeholders);
    // As the widgets have them: they may have cut or changed what they were given.
    soundText_ = {tr("サウンドファイル"), sound_, properties.sound, sound_->text()};
    addressText_ = {tr("追加アドレスの初期値"), address_, properties.defaultAddress, address_->text()};
    templateText_ = {tr("返信ヘッダのテンプレート"), template_, properties.replyTemplate,
                     template_->toPlainText()};

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
    if (!picked.isEmpty()) sound_->setText(NameOfPath(picked, root));
}

void FolderPropertiesDialog::Play() {
    std::string file;
    if (Take(soundText_, sound_->text(), file)) desktop_->ui.PlaySoundFile(file);
}

bool FolderPropertiesDialog::Take(const Text& text, const QString& typed, std::string& bytes) {
    if (typed == text.shown) {
        bytes = text.bytes;
        return true;
    }
    QString refused;
    const auto taken = Typed(typed, &refused);
    QString why;
    if (!taken) {
        why = tr("「%1」には文字「%2」を使えません。").arg(text.label, refused);
    } else if (taken->size() > store::kLongestPropertyBytes) {
        why = tr("「%1」は %2 バイトまでです。（全角文字は 2 バイト）")
                  .arg(text.label, QString::number(kLongest));
    } else if (taken->find('\0') != std::string::npos ||
               (text.widget != template_ && !core::FitsInLine(*taken))) {
        why = tr("「%1」には改行などの制御文字を使えません。").arg(text.label);
    }
    if (why.isEmpty()) {
        bytes = *taken;
        return true;
    }
    desktop_->ui.Tell(why, core::MessageIcon::Warning);
    text.widget->setFocus();
    return false;
}

void FolderPropertiesDialog::accept() {
    store::FolderProperties properties;
    if (!Take(soundText_, sound_->text(), properties.sound) ||
        !Take(addressText_, address_->text(), properties.defaultAddress) ||
        !Take(templateText_, template_->toPlainText(), properties.replyTemplate))
        return;
    const int result = store::WriteFolderProperties(desktop_->program.mailbox().FilesOf(folder_), properties);
    if (result < 0) {
        TellFault(*desktop_, result);
        return;
    }
    QDialog::accept();
}

}  // namespace postkite::ui
