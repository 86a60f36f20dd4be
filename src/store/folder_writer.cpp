#include "store/folder_writer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <utility>

#include "core/shift_jis.h"
#include "store/index_journal.h"
#include "store/index_record.h"
#include "store/older_layouts.h"
#include "store/text_record.h"

namespace postkite::store {

using namespace core::literals;

namespace {

/// How much of the index is gathered before it is written.
constexpr std::size_t kIndexBufferBytes = 1024 * 1024;

using Member = std::string MailRecord::*;
constexpr std::array<Member, 16> kHeaderFields = {
    &MailRecord::flags,     &MailRecord::address,  &MailRecord::name,         &MailRecord::date,
    &MailRecord::subject,   &MailRecord::attach,   &MailRecord::cc,           &MailRecord::bcc,
    &MailRecord::localId,   &MailRecord::sizeText, &MailRecord::extraAddress, &MailRecord::sourceId,
    &MailRecord::messageId, &MailRecord::spare1,   &MailRecord::spare2,       &MailRecord::spare5,
};

bool CanBeStored(const MailRecord& record) {
    const bool headers = std::all_of(kHeaderFields.begin(), kHeaderFields.end(), [&record](Member member) {
        const std::string& field = record.*member;
        return field.find('\r') == std::string::npos && field.find('\0') == std::string::npos;
    });
    return headers && record.flags.size() <= index_field::kFlags.width &&
           record.body.find(kTerminator) == std::string::npos;
}

/// What every stored mail has.
void PrepareForStorage(MailRecord& record) {
    if (record.flags.size() <= flag::kLine17) record.flags.resize(flag::kLine17 + 1, ' ');
    record.flags[flag::kLine17] = 'Y';
    record.spare2.clear();
    record.spare3.clear();
    record.spare4.clear();
}

}  // namespace

std::string MakeIdentifierOfNewMail(core::IdentifierMaker& identifiers) {
    // Two identifiers are made and the second is kept: that is how the serial numbers of old mailboxes have
    // run.
    static_cast<void>(identifiers.MakeMailKey());
    return identifiers.MakeMailKey();
}

FolderWriter::~FolderWriter() {
    if (changed_) TakeBack();
}

int FolderWriter::Open(const FolderFiles& files) {
    files_ = files;
    int result = files.workspace->Lock(true, lock_);
    if (result == 0) result = FinishOwnChanges(files);
    if (result == 0) result = files.workspace->Open(files.text, core::OpenMode::ReadWriteOrCreate, text_);
    if (result == 0) result = files.workspace->Open(files.index, core::OpenMode::ReadWriteOrCreate, index_);
    if (result == 0) result = RequireCurrentLayout(*index_);
    if (result < 0) return result;
    const std::int64_t textSize = text_->Size();
    if (textSize < 0) return static_cast<int>(textSize);
    oldTextBytes_ = static_cast<std::uint64_t>(textSize);
    textOutput_ = BlockOutput(*text_, oldTextBytes_);
    // What is torn or unwritten behind the last record is written over by the next one.
    std::uint64_t count = 0;
    const int counted = CountRecords(*index_, count);
    if (counted < 0) return counted;
    oldIndexBytes_ = indexBytes_ = count * kIndexRecordBytes;
    firstTextBytes_ = oldTextBytes_;
    firstIndexBytes_ = oldIndexBytes_;
    const int looked = LookForLastIdentifier();
    return looked < 0 ? looked : LookForTornText();
}

/// Another program may have appended in this very millisecond.
int FolderWriter::LookForLastIdentifier() {
    if (oldIndexBytes_ == 0) return 0;
    std::string record(kIndexRecordBytes, '\0');
    const std::int64_t count = index_->ReadAt(oldIndexBytes_ - kIndexRecordBytes, record);
    if (count < 0) return static_cast<int>(count);
    identifiers_->KeepClearOf(WithoutTrailingBlanks(FieldOf(record, index_field::kLocalId)));
    return 0;
}

/// A crash can have torn the last text. It is closed, so that it does not go on with the mail that is
/// appended, and says so where somebody reads it.
int FolderWriter::LookForTornText() {
    tornTextEnd_.clear();
    std::array<char, kTerminator.size() + kBytesBehindTerminator> tail{};
    if (oldTextBytes_ == 0) return 0;
    const std::size_t wanted = std::min<std::uint64_t>(tail.size(), oldTextBytes_);
    const std::int64_t count = text_->ReadAt(oldTextBytes_ - wanted, std::span(tail).first(wanted));
    if (count < 0) return static_cast<int>(count);
    const std::string_view read(tail.data(), static_cast<std::size_t>(count));
    if (read.find(kTerminator) != std::string_view::npos) return 0;
    // Whichever line it was torn in, the header has all of its lines then.
    for (int line = 0; line < kMostHeaderLines; ++line)
        tornTextEnd_ += "\r\n";
    tornTextEnd_ += "（ここから先は失われました）\r\n"_sjis;
    tornTextEnd_ += kTerminator;
    return 0;
}

int FolderWriter::nextRecordNumber() const {
    return static_cast<int>(indexBytes_ / kIndexRecordBytes);
}

int FolderWriter::AddText(MailRecord& record, std::string& indexRecord) {
    PrepareForStorage(record);
    headerLines_.clear();
    FormatHeaderLines(record, headerLines_);
    const std::string_view end = EndBehind(record.body);
    if (headerLines_.size() + record.body.size() + end.size() > kLongestTextRecordBytes) return -EMSGSIZE;
    const int closed = textOutput_.Add(std::exchange(tornTextEnd_, {}));
    if (closed < 0) return closed;
    const std::uint64_t offset = textOutput_.end();
    CutIndexFields(record);
    indexRecord = FormatIndexRecord(offset, record);
    changed_ = true;
    int result = textOutput_.Add(headerLines_);
    if (result == 0) result = textOutput_.Add(record.body);
    return result < 0 ? result : textOutput_.Add(end);
}

int FolderWriter::Append(MailRecord& record, std::string_view localId) {
    if (failure_ < 0) return failure_;
    if (!CanBeStored(record)) return -EINVAL;
    record.localId = localId.empty() ? MakeIdentifierOfNewMail(*identifiers_) : std::string(localId);
    std::string indexRecord;
    const int added = AddText(record, indexRecord);
    if (added == -EMSGSIZE) return added;
    if (added < 0) return Fail(added);
    indexBuffer_ += indexRecord;
    gatheredBytes_ = std::max(gatheredBytes_, indexBuffer_.size());
    indexBytes_ += kIndexRecordBytes;
    // The records of very many mails do not wait in memory for the commit: they may follow their texts before
    // it.
    const int flushed = indexBuffer_.size() < kIndexBufferBytes ? 0 : FlushBoth();
    return flushed < 0 ? Fail(flushed) : 0;
}

int FolderWriter::Overwrite(int recordNumber, MailRecord& record) {
    if (failure_ < 0) return failure_;
    if (!CanBeStored(record) || recordNumber < 0 || recordNumber >= nextRecordNumber()) return -EINVAL;
    if (overwriting_) return -EINVAL;
    record.localId = identifiers_->MakeMailKey();
    std::string indexRecord;
    const int added = AddText(record, indexRecord);
    if (added == -EMSGSIZE) return added;
    if (added < 0) return Fail(added);
    overwriting_ = {recordNumber, std::move(indexRecord)};
    return 0;
}

int FolderWriter::FlushBoth() {
    int result = textOutput_.Flush();
    if (result == 0) result = text_->Sync();
    // Either file may be a new one: no record is to lead into a text whose name a power cut takes away.
    if (result == 0 && !namesAreSynced_) result = files_.workspace->SyncNames(files_.index);
    if (result == 0) namesAreSynced_ = true;
    if (result == 0) result = index_->WriteAt(indexBytes_ - indexBuffer_.size(), indexBuffer_);
    indexBuffer_.clear();
    return result;
}

int FolderWriter::PutOverwriting() {
    if (!overwriting_) return 0;
    IndexJournal journal(files_);
    int result = journal.Begin(static_cast<std::uint64_t>(overwriting_->recordNumber),
                               indexBytes_ / kIndexRecordBytes);
    if (result == 0) result = journal.Add(overwriting_->bytes);
    if (result == 0) result = journal.Apply(IndexJournal::End::Kept);
    // The record will point to its text sooner or later: the text has to stay.
    if (journal.stands()) changed_ = false;
    overwriting_.reset();
    return result;
}

int FolderWriter::Commit() {
    if (failure_ < 0) return failure_;
    if (!changed_) return 0;
    int result = FlushBoth();
    if (result == 0) result = index_->Sync();
    if (result == 0) result = PutOverwriting();
    if (result < 0) return Fail(result);
    oldTextBytes_ = textOutput_.end();
    oldIndexBytes_ = indexBytes_;
    changed_ = false;
    indexBuffer_.shrink_to_fit();
    gatheredBytes_ = 0;
    return 0;
}

int FolderWriter::Fail(int result) {
    failure_ = result;
    if (changed_) TakeBack();
    return result;
}

void FolderWriter::TakeBack() {
    // The index first: it must not point to what is gone.
    int result = index_->Truncate(oldIndexBytes_);
    if (result == 0) result = index_->Sync();
    if (result < 0) hasLeftovers_ = true;
    // Records that are there, or may come back, keep their texts.
    if (result == 0 && text_->Truncate(oldTextBytes_) == 0) static_cast<void>(text_->Sync());
    textOutput_ = BlockOutput();
    indexBuffer_.clear();
    overwriting_.reset();
    changed_ = false;
}

int FolderWriter::TakeBackAll() {
    failure_ = -ECANCELED;
    if (changed_) TakeBack();
    if (hasLeftovers_) return -EIO;
    std::uint64_t count = 0;
    const int counted = CountRecords(*index_, count);
    if (counted < 0) return counted;
    // Somebody who takes no lock has appended meanwhile: what is theirs is not to go.
    if (count * kIndexRecordBytes != oldIndexBytes_) return -EBUSY;
    if (oldIndexBytes_ == firstIndexBytes_) return 0;
    oldIndexBytes_ = firstIndexBytes_;
    oldTextBytes_ = firstTextBytes_;
    TakeBack();
    return hasLeftovers_ ? -EIO : 0;
}

}  // namespace postkite::store
