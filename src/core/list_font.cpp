#include "core/list_font.h"

#include "core/shift_jis.h"

namespace postkite::core {

FontDescription CreateListFont(const Settings& settings) {
    FontDescription font;
    font.height = settings.fontSize;
    font.face = settings.fontName.empty() ? "FixedSys" : settings.fontName;
    return font;
}

FontDescription CreateSmallFont() {
    FontDescription font;
    font.height = 12;
    font.face = "ＭＳ ゴシック"_sjis;
    return font;
}

}  // namespace postkite::core
