#include "practice/top_menu.h"

#include <optional>
#include <vector>

#include "core/shift_jis.h"
#include "practice/command.h"

namespace postkite::practice {

using namespace core::literals;

void TopMenu::Enter() {
    choosesForum_ = false;
    if (switches().menu) PrintMenu();
    Prompt();
}

void TopMenu::PrintMenu() {
    visit().PrintLine();
    visit().PrintLine("＜ トップメニュー ＞"_sjis);
    visit().PrintLine(" 1. 電子メール        2. フォーラム        E. 終了"_sjis);
    visit().PrintLine();
}

void TopMenu::Prompt() {
    // Two forms of one prompt: a client that knows its way does not want to be told it.
    visit().PrintLine(switches().menu ? "番号またはコマンド (改行でトップメニュー)"_sjis
                                      : std::string_view());
    visit().Print("＞"_sjis);
}

Destination TopMenu::Hear(std::string_view line) {
    const Command command = ParseCommand(line);
    const std::optional<int> number = WholeNumber(command.name);
    if (choosesForum_ && number) return HearForumNumber(*number);
    choosesForum_ = false;
    if (command.name.empty()) {
        PrintMenu();
        Prompt();
    } else if (command.name == "E") {
        return {Destination::Place::LogOff};
    } else if (number == 1) {
        return {Destination::Place::Mail};
    } else if (number == 2) {
        choosesForum_ = true;
        int position = 0;
        for (const std::string& forum : visit().holdings().Forums()) {
            visit().PrintLine(" " + std::to_string(++position) + ". " + forum);
        }
        Prompt();
    } else {
        RefuseCommand();
    }
    return {};
}

Destination TopMenu::HearForumNumber(int number) {
    const std::vector<std::string> forums = visit().holdings().Forums();
    if (number >= 1 && static_cast<std::size_t>(number) <= forums.size()) {
        return {Destination::Place::Forum, forums[static_cast<std::size_t>(number - 1)]};
    }
    RefuseCommand();
    return {};
}

}  // namespace postkite::practice
