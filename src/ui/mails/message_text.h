#pragma once

#include <QString>
#include <string>
#include <vector>

#include "core/settings.h"
#include "store/mail_record.h"

namespace postkite::ui {

/// A header line of a mail as people see it.
struct HeaderLine {
    QString label;
    std::string value;  ///< code page 932, of one line
};

/// Sender or recipients, date, subject, copies and attachments, as far as the mail has them.
[[nodiscard]] std::vector<HeaderLine> HeaderLinesOf(const store::MailRecord& mail, bool withCopies);

/// A mail's text as the window shows it: blocks that are short enough to be laid out at once.
struct MessageText {
    QString text;                 ///< blocks separated by "\n"
    std::vector<int> continuing;  ///< numbers of the blocks that go on with the line before, rising
    int headerBlocks = 0;         ///< with the empty one behind them
};

/// Longer lines are shown in pieces.
inline constexpr qsizetype kLongestShownLine = 1000;

/// Header lines as the settings say, and the body.
[[nodiscard]] MessageText MakeMessageText(const store::MailRecord& mail, const core::Settings& settings);

/// The whole mail in lines: header lines, an empty one, and the body with no line cut.
[[nodiscard]] QString WholeText(const store::MailRecord& mail);

/// The whole mail for a file: in code page 932 with the stored bytes of the body and CR LF, and in UTF-8 with the
/// system's line ends.
[[nodiscard]] std::string ShiftJisFile(const store::MailRecord& mail);
[[nodiscard]] std::string Utf8File(const store::MailRecord& mail);

/// A file's name made of a subject: nothing that a file system refuses, hides or takes for a directory.
[[nodiscard]] QString FileNameOf(const QString& subject);

}  // namespace postkite::ui
