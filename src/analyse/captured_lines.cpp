#include "analyse/captured_lines.h"

#include <array>

#include "core/shift_jis.h"

namespace postkite::analyse {

using namespace core::literals;

namespace {

constexpr std::size_t kHeaderLineBytes = 54;

constexpr auto kQuestions = std::to_array<std::string_view>({
    "action:DELETE",
    "受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis,
    "受信後 (1:削除  2:保存  *:返信  *:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis,
});

}  // namespace

bool IsMailHeaderLine(std::string_view line) {
    return line.size() == kHeaderLineBytes && line[42] == '/' && line[45] == '/' && line[51] == ':' &&
           line[48] == ' ' && line[39] == ' ';
}

bool EndsMail(std::string_view line) {
    // Of the answer the colon is what is rare in texts.
    for (std::size_t at = line.find(':'); at != std::string_view::npos; at = line.find(':', at + 1)) {
        if (line.substr(0, at).ends_with("action") && line.substr(at).starts_with(":DELETE")) return true;
    }
    return line == kQuestions[1] || line == kQuestions[2];
}

std::span<const std::string_view> QuestionsBehindMail() {
    return kQuestions;
}

bool CapturedLines::Read() {
    const std::uint64_t start = reader_.position();
    if (const auto line = reader_.TakeLine()) {
        line_ = *line;
        lineStart_ = start;
        return true;
    }
    if (line_.data() != kept_.data()) kept_ = line_;
    const bool read = core::ReadLogLine(reader_, kept_) == 0;
    const std::size_t cutBytes = read || reader_.error() < 0 ? 0 : reader_.cutLineBytes();
    if (cutBytes > 0) kept_.resize(cutBytes);
    line_ = kept_;
    if (read || cutBytes > 0) lineStart_ = start;
    return read || cutBytes > 0;
}

}  // namespace postkite::analyse
