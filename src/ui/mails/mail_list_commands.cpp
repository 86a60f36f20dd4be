#include <QTimer>
#include <cerrno>

#include "core/letter_case.h"
#include "organise/sorter.h"
#include "store/conversion.h"
#include "ui/mails/mail_list_model.h"
#include "ui/mails/mail_list_view.h"

/// What people do with the selected mails.
namespace postkite::ui {

namespace {

constexpr int kTryAgainMilliseconds = 100;

}  // namespace

std::vector<std::string> MailListView::selectedIds() const {
    std::vector<std::string> ids;
    for (const int number : selected())
        ids.push_back(model_->IdOf(number));
    return ids;
}

bool MailListView::CanBegin(Chosen& chosen) const {
    if (desktop_->ui.busy() || folder().empty()) return false;
    chosen.folder = folder();
    chosen.mails = mailCount();
    chosen.numbers = selected();
    chosen.ids = selectedIds();
    return !chosen.numbers.empty();
}

bool MailListView::LockAsShown(const Chosen& chosen, core::WorkspaceLock& lock) {
    const int locked = desktop_->workspace.Lock(true, lock);
    if (locked < 0) {
        desktop_->program.mailbox().ReportFault(folder(), locked);
        return false;
    }
    const bool isAsShown =
        folder() == chosen.folder && model_->Holds(chosen.mails, chosen.numbers, chosen.ids);
    model_->Close();
    if (isAsShown) return true;
    lock = {};
    Refresh();
    desktop_->ui.Tell(tr("フォルダの内容が変わったため、一覧を更新しました。もう一度選択してください。"));
    return false;
}

void MailListView::AfterChange() {
    Refresh();
    emit FolderChanged(folder());
}

void MailListView::Mark(const Chosen& chosen, std::size_t position, char character) {
    core::WorkspaceLock lock;
    if (!LockAsShown(chosen, lock)) return;
    int refused = 0;
    const int marked = desktop_->program.mailbox().MarkMany(folder(), [&](store::FolderMarker& marker) {
        for (const int number : chosen.numbers) {
            const int result = marker.SetFlag(number, position, character);
            if (result < 0 && result != -EINVAL) return result;
            if (result < 0) ++refused;
        }
        return 0;
    });
    lock = {};
    model_->ReadAnew();
    if (marked < 0) Refresh();
    emit FolderChanged(folder());
    if (refused > 0)
        desktop_->ui.Tell(tr("%L1 通のメールは壊れているため、印を付けられませんでした。").arg(refused));
}

void MailListView::MarkSelected(std::size_t position, char character) {
    Chosen chosen;
    if (CanBegin(chosen)) Mark(chosen, position, character);
}

void MailListView::MarkRead(bool read) {
    MarkSelected(store::flag::kRead, read ? 'R' : 'r');
}

void MailListView::MarkShown(int recordNumber) {
    if (desktop_->ui.busy() || !model_->IsUnread(recordNumber)) return;
    core::WorkspaceLock lock;
    const int locked = desktop_->workspace.Lock(false, lock);
    // Whoever only reads is not kept waiting while another program works.
    if (locked == -EWOULDBLOCK) {
        QTimer::singleShot(kTryAgainMilliseconds, this, [this, recordNumber, shown = folder()] {
            if (folder() == shown && current() == recordNumber) MarkShown(recordNumber);
        });
    }
    if (locked < 0) return;
    const bool isAsShown = model_->Holds(mailCount(), {recordNumber}, {model_->IdOf(recordNumber)});
    model_->Close();
    if (!isAsShown) return;
    // A damaged mail cannot be marked, and stays unread.
    static_cast<void>(desktop_->program.mailbox().MarkMany(folder(), [&](store::FolderMarker& marker) {
        const int result = marker.SetFlag(recordNumber, store::flag::kRead, 'R');
        return result == -EINVAL ? 0 : result;
    }));
    model_->ReadAnew();
    emit FolderChanged(folder());
}

void MailListView::MarkReplied(bool replied) {
    MarkSelected(store::flag::kReply, replied ? 'R' : 'r');
}

void MailListView::Reserve(bool reserved) {
    Chosen all;
    if (!CanBegin(all)) return;
    Chosen written{all.folder, all.mails, {}, {}};
    for (std::size_t at = 0; at < all.numbers.size(); ++at) {
        if (!model_->IsWrittenHere(all.numbers[at])) continue;
        written.numbers.push_back(all.numbers[at]);
        written.ids.push_back(all.ids[at]);
    }
    const std::size_t left = all.numbers.size() - written.numbers.size();
    if (!written.numbers.empty()) Mark(written, store::flag::kPosition8, reserved ? 'Y' : 'y');
    if (left > 0)
        desktop_->ui.Tell(tr("送信予約は作成したメールだけにできます。%L1 通はそのままです。").arg(left));
}

void MailListView::MoveToTrash() {
    if (core::EqualIgnoringCase(folder(), store::kTrash)) {
        DeleteForGood();
    } else {
        MoveTo(std::string(store::kTrash));
    }
}

void MailListView::MoveTo(const std::string& target) {
    Chosen chosen;
    if (core::EqualIgnoringCase(folder(), target) || !CanBegin(chosen)) return;
    // May ask, and nobody is kept waiting for the answer.
    model_->Close();
    if (store::ConvertFolder(desktop_->program.mailbox(), target) < 0) return;
    core::WorkspaceLock lock;
    if (!LockAsShown(chosen, lock)) return;
    store::Folders& folders = desktop_->program.folders();
    const bool toTrash = core::EqualIgnoringCase(target, store::kTrash);
    // Why mails stay has been told.
    static_cast<void>(toTrash ? folders.MoveMailsToTrash(chosen.folder, chosen.numbers)
                              : folders.MoveMails(chosen.folder, chosen.numbers, target));
    lock = {};
    AfterChange();
    emit FolderChanged(target);
}

void MailListView::DeleteForGood() {
    Chosen chosen;
    if (!CanBegin(chosen) || !desktop_->ui.Ask(tr("選択したメールを削除してもよろしいですか？"))) return;
    core::WorkspaceLock lock;
    if (!LockAsShown(chosen, lock)) return;
    // Why mails stay has been told.
    static_cast<void>(desktop_->program.folders().DeleteMails(chosen.folder, chosen.numbers));
    lock = {};
    AfterChange();
}

void MailListView::SortByRules() {
    Chosen chosen;
    core::WorkspaceLock lock;
    if (!CanBegin(chosen) || !LockAsShown(chosen, lock)) return;
    // It may ask.
    lock = {};
    app::Program& program = desktop_->program;
    organise::Sorter sorter(program.settings(), program.folders(), program.mailbox(), desktop_->ui);
    static_cast<void>(sorter.SortSelected(chosen.folder, chosen.numbers, desktop_->editing()));
    AfterChange();
}

}  // namespace postkite::ui
