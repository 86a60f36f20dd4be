#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "core/file_system.h"

namespace postkite::store {

/// Where in a text the mails with these identifiers begin; nothing for one that has not been found.
using TextPlaces = std::map<std::string, std::optional<std::uint64_t>, std::less<>>;

/// Looks for all of them in one pass over the text, whatever leads to them. A mail is known by its
/// identifier behind a flag line; one that is marked deleted counts only where there is no other. Returns 0
/// or a negated errno value.
[[nodiscard]] int FindTexts(core::File& text, TextPlaces& places);

}  // namespace postkite::store
