#include "cli/commands/folders_command.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <nlohmann/json.hpp>

#include "cli/application.h"
#include "cli/mail_folder.h"
#include "core/error_text.h"
#include "store/conversion.h"
#include "store/folder_properties.h"
#include "store/index_record.h"
#include "store/older_layouts.h"

namespace postkite::cli {

namespace {

using store::FolderLayout;
using store::MailEditing;

/// How many mails a folder has.
struct MailCounts {
    int mails = 0;
    int unread = 0;
};

/// Counts the mails that are not deleted. Returns 0 or a negated errno value.
int CountMails(store::Mailbox& mailbox, const std::string& folder, MailCounts& counts) {
    counts = MailCounts();
    if (!store::Mailbox::IsUsableName(folder)) return 0;
    const store::FolderFiles files = mailbox.FilesOf(folder);
    FolderLayout layout{};
    int result = store::DetectLayout(files, layout);
    if (result == 0 && layout != FolderLayout::Current) {
        store::OlderFolderReader older;
        result = older.Open(files, layout);
        if (result < 0) return result;
        const int count = older.CountMails();
        counts.mails = std::max(count, 0);
        return std::min(count, 0);
    }
    store::FolderReader reader;
    if (result == 0) result = reader.Open(files);
    if (result < 0) return result == -ENOENT ? 0 : result;
    for (int number = 0;; ++number) {
        const std::string_view record = reader.IndexRecord(number);
        if (record.empty()) return reader.error();
        if (store::IsDeleted(record)) continue;
        ++counts.mails;
        if (store::FieldOf(record, store::index_field::kFlags)[store::flag::kRead] == 'r') ++counts.unread;
    }
}

int List(CommandContext& context) {
    const auto session = context.OpenBank();
    if (session == nullptr) return kRefused;
    store::Mailbox& mailbox = session->program.mailbox();
    const auto listings = session->workspace.KeepListings();
    const store::FoldersWithFiles withFiles(session->workspace, mailbox.bankDirectory());
    nlohmann::ordered_json document = nlohmann::ordered_json::array();
    std::string text;
    bool whole = true;
    session->program.folders().tree().Walk([&](const store::Folder& folder, const std::string& baseName) {
        MailCounts counts;
        const int counted = withFiles.Contains(baseName) ? CountMails(mailbox, baseName, counts) : 0;
        if (counted < 0) {
            mailbox.ReportFault(baseName, counted);
            whole = false;
        }
        const int depth = store::DepthOf(folder);
        if (context.json) {
            document.push_back({{"depth", depth},
                                {"name", Utf8Bytes(folder.name)},
                                {"baseName", Utf8Bytes(baseName)},
                                {"state", folder.state},
                                {"mails", counts.mails},
                                {"unread", counts.unread}});
            return true;
        }
        text += std::string(static_cast<std::size_t>(depth) * 2, ' ') + Printable(folder.name) + "  " +
                std::to_string(counts.mails) + " (" + std::to_string(counts.unread) + ")";
        if (baseName != folder.name) text += "  " + Printable(baseName);
        text += "\n";
        return true;
    });
    const int printed = context.json ? context.PrintJson(document) : context.Print(text);
    return whole ? printed : kRefused;
}

/// The exit status for what `Folders` returned.
int StatusOf(CommandContext& context, int result, const std::string& name) {
    if (result != store::kNameNotTaken) return result < 0 ? kRefused : kDone;
    return context.Refuse({"フォルダの名前を {} にはできません。", "A folder cannot have the name {}."},
                          "\"" + name + "\"");
}

/// What a command with one or two typed names does. `second` is empty where there is none.
using Action = int (*)(CommandContext& context, store::Folders& folders, const std::string& first,
                       const std::string& second, const std::string& typedSecond);

int WithNames(CommandContext& context, const std::string& first, const std::string& second, Action action) {
    constexpr std::size_t kLongestTyped = 4096;
    const auto firstName = context.LineValue("FOLDER", first, kLongestTyped);
    const auto secondName = firstName ? context.LineValue("NAME", second, kLongestTyped) : std::nullopt;
    if (!secondName) return kRefused;
    const auto session = context.OpenBank();
    if (session == nullptr) return kRefused;
    return action(context, session->program.folders(), *firstName, *secondName, second);
}

int New(CommandContext& context, store::Folders& folders, const std::string& parent, const std::string& name,
        const std::string& typed) {
    return StatusOf(context, folders.NewFolder(parent, name), typed);
}

int Rename(CommandContext& context, store::Folders& folders, const std::string& folder,
           const std::string& name, const std::string& typed) {
    return StatusOf(context, folders.RenameFolder(folder, name, MailEditing::No), typed);
}

int Move(CommandContext& context, store::Folders& folders, const std::string& folder,
         const std::string& parent, const std::string& typed) {
    return StatusOf(context, folders.MoveFolder(folder, parent, MailEditing::No), typed);
}

int Delete(CommandContext& context, store::Folders& folders, const std::string& folder, const std::string&,
           const std::string& typed) {
    return StatusOf(context, folders.DeleteFolder(folder, MailEditing::No), typed);
}

int Reset(CommandContext& context) {
    const auto session = context.OpenBank();
    if (session == nullptr) return kRefused;
    return session->program.folders().ResetFolderTree() < 0 ? kRefused : kDone;
}

int Convert(CommandContext& context, const std::string& typed) {
    const auto folder = OpenTreeFolder(context, typed);
    if (!folder) return kRefused;
    FolderLayout layout{};
    // What keeps it from being found out keeps it from being converted, and is told then.
    const int detected = store::DetectLayout(folder->mailbox().FilesOf(folder->name), layout);
    if (store::ConvertFolder(folder->mailbox(), folder->name) < 0) return kRefused;
    if (detected == 0 && layout == FolderLayout::Current) {
        context.Remark({"フォルダ {} は変換の必要がありません。", "The folder {} needs no conversion."},
                       Utf8Bytes(folder->name));
    }
    return kDone;
}

/// What is to become of a folder's properties, as it was typed.
struct PropertyOptions {
    std::string folder;
    std::string sound;
    std::string address;
    std::string templateFile;
    CLI::Option* soundOption = nullptr;
    CLI::Option* addressOption = nullptr;
    CLI::Option* templateOption = nullptr;
};

int PrintProperties(CommandContext& context, const MailFolder& folder,
                    const store::FolderProperties& properties) {
    if (context.json) {
        return context.PrintJson({{"folder", Utf8Bytes(folder.name)},
                                  {"sound", Utf8Bytes(properties.sound)},
                                  {"address", Utf8Bytes(properties.defaultAddress)},
                                  {"template", Utf8Bytes(properties.replyTemplate)}});
    }
    return context.Print("sound: " + Printable(properties.sound) +
                         "\naddress: " + Printable(properties.defaultAddress) + "\ntemplate:\n" +
                         Printable(properties.replyTemplate, LineEnds::Kept) + "\n");
}

int RefuseProperties(CommandContext& context, int error) {
    return context.Refuse({"フォルダのプロパティを扱えません。（{}）",
                           "The properties of the folder cannot be read or written: {}."},
                          Utf8Bytes(core::DescribeError(error, context.language())));
}

int Properties(CommandContext& context, const PropertyOptions& options) {
    constexpr std::size_t kLongest = store::kLongestPropertyBytes;
    const auto sound = context.LineValue("--sound", options.sound, kLongest);
    const auto address = sound ? context.LineValue("--address", options.address, kLongest) : std::nullopt;
    if (!address) return kRefused;
    const bool newTemplate = options.templateOption->count() > 0;
    const auto replyTemplate =
        newTemplate ? context.TextFile(options.templateFile, kLongest) : std::optional<std::string>("");
    if (!replyTemplate) return kRefused;

    auto folder = OpenTreeFolder(context, options.folder);
    if (!folder) return kRefused;
    const bool changes =
        newTemplate || options.soundOption->count() > 0 || options.addressOption->count() > 0;
    if (changes && !LockForChange(context, *folder)) return kRefused;
    const store::FolderFiles files = folder->mailbox().FilesOf(folder->name);
    store::FolderProperties properties;
    int result = store::ReadFolderProperties(files, properties);
    if (result < 0) return RefuseProperties(context, result);
    if (!changes) return PrintProperties(context, *folder, properties);
    if (options.soundOption->count() > 0) properties.sound = *sound;
    if (options.addressOption->count() > 0) properties.defaultAddress = *address;
    if (newTemplate) properties.replyTemplate = *replyTemplate;
    result = store::WriteFolderProperties(files, properties);
    return result < 0 ? RefuseProperties(context, result) : kDone;
}

/// What is typed behind a command below `folders`, and said of it.
struct Named {
    const char* command;
    Bilingual about;
    const char* first;
    const char* second;  ///< nullptr where there is none
    Action action;
};

void AddNamed(CLI::App& folders, CommandContext& context, const Named& named) {
    auto first = std::make_shared<std::string>();
    auto second = std::make_shared<std::string>();
    CLI::App* command = folders.add_subcommand(named.command, named.about.In(context.language()));
    command->add_option(named.first, *first)->required()->type_name("");
    if (named.second != nullptr) command->add_option(named.second, *second)->required()->type_name("");
    command->callback([&context, first, second, action = named.action] {
        context.run = [&context, first, second, action] {
            return WithNames(context, *first, *second, action);
        };
    });
}

void AddProperties(CLI::App& folders, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    auto options = std::make_shared<PropertyOptions>();
    CLI::App* properties = folders.add_subcommand(
        "properties", say({"フォルダのプロパティを表示・変更する", "Show or change a folder's properties"}));
    properties->add_option("FOLDER", options->folder)->required()->type_name("");
    options->soundOption =
        properties->add_option("--sound", options->sound, say({"サウンドファイル", "the sound file"}))
            ->type_name("F");
    options->addressOption =
        properties
            ->add_option("--address", options->address,
                         say({"新しいメールの追加アドレス", "extra addresses of new mails"}))
            ->type_name("A");
    options->templateOption = properties
                                  ->add_option("--template", options->templateFile,
                                               say({"返信ヘッダのテンプレートのファイル（- は標準入力）",
                                                    "file of the reply template; - is standard input"}))
                                  ->type_name("FILE");
    properties->callback(
        [&context, options] { context.run = [&context, options] { return Properties(context, *options); }; });
}

}  // namespace

void AddFoldersCommand(CLI::App& application, CommandContext& context) {
    const auto say = [&context](const Bilingual& text) { return text.In(context.language()); };
    CLI::App* folders =
        application.add_subcommand("folders", say({"フォルダの一覧と操作", "List and change folders"}));
    folders->require_subcommand(0, 1);
    folders->callback([folders, &context] {
        if (folders->get_subcommands().empty()) context.run = [&context] { return List(context); };
    });
    const Named commands[] = {
        {"new", {"フォルダを作る", "Make a folder"}, "PARENT", "NAME", New},
        {"rename", {"フォルダの名前を変える", "Rename a folder"}, "FOLDER", "NAME", Rename},
        {"move",
         {"フォルダを別のフォルダの下へ移す", "Move a folder below another one"},
         "FOLDER",
         "PARENT",
         Move},
        {"delete",
         {"フォルダを削除する（ファイルは残る）", "Delete a folder; its files stay"},
         "FOLDER",
         nullptr,
         Delete},
    };
    for (const Named& command : commands) {
        AddNamed(*folders, context, command);
    }
    folders->add_subcommand("reset", say({"フォルダを初期状態に戻す", "Put the default tree back"}))
        ->callback([&context] { context.run = [&context] { return Reset(context); }; });

    auto folder = std::make_shared<std::string>();
    CLI::App* convert = folders->add_subcommand(
        "convert", say({"古い形式のフォルダを変換する", "Convert a folder of an older layout"}));
    convert->add_option("FOLDER", *folder)->required()->type_name("");
    convert->callback(
        [&context, folder] { context.run = [&context, folder] { return Convert(context, *folder); }; });
    AddProperties(*folders, context);
}

}  // namespace postkite::cli
