#pragma once

#include <string>
#include <vector>

#include "store/folder_commands.h"

namespace postkite::ui {

/// The base names of the folders of the open bank that mails can go to, in tree order, without the root.
[[nodiscard]] std::vector<std::string> FolderChoice(store::Folders& folders);

}  // namespace postkite::ui
