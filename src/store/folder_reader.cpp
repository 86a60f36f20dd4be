#include "store/folder_reader.h"

#include <cerrno>
#include <functional>
#include <utility>

#include "store/pending_move.h"

namespace postkite::store {

namespace {

/// What the index alone knows of a mail whose text is not to be had.
void FillFromIndex(std::string_view index, MailRecord& record) {
    record = MailRecord();
    record.flags = WithoutTrailingBlanks(FieldOf(index, index_field::kFlags));
    record.localId = WithoutTrailingBlanks(FieldOf(index, index_field::kLocalId));
    record.address = WithoutTrailingBlanks(FieldOf(index, index_field::kAddress));
    record.name = WithoutTrailingBlanks(FieldOf(index, index_field::kName));
    record.date = WithoutTrailingBlanks(FieldOf(index, index_field::kDate));
    record.subject = WithoutTrailingBlanks(FieldOf(index, index_field::kSubject));
    record.attach = WithoutTrailingBlanks(FieldOf(index, index_field::kAttach));
    record.sizeText = WithoutTrailingBlanks(FieldOf(index, index_field::kSizeText));
    record.sourceId = WithoutTrailingBlanks(FieldOf(index, index_field::kSourceId));
    record.messageId = WithoutTrailingBlanks(FieldOf(index, index_field::kMessageId));
}

std::size_t HashOfIdentifier(std::string_view row) {
    const std::string_view localId = WithoutTrailingBlanks(FieldOf(row, index_field::kLocalId));
    return std::hash<std::string_view>()(localId);
}

}  // namespace

void FolderReader::Close() {
    *this = FolderReader();
}

int FolderReader::Open(const FolderFiles& files) {
    Close();
    files_ = files;
    // Here and never again while it is open, since the records would get other numbers.
    static_cast<void>(SettlePendingMove(*files.workspace, files.bankDirectory, &files));
    const int opened = rows_.Open(files);
    if (!rows_.sawUnfinished()) return opened;
    // For one who reads it the index would have to be made anew.
    rows_ = IndexView();
    // What cannot be finished is read as it will be then, but is no ground for a change.
    const int finished = FinishOwnChanges(files, false);
    return finished < 0 && files.workspace->HoldsLock() ? finished : rows_.Open(files);
}

int FolderReader::error() const {
    if (rows_.error() < 0) return rows_.error();
    if (newer_ && newer_->error() < 0) return newer_->error();
    return textWindow_ && textWindow_->error() < 0 ? textWindow_->error() : textError_;
}

int FolderReader::ReadListEntry(int recordNumber, MailListEntry& entry) {
    const std::string_view record = IndexRecord(recordNumber);
    if (record.empty()) return -1;
    FillListEntry(record, entry);
    return 0;
}

/// Opens the text that belongs to the list, which was opened before. One that is missing is no failure.
int FolderReader::OpenTextOf(const IndexView& list, bool& belongs) {
    textWindow_.reset();
    const int opened = files_.workspace->Open(list.TextName(files_), core::OpenMode::Read, text_);
    if (opened < 0 && opened != -ENOENT) return opened;
    if (opened == 0) textWindow_.emplace(*text_);
    return list.IsInForce(files_, belongs);
}

int FolderReader::OpenText() {
    bool belongs = false;
    const int result = OpenTextOf(rows_, belongs);
    return result < 0 || belongs ? result : OpenNewerPair();
}

int FolderReader::OpenNewerPair() {
    constexpr int kMostAttempts = 50;
    bool belongs = false;
    int result = 0;
    for (int attempt = 0; result == 0 && !belongs && attempt < kMostAttempts; ++attempt) {
        result = newer_.emplace().Open(files_);
        if (result == 0) result = OpenTextOf(*newer_, belongs);
    }
    if (result < 0 || !belongs) return result < 0 ? result : -EBUSY;
    for (int number = 0; number < newer_->count(); ++number) {
        const std::string_view record = newer_->Record(number);
        if (record.empty()) break;
        if (!IsDeleted(record)) newerNumbers_.try_emplace(HashOfIdentifier(record), number);
    }
    return newer_->error();
}

/// Where the row's mail begins in the text.
std::optional<std::uint64_t> FolderReader::PlaceOf(std::string_view row) {
    if (!newer_ || IsDeleted(row)) return TextOffsetOf(row);
    // Without an identifier one mail is like another.
    if (WithoutTrailingBlanks(FieldOf(row, index_field::kLocalId)).empty()) return std::nullopt;
    const auto found = newerNumbers_.find(HashOfIdentifier(row));
    const std::string_view there =
        found == newerNumbers_.end() ? std::string_view() : newer_->Record(found->second);
    return there.empty() ? std::nullopt : TextOffsetOf(there);
}

FolderReader::Condition FolderReader::ReadMail(int recordNumber, std::size_t bodyLimit, MailRecord& record) {
    const std::string_view row = IndexRecord(recordNumber);
    if (row.empty()) {
        record = MailRecord();
        return Condition::Damaged;
    }
    if (!std::exchange(textIsOpen_, true)) textError_ = OpenText();
    const auto offset = PlaceOf(row);
    if (offset && textWindow_ && textError_ == 0) {
        const TextRecordFault fault = ReadTextRecord(*textWindow_, *offset, bodyLimit, record);
        const bool itsOwn = fault != TextRecordFault::Nowhere && BearsIdentifierOf(row, record.localId);
        if (itsOwn) return fault == TextRecordFault::None ? Condition::Whole : Condition::Cut;
    }
    FillFromIndex(row, record);
    return Condition::Damaged;
}

int FolderReader::FindMail(std::string_view localId) {
    const std::string_view wanted = WithoutTrailingBlanks(localId);
    for (int number = 0;; ++number) {
        const std::string_view record = IndexRecord(number);
        if (record.empty()) return -1;
        if (WithoutTrailingBlanks(FieldOf(record, index_field::kLocalId)) == wanted) return number;
    }
}

}  // namespace postkite::store
