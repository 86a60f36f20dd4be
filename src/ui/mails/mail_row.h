#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace postkite::ui {

/// What the list marks in a mail, as bits.
enum MailMark : unsigned {
    kUnreadMark = 1U << 0U,
    kWrittenMark = 1U << 1U,  ///< written here
    kForumMark = 1U << 2U,
    kRepliedMark = 1U << 3U,
    kSentMark = 1U << 4U,
    kReservedMark = 1U << 5U,
    kAttachmentMark = 1U << 6U,
    kLibraryMark = 1U << 7U,  ///< an entry of a library
    kDeletedMark = 1U << 8U,  ///< stays in the list until it is compacted; nothing is done with it
};

/// How the list shows subjects, after the setting "Title Tree".
enum class SubjectDisplay { Plain, ByPrefix, Threads };
[[nodiscard]] SubjectDisplay SubjectDisplayOf(std::int32_t titleTree);

/// A row of the mail list as people see it.
struct MailRow {
    std::string localId;
    unsigned marks = 0;
    QString id;
    QString name;
    QString date;
    QString size;
    QString subject;       ///< without indentation
    QString shownSubject;  ///< as `SubjectDisplay` wants it
    bool isCut = false;    ///< the index holds only the beginning of the subject
    bool isStale = false;  ///< has to be read anew
};

/// `record` is one of the index, `next` the one behind it; empty where there is none.
[[nodiscard]] MailRow MakeMailRow(std::string_view record, std::string_view next, SubjectDisplay display);

[[nodiscard]] unsigned MarksOf(std::string_view record);

/// The bytes that the text file holds from the record's mail to the next one's: with what was taken out of the list
/// between them, until the text is compacted. Of an entry of the list on the host, what that says. Nothing where
/// neither is known.
[[nodiscard]] std::optional<std::int64_t> SizeOf(std::string_view record, std::string_view next);

/// Icons of the marks, by name, the kind of mail first.
[[nodiscard]] QStringList IconsOf(unsigned marks);
/// The marks in words.
[[nodiscard]] QStringList WordsOf(unsigned marks);

}  // namespace postkite::ui
