#pragma once

#include <string_view>

#include "analyse/analysis.h"
#include "analyse/captured_lines.h"
#include "core/workspace.h"

/// The capture of the host's mail listing.
namespace postkite::analyse {

/// How many mails a capture holds, told by their header lines: one pass over the file. 0 where there is none or
/// it cannot be read.
[[nodiscard]] int CountCapturedMails(const core::Workspace& workspace, std::string_view path);

struct MailLogResult {
    int stored =
        0;  ///< mails that are in their folders for good, those of an earlier run over the same capture
            ///< included
    bool complete = false;  ///< every mail of the capture is stored, and the capture is out of the way
    int unread = 0;         ///< deletions on the host whose mail could not be told from what stands around it
    bool open = false;      ///< the last mail is torn, or may not have been deleted, and can come again
};

/// Cuts the capture into mails and appends each to the folder that the sorting rules choose, or to the Inbox.
/// Returns the number of header lines recognised, those that an earlier run got through included; 0 after a
/// memory failure; -1 when the capture cannot be opened, and nothing was said.
///
/// Beside the capture of a session lies its account of deletions (`CaptureDeletions`), and then more is known:
/// - What would be passed over although the host was let to delete it becomes a mail of its own in the Inbox, the raw lines
///   its text. The capture stays as "`path`.bak" then (".bak2" and so on), and the user is told.
/// - A last mail that is torn, or may not have been deleted, is stored, named to the user and remembered (`TornMails`). What
///   continues such a mail takes its place.
///
/// The capture is deleted when every mail is stored. Otherwise it stays, the user knows, or "error.log" where nobody is there
/// (`AUTOMODE`), and a part file beside it (`CapturePart`) has the next run over the same capture store what is missing and
/// nothing twice, also after a crash. Holds the working directory's lock throughout.
[[nodiscard]] int AnalyseMailLog(const Analysis& analysis, std::string_view path, MailLogResult& result);

}  // namespace postkite::analyse
