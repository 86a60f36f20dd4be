#include "core/telnet_codec.h"

namespace postkite::core {

namespace {

constexpr unsigned char kEndOfSubnegotiation = 240;
constexpr unsigned char kSubnegotiation = 250;
constexpr unsigned char kWill = 251;
constexpr unsigned char kWont = 252;
constexpr unsigned char kDo = 253;
constexpr unsigned char kDont = 254;

void Say(unsigned char verb, std::uint8_t option, std::string& answers) {
    for (const unsigned char byte : {TelnetCodec::kCommand, verb, static_cast<unsigned char>(option)})
        answers += static_cast<char>(byte);
}

}  // namespace

std::string TelnetCodec::Offer() {
    std::string line;
    const auto ask = [&line](Option& state, unsigned char verb, std::uint8_t option) {
        if (state.side != Side::No) return;
        state.side = Side::Asked;
        Say(verb, option, line);
    };
    if (echoes_) ask(ours_[kEcho], kWill, kEcho);
    ask(ours_[kNoGoAhead], kWill, kNoGoAhead);
    ask(theirs_[kNoGoAhead], kDo, kNoGoAhead);
    ask(ours_[kBinary], kWill, kBinary);
    ask(theirs_[kBinary], kDo, kBinary);
    return line;
}

std::size_t TelnetCodec::Decode(std::span<char> bytes, std::string& answers) {
    std::size_t kept = 0;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        bool isData = false;
        switch (expects_) {
            case Expects::Data:
                isData = byte != kCommand;
                if (!isData) expects_ = Expects::Command;
                break;
            case Expects::Command:
                isData = byte == kCommand;
                TakeCommand(byte);
                break;
            case Expects::Option:
                expects_ = Expects::Data;
                TakeOption(byte, answers);
                break;
            case Expects::Subnegotiation:
                if (byte == kCommand) expects_ = Expects::CommandInSubnegotiation;
                break;
            case Expects::CommandInSubnegotiation:
                // Any command but a doubled 255 ends it: one whose end is missing must not swallow the rest.
                if (byte == kCommand) {
                    expects_ = Expects::Subnegotiation;
                } else {
                    TakeCommand(byte);
                }
                break;
        }
        if (!isData) continue;
        const bool isPadding = behindReturn_ && byte == 0;
        behindReturn_ = byte == '\r' && !receivesBinary();
        if (!isPadding) bytes[kept++] = character;
    }
    return kept;
}

void TelnetCodec::TakeCommand(unsigned char byte) {
    verb_ = byte;
    if (byte >= kWill && byte <= kDont) {
        expects_ = Expects::Option;
    } else {
        expects_ = byte == kSubnegotiation ? Expects::Subnegotiation : Expects::Data;
    }
    static_assert(kWont == kWill + 1 && kDo == kWont + 1 && kDont == kDo + 1 && kEndOfSubnegotiation < kWill);
}

void TelnetCodec::TakeOption(std::uint8_t option, std::string& answers) {
    const bool wantedBothWays = option == kBinary || option == kNoGoAhead;
    if (verb_ == kDo || verb_ == kDont) {
        const bool wanted = wantedBothWays || (echoes_ && option == kEcho);
        TakeWish(true, verb_ == kDo, wanted, option, answers);
    } else {
        TakeWish(false, verb_ == kWill, wantedBothWays, option, answers);
    }
    if (option == kBinary && (verb_ == kDo || verb_ == kWill)) AskForBinary(answers);
}

/// The other end wants the option switched on or off, or answers a wish of this end's.
void TelnetCodec::TakeWish(bool isOurs, bool on, bool wanted, std::uint8_t option, std::string& answers) {
    constexpr std::uint8_t kMostTimes = 4;
    Option& state = (isOurs ? ours_ : theirs_)[option];
    const Side before = state.side;
    if (!on) {
        state.refused = false;
        state.side = Side::No;
        // What was only asked for has been refused, and that is not answered.
        if (before == Side::Yes) Say(isOurs ? kWont : kDont, option, answers);
    } else if (before == Side::Yes) {
        return;
    } else if (wanted && state.timesTaken < kMostTimes) {
        ++state.timesTaken;
        state.side = Side::Yes;
        if (before == Side::No) Say(isOurs ? kWill : kDo, option, answers);
    } else if (!state.refused) {
        state.refused = true;
        state.side = Side::No;
        Say(isOurs ? kWont : kDont, option, answers);
    }
}

/// An end that speaks of binary transmission in one direction is asked for the other one, once.
void TelnetCodec::AskForBinary(std::string& answers) {
    if (askedForBinary_) return;
    askedForBinary_ = true;
    for (const bool isOurs : {true, false}) {
        Side& side = (isOurs ? ours_ : theirs_)[kBinary].side;
        if (side != Side::No) continue;
        side = Side::Asked;
        Say(isOurs ? kWill : kDo, kBinary, answers);
    }
}

void TelnetCodec::Encode(std::string_view data, std::string& line) const {
    const bool binary = sendsBinary();
    for (std::size_t at = 0; at < data.size(); ++at) {
        line += data[at];
        if (static_cast<unsigned char>(data[at]) == kCommand) line += data[at];
        if (data[at] == '\r' && !binary && (at + 1 == data.size() || data[at + 1] != '\n')) line += '\0';
    }
}

}  // namespace postkite::core
