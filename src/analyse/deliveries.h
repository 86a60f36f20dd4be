#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "store/folder_writer.h"
#include "store/mail_record.h"
#include "store/mailbox.h"

namespace postkite::analyse {

/// Mails on their way from a capture into any number of folders. A folder is opened when its first mail comes
/// and stays open; what was delivered is committed in batches, so that a disk that fills takes back a batch and
/// not everything. Borrows the mailbox; holds the working directory's lock while a folder is open.
///
/// What fails while it is written is told to the user once; the batch goes back and nothing is taken any more. A folder that
/// cannot even be opened takes no mail, and the others do. Whoever delivers has to look at
/// `complete()` before the capture goes. Folders are told apart as the disk does: letter case does not count.
class Deliveries {
  public:
    /// `beforeFirst` is called before the first mail of a folder is written: a negated errno value that it returns keeps the
    /// mail from being written, and is how the folder has failed.
    using BeforeFirst = std::function<int(std::string_view folder)>;
    explicit Deliveries(store::Mailbox& mailbox, BeforeFirst beforeFirst = {});
    Deliveries(const Deliveries&) = delete;
    Deliveries& operator=(const Deliveries&) = delete;
    /// Takes back what was not committed.
    ~Deliveries() = default;

    /// Opens a folder where it is not open. -1 where that fails, or has failed before; told once. A mail can go elsewhere
    /// then. 0 for a folder that was open once, whatever has become of it.
    [[nodiscard]] int OpenFolder(std::string_view folder);

    /// Appends the mail, made storable first: nothing in it can be refused. A body that had to be cut is noted in
    /// "error.log". 0, or -1 where the folder has failed, before or now.
    [[nodiscard]] int Deliver(std::string_view folder, store::MailRecord& record);

    /// Commits what was delivered and closes that folder, for somebody else to write to it. -1 as `Finish`.
    [[nodiscard]] int Release(std::string_view folder);

    /// Commits what was delivered and closes the folders. -1 where one failed, now or before.
    [[nodiscard]] int Finish();

    /// Whether no mail that was to be delivered was left out or taken back.
    [[nodiscard]] bool complete() const { return complete_; }
    /// Whether a batch had to be taken back. Those before it are in their folders for good, and nothing behind them is.
    [[nodiscard]] bool takenBack() const { return takenBack_; }
    /// Whether the disk is full or broken, and going on is useless.
    [[nodiscard]] bool hopeless() const { return hopeless_; }

    /// The mails that are in their folders for good.
    [[nodiscard]] int committed() const { return committed_; }
    /// Whether each that was delivered is. So it is now and then behind a `Deliver`.
    [[nodiscard]] bool allCommitted() const { return deliveredBytes_ == 0; }

  private:
    enum class State { Usable, CannotBeOpened, Failed };
    struct Target {
        std::string folder;
        State state = State::Usable;
        std::unique_ptr<store::FolderWriter> writer;  ///< none while closed
        bool begun = false;                           ///< has got a mail
        int uncommitted = 0;
        std::size_t gatheredBytes = 0;
        std::uint64_t lastUse = 0;
    };

    [[nodiscard]] Target& TargetOf(std::string_view folder);
    void Open(Target& target);
    void CloseLeastUsed();
    [[nodiscard]] int Append(Target& target, store::MailRecord& record);
    void CommitAll();
    void Commit(Target& target);
    void Fail(Target& target, int error);
    void Close(Target& target);
    void CountGathered(Target& target);
    void LogCutBody(const Target& target, const store::MailRecord& record);

    store::Mailbox* mailbox_;
    BeforeFirst beforeFirst_;
    std::map<std::string, std::shared_ptr<Target>, std::less<>>
        targets_;  ///< by every spelling that was used
    std::size_t openTargets_ = 0;
    std::uint64_t uses_ = 0;
    std::uint64_t deliveredBytes_ = 0;  ///< since all was committed
    std::size_t gatheredBytes_ = 0;     ///< in the open folders' memory
    int committed_ = 0;
    bool complete_ = true;
    bool hopeless_ = false;
    bool takenBack_ = false;
};

/// Changes what the mailbox files cannot hold: CR, LF and zero bytes in header fields and zero bytes in the body become
/// blanks, fields are cut to what they have always held, and the end mark of a mail, should the body hold it, gets a blank into
/// it. The body gets the line end that it is stored with, and is cut between characters where it could not be read back:
/// it is, byte for byte, what the store will give back. Returns whether the body was cut.
bool MakeStorable(store::MailRecord& record);

}  // namespace postkite::analyse
