#include "practice/visit.h"

#include <cstddef>

#include "core/shift_jis.h"
#include "practice/command.h"

namespace postkite::practice {

using namespace core::literals;

namespace {

constexpr int kLinesOfScreen = 22;

}  // namespace

void Visit::Print(std::string_view text) {
    screen_ += text;
    transcript_->Host(text);
}

void Visit::PrintLine(std::string_view text) {
    Print(text);
    Print("\r\n");
}

void Visit::Show(std::string_view lines, PageKind kind, const Switches& set) {
    if (!set.page) {
        Print(lines);
        return;
    }
    rest_ = lines;
    pageKind_ = kind;
    PrintPage();
}

void Visit::PrintPage() {
    std::size_t end = 0;
    for (int line = 0; line < kLinesOfScreen && end < rest_.size(); ++line) {
        const std::size_t lineEnd = rest_.find('\n', end);
        end = lineEnd == std::string::npos ? rest_.size() : lineEnd + 1;
    }
    Print(std::string_view(rest_).substr(0, end));
    rest_.erase(0, end);
    if (rest_.empty()) return;
    PrintLine(pageKind_ == PageKind::Document ? "続き (改行で次頁　S:次文書　E:終了)"_sjis
                                              : "続き (改行で表示　E:終了)"_sjis);
    Print("＞"_sjis);
}

void Visit::AnswerPage(std::string_view line) {
    const std::string answer = Upper(Trimmed(line));
    if (answer == "E" || answer == "S") {
        rest_.clear();
    } else {
        PrintPage();
    }
}

}  // namespace postkite::practice
