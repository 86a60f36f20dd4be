#include "practice/trouble.h"

#include <algorithm>

namespace postkite::practice {

using std::chrono::milliseconds;

namespace {

constexpr int kBitsOfByte = 10;  // start, eight of data, stop
constexpr std::size_t kMostAtOnce = 4096;

}  // namespace

DialResult CallTrouble::NextCall() {
    if (trouble_.noDialtone) return DialResult::NoDialtone;
    if (busyCalls_ > 0) {
        --busyCalls_;
        return DialResult::Busy;
    }
    return trouble_.noCarrier ? DialResult::NoCarrier : DialResult::Connect;
}

TelephoneLine::TelephoneLine(const Trouble& trouble, int speedBps, std::uint32_t call)
    : trouble_(trouble),
      bytesPerSecond_(speedBps > 0 ? std::max(1, speedBps / kBitsOfByte) : 0),
      chance_(trouble.seed + call) {
}

/// Noise, silence and the lost carrier are settled here, by the host's bytes alone, so that they do not
/// depend on when somebody takes what arrives.
void TelephoneLine::Put(std::string_view bytes) {
    for (const char byte : bytes) {
        if (dropped()) return;
        ++printedBytes_;
        if (trouble_.silentAfterBytes && printedBytes_ > *trouble_.silentAfterBytes) continue;
        if (trouble_.noisePerMille > 0 &&
            chance_() % 1000 < static_cast<std::uint32_t>(trouble_.noisePerMille)) {
            waiting_.push_back(static_cast<char>(chance_() % 256));
        }
        const bool garbled = trouble_.garbledByte == printedBytes_;
        waiting_.push_back(
            garbled ? static_cast<char>(static_cast<unsigned char>(byte) ^ (1 + chance_() % 255)) : byte);
    }
}

bool TelephoneLine::dropped() const {
    return trouble_.dropAfterBytes && printedBytes_ >= *trouble_.dropAfterBytes;
}

std::size_t TelephoneLine::BytesDue(milliseconds now) {
    std::size_t due = std::min(waiting_.size(), kMostAtOnce);
    if (bytesPerSecond_ > 0) {
        if (!paceStart_) {
            paceStart_ = now;
            pacedBytes_ = 0;
        }
        // One byte is under way from the first moment on.
        const std::int64_t allowed = (now - *paceStart_).count() * bytesPerSecond_ / 1000 + 1 - pacedBytes_;
        due = std::min(due, static_cast<std::size_t>(std::max<std::int64_t>(allowed, 0)));
    }
    if (trouble_.chunkBytes > 0) {
        if (nextChunk_ && now < *nextChunk_) return 0;
        due = std::min(due, trouble_.chunkBytes);
    }
    return due;
}

std::string TelephoneLine::Take(milliseconds now) {
    if (waiting_.empty()) {
        paceStart_.reset();  // an idle line saves no time up
        return {};
    }
    const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(BytesDue(now));
    std::string taken(waiting_.begin(), end);
    waiting_.erase(waiting_.begin(), end);
    pacedBytes_ += static_cast<std::int64_t>(taken.size());
    if (!taken.empty()) nextChunk_ = now + kChunkTime;
    return taken;
}

std::optional<milliseconds> TelephoneLine::nextEvent() const {
    if (waiting_.empty()) return std::nullopt;
    milliseconds due{0};
    if (paceStart_ && bytesPerSecond_ > 0) {
        due = *paceStart_ + milliseconds((pacedBytes_ * 1000 + bytesPerSecond_ - 1) / bytesPerSecond_);
    }
    if (nextChunk_ && trouble_.chunkBytes > 0) due = std::max(due, *nextChunk_);
    return due;
}

}  // namespace postkite::practice
