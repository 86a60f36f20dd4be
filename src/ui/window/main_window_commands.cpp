// What the commands of the main window do.

#include <QActionGroup>
#include <QApplication>
#include <QPlainTextEdit>
#include <algorithm>
#include <array>
#include <functional>
#include <utility>

#include "core/shift_jis.h"
#include "organise/rule_table.h"
#include "organise/sorter.h"
#include "store/conversion.h"
#include "store/folder_properties.h"
#include "ui/dialogs/about_dialog.h"
#include "ui/dialogs/environments_dialog.h"
#include "ui/dialogs/rules_dialog.h"
#include "ui/dialogs/settings_dialog.h"
#include "ui/dialogs/shortcuts_dialog.h"
#include "ui/folders/folder_properties_dialog.h"
#include "ui/folders/folder_tree_view.h"
#include "ui/folders/read_conditions_dialog.h"
#include "ui/mails/find_bar.h"
#include "ui/mails/mail_list_view.h"
#include "ui/mails/message_view.h"
#include "ui/mails/message_window.h"
#include "ui/text.h"
#include "ui/window/commands.h"
#include "ui/window/folder_chooser.h"
#include "ui/window/main_window.h"
#include "ui/window/menus.h"
#include "ui/window/monitor_dock.h"
#include "ui/window/session_control.h"
#include "ui/window/status_line.h"
#include "ui/window/tool_bars.h"

namespace postkite::ui {

using namespace core::literals;

namespace {

/// For long work: the cursor that says so.
class WaitCursor {
  public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
};

constexpr int kSmallestFont = 7;
constexpr int kLargestFont = 20;

}  // namespace

void MainWindow::DoWithBank(Command command, const std::function<void()>& work) {
    commands_->Do(command, [this, work] {
        if (desktop_->program.folders().currentBank() >= 0) work();
    });
}

void MainWindow::DoFileCommands() {
    commands_->Do(Command::OpenMail, [this] { OpenInWindow(mails_->current()); });
    commands_->Do(Command::SaveMail, [this] { message_->SaveAsText(); });
    commands_->Do(Command::PrintMail, [this] { message_->Print(); });
    DoWithBank(Command::CompactAll, [this] { CompactAll(); });
    DoWithBank(Command::ConvertAll, [this] { ConvertAll(); });
    commands_->Do(Command::Quit, [this] { close(); });

    commands_->Do(Command::Copy, [this] {
        auto* focused = qobject_cast<QPlainTextEdit*>(QApplication::focusWidget());
        (focused != nullptr ? focused : message_)->copy();
    });
    commands_->Do(Command::SelectAll, [this] {
        if (message_->hasFocus()) {
            message_->selectAll();
        } else {
            mails_->selectAll();
        }
    });
    commands_->Do(Command::FindInList, [this] { findBar_->Open(FindBar::Mode::List); });
    commands_->Do(Command::FindInText, [this] { findBar_->Open(FindBar::Mode::Text); });
    commands_->Do(Command::FindNext, [this] { FindInText(findBar_->text(), false); });
    commands_->Do(Command::FindPrevious, [this] { FindInText(findBar_->text(), true); });
}

void MainWindow::DoViewCommands() {
    core::Settings& settings = desktop_->program.settings();
    commands_->Do(Command::NextUnread, [this] { GoToNextUnread(); });
    commands_->Do(Command::NextPane, [this] { FocusNextPane(); });
    commands_->Do(Command::Refresh, [this] { RefreshAll(); });
    const auto toggle = [this](Command command, std::int32_t& setting) {
        commands_->Do(command, [this, command, &setting] {
            KeepLooks();
            setting = commands_->action(command)->isChecked() ? 1 : 0;
            ApplySettings();
        });
    };
    toggle(Command::ShowFolders, settings.mailBoxWindow);
    toggle(Command::ShowMonitor, settings.monitorWindow);
    toggle(Command::ShowToolBar, settings.toolBarFlag);
    toggle(Command::ShowHeader, settings.displayHeader);
    auto* displays = new QActionGroup(this);
    int titleTree = 0;
    for (const Command command : {Command::ListPlain, Command::ListTitleTree, Command::ListThreads}) {
        displays->addAction(commands_->action(command));
        commands_->Do(command, [this, titleTree] { SetListDisplay(titleTree); });
        ++titleTree;
    }
    const std::pair<Command, MailSortKey> orders[] = {
        {Command::SortByNumber, MailSortKey::Number}, {Command::SortByDate, MailSortKey::Date},
        {Command::SortByName, MailSortKey::Name},     {Command::SortBySubject, MailSortKey::Subject},
        {Command::SortBySize, MailSortKey::Size},
    };
    for (const auto& [command, key] : orders)
        commands_->Do(command, [this, key = key] { mails_->CycleSort(key); });
    commands_->Do(Command::LargerFont, [this] { ChangeFontSize(1); });
    commands_->Do(Command::SmallerFont, [this] { ChangeFontSize(-1); });
}

void MainWindow::DoFolderCommands() {
    DoWithBank(Command::NewFolder, [this] { folders_->NewFolder(); });
    DoWithBank(Command::RenameFolder, [this] { folders_->RenameSelected(); });
    DoWithBank(Command::DeleteFolder, [this] { folders_->DeleteSelected(); });
    DoWithBank(Command::ResetFolders, [this] { folders_->ResetTree(); });
    DoWithBank(Command::MoveFolder, [this] { MoveSelectedFolder(); });
    DoWithBank(Command::FolderProperties,
               [this] { FolderPropertiesDialog::Show(*desktop_, folders_->current(), this); });
    DoWithBank(Command::ReadCondition, [this] {
        ReadConditionsDialog::Show(*desktop_, folders_->current(), this);
        RefreshLater();
    });
}

void MainWindow::DoMailCommands() {
    commands_->Do(Command::MarkRead, [this] { mails_->MarkRead(true); });
    commands_->Do(Command::MarkUnread, [this] { mails_->MarkRead(false); });
    commands_->Do(Command::MarkReplied, [this] { mails_->MarkReplied(true); });
    commands_->Do(Command::MarkNotReplied, [this] { mails_->MarkReplied(false); });
    commands_->Do(Command::Reserve, [this] { mails_->Reserve(true); });
    commands_->Do(Command::Unreserve, [this] { mails_->Reserve(false); });
    commands_->Do(Command::MoveMails, [this] { MoveSelectedMails(); });
    commands_->Do(Command::MoveToTrash, [this] {
        const WaitCursor cursor;
        mails_->MoveToTrash();
    });
    commands_->Do(Command::DeleteMails, [this] { mails_->DeleteForGood(); });

    DoWithBank(Command::SortDisplayed, [this] { SortDisplayed(); });
    DoWithBank(Command::SortInbox, [this] { SortInbox(); });
    commands_->Do(Command::SortSelected, [this] {
        {
            const WaitCursor cursor;
            mails_->SortByRules();
        }
        RefreshLater();
    });
}

void MainWindow::DoSessionCommands() {
    DoWithBank(Command::SendAndReceive, [this] { session_->SendAndReceive(); });
    DoWithBank(Command::ReceiveOnly, [this] { session_->ReceiveOnly(); });
    DoWithBank(Command::CallPracticeHost, [this] { session_->CallPracticeHost(); });
    commands_->Do(Command::Disconnect, [this] { session_->Disconnect(); });
}

void MainWindow::DoSettingCommands() {
    commands_->Do(Command::EditSettings, [this] { EditSettings(); });
    commands_->Do(Command::EditEnvironments, [this] { EditEnvironments(); });
    commands_->Do(Command::EditRules, [this] {
        if (RulesDialog::Edit(*desktop_, mails_->folder(), this)) menus_->Refresh();
    });
    commands_->Do(Command::ShowShortcuts, [this] { ShortcutsDialog(commands_->Keys(), this).exec(); });
    commands_->Do(Command::ShowAbout, [this] { AboutDialog(this).exec(); });
}

void MainWindow::ShowMail(int recordNumber) {
    message_->ShowMail(mails_->folder(), recordNumber);
    if (recordNumber >= 0 && !openingFolder_) mails_->MarkShown(recordNumber);
}

void MainWindow::OpenInWindow(int recordNumber) {
    if (recordNumber < 0) return;
    auto* window = new MessageWindow(*desktop_, this);
    // A press of the space bar there has the next unread mail shown in the same window.
    connect(window, &MessageWindow::NextUnreadAsked, this, [this, window] {
        GoToNextUnread();
        if (mails_->current() >= 0) window->ShowMail(mails_->folder(), mails_->current());
    });
    window->ShowMail(mails_->folder(), recordNumber);
    window->show();
    mails_->MarkShown(recordNumber);
}

void MainWindow::GoToNextUnread() {
    const int next = mails_->nextUnread();
    if (next >= 0) mails_->Choose(next);
}

void MainWindow::FindInText(const QString& text, bool backward) {
    if (text.isEmpty()) {
        findBar_->Open(FindBar::Mode::Text);
        return;
    }
    findBar_->ShowFound(message_->FindNext(text, backward));
}

void MainWindow::FocusNextPane() {
    const std::array<QWidget*, 4> panes{folders_, mails_, message_, monitor_->widget()};
    const auto focused =
        std::find_if(panes.begin(), panes.end(), [](QWidget* pane) { return pane->hasFocus(); });
    auto next = focused == panes.end() ? panes.size() - 1 : static_cast<std::size_t>(focused - panes.begin());
    for (std::size_t tried = 0; tried < panes.size(); ++tried) {
        next = (next + 1) % panes.size();
        if (!panes[next]->isVisible()) continue;
        panes[next]->setFocus(Qt::ShortcutFocusReason);
        return;
    }
}

void MainWindow::SetListDisplay(int titleTree) {
    KeepLooks();
    desktop_->program.settings().titleTree = titleTree;
    ApplySettings();
}

void MainWindow::ChangeFontSize(int step) {
    KeepLooks();
    std::int32_t& size = desktop_->program.settings().fontSize;
    const int height = size == 0 ? mails_->fontInfo().pixelSize() : -size;
    size = -std::clamp(height + step, kSmallestFont, kLargestFont);
    ApplySettings();
}

void MainWindow::MoveMailsTo(const std::string& folder, const std::vector<int>& recordNumbers,
                             const std::string& target) {
    if (commands_->Forbidden(DuringSession::Allowed)) return;
    // Another program may have changed the folder while they were dragged: the numbers are then those of other mails.
    if (folder == mails_->folder() && recordNumbers == mails_->selected()) {
        const WaitCursor cursor;
        mails_->MoveTo(target);
    }
    RefreshAll();
}

void MainWindow::MoveSelectedMails() {
    const std::vector<std::string> chosen = mails_->selectedIds();
    if (chosen.empty()) return;
    const auto target = FolderChooser(*desktop_, tr("フォルダへ移動"), this).Ask();
    if (!target) return;
    // The selection stays with its mails as long as they are there; then it goes to their neighbours.
    if (mails_->selectedIds() == chosen) {
        MoveMailsTo(mails_->folder(), mails_->selected(), *target);
    } else {
        desktop_->ui.Tell(tr("フォルダの内容が変わったため、移動しませんでした。"));
    }
}

void MainWindow::MoveSelectedFolder() {
    if (folders_->current().empty()) return;
    const auto target = FolderChooser(*desktop_, tr("フォルダの移動"), this).Ask();
    if (target) folders_->MoveSelectedTo(*target);
}

void MainWindow::CompactAll() {
    {
        const WaitCursor cursor;
        static_cast<void>(desktop_->program.folders().CompactAllFolders());
    }
    RefreshAll();
}

void MainWindow::ConvertAll() {
    store::Mailbox& mailbox = desktop_->program.mailbox();
    // One that cannot or is not to be converted stays as it is, and the engine has said why.
    const int failed = desktop_->program.folders().ForEachFolder(
        [&mailbox](const std::string&, const std::string& baseName) {
            return store::ConvertFolder(mailbox, baseName);
        });
    if (failed == 0) status_->ShowText(tr("旧形式のメールボックスはありません。"));
    RefreshAll();
}

void MainWindow::SortDisplayed() {
    app::Program& program = desktop_->program;
    organise::RuleTable rules;
    if (rules.LoadRules(program.folders(), program.settings(), organise::kEnabledRules) < 0) return;
    {
        const WaitCursor cursor;
        organise::Sorter sorter(program.settings(), program.folders(), program.mailbox(), desktop_->ui);
        static_cast<void>(sorter.SortFolder(mails_->folder(), rules, desktop_->editing()));
    }
    RefreshAll();
}

void MainWindow::SortInbox() {
    app::Program& program = desktop_->program;
    {
        const WaitCursor cursor;
        organise::Sorter sorter(program.settings(), program.folders(), program.mailbox(), desktop_->ui);
        static_cast<void>(sorter.SortInbox(program.Inbox(), desktop_->editing()));
    }
    RefreshAll();
}

void MainWindow::SortByRule(int number) {
    if (commands_->Forbidden(DuringSession::Allowed) || desktop_->program.folders().currentBank() < 0) return;
    app::Program& program = desktop_->program;
    organise::RuleTable rules;
    if (rules.LoadSingleRule(program.folders(), program.settings(), number) < 0) {
        status_->ShowText(tr("この振り分けは実行できません。設定と移動先のフォルダを確かめてください。"));
        return;
    }
    {
        const WaitCursor cursor;
        organise::Sorter sorter(program.settings(), program.folders(), program.mailbox(), desktop_->ui);
        static_cast<void>(sorter.SortFolder(mails_->folder(), rules, desktop_->editing()));
    }
    RefreshAll();
}

void MainWindow::SwitchEnvironment(int number) {
    if (commands_->Forbidden(DuringSession::Allowed)) return;
    const int bank = desktop_->program.folders().currentBank();
    // Refusals are the engine's; the choosers go back to what is so.
    static_cast<void>(desktop_->program.SwitchEnvironment(number));
    if (desktop_->program.folders().currentBank() != bank) ShowBank();
    RefreshAll();
}

void MainWindow::SwitchBank(int number) {
    if (commands_->Forbidden(DuringSession::Allowed)) return;
    const int bank = desktop_->program.folders().currentBank();
    if (bank >= 0) {
        folders_->KeepExpanded();
        static_cast<void>(desktop_->program.folders().SaveFolderTree());
    }
    static_cast<void>(desktop_->program.SwitchBank(number));
    if (desktop_->program.folders().currentBank() != bank) ShowBank();
    RefreshAll();
}

void MainWindow::EditSettings() {
    KeepLooks();
    SettingsDialog dialog(*desktop_, this);
    if (dialog.exec() != QDialog::Accepted) return;
    ApplySettings();
    if (dialog.hasMovedOpenBank()) {
        static_cast<void>(desktop_->program.SwitchBank(desktop_->program.folders().currentBank()));
        ShowBank();
    }
    RefreshAll();
}

void MainWindow::EditEnvironments() {
    EnvironmentsDialog dialog(*desktop_, this);
    if (dialog.exec() != QDialog::Accepted) return;
    if (dialog.hasChangedActiveBank()) {
        SwitchEnvironment(desktop_->program.settings().currentId);
    } else {
        RefreshAll();
    }
}

void MainWindow::ShowUpload() {
    const app::Sessions::Upload upload = desktop_->program.sessions().upload();
    if (upload.totalBytes > 0) status_->ShowProgress(upload.sentBytes, upload.totalBytes);
}

void MainWindow::SessionHasEnded() {
    app::Program& program = desktop_->program;
    const app::Sessions::Yield& yield = program.sessions().yield();
    status_->ShowProgress(0, 0);
    RefreshAll();
    // In an unattended program nobody would close it.
    if (program.settings().autoMode == 1 && program.settings().autoQuit != 0) {
        End();
        return;
    }
    if (yield.mails + yield.messages == 0) return;
    std::string sound;
    const std::string& folder = program.mailbox().lastWrittenFolder();
    if (store::ReadFolderSound(program.mailbox().FilesOf(folder), sound) == 0)
        desktop_->ui.PlaySoundFile(sound);
    if (program.settings().receivePopup == 0) return;
    QApplication::alert(this);
    setWindowState(windowState() & ~Qt::WindowMinimized);
    raise();
}

}  // namespace postkite::ui
