#include "app/captured_mails.h"

#include <memory>
#include <string>
#include <string_view>

#include "comm/capture_logs.h"
#include "core/file_system.h"
#include "core/line_reader.h"
#include "core/shift_jis.h"

namespace postkite::app {

using namespace core::literals;

namespace {

/// Longer than any line by which a mail begins or ends. The rest of a longer line is dropped, so that a host
/// that sends no line ends does not fill the memory.
constexpr std::size_t kLongestLine = 30000;

/// The host's summary that opens each mail: sender, date as YY/MM/DD HH:MM.
bool IsHeaderLine(std::string_view line) {
    constexpr std::size_t kHeaderBytes = 54;
    return line.size() == kHeaderBytes && line[39] == ' ' && line[42] == '/' && line[45] == '/' &&
           line[48] == ' ' && line[51] == ':';
}

/// What the host asks behind each mail, with the answer or alone.
bool EndsMail(std::string_view line) {
    constexpr auto kPrompt =
        "受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis;
    constexpr auto kOtherPrompt =
        "受信後 (1:削除  2:保存  *:返信  *:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis;
    return line.find("action:DELETE") != std::string_view::npos || line == std::string_view(kPrompt) ||
           line == std::string_view(kOtherPrompt);
}

}  // namespace

int CountCapturedMails(const core::Workspace& workspace) {
    std::unique_ptr<core::File> file;
    if (workspace.Open(comm::kMailLogFile, core::OpenMode::Read, file) < 0) return 0;
    core::LineReader reader(*file, kLongestLine);
    std::string line;
    int count = 0;
    bool inMail = false;
    while (core::ReadLogLine(reader, line) == 0) {
        if (inMail) {
            // What looks like a header line there is quoted text.
            inMail = !EndsMail(line);
        } else if (IsHeaderLine(line)) {
            ++count;
            inMail = core::ReadLogLine(reader, line) == 0;  // the subject
        }
    }
    return count;
}

}  // namespace postkite::app
