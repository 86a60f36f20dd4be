#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/workspace.h"

namespace postkite::analyse {

/// What stands behind the name of a capture in the name of its account of deletions.
inline constexpr std::string_view kDeletionsSuffix = ".deleted";

/// Where in its capture a session has let the host delete a mail, from the account that it has kept beside the capture. The
/// layout is in docs/formats/captures.md. Borrows the working directory.
class CaptureDeletions {
  public:
    CaptureDeletions(core::Workspace& workspace, std::string_view path);

    /// Reads the account. 0, also where there is none, or a negated errno value.
    [[nodiscard]] int Load();

    /// Whether there is an account: the capture is a session's, and not a file that somebody analyses by hand.
    [[nodiscard]] bool known() const { return known_; }
    /// All deletions, those that the host was given a mail's number for included.
    [[nodiscard]] int count() const { return static_cast<int>(places_.size()) + byNumber_; }
    [[nodiscard]] int byNumber() const { return byNumber_; }

    /// Whether a deletion is left that has not been taken.
    [[nodiscard]] bool pending() const { return next_ < places_.size(); }
    /// Where it is.
    [[nodiscard]] std::uint64_t next() const { return places_[next_]; }
    /// Takes those at and before an offset into the capture; returns how many.
    int TakeUpTo(std::uint64_t position);

    void Remove();

  private:
    core::Workspace* workspace_;
    std::string fileName_;
    std::vector<std::uint64_t> places_;
    int byNumber_ = 0;
    std::size_t next_ = 0;
    bool known_ = false;
};

}  // namespace postkite::analyse
