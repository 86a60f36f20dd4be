#pragma once

#include <QFont>

#include "core/settings.h"

namespace postkite::ui {

/// The font of the lists, the mail text and the monitor, as the settings have it: the face, or else a fixed-pitch
/// Japanese one that is there, or the system's fixed font.
[[nodiscard]] QFont ListFont(const core::Settings& settings);

}  // namespace postkite::ui
