#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/command_context.h"

namespace postkite::cli {

/// A folder that a command works on, its bank open.
struct MailFolder {
    std::unique_ptr<Session> session;
    std::string name;  ///< base name, code page 932

    [[nodiscard]] store::Mailbox& mailbox() const { return session->program.mailbox(); }
    [[nodiscard]] store::Folders& folders() const { return session->program.folders(); }
};

/// Opens the folder with the base name that was typed, whether the tree has it or not. One of an older layout
/// is converted, when the user wants it. Nothing where that fails; the user knows why.
[[nodiscard]] std::optional<MailFolder> OpenMailFolder(CommandContext& context, const std::string& typed);

/// Opens a folder of the tree, named in any letter case.
[[nodiscard]] std::optional<MailFolder> OpenTreeFolder(CommandContext& context, const std::string& typed);

/// Whether all these mails are in the folder and not deleted; the user knows which one is not.
[[nodiscard]] bool AreThere(CommandContext& context, const MailFolder& folder,
                            const std::vector<int>& numbers);

/// The whole text of a record's field as it stands, without the blanks that pad it, UTF-8.
[[nodiscard]] std::string FieldText(std::string_view field);

}  // namespace postkite::cli
