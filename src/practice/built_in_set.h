#pragma once

#include <set>
#include <string>
#include <vector>

#include "practice/holdings.h"

namespace postkite::practice {

/// A few mails and messages for who has no state directory. What is deleted or read is gone until the program
/// is started anew; uploads are forgotten.
class BuiltInSet : public Holdings {
  public:
    [[nodiscard]] std::vector<std::string> Mails() override;
    [[nodiscard]] std::optional<Letter> Mail(const std::string& key) override;
    [[nodiscard]] int DeleteMail(const std::string& key) override;
    [[nodiscard]] std::vector<std::string> Forums() override;
    [[nodiscard]] std::vector<std::string> Messages(const std::string& forum, int room) override;
    [[nodiscard]] std::optional<Letter> Message(const std::string& forum, int room,
                                                const std::string& key) override;
    [[nodiscard]] int MarkMessageRead(const std::string& forum, int room, const std::string& key) override;
    [[nodiscard]] int Keep(const Upload& upload) override;
    void AppendLog(std::u8string_view lines) override;

  private:
    std::set<std::string> gone_;  ///< keys of mails and messages
};

}  // namespace postkite::practice
