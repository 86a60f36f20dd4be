#include "comm/device_names.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <vector>

#include "core/shift_jis.h"

namespace postkite::comm {

using namespace core::literals;

namespace {

std::optional<int> PortNumber(std::string_view rsPort) {
    constexpr int kLastPort = 256;
    int number = 0;
    const char* end = rsPort.data() + rsPort.size();
    const auto [stopped, error] = std::from_chars(rsPort.data(), end, number);
    if (error != std::errc() || stopped != end || number < 1 || number > kLastPort) return std::nullopt;
    return number;
}

}  // namespace

int FindDevice(std::string_view given, std::string_view rsPort, const EnvironmentVariable& variable,
               core::FileSystem& fileSystem, const std::filesystem::path& workingDirectory,
               std::string& device) {
    if (!given.empty()) {
        device = given;
        return 0;
    }
    const std::optional<int> number = PortNumber(rsPort);
    if (!number) return -EINVAL;
    const std::string digits = std::to_string(*number);
    const std::optional<std::string> value = variable(("POSTKITE_COM" + digits).c_str());
    if (value && !value->empty()) {
        device = *value;
        return 0;
    }
    // The directory says whether there is a link. Following it would not find that of a device that is not
    // plugged in, and the session would dial on a device that nobody named.
    const std::filesystem::path directory = workingDirectory / "dosdevices";
    const std::string link = "com" + digits;
    std::vector<std::filesystem::path> names;
    if (fileSystem.List(directory, names) == 0 &&
        std::find(names.begin(), names.end(), std::filesystem::path(link)) != names.end()) {
        device = (directory / link).string();
        return 0;
    }
    device = "/dev/ttyS" + std::to_string(*number - 1);
    return 0;
}

std::string DescribeRefusedPort(std::string_view rsPort, const core::UserInterface& ui) {
    const std::string_view before =
        core::Choose(ui, "設定「RS PORT」の値「"_sjis, "The setting \"RS PORT\" is \"");
    const std::string_view behind = core::Choose(ui, "」はポート番号（1～256）ではありません。"_sjis,
                                                 "\", which is no port number (1 to 256).");
    return std::string(before).append(rsPort).append(behind);
}

}  // namespace postkite::comm
