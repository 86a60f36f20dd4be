#include "comm/session.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "core/error_log.h"
#include "core/error_text.h"
#include "core/shift_jis.h"

namespace postkite::comm {

using namespace core::literals;

namespace {

constexpr std::string_view kErrorCaption = "Error message";
constexpr int kLogOffLineOfScriptD = 65;

/// A modem takes "+++" for a command only with a second of silence on either side.
constexpr int kGuardTicks = 6;
constexpr int kTicksToDrain = 10;

}  // namespace

Session::Session(SerialPort& port, core::Workspace& workspace, const core::Settings& settings,
                 core::UserInterface& ui, const core::Clock& clock, SessionPartners& partners)
    : workspace_(&workspace),
      settings_(&settings),
      ui_(&ui),
      line_(port, workspace, settings, ui, clock),
      interpreter_(line_, script_, workspace, settings, ui, partners) {
}

Session::~Session() {
    HangUp();
}

int Session::Begin(Start start, const std::string& device, PatrolLists lists, const ScriptLines* script) {
    if (running()) return -1;
    const int logOffLine = LoadScript(script);
    interpreter_.queue() = SendQueueReader();
    if (start == Start::ReceiveOnly) {
        RemoveQueue();
    } else {
        interpreter_.queue().Open(*workspace_);
    }
    if (line_.OpenLine(device) < 0) {
        interpreter_.End();
        RefuseToBegin(start, device);
        return -1;
    }
    line_.monitor().ClearMonitor();
    line_.ring().RingClear();
    line_.captures().switches = CaptureSwitches{};
    line_.mailCaptureArmed = false;
    interpreter_.Begin(std::move(lists), logOffLine);
    loggingOff_ = false;
    disconnectAsked_ = false;
    hangUpAsked_ = false;
    phase_ = Phase::Script;
    return 0;
}

void Session::RemoveQueue() {
    for (const std::string_view file : {kMailQueueFile, kPostQueueFile}) {
        const int error = workspace_->Remove(file);
        if (error == 0 || error == -ENOENT || error == -ENOTDIR) continue;
        core::LogError(*workspace_,
                       std::string(file) + ": " + core::DescribeError(error, core::Language::English));
    }
}

/// Returns where the log-off begins, 0 when the script has none.
int Session::LoadScript(const ScriptLines* script) {
    if (script == nullptr) {
        const BuiltInScript chosen = ChooseScript(*settings_);
        script_.Load(BuiltInScriptLines(chosen), settings_->fenicsLoad);
        return chosen == BuiltInScript::D ? kLogOffLineOfScriptD : kLogOffLine;
    }
    script_.Load(*script, settings_->fenicsLoad);
    return HasLogOffLine(*script) ? kLogOffLine : 0;
}

void Session::RefuseToBegin(Start start, const std::string& device) {
    core::LogError(*workspace_,
                   "OpenLine " + device + ": " + core::DescribeError(line_.error(), core::Language::English));
    if (start == Start::ReceiveOnly && settings_->autoMode != 0) return;
    ui_->ShowMessage(kErrorCaption, "通信ポートをオープン出来ませんでした。"_sjis,
                     core::MessageIcon::Information);
}

int Session::Tick() {
    if (inTick_) return kSessionGoesOn;
    inTick_ = true;
    const int result = TickPhase();
    inTick_ = false;
    if (disconnectAsked_) Disconnect();
    if (hangUpAsked_) HangUp();
    if (const auto message = interpreter_.TakeMessage()) {
        ui_->ShowMessage(message->caption, message->text, core::MessageIcon::Information);
    }
    if (result != kSessionGoesOn) Report(result);
    return result;
}

int Session::TickPhase() {
    switch (phase_) {
        case Phase::Idle:
            break;
        case Phase::Script:
            return RunScript();
        case Phase::Closing:
            return GoOnClosing();
    }
    return kSessionGoesOn;
}

int Session::RunScript() {
    if (line_.PollReceive(received_) < 0) {
        interpreter_.End();
        // Behind the log-off the host hangs up, and a modem emulator may go with it.
        result_ = interpreter_.loggedOff() ? kSessionEnded : kSessionLineLost;
        return Finish();
    }
    if (!received_.empty()) {
        line_.ring().RingAppend(received_);
        interpreter_.Heard(received_);
    }
    if (line_.mailCaptureArmed && line_.received()) interpreter_.HostIsAlive();
    const int result = interpreter_.Step();
    if (result == kSessionGoesOn) return kSessionGoesOn;
    BeginClosing(result, result < 0 && interpreter_.callMayBeUp());
    return GoOnClosing();
}

void Session::BeginClosing(int result, bool hangUp) {
    phase_ = Phase::Closing;
    result_ = result;
    hangUp_ = hangUp;
    closingTicks_ = 0;
    EndCaptures();
}

int Session::GoOnClosing() {
    // The first time, the line has been polled in this tick already.
    if (closingTicks_ > 0 && line_.PollReceive(received_) < 0) return Finish();
    const int tick = closingTicks_++;
    int drainsFrom = 0;
    if (hangUp_) {
        if (tick == kGuardTicks) line_.SendText("+++");
        if (tick == 2 * kGuardTicks) line_.SendText("ATH\r");
        drainsFrom = 2 * kGuardTicks + 1;
    }
    const bool drained = line_.OutputDrained() == 0;
    if (tick < drainsFrom || (!drained && tick < drainsFrom + kTicksToDrain)) return kSessionGoesOn;
    return Finish();
}

void Session::SaveCaptures() {
    line_.captures().FlushCapture();
    // The captures tell the user themselves.
    if (const int error = line_.captures().Sync(); error < 0) {
        core::LogError(*workspace_, "session: " + core::DescribeError(error, core::Language::English));
    }
}

/// What is said to hang up, and what the modem says to that, is nothing of the host's.
void Session::EndCaptures() {
    line_.captures().FlushCapture();
    line_.captures().EndCaptures();
    SaveCaptures();
}

int Session::Finish() {
    EndCaptures();
    line_.CloseLine();
    phase_ = Phase::Idle;
    return result_;
}

std::string Session::TextFor(int result) const {
    const auto choose = [this](std::string_view japanese, std::string_view english) {
        return std::string(core::Choose(*ui_, japanese, english));
    };
    if (result == kSessionLineLost) {
        return choose("通信ポートが使えなくなったため、通信を中断しました。"_sjis,
                      "The serial port has gone away. The session was broken off.") +
               // A device that is gone gives the error of a failing disk, which would mislead.
               (line_.error() == -EIO ? std::string()
                                      : "\r\n" + core::DescribeError(line_.error(), ui_->language()));
    }
    switch (interpreter_.ending()) {
        case Interpreter::Ending::TimeOut:
            if ((result == -2 || result == -3) && interpreter_.modemSaidOk()) {
                // A modem emulator that echoes, mostly: its echo of the command's LF comes behind the answer.
                return choose(
                    "モデムは OK と応答しましたが、そのあとに余分な文字が届いたため、通信を中断しました。\r\n"
                    "環境設定の「モデム初期化コマンド」の E1 を E0 に変えてください（例: ATQ0V1E0）。"_sjis,
                    "The modem answered OK, but more came behind it, so the session was broken off.\r\n"
                    "Put E0 in place of E1 into the environment's modem initialisation command, as in "
                    "ATQ0V1E0.");
            }
            if (result == -2 || result == -3) {
                return choose("モデムが応答しないため、通信を中断しました。"_sjis,
                              "The modem does not answer. The session was broken off.");
            }
            return choose("ホストが応答しないため、通信を中断しました。"_sjis,
                          "The host does not answer. The session was broken off.");
        case Interpreter::Ending::NowhereToGo:
            return choose("接続スクリプトに続きの行がないため、通信を中断しました。"_sjis,
                          "The connection script has no line to go on with. The session was broken off.");
        case Interpreter::Ending::Busy:
            return choose("話し中のため、接続できませんでした。"_sjis, "The line is busy.");
        default:
            // The end says nothing, and what the script gave up it has said itself.
            return {};
    }
}

void Session::Report(int result) {
    std::string text = TextFor(result);
    if (result < 0) {
        core::LogError(*workspace_, "session: result " + std::to_string(result) + ", line " +
                                        std::to_string(interpreter_.lastLine()));
        if (settings_->errorSound != 0 && !settings_->errorSoundFile.empty()) {
            ui_->PlaySoundFile(settings_->errorSoundFile);
        }
    }
    if (const int unmarked = interpreter_.unmarked(); unmarked > 0) {
        if (!text.empty()) text += "\r\n";
        text += core::Choose(*ui_, "送信済みの印を付けられなかったメール: "_sjis,
                             "Mails that were sent and could not be marked as sent: ");
        text += std::to_string(unmarked);
    }
    if (!text.empty() && settings_->autoMode == 0) {
        ui_->ShowMessage(core::kProductName, text, core::MessageIcon::Information);
    }
    ReportUnconfirmed();
}

/// The host may have taken the mail or not. It stays reserved, so that it cannot be lost, and whoever has it sent again
/// is told that it may come twice.
void Session::ReportUnconfirmed() {
    std::string localId;
    if (!interpreter_.TakeUnconfirmed(localId)) return;
    core::LogError(*workspace_, "session: " + localId + " was sent, and the host did not confirm it");
    if (settings_->autoMode != 0) return;
    ui_->ShowMessage(
        core::kProductName,
        core::Choose(
            *ui_,
            "送信を終えたあと、ホストの確認を受け取る前に回線が切れたメールがあります。"
            "次の通信でもう一度送信します。二度届くのを避けるには、送信予約を解除してください。"_sjis,
            "A mail went out whole, and the line was lost before the host confirmed it. It will be "
            "sent again with the next session; take its reservation back if it must not come twice."),
        core::MessageIcon::Warning);
}

void Session::Disconnect() {
    if (inTick_) {
        disconnectAsked_ = true;
        return;
    }
    disconnectAsked_ = false;
    if (phase_ != Phase::Script || loggingOff_) return;
    loggingOff_ = true;
    EndCaptures();
    if (interpreter_.Disconnect()) return;
    const bool callMayBeUp = interpreter_.callMayBeUp();
    interpreter_.End();
    BeginClosing(kSessionEnded, callMayBeUp);
}

void Session::HangUp() {
    if (inTick_) {
        hangUpAsked_ = true;
        return;
    }
    hangUpAsked_ = false;
    if (phase_ == Phase::Idle) return;
    interpreter_.End();
    EndCaptures();
    line_.CloseLine();
    phase_ = Phase::Idle;
    ReportUnconfirmed();
}

}  // namespace postkite::comm
