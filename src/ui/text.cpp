#include "ui/text.h"

#include <QDir>

#include "core/shift_jis.h"

namespace postkite::ui {

namespace {

QString FromUtf8(std::u8string_view text) {
    return QString::fromUtf8(reinterpret_cast<const char*>(text.data()), static_cast<qsizetype>(text.size()));
}

constexpr char16_t kPictures = 0x2400;
constexpr char16_t kPictureOfDelete = 0x2421;

QChar Visible(QChar character) {
    const char16_t code = character.unicode();
    if (code < 0x20) return QChar(static_cast<char16_t>(kPictures + code));
    if (code == 0x7F) return QChar(kPictureOfDelete);
    return code >= 0x80 && code < 0xA0 ? QChar(QChar::ReplacementCharacter) : character;
}

}  // namespace

QString Shown(std::string_view text) {
    QString shown = FromUtf8(core::ToShownUtf8(text));
    for (QChar& character : shown)
        character = Visible(character);
    return shown;
}

QString ShownLines(std::string_view text) {
    const QString whole = FromUtf8(core::ToShownUtf8(text));
    QString shown;
    shown.reserve(whole.size());
    for (qsizetype at = 0; at < whole.size(); ++at) {
        const QChar character = whole[at];
        if (character == u'\r' && at + 1 < whole.size() && whole[at + 1] == u'\n') continue;
        if (character == u'\r' || character == u'\n') {
            shown += u'\n';
        } else {
            shown += character == u'\t' ? character : Visible(character);
        }
    }
    return shown;
}

std::optional<std::string> Typed(const QString& text, QString* refused) {
    QString lines = text;
    lines.replace(QChar(QChar::ParagraphSeparator), u'\n').replace(u'\n', QStringLiteral("\r\n"));
    const QByteArray utf8 = lines.toUtf8();
    const std::u8string_view bytes(reinterpret_cast<const char8_t*>(utf8.constData()),
                                   static_cast<std::size_t>(utf8.size()));
    std::size_t refusedAt = 0;
    auto converted = core::FromUtf8(bytes, &refusedAt);
    if (!converted && refused != nullptr) {
        const QString rest = FromUtf8(bytes.substr(refusedAt));
        *refused = rest.left(rest.size() > 1 && rest[0].isHighSurrogate() ? 2 : 1);
    }
    return converted;
}

QString ShownPath(const std::u8string& path) {
    return FromUtf8(path);
}

QString PathForSetting(const QString& path, const QString& workingDirectory) {
    const QString relative = QDir(workingDirectory).relativeFilePath(path);
    if (relative.startsWith(QStringLiteral("..")) || QDir::isAbsolutePath(relative)) return path;
    return QString(relative).replace(u'/', u'\\');
}

}  // namespace postkite::ui
