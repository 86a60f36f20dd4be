#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/file_system.h"

namespace postkite::store {

/// Writes to a file from a place on, gathered in blocks that begin and end where the file's pages do: on most
/// systems that halves what writing costs. Borrows the file. Nothing is written by the destructor.
class BlockOutput {
  public:
    BlockOutput() = default;
    BlockOutput(core::File& file, std::uint64_t offset) : file_(&file), end_(offset) {}

    /// Returns 0 or a negated errno value. What was gathered before is lost where it fails.
    [[nodiscard]] int Add(std::string_view bytes);

    /// Writes what is gathered.
    [[nodiscard]] int Flush();

    /// Where the next byte goes.
    [[nodiscard]] std::uint64_t end() const { return end_; }

  private:
    core::File* file_ = nullptr;
    std::uint64_t end_ = 0;
    std::string block_;
};

}  // namespace postkite::store
