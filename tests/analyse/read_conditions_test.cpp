#include "analyse/read_conditions.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "core/shift_jis.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"

namespace postkite::analyse {
namespace {

using namespace core::literals;

constexpr const char* kRoom = "FABC,mes1";
constexpr const char* kPath = "/mail/Setting/FABC,mes1";

std::string File(std::string_view condition, std::string_view rest) {
    return std::string("読み込み条件="_sjis) + std::string(condition) + std::string(rest);
}

struct ReadConditionsTest : testing::Test {
    void SetUp() override { disk.PutDirectory("/mail/Setting"); }

    /// Whether the room is read, what `GetReadCondition` says, and the date.
    std::string Read(std::string_view folder = kRoom) {
        std::string date;
        std::string sameDate;
        const int should = ShouldReadFolder(workspace, clock, folder, date);
        const int condition = GetReadCondition(workspace, folder, sameDate);
        EXPECT_EQ(date, sameDate);
        return std::to_string(should) + std::to_string(condition) + date;
    }

    support::MemoryFileSystem disk;
    core::Workspace workspace{disk, "/mail"};
    support::FixedClock clock;  // 97/01/24
};

TEST_F(ReadConditionsTest, TheFileSaysWhetherAFolderIsRead) {
    const std::pair<std::string, std::string> kFiles[] = {
        {File("read", "\r\nlast access=97/01/24\r\n"), "1197/01/24"},
        {File("perday", "\r\nlast access=97/01/24\r\n"), "0297/01/24"},
        {File("perday", "\r\nlast access=97/01/23\r\n"), "1297/01/23"},
        {File("perday", "\r\nlast access=00/01/01\r\n"), "0200/01/01"},
        {File("perday", "\r\nlast access=70/01/01\r\n"), "1270/01/01"},
        {File("perday", "\r\nlast acc\r\n"), "12"},
        {File("perday", "\r\nlast access=97/1/23 \r\n"), "12"},
        {File("perday", "\r\nlast access=97/01/23 12:00\r\n"), "1297/01/23"},
        {File("perday", "\r\n"), "12"},
        {File("read", "\r\nlast access=97/01/23"), "1197/01/23"},
        {File("read", ""), "11"},
        {File("READ", "\r\n"), "02"},
        {"read\r\nlast access=97/01/23\r\n", "0297/01/23"},
        {"\r\n", "02"},
        {"", "00"}};
    EXPECT_EQ(Read(), "00");
    for (const auto& [file, expected] : kFiles) {
        disk.Put(kPath, file);
        EXPECT_EQ(Read(), expected) << file;
    }
    EXPECT_EQ(Read("fabc,MES1"), "00") << "of the last file";
    clock.now.year = 2000;
    disk.Put(kPath, File("perday", "\r\nlast access=99/12/31\r\n"));
    EXPECT_EQ(Read(), "1299/12/31");
    disk.FailCall(1, -EIO);
    ReadCondition condition;
    EXPECT_EQ(ReadReadCondition(workspace, kRoom, condition), -EIO);
}

TEST_F(ReadConditionsTest, TodayBecomesTheLastAccessAndTheFirstLineStays) {
    const std::pair<std::string, std::string> kFirstLines[] = {
        {File("perday", "\r\nlast access=97/01/23\r\nmore\r\n"), File("perday", "\r\n")},
        {File("read", ""), File("read", "\r\n")},
        {std::string("\x81 any\0thing\r\n", 13), std::string("\x81 any\0thing\r\n", 13)},
        {"\r\nlast access=97/01/23\r\n", "\r\n"},
        {"", File("notread", "\r\n")}};
    for (const auto& [file, first] : kFirstLines) {
        disk.Put(kPath, file);
        ASSERT_EQ(RecordLastAccess(workspace, clock, kRoom), 0);
        EXPECT_EQ(disk.Get(kPath), first + "last access=97/01/24\r\n");
    }
    const std::string huge(100'000, 'x');
    disk.Put(kPath, huge);
    EXPECT_EQ(RecordLastAccess(workspace, clock, kRoom), -EMSGSIZE);
    EXPECT_EQ(disk.Get(kPath)->size(), huge.size());

    EXPECT_EQ(RecordLastAccess(workspace, clock, "FABC,mes2"), 0);
    EXPECT_FALSE(disk.Exists("/mail/Setting/FABC,mes2"));
    disk.Put(kPath, File("read", "\r\n"));
    disk.FailCall(4, -ENOSPC);
    EXPECT_LT(RecordLastAccess(workspace, clock, kRoom), 0);
    EXPECT_EQ(disk.Get(kPath), File("read", "\r\n"));
}

TEST_F(ReadConditionsTest, APlaceGetsItsFileOnce) {
    disk.FailCall(4, -ENOSPC);
    EXPECT_LT(CreateReadCondition(workspace, kRoom), 0);
    EXPECT_FALSE(disk.Exists(kPath));
    ASSERT_EQ(CreateReadCondition(workspace, kRoom), 0);
    EXPECT_EQ(disk.Get(kPath), File("notread", "\r\n"));
    disk.Put(kPath, File("perday", ""));
    EXPECT_EQ(CreateReadCondition(workspace, kRoom), 0);
    EXPECT_EQ(disk.Get(kPath), File("perday", ""));
    EXPECT_EQ(CreateReadCondition(workspace, "Inbox"), -EINVAL);
}

TEST_F(ReadConditionsTest, NoOtherFileIsReached) {
    constexpr std::string_view kRefused[] = {
        "setting.ini",        "",           ",mes1",       "FABC",
        "FABC,mes",           "FABC,mes 1", "FABC,mes01",  "FABC,mes-1",
        "FABC,mes1234567890", "FABC,new1",  "FABC,mes1x",  "..\\FABC,mes1",
        "..,mes1\\x",         "A/B,mes1",   "A\x01,mes1",  "\x81,mes1",
        "C:A,mes1",           "FABC,me",    "FABC\r,mes1", "A*,mes1"};
    const std::string before = "PKV";
    disk.Put("/mail/Setting/setting.ini", before);
    for (const std::string_view folder : kRefused) {
        ForumPlace place;
        EXPECT_FALSE(ParseForumPlace(folder, place)) << folder;
        EXPECT_EQ(WriteReadCondition(workspace, folder, {"read", "97/01/24"}), -EINVAL) << folder;
        EXPECT_EQ(RecordLastAccess(workspace, clock, folder), 0) << folder;
        EXPECT_EQ(Read(folder), "00") << folder;
    }
    EXPECT_EQ(disk.Get("/mail/Setting/setting.ini"), before);
    EXPECT_EQ(disk.Names("/mail/Setting").size(), 1U);
    const std::string tooLong(251, 'a');
    ForumPlace place;
    EXPECT_FALSE(ParseForumPlace(tooLong + ",mes1", place));

    constexpr std::string_view kTaken[] = {"setting.ini,mes1", "FABC,LiB999999999", "a,mes2,mes0"};
    for (const std::string_view folder : kTaken)
        EXPECT_EQ(WriteReadCondition(workspace, folder, {"read", "97/01/24"}), 0) << folder;
    ASSERT_TRUE(ParseForumPlace(kTaken[1], place));
    EXPECT_TRUE(place.library);
    EXPECT_EQ(place.number, 999'999'999);
    ASSERT_TRUE(ParseForumPlace(kTaken[2], place));
    EXPECT_EQ(place.forum + "/" + std::to_string(place.number), "a,mes2/0");
    EXPECT_FALSE(place.library);
    EXPECT_EQ(disk.Get("/mail/Setting/a,mes2,mes0"), File("read", "\r\nlast access=97/01/24\r\n"));
    EXPECT_EQ(WriteReadCondition(workspace, kRoom, {"re\rad", ""}), -EINVAL);
    EXPECT_EQ(WriteReadCondition(workspace, kRoom, {"read", "97-01-24"}), -EINVAL);
}

TEST_F(ReadConditionsTest, PlacesAreThoseOfTheTreeThenThoseWithAFile) {
    store::FolderTree tree;
    tree.Read(
        "00Desktop\r\n01Inbox/0\r\n01Work/0\r\n02FXYZ,lib2/0\r\n01FABC,mes10/0\r\n01fxyz,LIB2/0\r\n01A,mesx/"
        "0\r\n");
    for (const char* name :
         {"setting.ini", "fabc,MES10", "B,mes2", "A,mes3", "B,mes2.bak", "\xEF\xBF\xBD,mes1"})
        disk.Put(std::string("/mail/Setting/") + name, "");
    EXPECT_EQ(ForumFoldersOf(workspace, tree),
              (std::vector<std::string>{"FXYZ,lib2", "FABC,mes10", "A,mes3", "B,mes2"}));
}

}  // namespace
}  // namespace postkite::analyse
