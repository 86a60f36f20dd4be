#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "core/file_system.h"
#include "core/user_interface.h"

namespace postkite::comm {

/// The value of an environment variable; nothing where it is not set.
using EnvironmentVariable = std::function<std::optional<std::string>(const char* name)>;

/// Finds the device for the setting "RS PORT", say "2" for the port COM2, in the form that `SerialPort::Open`
/// takes:
/// 1. `given`, where it is not empty; the setting does not count then;
/// 2. the environment variable POSTKITE_COM2, where it is not empty;
/// 3. `dosdevices/com2` in the working directory, whether or not what it links to is there now;
/// 4. /dev/ttyS1: the system counts from 0. Returns 0, or -EINVAL when the setting is no number from 1 to
///    256.
[[nodiscard]] int FindDevice(std::string_view given, std::string_view rsPort,
                             const EnvironmentVariable& variable, core::FileSystem& fileSystem,
                             const std::filesystem::path& workingDirectory, std::string& device);

/// Says to a person that the setting is no port; code page 932.
[[nodiscard]] std::string DescribeRefusedPort(std::string_view rsPort, const core::UserInterface& ui);

}  // namespace postkite::comm
