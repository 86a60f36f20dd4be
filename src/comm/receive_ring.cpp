#include "comm/receive_ring.h"

#include <algorithm>

#include "core/shift_jis.h"

namespace postkite::comm {

using namespace core::literals;

void ReceiveRing::RingAppend(std::string_view text) {
    // Of a longer text only the last bytes stay, at the places where they would have come.
    if (text.size() > kBytes) {
        index_ = (index_ + text.size() - kBytes) % kBytes;
        text.remove_prefix(text.size() - kBytes);
    }
    const std::size_t first = std::min(text.size(), kBytes - index_);
    text.copy(bytes_.data() + index_, first);
    text.substr(first).copy(bytes_.data(), kBytes);
    index_ = (index_ + text.size()) % kBytes;
}

int ReceiveRing::RingEndsWith(std::string_view text) {
    if (text.size() > kBytes) return -1;
    std::size_t index = index_;
    for (auto byte = text.rbegin(); byte != text.rend(); ++byte) {
        index = (index + kBytes - 1) % kBytes;
        if (bytes_[index] != *byte) return -1;
    }
    RingClear();
    return 0;
}

char ReceiveRing::LastByte() const {
    return bytes_[(index_ + kBytes - 1) % kBytes];
}

void ReceiveRing::RingClear() {
    bytes_.fill(0);
    index_ = 0;
}

int ReceiveRing::RingCheckConnect() const {
    return Holds("CONNECT") ? 0 : 1;
}

int ReceiveRing::RingHasNoUnreadMail() const {
    return Holds("未読メールはありません"_sjis) ? 1 : 0;
}

/// Byte by byte: the ring may begin within a character.
bool ReceiveRing::Holds(std::string_view text) const {
    const std::string_view ring(bytes_.data(), bytes_.size());
    return ring.substr(0, ring.find('\0')).find(text) != std::string_view::npos;
}

}  // namespace postkite::comm
