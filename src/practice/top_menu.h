#pragma once

#include "practice/service.h"

namespace postkite::practice {

/// Where a client comes to after its log-in, and from where everything is reached by number or by GO.
class TopMenu final : public Service {
  public:
    using Service::Service;

    void Enter() override;
    void Prompt() override;
    [[nodiscard]] Destination Hear(std::string_view line) override;

  private:
    void PrintMenu();
    [[nodiscard]] Destination HearForumNumber(int number);

    bool choosesForum_ = false;
};

}  // namespace postkite::practice
