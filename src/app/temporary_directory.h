#pragma once

#include <filesystem>

namespace postkite::app {

/// A directory of this process's own that goes with everything in it.
class TemporaryDirectory {
  public:
    TemporaryDirectory() = default;
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory();

    /// Makes it. Returns 0 or a negated errno value.
    [[nodiscard]] int Make();

    /// Empty before it is made.
    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace postkite::app
