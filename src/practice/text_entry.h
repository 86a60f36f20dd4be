#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "practice/visit.h"

namespace postkite::practice {

/// Takes a mail or a message from the client, line by line, up to a line "/POST" or "/E". Addressees and
/// subject are lines of the text, in front: "TO:", "SUB:", "FROM:", for a message "SUB:" and "RE:". Borrows
/// the visit.
class TextEntry {
  public:
    /// Of a text; what is longer is cut, and the client is told so.
    static constexpr std::size_t kLargestText = 1024 * 1024;

    explicit TextEntry(Visit& visit) : visit_(&visit) {}

    /// Asks for a mail of the kind that programs send: up to 3000 lines.
    void AskLongText(std::string_view service);
    /// Asks for a mail or message of at most 300 lines.
    void AskShortText(std::string_view service);

    [[nodiscard]] bool open() const { return open_; }
    /// Returns whether the text is complete; it has been kept then, or the client has been told why not.
    [[nodiscard]] bool Hear(std::string_view line);
    /// The text that was kept last.
    [[nodiscard]] const std::string& text() const { return text_; }

  private:
    void Open(std::string_view service);
    void Finish();

    Visit* visit_;
    std::string service_;
    std::string text_;
    bool open_ = false;
    bool cut_ = false;
};

/// The rest of the first line of `text` that begins with `heading`, such as "SUB:"; empty where there is
/// none.
[[nodiscard]] std::string_view HeadingOf(std::string_view text, std::string_view heading);

}  // namespace postkite::practice
