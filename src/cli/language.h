#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "core/user_interface.h"

namespace postkite::cli {

/// A text of the terminal programs in both languages, UTF-8.
struct Bilingual {
    std::string_view japanese;
    std::string_view english;

    /// The text in `language`, with each "{}" replaced by the next of `values`.
    [[nodiscard]] std::string In(core::Language language,
                                 std::initializer_list<std::string_view> values = {}) const;
};

}  // namespace postkite::cli
