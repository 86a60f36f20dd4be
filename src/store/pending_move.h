#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/workspace.h"
#include "store/folder_files.h"

/// The note of a move that is under way, "MailBoxInfo.$$m" in the bank's directory. It is on the disk
/// before the first copy is written, and goes when the mails have left their folder or the copies have been
/// taken back.
///
/// Who finds one under the lock settles it, mail by mail: one whose copy is whole in its target leaves the
/// source; of any other the copy, if there is something of it, leaves the target. So each mail is in one of
/// the two, and what others have put into either folder meanwhile is not touched. Settling again comes out
/// the same.
namespace postkite::store {

/// A mail on its way.
struct PendingMail {
    int number = 0;             ///< of its record in the source
    std::uint64_t record = 0;   ///< `SumOfRecord` of that
    std::size_t target = 0;     ///< place among the targets
    std::string_view copyId{};  ///< the copy's localId
};

/// A number that tells a record from the others, whatever becomes of its flags and of the place of its text.
[[nodiscard]] std::uint64_t SumOfRecord(std::string_view record);

/// Gathers a note and puts it on the disk. Hold the lock. Operations return 0 or a negated errno value.
class PendingMove {
  public:
    /// Base names; both outlive the object's last `Add`.
    PendingMove(std::string_view source, std::span<const std::string> targets);

    void Add(const PendingMail& mail);

    /// -EEXIST where another move has not been settled.
    [[nodiscard]] int Write(core::Workspace& workspace, std::string_view bankDirectory) const;

    /// To be called when the mails are where they are to be. Where the disk refuses, the next one to find
    /// the note learns that there is nothing to do.
    static void Remove(core::Workspace& workspace, std::string_view bankDirectory);

  private:
    void AddLine(std::string_view line);

    std::string text_;
    std::uint64_t sum_;
    std::size_t mails_ = 0;
};

/// Settles the move that is noted in a bank's directory, if there is one and, where `concerned` is given,
/// that folder is its source or a target. Nothing is done, and 0 returned, where another program has the
/// lock: it is at work on the move, or settles it before it changes either folder. `source`, if given, gets
/// the base name of the folder that the move goes out from, if there is one that cannot be settled.
[[nodiscard]] int SettlePendingMove(core::Workspace& workspace, std::string_view bankDirectory,
                                    const FolderFiles* concerned, std::string* source = nullptr);

}  // namespace postkite::store
