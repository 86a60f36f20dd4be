#include "store/folder_tree.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/shift_jis.h"

namespace postkite::store {
namespace {

using namespace core::literals;
using Names = std::vector<std::string>;

/// Every folder as "depth base name state".
Names Listed(const FolderTree& tree) {
    Names names;
    tree.Walk([&names](const Folder& folder, const std::string& baseName) {
        EXPECT_EQ(BaseNameOf(folder), baseName);
        names.push_back(std::to_string(DepthOf(folder)) + " " + baseName + " " +
                        std::to_string(folder.state));
        return true;
    });
    return names;
}

TEST(FolderTree, KeepsAFileByteForByte) {
    // A name whose last byte is 0x5C, one that no file can bear, one with a broken character, a negative
    // state.
    const std::string bytes = "00Desktop\r\n01Inbox/0\r\n01Work/1\r\n0297/0\r\n0301/12\r\n02" +
                              std::string("表/0\r\n"_sjis) +
                              "01FHOBBY,mes1 talk/0\r\n01a:b\x1f/0\r\n01\x81/-3\r\n01" +
                              std::string(300, 'n') + "/0\r\n01Trash/0\r\n";
    FolderTree tree;
    EXPECT_TRUE(tree.Read(bytes));
    EXPECT_EQ(tree.Format(), bytes);
    EXPECT_EQ(tree.FormatBaseNames(), "Inbox\r\nWork\r\nWork#97\r\nWork#97#01\r\nWork#" +
                                          std::string("表\r\n"_sjis) +
                                          "FHOBBY,mes1 talk\r\na:b\x1f\r\n\x81\r\n\r\nTrash\r\n");
    EXPECT_TRUE(tree.Read(kDefaultTree));
    EXPECT_EQ(Listed(tree), (Names{"0 Desktop 0", "1 Inbox 0", "1 Outbox 0", "1 Trash 0"}));
    EXPECT_EQ(tree.Format(), "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/0\r\n");
}

struct DamageCase {
    const char* what;
    std::string bytes;
    Names folders;
    bool understood;
};

TEST(FolderTree, ReadsWhatItCanOfADamagedFile) {
    const DamageCase cases[] = {
        {"empty", "", {}, true},
        {"no first line", "01Inbox/0\r\n", {"1 Inbox 0"}, false},
        {"another root", "00Other\r\n01A/0\r\n", {"1 A 0"}, false},
        {"cut last line", "00Desktop\r\n01Inbox/0\r\n01Out", {"1 Inbox 0"}, false},
        {"depth jumps",
         "00Desktop\r\n01A/0\r\n05B/0\r\n03C/0\r\n02D/0\r\n",
         {"1 A 0", "2 A#B 0", "2 A#C 0", "2 A#D 0"},
         true},
        {"first line too deep", "00Desktop\r\n99A/0\r\n01B/0\r\n", {"1 A 0", "1 B 0"}, true},
        {"depth 0 again", "00Desktop\r\n01A/0\r\n00Desktop\r\n00B/2\r\n", {"1 A 0", "1 B 2"}, true},
        {"garbage between", "00Desktop\r\nx\r\n\r\n01\r\n01/4\r\n1A/0\r\n01B/0\r\n", {"1 B 0"}, false},
        {"no state, odd states",
         "00Desktop\r\n01A\r\n01B/\r\n01C/7/8\r\n01D/x\r\n",
         {"1 A 0", "1 B 0", "1 C 7", "1 D 0"},
         false},
        {"a zero byte", std::string("00Desktop\r\n01A\0B/3\r\n", 20), {"1 A 0"}, false},
        {"other line ends", "00Desktop\n01A/0\n", {}, false},
        {"duplicates",
         "00Desktop\r\n01A/0\r\n02x/0\r\n01a/0\r\n01A/0\r\n",
         {"1 A 0", "2 A#x 0", "1 a 0", "1 A 0"},
         true},
        {"a second root",
         "00Desktop\r\n01A/0\r\n02desktop/0\r\n03B/0\r\n02C/0\r\n",
         {"1 A 0", "2 A#desktop 0", "3 B 0", "2 A#C 0"},
         true},
    };
    for (const DamageCase& damage : cases) {
        SCOPED_TRACE(damage.what);
        FolderTree tree;
        EXPECT_EQ(tree.Read(damage.bytes), damage.understood);
        Names expected = {"0 Desktop 0"};
        expected.insert(expected.end(), damage.folders.begin(), damage.folders.end());
        EXPECT_EQ(Listed(tree), expected);
        // What is saved reads back as the same tree.
        FolderTree again;
        EXPECT_TRUE(again.Read(tree.Format()));
        EXPECT_EQ(Listed(again), expected);
    }
}

TEST(FolderTree, SurvivesDeepAndLargeFiles) {
    std::string deep = "00Desktop\r\n";
    for (int depth = 1; depth <= 99; ++depth)
        deep += (depth < 10 ? "0" : "") + std::to_string(depth) + "f/0\r\n";
    FolderTree tree;
    ASSERT_TRUE(tree.Read(deep));
    EXPECT_EQ(tree.Format(), deep);
    std::string deepest = "f";
    for (int depth = 2; depth <= kDeepestFolder; ++depth)
        deepest += "#f";
    Folder* last = tree.Find(deepest);
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(tree.Add(*last, "deeper"), nullptr);
    Folder* top = tree.Add(tree.root(), "top");
    EXPECT_FALSE(FolderTree::FitsBelow(*tree.Find("f"), *top));
    EXPECT_TRUE(FolderTree::FitsBelow(*tree.Find("f#f"), *top));

    std::string large(1'000'000, 'x');
    EXPECT_FALSE(tree.Read(large));
    for (std::size_t at = 0; at + 10 < large.size(); at += 10)
        large.replace(at, 10, (at % 100 == 0 ? "01" : "99") + std::string("name/0\r\n"));
    EXPECT_FALSE(tree.Read("00Desktop\r\n" + large));
    EXPECT_EQ(tree.root().children.size(), 10'000U);
}

TEST(FolderTree, FindsFoldersByBaseName) {
    FolderTree tree;
    tree.Read("00Desktop\r\n01inbox/0\r\n01Inbox/1\r\n01Work/0\r\n02Inbox/2\r\n01Trash/0\r\n");
    EXPECT_EQ(tree.Find("Inbox")->state, 1) << "the one spelled so";
    EXPECT_EQ(tree.Find("INBOX")->name, "inbox");
    EXPECT_EQ(tree.Find("work#INBOX")->state, 2);
    EXPECT_EQ(tree.Find("desktop"), &tree.root());
    EXPECT_EQ(tree.Find("Work#"), nullptr);
    EXPECT_EQ(tree.Find(""), nullptr);
    EXPECT_EQ(tree.FirstOf(FolderClass::Inbox)->state, 1);
    EXPECT_EQ(tree.FirstOf(FolderClass::Outbox), nullptr);

    tree.Move(*tree.Find("Work"), *tree.Find("Trash"));
    EXPECT_EQ(tree.Find("Trash#Work#Inbox")->state, 2);
    tree.Remove(*tree.Find("Trash#Work"));
    EXPECT_EQ(tree.Format(), "00Desktop\r\n01inbox/0\r\n01Inbox/1\r\n01Trash/0\r\n");

    tree.Read("00Desktop\r\n01A/0\r\n02desktop/0\r\n03B/7\r\n");
    EXPECT_EQ(tree.Find("A#desktop")->name, "desktop");
    EXPECT_EQ(tree.Find("b")->state, 7);
}

TEST(FolderTree, ClassesNames) {
    EXPECT_EQ(ClassOf("Desktop"), FolderClass::Desktop);
    EXPECT_EQ(ClassOf("Trash"), FolderClass::Trash);
    EXPECT_EQ(ClassOf("trash"), FolderClass::Other);
    for (const char* fixed : {"DESKTOP", "inbox", "Outbox", "downLoad", "Trash"})
        EXPECT_TRUE(IsFixedName(fixed)) << fixed;
    for (const char* special : {"Server", "FHOBBY,MES1", "FHOBBY,lib12 x"})
        EXPECT_TRUE(IsSpecialName(special)) << special;
    EXPECT_FALSE(IsFixedName("Inbox2") || IsSpecialName("server2") || IsSpecialName("mes,"));

    std::string asked;
    const auto classify = [&asked](std::string_view part) {
        asked = part;
        return FolderImage::ForumPerDay;
    };
    EXPECT_EQ(ImageOf("Trash", classify), FolderImage::Trash);
    EXPECT_EQ(ImageOf("server", classify), FolderImage::Server);
    EXPECT_EQ(ImageOf("Work", classify), FolderImage::Ordinary);
    EXPECT_EQ(asked, "");
    EXPECT_EQ(ImageOf("FHOBBY,mes1 talk and more", classify), FolderImage::ForumPerDay);
    EXPECT_EQ(asked, "FHOBBY,mes1");
}

}  // namespace
}  // namespace postkite::store
