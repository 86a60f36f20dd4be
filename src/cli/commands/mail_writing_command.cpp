#include <CLI/CLI.hpp>
#include <array>
#include <cerrno>
#include <nlohmann/json.hpp>

#include "cli/application.h"
#include "cli/commands/mail_command.h"
#include "cli/mail_folder.h"
#include "core/time_stamp.h"
#include "store/folder_reader.h"
#include "store/text_record.h"

namespace postkite::cli {

namespace {

using store::MailRecord;

constexpr std::size_t kLongestId = 50;

/// An option for a header line. `longest` is what every program that reads the files has room for, in bytes.
struct HeaderOption {
    const char* option;
    const char* type;
    std::string MailRecord::*member;
    std::size_t longest;
    Bilingual about;
};

constexpr std::array<HeaderOption, 10> kHeaderOptions = {{
    {"--flags", "F", &MailRecord::flags, 50, {"フラグ", "the flags"}},
    {"--address", "A", &MailRecord::address, 2499, {"差出人または宛先", "the sender or the recipients"}},
    {"--name", "T", &MailRecord::name, 511, {"名前", "the name"}},
    {"--date", "D", &MailRecord::date, 50, {"日付（YY/MM/DD HH:MM）", "the date, YY/MM/DD HH:MM"}},
    {"--subject", "S", &MailRecord::subject, 513, {"題名", "the subject"}},
    {"--attach", "A", &MailRecord::attach, 999, {"添付ファイル名", "names of attached files"}},
    {"--cc", "C", &MailRecord::cc, 2499, {"カーボンコピー", "carbon copies"}},
    {"--bcc", "B", &MailRecord::bcc, 2499, {"ブラインドカーボンコピー", "blind carbon copies"}},
    {"--extra-address", "E", &MailRecord::extraAddress, 1023, {"追加アドレス", "extra addresses"}},
    {"--message-id", "M", &MailRecord::messageId, 99, {"メッセージ識別子", "the message identifier"}},
}};

/// What was typed for a mail that is to be written.
struct MailOptions {
    struct Value {
        std::string typed;
        CLI::Option* option = nullptr;  ///< counts whether it was given
    };
    std::string folder;
    std::string localId;
    std::array<Value, kHeaderOptions.size()> header;
    Value body;
};

/// Checks what was given, and reads the body; the fields that were not given stay as they are. Returns the exit status.
int TakeOptions(CommandContext& context, const MailOptions& options, MailRecord& record) {
    for (std::size_t at = 0; at < kHeaderOptions.size(); ++at) {
        const HeaderOption& header = kHeaderOptions[at];
        if (options.header[at].option->count() == 0) continue;
        const auto value = context.LineValue(header.option, options.header[at].typed, header.longest);
        if (!value) return kRefused;
        // With the line's end behind it, it would end the mail.
        if (value->find(store::kTerminator.front()) != std::string::npos) {
            return context.Refuse({"{} の値に制御文字 01 は使えません。",
                                   "The value of {} cannot hold the control character 01."},
                                  header.option);
        }
        record.*header.member = *value;
    }
    if (options.body.option->count() == 0) return kDone;
    auto body = MailBody(context, options.body.typed);
    if (!body) return kRefused;
    record.body = std::move(*body);
    return kDone;
}

/// Puts what was given into a mail.
void Apply(const MailOptions& options, const MailRecord& given, MailRecord& record) {
    for (std::size_t at = 0; at < kHeaderOptions.size(); ++at) {
        const auto member = kHeaderOptions[at].member;
        if (options.header[at].option->count() > 0) record.*member = given.*member;
    }
    if (options.body.option->count() > 0) record.body = given.body;
}

/// Mails in a folder that the tree has not are easily overlooked.
void RemarkOnTree(CommandContext& context, const MailFolder& folder) {
    if (folder.name == store::kClipboardFolder) return;
    if (folder.folders().tree().Find(folder.name) != nullptr) return;
    context.Remark({"フォルダ {} はフォルダツリーにないため、フォルダの一覧には表示されません。",
                    "The folder {} is not in the folder tree, so the list of folders does not show it."},
                   Utf8Bytes(folder.name));
}

int Add(CommandContext& context, const MailOptions& options) {
    MailRecord record;
    record.flags = store::kComposedMailFlags;
    const int taken = TakeOptions(context, options, record);
    if (taken != kDone) return taken;
    auto folder = OpenMailFolder(context, options.folder);
    if (!folder || !LockForChange(context, *folder)) return kRefused;
    constexpr std::size_t kDate = 3;
    static_assert(kHeaderOptions[kDate].member == &MailRecord::date);
    if (options.header[kDate].option->count() == 0) {
        record.date = core::FormatNowDate(folder->session->clock);
    }
    store::Mailbox& mailbox = folder->mailbox();
    if (folder->name == store::kClipboardFolder && folder->session->program.PrepareClipboard() < 0) {
        return kRefused;
    }
    const auto writer = mailbox.OpenWriter(folder->name);
    if (writer == nullptr) return kRefused;
    const int number = writer->nextRecordNumber();
    const int added = mailbox.AppendTo(*writer, record);
    if (added < 0) {
        mailbox.ReportFault(folder->name, added);
        return kRefused;
    }
    if (mailbox.Commit(*writer, folder->name) < 0) return kRefused;
    RemarkOnTree(context, *folder);
    return PrintWrittenMail(context, folder->name, number, record.localId);
}

int RefuseUnknown(CommandContext& context, const std::string& localId) {
    return context.Refuse({"識別子 {} のメールはありません。", "There is no mail of identifier {}."},
                          localId);
}

/// Puts the options into the mail that is there: what is not given stays.
int ReplaceFound(CommandContext& context, const MailOptions& options, const MailFolder& folder,
                 const std::string& localId, const MailRecord& given) {
    store::FolderReader reader;
    const int opened = reader.Open(folder.mailbox().FilesOf(folder.name));
    if (opened == -ENOENT) return RefuseUnknown(context, options.localId);
    if (opened < 0) {
        folder.mailbox().ReportFault(folder.name, opened);
        return kRefused;
    }
    const int number = reader.FindMail(localId);
    const bool found = number >= 0 && !store::IsDeleted(reader.IndexRecord(number));
    if (WasFaulty(folder, reader)) return kRefused;
    if (!found) return RefuseUnknown(context, options.localId);
    MailRecord record;
    const auto condition = reader.ReadMail(number, store::MAIL_BODY_MAX - store::kReadHeadroomBytes, record);
    if (WasFaulty(folder, reader)) return kRefused;
    if (condition != store::FolderReader::Condition::Whole && options.body.option->count() == 0) {
        return context.Refuse({"メール {} は壊れています。本文も指定してください。",
                               "Mail {} is damaged; give it a body as well."},
                              std::to_string(number));
    }
    Apply(options, given, record);
    record.localId = localId;
    if (folder.mailbox().ReplaceMail(folder.name, number, record) < 0) return kRefused;
    return PrintWrittenMail(context, folder.name, number, record.localId);
}

int Replace(CommandContext& context, const MailOptions& options) {
    const auto localId = context.LineValue("LOCALID", options.localId, kLongestId);
    if (!localId) return kRefused;
    if (localId->find_first_not_of(' ') == std::string::npos) return RefuseUnknown(context, options.localId);
    // The body may come from somebody who types it: nobody waits for that.
    MailRecord given;
    const int taken = TakeOptions(context, options, given);
    if (taken != kDone) return taken;
    auto folder = OpenMailFolder(context, options.folder);
    if (!folder || !LockForChange(context, *folder)) return kRefused;
    return ReplaceFound(context, options, *folder, *localId, given);
}

void AddMailOptions(CLI::App& command, CommandContext& context, MailOptions& options) {
    for (std::size_t at = 0; at < kHeaderOptions.size(); ++at) {
        const HeaderOption& header = kHeaderOptions[at];
        MailOptions::Value& value = options.header[at];
        value.option = command.add_option(header.option, value.typed, header.about.In(context.language()))
                           ->type_name(header.type);
    }
    options.body.option = AddBodyOption(command, context, options.body.typed);
}

}  // namespace

std::optional<std::string> MailBody(CommandContext& context, const std::string& file) {
    constexpr std::size_t kLongestBody = store::MAIL_BODY_MAX - store::kReadHeadroomBytes;
    auto body = context.TextFile(file, kLongestBody);
    if (!body) return std::nullopt;
    if (body->find(store::kTerminator) != std::string::npos) {
        static_cast<void>(context.Refuse(
            {"本文にメールの終わりの印があります。", "The body holds the mark that ends a mail."}));
        return std::nullopt;
    }
    // The file's reader finds the end within the limit or not at all.
    const std::size_t end = (body->ends_with('\n') ? 0 : 3) + store::kTerminator.size();
    if (body->size() + end <= kLongestBody) return body;
    static_cast<void>(
        context.Refuse({"本文が長すぎます。（{} バイトまで）", "The body is too long: at most {} bytes."},
                       std::to_string(kLongestBody - end)));
    return std::nullopt;
}

CLI::Option* AddBodyOption(CLI::App& command, CommandContext& context, std::string& file) {
    const Bilingual about = {"本文の UTF-8 ファイル（- は標準入力）",
                             "file of the body, UTF-8; - is standard input"};
    return command.add_option("--body", file, about.In(context.language()))->type_name("FILE");
}

int PrintWrittenMail(CommandContext& context, std::string_view folder, int number, std::string_view localId) {
    if (context.json) {
        return context.PrintJson(
            {{"folder", Utf8Bytes(folder)}, {"number", number}, {"localId", Utf8Bytes(localId)}});
    }
    return context.Print(std::to_string(number) + " " + Printable(localId) + "\n");
}

void AddMailWritingCommands(CLI::App& mail, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    auto addOptions = std::make_shared<MailOptions>();
    CLI::App* add = mail.add_subcommand("add", say({"メールを追加する", "Append a mail"}));
    add->add_option("FOLDER", addOptions->folder)->required()->type_name("");
    AddMailOptions(*add, context, *addOptions);
    add->callback([&context, addOptions] {
        context.run = [&context, addOptions] { return Add(context, *addOptions); };
    });

    auto replaceOptions = std::make_shared<MailOptions>();
    CLI::App* replace =
        mail.add_subcommand("replace", say({"メールをその場で置き換える", "Replace a mail in place"}));
    replace->add_option("FOLDER", replaceOptions->folder)->required()->type_name("");
    replace->add_option("LOCALID", replaceOptions->localId)->required()->type_name("");
    AddMailOptions(*replace, context, *replaceOptions);
    replace->callback([&context, replaceOptions] {
        context.run = [&context, replaceOptions] { return Replace(context, *replaceOptions); };
    });
}

}  // namespace postkite::cli
