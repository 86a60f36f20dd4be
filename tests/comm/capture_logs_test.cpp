#include "comm/capture_logs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "core/shift_jis.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::comm {
namespace {

using namespace core::literals;

class CaptureLogsTest : public ::testing::Test {
  protected:
    CaptureLogsTest() {
        disk_.PutDirectory("/mail");
        settings_.log = 1;
        settings_.logFilePath = "log";
    }

    void Take(std::string_view text) { logs_.Take(text, text.size()); }
    [[nodiscard]] std::string Content(const std::string& file) const {
        return disk_.Get("/mail/" + file).value_or("(none)");
    }

    support::MemoryFileSystem disk_;
    core::Workspace workspace_{disk_, "/mail"};
    core::Settings settings_;
    support::RecordingUserInterface ui_;
    support::FixedClock clock_;
    CaptureLogs logs_{workspace_, settings_, ui_, clock_};
};

TEST_F(CaptureLogsTest, TextWaitsUntilMoreThan1024BytesAreThere) {
    logs_.switches = {.captureMail = true, .sessionLogging = true};
    const std::string first(1000, 'a');
    Take(first);
    Take(std::string(24, 'b'));
    EXPECT_EQ(Content("maillog.txt"), "(none)") << "1,024 bytes are not more than 1,024";
    Take("c");
    const std::string written = first + std::string(24, 'b') + "c";
    EXPECT_EQ(Content("maillog.txt"), written);
    EXPECT_EQ(Content("log/bmail.log.nif"), written) << "its directory is made";
    Take("d");
    EXPECT_EQ(Content("maillog.txt"), written);
}

TEST_F(CaptureLogsTest, ALongChunkGoesBehindWhatWaits) {
    logs_.switches.captureMail = true;
    Take("before ");
    const std::string chunk(1500, 'x');
    Take(chunk);
    Take("after");
    EXPECT_EQ(Content("maillog.txt"), "before " + chunk);
    // What counts is the length before cleaning, on both sides of the limit.
    logs_.Take("1", 1024);
    EXPECT_EQ(Content("maillog.txt"), "before " + chunk);
    logs_.Take("2", 1025);
    EXPECT_EQ(Content("maillog.txt"), "before " + chunk + "after12");
    Take("3");
    logs_.WritePending();
    EXPECT_EQ(Content("maillog.txt"), "before " + chunk + "after123");
    EXPECT_EQ(Content("log/bmail.log.nif"), "(none)") << "the session is not logged";
    const int calls = disk_.calls();
    logs_.WritePending();
    logs_.FlushCapture();
    EXPECT_EQ(disk_.calls(), calls) << "nothing waits";
}

TEST_F(CaptureLogsTest, SwitchesChooseTheFiles) {
    const std::string chunk(1025, 'x');
    const auto filesWith = [&](CaptureSwitches switches, bool flush) {
        disk_.PutDirectory("/mail/log");
        for (const std::string& name : disk_.Names("/mail"))
            static_cast<void>(disk_.Remove("/mail/" + name));
        for (const std::string& name : disk_.Names("/mail/log"))
            static_cast<void>(disk_.Remove("/mail/log/" + name));
        logs_.switches = switches;
        if (flush) {
            Take("x");
            logs_.FlushCapture();
        } else {
            Take(chunk);
        }
        std::vector<std::string> names = disk_.Names("/mail");
        std::erase(names, "log");
        for (const std::string& name : disk_.Names("/mail/log"))
            names.push_back(name);
        return names;
    };
    using Names = std::vector<std::string>;
    for (const bool flush : {false, true}) {
        EXPECT_EQ(filesWith({.captureSupplement = true, .captureForum = true, .sessionLogging = true}, flush),
                  (Names{"HosokuLog.txt", "MesLog.txt", "bmail.log.nif"}));
    }
    EXPECT_EQ(filesWith({.captureLibrary = true, .captureBinList = true}, false),
              (Names{"BinList.txt", "LibLog.txt"}));
    EXPECT_EQ(filesWith({.captureLibrary = true, .captureBinList = true}, true),
              (Names{"BinList.txt", "LibLog.txt", "bmail.log.nif"}))
        << "a flush does not ask whether the session is logged";
    EXPECT_EQ(filesWith({}, false), Names{});
    settings_.log = 0;
    EXPECT_EQ(filesWith({.sessionLogging = true}, false), Names{});
    EXPECT_EQ(filesWith({.sessionLogging = true}, true), (Names{"bmail.log.nif"}))
        << "a flush does not ask the setting";
}

// The order is seen by letting the power fail at each write.
TEST_F(CaptureLogsTest, TheOrderOfTheFilesDiffersBetweenWritingAndFlushing) {
    const auto orderOf = [&](bool flush) {
        std::vector<std::string> order;
        for (int write = 2; write <= 7; ++write) {
            support::MemoryFileSystem disk;
            disk.PutDirectory("/mail/log");
            core::Workspace workspace(disk, "/mail");
            CaptureLogs logs(workspace, settings_, ui_, clock_);
            logs.switches = {true, true, true, true, true, true};
            disk.StopWithinWrite(write, 0);
            logs.Take(std::string(flush ? 1 : 1025, 'x'), flush ? 1 : 1025);
            if (flush) logs.FlushCapture();
            for (const char* name :
                 {"maillog.txt", "HosokuLog.txt", "MesLog.txt", "LibLog.txt", "BinList.txt"}) {
                const bool written = !disk.Get(std::string("/mail/") + name).value_or("").empty();
                if (written && std::find(order.begin(), order.end(), name) == order.end())
                    order.push_back(name);
            }
        }
        return order;
    };
    using Names = std::vector<std::string>;
    EXPECT_EQ(orderOf(false),
              (Names{"maillog.txt", "HosokuLog.txt", "MesLog.txt", "LibLog.txt", "BinList.txt"}));
    EXPECT_EQ(orderOf(true),
              (Names{"maillog.txt", "MesLog.txt", "LibLog.txt", "BinList.txt", "HosokuLog.txt"}));
}

TEST_F(CaptureLogsTest, SessionLogNames) {
    clock_.now.year = 1997;
    clock_.now.month = 11;
    const auto paths = [&](std::string_view directory, int dateLogName) {
        settings_.logFilePath = directory;
        settings_.dateLogName = dateLogName;
        return logs_.SessionLogPath() + " " + logs_.InetSessionLogPath();
    };
    EXPECT_EQ(paths("log", 1), "log\\9711.log.nif log\\9711.log.inet");
    EXPECT_EQ(paths("log", 0), "log\\bmail.log.nif log\\bmail.log.inet");
    EXPECT_EQ(paths("", 1), "9711.log.nif 9711.log.inet");
    EXPECT_EQ(paths(".\\log", 0), "bmail.log.nif bmail.log.inet");
    EXPECT_EQ(paths("log", 2), "log\\bmail.log.nif log\\bmail.log.inet") << "only 1 asks for the date";
    clock_.now.year = 2005;
    clock_.now.month = 3;
    EXPECT_EQ(paths("a\\表\\c"_sjis, 1), std::string("a\\表\\c\\0503.log.nif a\\表\\c\\0503.log.inet"_sjis));
    Take("x");
    logs_.FlushCapture();
    EXPECT_EQ(Content("a/表/c/0503.log.nif"), "x") << "every directory of the path is made";
}

TEST_F(CaptureLogsTest, CommandsOnTheFiles) {
    disk_.Put("/mail/MAILLOG.TXT", "old");
    EXPECT_EQ(logs_.Empty(kMailLogFile), 0);
    EXPECT_EQ(Content("MAILLOG.TXT"), "");
    EXPECT_EQ(logs_.Delete(kMailLogFile), 0);
    EXPECT_EQ(Content("MAILLOG.TXT"), "(none)");
    EXPECT_EQ(logs_.Delete(kMailLogFile), 0) << "there is none";
    EXPECT_EQ(logs_.Empty(kBinListFile), 0);
    EXPECT_EQ(Content("BinList.txt"), "");
    logs_.AppendLibraryLog("no");
    logs_.switches.captureLibrary = true;
    logs_.AppendLibraryLog("\x08yes\r\n");
    EXPECT_EQ(Content("LibLog.txt"), "\x08yes\r\n");
    disk_.FailCall(2, -EACCES);
    EXPECT_EQ(logs_.Delete(kLibraryLogFile), -EACCES);
    disk_.PutDirectory("/mail/MesLog.txt");
    EXPECT_EQ(logs_.Empty(kForumLogFile), -EISDIR);
}

// Whatever call of whatever write fails, and however much of the write was stored: every byte is in the file
// once, as soon as the disk is well again.
TEST_F(CaptureLogsTest, NoByteIsLostOrDoubledByAFault) {
    for (int fault = 1; fault < 40; ++fault) {
        support::MemoryFileSystem disk;
        disk.PutDirectory("/mail");
        core::Workspace workspace(disk, "/mail");
        support::RecordingUserInterface ui;
        CaptureLogs logs(workspace, settings_, ui, clock_);
        logs.switches = {.captureMail = true, .sessionLogging = true};
        const bool isWrite = fault >= 30;
        if (isWrite) {
            disk.ShortWrite(fault - 29, 700);
        } else {
            disk.FailCall(fault, -ENOSPC);
            disk.FailCall(fault + 5, -EIO);
        }
        std::string all;
        for (const int bytes : {1100, 10, 2000}) {
            const std::string chunk(static_cast<std::size_t>(bytes),
                                    static_cast<char>('a' + all.size() % 26));
            logs.Take(chunk, chunk.size());
            all += chunk;
        }
        logs.FlushCapture();
        logs.FlushCapture();
        EXPECT_FALSE(logs.HasTrouble());
        EXPECT_EQ(disk.Get("/mail/maillog.txt"), all) << "fault " << fault;
        EXPECT_EQ(disk.Get("/mail/log/bmail.log.nif"), all) << "fault " << fault;
    }
}

TEST_F(CaptureLogsTest, AFullDiskIsToldOnceAndWhatWaitsIsWrittenLater) {
    logs_.switches.captureMail = true;
    disk_.Put("/mail/maillog.txt", "old ");
    disk_.ShortWrite(1, 7);
    disk_.ShortWrite(3, 0);  // the second is that of error.log
    Take(std::string(1025, 'x'));
    EXPECT_TRUE(logs_.HasTrouble());
    EXPECT_EQ(Content("maillog.txt"), "old ") << "the short write is taken back";
    EXPECT_EQ(logs_.Retry(), -ENOSPC);
    const std::string said(
        "受信した内容を maillog.txt に書き込めません: ディスクの空き容量が足りません。"_sjis);
    const support::ShownMessage message{
        "Postkite", said + std::string("\r\n書き込めるようになるまで受信を止めます。"_sjis),
        core::MessageIcon::Warning};
    EXPECT_EQ(ui_.messages, std::vector{message});
    EXPECT_EQ(Content("error.log"), said + "\r\n");
    EXPECT_EQ(logs_.Retry(), 0);
    EXPECT_FALSE(logs_.HasTrouble());
    EXPECT_EQ(Content("maillog.txt"), "old " + std::string(1025, 'x'));

    logs_.BeginSession();
    settings_.autoMode = 1;
    ui_.spoken = core::Language::English;
    disk_.ShortWrite(1, 0);
    Take(std::string(1025, 'y'));
    EXPECT_EQ(ui_.messages.size(), 1U) << "nobody is there to close a message box";
    EXPECT_EQ(ui_.statusTexts, std::vector<std::string>{
                                   "What is received cannot be written to maillog.txt: the disk is full."});
    EXPECT_EQ(logs_.Empty(kMailLogFile), 0);
    EXPECT_FALSE(logs_.HasTrouble()) << "a new capture does not begin with the bytes of the old one";
    EXPECT_EQ(logs_.Retry(), 0);
    EXPECT_EQ(Content("maillog.txt"), "");
}

TEST_F(CaptureLogsTest, AShortWriteThatCannotBeTakenBackIsWrittenOver) {
    logs_.switches.captureMail = true;
    disk_.Put("/mail/maillog.txt", "old ");
    const std::string chunk = "abcdefg" + std::string(1025, 'x');
    disk_.ShortWrite(1, 7);
    disk_.FailCall(5, -EIO);  // inspect, open, size, write, truncate
    Take(chunk);
    ASSERT_EQ(Content("maillog.txt"), "old abcdefg");
    EXPECT_EQ(logs_.Retry(), 0);
    EXPECT_EQ(Content("maillog.txt"), "old " + chunk);
    Take(chunk);
    EXPECT_EQ(Content("maillog.txt"), "old " + chunk + chunk);
}

TEST_F(CaptureLogsTest, ASessionLogThatCannotBeWrittenHoldsNothingUp) {
    settings_.logFilePath = "C:\\LOG";
    ui_.spoken = core::Language::English;
    logs_.switches = {.captureMail = true, .sessionLogging = true};
    const std::string chunk(32'000, 'x');
    for (int i = 0; i < 40; ++i)
        Take(chunk);
    EXPECT_FALSE(logs_.HasTrouble());
    EXPECT_EQ(Content("maillog.txt").size(), 40 * chunk.size());
    ASSERT_EQ(ui_.messages.size(), 1U);
    EXPECT_EQ(
        ui_.messages[0].text,
        "What is received cannot be written to C:\\LOG\\bmail.log.nif: its name or kind cannot be used.\r\n"
        "The session goes on without it.");
    settings_.logFilePath = "log";
    logs_.FlushCapture();
    EXPECT_EQ(Content("log/bmail.log.nif").size(), 32 * chunk.size()) << "what 1 MB holds in whole chunks";
    EXPECT_EQ(logs_.Sync(), 0);
}

TEST_F(CaptureLogsTest, AfterASyncThePowerMayFail) {
    logs_.switches = {.captureMail = true, .captureForum = true};
    Take("to be kept");
    logs_.FlushCapture();
    ASSERT_EQ(logs_.Sync(), 0);
    disk_.PowerCut();
    EXPECT_EQ(Content("maillog.txt"), "to be kept");
    EXPECT_EQ(Content("MesLog.txt"), "to be kept");
    EXPECT_EQ(Content("log/bmail.log.nif"), "to be kept");
    const int calls = disk_.calls();
    EXPECT_EQ(logs_.Sync(), 0);
    EXPECT_EQ(disk_.calls(), calls) << "everything has been synced";
    Take(" more");
    logs_.FlushCapture();
    disk_.FailCall(
        6, -EIO);  // of the session log: inspect, open, sync, inspect, sync the names; then those of the mail
    disk_.FailCall(7, -EIO);
    disk_.FailCall(8, -EIO);
    EXPECT_LT(logs_.Sync(), 0);
    EXPECT_EQ(logs_.Sync(), 0) << "the next one tries again";
    disk_.PowerCut();
    EXPECT_EQ(Content("maillog.txt"), "to be kept more");
}

TEST_F(CaptureLogsTest, TheAccountOfDeletionsIsOnTheDiskBeforeTheFirstMail) {
    bool struck = true;
    for (int call = 1; struck; ++call) {
        ASSERT_LT(call, 100);
        SCOPED_TRACE(call);
        support::MemoryFileSystem disk;
        disk.PutDirectory("/mail");
        core::Workspace workspace(disk, "/mail");
        CaptureLogs logs(workspace, settings_, ui_, clock_);
        disk.FailCall(call, -EIO);
        const int begun = logs.BeginMail();
        struck = disk.struck();
        if (!struck) {
            EXPECT_FALSE(logs.HasTrouble());
        }
        if (begun < 0) continue;
        EXPECT_EQ(logs.Retry(), 0);
        disk.PowerCut();
        EXPECT_EQ(disk.Get("/mail/maillog.txt.deleted"), "Postkite deletions 1\r\n");
    }
}

}  // namespace
}  // namespace postkite::comm
