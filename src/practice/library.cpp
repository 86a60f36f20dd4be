#include "practice/library.h"

#include "core/shift_jis.h"
#include "practice/command.h"

namespace postkite::practice {

using namespace core::literals;

namespace {

struct LibraryFile {
    int number;
    std::string_view date;  ///< YY/MM/DD
    std::string_view owner;
    int bytes;
    std::string_view name;
    std::string_view title;
};

constexpr LibraryFile kShelf[] = {
    {1, "95/11/03", "PKT00021", 18432, "TAKO.LZH", "凧の型紙 三種"_sjis},
    {2, "96/08/15", "PKT00021", 51200, "KAZE96.LZH", "海辺の風の記録 96年夏"_sjis},
    {3, "97/01/12", "PKT00034", 7168, "ITO.LZH", "糸の長さを求める表"_sjis},
};

constexpr char kEnquiry = 5;

/// YYMMDD, as SCA takes it.
std::string WithoutSlashes(std::string_view date) {
    std::string digits;
    for (const char character : date) {
        if (character != '/') digits += character;
    }
    return digits;
}

const LibraryFile* FindFile(int number) {
    for (const LibraryFile& file : kShelf) {
        if (file.number == number) return &file;
    }
    return nullptr;
}

std::string Describe(const LibraryFile& file) {
    return "  " + std::to_string(file.number) + "  " + std::string(file.owner) + "  " +
           std::string(file.date) + "  " + std::to_string(file.bytes) + "  " + std::string(file.name) + "  " +
           std::string(file.title) + "\r\n";
}

}  // namespace

void Library::Prompt() {
    switch (question_) {
        case Question::None:
            visit_->Print("LIB>");
            break;
        case Question::Item:
            visit_->PrintLine("項目 (1:OK  2:NG  E:終了)"_sjis);
            visit_->Print("："_sjis);
            break;
        case Question::FileName:
            visit_->Print("ファイル名："_sjis);
            break;
        case Question::Transfer:
            break;
    }
}

bool Library::Hear(std::string_view line, const Switches& switches) {
    const Command command = ParseCommand(line);
    if (command.name == "SCA") {
        constexpr std::string_view kDate = "DATE:";
        const std::string_view argument = command.argument;
        List(argument.starts_with(kDate) ? argument.substr(kDate.size()) : std::string_view(), switches);
        return true;
    }
    if (command.name == "DOW") {
        const std::string_view argument = command.argument;
        Offer(WholeNumber(argument.substr(0, argument.find(' '))).value_or(0));
        return true;
    }
    return false;
}

void Library::List(std::string_view since, const Switches& switches) {
    std::string lines;
    for (const LibraryFile& file : kShelf) {
        if (number_ == 1 && WithoutSlashes(file.date) >= since) lines += Describe(file);
    }
    if (lines.empty()) lines = std::string("該当するデータはありません。"_sjis) + "\r\n";
    visit_->Show(lines, PageKind::List, switches);
    if (!visit_->pageWaits()) Prompt();
}

void Library::Offer(int number) {
    const LibraryFile* file = number_ == 1 ? FindFile(number) : nullptr;
    if (file == nullptr) {
        visit_->PrintLine("該当するデータはありません。"_sjis);
    } else {
        visit_->PrintLine(*forum_ + " LIB(" + std::to_string(number_) + ")");
        visit_->Print(Describe(*file));
        question_ = Question::Item;
    }
    Prompt();
}

void Library::Answer(std::string_view line) {
    const std::string answer = Upper(Trimmed(line));
    switch (question_) {
        case Question::Item:
            question_ = answer == "1" ? Question::FileName : Question::None;
            break;
        case Question::FileName:
            question_ = answer.empty() ? Question::FileName : Question::Transfer;
            if (question_ == Question::Transfer) {
                visit_->transcript().Event("ENQ");
                visit_->Echo(std::string_view(&kEnquiry, 1));
            }
            break;
        case Question::Transfer:
            visit_->PrintLine("転送を中止しました。"_sjis);
            question_ = Question::None;
            break;
        case Question::None:
            break;
    }
    Prompt();
}

}  // namespace postkite::practice
