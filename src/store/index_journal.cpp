#include "store/index_journal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <span>
#include <string_view>
#include <vector>

#include "store/checksum.h"
#include "store/index_record.h"
#include "store/recovery.h"
#include "store/text_window.h"

namespace postkite::store {

namespace {

/// The journal begins with one block of this size: the first record's number, "cut" or "keep", how many
/// records follow, how many the index had, and the sum of those that follow and of these words,
/// hexadecimal; a blank behind each, and more to the end. Journals of earlier programs have the first two
/// alone.
constexpr std::size_t kHeaderBytes = 64;
constexpr std::string_view kCut = "cut";
constexpr std::string_view kKeep = "keep";

constexpr std::size_t kPieceRecords = 256;
constexpr std::size_t kPieceBytes = kPieceRecords * kIndexRecordBytes;

struct Header {
    std::uint64_t firstRecord = 0;
    bool cut = false;
    bool isComplete = true;  ///< false for an earlier program's
    std::uint64_t count = 0;
    std::uint64_t oldCount = 0;
    std::uint64_t sum = 0;  ///< of the records, then the words
};

/// What stands before the sum.
std::string WordsOf(const Header& header) {
    return std::to_string(header.firstRecord) + " " + std::string(header.cut ? kCut : kKeep) + " " +
           std::to_string(header.count) + " " + std::to_string(header.oldCount) + " ";
}

std::string FormatHeader(const Header& header, std::uint64_t sumOfRecords) {
    std::string text = WordsOf(header);
    std::array<char, 17> sum{};
    *std::to_chars(sum.data(), sum.data() + sum.size() - 1, SumOf(text, sumOfRecords), 16).ptr = '\0';
    text += sum.data();
    text.resize(kHeaderBytes, ' ');
    return text;
}

std::string_view TakeWord(std::string_view& text) {
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

bool TakeNumber(std::string_view& text, std::uint64_t& number, int base = 10) {
    const std::string_view word = TakeWord(text);
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number, base);
    return error == std::errc() && end == word.data() + word.size();
}

int ReadHeader(core::File& file, Header& header) {
    constexpr std::uint64_t kMostRecords = std::uint64_t{1} << 40;
    std::string bytes(kHeaderBytes, '\0');
    const std::int64_t read = file.ReadAt(0, bytes);
    if (read < 0) return static_cast<int>(read);
    std::string_view text = bytes;
    if (read != kHeaderBytes || !TakeNumber(text, header.firstRecord) || header.firstRecord > kMostRecords)
        return -EINVAL;
    const std::string_view end = TakeWord(text);
    header.cut = end == kCut;
    if (!header.cut && end != kKeep) return -EINVAL;
    header.isComplete = text.find_first_not_of(' ') != std::string_view::npos;
    const bool isRead =
        !header.isComplete || (TakeNumber(text, header.count) && TakeNumber(text, header.oldCount) &&
                               TakeNumber(text, header.sum, 16));
    return isRead && text.find_first_not_of(' ') == std::string_view::npos ? 0 : -EINVAL;
}

/// Four at a time, which takes a third of the time of one after the other.
std::uint64_t SumOfRecord(std::string_view record, std::uint64_t sum) {
    constexpr std::size_t kLanes = 4;
    constexpr std::size_t kWordBytes = sizeof(std::uint64_t);
    constexpr std::size_t kWhole = kIndexRecordBytes / (kLanes * kWordBytes) * (kLanes * kWordBytes);
    std::array<std::uint64_t, kLanes> lanes{sum, kFirstSum, kFirstSum, kFirstSum};
    for (std::size_t at = 0; at < kWhole; at += kLanes * kWordBytes) {
        for (std::size_t lane = 0; lane < kLanes; ++lane)
            lanes[lane] = SumOf(record.substr(at + lane * kWordBytes, kWordBytes), lanes[lane]);
    }
    for (std::size_t lane = 1; lane < kLanes; ++lane)
        lanes[0] = (lanes[0] ^ lanes[lane]) * kFirstSum + lane;
    return SumOf(record.substr(kWhole, kIndexRecordBytes - kWhole), lanes[0]);
}

std::uint64_t SumOfRecords(std::string_view records, std::uint64_t sum) {
    for (std::size_t at = 0; at < records.size(); at += kIndexRecordBytes)
        sum = SumOfRecord(records.substr(at, kIndexRecordBytes), sum);
    return sum;
}

/// Whether the journal's records are those that were written to it; -EINVAL where they are not.
int CheckSum(const JournalledRecords& journal, const Header& header) {
    if (journal.count != header.count) return -EINVAL;
    std::string piece;
    std::uint64_t sum = kFirstSum;
    for (std::uint64_t done = 0; done < journal.count; done += kPieceRecords) {
        piece.resize(std::min<std::uint64_t>(journal.count - done, kPieceRecords) * kIndexRecordBytes);
        const std::int64_t read = journal.file->ReadAt(kHeaderBytes + done * kIndexRecordBytes, piece);
        if (read < 0) return static_cast<int>(read);
        if (static_cast<std::size_t>(read) != piece.size()) return -EINVAL;
        sum = SumOfRecords(piece, sum);
    }
    return SumOf(WordsOf(header), sum) == header.sum ? 0 : -EINVAL;
}

/// Whether no fewer mails can be read when the journal's records are in the index; -EINVAL where they would
/// be.
int CheckReadable(const FolderFiles& files, const JournalledRecords& journal, core::File& index,
                  std::uint64_t count) {
    TextWindow old(index);
    TextWindow gathered(*journal.file);
    const std::uint64_t end = journal.firstRecord + journal.count;
    const RecordSource before = [&](std::uint64_t number) {
        return old.At(number * kIndexRecordBytes, kIndexRecordBytes);
    };
    const RecordSource after = [&](std::uint64_t number) {
        return number < journal.firstRecord || number >= end
                   ? before(number)
                   : gathered.At(journal.OffsetOf(number), kIndexRecordBytes);
    };
    std::uint64_t readable = 0;
    std::uint64_t readableThen = 0;
    int result = CountReadable(files, files.text, before, count, readable);
    if (result == 0)
        result =
            CountReadable(files, files.text, after, journal.cut ? end : std::max(end, count), readableThen);
    return result < 0 ? result : (readableThen < readable ? -EINVAL : 0);
}

/// -EINVAL for a journal that is not whole, or not this index's.
int Check(const FolderFiles& files, const JournalledRecords& journal, const Header& header) {
    const std::int64_t size = journal.file->Size();
    if (size < 0) return static_cast<int>(size);
    if ((static_cast<std::uint64_t>(size) - kHeaderBytes) % kIndexRecordBytes != 0) return -EINVAL;
    std::unique_ptr<core::File> index;
    std::uint64_t count = 0;
    int result = header.isComplete ? CheckSum(journal, header) : 0;
    if (result == 0) result = files.workspace->Open(files.index, core::OpenMode::Read, index);
    if (result == 0) result = CountRecords(*index, count);
    if (result < 0) return result;
    if (journal.firstRecord > count) return -EINVAL;
    const std::uint64_t end = journal.firstRecord + journal.count;
    // Not yet cut, or cut already. Any other index has come from somewhere else meanwhile.
    if (header.isComplete && (count == header.oldCount || (journal.cut && count == end))) return 0;
    return CheckReadable(files, journal, *index, count);
}

int OpenUnchecked(const FolderFiles& files, JournalledRecords& journal, Header& header) {
    int result = files.workspace->OpenExactly(files.journal, core::OpenMode::Read, journal.file);
    if (result == 0) result = ReadHeader(*journal.file, header);
    if (result < 0) return result;
    const std::int64_t size = journal.file->Size();
    if (size < 0) return static_cast<int>(size);
    journal.firstRecord = header.firstRecord;
    journal.count = (static_cast<std::uint64_t>(size) - kHeaderBytes) / kIndexRecordBytes;
    journal.cut = header.cut;
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

/// Leaves the index to those who are reading it, and puts another in its place that has the journal's
/// records.
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
    // Asked when the journal is in place: a reader who comes after the question finds that, and needs
    // nothing of what is written here. Where nobody can be asked, the index is left alone.
    bool hasReaders = false;
    if (index.HasReaders(hasReaders) < 0) hasReaders = true;
    return hasReaders ? ReplaceIndex(files, journal, index) : CopyInPlace(journal, index);
}

/// Puts the records in the index and takes the journal away.
int Finish(const FolderFiles& files, const JournalledRecords& journal) {
    std::unique_ptr<core::File> index;
    int result = files.workspace->Open(files.index, core::OpenMode::ReadWrite, index);
    if (result == 0) result = PutInIndex(files, journal, *index);
    if (result == 0) result = files.workspace->Remove(files.journal);
    return result < 0 ? result : files.workspace->SyncNames(files.journal);
}

}  // namespace

int IndexJournal::Begin(std::uint64_t firstRecord, std::uint64_t oldCount) {
    anew_ = false;
    oldCount_ = oldCount;
    sum_ = kFirstSum;
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
    if (!anew_) sum_ = SumOfRecords(records, sum_);
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
        result =
            file_->WriteAt(0, FormatHeader({firstRecord_, end == End::CutBehind, true,
                                            (writtenBytes_ - kHeaderBytes) / kIndexRecordBytes, oldCount_},
                                           sum_));
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
    return result < 0 || anew_ ? result : PutInPlace();
}

std::uint64_t JournalledRecords::OffsetOf(std::uint64_t number) const {
    return kHeaderBytes + (number - firstRecord) * kIndexRecordBytes;
}

int IndexJournal::OpenExisting(const FolderFiles& files, JournalledRecords& journal) {
    Header header;
    const int opened = OpenUnchecked(files, journal, header);
    return opened < 0 ? opened : Check(files, journal, header);
}

int IndexJournal::PutInPlace() {
    JournalledRecords journal;
    Header header;
    const int opened = OpenUnchecked(*files_, journal, header);
    return opened < 0 ? opened : Finish(*files_, journal);
}

int IndexJournal::Resume(const FolderFiles& files, std::vector<std::string>& kept) {
    JournalledRecords journal;
    const int opened = OpenExisting(files, journal);
    if (opened == 0) return Finish(files, journal);
    // Without an index, or when nobody here wrote it, there is nothing to go on with.
    const bool isNone = opened == -ENOENT || opened == -EINVAL;
    return isNone ? PutAside(files, std::array{files.journal}, kept) : opened;
}

}  // namespace postkite::store
