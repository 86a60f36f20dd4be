#include <CLI/CLI.hpp>
#include <cerrno>
#include <limits>

#include "cli/application.h"
#include "cli/commands/mail_command.h"
#include "cli/mail_folder.h"
#include "store/folder_marker.h"

namespace postkite::cli {

namespace {

using Numbers = std::vector<int>;
/// Returns 0 or a negated errno value.
using Mark = std::function<int(store::FolderMarker& marker, int number, const core::Clock& clock)>;

/// Marks several mails, with one open and one sync.
int MarkMails(CommandContext& context, const std::string& typed, const Numbers& numbers, const Mark& mark) {
    auto folder = OpenMailFolder(context, typed);
    // Locked, so that they are still there when they are marked.
    if (!folder || !LockForChange(context, *folder) || !AreThere(context, *folder, numbers)) return kRefused;
    int refused = -1;
    const int marked = folder->mailbox().MarkMany(folder->name, [&](store::FolderMarker& marker) {
        for (const int number : numbers) {
            const int result = mark(marker, number, folder->session->clock);
            if (result == -EINVAL) refused = number;
            if (result < 0) return result;
        }
        return 0;
    });
    if (refused < 0) return marked < 0 ? kRefused : kDone;
    return context.Refuse({"メール {} には印を付けられません。", "Mail {} cannot be marked so."},
                          std::to_string(refused));
}

Mark FlagSetter(std::size_t position, char character) {
    return [position, character](store::FolderMarker& marker, int number, const core::Clock&) {
        return marker.SetFlag(number, position, character);
    };
}

Mark SentMarker(bool sent) {
    return [sent](store::FolderMarker& marker, int number, const core::Clock& clock) {
        return marker.MarkSent(number, sent, clock);
    };
}

int SetFlag(CommandContext& context, const std::string& folder, int number, std::size_t position,
            const std::string& typed) {
    const auto character = context.LineValue("CHARACTER", typed, 2);
    if (!character) return kRefused;
    if (character->size() != 1 || character->front() < ' ' || character->front() > '~') {
        return context.Refuse({"CHARACTER は ASCII の 1 文字です。", "CHARACTER is one character of ASCII."});
    }
    // It says how the mail's text is laid out, and the text stays as it is.
    if (position == store::flag::kLine17) {
        return context.Refuse(
            {"位置 {} のフラグは変更できません。", "The flag at position {} cannot be changed."},
            std::to_string(position));
    }
    return MarkMails(context, folder, {number}, FlagSetter(position, character->front()));
}

int Trash(const MailFolder& folder, const Numbers& numbers) {
    return folder.folders().MoveMailsToTrash(folder.name, numbers);
}

int Delete(const MailFolder& folder, const Numbers& numbers) {
    return folder.folders().DeleteMails(folder.name, numbers);
}

using Removal = int (*)(const MailFolder& folder, const Numbers& numbers);

int RemoveMails(CommandContext& context, const std::string& typed, const Numbers& numbers, Removal removal) {
    const auto folder = OpenMailFolder(context, typed);
    // Looked at here as well, to say which one is not there.
    if (!folder || !AreThere(context, *folder, numbers)) return kRefused;
    return removal(*folder, numbers) < 0 ? kRefused : kDone;
}

/// Adds a command that takes a folder and several mails.
void AddForSeveral(CLI::App& mail, CommandContext& context, const char* name, const Bilingual& about,
                   const std::function<int(const std::string& folder, const Numbers& numbers)>& run) {
    auto folder = std::make_shared<std::string>();
    auto numbers = std::make_shared<Numbers>();
    CLI::App* command = mail.add_subcommand(name, about.In(context.language()));
    command->add_option("FOLDER", *folder)->required()->type_name("");
    command
        ->add_option(
            "N", *numbers,
            Bilingual{"命令の前の一覧でのメールの番号", "the mails' numbers as listed before the command"}.In(
                context.language()))
        ->required()
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description(""))
        ->type_name("");
    command->callback([&context, folder, numbers, run] {
        context.run = [folder, numbers, run] { return run(*folder, *numbers); };
    });
}

void AddFlagCommand(CLI::App& mail, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    constexpr int kLastPosition = 49;
    auto folder = std::make_shared<std::string>();
    auto number = std::make_shared<int>(0);
    auto position = std::make_shared<int>(0);
    auto character = std::make_shared<std::string>();
    CLI::App* command = mail.add_subcommand("flag", say({"フラグを 1 文字変更する", "Change one flag"}));
    command->add_option("FOLDER", *folder)->required()->type_name("");
    command->add_option("N", *number, say({"メールの番号", "the mail's number"}))
        ->required()
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description(""))
        ->type_name("");
    command->add_option("POSITION", *position, say({"フラグの位置（0～49）", "the flag's position, 0 to 49"}))
        ->required()
        ->check(CLI::Range(0, kLastPosition).description(""))
        ->type_name("");
    command->add_option("CHARACTER", *character)->required()->type_name("");
    command->callback([&context, folder, number, position, character] {
        context.run = [&context, folder, number, position, character] {
            return SetFlag(context, *folder, *number, static_cast<std::size_t>(*position), *character);
        };
    });
}

}  // namespace

void AddMailMarkingCommands(CLI::App& mail, CommandContext& context) {
    AddFlagCommand(mail, context);
    struct Marking {
        const char* name;
        Bilingual about;
        Mark mark;
    };
    const Marking markings[] = {
        {"read", {"既読にする", "Mark read"}, FlagSetter(store::flag::kRead, 'R')},
        {"unread", {"未読にする", "Mark unread"}, FlagSetter(store::flag::kRead, 'r')},
        {"reserve", {"送信予約する", "Reserve for sending"}, FlagSetter(store::flag::kPosition8, 'Y')},
        {"unreserve", {"送信予約を取り消す", "Reserve no longer"}, FlagSetter(store::flag::kPosition8, 'y')},
        {"sent", {"送信済みにする", "Mark sent"}, SentMarker(true)},
        {"unsent", {"未送信にする", "Mark not sent"}, SentMarker(false)},
    };
    for (const Marking& marking : markings) {
        AddForSeveral(mail, context, marking.name, marking.about,
                      [&context, mark = marking.mark](const std::string& folder, const Numbers& numbers) {
                          return MarkMails(context, folder, numbers, mark);
                      });
    }
    struct Removing {
        const char* name;
        Bilingual about;
        Removal removal;
    };
    const Removing removings[] = {
        {"trash", {"Trash へ移す", "Move to Trash"}, Trash},
        {"delete", {"完全に削除する", "Delete for good"}, Delete},
    };
    for (const Removing& removing : removings) {
        AddForSeveral(
            mail, context, removing.name, removing.about,
            [&context, removal = removing.removal](const std::string& folder, const Numbers& numbers) {
                return RemoveMails(context, folder, numbers, removal);
            });
    }
}

}  // namespace postkite::cli
