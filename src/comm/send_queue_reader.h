#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/file_system.h"
#include "core/line_reader.h"
#include "core/workspace.h"

namespace postkite::comm {

inline constexpr std::string_view kMailQueueFile = "BMTEMP.$$$\\send.inf";
inline constexpr std::string_view kPostQueueFile = "BMTEMP.$$$\\mes.inf";
inline constexpr std::string_view kMailIdFile = "BMTEMP.$$$\\MailID.tmp";

/// The send queue as a session reads it: the mails ("TO:" lines, a "SUB:" line, the message file's name), the
/// forum messages (target, message file's name) and the mails' identifiers, a line each. The files stay open
/// during the session, so that one that is removed meanwhile is still read to its end. Of a long line the
/// first `kLongestQueueLine` bytes count.
class SendQueueReader {
  public:
    static constexpr std::size_t kLongestQueueLine = 1024;

    /// Opens what there is. A file that is there and cannot be opened counts as missing and is named in
    /// "error.log".
    void Open(core::Workspace& workspace);
    void Close();

    /// 0, or with what a file that is there could not be opened or read since `Open`, a negated errno value: the end
    /// that its reader has seen was not the end. Stays after `Close`.
    [[nodiscard]] int error() const;

    [[nodiscard]] bool hasMails() const { return mails_.reader.has_value(); }
    [[nodiscard]] bool hasPosts() const { return posts_.reader.has_value(); }

    /// The next line of the mails, of the forum messages. False at the end, and when there is no such file.
    [[nodiscard]] bool ReadMailLine(std::string& line) { return Read(mails_, line); }
    [[nodiscard]] bool ReadPostLine(std::string& line) { return Read(posts_, line); }

    /// The next line of the mails if it begins with `prefix`; another one stays the next.
    enum class Next { Taken, Other, End };
    [[nodiscard]] Next ReadMailLineIf(std::string_view prefix, std::string& line);

    /// The identifier of the mail in the message file `index` + 1, empty when there is none. Returns 0, or a negated
    /// errno value where the list is there and cannot be read.
    [[nodiscard]] int MailId(int index, std::string& localId);

  private:
    struct QueueFile {
        std::unique_ptr<core::File> file;
        std::optional<core::LineReader> reader;
        int error = 0;  ///< with which it could not be opened or read
    };
    static void OpenOne(core::Workspace& workspace, std::string_view name, QueueFile& queueFile);
    [[nodiscard]] static bool Read(QueueFile& queueFile, std::string& line);

    QueueFile mails_;
    QueueFile posts_;
    QueueFile mailIds_;
    int nextMailId_ = 0;  ///< the line at which `mailIds_` stands
};

}  // namespace postkite::comm
