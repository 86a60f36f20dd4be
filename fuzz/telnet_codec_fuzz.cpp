// Any bytes as what a telnet peer sends: cut anywhere they give the same data and answers; two ends that answer each other fall
// silent; what is sent arrives as it was.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/telnet_codec.h"

namespace {

using postkite::core::TelnetCodec;

std::string Decode(TelnetCodec& codec, std::string bytes, std::string& answers) {
    bytes.resize(codec.Decode(bytes, answers));
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 4096) return 0;
    const std::size_t piece = 1 + data[0] % 8;
    const bool echoes = (data[0] & 8U) != 0;
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);

    TelnetCodec whole(echoes);
    std::string answers;
    const std::string text = Decode(whole, bytes, answers);
    TelnetCodec cut(echoes);
    std::string cutAnswers;
    std::string cutText;
    for (std::size_t at = 0; at < bytes.size(); at += piece)
        cutText += Decode(cut, bytes.substr(at, piece), cutAnswers);
    if (text != cutText || answers != cutAnswers || text.size() > bytes.size()) std::abort();
    // At most the answer to each option, and the wish for binary transmission.
    if (answers.size() > bytes.size() + 6) std::abort();

    TelnetCodec other(!echoes);
    std::string back;
    int rounds = 0;
    for (std::string toOther = answers; !toOther.empty(); ++rounds) {
        if (rounds == 32) std::abort();
        back.clear();
        static_cast<void>(Decode(other, toOther, back));
        toOther.clear();
        static_cast<void>(Decode(whole, back, toOther));
    }

    // Over a line that two new ends have agreed upon, or have not.
    TelnetCodec sender;
    TelnetCodec receiver;
    if ((data[0] & 16U) != 0) {
        std::string offer = receiver.Offer();
        for (bool toSender = true; !offer.empty(); toSender = !toSender) {
            back.clear();
            static_cast<void>(Decode(toSender ? sender : receiver, offer, back));
            offer.swap(back);
        }
    }
    std::string line;
    std::string none;
    for (std::size_t at = 0; at < bytes.size(); at += piece)
        sender.Encode(bytes.substr(at, piece), line);
    if (Decode(receiver, line, none) != bytes || !none.empty()) std::abort();
    return 0;
}
