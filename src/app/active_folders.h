#pragma once

#include <string>

#include "core/environments.h"
#include "core/settings.h"
#include "store/folder_commands.h"

namespace postkite::app {

/// The folders of the active connection environment, by their base names. One that the tree lacks would hide the
/// mails in it, so "Inbox" and "Outbox", which every tree has, stand in for it. Borrows everything.
class ActiveFolders {
  public:
    ActiveFolders(const core::Settings& settings, const core::Environments& environments,
                  store::Folders& folders)
        : settings_(&settings), environments_(&environments), folders_(&folders) {}

    /// Where incoming mail goes.
    [[nodiscard]] std::string Inbox() const;
    /// Where outgoing mail waits.
    [[nodiscard]] std::string Outbox() const;

  private:
    [[nodiscard]] std::string InTree(std::string core::Environment::*member,
                                     std::string_view otherwise) const;

    const core::Settings* settings_;
    const core::Environments* environments_;
    store::Folders* folders_;
};

}  // namespace postkite::app
