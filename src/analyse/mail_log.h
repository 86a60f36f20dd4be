#pragma once

#include <string_view>

#include "analyse/analysis.h"
#include "core/workspace.h"

/// The capture of the host's mail listing.
namespace postkite::analyse {

/// Whether a line is the summary by which the host opens a mail: 54 bytes with the date in its columns.
[[nodiscard]] bool IsMailHeaderLine(std::string_view line);

/// Whether a line of a mail is what the host asks behind it, and so ends it.
[[nodiscard]] bool EndsMail(std::string_view line);

/// How many mails a capture holds, told by their header lines: one pass over the file. 0 where there is none or
/// it cannot be read.
[[nodiscard]] int CountCapturedMails(const core::Workspace& workspace, std::string_view path);

struct MailLogResult {
    int stored =
        0;  ///< mails that are in their folders for good, those of an earlier run over the same capture
            ///< included
    bool complete = false;  ///< every mail of the capture is stored, and the capture is deleted
};

/// Cuts the capture into mails and appends each to the folder that the sorting rules choose, or to the Inbox.
/// Returns the number of header lines recognised, those that an earlier run got through included; 0 after a
/// memory failure; -1 when the capture cannot be opened, and nothing was said.
///
/// The capture is deleted when every mail is stored. Otherwise it stays, the user knows, or "error.log" where nobody is there
/// (`AUTOMODE`), and a part file beside it (`CapturePart`) has the next run over the same capture store what is missing and
/// nothing twice, also after a crash. Holds the working directory's lock throughout.
[[nodiscard]] int AnalyseMailLog(const Analysis& analysis, std::string_view path, MailLogResult& result);

}  // namespace postkite::analyse
