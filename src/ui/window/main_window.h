#pragma once

#include <QMainWindow>
#include <QTimer>
#include <functional>
#include <string>
#include <vector>

#include "ui/desktop.h"
#include "ui/window/command_table.h"

class QSplitter;

namespace postkite::ui {

class ClosingKeys;
class Commands;
class FindBar;
class FolderTreeView;
class MailListView;
class Menus;
class MessageView;
class MonitorDock;
class SessionControl;
class StatusLine;
class ToolBars;

/// The main window: wires folder tree, mail list, message view, monitor, menus, tool bars and status line to each
/// other and to the program. The program has been started and its bank opened, if that can be. Borrows the desktop.
class MainWindow final : public QMainWindow {
    Q_OBJECT

  public:
    explicit MainWindow(Desktop& desktop);
    ~MainWindow() override;

    /// Ends the program without a question: hangs up, keeps the settings and closes. For a system that ends. Boxes and
    /// dialogs that are open are cancelled and what the engine is in the middle of is finished first; it ends after
    /// this call then.
    void End();

  private:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

    void MakePanes();
    void ConnectPanes();
    void ConnectMenus();
    /// What a command does while a bank is open; without one it does nothing.
    void DoWithBank(Command command, const std::function<void()>& work);
    void DoFileCommands();
    void DoViewCommands();
    void DoFolderCommands();
    void DoMailCommands();
    void DoSessionCommands();
    void DoSettingCommands();

    void OpenFolder(const std::string& folder);
    void TellMissingBank();
    void ShowMail(int recordNumber);
    void OpenInWindow(int recordNumber);
    void GoToNextUnread();
    void FocusNextPane();
    void FindInText(const QString& text, bool backward);
    void SetListDisplay(int titleTree);
    void ChangeFontSize(int step);

    void MoveMailsTo(const std::string& folder, const std::vector<int>& recordNumbers,
                     const std::string& target);
    void MoveSelectedMails();
    void MoveSelectedFolder();
    void CompactAll();
    void ConvertAll();
    void SortDisplayed();
    void SortInbox();
    void SortByRule(int number);

    void SwitchEnvironment(int number);
    void SwitchBank(int number);
    void EditSettings();
    void EditEnvironments();

    void SessionHasEnded();
    void ShowUpload();

    /// Everything that the settings say of the looks.
    void ApplySettings();
    /// The bank has become another one, or its directory has.
    void ShowBank();
    /// What the engine may have changed is shown anew as soon as it is done.
    void RefreshLater();
    void RefreshAll();
    void RefreshTitle();

    [[nodiscard]] bool CloseMeansMaintenance();
    /// What people have made of list and tool bars goes into the settings, to be done before they are applied anew.
    void KeepLooks();
    void KeepState();

    Desktop* desktop_;
    Commands* commands_;
    Menus* menus_;
    ToolBars* toolBars_;
    StatusLine* status_;
    SessionControl* session_;
    ClosingKeys* closingKeys_;
    FolderTreeView* folders_ = nullptr;
    MailListView* mails_ = nullptr;
    MessageView* message_ = nullptr;
    FindBar* findBar_ = nullptr;
    MonitorDock* monitor_ = nullptr;
    QSplitter* folderSplitter_ = nullptr;
    QSplitter* mailSplitter_ = nullptr;
    QTimer refresh_;
    QTimer end_;                  ///< tries to end again
    bool openingFolder_ = false;  ///< the list puts its cursor somewhere; that reads no mail
    bool panesRestored_ = false;
    bool ending_ = false;
};

}  // namespace postkite::ui
