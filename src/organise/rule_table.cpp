#include "organise/rule_table.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "core/error_text.h"
#include "core/shift_jis.h"
#include "store/folder_tree.h"

namespace postkite::organise {

using namespace core::literals;

namespace {

constexpr char kReceived = 'R';

/// Makes a rule ready to work: whether it can.
bool Accept(store::FolderTree& tree, SortingRule& rule) {
    for (const std::string* part : {&rule.field, &rule.text, &rule.folder}) {
        if (part->empty() || part->size() > kLongestRulePart) return false;
    }
    const auto field = RuleFieldOf(rule.field);
    const store::Folder* folder = tree.Find(rule.folder);
    // The root has no line in the list of folders that rules can have as their targets.
    if (!field || folder == nullptr || folder->parent == nullptr) return false;
    rule.field = *field;
    rule.folder = store::BaseNameOf(*folder);
    return store::Mailbox::IsUsableName(rule.folder);
}

bool HasBit(const SortingRule& rule, int mask) {
    return ((mask & kEnabledRules) != 0 && rule.enabled) || ((mask & kAutomaticRules) != 0 && rule.automatic);
}

void ReportUnreadable(core::UserInterface& ui, int error) {
    const bool japanese = ui.language() == core::Language::Japanese;
    std::string text(kRuleFile);
    text += japanese ? " を読み込めませんでした。（"_sjis : " could not be read: "_sjis;
    text += core::DescribeError(error, ui.language());
    text += japanese ? "）"_sjis : "."_sjis;
    ui.ShowMessage(core::kProductName, text, core::MessageIcon::Stop);
}

/// Takes the next line off `text`.
std::string_view TakeLine(std::string_view& text) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end);
    text.remove_prefix(text.starts_with("\r\n") ? 2 : text.empty() ? 0 : 1);
    return line;
}

/// The one line with which the host announces a mail: the sender, a date in its fixed columns.
bool IsHostHeaderLine(std::string_view line) {
    constexpr std::size_t kBytes = 54;
    return line.size() == kBytes && line[39] == ' ' && line[42] == '/' && line[45] == '/' &&
           line[48] == ' ' && line[51] == ':';
}

/// The length of the name in front of a head line's ":", or of the "From" that some gateways begin with and put
/// no ":" behind; 0 where the line is none.
std::size_t HeadNameBytes(std::string_view line) {
    constexpr std::string_view kFrom = "From ";
    if (line.starts_with(kFrom)) return kFrom.size() - 1;
    const std::size_t end = line.find(':');
    if (end == std::string_view::npos) return 0;
    const bool isName = std::all_of(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(end),
                                    [](char byte) { return byte > ' ' && byte <= '~'; });
    return isName ? end : 0;
}

bool Continues(std::string_view line) {
    return line.starts_with(' ') || line.starts_with('\t');
}

}  // namespace

std::string RecipientsOf(std::string_view body) {
    std::string_view left = body.substr(0, kLongestMailHead);
    std::string_view rest = left;
    if (IsHostHeaderLine(TakeLine(rest))) {
        TakeLine(rest);
        left = rest;
    }
    left.remove_prefix(std::min(left.find_first_not_of("\r\n"), left.size()));
    while (!left.empty()) {
        const std::string_view line = TakeLine(left);
        const std::size_t nameBytes = HeadNameBytes(line);
        if (nameBytes == 0) return {};
        std::string value;
        const bool found = ToCapitals(line.substr(0, nameBytes)) == "TO";
        if (found) value = line.substr(std::min(line.find_first_not_of(" \t", nameBytes + 1), line.size()));
        while (Continues(left)) {
            const std::string_view continuation = TakeLine(left);
            if (found) value += continuation;
        }
        if (found) return value;
    }
    return {};
}

std::vector<RuleTable::Searched> RuleTable::SearchedBy(std::string_view field) {
    if (field == "Address:") return {AddressOfReceived, AddressOfOthers};
    if (field == "To:") return {AddressOfOthers, Recipients};
    if (field == "From:") return {AddressOfReceived};
    if (field == "Subject:") return {Subject};
    if (field == "Cc:") return {Cc};
    if (field == "Bcc:") return {Bcc};
    if (field == "Attach:") return {Attach};
    return {Body};
}

void RuleTable::PrepareSearch(const core::Settings& settings) {
    const LetterCase letterCase = settings.distinguishCase == 0 ? LetterCase::Ignored : LetterCase::Counts;
    std::array<std::vector<PatternSet::Pattern>, kSearchedTexts> patterns;
    for (std::size_t place = 0; place < rules_.size(); ++place) {
        for (const Searched searched : SearchedBy(rules_[place].rule.field))
            patterns[searched].push_back({static_cast<int>(place), rules_[place].rule.text});
    }
    for (std::size_t searched = 0; searched < kSearchedTexts; ++searched)
        patterns_[searched] = PatternSet(patterns[searched], letterCase);
}

bool RuleTable::AddIfItCanWork(store::FolderTree& tree, int number, const SortingRule& rule) {
    SortingRule accepted = rule;
    if (Accept(tree, accepted)) rules_.push_back({number, std::move(accepted)});
    return rules_.size() < kMostRules;
}

int RuleTable::Load(store::Folders& folders, const core::Settings& settings,
                    const std::function<bool(int number, const SortingRule&)>& wanted) {
    rules_.clear();
    folders.WriteFolderList();
    int number = 0;
    const int read = VisitRules(folders.workspace(), [&](const SortingRule& rule) {
        const int itsNumber = number++;
        return !wanted(itsNumber, rule) || AddIfItCanWork(folders.tree(), itsNumber, rule);
    });
    if (read < 0) {
        rules_.clear();
        ReportUnreadable(folders.ui(), read);
    }
    PrepareSearch(settings);
    return read < 0 ? -1 : 0;
}

int RuleTable::LoadRules(store::Folders& folders, const core::Settings& settings, int mask) {
    return Load(folders, settings, [mask](int, const SortingRule& rule) { return HasBit(rule, mask); });
}

void RuleTable::TakeRules(store::Folders& folders, const core::Settings& settings,
                          std::span<const SortingRule> rules, int mask) {
    rules_.clear();
    folders.WriteFolderList();
    int number = 0;
    for (const SortingRule& rule : rules) {
        if (HasBit(rule, mask) && !AddIfItCanWork(folders.tree(), number, rule)) break;
        ++number;
    }
    PrepareSearch(settings);
}

int RuleTable::LoadSingleRule(store::Folders& folders, const core::Settings& settings, int number) {
    const int loaded =
        Load(folders, settings, [number](int inFile, const SortingRule&) { return inFile == number; });
    return loaded < 0 || rules_.empty() ? -1 : 0;
}

std::size_t RuleTable::bodyBytesLookedAt() const {
    constexpr int kAny = std::numeric_limits<int>::max();
    if (patterns_[Body].hasBelow(kAny)) return store::MAIL_BODY_MAX;
    return patterns_[Recipients].hasBelow(kAny) ? kLongestMailHead : 0;
}

int RuleTable::FindRule(const store::MailRecord& record) const {
    const bool received = record.flags.starts_with(kReceived);
    const int none = static_cast<int>(rules_.size());
    int found = none;
    found = patterns_[received ? AddressOfReceived : AddressOfOthers].FindLowest(record.address, found);
    found = patterns_[Subject].FindLowest(record.subject, found);
    found = patterns_[Cc].FindLowest(record.cc, found);
    found = patterns_[Bcc].FindLowest(record.bcc, found);
    found = patterns_[Attach].FindLowest(record.attach, found);
    if (received && patterns_[Recipients].hasBelow(found))
        found = patterns_[Recipients].FindLowest(RecipientsOf(record.body), found);
    found = patterns_[Body].FindLowest(record.body, found);
    return found == none ? -1 : found;
}

int RuleTable::FindRuleTarget(const store::MailRecord& record, std::string& targetOut) const {
    const int found = FindRule(record);
    if (found < 0) return -1;
    targetOut = rules_[static_cast<std::size_t>(found)].rule.folder;
    return 0;
}

}  // namespace postkite::organise
