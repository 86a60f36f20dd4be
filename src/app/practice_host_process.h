#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "app/temporary_directory.h"

namespace postkite::app {

/// A practice host of this program's own: the program `postkite-host` on a pseudo-terminal in a temporary
/// directory. It ends with this object, and with this process however that ends. Ctrl+C on the terminal does not
/// reach it, so that a session can still log off.
class PracticeHostProcess {
  public:
    PracticeHostProcess() = default;
    PracticeHostProcess(const PracticeHostProcess&) = delete;
    PracticeHostProcess& operator=(const PracticeHostProcess&) = delete;
    ~PracticeHostProcess();

    /// Starts the host, once, and returns when it takes calls, at most after a few seconds. `program` is its path, empty
    /// for the one beside this process's own program, else on the PATH. `options` are more of its words. Returns 0
    /// or a negated errno value; -ENOENT where there is no such program or it gives up, -ETIMEDOUT where it does not come up.
    [[nodiscard]] int Start(const std::filesystem::path& program, const std::vector<std::string>& options);

    /// What a session opens, when it has started.
    [[nodiscard]] std::string device() const;

  private:
    [[nodiscard]] int Spawn(const std::filesystem::path& program, const std::vector<std::string>& words);
    void Stop();

    TemporaryDirectory directory_;
    pid_t process_ = -1;
    int ready_ = -1;  ///< the reading end of its standard output
};

}  // namespace postkite::app
