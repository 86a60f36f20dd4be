#include "core/workspace.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "core/shift_jis.h"
#include "tests/support/memory_file_system.h"

namespace postkite::core {
namespace {

using support::MemoryFileSystem;
using NamesKept = MemoryFileSystem::NamesKept;

class WorkspaceTest : public ::testing::Test {
  protected:
    [[nodiscard]] std::string Located(std::string_view name) const {
        std::filesystem::path path;
        const int result = workspace.Locate(name, path);
        return result == 0 ? path.string() : "error " + std::to_string(-result);
    }

    MemoryFileSystem disk;
    Workspace workspace{disk, "/mail"};
};

std::string Native(std::u8string_view name) {
    return {name.begin(), name.end()};
}

TEST_F(WorkspaceTest, FindsNamesWhateverTheirLetterCase) {
    disk.Put("/mail/SETTING/Setting.INI", "");
    disk.Put(Native(u8"/mail/Ｌｏｇ/ЖΣ.txt"), "");
    EXPECT_EQ(Located("Setting\\setting.ini"), "/mail/SETTING/Setting.INI");
    EXPECT_EQ(Located("setting\\New.ini"), "/mail/SETTING/New.ini");
    EXPECT_EQ(Located("None\\setting.ini"), "/mail/None/setting.ini");
    EXPECT_EQ(Located("ｌＯＧ\\жσ.TXT"_sjis), Native(u8"/mail/Ｌｏｇ/ЖΣ.txt"));

    disk.Put("/mail/setting/setting.ini", "");
    EXPECT_EQ(Located("setting\\setting.ini"), "/mail/setting/setting.ini");
    EXPECT_EQ(Located("SETTING\\Setting.ini"), "/mail/SETTING/Setting.INI")
        << "a directory is not left again";
    EXPECT_EQ(Located("seTTing"), "/mail/SETTING") << "the first in order";
}

TEST_F(WorkspaceTest, TrailBytesThatLookLikeSeparatorsAndLettersDoNot) {
    EXPECT_EQ(Located("表能ソ\\ソ\\十.能"_sjis), Native(u8"/mail/表能ソ/ソ/十.能"));
    // 0x8361 and 0x8341 would be one character if their trail bytes were letters.
    disk.Put(Native(u8"/mail/ア"), "");
    EXPECT_EQ(Located("ヂ"_sjis), Native(u8"/mail/ヂ"));
    disk.Put(Native(u8"/mail/a\u301Cb"), "");
    EXPECT_EQ(Located("A～B"_sjis), Native(u8"/mail/a\u301Cb"));
    disk.Put(
        "/mail/\xFF\xFE"
        "c",
        "");
    EXPECT_EQ(Located("C"), "/mail/C");
}

TEST_F(WorkspaceTest, SuperfluousSeparatorsAreNone) {
    for (const std::string_view name : {"Setting\\\\a.ini", ".\\Setting\\.\\a.ini", "Setting\\a.ini\\"})
        EXPECT_EQ(Located(name), "/mail/Setting/a.ini") << name;
}

TEST_F(WorkspaceTest, RefusesWhatLeavesTheDirectoryOrIsNoName) {
    disk.Put("/mail/here", "here");
    disk.Put("/outside", "outside");
    const std::string_view refused[] = {
        "", "\\", "\\x", "\\\\server\\share", "/x", "c:", "c:\\x", "C:x", "..", "..\\outside",
        "a\\..\\..\\outside", "..\\mail\\x", "...", ". .", "../outside", "x\\../../outside", "x.", "x ",
        "x.\\y", "x \\y", " ", "<", "a>b", "x:y", "\"x\"", "a|b", "a?", "*", "a\tb", "a\r\nb", "\x1F", "\x7F",
        "\x80", std::string_view("a\0b", 3),
        // No character: a lead byte at the end, before a separator, before a byte that is no trail byte,
        // unassigned.
        "a\x83", "a\x83\\\\b\x83", "\x83 x", "\x81\x39", "\x85\x40", "\xFC\xFC", "NUL", "nul", "Con",
        "aux.txt", "PRN.tar.gz", "a\\nul", "nul\\a", "nul .txt", "COM1", "com9.log", "LPT1", "lpt0", "CLOCK$",
        "conin$", "CONOUT$.x", "Config$"};
    for (const std::string_view name : refused) {
        EXPECT_EQ(Located(name), "error " + std::to_string(EINVAL)) << name;
        EXPECT_EQ(workspace.Replace(name, "evil"), -EINVAL) << name;
        EXPECT_EQ(workspace.CreateDirectory(name), -EINVAL) << name;
        EXPECT_EQ(workspace.Copy("here", name), -EINVAL) << name;
        EXPECT_EQ(workspace.Copy(name, "there"), -EINVAL) << name;
    }
    EXPECT_EQ(disk.Get("/outside"), "outside");
    EXPECT_EQ(disk.Names("/mail"), std::vector<std::string>{"here"});
    EXPECT_EQ(disk.Names("/"), (std::vector<std::string>{"mail", "outside"}));

    // The directory itself can be named, but it is no file.
    EXPECT_EQ(Located("."), "/mail");
    disk.Put("/mail.$$$", "outside");
    EXPECT_LT(workspace.Replace(".", "evil"), 0);
    EXPECT_LT(workspace.Replace(".\\", "evil"), 0);
    EXPECT_LT(workspace.Copy("here", "."), 0);
    EXPECT_EQ(disk.Get("/mail.$$$"), "outside") << "not a file of the directory";
}

TEST_F(WorkspaceTest, TakesNamesThatOnlyResembleRefusedOnes) {
    const std::string_view taken[] = {
        "console", "com",        "com10",       "COMA",    "lpt",        "null",       "xnul", "conin",
        ".nul",    ".hidden",    " x",          "a..b",    "a b",        "BMTEMP.$$$", "~",    "'x'",
        "{1}",     "ｱ.txt"_sjis, "ＣＯＮ"_sjis, "能"_sjis, "ー.能"_sjis, "①"_sjis};
    for (const std::string_view name : taken) {
        EXPECT_TRUE(Workspace::IsSafeComponent(name)) << name;
        EXPECT_EQ(Located(name), Native(ToUtf8(std::string("/mail/").append(name)))) << name;
    }
    for (const std::string_view name : {"a\\b", "\\", "", ".", ".."})
        EXPECT_FALSE(Workspace::IsSafeComponent(name)) << name;
}

constexpr std::string_view kOld = "what stood there before";
constexpr std::string_view kNew = "what is to stand there";

/// A disk with the old file and what a killed program left, in another spelling.
struct OldFile {
    OldFile() {
        disk.Put("/mail/SETTING/a.ini", kOld);
        disk.Put("/mail/SETTING/a.ini.$$$", "half of som");
    }
    int Replace() { return workspace.Replace("Setting\\A.INI", kNew); }
    [[nodiscard]] std::string Content() const { return disk.Get("/mail/SETTING/a.ini").value_or("(lost)"); }
    [[nodiscard]] bool IsTidy() const {
        return disk.Names("/mail/SETTING") == std::vector<std::string>{"a.ini"};
    }

    MemoryFileSystem disk;
    Workspace workspace{disk, "/mail"};
};

TEST(WorkspaceReplaceTest, EveryFailingCallLeavesOneOrTheOtherWhole) {
    for (int call = 1;; ++call) {
        OldFile on;
        on.disk.FailCall(call, -EDQUOT);
        const int result = on.Replace();
        if (!on.disk.struck()) {
            EXPECT_EQ(result, 0);
            EXPECT_TRUE(on.IsTidy());
            EXPECT_GT(call, 6);
            break;
        }
        EXPECT_EQ(result, -EDQUOT) << "call " << call;
        EXPECT_TRUE(on.Content() == kOld || on.Content() == kNew) << "call " << call << ": " << on.Content();
        EXPECT_EQ(on.Replace(), 0) << "call " << call;
        EXPECT_EQ(on.Content(), kNew);
        EXPECT_TRUE(on.IsTidy());
    }
    for (std::size_t stored = 0; stored < kNew.size(); ++stored) {
        OldFile on;
        on.disk.ShortWrite(1, stored);
        EXPECT_EQ(on.Replace(), -ENOSPC);
        EXPECT_EQ(on.Content(), kOld);
        EXPECT_TRUE(on.IsTidy());
    }
}

TEST(WorkspaceReplaceTest, EveryMomentOfACrashLeavesOneOrTheOtherWhole) {
    const auto crash = [](int aftermath, const std::function<void(MemoryFileSystem&)>& arm) {
        OldFile on;
        arm(on.disk);
        const int result = on.Replace();
        const bool struck = on.disk.struck();
        if (aftermath == 0) on.disk.Restart();
        if (aftermath > 0) on.disk.PowerCut(aftermath == 1 ? NamesKept::Durable : NamesKept::Written);
        EXPECT_TRUE(on.Content() == kOld || on.Content() == kNew) << on.Content();
        EXPECT_TRUE(result < 0 || on.Content() == kNew) << "it was said to be there for good";
        EXPECT_EQ(on.Replace(), 0);
        EXPECT_EQ(on.Content(), kNew);
        EXPECT_TRUE(on.IsTidy());
        return struck;
    };
    for (int aftermath = 0; aftermath < 3; ++aftermath) {
        SCOPED_TRACE(aftermath);
        for (int call = 1; crash(aftermath, [=](auto& disk) { disk.StopAtCall(call); }); ++call)
            SCOPED_TRACE(call);
        EXPECT_TRUE(crash(aftermath, [](auto& disk) { disk.StopWithinWrite(1, 5); }));
    }
}

TEST_F(WorkspaceTest, ReplacesOnlyFilesInDirectoriesThatAreThere) {
    disk.PutDirectory("/mail/Setting/dir");
    EXPECT_EQ(workspace.Replace("Setting\\new.ini", kNew), 0);
    EXPECT_EQ(disk.Get("/mail/Setting/new.ini"), kNew);
    EXPECT_EQ(workspace.Replace("None\\new.ini", kNew), -ENOENT);
    EXPECT_EQ(workspace.Replace("Setting\\dir", kNew), -EISDIR);
    EXPECT_EQ(disk.Names("/mail/Setting"), (std::vector<std::string>{"dir", "new.ini"}));
}

TEST_F(WorkspaceTest, CopiesWholeOrNotAtAll) {
    std::string content(700'001, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 31 >> 7U);
    for (int call = 1, struck = 1; struck == 1; ++call) {
        MemoryFileSystem fresh;
        fresh.Put("/mail/Setting/a", content);
        Workspace on(fresh, "/mail");
        fresh.FailCall(call, -EIO);
        const int result = on.Copy("setting\\A", "Setting\\a.bak");
        struck = fresh.struck() ? 1 : 0;
        EXPECT_EQ(result, struck == 1 ? -EIO : 0) << "call " << call;
        fresh.PowerCut();
        const auto copy = fresh.Get("/mail/Setting/a.bak");
        EXPECT_TRUE(copy == content || (struck == 1 && !copy)) << "call " << call;
        EXPECT_EQ(fresh.Get("/mail/Setting/a"), content);
    }
    disk.Put("/mail/a", "a");
    disk.Put("/mail/B", "b");
    EXPECT_EQ(workspace.Copy("a", "b"), -EEXIST);
    EXPECT_EQ(disk.Get("/mail/B"), "b");
    EXPECT_EQ(workspace.Copy("none", "c"), -ENOENT);
    disk.ShortWrite(1, 0);
    EXPECT_EQ(workspace.Copy("a", "c"), -ENOSPC);
    EXPECT_EQ(disk.Names("/mail"), (std::vector<std::string>{"B", "a"}));
}

TEST_F(WorkspaceTest, TheLockIsSharedWithinAndKeepsOthersOut) {
    disk.PutDirectory("/mail");
    Workspace other(disk, "/mail");
    WorkspaceLock othersLock;
    {
        WorkspaceLock outer;
        ASSERT_EQ(workspace.Lock(true, outer), 0);
        {
            WorkspaceLock inner;
            ASSERT_EQ(workspace.Lock(true, inner), 0);
        }
        EXPECT_EQ(other.Lock(false, othersLock), -EWOULDBLOCK) << "given up with the inner one";
        ASSERT_EQ(workspace.Lock(false, outer), 0);
        EXPECT_EQ(other.Lock(false, othersLock), -EWOULDBLOCK);
    }
    EXPECT_EQ(other.Lock(false, othersLock), 0);
    WorkspaceLock refused;
    EXPECT_EQ(workspace.Lock(false, refused), -EWOULDBLOCK);
}

TEST_F(WorkspaceTest, PreparesADirectoryThatKeepsWhatIsPutThere) {
    Workspace deep(disk, "/home/mail");
    ASSERT_EQ(deep.Prepare(), 0);
    ASSERT_EQ(deep.Prepare(), 0);
    ASSERT_EQ(deep.Replace("Setting\\a.ini", kNew), 0);
    disk.PowerCut();
    EXPECT_EQ(disk.Get("/home/mail/Setting/a.ini"), kNew) << "the new directory was not on the disk";

    disk.PutDirectory("/mail/SETTING");
    ASSERT_EQ(workspace.Prepare(), 0);
    EXPECT_EQ(disk.Names("/mail"), std::vector<std::string>{"SETTING"});
}

}  // namespace
}  // namespace postkite::core
