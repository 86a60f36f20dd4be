#pragma once

#include <string>
#include <string_view>

#include "core/settings.h"
#include "core/user_interface.h"

namespace postkite::comm {

/// What the monitor shows of the line, in whole characters. Borrows the settings, whose "MONITER WINDOW" 0
/// keeps the monitor empty, and the user interface, which is given each new piece, and the whole text when it was
/// cleared or halved.
class MonitorText {
  public:
    static constexpr std::size_t kBytesBeforeHalving = 30'000;

    MonitorText(const core::Settings& settings, core::UserInterface& ui) : settings_(&settings), ui_(&ui) {}

    /// A lead byte at the end waits for the byte that completes its character. When the text so far has more
    /// than 30,000 bytes, its first half goes first.
    void AppendMonitor(std::string_view text);

    void ClearMonitor();

    [[nodiscard]] const std::string& text() const { return text_; }

  private:
    const core::Settings* settings_;
    core::UserInterface* ui_;
    std::string text_;
    std::string working_;
    char pendingLeadByte_ = 0;  ///< 0 when there is none
};

}  // namespace postkite::comm
