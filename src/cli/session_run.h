#pragma once

#include <optional>

#include "app/sessions.h"
#include "cli/command_context.h"
#include "cli/session_timer.h"

namespace postkite::cli {

/// Ticks a session that has begun until it has ended. The first interrupt is the user's disconnect, a second one
/// or an order to end hangs up. Returns how the session ended, or nothing where the line was hung up.
[[nodiscard]] std::optional<int> RunToItsEnd(CommandContext& context, app::Sessions& sessions,
                                             SessionTimer& timer);

}  // namespace postkite::cli
