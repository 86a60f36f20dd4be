#include "store/folder_renaming.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "core/error_text.h"
#include "core/letter_case.h"
#include "core/line_reader.h"
#include "core/shift_jis.h"
#include "store/folder_files.h"
#include "store/folder_tree.h"
#include "store/pending_move.h"

namespace postkite::store {

using namespace core::literals;

namespace {

using core::EqualIgnoringCase;

constexpr std::string_view kJournalFile = "MailBoxInfo.$$r";
constexpr std::string_view kJournalEnd = "end";

constexpr std::string_view kIndexExtension = ".loc";
constexpr std::string_view kTextExtension = ".mtx";
constexpr std::array<std::string_view, 3> kExtensions = {kIndexExtension, kTextExtension, ".PROP"};
/// Of the files that a crash leaves.
constexpr std::array<std::string_view, 3> kUnfinishedExtensions = {".$$i", ".$$l", ".$$t"};

/// A file name taken apart: the base name as it is spelled, and the extension.
struct FileName {
    std::string_view baseName;
    std::string_view extension;
};

FileName Split(std::string_view fileName) {
    const std::size_t dot = core::FindLastCharacter(fileName, '.');
    if (dot == std::string_view::npos) return {fileName, {}};
    return {fileName.substr(0, dot), fileName.substr(dot)};
}

template <std::size_t Count>
bool IsOneOf(std::string_view extension, const std::array<std::string_view, Count>& extensions) {
    return std::any_of(extensions.begin(), extensions.end(),
                       [=](std::string_view one) { return EqualIgnoringCase(extension, one); });
}

/// Whether `baseName` is `folder` or that of a folder below it.
bool IsAtOrBelow(std::string_view baseName, std::string_view folder) {
    if (baseName.size() < folder.size() || !EqualIgnoringCase(baseName.substr(0, folder.size()), folder))
        return false;
    return baseName.size() == folder.size() || baseName[folder.size()] == kBaseNameSeparator;
}

bool CanBeFileName(std::string_view baseName) {
    return !baseName.empty() && FitsFileNames(baseName) && !EqualIgnoringCase(baseName, kClipboardFolder) &&
           core::Workspace::IsSafeComponent(std::string(baseName) + std::string(kIndexExtension));
}

std::string InBank(std::string_view bankDirectory, std::string_view fileName) {
    return bankDirectory.empty() ? std::string(fileName)
                                 : std::string(bankDirectory) + '\\' + std::string(fileName);
}

int Exists(const core::Workspace& workspace, const std::string& path, bool& exists) {
    core::EntryKind kind{};
    const int result = workspace.Inspect(path, kind);
    exists = result == 0 && kind != core::EntryKind::Missing;
    // Nothing can bear a name that is too long.
    return result == -ENAMETOOLONG ? 0 : result;
}

/// The journal: the old base name, the new one, then for each file the old name and the new one, then "end",
/// each on a line.
struct Journal {
    std::string oldName;
    std::string newName;
    std::vector<std::pair<std::string, std::string>> files;
};

/// False for a file that this program has not written.
bool ReadJournal(core::LineReader& reader, Journal& journal) {
    std::string line;
    if (ReadLogLine(reader, journal.oldName) < 0 || ReadLogLine(reader, journal.newName) < 0) return false;
    while (ReadLogLine(reader, line) == 0) {
        if (line == kJournalEnd) return true;
        std::string to;
        if (ReadLogLine(reader, to) < 0) return false;
        const bool usable = core::Workspace::IsSafeComponent(line) && core::Workspace::IsSafeComponent(to) &&
                            IsOneOf(Split(line).extension, kExtensions) &&
                            IsOneOf(Split(to).extension, kExtensions);
        if (!usable) return false;
        journal.files.emplace_back(std::move(line), std::move(to));
    }
    return false;
}

/// Renames `from` to `to` unless that has been done. Where both are there, `from` was made anew behind our
/// back, and nothing is touched.
int RenameOnce(core::Workspace& workspace, const std::string& from, const std::string& to) {
    bool pending = false;
    bool inTheWay = false;
    int result = Exists(workspace, from, pending);
    if (result == 0) result = Exists(workspace, to, inTheWay);
    return result < 0 || !pending || inTheWay ? result : workspace.Rename(from, to);
}

/// Removes an index that was made to try a name and holds no mail.
int RemoveEmptyIndex(core::Workspace& workspace, const std::string& index) {
    std::unique_ptr<core::File> file;
    const int opened = workspace.Open(index, core::OpenMode::Read, file);
    if (opened < 0) return opened == -ENOENT || opened == -EINVAL || opened == -ENAMETOOLONG ? 0 : opened;
    const std::int64_t size = file->Size();
    file.reset();
    if (size != 0) return size < 0 ? static_cast<int>(size) : 0;
    return workspace.Remove(index);
}

enum class Direction { Forward, Back };

/// Does again what a journal lists, in either direction, then removes it. The names reach the disk before the
/// journal leaves it, and with them the tree file that said which direction it is.
int Settle(core::Workspace& workspace, std::string_view bankDirectory, const Journal& journal,
           Direction direction) {
    const auto listings = workspace.KeepListings();
    for (const auto& [oldFile, newFile] : journal.files) {
        const std::string oldPath = InBank(bankDirectory, oldFile);
        const std::string newPath = InBank(bankDirectory, newFile);
        const bool forward = direction == Direction::Forward;
        const int renamed = RenameOnce(workspace, forward ? oldPath : newPath, forward ? newPath : oldPath);
        if (renamed < 0) return renamed;
    }
    const std::string journalPath = InBank(bankDirectory, kJournalFile);
    int result = 0;
    if (direction == Direction::Back) {
        result = RemoveEmptyIndex(workspace,
                                  InBank(bankDirectory, journal.newName + std::string(kIndexExtension)));
    }
    if (result == 0) result = workspace.SyncNames(journalPath);
    if (result == 0) result = workspace.Remove(journalPath);
    return result < 0 ? result : workspace.SyncNames(journalPath);
}

}  // namespace

std::string FolderRenaming::PathOf(std::string_view fileName) const {
    return InBank(bankDirectory_, fileName);
}

int FolderRenaming::Plan(std::string_view oldName, std::string_view newName) {
    oldName_ = oldName;
    newName_ = newName;
    if (!CanBeFileName(newName)) return -EINVAL;
    // Files are found in any letter case: there is nothing to do.
    if (EqualIgnoringCase(oldName, newName)) return 0;
    const auto listings = workspace_->KeepListings();
    int result = FinishInterruptedRenaming(*workspace_, bankDirectory_, [](auto, auto) { return false; });
    std::vector<std::string> names;
    const std::string directory = bankDirectory_.empty() ? "." : bankDirectory_;
    if (result == 0) result = workspace_->List(directory, names);
    if (result == 0) result = FinishFolders(names);
    if (result == 0) result = workspace_->List(directory, names);
    if (result < 0) return result;
    GatherMoves(names);
    GatherObstacles(names);
    return 0;
}

/// A change of a folder that a crash left unfinished goes by the folder's name: it is finished under the old
/// one, and one under the new name must not find our files there.
int FolderRenaming::FinishFolders(const std::vector<std::string>& names) {
    // So is a move of mails, whose note has folders by their names.
    const int settled = SettlePendingMove(*workspace_, bankDirectory_, nullptr);
    if (settled < 0) return settled;
    for (const std::string& name : names) {
        const FileName file = Split(name);
        if (!IsOneOf(file.extension, kUnfinishedExtensions)) continue;
        if (!IsAtOrBelow(file.baseName, oldName_) && !IsAtOrBelow(file.baseName, newName_)) continue;
        const int finished = FinishInterruptedChanges(FilesOf(*workspace_, bankDirectory_, file.baseName));
        if (finished < 0) return finished;
    }
    return 0;
}

void FolderRenaming::GatherMoves(const std::vector<std::string>& names) {
    std::unordered_map<std::string, std::size_t> places;
    for (const std::string& name : names) {
        const FileName file = Split(name);
        if (!IsOneOf(file.extension, kExtensions) || !IsAtOrBelow(file.baseName, oldName_)) continue;
        const bool own = file.baseName.size() == oldName_.size();
        const std::string to =
            newName_ + std::string(file.baseName.substr(oldName_.size())) + std::string(file.extension);
        // Of two files whose names differ in letter case alone the folder has only ever used one.
        const auto [place, isFirst] = places.try_emplace(core::SmallLetters(to), moves_.size());
        if (isFirst) {
            moves_.push_back({name, to, own});
        } else if (own && name == oldName_ + std::string(file.extension)) {
            moves_[place->second] = {name, to, own};
        }
        oldIndexExists_ |= own && EqualIgnoringCase(file.extension, kIndexExtension);
    }
}

/// Every file of a folder that gets a new name makes way for it, so that no text is left beside an index of
/// another.
void FolderRenaming::GatherObstacles(const std::vector<std::string>& names) {
    std::unordered_set<std::string> arriving;
    for (const Move& move : moves_)
        arriving.insert(core::SmallLetters(Split(move.to).baseName));
    for (const std::string& name : names) {
        const FileName file = Split(name);
        if (!IsOneOf(file.extension, kExtensions)) continue;
        const bool own = EqualIgnoringCase(file.baseName, newName_);
        newIndexExists_ |= own && EqualIgnoringCase(file.extension, kIndexExtension);
        if (own || arriving.contains(core::SmallLetters(file.baseName))) obstacles_.push_back({name, own});
    }
}

bool FolderRenaming::DeletesMails() const {
    return std::any_of(obstacles_.begin(), obstacles_.end(), [](const Obstacle& obstacle) {
        const std::string_view extension = Split(obstacle.name).extension;
        return EqualIgnoringCase(extension, kIndexExtension) ||
               (!obstacle.own && EqualIgnoringCase(extension, kTextExtension));
    });
}

void FolderRenaming::LeaveOwnFiles() {
    const auto isOwn = [](const auto& file) { return file.own; };
    std::erase_if(moves_, isOwn);
    std::erase_if(obstacles_, isOwn);
}

int FolderRenaming::Execute() {
    if (EqualIgnoringCase(oldName_, newName_)) return 0;
    std::unordered_set<std::string_view> leaving;
    for (const Move& move : moves_)
        leaving.insert(move.from);
    const auto isMoved = [&](const Obstacle& obstacle) { return leaving.contains(obstacle.name); };
    const auto listings = workspace_->KeepListings();
    // A folder that would take the place of one of those that it brings along.
    if (std::any_of(obstacles_.begin(), obstacles_.end(), isMoved)) return -EEXIST;
    for (const Obstacle& obstacle : obstacles_) {
        const int removed = workspace_->Remove(PathOf(obstacle.name));
        if (removed < 0) return removed;
    }
    std::string journal = oldName_ + "\r\n" + newName_ + "\r\n";
    for (const Move& move : moves_)
        journal += move.from + "\r\n" + move.to + "\r\n";
    journal += std::string(kJournalEnd) + "\r\n";
    int result = workspace_->Replace(PathOf(kJournalFile), journal);
    if (result == 0) result = TestNewName();
    if (result == 0) result = RenameAll();
    if (result == 0) result = workspace_->SyncNames(PathOf(kJournalFile));
    // Where taking back fails too, the journal stays, and whoever loads the tree next goes on with it.
    if (result < 0) static_cast<void>(Undo());
    return result;
}

/// Says before anything moves that the disk takes the name, too long for it as it may be.
int FolderRenaming::TestNewName() {
    const std::string index = PathOf(newName_ + std::string(kIndexExtension));
    bool exists = false;
    const int inspected = Exists(*workspace_, index, exists);
    if (inspected < 0 || exists) return inspected;
    std::unique_ptr<core::File> file;
    if (workspace_->Open(index, core::OpenMode::CreateNew, file) < 0) return -EINVAL;
    file.reset();
    return workspace_->Remove(index);
}

int FolderRenaming::RenameAll() {
    for (const Move& move : moves_) {
        const int renamed = workspace_->Rename(PathOf(move.from), PathOf(move.to));
        if (renamed < 0) return renamed == -ENAMETOOLONG ? -EINVAL : renamed;
    }
    return 0;
}

int FolderRenaming::Undo() {
    return FinishInterruptedRenaming(*workspace_, bankDirectory_, [](auto, auto) { return false; });
}

int FolderRenaming::Commit() {
    if (EqualIgnoringCase(oldName_, newName_)) return 0;
    const int removed = workspace_->Remove(PathOf(kJournalFile));
    return removed < 0 ? removed : workspace_->SyncNames(PathOf(kJournalFile));
}

int RenamingIsUnfinished(const core::Workspace& workspace, std::string_view bankDirectory, bool& unfinished) {
    core::EntryKind kind{};
    const int result = workspace.InspectExactly(InBank(bankDirectory, kJournalFile), kind);
    unfinished = kind != core::EntryKind::Missing;
    return result;
}

std::optional<std::string> NameAfterRenaming(const core::Workspace& workspace, std::string_view bankDirectory,
                                             std::string_view folder) {
    std::unique_ptr<core::File> file;
    if (workspace.OpenExactly(InBank(bankDirectory, kJournalFile), core::OpenMode::Read, file) < 0)
        return std::nullopt;
    Journal journal;
    core::LineReader reader(*file);
    if (!ReadJournal(reader, journal) || !IsAtOrBelow(folder, journal.oldName)) return std::nullopt;
    return journal.newName + std::string(folder.substr(journal.oldName.size()));
}

int FinishInterruptedRenaming(
    core::Workspace& workspace, std::string_view bankDirectory,
    const std::function<bool(std::string_view oldName, std::string_view newName)>& isRenamed) {
    bool unfinished = false;
    int result = RenamingIsUnfinished(workspace, bankDirectory, unfinished);
    if (result < 0 || !unfinished) return result;
    core::WorkspaceLock lock;
    result = workspace.Lock(true, lock);
    // Whoever had the lock may be through with it now.
    if (result == 0) result = RenamingIsUnfinished(workspace, bankDirectory, unfinished);
    if (result < 0 || !unfinished) return result;
    const std::string path = InBank(bankDirectory, kJournalFile);
    std::unique_ptr<core::File> file;
    result = workspace.Open(path, core::OpenMode::Read, file);
    if (result < 0) return result;
    Journal journal;
    core::LineReader reader(*file);
    if (!ReadJournal(reader, journal)) return reader.error() < 0 ? reader.error() : workspace.Remove(path);
    file.reset();
    const bool renamed = isRenamed(journal.oldName, journal.newName);
    return Settle(workspace, bankDirectory, journal, renamed ? Direction::Forward : Direction::Back);
}

int RenameFolderFiles(core::Workspace& workspace, std::string_view bankDirectory, std::string_view oldName,
                      std::string_view newName, core::UserInterface& ui) {
    core::WorkspaceLock lock;
    FolderRenaming renaming(workspace, bankDirectory);
    int result = workspace.Lock(true, lock);
    if (result == 0) result = renaming.Plan(oldName, newName);
    if (result == 0 && renaming.newIndexExists() && IsSpecialName(oldName) && IsSpecialName(newName))
        renaming.LeaveOwnFiles();
    if (result == 0 && renaming.DeletesMails()) result = -EEXIST;
    if (result == 0) result = renaming.Execute();
    if (result == 0) {
        result = renaming.Commit();
        bool unfinished = false;
        // Once the journal is gone nothing takes the files back.
        if (result < 0 && RenamingIsUnfinished(workspace, bankDirectory, unfinished) == 0 && !unfinished)
            result = 0;
        if (result < 0) static_cast<void>(renaming.Undo());
    }
    if (result == 0) return 0;
    ReportRenamingFault(ui, result);
    return -1;
}

void ReportNameTaken(core::UserInterface& ui) {
    ui.ShowMessage(core::kProductName, "同名のファイルが既に存在するのでフォルダ名を変更できません。"_sjis,
                   core::MessageIcon::Stop);
}

void ReportRenamingFault(core::UserInterface& ui, int error) {
    if (error == -EEXIST) return ReportNameTaken(ui);
    if (error == -EINVAL) {
        ui.ShowMessage(core::kProductName, "メールボックス名（ファイル名）が無効です。"_sjis,
                       core::MessageIcon::Stop);
        return;
    }
    std::string text(core::Choose(ui,
                                  "フォルダのファイル名を変更できませんでした。元の名前に戻します。（"_sjis,
                                  "The folder's files could not be renamed and get their old names back: "));
    text += core::DescribeError(error, ui.language());
    text += core::Choose(ui, "）"_sjis, ".");
    ui.ShowMessage(core::kProductName, text, core::MessageIcon::Stop);
}

}  // namespace postkite::store
