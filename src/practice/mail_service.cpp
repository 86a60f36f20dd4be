#include "practice/mail_service.h"

#include <optional>
#include <vector>

#include "core/error_text.h"
#include "core/shift_jis.h"
#include "core/time_stamp.h"
#include "practice/command.h"
#include "practice/listing.h"

namespace postkite::practice {

using namespace core::literals;

namespace {

constexpr std::string_view kAfterReading =
    "受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis;
/// The same for a mail that nobody can be answered to.
constexpr std::string_view kAfterReadingNoReply =
    "受信後 (1:削除  2:保存  *:返信  *:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis;
constexpr std::size_t kMostSentShown = 100;

}  // namespace

void MailService::Prompt() {
    if (!shown_.empty()) {
        if (switches().menu) {
            visit().PrintLine(shownHasSender_ ? kAfterReading : kAfterReadingNoReply);
            visit().Print("："_sjis);
        } else {
            visit().Print("action:");
        }
    } else if (switches().menu) {
        visit().PrintLine("電子メール（1:受信　2:送信　3:送信簿　0:その他　E:終了）"_sjis);
        visit().Print("＞"_sjis);
    } else {
        visit().Print("MAIL>");
    }
}

Destination MailService::Hear(std::string_view line) {
    if (entry_.open()) {
        HearText(line);
        return {};
    }
    if (!shown_.empty()) {
        HearAction(line);
        return {};
    }
    const Command command = ParseCommand(line);
    const bool menu = switches().menu;
    if (command.name == "READ") {
        Read(command.argument);
    } else if (menu && command.name == "1") {
        Read("ALL");
    } else if (command.name == "COM" || (menu && command.name == "2")) {
        AskMail();
    } else if (command.name == "SDL" || (menu && command.name == "3")) {
        ListSent();
    } else if (command.name == "LIST" || (menu && command.name == "0")) {
        List();
    } else if (command.name == "KITE") {
        programMode_ = true;
        Prompt();
    } else if (command.name == "E") {
        return {Destination::Place::Top};
    } else if (command.name.empty()) {
        Prompt();
    } else {
        RefuseCommand();
    }
    return {};
}

void MailService::Read(std::string_view which) {
    if (which == "ALL" || which == "NEW") {
        StartReading(which == "ALL" ? Which::All : Which::New);
        return;
    }
    const std::vector<std::string> mails = visit().holdings().Mails();
    const int number = WholeNumber(which).value_or(0);
    if (number < 1 || static_cast<std::size_t>(number) > mails.size()) {
        RefuseCommand();
        return;
    }
    turns_ = {{mails[static_cast<std::size_t>(number - 1)], number}};
    ShowNext();
}

void MailService::StartReading(Which which) {
    turns_.clear();
    int number = 0;
    for (const std::string& key : visit().holdings().Mails()) {
        ++number;
        if (which == Which::All || visit().holdings().IsNewMail(key)) turns_.push_back({key, number});
    }
    if (number == 0) {
        visit().PrintLine("－あなた宛のメールはありません－"_sjis);
    } else if (turns_.empty()) {
        visit().PrintLine("－未読メールはありません－"_sjis);
    }
    ShowNext();
}

void MailService::ShowNext() {
    shown_.clear();
    while (!turns_.empty() && shown_.empty()) {
        const Turn turn = turns_.front();
        turns_.pop_front();
        const std::optional<Letter> mail = visit().holdings().Mail(turn.key);
        if (!mail) continue;
        shown_ = turn.key;
        shownHasSender_ = !mail->id.empty();
        visit().Show(MailHeaderLine(turn.number, *mail) + MailSubjectLine(*mail) + mail->text,
                     PageKind::Document, switches());
    }
    if (!visit().pageWaits()) Prompt();
}

void MailService::HearAction(std::string_view line) {
    const std::string action = Upper(Trimmed(line));
    const bool menu = switches().menu;
    if (action == "DELETE" || (menu && action == "1")) {
        Delete();
        ShowNext();
    } else if (action == "SAVE" || action.empty() || (menu && action == "2")) {
        visit().holdings().MarkMailRead(shown_);
        ShowNext();
    } else if (action == "E") {
        visit().holdings().MarkMailRead(shown_);
        turns_.clear();
        ShowNext();
    } else {
        RefuseCommand();
    }
}

void MailService::Delete() {
    const int result = visit().holdings().DeleteMail(shown_);
    visit().PrintLine(result == 0 ? "削除しました。"_sjis : "削除できませんでした。"_sjis);
    if (result != 0) visit().transcript().Event(core::DescribeError(result, core::Language::Japanese));
}

void MailService::List() {
    std::string lines;
    int number = 0;
    for (const std::string& key : visit().holdings().Mails()) {
        ++number;
        if (const std::optional<Letter> mail = visit().holdings().Mail(key)) {
            lines += MailHeaderLine(number, *mail) + MailSubjectLine(*mail);
        }
    }
    if (lines.empty()) lines = std::string("－あなた宛のメールはありません－"_sjis) + "\r\n";
    visit().Show(lines, PageKind::List, switches());
    if (!visit().pageWaits()) Prompt();
}

void MailService::ListSent() {
    std::string lines;
    for (const std::string& line : sent_) {
        lines += line + "\r\n";
    }
    if (lines.empty()) lines = std::string("－送信したメールはありません－"_sjis) + "\r\n";
    visit().Show(lines, PageKind::List, switches());
    if (!visit().pageWaits()) Prompt();
}

void MailService::AskMail() {
    if (programMode_) {
        entry_.AskLongText("MAIL");
    } else {
        entry_.AskShortText("MAIL");
    }
}

void MailService::HearText(std::string_view line) {
    if (!entry_.Hear(line)) return;
    sent_.push_back(core::FormatNowDate(visit().clock()) + "  " +
                    std::string(HeadingOf(entry_.text(), "TO:")) + "  " +
                    std::string(HeadingOf(entry_.text(), "SUB:")));
    if (sent_.size() > kMostSentShown) sent_.pop_front();
    Prompt();
}

}  // namespace postkite::practice
