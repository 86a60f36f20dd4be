#include "organise/sorter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <set>

#include "store/text_record.h"
#include "tests/organise/sorting_program.h"
#include "tests/store/faults.h"
#include "tests/store/older_folder.h"

namespace postkite::organise {
namespace {

using namespace core::literals;
using store::MailEditing;
using Names = std::vector<std::string>;
using Plan = std::vector<SortedMail>;

/// "w..." goes to Work, "f..." to Friends, "i..." to the Inbox, what says "97" in its body to Work#97.
const std::string kRules = Rule("1", kRuleFields.back(), "97", "Work#97") +
                           Rule("1", "Subject:", "w", "Work") + Rule("0", "Subject:", "a", "Trash") +
                           Rule("1", "Subject:", "f", "friends") + Rule("1", "Subject:", "i", "Inbox");

struct SorterTest : testing::Test {
    MemoryFileSystem disk;

    void SetUp() override {
        PutTree(disk);
        disk.Put(kRulePath, kRules);
    }
    void Add(SortingProgram& program, const Names& subjects) {
        for (const std::string& subject : subjects)
            ASSERT_EQ(program.Add(subject), 0);
    }
    static int Sort(SortingProgram& program) { return program.sorter.SortInbox("Inbox", MailEditing::No); }
};

TEST_F(SorterTest, MovesEachMailToItsFolderInListOrder) {
    SortingProgram program(disk);
    ASSERT_EQ(program.AddTo("Work", "old"), 0);
    Add(program, {"w1", "i1", "a1", "f1", "w2", "gone", "a2"});
    ASSERT_EQ(program.Add("w3", "since 97\r\n"), 0);
    ASSERT_EQ(program.mailbox.MarkDeleted("Inbox", 5), 0);
    program.Load();
    Plan plan;
    ASSERT_EQ(program.sorter.Plan("Inbox", program.rules, plan), 0);
    EXPECT_EQ(plan, (Plan{{0, 1}, {1, 3}, {3, 2}, {4, 1}, {7, 0}}));
    EXPECT_EQ(program.Subjects("Work"), Names{"old"});

    program.ui.statusTexts.clear();
    program.ui.progress.clear();
    EXPECT_EQ(Sort(program), 5);
    EXPECT_EQ(program.Subjects("Inbox"), (Names{"a1", "a2", "i1"}));
    EXPECT_EQ(program.Subjects("Work"), (Names{"old", "w1", "w2"}));
    EXPECT_EQ(program.Subjects("Friends"), Names{"f1"});
    EXPECT_EQ(program.Subjects("Work#97"), Names{"w3"});
    EXPECT_EQ(program.ui.statusTexts, (Names{std::string("振り分け中"_sjis), ""}));
    EXPECT_EQ(program.ui.progress.front(), (std::pair<std::uint64_t, std::uint64_t>{1, 8}));
    EXPECT_EQ(program.ui.progress.back(), (std::pair<std::uint64_t, std::uint64_t>{0, 0}));
    EXPECT_TRUE(program.ui.messages.empty());
    // The text of what has gone stays, marked, until the folder is compacted.
    const std::string text = disk.Get(store::kTextPath).value();
    EXPECT_NE(text.find("Rxsrr"), std::string::npos);
    EXPECT_EQ(Sort(program), 1) << "the one that stays in its folder goes to its end each time";
    EXPECT_EQ(program.Subjects("Inbox"), (Names{"a1", "a2", "i1"}));
}

TEST_F(SorterTest, SortsTheSelectedOnesAlone) {
    SortingProgram program(disk);
    Add(program, {"w1", "w2", "a", "w3"});
    EXPECT_EQ(program.sorter.SortSelected("Inbox", std::array{3, 2, 0, 3, 9, -1}, MailEditing::No), 2);
    EXPECT_EQ(program.Subjects("Inbox"), (Names{"w2", "a"}));
    EXPECT_EQ(program.Subjects("Work"), (Names{"w1", "w3"}));
}

TEST_F(SorterTest, IsRefusedWhileAMailIsEdited) {
    SortingProgram program(disk);
    Add(program, {"w"});
    EXPECT_EQ(program.sorter.SortInbox("Inbox", MailEditing::Yes), -1);
    program.ExpectTold("編集中のウィンドウを閉じてから行ってください。"_sjis);
    EXPECT_EQ(program.Subjects("Inbox"), Names{"w"});
    EXPECT_EQ(program.sorter.SortInbox("Nowhere", MailEditing::No), 0);
    disk.Put(kRulePath, "");
    EXPECT_EQ(Sort(program), 0);
    EXPECT_TRUE(program.ui.messages.empty());
}

TEST_F(SorterTest, DamagedMailsStayAndAreToldOnce) {
    SortingProgram program(disk);
    Add(program, {"w1", "w2", "a3", "w4"});
    ASSERT_EQ(program.Add("w5", "HERE"), 0);
    std::string text = *disk.Get(store::kTextPath);
    disk.Put(store::kTextPath, text.replace(text.find("HERE"), 4, store::MAIL_BODY_MAX, 'x'));
    std::string index = *disk.Get(store::kIndexPath);
    for (const std::size_t number : {1U, 2U})
        index.replace(number * 900, 10, "99999999  ");
    disk.Put(store::kIndexPath, index);
    for (const bool bodies : {true, false}) {
        if (!bodies) disk.Put(kRulePath, Rule("1", "Subject:", "w", "Work"));
        program.Load();
        Plan plan;
        ASSERT_EQ(program.sorter.Plan("Inbox", program.rules, plan), 0);
        EXPECT_EQ(plan.size(), bodies ? 2U : 0U);
        Plan moved;
        EXPECT_EQ(program.sorter.SortFolder("Inbox", program.rules, MailEditing::No, &moved), -1);
        program.ExpectTold("2 通のメールは壊れているか長すぎるため、移動しませんでした。"_sjis);
        EXPECT_EQ(moved, plan);
        EXPECT_EQ(program.Subjects("Inbox"), (Names{"damaged", "damaged", "w5"}));
    }
    EXPECT_EQ(program.Subjects("Work"), (Names{"w1", "w4"}));
}

/// A target that fails keeps nobody else's mails from moving.
TEST_F(SorterTest, ATargetThatFailsKeepsItsMailsHere) {
    disk.PutDirectory("/mail/Bank/Work.mtx");
    SortingProgram program(disk);
    Add(program, {"w1", "f1", "w2", "f2"});
    EXPECT_EQ(Sort(program), -1);
    EXPECT_EQ(program.ui.messages.size(), 1U);
    EXPECT_EQ(program.Subjects("Inbox"), (Names{"w1", "w2"}));
    EXPECT_EQ(program.Subjects("Friends"), (Names{"f1", "f2"}));
}

TEST_F(SorterTest, ATargetOfAnOlderLayoutIsAskedAboutOnce) {
    const auto older = store::MakeOlderFolder(store::FolderLayout::V2, 1);
    for (const bool agreed : {false, true}) {
        SortingProgram program(disk);
        disk.Put("/mail/Bank/Work.loc", older.index);
        disk.Put("/mail/Bank/Work.mtx", older.text);
        Add(program, {"w1", "f1", "w2"});
        program.ui.answers = {agreed};
        EXPECT_EQ(Sort(program), agreed ? 5 : -1);
        EXPECT_EQ(program.ui.questions.size(), 1U);
        EXPECT_EQ(program.ui.messages.size(), agreed ? 1U : 0U) << "that it was converted";
        EXPECT_EQ(program.Subjects("Inbox"), agreed ? Names{} : (Names{"w1", "w2"}));
    }
}

/// Rules of two spellings of a name, and a tree that has both.
TEST_F(SorterTest, TwoNamesOfTheSameFilesAreOneTarget) {
    disk.Put("/mail/Bank/MailBoxInfo.ini", "00Desktop\r\n01Inbox/0\r\n01Work/0\r\n01work/0\r\n");
    disk.Put(kRulePath, Rule("1", "Subject:", "a", "Work") + Rule("1", "Subject:", "b", "work"));
    SortingProgram program(disk);
    Add(program, {"a1", "b1", "a2", "b2"});
    EXPECT_EQ(Sort(program), 4);
    EXPECT_EQ(program.Subjects("Work"), (Names{"a1", "b1", "a2", "b2"}));
    EXPECT_EQ(disk.Names("/mail/Bank"),
              (Names{"Inbox.loc", "Inbox.mtx", "MailBoxInfo.ini", "Work.loc", "Work.mtx"}));
}

/// Several targets, one of them the folder itself, each call of it struck, then tried again twice, struck
/// again.
TEST_F(SorterTest, EveryMailIsThereOnceWhateverHappensHoweverOften) {
    const Names subjects = {"w1", "f1", "i1", "w2", "a1"};
    Names mails;
    for (const std::string& subject : subjects)
        mails.push_back(subject + ": text\r\n");
    std::sort(mails.begin(), mails.end());
    MemoryFileSystem original;
    PutTree(original);
    {
        SortingProgram program(original);
        Add(program, subjects);
    }
    using store::Fault;
    for (const bool crash : {false, true}) {
        int struck = 0;
        for (bool hit = true; hit && !HasFailure(); ++struck) {
            const Fault fault = !crash            ? Fault::FullDisk
                                : struck % 2 == 0 ? Fault::PowerCutDurable
                                                  : Fault::Killed;
            MemoryFileSystem copy;
            PutTree(copy);
            copy.Put(kRulePath, kRules);
            for (const char* path : {store::kIndexPath, store::kTextPath})
                copy.Put(path, original.Get(path).value());
            for (int attempt = 0; attempt < 3; ++attempt) {
                SCOPED_TRACE(store::Describe(fault, struck + 1) + ", attempt " + std::to_string(attempt));
                SortingProgram program(copy);
                program.clock.now.hour = 9 + attempt;
                program.Load();
                const Names before = program.Subjects("Inbox");
                store::Arrange(copy, fault, struck + 1);
                Plan moved;
                const int sorted = program.sorter.SortFolder("Inbox", program.rules, MailEditing::No, &moved);
                if (attempt == 0) hit = copy.struck();
                EXPECT_EQ(sorted == -1, !program.ui.messages.empty());
                EXPECT_TRUE(copy.struck() || sorted == static_cast<int>(moved.size()));
                store::End(copy, fault);
                SortingProgram next(copy);
                Names found = next.Mails("Inbox");
                const std::size_t left = found.size();
                for (const char* folder : {"Work", "Friends"}) {
                    const Names there = next.Mails(folder);
                    found.insert(found.end(), there.begin(), there.end());
                }
                std::sort(found.begin(), found.end());
                EXPECT_EQ(found, mails);
                EXPECT_TRUE(sorted == -1 || left == 2) << "what was told to be done stays done";
                // What is said to have moved has, and nothing else: the Inbox's own stay in it.
                const auto gone =
                    std::count_if(moved.begin(), moved.end(), [&before](const SortedMail& mail) {
                        return before[static_cast<std::size_t>(mail.recordNumber)].front() != 'i';
                    });
                EXPECT_TRUE(fault != Fault::FullDisk ||
                            before.size() - left == static_cast<std::size_t>(gone))
                    << gone;
                EXPECT_FALSE(copy.Exists("/mail/Bank/MailBoxInfo.$$m"));
            }
        }
        EXPECT_GT(struck, 100);
    }
}

}  // namespace
}  // namespace postkite::organise
