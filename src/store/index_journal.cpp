#include "store/index_journal.h"

#include <cerrno>
#include <charconv>
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

int CopyRecords(core::File& journal, core::File& index, const Header& header) {
    std::vector<char> piece(kPieceBytes);
    std::uint64_t done = 0;
    const std::uint64_t start = header.firstRecord * kIndexRecordBytes;
    for (;;) {
        const std::int64_t count = journal.ReadAt(kHeaderBytes + done, piece);
        if (count < 0) return static_cast<int>(count);
        if (count == 0) break;
        const int written = index.WriteAt(start + done, {piece.data(), static_cast<std::size_t>(count)});
        if (written < 0) return written;
        done += static_cast<std::uint64_t>(count);
    }
    return header.cut ? index.Truncate(start + done) : 0;
}

}  // namespace

int IndexJournal::Begin(std::uint64_t firstRecord) {
    anew_ = false;
    firstRecord_ = firstRecord;
    writtenBytes_ = kHeaderBytes;
    return CreateUnfinished();
}

int IndexJournal::BeginAnew() {
    anew_ = true;
    writtenBytes_ = 0;
    return CreateUnfinished();
}

int IndexJournal::CreateUnfinished() {
    buffer_.clear();
    const int removed = files_->workspace->Remove(UnfinishedName());
    if (removed < 0 && removed != -ENOENT) return removed;
    return files_->workspace->Open(UnfinishedName(), core::OpenMode::CreateNew, file_);
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
        result = files_->workspace->Rename(UnfinishedName(), anew_ ? files_->index : files_->journal);
    if (result < 0) {
        static_cast<void>(files_->workspace->Remove(UnfinishedName()));
        return result;
    }
    stands_ = true;
    result = files_->workspace->SyncNames(files_->journal);
    return result < 0 || anew_ ? result : Resume(*files_);
}

int IndexJournal::Resume(const FolderFiles& files) {
    std::unique_ptr<core::File> journal;
    std::unique_ptr<core::File> index;
    Header header;
    int result = files.workspace->Open(files.journal, core::OpenMode::Read, journal);
    if (result == 0) result = ReadHeader(*journal, header);
    if (result == 0) result = files.workspace->Open(files.index, core::OpenMode::ReadWrite, index);
    // Without an index, or with a header that nobody here wrote, there is nothing to go on with.
    if (result == -ENOENT || result == -EINVAL) {
        const int removed = files.workspace->Remove(files.journal);
        return removed < 0 ? removed : files.workspace->SyncNames(files.journal);
    }
    if (result == 0) result = CopyRecords(*journal, *index, header);
    if (result == 0) result = index->Sync();
    if (result == 0) result = files.workspace->Remove(files.journal);
    if (result == 0) result = files.workspace->SyncNames(files.journal);
    return result;
}

}  // namespace postkite::store
