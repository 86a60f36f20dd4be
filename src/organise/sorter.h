#pragma once

#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/settings.h"
#include "core/user_interface.h"
#include "organise/rule_table.h"
#include "store/folder_commands.h"

namespace postkite::organise {

/// A mail that a rule wants to move.
struct SortedMail {
    int recordNumber;
    int rule;  ///< place in the table's `rules()`

    bool operator==(const SortedMail&) const = default;
};

/// Moves mails by the rules. Borrows everything. Operations return how many mails were moved, or -1; the user
/// has been told why then. What cannot be moved stays where it is, and the others go. Deleted records are not
/// sorted.
///
/// What sorting costs grows with the mails and hardly with the rules. A crash at any moment leaves every mail
/// in the sorted folder or in its target, as soon as either is opened again.
class Sorter {
  public:
    Sorter(const core::Settings& settings, store::Folders& folders, store::Mailbox& mailbox,
           core::UserInterface& ui);

    /// What sorting the folder with `rules` would move, in list order; moves nothing. -1 where the folder
    /// cannot be read.
    [[nodiscard]] int Plan(std::string_view folder, const RuleTable& rules, std::vector<SortedMail>& plan);

    /// Applies the rules to every mail of the folder. A mail whose target is the folder itself goes to its
    /// end. `moved`, if given, gets the mails that went, also where others did not; their numbers are those
    /// from before.
    [[nodiscard]] int SortFolder(std::string_view folder, const RuleTable& rules, store::MailEditing editing,
                                 std::vector<SortedMail>* moved = nullptr);

    /// Loads the enabled rules and sorts the folder of incoming mail.
    [[nodiscard]] int SortInbox(std::string_view inbox, store::MailEditing editing);

    /// Loads the enabled rules and applies them to some mails of a folder. Numbers that the list does not
    /// have are passed over.
    [[nodiscard]] int SortSelected(std::string_view folder, std::span<const int> recordNumbers,
                                   store::MailEditing editing);

  private:
    /// Which mails of a folder are looked at.
    struct Selection {
        bool all = true;
        std::set<int> numbers = {};
    };
    enum class Matching {
        Movable,  ///< mails that are whole
        Any,      ///< damaged ones too, as far as the index knows what they are
    };

    [[nodiscard]] int Refuse(std::string_view text);
    [[nodiscard]] int Sort(std::string_view folder, const RuleTable& rules, const Selection& selection,
                           store::MailEditing editing, std::vector<SortedMail>& moved);
    [[nodiscard]] int SortUnguarded(std::string_view folder, const RuleTable& rules,
                                    const Selection& selection, std::vector<SortedMail>& moved);
    [[nodiscard]] int Match(std::string_view folder, const RuleTable& rules, const Selection& selection,
                            Matching matching, std::vector<SortedMail>& plan);
    [[nodiscard]] int Move(std::string_view folder, const RuleTable& rules,
                           const std::vector<SortedMail>& plan, std::vector<SortedMail>& moved);

    const core::Settings* settings_;
    store::Folders* folders_;
    store::Mailbox* mailbox_;
    core::UserInterface* ui_;
};

/// An item of the menu of rules.
struct RuleMenuItem {
    int command;        ///< number of the menu command, `kFirstRuleCommand` + the rule's number
    std::string label;  ///< code page 932; "%s\t( Ctrl+%d )" for the first ten
};
inline constexpr int kFirstRuleCommand = 2800;

/// What stands in the menu besides the rules: sorts the displayed folder.
inline constexpr auto kSortDisplayedFolderLabel = []() consteval {
    using namespace core::literals;
    return "表示中フォルダ個別振分(&F)"_sjis;
}
();

/// An item for every rule of the file, enabled or not; empty where the file cannot be read.
[[nodiscard]] std::vector<RuleMenuItem> BuildRuleMenu(const core::Workspace& workspace);

}  // namespace postkite::organise
