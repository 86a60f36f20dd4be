#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "practice/transcript.h"

namespace postkite::practice {

/// How a call can end before it has begun.
enum class DialResult { Connect, Busy, NoCarrier, NoDialtone };

/// A telephone modem as a program sees it: one line for both, commands and data. It begins with commands:
/// "AT", then any number of them on one line, then CR. It echoes what is typed and answers with a result
/// code. After dialling it passes data, until the carrier is lost or the escape is given: "+++" with a second
/// of silence before and behind.
///
/// A modem emulator that echoes may echo the LF behind a command's CR as well, when its answer is out already:
/// `EchoLateLineFeeds`.
///
/// Modems are forgiving, since programs are not: small letters, blanks, a LF behind the CR, and anything at
/// all in front of "AT" are borne.
///
/// Bytes go in by `Hear`, and what the modem itself says comes out of `TakeOutput`; data never pass through
/// here. Every time is a clock that does not go back. Borrows the transcript.
class Modem {
  public:
    /// How long dialling takes. Much less than a real call, for the sake of whoever practises.
    static constexpr std::chrono::milliseconds kDialTime{300};
    /// Of the command line; what is longer is answered with ERROR.
    static constexpr std::size_t kLongestCommand = 255;
    /// The speed that a connection reports where no other is asked for, in bits a second.
    static constexpr int kUsualSpeed = 14400;

    Modem(Transcript& transcript, int speedBps);

    void EchoLateLineFeeds(bool on) { echoesLateLineFeeds_ = on; }

    /// What the byte or the passing of time was to the modem.
    enum class Event {
        None,
        Data,      ///< the byte goes to the other end
        Dialled,   ///< the call is on its way: `SetCallResult` is to be called
        Connected  ///< there is a carrier now
    };

    [[nodiscard]] Event Hear(char byte, std::chrono::milliseconds now);
    [[nodiscard]] Event Advance(std::chrono::milliseconds now);
    /// When `Advance` will have something to do.
    [[nodiscard]] std::optional<std::chrono::milliseconds> nextEvent() const;

    void SetCallResult(DialResult result) { callResult_ = result; }
    /// The other end has hung up, or the line has.
    void LoseCarrier();
    /// The program has let go of the modem's line: the call ends and every setting is forgotten.
    void Reset();

    [[nodiscard]] std::string TakeOutput();
    /// Whether there is a call.
    [[nodiscard]] bool hasCarrier() const { return carrier_; }
    /// Whether data pass in both directions.
    [[nodiscard]] bool passesData() const { return carrier_ && !commands_; }
    /// Speaker volume 0 to 3 and when it sounds (0: never), as M and L set them.
    [[nodiscard]] int volume() const { return volume_; }
    [[nodiscard]] int speaker() const { return speaker_; }

  private:
    enum class Code { Ok, Connect, Ring, NoCarrier, Error, ConnectSpeed, NoDialtone, Busy };

    void RestoreSettings();
    [[nodiscard]] Event HearCommand(char byte, std::chrono::milliseconds now);
    void HearData(char byte, std::chrono::milliseconds now);
    [[nodiscard]] Event Execute(std::string_view commands, std::chrono::milliseconds now);
    [[nodiscard]] bool ExecuteOne(std::string_view& commands);
    [[nodiscard]] bool ExecuteRegister(std::string_view& commands);
    [[nodiscard]] Event Dial(std::string_view number, std::chrono::milliseconds now);
    [[nodiscard]] Event FinishCall();
    [[nodiscard]] std::chrono::milliseconds GuardTime() const;
    void AnswerCode(Code code);
    void Say(std::string_view text);

    Transcript* transcript_;
    int speedBps_;
    bool echoesLateLineFeeds_ = false;
    std::string output_;

    bool echoes_ = true;
    bool quiet_ = false;
    bool words_ = true;         ///< result codes as words (V1), else as numbers
    bool reportsSpeed_ = true;  ///< X1 and above
    int volume_ = 1;
    int speaker_ = 1;
    std::array<int, 32> registers_{};

    bool commands_ = true;
    bool carrier_ = false;
    bool lastWasReturn_ = false;
    bool overlong_ = false;
    std::string line_;
    std::string lastCommands_;  ///< for "A/"

    std::optional<std::chrono::milliseconds> dialEnds_;
    DialResult callResult_ = DialResult::Connect;

    std::optional<std::chrono::milliseconds> lastData_;
    int escapes_ = 0;  ///< escape characters since the guard time in front of them
};

}  // namespace postkite::practice
