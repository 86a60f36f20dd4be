#include "practice/text_entry.h"

#include "core/error_text.h"
#include "core/shift_jis.h"
#include "practice/command.h"

namespace postkite::practice {

using namespace core::literals;

void TextEntry::AskLongText(std::string_view service) {
    Open(service);
    visit_->PrintLine("本文 (3000行まで　終了は行頭で/E　修正編集は 300行迄です)"_sjis);
}

void TextEntry::AskShortText(std::string_view service) {
    Open(service);
    visit_->PrintLine("本文（300 行まで　終了は行頭で/E）"_sjis);
}

void TextEntry::Open(std::string_view service) {
    service_ = service;
    text_.clear();
    open_ = true;
    cut_ = false;
}

bool TextEntry::Hear(std::string_view line) {
    const std::string command = line.size() <= 8 ? Upper(line) : std::string();
    if (command == "/POST" || command == "/E") {
        Finish();
        return true;
    }
    if (cut_ || text_.size() + line.size() > kLargestText) {
        cut_ = true;
        return false;
    }
    text_ += line;
    text_ += "\r\n";
    return false;
}

void TextEntry::Finish() {
    open_ = false;
    if (cut_) visit_->PrintLine("長すぎるため、途中までを登録します。"_sjis);
    const int result = visit_->holdings().Keep({service_, visit_->userId, text_});
    if (result == 0) {
        visit_->PrintLine("登録しました。"_sjis);
        return;
    }
    visit_->PrintLine("登録できませんでした。"_sjis);
    visit_->transcript().Event(core::DescribeError(result, core::Language::Japanese));
}

std::string_view HeadingOf(std::string_view text, std::string_view heading) {
    while (!text.empty()) {
        const std::size_t end = text.find("\r\n");
        const std::string_view line = text.substr(0, end);
        if (line.starts_with(heading)) return line.substr(heading.size());
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 2);
    }
    return {};
}

}  // namespace postkite::practice
