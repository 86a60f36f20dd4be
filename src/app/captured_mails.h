#pragma once

#include "core/workspace.h"

namespace postkite::app {

/// How many mails the capture "maillog.txt" holds, told by their header lines: one pass over the file. 0 where
/// there is none or it cannot be read.
[[nodiscard]] int CountCapturedMails(const core::Workspace& workspace);

}  // namespace postkite::app
