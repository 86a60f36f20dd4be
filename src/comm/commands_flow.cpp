#include <algorithm>
#include <array>
#include <string>

#include "comm/interpreter.h"
#include "core/shift_jis.h"

/// The commands that are the same whatever the host: waiting, sending, jumping, the end.
namespace postkite::comm {

using namespace core::literals;

namespace {

constexpr std::int32_t kSecondsAfterWait = 30;
constexpr std::int32_t kSecondsAfterSend = 60;

}  // namespace

int Interpreter::ClearRingBuffer(const ScriptFields&) {
    line_->ring().RingClear();
    Advance();
    return kSessionGoesOn;
}

int Interpreter::Wait(const ScriptFields& fields) {
    return AdvanceAt(std::array{fields.first}, kSecondsAfterWait);
}

/// `WAIT2` and `WAIT3`: two prompts, of which the second may be left out.
int Interpreter::WaitEither(const ScriptFields& fields) {
    const std::array prompts{fields.first, fields.second};
    return AdvanceAt(std::span(prompts).first(fields.second.empty() ? 1 : 2), kSecondsAfterSend);
}

int Interpreter::SendArgument(const ScriptFields& fields) {
    Send(fields.first);
    SetTimeOut(kSecondsAfterSend);
    Advance();
    return kSessionGoesOn;
}

/// A pause of more than the 60 seconds runs into the time-out: the counter goes down during a pause too.
int Interpreter::WaitTime(const ScriptFields& fields) {
    state_.pauseTicks = Number(fields.first) * kTicksPerSecond;
    SetTimeOut(kSecondsAfterSend);
    std::string status("ウェイト "_sjis);
    status += fields.first;
    status += " 秒"_sjis;
    ShowStatus(status);
    Advance();
    return kSessionGoesOn;
}

int Interpreter::GoTo(const ScriptFields& fields) {
    if (fields.second.starts_with('*')) {
        JumpToLabel(fields.second);
    } else {
        state_.line = Number(fields.first);
    }
    return kSessionGoesOn;
}

int Interpreter::RelativeJump(const ScriptFields& fields) {
    state_.line -= Number(fields.first);
    return kSessionGoesOn;
}

int Interpreter::EndOfScript(const ScriptFields&) {
    if (settings_->sound != 0 && !settings_->disconnectSound.empty()) {
        ui_->PlaySoundFile(settings_->disconnectSound);
    }
    state_.ending = Ending::End;
    return kSessionEnded;
}

}  // namespace postkite::comm
