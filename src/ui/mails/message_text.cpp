#include "ui/mails/message_text.h"

#include <QCoreApplication>
#include <QStringView>
#include <algorithm>

#include "core/shift_jis.h"
#include "store/index_record.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

/// What stands for a line end in a field of several lines, which the files keep on one.
constexpr std::string_view kFieldLineEnd = "\xA0 ";
constexpr std::size_t kWritingDateBytes = 15;

QString Translated(const char* text) {
    return QCoreApplication::translate("MessageText", text);
}

/// The lines of a field one behind the other, as a list.
std::string OnOneLine(std::string_view field) {
    std::string text;
    while (!field.empty()) {
        const std::size_t end = core::FindText(field, kFieldLineEnd);
        const std::string_view line = store::WithoutTrailingBlanks(field.substr(0, end));
        if (!line.empty()) {
            if (!text.empty()) text += text.back() == ',' ? " " : ", ";
            text += line;
        }
        field.remove_prefix(end == std::string_view::npos ? field.size() : end + kFieldLineEnd.size());
    }
    return text;
}

std::string Correspondent(const store::MailRecord& mail) {
    const std::string_view name = store::WithoutTrailingBlanks(mail.name);
    const std::string address = OnOneLine(mail.address);
    if (name.empty() || address.empty()) return std::string(name) + address;
    return std::string(name) + " (" + address + ")";
}

std::string WritingDate(const store::MailRecord& mail) {
    return std::string(
        store::WithoutTrailingBlanks(std::string_view(mail.date).substr(0, kWritingDateBytes)));
}

std::string SendingDate(const store::MailRecord& mail) {
    if (mail.date.size() <= kWritingDateBytes) return {};
    return std::string(store::WithoutTrailingBlanks(std::string_view(mail.date).substr(kWritingDateBytes)));
}

/// Appends a line in pieces that are no longer than shown lines are, none ending within a character.
void AppendPieces(QStringView line, MessageText& message, int& blocks) {
    for (bool isFirst = true; isFirst || !line.isEmpty(); isFirst = false) {
        qsizetype length = std::min(line.size(), kLongestShownLine);
        if (length < line.size() && line[length - 1].isHighSurrogate()) --length;
        if (blocks > 0) message.text += u'\n';
        if (!isFirst) message.continuing.push_back(blocks);
        message.text += line.first(length);
        line = line.sliced(length);
        ++blocks;
    }
}

void AppendLines(QStringView text, MessageText& message, int& blocks) {
    if (text.endsWith(u'\n')) text.chop(1);
    for (const QStringView line : text.split(u'\n'))
        AppendPieces(line, message, blocks);
}

}  // namespace

std::vector<HeaderLine> HeaderLinesOf(const store::MailRecord& mail, bool withCopies) {
    const bool isWritten = !mail.flags.empty() && (mail.flags[0] == 'S' || mail.flags[0] == 's');
    std::vector<HeaderLine> lines = {
        {isWritten ? Translated(QT_TRANSLATE_NOOP("MessageText", "宛先"))
                   : Translated(QT_TRANSLATE_NOOP("MessageText", "差出人")),
         Correspondent(mail)},
        {Translated(QT_TRANSLATE_NOOP("MessageText", "日付")), WritingDate(mail)},
        {isWritten ? Translated(QT_TRANSLATE_NOOP("MessageText", "送信日付"))
                   : Translated(QT_TRANSLATE_NOOP("MessageText", "受信日付")),
         SendingDate(mail)},
        {Translated(QT_TRANSLATE_NOOP("MessageText", "題名")),
         std::string(store::WithoutTrailingBlanks(mail.subject))},
        {Translated(QT_TRANSLATE_NOOP("MessageText", "CC")), withCopies ? OnOneLine(mail.cc) : std::string()},
        {Translated(QT_TRANSLATE_NOOP("MessageText", "添付")), OnOneLine(mail.attach)},
    };
    std::erase_if(lines, [](const HeaderLine& line) { return line.value.empty(); });
    return lines;
}

MessageText MakeMessageText(const store::MailRecord& mail, const core::Settings& settings) {
    MessageText message;
    int blocks = 0;
    if (settings.displayHeader != 0) {
        for (const HeaderLine& line : HeaderLinesOf(mail, settings.hideCc == 0))
            AppendPieces(line.label + QStringLiteral(": ") + Shown(line.value), message, blocks);
        if (blocks > 0) AppendPieces(QStringView(), message, blocks);
    }
    message.headerBlocks = blocks;
    AppendLines(ShownLines(mail.body), message, blocks);
    return message;
}

QString WholeText(const store::MailRecord& mail) {
    QString text;
    for (const HeaderLine& line : HeaderLinesOf(mail, true))
        text += line.label + QStringLiteral(": ") + Shown(line.value) + u'\n';
    return text + u'\n' + ShownLines(mail.body);
}

std::string ShiftJisFile(const store::MailRecord& mail) {
    std::string text;
    for (const HeaderLine& line : HeaderLinesOf(mail, true)) {
        // A translation may lie outside the code page.
        text += Typed(line.label).value_or("-") + ": " + line.value + "\r\n";
    }
    return text + "\r\n" + mail.body;
}

std::string Utf8File(const store::MailRecord& mail) {
    const std::u8string text = core::ToShownUtf8(ShiftJisFile(mail));
    std::string lines;
    lines.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isLineEnd = text[at] == u8'\r' && at + 1 < text.size() && text[at + 1] == u8'\n';
        if (!isLineEnd) lines += static_cast<char>(text[at]);
    }
    return lines;
}

QString FileNameOf(const QString& subject) {
    constexpr qsizetype kLongestName = 60;
    static const QString kRefused = QStringLiteral("/\\:*?\"<>|~");
    QString name;
    for (const QChar character : subject.trimmed().left(kLongestName)) {
        // Pictures of control characters say nothing in a name.
        const bool isPicture = character >= QChar(0x2400) && character <= QChar(0x2421);
        const bool isRefused = isPicture || character == QChar::ReplacementCharacter ||
                               character.isSurrogate() || !character.isPrint() ||
                               kRefused.contains(character);
        name += isRefused ? u'_' : character;
    }
    while (name.startsWith(u'.') || name.startsWith(u' ') || name.startsWith(u'-'))
        name.remove(0, 1);
    while (name.endsWith(u'.') || name.endsWith(u' '))
        name.chop(1);
    return name.isEmpty() ? QStringLiteral("mail") : name;
}

}  // namespace postkite::ui
