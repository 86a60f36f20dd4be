#include "app/active_folders.h"

#include <cstddef>

#include "store/folder_tree.h"
#include "store/mailbox.h"

namespace postkite::app {

std::string ActiveFolders::InTree(std::string core::Environment::*member, std::string_view otherwise) const {
    const std::int32_t number = settings_->currentId;
    const auto slot = static_cast<std::size_t>(number);
    if (number < 0 || slot >= core::kEnvironmentCount) return std::string(otherwise);
    const store::Folder* folder = folders_->tree().Find(environments_->entries[slot].*member);
    if (folder == nullptr || folder->parent == nullptr) return std::string(otherwise);
    std::string baseName = store::BaseNameOf(*folder);
    return store::Mailbox::IsUsableName(baseName) ? baseName : std::string(otherwise);
}

std::string ActiveFolders::Inbox() const {
    return InTree(&core::Environment::inbox, store::kInbox);
}

std::string ActiveFolders::Outbox() const {
    return InTree(&core::Environment::outbox, store::kOutbox);
}

}  // namespace postkite::app
