#pragma once

#include <string>

#include "core/clock.h"
#include "core/settings.h"
#include "core/user_interface.h"
#include "core/workspace.h"
#include "store/folder_commands.h"
#include "store/mailbox.h"

namespace postkite::analyse {

/// What an analyser works with; everything is borrowed.
struct Analysis {
    core::Workspace& workspace;
    const core::Settings& settings;
    store::Mailbox& mailbox;
    store::Folders& folders;
    core::UserInterface& ui;
    const core::Clock& clock;
    std::string inbox;           ///< base name of the folder that mails go to where no rule says otherwise
    bool resultMessages = true;  ///< false: no result messages, whatever `AUTOMODE` says
};

}  // namespace postkite::analyse
