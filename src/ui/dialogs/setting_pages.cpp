#include "ui/dialogs/setting_pages.h"

#include <QtGlobal>
#include <array>

namespace postkite::ui {

namespace {

constexpr SettingRow Check(int line, const char* label) {
    return {line, EditorKind::CheckBox, label};
}

constexpr SettingRow Of(EditorKind editor, int line, const char* label, int number = 0) {
    return {line, editor, label, number};
}

constexpr SettingRow NumberRow(int line, const char* label, std::int32_t lowest, std::int32_t highest,
                               const char* unit = nullptr) {
    return {line, EditorKind::Number, label, 0, lowest, highest, unit};
}

constexpr SettingRow DigitsRow(int line, const char* label, std::int32_t lowest, std::int32_t highest) {
    return {line, EditorKind::Digits, label, 0, lowest, highest};
}

constexpr SettingRow ChoiceRow(int line, const char* label, std::span<const SettingChoice> choices) {
    return {line, EditorKind::Choice, label, 0, 0, 0, nullptr, choices};
}

using enum EditorKind;

// One line a setting, however long.
// clang-format off

constexpr SettingRow kStart[] = {
    Check(40, QT_TRANSLATE_NOOP("SettingPages", "起動時にパスワードを問い合わせる")),
    Of(NewSecret, 115, QT_TRANSLATE_NOOP("SettingPages", "起動時パスワード")),
    Check(56, QT_TRANSLATE_NOOP("SettingPages", "ホストのパスワードを設定ファイルに保存する")),
    Check(52, QT_TRANSLATE_NOOP("SettingPages", "自動モード（結果のメッセージを表示しない）")),
    Check(107, QT_TRANSLATE_NOOP("SettingPages", "アイコンの状態で起動する")),
    Check(131, QT_TRANSLATE_NOOP("SettingPages", "自動モードで、送受信の後に終了する")),
};
constexpr SettingRow kStartKept[] = {
    Check(106, QT_TRANSLATE_NOOP("SettingPages", "常駐する")),
    Check(108, QT_TRANSLATE_NOOP("SettingPages", "ホットキーを使う")),
    Check(96, QT_TRANSLATE_NOOP("SettingPages", "オリジナルのアイコンを使う")),
    Check(81, QT_TRANSLATE_NOOP("SettingPages", "終了後に DOS へ戻る")),
    Check(80, QT_TRANSLATE_NOOP("SettingPages", "1 日に 1 回")),
};

constexpr SettingChoice kVolumes[] = {
    {"0", QT_TRANSLATE_NOOP("SettingPages", "0（消音）")},
    {"1", QT_TRANSLATE_NOOP("SettingPages", "1（接続するまで鳴らす）")},
    {"2", QT_TRANSLATE_NOOP("SettingPages", "2（常に鳴らす）")},
    {"3", QT_TRANSLATE_NOOP("SettingPages", "3（ダイアル後、接続するまで鳴らす）")},
};
constexpr SettingRow kLine[] = {
    DigitsRow(8, QT_TRANSLATE_NOOP("SettingPages", "通信ポートの番号（COM）"), 1, 256),
    Check(59, QT_TRANSLATE_NOOP("SettingPages", "内線から発信する（0 を先に回す）")),
    Check(37, QT_TRANSLATE_NOOP("SettingPages", "話し中のときにリダイアルする")),
    NumberRow(26, QT_TRANSLATE_NOOP("SettingPages", "リダイアルの間隔"), 0, 3600, QT_TRANSLATE_NOOP("SettingPages", " 秒")),
    NumberRow(27, QT_TRANSLATE_NOOP("SettingPages", "リダイアルの回数"), 0, 999, QT_TRANSLATE_NOOP("SettingPages", " 回")),
    Check(38, QT_TRANSLATE_NOOP("SettingPages", "モデムのスピーカーを初期化コマンドに任せる")),
    ChoiceRow(17, QT_TRANSLATE_NOOP("SettingPages", "任せないときのスピーカー"), kVolumes),
    Check(42, QT_TRANSLATE_NOOP("SettingPages", "高速アップロード")),
};
constexpr SettingChoice kParities[] = {
    {"NONE", QT_TRANSLATE_NOOP("SettingPages", "なし")},
    {"EVEN", QT_TRANSLATE_NOOP("SettingPages", "偶数")},
    {"ODD", QT_TRANSLATE_NOOP("SettingPages", "奇数")},
};
constexpr SettingRow kLineKept[] = {
    DigitsRow(10, QT_TRANSLATE_NOOP("SettingPages", "データビット（常に 8 を使います）"), 5, 8),
    DigitsRow(11, QT_TRANSLATE_NOOP("SettingPages", "ストップビット（常に 1 を使います）"), 1, 2),
    ChoiceRow(12, QT_TRANSLATE_NOOP("SettingPages", "パリティ（常になしです）"), kParities),
    Check(43, QT_TRANSLATE_NOOP("SettingPages", "ハードウェアフロー制御")),
    Check(44, QT_TRANSLATE_NOOP("SettingPages", "RTS の制御")),
    Check(45, QT_TRANSLATE_NOOP("SettingPages", "モデムスピーカーの制御")),
    Check(63, QT_TRANSLATE_NOOP("SettingPages", "2 回線")),
    Of(Text, 5, QT_TRANSLATE_NOOP("SettingPages", "ホスト名")),
    DigitsRow(141, QT_TRANSLATE_NOOP("SettingPages", "PPP の再試行回数"), 0, 99),
    Check(121, QT_TRANSLATE_NOOP("SettingPages", "リモートアクセスを切断する")),
    Check(122, QT_TRANSLATE_NOOP("SettingPages", "ホストのメールを TELNET で読む")),
    Check(137, QT_TRANSLATE_NOOP("SettingPages", "TELNET のメニューを隠す")),
    Check(138, QT_TRANSLATE_NOOP("SettingPages", "リモートメールのメニューを隠す")),
};

constexpr SettingRow kSending[] = {
    Check(58, QT_TRANSLATE_NOOP("SettingPages", "送信したメールの記録を残す")),
    Check(127, QT_TRANSLATE_NOOP("SettingPages", "受信したメールを振り分ける")),
    Check(125, QT_TRANSLATE_NOOP("SettingPages", "終了時に受信フォルダを振り分ける")),
    Check(126, QT_TRANSLATE_NOOP("SettingPages", "振り分けで大文字と小文字を区別する")),
    Check(128, QT_TRANSLATE_NOOP("SettingPages", "新着メールがあるときに前面に出す")),
};
constexpr SettingRow kSendingKept[] = {
    Check(150, QT_TRANSLATE_NOOP("SettingPages", "送信時に受信も行う")),
    Check(142, QT_TRANSLATE_NOOP("SettingPages", "定刻に巡回する")),
    Of(TwentyFlags, 151, QT_TRANSLATE_NOOP("SettingPages", "巡回する項目（0 か 1 を 20 文字）")),
    Check(94, QT_TRANSLATE_NOOP("SettingPages", "自動的に返信する")),
    Of(Text, 95, QT_TRANSLATE_NOOP("SettingPages", "自動返信の題名")),
    NumberRow(200, QT_TRANSLATE_NOOP("SettingPages", "送信メールのネスト"), 0, 99),
    Check(104, QT_TRANSLATE_NOOP("SettingPages", "ホストからインターネットへのメール")),
    Of(Text, 105, QT_TRANSLATE_NOOP("SettingPages", "既定のドメイン")),
};

constexpr SettingChoice kTitleTrees[] = {
    {"0", QT_TRANSLATE_NOOP("SettingPages", "そのまま")},
    {"1", QT_TRANSLATE_NOOP("SettingPages", "返信を字下げする")},
    {"2", QT_TRANSLATE_NOOP("SettingPages", "スレッドにまとめる")},
};
constexpr SettingRow kList[] = {
    Check(21, QT_TRANSLATE_NOOP("SettingPages", "差出人の ID を表示する")),
    Check(22, QT_TRANSLATE_NOOP("SettingPages", "日付を表示する")),
    Check(23, QT_TRANSLATE_NOOP("SettingPages", "行番号を表示する")),
    ChoiceRow(120, QT_TRANSLATE_NOOP("SettingPages", "題名の表示"), kTitleTrees),
    Of(FontFace, 87, QT_TRANSLATE_NOOP("SettingPages", "フォント")),
    Of(FontHeight, 86, QT_TRANSLATE_NOOP("SettingPages", "文字の高さ")),
};
constexpr SettingRow kListKept[] = {
    NumberRow(134, QT_TRANSLATE_NOOP("SettingPages", "一覧のスクロール"), 0, 99),
    Check(201, QT_TRANSLATE_NOOP("SettingPages", "メーリングリストの題名")),
};

constexpr SettingRow kWindow[] = {
    Check(19, QT_TRANSLATE_NOOP("SettingPages", "通信モニターを表示する")),
    Check(53, QT_TRANSLATE_NOOP("SettingPages", "フォルダの一覧を表示する")),
    Check(133, QT_TRANSLATE_NOOP("SettingPages", "ツールバーを表示する")),
    Check(109, QT_TRANSLATE_NOOP("SettingPages", "メールのヘッダーを表示する")),
    Check(110, QT_TRANSLATE_NOOP("SettingPages", "CC の行を隠す")),
    Check(196, QT_TRANSLATE_NOOP("SettingPages", "メールを別のウィンドウで開く（受信メールビューア）")),
};
constexpr SettingRow kWindowKept[] = {
    Check(160, QT_TRANSLATE_NOOP("SettingPages", "編集画面のツールバーを表示する")),
};

constexpr SettingChoice kReplySubjects[] = {
    {"0", QT_TRANSLATE_NOOP("SettingPages", "常に Re: を付ける")},
    {"1", QT_TRANSLATE_NOOP("SettingPages", "返信の回数を数える（Re^2: など）")},
};
constexpr SettingRow kReply[] = {
    Of(Text, 46, QT_TRANSLATE_NOOP("SettingPages", "引用符")),
    ChoiceRow(152, QT_TRANSLATE_NOOP("SettingPages", "返信の題名"), kReplySubjects),
    DigitsRow(16, QT_TRANSLATE_NOOP("SettingPages", "署名の番号"), 0, 9),
};
constexpr SettingRow kReplyKept[] = {
    Check(67, QT_TRANSLATE_NOOP("SettingPages", "引用する前に問い合わせる")),
    Of(Text, 65, QT_TRANSLATE_NOOP("SettingPages", "宛名に付ける敬称")),
    Check(66, QT_TRANSLATE_NOOP("SettingPages", "名前を使う")),
    Check(111, QT_TRANSLATE_NOOP("SettingPages", "独自の返信先を使う")),
};

constexpr auto kEditOption = QT_TRANSLATE_NOOP("SettingPages", "編集画面のオプション %1");
constexpr SettingRow kEditKept[] = {
    Of(File, 60, QT_TRANSLATE_NOOP("SettingPages", "外部エディタ")),
    Check(129, QT_TRANSLATE_NOOP("SettingPages", "新規メールで外部エディタを起動する")),
    Check(130, QT_TRANSLATE_NOOP("SettingPages", "返信で外部エディタを起動する")),
    Of(Colour, 124, QT_TRANSLATE_NOOP("SettingPages", "編集領域の色")),
    Check(103, QT_TRANSLATE_NOOP("SettingPages", "半角カナを全角に変換する")),
    NumberRow(140, QT_TRANSLATE_NOOP("SettingPages", "添付ファイルの符号化"), 0, 9),
    Of(CheckBox, 97, kEditOption, 1),
    Of(CheckBox, 98, kEditOption, 2),
    Of(CheckBox, 99, kEditOption, 3),
    Of(CheckBox, 100, kEditOption, 4),
    Of(CheckBox, 101, kEditOption, 5),
    Of(CheckBox, 102, kEditOption, 6),
};

constexpr SettingRow kSounds[] = {
    Check(36, QT_TRANSLATE_NOOP("SettingPages", "接続と切断の音を鳴らす")),
    Of(SoundFile, 28, QT_TRANSLATE_NOOP("SettingPages", "接続したときの音")),
    Of(SoundFile, 29, QT_TRANSLATE_NOOP("SettingPages", "切断したときの音")),
    Check(89, QT_TRANSLATE_NOOP("SettingPages", "エラーの音を鳴らす")),
    Of(SoundFile, 88, QT_TRANSLATE_NOOP("SettingPages", "エラーの音")),
};
constexpr SettingRow kSoundsKept[] = {
    Check(90, QT_TRANSLATE_NOOP("SettingPages", "送信の音を鳴らす")),
};

constexpr auto kBank = QT_TRANSLATE_NOOP("SettingPages", "バンク %1");
constexpr SettingRow kBanks[] = {
    Of(Directory, 25, kBank, 1),   Of(Directory, 143, kBank, 2),  Of(Directory, 144, kBank, 3),
    Of(Directory, 145, kBank, 4),  Of(Directory, 146, kBank, 5),  Of(Directory, 161, kBank, 6),
    Of(Directory, 162, kBank, 7),  Of(Directory, 163, kBank, 8),  Of(Directory, 164, kBank, 9),
    Of(Directory, 165, kBank, 10), Of(Directory, 166, kBank, 11), Of(Directory, 167, kBank, 12),
    Of(Directory, 168, kBank, 13), Of(Directory, 169, kBank, 14), Of(Directory, 170, kBank, 15),
    Of(Directory, 171, kBank, 16), Of(Directory, 172, kBank, 17), Of(Directory, 173, kBank, 18),
    Of(Directory, 174, kBank, 19), Of(Directory, 175, kBank, 20),
    Check(147, QT_TRANSLATE_NOOP("SettingPages", "ツールバーにバンクの選択欄を表示する")),
};
constexpr SettingRow kBanksKept[] = {
    Check(149, QT_TRANSLATE_NOOP("SettingPages", "環境とバンクを同期切り替え")),
    Check(148, QT_TRANSLATE_NOOP("SettingPages", "バンク１２では受信しない")),
};

constexpr SettingRow kLogs[] = {
    Check(47, QT_TRANSLATE_NOOP("SettingPages", "通信の記録を残す")),
    Of(Directory, 24, QT_TRANSLATE_NOOP("SettingPages", "記録の保存先")),
    Check(55, QT_TRANSLATE_NOOP("SettingPages", "記録のファイル名に年月を付ける")),
};
constexpr SettingRow kLogsKept[] = {
    Of(Directory, 91, QT_TRANSLATE_NOOP("SettingPages", "添付ファイルの保存先")),
    Check(84, QT_TRANSLATE_NOOP("SettingPages", "下線で始まるファイルだけ")),
};

constexpr SettingRow kPrograms[] = {
    Of(Directory, 32, QT_TRANSLATE_NOOP("SettingPages", "スクリプトのディレクトリ")),
    Check(34, QT_TRANSLATE_NOOP("SettingPages", "送信するファイルを外部通信プログラムの場所に作る")),
    Of(Directory, 31, QT_TRANSLATE_NOOP("SettingPages", "アップロードのディレクトリ")),
};
constexpr SettingRow kProgramsKept[] = {
    Of(Directory, 30, QT_TRANSLATE_NOOP("SettingPages", "hideterm のディレクトリ")),
    Of(Directory, 39, QT_TRANSLATE_NOOP("SettingPages", "hideterm の記録のディレクトリ")),
    Of(Text, 33, QT_TRANSLATE_NOOP("SettingPages", "hideterm のメール記録のファイル名")),
    Check(35, QT_TRANSLATE_NOOP("SettingPages", "使用後に外部通信プログラムを終了する")),
    Of(File, 68, QT_TRANSLATE_NOOP("SettingPages", "Nifterm の場所")),
    Of(File, 69, QT_TRANSLATE_NOOP("SettingPages", "Avalon の場所")),
    Of(File, 61, QT_TRANSLATE_NOOP("SettingPages", "印刷プログラム")),
    Of(Text, 62, QT_TRANSLATE_NOOP("SettingPages", "印刷プログラムのオプション")),
};

constexpr SettingRow kSecurityKept[] = {
    Check(119, QT_TRANSLATE_NOOP("SettingPages", "メールボックスを暗号化する")),
    Check(83, QT_TRANSLATE_NOOP("SettingPages", "メールボックスを暗号化する（旧版の値）")),
    Of(NewSecret, 41, QT_TRANSLATE_NOOP("SettingPages", "メールボックスの暗号化キー")),
    Check(113, QT_TRANSLATE_NOOP("SettingPages", "自分の鍵を自動的に選ぶ")),
    Check(114, QT_TRANSLATE_NOOP("SettingPages", "相手の鍵を自動的に選ぶ")),
    Of(Text, 116, QT_TRANSLATE_NOOP("SettingPages", "自分の鍵交換用の鍵")),
    Of(Text, 117, QT_TRANSLATE_NOOP("SettingPages", "自分の署名用の鍵")),
    Of(Text, 118, QT_TRANSLATE_NOOP("SettingPages", "自分の認証局 ID")),
    NumberRow(85, QT_TRANSLATE_NOOP("SettingPages", "セキュリティ番号"), 0, 99999),
    Of(Text, 92, QT_TRANSLATE_NOOP("SettingPages", "仮 ID")),
    Of(Secret, 93, QT_TRANSLATE_NOOP("SettingPages", "仮パスワード（伏せずにファイルに保存されます）")),
};

constexpr SettingRow kNewsKept[] = {
    Of(Text, 132, QT_TRANSLATE_NOOP("SettingPages", "ニュースサーバー")),
    Of(Text, 197, QT_TRANSLATE_NOOP("SettingPages", "記事に付ける名前")),
    Of(Text, 198, QT_TRANSLATE_NOOP("SettingPages", "記事に付けるメールアドレス")),
    Of(Text, 202, QT_TRANSLATE_NOOP("SettingPages", "このコンピューターの名前")),
};

constexpr SettingPage kPages[] = {
    {QT_TRANSLATE_NOOP("SettingPages", "起動と終了"), kStart, kStartKept},
    {QT_TRANSLATE_NOOP("SettingPages", "モデムと回線"), kLine, kLineKept},
    {QT_TRANSLATE_NOOP("SettingPages", "送受信と振り分け"), kSending, kSendingKept},
    {QT_TRANSLATE_NOOP("SettingPages", "メール一覧とフォント"), kList, kListKept},
    {QT_TRANSLATE_NOOP("SettingPages", "画面"), kWindow, kWindowKept},
    {QT_TRANSLATE_NOOP("SettingPages", "返信と引用"), kReply, kReplyKept},
    {QT_TRANSLATE_NOOP("SettingPages", "編集"), {}, kEditKept},
    {QT_TRANSLATE_NOOP("SettingPages", "音"), kSounds, kSoundsKept},
    {QT_TRANSLATE_NOOP("SettingPages", "メールボックスバンク"), kBanks, kBanksKept},
    {QT_TRANSLATE_NOOP("SettingPages", "保存先と記録"), kLogs, kLogsKept},
    {QT_TRANSLATE_NOOP("SettingPages", "外部プログラム"), kPrograms, kProgramsKept},
    {QT_TRANSLATE_NOOP("SettingPages", "暗号と認証"), {}, kSecurityKept},
    {QT_TRANSLATE_NOOP("SettingPages", "ニュース"), {}, kNewsKept},
};

constexpr SettingElsewhere kElsewhere[] = {
    {1, 4, Elsewhere::Program, "place of the main window"},
    {6, 7, Elsewhere::Environments, "telephone number, route"},
    {9, 9, Elsewhere::Environments, "line speed"},
    {13, 15, Elsewhere::Environments, "dialling method, user ID, password"},
    {18, 18, Elsewhere::Environments, "modem initialisation command"},
    {20, 20, Elsewhere::Program, "height of the mail list"},
    {48, 51, Elsewhere::Program, "place of the message window"},
    {54, 54, Elsewhere::Program, "width of the folder pane"},
    {57, 57, Elsewhere::Environments, "forum name"},
    {64, 64, Elsewhere::Program, "active environment"},
    {70, 79, Elsewhere::Program, "column widths"},
    {82, 82, Elsewhere::Program, "last date"},
    {112, 112, Elsewhere::Environments, "From line"},
    {123, 123, Elsewhere::Program, "whether the main window was maximised"},
    {135, 135, Elsewhere::Program, "host index in use"},
    {136, 136, Elsewhere::Program, "number of environments, always ten"},
    {139, 139, Elsewhere::Program, "always 1"},
    {153, 158, Elsewhere::Program, "layout of the tool bar's bands"},
    {159, 159, Elsewhere::Program, "current bank"},
    {176, 185, Elsewhere::Program, "banks of the host entries, which have no dialog"},
    {186, 195, Elsewhere::Environments, "banks of the environments"},
    {199, 199, Elsewhere::Program, "width of the tool bar's fourth band"},
};

// clang-format on

}  // namespace

std::span<const SettingPage> SettingPages() {
    return kPages;
}

std::span<const SettingElsewhere> SettingsElsewhere() {
    return kElsewhere;
}

}  // namespace postkite::ui
