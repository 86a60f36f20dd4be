#pragma once

#include <QStringView>
#include <QUrl>
#include <vector>

namespace postkite::ui {

/// A link in a line: an address of http, https, ftp or mailto, or a bare mail address.
struct TextLink {
    qsizetype start;
    qsizetype length;

    bool operator==(const TextLink&) const = default;
};

/// In time linear to the line, whatever it holds.
[[nodiscard]] std::vector<TextLink> FindLinks(QStringView line);

/// Where the link leads; not valid for a text of another kind.
[[nodiscard]] QUrl UrlOf(QStringView link);

}  // namespace postkite::ui
