#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "store/folder_files.h"
#include "store/index_journal.h"
#include "store/text_window.h"

namespace postkite::store {

/// A folder's list as it is at one moment, for as long as this is open, whatever other programs do meanwhile: each row
/// once, none missing. Only the flags in a row, and the row's being deleted, are those of the time of reading. Takes no
/// lock, waits for nobody, writes nothing and keeps nobody waiting.
///
/// A change that a crash has cut off is seen as it will be when it has been finished.
class IndexView {
  public:
    /// Returns 0; -ENOENT where there is no index; -EBUSY where it was replaced again and again meanwhile; another negated
    /// errno value.
    [[nodiscard]] int Open(const FolderFiles& files);

    /// Whether a change was going on when it was opened, or had been cut off by a crash; also where opening failed.
    [[nodiscard]] bool sawUnfinished() const { return sawUnfinished_; }

    /// The rows; a torn last one does not count.
    [[nodiscard]] int count() const { return static_cast<int>(count_); }

    /// The 900 bytes of a row, valid until the next call; empty where there is none or it cannot be read.
    [[nodiscard]] std::string_view Record(int number);

    /// 0, or the negated errno value of a read that failed.
    [[nodiscard]] int error() const;

    /// The name of the text that the rows lead into.
    [[nodiscard]] const std::string& TextName(const FolderFiles& files) const {
        return pair_ == Pair::New ? files.compactionText : files.text;
    }

    /// Whether this is still the list that counts. Where it is, and a text was opened under the name since, the two belong
    /// together: a compaction puts the new text in place before the new index.
    [[nodiscard]] int IsInForce(const FolderFiles& files, bool& isInForce) const;

  private:
    enum class Found { List, Nothing, AnotherMeanwhile };
    [[nodiscard]] int Try(const FolderFiles& files, Found& found);
    [[nodiscard]] int TakeOldIndex(const FolderFiles& files, const Unfinished& unfinished, Found& found);
    [[nodiscard]] int TakeNewIndex(const FolderFiles& files, const Unfinished& unfinished, Found& found);
    [[nodiscard]] int Begin();

    Pair pair_ = Pair::Old;  ///< when it was opened
    bool sawUnfinished_ = false;
    std::unique_ptr<core::File> index_;
    core::FileIdentity identity_;
    std::optional<JournalledRecords> journal_;  ///< its records stand for those of the index
    std::uint64_t count_ = 0;
    std::optional<TextWindow> indexWindow_;
    std::optional<TextWindow> journalWindow_;
};

}  // namespace postkite::store
