#pragma once

#include <string_view>

#include "core/workspace.h"

namespace postkite::core {

/// Appends `text`, code page 932, and CR LF to "error.log" in the working directory. Where that fails the text is
/// dropped.
void LogError(Workspace& workspace, std::string_view text);

}  // namespace postkite::core
