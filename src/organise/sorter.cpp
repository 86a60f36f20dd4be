#include "organise/sorter.h"

#include <algorithm>
#include <cerrno>
#include <new>

#include "core/shift_jis.h"
#include "store/conversion.h"
#include "store/folder_reader.h"
#include "store/older_layouts.h"

namespace postkite::organise {

using namespace core::literals;

namespace {

using Condition = store::FolderReader::Condition;

/// How often the main window is drawn, in mails.
constexpr int kMailsARedraw = 10;

constexpr std::size_t kWholeBody = store::MAIL_BODY_MAX - store::kReadHeadroomBytes;

/// What the status line shows while a folder is sorted.
class ShownStatus {
  public:
    explicit ShownStatus(core::UserInterface& ui) : ui_(ui) { ui_.SetStatusText("振り分け中"_sjis); }
    ShownStatus(const ShownStatus&) = delete;
    ShownStatus& operator=(const ShownStatus&) = delete;
    ~ShownStatus() {
        ui_.SetProgress(0, 0);
        ui_.SetStatusText("");
    }

  private:
    core::UserInterface& ui_;
};

void Advance(core::UserInterface& ui, int position, int total) {
    ui.SetProgress(static_cast<std::uint64_t>(position), static_cast<std::uint64_t>(total));
    if (position % kMailsARedraw != 0) return;
    ui.RedrawMainWindow();
    ui.PumpMessages();
}

const std::string& TargetOf(const RuleTable& rules, const SortedMail& mail) {
    return rules.rules()[static_cast<std::size_t>(mail.rule)].rule.folder;
}

/// The targets of the plan that are in an older layout. What keeps one from being looked at is told when it
/// is opened.
std::set<std::string> OlderTargets(const store::Mailbox& mailbox, const RuleTable& rules,
                                   const std::vector<SortedMail>& plan) {
    std::set<std::string> targets;
    for (const SortedMail& mail : plan)
        targets.insert(TargetOf(rules, mail));
    std::erase_if(targets, [&mailbox](const std::string& target) {
        store::FolderLayout layout{};
        return store::DetectLayout(mailbox.FilesOf(target), layout) < 0 ||
               layout == store::FolderLayout::Current;
    });
    return targets;
}

}  // namespace

Sorter::Sorter(const core::Settings& settings, store::Folders& folders, store::Mailbox& mailbox,
               core::UserInterface& ui)
    : settings_(&settings), folders_(&folders), mailbox_(&mailbox), ui_(&ui) {
}

int Sorter::Refuse(std::string_view text) {
    ui_->ShowMessage(core::kProductName, text, core::MessageIcon::Stop);
    return -1;
}

int Sorter::Match(std::string_view folder, const RuleTable& rules, const Selection& selection,
                  Matching matching, std::vector<SortedMail>& plan) {
    plan.clear();
    if (rules.rules().empty()) return 0;
    store::FolderReader reader;
    int count = reader.Open(mailbox_->FilesOf(folder));
    if (count == 0) count = reader.CountMails();
    if (count == -ENOENT) return 0;
    const std::size_t bodyLimit = std::min(rules.bodyBytesLookedAt(), kWholeBody);
    store::MailRecord record;
    for (int number = 0; number < count; ++number) {
        Advance(*ui_, number + 1, count);
        if (!selection.all && !selection.numbers.contains(number)) continue;
        const std::string_view row = reader.IndexRecord(number);
        if (row.empty()) {
            count = std::min(reader.error(), 0);
            break;
        }
        if (store::IsDeleted(row)) continue;
        auto condition = reader.ReadMail(number, bodyLimit, record);
        const int rule = rules.FindRule(record);
        if (rule < 0) continue;
        if (condition == Condition::Cut && bodyLimit < kWholeBody)
            condition = reader.ReadMail(number, kWholeBody, record);
        if (condition == Condition::Whole || matching == Matching::Any) plan.push_back({number, rule});
    }
    if (count >= 0) return 0;
    mailbox_->ReportFault(folder, count);
    return -1;
}

int Sorter::Plan(std::string_view folder, const RuleTable& rules, std::vector<SortedMail>& plan) {
    const ShownStatus status(*ui_);
    return Match(folder, rules, {}, Matching::Movable, plan);
}

int Sorter::Move(std::string_view folder, const RuleTable& rules, const std::vector<SortedMail>& plan,
                 std::vector<SortedMail>& moved) {
    std::vector<std::string> targets;
    for (const auto& rule : rules.rules())
        targets.push_back(rule.rule.folder);
    std::vector<store::MailMove> moves;
    for (const SortedMail& mail : plan)
        moves.push_back({mail.recordNumber, mail.rule});
    std::vector<int> numbers;
    const int result = folders_->MoveMails(folder, moves, targets, &numbers);
    for (const SortedMail& mail : plan) {
        if (std::binary_search(numbers.begin(), numbers.end(), mail.recordNumber)) moved.push_back(mail);
    }
    return result;
}

int Sorter::SortUnguarded(std::string_view folder, const RuleTable& rules, const Selection& selection,
                          std::vector<SortedMail>& moved) {
    if (rules.rules().empty()) return 0;
    if (store::ConvertFolder(*mailbox_, folder) < 0) return -1;
    const ShownStatus status(*ui_);
    std::set<std::string> refused;
    std::vector<SortedMail> plan;
    for (;;) {
        core::WorkspaceLock lock;
        const int locked = mailbox_->workspace().Lock(true, lock);
        if (locked < 0) {
            mailbox_->ReportFault(folder, locked);
            return -1;
        }
        // A folder that another program has renamed meanwhile takes no mails: they would be found under no
        // name.
        if (folders_->TakeOverChanges() < 0) return -1;
        if (mailbox_->SettleMoves() < 0) return -1;
        if (Match(folder, rules, selection, Matching::Any, plan) < 0) return -1;
        std::erase_if(plan, [&](const SortedMail& mail) { return refused.contains(TargetOf(rules, mail)); });
        const std::set<std::string> older = OlderTargets(*mailbox_, rules, plan);
        if (older.empty()) {
            const int result = Move(folder, rules, plan, moved);
            return refused.empty() ? result : -1;
        }
        // Nobody is kept waiting for the answer, and the mails are looked at again behind it.
        lock = {};
        for (const std::string& target : older) {
            if (store::ConvertFolder(*mailbox_, target) < 0) refused.insert(target);
        }
    }
}

int Sorter::Sort(std::string_view folder, const RuleTable& rules, const Selection& selection,
                 store::MailEditing editing, std::vector<SortedMail>& moved) {
    moved.clear();
    if (editing == store::MailEditing::Yes)
        return Refuse("編集中のウィンドウを閉じてから行ってください。"_sjis);
    try {
        const int result = SortUnguarded(folder, rules, selection, moved);
        ui_->RedrawMainWindow();
        return result < 0 ? -1 : static_cast<int>(moved.size());
    } catch (const std::bad_alloc&) {
        return Refuse("メール操作のためのメモリが確保できません。"_sjis);
    }
}

int Sorter::SortFolder(std::string_view folder, const RuleTable& rules, store::MailEditing editing,
                       std::vector<SortedMail>* moved) {
    std::vector<SortedMail> unasked;
    return Sort(folder, rules, {}, editing, moved != nullptr ? *moved : unasked);
}

int Sorter::SortInbox(std::string_view inbox, store::MailEditing editing) {
    RuleTable rules;
    if (rules.LoadRules(*folders_, *settings_, kEnabledRules) < 0) return -1;
    return SortFolder(inbox, rules, editing);
}

int Sorter::SortSelected(std::string_view folder, std::span<const int> recordNumbers,
                         store::MailEditing editing) {
    RuleTable rules;
    if (rules.LoadRules(*folders_, *settings_, kEnabledRules) < 0) return -1;
    std::vector<SortedMail> moved;
    return Sort(folder, rules, {false, {recordNumbers.begin(), recordNumbers.end()}}, editing, moved);
}

std::vector<RuleMenuItem> BuildRuleMenu(const core::Workspace& workspace) {
    constexpr std::size_t kItemsWithKey = 10;
    std::vector<RuleMenuItem> items;
    const int visited = VisitRules(workspace, [&items](const SortingRule& rule) {
        const std::size_t number = items.size();
        std::string label = rule.name;
        if (number < kItemsWithKey) label += "\t( Ctrl+" + std::to_string(number) + " )";
        items.push_back({kFirstRuleCommand + static_cast<int>(number), std::move(label)});
        return true;
    });
    return visited < 0 ? std::vector<RuleMenuItem>() : items;
}

}  // namespace postkite::organise
