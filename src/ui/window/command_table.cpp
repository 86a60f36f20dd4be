#include "ui/window/command_table.h"

#include <QtGlobal>

namespace postkite::ui {

namespace {

constexpr auto kSetting = DuringSession::RefusedAsSetting;
constexpr auto kBusy = DuringSession::RefusedAsBusy;
constexpr bool kCheckable = true;
constexpr bool kBehindLine = true;

using enum Command;

constexpr CommandInfo kCommands[] = {
    {OpenMail, MenuId::File, QT_TRANSLATE_NOOP("Commands", "別のウィンドウで開く(&O)"), "Ctrl+O", ""},
    {SaveMail, MenuId::File, QT_TRANSLATE_NOOP("Commands", "テキストとして保存(&S)..."), "Ctrl+S", "save"},
    {PrintMail, MenuId::File, QT_TRANSLATE_NOOP("Commands", "印刷(&P)..."), "Ctrl+P", "print"},
    {CompactAll, MenuId::File, QT_TRANSLATE_NOOP("Commands", "コンパクション(&C)"), "", "", !kCheckable,
     kBehindLine, kBusy},
    {ConvertAll, MenuId::File, QT_TRANSLATE_NOOP("Commands", "旧形式メールボックスの変換(&V)"), "", "",
     !kCheckable, !kBehindLine, kBusy},
    {Quit, MenuId::File, QT_TRANSLATE_NOOP("Commands", "終了(&X)"), "Alt+X", "", !kCheckable, kBehindLine},

    {Copy, MenuId::Edit, QT_TRANSLATE_NOOP("Commands", "コピー(&C)"), "Ctrl+C", ""},
    {SelectAll, MenuId::Edit, QT_TRANSLATE_NOOP("Commands", "すべて選択(&A)"), "Ctrl+A", ""},
    {FindInList, MenuId::Edit, QT_TRANSLATE_NOOP("Commands", "一覧を検索(&F)"), "Ctrl+F", "find", !kCheckable,
     kBehindLine},
    {FindInText, MenuId::Edit, QT_TRANSLATE_NOOP("Commands", "本文を検索(&T)"), "Ctrl+Shift+F", ""},
    {FindNext, MenuId::Edit, QT_TRANSLATE_NOOP("Commands", "次を検索(&N)"), "F3", ""},
    {FindPrevious, MenuId::Edit, QT_TRANSLATE_NOOP("Commands", "前を検索(&P)"), "Ctrl+F3", ""},

    {NextUnread, MenuId::View, QT_TRANSLATE_NOOP("Commands", "次の未読メール(&N)"), "Ctrl+U", "next-unread"},
    {NextPane, MenuId::View, QT_TRANSLATE_NOOP("Commands", "次の区画(&P)"), "F6", ""},
    {Refresh, MenuId::View, QT_TRANSLATE_NOOP("Commands", "最新の情報に更新(&R)"), "F5", ""},
    {ShowFolders, MenuId::View, QT_TRANSLATE_NOOP("Commands", "フォルダ一覧(&D)"), "", "", kCheckable,
     kBehindLine},
    {ShowMonitor, MenuId::View, QT_TRANSLATE_NOOP("Commands", "通信モニタ(&M)"), "", "monitor", kCheckable},
    {ShowToolBar, MenuId::View, QT_TRANSLATE_NOOP("Commands", "ツールバー(&B)"), "", "", kCheckable},
    {ShowHeader, MenuId::View, QT_TRANSLATE_NOOP("Commands", "メールのヘッダー(&H)"), "Ctrl+H", "",
     kCheckable},
    {ListPlain, MenuId::View, QT_TRANSLATE_NOOP("Commands", "題名をそのまま表示(&1)"), "", "", kCheckable,
     kBehindLine},
    {ListTitleTree, MenuId::View, QT_TRANSLATE_NOOP("Commands", "題名をツリー表示(&2)"), "", "", kCheckable},
    {ListThreads, MenuId::View, QT_TRANSLATE_NOOP("Commands", "スレッド表示(&3)"), "", "", kCheckable},
    {SortByNumber, MenuId::View, QT_TRANSLATE_NOOP("Commands", "番号順(&4)"), "", "", !kCheckable,
     kBehindLine},
    {SortByDate, MenuId::View, QT_TRANSLATE_NOOP("Commands", "日付順(&5)"), "", ""},
    {SortByName, MenuId::View, QT_TRANSLATE_NOOP("Commands", "名前順(&6)"), "", ""},
    {SortBySubject, MenuId::View, QT_TRANSLATE_NOOP("Commands", "題名順(&7)"), "", ""},
    {SortBySize, MenuId::View, QT_TRANSLATE_NOOP("Commands", "サイズ順(&8)"), "", ""},
    {LargerFont, MenuId::View, QT_TRANSLATE_NOOP("Commands", "文字を大きく(&L)"), "Ctrl++", "", !kCheckable,
     kBehindLine},
    {SmallerFont, MenuId::View, QT_TRANSLATE_NOOP("Commands", "文字を小さく(&S)"), "Ctrl+-", ""},

    {NewFolder, MenuId::Folder, QT_TRANSLATE_NOOP("Commands", "新しいフォルダ(&N)"), "Ctrl+Shift+N",
     "new-folder"},
    {RenameFolder, MenuId::Folder, QT_TRANSLATE_NOOP("Commands", "名前の変更(&R)"), "F2", ""},
    {MoveFolder, MenuId::Folder, QT_TRANSLATE_NOOP("Commands", "移動(&M)..."), "", ""},
    {DeleteFolder, MenuId::Folder, QT_TRANSLATE_NOOP("Commands", "削除(&D)"), "", ""},
    {ResetFolders, MenuId::Folder, QT_TRANSLATE_NOOP("Commands", "初期状態に戻す(&I)"), "", "", !kCheckable,
     !kBehindLine, kBusy},
    {FolderProperties, MenuId::Folder, QT_TRANSLATE_NOOP("Commands", "プロパティ(&P)..."), "Alt+Return",
     "properties", !kCheckable, kBehindLine},
    {ReadCondition, MenuId::Folder, QT_TRANSLATE_NOOP("Commands", "読み込み条件(&C)..."), "", "", !kCheckable,
     !kBehindLine, kSetting},

    {MarkRead, MenuId::Mail, QT_TRANSLATE_NOOP("Commands", "既読にする(&R)"), "Ctrl+K", ""},
    {MarkUnread, MenuId::Mail, QT_TRANSLATE_NOOP("Commands", "未読にする(&U)"), "Ctrl+Shift+K", ""},
    {MarkReplied, MenuId::Mail, QT_TRANSLATE_NOOP("Commands", "返信済みにする(&A)"), "", ""},
    {MarkNotReplied, MenuId::Mail, QT_TRANSLATE_NOOP("Commands", "返信済みを取り消す(&N)"), "", ""},
    {Reserve, MenuId::Mail, QT_TRANSLATE_NOOP("Commands", "送信予約する(&S)"), "Ctrl+Y", "mail-reserved",
     !kCheckable, kBehindLine},
    {Unreserve, MenuId::Mail, QT_TRANSLATE_NOOP("Commands", "送信予約を取り消す(&C)"), "Ctrl+Shift+Y", ""},
    {MoveMails, MenuId::Mail, QT_TRANSLATE_NOOP("Commands", "フォルダへ移動(&M)..."), "Ctrl+M", "",
     !kCheckable, kBehindLine},
    {MoveToTrash, MenuId::Mail, QT_TRANSLATE_NOOP("Commands", "ごみ箱へ移動(&T)"), "Ctrl+D", "delete"},
    {DeleteMails, MenuId::Mail, QT_TRANSLATE_NOOP("Commands", "完全に削除(&D)"), "Shift+Del", ""},

    {SendAndReceive, MenuId::Connection, QT_TRANSLATE_NOOP("Commands", "送信と受信(&S)"), "F9",
     "send-receive"},
    {ReceiveOnly, MenuId::Connection, QT_TRANSLATE_NOOP("Commands", "受信のみ(&R)"), "F8", "receive"},
    {Disconnect, MenuId::Connection, QT_TRANSLATE_NOOP("Commands", "切断(&D)"), "F12", "disconnect"},
    {CallPracticeHost, MenuId::Connection, QT_TRANSLATE_NOOP("Commands", "練習用ホストに接続(&P)"), "",
     "practice-host", !kCheckable, kBehindLine},

    {EditEnvironments, MenuId::Environment, QT_TRANSLATE_NOOP("Commands", "接続環境の設定(&E)..."), "", "",
     !kCheckable, kBehindLine, kSetting},

    {SortDisplayed, MenuId::Rules, QT_TRANSLATE_NOOP("Commands", "表示中フォルダ個別振分(&F)"), "", "sort",
     !kCheckable, kBehindLine},
    {SortInbox, MenuId::Rules, QT_TRANSLATE_NOOP("Commands", "受信メールの振り分け(&I)"), "Ctrl+Shift+I", ""},
    {SortSelected, MenuId::Rules, QT_TRANSLATE_NOOP("Commands", "選択メールの振り分け(&S)"), "", ""},
    {EditRules, MenuId::Rules, QT_TRANSLATE_NOOP("Commands", "振り分けの設定(&E)..."), "", "", !kCheckable,
     kBehindLine, kSetting},

    {EditSettings, MenuId::Settings, QT_TRANSLATE_NOOP("Commands", "設定(&S)..."), "Ctrl+,", "settings",
     !kCheckable, !kBehindLine, kSetting},

    {ShowShortcuts, MenuId::Help, QT_TRANSLATE_NOOP("Commands", "キー操作の一覧(&K)"), "", "help"},
    {ShowAbout, MenuId::Help, QT_TRANSLATE_NOOP("Commands", "Postkite について(&A)"), "", ""},
};

}  // namespace

std::span<const CommandInfo> CommandTable() {
    return kCommands;
}

}  // namespace postkite::ui
