#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "store/folder_commands.h"
#include "store/folder_reader.h"
#include "store/mailbox.h"

namespace postkite::store {

/// Mails of one folder on their way into any number of others: the first half of a move. Each target is opened
/// when its first mail comes and stays open. The user is told of what fails. Borrows everything.
class MailCopying {
  public:
    /// `targets` are base names.
    MailCopying(Mailbox& mailbox, std::span<const std::string> targets);

    /// To be called for every target that is used, before the lock is taken: may ask whether a folder of an older
    /// layout is to be converted. One that cannot be used counts as failed.
    void Prepare(int target);

    /// Copies the mails to the ends of their targets, in the order given, and commits. Where a target fails it takes
    /// no further mail. `reader` stands in the folder that they lie in.
    void Run(FolderReader& reader, std::span<const MailMove> moves);

    /// The record numbers of the mails that are on the disk at their targets for good, rising.
    [[nodiscard]] std::vector<int> TakeCopied();
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
    void CopyMail(const MailMove& move, MailRecord& record);
    void CommitAll();
    void GiveUp(Target& target);

    Mailbox* mailbox_;
    std::vector<Target> targets_;
    std::map<std::filesystem::path, std::size_t> byPath_;  ///< open targets by their text files
    std::vector<int> copied_;
    std::size_t gathered_ = 0;  ///< mails copied since the last commit
    std::size_t left_ = 0;
    bool failed_ = false;
};

}  // namespace postkite::store
