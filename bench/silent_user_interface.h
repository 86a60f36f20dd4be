#pragma once

#include <cstdint>
#include <string_view>

#include "core/user_interface.h"

namespace postkite::bench {

/// Nobody is there to be shown anything.
class SilentUserInterface final : public core::UserInterface {
  public:
    [[nodiscard]] core::Language language() const override { return core::Language::English; }
    void ShowMessage(std::string_view, std::string_view, core::MessageIcon) override {}
    [[nodiscard]] bool AskQuestion(std::string_view, std::string_view) override { return false; }
    void SetStatusText(std::string_view) override {}
    void SetProgress(std::uint64_t, std::uint64_t) override {}
    void PlaySoundFile(std::string_view) override {}
    void AppendMonitorText(std::string_view) override {}
    void ReplaceMonitorText(std::string_view) override {}
    void PumpMessages() override {}
    void RedrawMainWindow() override {}
};

}  // namespace postkite::bench
