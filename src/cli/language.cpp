#include "cli/language.h"

#include <optional>

namespace postkite::cli {

core::Language LanguageOf(const Console& console) {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const std::optional<std::string> value = console.variable(name);
        if (!value) continue;
        const std::string_view locale = std::string_view(*value).substr(0, value->find_first_of("._@"));
        // The locales without a language are what a machine has where nobody has chosen one.
        const bool chosen = locale != "C" && locale != "POSIX" && locale != "ja";
        return chosen ? core::Language::English : core::Language::Japanese;
    }
    return core::Language::Japanese;
}

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
