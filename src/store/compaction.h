#pragma once

#include <functional>
#include <string>

#include "store/folder_files.h"

namespace postkite::store {

/// Takes the deleted records out of a folder's index: rewrites it from the first of them on, and nothing
/// before it. A crash leaves the old index or the new one. Returns 0 or a negated errno value. Takes the
/// lock.
[[nodiscard]] int RemoveDeletedRecords(const FolderFiles& files);

struct TextCompaction {
    int result = 0;
    int lostMails =
        0;  ///< mails without an end within the mail buffer, or whose text is not where the index says
    std::string
        keptAs;  ///< the name under which the old text was kept, because of them; the old index beside it
};

/// Rewrites a folder's text without what no record points to, and its index to match, without the deleted
/// records. A crash leaves both old files or both new ones; what fails leaves the old ones. -ENODATA where there are
/// mails and no text. `onMail` is called behind each mail. Takes the lock.
[[nodiscard]] TextCompaction RewriteText(const FolderFiles& files, const std::function<void()>& onMail);

}  // namespace postkite::store
