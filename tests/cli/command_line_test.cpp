// `postkite settings` and `postkite environments` from the words typed to the bytes in the files.

#include "tests/support/command_line.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "core/shift_jis.h"
#include "tests/support/memory_file_system.h"

namespace postkite::cli {
namespace {

using namespace core::literals;
using support::MemoryFileSystem;
using support::RunResult;

constexpr const char* kSettingsPath = "/mail/Setting/setting.ini";
constexpr const char* kEnvironmentsPath = "/mail/Setting/Hostdata.ini";

class CommandLine : public testing::Test {
  protected:
    RunResult Run(std::vector<std::string> arguments, std::map<std::string, std::string> variables = {}) {
        return support::RunPostkite(files_, std::move(arguments), std::move(variables));
    }

    /// The value of a setting, by its number, as `settings --json` has it.
    nlohmann::json Setting(int number) {
        const RunResult result = Run({"settings", "--json"});
        EXPECT_EQ(result.status, 0) << result.err;
        return nlohmann::json::parse(result.out).at(static_cast<std::size_t>(number - 1)).at("value");
    }

    void ExpectRefused(std::vector<std::string> arguments, const std::string& message,
                       int status = kRefused) {
        const auto settings = files_.Get(kSettingsPath);
        const auto environments = files_.Get(kEnvironmentsPath);
        const RunResult result = Run(std::move(arguments));
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(message), std::string::npos) << result.err;
        EXPECT_EQ(files_.Get(kSettingsPath), settings);
        EXPECT_EQ(files_.Get(kEnvironmentsPath), environments);
    }

    MemoryFileSystem files_;
};

TEST_F(CommandLine, SettingsJsonNamesEveryLineWithIntegersAsNumbers) {
    const RunResult result = Run({"--json", "settings"});
    ASSERT_EQ(result.status, 0) << result.err;
    const auto document = nlohmann::json::parse(result.out);
    ASSERT_EQ(document.size(), 202U);
    EXPECT_EQ(document[2], nlohmann::json({{"number", 3}, {"key", "MAIL WINDOW WIDTH"}, {"value", 600}}));
    EXPECT_EQ(document[8], nlohmann::json({{"number", 9}, {"key", "RS SPEED"}, {"value", "2400"}}));
    EXPECT_EQ(document[86],
              nlohmann::json({{"number", 87}, {"key", "FontName"}, {"value", "ＭＳ ゴシック"}}));
}

TEST_F(CommandLine, SetChangesOneLineAndKeepsTheOthers) {
    ASSERT_EQ(Run({"settings", "set", "KEISHOU", "様"}).status, 0);
    const std::string before = files_.Get(kSettingsPath).value();
    ASSERT_EQ(Run({"settings", "set", "fontname", "〜ソ"}).status, 0);
    std::string expected = before;
    const std::string_view old = "FontName=ＭＳ ゴシック\r\n"_sjis;
    expected.replace(expected.find(old), old.size(), "FontName=～ソ\r\n"_sjis);
    // What reading always corrects is corrected in the file as well, the second time that it is saved.
    const std::string_view hidden = "ダイアルアップの切断メニューを隠す=0"_sjis;
    expected[expected.find(hidden) + hidden.size() - 1] = '1';
    EXPECT_EQ(files_.Get(kSettingsPath), expected);
    EXPECT_EQ(Run({"settings", "get", "FontName"}).out, "～ソ\n");
    EXPECT_EQ(files_.Names("/mail/Setting"), std::vector<std::string>{"setting.ini"});
}

TEST_F(CommandLine, KeysAreTextsOrLineNumbers) {
    ASSERT_EQ(Run({"settings", "set", "199", "77"}).status, 0);
    EXPECT_EQ(Run({"settings", "get", "199"}).out, "77\n");
    EXPECT_EQ(Run({"settings", "get", "153"}).out, "400\n");
    EXPECT_EQ(Run({"settings", "get", "2LINE"}).out, "0\n");
    EXPECT_EQ(Run({"settings", "get", "起動時にﾊﾟｽﾜｰﾄﾞを問い合わせる"}).out, "0\n");
    ExpectRefused({"settings", "get", "BandWidth"}, "153, 154, 155, 199");
    for (const char* key : {"0", "203", "99999999999999999999", "NO SUCH KEY", ""}) {
        ExpectRefused({"settings", "get", key}, "postkite settings");
    }
}

TEST_F(CommandLine, ValuesThatTheFileCannotHoldAreRefused) {
    ASSERT_EQ(Run({"settings", "set", "HOST NAME", "x"}).status, 0);
    ExpectRefused({"settings", "set", "HOST NAME", "a\rb"}, "改行");
    ExpectRefused({"settings", "set", "HOST NAME", "a\nb"}, "改行");
    ExpectRefused({"settings", "set", "HOST NAME", std::string("a\0b", 3)}, "ゼロバイト");
    ExpectRefused({"settings", "set", "HOST NAME", "絵文字😀"}, "「😀」");
    ExpectRefused({"settings", "set", "HOST NAME", "\xFF"}, "Shift-JIS");
    ExpectRefused({"settings", "set", "HOST NAME", std::string(513, 'a')}, "長すぎます");
    ExpectRefused({"settings", "set", "MAILBOXPATHNAME1", std::string(512, 'a')}, "長すぎます");
    ExpectRefused({"settings", "set", "USERPASSWORD", std::string(36, 'a')}, "長すぎます");
    for (const char* value : {"", "abc", "12x", "1.5", "2147483648", " 1"}) {
        ExpectRefused({"settings", "set", "REDIAL", value}, "整数");
    }
    ASSERT_EQ(Run({"settings", "set", "HOST NAME", std::string(512, 'a')}).status, 0);
    ASSERT_EQ(Run({"settings", "set", "FontSize", "-12"}).status, 0);
    ASSERT_EQ(Run({"settings", "set", "INYOUHU", "--", "->"}).status, 0);
    EXPECT_EQ(Setting(46), "->");
}

TEST_F(CommandLine, ValuesThatReadingCorrectsAreCorrectedAtOnce) {
    const RunResult result = Run({"settings", "set", "MAIL WINDOW WIDTH", "50"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("200"), std::string::npos);
    EXPECT_EQ(Setting(3), 200);
    ASSERT_EQ(Run({"settings", "set", "157", "013"}).status, 0);
    EXPECT_EQ(Setting(157), "012");
}

TEST_F(CommandLine, PasswordsAreHiddenInListsAndScrambledInFiles) {
    ASSERT_EQ(Run({"settings", "set", "USERPASSWORD", "abc"}).status, 0);
    ASSERT_EQ(Run({"environments", "set", "4", "password=himitsu"}).status, 0);
    for (const char* list : {"settings", "environments"}) {
        for (const bool json : {false, true}) {
            std::vector<std::string> words = {list};
            if (json) words.emplace_back("--json");
            const RunResult hidden = Run(words);
            EXPECT_EQ(hidden.out.find("himitsu"), std::string::npos);
            // The document of the settings has the values as they are.
            EXPECT_EQ(hidden.out.find("abc") != std::string::npos, json && list == std::string("settings"));
            words.emplace_back("--show-passwords");
            EXPECT_NE(Run(words).out.find(list == std::string("settings") ? "abc" : "himitsu"),
                      std::string::npos);
        }
    }
    EXPECT_NE(Run({"environments"}).out.find("password=********"), std::string::npos);
    EXPECT_EQ(Run({"settings", "get", "USERPASSWORD"}).out, "abc\n");
    // q^a = 10, a^b = 03, z^c = 19
    EXPECT_NE(files_.Get(kSettingsPath)->find("USERPASSWORD=100319\r\n"), std::string::npos);
}

TEST_F(CommandLine, ControlCharactersDoNotReachTheTerminal) {
    // The bytes stay on the disk, whatever is shown of them.
    files_.Put(kSettingsPath, "A=1\r\nB=2\r\nC=300\r\nD=300\r\nE=\x1B[2J\x81\x80\xFF\x85\r\n");
    EXPECT_EQ(Run({"settings", "get", "5"}).out, "\uFFFD[2J\u00F7\uFFFD\uFFFD\n");
    EXPECT_EQ(Setting(5), "\x1B[2J\u00F7\uFFFD\uFFFD");
}

TEST_F(CommandLine, ABankDirectoryIsMadeWhenItsSettingIsConfirmed) {
    ASSERT_EQ(Run({"settings", "set", "MAILBOXPATHNAME2", "disk\\MailBox3"}).status, 0);
    EXPECT_TRUE(files_.Exists("/mail/disk/MailBox3"));
    files_.Put("/mail/taken", "");
    ExpectRefused({"settings", "set", "161", "taken"},
                  "メールボックスバンク６のディレクトリが作成できませんでした。");
    ExpectRefused({"settings", "set", "MAILBOXPATHNAME4", "..\\out"}, "メールボックスバンク５の");
}

TEST_F(CommandLine, SettingsOfTheActiveEnvironmentReachBothFiles) {
    ASSERT_EQ(Run({"environments", "set", "0", "user=AAA00001"}).status, 0);
    const RunResult result = Run({"settings", "set", "USERID", "BBB00002"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("接続環境 0"), std::string::npos);
    EXPECT_EQ(Setting(14), "BBB00002");
    EXPECT_NE(Run({"environments"}).out.find("user=BBB00002"), std::string::npos);
    ExpectRefused({"settings", "set", "USERID", "x2345678901234567890"}, "長すぎます");
}

TEST_F(CommandLine, SwitchingPutsNineSettingsAndBothFilesInPlace) {
    ASSERT_EQ(Run({"environments", "set", "3", "name=自宅", "user=CCC00003", "password=himitsu",
                   "telephone=03-1", "route=7", "speed=9600", "dialling=PB", "from=Taro", "modem=ATZ",
                   "outbox=送信", "inbox=受信", "forum=FTEST", "number=-5"})
                  .status,
              0);
    EXPECT_EQ(Setting(14), "") << "environment 3 is not the active one yet";
    ASSERT_EQ(Run({"settings", "set", "189", "4"}).status, 0);  // the bank of host index 13
    files_.PutDirectory("/mail/MailBox5");
    ASSERT_EQ(Run({"environments", "switch", "3"}).status, 0);
    const std::map<int, nlohmann::json> expected = {
        {14, "CCC00003"}, {15, "himitsu"}, {6, "03-1"},   {7, "7"}, {9, "9600"}, {13, "PB"},
        {112, "Taro"},    {18, "ATZ"},     {57, "FTEST"}, {64, 3},  {135, 13},   {159, 4}};
    for (const auto& [number, value] : expected) {
        EXPECT_EQ(Setting(number), value) << number;
    }
    EXPECT_NE(files_.Get(kSettingsPath)->find("\r\nUSERID=CCC00003\r\n"), std::string::npos);
    const auto environment = nlohmann::json::parse(Run({"environments", "--json"}).out).at(3);
    EXPECT_EQ(environment, nlohmann::json::parse(R"({"number": 3, "name": "自宅", "user": "CCC00003",
        "telephone": "03-1", "route": "7", "speed": "9600", "dialling": "PB", "from": "Taro", "modem": "ATZ",
        "outbox": "送信", "inbox": "受信", "forum": "FTEST", "integer": -5, "active": true})"));
    // 42 lines before it; h^q i^a m^z i^x t^s s^q u^a
    const std::string_view block =
        "自宅\r\nCCC00003\r\n190817110702\x31\x34\r\n03-1\r\n7\r\n9600\r\nPB\r\nTaro\r\nATZ\r\n"
        "送信\r\n受信\r\nFTEST\r\n-5\r\n----------------\r\n"_sjis;
    EXPECT_NE(files_.Get(kEnvironmentsPath)->find(block), std::string::npos);
}

TEST_F(CommandLine, EnvironmentValuesWithoutSenseAreRefusedAndChangeNothing) {
    ASSERT_EQ(Run({"environments", "set", "1", "user=AAA00001"}).status, 0);
    const std::pair<const char*, const char*> refused[] = {
        {"route=12", "route"},
        {"route=x", "route"},
        {"route=", "route"},
        {"speed=fast", "speed"},
        {"speed=115200", "長すぎ"},
        {"dialling=TONE", "dialling"},
        {"dialling=pb", "DP"},
        {"number=x", "整数"},
        {"name=123456789012345678901", "長すぎ"},
        {"from=a\r\nb", "改行"},
        {"password=123456789012345678901234567890123456", "長すぎ"},
    };
    for (const auto& [assignment, message] : refused) {
        ExpectRefused({"environments", "set", "1", "name=x", assignment}, message);
    }
    ExpectRefused({"environments", "set", "1", "colour=red"}, "FIELD", kWrongUsage);
    ExpectRefused({"environments", "set", "1", "user"}, "FIELD", kWrongUsage);
    ExpectRefused({"environments", "set", "10", "user=x"}, "", kWrongUsage);
    ExpectRefused({"environments", "switch", "-1"}, "", kWrongUsage);
}

TEST_F(CommandLine, TheListOfEnvironmentsMarksTheActiveOneAndLeavesOutWhatIsEmpty) {
    ASSERT_EQ(Run({"environments", "set", "7", "user=AAA00001", "number=2"}).status, 0);
    ASSERT_EQ(Run({"environments", "switch", "7"}).status, 0);
    const std::string list = Run({"environments"}).out;
    EXPECT_NE(
        list.find(
            "\n* 7  user=AAA00001 route=3 dialling=DP modem=ATQ0V1E1M1 outbox=Outbox inbox=Inbox number=2\n"),
        std::string::npos)
        << list;
    EXPECT_EQ(list.find("*"), list.rfind("*"));
}

TEST_F(CommandLine, TheFirstEnvironmentsTakeOverWhatTheSettingsSaid) {
    ASSERT_EQ(Run({"settings", "set", "USERID", "AAA00001"}).status, 0);
    ASSERT_EQ(Run({"environments", "set", "5", "name=x"}).status, 0);
    EXPECT_EQ(Setting(14), "AAA00001");
    EXPECT_EQ(Setting(13), "PB") << "tone dialling stays tone dialling";
    EXPECT_EQ(Setting(18), "ATQ0V1E1");
    EXPECT_NE(Run({"environments"}).out.find("* 0  user=AAA00001"), std::string::npos);
}

TEST_F(CommandLine, SettingsOfAnEnvironmentMustMakeSenseThere) {
    ASSERT_EQ(Run({"environments", "set", "0", "user=AAA00001"}).status, 0);
    ExpectRefused({"settings", "set", "PB DP", "ZZ"}, "PB");
    ExpectRefused({"settings", "set", "RS SPEED", "fast"}, "bit/s");
    ExpectRefused({"settings", "set", "FENICS LOAD", "q"}, "0 から 9");
}

TEST_F(CommandLine, APasswordThatIsNotKeptIsNotTaken) {
    ASSERT_EQ(Run({"settings", "set", "SAVEPASSWORD", "0"}).status, 0);
    ExpectRefused({"settings", "set", "USERPASSWORD", "abc"}, "SAVEPASSWORD");
}

TEST_F(CommandLine, TwoDirectoriesOfSettingsAreRefused) {
    files_.Put("/mail/SETTING/SETTING.INI", "MAIL WINDOW LEFT=7\r\n");
    files_.PutDirectory("/mail/Setting");
    for (const char* command : {"settings", "environments"}) {
        const RunResult result = Run({command});
        EXPECT_EQ(result.status, kRefused);
        EXPECT_NE(result.err.find("SETTING, Setting"), std::string::npos) << result.err;
    }
}

TEST_F(CommandLine, WhatWasTypedCannotSteerTheTerminalEither) {
    ExpectRefused({"settings", "get", "\x1B[31mred\nnew\xC2\x9B\xED\xA0\x80"},
                  "\uFFFD[31mred\uFFFDnew\uFFFD\uFFFD");
}

TEST_F(CommandLine, FilesThatCannotBeReadAreNeverReplaced) {
    files_.PutDirectory(kSettingsPath);
    EXPECT_EQ(Run({"settings", "get", "RS SPEED"}).out, "2400\n");
    const RunResult result = Run({"settings", "set", "RS SPEED", "9600"});
    EXPECT_EQ(result.status, kRefused);
    EXPECT_NE(result.err.find("setting.ini"), std::string::npos);
    EXPECT_FALSE(files_.Get(kSettingsPath));
}

TEST_F(CommandLine, EveryFailingCallLeavesTheOldLinesOrTheNewOnes) {
    ASSERT_EQ(Run({"settings", "set", "HOST NAME", "x"}).status, 0);
    ASSERT_EQ(Run({"settings", "set", "HOST NAME", "old"}).status, 0);
    const std::string before = files_.Get(kSettingsPath).value();
    std::string after = before;
    after.replace(after.find("HOST NAME=old"), 13, "HOST NAME=new");
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 1000);
        files_.Put(kSettingsPath, before);
        files_.FailCall(n, -ENOSPC);
        const RunResult result = Run({"settings", "set", "HOST NAME", "new"});
        const bool struck = files_.struck();
        files_.Restart();
        if (result.status == 0) {
            EXPECT_EQ(files_.Get(kSettingsPath), after) << n;
        } else {
            EXPECT_TRUE(files_.Get(kSettingsPath) == before || files_.Get(kSettingsPath) == after) << n;
            EXPECT_NE(result.err, "") << n;
        }
        if (!struck) break;
    }
}

TEST_F(CommandLine, TheWorkingDirectoryIsFoundInOrder) {
    const std::map<std::string, std::string> all = {
        {"POSTKITE_DIR", "/own"}, {"XDG_DATA_HOME", "/data"}, {"HOME", "/home/taro"}};
    ASSERT_EQ(Run({"--dir", "/given", "settings"}, all).status, 0);
    EXPECT_TRUE(files_.Exists("/given/Setting"));
    ASSERT_EQ(Run({"settings"}, all).status, 0);
    EXPECT_TRUE(files_.Exists("/own/Setting"));
    ASSERT_EQ(
        Run({"settings"}, {{"POSTKITE_DIR", ""}, {"XDG_DATA_HOME", "/data"}, {"HOME", "/home/taro"}}).status,
        0);
    EXPECT_TRUE(files_.Exists("/data/postkite/Setting"));
    ASSERT_EQ(
        Run({"settings"}, {{"POSTKITE_DIR", ""}, {"XDG_DATA_HOME", "data"}, {"HOME", "/home/taro"}}).status,
        0);
    EXPECT_TRUE(files_.Exists("/home/taro/.local/share/postkite/Setting"));
    EXPECT_EQ(Run({"--dir", "", "settings"}, all).status, kWrongUsage);
    const RunResult nowhere = Run({"settings"}, {{"POSTKITE_DIR", ""}});
    EXPECT_EQ(nowhere.status, kRefused);
    EXPECT_NE(nowhere.err.find("--dir"), std::string::npos);
    files_.Put("/plain", "a file");
    EXPECT_EQ(Run({"--dir", "/plain", "settings"}).status, kRefused);
}

TEST_F(CommandLine, OtherLanguagesGetEnglish) {
    const auto message = [this](std::map<std::string, std::string> variables) {
        return Run({"settings", "get", "x"}, std::move(variables)).err;
    };
    EXPECT_NE(message({{"LANG", "en_US.UTF-8"}}).find("There is no setting"), std::string::npos);
    EXPECT_NE(message({{"LC_ALL", "de_DE"}, {"LANG", "ja_JP.UTF-8"}}).find("There is no setting"),
              std::string::npos);
    for (const char* locale : {"ja_JP.UTF-8", "ja", "C", "C.UTF-8", "POSIX", ""}) {
        EXPECT_NE(message({{"LANG", locale}}).find("設定"), std::string::npos) << locale;
    }
    EXPECT_NE(message({{"LC_MESSAGES", "ja_JP.UTF-8"}, {"LANG", "en_US"}}).find("設定"), std::string::npos);
}

TEST_F(CommandLine, WrongUsageIsTwoAndHelpIsNot) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{},
                                                  {"nonsense"},
                                                  {"settings", "get"},
                                                  {"settings", "set", "REDIAL"},
                                                  {"environments", "switch"},
                                                  {"--no-such-option", "settings"},
                                                  {"settings", "get", "1", "2"}}) {
        const RunResult result = Run(words);
        EXPECT_EQ(result.status, kWrongUsage);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err, "");
    }
    EXPECT_EQ(Run({"--version"}).out.substr(0, 9), "postkite ");
    EXPECT_NE(Run({"settings", "set", "--help"}).out.find("VALUE"), std::string::npos);
    EXPECT_FALSE(files_.Exists("/mail")) << "nothing of this opens the working directory";
}

}  // namespace
}  // namespace postkite::cli
