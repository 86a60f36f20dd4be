#include "store/index_record.h"

#include <algorithm>
#include <cerrno>
#include <charconv>

namespace postkite::store {

namespace {

struct CutField {
    std::string MailRecord::*member;
    IndexField place;
};

/// The texts of a record in index order.
constexpr CutField kFields[] = {
    {&MailRecord::flags, index_field::kFlags},       {&MailRecord::localId, index_field::kLocalId},
    {&MailRecord::address, index_field::kAddress},   {&MailRecord::name, index_field::kName},
    {&MailRecord::date, index_field::kDate},         {&MailRecord::subject, index_field::kSubject},
    {&MailRecord::attach, index_field::kAttach},     {&MailRecord::sizeText, index_field::kSizeText},
    {&MailRecord::sourceId, index_field::kSourceId}, {&MailRecord::messageId, index_field::kMessageId},
    {&MailRecord::spare1, index_field::kSpare1},     {&MailRecord::spare2, index_field::kSpare2},
    {&MailRecord::spare3, index_field::kSpare3},
};

}  // namespace

std::string FormatIndexRecord(std::uint64_t textOffset, const MailRecord& record) {
    std::string bytes(kIndexRecordBytes, ' ');
    const auto put = [&bytes](IndexField field, std::string_view text) {
        std::copy_n(text.begin(), std::min(text.size(), field.width),
                    bytes.begin() + static_cast<std::ptrdiff_t>(field.offset));
        bytes[field.offset + field.width] = '\r';
        bytes[field.offset + field.width + 1] = '\n';
    };
    put(index_field::kLayoutMark, "30");
    const std::string offset = std::to_string(textOffset);
    std::copy(offset.begin(), offset.end(), bytes.begin());
    for (const CutField& field : kFields) {
        put(field.place, record.*field.member);
    }
    return bytes;
}

void CutIndexFields(MailRecord& record) {
    for (const CutField& field : kFields) {
        CutToWidth(record.*field.member, field.place.width);
    }
}

bool IsDeleted(std::string_view record) {
    return record.front() == ' ';
}

bool IsUnwritten(std::string_view record) {
    static constexpr std::string_view kZeros("\0", 2);
    const auto endsInZeros = [record](IndexField field) {
        return record.substr(field.offset + field.width, kZeros.size()) == kZeros;
    };
    return record.front() == '\0' || endsInZeros(index_field::kLayoutMark) ||
           std::any_of(std::begin(kFields), std::end(kFields),
                       [&](const CutField& field) { return endsInZeros(field.place); });
}

int CountRecords(core::File& index, std::uint64_t& count) {
    constexpr std::uint64_t kRecordsAtATime = 256;
    constexpr std::uint64_t kMostUnwritten = std::uint64_t{256} * 1024 * 1024 / kIndexRecordBytes;
    const std::int64_t size = index.Size();
    if (size < 0) return static_cast<int>(size);
    count = static_cast<std::uint64_t>(size) / kIndexRecordBytes;
    const std::uint64_t fewest = count - std::min(count, kMostUnwritten);
    std::string block;
    // The last record alone settles it nearly always.
    for (std::uint64_t records = 1; count > 0; records = kRecordsAtATime) {
        const std::uint64_t first = count - std::min(count, records);
        block.resize((count - first) * kIndexRecordBytes);
        const std::int64_t read = index.ReadAt(first * kIndexRecordBytes, block);
        if (read < 0) return static_cast<int>(read);
        // Another program has made it shorter in this moment.
        if (static_cast<std::size_t>(read) < block.size()) return CountRecords(index, count);
        for (; count > first; --count) {
            const std::string_view rest =
                std::string_view(block).substr((count - 1 - first) * kIndexRecordBytes);
            if (!IsUnwritten(rest.substr(0, kIndexRecordBytes))) return 0;
        }
        if (count < fewest) return -EFBIG;
    }
    return 0;
}

std::optional<std::uint64_t> TextOffsetOf(std::string_view record) {
    const std::string_view digits = FieldOf(record, index_field::kTextOffset);
    std::uint64_t offset = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), offset);
    if (offset >= kFarthestText) return std::nullopt;
    if (error != std::errc() || (end != digits.data() + digits.size() && *end != ' ')) return std::nullopt;
    return offset;
}

bool BearsIdentifierOf(std::string_view record, std::string_view localId) {
    // The index may hold a longer one cut.
    return localId.starts_with(WithoutTrailingBlanks(FieldOf(record, index_field::kLocalId)));
}

std::string_view WithoutTrailingBlanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

void FillListEntry(std::string_view record, MailListEntry& entry) {
    entry.flags.Set(FieldOf(record, index_field::kFlags));
    entry.localId.Set(FieldOf(record, index_field::kLocalId));
    entry.address.Set(FieldOf(record, index_field::kAddress));
    entry.name.Set(FieldOf(record, index_field::kName));
    entry.date.Set(FieldOf(record, index_field::kDate));
    entry.subject.Set(FieldOf(record, index_field::kSubject));
    entry.sizeText.Set(WithoutTrailingBlanks(FieldOf(record, index_field::kSizeText)));
    entry.attach.Set(WithoutTrailingBlanks(FieldOf(record, index_field::kAttach)));
    entry.sourceId.Set(FieldOf(record, index_field::kSourceId));
    entry.messageId.Set(WithoutTrailingBlanks(FieldOf(record, index_field::kMessageId)));
}

}  // namespace postkite::store
