#include "practice/modem.h"

#include <gtest/gtest.h>

#include "practice/built_in_set.h"
#include "tests/support/fixed_clock.h"

namespace postkite::practice {
namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

class ModemTest : public testing::Test {
  protected:
    /// What the modem says to `bytes`; counts the data among them.
    std::string Say(std::string_view bytes) {
        for (const char byte : bytes) {
            const Modem::Event event = modem.Hear(byte, now);
            if (event == Modem::Event::Data) ++dataBytes;
            if (event == Modem::Event::Dialled) modem.SetCallResult(result);
        }
        return modem.TakeOutput();
    }

    std::string Wait(milliseconds time) {
        now += time;
        connected = modem.Advance(now) == Modem::Event::Connected;
        return modem.TakeOutput();
    }

    void Connect() {
        result = DialResult::Connect;
        static_cast<void>(Say("ATE0\rATDT1\r"));
        ASSERT_EQ(Wait(Modem::kDialTime), "\r\nCONNECT 14400\r\n");
        ASSERT_TRUE(connected);
    }

    BuiltInSet holdings;
    support::FixedClock clock;
    Transcript transcript{holdings, clock};
    Modem modem{transcript, 0};
    milliseconds now{5000};
    DialResult result = DialResult::Connect;
    int dataBytes = 0;
    bool connected = false;
};

TEST_F(ModemTest, EchoesAndAnswers) {
    struct Case {
        std::string sent;
        std::string answer;
    };
    const Case cases[] = {
        {"ATQ0V1E1\r", "ATQ0V1E1\r\r\nOK\r\n"},
        {"\n", ""},    // belongs to the CR in front
        {"\n", "\n"},  // alone it is a key like any other
        {"ATQ0V1E1M1\r\n", "ATQ0V1E1M1\r\r\nOK\r\n"},
        {"at&f&c1 \\n3 %c1 x4 l2 m0\r", "at&f&c1 \\n3 %c1 x4 l2 m0\r\r\nOK\r\n"},
        {"A/", "A/\r\nOK\r\n"},
        {"\x81\xFE+++ATH\r", "\x81\xFE+++ATH\r\r\nOK\r\n"},
        {"AAT\r", "AAT\r\r\nOK\r\n"},
        {"hello\r", "hello\r"},
        {"ATY\r", "ATY\r\r\nERROR\r\n"},
        {"ATE2\r", "ATE2\r\r\nERROR\r\n"},
        {"ATE1\b0\r", "ATE1\b0\r\r\nOK\r\n"},
        {"ATS12?\r", "\r\n050\r\n\r\nOK\r\n"},
        {"ATS12=20S12?\r", "\r\n020\r\n\r\nOK\r\n"},
        {"ATS99=1\r", "\r\nERROR\r\n"},
        {"ATS2=256\r", "\r\nERROR\r\n"},
        {"ATO\r", "\r\nNO CARRIER\r\n"},
        {"ATD\r", "\r\nNO CARRIER\r\n"},
        {"AT" + std::string(300, 'H') + "\r", "\r\nERROR\r\n"},
        {"ATV0\r", "0\r"},
        {"ATY\r", "4\r"},
        {"ATQ1\r", ""},
        {"ATY\r", ""},
        {"ATZ\r", "\r\nOK\r\n"},
        {"ATV1\r", "ATV1\r\r\nOK\r\n"},
    };
    for (const Case& line : cases) {
        EXPECT_EQ(Say(line.sent), line.answer) << line.sent;
    }
    EXPECT_EQ(Say("ATL3M2\r"), "ATL3M2\r\r\nOK\r\n");
    modem.EchoLateLineFeeds(true);
    EXPECT_EQ(Say("ATQ0V1E1\r\n"), "ATQ0V1E1\r\r\nOK\r\n\n");
    EXPECT_EQ(Say("ATQ0V1E0\r\n"), "ATQ0V1E0\r\r\nOK\r\n");
    EXPECT_EQ(Say("ATE1\r"), "\r\nOK\r\n");
    EXPECT_EQ(modem.volume(), 3);
    EXPECT_EQ(modem.speaker(), 2);
}

TEST_F(ModemTest, DialsWithEveryResult) {
    const std::pair<DialResult, std::string> results[] = {{DialResult::Busy, "\r\nBUSY\r\n"},
                                                          {DialResult::NoCarrier, "\r\nNO CARRIER\r\n"},
                                                          {DialResult::NoDialtone, "\r\nNO DIALTONE\r\n"}};
    for (const auto& [expected, code] : results) {
        result = expected;
        EXPECT_EQ(Say("ATDP0,03-1234-5678\r\n"), "ATDP0,03-1234-5678\r");
        EXPECT_EQ(Wait(Modem::kDialTime - 1ms), "");
        EXPECT_EQ(Wait(1ms), code);
        EXPECT_FALSE(modem.hasCarrier());
        EXPECT_EQ(Say("ATH\r\n"), "ATH\r\r\nOK\r\n");
    }
    result = DialResult::Connect;
    static_cast<void>(Say("ATDT1\r"));
    EXPECT_EQ(Say("x"), "\r\nNO CARRIER\r\n");  // a key gives the call up
    EXPECT_EQ(Wait(1s), "");
    static_cast<void>(Say("ATX0DT1\r"));
    EXPECT_EQ(Wait(1s), "\r\nCONNECT\r\n");
    EXPECT_TRUE(modem.passesData());
}

TEST_F(ModemTest, EscapesOnlyBetweenTwoSilences) {
    Connect();
    EXPECT_EQ(Say("abc+++"), "");
    EXPECT_EQ(Wait(2s), "");  // no silence in front
    EXPECT_EQ(Say("+++"), "");
    EXPECT_EQ(Wait(500ms), "");
    EXPECT_EQ(Say("x"), "");
    EXPECT_EQ(Wait(2s), "");  // none behind
    EXPECT_EQ(Say("++++"), "");
    EXPECT_EQ(Wait(2s), "");  // one too many
    EXPECT_EQ(dataBytes, 14);
    EXPECT_TRUE(modem.passesData());
    EXPECT_EQ(Say("+"), "");
    now += 300ms;
    EXPECT_EQ(Say("++"), "");
    EXPECT_EQ(modem.nextEvent(), now + 1s);
    EXPECT_EQ(Wait(1s), "\r\nOK\r\n");
    EXPECT_TRUE(modem.hasCarrier());
    EXPECT_FALSE(modem.passesData());
    EXPECT_EQ(Say("ATO\r"), "\r\nCONNECT 14400\r\n");
    EXPECT_TRUE(modem.passesData());
    EXPECT_EQ(Wait(2s), "");
    EXPECT_EQ(Say("+++"), "");
    EXPECT_EQ(Wait(1s), "\r\nOK\r\n");
    EXPECT_EQ(Say("ATH\r"), "\r\nOK\r\n");
    EXPECT_FALSE(modem.hasCarrier());
}

TEST_F(ModemTest, TellsOfALostCarrier) {
    Connect();
    modem.LoseCarrier();
    EXPECT_EQ(modem.TakeOutput(), "\r\nNO CARRIER\r\n");
    modem.LoseCarrier();
    EXPECT_EQ(modem.TakeOutput(), "");
    EXPECT_EQ(Say("+++ATH\r"), "\r\nOK\r\n");  // what scripts send behind OFF
}

}  // namespace
}  // namespace postkite::practice
