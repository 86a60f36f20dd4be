#pragma once

#include <optional>
#include <string>

#include "cli/command_context.h"
#include "core/environments.h"

namespace postkite::cli {

/// What a list shows in the place of a password.
inline constexpr std::string_view kHiddenPassword = "********";

/// What was typed as a value for a field of an environment, in code page 932. Nothing when the field cannot
/// hold it or it means nothing there; the user knows why. `what` names the value, UTF-8.
[[nodiscard]] std::optional<std::string> EnvironmentValue(CommandContext& context,
                                                          const core::RecordField<core::Environment>& field,
                                                          const std::string& what, const std::string& typed);

/// A whole decimal number of 32 bits; nothing, and the user knows why, when something else was typed.
[[nodiscard]] std::optional<std::int32_t> IntegerValue(CommandContext& context, const std::string& what,
                                                       const std::string& typed);

}  // namespace postkite::cli
