#include "cli/language.h"

namespace postkite::cli {

std::string Bilingual::In(core::Language language, std::initializer_list<std::string_view> values) const {
    std::string text(language == core::Language::Japanese ? japanese : english);
    std::size_t from = 0;
    for (const std::string_view value : values) {
        const std::size_t place = text.find("{}", from);
        if (place == std::string::npos) break;
        text.replace(place, 2, value);
        from = place + value.size();
    }
    return text;
}

}  // namespace postkite::cli
