#include "core/workspace.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "core/shift_jis.h"
#include "tests/support/memory_file_system.h"

namespace postkite::core {
namespace {

using support::MemoryFileSystem;
using Names = std::vector<std::string>;
using NamesKept = MemoryFileSystem::NamesKept;

std::string Native(std::u8string_view name) {
    return {name.begin(), name.end()};
}

class WorkspaceTest : public ::testing::Test {
  protected:
    [[nodiscard]] std::string Located(std::string_view name) const {
        std::filesystem::path path;
        const int result = workspace.Locate(name, path);
        return result == 0 ? path.string() : std::to_string(result);
    }

    MemoryFileSystem disk;
    Workspace workspace{disk, "/mail"};
};

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
    for (const std::string_view name : {"setting\\\\a.ini", ".\\setting\\.\\a.ini", "setting\\a.ini\\"})
        EXPECT_EQ(Located(name), "/mail/setting/a.ini") << name;
}

TEST_F(WorkspaceTest, TrailBytesAreNoSeparatorsAndNoLetters) {
    EXPECT_EQ(Located("表能ソ\\ソ\\十.能"_sjis), Native(u8"/mail/表能ソ/ソ/十.能"));
    disk.Put(Native(u8"/mail/ア"), "");  // 0x8341, and the next is 0x8361
    EXPECT_EQ(Located("ヂ"_sjis), Native(u8"/mail/ヂ"));
    disk.Put(Native(u8"/mail/a\u301Cb"), "");
    EXPECT_EQ(Located("A～B"_sjis), Native(u8"/mail/a\u301Cb")) << "as other systems spell it";
    disk.Put("/mail/\xFF", "");
    EXPECT_EQ(Located("C"), "/mail/C") << "a name on the disk that is no text";
}

TEST_F(WorkspaceTest, RefusesWhatLeavesTheDirectoryOrIsNoName) {
    disk.Put("/mail/here", "here");
    disk.Put("/mail.$$$", "outside");
    const std::string_view refused[] = {
        "", "\\", "\\x", "\\\\server\\share", "/x", "c:", "c:\\x", "C:x", "..", "..\\outside", "a\\..\\..\\x",
        "..\\mail\\x", "...", ". .", "../x", "x\\../../x", "x.", "x ", "x.\\y", "x \\y", " ", "<", "a>b",
        "x:y", "\"x\"", "a|b", "a?", "*", "a\tb", "a\r\nb", "\x1F", "\x7F", "\x80",
        std::string_view("a\0b", 3),
        // Lead bytes at the end, before a separator and before a byte that is no trail byte; unassigned
        // codes.
        "a\x83", "a\x83\\\\b\x83", "\x83 x", "\x81\x39", "\x85\x40", "\xFC\xFC",
        // Devices.
        "NUL", "nul", "Con", "aux.txt", "PRN.tar.gz", "a\\nul", "nul\\a", "nul .txt", "COM1", "com9.log",
        "LPT1", "lpt0", "CLOCK$", "conin$", "CONOUT$.x", "Config$"};
    for (const std::string_view name : refused) {
        EXPECT_EQ(Located(name), std::to_string(-EINVAL)) << name;
        EXPECT_EQ(workspace.Replace(name, "evil"), -EINVAL) << name;
        EXPECT_EQ(workspace.CreateDirectory(name), -EINVAL) << name;
        EXPECT_EQ(workspace.Copy("here", name), -EINVAL) << name;
        EXPECT_EQ(workspace.Copy(name, "there"), -EINVAL) << name;
    }
    // The directory itself can be named, but it is no file.
    EXPECT_EQ(Located("."), "/mail");
    EXPECT_LT(workspace.Replace(".", "evil"), 0);
    EXPECT_LT(workspace.Copy("here", ".\\"), 0);
    EXPECT_EQ(disk.Names("/mail"), Names{"here"});
    EXPECT_EQ(disk.Get("/mail.$$$"), "outside") << "no file of the directory";
}

TEST_F(WorkspaceTest, TakesNamesThatOnlyResembleRefusedOnes) {
    const std::string_view taken[] = {
        "console", "com",  "com10",      "COMA",        "lpt",     "null",       "xnul",
        "conin",   ".nul", " x",         "a..b",        "a b",     "BMTEMP.$$$", "~",
        "'x'",     "{1}",  "ｱ.txt"_sjis, "ＣＯＮ"_sjis, "能"_sjis, "ー.能"_sjis, "①"_sjis};
    for (const std::string_view name : taken) {
        EXPECT_TRUE(Workspace::IsSafeComponent(name)) << name;
        EXPECT_EQ(Located(name), Native(ToUtf8(std::string("/mail/").append(name)))) << name;
    }
    for (const std::string_view name : {"a\\b", "\\", "", ".", ".."})
        EXPECT_FALSE(Workspace::IsSafeComponent(name)) << name;
}

constexpr std::string_view kOld = "what stood there before";
constexpr std::string_view kNew = "what is to stand there";

/// A disk with the old file and what a killed program left.
struct OldFile {
    OldFile() {
        disk.Put("/mail/SETTING/a.ini", kOld);
        disk.Put("/mail/SETTING/a.ini.$$$", "half of som");
    }
    int Replace() { return workspace.Replace("Setting\\A.INI", kNew); }
    [[nodiscard]] std::string Content() const { return disk.Get("/mail/SETTING/a.ini").value_or("(lost)"); }
    [[nodiscard]] bool IsTidy() const { return disk.Names("/mail/SETTING") == Names{"a.ini"}; }

    MemoryFileSystem disk;
    Workspace workspace{disk, "/mail"};
};

TEST_F(WorkspaceTest, AReplaceThatFailsOrStopsLeavesOneOrTheOtherWhole) {
    enum Aftermath { kFailure, kKill, kPowerCut, kPowerCutWithNames };
    const auto replace = [](Aftermath aftermath, const std::function<void(MemoryFileSystem&)>& arm) {
        OldFile on;
        arm(on.disk);
        const int result = on.Replace();
        const bool struck = on.disk.struck();
        EXPECT_EQ(result < 0, struck);
        on.disk.Restart();
        if (aftermath == kPowerCut) on.disk.PowerCut();
        if (aftermath == kPowerCutWithNames) on.disk.PowerCut(NamesKept::Written);
        EXPECT_TRUE(on.Content() == kNew || (result < 0 && on.Content() == kOld)) << result << on.Content();
        EXPECT_EQ(on.Replace(), 0) << "what is left is in the way";
        EXPECT_EQ(on.Content(), kNew);
        EXPECT_TRUE(on.IsTidy());
        return struck;
    };
    for (const Aftermath aftermath : {kFailure, kKill, kPowerCut, kPowerCutWithNames}) {
        SCOPED_TRACE(aftermath);
        int call = 1;
        while (replace(aftermath, [=](auto& fresh) {
            aftermath == kFailure ? fresh.FailCall(call, -EDQUOT) : fresh.StopAtCall(call);
        }))
            ++call;
        EXPECT_GT(call, 6);
        replace(aftermath, [](auto& fresh) { fresh.StopWithinWrite(1, 5); });
    }
    OldFile full;
    full.disk.ShortWrite(1, kNew.size() - 1);
    EXPECT_EQ(full.Replace(), -ENOSPC);
    EXPECT_EQ(full.Content(), kOld);
    EXPECT_TRUE(full.IsTidy());
}

TEST_F(WorkspaceTest, ReplacesOnlyFilesInDirectoriesThatAreThere) {
    disk.PutDirectory("/mail/dir");
    EXPECT_EQ(workspace.Replace("new.ini", kNew), 0);
    EXPECT_EQ(workspace.Replace("None\\new.ini", kNew), -ENOENT);
    EXPECT_EQ(workspace.Replace("dir", kNew), -EISDIR);
    EXPECT_EQ(disk.Names("/mail"), (Names{"dir", "new.ini"}));
}

TEST_F(WorkspaceTest, CopiesWholeOrNotAtAll) {
    std::string content(700'001, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 31 >> 7U);
    bool struck = true;
    for (int call = 1; struck; ++call) {
        MemoryFileSystem fresh;
        fresh.Put("/mail/a", content);
        fresh.FailCall(call, -EIO);
        const int result = Workspace(fresh, "/mail").Copy("A", "a.bak");
        struck = fresh.struck();
        EXPECT_EQ(result, struck ? -EIO : 0) << "call " << call;
        fresh.PowerCut();
        const auto copy = fresh.Get("/mail/a.bak");
        EXPECT_TRUE(copy == content || (struck && !copy)) << "call " << call;
    }
    disk.Put("/mail/a", "a");
    disk.Put("/mail/B", "b");
    EXPECT_EQ(workspace.Copy("a", "b"), -EEXIST);
    EXPECT_EQ(disk.Get("/mail/B"), "b");
    EXPECT_EQ(workspace.Copy("none", "c"), -ENOENT);
    disk.ShortWrite(1, 0);
    EXPECT_EQ(workspace.Copy("a", "c"), -ENOSPC);
    EXPECT_EQ(disk.Names("/mail"), (Names{"B", "a"}));
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
    }
    EXPECT_EQ(other.Lock(false, othersLock), 0);
    WorkspaceLock refused;
    EXPECT_EQ(workspace.Lock(false, refused), -EWOULDBLOCK);
}

TEST_F(WorkspaceTest, PreparesADirectoryThatKeepsWhatIsPutThere) {
    Workspace deep(disk, "/home/mail");
    ASSERT_EQ(deep.Prepare(), 0);
    ASSERT_EQ(deep.Prepare(), 0);
    ASSERT_EQ(deep.CreateDirectory("Bank"), 0);
    ASSERT_EQ(deep.Replace("Setting\\a", kNew), 0);
    ASSERT_EQ(deep.Replace("Bank\\a", kNew), 0);
    disk.PowerCut();
    EXPECT_EQ(disk.Get("/home/mail/Setting/a"), kNew) << "the new directory was not on the disk";
    EXPECT_EQ(disk.Get("/home/mail/Bank/a"), kNew) << "the new directory was not on the disk";

    disk.PutDirectory("/mail/SETTING");
    ASSERT_EQ(workspace.Prepare(), 0);
    EXPECT_EQ(disk.Names("/mail"), Names{"SETTING"});
}

}  // namespace
}  // namespace postkite::core
