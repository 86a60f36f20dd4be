#pragma once

#include <array>

#include "core/settings.h"

namespace postkite::ui {

/// Columns of the mail list.
enum MailColumn { kMarksColumn, kIdColumn, kNameColumn, kSizeColumn, kDateColumn, kSubjectColumn };
inline constexpr int kMailColumnCount = 6;

using ColumnWidths = std::array<int, kMailColumnCount>;

/// The settings hold the columns' left edges: a column reaches from its own to the next one's. Where that is less than
/// what can be taken hold of, the column gets its default width.
[[nodiscard]] ColumnWidths ColumnWidthsOf(const core::Settings& settings);

/// Puts the edges into the settings' first seven values. The others stay.
void KeepColumnWidths(const ColumnWidths& widths, core::Settings& settings);

/// Whether the settings show the column.
[[nodiscard]] bool IsColumnShown(const core::Settings& settings, int column);

}  // namespace postkite::ui
