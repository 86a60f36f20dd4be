#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace postkite::core {

/// The telnet protocol of one connection, bytes in and bytes out: it knows no socket. The same for both ends.
///
/// Wanted are binary transmission and to do without "go ahead", in both directions, as soon as the other end speaks of
/// either (or when `Offer` asks for it); this end's echo where it is told to. Everything else is refused: DO with WONT,
/// WILL with DONT. Only changes of state are answered, and a refusal is said once until the other end has taken its
/// wish back; an option that is switched on and off again and again is refused in the end. So two ends never answer each
/// other for ever, even when they have lost each other's state. Subnegotiations and the other commands are swallowed.
///
/// A byte 255 of the data goes out and comes in doubled. Outside binary transmission CR goes out as CR LF where LF is
/// what follows, else as CR NUL, and comes in likewise.
class TelnetCodec {
  public:
    /// The first byte of every command.
    static constexpr unsigned char kCommand = 255;

    /// `echoes`: this end echoes what it gets, and says so when it is asked.
    explicit TelnetCodec(bool echoes = false) : echoes_(echoes) {}

    /// What this end asks for on its own account, to be sent first. Without it the other end has to begin.
    [[nodiscard]] std::string Offer();

    /// What came in, cut anywhere. Leaves the data at the front of `bytes` and returns their count; appends to `answers`
    /// what has to be sent now, between two calls of `Encode`.
    [[nodiscard]] std::size_t Decode(std::span<char> bytes, std::string& answers);

    /// Appends `data` to `line` as it goes out.
    void Encode(std::string_view data, std::string& line) const;

    /// Whether what goes out, and what comes in, is transmitted in binary.
    [[nodiscard]] bool sendsBinary() const { return ours_[kBinary].side == Side::Yes; }
    [[nodiscard]] bool receivesBinary() const { return theirs_[kBinary].side == Side::Yes; }

  private:
    static constexpr std::uint8_t kBinary = 0;
    static constexpr std::uint8_t kEcho = 1;
    static constexpr std::uint8_t kNoGoAhead = 3;

    enum class Side : std::uint8_t {
        No,
        Asked,  ///< wished for here and not answered yet
        Yes
    };
    /// An option at one end.
    struct Option {
        Side side = Side::No;
        bool refused = false;
        std::uint8_t timesTaken = 0;
    };
    using Options = std::array<Option, 256>;
    enum class Expects : std::uint8_t { Data, Command, Option, Subnegotiation, CommandInSubnegotiation };

    void TakeCommand(unsigned char byte);
    void TakeOption(std::uint8_t option, std::string& answers);
    void TakeWish(bool isOurs, bool on, bool wanted, std::uint8_t option, std::string& answers);
    void AskForBinary(std::string& answers);

    bool echoes_;
    Expects expects_ = Expects::Data;
    unsigned char verb_ = 0;  ///< of the option that comes next
    bool behindReturn_ = false;
    bool askedForBinary_ = false;
    Options ours_{};
    Options theirs_{};
};

}  // namespace postkite::core
