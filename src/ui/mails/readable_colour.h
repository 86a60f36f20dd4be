#pragma once

#include <QColor>
#include <QPalette>

namespace postkite::ui {

/// `part`, 0 to 1, of the way from one colour to the other.
[[nodiscard]] QColor Blend(const QColor& from, const QColor& to, float part);

/// The colour, brought as near to the palette's text as it takes to be read on its base: themes that are dark often
/// leave the roles for links as they were.
[[nodiscard]] QColor ReadableOnBase(const QColor& colour, const QPalette& palette);

}  // namespace postkite::ui
