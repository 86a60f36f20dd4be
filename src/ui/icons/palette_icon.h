#pragma once

#include <QIcon>
#include <QString>

namespace postkite::ui {

/// An icon of this project, drawn in the text colour of the palette in force, at any size. `name` is that of a file in
/// src/ui/icons without ".svg", where black stands for the text colour; other colours stay as they are and have to be
/// readable on light and dark. An icon without a file is empty.
[[nodiscard]] QIcon PaletteIcon(const QString& name);

}  // namespace postkite::ui
