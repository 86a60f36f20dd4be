#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "practice/visit.h"

namespace postkite::practice {

/// Who is let in. What is not given is not looked at. Code page 932.
struct Account {
    std::optional<std::string> user;
    std::optional<std::string> password;
};

/// The host's door: the service that is wanted ("SVC"), the user's ID, the password, which is not echoed.
/// Three times wrong and it hangs up. Borrows the visit.
class LogIn {
  public:
    enum class Outcome { GoesOn, Admitted, Refused };

    LogIn(Visit& visit, Account account) : visit_(&visit), account_(std::move(account)) {}

    void Enter();
    [[nodiscard]] Outcome Hear(std::string_view line);

    /// Whether what is typed now is a password.
    [[nodiscard]] bool hearsSecret() const { return question_ == Question::Password; }

  private:
    enum class Question { Connection, User, Password };
    void Ask(Question question);
    [[nodiscard]] Outcome HearPassword(std::string_view password);
    [[nodiscard]] Outcome Refuse(std::string_view reason, Question next);

    Visit* visit_;
    Account account_;
    Question question_ = Question::Connection;
    std::string user_;
    int refusals_ = 0;
};

}  // namespace postkite::practice
