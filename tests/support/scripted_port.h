#pragma once

#include <cerrno>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "comm/serial_port.h"
#include "core/shift_jis.h"

namespace postkite::support {

/// A modem and a host that wait for the texts they are given, in order, and answer each.
class ScriptedPort final : public comm::SerialPort {
  public:
    void Expect(std::string_view client, std::string_view answer) { turns_.emplace_back(client, answer); }

    /// Forgets what was said and what should have been.
    void Reset() {
        turns_.clear();
        heard_.clear();
        toClient_.clear();
    }

    /// A connection over route 2 with the built-in script, up to the mail prompt.
    void ExpectLogIn(std::string_view user) {
        using core::literals::operator""_sjis;
        Expect("ATQ0V1E1", "");
        Expect("\r\n", "OK\r\n");
        Expect("ATDT", "");
        Expect("\r", "CONNECT\r\n");
        Expect("@P\r", "HOST NAME?\r\n*");
        Expect("C NIF\r", "Enter Connection-ID  --->");
        Expect("SVC\r", "Enter User-ID  --->");
        Expect(std::string(user) + "\r", "Enter Password --->");
        Expect("\r", "\r\n＞"_sjis);
        Expect("SET MENU OFF\r", "\r\n＞"_sjis);
        Expect("SET PAGE OFF\r", "\r\n＞"_sjis);
        Expect("GO MAIL\r", "MAIL>");
        Expect("KITE\r", "MAIL>");
    }

    /// A mail of the queue, as the host hears it: the header and the message file with CR at the line ends.
    void ExpectMail(std::string_view text) {
        using core::literals::operator""_sjis;
        Expect("COM\r", "本文 (3000行まで　終了は行頭で/E　修正編集は 300行迄です)\r\n"_sjis);
        Expect(text, "MAIL>");
    }

    /// The log-in, `listing` for READ ALL, the log-off.
    void ExpectReceiving(std::string_view user, std::string_view listing) {
        ExpectLogIn(user);
        Expect("READ ALL\r", listing);
        Expect("OFF\r", "");
    }

    /// What has been sent since the last text that was waited for.
    [[nodiscard]] const std::string& unexpected() const { return heard_; }
    /// How many of the texts are still waited for.
    [[nodiscard]] std::size_t left() const { return turns_.size(); }
    /// The text that is waited for now.
    [[nodiscard]] std::string_view next() const {
        return turns_.empty() ? std::string_view() : std::string_view(turns_.front().first);
    }

    int openError = 0;  ///< a negated errno value
    bool open = false;
    std::string device;

    [[nodiscard]] int Open(const std::string& name, int) override {
        device = name;
        open = openError == 0;
        return openError;
    }
    void Close() override { open = false; }
    [[nodiscard]] std::int64_t Read(std::span<char> buffer) override {
        const std::size_t count = toClient_.copy(buffer.data(), buffer.size());
        toClient_.erase(0, count);
        return static_cast<std::int64_t>(count);
    }
    [[nodiscard]] int Write(std::string_view bytes) override {
        if (!open) return -EBADF;
        heard_ += bytes;
        while (!turns_.empty()) {
            const std::size_t at = heard_.find(turns_.front().first);
            if (at == std::string::npos) break;
            heard_.erase(0, at + turns_.front().first.size());
            toClient_ += turns_.front().second;
            turns_.pop_front();
        }
        return 0;
    }
    [[nodiscard]] std::size_t WaitingBytes() override { return 0; }

  private:
    std::deque<std::pair<std::string, std::string>> turns_;
    std::string heard_;
    std::string toClient_;
};

/// The header line by which the host opens a mail.
inline std::string MailHeaderLine() {
    return "  1 YAMADA TARO       ABC01234          97/01/23 12:34\r\n";
}

}  // namespace postkite::support
