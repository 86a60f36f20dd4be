#include "comm/receive_ring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "core/shift_jis.h"

namespace postkite::comm {
namespace {

using namespace core::literals;

TEST(ReceiveRingTest, OnlyTheEndOfWhatArrivedMatches) {
    ReceiveRing ring;
    ring.RingAppend("\r\nMA");
    ring.RingAppend("IL> ");
    EXPECT_EQ(ring.RingEndsWith("MAIL>"), -1) << "a blank follows";
    EXPECT_EQ(ring.RingEndsWith("mail> "), -1);
    EXPECT_EQ(ring.LastByte(), ' ') << "a mismatch leaves the ring alone";
    EXPECT_EQ(ring.RingEndsWith("MAIL> "), 0);
    EXPECT_EQ(ring.LastByte(), '\0');
    EXPECT_EQ(ring.RingEndsWith("MAIL> "), -1) << "a match clears the ring";
    ring.RingAppend("OK");
    ring.RingClear();
    EXPECT_EQ(ring.RingEndsWith("OK"), -1);
    EXPECT_EQ(ring.RingEndsWith(""), 0) << "nothing is waited for";
}

// Whatever the pieces, the ring is what storing byte by byte makes of them.
TEST(ReceiveRingTest, WrapsAndKeepsTheLast256Bytes) {
    std::string sent;
    for (int i = 0; i < 1000; ++i)
        sent += static_cast<char>('A' + i * 7 % 53);
    for (const std::size_t piece : {1U, 3U, 100U, 255U, 256U, 257U, 700U}) {
        ReceiveRing ring;
        std::size_t done = 0;
        while (done < sent.size()) {
            ring.RingAppend(std::string_view(sent).substr(done, piece));
            done = std::min(done + piece, sent.size());
            EXPECT_EQ(ring.LastByte(), sent[done - 1]);
        }
        std::string wrong = sent.substr(sent.size() - 256);
        wrong[0] = '#';
        EXPECT_EQ(ring.RingEndsWith(wrong), -1) << piece;
        EXPECT_EQ(ring.RingEndsWith(sent.substr(sent.size() - 256)), 0) << piece;
    }
}

TEST(ReceiveRingTest, ATextLongerThanTheRingNeverMatches) {
    ReceiveRing ring;
    ring.RingAppend(std::string(300, 'x'));
    EXPECT_EQ(ring.RingEndsWith(std::string(257, 'x')), -1);
    EXPECT_EQ(ring.RingEndsWith(std::string(256, 'x')), 0);
}

TEST(ReceiveRingTest, SearchesReadFromTheFirstByteOn) {
    ReceiveRing ring;
    EXPECT_EQ(ring.RingCheckConnect(), 1);
    ring.RingAppend("ATDT\r\nCONNECT 33600\r\n");
    EXPECT_EQ(ring.RingCheckConnect(), 0);
    EXPECT_EQ(ring.RingHasNoUnreadMail(), 0);
    ring.RingClear();
    // Across the place where the ring wraps the text is cut: first "NECT", at the end "CON".
    ring.RingAppend(std::string(253, '.') + "CONNECT");
    EXPECT_EQ(ring.RingCheckConnect(), 1);
    EXPECT_EQ(ring.RingEndsWith("CONNECT"), 0) << "the tail match follows the wrap";
    // In a full ring without a zero byte the search ends where the ring does.
    ring.RingAppend(std::string(249, '.') + "CONNECT");
    EXPECT_EQ(ring.RingCheckConnect(), 0);
    ring.RingClear();
    ring.RingAppend("(1) "_sjis);
    ring.RingAppend("未読メールはありません。\r\n"_sjis);
    EXPECT_EQ(ring.RingHasNoUnreadMail(), 1);
    EXPECT_EQ(ring.RingCheckConnect(), 1);
}

}  // namespace
}  // namespace postkite::comm
