#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "store/folder_files.h"
#include "store/index_record.h"
#include "store/mail_record.h"
#include "store/text_record.h"
#include "store/text_window.h"

namespace postkite::store {

/// A folder open for reading: any number of its rows and mails with one open and, in list order, one pass
/// over each file. What it shows is the folder at the time of each read. Record numbers count from 0.
class FolderReader {
  public:
    /// Finishes what a crash interrupted, then opens the folder. Returns 0; -ENOENT where there is no index;
    /// another negated errno value. A missing text is no failure: only the mails are damaged then, not the
    /// list, and it is not even looked for before a mail is read.
    [[nodiscard]] int Open(const FolderFiles& files);

    /// The records of the index; a torn last one does not count. Or a negated errno value.
    [[nodiscard]] int CountMails();

    /// The 900 bytes of a record, valid until the next call; empty where there is none or it cannot be read.
    [[nodiscard]] std::string_view IndexRecord(int recordNumber);

    [[nodiscard]] int ReadListEntry(int recordNumber, MailListEntry& entry);

    /// What a read mail's text is like.
    enum class Condition {
        Whole,
        Cut,      ///< no end of the text within the limit: the body is cut there
        Damaged,  ///< the record is deleted or leads nowhere; the mail's fields are empty but for those of
                  ///< the index
    };
    /// Before a mail is called damaged for the first time, the files are opened anew: a compaction may have come between
    /// the opening of the one and the other.
    [[nodiscard]] Condition ReadMail(int recordNumber, std::size_t bodyLimit, MailRecord& record);

    /// 0, or the negated errno value of a read that failed: what looked like the end of the list, or like damage, may
    /// not be.
    [[nodiscard]] int error() const;

    /// Whether records were taken out since the folder was opened: rows that were read may have been read twice.
    [[nodiscard]] bool HasShrunk();

    /// The first record that bears the identifier, trailing blanks aside; -1 when none does.
    [[nodiscard]] int FindMail(std::string_view localId);

  private:
    [[nodiscard]] int OpenFiles();
    void OpenText();
    [[nodiscard]] Condition TryToReadMail(int recordNumber, std::size_t bodyLimit, MailRecord& record);

    FolderFiles files_{};
    bool openedTogether_ = false;  ///< index and text were opened while nobody could replace either
    std::unique_ptr<core::File> index_;
    std::int64_t indexBytes_ = 0;  ///< when it was opened
    std::unique_ptr<core::File> text_;
    bool textIsOpen_ = false;  ///< or cannot be
    int textError_ = 0;
    std::optional<TextWindow> indexWindow_;
    std::optional<TextWindow> textWindow_;
};

}  // namespace postkite::store
