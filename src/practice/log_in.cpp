#include "practice/log_in.h"

#include "core/shift_jis.h"
#include "practice/command.h"

namespace postkite::practice {

using namespace core::literals;

namespace {

constexpr int kMostRefusals = 3;

}  // namespace

void LogIn::Enter() {
    visit_->PrintLine();
    Ask(Question::Connection);
}

void LogIn::Ask(Question question) {
    question_ = question;
    switch (question) {
        case Question::Connection:
            visit_->Print("Enter Connection-ID  --->");
            break;
        case Question::User:
            visit_->Print("Enter User-ID  --->");
            break;
        case Question::Password:
            visit_->Print("Enter Password --->");  // one blank fewer than the others, and clients count them
            break;
    }
}

LogIn::Outcome LogIn::Hear(std::string_view line) {
    switch (question_) {
        case Question::Connection:
            if (Upper(Trimmed(line)) != "SVC") {
                return Refuse("コネクションＩＤが違います。"_sjis, Question::Connection);
            }
            Ask(Question::User);
            return Outcome::GoesOn;
        case Question::User:
            user_ = Trimmed(line);
            Ask(Question::Password);
            return Outcome::GoesOn;
        case Question::Password:
            break;
    }
    return HearPassword(line);
}

LogIn::Outcome LogIn::HearPassword(std::string_view password) {
    // An ID is the same in small letters, a password is not.
    const bool userIsRight = !user_.empty() && (!account_.user || Upper(*account_.user) == Upper(user_));
    if (!userIsRight || (account_.password && *account_.password != password)) {
        return Refuse("ユーザＩＤまたはパスワードが違います。"_sjis, Question::User);
    }
    question_ = Question::Connection;
    visit_->userId = Upper(user_);
    return Outcome::Admitted;
}

LogIn::Outcome LogIn::Refuse(std::string_view reason, Question next) {
    visit_->PrintLine();
    visit_->PrintLine(reason);
    if (++refusals_ == kMostRefusals) return Outcome::Refused;
    Ask(next);
    return Outcome::GoesOn;
}

}  // namespace postkite::practice
