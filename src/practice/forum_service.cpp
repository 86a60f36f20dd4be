#include "practice/forum_service.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "core/error_text.h"
#include "core/shift_jis.h"
#include "practice/command.h"
#include "practice/listing.h"

namespace postkite::practice {

using namespace core::literals;

ForumService::ForumService(Visit& visit, std::string forum)
    : Service(visit), forum_(std::move(forum)), entry_(visit), library_(visit, forum_) {
}

void ForumService::Enter() {
    visit().PrintLine();
    visit().PrintLine(forum_ + std::string("　へようこそ"_sjis));
    visit().PrintLine();
    Prompt();
}

void ForumService::Prompt() {
    switch (place_) {
        case Place::Room:
            visit().Print(std::string("CCS(") + direction_ + ")>");
            return;
        case Place::Library:
            library_.Prompt();
            return;
        case Place::Menu:
            break;
    }
    if (switches_.menu) {
        visit().PrintLine("MES n:会議室  LIB n:データライブラリ  SMAIL:運営者へ  E:終了"_sjis);
        visit().Print("＞"_sjis);
    } else {
        visit().Print("FORUM>");
    }
}

Destination ForumService::Hear(std::string_view line) {
    if (entry_.open()) {
        if (entry_.Hear(line)) Prompt();
        return {};
    }
    if (place_ == Place::Library && library_.asks()) {
        library_.Answer(line);
        return {};
    }
    const Command command = ParseCommand(line);
    if (HearAnywhere(command.name, command.argument)) return {};
    switch (place_) {
        case Place::Menu:
            return HearInMenu(command.name);
        case Place::Room:
            HearInRoom(command.name);
            break;
        case Place::Library:
            HearInLibrary(line);
            break;
    }
    return {};
}

bool ForumService::HearAnywhere(std::string_view name, std::string_view argument) {
    if (name == "MES") {
        GoToRoom(argument);
    } else if (name == "LIB") {
        GoToLibrary(argument);
    } else if (name == "SMAIL") {
        entry_.AskLongText(forum_ + " SMAIL");
    } else if (name.empty()) {
        Prompt();
    } else if (name == "E" && place_ != Place::Menu) {
        place_ = Place::Menu;
        Prompt();
    } else {
        return false;
    }
    return true;
}

Destination ForumService::HearInMenu(std::string_view name) {
    if (name == "E") return {Destination::Place::Top};
    RefuseCommand();
    return {};
}

void ForumService::HearInRoom(std::string_view name) {
    constexpr std::string_view kDirections = "NPRC";
    if (name == "MRE") {
        ReadUnread();
    } else if (name == "COM") {
        entry_.AskShortText(forum_ + " MES " + std::to_string(room_));
    } else if (name.size() == 1 && kDirections.find(name.front()) != std::string_view::npos) {
        direction_ = name.front();
        Prompt();
    } else {
        RefuseCommand();
    }
}

void ForumService::HearInLibrary(std::string_view line) {
    if (!library_.Hear(line, switches_)) RefuseCommand();
}

void ForumService::GoToRoom(std::string_view number) {
    const int room = WholeNumber(number).value_or(0);
    if (room < 1 || room > kRooms) {
        visit().PrintLine("その会議室はありません。"_sjis);
    } else {
        place_ = Place::Room;
        room_ = room;
        direction_ = 'N';
    }
    Prompt();
}

void ForumService::GoToLibrary(std::string_view number) {
    const int library = WholeNumber(number).value_or(0);
    if (library < 1 || library > kRooms) {
        visit().PrintLine("そのデータライブラリはありません。"_sjis);
    } else {
        place_ = Place::Library;
        library_.Open(library);
    }
    Prompt();
}

/// The room's line stands in front of the messages, and each message is a header line, a second line, the
/// text and an end. Programs find all of them by the first line behind the echo of the command, so nothing
/// else may come between.
void ForumService::ReadUnread() {
    std::vector<Letter> messages;
    int highest = 0;
    std::size_t bytes = 0;
    for (const std::string& key : visit().holdings().Messages(forum_, room_)) {
        std::optional<Letter> message = visit().holdings().Message(forum_, room_, key);
        if (!message) continue;
        bytes += message->text.size();
        if (bytes > kLargestListing && !messages.empty()) break;
        if (message->number == 0) message->number = highest + 1;
        highest = std::max(highest, message->number);
        messages.push_back(std::move(*message));
        listed_.push_back(key);
    }
    std::string lines;
    if (messages.empty()) {
        lines = std::string("◆現在未読の発言はありません◆"_sjis) + "\r\n";
    } else {
        lines = std::string("◆"_sjis) + forum_ + " MES(" + std::to_string(room_) + ")\r\n";
    }
    const NumberWidth width = WidthFor(highest);
    for (const Letter& message : messages) {
        lines +=
            MessageHeaderLine(message, highest, width) + MessageSecondLine(message, width) + message.text;
        lines += switches_.delimiter ? kMessageDelimiter : "\r\n";
    }
    visit().Show(lines, PageKind::Document, switches_);
    if (!visit().pageWaits()) Prompt();
}

void ForumService::ConfirmReading() {
    for (const std::string& key : std::exchange(listed_, {})) {
        const int result = visit().holdings().MarkMessageRead(forum_, room_, key);
        if (result != 0) visit().transcript().Event(core::DescribeError(result, core::Language::Japanese));
    }
}

}  // namespace postkite::practice
