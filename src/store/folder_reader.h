#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "store/folder_files.h"
#include "store/index_record.h"
#include "store/index_view.h"
#include "store/mail_record.h"
#include "store/text_record.h"
#include "store/text_window.h"

namespace postkite::store {

/// A folder open for reading: any number of its rows and mails with one open and, in list order, one pass
/// over each file. The list is that of the moment of opening, as `IndexView` has it; a mail's text is found whatever
/// compaction does meanwhile. Waits for nobody and writes nothing. Record numbers count from 0.
class FolderReader {
  public:
    /// Opens the folder. Where this program holds the lock, what a crash interrupted is finished first, so that the numbers
    /// are those that a change will find. Returns 0; -ENOENT where there is no index; another negated errno value. A missing
    /// text is no failure: only the mails are damaged then, not the list, and it is not even looked for before a mail is
    /// read.
    [[nodiscard]] int Open(const FolderFiles& files);

    /// To be called before the folder is changed while this object lives: an index that somebody reads is made anew by the
    /// next change, which costs more.
    void Close();

    /// The rows of the list.
    [[nodiscard]] int CountMails() const { return rows_.count(); }

    /// The 900 bytes of a record, valid until the next call; empty where there is none or it cannot be read.
    [[nodiscard]] std::string_view IndexRecord(int recordNumber) { return rows_.Record(recordNumber); }

    [[nodiscard]] int ReadListEntry(int recordNumber, MailListEntry& entry);

    /// What a read mail's text is like.
    enum class Condition {
        Whole,
        Cut,      ///< no end of the text within the limit: the body is cut there
        Damaged,  ///< the record is deleted or leads nowhere; the mail's fields are empty but for those of
                  ///< the index
    };
    [[nodiscard]] Condition ReadMail(int recordNumber, std::size_t bodyLimit, MailRecord& record);

    /// 0, or the negated errno value of a read that failed: what looked like the end of the list, or like damage, may
    /// not be.
    [[nodiscard]] int error() const;

    /// The first record that bears the identifier, trailing blanks aside; -1 when none does.
    [[nodiscard]] int FindMail(std::string_view localId);

  private:
    [[nodiscard]] int OpenText();
    [[nodiscard]] int OpenNewerPair();
    [[nodiscard]] int OpenTextOf(const IndexView& list, bool& belongs);
    [[nodiscard]] std::optional<std::uint64_t> PlaceOf(std::string_view row);

    FolderFiles files_{};
    IndexView rows_;
    // Opened with the first mail. The text is that of the rows, or that of a newer list where a compaction came between: its
    // mails are found there by their identifiers.
    std::unique_ptr<core::File> text_;
    std::optional<TextWindow> textWindow_;
    bool textIsOpen_ = false;  ///< or cannot be
    int textError_ = 0;
    std::optional<IndexView> newer_;
    std::unordered_map<std::size_t, int> newerNumbers_;  ///< by the hash of the identifier
};

}  // namespace postkite::store
