#include "store/older_layouts.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <limits>
#include <span>
#include <string>

#include "core/shift_jis.h"
#include "store/index_record.h"
#include "store/text_record.h"

namespace postkite::store {

namespace {

using Member = std::string MailRecord::*;

constexpr Member kHeaderLinesV1[] = {
    &MailRecord::flags,   &MailRecord::address,      &MailRecord::name,     &MailRecord::date,
    &MailRecord::subject, &MailRecord::attach,       &MailRecord::cc,       &MailRecord::bcc,
    &MailRecord::localId, &MailRecord::extraAddress, &MailRecord::sourceId,
};

/// Where a V1.xx mail says that it has a size text, and how much of it is kept.
constexpr std::size_t kSizeTextMark = 3;
constexpr std::size_t kSizeTextBytesV1 = 50;

constexpr std::size_t kBodyLimit = MAIL_BODY_MAX - kReadHeadroomBytes;

/// The longest offset line: the number, the layout's mark, CR LF.
constexpr std::size_t kOffsetLineBytes = 24;
constexpr std::size_t kOffsetBytes = index_field::kTextOffset.width;

constexpr std::array kCurrentFields = {
    index_field::kLayoutMark, index_field::kFlags,    index_field::kLocalId,   index_field::kAddress,
    index_field::kName,       index_field::kDate,     index_field::kSubject,   index_field::kAttach,
    index_field::kSizeText,   index_field::kSourceId, index_field::kMessageId, index_field::kSpare1,
    index_field::kSpare2,     index_field::kSpare3,
};

/// Whether an index that begins with `start`, its first record or what there is of it, is a current one: with
/// line ends behind the fields and nowhere else.
bool BeginsLikeCurrent(std::string_view start) {
    const std::string_view mark = FieldOf(start, index_field::kLayoutMark);
    if (mark != (start.starts_with(' ') ? "  " : "30")) return false;
    std::size_t at = 0;
    for (const IndexField field : kCurrentFields) {
        const std::size_t end = field.offset + field.width;
        if (end >= start.size()) break;
        if (start.find('\r', at) != end) return false;
        at = end + 1;
        if (at < start.size() && start[at] != '\n') return false;
    }
    return start.find('\r', at) == std::string_view::npos;
}

/// Where the line end of a live record's offset line stands; nothing for what is no such line.
std::optional<std::size_t> OffsetLineEnd(std::string_view record) {
    const std::string_view line = record.substr(0, kOffsetLineBytes);
    const std::size_t end = line.find("\r\n");
    const std::size_t digits = std::min(line.find_first_not_of("0123456789"), line.size());
    if (end == std::string_view::npos || digits == 0) return std::nullopt;
    return line[digits] == ' ' || digits == end ? std::optional(end) : std::nullopt;
}

enum class Beginning { Wrong, PerhapsDeleted, Deleted, Live };

/// What the record begins like where live ones have their first line end at `lineEnd`.
Beginning BeginningOf(std::string_view record, std::size_t lineEnd) {
    if (OffsetLineEnd(record)) return Beginning::Live;
    const std::string_view blanks = record.substr(0, kDeletedBlankBytes);
    if (blanks.find_first_not_of(' ') != std::string_view::npos) return Beginning::Wrong;
    // A line end before this place has been blanked too, and any blanks look like that.
    if (lineEnd < kDeletedBlankBytes) return Beginning::PerhapsDeleted;
    return record.substr(lineEnd, 2) == "\r\n" ? Beginning::Deleted : Beginning::Wrong;
}

/// How many records of that length begin in `index` as records do; 0 where too many do not.
std::size_t CountPlausibleRecords(std::string_view index, std::size_t recordBytes) {
    if (index.size() < recordBytes) return 0;
    std::optional<std::size_t> lineEnd;
    for (std::size_t at = 0; at < index.size() && !lineEnd; at += recordBytes)
        lineEnd = OffsetLineEnd(index.substr(at));
    if (!lineEnd) return 0;
    std::size_t looked = 0;
    std::size_t wrong = 0;
    std::size_t certain = 0;
    for (std::size_t at = 0; at + kOffsetLineBytes <= index.size(); at += recordBytes) {
        const Beginning beginning = BeginningOf(index.substr(at), *lineEnd);
        ++looked;
        if (beginning == Beginning::Wrong) ++wrong;
        if (beginning >= Beginning::Deleted) ++certain;
    }
    return wrong * 4 <= looked ? certain : 0;
}

/// Whether `index` is whole records of today's length that begin as today's do, whatever has become of the rest of them.
bool HasMarksOfCurrent(std::string_view index) {
    if (index.empty() || index.size() % kIndexRecordBytes != 0) return false;
    for (std::size_t at = 0; at < index.size(); at += kIndexRecordBytes) {
        const std::string_view mark = index.substr(at + index_field::kLayoutMark.offset, 4);
        if (mark != "30\r\n" && mark != "  \r\n") return false;
    }
    return true;
}

int ReadStart(core::File& file, std::size_t count, std::string& bytes) {
    const std::int64_t size = file.Size();
    if (size < 0) return static_cast<int>(size);
    bytes.resize(static_cast<std::size_t>(std::min<std::uint64_t>(count, static_cast<std::uint64_t>(size))));
    const std::int64_t read = file.ReadAt(0, bytes);
    bytes.resize(read > 0 ? static_cast<std::size_t>(read) : 0);
    return read < 0 ? static_cast<int>(read) : 0;
}

bool ReadLines(TextWindow& text, std::uint64_t& offset, std::span<const Member> members, MailRecord& record) {
    return std::all_of(members.begin(), members.end(),
                       [&](Member member) { return ReadHeaderField(text, offset, record.*member); });
}

bool ReadBodyV1(TextWindow& text, std::uint64_t offset, std::string& body) {
    // Without a body the CR LF before "/E" is that of the last header line.
    const std::string_view endOfNothing = kBodyEndV1.substr(2);
    body.clear();
    if (text.At(offset, endOfNothing.size()) == endOfNothing) return true;
    if (!text.ReadUpTo(offset, kBodyEndV1, kBodyLimit, body)) return false;
    body += kBodyEndV1.substr(0, 2);
    return true;
}

std::optional<std::uint64_t> OffsetOf(std::string_view record) {
    if (!OffsetLineEnd(record)) return std::nullopt;
    std::uint64_t offset = 0;
    const std::string_view digits = record.substr(0, kOffsetBytes);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), offset);
    return error == std::errc() && offset < kFarthestText ? std::optional(offset) : std::nullopt;
}

int ReadOneMail(const FolderFiles& files, FolderLayout layout, int recordNumber, MailRecord& record) {
    OlderFolderReader reader;
    OlderFolderReader::Condition condition{};
    if (reader.Open(files, layout) < 0 || reader.ReadMail(recordNumber, record, condition) < 0) return -1;
    const bool readable =
        condition == OlderFolderReader::Condition::Whole || condition == OlderFolderReader::Condition::Cut;
    return readable ? 0 : -1;
}

std::size_t RecordBytesOf(FolderLayout layout) {
    if (layout == FolderLayout::Current) return kIndexRecordBytes;
    return layout == FolderLayout::V2 ? kIndexRecordBytesV2 : kIndexRecordBytesV1;
}

bool CanBeRecord(std::string_view record, FolderLayout layout) {
    if (layout == FolderLayout::Current) return BeginsLikeCurrent(record);
    // A deleted one begins with blanks.
    return OffsetLineEnd(record) || record.starts_with(' ');
}

int RefuseUnlikelySize(core::File& index, FolderLayout layout) {
    constexpr std::uint64_t kLikelyRecords = 100000;
    constexpr std::uint64_t kSamples = 16;
    const std::size_t recordBytes = RecordBytesOf(layout);
    const std::int64_t size = index.Size();
    if (size < 0) return static_cast<int>(size);
    const std::uint64_t records = static_cast<std::uint64_t>(size) / recordBytes;
    if (records <= kLikelyRecords) return 0;
    std::string record(recordBytes, '\0');
    std::uint64_t right = 0;
    for (std::uint64_t sample = 0; sample < kSamples; ++sample) {
        const std::uint64_t number = (records - 1) / (kSamples - 1) * sample;
        const std::int64_t read = index.ReadAt(number * recordBytes, record);
        if (read < 0) return static_cast<int>(read);
        if (CanBeRecord(record, layout)) ++right;
    }
    return right * 4 < kSamples ? -EUCLEAN : 0;
}

int FindLayout(core::File& index, FolderLayout& layout) {
    layout = FolderLayout::Current;
    std::string start;
    int result = ReadStart(index, kIndexRecordBytes, start);
    if (result < 0 || start.size() < kIndexRecordBytesV1 || BeginsLikeCurrent(start)) return result;

    constexpr std::size_t kRecordsLookedAt = 64;
    result = ReadStart(index, kRecordsLookedAt * kIndexRecordBytesV2, start);
    // A damaged first record is no reason to take the others for what they are not.
    for (std::size_t at = 0; at + kIndexRecordBytes <= start.size(); at += kIndexRecordBytes) {
        if (BeginsLikeCurrent(std::string_view(start).substr(at, kIndexRecordBytes))) return result;
    }
    // So an index of few mails stays what it is when compaction leaves only the damaged ones.
    if (HasMarksOfCurrent(start)) return result;
    const std::size_t plausibleV2 = CountPlausibleRecords(start, kIndexRecordBytesV2);
    const std::size_t plausibleV1 =
        CountPlausibleRecords(start.substr(0, kRecordsLookedAt * kIndexRecordBytesV1), kIndexRecordBytesV1);
    // A few records of one layout can look like fewer of the other, never like more.
    if (plausibleV2 > plausibleV1) layout = FolderLayout::V2;
    if (plausibleV1 > plausibleV2) layout = FolderLayout::V1;
    return result;
}

}  // namespace

int DetectLayout(core::File& index, FolderLayout& layout) {
    const int found = FindLayout(index, layout);
    return found < 0 ? found : RefuseUnlikelySize(index, layout);
}

int RequireCurrentLayout(core::File& index) {
    FolderLayout layout{};
    const int detected = DetectLayout(index, layout);
    if (detected < 0) return detected;
    return layout == FolderLayout::Current ? 0 : -ENOTSUP;
}

int DetectLayout(const FolderFiles& files, FolderLayout& layout) {
    layout = FolderLayout::Current;
    std::unique_ptr<core::File> index;
    const int opened = files.workspace->Open(files.index, core::OpenMode::Read, index);
    if (opened < 0) return opened == -ENOENT ? 0 : opened;
    return DetectLayout(*index, layout);
}

int OlderFolderReader::Open(const FolderFiles& files, FolderLayout layout) {
    layout_ = layout;
    recordBytes_ = layout == FolderLayout::V1 ? kIndexRecordBytesV1 : kIndexRecordBytesV2;
    int result = files.workspace->Open(files.index, core::OpenMode::Read, index_);
    if (result < 0) return result;
    indexWindow_.emplace(*index_);
    textWindow_.reset();
    result = files.workspace->Open(files.text, core::OpenMode::Read, text_);
    if (result == 0) textWindow_.emplace(*text_);
    return result == -ENOENT ? 0 : result;
}

int OlderFolderReader::CountMails() {
    const std::int64_t size = index_->Size();
    if (size < 0) return static_cast<int>(size);
    const std::int64_t count = size / static_cast<std::int64_t>(recordBytes_);
    return static_cast<int>(std::min<std::int64_t>(count, std::numeric_limits<int>::max()));
}

int OlderFolderReader::ReadMail(int recordNumber, MailRecord& record, Condition& condition) {
    record = MailRecord();
    condition = Condition::Damaged;
    if (recordNumber < 0) return 0;
    const std::string_view index =
        indexWindow_->At(static_cast<std::uint64_t>(recordNumber) * recordBytes_, recordBytes_);
    if (indexWindow_->error() < 0) return indexWindow_->error();
    if (index.size() < recordBytes_) return 0;
    if (IsDeleted(index)) {
        condition = Condition::Deleted;
        return 0;
    }
    const std::optional<std::uint64_t> offset = OffsetOf(index);
    if (!offset || !textWindow_) return 0;
    condition = ReadText(*offset, record);
    return textWindow_->error();
}

OlderFolderReader::Condition OlderFolderReader::ReadText(std::uint64_t offset, MailRecord& record) {
    TextWindow& text = *textWindow_;
    if (layout_ == FolderLayout::V2) {
        switch (ReadTextRecord(text, offset, kBodyLimit, record, HeaderLines::Sixteen)) {
            case TextRecordFault::None:
                return Condition::Whole;
            case TextRecordFault::Unended:
                return Condition::Cut;
            case TextRecordFault::Nowhere:
                return Condition::Damaged;
        }
    }
    if (!ReadLines(text, offset, kHeaderLinesV1, record)) return Condition::Damaged;
    if (record.sourceId.size() > kSizeTextMark && record.sourceId[kSizeTextMark] == 'C') {
        if (!ReadHeaderField(text, offset, record.sizeText)) return Condition::Damaged;
        record.sizeText.resize(core::CutToBytes(record.sizeText, kSizeTextBytesV1).size());
    }
    record.sourceId.clear();
    return ReadBodyV1(text, offset, record.body) ? Condition::Whole : Condition::Cut;
}

int ReadMailV1(const FolderFiles& files, int recordNumber, MailRecord& record) {
    return ReadOneMail(files, FolderLayout::V1, recordNumber, record);
}

int ReadMailV2(const FolderFiles& files, int recordNumber, MailRecord& record) {
    return ReadOneMail(files, FolderLayout::V2, recordNumber, record);
}

}  // namespace postkite::store
