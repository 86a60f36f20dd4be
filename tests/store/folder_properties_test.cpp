#include "store/folder_properties.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "tests/support/memory_file_system.h"

namespace postkite::store {
using namespace core::literals;

namespace {

constexpr std::string_view kCurrent = "PKV238 SETTING FILE\r\n";
constexpr std::string_view kOlder = "PKV232 SETTING FILE\r\n";
const char* const kPath = "/w/Inbox.PROP";

class FolderPropertiesTest : public ::testing::Test {
  protected:
    FolderPropertiesTest() { disk.PutDirectory("/w"); }

    void Put(std::string_view magic, const std::string& rest) { disk.Put(kPath, std::string(magic) + rest); }
    /// Sound, address and template.
    std::string Read() {
        FolderProperties read{"old", "old", "old"};
        EXPECT_EQ(ReadFolderProperties(files, read), 0);
        return read.sound + "|" + read.defaultAddress + "|" + read.replyTemplate;
    }
    /// What the template gives for `record`, in a file that has it behind an empty address line of the older
    /// version.
    std::string Reply(std::string_view replyTemplate) {
        Put(kOlder, "\r\n" + std::string(replyTemplate));
        std::string out = "untouched";
        EXPECT_EQ(BuildReplyHeader(files, record, out, mailText), 0);
        return out;
    }

    support::MemoryFileSystem disk;
    core::Workspace workspace{disk, "/w"};
    FolderFiles files = FilesOf(workspace, "", "Inbox");
    MailRecord record;
    std::string mailText;
};

TEST_F(FolderPropertiesTest, ReadsBothVersionsAndWritesTheCurrentOne) {
    EXPECT_EQ(WriteFolderProperties(files, {"C:\\ring.wav", "AAA00001", std::string(kDefaultReplyTemplate)}),
              0);
    EXPECT_EQ(disk.Get(kPath), std::string(kCurrent) + "C:\\ring.wav\r\nAAA00001\r\n%n " +
                                   std::string("さんの\r\n題名：%S\r\nに対する返信メールです。\r\n"_sjis));
    EXPECT_EQ(Read(), "C:\\ring.wav|AAA00001|" + std::string(kDefaultReplyTemplate));
    Put(kOlder, "ring.wav\r\nfirst\r\nsecond");
    EXPECT_EQ(Read(), "ring.wav||first\r\nsecond");
    EXPECT_EQ(WriteFolderProperties(files, {"ring.wav", "", "first\r\nsecond"}), 0);
    EXPECT_EQ(disk.Get(kPath), std::string(kCurrent) + "ring.wav\r\n\r\nfirst\r\nsecond");
    Put("PKV999 SETTING FILE\r\n", "ring.wav\r\nfirst\r\n");
    EXPECT_EQ(Read(), "||");
}

TEST_F(FolderPropertiesTest, AFileCutAnywhereHasWhatIsWhole) {
    const std::string whole = std::string(kCurrent) + "ring.wav\r\nAAA00001\r\n%n\r\n";
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        disk.Put(kPath, whole.substr(0, length));
        const std::string expectedSound = length >= 30 ? "ring.wav" : "";
        const std::string expectedAddress = length >= 40 ? "AAA00001" : "";
        const std::string rest = length > 41 ? whole.substr(41, length - 41) : "";
        EXPECT_EQ(Read(), expectedSound + "|" + expectedAddress + "|" + rest) << length;
        std::string sound = "old";
        std::string address = "old";
        EXPECT_EQ(ReadFolderSound(files, sound) + ReadFolderDefaultAddress(files, address), 0);
        EXPECT_EQ(sound + "|" + address, expectedSound + "|" + expectedAddress) << length;
    }
}

TEST_F(FolderPropertiesTest, SoundAndAddressAreThereForCallersThatKnowNoVersion) {
    std::string out = "untouched";
    EXPECT_EQ(ReadFolderSound(files, out), -1);
    EXPECT_EQ(ReadFolderDefaultAddress(files, out), -1);
    EXPECT_EQ(BuildReplyHeader(files, record, out, mailText), -1);
    EXPECT_EQ(out, "untouched");
    for (const std::string_view magic : {kOlder, std::string_view("something\r\n")}) {
        Put(magic, "ring.wav\r\nAAA00001\r\n");
        EXPECT_EQ(ReadFolderSound(files, out), 0);
        EXPECT_EQ(out, "ring.wav");
        EXPECT_EQ(ReadFolderDefaultAddress(files, out), 0);
        EXPECT_EQ(out, "");
    }
}

TEST_F(FolderPropertiesTest, RefusesWhatTheFileCannotHoldAndCutsWhatItReads) {
    const std::string longest(1024, 'a');
    EXPECT_EQ(WriteFolderProperties(files, {longest, longest, longest}), 0);
    const std::string before = *disk.Get(kPath);
    for (const FolderProperties& refused :
         {FolderProperties{longest + "a", "", ""}, FolderProperties{"", longest + "a", ""},
          FolderProperties{"", "", longest + "a"}, FolderProperties{"a\r\n", "", ""},
          FolderProperties{"", "a\nb", ""}, FolderProperties{"", "", std::string("a\0b", 3)}}) {
        EXPECT_EQ(WriteFolderProperties(files, refused), -EINVAL);
    }
    EXPECT_EQ(disk.Get(kPath), before);

    const std::string tooLong = longest.substr(1) + std::string("能能"_sjis);
    Put(kCurrent, tooLong + "\r\n" + tooLong + "\r\n" + tooLong);
    const std::string cut = longest.substr(1);
    EXPECT_EQ(Read(), cut + "|" + cut + "|" + cut);
    Put(kOlder, "\r\n" + longest.substr(2) + std::string("能能"_sjis));
    EXPECT_EQ(Read(), "||" + longest.substr(2) + std::string("能"_sjis)) << "no character is cut off in vain";
}

TEST_F(FolderPropertiesTest, AFaultLeavesTheOldFileAndIsNeverAnEmptyOne) {
    const std::string before = std::string(kCurrent) + "old.wav\r\n\r\nold";
    const std::string after = std::string(kCurrent) + "new.wav\r\n\r\nnew";
    bool struck = true;
    for (int call = 1; struck; ++call) {
        for (const bool stops : {false, true}) {
            disk.Put(kPath, before);
            stops ? disk.StopAtCall(call) : disk.FailCall(call, -ENOSPC);
            const int written = WriteFolderProperties(files, {"new.wav", "", "new"});
            struck = disk.struck();
            disk.PowerCut();
            EXPECT_EQ(written == 0, !struck) << call;
            const std::string now = *disk.Get(kPath);
            EXPECT_TRUE(now == after || (written != 0 && now == before)) << call << ": " << now;
        }
    }
    disk.Put(kPath, before);
    struck = true;
    for (int call = 1; struck; ++call) {
        disk.FailCall(call, -EIO);
        FolderProperties read;
        const int result = ReadFolderProperties(files, read);
        struck = disk.struck();
        EXPECT_EQ(result, struck ? -EIO : 0) << call;
        EXPECT_EQ(read.replyTemplate, struck ? "" : "old") << call;
        disk.Restart();
    }
}

TEST_F(FolderPropertiesTest, PlaceholdersTakeTheirValues) {
    record.subject = "題名"_sjis;
    record.address = "AAA00001";
    record.name = "山田　花子　　"_sjis;
    mailText =
        "Received: x\r\nDate:   Mon, 1 Jan \r\nFrom: hanako\r\nMessage-Id:<1@x>\r\n\r\nbody\r\nFrom: "
        "nobody\r\n";
    EXPECT_EQ(Reply("%D|%F|%M|%S|%a|%n|"), "Mon, 1 Jan |hanako|<1@x>|" + std::string("題名"_sjis) +
                                               "|AAA00001|" + std::string("山田　花子|"_sjis));
    mailText = "Date: first line of all\r\nX: y\r\n\r\n\r\nFrom: body\r\n";
    EXPECT_EQ(Reply("%D%F%M."), ".") << "no line before it, none at all, and one behind the header";
    // 0x83 0x81 is one character, so that what follows is "@" and no wide blank.
    record.name = "\x83\x81\x40";
    EXPECT_EQ(Reply("%n"), "\x83\x81\x40");
    record.subject = std::string(510, 's') + std::string("能"_sjis);
    EXPECT_EQ(Reply("%S"), std::string(510, 's')) << "a value has at most 511 bytes, whole characters";
}

TEST_F(FolderPropertiesTest, EverythingElseInATemplateIsText) {
    record.name = "%s%n";
    record.subject = "S";
    const std::string wide("%能%ソn"_sjis);
    constexpr std::string_view kTexts[][2] = {
        {"%n %x %S", "%s%n %x S"},
        {"%s %d %99999d %*n %%", "%s %d %99999d %*n %%"},
        {"%%S 100% %", "%S 100% %"},
        {"%S%S%S%S%S%S%S%S-%S-%S-%S", "SSSSSSSS---%S"},
    };
    for (const auto& [replyTemplate, expected] : kTexts)
        EXPECT_EQ(Reply(replyTemplate), expected);
    EXPECT_EQ(Reply(wide), wide);
}

TEST_F(FolderPropertiesTest, TheTemplateIsWhatStandsBehindTheSecondLine) {
    record.subject = "S";
    std::string out;
    const std::string full(1021, 'a');
    const std::pair<std::string, std::string> cases[] = {
        {"ring.wav\r\n\r\n%S\r\n", "\r\nS\r\n"},
        {"ring.wav\r\nAAA00001\r\n", "AAA00001\r\n"},
        {"\r\n\r\n" + full + "%S", "\r\n" + full + "%"},  // 1024 bytes are the template
    };
    for (const auto& [file, expected] : cases) {
        Put(kCurrent, file);
        EXPECT_EQ(BuildReplyHeader(files, record, out, ""), 0);
        EXPECT_EQ(out, expected);
    }
    Put(kOlder, "ring.wav\r\n");
    EXPECT_EQ(BuildReplyHeader(files, record, out, ""), -1);
    EXPECT_EQ(out.size(), 1024U) << "left alone";
}

}  // namespace
}  // namespace postkite::store
