#include "ui/mails/text_links.h"

#include <algorithm>
#include <iterator>

namespace postkite::ui {

namespace {

constexpr QStringView kSchemes[] = {u"http://", u"https://", u"ftp://", u"mailto:"};

bool IsAsciiAlphanumeric(QChar character) {
    const char16_t code = character.unicode();
    return (code >= u'0' && code <= u'9') || (code >= u'A' && code <= u'Z') || (code >= u'a' && code <= u'z');
}

/// What an address of the net can hold; texts in Japanese go on right behind it.
bool IsUrlCharacter(QChar character) {
    return IsAsciiAlphanumeric(character) || QStringView(u"-._~:/?#[]@!$&'()*+,;=%").contains(character);
}

bool IsMailNameCharacter(QChar character) {
    return IsAsciiAlphanumeric(character) || QStringView(u"._+-").contains(character);
}

bool IsHostCharacter(QChar character) {
    return IsAsciiAlphanumeric(character) || character == u'-' || character == u'.';
}

/// Without the punctuation of the sentence that the link stands in.
qsizetype WithoutPunctuation(QStringView line, qsizetype start, qsizetype end) {
    const bool opens = line.sliced(start, end - start).contains(u'(');
    while (end > start &&
           (QStringView(u".,;:!?'*").contains(line[end - 1]) || (line[end - 1] == u')' && !opens)))
        --end;
    return end;
}

/// The end of the address that begins here; `at` where none does.
qsizetype UrlEnd(QStringView line, qsizetype at) {
    if (at > 0 && IsAsciiAlphanumeric(line[at - 1])) return at;
    for (const QStringView scheme : kSchemes) {
        if (!line.sliced(at).startsWith(scheme, Qt::CaseInsensitive)) continue;
        qsizetype end = at + scheme.size();
        while (end < line.size() && IsUrlCharacter(line[end]))
            ++end;
        end = WithoutPunctuation(line, at, end);
        return end > at + scheme.size() ? end : at;
    }
    return at;
}

/// The bare mail address round the "@" at `at`, no part of it before `from`.
TextLink MailAddress(QStringView line, qsizetype from, qsizetype at) {
    qsizetype start = at;
    while (start > from && IsMailNameCharacter(line[start - 1]))
        --start;
    qsizetype end = at + 1;
    while (end < line.size() && IsHostCharacter(line[end]))
        ++end;
    while (end > at + 1 && !IsAsciiAlphanumeric(line[end - 1]))
        --end;
    const bool isHost = line.sliced(at + 1, end - at - 1).contains(u'.') && IsAsciiAlphanumeric(line[at + 1]);
    return {start, isHost && start < at ? end - start : 0};
}

}  // namespace

std::vector<TextLink> FindLinks(QStringView line) {
    std::vector<TextLink> links;
    qsizetype behind = 0;  // what is behind here belongs to no link yet
    for (qsizetype at = 0; at < line.size(); ++at) {
        const QChar character = line[at];
        if (character == u'@') {
            const TextLink link = MailAddress(line, behind, at);
            if (link.length > 0) links.push_back(link);
            // An "@" that makes no address ends the name of the next one, too.
            behind = link.length > 0 ? link.start + link.length : at + 1;
            at = behind - 1;
        } else if (QStringView(u"hHfFmM").contains(character)) {
            const qsizetype end = UrlEnd(line, at);
            if (end == at) continue;
            links.push_back({at, end - at});
            behind = end;
            at = end - 1;
        }
    }
    return links;
}

QUrl UrlOf(QStringView link) {
    const bool hasScheme = std::any_of(std::begin(kSchemes), std::end(kSchemes), [link](QStringView scheme) {
        return link.startsWith(scheme, Qt::CaseInsensitive);
    });
    if (hasScheme) return QUrl(link.toString(), QUrl::TolerantMode);
    return link.contains(u'@') ? QUrl(QStringLiteral("mailto:") + link.toString()) : QUrl();
}

}  // namespace postkite::ui
