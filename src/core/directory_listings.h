#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/file_system.h"

namespace postkite::core {

/// The entries of directories, each listed once, to be found in any letter case. `Workspace` keeps it up.
class DirectoryListings {
  public:
    /// The entries that may be spelled like `component`, code page 932, but for the letter case: all that are, and perhaps
    /// others. Returns 0 or a negated errno value.
    [[nodiscard]] int Matching(FileSystem& fileSystem, const std::filesystem::path& directory,
                               std::string_view component, std::vector<std::filesystem::path>& names);

    /// An entry has been made; one has gone.
    void Add(const std::filesystem::path& path);
    void Remove(const std::filesystem::path& path);

  private:
    /// The names by the hash of what is the same in any letter case.
    using Listing = std::unordered_multimap<std::size_t, std::string>;
    static void AddTo(Listing& listing, const std::filesystem::path& name);

    std::map<std::filesystem::path, Listing> directories_;
};

}  // namespace postkite::core
