#include "cli/mail_folder.h"

#include <cerrno>

#include "cli/application.h"
#include "core/letter_case.h"
#include "store/conversion.h"
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
    return MailFolder{std::move(session), {}, std::move(*name)};
}

/// The spelling of the folder's name that a file of it, with an extension of three letters, has on the disk.
std::string StemOnDisk(const MailFolder& folder, const std::string& file) {
    constexpr std::size_t kExtensionBytes = 4;
    const std::string spelled = folder.session->workspace.AsOnDisk(file);
    return spelled.substr(spelled.size() - kExtensionBytes - folder.name.size(), folder.name.size());
}

/// Every file of a folder, those of a moment too, has to be named after the same spelling.
std::string SpellingOf(const MailFolder& folder) {
    if (core::EqualIgnoringCase(folder.name, store::kClipboardFolder))
        return std::string(store::kClipboardFolder);
    const store::Folder* inTree = folder.folders().tree().Find(folder.name);
    if (inTree != nullptr) return store::BaseNameOf(*inTree);
    const store::FolderFiles files = folder.mailbox().FilesOf(folder.name);
    const std::string spelled = StemOnDisk(folder, files.index);
    return spelled != folder.name ? spelled : StemOnDisk(folder, files.text);
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

int RefuseVanished(CommandContext& context, const MailFolder& folder) {
    static_cast<void>(context.Refuse({"フォルダ {} はほかの処理によって名前を変更されたか削除されました。",
                                      "The folder {} was renamed or deleted meanwhile."},
                                     Utf8Bytes(folder.name)));
    return -1;
}

}  // namespace

std::optional<MailFolder> OpenMailFolder(CommandContext& context, const std::string& typed) {
    auto folder = UsableOrNothing(context, OpenBankFor(context, typed));
    if (folder) folder->name = SpellingOf(*folder);
    if (folder && store::ConvertFolder(folder->mailbox(), folder->name) < 0) {
        static_cast<void>(
            context.Refuse({"フォルダ {} を開けません。", "The folder {} was not opened."}, typed));
        return std::nullopt;
    }
    return folder;
}

int OpenReader(CommandContext& context, const MailFolder& folder, store::FolderReader& reader) {
    const bool wasInTree = folder.folders().tree().Find(folder.name) != nullptr;
    const int opened = folder.mailbox().OpenReader(reader, folder.name);
    if (opened == -ENOENT && wasInTree) {
        if (folder.folders().LoadFolderTree() < 0) return -1;
        return folder.folders().tree().Find(folder.name) != nullptr ? opened
                                                                    : RefuseVanished(context, folder);
    }
    if (opened == 0 || opened == -ENOENT) return opened;
    folder.mailbox().ReportFault(folder.name, opened);
    return -1;
}

bool LockForChange(CommandContext& context, MailFolder& folder) {
    const bool wasInTree = folder.folders().tree().Find(folder.name) != nullptr;
    const int locked = folder.session->workspace.Lock(true, folder.lock);
    if (locked < 0) {
        folder.mailbox().ReportFault(folder.name, locked);
        return false;
    }
    if (folder.folders().LoadFolderTree() < 0) return false;
    if (!wasInTree || folder.folders().tree().Find(folder.name) != nullptr) return true;
    return RefuseVanished(context, folder) == 0;
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
    const int opened = OpenReader(context, folder, reader);
    return (opened == 0 || opened == -ENOENT) && AreThere(context, folder, reader, numbers);
}

bool AreThere(CommandContext& context, const MailFolder& folder, store::FolderReader& reader,
              const std::vector<int>& numbers) {
    for (const int number : numbers) {
        const std::string_view record = reader.IndexRecord(number);
        if (!record.empty() && !store::IsDeleted(record)) continue;
        if (WasFaulty(folder, reader)) return false;
        static_cast<void>(context.Refuse(
            {"フォルダ {} に番号 {} のメールはありません。", "The folder {} has no mail of number {}."},
            Utf8Bytes(folder.name), std::to_string(number)));
        return false;
    }
    return true;
}

bool WasFaulty(const MailFolder& folder, const store::FolderReader& reader) {
    const int error = reader.error();
    if (error < 0) folder.mailbox().ReportFault(folder.name, error);
    return error < 0;
}

std::string FieldText(std::string_view field) {
    return Utf8Bytes(store::WithoutTrailingBlanks(field));
}

}  // namespace postkite::cli
