#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "core/clock.h"
#include "practice/holdings.h"
#include "practice/transcript.h"

namespace postkite::practice {

/// What a client sets with SET. Programs switch menus and pages off, so that nothing but prompts comes
/// between.
struct Switches {
    bool menu = true;        ///< MENU: menus instead of command prompts
    bool page = true;        ///< PAGE: stop when a screen is full
    bool delimiter = false;  ///< DLM: a line that only programs see behind every message
};

/// What the host asks when a screen is full.
enum class PageKind { Document, List };

/// One call's stay at the host, as all services share it: the screen that they print on, and who is there.
/// Text is code page 932. Borrows the rest.
class Visit {
  public:
    Visit(Holdings& holdings, const core::Clock& clock, Transcript& transcript)
        : holdings_(&holdings), clock_(&clock), transcript_(&transcript) {}

    void Print(std::string_view text);
    void PrintLine(std::string_view text = {});
    /// What comes back to the client of its own typing.
    void Echo(std::string_view text) { screen_ += text; }

    /// Prints lines that may be many: where `set` says so, only the first screenful and then a question.
    void Show(std::string_view lines, PageKind kind, const Switches& set);
    /// Whether that question is open.
    [[nodiscard]] bool pageWaits() const { return !rest_.empty(); }
    /// The client's answer to it. Afterwards either the question is open again or all has been shown that is
    /// wanted.
    void AnswerPage(std::string_view line);

    /// What has been printed and not been taken yet.
    [[nodiscard]] std::string TakeScreen() { return std::exchange(screen_, std::string()); }

    [[nodiscard]] Holdings& holdings() const { return *holdings_; }
    [[nodiscard]] const core::Clock& clock() const { return *clock_; }
    [[nodiscard]] Transcript& transcript() const { return *transcript_; }

    std::string userId;
    Switches switches;  ///< of the top menu and the mail service; a forum has its own

  private:
    void PrintPage();

    Holdings* holdings_;
    const core::Clock* clock_;
    Transcript* transcript_;
    std::string screen_;
    std::string rest_;
    PageKind pageKind_ = PageKind::Document;
};

}  // namespace postkite::practice
