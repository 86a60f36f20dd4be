#include "practice/modem.h"

#include <algorithm>
#include <utility>

#include "practice/command.h"

namespace postkite::practice {

using std::chrono::milliseconds;

namespace {

// Registers of the modem that mean something here.
constexpr std::size_t kEscapeCharacter = 2;
constexpr std::size_t kGuardTime = 12;  ///< in fiftieths of a second

constexpr int kEscapes = 3;
constexpr int kMostInRegister = 255;

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Takes the number off the front of `commands`; 0 where there is none, as modems have it.
int TakeNumber(std::string_view& commands) {
    int number = 0;
    while (!commands.empty() && IsDigit(commands.front())) {
        number = std::min(number * 10 + (commands.front() - '0'), 9999);
        commands.remove_prefix(1);
    }
    return number;
}

}  // namespace

Modem::Modem(Transcript& transcript, int speedBps)
    : transcript_(&transcript), speedBps_(speedBps > 0 ? speedBps : kUsualSpeed) {
    Reset();
}

void Modem::RestoreSettings() {
    echoes_ = words_ = reportsSpeed_ = true;
    quiet_ = false;
    volume_ = speaker_ = 1;
    registers_.fill(0);
    registers_[kEscapeCharacter] = '+';
    registers_[kGuardTime] = 50;
}

void Modem::Reset() {
    RestoreSettings();
    commands_ = true;
    carrier_ = lastWasReturn_ = overlong_ = false;
    line_.clear();
    output_.clear();
    dialEnds_.reset();
    lastData_.reset();
    escapes_ = 0;
}

Modem::Event Modem::Hear(char byte, milliseconds now) {
    if (commands_) return HearCommand(byte, now);
    HearData(byte, now);
    return Event::Data;
}

Modem::Event Modem::HearCommand(char byte, milliseconds now) {
    const bool behindReturn = std::exchange(lastWasReturn_, byte == '\r');
    if (byte == '\n' && behindReturn) {
        // Programs end a command in CR LF, and that is no key.
        if (echoesLateLineFeeds_ && echoes_) output_ += byte;
        return Event::None;
    }
    if (dialEnds_) {
        // Any key gives the call up.
        dialEnds_.reset();
        AnswerCode(Code::NoCarrier);
        return Event::None;
    }
    if (echoes_) output_ += byte;
    if (byte == '\b') {
        if (!line_.empty()) line_.pop_back();
        return Event::None;
    }
    const bool again = byte == '/' && (line_ == "A" || line_ == "a");
    if (byte != '\r' && !again) {
        overlong_ = overlong_ || line_.size() >= kLongestCommand;
        if (!overlong_) line_ += byte;
        return Event::None;
    }
    const std::string line = Upper(std::exchange(line_, std::string()));
    if (std::exchange(overlong_, false)) {
        AnswerCode(Code::Error);
        return Event::None;
    }
    if (!again) {
        const std::size_t start = line.find("AT");
        if (start == std::string::npos) return Event::None;  // no command, no answer
        lastCommands_ = line.substr(start + 2);
    }
    transcript_->Client("AT" + lastCommands_);
    return Execute(std::string(lastCommands_), now);
}

Modem::Event Modem::Execute(std::string_view commands, milliseconds now) {
    while (!commands.empty()) {
        if (commands.front() == 'D') return Dial(commands.substr(1), now);
        if (commands.front() == 'O') {
            if (!carrier_) break;
            commands_ = false;
            AnswerCode(Code::ConnectSpeed);
            return Event::None;
        }
        if (!ExecuteOne(commands)) {
            AnswerCode(Code::Error);
            return Event::None;
        }
    }
    AnswerCode(commands.empty() ? Code::Ok : Code::NoCarrier);
    return Event::None;
}

bool Modem::ExecuteOne(std::string_view& commands) {
    const char command = commands.front();
    commands.remove_prefix(1);
    if (command == ' ') return true;
    if (command == 'S') return ExecuteRegister(commands);
    if (command == '&' || command == '%' || command == '\\') {
        // The makers' own commands: error correction, flow control, profiles. All are taken and none does
        // anything.
        if (commands.empty() || commands.front() < 'A' || commands.front() > 'Z') return false;
        commands.remove_prefix(1);
        static_cast<void>(TakeNumber(commands));
        return true;
    }
    const int value = TakeNumber(commands);
    switch (command) {
        case 'E':
            echoes_ = value != 0;
            return value <= 1;
        case 'H':
            carrier_ = false;
            return value == 0;
        case 'L':
            volume_ = std::min(value, 3);
            return value <= 3;
        case 'M':
            speaker_ = std::min(value, 3);
            return value <= 3;
        case 'Q':
            quiet_ = value != 0;
            return value <= 1;
        case 'V':
            words_ = value != 0;
            return value <= 1;
        case 'X':
            reportsSpeed_ = value != 0;
            return value <= 4;
        case 'Z':
            carrier_ = false;
            RestoreSettings();
            return true;
        case 'I':
            Say("POSTKITE PRACTICE MODEM");
            return true;
        default:
            return false;
    }
}

bool Modem::ExecuteRegister(std::string_view& commands) {
    const auto number = static_cast<std::size_t>(TakeNumber(commands));
    if (number >= registers_.size() || commands.empty()) return false;
    const char what = commands.front();
    commands.remove_prefix(1);
    if (what == '?') {
        const std::string value = std::to_string(registers_[number]);
        Say(std::string(3 - value.size(), '0') + value);
        return true;
    }
    const int value = TakeNumber(commands);
    if (what != '=' || value > kMostInRegister) return false;
    registers_[number] = value;
    return true;
}

Modem::Event Modem::Dial(std::string_view number, milliseconds now) {
    // T for a line with tones, P for one with pulses; "," waits a little for the outside line, "W" for its
    // tone.
    const bool isNumber = std::any_of(number.begin(), number.end(), IsDigit);
    if (carrier_ || !isNumber) {
        AnswerCode(carrier_ ? Code::Error : Code::NoCarrier);
        return Event::None;
    }
    dialEnds_ = now + kDialTime;
    callResult_ = DialResult::Connect;
    return Event::Dialled;
}

Modem::Event Modem::FinishCall() {
    dialEnds_.reset();
    switch (callResult_) {
        case DialResult::Connect:
            break;
        case DialResult::Busy:
            AnswerCode(Code::Busy);
            return Event::None;
        case DialResult::NoCarrier:
            AnswerCode(Code::NoCarrier);
            return Event::None;
        case DialResult::NoDialtone:
            AnswerCode(Code::NoDialtone);
            return Event::None;
    }
    carrier_ = true;
    commands_ = false;
    lastData_.reset();
    escapes_ = 0;
    AnswerCode(Code::ConnectSpeed);
    return Event::Connected;
}

/// The escape counts only between two silences, so that "+++" in the middle of a text is text.
void Modem::HearData(char byte, milliseconds now) {
    const bool isEscape = static_cast<unsigned char>(byte) == registers_[kEscapeCharacter];
    const bool silence = !lastData_ || now - *lastData_ >= GuardTime();
    if (!isEscape) {
        escapes_ = 0;
    } else if (silence) {
        escapes_ = 1;
    } else if (escapes_ > 0) {
        escapes_ = escapes_ < kEscapes ? escapes_ + 1 : 0;
    }
    lastData_ = now;
}

Modem::Event Modem::Advance(milliseconds now) {
    if (dialEnds_ && now >= *dialEnds_) return FinishCall();
    if (passesData() && escapes_ == kEscapes && now - *lastData_ >= GuardTime()) {
        escapes_ = 0;
        commands_ = true;
        transcript_->Client("+++");
        AnswerCode(Code::Ok);
    }
    return Event::None;
}

std::optional<milliseconds> Modem::nextEvent() const {
    if (dialEnds_) return dialEnds_;
    if (passesData() && escapes_ == kEscapes) return *lastData_ + GuardTime();
    return std::nullopt;
}

milliseconds Modem::GuardTime() const {
    return milliseconds(20) * registers_[kGuardTime];
}

void Modem::LoseCarrier() {
    if (!carrier_) return;
    carrier_ = false;
    commands_ = true;
    lastWasReturn_ = false;
    AnswerCode(Code::NoCarrier);
}

std::string Modem::TakeOutput() {
    return std::exchange(output_, std::string());
}

void Modem::AnswerCode(Code code) {
    if (quiet_) return;
    struct CodeText {
        std::string_view word;
        std::string_view number;
    };
    constexpr CodeText kTexts[] = {{"OK", "0"},          {"CONNECT", "1"}, {"RING", "2"},
                                   {"NO CARRIER", "3"},  {"ERROR", "4"},   {"CONNECT", "5"},
                                   {"NO DIALTONE", "6"}, {"BUSY", "7"}};
    if (code == Code::ConnectSpeed && !reportsSpeed_) code = Code::Connect;
    const CodeText& text = kTexts[static_cast<std::size_t>(code)];
    std::string answer(words_ ? text.word : text.number);
    if (words_ && code == Code::ConnectSpeed) answer += " " + std::to_string(speedBps_);
    transcript_->Modem(answer);
    output_ += words_ ? "\r\n" + answer + "\r\n" : answer + "\r";
}

void Modem::Say(std::string_view text) {
    output_ += "\r\n";
    output_ += text;
    output_ += "\r\n";
}

}  // namespace postkite::practice
