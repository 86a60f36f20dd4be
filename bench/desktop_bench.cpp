// What it costs to start the desktop until its first picture is painted, in CPU time of the whole process, with 1,000 to
// 100,000 mails in the folder that is shown, beside a Qt program that shows an empty window. Nothing is drawn on a
// screen: the windows are painted into memory.

#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QApplication>
#include <QEvent>
#include <QMainWindow>
#include <QTimer>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "app/program.h"
#include "app/temporary_directory.h"
#include "bench/silent_user_interface.h"
#include "comm/system_serial_port.h"
#include "core/system_clock.h"
#include "core/system_file_system.h"
#include "ui/application.h"
#include "ui/mails/mail_list_view.h"
#include "ui/window/main_window.h"

namespace {

using namespace postkite;

constexpr std::string_view kDesktop = "--desktop";
constexpr std::string_view kEmptyWindow = "--empty-window";

/// Ends the process at once when the widget has been painted: what comes behind that is not measured.
class FirstPaint final : public QObject {
  public:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) QTimer::singleShot(0, [] { _exit(0); });
        return false;
    }
};

int RunChild(int argumentCount, char** arguments) {
    const bool desktop = arguments[1] == kDesktop;
    if (desktop) setenv("POSTKITE_DIR", arguments[2], 1);
    argumentCount = 1;
    QApplication application(argumentCount, arguments);
    FirstPaint firstPaint;
    if (desktop) {
        return ui::RunDesktop(application, [&firstPaint](ui::MainWindow& window) {
            window.findChild<ui::MailListView*>()->viewport()->installEventFilter(&firstPaint);
        });
    }
    QMainWindow window;
    QWidget pane;
    window.setCentralWidget(&pane);
    pane.installEventFilter(&firstPaint);
    window.show();
    return QApplication::exec();
}

/// A working directory whose Inbox has that many mails.
class Inbox {
  public:
    explicit Inbox(std::int64_t mails) {
        if (directory_.Make() < 0) std::abort();
        core::SystemFileSystem fileSystem;
        core::Workspace workspace(fileSystem, directory_.path());
        core::Workspace state(fileSystem, directory_.path() / "state");
        bench::SilentUserInterface ui;
        core::SystemClock clock;
        comm::SystemSerialPort port;
        app::Program program(workspace, state, ui, clock, port);
        if (workspace.Prepare() < 0) std::abort();
        program.Start();
        if (program.OpenBank() < 0) std::abort();
        const auto writer = program.mailbox().OpenWriter(store::kInbox);
        if (writer == nullptr) std::abort();
        for (std::int64_t mail = 0; mail < mails; ++mail) {
            store::MailRecord record;
            record.flags = store::kReceivedMailFlags;
            record.address = "PKT00021";
            record.date = "97/01/23 04:05";
            record.subject = "Re:mail " + std::to_string(mail);
            record.body = std::string(500, 'x') + "\r\n";
            if (program.mailbox().AppendTo(*writer, record) < 0) std::abort();
        }
        if (program.mailbox().Commit(*writer, store::kInbox) < 0 || program.SaveSettings() < 0) std::abort();
    }

    [[nodiscard]] std::string path() const { return directory_.path().string(); }

  private:
    app::TemporaryDirectory directory_;
};

/// The CPU time of this program run with `words`, in seconds; negative where it failed.
double CpuSecondsOf(std::vector<std::string> words, const std::string& program) {
    words.insert(words.begin(), program);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), environ) != 0) return -1;
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child || status != 0) return -1;
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void Measure(benchmark::State& state, const std::vector<std::string>& words) {
    for (auto _ : state) {
        const double seconds = CpuSecondsOf(words, "/proc/self/exe");
        if (seconds < 0) {
            state.SkipWithError("the program failed");
            break;
        }
        state.SetIterationTime(seconds);
    }
}

void StartToFirstPaint(benchmark::State& state) {
    const Inbox inbox(state.range(0));
    Measure(state, {std::string(kDesktop), inbox.path()});
}

void EmptyWindowToFirstPaint(benchmark::State& state) {
    Measure(state, {std::string(kEmptyWindow)});
}

BENCHMARK(EmptyWindowToFirstPaint)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(StartToFirstPaint)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argumentCount, char** arguments) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    const std::string_view first = argumentCount > 1 ? arguments[1] : "";
    if (first == kDesktop || first == kEmptyWindow) return RunChild(argumentCount, arguments);
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
