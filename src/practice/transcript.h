#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "core/clock.h"
#include "practice/holdings.h"

namespace postkite::practice {

/// The record of the dialogue, one line each with the time in front and a letter that says who spoke: C the
/// client, M the modem, H the host, and "*" for what happened. What the host echoes is not repeated. Borrows
/// both.
class Transcript {
  public:
    /// What one run of the program may write; after that, a last line says so.
    static constexpr std::size_t kMostBytes = 16 * 1024 * 1024;

    Transcript(Holdings& holdings, const core::Clock& clock) : holdings_(&holdings), clock_(&clock) {}

    /// Printed by the host; lines are put together here.
    void Host(std::string_view text);
    /// Whole lines, without their ends.
    void Client(std::string_view line);
    void Modem(std::string_view line);
    void Event(std::string_view line);

    /// Hands over what has gathered. To be called when a step is done.
    void Flush();

  private:
    void EndHostLine();
    void Write(char who, std::string_view line);

    Holdings* holdings_;
    const core::Clock* clock_;
    std::string hostLine_;
    std::u8string lines_;
    std::size_t written_ = 0;
};

}  // namespace postkite::practice
