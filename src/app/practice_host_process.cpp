#include "app/practice_host_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <system_error>

namespace postkite::app {

namespace {

constexpr const char* kHostProgram = "postkite-host";
constexpr std::chrono::milliseconds kLongestStart{5000};

/// Beside this program as it is installed and built; otherwise the name alone, for the PATH.
std::filesystem::path FindProgram() {
    std::error_code error;
    const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path beside = own.parent_path() / kHostProgram;
    return !error && access(beside.c_str(), X_OK) == 0 ? beside : std::filesystem::path(kHostProgram);
}

/// In the child, where nothing but system calls is allowed.
[[noreturn]] void BecomeHost(const char* program, char* const* words, int output, pid_t parent) {
    constexpr int kCannotRun = 127;
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(kCannotRun);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        signal(signalNumber, SIG_DFL);
    const int nothing = open("/dev/null", O_RDONLY);
    if (nothing >= 0) dup2(nothing, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    execvp(program, words);
    _exit(kCannotRun);
}

}  // namespace

PracticeHostProcess::~PracticeHostProcess() {
    Stop();
}

std::string PracticeHostProcess::device() const {
    return (directory_.path() / "modem").string();
}

int PracticeHostProcess::Start(const std::filesystem::path& program,
                               const std::vector<std::string>& options) {
    if (const int made = directory_.Make(); made < 0) return made;
    std::vector<std::string> words = {kHostProgram, "--pty", device()};
    words.insert(words.end(), options.begin(), options.end());
    if (const int spawned = Spawn(program.empty() ? FindProgram() : program, words); spawned < 0)
        return spawned;

    using Clock = std::chrono::steady_clock;
    const Clock::time_point latest = Clock::now() + kLongestStart;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(latest - Clock::now());
        pollfd waited{ready_, POLLIN, 0};
        const int polled = left.count() <= 0 ? 0 : poll(&waited, 1, static_cast<int>(left.count()));
        if (polled < 0 && errno == EINTR) continue;
        if (polled <= 0) return polled == 0 ? -ETIMEDOUT : -errno;
        char byte = 0;
        const ssize_t count = read(ready_, &byte, 1);
        if (count == 1 && byte == '\n') return 0;
        if (count == 0) return -ENOENT;  // it has ended without its line, or there is no such program
        if (count < 0 && errno != EINTR) return -errno;
    }
}

int PracticeHostProcess::Spawn(const std::filesystem::path& program, const std::vector<std::string>& words) {
    std::vector<std::string> copies = words;
    std::vector<char*> pointers;
    for (std::string& word : copies)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const std::string path = program.string();

    int ends[2];
    if (pipe2(ends, O_CLOEXEC) < 0) return -errno;
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ == 0) BecomeHost(path.c_str(), pointers.data(), ends[1], parent);
    const int error = errno;
    close(ends[1]);
    ready_ = ends[0];
    return process_ < 0 ? -error : 0;
}

void PracticeHostProcess::Stop() {
    if (process_ > 0) {
        kill(process_, SIGTERM);
        while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    process_ = -1;
    if (ready_ >= 0) close(ready_);
    ready_ = -1;
}

}  // namespace postkite::app
