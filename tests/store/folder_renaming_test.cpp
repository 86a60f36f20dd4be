#include "store/folder_renaming.h"

#include <gtest/gtest.h>

#include <map>

#include "core/shift_jis.h"
#include "store/index_record.h"
#include "tests/store/faults.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::store {
namespace {

using namespace core::literals;
using Contents = std::map<std::string, std::string>;

constexpr std::string_view kTaken = "同名のファイルが既に存在するのでフォルダ名を変更できません。"_sjis;
constexpr std::string_view kInvalid = "メールボックス名（ファイル名）が無効です。"_sjis;

struct Renaming : testing::Test {
    MemoryFileSystem disk;
    core::Workspace workspace{disk, "/mail"};
    support::RecordingUserInterface ui;

    /// The bank holds these and nothing else.
    void Put(const Contents& files) {
        disk.PutDirectory("/mail/Bank");
        for (const std::string& name : disk.Names("/mail/Bank"))
            EXPECT_EQ(disk.Remove("/mail/Bank/" + name), 0);
        EXPECT_EQ(disk.SyncDirectory("/mail/Bank"), 0);
        for (const auto& [name, bytes] : files)
            disk.Put("/mail/Bank/" + name, bytes);
    }
    Contents Files() const {
        Contents files;
        for (const std::string& name : disk.Names("/mail/Bank"))
            files[name] = disk.Get("/mail/Bank/" + name).value();
        return files;
    }
    int Rename(std::string_view from, std::string_view to) {
        return RenameFolderFiles(workspace, "Bank", from, to, ui);
    }
    int Recover(bool isRenamed) {
        return FinishInterruptedRenaming(workspace, "Bank", [=](auto, auto) { return isRenamed; });
    }
};

TEST_F(Renaming, TakesTheFoldersBelowAlong) {
    Put({{"Work.loc", "1"},
         {"WORK.mtx", "2"},
         {"Work.prop", "3"},
         {"Work#97.LOC", "4"},
         {"work#97#x.mtx", "5"},
         {"Work2.loc", "6"},
         {"Work.loc.bak", "7"},
         {"Old#Work.loc", "8"},
         {"Job.PROP", "left behind"}});
    EXPECT_EQ(Rename("Work", "Job"), 0);
    EXPECT_EQ(Files(), (Contents{{"Job.loc", "1"},
                                 {"Job.mtx", "2"},
                                 {"Job.prop", "3"},
                                 {"Job#97.LOC", "4"},
                                 {"Job#97#x.mtx", "5"},
                                 {"Work2.loc", "6"},
                                 {"Work.loc.bak", "7"},
                                 {"Old#Work.loc", "8"}}));
    EXPECT_EQ(Rename("Job#97", "Old#98"), 0);
    EXPECT_TRUE(disk.Exists("/mail/Bank/Old#98.LOC") && disk.Exists("/mail/Bank/Old#98#x.mtx"));
    const Contents before = Files();
    EXPECT_EQ(Rename("Job", "JOB"), 0) << "any letter case finds the files as they are";
    EXPECT_EQ(Files(), before);
    EXPECT_TRUE(ui.messages.empty());
}

TEST_F(Renaming, OfTwoSpellingsTakesTheOneInUse) {
    Put({{"WORK.loc", "unseen"}, {"Work.loc", "seen"}});
    EXPECT_EQ(Rename("Work", "Job"), 0);
    EXPECT_EQ(Files(), (Contents{{"Job.loc", "seen"}, {"WORK.loc", "unseen"}}));
}

TEST_F(Renaming, RefusesNamesThatAreTakenOrNone) {
    const Contents files = {{"Work.loc", "1"},   {"Work#a.loc", "2"}, {"job.LOC", "3"},
                            {"Free#A.mtx", "4"}, {"F,mes1.loc", "5"}, {"F,mes2.loc", "6"}};
    Put(files);
    const std::pair<const char*, std::string_view> refused[] = {
        {"Job", kTaken},     {"Free", kTaken},  {"F,mes1", kTaken},  {"Work#a", kTaken},
        {"a:b", kInvalid},   {"", kInvalid},    {"..\\x", kInvalid}, {"nul", kInvalid},
        {"x\x81", kInvalid}, {"a/b", kInvalid}, {"a\x1f", kInvalid}, {"$PostkiteClipFile$", kInvalid}};
    for (const auto& [name, text] : refused) {
        SCOPED_TRACE(name);
        ui.messages.clear();
        EXPECT_EQ(Rename("Work", name), -1);
        ASSERT_EQ(ui.messages.size(), 1U);
        EXPECT_EQ(ui.messages[0],
                  (support::ShownMessage{"Postkite", std::string(text), core::MessageIcon::Stop}));
        EXPECT_EQ(Files(), files);
    }
    disk.Put("/mail/Bank/F,mes1#a.loc", "7");
    Contents takenOver = files;
    takenOver["F,MES2#a.loc"] = "7";
    EXPECT_EQ(Rename("F,mes1", "F,MES2"), 0) << "a forum room takes over what is there";
    EXPECT_EQ(Files(), takenOver) << "and the folders below come along";
}

TEST_F(Renaming, FinishesCompactionsBeforehand) {
    const std::string record = FormatIndexRecord(0, MailRecord());
    const std::string another = FormatIndexRecord(1, MailRecord());
    Put({{"Work.loc", "old"},
         {"Work.mtx", "new"},
         {"Work.$$l", record},
         {"Job.$$l", another},
         {"Job.mtx", "gone"}});
    ASSERT_EQ(Rename("Work", "Free"), 0);
    EXPECT_EQ(disk.Get("/mail/Bank/Free.loc"), record);
    EXPECT_EQ(disk.Get("/mail/Bank/Free.mtx"), "new");
    EXPECT_EQ(Rename("Free", "Job"), -1) << "the interrupted change has made a folder of that name";
    EXPECT_EQ(disk.Get("/mail/Bank/Job.loc"), another);
}

/// Whatever happens at whichever call: all files have the old names or all have the new ones, and nothing
/// else is there.
TEST_F(Renaming, IsWholeWhateverHappens) {
    const Contents oldFiles = {{"Work.loc", "1"},   {"Work.mtx", "2"},   {"Work.PROP", "3"},
                               {"Work#a.loc", "4"}, {"Work#a.mtx", "5"}, {"Other.loc", "6"}};
    const Contents newFiles = {{"Job.loc", "1"},   {"Job.mtx", "2"},   {"Job.PROP", "3"},
                               {"Job#a.loc", "4"}, {"Job#a.mtx", "5"}, {"Other.loc", "6"}};
    for (const Fault fault : kFaults) {
        bool struck = true;
        for (int call = 1; struck; ++call) {
            SCOPED_TRACE(Describe(fault, call));
            disk.Restart();
            Put(oldFiles);
            ui.messages.clear();
            Arrange(disk, fault, call);
            const int result = Rename("Work", "Job");
            struck = disk.struck();
            EXPECT_EQ(ui.messages.size(), result == 0 ? 0U : 1U);
            End(disk, fault);
            if (fault == Fault::FullDisk || fault == Fault::BadDisk) {
                EXPECT_EQ(Files(), result == 0 ? newFiles : oldFiles);
                continue;
            }
            ASSERT_EQ(Recover(false), 0);
            Contents found = Files();
            found.erase("MailBoxInfo.$$r.$$$");
            EXPECT_TRUE(found == newFiles || (found == oldFiles && result != 0))
                << "what was told stays done";
        }
    }
}

TEST_F(Renaming, TheTreeDecidesAfterACrash) {
    for (const bool isRenamed : {false, true}) {
        Put({{"Work.loc", "1"},
             {"Job.mtx", "2"},
             {"Other.loc", "3"},
             {"MailBoxInfo.$$r", "Work\r\nJob\r\nWork.loc\r\nJob.loc\r\nWork.mtx\r\nJob.mtx\r\nend\r\n"}});
        EXPECT_EQ(Recover(isRenamed), 0);
        const std::string name = isRenamed ? "Job" : "Work";
        EXPECT_EQ(Files(), (Contents{{name + ".loc", "1"}, {name + ".mtx", "2"}, {"Other.loc", "3"}}));
    }
    // A journal that nobody here has written moves nothing and does not stay in the way.
    for (const char* journal :
         {"", "Work\r\nJob\r\nWork.loc\r\nJob.loc\r\n", "Work\r\nJob\r\nOther.loc\r\n..\\Job.loc\r\nend\r\n",
          "Work\r\nJob\r\nMailBoxInfo.ini\r\nJob.ini\r\nend\r\n"}) {
        Put({{"Work.loc", "1"}, {"MailBoxInfo.ini", "2"}, {"Other.loc", "3"}, {"MailBoxInfo.$$r", journal}});
        EXPECT_EQ(Recover(true), 0);
        EXPECT_EQ(Files(), (Contents{{"Work.loc", "1"}, {"MailBoxInfo.ini", "2"}, {"Other.loc", "3"}}));
    }
}

}  // namespace
}  // namespace postkite::store
