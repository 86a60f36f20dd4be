#pragma once

#include <string>
#include <string_view>

#include "practice/visit.h"

namespace postkite::practice {

/// A forum's library of files, at "LIB>":
///
///     SCA DATE:yymmdd     lists what has been put there since that day
///     DOW n PROT:BPL      sends a file: its description, "項目 (1:OK  2:NG  E:終了)", the name under which
///                         the client keeps it, then the control character ENQ, at which the transfer begins
///
/// There is no transfer behind the ENQ: the practice host speaks no transfer protocol and breaks off at the
/// next line. Every forum has one and the same small shelf in its library 1. Borrows the visit and the
/// forum's name.
class Library {
  public:
    Library(Visit& visit, const std::string& forum) : visit_(&visit), forum_(&forum) {}

    void Open(int number) {
        number_ = number;
        question_ = Question::None;
    }
    void Prompt();
    /// False where the line means nothing here.
    [[nodiscard]] bool Hear(std::string_view line, const Switches& switches);

    /// Whether the host has asked something and `Answer` is to be called for the next line.
    [[nodiscard]] bool asks() const { return question_ != Question::None; }
    void Answer(std::string_view line);

  private:
    enum class Question { None, Item, FileName, Transfer };
    void List(std::string_view since, const Switches& switches);
    void Offer(int number);

    Visit* visit_;
    const std::string* forum_;
    int number_ = 1;
    Question question_ = Question::None;
};

}  // namespace postkite::practice
