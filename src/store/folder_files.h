#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>

#include "core/user_interface.h"
#include "core/workspace.h"

/// Where a folder's files lie, and what a crash can leave among them.
///
/// Two changes take more than one step: putting new records in the place of an index's old ones, and
/// compaction, which replaces index and text together. Each writes what is to be beside, on the disk itself,
/// before it touches what is; `FinishInterruptedChanges` brings a folder to one side or the other after a
/// crash:
///
/// - "N.$$i" is the journal of an index change (`IndexJournal`), made under another name and renamed when
///   whole. While it is there its records are copied over the index, as often as need be.
/// - "N.$$t" and "N.$$l" are the new text and index of a compaction. The text is made first and renamed
///   first: both there means not yet, the index alone means that the text is replaced already and the index
///   has to follow.
///
/// What takes the place of something is whole, and no fewer mails can be read with it than before. Anything
/// else is put aside (`PutAside`), with what is there left as it is, and told.
namespace postkite::store {

/// Whether the disk takes the names of a folder's files with `ending` as the longest one. A name that a
/// folder is given leaves room for all that is ever kept beside its files.
inline constexpr std::string_view kLongestEnding = ".mtx.bak999";
[[nodiscard]] bool FitsFileNames(std::string_view folder, std::string_view ending = kLongestEnding);

/// The name of the folder that the clipboard uses; its files lie outside the banks.
inline constexpr std::string_view kClipboardFolder = "$PostkiteClipFile$";

/// Names in `workspace`; code page 932. Borrows the workspace.
struct FolderFiles {
    core::Workspace* workspace;
    std::string index;            ///< "B\N.loc"
    std::string text;             ///< "B\N.mtx"
    std::string properties;       ///< "B\N.PROP"
    std::string journal;          ///< "B\N.$$i"
    std::string compactionIndex;  ///< "B\N.$$l"
    std::string compactionText;   ///< "B\N.$$t"
    std::string bankDirectory;    ///< "B"
    /// Is told of what recovery has not put in place, under which name it is kept; without one "error.log"
    /// is. May be called by whatever opens the folder, after the work. Outlives all who use these files.
    const std::function<void(const std::string& kept)>* onPutAside = nullptr;
};

/// The files of the folder with that base name in a bank's directory; an empty directory is the working
/// directory itself.
[[nodiscard]] FolderFiles FilesOf(core::Workspace& workspace, std::string_view bankDirectory,
                                  std::string_view folder);

/// The folders of a bank that have files at the time of making; looking a folder up costs no call to the disk.
class FoldersWithFiles {
  public:
    FoldersWithFiles(const core::Workspace& workspace, std::string_view bankDirectory);

    /// Whether there is a file of any kind that is named after the folder, in any letter case; for every folder where the
    /// directory cannot be listed.
    [[nodiscard]] bool Contains(std::string_view folder) const;

  private:
    bool listed_ = false;
    std::unordered_set<std::string> names_;
};

/// What a change that is going on, or that a crash interrupted, has beside a folder's files.
struct Unfinished {
    bool journal = false;
    bool newText = false;
    bool newIndex = false;
};
[[nodiscard]] int LookForUnfinished(const FolderFiles& files, Unfinished& unfinished);

/// The index and the text that count, whatever their names.
enum class Pair {
    Old,       ///< a compaction has not yet taken effect
    NewIndex,  ///< its text has taken the old one's place, and its index has to follow
    New,       ///< both have to take the places of the old ones
};
[[nodiscard]] int FindPairInForce(const FolderFiles& files, const Unfinished& unfinished, Pair& pair);

/// Finishes or undoes what a crash interrupted in a folder, and does nothing where there was none. Returns
/// 0 or a negated errno value. Takes the lock itself where there is something to do. A move of mails from
/// or to the folder is settled too (`SettlePendingMove`), which may change the numbers of records; one that
/// cannot be is left to the next, and is no failure.
[[nodiscard]] int FinishInterruptedChanges(const FolderFiles& files);
/// The same without moves, for those who have numbers of records already. Without `wait`, -EWOULDBLOCK where something is
/// there and another program has the lock, which may be the one that is at it.
[[nodiscard]] int FinishOwnChanges(const FolderFiles& files, bool wait = true);

}  // namespace postkite::store
