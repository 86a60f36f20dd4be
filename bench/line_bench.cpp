// What the line costs, in CPU time: a poll of an idle line, with the memory that it takes; received bytes on
// their way from a pseudo-terminal into a capture file, beside `socat` copying the same bytes from a
// pseudo-terminal into a file; and a chunk behind a short and a long capture. Everything lies in a temporary
// directory and is gone afterwards.

#include <benchmark/benchmark.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "bench/line_support.h"
#include "comm/serial_line.h"
#include "comm/system_serial_port.h"
#include "core/system_clock.h"
#include "core/system_file_system.h"
#include "tests/support/allocation_count.h"

namespace {

using namespace postkite;
using bench::ChildSeconds;
using bench::HostText;
using bench::ThreadSeconds;
using support::AllocationCount;

constexpr std::size_t kPollBytes = 4000;  ///< about what a pseudo-terminal holds from one tick to the next

/// A line over a pseudo-terminal, of which the benchmark is the other side, in a working directory of its
/// own.
class Laboratory {
  public:
    ~Laboratory() { line_.CloseLine(); }

    [[nodiscard]] comm::SerialLine& line() { return line_; }
    [[nodiscard]] core::Settings& settings() { return settings_; }
    [[nodiscard]] bench::PseudoTerminal& terminal() { return terminal_; }
    [[nodiscard]] std::filesystem::path PathOf(const char* name) const { return directory_.path() / name; }

    void OpenLine() {
        if (line_.OpenLine(terminal_.devicePath()) != 0) std::abort();
    }

  private:
    bench::TemporaryDirectory directory_;
    bench::PseudoTerminal terminal_;
    core::SystemFileSystem fileSystem_;
    core::Workspace workspace_{fileSystem_, directory_.path()};
    core::SystemClock clock_;
    core::Settings settings_;
    bench::SilentUserInterface ui_;
    comm::SystemSerialPort port_;
    comm::SerialLine line_{port_, workspace_, settings_, ui_, clock_};
};

void BM_IdlePoll(benchmark::State& state) {
    Laboratory laboratory;
    laboratory.OpenLine();
    std::string received;
    const std::size_t before = AllocationCount();
    for (auto _ : state) {
        if (laboratory.line().PollReceive(received) != 0 || !received.empty())
            state.SkipWithError("not idle");
    }
    state.counters["allocations"] = static_cast<double>(AllocationCount() - before);
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
        laboratory.terminal().SendAndWait(text);
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
        const std::string from = laboratory.terminal().devicePath() + ",rawer";
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
            laboratory.terminal().Send(text);
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
        laboratory.terminal().HangUp();
        // It takes the lost line for an error.
        int status = 0;
        state.SetIterationTime(ChildSeconds(child, status));
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

/// A mail captured up to the host's question, by the clock on the wall. With 1, all of it and the account of deletions are
/// brought to the disk before the answer. The counters are what that makes of the time that the mail takes on the line.
void BM_MailBeforeItsDeletion(benchmark::State& state) {
    constexpr std::size_t kMailBytes = 2'000;
    constexpr double kBitsOfByte = 10;
    Laboratory laboratory;
    comm::CaptureLogs& captures = laboratory.line().captures();
    captures.BeginSession();
    if (captures.BeginMail() != 0) state.SkipWithError("no capture file");
    captures.switches.captureMail = true;
    const std::string text = HostText(kMailBytes);
    const bool withSync = state.range(0) != 0;
    const auto begin = std::chrono::steady_clock::now();
    for (auto _ : state) {
        captures.Take(text, text.size());
        captures.WritePending();
        if (!withSync) continue;
        captures.NoteDeletion(comm::Deletion::BehindMail);
        if (!captures.MailIsOnDisk()) state.SkipWithError("not on the disk");
    }
    const std::chrono::duration<double> all = std::chrono::steady_clock::now() - begin;
    const double ofMail = all.count() / static_cast<double>(state.iterations());
    for (const int bitsPerSecond : {300, 2'400, 57'600}) {
        state.counters["of_line_time_" + std::to_string(bitsPerSecond)] =
            ofMail * bitsPerSecond / (kBitsOfByte * kMailBytes);
    }
}
BENCHMARK(BM_MailBeforeItsDeletion)
    ->Arg(0)
    ->Arg(1)
    ->UseRealTime()
    ->Iterations(200)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
