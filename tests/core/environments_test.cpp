#include "core/environments.h"

#include <gtest/gtest.h>

#include <algorithm>
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
using Lines = std::vector<std::string>;

constexpr const char* kPath = "/mail/Setting/Hostdata.ini";
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

std::string FileOf(const Lines& lines) {
    std::string bytes;
    for (const std::string& line : lines)
        bytes += line + "\r\n";
    return bytes;
}

Lines DefaultLines() {
    Lines lines;
    for (int number = 0; number < 10; ++number) {
        const std::string route = number < 7 ? "2" : "3";
        const std::string speed = number < 7 ? "2400" : "";
        const Lines block = {"", "",           "",       "",      route, speed, "DP",
                             "", "ATQ0V1E1M1", "Outbox", "Inbox", "",    "0",   "----------------"};
        lines.insert(lines.end(), block.begin(), block.end());
    }
    return lines;
}

/// The file of ten environments whose values are all their own.
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
    /// What saving the environments writes.
    [[nodiscard]] std::string Saved() const {
        MemoryFileSystem otherDisk;
        otherDisk.PutDirectory("/mail/Setting");
        Workspace other(otherDisk, "/mail");
        Settings ignored;
        EXPECT_EQ(SaveEnvironments(other, environments, ignored).result, 0);
        return otherDisk.Get(kPath).value_or("");
    }
    /// The settings that environments have values for.
    [[nodiscard]] Lines Nine() const {
        return {settings.userId,   settings.userPassword, settings.phoneNumber, settings.fenicsLoad,
                settings.rsSpeed,  settings.pbDp,         settings.nifFrom,     settings.modemInitialCommand,
                settings.forumName};
    }

    MemoryFileSystem disk;
    Workspace workspace{disk, "/mail"};
    Settings settings;
    Environments environments;
};

TEST_F(EnvironmentsTest, TheFileIsTheseBytes) {
    EXPECT_EQ(Saved(), FileOf(DefaultLines()));
    const std::string text("表能 山田"_sjis);
    environments.entries[1] = {text, "ID",  "abc", "03-1", "1",  "9600", "PB",
                               text, "ATZ", text,  text,   "FJ", -5};
    const Lines block = {text, "ID",  "100319", "03-1", "1",  "9600", "PB",
                         text, "ATZ", text,     text,   "FJ", "-5",   "----------------"};
    Lines expected = DefaultLines();
    std::copy(block.begin(), block.end(), expected.begin() + 14);
    EXPECT_EQ(Saved(), FileOf(expected));
    EXPECT_EQ(environments.entries[1].password, "abc") << "saving scrambles a copy";

    environments = Environments();
    ASSERT_EQ(Load(FileOf(expected)), 0);
    EXPECT_EQ(environments.entries[1].password, "abc");
    EXPECT_EQ(environments.entries[1].integer, -5);
    EXPECT_EQ(Saved(), FileOf(expected));
}

TEST_F(EnvironmentsTest, DefaultingLeavesTheLastThreeAndSomeFieldsAlone) {
    ASSERT_EQ(Load(FileOf(ChangedLines())), 0);
    DefaultEnvironments(environments);
    Lines expected = ChangedLines();
    for (std::size_t number = 0; number < 7; ++number)
        for (const std::size_t field : {0, 1, 2, 3, 4, 5, 6, 12})
            expected[number * 14 + field] = DefaultLines()[field];
    EXPECT_EQ(Saved(), FileOf(expected));
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
        ASSERT_EQ(Load(whole.substr(0, length)), 0);
        ASSERT_EQ(Saved(), FileOf(expected)) << "cut at " << length;
    }
}

TEST_F(EnvironmentsTest, AReadThatFailsDoesNotMoveValues) {
    Lines changed = ChangedLines();
    changed[0] += std::string(70'000, ' ');  // so that the rest takes another read
    bool struck = true;
    for (int call = 1; struck; ++call) {
        environments = Environments();
        disk.Put(kPath, FileOf(changed));
        disk.FailCall(call, -EIO);
        const int result = LoadEnvironments(workspace, environments, settings);
        struck = disk.struck();
        EXPECT_EQ(result, struck ? -EIO : 0);
        disk.Restart();
        for (std::size_t number = 0; number < 10; ++number) {
            const std::string& userId = environments.entries[number].userId;
            ASSERT_TRUE(userId.empty() || userId == "user" + std::to_string(number)) << userId;
        }
    }
}

TEST_F(EnvironmentsTest, ValuesAreCutToTheirFieldsBetweenCharacters) {
    Lines lines(14, "x" + std::string("能能能能能能能能能能能能能能能"_sjis));
    lines[2] =
        "00100B090200100B090200100B090200100B090200100B090200100B090200100B09E72D";  // 34 times "q", and "能"
    ASSERT_EQ(Load(FileOf(lines)), 0);
    const Environment& read = environments.entries[0];
    EXPECT_EQ(read.name, "x能能能能能能能能能"_sjis);
    EXPECT_EQ(read.password, std::string(34, 'q'));
    EXPECT_EQ(read.telephone, read.name);
    EXPECT_EQ(read.route + read.dialling, "xx");
    EXPECT_EQ(read.speed, "x能能"_sjis);
    EXPECT_EQ(read.forum, "x能能能能能能能能能能能能能能"_sjis);
    EXPECT_EQ(read.from + read.modem + read.outbox + read.inbox, lines[0] + lines[0] + lines[0] + lines[0]);
    EXPECT_EQ(read.integer, 0);

    const std::string longest = std::string("能"_sjis) + std::string(33, 'q');
    environments.entries[4].password = longest;
    environments.entries[5].password = longest + "lost";
    ASSERT_EQ(Load(Saved()), 0);
    EXPECT_EQ(environments.entries[4].password, longest);
    EXPECT_EQ(environments.entries[5].password, longest);
    EXPECT_EQ(environments.entries[6].route, "2") << "no line was moved";
}

TEST_F(EnvironmentsTest, TheActiveOnesNineValuesEnterTheSettings) {
    const Lines expected = {"user3", "pw3", "tel3", "3", "9603", "P3", "from3", "AT3", "forum3"};
    settings.currentId = 3;
    ASSERT_EQ(Load(FileOf(ChangedLines())), 0);
    EXPECT_EQ(Nine(), expected);
    settings = Settings();
    settings.currentId = 3;
    ASSERT_EQ(SaveEnvironments(workspace, environments, settings).result, 0);
    EXPECT_EQ(Nine(), expected);
    for (const std::int32_t number : {-1, 10, kMost, -kMost - 1}) {
        settings.currentId = number;
        ASSERT_EQ(Load(FileOf(DefaultLines())), 0);
        EXPECT_EQ(Nine(), expected) << number;
    }
}

TEST_F(EnvironmentsTest, TheActiveOneIsFilledWithWhatTheSettingsSay) {
    settings.currentId = 8;
    settings.userId = "x" + std::string("能能能能能能能能能能"_sjis);
    settings.userPassword = "abc";
    settings.modemInitialCommand = "ATZ";
    EXPECT_EQ(FillActiveEnvironment(environments, settings), 1) << "one was cut";
    settings.currentId = 10;
    EXPECT_EQ(FillActiveEnvironment(environments, settings), 0);
    Lines expected = DefaultLines();
    expected[8 * 14 + 1] = "x" + std::string("能能能能能能能能能"_sjis);
    expected[8 * 14 + 2] = "100319";
    expected[8 * 14 + 4] = "2";
    expected[8 * 14 + 5] = "2400";
    expected[8 * 14 + 6] = "PB";
    expected[8 * 14 + 8] = "ATZ";
    EXPECT_EQ(Saved(), FileOf(expected)) << "nothing of the connection in force changes";
}

TEST_F(EnvironmentsTest, WithoutItsFileOrWithoutTheSettingsNothingIsTaken) {
    settings.userId = "kept";
    EXPECT_EQ(LoadEnvironments(workspace, environments, settings), -ENOENT);
    EXPECT_EQ(settings.userId, "kept");
    disk.Put(kPath, FileOf(ChangedLines()));
    LoadOutcome outcome = LoadSettings(workspace, settings, environments, ToolBarStyle::Plain);
    EXPECT_EQ(outcome.settings, -ENOENT);
    EXPECT_EQ(outcome.environments, -ENOENT);
    EXPECT_EQ(Saved(), FileOf(DefaultLines()));

    settings.currentId = 2;
    disk.Put("/mail/Setting/Setting.ini", FormatSettings(settings));
    outcome = LoadSettings(workspace, settings, environments, ToolBarStyle::Plain);
    EXPECT_EQ(outcome.settings, 0);
    EXPECT_EQ(outcome.environments, 0);
    EXPECT_EQ(outcome.hostEntries, -ENOENT);
    EXPECT_EQ(settings.userId, "user2");
}

TEST_F(EnvironmentsTest, TheMenuHasThoseWithANameAndFoldersGoWithTheHostIndex) {
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

    environments.hostEntries[0].outbox = "of host 0";
    environments.hostEntries[9].inbox = "of host 9";
    environments.entries[0].outbox = "of environment 0";
    environments.entries[9].inbox = "of environment 9";
    EXPECT_EQ(FolderNamesOf(environments, 0).outbox, "of host 0");
    EXPECT_EQ(FolderNamesOf(environments, 9).inbox, "of host 9");
    EXPECT_EQ(FolderNamesOf(environments, 10).outbox, "of environment 0");
    EXPECT_EQ(FolderNamesOf(environments, 19).inbox, "of environment 9");
}

class HostSwitchTest : public EnvironmentsTest, protected HostSwitchPartners {
  protected:
    HostSwitchTest() {
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
    [[nodiscard]] bool IsThree() const {
        return settings.currentId == 3 && settings.currentHostL == 13 && settings.userId == "three" &&
               disk.Get(kPath) == Saved();
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
    EXPECT_TRUE(IsThree());
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
    EXPECT_TRUE(IsThree());
    EXPECT_TRUE(banks.empty());
    EXPECT_EQ(choosers, std::vector<int>{3});
    EXPECT_EQ(ui.messages, (std::vector{noChanging, noChanging}));
}

TEST_F(HostSwitchTest, NumbersThatAreNoHostChangeNothing) {
    for (const int number : {-1, 10, kMost, -kMost - 1})
        EXPECT_EQ(hostSwitch.SwitchEnvironment(number), -1);
    EXPECT_EQ(settings.currentHostL, 10);
    for (const int index : {-1, 20, kMost, -kMost - 1}) {
        settings.currentHostL = index;
        EXPECT_EQ(hostSwitch.ApplyHostIndex(), -1);
    }
    EXPECT_TRUE(IsUntouched());
}

TEST_F(HostSwitchTest, AHostEntryGivesItsSixTextsIfItHasAny) {
    environments.hostEntries[4] = {"host", "tel", "user", "pw", "300", "from"};
    for (const int index : {4, 5}) {
        settings.currentHostL = index;
        EXPECT_EQ(hostSwitch.ApplyHostIndex(), 0);
        EXPECT_EQ(settings.hostName + settings.phoneNumber + settings.userId + settings.userPassword +
                      settings.rsSpeed + settings.nifFrom,
                  "hostteluserpw300from");
    }
    EXPECT_EQ(banks, (std::vector<int>{8, 0}));
    EXPECT_GT(ui.redraws, 0);
    EXPECT_EQ(settings.currentId, 0);
    EXPECT_FALSE(disk.Exists(kPath));
}

TEST_F(HostSwitchTest, AnIndexFromTenOnIsAnEnvironment) {
    settings.currentHostL = 13;
    bankResult = -1;
    EXPECT_EQ(hostSwitch.ApplyHostIndex(), -1) << "the bank";
    EXPECT_TRUE(IsThree());
}

TEST_F(HostSwitchTest, AFileThatCannotBeSavedIsReported) {
    disk.PutDirectory(kPath);
    EXPECT_EQ(hostSwitch.SwitchEnvironment(3), -1);
    const std::string_view text =
        "Setting\\Hostdata.ini を保存できませんでした。（ファイルではなくディレクトリです）"_sjis;
    EXPECT_EQ(ui.messages, (std::vector<ShownMessage>{{"Postkite", std::string(text), MessageIcon::Stop}}));
}

}  // namespace
}  // namespace postkite::core
