#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/file_system.h"
#include "store/mail_record.h"

/// The layout of a folder's index, the ".loc" file: one record of 900 bytes a mail, in list order, no header.
/// Every field is padded with blanks to its width and followed by CR LF.
namespace postkite::store {

struct IndexField {
    std::size_t offset;
    std::size_t width;
};

inline constexpr std::size_t kIndexRecordBytes = 900;
namespace index_field {
inline constexpr IndexField kTextOffset = {0, 20};  ///< of the mail in the text file, decimal, left-aligned
inline constexpr IndexField kLayoutMark = {20, 2};  ///< always "30"
inline constexpr IndexField kFlags = {24, 50};
inline constexpr IndexField kLocalId = {76, 50};
inline constexpr IndexField kAddress = {128, 50};
inline constexpr IndexField kName = {180, 50};
inline constexpr IndexField kDate = {232, 50};
inline constexpr IndexField kSubject = {284, 50};
inline constexpr IndexField kAttach = {336, 50};
inline constexpr IndexField kSizeText = {388, 50};
inline constexpr IndexField kSourceId = {440, 50};
inline constexpr IndexField kMessageId = {492, 100};
inline constexpr IndexField kSpare1 = {594, 100};
inline constexpr IndexField kSpare2 = {696, 100};
inline constexpr IndexField kSpare3 = {798, 100};
}  // namespace index_field
static_assert(index_field::kSpare3.offset + index_field::kSpare3.width + 2 == kIndexRecordBytes);

/// What a deleted record has blanks in.
inline constexpr std::size_t kDeletedBlankBytes = 22;

/// The 900 bytes of a record. The record's fields fit their widths (`CutIndexFields`).
[[nodiscard]] std::string FormatIndexRecord(std::uint64_t textOffset, const MailRecord& record);

/// Cuts the fields that the index holds to their widths in it.
void CutIndexFields(MailRecord& record);

/// Whether the record was marked deleted. `record` is 900 bytes, here and below.
[[nodiscard]] bool IsDeleted(std::string_view record);

/// Whether the record has not, or not wholly, been written: a power cut can leave an index longer by zeros,
/// which stand where its line ends would.
[[nodiscard]] bool IsUnwritten(std::string_view record);

/// The records of an index: what is torn or unwritten at its end is none. Returns 0 or a negated errno
/// value; -EFBIG where more is unwritten than a power cut can leave.
[[nodiscard]] int CountRecords(core::File& index, std::uint64_t& count);

/// No text reaches farther, and the system takes no such offset.
inline constexpr std::uint64_t kFarthestText = std::uint64_t{1} << 62;

/// Where the record's mail begins in the text file. Nothing for a deleted record and for one that holds no
/// number.
[[nodiscard]] std::optional<std::uint64_t> TextOffsetOf(std::string_view record);

[[nodiscard]] constexpr std::string_view FieldOf(std::string_view record, IndexField field) {
    return record.substr(field.offset, field.width);
}

/// Whether a mail of the text file that bears `localId` is the one that the record stands for. A record
/// that leads to another mail is damaged.
[[nodiscard]] bool BearsIdentifierOf(std::string_view record, std::string_view localId);

/// The text without the blanks behind it.
[[nodiscard]] std::string_view WithoutTrailingBlanks(std::string_view text);

/// A text of at most `Width` bytes and a closing zero, as list rows hold it.
template <std::size_t Width>
class FixedText {
  public:
    /// Up to the closing zero.
    [[nodiscard]] std::string_view view() const { return bytes_.data(); }
    void Set(std::string_view text) {
        const std::size_t length = text.size() < Width ? text.size() : Width;
        text.copy(bytes_.data(), length);
        bytes_[length] = '\0';
    }

  private:
    std::array<char, Width + 1> bytes_{};
};

/// What the mail list shows of a mail, from the index alone. `sizeText`, `attach` and `messageId` come
/// without the blanks behind them, the other fields with theirs.
struct MailListEntry {
    std::int32_t ownerValue = 0;  ///< the caller's; reading leaves it
    FixedText<50> flags;
    FixedText<50> localId;
    FixedText<50> address;
    FixedText<50> name;
    FixedText<50> date;
    FixedText<50> subject;
    FixedText<50> sizeText;
    FixedText<50> attach;
    FixedText<50> sourceId;
    FixedText<100> messageId;
};

void FillListEntry(std::string_view record, MailListEntry& entry);

}  // namespace postkite::store
