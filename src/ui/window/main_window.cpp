#include "ui/window/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QSplitter>
#include <QVBoxLayout>
#include <algorithm>

#include "comm/capture_logs.h"
#include "ui/folders/folder_tree_view.h"
#include "ui/folders/read_conditions_dialog.h"
#include "ui/icons/palette_icon.h"
#include "ui/mails/find_bar.h"
#include "ui/mails/mail_list_view.h"
#include "ui/mails/message_view.h"
#include "ui/mails/message_window.h"
#include "ui/text.h"
#include "ui/window/closing_keys.h"
#include "ui/window/commands.h"
#include "ui/window/menus.h"
#include "ui/window/monitor_dock.h"
#include "ui/window/session_control.h"
#include "ui/window/status_line.h"
#include "ui/window/tool_bars.h"
#include "ui/window/window_places.h"

namespace postkite::ui {

namespace {

/// While a session redraws with every line that it sends, the list is read anew no more often than this.
constexpr int kRefreshMilliseconds = 1000;

constexpr int kEndMilliseconds = 20;

/// No setting keeps the monitor's height.
constexpr int kMonitorLines = 8;

}  // namespace

MainWindow::MainWindow(Desktop& desktop)
    : desktop_(&desktop),
      commands_(new Commands(desktop, this)),
      menus_(new Menus(desktop, *commands_, *this)),
      toolBars_(new ToolBars(desktop, *commands_, *this)),
      status_(new StatusLine(this)),
      session_(new SessionControl(desktop, this)),
      closingKeys_(new ClosingKeys(this)) {
    setObjectName(QStringLiteral("main"));
    setStatusBar(status_);
    MakePanes();
    ConnectPanes();
    ConnectMenus();
    DoFileCommands();
    DoViewCommands();
    DoFolderCommands();
    DoMailCommands();
    DoSessionCommands();
    DoSettingCommands();
    refresh_.setSingleShot(true);
    connect(&refresh_, &QTimer::timeout, this, &MainWindow::RefreshAll);
    end_.setSingleShot(true);
    connect(&end_, &QTimer::timeout, this, &MainWindow::End);
    RestorePlace(*this, desktop.program.settings());
    ApplySettings();
    ShowBank();
}

MainWindow::~MainWindow() = default;

void MainWindow::MakePanes() {
    folderSplitter_ = new QSplitter(Qt::Horizontal, this);
    mailSplitter_ = new QSplitter(Qt::Vertical, this);
    folders_ = new FolderTreeView(*desktop_, this);
    mails_ = new MailListView(*desktop_, this);
    message_ = new MessageView(*desktop_, this);
    findBar_ = new FindBar(true, this);
    monitor_ = new MonitorDock(*desktop_, this);
    folders_->setAccessibleName(tr("フォルダ一覧"));
    mails_->setAccessibleName(tr("メール一覧"));
    message_->setAccessibleName(tr("メールの本文"));

    auto* right = new QWidget(this);
    auto* layout = new QVBoxLayout(right);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(findBar_);
    layout->addWidget(mailSplitter_, 1);
    mailSplitter_->addWidget(mails_);
    mailSplitter_->addWidget(message_);
    folderSplitter_->addWidget(folders_);
    folderSplitter_->addWidget(right);
    folderSplitter_->setStretchFactor(1, 1);
    folderSplitter_->setChildrenCollapsible(false);
    mailSplitter_->setChildrenCollapsible(false);
    setCentralWidget(folderSplitter_);
    addDockWidget(Qt::BottomDockWidgetArea, monitor_);
}

void MainWindow::ConnectPanes() {
    const WindowUserInterface& ui = desktop_->ui;
    connect(&ui, &WindowUserInterface::StatusTextChanged, status_, &StatusLine::ShowText);
    connect(&ui, &WindowUserInterface::ProgressChanged, status_, &StatusLine::ShowProgress);
    connect(&ui, &WindowUserInterface::RedrawAsked, this, &MainWindow::RefreshLater);
    connect(session_, &SessionControl::Started, this, &MainWindow::RefreshLater);
    connect(session_, &SessionControl::Ended, this, &MainWindow::SessionHasEnded);

    connect(folders_, &FolderTreeView::FolderChosen, this, &MainWindow::OpenFolder);
    connect(folders_, &FolderTreeView::TreeChanged, this, &MainWindow::RefreshLater);
    connect(folders_, &FolderTreeView::MailsDropped, this, &MainWindow::MoveMailsTo);
    connect(mails_, &MailListView::MailChosen, this, &MainWindow::ShowMail);
    connect(mails_, &MailListView::MailOpened, this, [this](int recordNumber) {
        if (desktop_->program.settings().receivedMailViewer != 0) {
            OpenInWindow(recordNumber);
        } else {
            message_->setFocus();
        }
    });
    connect(mails_, &MailListView::PageAsked, this, [this] {
        if (!message_->PageDown()) GoToNextUnread();
    });
    connect(mails_, &MailListView::FolderChanged, folders_, &FolderTreeView::RefreshCount);
    connect(mails_, &MailListView::CountsChanged, status_, &StatusLine::ShowCounts);
    connect(mails_, &MailListView::FilterCleared, findBar_, &FindBar::ForgetFilter);
    connect(findBar_, &FindBar::FilterChanged, mails_, &MailListView::SetFilter);
    connect(findBar_, &FindBar::FindAsked, this, &MainWindow::FindInText);
    connect(findBar_, &FindBar::Closed, mails_, [this] { mails_->setFocus(); });
    connect(message_, &MessageView::NextUnreadAsked, this, &MainWindow::GoToNextUnread);
}

void MainWindow::ConnectMenus() {
    connect(menus_, &Menus::EnvironmentChosen, this, &MainWindow::SwitchEnvironment);
    connect(menus_, &Menus::BankChosen, this, &MainWindow::SwitchBank);
    connect(menus_, &Menus::RuleChosen, this, &MainWindow::SortByRule);
    connect(toolBars_, &ToolBars::EnvironmentChosen, this, &MainWindow::SwitchEnvironment);
    connect(toolBars_, &ToolBars::BankChosen, this, &MainWindow::SwitchBank);
    // The dock's own closing button counts as the command.
    connect(monitor_->toggleViewAction(), &QAction::toggled, this, [this](bool shown) {
        if (isMinimized() || !isVisible()) return;
        desktop_->program.settings().monitorWindow = shown ? 1 : 0;
        commands_->action(Command::ShowMonitor)->setChecked(shown);
    });
}

void MainWindow::ApplySettings() {
    const core::Settings& settings = desktop_->program.settings();
    mails_->ApplySettings();
    message_->ApplySettings();
    monitor_->ApplySettings();
    toolBars_->ApplySettings();
    folders_->setVisible(settings.mailBoxWindow != 0);
    monitor_->setVisible(settings.monitorWindow != 0);
    commands_->action(Command::ShowFolders)->setChecked(settings.mailBoxWindow != 0);
    commands_->action(Command::ShowMonitor)->setChecked(settings.monitorWindow != 0);
    commands_->action(Command::ShowToolBar)->setChecked(settings.toolBarFlag == 1);
    commands_->action(Command::ShowHeader)->setChecked(settings.displayHeader != 0);
    commands_->action(Command::ListPlain)->setChecked(settings.titleTree == 0);
    commands_->action(Command::ListTitleTree)->setChecked(settings.titleTree == 1);
    commands_->action(Command::ListThreads)->setChecked(settings.titleTree == 2);
    menus_->Refresh();
    toolBars_->RefreshChoosers();
    RefreshTitle();
}

void MainWindow::ShowBank() {
    menus_->Refresh();
    toolBars_->RefreshChoosers();
    const int bank = desktop_->program.folders().currentBank();
    folders_->setEnabled(bank >= 0);
    mails_->setEnabled(bank >= 0);
    message_->Clear();
    if (bank < 0) {
        status_->ShowBank(tr("バンクを開けません"));
        return;
    }
    status_->ShowBank(tr("バンク %1").arg(bank + 1));
    folders_->ShowBank(desktop_->program.Inbox());
    OpenFolder(folders_->current());
    if (desktop_->program.settings().userId.empty())
        status_->ShowText(tr("メニューの「通信」から「練習用ホストに接続」を選ぶと、送受信を試せます。"));
}

void MainWindow::OpenFolder(const std::string& folder) {
    if (folder.empty()) return;
    if (desktop_->ui.busy()) {
        RefreshLater();
        return;
    }
    openingFolder_ = true;
    message_->Clear();
    mails_->Open(folder);
    openingFolder_ = false;
    commands_->action(Command::ReadCondition)->setEnabled(ReadConditionsDialog::IsFor(folder));
    RefreshTitle();
    TellMissingBank();
}

void MainWindow::TellMissingBank() {
    // A folder without files is empty, and so is one whose disk has gone.
    const std::string& directory = desktop_->program.mailbox().bankDirectory();
    core::EntryKind kind{};
    const bool there = directory.empty() || (desktop_->workspace.Inspect(directory, kind) == 0 &&
                                             kind == core::EntryKind::Directory);
    if (!there)
        status_->ShowText(tr("メールボックスディレクトリ %1 にアクセスできません。").arg(Shown(directory)));
}

void MainWindow::RefreshLater() {
    if (session_->running()) ShowUpload();
    if (!refresh_.isActive()) refresh_.start(session_->running() ? kRefreshMilliseconds : 0);
}

void MainWindow::RefreshAll() {
    // What is open in a menu or a chooser must not change under the pointer.
    if (desktop_->ui.busy() || QApplication::activePopupWidget() != nullptr) {
        refresh_.start(kRefreshMilliseconds);
        return;
    }
    RefreshTitle();
    if (session_->running()) {
        // It marks mails of the Outbox. What people change meanwhile, tree and list show by themselves.
        mails_->Refresh();
        folders_->RefreshCount(mails_->folder());
        return;
    }
    menus_->Refresh();
    toolBars_->RefreshChoosers();
    if (desktop_->program.folders().currentBank() < 0) return;
    folders_->Reload();
    folders_->RefreshCounts();
    if (folders_->current() != mails_->folder()) {
        OpenFolder(folders_->current());
    } else {
        mails_->Refresh();
        TellMissingBank();
    }
}

void MainWindow::RefreshTitle() {
    const QString user = Shown(desktop_->program.settings().userId);
    const QString folder = Shown(mails_->folder());
    const QString product = Shown(core::kProductName);
    QString title = folder.isEmpty() ? product : tr("%1 - %2").arg(folder, product);
    if (!user.isEmpty()) title += QStringLiteral(" [%1]").arg(user);
    setWindowTitle(title);
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (panesRestored_) return;
    panesRestored_ = true;
    RestorePanes(*folderSplitter_, *mailSplitter_, desktop_->program.settings());
    const int monitorHeight = std::min(kMonitorLines * mails_->fontMetrics().lineSpacing(), height() / 5);
    resizeDocks({monitor_}, {monitorHeight}, Qt::Vertical);
    mails_->setFocus();
}

void MainWindow::KeepLooks() {
    mails_->KeepWidths();
    toolBars_->KeepLayout();
}

void MainWindow::KeepState() {
    core::Settings& settings = desktop_->program.settings();
    // They keep their place when they are closed, and the end would close them after the settings are written.
    for (MessageWindow* window : findChildren<MessageWindow*>())
        window->close();
    KeepPlace(*this, settings);
    if (!isMinimized()) KeepPanes(*folderSplitter_, *mailSplitter_, settings);
    KeepLooks();
    if (desktop_->program.folders().currentBank() < 0) return;
    folders_->KeepExpanded();
    static_cast<void>(desktop_->program.folders().SaveFolderTree());
}

bool MainWindow::CloseMeansMaintenance() {
    const bool mail = closingKeys_->f1Held();
    if (!mail && !ClosingKeys::ControlHeld()) return false;
    if (desktop_->program.folders().currentBank() < 0) return true;
    app::Sessions& sessions = desktop_->program.sessions();
    // The engine says what came of it.
    if (mail) {
        analyse::MailLogResult result;
        static_cast<void>(sessions.AnalyseMailLog(comm::kMailLogFile, result));
    } else {
        analyse::ForumLogResult result;
        static_cast<void>(sessions.AnalyseForumLog(comm::kForumLogFile, result));
    }
    RefreshLater();
    return true;
}

void MainWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    if (desktop_->ui.busy()) return;
    if (!ending_) {
        if (CloseMeansMaintenance()) return;
        if (session_->running() && !desktop_->ui.Ask(tr("送受信中です。\n回線を切断して終了しますか？"))) {
            return;
        }
    }
    session_->HangUp();
    KeepState();
    if (desktop_->program.folders().currentBank() < 0 ? desktop_->program.SaveSettings() < 0
                                                      : desktop_->program.End() < 0) {
        const bool leave =
            ending_ || desktop_->ui.Ask(tr("終了の処理を完了できませんでした。\nこのまま終了しますか？"));
        if (!leave) return;
    }
    event->accept();
    QApplication::quit();
}

void MainWindow::End() {
    ending_ = true;
    desktop_->ui.StopAsking();
    QWidget* modal = QApplication::activeModalWidget();
    if (modal == nullptr && !desktop_->ui.busy()) {
        close();
        return;
    }
    // Whoever waits for its answer goes on before the program ends, as in a session that has just come to its own end.
    while (modal != nullptr && modal->close())
        modal = QApplication::activeModalWidget();
    end_.start(kEndMilliseconds);
}

}  // namespace postkite::ui
