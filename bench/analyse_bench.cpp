// What it costs to turn a capture of 100,000 mails, 250 MB, into stored mails, index and all: in CPU time of a process of its
// own, beside two that do comparable work in the same run, `cp` of the capture and `formail -s`, which splits the same mails
// as a mailbox of the usual Unix form. Counters:
//
//   of_cp, of_formail   our CPU time divided by theirs; no of_formail where the program is not installed
//   peak_mb             the most memory that the process ever had
//
// Everything lies in a temporary directory and is gone afterwards.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "analyse/mail_log.h"
#include "bench/silent_user_interface.h"
#include "core/shift_jis.h"
#include "core/system_clock.h"
#include "core/system_file_system.h"
#include "core/time_stamp.h"

namespace {

using namespace postkite;
using core::operator""_sjis;

struct Cost {
    double cpuSeconds = 0;
    double peakMegabytes = 0;
    bool done = false;
};

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

/// Runs `work` in a child; what it returns is the child's exit status.
Cost Measure(const std::function<int()>& work) {
    const pid_t child = fork();
    if (child == 0) _exit(work());
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child) std::abort();
    return {Seconds(usage.ru_utime) + Seconds(usage.ru_stime), static_cast<double>(usage.ru_maxrss) / 1024,
            WIFEXITED(status) && WEXITSTATUS(status) == 0};
}

/// A working directory with a capture of so many mails, and the mailbox that holds the same.
class Laboratory {
  public:
    explicit Laboratory(std::int64_t mails) : root_(MakeDirectory()) {
        std::filesystem::create_directories(root_ / "Setting");
        std::filesystem::create_directories(root_ / "Box");
        Write(mails);
        // What is still to be written to the disk would be counted to whoever comes first.
        sync();
    }
    Laboratory(const Laboratory&) = delete;
    Laboratory& operator=(const Laboratory&) = delete;
    ~Laboratory() { std::filesystem::remove_all(root_); }

    Cost Analyse() {
        std::filesystem::copy_file(root_ / "capture", root_ / "maillog.txt");
        sync();
        return Measure([this] { return AnalyseHere(); });
    }
    Cost Copy() {
        const Cost cost = MeasureProgram({"cp", "capture", "copy"});
        std::filesystem::remove(root_ / "copy");
        return cost;
    }
    Cost Formail() { return MeasureProgram({"formail", "-s"}); }
    void EmptyMailbox() {
        for (const char* name : {"Inbox.loc", "Inbox.mtx"})
            std::filesystem::remove(root_ / "Box" / name);
    }

  private:
    static std::filesystem::path MakeDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "postkite-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        return pattern;
    }

    Cost MeasureProgram(const std::vector<std::string>& words) const {
        return Measure([&] {
            if (chdir(root_.c_str()) < 0) return 1;
            return Become(words, "mailbox", "/dev/null");
        });
    }
    static int Become(std::vector<std::string> words, const char* input, const char* output) {
        const int in = open(input, O_RDONLY);
        const int out = open(output, O_WRONLY);
        if (in < 0 || out < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0) return 1;
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        execvp(arguments[0], arguments.data());
        return 1;
    }

    void Write(std::int64_t mails) {
        std::string body;
        constexpr std::size_t kBodyBytes = 2350;
        while (body.size() < kBodyBytes) {
            body += "昨日から雨が降り続いていますが、モデムの調子はいかがでしょうか。"_sjis;
            body += "\r\nIt has been raining here since the day before yesterday.\r\n";
        }
        std::ofstream capture(root_ / "capture", std::ios::binary);
        std::ofstream mailbox(root_ / "mailbox", std::ios::binary);
        for (std::int64_t number = 0; number < mails; ++number) {
            std::array<char, 64> header{};
            std::snprintf(header.data(), header.size(),
                          "%3d YAMADA TARO       ABC%05d          97/01/23 12:34\r\n",
                          static_cast<int>(number % 1000), static_cast<int>(number % 100000));
            capture
                << header.data() << "題名:     Re: the modem\r\n"_sjis << body
                << "受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)\r\naction:DELETE\r\n"_sjis;
            mailbox << "From ABC00123 Thu Jan 23 12:34:00 1997\r\nFrom: ABC00123\r\nSubject: Re: the "
                       "modem\r\n\r\n"
                    << body << "\r\n";
        }
        if (!capture.flush() || !mailbox.flush()) std::abort();
    }

    [[nodiscard]] int AnalyseHere() const {
        core::SystemFileSystem fileSystem;
        core::SystemClock clock;
        bench::SilentUserInterface ui;
        core::Workspace workspace(fileSystem, root_);
        core::IdentifierMaker identifiers(clock);
        store::Mailbox mailbox(workspace, workspace, ui, clock, identifiers);
        mailbox.SetBankDirectory("Box");
        store::Folders folders(mailbox, {});
        const core::Settings settings;
        const analyse::Analysis analysis{workspace, settings, mailbox, folders, ui, clock, "Inbox"};
        analyse::MailLogResult result;
        return analyse::AnalyseMailLog(analysis, "maillog.txt", result) > 0 && result.complete ? 0 : 1;
    }

    std::filesystem::path root_;
};

void Report(benchmark::State& state, Laboratory& laboratory, const Cost& ours) {
    const Cost copy = laboratory.Copy();
    const Cost formail = laboratory.Formail();
    if (!ours.done || !copy.done) std::abort();
    state.SetIterationTime(ours.cpuSeconds);
    state.counters["peak_mb"] = ours.peakMegabytes;
    state.counters["of_cp"] = ours.cpuSeconds / copy.cpuSeconds;
    if (formail.done) state.counters["of_formail"] = ours.cpuSeconds / formail.cpuSeconds;
}

void AnalyseMailLog(benchmark::State& state) {
    Laboratory laboratory(state.range(0));
    for (auto _ : state) {
        laboratory.EmptyMailbox();
        Report(state, laboratory, laboratory.Analyse());
    }
}

/// The folder holds as many mails as come.
void AnalyseIntoFullFolder(benchmark::State& state) {
    Laboratory laboratory(state.range(0));
    for (auto _ : state) {
        laboratory.EmptyMailbox();
        if (!laboratory.Analyse().done) std::abort();
        Report(state, laboratory, laboratory.Analyse());
    }
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1000)->Arg(100000)->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(AnalyseMailLog)->Apply(Sizes);
BENCHMARK(AnalyseIntoFullFolder)->Apply(Sizes);

}  // namespace
