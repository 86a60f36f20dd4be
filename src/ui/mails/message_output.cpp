#include <QFileDialog>
#include <QPrintDialog>
#include <QPrinter>
#include <QSaveFile>
#include <QStandardPaths>

#include "ui/mails/message_printing.h"
#include "ui/mails/message_text.h"
#include "ui/mails/message_view.h"
#include "ui/text.h"

/// A mail on paper and in a file of its own.
namespace postkite::ui {

void MessageView::Print() {
    if (state_ != State::Mail) return;
    // What is shown may be another mail when the dialog is closed.
    const store::MailRecord mail = mail_;
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(subject());
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() != QDialog::Accepted) return;
    if (!PrintText(printer, WholeText(mail), Shown(mail.subject).trimmed(), font()))
        desktop_->ui.Tell(tr("印刷できませんでした。"), core::MessageIcon::Stop);
}

void MessageView::SaveAsText() {
    if (state_ != State::Mail) return;
    const store::MailRecord mail = mail_;
    const QString shiftJis = tr("シフトJISのテキスト (*.txt)");
    const QString utf8 = tr("UTF-8のテキスト (*.txt)");
    if (directory_.isEmpty())
        directory_ = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    QFileDialog dialog(this, tr("メールの保存"), directory_);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters({shiftJis, utf8});
    dialog.setDefaultSuffix(QStringLiteral("txt"));
    dialog.selectFile(FileNameOf(subject()) + QStringLiteral(".txt"));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return;
    directory_ = dialog.directory().absolutePath();
    const std::string bytes = dialog.selectedNameFilter() == utf8 ? Utf8File(mail) : ShiftJisFile(mail);
    QSaveFile file(dialog.selectedFiles().constFirst());
    const auto size = static_cast<qint64>(bytes.size());
    if (file.open(QIODevice::WriteOnly) && file.write(bytes.data(), size) == size && file.commit()) return;
    desktop_->ui.Tell(tr("ファイルに保存できませんでした。\n%1").arg(file.errorString()),
                      core::MessageIcon::Stop);
}

}  // namespace postkite::ui
