#pragma once

#include <string>

#include "core/user_interface.h"

namespace postkite::core {

/// What a negated errno value means, as a short phrase for a person, in code page 932.
[[nodiscard]] std::string DescribeError(int code, Language language);

}  // namespace postkite::core
