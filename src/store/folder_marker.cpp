#include "store/folder_marker.h"

#include <cerrno>
#include <string>

#include "core/time_stamp.h"
#include "store/index_record.h"
#include "store/older_layouts.h"
#include "store/text_record.h"

namespace postkite::store {

namespace {

/// The first characters of the date field: the date of writing and a blank.
constexpr std::size_t kWritingDateBytes = 15;

/// Whether a flag decides what is done with the mail: whether it is kept, and whether it goes out. The others
/// say how the list draws it.
bool DecidesMailsFate(std::size_t position) {
    return position == flag::kDeleted || position == flag::kSent || position == flag::kPosition8;
}

}  // namespace

int FolderMarker::Open(const FolderFiles& files) {
    int result = files.workspace->Lock(true, lock_);
    if (result == 0) result = FinishOwnChanges(files);
    if (result == 0) result = files.workspace->Open(files.index, core::OpenMode::ReadWrite, index_);
    if (result == 0) result = RequireCurrentLayout(*index_);
    if (result < 0) return result;
    result = files.workspace->Open(files.text, core::OpenMode::ReadWrite, text_);
    // Without its text a mail can still be deleted.
    return result == -ENOENT ? 0 : result;
}

int FolderMarker::ReadRecord(int recordNumber, std::string_view& record) {
    if (recordNumber < 0) return -EINVAL;
    record_.resize(kIndexRecordBytes);
    const std::int64_t count =
        index_->ReadAt(static_cast<std::uint64_t>(recordNumber) * kIndexRecordBytes, record_);
    if (count < 0) return static_cast<int>(count);
    if (count != static_cast<std::int64_t>(kIndexRecordBytes)) return -EINVAL;
    record = record_;
    return 0;
}

std::int64_t FolderMarker::FlagLineBytes(std::uint64_t textOffset) {
    if (text_ == nullptr) return 0;
    return store::FlagLineBytes(*text_, textOffset, record_);
}

int FolderMarker::SetFlag(int recordNumber, std::size_t position, char character) {
    if (character == '\r' || character == '\n' || character == '\0') return -EINVAL;
    std::string_view record;
    const int read = ReadRecord(recordNumber, record);
    if (read < 0) return read;
    const auto textOffset = TextOffsetOf(record);
    if (!textOffset) return -EINVAL;
    const std::int64_t flagBytes = FlagLineBytes(*textOffset);
    if (flagBytes < 0) return static_cast<int>(flagBytes);
    if (static_cast<std::int64_t>(position) >= flagBytes) return -EINVAL;
    if (DecidesMailsFate(position)) mustSync_ = true;
    const std::string_view mark(&character, 1);
    const std::uint64_t start = static_cast<std::uint64_t>(recordNumber) * kIndexRecordBytes;
    const int written = index_->WriteAt(start + index_field::kFlags.offset + position, mark);
    return written < 0 ? written : text_->WriteAt(*textOffset + position, mark);
}

int FolderMarker::MarkSent(int recordNumber, bool sent, const core::Clock& clock) {
    if (!sent) return SetFlag(recordNumber, flag::kSent, 's');
    // The reservation goes first: a mail that is marked by half does not go out again.
    int result = SetFlag(recordNumber, flag::kPosition8, 'y');
    if (result == 0) result = SetFlag(recordNumber, flag::kSent, 'S');
    if (result < 0) return result;
    return StampSendingDate(recordNumber, *TextOffsetOf(record_), clock);
}

int FolderMarker::StampSendingDate(int recordNumber, std::uint64_t textOffset, const core::Clock& clock) {
    std::string date(FieldOf(record_, index_field::kDate));
    date.resize(kWritingDateBytes);
    date += core::FormatNowDate(clock);
    date.resize(index_field::kDate.width, ' ');
    const std::uint64_t start = static_cast<std::uint64_t>(recordNumber) * kIndexRecordBytes;
    const int written = index_->WriteAt(start + index_field::kDate.offset, date);
    if (written < 0) return written;

    constexpr int kLinesBeforeDate = 4;
    TextWindow window(*text_);
    std::uint64_t offset = textOffset;
    for (int line = 0;; ++line) {
        const std::string_view piece = window.At(offset, MAIL_BODY_MAX);
        const std::size_t end = piece.find('\r');
        if (end == std::string_view::npos) return 0;
        // Another length would move what stands behind the line.
        if (line == kLinesBeforeDate) return end == kDateLineBytes ? text_->WriteAt(offset, date) : 0;
        offset += end + 2;
    }
}

int FolderMarker::MarkDeleted(int recordNumber) {
    std::string_view record;
    const int read = ReadRecord(recordNumber, record);
    if (read < 0) return read;
    if (IsDeleted(record)) return -EINVAL;
    const auto textOffset = TextOffsetOf(record);
    const std::uint64_t start = static_cast<std::uint64_t>(recordNumber) * kIndexRecordBytes;
    mustSync_ = true;
    int result = index_->WriteAt(start + index_field::kFlags.offset + flag::kDeleted, "x");
    if (result == 0 && textOffset) {
        // A text that cannot be read keeps nobody from deleting: the index decides.
        if (FlagLineBytes(*textOffset) > static_cast<std::int64_t>(flag::kDeleted))
            result = text_->WriteAt(*textOffset + flag::kDeleted, "x");
    }
    return result < 0 ? result : index_->WriteAt(start, std::string(kDeletedBlankBytes, ' '));
}

int FolderMarker::Commit() {
    if (!mustSync_) return 0;
    const int synced = text_ == nullptr ? 0 : text_->Sync();
    return synced < 0 ? synced : index_->Sync();
}

}  // namespace postkite::store
