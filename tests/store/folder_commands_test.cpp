#include "store/folder_commands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <optional>

#include "core/shift_jis.h"
#include "store/index_record.h"
#include "store/text_record.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::store {
namespace {

using namespace core::literals;
using support::MemoryFileSystem;
using support::ShownMessage;

constexpr const char* kTreePath = "/mail/Bank/MailBoxInfo.ini";
constexpr const char* kCompanionPath = "/mail/Setting/MailBoxInfo.ini.tmp";
constexpr const char* kTree =
    "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/0\r\n01Work/1\r\n0297/0\r\n01Friends/0\r\n";

/// A program on the files of a disk.
struct Program {
    explicit Program(MemoryFileSystem& disk) : workspace(disk, "/mail"), state(disk, "/state") {
        mailbox.SetBankDirectory("Bank");
    }

    std::array<std::string, 4> banks = {"Bank", "Second", "..\\outside", "New\\Deep"};
    support::FixedClock clock;
    core::IdentifierMaker identifiers{clock};
    support::RecordingUserInterface ui;
    core::Workspace workspace;
    core::Workspace state;
    Mailbox mailbox{workspace, state, ui, clock, identifiers};
    Folders folders{mailbox, banks};

    void Add(std::string_view folder, std::string_view subject, std::string_view body = "text\r\n") {
        MailRecord record;
        record.flags = kReceivedMailFlags;
        record.subject = subject;
        record.body = body;
        ASSERT_EQ(mailbox.AppendMail(folder, record, -1), 0);
    }
    std::vector<std::string> Subjects(std::string_view folder) {
        std::vector<std::string> subjects;
        MailRecord record;
        for (int number = 0; number < mailbox.CountMails(folder); ++number)
            subjects.push_back(mailbox.ReadMail(folder, number, record, 0) == 0 ? record.subject : "damaged");
        return subjects;
    }
    /// The only message that was shown.
    void ExpectTold(std::string_view text) {
        ASSERT_EQ(ui.messages.size(), 1U) << "for " << text;
        EXPECT_EQ(ui.messages[0], (ShownMessage{"Postkite", std::string(text), core::MessageIcon::Stop}));
        ui.messages.clear();
    }
};

using Subjects = std::vector<std::string>;

struct FolderCommands : testing::Test {
    MemoryFileSystem disk;
    std::optional<Program> program;

    void SetUp() override {
        disk.PutDirectory("/mail/Setting");
        disk.PutDirectory("/state");
        Begin(kTree);
    }
    /// Starts a program on a tree file, with a mail in Work, in Work#97 and in Friends.
    void Begin(std::string_view tree) {
        program.reset();
        disk.Restart();
        for (const std::string& name : disk.Names("/mail/Bank"))
            ASSERT_EQ(disk.Remove("/mail/Bank/" + name), 0);
        disk.Put(kTreePath, tree);
        program.emplace(disk);
        program->Add("Work", "w");
        program->Add("Work#97", "w97");
        program->Add("Friends", "f");
        ASSERT_EQ(disk.SyncDirectory("/mail/Bank"), 0);
        ASSERT_EQ(program->folders.LoadFolderTree(), 0);
    }
    Folders& folders() { return program->folders; }
    std::string Tree() { return disk.Get(kTreePath).value_or("none"); }
};

TEST_F(FolderCommands, LoadsOrMakesTheTree) {
    EXPECT_EQ(folders().tree().Format(), kTree);
    ASSERT_EQ(disk.Remove(kTreePath), 0);
    ASSERT_EQ(folders().LoadFolderTree(), 0);
    EXPECT_EQ(Tree(), kDefaultTree);
    EXPECT_EQ(disk.Get(kCompanionPath), "Inbox\r\nOutbox\r\nTrash\r\n");
    folders().tree().Find("Trash")->state = 5;
    ASSERT_EQ(folders().SaveFolderTree(), 0);
    EXPECT_EQ(Tree(), "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/5\r\n");

    ASSERT_EQ(disk.Remove(kTreePath), 0);
    disk.PutDirectory(kTreePath);
    EXPECT_EQ(folders().LoadFolderTree(), -1);
    ASSERT_EQ(program->ui.messages.size(), 1U);
    EXPECT_NE(folders().tree().Find("Inbox"), nullptr) << "mail can be read all the same";
    program->mailbox.SetBankDirectory("Nowhere");
    program->ui.messages.clear();
    EXPECT_EQ(folders().LoadFolderTree(), -1);
    program->ExpectTold("メールボックスにアクセスできません。"_sjis);
    program->ui.answers = {true};
    EXPECT_EQ(folders().ResetFolderTree(), -1);
    program->ExpectTold("メールボックスにアクセスできません。"_sjis);
}

TEST_F(FolderCommands, NeverWritesOverATreeThatCannotBeRead) {
    for (int call = 1;; ++call) {
        SCOPED_TRACE(call);
        Begin(kTree);
        disk.FailCall(call, -EIO);
        const int loaded = folders().LoadFolderTree();
        EXPECT_EQ(Tree(), kTree);
        const int added = folders().NewFolder("Work");
        EXPECT_NE(Tree().find("0297/0\r\n"), std::string::npos);
        EXPECT_TRUE((loaded == 0 && added == 0) || !program->ui.messages.empty());
        if (!disk.struck()) break;
    }
    // What is not understood is kept beside when the tree is saved.
    const std::string damaged = std::string(kTree) + "garbage\r\n";
    Begin(damaged);
    ASSERT_EQ(folders().NewFolder("Desktop", "New"), 0);
    EXPECT_EQ(Tree(), std::string(kTree) + "01New/0\r\n");
    EXPECT_EQ(disk.Get("/mail/Bank/MailBoxInfo.ini.bak"), damaged);
    EXPECT_EQ(program->ui.messages.size(), 1U);
}

TEST_F(FolderCommands, TakesOverWhatAnotherProgramDid) {
    Program other(disk);
    ASSERT_EQ(other.folders.LoadFolderTree(), 0);
    ASSERT_EQ(other.folders.NewFolder("Work", "theirs"), 0);
    folders().tree().Find("Work")->state = 7;
    EXPECT_EQ(folders().SaveFolderTree(), 0);
    EXPECT_NE(folders().tree().Find("Work#theirs"), nullptr);
    ASSERT_EQ(folders().NewFolder("Work#theirs", "ours"), 0);
    EXPECT_NE(Tree().find("02theirs/0\r\n03ours/0\r\n"), std::string::npos);
}

TEST_F(FolderCommands, MakesFolders) {
    ASSERT_EQ(folders().NewFolder("Work#97"), 0);
    EXPECT_NE(Tree().find("0297/0\r\n03New folder/0\r\n"), std::string::npos);
    EXPECT_EQ(folders().NewFolder("WORK#97"), -1);
    program->ExpectTold("同名のフォルダがあります。"_sjis);
    // Named, it shows again what a deleted folder of the name has left.
    program->Add("Work#97#Old", "kept");
    ASSERT_EQ(folders().RenameFolder("Work#97#New folder", "Old", MailEditing::No), 0);
    EXPECT_EQ(program->Subjects("Work#97#Old"), Subjects{"kept"});
    ASSERT_EQ(folders().NewFolder("Desktop", "Empty"), 0);
    EXPECT_EQ(disk.Get("/mail/Bank/Empty.loc"), "");
    EXPECT_EQ(folders().NewFolder("Nowhere", "x"), -1);
    program->ExpectTold("フォルダ Nowhere はありません。"_sjis);

    ASSERT_EQ(folders().NewFolder("Desktop"), 0);
    const std::string before = Tree();
    // The file is looked for, and made for trial, before it is made for good.
    for (int call = 1; Tree() == before; ++call) {
        SCOPED_TRACE(call);
        program->ui.messages.clear();
        disk.FailCall(call, -EACCES);
        if (folders().RenameFolder("New folder", "Named", MailEditing::No) == 0) continue;
        EXPECT_EQ(Tree(), before);
        ASSERT_FALSE(program->ui.messages.empty());
        EXPECT_FALSE(disk.Exists("/mail/Bank/Named.loc"));
        if (program->ui.messages[0].text == "メールボックスファイルの初期化ができませんでした。"_sjis) {
            EXPECT_EQ(folders().tree().Find("New Folder")->name, "New Folder");
        }
    }
    EXPECT_TRUE(disk.Exists("/mail/Bank/Named.loc"));
}

TEST_F(FolderCommands, RefusesNames) {
    const std::string long128(128, 'n');
    for (const std::string& silent :
         {std::string(), std::string("a#b"), std::string("DOWNLOAD"), std::string("inbox")}) {
        EXPECT_EQ(folders().RenameFolder("Work", silent, MailEditing::No), kNameNotTaken) << silent;
        EXPECT_EQ(folders().NewFolder("Work", silent), kNameNotTaken) << silent;
    }
    EXPECT_TRUE(program->ui.messages.empty());
    for (const std::string& invalid :
         {std::string("a/b"), std::string("a\\b"), std::string(".."), std::string("a\r\nb"),
          std::string("nul"), std::string("com1.x"), std::string("x "), std::string("\x81"), long128,
          std::string(kClipboardFolder), std::string("ConvertTemp")}) {
        SCOPED_TRACE(invalid);
        EXPECT_EQ(folders().RenameFolder("Friends", invalid, MailEditing::No), -1);
        program->ExpectTold("メールボックス名（ファイル名）が無効です。"_sjis);
        EXPECT_EQ(folders().NewFolder("Desktop", invalid), -1);
        program->ExpectTold("メールボックス名（ファイル名）が無効です。"_sjis);
    }
    EXPECT_EQ(folders().RenameFolder("Friends", "WORK", MailEditing::No), -1);
    program->ExpectTold("同名のファイルが既に存在するのでフォルダ名を変更できません。"_sjis);
    EXPECT_EQ(Tree(), kTree);
    EXPECT_EQ(folders().RenameFolder("Friends", std::string(127, 'n'), MailEditing::No), 0);
}

TEST_F(FolderCommands, RefusesFixedAndEditedFolders) {
    const std::string_view cannotRename = "このフォルダは名前を変更できません。"_sjis;
    const std::string_view editing = "メール編集中にこの操作はできません。"_sjis;
    for (const char* fixed : {"Desktop", "Inbox", "TRASH"}) {
        EXPECT_EQ(folders().BeginRename(fixed, MailEditing::No), -1);
        program->ExpectTold(cannotRename);
        EXPECT_EQ(folders().RenameFolder(fixed, "x", MailEditing::Yes), -1);
        program->ExpectTold(cannotRename);
        EXPECT_EQ(folders().DeleteFolder(fixed, MailEditing::No), -1);
        program->ExpectTold("このフォルダは削除出来ません。"_sjis);
        EXPECT_EQ(folders().MoveFolder(fixed, "Work", MailEditing::No), -1);
        program->ExpectTold("このフォルダは移動できません。"_sjis);
    }
    EXPECT_EQ(folders().BeginRename("Work", MailEditing::No), 0);
    EXPECT_EQ(folders().RenameFolder("Work", "x", MailEditing::Yes), -1);
    program->ExpectTold(editing);
    EXPECT_EQ(folders().DeleteFolder("Work", MailEditing::Yes), -1);
    program->ExpectTold(editing);
    EXPECT_EQ(folders().MoveFolder("Work", "Friends", MailEditing::Yes), -1);
    program->ExpectTold(editing);
    EXPECT_EQ(folders().MoveFolder("Work", "work", MailEditing::No), -1);
    program->ExpectTold("フォルダを自分自身やその下のフォルダへは移動できません。"_sjis);
    EXPECT_EQ(folders().MoveFolder("Work", "Work#97", MailEditing::No), -1);
    program->ExpectTold("フォルダを自分自身やその下のフォルダへは移動できません。"_sjis);
    EXPECT_EQ(folders().MoveFolder("Work#97", "Work", MailEditing::No), -1);
    program->ExpectTold("移動先に同名のフォルダがあります。"_sjis);
    EXPECT_EQ(Tree(), kTree);
}

TEST_F(FolderCommands, RenamesAndMovesWithEverythingBelow) {
    disk.Put("/mail/Bank/Work.PROP", "p");
    ASSERT_EQ(folders().RenameFolder("Work", std::string("表"_sjis), MailEditing::No), 0);
    EXPECT_EQ(program->Subjects(std::string("表#97"_sjis)), Subjects{"w97"});
    ASSERT_EQ(folders().MoveFolder(std::string("表"_sjis), "Friends", MailEditing::No), 0);
    EXPECT_EQ(Tree(), "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/0\r\n01Friends/0\r\n02" +
                          std::string("表/1\r\n"_sjis) + "0397/0\r\n");
    EXPECT_EQ(disk.Get(kCompanionPath), "Inbox\r\nOutbox\r\nTrash\r\nFriends\r\nFriends#" +
                                            std::string("表\r\nFriends#表#97\r\n"_sjis));
    EXPECT_EQ(program->Subjects(std::string("Friends#表"_sjis)), Subjects{"w"});
    EXPECT_EQ(program->Subjects(std::string("Friends#表#97"_sjis)), Subjects{"w97"});
    EXPECT_EQ(disk.Get("/mail/Bank/Friends#表.PROP"), "p");
    ASSERT_EQ(folders().RenameFolder("Friends", "FRIENDS", MailEditing::No), 0);
    EXPECT_EQ(program->Subjects("FRIENDS"), Subjects{"f"});
    EXPECT_TRUE(program->ui.messages.empty());
}

TEST_F(FolderCommands, DeletesFromTheTreeAlone) {
    program->ui.answers = {false, true, true};
    EXPECT_EQ(folders().DeleteFolder("Work", MailEditing::No), -1);
    EXPECT_EQ(Tree(), kTree);
    EXPECT_EQ(folders().DeleteFolder("Work", MailEditing::No), 0);
    EXPECT_EQ(folders().DeleteFolder("Friends", MailEditing::No), 0);
    EXPECT_EQ(program->ui.questions[1].text, "階層化のすべてのフォルダを削除して良いですか？"_sjis);
    EXPECT_EQ(program->ui.questions[2].text, "フォルダを削除してもよろしいですか？"_sjis);
    EXPECT_EQ(Tree(), "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/0\r\n");
    EXPECT_EQ(program->Subjects("Work#97"), Subjects{"w97"});

    // A folder that is moved there asks before it deletes what was left, and takes all of it or nothing.
    ASSERT_EQ(folders().NewFolder("Inbox", "Work"), 0);
    program->Add("Inbox#Work", "new");
    program->ui.answers = {false, true};
    EXPECT_EQ(folders().MoveFolder("Inbox#Work", "Desktop", MailEditing::No), -1);
    EXPECT_EQ(program->Subjects("Work"), Subjects{"w"});
    EXPECT_EQ(folders().MoveFolder("Inbox#Work", "Desktop", MailEditing::No), 0);
    EXPECT_EQ(program->Subjects("Work"), Subjects{"new"});
    EXPECT_EQ(program->Subjects("Work#97"), Subjects{"w97"});

    program->ui.answers = {false, true};
    EXPECT_EQ(folders().ResetFolderTree(), -1);
    EXPECT_EQ(folders().ResetFolderTree(), 0);
    EXPECT_EQ(
        program->ui.questions.back().text,
        "フォルダを初期状態に戻します。\r\nDesktop Inbox Outbox Trash 以外のフォルダは削除されます。\r\n"
        "メールボックスファイルは削除されません。\r\nメールボックス設定ファイルが壊れた時などに実行して下さい"
        "。"
        "\r\n\r\nメールボックスを初期化しますか？"_sjis);
    EXPECT_EQ(Tree(), kDefaultTree);
    EXPECT_EQ(folders().tree().Find("Work"), nullptr);
    EXPECT_EQ(program->Subjects("Friends"), Subjects{"f"});
}

/// Each change of the tree, interrupted at every call: the next start finds the old tree or the new one, and
/// every mail in the folder where that tree has it.
TEST_F(FolderCommands, TreeAndFilesAgreeAfterAnyFault) {
    enum class Fault { Fails, Killed, NamesLost, NamesKept };
    const std::function<int()> changes[] = {
        [this] { return folders().RenameFolder("Work", "Job", MailEditing::No); },
        [this] { return folders().MoveFolder("Work", "Friends", MailEditing::No); },
        [this] { return folders().NewFolder("Work", "Job"); },
    };
    for (const auto& change : changes) {
        for (const Fault fault : {Fault::Fails, Fault::Killed, Fault::NamesLost, Fault::NamesKept}) {
            for (int call = 1;; ++call) {
                SCOPED_TRACE("change " + std::to_string(&change - changes) + ", fault " +
                             std::to_string(static_cast<int>(fault)) + " at call " + std::to_string(call));
                Begin(kTree);
                if (fault == Fault::Fails) {
                    disk.FailCall(call, -ENOSPC);
                } else {
                    disk.StopAtCall(call);
                }
                const int result = change();
                const bool struck = disk.struck();
                EXPECT_TRUE(result == 0 || !program->ui.messages.empty());
                const std::string inMemory = folders().tree().Format();
                if (fault == Fault::Fails || fault == Fault::Killed) disk.Restart();
                if (fault == Fault::NamesLost) disk.PowerCut(MemoryFileSystem::NamesKept::Durable);
                if (fault == Fault::NamesKept) disk.PowerCut(MemoryFileSystem::NamesKept::Written);
                if (fault == Fault::Fails) {
                    EXPECT_EQ(inMemory, Tree());
                }
                Program next(disk);
                ASSERT_EQ(next.folders.LoadFolderTree(), 0);
                FolderTree& tree = next.folders.tree();
                if (result == 0) {
                    EXPECT_NE(tree.Format(), kTree) << "what was told to be done stays done";
                }
                std::string joined;
                static_cast<void>(next.folders.ForEachFolder([&](const auto&, const auto& baseName) {
                    for (const std::string& subject : next.Subjects(baseName))
                        joined += subject + ";";
                    return 0;
                }));
                EXPECT_EQ(joined.size(), std::string("w;w97;f;").size()) << joined;
                EXPECT_NE(joined.find("w;w97;"), std::string::npos);
                if (!struck) break;
            }
        }
    }
}

TEST_F(FolderCommands, MovesMailsToTrash) {
    for (const char* subject : {"b", "c", "d", "e"})
        program->Add("Work", subject);
    const std::string text = *disk.Get("/mail/Bank/Work.mtx");
    const std::array chosen = {3, 1, 3};
    ASSERT_EQ(folders().MoveMailsToTrash("Work", chosen), 0);
    EXPECT_EQ(program->Subjects("Work"), (Subjects{"w", "c", "e"}));
    EXPECT_EQ(program->Subjects("Trash"), (Subjects{"b", "d"}));
    EXPECT_EQ(disk.Get("/mail/Bank/Work.mtx")->size(), text.size()) << "until it is compacted";

    const std::array missing = {0, 3};
    const std::array negative = {-1};
    EXPECT_EQ(folders().MoveMailsToTrash("Work", missing), -1);
    program->ExpectTold("指定された番号のメールはありません。"_sjis);
    EXPECT_EQ(folders().DeleteMails("Work", negative), -1);
    program->ExpectTold("指定された番号のメールはありません。"_sjis);
    EXPECT_EQ(folders().MoveMailsToTrash("Nowhere", missing), -1);
    program->ExpectTold("指定された番号のメールはありません。"_sjis);
    EXPECT_EQ(program->Subjects("Work"), (Subjects{"w", "c", "e"}));

    // A mail that cannot be read whole stays; the others go.
    program->Add("Work", "long", std::string(MAIL_BODY_MAX, 'x'));
    std::string index = *disk.Get("/mail/Bank/Work.loc");
    index.replace(kIndexRecordBytes, 10, "99999999  ");
    disk.Put("/mail/Bank/Work.loc", index);
    const std::array all = {0, 1, 2, 3};
    EXPECT_EQ(folders().MoveMailsToTrash("Work", all), -1);
    program->ExpectTold("2 通のメールは壊れているか長すぎるため、移動しませんでした。"_sjis);
    EXPECT_EQ(program->Subjects("Work"), (Subjects{"damaged", "long"}));
    EXPECT_EQ(program->Subjects("Trash"), (Subjects{"b", "d", "w", "e"}));
    const std::array first = {0};
    EXPECT_EQ(folders().DeleteMails("Work", first), 0);
    EXPECT_EQ(program->Subjects("Work"), Subjects{"long"});
}

TEST_F(FolderCommands, NeverLosesAMailOnTheWay) {
    for (const bool stops : {false, true}) {
        for (int call = 1;; ++call) {
            SCOPED_TRACE((stops ? "stopped at call " : "failed at call ") + std::to_string(call));
            Begin(kTree);
            program->Add("Work", "b");
            program->Add("Trash", "t");
            ASSERT_EQ(disk.SyncDirectory("/mail/Bank"), 0);
            if (stops) {
                disk.StopAtCall(call);
            } else {
                disk.FailCall(call, -EIO);
            }
            const std::array chosen = {0, 1};
            const int result = folders().MoveMailsToTrash("Work", chosen);
            const bool struck = disk.struck();
            if (result < 0) {
                EXPECT_FALSE(program->ui.messages.empty());
            }
            disk.Restart();
            if (stops) disk.PowerCut();
            Program next(disk);
            ASSERT_EQ(next.folders.LoadFolderTree(), 0);
            const Subjects left = next.Subjects("Work");
            const Subjects trash = next.Subjects("Trash");
            ASSERT_FALSE(trash.empty());
            EXPECT_EQ(trash.front(), "t");
            for (const char* subject : {"w", "b"}) {
                const auto there = std::count(trash.begin(), trash.end(), subject);
                EXPECT_LE(there, 1);
                EXPECT_GE(there + std::count(left.begin(), left.end(), subject), 1) << subject;
            }
            if (result == 0) {
                EXPECT_EQ(left, Subjects());
                EXPECT_EQ(trash, (Subjects{"t", "w", "b"}));
            }
            if (!struck) break;
        }
    }
}

TEST_F(FolderCommands, CompactsEveryFolder) {
    program->Add("Work", "b");
    const std::array first = {0};
    ASSERT_EQ(folders().MoveMailsToTrash("Work", first), 0);
    ASSERT_EQ(program->mailbox.MarkDeleted("Friends", 0), 0);
    const std::size_t before = disk.Get("/mail/Bank/Work.mtx")->size();
    program->ui.statusTexts.clear();
    program->ui.progress.clear();
    ASSERT_EQ(folders().CompactAllFolders(), 0);
    EXPECT_EQ(program->Subjects("Work"), Subjects{"b"});
    EXPECT_LT(disk.Get("/mail/Bank/Work.mtx")->size(), before);
    EXPECT_EQ(disk.Get("/mail/Bank/Friends.mtx"), "");
    EXPECT_EQ(folders().progressTotal(), 3U);
    EXPECT_EQ(program->ui.progress,
              (std::vector<std::pair<std::uint64_t, std::uint64_t>>{{1, 3}, {2, 3}, {3, 3}, {0, 0}}));
    Subjects expected;
    for (const char* name : {"DeskTop", "Inbox", "Outbox", "Trash", "Work", "97", "Friends"})
        expected.push_back(name + std::string(" をコンパクション中"_sjis));
    expected.emplace_back(" コンパクションを終了しました。"_sjis);
    EXPECT_EQ(program->ui.statusTexts, expected);
    EXPECT_EQ(folders().ForEachFolder(2), -1);
}

TEST_F(FolderCommands, SwitchesBanks) {
    EXPECT_EQ(folders().SwitchBank(1, true), -1);
    program->ExpectTold("送受信中です。"_sjis);
    for (const int refused : {1, 2}) {
        EXPECT_EQ(folders().SwitchBank(refused, false), -1);
        program->ExpectTold(
            std::string("メールボックスディレクトリ "_sjis) +
            program->banks[static_cast<std::size_t>(refused)] +
            std::string(" アクセスできません。\nメールボックスバンク切り替えを中止しました。"_sjis));
    }
    EXPECT_EQ(folders().SwitchBank(4, false), -1);
    program->ui.messages.clear();
    EXPECT_EQ(program->mailbox.bankDirectory(), "Bank");
    EXPECT_EQ(folders().currentBank(), -1);

    ASSERT_EQ(folders().MakeBankDirectory(1), 0);
    ASSERT_EQ(folders().MakeBankDirectory(3), 0);
    ASSERT_EQ(folders().MakeBankDirectory(0), 0);
    EXPECT_TRUE(disk.Exists("/mail/New/Deep"));
    EXPECT_EQ(folders().MakeBankDirectory(2), -1);
    program->ExpectTold("メールボックスバンク３のディレクトリが作成できませんでした。"_sjis);
    disk.Put("/mail/Second/mailboxinfo.INI", "00Desktop\r\n01Only/0\r\n");
    ASSERT_EQ(folders().SwitchBank(1, false), 0);
    EXPECT_EQ(folders().currentBank(), 1);
    EXPECT_EQ(folders().tree().Format(), "00Desktop\r\n01Only/0\r\n");
    EXPECT_EQ(program->Subjects("Work"), Subjects());
    ASSERT_EQ(folders().SwitchBank(0, false), 0);
    EXPECT_EQ(program->Subjects("Work"), Subjects{"w"});
    EXPECT_EQ(folders().tree().Format(), kTree);
}

}  // namespace
}  // namespace postkite::store
