#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

#include "practice/service.h"
#include "practice/text_entry.h"

namespace postkite::practice {

/// The mail service. At "MAIL>" (or at its menu, which says the same with numbers):
///
///     READ ALL     every mail, one after another; behind each the host asks what to do with it
///     READ NEW     those that have not been read yet
///     READ n       one of them
///     LIST         their header lines
///     COM          sends a mail
///     SDL          what has been sent in this call
///     KITE         from now on COM takes long mails with their headings in the text, as programs send them
///     E            back to the top
///
/// Behind a mail, at "action:", DELETE removes it, SAVE or a bare CR keeps it, E ends reading.
class MailService final : public Service {
  public:
    explicit MailService(Visit& visit) : Service(visit), entry_(visit) {}

    void Enter() override { Prompt(); }
    void Prompt() override;
    [[nodiscard]] Destination Hear(std::string_view line) override;
    [[nodiscard]] bool takesText() const override { return entry_.open(); }

  private:
    enum class Which { All, New };
    void Read(std::string_view which);
    void StartReading(Which which);
    void ShowNext();
    void HearAction(std::string_view line);
    void Delete();
    void List();
    void ListSent();
    void AskMail();
    void HearText(std::string_view line);

    /// A mail that is to be read, with its number in the list.
    struct Turn {
        std::string key;
        int number;
    };
    std::deque<Turn> turns_;
    std::string shown_;           ///< the key of the mail that the action is asked for; empty while none is
    bool shownHasSender_ = true;  ///< whether that one can be answered
    bool programMode_ = false;    ///< KITE
    TextEntry entry_;
    std::deque<std::string> sent_;
};

}  // namespace postkite::practice
