#include "ui/mails/message_highlighter.h"

#include <QPalette>
#include <algorithm>

#include "ui/mails/readable_colour.h"
#include "ui/mails/text_links.h"

namespace postkite::ui {

namespace {

enum BlockState { kPlain = 0, kQuoted = 1 };

}  // namespace

void MessageHighlighter::SetPalette(const QPalette& palette) {
    constexpr float kPartOfLink = 0.6F;
    const QColor link = palette.color(QPalette::Link);
    quote_.setForeground(ReadableOnBase(Blend(palette.color(QPalette::Text), link, kPartOfLink), palette));
    link_.setForeground(ReadableOnBase(link, palette));
    link_.setFontUnderline(true);
}

void MessageHighlighter::SetBlocks(int headerBlocks, const std::vector<int>& continuing) {
    headerBlocks_ = headerBlocks;
    continuing_ = continuing;
}

bool MessageHighlighter::IsQuoted(const QString& text) const {
    const int block = currentBlock().blockNumber();
    if (block < headerBlocks_) return false;
    if (std::binary_search(continuing_.begin(), continuing_.end(), block))
        return previousBlockState() == kQuoted;
    qsizetype start = 0;
    while (start < text.size() && text[start].isSpace())
        ++start;
    const QStringView rest = QStringView(text).sliced(start);
    const QStringView mark = QStringView(mark_).trimmed();
    return rest.startsWith(u'>') || rest.startsWith(u'＞') || rest.startsWith(u'|') ||
           (!mark.isEmpty() && rest.startsWith(mark));
}

void MessageHighlighter::highlightBlock(const QString& text) {
    const bool quoted = IsQuoted(text);
    setCurrentBlockState(quoted ? kQuoted : kPlain);
    if (quoted) setFormat(0, static_cast<int>(text.size()), quote_);
    for (const TextLink& link : FindLinks(text))
        setFormat(static_cast<int>(link.start), static_cast<int>(link.length), link_);
}

}  // namespace postkite::ui
