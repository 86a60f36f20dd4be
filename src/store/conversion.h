#pragma once

#include <string_view>

#include "store/mailbox.h"

namespace postkite::store {

/// The folder in which the mails of an older one are written anew.
inline constexpr std::string_view kConversionFolder = "ConvertTemp";

/// To be called whenever a folder is opened. Returns 0 when it can be worked with: it is, or is now, of the
/// current layout, or has no files. A folder of an older layout (`DetectLayout`) is converted if the user
/// wants it. Returns -1 when it stays as it is, because the user does not or because something failed, which
/// the user knows then.
///
/// Every mail keeps its fields and flags, but gets a new localId, as everything that is stored. Deleted
/// records are left out. Mails that are damaged are counted and told; where nothing else is in the folder, it
/// stays as it is.
///
/// The old files are kept beside, "N.loc.v2" and "N.mtx.v2" (or ".v1", or with "-2" and so on behind it, the
/// first that is free). What lies in "ConvertTemp" with mails listed in it is kept under another name as
/// well.
///
/// At any moment the folder is the old one or the converted one. In order: the mails are written to
/// "ConvertTemp" and are on the disk; the old index is copied beside; both new files become those of a
/// compaction ("N.$$t", "N.$$l") that has not yet taken effect, so that opening the folder after a crash
/// takes them away; the old text gets its other name, and from here on opening the folder puts the new files
/// in place. A conversion that was cut off before that starts again.
///
/// Holds the lock but not while asking. Pumps messages: nothing else is started meanwhile.
[[nodiscard]] int ConvertFolder(Mailbox& mailbox, std::string_view folder);

}  // namespace postkite::store
