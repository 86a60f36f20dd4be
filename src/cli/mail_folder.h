#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/command_context.h"
#include "store/folder_reader.h"

namespace postkite::cli {

/// A folder that a command works on, its bank open.
struct MailFolder {
    std::unique_ptr<Session> session;
    core::WorkspaceLock lock;  ///< held after `LockForChange`
    std::string name;          ///< base name, code page 932, as the tree spells it, else as its files do

    [[nodiscard]] store::Mailbox& mailbox() const { return session->program.mailbox(); }
    [[nodiscard]] store::Folders& folders() const { return session->program.folders(); }
};

/// Opens the folder with the base name that was typed in any letter case, whether the tree has it or not. One
/// of an older layout is converted, when the user wants it. Nothing where that fails; the user knows why.
[[nodiscard]] std::optional<MailFolder> OpenMailFolder(CommandContext& context, const std::string& typed);

/// Keeps everybody else out until `folder` is gone. False, and the user knows why, where that fails, or where the tree
/// no longer has the folder since it was opened: what was written would be found under no name.
[[nodiscard]] bool LockForChange(CommandContext& context, MailFolder& folder);

/// Opens the folder's mails for reading. 0; -ENOENT where it has none; -1 where that fails, or where it has been renamed or
/// deleted since it was opened, and the user knows why.
[[nodiscard]] int OpenReader(CommandContext& context, const MailFolder& folder, store::FolderReader& reader);

/// Opens a folder of the tree, named in any letter case.
[[nodiscard]] std::optional<MailFolder> OpenTreeFolder(CommandContext& context, const std::string& typed);

/// Whether all these mails are in the folder and not deleted; the user knows which one is not.
[[nodiscard]] bool AreThere(CommandContext& context, const MailFolder& folder,
                            const std::vector<int>& numbers);
/// The same for a reader, which has no mails where there was nothing to open.
[[nodiscard]] bool AreThere(CommandContext& context, const MailFolder& folder, store::FolderReader& reader,
                            const std::vector<int>& numbers);

/// Whether the disk failed while the reader looked at the list: what it says is not there may be there. The
/// user knows then.
[[nodiscard]] bool WasFaulty(const MailFolder& folder, const store::FolderReader& reader);

/// The whole text of a record's field as it stands, without the blanks that pad it, UTF-8.
[[nodiscard]] std::string FieldText(std::string_view field);

}  // namespace postkite::cli
