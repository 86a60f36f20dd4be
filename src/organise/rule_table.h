#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/settings.h"
#include "organise/pattern_set.h"
#include "organise/rule_file.h"
#include "store/folder_commands.h"
#include "store/mail_record.h"

namespace postkite::organise {

/// The bits of a rule's state that `RuleTable::LoadRules` can ask for.
inline constexpr int kEnabledRules = 1;
inline constexpr int kAutomaticRules = 2;

/// Rules ready to be tried on mails: those of the rule file that can work at all.
///
/// A rule is accepted when its field is one of `kRuleFields`, neither its text nor its folder is empty, each of
/// the three has at most `kLongestRulePart` bytes and the tree has the folder. Others are left out without a
/// word; a longer text is not cut, since it would match more mails then.
///
/// What looking at a mail costs hardly depends on the number of rules.
class RuleTable {
  public:
    static constexpr std::size_t kMostRules = 100;

    struct LoadedRule {
        int number;        ///< in the file, from 0
        SortingRule rule;  ///< field and folder spelled as `kRuleFields` and the tree spell them
    };

    /// Loads the rules whose state has a bit of `mask`, up to `kMostRules` of them; `settings` says whether
    /// letter case counts. Writes the list of the tree's folders first, which may have the tree read anew.
    /// Returns 0, or -1 when the file cannot be read: the table is empty then and the user knows.
    [[nodiscard]] int LoadRules(store::Folders& folders, const core::Settings& settings, int mask);

    /// Loads rule `number` of the file alone, enabled or not. -1, also and without a word, where there is no
    /// such rule or it cannot work; the table is empty then.
    [[nodiscard]] int LoadSingleRule(store::Folders& folders, const core::Settings& settings, int number);

    /// As `LoadRules`, with these in the place of the file's, which is not looked at: what rules would do before they
    /// are saved.
    void TakeRules(store::Folders& folders, const core::Settings& settings,
                   std::span<const SortingRule> rules, int mask);

    [[nodiscard]] const std::vector<LoadedRule>& rules() const { return rules_; }

    /// How many bytes of a body the rules look at, at most. A record that is tried may hold no more of it.
    [[nodiscard]] std::size_t bodyBytesLookedAt() const;

    /// The first rule that matches, its place in `rules()`; -1 when none does.
    [[nodiscard]] int FindRule(const store::MailRecord& record) const;

    /// 0 and the folder of the first rule that matches, or -1.
    [[nodiscard]] int FindRuleTarget(const store::MailRecord& record, std::string& targetOut) const;

  private:
    /// The texts that are searched, the cheapest ones first.
    enum Searched {
        AddressOfReceived,
        AddressOfOthers,
        Subject,
        Cc,
        Bcc,
        Attach,
        Recipients,  ///< of a received mail
        Body,
        kSearchedTexts,
    };

    [[nodiscard]] int Load(store::Folders& folders, const core::Settings& settings,
                           const std::function<bool(int number, const SortingRule&)>& wanted);
    /// Whether there is room for further rules.
    bool AddIfItCanWork(store::FolderTree& tree, int number, const SortingRule& rule);
    void PrepareSearch(const core::Settings& settings);
    [[nodiscard]] static std::vector<Searched> SearchedBy(std::string_view field);

    std::vector<LoadedRule> rules_;
    std::array<PatternSet, kSearchedTexts> patterns_;  ///< numbers are places in `rules_`
};

/// Of a body no more than this is searched for the recipients.
inline constexpr std::size_t kLongestMailHead = 65536;

/// The recipients of a received mail: the text behind the first "To:", in any letter case, in the head of its
/// body, with the lines that continue it; empty where there is none.
///
/// The head is what a gateway put in front of the text: lines of the form "Name: value", also a "From" without the
/// colon, each followed by any number of lines that begin with a blank or a tab and continue it. It stands at the beginning of the body, behind
/// the host's header line and subject line, which begin what was received here, and behind empty lines. The
/// first line that fits none of this ends it. A line end within a text that is continued is left out.
[[nodiscard]] std::string RecipientsOf(std::string_view body);

}  // namespace postkite::organise
