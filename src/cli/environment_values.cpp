#include "cli/environment_values.h"

#include <charconv>
#include <limits>

namespace postkite::cli {

namespace {

using core::Environment;

bool AllDigits(std::string_view text) {
    return text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// Why the value means nothing for the field; nullptr when it means something.
const Bilingual* Objection(const core::RecordField<Environment>& field, const std::string& value) {
    static constexpr Bilingual kRoute = {"{} は 0 から 9 までの数字 1 文字で指定してください。",
                                         "{} must be one digit, 0 to 9."};
    static constexpr Bilingual kSpeed = {"{} は数字で指定してください。（bit/s）",
                                         "{} must be a number (bit/s)."};
    static constexpr Bilingual kDialling = {"{} は PB または DP で指定してください。",
                                            "{} must be PB (tone) or DP (pulse)."};
    if (field.member == &Environment::route && !(value.size() == 1 && AllDigits(value))) return &kRoute;
    if (field.member == &Environment::speed && !AllDigits(value)) return &kSpeed;
    if (field.member == &Environment::dialling && value != "PB" && value != "DP") return &kDialling;
    return nullptr;
}

}  // namespace

std::optional<std::string> EnvironmentValue(CommandContext& context,
                                            const core::RecordField<Environment>& field,
                                            const std::string& what, const std::string& typed) {
    auto value = context.LineValue(what, typed, field.longest);
    if (!value) return std::nullopt;
    const Bilingual* objection = Objection(field, *value);
    if (objection == nullptr) return value;
    static_cast<void>(context.Refuse(*objection, what));
    return std::nullopt;
}

std::optional<std::int32_t> IntegerValue(CommandContext& context, const std::string& what,
                                         const std::string& typed) {
    std::int32_t value = 0;
    const char* end = typed.data() + typed.size();
    const auto [rest, error] = std::from_chars(typed.data(), end, value);
    if (error == std::errc() && rest == end) return value;
    static_cast<void>(context.Refuse({"{} の値は {} から {} までの整数で指定してください。",
                                      "The value of {} must be a whole number from {} to {}."},
                                     what, std::to_string(std::numeric_limits<std::int32_t>::min()),
                                     std::to_string(std::numeric_limits<std::int32_t>::max())));
    return std::nullopt;
}

}  // namespace postkite::cli
