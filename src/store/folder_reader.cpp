#include "store/folder_reader.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include "store/older_layouts.h"
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

}  // namespace

int FolderReader::Open(const FolderFiles& files) {
    files_ = files;
    openedTogether_ = false;
    // Here and never again while it is open, since the records would get other numbers.
    static_cast<void>(SettlePendingMove(*files.workspace, files.bankDirectory, &files));
    return OpenFiles();
}

int FolderReader::OpenFiles() {
    const int finished = FinishOwnChanges(files_);
    if (finished < 0) return finished;
    std::unique_ptr<core::File> index;
    int result = files_.workspace->Open(files_.index, core::OpenMode::Read, index);
    if (result == 0) result = RequireCurrentLayout(*index);
    if (result < 0) return result;
    index_ = std::move(index);
    indexBytes_ = index_->Size();
    indexWindow_.emplace(*index_);
    textWindow_.reset();
    textIsOpen_ = false;
    textError_ = 0;
    return 0;
}

void FolderReader::OpenText() {
    if (textIsOpen_) return;
    textIsOpen_ = true;
    const int opened = files_.workspace->Open(files_.text, core::OpenMode::Read, text_);
    if (opened == 0) textWindow_.emplace(*text_);
    if (opened != -ENOENT) textError_ = opened;
}

int FolderReader::error() const {
    if (indexWindow_ && indexWindow_->error() < 0) return indexWindow_->error();
    return textWindow_ ? textWindow_->error() : textError_;
}

int FolderReader::CountMails() {
    std::uint64_t count = 0;
    const int counted = CountRecords(*index_, count);
    if (counted < 0) return counted;
    return static_cast<int>(std::min<std::uint64_t>(count, std::numeric_limits<int>::max()));
}

std::string_view FolderReader::IndexRecord(int recordNumber) {
    if (recordNumber < 0) return {};
    const auto offset = static_cast<std::uint64_t>(recordNumber) * kIndexRecordBytes;
    const std::string_view record = indexWindow_->At(offset, kIndexRecordBytes);
    return record.size() == kIndexRecordBytes ? record : std::string_view();
}

int FolderReader::ReadListEntry(int recordNumber, MailListEntry& entry) {
    const std::string_view record = IndexRecord(recordNumber);
    if (record.empty()) return -1;
    FillListEntry(record, entry);
    return 0;
}

FolderReader::Condition FolderReader::ReadMail(int recordNumber, std::size_t bodyLimit, MailRecord& record) {
    const Condition condition = TryToReadMail(recordNumber, bodyLimit, record);
    if (condition != Condition::Damaged || openedTogether_) return condition;
    core::WorkspaceLock lock;
    openedTogether_ = true;
    if (files_.workspace->Lock(true, lock) < 0 || OpenFiles() < 0) return condition;
    OpenText();
    return TryToReadMail(recordNumber, bodyLimit, record);
}

FolderReader::Condition FolderReader::TryToReadMail(int recordNumber, std::size_t bodyLimit,
                                                    MailRecord& record) {
    const std::string_view index = IndexRecord(recordNumber);
    if (index.empty()) {
        record = MailRecord();
        return Condition::Damaged;
    }
    OpenText();
    const std::optional<std::uint64_t> offset = TextOffsetOf(index);
    if (offset && textWindow_) {
        switch (ReadTextRecord(*textWindow_, *offset, bodyLimit, record)) {
            case TextRecordFault::None:
                if (BearsIdentifierOf(IndexRecord(recordNumber), record.localId)) return Condition::Whole;
                break;
            case TextRecordFault::Unended:
                if (BearsIdentifierOf(IndexRecord(recordNumber), record.localId)) return Condition::Cut;
                break;
            case TextRecordFault::Nowhere:
                break;
        }
    }
    FillFromIndex(index, record);
    return Condition::Damaged;
}

bool FolderReader::HasShrunk() {
    return index_->Size() < indexBytes_;
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
