#include "store/index_view.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include "store/index_record.h"
#include "store/older_layouts.h"

namespace postkite::store {

namespace {

/// Each further one means that another whole change came between two looks.
constexpr int kMostAttempts = 50;

int OpenIdentified(const core::Workspace& workspace, const std::string& name,
                   std::unique_ptr<core::File>& file, core::FileIdentity& identity) {
    const int opened = workspace.Open(name, core::OpenMode::Read, file);
    return opened < 0 ? opened : file->Identify(identity);
}

/// Whether the name leads to that file, still or by now.
int LeadsTo(const core::Workspace& workspace, const std::string& name, const core::FileIdentity& identity,
            bool& leads) {
    std::unique_ptr<core::File> file;
    core::FileIdentity there;
    const int opened = OpenIdentified(workspace, name, file, there);
    leads = opened == 0 && there == identity;
    return opened == -ENOENT ? 0 : opened;
}

}  // namespace

int IndexView::Open(const FolderFiles& files) {
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        Found found{};
        const int result = Try(files, found);
        if (result < 0) return result;
        if (found == Found::Nothing) return -ENOENT;
        if (found == Found::List) return Begin();
    }
    return -EBUSY;
}

int IndexView::Try(const FolderFiles& files, Found& found) {
    *this = IndexView();
    int result = OpenIdentified(*files.workspace, files.index, index_, identity_);
    if (result < 0 && result != -ENOENT) return result;
    // Said before the journal is looked for: a writer has the journal in place before asking. So either the writer
    // sees a reader and leaves this file alone, or the journal is found here, or the writer is through.
    if (result == 0) static_cast<void>(index_->BeginReading());
    Unfinished unfinished;
    result = LookForUnfinished(files, unfinished);
    sawUnfinished_ = unfinished.journal || unfinished.newText || unfinished.newIndex;
    if (result == 0) result = FindPairInForce(files, unfinished, pair_);
    if (result < 0) return result;
    if (pair_ != Pair::Old) return TakeNewIndex(files, unfinished, found);
    found = Found::Nothing;
    return index_ == nullptr ? 0 : TakeOldIndex(files, unfinished, found);
}

int IndexView::TakeOldIndex(const FolderFiles& files, const Unfinished& unfinished, Found& found) {
    if (unfinished.journal) {
        JournalledRecords journal;
        const int opened = IndexJournal::OpenExisting(files, journal);
        // One that is no journal is thrown away by the next writer.
        if (opened < 0 && opened != -ENOENT && opened != -EINVAL) return opened;
        if (opened == 0) journal_ = std::move(journal);
    }
    // What was found beside belongs to this index if that still has its place. One that has lost it may have been written
    // over in part.
    bool leads = false;
    const int looked = LeadsTo(*files.workspace, files.index, identity_, leads);
    found = leads ? Found::List : Found::AnotherMeanwhile;
    return looked;
}

int IndexView::TakeNewIndex(const FolderFiles& files, const Unfinished& unfinished, Found& found) {
    found = Found::AnotherMeanwhile;
    int result = OpenIdentified(*files.workspace, files.compactionIndex, index_, identity_);
    if (result < 0) return result == -ENOENT ? 0 : result;
    static_cast<void>(index_->BeginReading());
    // It was whole then if nothing has changed but that it may have taken its place.
    Unfinished now;
    bool leads = false;
    result = LookForUnfinished(files, now);
    if (result == 0) result = LeadsTo(*files.workspace, files.compactionIndex, identity_, leads);
    const bool same = leads && now.journal == unfinished.journal && now.newText == unfinished.newText;
    if (same) found = Found::List;
    return result;
}

int IndexView::Begin() {
    int result = RequireCurrentLayout(*index_);
    const bool ends = journal_ && journal_->cut;
    if (result == 0 && !ends) result = CountRecords(*index_, count_);
    if (result < 0) return result;
    constexpr std::uint64_t kMostRecords = std::numeric_limits<int>::max();
    if (journal_) count_ = std::max(count_, journal_->firstRecord + journal_->count);
    count_ = std::min(count_, kMostRecords);
    indexWindow_.emplace(*index_);
    if (journal_) journalWindow_.emplace(*journal_->file);
    return 0;
}

int IndexView::IsInForce(const FolderFiles& files, bool& isInForce) const {
    Unfinished unfinished;
    Pair pair{};
    int result = LookForUnfinished(files, unfinished);
    if (result == 0) result = FindPairInForce(files, unfinished, pair);
    bool leads = false;
    const std::string& list = pair == Pair::Old ? files.index : files.compactionIndex;
    if (result == 0) result = LeadsTo(*files.workspace, list, identity_, leads);
    isInForce = leads && (pair == Pair::New) == (pair_ == Pair::New);
    return result;
}

std::string_view IndexView::Record(int number) {
    const auto record = static_cast<std::uint64_t>(number);
    if (number < 0 || record >= count_) return {};
    const bool journalled =
        journal_ && record >= journal_->firstRecord && record - journal_->firstRecord < journal_->count;
    const std::string_view bytes = journalled
                                       ? journalWindow_->At(journal_->OffsetOf(record), kIndexRecordBytes)
                                       : indexWindow_->At(record * kIndexRecordBytes, kIndexRecordBytes);
    return bytes.size() == kIndexRecordBytes ? bytes : std::string_view();
}

int IndexView::error() const {
    if (indexWindow_ && indexWindow_->error() < 0) return indexWindow_->error();
    return journalWindow_ ? journalWindow_->error() : 0;
}

}  // namespace postkite::store
