#include "ui/dialogs/folder_choice.h"

namespace postkite::ui {

std::vector<std::string> FolderChoice(store::Folders& folders) {
    std::vector<std::string> names;
    folders.tree().Walk([&names](const store::Folder& folder, const std::string& baseName) {
        if (folder.parent != nullptr && store::Mailbox::IsUsableName(baseName)) names.push_back(baseName);
        return true;
    });
    return names;
}

}  // namespace postkite::ui
