#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "comm/interpreter.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/shift_jis.h"

/// From the modem's set-up to the host's top menu, and the session log.
namespace postkite::comm {

using namespace core::literals;

namespace {

constexpr std::string_view kUsualModemCommand = "ATQ0V1E1";

constexpr std::int32_t kSecondsForModem = 2;
constexpr std::int32_t kSecondsForDialling = 40;
constexpr std::int32_t kSecondsForNetwork = 15;
constexpr std::int32_t kSecondsForRoute = 20;
constexpr std::int32_t kSecondsForHost = 60;
constexpr std::int32_t kSecondsMoreThanPause = 10;
/// Nearly two hours. A longer pause would take the wait counter through the value that means no time-out.
constexpr std::int32_t kLongestRedialSeconds = 6500;

constexpr int kHostNameLine = 17;
constexpr int kMostHostNameRetries = 4;

constexpr auto kConnectAnswers = std::to_array<std::string_view>(
    {"CONNECT\r\n", "CONNECT 1200\r\n", "CONNECT 2400\r\n", "CONNECT 9600\r\n", "CONNECT 14400\r\n"});
constexpr auto kBusyAnswers = std::to_array<std::string_view>({"BUSY\r\n", "NO CARRIER\r\n"});
constexpr auto kTopPrompts =
    std::to_array<std::string_view>({"番号またはコマンド (改行でトップメニュー)\r\n＞"_sjis, "\r\n＞"_sjis});

}  // namespace

int Interpreter::ModemInit(const ScriptFields&) {
    const std::string_view command = settings_->modemInitialCommand;
    Send(command.empty() ? kUsualModemCommand : command);
    if (settings_->speakerOn == 0) Send("M" + settings_->volume);
    Send("\r\n");
    SetTimeOut(kSecondsForModem);
    state_.modemAnswer.clear();
    state_.listedMails.clear();
    state_.deleteIndex = 0;
    state_.downIndex = 0;
    state_.currentForum.clear();
    state_.queueTarget = false;
    state_.target = {};
    // A modem that takes commands has no call.
    state_.callMayBeUp = false;
    state_.loggedOff = false;
    line_->mailCaptureArmed = false;
    line_->captures().switches.sessionLogging = true;
    Advance();
    return kSessionGoesOn;
}

int Interpreter::SendDial(const ScriptFields&) {
    Send(settings_->pbDp == "PB" ? "ATDT" : "ATDP");
    if (settings_->extensionDialling != 0) Send("0,");
    Send(settings_->phoneNumber);
    Send("\r");
    line_->ring().RingClear();
    SetTimeOut(kSecondsForDialling);
    Advance();
    return kSessionGoesOn;
}

int Interpreter::WaitConnect(const ScriptFields&) {
    if (AnyArrived(kConnectAnswers)) return Connected();
    if (AnyArrived(kBusyAnswers)) return Busy();
    if (Arrived("NO DIALTONE\r\n")) return NoDialTone();
    // Any other speed: the answer is not waited for to its end.
    if (line_->ring().RingCheckConnect() == 0) return Connected();
    return kSessionGoesOn;
}

int Interpreter::Connected() {
    if (settings_->sound != 0 && !settings_->connectSound.empty())
        ui_->PlaySoundFile(settings_->connectSound);
    Advance();
    SetTimeOut(kSecondsForNetwork);
    return kSessionGoesOn;
}

int Interpreter::Busy() {
    const std::int32_t pauseSeconds = std::clamp(settings_->redialInterval, 0, kLongestRedialSeconds);
    ShowStatus("話し中（ﾘﾀﾞｲｱﾙ待ち）"_sjis);
    SetTimeOut(pauseSeconds + kSecondsMoreThanPause);
    state_.pauseTicks = pauseSeconds * kTicksPerSecond;
    Send("ATH\r\n");
    state_.callMayBeUp = false;
    state_.line = 1;
    if (settings_->redial == 0) {
        state_.ending = Ending::Busy;
        return kSessionBusyOnce;
    }
    if (++state_.redials <= settings_->redialTimes) return kSessionGoesOn;
    Send("ATH\r\n");
    state_.callMayBeUp = false;
    state_.line = 0;
    state_.ending = Ending::GaveUp;
    constexpr std::string_view kText = "リダイアルを %d 回 試みましたが接続できませんでした。"_sjis;
    std::array<char, kText.size() + 12> text{};
    const int length = std::snprintf(text.data(), text.size(), kText.data(), settings_->redialTimes);
    Tell(core::kProductName, std::string_view(text.data(), static_cast<std::size_t>(length)));
    return kSessionGaveUp;
}

int Interpreter::NoDialTone() {
    state_.callMayBeUp = false;
    state_.line = 0;
    Tell("Error message!!",
         "ダイアルトーンの検出が出来ません。\r\nモデムに電話回線が接続されているか確認してください。"_sjis);
    return kSessionGaveUp;
}

int Interpreter::CaseFenics(const ScriptFields& fields) {
    const std::string_view route = std::string_view(settings_->fenicsLoad).substr(0, 1);
    if (route == "1") {
        Send(".00+\r");
        state_.line += 3;
    } else if (route == "2") {
        Send("@P\r");
        Advance();
    } else if (route == "3") {
        Advance();
    } else if (route == "7") {
        JumpToLabel(fields.second);
    } else {
        // Run again on every tick, without a time-out of its own: the one that runs ends the script.
        return kSessionGoesOn;
    }
    SetTimeOut(kSecondsForRoute);
    return kSessionGoesOn;
}

int Interpreter::WaitConnectionId(const ScriptFields&) {
    if (Arrived("HOST NAME?\r\n*")) {
        if (state_.hostNameRetries < kMostHostNameRetries) {
            ++state_.hostNameRetries;
            // In the scripts A and C that is not the line that sends the host's name. Kept.
            state_.line = kHostNameLine;
        } else {
            GoToLogOff();
        }
    } else if (Arrived("Enter Connection-ID  --->")) {
        Advance();
    }
    return kSessionGoesOn;
}

int Interpreter::SendId(const ScriptFields&) {
    Send(settings_->userId + "\r");
    SetTimeOut(kSecondsForHost);
    Advance();
    return kSessionGoesOn;
}

int Interpreter::SendPassword(const ScriptFields&) {
    Send(settings_->userPassword + "\r");
    SetTimeOut(kSecondsForHost);
    Advance();
    return kSessionGoesOn;
}

int Interpreter::WaitTop(const ScriptFields&) {
    return AdvanceAt(kTopPrompts, kSecondsForHost);
}

int Interpreter::LogOn(const ScriptFields&) {
    line_->captures().FlushCapture();
    line_->captures().switches.sessionLogging = true;
    Advance();
    return kSessionGoesOn;
}

/// Comes before the script hangs up, so the captures go to the disk itself here.
int Interpreter::LogOff(const ScriptFields&) {
    line_->captures().FlushCapture();
    if (const int error = line_->captures().Sync(); error < 0) {
        core::LogError(*workspace_, "LOGOFF: " + core::DescribeError(error, core::Language::English));
    }
    line_->captures().switches.sessionLogging = false;
    state_.loggedOff = true;
    Advance();
    return kSessionGoesOn;
}

/// `SET_VOL` and `SET_ATM` do nothing but skip the next line, on purpose.
int Interpreter::SetVolume(const ScriptFields&) {
    state_.line += 2;
    return kSessionGoesOn;
}

}  // namespace postkite::comm
