#include "cli/session_run.h"

namespace postkite::cli {

std::optional<int> RunToItsEnd(CommandContext& context, app::Sessions& sessions, SessionTimer& timer) {
    bool disconnecting = false;
    while (sessions.running()) {
        const SessionTimer::Wake wake = timer.Wait();
        if (wake == SessionTimer::Wake::Tick) {
            const int result = sessions.Tick();
            if (result != comm::kSessionGoesOn) return result;
        } else if (wake == SessionTimer::Wake::Terminate || disconnecting) {
            sessions.HangUp();
        } else {
            disconnecting = true;
            context.Remark({"切断します。もう一度 Ctrl+C を押すと、ただちに回線を切ります。",
                            "Disconnecting. Another Ctrl+C hangs up at once."});
            sessions.Disconnect();
        }
    }
    return std::nullopt;
}

}  // namespace postkite::cli
