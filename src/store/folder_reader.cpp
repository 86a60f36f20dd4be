#include "store/folder_reader.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include "store/older_layouts.h"

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
    const int finished = FinishInterruptedChanges(files);
    if (finished < 0) return finished;
    const int opened = files.workspace->Open(files.index, core::OpenMode::Read, index_);
    if (opened < 0) return opened;
    const int current = RequireCurrentLayout(*index_);
    if (current < 0) return current;
    indexWindow_.emplace(*index_);
    const int textOpened = files.workspace->Open(files.text, core::OpenMode::Read, text_);
    if (textOpened == 0) {
        textWindow_.emplace(*text_);
    } else {
        textWindow_.reset();
    }
    return 0;
}

int FolderReader::CountMails() {
    const std::int64_t size = index_->Size();
    if (size < 0) return 0;
    const std::int64_t count = size / static_cast<std::int64_t>(kIndexRecordBytes);
    return static_cast<int>(std::min<std::int64_t>(count, std::numeric_limits<int>::max()));
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
    const std::string_view index = IndexRecord(recordNumber);
    if (index.empty()) {
        record = MailRecord();
        return Condition::Damaged;
    }
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

int FolderReader::FindMail(std::string_view localId) {
    const std::string_view wanted = WithoutTrailingBlanks(localId);
    for (int number = 0;; ++number) {
        const std::string_view record = IndexRecord(number);
        if (record.empty()) return -1;
        if (WithoutTrailingBlanks(FieldOf(record, index_field::kLocalId)) == wanted) return number;
    }
}

}  // namespace postkite::store
