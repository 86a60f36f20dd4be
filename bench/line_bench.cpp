// What the line costs, in CPU time: a poll of an idle line, with the memory that it takes; received bytes on
// their way from a pseudo-terminal into a capture file, beside `socat` copying the same bytes from a
// pseudo-terminal into a file; and a chunk behind a short and a long capture. Everything lies in a temporary
// directory and is gone afterwards.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <new>
#include <string>

#include "comm/serial_line.h"
#include "comm/system_serial_port.h"
#include "core/system_clock.h"
#include "core/system_file_system.h"

namespace {

std::size_t allocations = 0;

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using namespace postkite;

constexpr std::size_t kPollBytes = 4000;  ///< about what a pseudo-terminal holds from one tick to the next

/// Nobody is there to be shown anything.
class SilentUserInterface final : public core::UserInterface {
  public:
    [[nodiscard]] core::Language language() const override { return core::Language::English; }
    void ShowMessage(std::string_view, std::string_view, core::MessageIcon) override {}
    [[nodiscard]] bool AskQuestion(std::string_view, std::string_view) override { return false; }
    void SetStatusText(std::string_view) override {}
    void SetProgress(std::uint64_t, std::uint64_t) override {}
    void PlaySoundFile(std::string_view) override {}
    void AppendMonitorText(std::string_view) override {}
    void PumpMessages() override {}
    void RedrawMainWindow() override {}
};

/// A line over a pseudo-terminal, of which the benchmark is the other side, in a working directory of its
/// own.
class Laboratory {
  public:
    Laboratory()
        : workspace_(fileSystem_, MakeDirectory()), line_(port_, workspace_, settings_, ui_, clock_) {
        std::array<char, 64> name{};
        if (openpty(&modem_, &device_, name.data(), nullptr, nullptr) != 0) std::abort();
        path_ = name.data();
        // Else a child would keep the line from hanging up.
        fcntl(modem_, F_SETFD, FD_CLOEXEC);
        fcntl(device_, F_SETFD, FD_CLOEXEC);
    }
    Laboratory(const Laboratory&) = delete;
    Laboratory& operator=(const Laboratory&) = delete;
    ~Laboratory() {
        line_.CloseLine();
        close(modem_);
        close(device_);
        std::filesystem::remove_all(workspace_.root());
    }

    [[nodiscard]] comm::SerialLine& line() { return line_; }
    [[nodiscard]] core::Settings& settings() { return settings_; }
    [[nodiscard]] const std::string& devicePath() const { return path_; }
    [[nodiscard]] std::filesystem::path PathOf(const char* name) const { return workspace_.root() / name; }

    void OpenLine() {
        if (line_.OpenLine(path_) != 0) std::abort();
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

    void Send(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t count = write(modem_, bytes.data(), bytes.size());
            if (count < 0) std::abort();
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }

    void HangUp() {
        close(modem_);
        modem_ = -1;
    }

  private:
    static std::filesystem::path MakeDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "line_bench.XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) std::abort();
        return name;
    }

    core::SystemFileSystem fileSystem_;
    core::Workspace workspace_;
    core::SystemClock clock_;
    core::Settings settings_;
    SilentUserInterface ui_;
    comm::SystemSerialPort port_;
    comm::SerialLine line_;
    int modem_ = -1;
    int device_ = -1;
    std::string path_;
};

double ThreadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    constexpr double kNanoseconds = 1e9;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / kNanoseconds;
}

double ChildSeconds(pid_t child) {
    rusage usage{};
    int status = 0;
    wait4(child, &status, 0, &usage);
    constexpr double kMicroseconds = 1e6;
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / kMicroseconds;
}

std::string HostText(std::size_t bytes) {
    std::string text;
    while (text.size() < bytes)
        text += "It has been raining here since the day before yesterday.\r\n";
    text.resize(bytes);
    return text;
}

void BM_IdlePoll(benchmark::State& state) {
    Laboratory laboratory;
    laboratory.OpenLine();
    std::string received;
    const std::size_t before = allocations;
    for (auto _ : state) {
        if (laboratory.line().PollReceive(received) != 0 || !received.empty())
            state.SkipWithError("not idle");
    }
    state.counters["allocations"] = static_cast<double>(allocations - before);
}
BENCHMARK(BM_IdlePoll);

/// The polls alone count, not the host's side. Argument 1: with session log and monitor, as in most sessions.
void BM_CaptureFromPseudoTerminal(benchmark::State& state) {
    Laboratory laboratory;
    laboratory.OpenLine();
    laboratory.settings().log = 1;
    laboratory.line().captures().switches = {.captureMail = true, .sessionLogging = state.range(0) != 0};
    const std::string text = HostText(kPollBytes);
    std::string received;
    std::size_t total = 0;
    for (auto _ : state) {
        laboratory.SendAndWait(text);
        const double begin = ThreadSeconds();
        if (laboratory.line().PollReceive(received) != 0) state.SkipWithError("the line is gone");
        laboratory.line().ring().RingAppend(received);
        state.SetIterationTime(ThreadSeconds() - begin);
        total += received.size();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(total));
    if (std::filesystem::file_size(laboratory.PathOf("maillog.txt")) != total)
        state.SkipWithError("bytes lost");
}
BENCHMARK(BM_CaptureFromPseudoTerminal)->Arg(0)->Arg(1)->UseManualTime()->Iterations(10'000);

/// One run of `socat` over all of the bytes, given in the same pieces: the time is that of the whole process.
void BM_SocatFromPseudoTerminal(benchmark::State& state) {
    constexpr int kPieces = 10'000;
    const std::string text = HostText(kPollBytes);
    for (auto _ : state) {
        Laboratory laboratory;
        const std::string from = laboratory.devicePath() + ",rawer";
        const std::string to = "OPEN:" + laboratory.PathOf("copy.txt").string() + ",creat,append";
        std::array<const char*, 5> arguments = {"socat", "-u", from.c_str(), to.c_str(), nullptr};
        pid_t child = 0;
        // The line itself makes the device raw before socat is there to do so.
        laboratory.OpenLine();
        if (posix_spawnp(&child, "socat", nullptr, nullptr, const_cast<char**>(arguments.data()), environ) !=
            0) {
            state.SkipWithError("there is no socat");
            return;
        }
        const auto copied = [&laboratory] {
            std::error_code error;
            const auto size = std::filesystem::file_size(laboratory.PathOf("copy.txt"), error);
            return error ? 0 : size;
        };
        // Its file is there when the device is as it wants it; bytes sent earlier would be flushed.
        while (!std::filesystem::exists(laboratory.PathOf("copy.txt")) &&
               waitpid(child, nullptr, WNOHANG) == 0)
            sched_yield();
        std::uintmax_t sent = 0;
        for (int piece = 0; piece < kPieces; ++piece) {
            laboratory.Send(text);
            sent += text.size();
            // As the poll finds them: one piece at a time.
            while (copied() < sent) {
                if (waitpid(child, nullptr, WNOHANG) != 0) {
                    state.SkipWithError("socat has ended");
                    return;
                }
                sched_yield();
            }
        }
        laboratory.HangUp();
        state.SetIterationTime(ChildSeconds(child));
    }
    state.SetBytesProcessed(state.iterations() * kPieces * static_cast<std::int64_t>(kPollBytes));
}
BENCHMARK(BM_SocatFromPseudoTerminal)->UseManualTime()->Iterations(1);

/// A chunk appended to a capture that has so many bytes already.
void BM_ChunkBehindCaptured(benchmark::State& state) {
    Laboratory laboratory;
    comm::CaptureLogs& captures = laboratory.line().captures();
    captures.switches.captureMail = true;
    if (captures.Empty(comm::kMailLogFile) != 0) state.SkipWithError("no capture file");
    std::filesystem::resize_file(laboratory.PathOf("maillog.txt"),
                                 static_cast<std::uintmax_t>(state.range(0)));
    const std::string text = HostText(kPollBytes);
    for (auto _ : state)
        captures.Take(text, text.size());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_ChunkBehindCaptured)->Arg(1'000'000)->Arg(100'000'000)->Iterations(5'000);

}  // namespace
