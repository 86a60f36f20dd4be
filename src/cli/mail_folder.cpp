#include "cli/mail_folder.h"

#include <cerrno>

#include "cli/application.h"
#include "store/conversion.h"
#include "store/folder_reader.h"
#include "store/index_record.h"

namespace postkite::cli {

namespace {

constexpr std::string_view kFolder = "FOLDER";
constexpr std::size_t kLongestName = 255;

std::optional<MailFolder> OpenBankFor(CommandContext& context, const std::string& typed) {
    auto name = context.LineValue(kFolder, typed, kLongestName);
    if (!name) return std::nullopt;
    auto session = context.OpenBank();
    if (session == nullptr) return std::nullopt;
    return MailFolder{std::move(session), std::move(*name)};
}

std::optional<MailFolder> UsableOrNothing(CommandContext& context, std::optional<MailFolder> folder) {
    if (folder && !store::Mailbox::IsUsableName(folder->name)) {
        static_cast<void>(context.Refuse(
            {"{} という名前のフォルダはファイルを持てません。", "A folder of the name {} can have no files."},
            Utf8Bytes(folder->name)));
        return std::nullopt;
    }
    return folder;
}

}  // namespace

std::optional<MailFolder> OpenMailFolder(CommandContext& context, const std::string& typed) {
    auto folder = UsableOrNothing(context, OpenBankFor(context, typed));
    if (folder && store::ConvertFolder(folder->mailbox(), folder->name) < 0) {
        static_cast<void>(
            context.Refuse({"フォルダ {} を開けません。", "The folder {} was not opened."}, typed));
        return std::nullopt;
    }
    return folder;
}

std::optional<MailFolder> OpenTreeFolder(CommandContext& context, const std::string& typed) {
    auto folder = OpenBankFor(context, typed);
    if (!folder) return folder;
    const store::Folder* found = folder->folders().tree().Find(folder->name);
    if (found == nullptr) {
        static_cast<void>(context.Refuse({"フォルダ {} はありません。", "There is no folder {}."}, typed));
        return std::nullopt;
    }
    folder->name = store::BaseNameOf(*found);
    return UsableOrNothing(context, std::move(folder));
}

bool AreThere(CommandContext& context, const MailFolder& folder, const std::vector<int>& numbers) {
    store::FolderReader reader;
    const int opened = reader.Open(folder.mailbox().FilesOf(folder.name));
    if (opened < 0 && opened != -ENOENT) {
        folder.mailbox().ReportFault(folder.name, opened);
        return false;
    }
    for (const int number : numbers) {
        const std::string_view record = opened == 0 ? reader.IndexRecord(number) : std::string_view();
        if (!record.empty() && !store::IsDeleted(record)) continue;
        static_cast<void>(context.Refuse(
            {"フォルダ {} に番号 {} のメールはありません。", "The folder {} has no mail of number {}."},
            Utf8Bytes(folder.name), std::to_string(number)));
        return false;
    }
    return true;
}

std::string FieldText(std::string_view field) {
    return Utf8Bytes(store::WithoutTrailingBlanks(field));
}

}  // namespace postkite::cli
