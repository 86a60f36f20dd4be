#include "core/settings_file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <set>

#include "core/list_font.h"
#include "core/password_scrambling.h"
#include "core/settings_table.h"
#include "core/shift_jis.h"
#include "tests/support/memory_file_system.h"

namespace postkite::core {
namespace {

using support::MemoryFileSystem;
using Lines = std::vector<std::string>;

constexpr const char* kPath = "/mail/Setting/setting.ini";

/// The file that holds the defaults, "|" for each CR LF.
constexpr std::u8string_view kDefaultFile =
    u8R"(
MAIL WINDOW LEFT=0|MAIL WINDOW TOP=0|MAIL WINDOW WIDTH=600|MAIL WINDOW HIGH=400|HOST NAME=|PHONE NUMBER=|
FENICS LOAD=2|RS PORT=2|RS SPEED=2400|RS DATA=8|RS STOP=1|RS PARITY=NONE|PB DP=PB|USERID=|USERPASSWORD=|
SIGNATURE=0|VOLUME=1|MODEM INITIAL COMMAND=ATQ0V1E1|MONITER WINDOW=1|LISTHIGH=43|IDDISPLAY=1|DATEDISPLAY=1|
LINE NUMBER DISPLAY=0|LOGFILEPATH=log|MAILBOXPATHNAME=MailBox1|REDIALINTER=10|REDIALTIMES=10|CONNECTSOUND=|
DISCONNECTSOUND=|HIDEDIRECTORY=c:\hideterm|UPDIRECTORY=c:\hideterm\upload|SCRIPTDIRECTORY=|
HIDEMAILLOG=nifmail.log|USEHIDETERM=0|QUITHIDE=0|SOUND=0|REDIAL=1|SPEAKERONOFF=1|
HIDELOGDIRECTORY=c:\hideterm\log|起動時にﾊﾟｽﾜｰﾄﾞを問い合わせる=0|ENCRIPTION KEY=|HIGH_SPEED_UPLOAD=0|
HARD_WARE_FLOW=0|CTRL_RTS=0|MODEM SPEAKER CONTROL=0|INYOUHU=>|LOG=1|BODYTOP=5|BODYLEFT=5|BODYWIDTH=600|
BODYHIGH=440|AUTOMODE=0|MAILBOXWINDOW=1|MAILBOXLISTWIDTH=200|DATELOGNAME=0|SAVEPASSWORD=1|FORUM NAME=|
SENDLOG=0|NAISENHASSIN=0|Editor=|PrintUT=|PUTComlineOPT=|2LINE=0|CURRENT ID=0|KEISHOU=|UseName=0|
InyouToiawase=0|NiftermPath=|AvalonPath=|ListWidth=0|ListWidth=96|ListWidth=172|ListWidth=263|ListWidth=326|
ListWidth=450|ListWidth=1600|ListWidth=0|ListWidth=0|ListWidth=0|1 TIME / DAY=0|RETURN DOS=0|LAST DATE=|
Encript Mail Box=0|Only Underbar File=0|SecNo=0|FontSize=-16|FontName=ＭＳ ゴシック|ErrorSoundFile=|
ErrorSound=0|FSendSound=0|AttachDirectory=attach|仮ID=|仮PASSWORD=|AutoRepFlag=0|AutoTitle=|Original Icon=0|
Edit dialog UI=0|Edit dialog UI=1|Edit dialog UI=0|Edit dialog UI=0|Edit dialog UI=0|Edit dialog UI=0|
KanaConvert=1|NifToInet=0|DefaultDomain=|JOUCHUU=1|StartIcon=0|Hotkey=1|DispHeader=1|HideCC=1|MYREPLYADR=0|
NIFFROM=|MyKeyAutoF=1|YourKeyAutoF=1|起動時パスワード=|MyDHKeySel=2|MyEsignKeySel=1|MyCAID=|
EncryptMailBox=0|Title Tree=0|CloseRemoteAccess=0|ReadNifMailByTelnet=0|MAXEND=0|EditColor=128|
FilterAtEnd=0|DaiShouKubetu=0|FilterReceive=0|ReceivePOPUP=1|AutoEditor=0|AutoEditorR=0|AUTOQUIT=0|
NewsHost=news.example.jp|ToolBarFlag=1|PIDC_SCROLL=0|Current HostL=10|環境設定数=10|
TELNET NIFTY メニューを隠す=0|リモートメールメニューを隠す=0|ダイアルアップの切断メニューを隠す=0|
添付ﾌｧｲﾙｴﾝｺｰﾄﾞ=0|PPP RETRY=3|定刻動作=0|MAILBOXPATHNAME1=MailBox2|MAILBOXPATHNAME2=MailBox3|
MAILBOXPATHNAME3=MailBox4|MAILBOXPATHNAME4=MailBox5|MailBankCombo=1|バンク１２では受信しない=1|
環境とバンクを同期切り替え=0|送信時に受信も行う=0|巡回=00000000000000000000|返信タイトル=0|BandWidth=400|
BandWidth=100|BandWidth=100|BandRow=1|BandJunjo=012|BandJunjo=1|NowBoxNo=0|DispEditToolbar=1|
MAILBOXPATHNAME=MailBox6|MAILBOXPATHNAME=MailBox7|MAILBOXPATHNAME=MailBox8|MAILBOXPATHNAME=MailBox9|
MAILBOXPATHNAME=MailBox10|MAILBOXPATHNAME=MailBox11|MAILBOXPATHNAME=MailBox12|MAILBOXPATHNAME=MailBox13|
MAILBOXPATHNAME=MailBox14|MAILBOXPATHNAME=MailBox15|MAILBOXPATHNAME=MailBox16|MAILBOXPATHNAME=MailBox17|
MAILBOXPATHNAME=MailBox18|MAILBOXPATHNAME=MailBox19|MAILBOXPATHNAME=MailBox20|Bank=0|Bank=0|Bank=0|Bank=0|
Bank=0|Bank=0|Bank=0|Bank=0|Bank=0|Bank=0|Bank=0|Bank=0|Bank=0|Bank=0|Bank=0|Bank=0|Bank=0|Bank=0|Bank=0|
Bank=0|受信メールビューア=1|NewsRealName=|NewsMailAddress=|BandWidth=100|SendMailNest=0|MLTitle=0|
MyMachineName=|
)";

std::string FileOf(const Lines& lines) {
    std::string bytes;
    for (const std::string& line : lines)
        bytes += line + "\r\n";
    return bytes;
}

Lines DefaultLines() {
    Lines lines(1);
    const std::string text = FromUtf8(kDefaultFile).value();
    for (const char byte : text) {
        if (byte == '|') lines.emplace_back();
        if (byte != '|' && byte != '\n') lines.back() += byte;
    }
    lines.pop_back();
    return lines;
}

/// The file of a program in which every value has been changed, within its bounds.
Lines ChangedLines() {
    Lines lines = DefaultLines();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const SettingLine::Kind kind = SettingLines()[i].kind;
        std::string value = std::to_string(i + 1001);
        if (kind == SettingLine::Kind::Text) value = std::string("値=能"_sjis) + value;
        if (kind == SettingLine::Kind::Secret) ScramblePassword(value);
        const std::map<std::size_t, std::string> bounded = {
            {86, "-12"}, {136, "10"}, {139, "1"}, {156, "3"}, {157, "210"}};
        if (bounded.contains(i + 1)) value = bounded.at(i + 1);
        lines[i].replace(lines[i].find('=') + 1, std::string::npos, value);
    }
    return lines;
}

Settings Loaded(std::string_view bytes, ToolBarStyle style = ToolBarStyle::Plain) {
    MemoryFileSystem disk;
    disk.Put(kPath, bytes);
    Settings settings;
    Environments environments;
    EXPECT_EQ(LoadSettings(Workspace(disk, "/mail"), settings, environments, style).settings, 0);
    return settings;
}

/// The default file with something else as line `number`, counted from 1.
Settings LoadedWith(std::size_t number, std::string_view line, ToolBarStyle style = ToolBarStyle::Plain) {
    Lines lines = DefaultLines();
    lines[number - 1] = line;
    return Loaded(FileOf(lines), style);
}

TEST(SettingsFileTest, TheDefaultsAreTheseBytes) {
    ASSERT_EQ(DefaultLines().size(), 202U);
    EXPECT_EQ(FormatSettings(Settings()), FileOf(DefaultLines()));
}

TEST(SettingsFileTest, EveryValueSurvivesInAPlaceOfItsOwn) {
    EXPECT_EQ(FormatSettings(Loaded(FileOf(ChangedLines()))), FileOf(ChangedLines()));
    Settings settings;
    std::set<const void*> places;
    for (const SettingLine& line : SettingLines()) {
        if (line.integer != nullptr) places.insert(&line.integer(settings));
        if (line.text != nullptr) places.insert(&line.text(settings));
    }
    EXPECT_EQ(places.size(), 202U);
}

TEST(SettingsFileTest, LinesAreTakenByTheirPositionWhateverTheirKey) {
    Lines numbered;
    for (int number = 1; number <= 202; ++number)
        numbered.push_back("key=" + std::to_string(number));
    const Settings s = Loaded(FileOf(numbered));
    const auto list = [](const auto&... values) { return std::vector{values...}; };
    EXPECT_EQ(list(s.hostName, s.phoneNumber, s.fenicsLoad, s.rsPort, s.rsSpeed, s.pbDp, s.userId,
                   s.modemInitialCommand, s.logFilePath, s.mailBoxPathName[0], s.forumName),
              (Lines{"5", "6", "7", "8", "9", "13", "14", "18", "24", "25", "57"}));
    EXPECT_EQ(list(s.fontName, s.attachDirectory, s.nifFrom, s.mailBoxPathName[1], s.mailBoxPathName[4],
                   s.patrol, s.mailBoxPathName[5], s.mailBoxPathName[19], s.newsRealName, s.myMachineName),
              (Lines{"87", "91", "112", "143", "146", "151", "161", "175", "197", "202"}));
    EXPECT_EQ(list(s.mailWindowLeft, s.mailWindowTop, s.redialInterval, s.redialTimes, s.sound, s.redial,
                   s.speakerOn, s.highSpeedUpload, s.log, s.autoMode, s.dateLogName, s.savePassword,
                   s.sendLog, s.currentId, s.listWidth[0], s.listWidth[9]),
              list(1, 2, 26, 27, 36, 37, 38, 42, 47, 52, 55, 56, 58, 64, 70, 79));
    EXPECT_EQ(list(s.editDialogUi[0], s.editDialogUi[5], s.maximisedAtEnd, s.filterAtEnd, s.distinguishCase,
                   s.filterReceive, s.autoQuit, s.toolBarFlag, s.currentHostL, s.noReceiveIntoBanks12,
                   s.bankFollowsEnvironment, s.receiveWhenSending, s.replySubjectStyle),
              list(97, 102, 123, 125, 126, 127, 131, 133, 135, 148, 149, 150, 152));
    EXPECT_EQ(list(s.bandWidth[0], s.bandWidth[2], s.bandOrderFlag, s.nowBoxNo, s.bank[0], s.bank[19],
                   s.bandWidth[3], s.mailingListTitle),
              list(153, 155, 158, 159, 176, 195, 199, 201));
    Lines swapped = DefaultLines();
    std::swap(swapped[2], swapped[3]);
    EXPECT_EQ(Loaded(FileOf(swapped)).mailWindowWidth, 400);
    EXPECT_EQ(Loaded(FileOf(swapped)).mailWindowHeight, 600);
}

TEST(SettingsFileTest, TheValueIsAllThatFollowsTheFirstEqualsSign) {
    EXPECT_EQ(LoadedWith(62, "PUTComlineOPT=/a=1 /b=").printUtilityOptions, "/a=1 /b=");
    EXPECT_EQ(LoadedWith(5, "= x\t").hostName, " x\t");
    EXPECT_EQ(LoadedWith(15, "USERPASSWORD=100319").userPassword, "abc");
    EXPECT_EQ(LoadedWith(2, "k=  -12px").mailWindowTop, -12);
    EXPECT_EQ(LoadedWith(19, "k=").monitorWindow, 0);
    EXPECT_EQ(LoadedWith(2, "k=-2147483649").mailWindowTop, -2147483647 - 1);
    EXPECT_EQ(LoadedWith(9, "RS SPEED 9600").rsSpeed, "2400") << "no value, so the default stands";
    EXPECT_EQ(LoadedWith(9, std::string_view("k=96\0x", 6)).rsSpeed, "96");
    EXPECT_EQ(LoadedWith(9, std::string_view("k\0=9600", 7)).rsSpeed, "2400");
}

TEST(SettingsFileTest, ValuesTooLongAreCutBetweenCharacters) {
    std::string many;
    for (int i = 0; i < 300; ++i)
        many += "能"_sjis;
    EXPECT_EQ(LoadedWith(5, "k=" + many).hostName, many.substr(0, 512));
    EXPECT_EQ(LoadedWith(5, "k=a" + many).hostName, "a" + many.substr(0, 510));
    EXPECT_EQ(LoadedWith(161, "k=" + many).mailBoxPathName[5], many.substr(0, 510));
    const Settings huge = LoadedWith(5, "k=" + std::string(10 * 1024 * 1024, 'x'));
    EXPECT_EQ(huge.hostName, std::string(512, 'x'));
    EXPECT_EQ(huge.fenicsLoad + huge.rsSpeed, "22400") << "the lines behind the huge one";
}

TEST(SettingsFileTest, CorrectsTheseValuesAlone) {
    using Pairs = std::vector<std::pair<std::string, int>>;
    for (const auto& [stored, read] :
         Pairs{{"50", 200}, {"199", 200}, {"200", 200}, {"201", 201}, {"-1", 200}}) {
        EXPECT_EQ(LoadedWith(3, "k=" + stored).mailWindowWidth, read);
        EXPECT_EQ(LoadedWith(4, "k=" + stored).mailWindowHeight, read);
    }
    for (const auto& [stored, read] :
         Pairs{{"-6", 0}, {"-7", -7}, {"-20", -20}, {"-21", 0}, {"0", 0}, {"16", 0}})
        EXPECT_EQ(LoadedWith(86, "k=" + stored).fontSize, read);
    for (const auto& [stored, read] : Pairs{{"0", 1}, {"1", 1}, {"2", 2}, {"3", 3}, {"4", 1}, {"-1", 1}})
        EXPECT_EQ(LoadedWith(156, "k=" + stored).bandRow, read);
    for (const std::string order : {"012", "021", "102", "120", "201", "210"})
        EXPECT_EQ(LoadedWith(157, "k=" + order).bandOrder, order);
    for (const std::string order : {"0123", "013", "", "01", "011", "000", "222", " 012", "abc"})
        EXPECT_EQ(LoadedWith(157, "k=" + order).bandOrder, "012");
    for (const std::string_view line : {"k=3", "none"}) {
        EXPECT_EQ(LoadedWith(136, line).environmentCount, 10);
        EXPECT_EQ(LoadedWith(139, line).hideDialUpMenu, 1);
    }
    EXPECT_EQ(LoadedWith(64, "k=77").currentId, 77) << "taken as it stands";
    for (const auto& [style, height] : {std::pair{ToolBarStyle::Plain, 39}, {ToolBarStyle::Bands, 100}}) {
        EXPECT_EQ(Loaded("", style).toolBarHeight, height);
        for (const auto& [flag, read] : Pairs{{"0", 0}, {"1", height}, {"2", 0}})
            EXPECT_EQ(LoadedWith(133, "k=" + flag, style).toolBarHeight, read);
    }
}

TEST(SettingsFileTest, AFileCutAnywhereReadsAsTheLinesBeforeTheCut) {
    const Lines changed = ChangedLines();
    const std::string whole = FileOf(changed);
    Lines expected = DefaultLines();
    std::size_t lines = 0;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        if (length > 0 && whole[length - 1] == '\r') {
            expected[lines] = changed[lines];
            ++lines;
        }
        ASSERT_EQ(FormatSettings(Loaded(whole.substr(0, length))), FileOf(expected)) << "cut at " << length;
    }
    const Settings four = Loaded("a=10\r\nb=20\r\nc=300\r\nd=500\r\n");
    EXPECT_EQ(four.mailWindowHeight, 500);
    EXPECT_EQ(four.toolBarHeight, 39);
}

/// A working directory with settings to save.
struct Saving {
    explicit Saving(std::string_view file = {}) {
        disk.PutDirectory("/mail/Setting");
        if (!file.empty()) disk.Put(kPath, file);
        settings.userId = "ABC01234";
    }
    SaveOutcome Save(const BandLayout* bands = nullptr) { return SaveSettings(workspace, settings, bands); }
    [[nodiscard]] std::string Content(const std::string& suffix = {}) const {
        return disk.Get(kPath + suffix).value_or("(none)");
    }
    [[nodiscard]] std::size_t FileCount() const { return disk.Names("/mail/Setting").size(); }
    [[nodiscard]] bool Has(const std::string& lines) const {
        return ("\n" + Content()).find("\n" + lines + "\r\n") != std::string::npos;
    }

    MemoryFileSystem disk;
    Workspace workspace{disk, "/mail"};
    Settings settings;
};

TEST(SettingsSaveTest, PasswordsAreScrambledOrLeftOut) {
    Saving on;
    on.settings.userPassword = "abc";
    on.settings.encryptionKey = "q";
    on.settings.startUpPassword = "qa";
    ASSERT_EQ(on.Save().result, 0);
    EXPECT_TRUE(on.Has("USERPASSWORD=100319") && on.Has("ENCRIPTION KEY=00"));
    EXPECT_TRUE(on.Has(std::string("起動時パスワード=0000"_sjis)));
    EXPECT_EQ(Loaded(on.Content()).startUpPassword, "qa");

    on.settings.savePassword = 0;
    ASSERT_EQ(on.Save().result, 0);
    EXPECT_EQ(on.settings.userPassword, "");
    EXPECT_TRUE(on.Has("USERPASSWORD=") && on.Has("ENCRIPTION KEY=00"));
    EXPECT_EQ(on.FileCount(), 1U) << "the old password is still on the disk";
}

TEST(SettingsSaveTest, TakesTheBandLayout) {
    Saving on;
    const BandLayout bands = {{11, 22, 33, 44}, 2, "201", 0};
    ASSERT_EQ(on.Save(&bands).result, 0);
    EXPECT_TRUE(
        on.Has("BandWidth=11\r\nBandWidth=22\r\nBandWidth=33\r\nBandRow=2\r\nBandJunjo=201\r\nBandJunjo=0"));
    EXPECT_TRUE(on.Has("NewsMailAddress=\r\nBandWidth=44"));
    EXPECT_EQ(on.settings.bandOrder, "201");
}

TEST(SettingsSaveTest, KeepsAFileThatReadingDidNotTakeWhole) {
    const std::string whole = FileOf(ChangedLines());
    Lines noEquals = ChangedLines();
    noEquals[8] = "RS SPEED 9600";
    const std::string odd[] = {whole.substr(0, whole.size() - 3),
                               whole.substr(0, 20),
                               whole + "MORE=1\r\n",
                               "\xEF\xBB\xBF" + whole,
                               FileOf(noEquals),
                               "a=1\nb=2\n",
                               std::string(99'999, 'x')};
    for (const std::string& file : odd) {
        Saving on(file);
        SaveOutcome outcome = on.Save();
        EXPECT_EQ(outcome.result, 0);
        EXPECT_EQ(outcome.keptAs, "Setting\\setting.ini.bak");
        EXPECT_TRUE(on.Content() == FormatSettings(on.settings));
        on.settings.userId = "changed";
        EXPECT_EQ(on.Save().keptAs, "") << "its own file";
        on.disk.Put(kPath, "odd again");
        EXPECT_EQ(on.Save().keptAs, "Setting\\setting.ini.bak2");
        EXPECT_EQ(on.Content(".bak2"), "odd again");
        EXPECT_TRUE(on.Content(".bak") == file);
    }
}

TEST(SettingsSaveTest, FilesThatReadingTookWholeAreReplacedInSilence) {
    const std::string whole = FileOf(ChangedLines());
    Lines corrected = ChangedLines();
    corrected[85] = "FontSize=-30";
    corrected[135].back() = '3';
    const std::string taken[] = {whole, FileOf(corrected), whole.substr(0, whole.size() - 1),
                                 whole.substr(0, whole.find("HOST")), FileOf(DefaultLines())};
    for (const std::string& file : taken) {
        Saving on(file);
        EXPECT_EQ(on.Save().keptAs, "");
        EXPECT_EQ(on.FileCount(), 1U);
    }
}

TEST(SettingsSaveTest, AFileThatCannotBeReadIsNotReplaced) {
    Saving on;
    on.disk.PutDirectory(kPath);
    EXPECT_EQ(on.Save().result, -EISDIR);
    EXPECT_EQ(on.FileCount(), 1U);
}

TEST(SettingsSaveTest, NothingIsLostWhateverFailsAndWheneverItStops) {
    const std::string odd = FileOf(ChangedLines()) + "torn";
    enum Aftermath { kFailure, kKill, kPowerCut, kPowerCutWithNames };
    const auto strike = [&](Aftermath aftermath, int call) {
        Saving on(odd);
        aftermath == kFailure ? on.disk.FailCall(call, -EIO) : on.disk.StopAtCall(call);
        const SaveOutcome outcome = on.Save();
        const bool struck = on.disk.struck();
        on.disk.Restart();
        if (aftermath == kPowerCut) on.disk.PowerCut();
        if (aftermath == kPowerCutWithNames) on.disk.PowerCut(MemoryFileSystem::NamesKept::Written);
        const bool isNew = on.Content() == FormatSettings(on.settings);
        EXPECT_TRUE(isNew || (outcome.result < 0 && on.Content() == odd)) << "call " << call;
        EXPECT_TRUE(!isNew || on.Content(".bak") == odd) << "call " << call;
        return struck;
    };
    for (const Aftermath aftermath : {kFailure, kKill, kPowerCut, kPowerCutWithNames}) {
        SCOPED_TRACE(aftermath);
        int call = 1;
        while (strike(aftermath, call))
            ++call;
        EXPECT_GT(call, 15);
    }
}

TEST(SettingsFileTest, TheEnvironmentsBeginWithTheirDefaultsAtEveryStart) {
    support::MemoryFileSystem disk;
    Workspace workspace(disk, "/mail");
    Settings settings;
    Environments environments;
    environments.entries[0].userId = "of before";
    environments.entries[8].userId = "of before";
    ASSERT_EQ(LoadSettings(workspace, settings, environments, ToolBarStyle::Plain).settings, -ENOENT);
    EXPECT_EQ(environments.entries[0].userId, "");
    EXPECT_EQ(environments.entries[8].userId, "of before");
}

TEST(ListFontTest, FollowsTheSettings) {
    Settings settings;
    EXPECT_EQ(CreateListFont(settings).height, -16);
    EXPECT_EQ(CreateListFont(settings).face, "ＭＳ ゴシック"_sjis);
    EXPECT_EQ(CreateListFont(settings).weight, 400);
    settings.fontName.clear();
    settings.fontSize = 0;
    EXPECT_EQ(CreateListFont(settings).face, "FixedSys");
    EXPECT_EQ(CreateListFont(settings).height, 0);
    EXPECT_EQ(CreateSmallFont().height, 12);
    EXPECT_EQ(CreateSmallFont().face, "ＭＳ ゴシック"_sjis);
}

}  // namespace
}  // namespace postkite::core
