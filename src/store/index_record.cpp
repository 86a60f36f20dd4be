#include "store/index_record.h"

#include <algorithm>
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
