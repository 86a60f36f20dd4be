#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "store/folder_files.h"

namespace postkite::store {

/// A journal that is there, open for reading. It is whole, and what the index is to be has been decided by
/// it.
struct JournalledRecords {
    std::unique_ptr<core::File> file;
    std::uint64_t firstRecord = 0;  ///< the one of the index whose place the journal's first takes
    std::uint64_t count = 0;
    bool cut = false;  ///< the index ends behind them

    /// Where in the journal the index's record `number` stands, which is one of these.
    [[nodiscard]] std::uint64_t OffsetOf(std::uint64_t number) const;
};

/// Records that are to stand in an index in the place of others. They are gathered in a file beside, which
/// reaches the disk whole before the index is touched, so that a crash leaves the old records or the new
/// ones. An index that somebody is reading is not touched at all: a new one takes its place. Hold the lock
/// from the making of the object to its end.
class IndexJournal {
  public:
    explicit IndexJournal(const FolderFiles& files) : files_(&files) {}

    /// The records from `firstRecord` on are to be replaced by those that are added from here on.
    /// `oldCount` is the number of records that the index has.
    [[nodiscard]] int Begin(std::uint64_t firstRecord, std::uint64_t oldCount);

    /// The records that are added from here on are to be the whole index: what is gathered becomes the
    /// index itself, which spares writing it twice.
    [[nodiscard]] int BeginAnew();

    /// Whole records of 900 bytes.
    [[nodiscard]] int Add(std::string_view records);

    enum class End { Kept, CutBehind };
    /// Puts the records in the index: the index keeps what it has behind them, or ends there. A whole index
    /// ends there.
    [[nodiscard]] int Apply(End end);

    /// Whether the change will be made whatever happens from now on, although `Apply` failed: the next one to
    /// open the folder goes on with it.
    [[nodiscard]] bool stands() const { return stands_; }

    /// Puts the records of a journal that a crash left in the index. One that is not to be used is put
    /// aside; `kept` gets its name.
    [[nodiscard]] static int Resume(const FolderFiles& files, std::vector<std::string>& kept);

    /// Opens the journal that is there, if it is one that `Resume` would go on with: -ENOENT where there is
    /// none, -EINVAL for any other file. Needs no lock.
    [[nodiscard]] static int OpenExisting(const FolderFiles& files, JournalledRecords& journal);

  private:
    [[nodiscard]] int Flush();
    [[nodiscard]] int PutInPlace();

    const FolderFiles* files_;
    std::unique_ptr<core::File> file_;
    std::uint64_t firstRecord_ = 0;
    std::uint64_t oldCount_ = 0;
    std::uint64_t sum_ = 0;
    bool anew_ = false;
    std::uint64_t writtenBytes_ = 0;
    std::string buffer_;
    bool stands_ = false;
};

}  // namespace postkite::store
