#include "ui/mails/list_font.h"

#include <QFontDatabase>
#include <QStringList>

#include "core/list_font.h"
#include "ui/text.h"

namespace postkite::ui {

QFont ListFont(const core::Settings& settings) {
    const core::FontDescription wanted = core::CreateListFont(settings);
    // What the system puts in the place of a face that it lacks need not be of fixed pitch, so only those that are there
    // are named.
    QStringList families;
    for (const QString& family :
         {Shown(wanted.face), QStringLiteral("IPAGothic"), QStringLiteral("Noto Sans Mono CJK JP")}) {
        if (QFontDatabase::hasFamily(family)) families.append(family);
    }
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    families.append(font.family());
    font.setFamilies(families);
    font.setStyleHint(QFont::TypeWriter);
    if (wanted.height < 0) font.setPixelSize(-wanted.height);
    return font;
}

}  // namespace postkite::ui
