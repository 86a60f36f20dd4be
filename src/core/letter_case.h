#pragma once

#include <string>
#include <string_view>

namespace postkite::core {

/// Whether two code page 932 texts are equal but for the case of their letters, as the names of files and
/// folders are compared: Latin letters of either width, Greek and Cyrillic ones.
[[nodiscard]] bool EqualIgnoringCase(std::string_view left, std::string_view right) noexcept;

/// The text in small letters: the same for all texts that are equal but for the case of their letters.
[[nodiscard]] std::string SmallLetters(std::string_view text);

}  // namespace postkite::core
