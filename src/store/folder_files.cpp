#include "store/folder_files.h"

#include <cerrno>

#include "store/index_journal.h"

namespace postkite::store {

namespace {

int Exists(const FolderFiles& files, const std::string& name, bool& exists) {
    core::EntryKind kind{};
    const int result = files.workspace->InspectExactly(name, kind);
    exists = kind != core::EntryKind::Missing;
    return result;
}

int FinishCompaction(const FolderFiles& files, bool newText, bool newIndex) {
    core::EntryKind oldText{};
    core::EntryKind oldIndex{};
    // In whatever letter case: a text that is overlooked here would be replaced by half a one.
    int result = files.workspace->Inspect(files.text, oldText);
    if (result == 0) result = files.workspace->Inspect(files.index, oldIndex);
    if (result < 0) return result;
    const bool oldIsGone = oldText == core::EntryKind::Missing || oldIndex == core::EntryKind::Missing;
    if (newText && newIndex && oldIsGone) {
        // An older program deletes the index, then the text, before it renames: the new ones are whole then.
        result = files.workspace->Rename(files.compactionText, files.text);
        if (result == 0) result = files.workspace->SyncNames(files.text);
        newText = false;
    }
    if (result == 0 && newIndex && !newText) {
        result = files.workspace->Rename(files.compactionIndex, files.index);
        newIndex = false;
    }
    // Not yet begun to take effect. The index goes first: alone it would look like a change half done.
    if (result == 0 && newIndex) {
        result = files.workspace->Remove(files.compactionIndex);
        if (result == 0) result = files.workspace->SyncNames(files.compactionIndex);
    }
    if (result == 0 && newText) result = files.workspace->Remove(files.compactionText);
    return result < 0 ? result : files.workspace->SyncNames(files.index);
}

}  // namespace

FolderFiles FilesOf(core::Workspace& workspace, std::string_view bankDirectory, std::string_view folder) {
    std::string base(bankDirectory);
    if (!base.empty()) base += '\\';
    base += folder;
    return {&workspace,    base + ".loc", base + ".mtx", base + ".PROP",
            base + ".$$i", base + ".$$l", base + ".$$t"};
}

int FinishInterruptedChanges(const FolderFiles& files) {
    bool journal = false;
    bool newText = false;
    bool newIndex = false;
    const auto look = [&]() -> int {
        int result = Exists(files, files.journal, journal);
        if (result == 0) result = Exists(files, files.compactionText, newText);
        if (result == 0) result = Exists(files, files.compactionIndex, newIndex);
        return result;
    };
    int result = look();
    if (result < 0 || (!journal && !newText && !newIndex)) return result;
    core::WorkspaceLock lock;
    result = files.workspace->Lock(true, lock);
    // Whoever had the lock may have been in the middle of it, and is through now.
    if (result == 0) result = look();
    if (result == 0 && journal) result = IndexJournal::Resume(files);
    if (result == 0 && (newText || newIndex)) result = FinishCompaction(files, newText, newIndex);
    return result;
}

}  // namespace postkite::store
