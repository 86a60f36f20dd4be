#include "practice/host_session.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "core/shift_jis.h"
#include "core/time_stamp.h"
#include "practice/command.h"
#include "practice/mail_service.h"
#include "practice/top_menu.h"

namespace postkite::practice {

using namespace core::literals;
using std::chrono::milliseconds;

namespace {

constexpr std::size_t kLongestForumName = 15;
constexpr std::string_view kEscape = "+++";

/// Every name that begins with F can be a forum: who practises has not got ours in his queue. Others must be
/// there.
bool IsForum(Holdings& holdings, const std::string& name) {
    const std::vector<std::string> forums = holdings.Forums();
    if (std::find(forums.begin(), forums.end(), name) != forums.end()) return true;
    return name.size() > 1 && name.size() <= kLongestForumName && name.front() == 'F' &&
           std::all_of(name.begin(), name.end(), [](char character) {
               return (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9');
           });
}

}  // namespace

HostSession::HostSession(Holdings& holdings, const core::Clock& clock, Transcript& transcript,
                         const Account& account, char route, int askHostNameAgain)
    : visit_(holdings, clock, transcript),
      network_(visit_, route, askHostNameAgain),
      logIn_(visit_, account) {
}

void HostSession::Begin(milliseconds now) {
    lastHeard_ = now;
    network_.Answer(now);
}

void HostSession::Receive(char byte, milliseconds now, bool heardAll) {
    if (ended_) return;
    lastHeard_ = now;
    if (keyboard_.begun().empty()) heardAll_ = heardAll;  // later its own echo may still be on the way
    std::string echo;
    keyboard_.SetEcho(stage_ != Stage::LogIn || !logIn_.hearsSecret());
    const std::optional<std::string> line = keyboard_.Hear(byte, echo);
    visit_.Echo(echo);
    if (line) {
        Hear(*line, now);
    } else if (offHeldSince_ && keyboard_.begun() == kEscape) {
        LogOff();
    }
}

void HostSession::Advance(milliseconds now) {
    if (ended_) return;
    network_.Advance(now);
    if (offHeldSince_ && now >= *offHeldSince_ + kOffTime && keyboard_.begun().empty()) {
        LogOff();
    } else if (now >= lastHeard_ + kIdleTime) {
        visit_.PrintLine();
        visit_.PrintLine("入力がないため、回線を切断します。"_sjis);
        LogOff();
    }
}

std::optional<milliseconds> HostSession::nextEvent() const {
    if (ended_) return std::nullopt;
    milliseconds next = lastHeard_ + kIdleTime;
    if (const std::optional<milliseconds> greeting = network_.nextEvent()) next = std::min(next, *greeting);
    if (offHeldSince_ && keyboard_.begun().empty()) next = std::min(next, *offHeldSince_ + kOffTime);
    return next;
}

void HostSession::Hear(const std::string& line, milliseconds now) {
    const bool secret = stage_ == Stage::LogIn && logIn_.hearsSecret();
    visit_.transcript().Client(secret ? "********" : line);
    if (stage_ == Stage::Services) {
        HearInService(line, now);
        return;
    }
    if (Upper(Trimmed(line)) == "OFF") {
        LogOff();
    } else if (stage_ == Stage::Network) {
        if (!network_.Hear(line)) return;
        stage_ = Stage::LogIn;
        logIn_.Enter();
    } else {
        const LogIn::Outcome outcome = logIn_.Hear(line);
        if (outcome == LogIn::Outcome::Refused) LogOff();
        if (outcome == LogIn::Outcome::Admitted) WelcomeUser();
    }
}

void HostSession::WelcomeUser() {
    stage_ = Stage::Services;
    visit_.PrintLine();
    visit_.PrintLine(core::FormatNowDate(visit_.clock()) + "  " + visit_.userId +
                     std::string(" さん、こんにちは。"_sjis));
    const std::size_t mails = visit_.holdings().Mails().size();
    if (mails > 0) {
        visit_.PrintLine(std::string("メールが "_sjis) + std::to_string(mails) +
                         std::string(" 通届いています。"_sjis));
    }
    GoTo({Destination::Place::Top});
}

void HostSession::HearInService(const std::string& line, milliseconds now) {
    if (forum_ != nullptr && heardAll_) forum_->ConfirmReading();
    const bool isOff = Upper(Trimmed(line)) == "OFF";
    if (service_->takesText()) {
        if (offHeldSince_) {
            offHeldSince_.reset();
            if (line.starts_with(kEscape)) {
                LogOff();
                return;
            }
            static_cast<void>(service_->Hear("OFF"));  // it was text; text goes nowhere
        }
        if (isOff) {
            offHeldSince_ = now;
        } else {
            GoTo(service_->Hear(line));
        }
    } else if (isOff) {
        LogOff();
    } else if (visit_.pageWaits()) {
        visit_.AnswerPage(line);
        if (!visit_.pageWaits()) service_->Prompt();
    } else if (!HearAnywhere(line)) {
        GoTo(service_->Hear(line));
    }
}

bool HostSession::HearAnywhere(const std::string& line) {
    const Command command = ParseCommand(line);
    if (command.name == "SET") {
        Set(command.argument);
    } else if (command.name == "GO") {
        Go(command.argument);
    } else if (command.name == "TOP") {
        GoTo({Destination::Place::Top});
    } else {
        return false;
    }
    return true;
}

void HostSession::Set(std::string_view argument) {
    const std::size_t blank = std::min(argument.find(' '), argument.size());
    const std::string_view which = argument.substr(0, blank);
    const std::string_view value = Trimmed(argument.substr(blank));
    Switches& switches = service_->switches();
    bool* wanted = which == "MENU"   ? &switches.menu
                   : which == "PAGE" ? &switches.page
                   : which == "DLM"  ? &switches.delimiter
                                     : nullptr;
    if (wanted == nullptr || (value != "ON" && value != "OFF")) {
        visit_.PrintLine("SET MENU|PAGE|DLM ON|OFF");
    } else {
        *wanted = value == "ON";
    }
    service_->Prompt();
}

void HostSession::Go(std::string_view where) {
    const std::string name(where);
    if (name == "TOP") {
        GoTo({Destination::Place::Top});
    } else if (name == "MAIL") {
        GoTo({Destination::Place::Mail});
    } else if (IsForum(visit_.holdings(), name)) {
        GoTo({Destination::Place::Forum, name});
    } else {
        visit_.PrintLine("該当するサービスはありません。"_sjis);
        service_->Prompt();
    }
}

void HostSession::GoTo(const Destination& destination) {
    switch (destination.place) {
        case Destination::Place::Here:
            break;
        case Destination::Place::Top:
            Enter(std::make_unique<TopMenu>(visit_));
            break;
        case Destination::Place::Mail:
            Enter(std::make_unique<MailService>(visit_));
            break;
        case Destination::Place::Forum: {
            auto forum = std::make_unique<ForumService>(visit_, destination.forum);
            ForumService* entered = forum.get();
            Enter(std::move(forum));
            forum_ = entered;
            break;
        }
        case Destination::Place::LogOff:
            LogOff();
            break;
    }
}

void HostSession::Enter(std::unique_ptr<Service> service) {
    service_ = std::move(service);
    forum_ = nullptr;
    service_->Enter();
}

void HostSession::LogOff() {
    break_ = !heardAll_;
    ended_ = true;
    offHeldSince_.reset();
    visit_.PrintLine();
    visit_.PrintLine("ご利用ありがとうございました。"_sjis);
}

}  // namespace postkite::practice
