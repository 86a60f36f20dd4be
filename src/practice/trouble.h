#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "practice/modem.h"

namespace postkite::practice {

/// Everything that can be made to go wrong. The same numbers give the same troubles: chance comes from
/// `seed`.
struct Trouble {
    int busyCalls = 0;  ///< so many calls meet a busy line first
    bool noCarrier = false;
    bool noDialtone = false;
    int askHostNameAgain = 0;    ///< how often the access network asks once more
    std::size_t chunkBytes = 0;  ///< write in pieces of so many bytes, a little time apart; 0 for no pieces
    int noisePerMille = 0;       ///< in front of so many of a thousand bytes comes one that nobody has sent
    std::optional<std::uint64_t> garbledByte;     ///< the byte of this number, from 1, arrives as another one
    std::optional<std::uint64_t> dropAfterBytes;  ///< the carrier is lost when the host has printed so much
    std::optional<std::uint64_t> silentAfterBytes;  ///< nothing that it prints after this arrives
    std::uint32_t seed = 0;
};

/// What becomes of the next call.
class CallTrouble {
  public:
    explicit CallTrouble(const Trouble& trouble) : trouble_(trouble), busyCalls_(trouble.busyCalls) {}
    [[nodiscard]] DialResult NextCall();

  private:
    Trouble trouble_;
    int busyCalls_;
};

/// The telephone line from the host to the client for the time of one call, with its speed and its troubles.
/// What the host prints goes in, what the client gets comes out when its time has come.
class TelephoneLine {
  public:
    /// The time between two pieces.
    static constexpr std::chrono::milliseconds kChunkTime{10};

    /// `speedBps` 0: as fast as it is taken. `call` is the number of the call: each has its own noise.
    TelephoneLine(const Trouble& trouble, int speedBps, std::uint32_t call);

    void Put(std::string_view bytes);
    /// What is to be written now: all of it belongs into one write.
    [[nodiscard]] std::string Take(std::chrono::milliseconds now);
    /// Forgets what has not been taken: the host stops in the middle of a listing.
    void Discard() { waiting_.clear(); }

    [[nodiscard]] bool empty() const { return waiting_.empty(); }
    [[nodiscard]] std::size_t waitingBytes() const { return waiting_.size(); }
    /// Whether the carrier has been lost.
    [[nodiscard]] bool dropped() const;
    /// When `Take` will have something; nullopt where nothing waits.
    [[nodiscard]] std::optional<std::chrono::milliseconds> nextEvent() const;

  private:
    [[nodiscard]] std::size_t BytesDue(std::chrono::milliseconds now);

    Trouble trouble_;
    std::int64_t bytesPerSecond_;
    std::mt19937 chance_;
    std::deque<char> waiting_;
    std::uint64_t printedBytes_ = 0;  ///< by the host, since the connection
    std::optional<std::chrono::milliseconds> paceStart_;
    std::int64_t pacedBytes_ = 0;  ///< taken since `paceStart_`
    std::optional<std::chrono::milliseconds> nextChunk_;
};

}  // namespace postkite::practice
