#include "organise/rule_file.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include "core/line_reader.h"

namespace postkite::organise {

namespace {

constexpr unsigned kEnabledBit = 1;
constexpr unsigned kAutomaticBit = 2;
constexpr std::size_t kLinesARule = 5;

bool EqualInAscii(std::string_view left, std::string_view right) {
    const auto small = [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
    };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&small](char one, char other) { return small(one) == small(other); });
}

/// A LF moves nothing, and old files may hold one.
bool IsLine(std::string_view text) {
    return text.find_first_of(std::string_view("\r\0", 2)) == std::string_view::npos;
}

/// Takes the next line, the last one without its end too. False where there is none.
bool TakeLine(core::LineReader& reader, std::string& value) {
    std::string line;
    const bool whole = core::ReadLogLine(reader, line) == 0;
    if (!whole && (reader.error() < 0 || reader.cutLineBytes() == 0)) return false;
    value = core::ValueOfLine(line, core::kLongestPositionalLine, false);
    return true;
}

/// False where the file has no further rule.
bool TakeRule(core::LineReader& reader, SortingRule& rule) {
    rule = SortingRule();
    std::string state;
    std::string* const lines[kLinesARule] = {&state, &rule.name, &rule.field, &rule.text, &rule.folder};
    std::size_t taken = 0;
    while (taken < kLinesARule && TakeLine(reader, *lines[taken]))
        ++taken;
    const unsigned bits = state.empty() ? 0 : static_cast<unsigned char>(state.front());
    rule.enabled = (bits & kEnabledBit) != 0;
    rule.automatic = (bits & kAutomaticBit) != 0;
    return taken == kLinesARule || !rule.name.empty();
}

int VisitRules(core::File& file, const std::function<bool(const SortingRule&)>& visit) {
    core::LineReader reader(file, core::kLongestPositionalLine);
    SortingRule rule;
    while (TakeRule(reader, rule)) {
        if (!visit(rule)) break;
    }
    return reader.error();
}

std::string FormatRules(std::span<const SortingRule> rules) {
    std::string bytes;
    for (const SortingRule& rule : rules) {
        const unsigned bits = (rule.enabled ? kEnabledBit : 0) | (rule.automatic ? kAutomaticBit : 0);
        core::AppendValue(bytes, std::to_string(bits), false);
        for (const std::string* part : {&rule.name, &rule.field, &rule.text, &rule.folder})
            core::AppendValue(bytes, *part, false);
    }
    return bytes;
}

}  // namespace

std::optional<std::string_view> RuleFieldOf(std::string_view field) {
    for (const std::string_view known : kRuleFields) {
        if (EqualInAscii(field, known)) return known;
    }
    return std::nullopt;
}

int VisitRules(const core::Workspace& workspace, const std::function<bool(const SortingRule&)>& visit) {
    std::unique_ptr<core::File> file;
    const int opened = workspace.Open(kRuleFile, core::OpenMode::Read, file);
    if (opened < 0) return opened == -ENOENT ? 0 : opened;
    return VisitRules(*file, visit);
}

int ReadRules(const core::Workspace& workspace, std::vector<SortingRule>& rules) {
    rules.clear();
    return VisitRules(workspace, [&rules](const SortingRule& rule) {
        rules.push_back(rule);
        return true;
    });
}

core::SaveOutcome SaveRules(core::Workspace& workspace, std::string_view path,
                            std::span<const SortingRule> rules) {
    const bool fit = std::all_of(rules.begin(), rules.end(), [](const SortingRule& rule) {
        return IsLine(rule.name) && IsLine(rule.field) && IsLine(rule.text) && IsLine(rule.folder);
    });
    core::WorkspaceLock lock;
    const int result = fit ? workspace.Lock(true, lock) : -EINVAL;
    if (result < 0) return {result, {}};
    return core::ReplacePositionalFile(workspace, path, FormatRules(rules), [](core::File& old) {
        std::vector<SortingRule> read;
        const auto keep = [&read](const SortingRule& rule) {
            read.push_back(rule);
            return true;
        };
        return VisitRules(old, keep) == 0 ? FormatRules(read) : std::string();
    });
}

}  // namespace postkite::organise
