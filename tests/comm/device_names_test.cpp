#include "comm/device_names.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <map>

#include "core/shift_jis.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::comm {
namespace {

class DeviceNamesTest : public ::testing::Test {
  protected:
    [[nodiscard]] std::string Find(std::string_view given, std::string_view rsPort) {
        std::string device;
        const auto variable = [this](const char* name) -> std::optional<std::string> {
            const auto found = variables_.find(name);
            return found == variables_.end() ? std::nullopt : std::optional(found->second);
        };
        const int result = FindDevice(given, rsPort, variable, disk_, "/mail", device);
        return result == 0 ? device : std::to_string(result);
    }

    support::MemoryFileSystem disk_;
    std::map<std::string, std::string> variables_;
};

TEST_F(DeviceNamesTest, TheNearerWordCounts) {
    EXPECT_EQ(Find("", "2"), "/dev/ttyS1");
    EXPECT_EQ(Find("", "1"), "/dev/ttyS0");
    disk_.Put("/mail/dosdevices/com2", "");
    EXPECT_EQ(Find("", "2"), "/mail/dosdevices/com2");
    EXPECT_EQ(Find("", "3"), "/dev/ttyS2");
    variables_ = {{"POSTKITE_COM2", ""}, {"POSTKITE_COM12", "/dev/ttyUSB0"}};
    EXPECT_EQ(Find("", "2"), "/mail/dosdevices/com2") << "an empty variable is none";
    EXPECT_EQ(Find("", "12"), "/dev/ttyUSB0");
    variables_["POSTKITE_COM2"] = "tcp:localhost:2323";
    EXPECT_EQ(Find("", "2"), "tcp:localhost:2323");
    EXPECT_EQ(Find("/dev/pts/7", "2"), "/dev/pts/7");
    EXPECT_EQ(Find("/dev/pts/7", "nonsense"), "/dev/pts/7") << "the setting is not asked";
}

TEST_F(DeviceNamesTest, SettingsThatAreNoPortAreRefused) {
    for (const std::string_view wrong :
         {"", "0", "257", "-1", "+1", " 1", "1 ", "1x", "x", "1.5", "../../etc", "99999999999999999999"}) {
        EXPECT_EQ(Find("", wrong), std::to_string(-EINVAL)) << wrong;
    }
    EXPECT_EQ(Find("", "256"), "/dev/ttyS255");
    using namespace core::literals;
    support::RecordingUserInterface ui;
    EXPECT_EQ(DescribeRefusedPort("x", ui),
              "設定「RS PORT」の値「x」はポート番号（1～256）ではありません。"_sjis);
    ui.spoken = core::Language::English;
    EXPECT_EQ(DescribeRefusedPort("x", ui),
              "The setting \"RS PORT\" is \"x\", which is no port number (1 to 256).");
}

}  // namespace
}  // namespace postkite::comm
