#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "practice/letter.h"

namespace postkite::practice {

/// A text that the client has uploaded.
struct Upload {
    std::string service;  ///< where: "MAIL", "FSORA MES 1", "FSORA SMAIL"
    std::string userId;   ///< by whom
    std::string text;     ///< lines end in CR LF; the addressee and subject lines are among them
};

/// What the host has on its disks: mails, messages, and a place for what arrives. Texts are code page 932. A
/// key names a mail or a message and means nothing but to the object that gave it.
///
/// Operations that return an int return 0 or a negated errno value.
class Holdings {
  public:
    Holdings() = default;
    Holdings(const Holdings&) = delete;
    Holdings& operator=(const Holdings&) = delete;
    virtual ~Holdings() = default;

    /// The mails that wait, in the order in which they are read.
    [[nodiscard]] virtual std::vector<std::string> Mails() = 0;
    /// nullopt where it has gone meanwhile.
    [[nodiscard]] virtual std::optional<Letter> Mail(const std::string& key) = 0;
    [[nodiscard]] virtual int DeleteMail(const std::string& key) = 0;

    /// Whether nobody has read the mail yet, as far as this object knows.
    [[nodiscard]] bool IsNewMail(const std::string& key) const { return !mailsRead_.contains(key); }
    void MarkMailRead(const std::string& key) { mailsRead_.insert(key); }

    /// The names of the forums, in upper case and in order.
    [[nodiscard]] virtual std::vector<std::string> Forums() = 0;
    /// The unread messages of a room, in the order in which they are read.
    [[nodiscard]] virtual std::vector<std::string> Messages(const std::string& forum, int room) = 0;
    [[nodiscard]] virtual std::optional<Letter> Message(const std::string& forum, int room,
                                                        const std::string& key) = 0;
    [[nodiscard]] virtual int MarkMessageRead(const std::string& forum, int room, const std::string& key) = 0;

    /// Keeps what the client has uploaded.
    [[nodiscard]] virtual int Keep(const Upload& upload) = 0;

    /// Adds whole lines, UTF-8 with LF, to the record of the dialogue.
    virtual void AppendLog(std::u8string_view lines) = 0;

  private:
    std::set<std::string> mailsRead_;
};

}  // namespace postkite::practice
