#include "core/environments.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>

#include "core/password_scrambling.h"
#include "core/settings_file.h"
#include "core/shift_jis.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::core {
namespace {

using support::MemoryFileSystem;
using support::ShownMessage;

constexpr const char* kPath = "/mail/Setting/Hostdata.ini";
using Lines = std::vector<std::string>;

const Lines kUsualBlock = {"", "",           "",       "",      "2", "2400", "DP",
                           "", "ATQ0V1E1M1", "Outbox", "Inbox", "",  "0",    "----------------"};
const Lines kLateBlock = {"", "",           "",       "",      "3", "",  "DP",
                          "", "ATQ0V1E1M1", "Outbox", "Inbox", "",  "0", "----------------"};
const Lines kFilledBlock = {std::string("会社"_sjis),
                            "ABC01234",
                            "100319",
                            "03-1234-5678",
                            "1",
                            "9600",
                            "PB",
                            std::string("山田 <a@example.jp>"_sjis),
                            "ATZ",
                            std::string("送信表"_sjis),
                            std::string("受信能"_sjis),
                            "FJAMEA",
                            "-5",
                            "----------------"};

std::string FileOf(const Lines& lines) {
    std::string bytes;
    for (const std::string& line : lines)
        bytes += line + "\r\n";
    return bytes;
}

Lines DefaultLines() {
    Lines lines;
    for (int number = 0; number < 10; ++number) {
        const Lines& block = number < 7 ? kUsualBlock : kLateBlock;
        lines.insert(lines.end(), block.begin(), block.end());
    }
    return lines;
}

/// The file of ten environments in which no two values are the same as far as that can be.
Lines ChangedLines() {
    Lines lines;
    for (int number = 0; number < 10; ++number) {
        const std::string digit = std::to_string(number);
        std::string password = "pw" + digit;
        ScramblePassword(password);
        const Lines block = {"name" + digit, "user" + digit,    password,     "tel" + digit,
                             digit,          "960" + digit,     "P" + digit,  "from" + digit,
                             "AT" + digit,   "out" + digit,     "in" + digit, "forum" + digit,
                             "-1" + digit,   "----------------"};
        lines.insert(lines.end(), block.begin(), block.end());
    }
    return lines;
}

class EnvironmentsTest : public ::testing::Test {
  protected:
    EnvironmentsTest() { disk.PutDirectory("/mail/Setting"); }

    int Load(std::string_view bytes) {
        disk.Put(kPath, bytes);
        return LoadEnvironments(workspace, environments, settings);
    }
    /// What saving writes.
    std::string Saved(const Environments& saved) {
        MemoryFileSystem otherDisk;
        otherDisk.PutDirectory("/mail/Setting");
        Workspace other(otherDisk, "/mail");
        Settings ignored;
        EXPECT_EQ(SaveEnvironments(other, saved, ignored).result, 0);
        return otherDisk.Get(kPath).value_or("");
    }

    MemoryFileSystem disk;
    Workspace workspace{disk, "/mail"};
    Settings settings;
    Environments environments;
};

TEST_F(EnvironmentsTest, TheFileIsTheseBytes) {
    EXPECT_EQ(Saved(environments), FileOf(DefaultLines()));
    Environment& filled = environments.entries[1];
    filled = {std::string("会社"_sjis),
              "ABC01234",
              "abc",
              "03-1234-5678",
              "1",
              "9600",
              "PB",
              std::string("山田 <a@example.jp>"_sjis),
              "ATZ",
              std::string("送信表"_sjis),
              std::string("受信能"_sjis),
              "FJAMEA",
              -5};
    Lines expected = DefaultLines();
    std::copy(kFilledBlock.begin(), kFilledBlock.end(), expected.begin() + 14);
    EXPECT_EQ(Saved(environments), FileOf(expected));
    EXPECT_EQ(filled.password, "abc") << "saving scrambles a copy";

    Environments again;
    std::swap(environments, again);
    ASSERT_EQ(Load(FileOf(expected)), 0);
    EXPECT_EQ(environments.entries[1].password, "abc");
    EXPECT_EQ(environments.entries[1].integer, -5);
    EXPECT_EQ(Saved(environments), FileOf(expected));
}

TEST_F(EnvironmentsTest, DefaultingLeavesTheLastThreeAndSomeFieldsAlone) {
    ASSERT_EQ(Load(FileOf(ChangedLines())), 0);
    DefaultEnvironments(environments);
    Lines expected = ChangedLines();
    for (std::size_t number = 0; number < 7; ++number)
        for (const std::size_t field : {0, 1, 2, 3, 4, 5, 6, 12})
            expected[number * 14 + field] = kUsualBlock[field];
    EXPECT_EQ(Saved(environments), FileOf(expected));
}

TEST_F(EnvironmentsTest, AFileCutAnywhereLeavesTheRestAsItWas) {
    const Lines changed = ChangedLines();
    const std::string whole = FileOf(changed);
    Lines expected = DefaultLines();
    std::size_t lines = 0;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        if (length > 0 && whole[length - 1] == '\r') {
            expected[lines] = changed[lines];
            ++lines;
        }
        environments = Environments();
        ASSERT_EQ(Load(std::string_view(whole).substr(0, length)), 0);
        ASSERT_EQ(Saved(environments), FileOf(expected)) << "cut at " << length;
    }
    ASSERT_EQ(lines, 140U);
}

TEST_F(EnvironmentsTest, AReadThatFailsDoesNotMoveValues) {
    Lines changed = ChangedLines();
    changed[0] += std::string(70'000, ' ');  // so that the rest takes another read
    for (int call = 1, struck = 1; struck == 1; ++call) {
        environments = Environments();
        disk.Put(kPath, FileOf(changed));
        disk.FailCall(call, -EIO);
        const int result = LoadEnvironments(workspace, environments, settings);
        EXPECT_EQ(result, disk.struck() ? -EIO : 0);
        for (std::size_t number = 0; number < 10; ++number) {
            const Environment& read = environments.entries[number];
            ASSERT_TRUE(read.userId.empty() || read.userId == "user" + std::to_string(number)) << read.userId;
            ASSERT_TRUE(read.inbox == "Inbox" || read.inbox == "in" + std::to_string(number)) << read.inbox;
        }
        struck = disk.struck() ? 1 : 0;
        disk.Restart();
    }
}

TEST_F(EnvironmentsTest, ValuesAreCutToTheirFieldsBetweenCharacters) {
    Lines lines = ChangedLines();
    for (std::string& line : lines)
        line = "x" + std::string("能能能能能能能能能能能能能能能"_sjis);
    lines[2].clear();
    for (int i = 0; i < 7; ++i)
        lines[2] += "00100B0902";
    lines[2].replace(68, 2, "E72D");  // 34 times "q" and a character that goes beyond 35 bytes
    ASSERT_EQ(Load(FileOf(lines)), 0);
    const Environment& read = environments.entries[0];
    EXPECT_EQ(read.name, "x能能能能能能能能能"_sjis);
    EXPECT_EQ(read.password, std::string(34, 'q'));
    EXPECT_EQ(read.telephone, read.name);
    EXPECT_EQ(read.route, "x");
    EXPECT_EQ(read.speed, "x能能"_sjis);
    EXPECT_EQ(read.dialling, "x");
    EXPECT_EQ(read.forum, "x能能能能能能能能能能能能能能"_sjis);
    EXPECT_EQ(read.from, lines[0]);
    EXPECT_EQ(read.outbox, lines[0]);
    EXPECT_EQ(read.integer, 0);
}

TEST_F(EnvironmentsTest, PasswordsOfUpToThirtyFiveBytesSurvive) {
    const std::string longest = std::string("能"_sjis) + std::string(33, 'q');
    environments.entries[4].password = longest;
    environments.entries[5].password = longest + "lost";
    const std::string bytes = Saved(environments);
    ASSERT_EQ(Load(bytes), 0);
    EXPECT_EQ(environments.entries[4].password, longest);
    EXPECT_EQ(environments.entries[5].password, longest);
    EXPECT_EQ(environments.entries[6].route, "2") << "no line was moved";
}

TEST_F(EnvironmentsTest, TheActiveOnesNineValuesEnterTheSettings) {
    settings.currentId = 3;
    const auto nine = [this] {
        return Lines{
            settings.userId,   settings.userPassword, settings.phoneNumber, settings.fenicsLoad,
            settings.rsSpeed,  settings.pbDp,         settings.nifFrom,     settings.modemInitialCommand,
            settings.forumName};
    };
    const Lines expected = {"user3", "pw3", "tel3", "3", "9603", "P3", "from3", "AT3", "forum3"};
    ASSERT_EQ(Load(FileOf(ChangedLines())), 0);
    EXPECT_EQ(nine(), expected);
    settings = Settings();
    settings.currentId = 3;
    ASSERT_EQ(SaveEnvironments(workspace, environments, settings).result, 0);
    EXPECT_EQ(nine(), expected);

    constexpr std::int32_t kNoEnvironments[] = {-1, 10, std::numeric_limits<std::int32_t>::max(),
                                                std::numeric_limits<std::int32_t>::min()};
    for (const std::int32_t number : kNoEnvironments) {
        settings = Settings();
        settings.currentId = number;
        ASSERT_EQ(Load(FileOf(ChangedLines())), 0);
        EXPECT_EQ(FormatSettings(settings).find("user"), std::string::npos);
    }
}

TEST_F(EnvironmentsTest, TheActiveOneIsFilledWithWhatTheUserHadSet) {
    settings.currentId = 8;
    settings.userId = "x" + std::string("能能能能能能能能能能"_sjis);
    settings.userPassword = "abc";
    settings.modemInitialCommand = "ATZ";
    EXPECT_EQ(FillActiveEnvironment(environments, settings), 1);
    Lines expected = DefaultLines();
    expected[8 * 14 + 1] = "x" + std::string("能能能能能能能能能"_sjis);
    expected[8 * 14 + 2] = "100319";
    expected[8 * 14 + 8] = "ATZ";
    EXPECT_EQ(Saved(environments), FileOf(expected)) << "defaults say nothing";
    settings.currentId = 10;
    EXPECT_EQ(FillActiveEnvironment(environments, settings), 0);
    EXPECT_EQ(Saved(environments), FileOf(expected));
}

TEST_F(EnvironmentsTest, WithoutItsFileOrWithoutTheSettingsNothingIsTaken) {
    settings.userId = "kept";
    EXPECT_EQ(LoadEnvironments(workspace, environments, settings), -ENOENT);
    EXPECT_EQ(settings.userId, "kept");
    EXPECT_EQ(Saved(environments), FileOf(DefaultLines()));

    disk.Put(kPath, FileOf(ChangedLines()));
    LoadOutcome outcome = LoadSettings(workspace, settings, environments, ToolBarStyle::Plain);
    EXPECT_EQ(outcome.settings, -ENOENT);
    EXPECT_EQ(outcome.environments, -ENOENT);
    EXPECT_EQ(settings.toolBarHeight, 0);
    EXPECT_EQ(Saved(environments), FileOf(DefaultLines()));

    disk.Put("/mail/SETTING.INI", "");
    settings.currentId = 2;
    disk.Put("/mail/Setting/Setting.ini", FormatSettings(settings));
    outcome = LoadSettings(workspace, settings, environments, ToolBarStyle::Plain);
    EXPECT_EQ(outcome.settings, 0);
    EXPECT_EQ(outcome.environments, 0);
    EXPECT_EQ(outcome.hostEntries, -ENOENT);
    EXPECT_EQ(settings.userId, "user2");
}

TEST_F(EnvironmentsTest, TheMenuHasThoseWithAName) {
    EXPECT_TRUE(EnvironmentMenu(environments).empty());
    environments.entries[0].name = "home";
    environments.entries[0].userId = "ABC01234";
    environments.entries[3].userId = "NAMELESS";
    environments.entries[9].name = "能"_sjis;
    const std::vector<EnvironmentMenuEntry> menu = EnvironmentMenu(environments);
    ASSERT_EQ(menu.size(), 2U);
    EXPECT_EQ(menu[0].number, 0);
    EXPECT_EQ(menu[0].label, "home (ABC01234) \tShift + F1");
    EXPECT_EQ(menu[1].number, 9);
    EXPECT_EQ(menu[1].label, "能 () \tShift + F10"_sjis);
}

TEST_F(EnvironmentsTest, FoldersGoWithTheHostIndex) {
    environments.hostEntries[0].outbox = "out of host 0";
    environments.hostEntries[9].inbox = "in of host 9";
    environments.entries[0].outbox = "out of environment 0";
    environments.entries[9].inbox = "in of environment 9";
    EXPECT_EQ(FolderNamesOf(environments, 0).outbox, "out of host 0");
    EXPECT_EQ(FolderNamesOf(environments, 9).inbox, "in of host 9");
    EXPECT_EQ(FolderNamesOf(environments, 9).outbox, "Outbox");
    EXPECT_EQ(FolderNamesOf(environments, 10).outbox, "out of environment 0");
    EXPECT_EQ(FolderNamesOf(environments, 19).inbox, "in of environment 9");
}

class HostSwitchTest : public EnvironmentsTest, protected HostSwitchPartners {
  protected:
    HostSwitchTest() {
        environments.entries[0].userId = "zero";
        environments.entries[3].userId = "three";
        settings.bank[13] = 7;
        settings.bank[4] = 8;
    }

    [[nodiscard]] bool SessionRunning() const override { return running; }
    [[nodiscard]] bool MainWindowBusy() const override { return busy; }
    [[nodiscard]] int SwitchBank(int number) override {
        banks.push_back(number);
        return bankResult;
    }
    void SetEnvironmentChooser(int number) override { choosers.push_back(number); }

    [[nodiscard]] bool IsUntouched() const {
        return settings.currentId == 0 && settings.userId.empty() && !disk.Exists(kPath) && banks.empty() &&
               choosers.empty() && ui.redraws == 0;
    }

    bool running = false;
    bool busy = false;
    int bankResult = 0;
    std::vector<int> banks;
    std::vector<int> choosers;
    support::RecordingUserInterface ui;
    HostSwitch hostSwitch{workspace, settings, environments, ui, *this};
    const ShownMessage noSwitching = {"Postkite",
                                      std::string("送受信中には環境を切り替える事はできません。"_sjis),
                                      MessageIcon::Information};
    const ShownMessage noChanging = {"Postkite", std::string("送受信中は環境設定を変更できません。"_sjis),
                                     MessageIcon::None};
};

TEST_F(HostSwitchTest, SwitchesSavesAndShows) {
    EXPECT_EQ(hostSwitch.SwitchEnvironment(3), 0);
    EXPECT_EQ(settings.currentId, 3);
    EXPECT_EQ(settings.currentHostL, 13);
    EXPECT_EQ(settings.userId, "three");
    EXPECT_EQ(disk.Get(kPath), Saved(environments));
    EXPECT_EQ(banks, std::vector<int>{7});
    EXPECT_EQ(choosers, std::vector<int>{3});
    EXPECT_GT(ui.redraws, 0);
    EXPECT_TRUE(ui.messages.empty());
}

TEST_F(HostSwitchTest, ARunningSessionForbidsIt) {
    running = true;
    EXPECT_EQ(hostSwitch.SwitchEnvironment(3), -1);
    EXPECT_EQ(settings.currentHostL, 10);
    settings.currentHostL = 13;
    EXPECT_EQ(hostSwitch.ApplyHostIndex(), -1);
    EXPECT_EQ(ui.messages, (std::vector{noSwitching, noChanging}));
    EXPECT_TRUE(IsUntouched());
}

TEST_F(HostSwitchTest, ABusyWindowForbidsTheBankButNotTheEnvironment) {
    busy = true;
    settings.currentHostL = 13;
    EXPECT_EQ(hostSwitch.ApplyHostIndex(), -1);
    EXPECT_TRUE(IsUntouched());
    EXPECT_EQ(hostSwitch.SwitchEnvironment(3), 0);
    EXPECT_EQ(settings.currentId, 3);
    EXPECT_EQ(settings.userId, "three");
    EXPECT_EQ(disk.Get(kPath), Saved(environments));
    EXPECT_TRUE(banks.empty());
    EXPECT_EQ(choosers, std::vector<int>{3});
    EXPECT_EQ(ui.messages, (std::vector{noChanging, noChanging}));
}

TEST_F(HostSwitchTest, NumbersThatAreNoHostChangeNothing) {
    for (const int number : {-1, 10, std::numeric_limits<int>::max()})
        EXPECT_EQ(hostSwitch.SwitchEnvironment(number), -1);
    EXPECT_EQ(settings.currentHostL, 10);
    for (const int index : {-1, 20, std::numeric_limits<int>::min()}) {
        settings.currentHostL = index;
        EXPECT_EQ(hostSwitch.ApplyHostIndex(), -1);
    }
    EXPECT_TRUE(IsUntouched());
}

TEST_F(HostSwitchTest, AHostEntryGivesItsSixTexts) {
    environments.hostEntries[4] = {"host", "tel", "user", "pw", "300", "from"};
    settings.currentHostL = 4;
    EXPECT_EQ(hostSwitch.ApplyHostIndex(), 0);
    EXPECT_EQ(settings.hostName + settings.phoneNumber + settings.userId + settings.userPassword +
                  settings.rsSpeed + settings.nifFrom,
              "hostteluserpw300from");
    EXPECT_EQ(banks, std::vector<int>{8});
    EXPECT_GT(ui.redraws, 0);
    EXPECT_EQ(settings.currentId, 0);
    EXPECT_FALSE(disk.Exists(kPath));

    settings.currentHostL = 5;  // nobody has filled it in
    EXPECT_EQ(hostSwitch.ApplyHostIndex(), 0);
    EXPECT_EQ(settings.hostName, "host");
    EXPECT_EQ(banks, (std::vector<int>{8, 0}));
}

TEST_F(HostSwitchTest, AnIndexFromTenOnIsAnEnvironment) {
    settings.currentHostL = 13;
    bankResult = -1;
    EXPECT_EQ(hostSwitch.ApplyHostIndex(), -1) << "the bank";
    EXPECT_EQ(settings.currentId, 3);
    EXPECT_EQ(settings.userId, "three");
    EXPECT_TRUE(disk.Exists(kPath));
}

TEST_F(HostSwitchTest, AFileThatCannotBeSavedIsReported) {
    disk.PutDirectory(kPath);
    EXPECT_EQ(hostSwitch.SwitchEnvironment(3), -1);
    const ShownMessage expected = {
        "Postkite",
        std::string(
            "Setting\\Hostdata.ini を保存できませんでした。（ファイルではなくディレクトリです）"_sjis),
        MessageIcon::Stop};
    EXPECT_EQ(ui.messages, std::vector{expected});
}

}  // namespace
}  // namespace postkite::core
