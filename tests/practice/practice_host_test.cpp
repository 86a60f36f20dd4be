#include "practice/practice_host.h"

#include <gtest/gtest.h>

#include <random>

#include "practice/built_in_set.h"
#include "tests/practice/practised_call.h"

namespace postkite::practice {
namespace {

using namespace core::literals;
using namespace std::chrono_literals;

/// A built-in set that remembers what was uploaded.
class Remembering : public BuiltInSet {
  public:
    [[nodiscard]] int Keep(const Upload& upload) override {
        uploads.push_back(upload);
        return result;
    }
    std::vector<Upload> uploads;
    int result = 0;
};

class PracticeHostTest : public testing::Test {
  protected:
    Remembering holdings;
};

constexpr std::string_view kLongText = "本文 (3000行まで　終了は行頭で/E　修正編集は 300行迄です)\r\n"_sjis;
constexpr std::string_view kShortText = "本文（300 行まで　終了は行頭で/E）\r\n"_sjis;

TEST_F(PracticeHostTest, EveryRouteLeadsToTheHost) {
    struct Turn {
        std::string client;
        std::string host;
    };
    const std::pair<char, std::vector<Turn>> routes[] = {
        {'1', {{"\r\n", "Host Name: "}, {"NIFTY\r\n", "Enter Connection-ID  --->"}}},
        {'1', {{".00+\r", "Enter Connection-ID  --->"}}},
        {'2', {{"@P\r", "HOST NAME?\r\n*"}, {"C NIF\r", "Enter Connection-ID  --->"}}},
        {'3', {{"", "HOST NAME?\r\n*"}, {"c nif\r", "Enter Connection-ID  --->"}}},
        {'7',
         {{"", "Login: "},
          {"x\r", "Login: "},
          {"NIFTY\r", "Password: "},
          {"\r", "Enter Connection-ID  --->"}}},
    };
    for (const auto& [route, turns] : routes) {
        HostOptions options;
        options.route = route;
        PractisedCall call(holdings, options);
        call.Client("ATDT1\r");
        if (!turns.front().client.empty()) {
            call.Host("CONNECT 14400\r\n");
            call.Wait(10s);
            EXPECT_EQ(call.heard, "") << "route " << route << " waits for the client";
        }
        for (const Turn& turn : turns) {
            if (!turn.client.empty()) call.Client(turn.client);
            call.Host(turn.host);
        }
    }
}

TEST_F(PracticeHostTest, LetsOnlyTheAccountIn) {
    HostOptions options;
    options.modem = false;
    options.route = '1';
    options.account = {"PKT00099", "Himitsu"};
    PractisedCall call(holdings, options);
    call.Client("NIFTY\r");
    call.Client("XYZ\r");
    call.Host("Enter Connection-ID  --->");
    call.Client("svc\r");
    call.Client("PKT00001\r");
    call.Client("Himitsu\r");
    EXPECT_EQ(call.heard.find("Himitsu"), std::string::npos);
    call.Host("Enter User-ID  --->");
    EXPECT_FALSE(call.host.hungUp());
    call.Client("pkt00099\r");
    call.Client("himitsu\r");
    EXPECT_TRUE(call.host.hungUp());
    call.host.Connect(call.now);
    for (const char* line : {"NIFTY\r", "SVC\r", "pkt00099\r", "Himitsu\r"}) {
        call.Client(line);
    }
    call.Host("番号またはコマンド (改行でトップメニュー)\r\n＞"_sjis);
}

TEST_F(PracticeHostTest, MailIsReadAndDeleted) {
    PractisedCall call(holdings);
    call.GoToMail();
    call.Client("READ ALL\r");
    EXPECT_TRUE(call.heard.starts_with("READ ALL\r\n  1 ")) << PractisedCall::Shown(call.heard);
    const std::size_t mails = holdings.Mails().size();
    for (std::size_t i = 1; i < mails; ++i) {
        call.Host("\r\naction:");
        call.Client("DELETE\r");
        EXPECT_TRUE(call.heard.starts_with(std::string("DELETE\r\n削除しました。\r\n"_sjis)));
    }
    call.Host("\r\naction:");
    call.Client("nonsense\r");
    call.Host("コマンドが違います。\r\naction:"_sjis);
    call.Client("E\r");
    call.Host("MAIL>");
    EXPECT_EQ(holdings.Mails().size(), 1u);
    call.Client("read 1\r");
    call.Client("delete\r");
    call.Client("READ ALL\r");
    EXPECT_EQ(call.heard, "READ ALL\r\n" + std::string("－あなた宛のメールはありません－\r\nMAIL>"_sjis));
}

TEST_F(PracticeHostTest, MenusAndPagesAskWhatProgramsAnswer) {
    PractisedCall call(holdings);
    call.LogIn();
    call.Client("SET MENU ON\r");
    call.Client("1\r");
    call.Host("電子メール（1:受信　2:送信　3:送信簿　0:その他　E:終了）\r\n＞"_sjis);
    call.Client("1\r");
    call.Host("受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)\r\n："_sjis);
    call.Client("7\r");
    call.Host(
        "コマンドが違います。\r\n受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)\r\n："_sjis);
    call.Client("E\r");
    call.Client("SET PAGE ON\r");
    for (int i = 0; i < 30; ++i) {
        call.Client("COM\r");
        call.Host(kShortText);
        call.Client("TO:A\rSUB:b\r/E\r");
    }
    call.Client("3\r");
    call.Host("続き (改行で表示　E:終了)\r\n＞"_sjis);
    call.Client("\r");
    call.Host("  A  b\r\n" +
              std::string("電子メール（1:受信　2:送信　3:送信簿　0:その他　E:終了）\r\n＞"_sjis));
    call.Client("3\r");
    call.Client("E\r");
    EXPECT_EQ(call.heard,
              "E\r\n" + std::string("電子メール（1:受信　2:送信　3:送信簿　0:その他　E:終了）\r\n＞"_sjis));
    call.Client("SET MENU OFF\r");
    call.Host("MAIL>");
}

TEST_F(PracticeHostTest, UploadsBecomeLinesAsTheyCame) {
    PractisedCall call(holdings);
    call.GoToMail();
    call.Client("KITE\r");
    call.Host("MAIL>");
    call.Client("COM\r");
    call.Host(kLongText);
    call.Client("TO:INET:a@b.example\rTO:PKT00001\rSUB:" + std::string("能力"_sjis) + "\r");
    call.Client("GO MAIL\r");
    call.Client("OFF\r");  // a line of the text, since another follows
    call.Client("\r+++\r\r/POST\r");
    call.Host("MAIL>");
    ASSERT_EQ(holdings.uploads.size(), 1u);
    EXPECT_EQ(holdings.uploads[0].service, "MAIL");
    EXPECT_EQ(holdings.uploads[0].userId, "PKT00099");
    EXPECT_EQ(holdings.uploads[0].text,
              "TO:INET:a@b.example\r\nTO:PKT00001\r\nSUB:" + std::string("能力"_sjis) +
                  "\r\nGO MAIL\r\nOFF\r\n\r\n+++\r\n\r\n");
    call.Client("SDL\r");
    call.Host("97/01/24 08:05  INET:a@b.example  " + std::string("能力\r\nMAIL>"_sjis));
    holdings.result = -ENOSPC;
    call.Client("COM\rTO:A\r/e\r");
    call.Host("登録できませんでした。\r\nMAIL>"_sjis);
}

TEST_F(PracticeHostTest, ForumTakesMessagesAndMail) {
    PractisedCall call(holdings);
    call.GoToRoom("FSORA", "mes 1");
    call.Client("COM\r");
    call.Host(kShortText);
    call.Client("SUB:s\rRE:013\rbody\r\r\r/POST\r");
    call.Host("\r\nCCS(N)>");
    call.Client("P\r");
    call.Host("CCS(P)>");
    call.Client("mes 2\r");
    call.Host("CCS(N)>");
    call.Client("E\r");
    call.Host("FORUM>");
    call.Client("SMAIL\r");
    call.Host(kLongText);
    call.Client("TO:PKT00001\rSUB:x\r/POST\r");
    call.Host("FORUM>");
    ASSERT_EQ(holdings.uploads.size(), 2u);
    EXPECT_EQ(holdings.uploads[0].service, "FSORA MES 1");
    EXPECT_EQ(holdings.uploads[0].text, "SUB:s\r\nRE:013\r\nbody\r\n\r\n\r\n");
    EXPECT_EQ(holdings.uploads[1].service, "FSORA SMAIL");
    call.Client("go fumibe\r");  // another forum begins with its menu again
    call.Host("E:終了\r\n＞"_sjis);
    call.Client("GO NOWHERE\r");
    call.Host(
        "該当するサービスはありません。\r\nMES n:会議室  LIB n:データライブラリ  SMAIL:運営者へ  E:終了\r\n＞"_sjis);
}

TEST_F(PracticeHostTest, LibraryGoesAsFarAsTheTransfer) {
    PractisedCall call(holdings);
    call.GoToRoom("FSORA", "MES 1");
    call.Client("LIB 1\r");
    call.Host("LIB>");
    call.Client("SCA DATE:960101\r");
    EXPECT_EQ(call.heard.find("TAKO.LZH"), std::string::npos);
    EXPECT_NE(call.heard.find("KAZE96.LZH"), std::string::npos);
    call.Host("LIB>");
    call.Client("DOW 99 PROT:BPL\r");
    call.Host("LIB>");
    call.Client("DOW 3 PROT:BPL\r");
    call.Host("項目 (1:OK  2:NG  E:終了)\r\n："_sjis);
    call.Client("1\r");
    call.Client("down\\ITO.LZH\r");
    call.Host("\x05");
    call.Client("\r");
    call.Host("LIB>");
}

TEST_F(PracticeHostTest, OffEndsTheCallInTheMiddleOfAnything) {
    const std::vector<std::vector<std::string>> places = {
        {},
        {"@P\r"},
        {"@P\r", "C NIF\r"},
        {"@P\r", "C NIF\r", "SVC\r", "A\r"},
        {"@P\r", "C NIF\r", "SVC\r", "A\r", "B\r"},
        {"@P\r", "C NIF\r", "SVC\r", "A\r", "B\r", "GO MAIL\r", "READ ALL\r"},
        {"@P\r", "C NIF\r", "SVC\r", "A\r", "B\r", "GO MAIL\r", "COM\r", "TO:A\r"},
        {"@P\r", "C NIF\r", "SVC\r", "A\r", "B\r", "GO FSORA\r", "MES 1\r", "MRE\r"},
        {"@P\r", "C NIF\r", "SVC\r", "A\r", "B\r", "GO FSORA\r", "LIB 1\r", "DOW 1\r", "1\r", "x\r"},
    };
    for (const bool textWaits : {false, true}) {
        for (const auto& place : places) {
            PractisedCall call(holdings);
            call.Client("ATDT1\r");
            for (const std::string& line : place) {
                call.Client(line);
            }
            call.Client("OFF\r");
            const bool writes = call.host.nextEvent() && !call.heard.ends_with("NO CARRIER\r\n");
            if (writes) textWaits ? call.Wait(HostSession::kOffTime) : call.Client("+++");
            call.Host("ご利用ありがとうございました。\r\n\r\nNO CARRIER\r\n"_sjis);
            call.Client("+++");
            call.Client("ATH\r");
            call.Host("OK\r\n");
            EXPECT_TRUE(holdings.uploads.empty());
        }
    }
}

TEST_F(PracticeHostTest, FeedingByByteChangesNothing) {
    const std::string typed =
        "ATE1DT1\r|@P\rC NIF\rSVC\rA\rB\rSET MENU OFF\rSET PAGE OFF\rGO MAIL\rREAD "
        "ALL\rDELETE\r\rE\rKITE\rCOM\r"
        "TO:A\rSUB:B\b\bC\rOFF\rtext\r/POST\rGO FSORA\rMES1\rMRE\rMES2\rMRE\rCOM\r/E\rOFF\r";
    std::string whole[2];
    for (const bool byByte : {false, true}) {
        Remembering set;
        PractisedCall call(set);
        std::string line;
        for (const char byte : typed) {
            line += byte == '|' ? '\n' : byte;
            if (!byByte && byte != '\r' && byte != '|') continue;
            call.Client(line);
            line.clear();
            whole[byByte] += call.heard;
        }
        ASSERT_EQ(set.uploads.size(), 2u);
        EXPECT_EQ(set.uploads[0].text, "TO:A\r\nSUBC\r\nOFF\r\ntext\r\n");
    }
    EXPECT_EQ(whole[0], whole[1]);
}

TEST_F(PracticeHostTest, BearsNoiseAndTypingAhead) {
    HostOptions options;
    options.modem = false;
    options.route = '1';
    std::mt19937 chance(1);
    for (int round = 0; round < 8; ++round) {
        PractisedCall call(holdings, options);
        for (const char* line :
             {"NIFTY\r", "SVC\r", "A\r", "B\r", "GO MAIL\r", round % 2 == 0 ? "COM\r" : "KITE\r"}) {
            call.Client(line);
        }
        std::string noise(20000, '\0');
        for (char& byte : noise) {
            byte = static_cast<char>(chance() % (round < 4 ? 256 : 32));
        }
        call.Client(noise);
        call.Client("\r/E\rTOP\r" + std::string(40000, 'x') + "\r");
        EXPECT_LE(call.heard.size(), Keyboard::kLongestLine + 1000);
        call.Client("OFF\r");
        EXPECT_TRUE(call.host.hungUp());
    }
    // A client that types and never reads is not read from either, but its OFF is heard.
    PractisedCall deaf(holdings, options);
    for (const char* line : {"NIFTY\r", "SVC\r", "A\r", "B\r", "SET PAGE OFF\r", "GO MAIL\r"}) {
        deaf.Client(line);
    }
    for (int i = 0; i < 10000 && deaf.host.takesInput(); ++i) {
        deaf.host.Receive("READ ALL\rE\r", deaf.now);
    }
    EXPECT_FALSE(deaf.host.takesInput());
    deaf.host.Receive("\roff\r", deaf.now);
    deaf.Listen();
    EXPECT_LT(deaf.heard.size(), 1000u);
    EXPECT_TRUE(deaf.host.hungUp());
}

TEST_F(PracticeHostTest, EndsAnIdleCallAndBeginsAnew) {
    PractisedCall call(holdings);
    call.GoToMail();
    call.Wait(HostSession::kIdleTime);
    call.Host("ご利用ありがとうございました。\r\n\r\nNO CARRIER\r\n"_sjis);
    call.GoToMail();
    call.host.Disconnect();
    call.host.Connect(call.now);
    EXPECT_FALSE(call.host.nextEvent());
    EXPECT_FALSE(call.host.wasUsed());
    call.GoToMail();
}

}  // namespace
}  // namespace postkite::practice
