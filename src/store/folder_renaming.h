#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/user_interface.h"
#include "core/workspace.h"

namespace postkite::store {

/// Gives the files of a folder (".loc", ".mtx", ".PROP"), and those of every folder below it, another base
/// name. All of them follow or none does: before the first one moves, the journal "MailBoxInfo.$$r" in the
/// bank's directory has the whole list on the disk, and whoever finds it after a crash
/// (`FinishInterruptedRenaming`) goes on or back with it. It stays until `Commit`, so that the tree file can
/// be saved in between.
///
/// Operations return 0 or a negated errno value. Hold the lock from `Plan` to the end.
class FolderRenaming {
  public:
    FolderRenaming(core::Workspace& workspace, std::string_view bankDirectory)
        : workspace_(&workspace), bankDirectory_(bankDirectory) {}

    /// Finds out which files there are, having finished what a crash left of other changes to them. -EINVAL
    /// where no file can bear the new name.
    [[nodiscard]] int Plan(std::string_view oldName, std::string_view newName);

    /// Whether the folder itself has a list of mails, and whether one lies under the new name already.
    [[nodiscard]] bool oldIndexExists() const { return oldIndexExists_; }
    [[nodiscard]] bool newIndexExists() const { return newIndexExists_; }

    /// Whether a file under one of the new names would be deleted; and whether one would that holds mails of
    /// some folder: a list, or a text other than one without a list under the folder's own new name.
    [[nodiscard]] bool DeletesFiles() const { return !obstacles_.empty(); }
    [[nodiscard]] bool DeletesMails() const;

    /// Leaves the folder's own files, under the old name and the new one, alone.
    void LeaveOwnFiles();

    /// Deletes what is in the way and renames. What fails is taken back, as far as the disk allows.
    [[nodiscard]] int Execute();

    /// Takes the renaming back.
    [[nodiscard]] int Undo();

    /// Makes it final. Where this fails the journal is left, and says nothing wrong.
    [[nodiscard]] int Commit();

  private:
    struct Move {
        std::string from;  ///< file names in the bank's directory
        std::string to;
        bool own;  ///< of the folder itself, not of one below
    };
    struct Obstacle {
        std::string name;
        bool own;
    };

    [[nodiscard]] std::string PathOf(std::string_view fileName) const;
    [[nodiscard]] int FinishFolders(const std::vector<std::string>& names);
    void GatherMoves(const std::vector<std::string>& names);
    void GatherObstacles(const std::vector<std::string>& names);
    [[nodiscard]] int TestNewName();
    [[nodiscard]] int RenameAll();

    core::Workspace* workspace_;
    std::string bankDirectory_;
    std::string oldName_;
    std::string newName_;
    std::vector<Move> moves_;
    std::vector<Obstacle> obstacles_;
    bool oldIndexExists_ = false;
    bool newIndexExists_ = false;
};

/// Brings the files of an interrupted renaming under their new names where `isRenamed(oldName, newName)`, as
/// the saved tree tells, and back under the old ones otherwise. Does nothing where none was interrupted.
/// Takes the lock.
[[nodiscard]] int FinishInterruptedRenaming(
    core::Workspace& workspace, std::string_view bankDirectory,
    const std::function<bool(std::string_view oldName, std::string_view newName)>& isRenamed);

/// Whether a renaming was interrupted in this bank, or is going on.
[[nodiscard]] int RenamingIsUnfinished(const core::Workspace& workspace, std::string_view bankDirectory,
                                       bool& unfinished);

/// The base name that the files of `folder` have been given, or are to be given, by the renaming that goes on or was
/// interrupted. Nothing where none concerns it. Needs no lock.
[[nodiscard]] std::optional<std::string> NameAfterRenaming(const core::Workspace& workspace,
                                                           std::string_view bankDirectory,
                                                           std::string_view folder);

/// Renames a folder's files by itself, without a tree. 0, also without renaming anything where both are
/// special folders and there are files under the new name; -1 when it is refused or fails. The user knows
/// why.
[[nodiscard]] int RenameFolderFiles(core::Workspace& workspace, std::string_view bankDirectory,
                                    std::string_view oldName, std::string_view newName,
                                    core::UserInterface& ui);

/// Tells the user that renaming was refused because of what is there under the new name.
void ReportNameTaken(core::UserInterface& ui);

/// Tells the user why renaming failed.
void ReportRenamingFault(core::UserInterface& ui, int error);

}  // namespace postkite::store
