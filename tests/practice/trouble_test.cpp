#include "practice/trouble.h"

#include <gtest/gtest.h>

#include "practice/built_in_set.h"
#include "tests/practice/practised_call.h"

namespace postkite::practice {
namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

/// All that comes out of a line, and when the last of it came.
std::string TakeAll(TelephoneLine& line, milliseconds& now) {
    std::string all;
    while (const auto next = line.nextEvent()) {
        now = std::max(now, *next);
        all += line.Take(now);
    }
    return all;
}

const std::string kText(5000, 'm');

TEST(TelephoneLine, GarblesTheSameWayForTheSameSeed) {
    Trouble trouble;
    trouble.noisePerMille = 100;
    trouble.seed = 7;
    const auto garbled = [&trouble](std::uint32_t call, std::size_t piece) {
        TelephoneLine line(trouble, 0, call);
        milliseconds now{0};
        std::string all;
        for (std::size_t i = 0; i < kText.size(); i += piece) {
            line.Put(std::string_view(kText).substr(i, piece));
            all += TakeAll(line, now);
        }
        return all;
    };
    const std::string first = garbled(1, 5000);
    EXPECT_GT(first.size(), 5300u);
    EXPECT_LT(first.size(), 5700u);
    EXPECT_EQ(garbled(1, 1), first);
    EXPECT_NE(garbled(2, 5000), first);
    trouble.seed = 8;
    EXPECT_NE(garbled(1, 5000), first);
}

TEST(TelephoneLine, DropsFallsSilentAndGarblesAtTheByte) {
    Trouble trouble;
    trouble.silentAfterBytes = 3;
    trouble.dropAfterBytes = 5;
    TelephoneLine line(trouble, 0, 1);
    milliseconds now{0};
    line.Put("abcd");
    EXPECT_FALSE(line.dropped());
    EXPECT_EQ(TakeAll(line, now), "abc");
    line.Put("efg");
    EXPECT_TRUE(line.dropped());
    EXPECT_EQ(TakeAll(line, now), "");
    Trouble other;
    other.garbledByte = 6;
    TelephoneLine garbled(other, 0, 1);
    garbled.Put("abcd");
    garbled.Put("efghf");
    const std::string arrived = TakeAll(garbled, now);
    EXPECT_NE(arrived.at(5), 'f');
    EXPECT_EQ(std::string(arrived).replace(5, 1, "f"), "abcdefghf");
}

TEST(TelephoneLine, KeepsItsSpeedAndItsPieces) {
    TelephoneLine slow(Trouble{}, 1200, 1);
    milliseconds now{1000};
    slow.Put(std::string(120, 's'));
    EXPECT_EQ(slow.Take(now).size(), 1u);
    EXPECT_EQ(slow.Take(now + 500ms).size(), 60u);
    now += 500ms;
    EXPECT_EQ(TakeAll(slow, now).size(), 59u);
    EXPECT_NEAR(static_cast<double>((now - 1000ms).count()), 1000.0, 20.0);
    // An hour of silence is no credit.
    now += 1h;
    EXPECT_EQ(slow.Take(now), "");
    slow.Put(std::string(120, 's'));
    EXPECT_EQ(slow.Take(now + 1ms).size(), 1u);

    Trouble pieces;
    pieces.chunkBytes = 3;
    TelephoneLine line(pieces, 0, 1);
    line.Put("abcdefgh");
    EXPECT_EQ(line.Take(0ms), "abc");
    EXPECT_EQ(line.Take(TelephoneLine::kChunkTime - 1ms), "");
    EXPECT_EQ(line.Take(TelephoneLine::kChunkTime), "def");
    EXPECT_EQ(line.nextEvent(), 2 * TelephoneLine::kChunkTime);
}

TEST(Trouble, MakesCallsFail) {
    BuiltInSet holdings;
    HostOptions options;
    options.trouble.busyCalls = 2;
    PractisedCall busy(holdings, options);
    for (int i = 0; i < 2; ++i) {
        busy.Client("ATDT1\r");
        busy.Host("BUSY\r\n");
        busy.Client("ATH\r\n");
    }
    busy.host.Disconnect();
    busy.host.Connect(busy.now);  // the count is of calls, not of clients
    busy.Client("ATDT1\r");
    busy.Host("CONNECT 14400\r\n");

    options.trouble = {};
    options.trouble.noCarrier = true;
    PractisedCall noCarrier(holdings, options);
    noCarrier.Client("ATDT1\r");
    noCarrier.Host("NO CARRIER\r\n");
    options.trouble.noDialtone = true;
    PractisedCall noDialtone(holdings, options);
    noDialtone.Client("ATDT1\r");
    noDialtone.Host("NO DIALTONE\r\n");
}

TEST(Trouble, EndsCallsAtEveryByte) {
    BuiltInSet holdings;
    PractisedCall whole(holdings);
    const auto dial = [](PractisedCall& call) {
        call.Client("ATE0DT1\r");
        call.Client("@P\r");
        std::string all = call.heard;
        call.Client("C NIF\r");
        return all + call.heard;
    };
    const std::string spoken = dial(whole);
    for (std::size_t bytes = 1; bytes < spoken.size(); ++bytes) {
        HostOptions options;
        options.trouble.dropAfterBytes = bytes;
        PractisedCall dropped(holdings, options);
        const std::string part = dial(dropped);
        EXPECT_TRUE(part.starts_with(spoken.substr(0, bytes) + "\r\nNO CARRIER\r\n")) << part;
        dropped.Client("ATH\r");
        dropped.Host("OK\r\n");
        options.trouble = {};
        options.trouble.silentAfterBytes = bytes;
        PractisedCall silent(holdings, options);
        EXPECT_EQ(dial(silent), spoken.substr(0, bytes));
        silent.Client("OFF\r");  // it still hears
        silent.Host("NO CARRIER\r\n");
    }
}

TEST(Trouble, AsksTheHostNameAgain) {
    BuiltInSet holdings;
    HostOptions options;
    options.trouble.askHostNameAgain = 2;
    PractisedCall call(holdings, options);
    call.Client("ATDT1\r");
    call.Client("@P\r");
    for (const char* line : {"\r", "\r", "C XYZ\r", "C NIF\r", "\r"}) {
        call.Client(line);
        call.Host("HOST NAME?\r\n*");
    }
    call.Client("\r");
    call.Host("Enter Connection-ID  --->");
}

}  // namespace
}  // namespace postkite::practice
