#include "organise/rule_table.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <random>

#include "organise/pattern_set.h"
#include "tests/organise/sorting_program.h"

namespace postkite::organise {
namespace {

using namespace core::literals;
using Numbers = std::vector<int>;

constexpr std::string_view kBody = kRuleFields.back();

struct RuleTableTest : testing::Test {
    MemoryFileSystem disk;

    void SetUp() override { PutTree(disk); }
    Numbers Load(std::string_view bytes, int mask = kEnabledRules) {
        disk.Put(kRulePath, bytes);
        return SortingProgram(disk).Load(mask);
    }
};

TEST_F(RuleTableTest, LoadsWhatCanWork) {
    std::string states;
    for (const char* state : {"0", "1", "2", "3", "", "10", "A", "b"})
        states += Rule(state, "To:", "a", "Work");
    EXPECT_EQ(Load(states, kEnabledRules), (Numbers{1, 3, 5, 6}));
    EXPECT_EQ(Load(states, kAutomaticRules), (Numbers{2, 3, 7}));
    EXPECT_EQ(Load(states, kEnabledRules | kAutomaticRules), (Numbers{1, 2, 3, 5, 6, 7}));

    const std::string longest(255, 'x');
    const std::string parts =
        Rule("1", "", "a", "Work") + Rule("1", "To:", "", "Work") + Rule("1", "To:", "a", "") +
        Rule("1", "To", "a", "Work") + Rule("1", "Date:", "a", "Work") +
        Rule("1", "sUBJECT:", "a", "work#97") + Rule("1", "To:", longest, "Work") +
        Rule("1", "To:", longest + "x", "Work") + Rule("1", "To:", "a", "Gone") +
        Rule("1", "To:", "a", "97") + Rule("1", "To:", "a", "Desktop") + Rule("1", kBody, "a", "Trash", "") +
        Rule("1", "To:", std::string(5000, 'x'), "Work") + Rule("1", "To:", "a", "Inbox");
    EXPECT_EQ(Load(parts), (Numbers{5, 6, 11, 13}));
    SortingProgram program(disk);
    EXPECT_EQ(program.Load(), (Numbers{5, 6, 11, 13}));
    EXPECT_EQ(program.rules.rules()[0].rule.field, "Subject:");
    EXPECT_EQ(program.rules.rules()[0].rule.folder, "Work#97") << "as the tree spells it";

    std::vector<SortingRule> unsaved;
    EXPECT_EQ(ReadRules(program.folders.workspace(), unsaved), 0);
    unsaved.insert(unsaved.begin(), {.name = "new", .field = "Cc:", .text = "a", .folder = "Work"});
    unsaved[6].enabled = false;
    program.rules.TakeRules(program.folders, program.settings, unsaved, kEnabledRules);
    std::vector<int> taken;
    for (const RuleTable::LoadedRule& rule : program.rules.rules())
        taken.push_back(rule.number);
    EXPECT_EQ(taken, (Numbers{0, 7, 12, 14})) << "of the list, whatever the file says";
    EXPECT_EQ(disk.Get(kRulePath), parts);
    MailRecord mail;
    mail.cc = "Aya";
    std::string target;
    EXPECT_EQ(program.rules.FindRuleTarget(mail, target), 0);
    EXPECT_EQ(target, "Work");

    EXPECT_EQ(program.rules.LoadSingleRule(program.folders, program.settings, 6), 0);
    EXPECT_EQ(program.rules.rules()[0].number, 6);
    for (const int number : {0, 8, 14, -1}) {
        EXPECT_EQ(program.rules.LoadSingleRule(program.folders, program.settings, number), -1) << number;
        EXPECT_TRUE(program.rules.rules().empty());
    }
    disk.Put(kRulePath, Rule("0", "To:", "a", "Work"));
    EXPECT_EQ(program.rules.LoadSingleRule(program.folders, program.settings, 0), 0) << "enabled or not";
    EXPECT_TRUE(program.ui.messages.empty());
}

TEST_F(RuleTableTest, StopsBehindAHundredRules) {
    std::string bytes = Rule("1", "To:", "a", "Gone");
    for (int number = 0; number < 150; ++number)
        bytes += Rule("1", "To:", "a", "Work");
    const Numbers loaded = Load(bytes);
    EXPECT_EQ(loaded.size(), 100U);
    EXPECT_EQ(loaded.back(), 100);
}

TEST_F(RuleTableTest, WritesTheListOfFoldersAndDoesWithoutIt) {
    constexpr const char* kList = "/mail/Setting/MailBoxInfo.ini.tmp";
    disk.Put(kRulePath, Rule("1", "To:", "a", "Work"));
    {
        SortingProgram program(disk);
        EXPECT_EQ(program.Load(), Numbers{0});
        EXPECT_EQ(disk.Get(kList), "Inbox\r\nOutbox\r\nTrash\r\nWork\r\nWork#97\r\nFriends\r\n");
        // Another program has taken the folder away meanwhile.
        disk.Put("/mail/Bank/MailBoxInfo.ini", "00Desktop\r\n01Inbox/0\r\n");
        EXPECT_EQ(program.Load(), Numbers{});
        EXPECT_EQ(disk.Get(kList), "Inbox\r\n");
    }
    PutTree(disk);
    int failures = 0;
    int call = 1;
    for (;; ++call) {
        SortingProgram program(disk);
        disk.Put(kList, "old\r\n");
        disk.FailCall(call, -EROFS);
        const int result = program.rules.LoadRules(program.folders, program.settings, kEnabledRules);
        EXPECT_EQ(program.rules.rules().size(), result == 0 ? 1U : 0U) << call;
        EXPECT_EQ(program.ui.messages.empty(), result == 0) << call;
        if (result < 0) ++failures;
        if (!disk.struck()) break;
        disk.Restart();
    }
    EXPECT_GE(failures, 2) << "opening and reading the rule file";
    EXPECT_GT(call - failures, 10) << "the list of folders, and what it takes to replace it";
}

MailRecord Mail(std::string_view flags) {
    MailRecord mail;
    mail.flags = flags;
    mail.address = "the address";
    mail.subject = "the subject";
    mail.cc = "the cc";
    mail.bcc = "the bcc";
    mail.attach = "the attachment";
    mail.body = "To: the recipient\r\n\r\nthe body\r\n";
    return mail;
}

TEST_F(RuleTableTest, EveryFieldLooksAtItsText) {
    struct Case {
        std::string_view field;
        const char* text;
        bool received;  ///< whether it is found in a received mail
        bool written;   ///< and in one that was written here
    };
    const Case cases[] = {
        {"address:", "the address", true, true}, {"SUBJECT:", "the subject", true, true},
        {"Cc:", "the cc", true, true},           {"bcc:", "the bcc", true, true},
        {"Attach:", "the attach", true, true},   {kBody, "the body", true, true},
        {"To:", "the address", false, true},     {"To:", "the recipient", true, false},
        {"From:", "the address", true, false},   {"Subject:", "the address", false, false},
        {kBody, "the subject", false, false},    {"To:", "the body", false, false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(std::string(one.field) + one.text);
        disk.Put(kRulePath, Rule("1", one.field, one.text, "Work"));
        SortingProgram program(disk);
        ASSERT_EQ(program.Load(), Numbers{0});
        const auto target = [&program](std::string_view flags) {
            std::string folder = "none";
            const int result = program.rules.FindRuleTarget(Mail(flags), folder);
            EXPECT_EQ(result, folder == "none" ? -1 : 0);
            return folder;
        };
        EXPECT_EQ(target("Rosrr"), one.received ? "Work" : "none");
        for (const char* flags : {"Sosrr", "rosrr", ""})
            EXPECT_EQ(target(flags), one.written ? "Work" : "none") << flags;
    }
}

TEST_F(RuleTableTest, LetterCaseIsTheSettings) {
    // Two katakana whose second bytes differ as "A" and "a" do.
    const std::string small = "abc\x83\x61";
    const std::string capital = "ABC\x83\x41";
    for (const int distinguish : {0, 1}) {
        disk.Put(kRulePath, Rule("1", "Subject:", small, "Work"));
        SortingProgram program(disk);
        program.settings.distinguishCase = distinguish;
        program.Load();
        MailRecord mail;
        for (const std::string& subject : {small, capital, "x" + small + "x", "aBc" + small.substr(3)}) {
            mail.subject = subject;
            const bool found = distinguish == 0 || subject.find(small) != std::string::npos;
            EXPECT_EQ(program.rules.FindRule(mail), found ? 0 : -1) << distinguish << subject;
        }
        mail.subject = "ab";
        EXPECT_EQ(program.rules.FindRule(mail), -1);
    }
}

TEST_F(RuleTableTest, TheFirstRuleOfTheFileDecides) {
    disk.Put(kRulePath, Rule("1", kBody, "body", "Trash") + Rule("0", "Subject:", "the", "Inbox") +
                            Rule("1", "Subject:", "the subject", "Work") +
                            Rule("1", "Subject:", "the", "Friends"));
    SortingProgram program(disk);
    program.Load();
    MailRecord mail = Mail("R");
    EXPECT_EQ(program.rules.FindRule(mail), 0);
    EXPECT_EQ(program.rules.bodyBytesLookedAt(), store::MAIL_BODY_MAX);
    mail.body = "";
    EXPECT_EQ(program.rules.FindRule(mail), 1);
    mail.subject = "the end";
    EXPECT_EQ(program.rules.FindRule(mail), 2);
}

TEST(RecipientsOf, TakesTheToLineOfTheHead) {
    const std::string host =
        "  1 INET GATE         INET#GATE         97/01/22 03:41\r\n件名    ：Tide tables\r\n";
    ASSERT_EQ(host.find("\r\n"), 54U);
    struct Case {
        std::string body;
        const char* recipients;
    };
    const Case cases[] = {
        {host + "\r\nMessage-Id: <1@a>\r\nFrom: A\r\nTo: b@c\r\nSubject: d\r\n\r\ntext\r\n", "b@c"},
        {host + "From aya@b Wed Jan 22\r\ntO:b@c\r\n", "b@c"},
        {host + "\r\n\r\nTo: b@c,\r\n\td@e,\r\n f@g\r\nTo: h@i\r\n", "b@c,\td@e, f@g"},
        {host + "Received: a\r\n by b\r\n to: c\r\nto:  d", "d"},
        {"To: b@c\r\n\r\ntext", "b@c"},
        {"to: \x93\xfa\x96\x7b <b@c>\r\n", "\x93\xfa\x96\x7b <b@c>"},
        {"X-To: a\nTO: b\n", "b"},
        {host + "Dear Aya,\r\nTo: b@c\r\n", ""},
        {host + "\r\nFrom: a\r\n\r\nTo: b@c\r\n", ""},
        {host + " To: b@c\r\n", ""},
        {host + ": a\r\nTo: b\r\n", ""},
        {host + "\r\nTo:", ""},
        {"To a: b\r\n", ""},
        {host, ""},
        {"", ""},
        {"From: " + std::string(70000, 'x') + "\r\nTo: a\r\n", ""},
    };
    for (const Case& one : cases)
        EXPECT_EQ(RecipientsOf(one.body), one.recipients) << one.body.substr(0, 200);
}

int FindNaively(const std::vector<std::string>& patterns, std::string text, LetterCase letterCase,
                int limit) {
    if (letterCase == LetterCase::Ignored) text = ToCapitals(text);
    for (int number = 0; number < std::min(limit, static_cast<int>(patterns.size())); ++number) {
        const std::string& pattern = patterns[static_cast<std::size_t>(number)];
        if (text.find(letterCase == LetterCase::Ignored ? ToCapitals(pattern) : pattern) != std::string::npos)
            return number;
    }
    return limit;
}

/// Small alphabets have patterns that begin, contain and overlap each other; long texts are taken in pieces.
TEST(PatternSet, FindsWhatANaiveSearchFinds) {
    std::mt19937 random(7);
    const std::string letters("abAB\x81\0\xff", 7);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    const auto text = [&](std::size_t bytes, std::size_t alphabet) {
        std::string made;
        while (made.size() < bytes)
            made += letters[below(alphabet)];
        return made;
    };
    int found = 0;
    for (int round = 0; round < 3000; ++round) {
        const LetterCase letterCase = round % 2 == 0 ? LetterCase::Ignored : LetterCase::Counts;
        const std::size_t alphabet = 2 + below(letters.size() - 1);
        const std::size_t shortest = 1 + below(12);
        std::vector<std::string> patterns;
        std::vector<PatternSet::Pattern> numbered;
        for (std::size_t count = 1 + below(12); patterns.size() < count;)
            patterns.push_back(text(shortest + below(round % 10 == 0 ? 200 : 8), alphabet));
        for (std::size_t number = 0; number < patterns.size(); ++number)
            numbered.push_back({static_cast<int>(number), patterns[number]});
        const PatternSet set(numbered, letterCase);
        // One pattern stands at a place of its own, also across the end of a piece and at the very end.
        std::string searched = text(below(round % 5 == 0 ? 9000 : 60), 2 + below(2));
        const std::string& put = patterns[below(patterns.size())];
        if (round % 3 != 0)
            searched.insert(round % 3 == 1 ? searched.size() : below(searched.size() + 1), put);
        const int limit = static_cast<int>(below(14));
        const int expected = FindNaively(patterns, searched, letterCase, limit);
        ASSERT_EQ(set.FindLowest(searched, limit), expected) << "round " << round;
        if (expected < limit) ++found;
    }
    EXPECT_GT(found, 1000);
    EXPECT_LT(found, 2900);
}

}  // namespace
}  // namespace postkite::organise
