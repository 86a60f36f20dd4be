#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "core/time_stamp.h"
#include "core/user_interface.h"
#include "core/workspace.h"
#include "store/mailbox.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"

/// What the targets of the mail store have in common.
namespace postkite::fuzz {

/// Ends the run and has the input kept, having said which check it was.
inline void Check(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (holds) return;
    std::fprintf(stderr, "%s:%d: a check does not hold\n", file, line);
    std::abort();
}

/// Stands between the parts of an input that is several files.
inline constexpr std::string_view kPartMark = "\n====\n";

/// Always `count` parts. Those that the input lacks are empty, the last one has all that is left.
inline std::vector<std::string> SplitInput(const std::uint8_t* data, std::size_t size, std::size_t count) {
    std::string_view left(reinterpret_cast<const char*>(data), size);
    std::vector<std::string> parts;
    while (parts.size() + 1 < count) {
        const std::size_t mark = left.find(kPartMark);
        parts.emplace_back(left.substr(0, mark));
        left.remove_prefix(mark == std::string_view::npos ? left.size() : mark + kPartMark.size());
    }
    parts.emplace_back(left);
    return parts;
}

/// Fields have always ended at a zero byte.
inline std::string UpToZero(std::string_view text) {
    return std::string(text.substr(0, text.find('\0')));
}

/// The body as it is read back once it was written: ended as the text file needs it.
inline std::string StoredBody(std::string body) {
    if (body.ends_with("\x01\x01")) body += ' ';
    if (!body.ends_with('\n')) body += "\r\n";
    return body;
}

/// Takes `count` lines from `at` on, each up to a CR; the byte behind that belongs to it. False where the
/// text has fewer. `at` is behind them then, at most at the end.
inline bool TakeLines(const std::string& text, std::size_t& at, std::size_t count,
                      std::vector<std::string>& lines) {
    lines.clear();
    while (lines.size() < count) {
        const std::size_t end = at < text.size() ? text.find('\r', at) : std::string::npos;
        if (end == std::string::npos) return false;
        lines.push_back(text.substr(at, end - at));
        at = std::min(end + 2, text.size());
    }
    return true;
}

/// The number at the beginning of an index record. False where there is none or a larger one
/// than the text has bytes.
inline bool TakeOffset(const std::string& record, const std::string& text, std::size_t& offset) {
    const std::string digits =
        record.substr(0, std::min<std::size_t>(record.find_first_not_of("0123456789"), 20));
    if (digits.empty()) return false;
    offset = 0;
    for (const char digit : digits)
        offset = std::min<std::size_t>(offset * 10 + static_cast<std::size_t>(digit - '0'), text.size());
    return offset < text.size();
}

/// A person who agrees to everything, and counts what was said.
class AgreeingUserInterface final : public core::UserInterface {
  public:
    [[nodiscard]] core::Language language() const override { return core::Language::Japanese; }
    void ShowMessage(std::string_view, std::string_view text, core::MessageIcon icon) override {
        Check(!text.empty());
        ++(icon == core::MessageIcon::Stop ? faults : notes);
        if (icon == core::MessageIcon::Warning) ++warnings;
    }
    [[nodiscard]] bool AskQuestion(std::string_view, std::string_view) override { return true; }
    void SetStatusText(std::string_view) override {}
    void SetProgress(std::uint64_t, std::uint64_t) override {}
    void PlaySoundFile(std::string_view) override {}
    void AppendMonitorText(std::string_view) override {}
    void ReplaceMonitorText(std::string_view) override {}
    void PumpMessages() override {}
    void RedrawMainWindow() override {}

    int faults = 0;    ///< messages that something cannot be done
    int notes = 0;     ///< all other messages
    int warnings = 0;  ///< those of them that warn
};

/// A program with the bank "Bank" open, on the files of a disk.
struct Program {
    explicit Program(support::MemoryFileSystem& disk) : workspace(disk, "/mail"), state(disk, "/state") {
        disk.PutDirectory("/mail/Setting");
        disk.PutDirectory("/mail/Bank");
        disk.PutDirectory("/state");
        mailbox.SetBankDirectory("Bank");
    }

    support::FixedClock clock;
    core::IdentifierMaker identifiers{clock};
    AgreeingUserInterface ui;
    core::Workspace workspace;
    core::Workspace state;
    store::Mailbox mailbox{workspace, state, ui, clock, identifiers};
};

}  // namespace postkite::fuzz
