#include "cli/commands/forums_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>

#include "analyse/read_conditions.h"
#include "cli/application.h"
#include "core/error_text.h"
#include "core/letter_case.h"

namespace postkite::cli {

namespace {

using analyse::ReadCondition;

/// A command's argument in UTF-8, and as files have it.
constexpr std::size_t kLongestTyped = 4096;

std::vector<std::string> Places(Session& session) {
    return analyse::ForumFoldersOf(session.workspace, session.program.folders().tree());
}

std::string Padded(const std::string& text, std::size_t columns, std::size_t width) {
    return text + std::string(width - std::min(width, columns), ' ');
}

int ReportFault(CommandContext& context, const std::string& folder, int error) {
    return context.Refuse(
        {"{} の読み込み条件を扱えません。（{}）", "The read condition of {} cannot be read or written: {}."},
        Utf8Bytes(folder), Utf8Bytes(core::DescribeError(error, context.language())));
}

int List(CommandContext& context) {
    const auto session = context.OpenBank();
    if (session == nullptr) return kRefused;
    const std::vector<std::string> places = Places(*session);
    std::size_t width = 0;
    for (const std::string& place : places)
        width = std::max(width, place.size());
    int status = kDone;
    nlohmann::ordered_json document = nlohmann::ordered_json::array();
    std::string text;
    for (const std::string& place : places) {
        ReadCondition condition;
        const int read = analyse::ReadReadCondition(session->workspace, place, condition);
        if (read < 0) status = ReportFault(context, place, read);
        document.push_back({{"folder", Utf8Bytes(place)},
                            {"condition", Utf8Bytes(condition.condition)},
                            {"lastAccess", Utf8Bytes(condition.lastAccess)}});
        // A text takes as many columns as it has bytes in the code page.
        const std::string shown = Printable(condition.condition);
        text += Padded(Printable(place), place.size(), width) + "  ";
        text += condition.lastAccess.empty()
                    ? shown
                    : Padded(shown, condition.condition.size(), analyse::kNotRead.size()) + "  " +
                          condition.lastAccess;
        text += "\n";
    }
    const int printed = context.json ? context.PrintJson(document) : context.Print(text);
    return status == kDone ? printed : status;
}

struct SetOptions {
    std::string folder;
    std::string condition;
    std::string lastAccess;
    CLI::Option* lastAccessOption = nullptr;
};

/// The place as the tree or its file spells it; one that neither has as it was typed.
std::string SpelledPlace(Session& session, const std::string& typed) {
    const std::vector<std::string> places = Places(session);
    const auto found = std::find_if(places.begin(), places.end(), [&typed](const std::string& place) {
        return core::EqualIgnoringCase(place, typed);
    });
    return found == places.end() ? typed : *found;
}

int Set(CommandContext& context, const SetOptions& options) {
    const auto typed = context.LineValue("FOLDER", options.folder, kLongestTyped);
    if (!typed) return kRefused;
    analyse::ForumPlace place;
    if (!analyse::ParseForumPlace(*typed, place)) {
        return context.Refuse(
            {"{} は会議室でもライブラリでもありません。（例: FABC,mes1、FABC,lib2）",
             "{} is neither a room nor a library; these are called FABC,mes1 or FABC,lib2."},
            options.folder);
    }
    const auto session = context.OpenBank();
    if (session == nullptr) return kRefused;
    const bool dated = options.lastAccessOption->count() > 0;
    if (dated && !analyse::IsAccessDate(options.lastAccess)) {
        session->ui.ShowMessage(core::kProductName, analyse::WrongAccessDateText(), core::MessageIcon::None);
        return kRefused;
    }
    core::WorkspaceLock lock;
    const int locked = session->workspace.Lock(true, lock);
    if (locked < 0) return ReportFault(context, *typed, locked);

    const std::string folder = SpelledPlace(*session, *typed);
    ReadCondition condition;
    int result = analyse::ReadReadCondition(session->workspace, folder, condition);
    condition.condition = options.condition;
    if (!condition.hasFile) condition.lastAccess = analyse::kFirstAccessDate;
    if (dated) condition.lastAccess = options.lastAccess;
    if (result == 0) result = analyse::WriteReadCondition(session->workspace, folder, condition);
    return result < 0 ? ReportFault(context, folder, result) : kDone;
}

void AddSet(CLI::App& forums, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    static constexpr std::string_view kConditions[] = {analyse::kNotRead, analyse::kRead, analyse::kPerDay};
    auto options = std::make_shared<SetOptions>();
    CLI::App* set =
        forums.add_subcommand("set", say({"読み込み条件を設定する（フォルダがまだない会議室でもよい）",
                                          "Set a read condition, also of a room that has no folder yet"}));
    set->add_option("FOLDER", options->folder, say({"会議室またはライブラリ", "a room or a library"}))
        ->required()
        ->type_name("");
    set->add_option("CONDITION", options->condition,
                    say({"notread 読み込まない、read 毎回読み込む、perday 1 日 1 回読み込む",
                         "notread never, read in every session, perday once a day"}))
        ->required()
        ->check(CLI::IsMember(std::vector<std::string>(std::begin(kConditions), std::end(kConditions)))
                    .description(""))
        ->type_name("");
    options->lastAccessOption =
        set->add_option("--last-access", options->lastAccess,
                        say({"最終アクセス日（YY/MM/DD）", "the last access, YY/MM/DD"}))
            ->type_name("DATE");
    set->callback(
        [&context, options] { context.run = [&context, options] { return Set(context, *options); }; });
    context.completers[set] = [](const std::vector<std::string>& words) {
        return words.size() == 1 ? std::vector<std::string>(std::begin(kConditions), std::end(kConditions))
                                 : std::vector<std::string>();
    };
}

}  // namespace

void AddForumsCommand(CLI::App& application, CommandContext& context) {
    CLI::App* forums = application.add_subcommand(
        "forums", Bilingual{"会議室とライブラリの読み込み条件の一覧と設定",
                            "List and set which forum rooms and libraries a session reads"}
                      .In(context.language()));
    forums->require_subcommand(0, 1);
    forums->callback([forums, &context] {
        if (forums->get_subcommands().empty()) context.run = [&context] { return List(context); };
    });
    AddSet(*forums, context);
}

}  // namespace postkite::cli
