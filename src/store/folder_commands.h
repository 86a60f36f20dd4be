#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/user_interface.h"
#include "core/workspace.h"
#include "store/folder_renaming.h"
#include "store/folder_tree.h"
#include "store/mailbox.h"

namespace postkite::store {

/// What a new folder is called until a person names it.
inline constexpr std::string_view kNewFolderName = "New folder";

/// A name was silently not taken: it is empty, holds "#" or is that of a fixed folder. The label goes back.
inline constexpr int kNameNotTaken = -2;

/// Whether a mail is open in an editor; its folder must not go away under it then.
enum class MailEditing { No, Yes };

/// A mail that is to go to another folder.
struct MailMove {
    int recordNumber;
    int target;  ///< place in a list of folders
};

/// The folders of the current bank and what people do with them, and the banks. Folders are named by their
/// base names in any letter case. One a program. Borrows the mailbox and the table of the banks' directories,
/// which may change meanwhile.
///
/// Operations return 0 or -1 unless stated and have told the user why when they return -1. Each one first
/// takes over what another program has made of the tree file meanwhile, so pointers into the tree do not
/// outlive the next operation, done or not. The tree and its file always say the same, except where saving
/// "expanded" is left to `SaveFolderTree`. What is expanded or selected is the views' matter.
class Folders {
  public:
    Folders(Mailbox& mailbox, std::span<const std::string> banks) : mailbox_(&mailbox), banks_(banks) {}

    /// Views may change the state numbers, and save them with `SaveFolderTree`.
    [[nodiscard]] FolderTree& tree() { return tree_; }
    [[nodiscard]] core::Workspace& workspace() { return mailbox_->workspace(); }
    [[nodiscard]] core::UserInterface& ui() { return mailbox_->ui(); }

    /// Reads the tree file, or writes the default one where there is none. Finishes a renaming that a crash
    /// interrupted; one that another program is at is not waited for. When this fails the tree is what could be read, or else the default one in memory alone;
    /// nothing can be changed until loading works.
    [[nodiscard]] int LoadFolderTree();

    /// Takes over what another program has made of the tree file meanwhile, as each operation does. Hold the
    /// lock for as long as the tree is to stay so.
    [[nodiscard]] int TakeOverChanges();

    /// Writes the tree file and its companion list. Where another program has changed the file meanwhile, its
    /// tree is taken over instead.
    [[nodiscard]] int SaveFolderTree();

    /// Writes the companion list where it does not say what the tree says, for those who look folders up in it.
    /// Where that fails, on a disk that is only read for example, or where another program has the lock, the list stays as it
    /// is, without a word.
    void WriteFolderList();

    /// Adds a folder "New folder".
    [[nodiscard]] int NewFolder(std::string_view parent);
    /// Adds a folder of that name and makes its files; mails that an earlier folder of the name left are in
    /// it again. Can return `kNameNotTaken`.
    [[nodiscard]] int NewFolder(std::string_view parent, std::string_view name);

    /// To be called when a person begins to edit a folder's label: -1 refuses that.
    [[nodiscard]] int BeginRename(std::string_view folder, MailEditing editing);

    /// Renames a folder, with its files and those of every folder below it. Can return `kNameNotTaken`. The
    /// label goes back to what the tree has then.
    [[nodiscard]] int RenameFolder(std::string_view folder, std::string_view newName, MailEditing editing);

    /// Asks, then takes a folder with all below it out of the tree. Their files stay. -1 also when the answer
    /// is no.
    [[nodiscard]] int DeleteFolder(std::string_view folder, MailEditing editing);

    /// Asks, then puts the default tree in the place of whatever there is. -1 also when the answer is no.
    [[nodiscard]] int ResetFolderTree();

    /// Moves a folder, with all below it and their files, below another one. Asks where files of a deleted
    /// folder are in the way. -1 also when the answer is no.
    [[nodiscard]] int MoveFolder(std::string_view source, std::string_view target, MailEditing editing);

    /// Moves the mails with these record numbers to another folder, in list order: all are written there
    /// before the first one is marked here. One that is damaged or longer than can be read whole stays, and
    /// the user is told; -1 then, the others have moved. -1 and nothing has changed where one of the numbers
    /// is not in the list.
    [[nodiscard]] int MoveMails(std::string_view folder, std::span<const int> recordNumbers,
                                std::string_view target);
    /// The same with a target a mail, a place in `targets`, which are base names; the folder itself can be one, and the
    /// mail goes to its end. A mail is named once. Where a target fails its mails stay and the others go; -1
    /// then too. `moved`, if given, gets the record numbers of the mails that went, in list order.
    [[nodiscard]] int MoveMails(std::string_view folder, std::span<const MailMove> moves,
                                std::span<const std::string> targets, std::vector<int>* moved = nullptr);
    [[nodiscard]] int MoveMailsToTrash(std::string_view folder, std::span<const int> recordNumbers) {
        return MoveMails(folder, recordNumbers, kTrash);
    }

    /// Deletes mails for good, damaged ones too. As `MoveMails` where one is not there.
    [[nodiscard]] int DeleteMails(std::string_view folder, std::span<const int> recordNumbers);

    /// The compaction command. What fails is told, and the other folders are compacted.
    [[nodiscard]] int CompactAllFolders();
    /// The mails that the last one found.
    [[nodiscard]] std::uint64_t progressTotal() const { return progressTotal_; }

    /// Does something for the root and every folder below it in tree order, for all of them even where it
    /// fails. Returns -1 where one failed. Folders whose names no file can bear, and which therefore have no
    /// mails, are left out.
    using Action = std::function<int(const std::string& name, const std::string& baseName)>;
    [[nodiscard]] int ForEachFolder(const Action& action);
    /// Action 0 compacts the folder's text, action 1 adds its mail count to the progress total. -1 for any
    /// other.
    [[nodiscard]] int ForEachFolder(int action);

    /// Number in the table of banks; -1 before the first `SwitchBank`.
    [[nodiscard]] int currentBank() const { return currentBank_; }

    /// Makes another bank the current one, and loads its tree; also how the first bank is opened.
    /// `communicating` says whether a session runs, which refuses it. -1 and the old bank stays, or, where
    /// the tree cannot be loaded, -1 and the bank has been switched.
    [[nodiscard]] int SwitchBank(int number, bool communicating);

    /// Makes a bank's directory, with those that it lies in, where it is missing.
    [[nodiscard]] int MakeBankDirectory(int number);

  private:
    enum class Refusing { Rename, Delete, Move };
    /// What became of an operation that may have to ask; it asks without the lock and begins anew.
    enum class Step { Done, Failed, HasToAsk };

    [[nodiscard]] std::string TreeFile() const;
    void Tell(std::string_view text);
    /// Tells; -1.
    [[nodiscard]] int Refuse(std::string_view text);
    [[nodiscard]] int RefuseFault(std::string_view japanese, std::string_view english, int error);

    [[nodiscard]] int ReadFile(std::string_view name, std::string& bytes);
    [[nodiscard]] int ReadTreeFile(std::string& bytes);
    void TakeTree(std::string bytes);
    [[nodiscard]] int FinishRenaming();
    [[nodiscard]] bool IsAccessible(std::string_view bankDirectory);
    [[nodiscard]] int WriteDefaultTree();
    [[nodiscard]] int BeginChange(core::WorkspaceLock& lock);
    [[nodiscard]] int Save();
    void SaveCompanion();
    void RestoreTree();

    [[nodiscard]] Folder* FindFolder(std::string_view baseName);
    [[nodiscard]] int RefuseFixedOrEdited(const Folder& folder, MailEditing editing, Refusing what);
    [[nodiscard]] int AddFolder(std::string_view parent, std::string_view name, bool withFiles);
    [[nodiscard]] int RenameFiles(Folder& folder, std::string_view newName, FolderRenaming& renaming);
    [[nodiscard]] int RefuseMove(const Folder& source, const Folder& target, MailEditing editing);
    [[nodiscard]] Step TryMove(std::string_view source, std::string_view target, MailEditing editing,
                               bool agreed);

    /// Mails of an open folder that nobody else changes meanwhile, in list order, each once.
    struct ChosenMails {
        core::WorkspaceLock lock;
        FolderReader reader;
        std::vector<int> numbers;
    };
    [[nodiscard]] int OpenChosen(std::string_view folder, std::span<const int> numbers, ChosenMails& chosen);
    [[nodiscard]] Action ActionOf(int number);
    void ShowCompaction(const std::string& name, const std::string& baseName);
    [[nodiscard]] int CompactOne(const std::string& name, const std::string& baseName);

    Mailbox* mailbox_;
    std::span<const std::string> banks_;
    int currentBank_ = -1;
    FolderTree tree_;
    std::string treeBytes_;       ///< of the tree file, as it was read or written last
    bool treeUnderstood_ = true;  ///< whether the tree has all that they say
    bool loaded_ = false;
    std::uint64_t progressTotal_ = 0;
    std::uint64_t progressPosition_ = 0;
};

}  // namespace postkite::store
