#include "comm/serial_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::comm {
namespace {

/// A device whose other side is the test.
class TestPort final : public SerialPort {
  public:
    [[nodiscard]] int Open(const std::string& opened, int speed) override {
        device = opened;
        bitsPerSecond = speed;
        return openResult;
    }
    void Close() override { ++closed; }
    [[nodiscard]] std::int64_t Read(std::span<char> buffer) override {
        if (incoming.empty()) return readError;
        const std::size_t count = std::min(buffer.size(), incoming.size());
        std::copy_n(incoming.begin(), count, buffer.begin());
        incoming.erase(0, count);
        return static_cast<std::int64_t>(count);
    }
    [[nodiscard]] int Write(std::string_view bytes) override {
        if (writeResult == 0) outgoing += bytes;
        return writeResult;
    }
    [[nodiscard]] std::size_t WaitingBytes() override { return waiting; }

    std::string device;
    int bitsPerSecond = -1;
    int openResult = 0;
    int readError = 0;
    int writeResult = 0;
    int closed = 0;
    std::size_t waiting = 0;
    std::string incoming;
    std::string outgoing;
};

class SerialLineTest : public ::testing::Test {
  protected:
    SerialLineTest() { disk_.PutDirectory("/mail"); }

    void OpenLine() { ASSERT_EQ(line_.OpenLine("/dev/modem"), 0); }
    [[nodiscard]] std::string Poll(std::string_view incoming) {
        port_.incoming += incoming;
        std::string text = "left from before";
        EXPECT_EQ(line_.PollReceive(text), 0);
        return text;
    }

    support::MemoryFileSystem disk_;
    core::Workspace workspace_{disk_, "/mail"};
    core::Settings settings_;
    support::RecordingUserInterface ui_;
    support::FixedClock clock_;
    TestPort port_;
    SerialLine line_{port_, workspace_, settings_, ui_, clock_};
};

TEST_F(SerialLineTest, OpensAtTheSpeedOfTheSettings) {
    for (const auto& [setting, speed] : std::vector<std::pair<std::string, int>>{
             {"2400", 2400}, {"19200 bps", 19200}, {"", 0}, {"fast", 0}}) {
        settings_.rsSpeed = setting;
        OpenLine();
        EXPECT_EQ(port_.bitsPerSecond, speed) << setting;
    }
    EXPECT_EQ(port_.device, "/dev/modem");
    line_.CloseLine();
    const int closed = port_.closed;
    EXPECT_EQ(line_.CloseLine(), 0);
    EXPECT_EQ(port_.closed, closed) << "it is closed once";
    port_.openResult = -EBUSY;
    EXPECT_EQ(line_.OpenLine("/dev/modem"), -1);
    EXPECT_EQ(line_.error(), -EBUSY);
    EXPECT_EQ(Poll("noise"), "");
    EXPECT_FALSE(line_.received());
}

TEST_F(SerialLineTest, ReceivedTextIsCleanedShownAndCaptured) {
    OpenLine();
    line_.captures().switches = {.captureMail = true, .sessionLogging = true};
    std::string every;
    for (int byte = 0; byte < 256; ++byte)
        every += static_cast<char>(byte);
    std::string expected = every;
    std::erase_if(expected, [](char byte) {
        return std::string_view("\0\a\t\f\x11\x13", 6).find(byte) != std::string_view::npos;
    });
    ASSERT_EQ(expected.size(), 250U);
    EXPECT_EQ(Poll(every), expected);
    EXPECT_TRUE(line_.received());
    // The last byte, 0xFF, is no lead byte, and 0xFC took 0xFD with it.
    EXPECT_EQ(line_.monitor().text(), expected);
    line_.captures().FlushCapture();
    EXPECT_EQ(disk_.Get("/mail/maillog.txt"), expected);
    EXPECT_EQ(Poll(""), "");
    EXPECT_FALSE(line_.received());
    EXPECT_EQ(Poll("\t\a"), "");
    EXPECT_TRUE(line_.received()) << "the host is there, though nothing is left of what it sent";
    line_.captures().switches.sessionLogging = false;
    EXPECT_EQ(Poll("unseen"), "unseen");
    EXPECT_EQ(line_.monitor().text(), expected);
}

TEST_F(SerialLineTest, OnePollTakesOneBuffer) {
    OpenLine();
    line_.captures().switches.captureMail = true;
    const std::string sent = std::string(32'867, 'a') + std::string(1024, 'b');
    EXPECT_EQ(Poll(sent), std::string(32'867, 'a'));
    EXPECT_EQ(Poll(""), std::string(1024, 'b'));
    EXPECT_EQ(disk_.Get("/mail/maillog.txt"), std::string(32'867, 'a'));
    // 1,025 received bytes are written at once, though cleaning leaves none of them.
    EXPECT_EQ(Poll(std::string(1025, '\t')), "");
    EXPECT_EQ(disk_.Get("/mail/maillog.txt"), sent);
}

TEST_F(SerialLineTest, ALostDeviceLeavesWhatWasCaptured) {
    OpenLine();
    line_.captures().switches.captureMail = true;
    EXPECT_EQ(Poll("last words"), "last words");
    port_.readError = -EIO;
    std::string text;
    EXPECT_EQ(line_.PollReceive(text), -1);
    EXPECT_EQ(line_.error(), -EIO);
    EXPECT_EQ(line_.PollReceive(text), -1);
    line_.CloseLine();
    line_.captures().FlushCapture();
    EXPECT_EQ(disk_.Get("/mail/maillog.txt"), "last words");
}

// The script answers a mail's prompt by deleting the mail on the host, so it must not see the prompt of a
// mail that is not on the disk.
TEST_F(SerialLineTest, WhileTheDiskIsFullNothingIsReadAndTheScriptSeesNothing) {
    OpenLine();
    line_.captures().switches.captureMail = true;
    const std::string mail = std::string(2000, 'm') + "action:";
    disk_.ShortWrite(1, 3);
    disk_.ShortWrite(3, 3);  // the second is that of error.log
    EXPECT_EQ(Poll(mail), "");
    EXPECT_EQ(Poll("MAIL>"), "");
    EXPECT_FALSE(line_.received()) << "the host gets no more time";
    EXPECT_EQ(port_.incoming, "MAIL>") << "the line is not read";
    EXPECT_EQ(Poll(""), mail) << "the disk takes it now";
    EXPECT_TRUE(line_.received());
    EXPECT_EQ(disk_.Get("/mail/maillog.txt"), mail);
    EXPECT_EQ(Poll(""), "MAIL>");
    EXPECT_EQ(ui_.messages.size(), 1U);

    disk_.ShortWrite(2, 0);  // behind the session log's
    line_.captures().FlushCapture();
    EXPECT_TRUE(line_.captures().HasTrouble());
    EXPECT_EQ(Poll("OFF"), "OFF") << "a flush that failed holds up nothing once the disk is well";
    line_.captures().FlushCapture();
    EXPECT_EQ(disk_.Get("/mail/maillog.txt"), mail + "MAIL>OFF");
}

TEST_F(SerialLineTest, FaultsOfSendingGoToTheErrorLogAlone) {
    OpenLine();
    EXPECT_EQ(line_.SendText("ATDT"), 0);
    EXPECT_EQ(line_.SendText(""), 0);
    EXPECT_EQ(port_.outgoing, "ATDT");
    EXPECT_FALSE(disk_.Exists("/mail/error.log"));
    port_.writeResult = -EIO;
    EXPECT_EQ(line_.SendText("0,"), 0);
    EXPECT_EQ(disk_.Get("/mail/error.log"), "send error GetLastError = 5\r\nSend Length Error\r\n");
    EXPECT_TRUE(ui_.messages.empty());
    port_.waiting = 9;
    EXPECT_EQ(line_.OutputDrained(), 0);
    port_.waiting = 10;
    EXPECT_EQ(line_.OutputDrained(), -1);
}

}  // namespace
}  // namespace postkite::comm
