#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/time_stamp.h"
#include "core/workspace.h"
#include "store/block_output.h"
#include "store/folder_files.h"
#include "store/mail_record.h"

namespace postkite::store {

/// The localId of a mail that is about to be appended.
[[nodiscard]] std::string MakeIdentifierOfNewMail(core::IdentifierMaker& identifiers);

/// A folder open for any number of mails to be appended. Nothing of them counts before `Commit`: it puts the
/// texts on the disk first, then the index records that point to them, and returns 0 when both are there for
/// good. What fails is taken back, and the folder is as it was. Holds the working directory's lock while it
/// lives. Borrows the identifier maker.
class FolderWriter {
  public:
    explicit FolderWriter(core::IdentifierMaker& identifiers) : identifiers_(&identifiers) {}
    FolderWriter(const FolderWriter&) = delete;
    FolderWriter& operator=(const FolderWriter&) = delete;
    /// Takes back what was not committed.
    ~FolderWriter();

    /// Opens the folder's files, made when they are missing. Returns 0 or a negated errno value, as all
    /// operations here.
    [[nodiscard]] int Open(const FolderFiles& files);

    /// Adds a mail at the end of the list. `record` is changed as it is stored: a new localId, flag 14 set,
    /// the spares cleared, index fields cut. -EINVAL for a record that would break the files: a header
    /// field with CR or a zero byte, a body that holds the terminator, flags of more than 50 bytes;
    /// -EMSGSIZE for one that compaction could not read back. Nothing has changed in the folder then. The
    /// localId is `localId`, which the identifier maker has made, or else a new one.
    [[nodiscard]] int Append(MailRecord& record, std::string_view localId = {});

    /// The same in the place of record `recordNumber`, which must exist. One a commit.
    [[nodiscard]] int Overwrite(int recordNumber, MailRecord& record);

    /// The record number of the next mail that is appended.
    [[nodiscard]] int nextRecordNumber() const;

    /// The most memory that index records have taken since the last commit, which gives it back.
    [[nodiscard]] std::size_t gatheredBytes() const { return gatheredBytes_; }

    [[nodiscard]] int Commit();

    /// Takes back all that was appended since the folder was opened, committed or not, and ends the work. A
    /// negated errno value where some of it may be there.
    [[nodiscard]] int TakeBackAll();

    /// Whether something that failed could not be taken back: some of the mails may be there.
    [[nodiscard]] bool hasLeftovers() const { return hasLeftovers_; }

  private:
    struct Overwriting {
        int recordNumber;
        std::string bytes;
    };

    [[nodiscard]] int AddText(MailRecord& record, std::string& indexRecord);
    [[nodiscard]] int LookForLastIdentifier();
    [[nodiscard]] int LookForTornText();
    [[nodiscard]] int FlushBoth();
    [[nodiscard]] int PutOverwriting();
    int Fail(int result);
    void TakeBack();

    core::IdentifierMaker* identifiers_;
    FolderFiles files_{};
    core::WorkspaceLock lock_;
    std::unique_ptr<core::File> index_;
    std::unique_ptr<core::File> text_;
    std::uint64_t firstTextBytes_ = 0;  ///< when the folder was opened
    std::uint64_t firstIndexBytes_ = 0;
    std::uint64_t oldTextBytes_ = 0;  ///< at the last commit
    std::uint64_t oldIndexBytes_ = 0;
    std::uint64_t indexBytes_ = 0;  ///< written and gathered
    BlockOutput textOutput_;
    std::string headerLines_;
    std::string tornTextEnd_;  ///< what the first mail has to put behind a torn one
    std::string indexBuffer_;
    std::size_t gatheredBytes_ = 0;
    std::optional<Overwriting> overwriting_;
    int failure_ = 0;
    bool changed_ = false;  ///< since the last commit
    bool hasLeftovers_ = false;
    bool namesAreSynced_ = false;
};

}  // namespace postkite::store
