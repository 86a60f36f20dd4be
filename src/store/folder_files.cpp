#include "store/folder_files.h"

#include <cerrno>
#include <vector>

#include "core/letter_case.h"
#include "core/shift_jis.h"
#include "store/index_journal.h"
#include "store/index_record.h"
#include "store/older_layouts.h"
#include "store/pending_move.h"
#include "store/text_window.h"

namespace postkite::store {

namespace {

int Exists(const FolderFiles& files, const std::string& name, bool& exists) {
    core::EntryKind kind{};
    const int result = files.workspace->InspectExactly(name, kind);
    exists = kind != core::EntryKind::Missing;
    return result;
}

/// An older program that was stopped in a compaction may have left no index, and spelled the new files in any letter
/// case.
int LookForOlderPrograms(const FolderFiles& files, bool& newText, bool& newIndex) {
    core::EntryKind index{};
    int result = files.workspace->Inspect(files.index, index);
    if (result < 0 || index != core::EntryKind::Missing) return result;
    core::EntryKind kind{};
    result = files.workspace->Inspect(files.compactionText, kind);
    newText = kind != core::EntryKind::Missing;
    if (result == 0) result = files.workspace->Inspect(files.compactionIndex, kind);
    newIndex = kind != core::EntryKind::Missing;
    return result;
}

int CountLiveRecords(const FolderFiles& files, const std::string& name, std::uint64_t& count) {
    std::unique_ptr<core::File> file;
    int result = files.workspace->Open(name, core::OpenMode::Read, file);
    if (result == 0) result = RequireCurrentLayout(*file);
    if (result < 0) return result;
    TextWindow index(*file);
    count = 0;
    for (std::uint64_t number = 0;; ++number) {
        const std::string_view record = index.At(number * kIndexRecordBytes, kIndexRecordBytes);
        if (record.size() < kIndexRecordBytes) return index.error();
        if (!IsDeleted(record)) ++count;
    }
}

/// Whether both new files of a compaction are whole although neither has taken its place: an older program deletes the
/// index, then the text, before it renames; this one puts the old text out of the way first where mails would be lost
/// with it, and where it converts an older layout.
int OldFilesHaveMadeWay(const FolderFiles& files, bool& theyHave) {
    core::EntryKind text{};
    core::EntryKind index{};
    // In whatever letter case: a file that is overlooked here would be replaced by half a one.
    int result = files.workspace->Inspect(files.text, text);
    if (result == 0) result = files.workspace->Inspect(files.index, index);
    if (result < 0) return result;
    theyHave = index == core::EntryKind::Missing;
    if (theyHave || text != core::EntryKind::Missing) return 0;
    // A text that somebody else removed leaves the same names behind.
    std::uint64_t oldRecords = 0;
    std::uint64_t newRecords = 0;
    result = CountLiveRecords(files, files.index, oldRecords);
    if (result == 0) result = CountLiveRecords(files, files.compactionIndex, newRecords);
    theyHave = result == -ENOTSUP || oldRecords == newRecords;
    return result == -ENOTSUP ? 0 : result;
}

int FinishCompaction(const FolderFiles& files, const Unfinished& unfinished) {
    Pair pair{};
    int result = FindPairInForce(files, unfinished, pair);
    if (result < 0) return result;
    if (pair == Pair::New) {
        result = files.workspace->Rename(files.compactionText, files.text);
        if (result == 0) result = files.workspace->SyncNames(files.text);
    }
    if (result == 0 && pair != Pair::Old)
        result = files.workspace->Rename(files.compactionIndex, files.index);
    // Not yet begun to take effect. The index goes first: alone it would look like a change half done.
    if (pair == Pair::Old && unfinished.newIndex) {
        result = files.workspace->Remove(files.compactionIndex);
        if (result == 0) result = files.workspace->SyncNames(files.compactionIndex);
    }
    if (result == 0 && pair == Pair::Old && unfinished.newText)
        result = files.workspace->Remove(files.compactionText);
    return result < 0 ? result : files.workspace->SyncNames(files.index);
}

}  // namespace

FolderFiles FilesOf(core::Workspace& workspace, std::string_view bankDirectory, std::string_view folder) {
    constexpr std::string_view kIndexExtension = ".loc";
    std::string base(bankDirectory);
    if (!base.empty()) base += '\\';
    base += folder;
    // What a crash leaves is looked for in one spelling alone, so that has to be the same for all who open the folder:
    // the index's.
    base = workspace.AsOnDisk(base + std::string(kIndexExtension));
    base.resize(base.size() - kIndexExtension.size());
    return {&workspace,    base + ".loc", base + ".mtx", base + ".PROP",
            base + ".$$i", base + ".$$l", base + ".$$t", std::string(bankDirectory)};
}

FoldersWithFiles::FoldersWithFiles(const core::Workspace& workspace, std::string_view bankDirectory) {
    std::vector<std::string> names;
    listed_ = workspace.List(bankDirectory.empty() ? "." : bankDirectory, names) == 0;
    for (const std::string& name : names)
        names_.insert(core::SmallLetters(name.substr(0, core::FindLastCharacter(name, '.'))));
}

bool FoldersWithFiles::Contains(std::string_view folder) const {
    return !listed_ || names_.contains(core::SmallLetters(folder));
}

bool FitsFileNames(std::string_view folder, std::string_view ending) {
    constexpr std::size_t kLongestFileName = 255;
    return core::ToUtf8(folder).size() + ending.size() <= kLongestFileName;
}

int LookForUnfinished(const FolderFiles& files, Unfinished& unfinished) {
    unfinished = Unfinished();
    int result = Exists(files, files.journal, unfinished.journal);
    // The text is there before the index and leaves before it, unless it is thrown away.
    if (result == 0) result = Exists(files, files.compactionIndex, unfinished.newIndex);
    if (result == 0) result = Exists(files, files.compactionText, unfinished.newText);
    if (result < 0 || unfinished.newText || unfinished.newIndex) return result;
    return LookForOlderPrograms(files, unfinished.newText, unfinished.newIndex);
}

int FindPairInForce(const FolderFiles& files, const Unfinished& unfinished, Pair& pair) {
    pair = Pair::Old;
    if (!unfinished.newIndex) return 0;
    if (!unfinished.newText) {
        pair = Pair::NewIndex;
        return 0;
    }
    bool oldOnesHaveMadeWay = false;
    const int result = OldFilesHaveMadeWay(files, oldOnesHaveMadeWay);
    if (oldOnesHaveMadeWay) pair = Pair::New;
    return result;
}

int FinishOwnChanges(const FolderFiles& files, bool wait) {
    Unfinished unfinished;
    const auto isFinished = [&unfinished] {
        return !unfinished.journal && !unfinished.newText && !unfinished.newIndex;
    };
    int result = LookForUnfinished(files, unfinished);
    if (result < 0 || isFinished()) return result;
    core::WorkspaceLock lock;
    result = files.workspace->Lock(wait, lock);
    // Whoever had the lock may have been in the middle of it, and is through now.
    if (result == 0) result = LookForUnfinished(files, unfinished);
    if (result == 0 && unfinished.journal) result = IndexJournal::Resume(files);
    if (result == 0 && (unfinished.newText || unfinished.newIndex))
        result = FinishCompaction(files, unfinished);
    return result;
}

int FinishInterruptedChanges(const FolderFiles& files) {
    const int result = FinishOwnChanges(files);
    if (result == 0) static_cast<void>(SettlePendingMove(*files.workspace, files.bankDirectory, &files));
    return result;
}

}  // namespace postkite::store
