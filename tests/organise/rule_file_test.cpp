#include "organise/rule_file.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "organise/sorter.h"
#include "tests/organise/sorting_program.h"

namespace postkite::organise {

static void PrintTo(const SortingRule& rule, std::ostream* out) {
    *out << rule.enabled << rule.automatic << '|' << rule.name << '|' << rule.field << '|' << rule.text << '|'
         << rule.folder;
}

namespace {

using namespace core::literals;
using Rules = std::vector<SortingRule>;

struct RuleFile : testing::Test {
    MemoryFileSystem disk;
    core::Workspace workspace{disk, "/mail"};

    void SetUp() override { disk.PutDirectory("/mail/Setting"); }
    Rules Read(std::string_view bytes) {
        disk.Put(kRulePath, bytes);
        Rules rules;
        EXPECT_EQ(ReadRules(workspace, rules), 0);
        return rules;
    }
};

TEST_F(RuleFile, IsWrittenAndReadByteForByte) {
    Rules rules = {{true, false, std::string("会議"_sjis), "Subject:", std::string("会 議"_sjis), "Work#97"},
                   {false, true, "", std::string(kRuleFields.back()), "a\\b", "Work"},
                   {true, true, "both", "no such field", "", ""},
                   {false, false, "off", "To:", "x", "Trash"}};
    const std::string bytes(
        "1\r\n会議\r\nSubject:\r\n会 議\r\nWork#97\r\n"
        "2\r\n\r\n本文:\r\na\\b\r\nWork\r\n"
        "3\r\nboth\r\nno such field\r\n\r\n\r\n"
        "0\r\noff\r\nTo:\r\nx\r\nTrash\r\n"_sjis);
    EXPECT_EQ(SaveRules(workspace, kRuleFile, rules).result, 0);
    EXPECT_EQ(disk.Get(kRulePath), bytes);
    EXPECT_EQ(Read(bytes), rules);

    for (const std::string& part : {std::string("a\rb"), std::string("a\0b", 3)}) {
        rules[3].text = part;
        EXPECT_EQ(SaveRules(workspace, kRuleFile, rules).result, -EINVAL);
    }
    EXPECT_EQ(disk.Get(kRulePath), bytes);
}

TEST_F(RuleFile, IsReadAsFarAsItGoes) {
    Rules rules;
    EXPECT_EQ(ReadRules(workspace, rules), 0);
    EXPECT_TRUE(rules.empty());
    EXPECT_TRUE(BuildRuleMenu(workspace).empty());

    const std::string two = Rule("1", "To:", "a", "Work", "A") + Rule("1", "Cc:", "b", "Trash", "B");
    const Rules whole = Read(two);
    ASSERT_EQ(whole.size(), 2U);
    // Cut anywhere: what is whole stays, and the last rule has what there is of it.
    const std::size_t firstBytes = Rule("1", "To:", "a", "Work", "A").size();
    for (std::size_t bytes = firstBytes; bytes < two.size(); ++bytes) {
        const Rules read = Read(two.substr(0, bytes));
        const bool hasName = bytes > firstBytes + 3;
        ASSERT_EQ(read.size(), hasName ? 2U : 1U) << bytes;
        EXPECT_EQ(read[0], whole[0]);
        if (!hasName) continue;
        EXPECT_EQ(read[1].name, "B");
        EXPECT_TRUE(std::string_view("Trash").starts_with(read[1].folder)) << bytes;
        EXPECT_EQ(read[1].folder == "Trash", bytes >= two.size() - 2) << "without its line end too";
    }
    for (const char* more : {"\r\n", "1\r\n", "\r\n\r\n"})
        EXPECT_EQ(Read(two + more), whole);
    EXPECT_EQ(Read(std::string("1\r\nA\0x\r\nTo:\r\na\r\nWork\r\n", 23))[0], whole[0]) << "up to a zero byte";

    disk.FailCall(2, -EIO);
    EXPECT_EQ(ReadRules(workspace, rules), -EIO);
}

/// What saving would lose without a word is kept beside.
TEST_F(RuleFile, KeepsAnOddFileBeside) {
    const std::string odd = Rule("7", "To:", "a", "Work") + "more";
    Rules rules = Read(odd);
    const core::SaveOutcome outcome = SaveRules(workspace, kRuleFile, rules);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.keptAs, "setting\\filter.ini.bak");
    EXPECT_EQ(disk.Get("/mail/Setting/filter.ini.bak"), odd);
    EXPECT_EQ(disk.Get(kRulePath), Rule("3", "To:", "a", "Work"));
}

TEST_F(RuleFile, MakesTheMenu) {
    std::string bytes = Rule("0", "", "", "", "100%s %d 表");
    for (int number = 1; number < 12; ++number)
        bytes += Rule("1", "To:", "a", "Nowhere", "r" + std::to_string(number));
    disk.Put(kRulePath, bytes);
    const auto items = BuildRuleMenu(workspace);
    ASSERT_EQ(items.size(), 12U);
    EXPECT_EQ(items[0].label, "100%s %d 表\t( Ctrl+0 )");
    EXPECT_EQ(items[9].label, "r9\t( Ctrl+9 )");
    EXPECT_EQ(items[10].label, "r10");
    EXPECT_EQ(items[0].command, 2800);
    EXPECT_EQ(items[11].command, 2811);
}

}  // namespace
}  // namespace postkite::organise
