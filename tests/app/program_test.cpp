#include "app/program.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "core/shift_jis.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/recording_user_interface.h"
#include "tests/support/scripted_port.h"

namespace postkite::app {
namespace {

using core::operator""_sjis;
using support::ShownMessage;

constexpr const char* kSettings = "/mail/Setting/setting.ini";

class ProgramTest : public ::testing::Test {
  protected:
    ProgramTest() { disk.PutDirectory("/mail/Setting"); }

    /// What a program before this one left.
    void SaveEarlier(int activeNumber) {
        Program earlier(workspace, state, ui, clock, port);
        earlier.Start();
        earlier.environments().entries[2].name = "home";
        earlier.environments().entries[2].userId = "ABC01234";
        earlier.settings().currentId = activeNumber;
        ASSERT_EQ(earlier.SaveEnvironments(), 0);
        ASSERT_EQ(earlier.SaveSettings(), 0);
    }

    support::MemoryFileSystem disk;
    core::Workspace workspace{disk, "/mail"};
    core::Workspace state{disk, "/state"};
    support::RecordingUserInterface ui;
    support::FixedClock clock;
    support::ScriptedPort port;
    Program program{workspace, state, ui, clock, port};
};

TEST_F(ProgramTest, WhatOneSavesTheNextReads) {
    SaveEarlier(2);
    program.Start();
    EXPECT_EQ(program.settings().userId, "ABC01234");
    ASSERT_EQ(program.PrepareChange(), 0);
    program.settings().hostName = "changed";
    ASSERT_EQ(program.SaveSettings(), 0);
    ASSERT_EQ(program.SwitchEnvironment(5), 0);
    EXPECT_EQ(program.settings().userId, "");
    ASSERT_EQ(program.SaveSettings(), 0);

    Program next(workspace, state, ui, clock, port);
    next.Start();
    EXPECT_EQ(next.settings().hostName, "changed");
    EXPECT_EQ(next.settings().currentId, 5);
    EXPECT_EQ(next.environments().entries[2].name, "home");
    EXPECT_EQ(disk.Names("/mail/Setting"), (std::vector<std::string>{"Hostdata.ini", "setting.ini"}));
    EXPECT_TRUE(ui.messages.empty());
}

TEST_F(ProgramTest, EnvironmentsWithoutSettingsSurviveAChange) {
    SaveEarlier(2);
    ASSERT_EQ(disk.Remove(kSettings), 0);
    program.Start();
    EXPECT_EQ(program.environments().entries[2].name, "") << "start-up passes them over";
    ASSERT_EQ(program.PrepareChange(), 0);
    EXPECT_EQ(program.environments().entries[2].name, "home");
    program.environments().entries[4].name = "new";
    ASSERT_EQ(program.SaveEnvironments(), 0);
    ASSERT_EQ(program.SaveSettings(), 0);
    Program next(workspace, state, ui, clock, port);
    next.Start();
    EXPECT_EQ(next.environments().entries[2].userId, "ABC01234");
    EXPECT_EQ(next.environments().entries[4].name, "new");
    EXPECT_EQ(disk.Names("/mail/Setting").size(), 2U) << "a copy says that something was lost";
}

TEST_F(ProgramTest, SettingsWithoutEnvironmentsSurviveASwitch) {
    disk.Put(kSettings, "a\r\nb\r\nc\r\nd\r\ne\r\nPHONE NUMBER=0123456789-123456789-123\r\n");
    program.Start();
    ASSERT_EQ(program.PrepareChange(), 0);
    ASSERT_EQ(program.SwitchEnvironment(5), 0);
    EXPECT_EQ(program.settings().phoneNumber, "");
    ASSERT_EQ(program.SwitchEnvironment(0), 0);
    EXPECT_EQ(program.settings().phoneNumber, "0123456789-12345678");
    const std::string_view text = "長すぎる設定の値を接続環境の長さに切り詰めました。"_sjis;
    const ShownMessage expected = {"Postkite", std::string(text), core::MessageIcon::Warning};
    EXPECT_EQ(ui.messages, std::vector{expected}) << "once";
}

TEST_F(ProgramTest, AFileThatCannotBeReadForbidsEveryChange) {
    for (const std::string name : {"setting.ini", "Hostdata.ini", "HostEntry.ini"}) {
        support::MemoryFileSystem broken;
        for (const std::string other : {"setting.ini", "Hostdata.ini", "HostEntry.ini"})
            if (other != name) broken.Put("/mail/Setting/" + other, "a=1\r\n");
        broken.PutDirectory("/mail/Setting/" + name);
        core::Workspace there(broken, "/mail");
        ui.messages.clear();
        Program unlucky(there, state, ui, clock, port);
        unlucky.Start();
        EXPECT_TRUE(ui.messages.empty());
        EXPECT_EQ(unlucky.PrepareChange(), -1);
        const std::string_view text =
            " を読み込めないため、変更を中止しました。（ファイルではなくディレクトリです）"_sjis;
        const ShownMessage expected = {"Postkite", ("Setting\\" + name).append(text),
                                       core::MessageIcon::Stop};
        EXPECT_EQ(ui.messages, std::vector{expected});
    }
    SaveEarlier(2);
    bool struck = true;
    for (int call = 1; struck; ++call) {
        Program unlucky(workspace, state, ui, clock, port);
        disk.FailCall(call, -EIO);
        unlucky.Start();
        struck = disk.struck();
        disk.Restart();
        EXPECT_EQ(unlucky.PrepareChange(), struck ? -1 : 0) << "call " << call;
    }
}

TEST_F(ProgramTest, TheActiveEnvironmentIsTheOneWhoseValuesComeBack) {
    program.Start();
    EXPECT_EQ(program.ActiveEnvironment(), nullptr) << "no file";
    ASSERT_EQ(program.SaveEnvironments(), 0);
    EXPECT_EQ(program.ActiveEnvironment(), &program.environments().entries[0]) << "there is one now";

    SaveEarlier(2);
    Program next(workspace, state, ui, clock, port);
    next.Start();
    EXPECT_EQ(next.ActiveEnvironment(), &next.environments().entries[2]);
    for (const std::int32_t number : {-1, 10}) {
        next.settings().currentId = number;
        EXPECT_EQ(next.ActiveEnvironment(), nullptr);
    }
}

TEST_F(ProgramTest, ABankIsOpenedByItselfAndFollowsTheEnvironment) {
    program.Start();
    ASSERT_EQ(program.OpenBank(), 0);
    EXPECT_EQ(disk.Names("/mail/MailBox1"), std::vector<std::string>{"MailBoxInfo.ini"});
    disk.PutDirectory("/mail/MailBox3");
    ASSERT_EQ(program.SwitchBank(2), 0);
    EXPECT_EQ(program.settings().nowBoxNo, 2);
    EXPECT_EQ(program.mailbox().bankDirectory(), "MailBox3");

    program.settings().bank[5] = 0;
    ASSERT_EQ(program.SwitchEnvironment(5), 0);
    EXPECT_EQ(program.mailbox().bankDirectory(), "MailBox1");
    EXPECT_TRUE(ui.messages.empty());
    for (const int number : {-1, 20}) {
        EXPECT_EQ(program.SwitchBank(number), -1);
    }
    EXPECT_EQ(ui.messages.size(), 2U);
    EXPECT_EQ(program.settings().nowBoxNo, 0);
}

TEST_F(ProgramTest, ABankWhoseDiskIsNotThereIsNeverSwitchedTo) {
    const std::string_view text =
        "メールボックスディレクトリ MailBox5 アクセスできません。\n"
        "メールボックスバンク切り替えを中止しました。"_sjis;
    const ShownMessage refusal = {"Postkite", std::string(text), core::MessageIcon::Stop};
    program.Start();
    program.settings().bank[13] = 4;
    EXPECT_EQ(program.SwitchEnvironment(3), -1) << "while no bank is open";
    EXPECT_EQ(program.settings().nowBoxNo, 0);
    ASSERT_EQ(program.OpenBank(), 0);
    EXPECT_EQ(program.SwitchBank(4), -1);
    EXPECT_EQ(program.settings().nowBoxNo, 0);
    EXPECT_EQ(program.mailbox().bankDirectory(), "MailBox1");
    EXPECT_EQ(ui.messages, (std::vector{refusal, refusal}));
    EXPECT_FALSE(disk.Exists("/mail/MailBox5"));
}

TEST_F(ProgramTest, TheDirectoryOfTheStateIsMadeForTheClipboardAlone) {
    program.Start();
    ASSERT_EQ(program.OpenBank(), 0);
    EXPECT_FALSE(disk.Exists("/state"));
    core::Workspace deep(disk, "/home/.local/state/postkite");
    Program other(workspace, deep, ui, clock, port);
    ASSERT_EQ(other.PrepareClipboard(), 0);
    EXPECT_TRUE(disk.Names("/home/.local/state/postkite").empty());
    store::MailRecord record;
    EXPECT_EQ(other.mailbox().AppendMail(store::kClipboardFolder, record, -1), 0);
    disk.Put("/file", "");
    core::Workspace hopeless(disk, "/file/state");
    EXPECT_EQ(Program(workspace, hopeless, ui, clock, port).PrepareClipboard(), -1);
    EXPECT_EQ(ui.messages.size(), 1U);
}

}  // namespace
}  // namespace postkite::app
