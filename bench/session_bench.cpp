// What a whole session costs, script and all: a tick that finds nothing to do, in CPU time, allocations and
// system calls; an exchange (prompt seen, line sent), in CPU time, beside `expect` at the same peer; and how
// much a session that ticks five times a second receives at most, without waiting between the ticks.
// Everything lies in a temporary directory and is gone afterwards.

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/ptrace.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <memory>

#include "bench/line_support.h"
#include "comm/script_file.h"
#include "comm/session.h"
#include "comm/system_serial_port.h"
#include "core/system_clock.h"
#include "core/system_file_system.h"
#include "tests/support/allocation_count.h"

namespace {

using namespace postkite;
using bench::ThreadSeconds;
using support::AllocationCount;

/// Nothing is in the lists and the Outbox.
class IdlePartners final : public comm::SessionPartners {
  public:
    void MarkMailSent(std::string_view) override {}
    void RecordLastAccess(const comm::PatrolEntry&) override {}
    [[nodiscard]] std::string LastAccess(const comm::PatrolEntry&) override { return {}; }
    void MarkDownloadDone(const comm::PatrolEntry&) override {}
    [[nodiscard]] int MailGoesOut(std::string_view) override { return 0; }
    [[nodiscard]] int CountCapturedMails() override { return 0; }
};

/// The system's device, with the bytes that were read from it.
class CountingPort final : public comm::SerialPort {
  public:
    [[nodiscard]] int Open(const std::string& device, int bitsPerSecond) override {
        return port_.Open(device, bitsPerSecond);
    }
    void Close() override { port_.Close(); }
    [[nodiscard]] std::int64_t Read(std::span<char> buffer) override {
        const std::int64_t count = port_.Read(buffer);
        if (count > 0) readBytes += static_cast<std::size_t>(count);
        return count;
    }
    [[nodiscard]] int Write(std::string_view bytes) override { return port_.Write(bytes); }
    [[nodiscard]] std::size_t WaitingBytes() override { return port_.WaitingBytes(); }

    std::size_t readBytes = 0;

  private:
    comm::SystemSerialPort port_;
};

/// A session in a working directory of its own.
class Laboratory {
  public:
    /// `script` is a script file.
    void Begin(const std::string& device, std::u8string_view script) {
        comm::ScriptFile file;
        if (!ParseScript(script, file).empty() || !CheckScript(file).empty()) std::abort();
        settings_.log = 1;
        if (session_.Begin(comm::Session::Start::ReceiveOnly, device, {}, &file.lines) != 0) std::abort();
    }

    void Tick() {
        if (session_.Tick() != comm::kSessionGoesOn) std::abort();
    }

    [[nodiscard]] comm::Session& session() { return session_; }
    [[nodiscard]] const CountingPort& port() const { return port_; }
    [[nodiscard]] std::filesystem::path PathOf(const char* name) const { return directory_.path() / name; }

  private:
    bench::TemporaryDirectory directory_;
    core::SystemFileSystem fileSystem_;
    core::Workspace workspace_{fileSystem_, directory_.path()};
    core::SystemClock clock_;
    core::Settings settings_;
    bench::SilentUserInterface ui_;
    IdlePartners partners_;
    CountingPort port_;
    comm::Session session_{port_, workspace_, settings_, ui_, clock_, partners_};
};

/// Captures mail and session log and waits. Behind `DODOWN` a wait has no end.
constexpr std::u8string_view kListeningScript =
    u8"1 LOGON,,\n"
    u8"2 MAIL_LOG_ON,,\n"
    u8"3 DODOWN,,\n"
    u8"4 WAIT,MAIL>,listening\n"
    u8"5 END,,\n";

void BeginListening(Laboratory& laboratory, const std::string& device) {
    constexpr int kListeningLine = 4;
    laboratory.Begin(device, kListeningScript);
    // The line that waits shows its text with the first of its ticks.
    for (int tick = 0; tick <= kListeningLine; ++tick)
        laboratory.Tick();
    if (laboratory.session().currentLine() != kListeningLine) std::abort();
}

void BM_IdleTick(benchmark::State& state) {
    bench::PseudoTerminal terminal;
    Laboratory laboratory;
    BeginListening(laboratory, terminal.devicePath());
    std::size_t allocated = 0;
    for (auto _ : state) {
        const std::size_t before = AllocationCount();
        laboratory.Tick();
        allocated += AllocationCount() - before;
    }
    state.counters["allocations"] = static_cast<double>(allocated);
    if (allocated != 0) state.SkipWithError("an idle tick has allocated memory");
}
BENCHMARK(BM_IdleTick);

constexpr int kTracedTicks = 100;

/// What a traced child does: idle ticks between two stops.
[[noreturn]] void TickBetweenStops(Laboratory& laboratory) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(EXIT_FAILURE);
    raise(SIGSTOP);
    for (int tick = 0; tick < kTracedTicks; ++tick)
        laboratory.Tick();
    raise(SIGSTOP);
    _exit(EXIT_SUCCESS);
}

/// System calls of `child` between its two stops, negative where they cannot be counted.
int CountSystemCalls(pid_t child) {
    constexpr int kSystemCallStop = SIGTRAP | 0x80;
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) return -1;
    if (ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD) != 0) return -1;
    int stops = 0;
    while (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0) {
        if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) return -1;
        // Each call stops twice, when it is made and when it returns.
        if (WSTOPSIG(status) == kSystemCallStop) ++stops;
        if (WSTOPSIG(status) == SIGSTOP) return stops / 2;
    }
    return -1;
}

/// The second `raise` and the return of the first are a few calls in all; they vanish among so many ticks. To
/// see the calls by name: strace session_bench --benchmark_filter='BM_IdleTick$'
void BM_SystemCallsOfIdleTicks(benchmark::State& state) {
    bench::PseudoTerminal terminal;
    Laboratory laboratory;
    BeginListening(laboratory, terminal.devicePath());
    double calls = 0;
    for (auto _ : state) {
        const pid_t child = fork();
        if (child == 0) TickBetweenStops(laboratory);
        const int counted = CountSystemCalls(child);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        if (counted < 0) state.SkipWithError("tracing is not allowed here");
        calls = static_cast<double>(counted) / kTracedTicks;
    }
    constexpr double kMostCalls = 2;
    constexpr double kAround = 0.1;
    state.counters["system_calls_a_tick"] = calls;
    if (calls > kMostCalls + kAround) state.SkipWithError("an idle tick has made too many system calls");
}
BENCHMARK(BM_SystemCallsOfIdleTicks)->Iterations(1);

constexpr std::string_view kPrompt = "\r\nNo mail is waiting.\r\nMAIL>";
constexpr int kExchanges = 20'000;

/// The host of the exchanges, in a process of its own: a prompt, and another one for each line that comes,
/// until `exchanges` lines have come. Gone with the object.
class Peer {
  public:
    Peer(const bench::PseudoTerminal& terminal, int exchanges) : process_(fork()) {
        if (process_ == 0) Serve(terminal.modem(), exchanges);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    ~Peer() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }

  private:
    [[noreturn]] static void Serve(int modem, int exchanges) {
        std::array<char, 256> typed{};
        while (exchanges >= 0 && write(modem, kPrompt.data(), kPrompt.size()) > 0) {
            ssize_t count = 0;
            do {
                count = read(modem, typed.data(), typed.size());
            } while (count > 0 && typed.at(static_cast<std::size_t>(count) - 1) != '\r');
            if (count <= 0) break;
            --exchanges;
        }
        _exit(EXIT_SUCCESS);
    }

    pid_t process_;
};

constexpr int kPairs = 100;

/// A script file of nothing but exchanges, round and round. It waits at odd lines and sends at even ones.
std::u8string ExchangingScript() {
    std::string script;
    int line = 1;
    for (int pair = 0; pair < kPairs; ++pair) {
        script += std::to_string(line++) + " WAIT,MAIL>,\n";
        script += std::to_string(line++) + " SEND,READ ALL\\r,\n";
    }
    script += std::to_string(line++) + " GOTO,1,\n";
    script += std::to_string(line) + " END,,\n";
    return {script.begin(), script.end()};
}

/// False when the peer has fallen silent.
bool Exchange(Laboratory& laboratory, const bench::PseudoTerminal& terminal, int exchanges) {
    constexpr int kMostMilliseconds = 5000;
    int sent = 0;
    while (sent < exchanges) {
        const int line = laboratory.session().currentLine();
        const bool isInPairs = line <= 2 * kPairs;
        pollfd readable{terminal.device(), POLLIN, 0};
        if (isInPairs && line % 2 != 0 && poll(&readable, 1, kMostMilliseconds) != 1) return false;
        laboratory.Tick();
        if (isInPairs && line % 2 == 0) ++sent;
    }
    return true;
}

/// All that the thread does counts, also waiting for the peer.
void BM_Exchanges(benchmark::State& state) {
    const std::u8string script = ExchangingScript();
    for (auto _ : state) {
        bench::PseudoTerminal terminal;
        Laboratory laboratory;
        laboratory.Begin(terminal.devicePath(), script);
        const Peer peer(terminal, kExchanges);
        const double begin = ThreadSeconds();
        if (!Exchange(laboratory, terminal, kExchanges)) state.SkipWithError("the peer has fallen silent");
        state.SetIterationTime(ThreadSeconds() - begin);
    }
    state.counters["exchange"] = benchmark::Counter(
        kExchanges, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_Exchanges)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

constexpr std::string_view kExpectScript = R"(
log_user 0
set timeout 30
set line [open [lindex $argv 0] r+]
fconfigure $line -translation binary -buffering none
spawn -open $line
for {set sent 0} {$sent < [lindex $argv 1]} {incr sent} {
    expect {
        -ex "MAIL>" { send "READ ALL\r" }
        timeout { exit 1 }
        eof { exit 1 }
    }
}
)";

/// CPU time of an `expect` that makes so many exchanges, from its start to its end; negative where it cannot.
double ExpectSeconds(const std::filesystem::path& scriptFile, int exchanges) {
    bench::PseudoTerminal terminal;
    const Peer peer(terminal, exchanges);
    const std::string count = std::to_string(exchanges);
    std::array<const char*, 5> arguments = {"expect", scriptFile.c_str(), terminal.devicePath().c_str(),
                                            count.c_str(), nullptr};
    pid_t child = 0;
    if (posix_spawnp(&child, "expect", nullptr, nullptr, const_cast<char**>(arguments.data()), environ) != 0)
        return -1;
    int status = 0;
    const double seconds = bench::ChildSeconds(child, status);
    return status == 0 ? seconds : -1;
}

/// Without what it takes to start and to end.
void BM_ExchangesByExpect(benchmark::State& state) {
    const bench::TemporaryDirectory directory;
    const std::filesystem::path scriptFile = directory.path() / "exchanges.exp";
    std::ofstream(scriptFile) << kExpectScript;
    for (auto _ : state) {
        const double startAndEnd = ExpectSeconds(scriptFile, 0);
        const double all = ExpectSeconds(scriptFile, kExchanges);
        if (startAndEnd < 0 || all < 0) {
            state.SkipWithError("there is no expect, or it has failed");
            return;
        }
        state.SetIterationTime(all - startAndEnd);
    }
    state.counters["exchange"] = benchmark::Counter(
        kExchanges, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_ExchangesByExpect)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

constexpr int kReceivingTicks = 500;

/// Writes until nothing more is taken, also not when the system has had the time to move it along.
void Fill(int modem, std::string_view text) {
    pollfd writable{modem, POLLOUT, 0};
    do {
        while (write(modem, text.data(), text.size()) > 0) {
        }
        if (errno != EAGAIN) std::abort();
    } while (poll(&writable, 1, 1) > 0);
}

/// What the ticks of a session take of a line that `modem` keeps full. Their time is that of a tick.
void Receive(benchmark::State& state, Laboratory& laboratory, int modem, double leastBytesPerSecond) {
    const std::string text = bench::HostText(4096);
    if (fcntl(modem, F_SETFL, fcntl(modem, F_GETFL) | O_NONBLOCK) != 0) std::abort();
    std::size_t least = text.max_size();
    const std::size_t before = laboratory.port().readBytes;
    for (auto _ : state) {
        Fill(modem, text);
        const std::size_t already = laboratory.port().readBytes;
        const double begin = ThreadSeconds();
        laboratory.Tick();
        state.SetIterationTime(ThreadSeconds() - begin);
        least = std::min(least, laboratory.port().readBytes - already);
    }
    const std::size_t received = laboratory.port().readBytes - before;
    laboratory.session().HangUp();
    const double bytesPerTick = static_cast<double>(received) / static_cast<double>(state.iterations());
    state.counters["bytes_a_tick"] = bytesPerTick;
    state.counters["least_bytes_a_tick"] = static_cast<double>(least);
    state.counters["bytes_a_second"] = bytesPerTick * comm::kTicksPerSecond;
    if (bytesPerTick * comm::kTicksPerSecond < leastBytesPerSecond) state.SkipWithError("too slow");
    if (std::filesystem::file_size(laboratory.PathOf("maillog.txt")) != received)
        state.SkipWithError("bytes lost");
}

void BM_ReceiveFromPseudoTerminal(benchmark::State& state) {
    constexpr double kLeastBytesPerSecond = 18'000;
    bench::PseudoTerminal terminal;
    Laboratory laboratory;
    BeginListening(laboratory, terminal.devicePath());
    Receive(state, laboratory, terminal.modem(), kLeastBytesPerSecond);
}
BENCHMARK(BM_ReceiveFromPseudoTerminal)->UseManualTime()->Iterations(kReceivingTicks);

/// A modem emulator that waits for a connection on this machine.
class Listener {
  public:
    Listener() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const general = reinterpret_cast<sockaddr*>(&address);
        if (bind(socket_, general, size) != 0 || listen(socket_, 1) != 0 ||
            getsockname(socket_, general, &size) != 0) {
            std::abort();
        }
        device_ = "tcp:127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() {
        close(connection_);
        close(socket_);
    }

    [[nodiscard]] const std::string& device() const { return device_; }
    [[nodiscard]] int Accept() { return connection_ = accept(socket_, nullptr, nullptr); }

  private:
    int socket_;
    int connection_ = -1;
    std::string device_;
};

void BM_ReceiveOverTcp(benchmark::State& state) {
    constexpr double kLeastBytesPerSecond = 100'000;
    Listener listener;
    Laboratory laboratory;
    BeginListening(laboratory, listener.device());
    Receive(state, laboratory, listener.Accept(), kLeastBytesPerSecond);
}
BENCHMARK(BM_ReceiveOverTcp)->UseManualTime()->Iterations(kReceivingTicks);

}  // namespace
