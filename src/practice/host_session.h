#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "practice/access_network.h"
#include "practice/forum_service.h"
#include "practice/keyboard.h"
#include "practice/log_in.h"
#include "practice/service.h"
#include "practice/visit.h"

namespace postkite::practice {

/// One call from the carrier to the hang-up: the access network, the log-in, then the services, one at a
/// time. Fed with what the client types and with the time; what it prints is taken from it. Borrows the
/// visit's parts.
///
/// What is understood in every service:
///
///     SET MENU|PAGE|DLM ON|OFF
///     GO MAIL, GO TOP, GO forum     TOP
///     OFF                           logs off; in the middle of a listing too, the rest of which is not sent
///
/// While the client writes a text, a line "OFF" can be text. It logs off when nothing but a modem's escape
/// follows it for a second.
class HostSession {
  public:
    static constexpr std::chrono::milliseconds kOffTime{1000};
    /// A client that says nothing for so long is logged off.
    static constexpr std::chrono::minutes kIdleTime{10};

    HostSession(Holdings& holdings, const core::Clock& clock, Transcript& transcript, const Account& account,
                char route, int askHostNameAgain);

    void Begin(std::chrono::milliseconds now);
    /// `heardAll`: whether all that was printed has reached the client by now.
    void Receive(char byte, std::chrono::milliseconds now, bool heardAll);
    void Advance(std::chrono::milliseconds now);
    [[nodiscard]] std::optional<std::chrono::milliseconds> nextEvent() const;

    /// Whether the client writes a text, in which everything is text.
    [[nodiscard]] bool takesText() const { return service_ && service_->takesText(); }
    [[nodiscard]] std::string TakeScreen() { return visit_.TakeScreen(); }
    /// The host has logged the client off; when its last words are out, it hangs up.
    [[nodiscard]] bool ended() const { return ended_; }
    /// Whether what has been printed and not been sent is no longer wanted; true once.
    [[nodiscard]] bool TakeBreak() { return std::exchange(break_, false); }

  private:
    enum class Stage { Network, LogIn, Services };
    void Hear(const std::string& line, std::chrono::milliseconds now);
    void HearInService(const std::string& line, std::chrono::milliseconds now);
    [[nodiscard]] bool HearAnywhere(const std::string& line);
    void Set(std::string_view argument);
    void Go(std::string_view where);
    void GoTo(const Destination& destination);
    void Enter(std::unique_ptr<Service> service);
    void WelcomeUser();
    void LogOff();

    Visit visit_;
    AccessNetwork network_;
    LogIn logIn_;
    Keyboard keyboard_;
    Stage stage_ = Stage::Network;
    std::unique_ptr<Service> service_;
    ForumService* forum_ = nullptr;  ///< the same service, while it is one
    std::optional<std::chrono::milliseconds> offHeldSince_;
    std::chrono::milliseconds lastHeard_{0};
    bool heardAll_ = true;
    bool break_ = false;
    bool ended_ = false;
};

}  // namespace postkite::practice
