#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/user_interface.h"

namespace postkite::support {

struct ShownMessage {
    std::string caption;
    std::string text;
    core::MessageIcon icon = core::MessageIcon::None;

    bool operator==(const ShownMessage&) const = default;
    friend void PrintTo(const ShownMessage& message, std::ostream* out) {
        *out << ::testing::PrintToString(message.caption) << ": " << ::testing::PrintToString(message.text)
             << ", icon " << static_cast<int>(message.icon);
    }
};

/// A person who says nothing but the answers given beforehand, and remembers everything seen.
class RecordingUserInterface final : public core::UserInterface {
  public:
    [[nodiscard]] core::Language language() const override { return spoken; }

    void ShowMessage(std::string_view caption, std::string_view text, core::MessageIcon icon) override {
        messages.push_back({std::string(caption), std::string(text), icon});
    }

    /// A question without an answer left fails the test.
    [[nodiscard]] bool AskQuestion(std::string_view caption, std::string_view text) override {
        questions.push_back({std::string(caption), std::string(text)});
        if (answers.empty()) {
            ADD_FAILURE() << "unexpected question: " << text;
            return false;
        }
        const bool answer = answers.front();
        answers.pop_front();
        return answer;
    }

    void SetStatusText(std::string_view text) override { statusTexts.emplace_back(text); }
    void SetProgress(std::uint64_t position, std::uint64_t total) override {
        progress.emplace_back(position, total);
    }
    void PlaySoundFile(std::string_view fileName) override { sounds.emplace_back(fileName); }
    void AppendMonitorText(std::string_view text) override { monitorText += text; }
    void ReplaceMonitorText(std::string_view text) override { monitorText = text; }
    void PumpMessages() override { ++pumps; }
    void RedrawMainWindow() override { ++redraws; }

    core::Language spoken = core::Language::Japanese;
    std::deque<bool> answers;

    std::vector<ShownMessage> messages;
    std::vector<ShownMessage> questions;
    std::vector<std::string> statusTexts;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> progress;
    std::vector<std::string> sounds;
    std::string monitorText;
    int pumps = 0;
    int redraws = 0;
};

}  // namespace postkite::support
