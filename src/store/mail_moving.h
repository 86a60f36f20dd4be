#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "store/folder_commands.h"
#include "store/folder_reader.h"
#include "store/mailbox.h"

namespace postkite::store {

/// Mails of one folder on their way into any number of others. The targets stay open from the beginning to
/// the end of the object, so that what was copied can be taken back. The user is told of what fails.
/// Borrows everything.
class MailMoving {
  public:
    /// Base names.
    MailMoving(Mailbox& mailbox, std::string_view source, std::span<const std::string> targets);

    /// To be called for every target that is used, before the lock is taken: may ask whether a folder of an
    /// older layout is to be converted. One that cannot be used counts as failed.
    void Prepare(int target);

    /// The next four under the lock, in this order; `reader` stands in the source, and `moves` are the same.

    /// Opens the targets and notes on the disk what is about to move (`PendingMove`). -1 where it cannot be
    /// noted: nothing is to be copied then.
    [[nodiscard]] int Begin(FolderReader& reader, std::span<const MailMove> moves);

    /// Copies the mails to the ends of their targets, in the order given, and commits. Where a target fails
    /// it takes no further mail.
    void Copy(FolderReader& reader, std::span<const MailMove> moves);

    /// Takes what was copied for good out of the source, or else the copies out of the targets. Whatever
    /// fails, the mails are in one of the two from here on, or when somebody next opens either: the note
    /// stays where it has to. -1 where the source could not be changed.
    [[nodiscard]] int Finish();

    /// The record numbers of the mails that have moved, rising.
    [[nodiscard]] std::vector<int> TakeMoved() { return std::move(copied_); }
    /// How many mails were damaged or too long to be copied whole.
    [[nodiscard]] std::size_t left() const { return left_; }
    [[nodiscard]] bool failed() const { return failed_; }

  private:
    struct Target {
        std::string name;
        std::unique_ptr<FolderWriter> writer;  ///< of this target, or nullptr
        std::size_t
            sharesWith;  ///< the target whose files are the same, in another spelling; itself otherwise
        bool prepared = false;
        bool failed = false;
        std::vector<int> uncommitted;  ///< numbers of the mails that were copied since the last commit
    };

    [[nodiscard]] Target* OpenTarget(int number);
    void CopyMail(const MailMove& move, std::string_view copyId, MailRecord& record);
    void CommitAll();
    void GiveUp(Target& target);
    [[nodiscard]] bool TakeBackCopies();

    Mailbox* mailbox_;
    std::string source_;
    FolderFiles sourceFiles_;
    std::vector<Target> targets_;
    std::string copyIds_;  ///< the copies' identifiers, in the order of the moves, a line each
    bool isNoted_ = false;
    bool mayBeTwice_ = false;                              ///< copies could not be taken back
    std::map<std::filesystem::path, std::size_t> byPath_;  ///< open targets by their text files
    std::vector<int> copied_;
    std::size_t gathered_ = 0;  ///< mails copied since the last commit
    std::size_t left_ = 0;
    bool failed_ = false;
};

}  // namespace postkite::store
