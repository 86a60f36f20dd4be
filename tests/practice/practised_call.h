#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>

#include "core/shift_jis.h"
#include "practice/practice_host.h"
#include "tests/support/fixed_clock.h"

namespace postkite::practice {

/// A client at the practice host, in a time of its own. `Client` sends and `Host` says how all ends that came
/// back; what came in between is in `heard`.
class PractisedCall {
  public:
    explicit PractisedCall(Holdings& holdings, HostOptions options = {}) : host(options, holdings, clock) {
        host.Connect(now);
    }

    /// Sends, then listens until the host has said what it has to say by now.
    void Client(std::string_view bytes) {
        host.Receive(bytes, now);
        Listen();
    }

    void Listen() {
        heard.clear();
        while (true) {
            const std::string output = host.Output(now);
            if (!output.empty()) {
                heard += output;
                continue;
            }
            const auto next = host.nextEvent();
            if (!next || *next > now + std::chrono::milliseconds(500)) return;
            now = std::max(now, *next);
            host.Advance(now);
        }
    }

    void Wait(std::chrono::milliseconds time) {
        now += time;
        host.Advance(now);
        Listen();
    }

    /// That what was heard ends with `text`.
    void Host(std::string_view text) {
        EXPECT_TRUE(heard.ends_with(text)) << "wanted " << Shown(text) << "\nheard  " << Shown(heard);
    }

    /// Dials and goes through the log-in of route 2, up to the prompt of the top menu.
    void LogIn() {
        using namespace core::literals;
        Client("ATQ0V1E1M1\r\n");
        Host("\r\nOK\r\n");
        Client("ATDT0,0312345678\r");
        Host("\r\nCONNECT 14400\r\n");
        Client("@P\r");
        Host("HOST NAME?\r\n*");
        Client("C NIF\r");
        Host("Enter Connection-ID  --->");
        Client("SVC\r");
        Host("Enter User-ID  --->");
        Client("PKT00099\r");
        Host("Enter Password --->");
        Client("himitsu\r");
        Host("番号またはコマンド (改行でトップメニュー)\r\n＞"_sjis);
        Client("SET MENU OFF\r");
        Host("\r\n＞"_sjis);
        Client("SET PAGE OFF\r");
        Host("\r\n＞"_sjis);
    }

    void GoToMail() {
        LogIn();
        Client("GO MAIL\r");
        Host("MAIL>");
    }

    /// As the script goes to a room of a forum.
    void GoToRoom(std::string_view forum, std::string_view room) {
        using namespace core::literals;
        LogIn();
        Client("GO " + std::string(forum) + "\r");
        Host("E:終了\r\n＞"_sjis);
        for (const char* line : {"SET MENU OFF\r", "SET PAGE OFF\r", "SET DLM ON\r"}) {
            Client(line);
            Host("FORUM>");
        }
        Client(std::string(room) + "\r");
        Host("CCS(N)>");
    }

    static std::string Shown(std::string_view text) {
        const std::u8string utf8 = core::ToShownUtf8(text);
        return {utf8.begin(), utf8.end()};
    }

    support::FixedClock clock;
    std::chrono::milliseconds now{1000};
    PracticeHost host;
    std::string heard;
};

}  // namespace postkite::practice
