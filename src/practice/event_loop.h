#pragma once

#include "core/clock.h"
#include "practice/line_device.h"
#include "practice/practice_host.h"

namespace postkite::practice {

/// Lets clients of `device` talk to `host`, one after another, until the process gets SIGINT, SIGTERM or
/// SIGHUP, or with `once` until the first client that has done something has gone. Returns 0, or a negated
/// errno value when the line fails. To be called once, with these signals not blocked.
[[nodiscard]] int RunEventLoop(LineDevice& device, PracticeHost& host, const core::Clock& clock, bool once);

}  // namespace postkite::practice
