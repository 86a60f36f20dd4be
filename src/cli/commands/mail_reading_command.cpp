#include <CLI/CLI.hpp>
#include <cerrno>
#include <limits>
#include <nlohmann/json.hpp>

#include "cli/application.h"
#include "cli/commands/mail_command.h"
#include "cli/mail_folder.h"
#include "core/shift_jis.h"
#include "store/folder_reader.h"
#include "store/text_record.h"

namespace postkite::cli {

std::string MailRowText(int number, const store::MailListEntry& entry) {
    constexpr std::size_t kNumberColumns = 5;
    constexpr std::size_t kWritingDateBytes = 14;
    const std::string digits = std::to_string(number);
    const std::string_view flags = entry.flags.view();
    const bool unread = flags.size() > store::flag::kRead && flags[store::flag::kRead] == 'r';
    const auto printable = [](std::string_view field) {
        return Printable(store::WithoutTrailingBlanks(field));
    };
    return std::string(kNumberColumns - std::min(kNumberColumns, digits.size()), ' ') + digits +
           (unread ? " *  " : "    ") + printable(entry.date.view().substr(0, kWritingDateBytes)) + "  " +
           printable(entry.name.view()) + "  " + printable(entry.subject.view()) + "\n";
}

namespace {

using Json = nlohmann::ordered_json;

Json JsonOf(int number, const store::MailListEntry& entry) {
    return {{"number", number},
            {"flags", FieldText(entry.flags.view())},
            {"localId", FieldText(entry.localId.view())},
            {"address", FieldText(entry.address.view())},
            {"name", FieldText(entry.name.view())},
            {"date", FieldText(entry.date.view())},
            {"subject", FieldText(entry.subject.view())},
            {"sizeText", FieldText(entry.sizeText.view())},
            {"attach", FieldText(entry.attach.view())},
            {"sourceId", FieldText(entry.sourceId.view())},
            {"messageId", FieldText(entry.messageId.view())}};
}

/// Prints the rows piece by piece: a folder can hold any number of them. A document that a failing disk cuts
/// off stays without its end, so that no program takes it for the whole list.
int PrintRows(CommandContext& context, const MailFolder& folder, store::FolderReader& reader) {
    constexpr std::size_t kPieceBytes = 65536;
    std::string piece;
    store::MailListEntry entry;
    bool first = true;
    for (int number = 0;; ++number) {
        const std::string_view record = reader.IndexRecord(number);
        if (record.empty()) break;
        if (store::IsDeleted(record)) continue;
        store::FillListEntry(record, entry);
        if (context.json) {
            piece += (first ? "[\n  " : ",\n  ") + JsonOf(number, entry).dump();
        } else {
            piece += MailRowText(number, entry);
        }
        first = false;
        if (piece.size() < kPieceBytes) continue;
        if (context.Print(piece) != kDone) return kRefused;
        piece.clear();
    }
    const bool whole = !WasFaulty(folder, reader);
    if (context.json && whole) piece += first ? "[]\n" : "\n]\n";
    const int printed = context.Print(piece);
    return whole ? printed : kRefused;
}

int List(CommandContext& context, const std::string& typed) {
    const auto folder = OpenMailFolder(context, typed);
    if (!folder) return kRefused;
    store::FolderReader reader;
    const int opened = OpenReader(context, *folder, reader);
    if (opened == 0) return PrintRows(context, *folder, reader);
    return opened == -ENOENT ? context.Print(context.json ? "[]\n" : "") : kRefused;
}

struct ShownField {
    const char* key;
    const char* title;
    std::string store::MailRecord::*member;
    bool severalLines = false;
};

constexpr ShownField kShownFields[] = {
    {"flags", "Flags", &store::MailRecord::flags},
    {"localId", "Local-Id", &store::MailRecord::localId},
    {"address", "Address", &store::MailRecord::address, true},
    {"name", "Name", &store::MailRecord::name},
    {"date", "Date", &store::MailRecord::date},
    {"subject", "Subject", &store::MailRecord::subject},
    {"attach", "Attach", &store::MailRecord::attach, true},
    {"cc", "Cc", &store::MailRecord::cc, true},
    {"bcc", "Bcc", &store::MailRecord::bcc, true},
    {"extraAddress", "Extra-Address", &store::MailRecord::extraAddress, true},
    {"sizeText", "Size", &store::MailRecord::sizeText},
    {"sourceId", "Source-Id", &store::MailRecord::sourceId},
    {"messageId", "Message-Id", &store::MailRecord::messageId},
    {"spare1", "Spare1", &store::MailRecord::spare1},
    {"spare2", "Spare2", &store::MailRecord::spare2},
    {"spare3", "Spare3", &store::MailRecord::spare3},
    {"spare5", "Spare5", &store::MailRecord::spare5},
};

/// What stands for a line end in a field of several lines, which the files keep on one.
constexpr std::string_view kFieldLineEnd = "\xA0 ";

/// The field for the eye: its further lines indented, as none of them begins another field. Empty for one that
/// holds nothing.
std::string FieldForTheEye(std::string_view value, bool severalLines) {
    if (!severalLines) return Printable(store::WithoutTrailingBlanks(value));
    std::string text;
    std::string_view rest = value;
    while (!rest.empty()) {
        const std::size_t end = core::FindText(rest, kFieldLineEnd);
        const std::string line = Printable(store::WithoutTrailingBlanks(rest.substr(0, end)));
        if (!line.empty()) text += (text.empty() ? "" : "\n    ") + line;
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + kFieldLineEnd.size());
    }
    return text;
}

int PrintMail(CommandContext& context, int number, const store::MailRecord& record) {
    if (context.json) {
        Json document = {{"number", number}};
        for (const ShownField& field : kShownFields) {
            document[field.key] = Utf8Bytes(record.*field.member);
        }
        document["body"] = Utf8Bytes(record.body);
        return context.PrintJson(document);
    }
    std::string text;
    for (const ShownField& field : kShownFields) {
        const std::string value = FieldForTheEye(record.*field.member, field.severalLines);
        if (!value.empty()) text += std::string(field.title) + ": " + value + "\n";
    }
    return context.Print(text + "\n" + Printable(record.body, LineEnds::Kept));
}

int Show(CommandContext& context, const std::string& typed, int number, bool raw) {
    if (raw && context.json) {
        static_cast<void>(context.Refuse(
            {"--raw と --json は同時に指定できません。", "--raw and --json exclude each other."}));
        return kWrongUsage;
    }
    const auto folder = OpenMailFolder(context, typed);
    if (!folder) return kRefused;
    store::FolderReader reader;
    const int opened = OpenReader(context, *folder, reader);
    // One reader, so that the mail that was looked for is the one that is shown.
    if (opened < 0 && opened != -ENOENT) return kRefused;
    if (!AreThere(context, *folder, reader, {number})) return kRefused;
    store::MailRecord record;
    const auto condition = reader.ReadMail(number, store::MAIL_BODY_MAX - store::kReadHeadroomBytes, record);
    if (WasFaulty(*folder, reader)) return kRefused;
    if (condition == store::FolderReader::Condition::Damaged) {
        return context.Refuse(
            {"メール {} は壊れているため読めません。", "Mail {} is damaged and cannot be read."},
            std::to_string(number));
    }
    const int printed = raw ? context.Print(record.body) : PrintMail(context, number, record);
    if (condition == store::FolderReader::Condition::Whole) return printed;
    return context.Refuse({"メール {} の本文には終わりがありません。", "The body of mail {} has no end."},
                          std::to_string(number));
}

int Find(CommandContext& context, const std::string& typed, const std::string& typedId) {
    constexpr std::size_t kLongestId = 50;
    const auto localId = context.LineValue("LOCALID", typedId, kLongestId);
    if (!localId) return kRefused;
    const auto folder = OpenMailFolder(context, typed);
    if (!folder) return kRefused;
    store::FolderReader reader;
    const int opened = OpenReader(context, *folder, reader);
    if (opened < 0 && opened != -ENOENT) return kRefused;
    const int number = opened == 0 ? reader.FindMail(*localId) : -1;
    const bool found = number >= 0 && !store::IsDeleted(reader.IndexRecord(number));
    if (opened == 0 && WasFaulty(*folder, reader)) return kRefused;
    if (!found) {
        return context.Refuse({"識別子 {} のメールはありません。", "There is no mail of identifier {}."},
                              typedId);
    }
    return context.json ? context.PrintJson({{"number", number}})
                        : context.Print(std::to_string(number) + "\n");
}

}  // namespace

void AddMailReadingCommands(CLI::App& mail, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    auto folder = std::make_shared<std::string>();
    CLI::App* list = mail.add_subcommand("list", say({"フォルダのメールの一覧", "List a folder's mails"}));
    list->add_option("FOLDER", *folder)->required()->type_name("");
    list->callback(
        [&context, folder] { context.run = [&context, folder] { return List(context, *folder); }; });

    auto number = std::make_shared<int>(0);
    auto raw = std::make_shared<bool>(false);
    CLI::App* show = mail.add_subcommand("show", say({"メールを表示する", "Show a whole mail"}));
    show->add_option("FOLDER", *folder)->required()->type_name("");
    show->add_option("N", *number, say({"メールの番号", "the mail's number"}))
        ->required()
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description(""))
        ->type_name("");
    show->add_flag("--raw", *raw,
                   say({"本文の保存されたバイト列をそのまま出力する", "Print the stored bytes of the body"}));
    show->callback([&context, folder, number, raw] {
        context.run = [&context, folder, number, raw] { return Show(context, *folder, *number, *raw); };
    });

    auto localId = std::make_shared<std::string>();
    CLI::App* find = mail.add_subcommand(
        "find", say({"識別子からメールの番号を求める", "Print the number of the mail with an identifier"}));
    find->add_option("FOLDER", *folder)->required()->type_name("");
    find->add_option("LOCALID", *localId)->required()->type_name("");
    find->callback([&context, folder, localId] {
        context.run = [&context, folder, localId] { return Find(context, *folder, *localId); };
    });
}

}  // namespace postkite::cli
