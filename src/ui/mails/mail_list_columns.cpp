#include "ui/mails/mail_list_columns.h"

#include <cstdint>

namespace postkite::ui {

namespace {

constexpr std::int64_t kNarrowest = 8;
/// No screen is wider, and Qt's headers take no much wider column.
constexpr std::int64_t kWidest = 20'000;

std::int64_t WidthOf(const core::Settings& settings, int column) {
    const auto at = static_cast<std::size_t>(column);
    return std::int64_t{settings.listWidth[at + 1]} - settings.listWidth[at];
}

}  // namespace

ColumnWidths ColumnWidthsOf(const core::Settings& settings) {
    const core::Settings defaults;
    ColumnWidths widths{};
    for (int column = 0; column < kMailColumnCount; ++column) {
        std::int64_t width = WidthOf(settings, column);
        if (width < kNarrowest || width > kWidest) width = WidthOf(defaults, column);
        widths[static_cast<std::size_t>(column)] = static_cast<int>(width);
    }
    return widths;
}

void KeepColumnWidths(const ColumnWidths& widths, core::Settings& settings) {
    std::int32_t edge = settings.listWidth[0];
    if (edge < 0 || edge > kWidest) edge = 0;
    for (std::size_t column = 0; column < widths.size(); ++column) {
        settings.listWidth[column] = edge;
        edge += widths[column];
    }
    settings.listWidth[widths.size()] = edge;
}

bool IsColumnShown(const core::Settings& settings, int column) {
    if (column == kIdColumn) return settings.idDisplay != 0;
    return column != kDateColumn || settings.dateDisplay != 0;
}

}  // namespace postkite::ui
