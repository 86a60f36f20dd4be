#include "practice/access_network.h"

#include <string>

#include "practice/command.h"

namespace postkite::practice {

AccessNetwork::AccessNetwork(Visit& visit, char route, int askAgain)
    : visit_(&visit), route_(route), askAgain_(askAgain) {
}

void AccessNetwork::Advance(std::chrono::milliseconds now) {
    if (!greetsAt_ || now < *greetsAt_) return;
    greetsAt_.reset();
    if (route_ == '3') AskHostName();
    if (route_ == '7') visit_->Print("\r\nLogin: ");
}

bool AccessNetwork::Hear(std::string_view line) {
    const std::string answer = Upper(Trimmed(line));
    switch (route_) {
        case '1':
            if (answer == "NIFTY" || answer == ".00+") return true;
            visit_->Print("\r\nHost Name: ");
            return false;
        case '7':
            return HearLogIn(answer);
        default:
            break;
    }
    if (asked_) return HearHostName(answer);
    if (route_ == '3' || answer.ends_with("@P")) AskHostName();
    return false;
}

void AccessNetwork::AskHostName() {
    asked_ = true;
    greetsAt_.reset();
    visit_->Print("\r\nHOST NAME?\r\n*");
}

bool AccessNetwork::HearHostName(std::string_view name) {
    const bool named = name == "C NIF";
    hostNamed_ = hostNamed_ || named;
    if (!hostNamed_ || (!named && !name.empty())) {
        if (!name.empty()) visit_->PrintLine("?? UNKNOWN HOST");
        AskHostName();
        return false;
    }
    if (askAgain_ > 0) {
        --askAgain_;
        AskHostName();
        return false;
    }
    return true;
}

bool AccessNetwork::HearLogIn(std::string_view line) {
    if (hostNamed_) return true;  // the password, which is empty and not looked at
    hostNamed_ = line == "NIFTY";
    visit_->Print(hostNamed_ ? "Password: " : "\r\nLogin: ");
    return false;
}

}  // namespace postkite::practice
