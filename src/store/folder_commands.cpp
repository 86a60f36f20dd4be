#include "store/folder_commands.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <utility>

#include "core/error_text.h"
#include "core/letter_case.h"
#include "core/positional_file.h"
#include "core/shift_jis.h"
#include "store/conversion.h"

namespace postkite::store {

using namespace core::literals;

namespace {

using core::Choose;
using core::EqualIgnoringCase;

constexpr std::string_view kTreeFileName = "MailBoxInfo.ini";
constexpr std::string_view kCompanionFile = "Setting\\MailBoxInfo.ini.tmp";

/// Where the label goes when a new folder gets no files.
constexpr std::string_view kUnnamedFolder = "New Folder";

constexpr std::int64_t kLargestTreeFile = 64 * 1024 * 1024;

std::string BaseNameBelow(const Folder& parent, std::string_view name) {
    const bool top = parent.parent == nullptr || EqualIgnoringCase(parent.name, kDesktop);
    return (top ? std::string() : BaseNameOf(parent) + kBaseNameSeparator) + std::string(name);
}

/// Whether a name is passed over without a word.
bool IsNotTaken(std::string_view name) {
    return name.empty() || name.find(kBaseNameSeparator) != std::string_view::npos || IsFixedName(name);
}

bool CanBeFolderName(std::string_view name) {
    return name.size() <= kLongestFolderName && core::Workspace::IsSafeComponent(name);
}

/// Whether the program itself keeps something in the files of that name.
bool IsReserved(std::string_view baseName) {
    return EqualIgnoringCase(baseName, kClipboardFolder) || EqualIgnoringCase(baseName, kConversionFolder);
}

bool IsAtOrBelow(const Folder& folder, const Folder& above) {
    for (const Folder* at = &folder; at != nullptr; at = at->parent) {
        if (at == &above) return true;
    }
    return false;
}

std::string FullWidthNumber(int number) {
    constexpr std::string_view kZero = "０"_sjis;
    std::string text;
    for (const char digit : std::to_string(number)) {
        text += kZero[0];
        text += static_cast<char>(kZero[1] + (digit - '0'));
    }
    return text;
}

}  // namespace

std::string Folders::TreeFile() const {
    const std::string& bank = mailbox_->bankDirectory();
    return bank.empty() ? std::string(kTreeFileName) : bank + '\\' + std::string(kTreeFileName);
}

void Folders::Tell(std::string_view text) {
    ui().ShowMessage(core::kProductName, text, core::MessageIcon::Stop);
}

int Folders::Refuse(std::string_view text) {
    Tell(text);
    return -1;
}

int Folders::RefuseFault(std::string_view japanese, std::string_view english, int error) {
    std::string text = TreeFile();
    text += Choose(ui(), japanese, english);
    text += Choose(ui(), "（"_sjis, ": ");
    text += core::DescribeError(error, ui().language());
    return Refuse(text += Choose(ui(), "）"_sjis, "."));
}

// The tree and its file.

int Folders::ReadTreeFile(std::string& bytes) {
    return ReadFile(TreeFile(), bytes);
}

int Folders::ReadFile(std::string_view name, std::string& bytes) {
    std::unique_ptr<core::File> file;
    const int opened = workspace().Open(name, core::OpenMode::Read, file);
    if (opened < 0) return opened;
    const std::int64_t size = file->Size();
    if (size < 0) return static_cast<int>(size);
    if (size > kLargestTreeFile) return -EFBIG;
    bytes.resize(static_cast<std::size_t>(size));
    const std::int64_t count = file->ReadAt(0, bytes);
    if (count < 0) return static_cast<int>(count);
    return count == size ? 0 : -EIO;
}

void Folders::TakeTree(std::string bytes) {
    treeBytes_ = std::move(bytes);
    treeUnderstood_ = tree_.Read(treeBytes_);
    loaded_ = true;
}

/// The tree file, written behind the last file that was renamed, says whether the renaming is to stand.
int Folders::FinishRenaming() {
    return FinishInterruptedRenaming(
        workspace(), mailbox_->bankDirectory(), [this](std::string_view oldName, std::string_view newName) {
            return tree_.Find(newName) != nullptr && tree_.Find(oldName) == nullptr;
        });
}

bool Folders::IsAccessible(std::string_view bankDirectory) {
    std::vector<std::string> names;
    return workspace().List(bankDirectory.empty() ? "." : bankDirectory, names) == 0;
}

int Folders::WriteDefaultTree() {
    if (!IsAccessible(mailbox_->bankDirectory())) return Refuse("メールボックスにアクセスできません。"_sjis);
    if (workspace().Replace(TreeFile(), kDefaultTree) < 0) {
        return Refuse("メールボックスファイルの初期化に失敗しました。"_sjis);
    }
    TakeTree(std::string(kDefaultTree));
    SaveCompanion();
    return 0;
}

int Folders::LoadFolderTree() {
    loaded_ = false;
    tree_.Read(kDefaultTree);
    core::WorkspaceLock lock;
    std::string bytes;
    bool unfinished = false;
    int result = RenamingIsUnfinished(workspace(), mailbox_->bankDirectory(), unfinished);
    // One that goes on is seen as it is: whoever is to change something waits for its end.
    if (result == 0 && unfinished) result = workspace().Lock(false, lock);
    const bool goesOn = result == -EWOULDBLOCK;
    if (result == 0 || goesOn) result = ReadTreeFile(bytes);
    if (result == -ENOENT) {
        result = workspace().Lock(true, lock);
        // Another program may have been making it.
        if (result == 0) result = ReadTreeFile(bytes);
        if (result == -ENOENT) return WriteDefaultTree();
    }
    if (result < 0) {
        if (!IsAccessible(mailbox_->bankDirectory()))
            return Refuse("メールボックスにアクセスできません。"_sjis);
        return RefuseFault(" を読み込めませんでした。"_sjis, " could not be read", result);
    }
    TakeTree(std::move(bytes));
    if (goesOn) return 0;
    result = FinishRenaming();
    if (result == 0) return 0;
    loaded_ = false;
    return RefuseFault(" のフォルダ名の変更を完了できませんでした。"_sjis,
                       ": a renaming of folders could not be finished", result);
}

/// Takes the lock, and what another program has made of the tree.
int Folders::BeginChange(core::WorkspaceLock& lock) {
    const int locked = workspace().Lock(true, lock);
    if (locked < 0) return RefuseFault(" を変更できません。"_sjis, " cannot be changed", locked);
    if (!loaded_) return LoadFolderTree();
    std::string bytes;
    const int result = ReadTreeFile(bytes);
    // A file that has gone is made anew by the saving.
    if (result < 0 && result != -ENOENT) {
        return RefuseFault(" を読み込めませんでした。"_sjis, " could not be read", result);
    }
    if (result == 0 && bytes != treeBytes_) TakeTree(std::move(bytes));
    const int finished = FinishRenaming();
    return finished == 0 ? 0
                         : RefuseFault(" のフォルダ名の変更を完了できませんでした。"_sjis,
                                       ": a renaming of folders could not be finished", finished);
}

int Folders::Save() {
    std::string bytes = tree_.Format();
    // What was not understood of the old file is kept beside.
    const auto rewriting = [this](core::File&) { return treeUnderstood_ ? treeBytes_ : std::string(); };
    const core::SaveOutcome outcome = core::ReplacePositionalFile(workspace(), TreeFile(), bytes, rewriting);
    if (outcome.result == 0) {
        treeBytes_ = std::move(bytes);
        treeUnderstood_ = true;
        SaveCompanion();
    } else {
        RestoreTree();
    }
    core::ReportSave(ui(), TreeFile(), outcome);
    return outcome.result == 0 ? 0 : -1;
}

/// After a failed saving, has the tree and the names of the files follow whichever tree file is there now.
void Folders::RestoreTree() {
    std::string bytes;
    if (ReadTreeFile(bytes) == 0) {
        TakeTree(std::move(bytes));
        if (FinishRenaming() == 0) return;
    } else {
        TakeTree(treeBytes_);
    }
    loaded_ = false;
}

void Folders::SaveCompanion() {
    const int result = workspace().Replace(kCompanionFile, tree_.FormatBaseNames());
    core::ReportSave(ui(), kCompanionFile, {result, {}});
}

void Folders::WriteFolderList() {
    core::WorkspaceLock lock;
    if (workspace().Lock(false, lock) < 0) return;
    std::string bytes;
    if (loaded_ && ReadTreeFile(bytes) == 0 && bytes != treeBytes_) TakeTree(bytes);
    const std::string list = tree_.FormatBaseNames();
    if (ReadFile(kCompanionFile, bytes) == 0 && bytes == list) return;
    static_cast<void>(workspace().Replace(kCompanionFile, list));
}

int Folders::TakeOverChanges() {
    core::WorkspaceLock lock;
    return BeginChange(lock);
}

int Folders::SaveFolderTree() {
    const std::string wanted = tree_.Format();
    const bool wasLoaded = loaded_;
    core::WorkspaceLock lock;
    if (BeginChange(lock) < 0) return -1;
    const bool another = !wasLoaded || tree_.Format() != wanted;
    return another ? 0 : Save();
}

int Folders::ResetFolderTree() {
    const bool agreed = ui().AskQuestion(core::kProductName,
                                         "フォルダを初期状態に戻します。\r\n"
                                         "Desktop Inbox Outbox Trash 以外のフォルダは削除されます。\r\n"
                                         "メールボックスファイルは削除されません。\r\n"
                                         "メールボックス設定ファイルが壊れた時などに実行して下さい。\r\n"
                                         "\r\n"
                                         "メールボックスを初期化しますか？"_sjis);
    if (!agreed) return -1;
    core::WorkspaceLock lock;
    const int locked = workspace().Lock(true, lock);
    if (locked < 0) return RefuseFault(" を変更できません。"_sjis, " cannot be changed", locked);
    if (WriteDefaultTree() < 0 || LoadFolderTree() < 0) return -1;
    ui().RedrawMainWindow();
    return 0;
}

// Folders.

Folder* Folders::FindFolder(std::string_view baseName) {
    Folder* found = tree_.Find(baseName);
    if (found != nullptr) return found;
    std::string text(Choose(ui(), "フォルダ "_sjis, "There is no folder "));
    text += baseName;
    Tell(text += Choose(ui(), " はありません。"_sjis, "."));
    return nullptr;
}

int Folders::RefuseFixedOrEdited(const Folder& folder, MailEditing editing, Refusing what) {
    if (folder.parent == nullptr || IsFixedName(folder.name)) {
        switch (what) {
            case Refusing::Rename:
                return Refuse("このフォルダは名前を変更できません。"_sjis);
            case Refusing::Delete:
                return Refuse("このフォルダは削除出来ません。"_sjis);
            case Refusing::Move:
                return Refuse(
                    Choose(ui(), "このフォルダは移動できません。"_sjis, "This folder cannot be moved."));
        }
    }
    return editing == MailEditing::Yes ? Refuse("メール編集中にこの操作はできません。"_sjis) : 0;
}

int Folders::NewFolder(std::string_view parent) {
    return AddFolder(parent, kNewFolderName, false);
}

int Folders::NewFolder(std::string_view parent, std::string_view name) {
    return AddFolder(parent, name, true);
}

int Folders::AddFolder(std::string_view parentName, std::string_view name, bool withFiles) {
    core::WorkspaceLock lock;
    if (BeginChange(lock) < 0) return -1;
    Folder* parent = FindFolder(parentName);
    if (parent == nullptr) return -1;
    if (IsNotTaken(name)) return kNameNotTaken;
    const std::string baseName = BaseNameBelow(*parent, name);
    if (!CanBeFolderName(name) || IsReserved(baseName) || !FitsFileNames(baseName)) {
        ReportRenamingFault(ui(), -EINVAL);
        return -1;
    }
    if (ChildOf(*parent, name) != nullptr) {
        return Refuse(Choose(ui(), "同名のフォルダがあります。"_sjis, "There is a folder of that name."));
    }
    Folder* added = tree_.Add(*parent, name);
    if (added == nullptr) {
        return Refuse(Choose(ui(), "フォルダの階層が深すぎます。"_sjis, "The folders are nested too deep."));
    }
    core::EntryKind before{};
    const std::string index = mailbox_->FilesOf(baseName).index;
    const int inspected = withFiles ? workspace().Inspect(index, before) : 0;
    if (withFiles && mailbox_->CreateFolderFiles(baseName) != 0) {
        tree_.Remove(*added);
        return -1;
    }
    if (Save() == 0) return 0;
    // An index that was just made would stand in the way of another folder's renaming.
    if (withFiles && inspected == 0 && before == core::EntryKind::Missing) {
        static_cast<void>(workspace().Remove(index));
    }
    return -1;
}

int Folders::BeginRename(std::string_view folder, MailEditing editing) {
    const Folder* found = FindFolder(folder);
    return found == nullptr ? -1 : RefuseFixedOrEdited(*found, editing, Refusing::Rename);
}

int Folders::RenameFolder(std::string_view folderName, std::string_view newName, MailEditing editing) {
    core::WorkspaceLock lock;
    if (BeginChange(lock) < 0) return -1;
    Folder* folder = FindFolder(folderName);
    if (folder == nullptr || RefuseFixedOrEdited(*folder, editing, Refusing::Rename) < 0) return -1;
    if (IsNotTaken(newName)) return kNameNotTaken;
    if (newName == folder->name) return 0;
    const bool usable = CanBeFolderName(newName) && !IsReserved(BaseNameBelow(*folder->parent, newName));
    const Folder* sibling = ChildOf(*folder->parent, newName);
    if (!usable || (sibling != nullptr && sibling != folder)) {
        ReportRenamingFault(ui(), usable ? -EEXIST : -EINVAL);
        return -1;
    }
    FolderRenaming renaming(workspace(), mailbox_->bankDirectory());
    if (RenameFiles(*folder, newName, renaming) < 0) return -1;
    folder->name = newName;
    if (Save() < 0) return -1;
    // The tree has the new name: a journal that is left says nothing else.
    static_cast<void>(renaming.Commit());
    ui().RedrawMainWindow();
    return 0;
}

int Folders::RenameFiles(Folder& folder, std::string_view newName, FolderRenaming& renaming) {
    const std::string newBaseName = BaseNameBelow(*folder.parent, newName);
    int result = renaming.Plan(BaseNameOf(folder), newBaseName);
    const bool taken = result == 0 && renaming.newIndexExists();
    if (taken) {
        // Two special folders, or a folder without a list of its own: it takes over the one that is there.
        const bool takesOver =
            !renaming.oldIndexExists() || (IsSpecialName(folder.name) && IsSpecialName(newName));
        if (takesOver) {
            renaming.LeaveOwnFiles();
        } else {
            result = -EEXIST;
        }
    }
    if (result == 0 && renaming.DeletesMails()) result = -EEXIST;
    if (result == 0) result = renaming.Execute();
    if (result < 0) {
        ReportRenamingFault(ui(), result);
        return -1;
    }
    if (renaming.oldIndexExists() || mailbox_->CreateFolderFiles(newBaseName) == 0) return 0;
    static_cast<void>(renaming.Undo());
    if (EqualIgnoringCase(folder.name, kNewFolderName)) folder.name = kUnnamedFolder;
    return -1;
}

int Folders::DeleteFolder(std::string_view folderName, MailEditing editing) {
    const Folder* found = FindFolder(folderName);
    if (found == nullptr || RefuseFixedOrEdited(*found, editing, Refusing::Delete) < 0) return -1;
    const bool agreed = ui().AskQuestion(
        core::kProductName, found->children.empty() ? "フォルダを削除してもよろしいですか？"_sjis
                                                    : "階層化のすべてのフォルダを削除して良いですか？"_sjis);
    if (!agreed) return -1;
    // Not held while somebody thinks about the question.
    core::WorkspaceLock lock;
    if (BeginChange(lock) < 0) return -1;
    Folder* folder = FindFolder(folderName);
    if (folder == nullptr) return -1;
    tree_.Remove(*folder);
    if (Save() < 0) return -1;
    ui().RedrawMainWindow();
    return 0;
}

int Folders::MoveFolder(std::string_view source, std::string_view target, MailEditing editing) {
    Step step = TryMove(source, target, editing, false);
    if (step == Step::HasToAsk) {
        const bool agreed = ui().AskQuestion(
            core::kProductName,
            Choose(ui(),
                   "移動先に、以前に削除したフォルダのファイルが残っています。\r\n"
                   "そのファイルを削除して移動してもよろしいですか？"_sjis,
                   "Files of a folder that was deleted earlier are in the way.\r\nDelete them and move?"));
        if (!agreed) return -1;
        step = TryMove(source, target, editing, true);
    }
    if (step != Step::Done) return -1;
    ui().RedrawMainWindow();
    return 0;
}

int Folders::RefuseMove(const Folder& source, const Folder& target, MailEditing editing) {
    if (RefuseFixedOrEdited(source, editing, Refusing::Move) < 0) return -1;
    if (IsAtOrBelow(target, source)) {
        return Refuse(Choose(ui(), "フォルダを自分自身やその下のフォルダへは移動できません。"_sjis,
                             "A folder cannot be moved into itself or below itself."));
    }
    if (ChildOf(target, source.name) != nullptr) return Refuse("移動先に同名のフォルダがあります。"_sjis);
    if (!FolderTree::FitsBelow(source, target)) {
        return Refuse(Choose(ui(), "フォルダの階層が深すぎます。"_sjis, "The folders are nested too deep."));
    }
    return 0;
}

Folders::Step Folders::TryMove(std::string_view sourceName, std::string_view targetName, MailEditing editing,
                               bool agreed) {
    core::WorkspaceLock lock;
    if (BeginChange(lock) < 0) return Step::Failed;
    Folder* source = FindFolder(sourceName);
    Folder* target = source == nullptr ? nullptr : FindFolder(targetName);
    if (target == nullptr || RefuseMove(*source, *target, editing) < 0) return Step::Failed;

    const std::string oldBaseName = BaseNameOf(*source);
    const std::string newBaseName = BaseNameBelow(*target, source->name);
    FolderRenaming renaming(workspace(), mailbox_->bankDirectory());
    // A folder that no file can be named after has none.
    const bool hasFiles = Mailbox::IsUsableName(oldBaseName);
    if (hasFiles) {
        int result = IsReserved(newBaseName) ? -EINVAL : renaming.Plan(oldBaseName, newBaseName);
        if (result == 0 && renaming.DeletesFiles() && !agreed) return Step::HasToAsk;
        if (result == 0) result = renaming.Execute();
        if (result < 0) {
            ReportRenamingFault(ui(), result);
            return Step::Failed;
        }
    }
    tree_.Move(*source, *target);
    if (Save() < 0) return Step::Failed;
    if (hasFiles) static_cast<void>(renaming.Commit());
    return Step::Done;
}

// Banks.

int Folders::SwitchBank(int number, bool communicating) {
    if (communicating) return Refuse("送受信中です。"_sjis);
    if (number < 0 || static_cast<std::size_t>(number) >= banks_.size()) {
        return Refuse(
            Choose(ui(), "そのメールボックスバンクはありません。"_sjis, "There is no such mailbox bank."));
    }
    const std::string& directory = banks_[static_cast<std::size_t>(number)];
    if (!IsAccessible(directory)) {
        std::string text("メールボックスディレクトリ "_sjis);
        text += directory;
        text += " アクセスできません。\nメールボックスバンク切り替えを中止しました。"_sjis;
        return Refuse(text);
    }
    mailbox_->SetBankDirectory(directory);
    currentBank_ = number;
    const int result = LoadFolderTree();
    ui().RedrawMainWindow();
    return result;
}

int Folders::MakeBankDirectory(int number) {
    if (number < 0 || static_cast<std::size_t>(number) >= banks_.size()) {
        return Refuse(
            Choose(ui(), "そのメールボックスバンクはありません。"_sjis, "There is no such mailbox bank."));
    }
    const std::string_view directory = banks_[static_cast<std::size_t>(number)];
    if (directory.empty()) return 0;
    int result = 0;
    core::EntryKind kind{};
    for (std::size_t from = 0; result == 0 && from != std::string_view::npos;) {
        const std::size_t end = core::FindCharacter(directory, '\\', from);
        const std::string_view upToHere = directory.substr(0, end);
        from = end == std::string_view::npos ? end : end + 1;
        result = workspace().Inspect(upToHere, kind);
        if (result == 0 && kind == core::EntryKind::Missing) result = workspace().CreateDirectory(upToHere);
        if (result == -EEXIST) result = 0;
    }
    if (result == 0) result = workspace().Inspect(directory, kind);
    if (result == 0 && kind == core::EntryKind::Directory) return 0;
    std::string text("メールボックスバンク"_sjis);
    text += FullWidthNumber(number + 1);
    return Refuse(text += "のディレクトリが作成できませんでした。"_sjis);
}

}  // namespace postkite::store
