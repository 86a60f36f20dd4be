#pragma once

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>

#include "bench/silent_user_interface.h"

/// What the benchmarks of the line and of the session have in common.
namespace postkite::bench {

/// A directory of its own, gone with the object.
class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "line_bench.XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) std::abort();
        path_ = name;
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

/// A raw pseudo-terminal, of which the benchmark is the modem.
class PseudoTerminal {
  public:
    PseudoTerminal() {
        std::array<char, 64> name{};
        termios raw{};
        cfmakeraw(&raw);
        if (openpty(&modem_, &device_, name.data(), &raw, nullptr) != 0) std::abort();
        path_ = name.data();
        // Else a child would keep the line from hanging up.
        fcntl(modem_, F_SETFD, FD_CLOEXEC);
        fcntl(device_, F_SETFD, FD_CLOEXEC);
    }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;
    ~PseudoTerminal() {
        HangUp();
        close(device_);
    }

    [[nodiscard]] const std::string& devicePath() const { return path_; }
    [[nodiscard]] int modem() const { return modem_; }
    [[nodiscard]] int device() const { return device_; }

    void Send(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t count = write(modem_, bytes.data(), bytes.size());
            if (count < 0) std::abort();
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }

    /// Sends and returns when the device has all of it to be read.
    void SendAndWait(std::string_view bytes) const {
        Send(bytes);
        int waiting = 0;
        while (ioctl(device_, FIONREAD, &waiting) == 0 && waiting < static_cast<int>(bytes.size())) {
            pollfd readable{device_, POLLIN, 0};
            poll(&readable, 1, 1);
        }
    }

    void HangUp() {
        if (modem_ >= 0) close(modem_);
        modem_ = -1;
    }

  private:
    int modem_ = -1;
    int device_ = -1;
    std::string path_;
};

/// CPU time of the calling thread.
inline double ThreadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    constexpr double kNanoseconds = 1e9;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / kNanoseconds;
}

/// Waits for the child to end, `status` says how. Returns the CPU time of its whole life.
inline double ChildSeconds(pid_t child, int& status) {
    rusage usage{};
    wait4(child, &status, 0, &usage);
    constexpr double kMicroseconds = 1e6;
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / kMicroseconds;
}

inline std::string HostText(std::size_t bytes) {
    std::string text;
    while (text.size() < bytes)
        text += "It has been raining here since the day before yesterday.\r\n";
    text.resize(bytes);
    return text;
}

}  // namespace postkite::bench
