#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/settings.h"

namespace postkite::core {

/// A font as the windows make it, for text in the Shift-JIS character set, of default pitch in the modern
/// family, upright, with no line under or through it.
struct FontDescription {
    std::int32_t height = 0;  ///< negative: of the characters alone; 0: the face's own
    std::int32_t width = 0;   ///< the face's own
    std::int32_t weight = 400;
    std::string face;  ///< code page 932
};

/// The font of the three list windows, as the settings have it.
[[nodiscard]] FontDescription CreateListFont(const Settings& settings);

/// The second font, which no setting changes.
[[nodiscard]] FontDescription CreateSmallFont();

}  // namespace postkite::core
