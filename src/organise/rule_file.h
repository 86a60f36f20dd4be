#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/positional_file.h"
#include "core/shift_jis.h"
#include "core/workspace.h"

/// Sorting rules as they are kept: "setting\filter.ini", code page 932, five lines a rule, CR LF behind each, in
/// the order in which the rules are tried:
///
///     1            state: the character's low bit says enabled, the next one automatic
///     Modems       name
///     Subject:     field, one of `kRuleFields`
///     modem        text that is looked for
///     Work#97      base name of the folder that mails go to
namespace postkite::organise {

inline constexpr std::string_view kRuleFile = "setting\\filter.ini";

/// What a rule can look at; as they stand in the file.
inline constexpr auto kRuleFields = []() consteval {
    using namespace core::literals;
    return std::to_array<std::string_view>(
        {"Address:", "To:", "From:", "Subject:", "Cc:", "Bcc:", "Attach:", "本文:"_sjis});
}
();

/// Bytes of a field, text or folder of a rule that can work.
inline constexpr std::size_t kLongestRulePart = 255;

struct SortingRule {
    bool enabled = true;
    bool automatic = false;
    std::string name;
    std::string field;   ///< one of `kRuleFields`, in any case of ASCII letters; a file may hold anything
    std::string text;    ///< what is looked for
    std::string folder;  ///< base name of the folder that mails go to

    bool operator==(const SortingRule&) const = default;
};

/// The one of `kRuleFields` that is `field` but for the case of ASCII letters.
[[nodiscard]] std::optional<std::string_view> RuleFieldOf(std::string_view field);

/// Calls `visit` for every rule of the file in order, one that can work or not, until it returns false. A file
/// that ends within a rule gives one that lacks the rest, if it has a name at least; its last line counts
/// without its line end too. Of a line no more than `kLongestPositionalLine` bytes, and nothing from a zero byte on,
/// are taken. Returns 0, also without a file, or the negated errno value of what kept it from being read.
[[nodiscard]] int VisitRules(const core::Workspace& workspace,
                             const std::function<bool(const SortingRule&)>& visit);

/// Reads every rule of the file. Returns as `VisitRules`.
[[nodiscard]] int ReadRules(const core::Workspace& workspace, std::vector<SortingRule>& rules);

/// Puts the rules in the place of the file `path`; the old file stays until the new one is whole, and is kept
/// beside under another name where it holds what is no rule's part. -EINVAL for a rule with a CR or zero byte in
/// it. Takes the lock.
[[nodiscard]] core::SaveOutcome SaveRules(core::Workspace& workspace, std::string_view path,
                                          std::span<const SortingRule> rules);

}  // namespace postkite::organise
