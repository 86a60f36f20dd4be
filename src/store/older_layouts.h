#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "store/folder_files.h"
#include "store/mail_record.h"
#include "store/text_window.h"

/// The two layouts that folders had before the current one, for reading.
///
/// - V2.xx: index records of 700 bytes, which begin with the offset line. A mail's text is as today but has no 17th
///   header line, whatever flag 14 says.
/// - V1.xx: index records of 136 bytes, which begin with the offset line. A mail's text has the header lines flags,
///   address, name, date, subject, attach, cc, bcc, localId, extraAddress, sourceId, the size text if the fourth
///   character of the line before is 'C', and the body up to a line "/E".
namespace postkite::store {

enum class FolderLayout { Current, V2, V1 };

inline constexpr std::size_t kIndexRecordBytesV1 = 136;
inline constexpr std::size_t kIndexRecordBytesV2 = 700;

/// Behind the last line of a body. Its first CR LF belongs to the body.
inline constexpr std::string_view kBodyEndV1 = "\r\n/E\r\n";

/// Finds out in which layout an index was written. Returns 0 or a negated errno value.
///
/// A current index is known by its line ends, which stand where those of no other layout can, in deleted and
/// torn records too: one read of 900 bytes settles it. An older one is known by the offset lines at the
/// beginning of its records, of which three quarters have to be right among the first 64. What is neither
/// counts as current: a damaged folder must not be converted. An empty index is a current one.
///
/// -EUCLEAN for a file of a size that its content denies: of more than 100,000 records three quarters of those looked at,
/// all over the file, are none. Such a file, of holes for the most part, could take days to be read.
[[nodiscard]] int DetectLayout(core::File& index, FolderLayout& layout);
/// The same for a folder; one without an index is a current one.
[[nodiscard]] int DetectLayout(const FolderFiles& files, FolderLayout& layout);

/// 0 for an index of the current layout, -ENOTSUP for one of an older: it has to be converted before anything else is
/// done with it. Another negated errno value where it cannot be read.
[[nodiscard]] int RequireCurrentLayout(core::File& index);

/// A folder of an older layout, open for reading. Operations return 0 (or a count) or the negated errno value
/// of a disk call that failed; damage is no failure.
class OlderFolderReader {
  public:
    /// `layout` is one of the older two. A missing text is no failure: every mail is damaged then.
    [[nodiscard]] int Open(const FolderFiles& files, FolderLayout layout);

    /// A torn last record does not count.
    [[nodiscard]] int CountMails();

    enum class Condition {
        Whole,
        Cut,      ///< no end of the text within the mail buffer: the body is cut there
        Damaged,  ///< there is no such record, it leads nowhere, or the text ends before the header lines do
        Deleted,
    };
    /// What the layout lacks is empty in `record`. It is unspecified when there is no mail to be read.
    [[nodiscard]] int ReadMail(int recordNumber, MailRecord& record, Condition& condition);

  private:
    [[nodiscard]] Condition ReadText(std::uint64_t offset, MailRecord& record);

    FolderLayout layout_ = FolderLayout::V2;
    std::size_t recordBytes_ = 0;
    std::unique_ptr<core::File> index_;
    std::unique_ptr<core::File> text_;
    std::optional<TextWindow> indexWindow_;
    std::optional<TextWindow> textWindow_;
};

/// Read one mail; 0, or -1 for one that is deleted or damaged. A body without an end is cut at the mail
/// buffer's.
[[nodiscard]] int ReadMailV1(const FolderFiles& files, int recordNumber, MailRecord& record);
[[nodiscard]] int ReadMailV2(const FolderFiles& files, int recordNumber, MailRecord& record);

}  // namespace postkite::store
