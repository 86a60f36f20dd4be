#include "store/index_journal.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <span>
#include <vector>

#include "store/index_record.h"

namespace postkite::store {

namespace {

/// The journal begins with one block of this size: the first record's number, a blank, "cut" or "keep",
/// blanks. Records follow.
constexpr std::size_t kHeaderBytes = 64;
constexpr std::string_view kCut = "cut";
constexpr std::string_view kKeep = "keep";

constexpr std::size_t kPieceBytes = 256 * kIndexRecordBytes;

struct Header {
    std::uint64_t firstRecord = 0;
    bool cut = false;
};

std::string FormatHeader(const Header& header) {
    std::string text = std::to_string(header.firstRecord) + " " + std::string(header.cut ? kCut : kKeep);
    text.resize(kHeaderBytes, ' ');
    return text;
}

int ReadHeader(core::File& file, Header& header) {
    std::string text(kHeaderBytes, '\0');
    const std::int64_t count = file.ReadAt(0, text);
    if (count < 0) return static_cast<int>(count);
    const std::size_t blank = text.find(' ');
    if (count != kHeaderBytes || blank == std::string::npos) return -EINVAL;
    const auto [end, error] = std::from_chars(text.data(), text.data() + blank, header.firstRecord);
    constexpr std::uint64_t kMostRecords = std::uint64_t{1} << 40;
    if (error != std::errc() || end != text.data() + blank || header.firstRecord > kMostRecords)
        return -EINVAL;
    header.cut = text.compare(blank + 1, kCut.size(), kCut) == 0;
    return 0;
}

/// Copies `count` bytes, or as many as there are.
int CopyBytes(core::File& from, std::uint64_t fromOffset, std::uint64_t count, core::File& to,
              std::uint64_t toOffset) {
    std::vector<char> piece(kPieceBytes);
    for (std::uint64_t done = 0; done < count;) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(count - done, kPieceBytes));
        const std::int64_t read = from.ReadAt(fromOffset + done, std::span<char>(piece).first(wanted));
        if (read <= 0) return static_cast<int>(read);
        const int written = to.WriteAt(toOffset + done, {piece.data(), static_cast<std::size_t>(read)});
        if (written < 0) return written;
        done += static_cast<std::uint64_t>(read);
    }
    return 0;
}

int CopyInPlace(const JournalledRecords& journal, core::File& index) {
    const std::uint64_t start = journal.firstRecord * kIndexRecordBytes;
    const std::uint64_t bytes = journal.count * kIndexRecordBytes;
    int result = CopyBytes(*journal.file, kHeaderBytes, bytes, index, start);
    if (result == 0 && journal.cut) result = index.Truncate(start + bytes);
    return result < 0 ? result : index.Sync();
}

std::string UnfinishedName(const FolderFiles& files) {
    return files.journal + ".$$$";
}

int CreateUnfinished(const FolderFiles& files, std::unique_ptr<core::File>& file) {
    const int removed = files.workspace->Remove(UnfinishedName(files));
    if (removed < 0 && removed != -ENOENT) return removed;
    return files.workspace->Open(UnfinishedName(files), core::OpenMode::CreateNew, file);
}

/// Leaves the index to those who are reading it, and puts another in its place that has the journal's records.
int ReplaceIndex(const FolderFiles& files, const JournalledRecords& journal, core::File& index) {
    const std::int64_t size = index.Size();
    if (size < 0) return static_cast<int>(size);
    const std::uint64_t start = journal.firstRecord * kIndexRecordBytes;
    const std::uint64_t end = start + journal.count * kIndexRecordBytes;
    const std::uint64_t oldEnd = journal.cut ? 0 : static_cast<std::uint64_t>(size);
    std::unique_ptr<core::File> file;
    int result = CreateUnfinished(files, file);
    if (result < 0) return result;
    result = CopyBytes(index, 0, start, *file, 0);
    if (result == 0) result = CopyBytes(*journal.file, kHeaderBytes, end - start, *file, start);
    if (result == 0 && oldEnd > end) result = CopyBytes(index, end, oldEnd - end, *file, end);
    if (result == 0) result = file->Sync();
    file.reset();
    if (result == 0) result = files.workspace->Rename(UnfinishedName(files), files.index);
    if (result == 0) return files.workspace->SyncNames(files.index);
    static_cast<void>(files.workspace->Remove(UnfinishedName(files)));
    return result;
}

int PutInIndex(const FolderFiles& files, const JournalledRecords& journal, core::File& index) {
    // Asked when the journal is in place: a reader who comes after the question finds that, and needs nothing of what is
    // written here. Where nobody can be asked, the index is left alone.
    bool hasReaders = false;
    if (index.HasReaders(hasReaders) < 0) hasReaders = true;
    return hasReaders ? ReplaceIndex(files, journal, index) : CopyInPlace(journal, index);
}

}  // namespace

int IndexJournal::Begin(std::uint64_t firstRecord) {
    anew_ = false;
    firstRecord_ = firstRecord;
    writtenBytes_ = kHeaderBytes;
    buffer_.clear();
    return CreateUnfinished(*files_, file_);
}

int IndexJournal::BeginAnew() {
    anew_ = true;
    writtenBytes_ = 0;
    buffer_.clear();
    return CreateUnfinished(*files_, file_);
}

int IndexJournal::Add(std::string_view records) {
    buffer_ += records;
    return buffer_.size() < kPieceBytes ? 0 : Flush();
}

int IndexJournal::Flush() {
    const int written = file_->WriteAt(writtenBytes_, buffer_);
    writtenBytes_ += buffer_.size();
    buffer_.clear();
    return written;
}

int IndexJournal::Apply(End end) {
    int result = Flush();
    if (result == 0 && !anew_)
        result = file_->WriteAt(0, FormatHeader({firstRecord_, end == End::CutBehind}));
    if (result == 0) result = file_->Sync();
    file_.reset();
    if (result == 0)
        result = files_->workspace->Rename(UnfinishedName(*files_), anew_ ? files_->index : files_->journal);
    if (result < 0) {
        static_cast<void>(files_->workspace->Remove(UnfinishedName(*files_)));
        return result;
    }
    stands_ = true;
    result = files_->workspace->SyncNames(files_->journal);
    return result < 0 || anew_ ? result : Resume(*files_);
}

std::uint64_t JournalledRecords::OffsetOf(std::uint64_t number) const {
    return kHeaderBytes + (number - firstRecord) * kIndexRecordBytes;
}

int IndexJournal::OpenExisting(const FolderFiles& files, JournalledRecords& journal) {
    int result = files.workspace->OpenExactly(files.journal, core::OpenMode::Read, journal.file);
    Header header;
    if (result == 0) result = ReadHeader(*journal.file, header);
    if (result < 0) return result;
    const std::int64_t size = journal.file->Size();
    if (size < 0) return static_cast<int>(size);
    journal.firstRecord = header.firstRecord;
    journal.count = (static_cast<std::uint64_t>(size) - kHeaderBytes) / kIndexRecordBytes;
    journal.cut = header.cut;
    return 0;
}

int IndexJournal::Resume(const FolderFiles& files) {
    JournalledRecords journal;
    std::unique_ptr<core::File> index;
    int result = OpenExisting(files, journal);
    if (result == 0) result = files.workspace->Open(files.index, core::OpenMode::ReadWrite, index);
    // Without an index, or with a header that nobody here wrote, there is nothing to go on with.
    if (result == -ENOENT || result == -EINVAL) {
        const int removed = files.workspace->Remove(files.journal);
        return removed < 0 ? removed : files.workspace->SyncNames(files.journal);
    }
    if (result == 0) result = PutInIndex(files, journal, *index);
    if (result == 0) result = files.workspace->Remove(files.journal);
    if (result == 0) result = files.workspace->SyncNames(files.journal);
    return result;
}

}  // namespace postkite::store
