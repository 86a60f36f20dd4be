// Any bytes as the file of sorting rules, and a mail. The rules that work are those that a reader line by line takes, a mail
// gets the first of them that a search text by text finds, and saving what was read gives a file that says the same.
//
// The parts of an input: rule file, flags, address, subject, body of the mail. The first byte of the flags' part
// decides whether letter case counts.

#include "fuzz/fuzz_program.h"
#include "organise/rule_table.h"
#include "store/folder_commands.h"

namespace {

using namespace postkite;
using fuzz::Check;
using organise::RuleTable;
using organise::SortingRule;

constexpr const char* kRulePath = "/mail/Setting/filter.ini";
constexpr const char* kTree = "00Desktop\r\n01Inbox/0\r\n01Trash/0\r\n0297/0\r\n01Work/0\r\n";

std::string Capitals(std::string text) {
    for (char& byte : text) {
        if (byte >= 'a' && byte <= 'z') byte = static_cast<char>(byte - 32);
    }
    return text;
}

/// The text that a rule looks at.
std::string SearchedBy(const std::string& field, const store::MailRecord& mail) {
    const bool received = !mail.flags.empty() && mail.flags[0] == 'R';
    const std::string name = Capitals(field);
    if (name == "ADDRESS:") return mail.address;
    if (name == "FROM:") return received ? mail.address : std::string();
    if (name == "TO:") return received ? organise::RecipientsOf(mail.body) : mail.address;
    if (name == "SUBJECT:") return mail.subject;
    if (name == "CC:") return mail.cc;
    if (name == "BCC:") return mail.bcc;
    if (name == "ATTACH:") return mail.attach;
    return mail.body;
}

bool CanWork(const SortingRule& rule, store::FolderTree& tree) {
    for (const std::string* part : {&rule.field, &rule.text, &rule.folder}) {
        if (part->empty() || part->size() > 255) return false;
    }
    const store::Folder* folder = tree.Find(rule.folder);
    return organise::RuleFieldOf(rule.field) && folder != nullptr && folder->parent != nullptr;
}

/// The number in the file of the rule that decides; -1 where none does.
int FindNaively(const std::vector<SortingRule>& rules, store::FolderTree& tree, const store::MailRecord& mail,
                bool exact) {
    std::size_t accepted = 0;
    for (std::size_t number = 0; number < rules.size() && accepted < RuleTable::kMostRules; ++number) {
        const SortingRule& rule = rules[number];
        if (!rule.enabled || !CanWork(rule, tree)) continue;
        ++accepted;
        const std::string text = SearchedBy(rule.field, mail);
        const bool found = exact ? text.find(rule.text) != std::string::npos
                                 : Capitals(text).find(Capitals(rule.text)) != std::string::npos;
        if (found) return static_cast<int>(number);
    }
    return -1;
}

/// The file's lines, by the plainest means.
void CheckReading(const std::string& bytes, const std::vector<SortingRule>& rules) {
    std::size_t at = 0;
    std::vector<std::string> lines;
    for (const SortingRule& rule : rules) {
        if (!fuzz::TakeLines(bytes, at, 5, lines)) break;
        const auto kept = [](const std::string& line) { return fuzz::UpToZero(line.substr(0, 4096)); };
        Check(rule.name == kept(lines[1]) && rule.field == kept(lines[2]) && rule.text == kept(lines[3]) &&
              rule.folder == kept(lines[4]));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = fuzz::SplitInput(data, size, 5);
    support::MemoryFileSystem disk;
    disk.Put(kRulePath, parts[0]);
    disk.Put("/mail/Bank/MailBoxInfo.ini", kTree);
    fuzz::Program program(disk);
    store::Folders folders(program.mailbox, {});
    Check(folders.LoadFolderTree() == 0);
    std::vector<SortingRule> rules;
    Check(organise::ReadRules(program.workspace, rules) == 0);
    CheckReading(parts[0], rules);

    core::Settings settings;
    settings.distinguishCase = !parts[1].empty() && parts[1][0] % 2 != 0 ? 1 : 0;
    RuleTable table;
    Check(table.LoadRules(folders, settings, organise::kEnabledRules) == 0);
    store::MailRecord mail;
    mail.flags = parts[1].substr(0, 50);
    mail.address = parts[2];
    mail.subject = parts[3];
    mail.body = parts[4];
    mail.cc = parts[3] + parts[2];
    const int expected = FindNaively(rules, folders.tree(), mail, settings.distinguishCase != 0);
    const int found = table.FindRule(mail);
    Check(expected == (found < 0 ? -1 : table.rules()[static_cast<std::size_t>(found)].number));

    Check(organise::SaveRules(program.workspace, organise::kRuleFile, rules).result == 0);
    std::vector<SortingRule> again;
    Check(organise::ReadRules(program.workspace, again) == 0 && again == rules);
    return 0;
}
