#include "core/settings_table.h"

#include <algorithm>
#include <array>

#include "core/password_scrambling.h"
#include "core/shift_jis.h"

namespace postkite::core {

namespace {

constexpr std::size_t kNoArray = static_cast<std::size_t>(-1);

template <auto Member, std::size_t Index = kNoArray>
auto& Field(Settings& settings) {
    if constexpr (Index == kNoArray) {
        return settings.*Member;
    } else {
        return (settings.*Member)[Index];
    }
}

using Kind = SettingLine::Kind;
using Correction = void (*)(Settings&);

template <auto Member, std::size_t Index = kNoArray>
constexpr SettingLine Integer(std::string_view key, std::int32_t value, Correction correct = nullptr) {
    return {key, Kind::Integer, &Field<Member, Index>, nullptr, value, {}, 0, correct};
}

template <auto Member>
constexpr SettingLine Text(std::string_view key, std::string_view value, Correction correct = nullptr) {
    return {key, Kind::Text, nullptr, &Field<Member>, 0, value, kLongestSettingText, correct};
}

template <auto Member>
constexpr SettingLine Secret(std::string_view key) {
    return {key, Kind::Secret, nullptr, &Field<Member>, 0, {}, kLongestPassword, nullptr};
}

template <std::size_t Slot>
constexpr SettingLine BankPath(std::string_view key, std::string_view value) {
    constexpr auto kField = &Field<&Settings::mailBoxPathName, Slot>;
    return {key, Kind::Text, nullptr, kField, 0, value, kLongestBankPath, nullptr};
}

template <auto Member>
void RaiseTo200(Settings& settings) {
    settings.*Member = std::max(settings.*Member, 200);
}

void CorrectFontSize(Settings& settings) {
    if (settings.fontSize < -20 || settings.fontSize > -7) settings.fontSize = 0;
}

void CorrectBandRow(Settings& settings) {
    if (settings.bandRow < 1 || settings.bandRow > 3) settings.bandRow = 1;
}

void CorrectBandOrder(Settings& settings) {
    constexpr std::string_view kUnpermuted = "012";
    const std::string& order = settings.bandOrder;
    if (!std::is_permutation(order.begin(), order.end(), kUnpermuted.begin(), kUnpermuted.end())) {
        settings.bandOrder = kUnpermuted;
    }
}

// What the file says here is ignored on purpose: there are ten environments whatever an older version wrote.
void FixEnvironmentCount(Settings& settings) {
    settings.environmentCount = static_cast<std::int32_t>(kEnvironmentCount);
}

// Ignored on purpose as well: the entry is always hidden.
void FixHideDialUpMenu(Settings& settings) {
    settings.hideDialUpMenu = 1;
}

// clang-format off
constexpr std::array<SettingLine, kSettingLineCount> kLines = {{
    /*   1 */ Integer<&Settings::mailWindowLeft>("MAIL WINDOW LEFT"_sjis, 0),
    /*   2 */ Integer<&Settings::mailWindowTop>("MAIL WINDOW TOP"_sjis, 0),
    /*   3 */ Integer<&Settings::mailWindowWidth>("MAIL WINDOW WIDTH"_sjis, 600, RaiseTo200<&Settings::mailWindowWidth>),
    /*   4 */ Integer<&Settings::mailWindowHeight>("MAIL WINDOW HIGH"_sjis, 400, RaiseTo200<&Settings::mailWindowHeight>),
    /*   5 */ Text<&Settings::hostName>("HOST NAME"_sjis, ""_sjis),
    /*   6 */ Text<&Settings::phoneNumber>("PHONE NUMBER"_sjis, ""_sjis),
    /*   7 */ Text<&Settings::fenicsLoad>("FENICS LOAD"_sjis, "2"_sjis),
    /*   8 */ Text<&Settings::rsPort>("RS PORT"_sjis, "2"_sjis),
    /*   9 */ Text<&Settings::rsSpeed>("RS SPEED"_sjis, "2400"_sjis),
    /*  10 */ Text<&Settings::rsData>("RS DATA"_sjis, "8"_sjis),
    /*  11 */ Text<&Settings::rsStop>("RS STOP"_sjis, "1"_sjis),
    /*  12 */ Text<&Settings::rsParity>("RS PARITY"_sjis, "NONE"_sjis),
    /*  13 */ Text<&Settings::pbDp>("PB DP"_sjis, "PB"_sjis),
    /*  14 */ Text<&Settings::userId>("USERID"_sjis, ""_sjis),
    /*  15 */ Secret<&Settings::userPassword>("USERPASSWORD"_sjis),
    /*  16 */ Text<&Settings::signature>("SIGNATURE"_sjis, "0"_sjis),
    /*  17 */ Text<&Settings::volume>("VOLUME"_sjis, "1"_sjis),
    /*  18 */ Text<&Settings::modemInitialCommand>("MODEM INITIAL COMMAND"_sjis, "ATQ0V1E1"_sjis),
    /*  19 */ Integer<&Settings::monitorWindow>("MONITER WINDOW"_sjis, 1),
    /*  20 */ Integer<&Settings::listHeight>("LISTHIGH"_sjis, 43),
    /*  21 */ Integer<&Settings::idDisplay>("IDDISPLAY"_sjis, 1),
    /*  22 */ Integer<&Settings::dateDisplay>("DATEDISPLAY"_sjis, 1),
    /*  23 */ Integer<&Settings::lineNumberDisplay>("LINE NUMBER DISPLAY"_sjis, 0),
    /*  24 */ Text<&Settings::logFilePath>("LOGFILEPATH"_sjis, "log"_sjis),
    /*  25 */ BankPath<0>("MAILBOXPATHNAME"_sjis, "MailBox1"_sjis),
    /*  26 */ Integer<&Settings::redialInterval>("REDIALINTER"_sjis, 10),
    /*  27 */ Integer<&Settings::redialTimes>("REDIALTIMES"_sjis, 10),
    /*  28 */ Text<&Settings::connectSound>("CONNECTSOUND"_sjis, ""_sjis),
    /*  29 */ Text<&Settings::disconnectSound>("DISCONNECTSOUND"_sjis, ""_sjis),
    /*  30 */ Text<&Settings::hideDirectory>("HIDEDIRECTORY"_sjis, "c:\\hideterm"_sjis),
    /*  31 */ Text<&Settings::upDirectory>("UPDIRECTORY"_sjis, "c:\\hideterm\\upload"_sjis),
    /*  32 */ Text<&Settings::scriptDirectory>("SCRIPTDIRECTORY"_sjis, ""_sjis),
    /*  33 */ Text<&Settings::hideMailLog>("HIDEMAILLOG"_sjis, "nifmail.log"_sjis),
    /*  34 */ Integer<&Settings::useHideTerm>("USEHIDETERM"_sjis, 0),
    /*  35 */ Integer<&Settings::quitHide>("QUITHIDE"_sjis, 0),
    /*  36 */ Integer<&Settings::sound>("SOUND"_sjis, 0),
    /*  37 */ Integer<&Settings::redial>("REDIAL"_sjis, 1),
    /*  38 */ Integer<&Settings::speakerOn>("SPEAKERONOFF"_sjis, 1),
    /*  39 */ Text<&Settings::hideLogDirectory>("HIDELOGDIRECTORY"_sjis, "c:\\hideterm\\log"_sjis),
    /*  40 */ Integer<&Settings::askStartUpPassword>("起動時にﾊﾟｽﾜｰﾄﾞを問い合わせる"_sjis, 0),
    /*  41 */ Secret<&Settings::encryptionKey>("ENCRIPTION KEY"_sjis),
    /*  42 */ Integer<&Settings::highSpeedUpload>("HIGH_SPEED_UPLOAD"_sjis, 0),
    /*  43 */ Integer<&Settings::hardwareFlow>("HARD_WARE_FLOW"_sjis, 0),
    /*  44 */ Integer<&Settings::ctrlRts>("CTRL_RTS"_sjis, 0),
    /*  45 */ Integer<&Settings::modemSpeakerControl>("MODEM SPEAKER CONTROL"_sjis, 0),
    /*  46 */ Text<&Settings::quotationMark>("INYOUHU"_sjis, ">"_sjis),
    /*  47 */ Integer<&Settings::log>("LOG"_sjis, 1),
    /*  48 */ Integer<&Settings::bodyTop>("BODYTOP"_sjis, 5),
    /*  49 */ Integer<&Settings::bodyLeft>("BODYLEFT"_sjis, 5),
    /*  50 */ Integer<&Settings::bodyWidth>("BODYWIDTH"_sjis, 600),
    /*  51 */ Integer<&Settings::bodyHeight>("BODYHIGH"_sjis, 440),
    /*  52 */ Integer<&Settings::autoMode>("AUTOMODE"_sjis, 0),
    /*  53 */ Integer<&Settings::mailBoxWindow>("MAILBOXWINDOW"_sjis, 1),
    /*  54 */ Integer<&Settings::mailBoxListWidth>("MAILBOXLISTWIDTH"_sjis, 200),
    /*  55 */ Integer<&Settings::dateLogName>("DATELOGNAME"_sjis, 0),
    /*  56 */ Integer<&Settings::savePassword>("SAVEPASSWORD"_sjis, 1),
    /*  57 */ Text<&Settings::forumName>("FORUM NAME"_sjis, ""_sjis),
    /*  58 */ Integer<&Settings::sendLog>("SENDLOG"_sjis, 0),
    /*  59 */ Integer<&Settings::extensionDialling>("NAISENHASSIN"_sjis, 0),
    /*  60 */ Text<&Settings::editor>("Editor"_sjis, ""_sjis),
    /*  61 */ Text<&Settings::printUtility>("PrintUT"_sjis, ""_sjis),
    /*  62 */ Text<&Settings::printUtilityOptions>("PUTComlineOPT"_sjis, ""_sjis),
    /*  63 */ Integer<&Settings::twoLine>("2LINE"_sjis, 0),
    /*  64 */ Integer<&Settings::currentId>("CURRENT ID"_sjis, 0),
    /*  65 */ Text<&Settings::honorific>("KEISHOU"_sjis, ""_sjis),
    /*  66 */ Integer<&Settings::useName>("UseName"_sjis, 0),
    /*  67 */ Integer<&Settings::askBeforeQuoting>("InyouToiawase"_sjis, 0),
    /*  68 */ Text<&Settings::niftermPath>("NiftermPath"_sjis, ""_sjis),
    /*  69 */ Text<&Settings::avalonPath>("AvalonPath"_sjis, ""_sjis),
    /*  70 */ Integer<&Settings::listWidth, 0>("ListWidth"_sjis, 0),
    /*  71 */ Integer<&Settings::listWidth, 1>("ListWidth"_sjis, 96),
    /*  72 */ Integer<&Settings::listWidth, 2>("ListWidth"_sjis, 172),
    /*  73 */ Integer<&Settings::listWidth, 3>("ListWidth"_sjis, 263),
    /*  74 */ Integer<&Settings::listWidth, 4>("ListWidth"_sjis, 326),
    /*  75 */ Integer<&Settings::listWidth, 5>("ListWidth"_sjis, 450),
    /*  76 */ Integer<&Settings::listWidth, 6>("ListWidth"_sjis, 1600),
    /*  77 */ Integer<&Settings::listWidth, 7>("ListWidth"_sjis, 0),
    /*  78 */ Integer<&Settings::listWidth, 8>("ListWidth"_sjis, 0),
    /*  79 */ Integer<&Settings::listWidth, 9>("ListWidth"_sjis, 0),
    /*  80 */ Integer<&Settings::oncePerDay>("1 TIME / DAY"_sjis, 0),
    /*  81 */ Integer<&Settings::returnDos>("RETURN DOS"_sjis, 0),
    /*  82 */ Text<&Settings::lastDate>("LAST DATE"_sjis, ""_sjis),
    /*  83 */ Integer<&Settings::encryptMailBoxOlder>("Encript Mail Box"_sjis, 0),
    /*  84 */ Integer<&Settings::onlyUnderbarFile>("Only Underbar File"_sjis, 0),
    /*  85 */ Integer<&Settings::securityNumber>("SecNo"_sjis, 0),
    /*  86 */ Integer<&Settings::fontSize>("FontSize"_sjis, -16, CorrectFontSize),
    /*  87 */ Text<&Settings::fontName>("FontName"_sjis, "ＭＳ ゴシック"_sjis),
    /*  88 */ Text<&Settings::errorSoundFile>("ErrorSoundFile"_sjis, ""_sjis),
    /*  89 */ Integer<&Settings::errorSound>("ErrorSound"_sjis, 0),
    /*  90 */ Integer<&Settings::sendSound>("FSendSound"_sjis, 0),
    /*  91 */ Text<&Settings::attachDirectory>("AttachDirectory"_sjis, "attach"_sjis),
    /*  92 */ Text<&Settings::provisionalId>("仮ID"_sjis, ""_sjis),
    /*  93 */ Text<&Settings::provisionalPassword>("仮PASSWORD"_sjis, ""_sjis),
    /*  94 */ Integer<&Settings::autoReply>("AutoRepFlag"_sjis, 0),
    /*  95 */ Text<&Settings::autoTitle>("AutoTitle"_sjis, ""_sjis),
    /*  96 */ Integer<&Settings::originalIcon>("Original Icon"_sjis, 0),
    /*  97 */ Integer<&Settings::editDialogUi, 0>("Edit dialog UI"_sjis, 0),
    /*  98 */ Integer<&Settings::editDialogUi, 1>("Edit dialog UI"_sjis, 1),
    /*  99 */ Integer<&Settings::editDialogUi, 2>("Edit dialog UI"_sjis, 0),
    /* 100 */ Integer<&Settings::editDialogUi, 3>("Edit dialog UI"_sjis, 0),
    /* 101 */ Integer<&Settings::editDialogUi, 4>("Edit dialog UI"_sjis, 0),
    /* 102 */ Integer<&Settings::editDialogUi, 5>("Edit dialog UI"_sjis, 0),
    /* 103 */ Integer<&Settings::kanaConvert>("KanaConvert"_sjis, 1),
    /* 104 */ Integer<&Settings::nifToInet>("NifToInet"_sjis, 0),
    /* 105 */ Text<&Settings::defaultDomain>("DefaultDomain"_sjis, ""_sjis),
    /* 106 */ Integer<&Settings::stayResident>("JOUCHUU"_sjis, 1),
    /* 107 */ Integer<&Settings::startIcon>("StartIcon"_sjis, 0),
    /* 108 */ Integer<&Settings::hotkey>("Hotkey"_sjis, 1),
    /* 109 */ Integer<&Settings::displayHeader>("DispHeader"_sjis, 1),
    /* 110 */ Integer<&Settings::hideCc>("HideCC"_sjis, 1),
    /* 111 */ Integer<&Settings::myReplyAddress>("MYREPLYADR"_sjis, 0),
    /* 112 */ Text<&Settings::nifFrom>("NIFFROM"_sjis, ""_sjis),
    /* 113 */ Integer<&Settings::ownKeyAutomatic>("MyKeyAutoF"_sjis, 1),
    /* 114 */ Integer<&Settings::yourKeyAutomatic>("YourKeyAutoF"_sjis, 1),
    /* 115 */ Secret<&Settings::startUpPassword>("起動時パスワード"_sjis),
    /* 116 */ Text<&Settings::ownExchangeKey>("MyDHKeySel"_sjis, "2"_sjis),
    /* 117 */ Text<&Settings::ownSignatureKey>("MyEsignKeySel"_sjis, "1"_sjis),
    /* 118 */ Text<&Settings::ownAuthorityId>("MyCAID"_sjis, ""_sjis),
    /* 119 */ Integer<&Settings::encryptMailBox>("EncryptMailBox"_sjis, 0),
    /* 120 */ Integer<&Settings::titleTree>("Title Tree"_sjis, 0),
    /* 121 */ Integer<&Settings::closeRemoteAccess>("CloseRemoteAccess"_sjis, 0),
    /* 122 */ Integer<&Settings::readNifMailByTelnet>("ReadNifMailByTelnet"_sjis, 0),
    /* 123 */ Integer<&Settings::maximisedAtEnd>("MAXEND"_sjis, 0),
    /* 124 */ Integer<&Settings::editColor>("EditColor"_sjis, 128),
    /* 125 */ Integer<&Settings::filterAtEnd>("FilterAtEnd"_sjis, 0),
    /* 126 */ Integer<&Settings::distinguishCase>("DaiShouKubetu"_sjis, 0),
    /* 127 */ Integer<&Settings::filterReceive>("FilterReceive"_sjis, 0),
    /* 128 */ Integer<&Settings::receivePopup>("ReceivePOPUP"_sjis, 1),
    /* 129 */ Integer<&Settings::autoEditor>("AutoEditor"_sjis, 0),
    /* 130 */ Integer<&Settings::autoEditorReply>("AutoEditorR"_sjis, 0),
    /* 131 */ Integer<&Settings::autoQuit>("AUTOQUIT"_sjis, 0),
    /* 132 */ Text<&Settings::newsHost>("NewsHost"_sjis, "news.example.jp"_sjis),
    /* 133 */ Integer<&Settings::toolBarFlag>("ToolBarFlag"_sjis, 1),
    /* 134 */ Integer<&Settings::listScroll>("PIDC_SCROLL"_sjis, 0),
    /* 135 */ Integer<&Settings::currentHostL>("Current HostL"_sjis, 10),
    /* 136 */ Integer<&Settings::environmentCount>("環境設定数"_sjis, 10, FixEnvironmentCount),
    /* 137 */ Integer<&Settings::hideTelnetMenu>("TELNET NIFTY メニューを隠す"_sjis, 0),
    /* 138 */ Integer<&Settings::hideRemoteMailMenu>("リモートメールメニューを隠す"_sjis, 0),
    /* 139 */ Integer<&Settings::hideDialUpMenu>("ダイアルアップの切断メニューを隠す"_sjis, 0, FixHideDialUpMenu),
    /* 140 */ Integer<&Settings::attachmentEncoding>("添付ﾌｧｲﾙｴﾝｺｰﾄﾞ"_sjis, 0),
    /* 141 */ Text<&Settings::pppRetry>("PPP RETRY"_sjis, "3"_sjis),
    /* 142 */ Integer<&Settings::patrolAtSetTimes>("定刻動作"_sjis, 0),
    /* 143 */ BankPath<1>("MAILBOXPATHNAME1"_sjis, "MailBox2"_sjis),
    /* 144 */ BankPath<2>("MAILBOXPATHNAME2"_sjis, "MailBox3"_sjis),
    /* 145 */ BankPath<3>("MAILBOXPATHNAME3"_sjis, "MailBox4"_sjis),
    /* 146 */ BankPath<4>("MAILBOXPATHNAME4"_sjis, "MailBox5"_sjis),
    /* 147 */ Integer<&Settings::mailBankCombo>("MailBankCombo"_sjis, 1),
    /* 148 */ Integer<&Settings::noReceiveIntoBanks12>("バンク１２では受信しない"_sjis, 1),
    /* 149 */ Integer<&Settings::bankFollowsEnvironment>("環境とバンクを同期切り替え"_sjis, 0),
    /* 150 */ Integer<&Settings::receiveWhenSending>("送信時に受信も行う"_sjis, 0),
    /* 151 */ Text<&Settings::patrol>("巡回"_sjis, "00000000000000000000"_sjis),
    /* 152 */ Integer<&Settings::replySubjectStyle>("返信タイトル"_sjis, 0),
    /* 153 */ Integer<&Settings::bandWidth, 0>("BandWidth"_sjis, 400),
    /* 154 */ Integer<&Settings::bandWidth, 1>("BandWidth"_sjis, 100),
    /* 155 */ Integer<&Settings::bandWidth, 2>("BandWidth"_sjis, 100),
    /* 156 */ Integer<&Settings::bandRow>("BandRow"_sjis, 1, CorrectBandRow),
    /* 157 */ Text<&Settings::bandOrder>("BandJunjo"_sjis, "012"_sjis, CorrectBandOrder),
    /* 158 */ Integer<&Settings::bandOrderFlag>("BandJunjo"_sjis, 1),
    /* 159 */ Integer<&Settings::nowBoxNo>("NowBoxNo"_sjis, 0),
    /* 160 */ Integer<&Settings::displayEditToolBar>("DispEditToolbar"_sjis, 1),
    /* 161 */ BankPath<5>("MAILBOXPATHNAME"_sjis, "MailBox6"_sjis),
    /* 162 */ BankPath<6>("MAILBOXPATHNAME"_sjis, "MailBox7"_sjis),
    /* 163 */ BankPath<7>("MAILBOXPATHNAME"_sjis, "MailBox8"_sjis),
    /* 164 */ BankPath<8>("MAILBOXPATHNAME"_sjis, "MailBox9"_sjis),
    /* 165 */ BankPath<9>("MAILBOXPATHNAME"_sjis, "MailBox10"_sjis),
    /* 166 */ BankPath<10>("MAILBOXPATHNAME"_sjis, "MailBox11"_sjis),
    /* 167 */ BankPath<11>("MAILBOXPATHNAME"_sjis, "MailBox12"_sjis),
    /* 168 */ BankPath<12>("MAILBOXPATHNAME"_sjis, "MailBox13"_sjis),
    /* 169 */ BankPath<13>("MAILBOXPATHNAME"_sjis, "MailBox14"_sjis),
    /* 170 */ BankPath<14>("MAILBOXPATHNAME"_sjis, "MailBox15"_sjis),
    /* 171 */ BankPath<15>("MAILBOXPATHNAME"_sjis, "MailBox16"_sjis),
    /* 172 */ BankPath<16>("MAILBOXPATHNAME"_sjis, "MailBox17"_sjis),
    /* 173 */ BankPath<17>("MAILBOXPATHNAME"_sjis, "MailBox18"_sjis),
    /* 174 */ BankPath<18>("MAILBOXPATHNAME"_sjis, "MailBox19"_sjis),
    /* 175 */ BankPath<19>("MAILBOXPATHNAME"_sjis, "MailBox20"_sjis),
    /* 176 */ Integer<&Settings::bank, 0>("Bank"_sjis, 0),
    /* 177 */ Integer<&Settings::bank, 1>("Bank"_sjis, 0),
    /* 178 */ Integer<&Settings::bank, 2>("Bank"_sjis, 0),
    /* 179 */ Integer<&Settings::bank, 3>("Bank"_sjis, 0),
    /* 180 */ Integer<&Settings::bank, 4>("Bank"_sjis, 0),
    /* 181 */ Integer<&Settings::bank, 5>("Bank"_sjis, 0),
    /* 182 */ Integer<&Settings::bank, 6>("Bank"_sjis, 0),
    /* 183 */ Integer<&Settings::bank, 7>("Bank"_sjis, 0),
    /* 184 */ Integer<&Settings::bank, 8>("Bank"_sjis, 0),
    /* 185 */ Integer<&Settings::bank, 9>("Bank"_sjis, 0),
    /* 186 */ Integer<&Settings::bank, 10>("Bank"_sjis, 0),
    /* 187 */ Integer<&Settings::bank, 11>("Bank"_sjis, 0),
    /* 188 */ Integer<&Settings::bank, 12>("Bank"_sjis, 0),
    /* 189 */ Integer<&Settings::bank, 13>("Bank"_sjis, 0),
    /* 190 */ Integer<&Settings::bank, 14>("Bank"_sjis, 0),
    /* 191 */ Integer<&Settings::bank, 15>("Bank"_sjis, 0),
    /* 192 */ Integer<&Settings::bank, 16>("Bank"_sjis, 0),
    /* 193 */ Integer<&Settings::bank, 17>("Bank"_sjis, 0),
    /* 194 */ Integer<&Settings::bank, 18>("Bank"_sjis, 0),
    /* 195 */ Integer<&Settings::bank, 19>("Bank"_sjis, 0),
    /* 196 */ Integer<&Settings::receivedMailViewer>("受信メールビューア"_sjis, 1),
    /* 197 */ Text<&Settings::newsRealName>("NewsRealName"_sjis, ""_sjis),
    /* 198 */ Text<&Settings::newsMailAddress>("NewsMailAddress"_sjis, ""_sjis),
    /* 199 */ Integer<&Settings::bandWidth, 3>("BandWidth"_sjis, 100),
    /* 200 */ Integer<&Settings::sendMailNest>("SendMailNest"_sjis, 0),
    /* 201 */ Integer<&Settings::mailingListTitle>("MLTitle"_sjis, 0),
    /* 202 */ Text<&Settings::myMachineName>("MyMachineName"_sjis, ""_sjis),
}};
// clang-format on

}  // namespace

std::span<const SettingLine, kSettingLineCount> SettingLines() {
    return kLines;
}

Settings::Settings() {
    for (const SettingLine& line : kLines) {
        if (line.kind == Kind::Integer) {
            line.integer(*this) = line.defaultInteger;
        } else {
            line.text(*this) = line.defaultText;
        }
    }
}

}  // namespace postkite::core
