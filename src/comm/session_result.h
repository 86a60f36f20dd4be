#pragma once

namespace postkite::comm {

/// How a script's step, and with it the session, can come out.
inline constexpr int kSessionGoesOn = 0;
inline constexpr int kSessionEnded = 1;        ///< the script's END
inline constexpr int kSessionTimedOut = -1;    ///< -2, -3 and -17 are time-outs of the lines 2, 3 and 17
inline constexpr int kSessionBusyOnce = -17;   ///< busy, and the settings do not redial
inline constexpr int kSessionGaveUp = -100;    ///< no dial tone, or redialled as often as the settings say
inline constexpr int kSessionLineLost = -101;  ///< the device disappeared

}  // namespace postkite::comm
