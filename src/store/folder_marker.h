#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "core/clock.h"
#include "core/workspace.h"
#include "store/folder_files.h"
#include "store/text_window.h"

namespace postkite::store {

/// A folder open for any number of mails to be marked. Marks are written in place, single bytes in index and
/// text. When `Commit` returns 0, those that decide whether a mail is kept or sent are on the disk for good;
/// a power cut may take the others, such as "read", back: a thousand of them would cost a thousand pages
/// written twice. Holds the working directory's lock while it lives.
class FolderMarker {
  public:
    /// Returns 0; -ENOENT where there is no index; another negated errno value.
    [[nodiscard]] int Open(const FolderFiles& files);

    /// Writes one flag in both files. -EINVAL, and nothing is written, for a record that is not there, is
    /// deleted or leads nowhere, for a position behind the end of the mail's flag line and for a character
    /// that is none (CR, LF, zero).
    [[nodiscard]] int SetFlag(int recordNumber, std::size_t position, char character);

    /// Marks a mail sent or not sent; a sent mail is no longer reserved. Where it is marked sent, the date of
    /// sending becomes now.
    [[nodiscard]] int MarkSent(int recordNumber, bool sent, const core::Clock& clock);

    /// Marks a mail deleted; the record stays in the list until `CompactIndex`. A record that leads nowhere
    /// can be deleted too.
    [[nodiscard]] int MarkDeleted(int recordNumber);

    [[nodiscard]] int Commit();

  private:
    [[nodiscard]] int ReadRecord(int recordNumber, std::string_view& record);
    /// The length of the flag line of the mail that was read last; 0 where the text holds another mail there or none; a
    /// negated errno value.
    [[nodiscard]] std::int64_t FlagLineBytes(std::uint64_t textOffset);
    [[nodiscard]] int StampSendingDate(int recordNumber, std::uint64_t textOffset, const core::Clock& clock);

    core::WorkspaceLock lock_;
    std::unique_ptr<core::File> index_;
    std::unique_ptr<core::File> text_;
    std::string record_;
    bool mustSync_ = false;
};

}  // namespace postkite::store
