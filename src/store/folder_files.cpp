#include "store/folder_files.h"

#include <cerrno>
#include <vector>

#include "core/error_log.h"
#include "core/letter_case.h"
#include "core/shift_jis.h"
#include "store/index_journal.h"
#include "store/index_record.h"
#include "store/older_layouts.h"
#include "store/pending_move.h"
#include "store/recovery.h"
#include "store/text_window.h"

namespace postkite::store {

namespace {

int Exists(const FolderFiles& files, const std::string& name, bool& exists) {
    core::EntryKind kind{};
    const int result = files.workspace->InspectExactly(name, kind);
    exists = kind != core::EntryKind::Missing;
    return result;
}

/// An older program that was stopped in a compaction may have left no index, and spelled the new files in
/// any letter case.
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

/// The size of a file, 0 where there is none.
int SizeOf(const FolderFiles& files, const std::string& name, std::uint64_t& size) {
    size = 0;
    std::unique_ptr<core::File> file;
    const int opened = files.workspace->Open(name, core::OpenMode::Read, file);
    if (opened < 0) return opened == -ENOENT ? 0 : opened;
    const std::int64_t bytes = file->Size();
    if (bytes > 0) size = static_cast<std::uint64_t>(bytes);
    return bytes < 0 ? static_cast<int>(bytes) : 0;
}

/// In whatever letter case: a file that is overlooked here would be replaced by half a one. A text without
/// anything in it is none.
int LookForOldFiles(const FolderFiles& files, bool& indexIsThere, std::uint64_t& textBytes) {
    core::EntryKind index{};
    const int result = files.workspace->Inspect(files.index, index);
    indexIsThere = index != core::EntryKind::Missing;
    return result < 0 ? result : SizeOf(files, files.text, textBytes);
}

/// Whether both new files of a compaction are to be put in place although neither has been: an older
/// program deletes the index, then the text, before it renames; this one puts the old text out of the way
/// first where mails would be lost with it, and where it converts an older layout.
int OldFilesHaveMadeWay(const FolderFiles& files, bool& theyHave) {
    theyHave = false;
    bool indexIsThere = false;
    std::uint64_t textBytes = 0;
    int result = LookForOldFiles(files, indexIsThere, textBytes);
    if (result < 0 || (indexIsThere && textBytes > 0)) return result;
    ListCondition beside;
    result = ExamineList(files, files.compactionIndex, files.compactionText, beside);
    if (result < 0 || !beside.isWhole) return result;
    theyHave = beside.readable > 0 || textBytes == 0;
    if (!indexIsThere) return 0;
    // A text that somebody else removed leaves the same names behind.
    std::uint64_t oldRecords = 0;
    std::uint64_t newRecords = 0;
    result = CountLiveRecords(files, files.index, oldRecords);
    if (result == 0) result = CountLiveRecords(files, files.compactionIndex, newRecords);
    theyHave = result == -ENOTSUP || oldRecords == newRecords;
    return result == -ENOTSUP ? 0 : result;
}

/// Takes new files away that have not begun to take effect. The index goes first: alone it would look like
/// a change half done.
int RemoveNewFiles(const FolderFiles& files, const Unfinished& unfinished) {
    int result = unfinished.newIndex ? files.workspace->Remove(files.compactionIndex) : 0;
    if (result == 0 && unfinished.newIndex) result = files.workspace->SyncNames(files.compactionIndex);
    if (result == 0 && unfinished.newText) result = files.workspace->Remove(files.compactionText);
    return result;
}

/// What becomes of new files that do not take the place of the old ones: copies of what is there go,
/// anything else stays.
int DropNewFiles(const FolderFiles& files, const Unfinished& unfinished, std::vector<std::string>& kept) {
    bool indexIsThere = false;
    std::uint64_t textBytes = 0;
    std::uint64_t newTextBytes = 0;
    int result = LookForOldFiles(files, indexIsThere, textBytes);
    if (result == 0 && unfinished.newText) result = SizeOf(files, files.compactionText, newTextBytes);
    if (result < 0) return result;
    const bool areCopies = unfinished.newIndex ? unfinished.newText && indexIsThere && textBytes > 0
                                               : textBytes > 0 || newTextBytes == 0;
    if (areCopies) return RemoveNewFiles(files, unfinished);
    std::vector<std::string> names;
    if (unfinished.newIndex) names.push_back(files.compactionIndex);
    if (unfinished.newText) names.push_back(files.compactionText);
    return PutAside(files, names, kept);
}

int FinishCompaction(const FolderFiles& files, const Unfinished& unfinished, std::vector<std::string>& kept) {
    Pair pair{};
    int result = FindPairInForce(files, unfinished, pair);
    if (result == 0 && pair == Pair::Old) result = DropNewFiles(files, unfinished, kept);
    if (result == 0 && pair == Pair::New) {
        result = files.workspace->Rename(files.compactionText, files.text);
        if (result == 0) result = files.workspace->SyncNames(files.text);
    }
    if (result == 0 && pair != Pair::Old)
        result = files.workspace->Rename(files.compactionIndex, files.index);
    return result < 0 ? result : files.workspace->SyncNames(files.index);
}

}  // namespace

FolderFiles FilesOf(core::Workspace& workspace, std::string_view bankDirectory, std::string_view folder) {
    constexpr std::string_view kIndexExtension = ".loc";
    std::string base(bankDirectory);
    if (!base.empty()) base += '\\';
    base += folder;
    // What a crash leaves is looked for in one spelling alone, so that has to be the same for all who open
    // the folder: the index's.
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
        ListCondition there;
        ListCondition beside;
        int result = ExamineList(files, files.compactionIndex, files.text, beside);
        if (result == 0) result = ExamineList(files, files.index, files.text, there);
        if (beside.isWhole && beside.readable >= there.readable) pair = Pair::NewIndex;
        return result;
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
    std::vector<std::string> kept;
    if (result == 0 && unfinished.journal) result = IndexJournal::Resume(files, kept);
    if (result == 0 && (unfinished.newText || unfinished.newIndex))
        result = FinishCompaction(files, unfinished, kept);
    lock = {};
    for (const std::string& name : kept) {
        if (files.onPutAside != nullptr) {
            (*files.onPutAside)(name);
        } else {
            core::LogError(*files.workspace, TextOfPutAside(name, core::Language::Japanese));
        }
    }
    return result;
}

int FinishInterruptedChanges(const FolderFiles& files) {
    const int result = FinishOwnChanges(files);
    if (result == 0) static_cast<void>(SettlePendingMove(*files.workspace, files.bankDirectory, &files));
    return result;
}

}  // namespace postkite::store
