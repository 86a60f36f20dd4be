#pragma once

#include <functional>
#include <span>
#include <string>

#include "store/folder_files.h"

namespace postkite::store {

/// Takes the records with these numbers, in rising order, and the deleted ones out of a folder's index, in
/// one step: a crash leaves the old index or the new one. Mails that go so are marked deleted in the text
/// as well, which is dead then and tells nobody but people; a crash may leave those marks out. Returns 0 or
/// a negated errno value. Takes the lock. `takesEffect`, if given, says whether they go although this has
/// failed, sooner or later.
[[nodiscard]] int RemoveRecords(const FolderFiles& files, std::span<const int> numbers,
                                bool* takesEffect = nullptr);

struct TextCompaction {
    int result = 0;
    int lostMails =
        0;  ///< mails without an end within the mail buffer, or whose text is not where the index says
    std::string
        keptAs;  ///< the name under which the old text was kept, because of them; the old index beside it
};

/// Rewrites a folder's text without what no record points to, and its index to match, without the deleted
/// records. A crash leaves both old files or both new ones; what fails leaves the old ones. -ENODATA where
/// there are mails and no text. `onMail` is called behind each mail. Takes the lock.
[[nodiscard]] TextCompaction RewriteText(const FolderFiles& files, const std::function<void()>& onMail);

}  // namespace postkite::store
