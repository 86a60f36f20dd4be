// What `postkite settings` costs on an existing working directory, in CPU time of the whole process, beside
// programs that do next to nothing: `true`, and `cat` of the same settings file.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "core/settings_file.h"
#include "core/system_file_system.h"
#include "core/workspace.h"

namespace {

/// A working directory with a settings file and an environments file, gone with the object.
class WorkingDirectory {
  public:
    WorkingDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "postkite-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        path_ = pattern;
        postkite::core::SystemFileSystem fileSystem;
        postkite::core::Workspace workspace(fileSystem, path_);
        postkite::core::Settings settings;
        const postkite::core::Environments environments;
        if (workspace.Prepare() < 0 || SaveSettings(workspace, settings, nullptr).result < 0 ||
            SaveEnvironments(workspace, environments, settings).result < 0) {
            std::abort();
        }
    }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;
    ~WorkingDirectory() { std::filesystem::remove_all(path_); }

    [[nodiscard]] const std::string& path() const { return path_; }

  private:
    std::string path_;
};

double CpuSecondsOfChildren() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

bool RunSilently(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int spawned = posix_spawnp(&child, arguments.front(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return spawned == 0 && waitpid(child, &status, 0) == child && status == 0;
}

void MeasureProcess(benchmark::State& state, const std::vector<std::string>& words) {
    for (auto _ : state) {
        const double before = CpuSecondsOfChildren();
        if (!RunSilently(words)) {
            state.SkipWithError("the program failed");
            break;
        }
        state.SetIterationTime(CpuSecondsOfChildren() - before);
    }
}

void Settings(benchmark::State& state) {
    const WorkingDirectory directory;
    MeasureProcess(state, {POSTKITE_PROGRAM, "--dir", directory.path(), "settings"});
}

void SettingsAsJson(benchmark::State& state) {
    const WorkingDirectory directory;
    MeasureProcess(state, {POSTKITE_PROGRAM, "--dir", directory.path(), "--json", "settings"});
}

void CatOfSettingsFile(benchmark::State& state) {
    const WorkingDirectory directory;
    MeasureProcess(state, {"cat", directory.path() + "/Setting/setting.ini"});
}

void True(benchmark::State& state) {
    MeasureProcess(state, {"true"});
}

BENCHMARK(Settings)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(SettingsAsJson)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CatOfSettingsFile)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(True)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
