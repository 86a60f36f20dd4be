#pragma once

#include <span>

namespace postkite::ui {

/// What a person can have the main window do.
enum class Command {
    OpenMail,
    SaveMail,
    PrintMail,
    CompactAll,
    ConvertAll,
    Quit,

    Copy,
    SelectAll,
    FindInList,
    FindInText,
    FindNext,
    FindPrevious,

    NextUnread,
    NextPane,
    Refresh,
    ShowFolders,
    ShowMonitor,
    ShowToolBar,
    ShowHeader,
    ListPlain,
    ListTitleTree,
    ListThreads,
    SortByNumber,
    SortByDate,
    SortByName,
    SortBySubject,
    SortBySize,
    LargerFont,
    SmallerFont,

    NewFolder,
    RenameFolder,
    MoveFolder,
    DeleteFolder,
    ResetFolders,
    FolderProperties,
    ReadCondition,

    MarkRead,
    MarkUnread,
    MarkReplied,
    MarkNotReplied,
    Reserve,
    Unreserve,
    MoveMails,
    MoveToTrash,
    DeleteMails,

    SendAndReceive,
    ReceiveOnly,
    Disconnect,
    CallPracticeHost,

    SortDisplayed,
    SortInbox,
    SortSelected,

    EditRules,
    EditEnvironments,
    EditSettings,

    ShowShortcuts,
    ShowAbout,
};

enum class MenuId { File, Edit, View, Folder, Mail, Connection, Environment, Rules, Settings, Help };

/// What a running session makes of a command.
enum class DuringSession {
    Allowed,
    /// Refused with the text for what changes the settings.
    RefusedAsSetting,
    /// Refused with the text for what disturbs the communication.
    RefusedAsBusy,
};

struct CommandInfo {
    Command command;
    MenuId menu;
    const char* text;      ///< Japanese, with its access key; translated in the context "Commands"
    const char* shortcut;  ///< in Qt's portable form, or ""
    const char* icon;      ///< for `PaletteIcon`, or ""
    bool checkable = false;
    bool separatorBefore = false;
    DuringSession duringSession = DuringSession::Allowed;
};

/// Every command, in the order of the menus. Shift+F1 to Shift+F10 and Ctrl+0 to Ctrl+9 belong to the environments and
/// the rules. No shortcut of `Quit` has Ctrl or F1 in it: held while the window is closed they mean something else.
[[nodiscard]] std::span<const CommandInfo> CommandTable();

}  // namespace postkite::ui
