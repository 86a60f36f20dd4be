#pragma once

#include <string>
#include <string_view>

#include "practice/visit.h"

namespace postkite::practice {

/// Where a line takes the client next.
struct Destination {
    enum class Place { Here, Top, Mail, Forum, LogOff };
    Place place = Place::Here;
    std::string forum = {};  ///< for `Forum`
};

/// A part of the host that a client can be in: the top menu, the mail service, a forum. What every one
/// understands - SET, GO, TOP, OFF - never gets here.
class Service {
  public:
    explicit Service(Visit& visit) : visit_(&visit) {}
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    virtual ~Service() = default;

    /// The client has just come: a greeting, the menu, the prompt.
    virtual void Enter() = 0;
    /// The prompt of where the client is now.
    virtual void Prompt() = 0;
    [[nodiscard]] virtual Destination Hear(std::string_view line) = 0;
    /// Whether lines are text that the client writes, not commands.
    [[nodiscard]] virtual bool takesText() const { return false; }
    /// The switches that SET changes here.
    [[nodiscard]] virtual Switches& switches() { return visit_->switches; }

  protected:
    [[nodiscard]] Visit& visit() const { return *visit_; }
    /// For a line that means nothing here.
    void RefuseCommand();

  private:
    Visit* visit_;
};

}  // namespace postkite::practice
