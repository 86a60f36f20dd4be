// The scripts that are built in, line for line. The numbers are part of them: scripts jump to numbers, and so
// do commands (1, 17 and 200), time-outs are told apart by the line that waited (2, 3 and 17), and the user's
// disconnect goes on at 200. A line that is put in or taken out moves all of these.

#include <algorithm>
#include <span>

#include "comm/script.h"
#include "core/shift_jis.h"

namespace postkite::comm {

namespace {

using namespace core::literals;

struct NumberedLine {
    int number;
    std::string_view text;
};

// clang-format off

// Two of these lines have one comma where the others have two. That is how they are.
constexpr NumberedLine kScriptA[] = {
    {1, "WAIT_TIME,2,"_sjis},
    {2, "MODEM_INIT,,モデム初期化中"_sjis},
    {3, "WAIT,OK\r\n,"_sjis},
    {4, "WAIT_TIME,1,"_sjis},
    {5, "SEND_DIAL,,ダイアル中"_sjis},
    {6, "WAIT_TIME,1,"_sjis},
    {7, "WAIT_CONNECT,,コネクト中"_sjis},
    {8, "WAIT_TIME,3,"_sjis},
    {9, "CASE_FENICS,,*ROAD7"_sjis},
    {10, "WAIT,HOST NAME?\r\n*,"_sjis},
    {11, "SEND,C NIF\r,"_sjis},
    {12, "GOTO,,*LOGIN"_sjis},
    {13, "*ROAD7,,"_sjis},
    {14, "WAIT,Login: ,"_sjis},
    {15, "SEND,NIFTY\r,"_sjis},
    {16, "WAIT,Password: ,"_sjis},
    {17, "SEND,\r,"_sjis},
    {18, "*LOGIN,,"_sjis},
    {19, "WAIT_CONNECTIONID,,"_sjis},
    {20, "SEND,SVC\r,コネクションＩＤ送信中"_sjis},
    {21, "WAIT,Enter User-ID  --->,"_sjis},
    {22, "SEND_ID,,ユーザＩＤ送信中"_sjis},
    {23, "WAIT,Enter Password --->,"_sjis},
    {24, "SEND_PASSWORD,,パスワード送信中"_sjis},
    {25, "WAIT_TOP,,メールサービスへ移動中"_sjis},
    {26, "SEND,SET MENU OFF\r,"_sjis},
    {27, "WAIT,＞,"_sjis},
    {28, "SEND,SET PAGE OFF\r,"_sjis},
    {29, "WAIT,＞,"_sjis},
    {30, "SEND,GO MAIL\r,"_sjis},
    {31, "WAIT,MAIL>,"_sjis},
    {32, "SEND,KITE\r,"_sjis},
    {33, "WAIT,MAIL>"_sjis},
    {35, "READ_FILE_FAST,*READMAILTOP,"_sjis},
    {36, "SEND,COM\r,"_sjis},
    {37, "WAIT,本文 (3000行まで　終了は行頭で/E　修正編集は 300行迄です)\r\n,"_sjis},
    {38, "UPLOAD_HEADER,,"_sjis},
    {39, "UPLOAD_FBUF,,メールアップロード中"_sjis},
    {42, "WAIT,MAIL>,"_sjis},
    {43, "CHECK_SEND_END,,"_sjis},
    {44, "GOTO,35,"_sjis},
    {46, "*READMAILTOP,,"_sjis},
    {47, "MAIL_LOG_ON,,"_sjis},
    {48, "SEND,READ ALL\r,新規メール読み込み中"_sjis},
    {49, "WAIT_ACTION,,"_sjis},
    {50, "MAIL_LOG_OFF,,"_sjis},
    {52, "*WMESTOP,,"_sjis},
    {53, "WAIT_TIME,1,"_sjis},
    {54, "READ_MES_TO,,*MESTOP"_sjis},
    {55, "GOTOFORUM,*MESCHANGE,"_sjis},
    {56, "WAIT_FORUM,,"_sjis},
    {57, "SEND,SET MENU OFF\r,"_sjis},
    {58, "WAIT,FORUM>,"_sjis},
    {59, "SEND,SET PAGE OFF\r,"_sjis},
    {60, "WAIT,FORUM>,"_sjis},
    {61, "SEND,SET DLM ON\r,"_sjis},
    {62, "WAIT,FORUM>,"_sjis},
    {63, "*MESCHANGE,,"_sjis},
    {64, "GOTOMES,*NOCHANGEMES,"_sjis},
    {65, "WAITCCS,,"_sjis},
    {66, "*NOCHANGEMES,,"_sjis},
    {67, "SEND,COM\r"_sjis},
    {68, "WAIT,本文（300 行まで　終了は行頭で/E）\r\n,"_sjis},
    {69, "UPLOAD_FBUF,,アップロード中"_sjis},
    {70, "WAITCCS,,"_sjis},
    {71, "CHECK_SEND_END,,"_sjis},
    {72, "GOTO,,*WMESTOP"_sjis},
    {74, "*MESTOP,,"_sjis},
    {75, "MESLOGON,,"_sjis},
    {76, "*MESTOP1,,"_sjis},
    {77, "WAIT_TIME,1,"_sjis},
    {78, "GOTOFORUM,*NOCHANGEMES2,*MESEND"_sjis},
    {79, "WAIT_FORUM,,"_sjis},
    {80, "SEND,SET MENU OFF\r,"_sjis},
    {81, "WAIT,FORUM>,"_sjis},
    {82, "SEND,SET PAGE OFF\r,"_sjis},
    {83, "WAIT,FORUM>,"_sjis},
    {84, "SEND,SET DLM ON\r,"_sjis},
    {85, "WAIT,FORUM>,"_sjis},
    {86, "*NOCHANGEMES2,,"_sjis},
    {87, "GOTOMES,*NOCHANGEMES3,"_sjis},
    {88, "WAITCCS,,"_sjis},
    {89, "*NOCHANGEMES3,,"_sjis},
    {90, "SEND,MRE\r,"_sjis},
    {91, "WAITCCS,,"_sjis},
    {92, "WRITEMESLASTACCESS,,"_sjis},
    {93, "GOTO,,*MESTOP1"_sjis},
    {94, "*MESEND,,"_sjis},
    {95, "MESLOGOFF,,"_sjis},
    {96, "GOTO,,*ALLEND"_sjis},
    {200, "*ALLEND,,"_sjis},
    {201, "SEND,OFF\r,"_sjis},
    {202, "WAIT_TIME,1,回線切断中"_sjis},
    {203, "LOGOFF,,"_sjis},
    {204, "SEND,+++,"_sjis},
    {205, "WAIT_TIME,1,"_sjis},
    {206, "SEND,ATH\r,"_sjis},
    {207, "END,,回線切断完了"_sjis},
};

constexpr NumberedLine kScriptB[] = {
    {1, "WAIT_TIME,2,"_sjis},
    {2, "MODEM_INIT,,モデム初期化中"_sjis},
    {3, "WAIT,OK\r\n,"_sjis},
    {10, "WAIT_TIME,1,"_sjis},
    {11, "SEND_DIAL,,ダイアル中"_sjis},
    {12, "WAIT_TIME,1,"_sjis},
    {13, "WAIT_CONNECT,,コネクト中"_sjis},
    {14, "WAIT_TIME,3,"_sjis},
    {15, "CASE_FENICS,,"_sjis},
    {16, "WAIT,HOST NAME?\r\n*,"_sjis},
    {17, "SEND,C NIF\r,"_sjis},
    {18, "WAIT,Enter Connection-ID  --->,"_sjis},
    {19, "SEND,SVC\r,コネクションＩＤ送信中"_sjis},
    {20, "WAIT,Enter User-ID  --->,"_sjis},
    {21, "SEND_ID,,ユーザＩＤ送信中"_sjis},
    {22, "WAIT,Enter Password --->,"_sjis},
    {23, "SEND_PASSWORD,,パスワード送信中"_sjis},
    {24, "WAIT_TOP,,メールサービスへ移動中"_sjis},
    {25, "SEND,SET MENU OFF\r,"_sjis},
    {26, "WAIT,＞,"_sjis},
    {27, "SEND,SET PAGE OFF\r,"_sjis},
    {28, "WAIT,＞,"_sjis},
    {30, "SEND,GO MAIL\r,"_sjis},
    {31, "WAIT,MAIL>,"_sjis},
    {32, "SEND,KITE\r,"_sjis},
    {33, "WAIT,MAIL>,"_sjis},
    {34, "MAIL_LOG_ON,,"_sjis},
    {35, "SEND,READ ALL\r,新規メール読み込み中"_sjis},
    {36, "WAIT_ACTION,,"_sjis},
    {37, "MAIL_LOG_OFF,,"_sjis},
    {38, "CHKSMAIL,120,"_sjis},
    {39, "SEND_GOMAIL,,"_sjis},
    {40, "WAIT_FORUM,,"_sjis},
    {41, "SEND,SET MENU OFF\r,"_sjis},
    {42, "WAIT,FORUM>,"_sjis},
    {43, "SEND,SET PAGE OFF\r,"_sjis},
    {44, "WAIT,FORUM>,"_sjis},
    {45, "READ_FILE_FAST,*ALLEND,"_sjis},
    {46, "SEND,SMAIL\r,"_sjis},
    {47, "WAIT,本文 (3000行まで　終了は行頭で/E　修正編集は 300行迄です)\r\n,"_sjis},
    {48, "UPLOAD_HEADER,,"_sjis},
    {49, "UPLOAD_FBUF,,メールアップロード中"_sjis},
    {59, "WAIT,FORUM>,"_sjis},
    {60, "CHECK_SEND_END,,"_sjis},
    {61, "GOTO,45,"_sjis},
    {63, "GOTO,,*ALLEND"_sjis},
    {200, "*ALLEND,,"_sjis},
    {201, "SEND,OFF\r,"_sjis},
    {202, "WAIT_TIME,2,回線切断中"_sjis},
    {203, "LOGOFF,,"_sjis},
    {204, "SEND,+++,"_sjis},
    {205, "WAIT_TIME,2,"_sjis},
    {206, "SEND,ATH\r,"_sjis},
    {207, "WAIT_TIME,1,"_sjis},
    {208, "END,,回線切断完了"_sjis},
};

/// From line 19 on this script is script A.
constexpr NumberedLine kBeginningOfScriptC[] = {
    {1, "WAIT_TIME,1,"_sjis},
    {2, "MODEM_INIT,,モデム初期化中"_sjis},
    {3, "WAIT,OK\r\n,"_sjis},
    {4, "WAIT_TIME,1,"_sjis},
    {5, "SEND_DIAL,,ダイアル中"_sjis},
    {6, "WAIT_TIME,1,"_sjis},
    {7, "WAIT_CONNECT,,コネクト中"_sjis},
    {8, "WAIT_TIME,5,"_sjis},
    {9, "SEND,\r\n,"_sjis},
    {10, "WAIT_TIME,5,"_sjis},
    {11, "SEND,NIFTY\r\n,"_sjis},
    {12, "GOTO,,*NIFTY_LOGIN"_sjis},
    {18, "*NIFTY_LOGIN,,"_sjis},
};
constexpr int kScriptCGoesOnAsA = 19;

// No command is called WAIT_ACTION_SAVE: line 60 is tried until the wait counter has run out. It stays.
constexpr NumberedLine kScriptD[] = {
    {1, "WAIT_TIME,1,"_sjis},
    {2, "MODEM_INIT,,モデム初期化中"_sjis},
    {3, "WAIT,OK\r\n,"_sjis},
    {4, "WAIT_TIME,1,"_sjis},
    {5, "SEND_DIAL,,ダイアル中"_sjis},
    {6, "WAIT_TIME,1,"_sjis},
    {7, "WAIT_CONNECT,,コネクト中"_sjis},
    {8, "WAIT_TIME,5,"_sjis},
    {9, "SEND,\r\n,"_sjis},
    {10, "WAIT_TIME,5,"_sjis},
    {11, "SEND,NIFTY\r\n,"_sjis},
    {18, "WAIT,Enter Connection-ID  --->,"_sjis},
    {19, "SEND,SVC\r,コネクションＩＤ送信中"_sjis},
    {20, "WAIT,Enter User-ID  --->,"_sjis},
    {21, "SEND_ID,,ユーザＩＤ送信中"_sjis},
    {22, "WAIT,Enter Password --->,"_sjis},
    {23, "SEND_PASSWORD,,パスワード送信中"_sjis},
    {24, "WAIT_TOP,,メールフォーラムへ移動中"_sjis},
    {25, "SEND,SET MENU OFF\r,"_sjis},
    {26, "WAIT,＞,"_sjis},
    {27, "SEND,SET PAGE OFF\r,"_sjis},
    {28, "WAIT,＞,"_sjis},
    {29, "SEND,GO MAIL\r,"_sjis},
    {30, "WAIT,MAIL>,"_sjis},
    {31, "READ_FILE_FAST,58,"_sjis},
    {32, "SEND,COM\r,"_sjis},
    {33, "WAIT,本文（300 行まで　終了は行頭で/E）\r\n,"_sjis},
    {34, "UPLOAD_HEADER,,"_sjis},
    {35, "UPLOAD_FBUF,,メールアップロード中"_sjis},
    {51, "WAIT,MAIL>,"_sjis},
    {52, "CHECK_SEND_END,,"_sjis},
    {53, "GOTO,31,"_sjis},
    {58, "MAIL_LOG_ON,,"_sjis},
    {59, "SEND,READ NEW\r,新規メール読み込み中"_sjis},
    {60, "WAIT_ACTION_SAVE,,"_sjis},
    {61, "MAIL_LOG_OFF,,"_sjis},
    {62, "CHECK_SENDLOGF,,"_sjis},
    {63, "SEND,SDL\r,"_sjis},
    {64, "WAIT,MAIL>,"_sjis},
    {65, "SEND,OFF\r,"_sjis},
    {66, "WAIT_TIME,2,回線切断中"_sjis},
    {67, "LOGOFF,,"_sjis},
    {68, "SEND,+++,"_sjis},
    {69, "WAIT_TIME,2,"_sjis},
    {70, "SEND,ATH\r,"_sjis},
    {71, "WAIT_TIME,1,"_sjis},
    {72, "END,,回線切断完了"_sjis},
};

// clang-format on

ScriptLines MakeScript(std::span<const NumberedLine> numberedLines) {
    ScriptLines lines;
    for (const NumberedLine& line : numberedLines)
        lines[static_cast<std::size_t>(line.number)] = line.text;
    return lines;
}

ScriptLines MakeScriptC() {
    ScriptLines lines = MakeScript(kScriptA);
    std::fill(lines.begin(), lines.begin() + kScriptCGoesOnAsA, std::string());
    for (const NumberedLine& line : kBeginningOfScriptC)
        lines[static_cast<std::size_t>(line.number)] = line.text;
    return lines;
}

}  // namespace

const ScriptLines& BuiltInScriptLines(BuiltInScript script) {
    static const std::array<ScriptLines, 4> scripts = {MakeScript(kScriptA), MakeScript(kScriptB),
                                                       MakeScriptC(), MakeScript(kScriptD)};
    return scripts[static_cast<std::size_t>(script)];
}

}  // namespace postkite::comm
