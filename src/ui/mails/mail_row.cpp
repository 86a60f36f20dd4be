#include "ui/mails/mail_row.h"

#include <QCoreApplication>
#include <algorithm>
#include <charconv>

#include "analyse/subjects.h"
#include "store/index_record.h"
#include "store/mail_record.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

namespace field = store::index_field;

constexpr std::size_t kWritingDateBytes = 14;
constexpr std::int64_t kBytesAKbyte = 1000;  ///< as the list on the host counts

QString ShownField(std::string_view record, store::IndexField place) {
    return Shown(store::WithoutTrailingBlanks(store::FieldOf(record, place)));
}

/// A flag that marks something, and how.
struct FlagMark {
    std::size_t position;
    std::string_view characters;
    unsigned mark;
};
constexpr FlagMark kFlagMarks[] = {
    {store::flag::kOrigin, "Ss", kWrittenMark},    {store::flag::kRead, "r", kUnreadMark},
    {store::flag::kReply, "R", kRepliedMark},      {store::flag::kSent, "S", kSentMark},
    {store::flag::kPosition8, "Y", kReservedMark}, {store::flag::kKind, "N", kForumMark},
    {store::flag::kKind, "L", kLibraryMark},
};

struct MarkSign {
    unsigned mark;
    const char* icon;
    const char* word;
};
/// In the order drawn and said, behind the kind of mail.
constexpr MarkSign kSigns[] = {
    {kRepliedMark, "mail-replied", QT_TRANSLATE_NOOP("MailRow", "返信済み")},
    {kSentMark, "mail-sent", QT_TRANSLATE_NOOP("MailRow", "送信済み")},
    {kReservedMark, "mail-reserved", QT_TRANSLATE_NOOP("MailRow", "送信予約")},
    {kAttachmentMark, "mail-attachment", QT_TRANSLATE_NOOP("MailRow", "添付あり")},
};

QString Translated(const char* text) {
    return QCoreApplication::translate("MailRow", text);
}

std::string ShownSubject(std::string_view record, SubjectDisplay display) {
    constexpr int kDeepest = 9;
    std::string subject(store::WithoutTrailingBlanks(store::FieldOf(record, field::kSubject)));
    if (display == SubjectDisplay::ByPrefix) {
        analyse::IndentSubjectByPrefix(subject);
    } else if (display == SubjectDisplay::Threads) {
        char depth = store::FieldOf(record, field::kFlags)[store::flag::kDigit];
        if (depth < '0' || depth > '9') {
            std::string bare = subject;
            depth = static_cast<char>('0' + std::min(analyse::CountReplyDepth(bare), kDeepest));
        }
        analyse::IndentSubjectByDepth(subject, depth);
    }
    return subject;
}

QString ShownSize(std::string_view record, std::string_view next) {
    const auto size = SizeOf(record, next);
    if (size)
        return QCoreApplication::translate("MailRow", "%L1 KB")
            .arg((*size + kBytesAKbyte - 1) / kBytesAKbyte);
    return ShownField(record, field::kSizeText).trimmed();
}

}  // namespace

SubjectDisplay SubjectDisplayOf(std::int32_t titleTree) {
    if (titleTree == 1) return SubjectDisplay::ByPrefix;
    return titleTree == 2 ? SubjectDisplay::Threads : SubjectDisplay::Plain;
}

unsigned MarksOf(std::string_view record) {
    const std::string_view flags = store::FieldOf(record, field::kFlags);
    unsigned marks = 0;
    for (const FlagMark& known : kFlagMarks) {
        if (known.characters.find(flags[known.position]) != std::string_view::npos) marks |= known.mark;
    }
    if (!store::WithoutTrailingBlanks(store::FieldOf(record, field::kAttach)).empty())
        marks |= kAttachmentMark;
    if (store::IsDeleted(record)) marks = (marks & ~kUnreadMark) | kDeletedMark;
    return marks;
}

std::optional<std::int64_t> SizeOf(std::string_view record, std::string_view next) {
    std::string_view text = store::WithoutTrailingBlanks(store::FieldOf(record, field::kSizeText));
    if (!text.empty()) {
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        std::int64_t kbytes = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), kbytes);
        constexpr std::int64_t kMost = 1'000'000'000;
        if (error != std::errc() || kbytes < 0 || kbytes > kMost) return std::nullopt;
        return kbytes * kBytesAKbyte;
    }
    if (next.empty()) return std::nullopt;
    const auto begin = store::TextOffsetOf(record);
    const auto end = store::TextOffsetOf(next);
    if (!begin || !end || *end <= *begin) return std::nullopt;
    return static_cast<std::int64_t>(*end - *begin);
}

MailRow MakeMailRow(std::string_view record, std::string_view next, SubjectDisplay display) {
    MailRow row;
    row.localId = store::WithoutTrailingBlanks(store::FieldOf(record, field::kLocalId));
    row.marks = MarksOf(record);
    row.id = ShownField(record, field::kAddress);
    row.name = ShownField(record, field::kName);
    row.date = Shown(
        store::WithoutTrailingBlanks(store::FieldOf(record, field::kDate).substr(0, kWritingDateBytes)));
    row.size = ShownSize(record, next);
    row.subject = ShownField(record, field::kSubject);
    row.shownSubject = Shown(ShownSubject(record, display));
    row.isCut = store::WithoutTrailingBlanks(store::FieldOf(record, field::kSubject)).size() + 1 >=
                field::kSubject.width;
    return row;
}

QStringList IconsOf(unsigned marks) {
    const bool unread = (marks & kUnreadMark) != 0;
    QStringList icons;
    if ((marks & kForumMark) != 0) icons.append(QStringLiteral("forum-message"));
    if ((marks & kLibraryMark) != 0) icons.append(QStringLiteral("library-entry"));
    if ((marks & kWrittenMark) != 0) icons.append(QStringLiteral("mail-written"));
    if (icons.isEmpty()) icons.append(unread ? QStringLiteral("mail-unread") : QStringLiteral("mail-read"));
    for (const MarkSign& sign : kSigns) {
        if ((marks & sign.mark) != 0) icons.append(QString::fromLatin1(sign.icon));
    }
    return icons;
}

QStringList WordsOf(unsigned marks) {
    if ((marks & kDeletedMark) != 0) return {Translated(QT_TRANSLATE_NOOP("MailRow", "削除済み"))};
    QStringList words;
    words.append((marks & kUnreadMark) != 0 ? Translated(QT_TRANSLATE_NOOP("MailRow", "未読"))
                                            : Translated(QT_TRANSLATE_NOOP("MailRow", "既読")));
    if ((marks & kForumMark) != 0) words.append(Translated(QT_TRANSLATE_NOOP("MailRow", "フォーラムの発言")));
    if ((marks & kLibraryMark) != 0)
        words.append(Translated(QT_TRANSLATE_NOOP("MailRow", "ライブラリのデータ")));
    if ((marks & kWrittenMark) != 0) words.append(Translated(QT_TRANSLATE_NOOP("MailRow", "作成したメール")));
    for (const MarkSign& sign : kSigns) {
        if ((marks & sign.mark) != 0) words.append(Translated(sign.word));
    }
    return words;
}

}  // namespace postkite::ui
