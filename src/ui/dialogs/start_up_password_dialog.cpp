#include "ui/dialogs/start_up_password_dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "ui/text.h"

namespace postkite::ui {

StartUpPasswordDialog::StartUpPasswordDialog(Desktop& desktop, QWidget* parent)
    : QDialog(parent), desktop_(&desktop), field_(new QLineEdit(this)) {
    setWindowTitle(tr("起動時パスワード"));
    auto* label = new QLabel(tr("起動時パスワードを入力してください(&P)"), this);
    label->setBuddy(field_);
    field_->setEchoMode(QLineEdit::Password);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &StartUpPasswordDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &StartUpPasswordDialog::reject);
    auto* column = new QVBoxLayout(this);
    column->addWidget(label);
    column->addWidget(field_);
    column->addWidget(buttons);
}

bool StartUpPasswordDialog::Ask(Desktop& desktop, QWidget* parent) {
    const core::Settings& settings = desktop.program.settings();
    if (settings.askStartUpPassword == 0 || settings.startUpPassword.empty()) return true;
    StartUpPasswordDialog dialog(desktop, parent);
    return dialog.exec() == QDialog::Accepted;
}

void StartUpPasswordDialog::accept() {
    const auto typed = Typed(field_->text());
    // As they are shown: some characters have two codes, and one of them cannot be typed.
    if (typed && Shown(*typed) == Shown(desktop_->program.settings().startUpPassword))
        return QDialog::accept();
    --triesLeft_;
    desktop_->ui.Tell(tr("パスワードが違います。"), core::MessageIcon::Stop);
    if (triesLeft_ == 0) return reject();
    field_->clear();
    field_->setFocus();
}

}  // namespace postkite::ui
