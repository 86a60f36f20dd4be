#include "practice/practice_host.h"

#include <utility>

#include "practice/command.h"

namespace postkite::practice {

using std::chrono::milliseconds;

namespace {

/// Of unread output: what the client types beyond it waits. A listing alone may be larger.
constexpr std::size_t kMostUnread = 64 * 1024;
constexpr std::size_t kMostTypedAhead = 64 * 1024;

void Earlier(std::optional<milliseconds>& first, const std::optional<milliseconds>& other) {
    if (other && (!first || *other < *first)) first = other;
}

}  // namespace

PracticeHost::PracticeHost(HostOptions options, Holdings& holdings, const core::Clock& clock)
    : options_(std::move(options)),
      holdings_(&holdings),
      clock_(&clock),
      transcript_(holdings, clock),
      modem_(transcript_, options_.speedBps),
      callTrouble_(options_.trouble) {
    modem_.EchoLateLineFeeds(options_.echoLateLineFeeds);
}

void PracticeHost::Connect(milliseconds now) {
    Disconnect();
    used_ = false;
    if (!options_.modem) StartCall(now);
}

void PracticeHost::Disconnect() {
    modem_.Reset();  // first, since there is nobody left to be told of the lost carrier
    if (session_) EndCall("the client has gone");
    hungUp_ = false;
    transcript_.Flush();
}

void PracticeHost::StartCall(milliseconds now) {
    ++calls_;
    transcript_.Event("call " + std::to_string(calls_));
    line_ = std::make_unique<TelephoneLine>(options_.trouble, options_.speedBps, calls_);
    session_ = std::make_unique<HostSession>(*holdings_, *clock_, transcript_, options_.account,
                                             options_.route, options_.trouble.askHostNameAgain);
    session_->Begin(now);
}

void PracticeHost::Receive(std::string_view bytes, milliseconds now) {
    used_ = used_ || !bytes.empty();
    Advance(now);
    for (const char byte : bytes) {
        ReceiveByte(byte, now);
    }
    transcript_.Flush();
}

void PracticeHost::ReceiveByte(char byte, milliseconds now) {
    if (options_.modem) {
        const bool hadCarrier = modem_.hasCarrier();
        const Modem::Event event = modem_.Hear(byte, now);
        if (event == Modem::Event::Dialled) modem_.SetCallResult(callTrouble_.NextCall());
        if (hadCarrier && !modem_.hasCarrier()) EndCall("the client has hung up");
        if (event != Modem::Event::Data) return;
    }
    if (!session_) return;
    if (typedAhead_.empty() && line_->waitingBytes() < kMostUnread) {
        Type(byte, now);
    } else {
        HoldTyped(byte, now);
    }
}

void PracticeHost::Type(char byte, milliseconds now) {
    session_->Receive(byte, now, line_->empty());
    TakeScreen();
}

/// One command does not wait for its turn: OFF breaks a listing off.
void PracticeHost::HoldTyped(char byte, milliseconds now) {
    constexpr std::string_view kOff = "OFF";
    if (typedAhead_.size() < kMostTypedAhead) typedAhead_ += byte;
    if (byte != '\r' && byte != '\n') {
        if (heldLine_.size() <= kOff.size()) heldLine_ += byte;
        return;
    }
    const bool isOff = Upper(std::exchange(heldLine_, std::string())) == kOff;
    if (!isOff || session_->takesText()) return;
    typedAhead_.clear();
    for (const char typed : std::string(kOff) + "\r") {
        Type(typed, now);
    }
}

void PracticeHost::ReleaseTyped(milliseconds now) {
    std::size_t done = 0;
    while (done < typedAhead_.size() && line_->waitingBytes() < kMostUnread) {
        Type(typedAhead_[done++], now);
    }
    typedAhead_.erase(0, done);
}

void PracticeHost::Advance(milliseconds now) {
    if (options_.modem && modem_.Advance(now) == Modem::Event::Connected) StartCall(now);
    if (session_) {
        session_->Advance(now);
        TakeScreen();
    }
    transcript_.Flush();
}

void PracticeHost::TakeScreen() {
    if (session_->TakeBreak()) line_->Discard();
    line_->Put(session_->TakeScreen());
}

std::string PracticeHost::Output(milliseconds now) {
    std::string output = modem_.TakeOutput();
    if (session_ && (!options_.modem || modem_.passesData())) {
        output += line_->Take(now);
        ReleaseTyped(now);
        EndCallWhenDone();
        output += modem_.TakeOutput();
    }
    transcript_.Flush();
    return output;
}

void PracticeHost::EndCallWhenDone() {
    if (!line_->empty()) return;
    if (line_->dropped()) {
        EndCall("the carrier is lost");
    } else if (session_->ended()) {
        EndCall("the host has hung up");
    }
}

void PracticeHost::EndCall(std::string_view reason) {
    transcript_.Event(reason);
    session_.reset();
    line_.reset();
    typedAhead_.clear();
    heldLine_.clear();
    modem_.LoseCarrier();
    hungUp_ = !options_.modem;
}

std::optional<milliseconds> PracticeHost::nextEvent() const {
    std::optional<milliseconds> next;
    if (options_.modem) Earlier(next, modem_.nextEvent());
    if (!session_) return next;
    Earlier(next, session_->nextEvent());
    if (!options_.modem || modem_.passesData()) {
        Earlier(next, line_->nextEvent());
        if (line_->empty() && (session_->ended() || line_->dropped())) next = milliseconds(0);
    }
    return next;
}

bool PracticeHost::takesInput() const {
    return typedAhead_.size() < kMostTypedAhead;
}

}  // namespace postkite::practice
