#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "core/file_system.h"
#include "core/workspace.h"

namespace postkite::comm {

/// A message file on its way to the host, line by line. Lines end behind their LF.
class UploadFile {
  public:
    /// A longer line comes in parts of this length, so that a file without line ends does not fill the
    /// memory.
    static constexpr std::size_t kLongestPart = 4096;

    /// Returns 0 or a negated errno value; what was open before is closed.
    [[nodiscard]] int Open(const core::Workspace& workspace, std::string_view name);
    void Close();
    [[nodiscard]] bool open() const { return file_ != nullptr; }

    enum class Piece {
        Line,  ///< up to its LF, or the rest of the file
        Part,  ///< the beginning or the middle of a line that is too long
        End,
        Fault,  ///< the disk failed
    };

    /// The next piece, with its line end. `text` is good until the next call.
    [[nodiscard]] Piece Next(std::string_view& text);

    /// With what the disk failed, a negated errno value.
    [[nodiscard]] int error() const { return error_; }

    [[nodiscard]] std::uint64_t sizeBytes() const { return sizeBytes_; }

  private:
    [[nodiscard]] std::int64_t Fill();

    std::unique_ptr<core::File> file_;
    std::uint64_t sizeBytes_ = 0;
    int error_ = 0;
    std::uint64_t offset_ = 0;  ///< of what is read into the block next
    std::vector<char> block_;
    std::size_t blockStart_ = 0;
    std::size_t blockEnd_ = 0;
};

}  // namespace postkite::comm
