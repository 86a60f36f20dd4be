#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "practice/visit.h"

namespace postkite::practice {

/// The network between the telephone and the host. A subscriber dials its nearest access point, names the
/// host, and only then hears from it. There were several networks, each with its own manners; a client knows
/// them by the number of its route:
///
///     1   silent until it gets a CR, then asks for the host; "NIFTY" leads there, and so does the call ".00+"
///     2   silent until it gets the profile command "@P", then asks HOST NAME?
///     3   asks HOST NAME? by itself
///     7   asks for a log-in and a password; the log-in is the host's name and the password is empty
///
/// HOST NAME? takes "C NIF". A bare CR is asked again while no host has been named; behind a name it takes
/// that name once more, which is how clients answer a network that was not listening the first time.
///
/// Borrows the visit.
class AccessNetwork {
  public:
    /// From the carrier to the network's first word.
    static constexpr std::chrono::milliseconds kGreetingTime{400};

    /// `route` is "1", "2", "3" or "7". `askAgain`: so many times a named host is asked for once more.
    AccessNetwork(Visit& visit, char route, int askAgain);

    /// The call has begun.
    void Answer(std::chrono::milliseconds now) { greetsAt_ = now + kGreetingTime; }
    void Advance(std::chrono::milliseconds now);
    [[nodiscard]] std::optional<std::chrono::milliseconds> nextEvent() const { return greetsAt_; }

    /// Returns whether the line leads on to the host.
    [[nodiscard]] bool Hear(std::string_view line);

  private:
    void AskHostName();
    [[nodiscard]] bool HearHostName(std::string_view name);
    [[nodiscard]] bool HearLogIn(std::string_view line);

    Visit* visit_;
    char route_;
    int askAgain_;
    std::optional<std::chrono::milliseconds> greetsAt_;
    bool asked_ = false;      ///< whether HOST NAME? has been asked
    bool hostNamed_ = false;  ///< whether it has been answered
};

}  // namespace postkite::practice
