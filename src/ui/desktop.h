#pragma once

#include "app/program.h"
#include "core/file_system.h"
#include "core/workspace.h"
#include "store/folder_commands.h"
#include "ui/window_user_interface.h"

namespace postkite::ui {

/// What the windows and dialogs work with. Borrows everything; outlives them.
///
/// Nobody touches the engine while `ui.busy()`: it is in the middle of something then, and lets the windows breathe.
struct Desktop {
    core::Workspace& workspace;
    app::Program& program;
    WindowUserInterface& ui;
    core::FileSystem& fileSystem;

    /// Whether a mail is open in an editor, as the engine asks before it takes folders and mails away.
    [[nodiscard]] store::MailEditing editing() const { return store::MailEditing::No; }
};

}  // namespace postkite::ui
