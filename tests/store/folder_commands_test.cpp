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
#include "tests/store/faults.h"
#include "tests/store/mailbox_program.h"

namespace postkite::store {
namespace {

using namespace core::literals;

constexpr const char* kTreePath = "/mail/Bank/MailBoxInfo.ini";
constexpr const char* kCompanionPath = "/mail/Setting/MailBoxInfo.ini.tmp";
constexpr std::string_view kNoSuchNumber = "指定された番号のメールはありません。"_sjis;
constexpr std::string_view kInvalidName = "メールボックス名（ファイル名）が無効です。"_sjis;
constexpr std::string_view kNoAccess = "メールボックスにアクセスできません。"_sjis;
constexpr const char* kTree =
    "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/0\r\n01Work/1\r\n0297/0\r\n01Friends/0\r\n";

struct Program : MailboxProgram {
    using MailboxProgram::MailboxProgram;
    std::array<std::string, 4> banks = {"Bank", "Second", "..\\outside", "New\\Deep"};
    Folders folders{mailbox, banks};
};

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
        program->AddTo("Work", "w");
        program->AddTo("Work#97", "w97");
        program->AddTo("Friends", "f");
        ASSERT_EQ(disk.SyncDirectory("/mail/Bank"), 0);
        ASSERT_EQ(program->folders.LoadFolderTree(), 0);
    }
    Folders& folders() { return program->folders; }
    void ExpectRefused(int result, std::string_view text) {
        EXPECT_EQ(result, -1) << text;
        program->ExpectTold(text);
    }
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
    ExpectRefused(folders().LoadFolderTree(), kNoAccess);
    program->ui.answers = {true};
    ExpectRefused(folders().ResetFolderTree(), kNoAccess);
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
    ExpectRefused(folders().NewFolder("WORK#97"), "同名のフォルダがあります。"_sjis);
    // Named, it shows again what a deleted folder of the name has left.
    program->AddTo("Work#97#Old", "kept");
    ASSERT_EQ(folders().RenameFolder("Work#97#New folder", "Old", MailEditing::No), 0);
    EXPECT_EQ(program->Subjects("Work#97#Old"), Names{"kept"});
    ASSERT_EQ(folders().NewFolder("Desktop", "Empty"), 0);
    EXPECT_EQ(disk.Get("/mail/Bank/Empty.loc"), "");
    ExpectRefused(folders().NewFolder("Nowhere", "x"), "フォルダ Nowhere はありません。"_sjis);

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
    for (const char* silent : {"", "a#b", "DOWNLOAD", "inbox"}) {
        EXPECT_EQ(folders().RenameFolder("Work", silent, MailEditing::No), kNameNotTaken) << silent;
        EXPECT_EQ(folders().NewFolder("Work", silent), kNameNotTaken) << silent;
    }
    EXPECT_TRUE(program->ui.messages.empty());
    const std::string long128(128, 'n');
    for (const std::string_view invalid :
         {std::string_view("a/b"), std::string_view("a\r\nb"), std::string_view("x "),
          std::string_view(long128), kClipboardFolder, std::string_view("ConvertTemp")}) {
        SCOPED_TRACE(invalid);
        ExpectRefused(folders().RenameFolder("Friends", invalid, MailEditing::No), kInvalidName);
        ExpectRefused(folders().NewFolder("Desktop", invalid), kInvalidName);
    }
    ExpectRefused(folders().RenameFolder("Friends", "WORK", MailEditing::No),
                  "同名のファイルが既に存在するのでフォルダ名を変更できません。"_sjis);
    EXPECT_EQ(Tree(), kTree);
    // A name leaves room for what is kept beside the folder's files, in the bytes of the disk.
    std::string wide;
    while (wide.size() < 120)
        wide += "表"_sjis;
    for (const auto& [parent, room] : {std::pair(std::string(127, 'n'), 116), {wide, 63}}) {
        const auto longest = static_cast<std::size_t>(room);
        ASSERT_EQ(folders().NewFolder("Desktop", parent), 0);
        ExpectRefused(folders().NewFolder(parent, std::string(longest + 1, 'x')), kInvalidName);
        EXPECT_EQ(folders().NewFolder(parent, std::string(longest, 'x')), 0);
        ASSERT_EQ(folders().NewFolder(parent, "short"), 0);
        const std::string old = parent + "#short";
        ExpectRefused(folders().RenameFolder(old, std::string(longest + 1, 'y'), MailEditing::No),
                      kInvalidName);
    }
}

TEST_F(FolderCommands, RefusesFixedAndEditedFolders) {
    for (const char* fixed : {"Desktop", "Inbox", "TRASH"}) {
        const std::string_view cannotRename = "このフォルダは名前を変更できません。"_sjis;
        ExpectRefused(folders().BeginRename(fixed, MailEditing::No), cannotRename);
        ExpectRefused(folders().RenameFolder(fixed, "x", MailEditing::Yes), cannotRename);
        ExpectRefused(folders().DeleteFolder(fixed, MailEditing::No), "このフォルダは削除出来ません。"_sjis);
        ExpectRefused(folders().MoveFolder(fixed, "Work", MailEditing::No),
                      "このフォルダは移動できません。"_sjis);
    }
    EXPECT_EQ(folders().BeginRename("Work", MailEditing::No), 0);
    const std::string_view editing = "メール編集中にこの操作はできません。"_sjis;
    ExpectRefused(folders().RenameFolder("Work", "x", MailEditing::Yes), editing);
    ExpectRefused(folders().DeleteFolder("Work", MailEditing::Yes), editing);
    ExpectRefused(folders().MoveFolder("Work", "Friends", MailEditing::Yes), editing);
    const std::string_view intoItself = "フォルダを自分自身やその下のフォルダへは移動できません。"_sjis;
    ExpectRefused(folders().MoveFolder("Work", "work", MailEditing::No), intoItself);
    ExpectRefused(folders().MoveFolder("Work", "Work#97", MailEditing::No), intoItself);
    ExpectRefused(folders().MoveFolder("Work#97", "Work", MailEditing::No),
                  "移動先に同名のフォルダがあります。"_sjis);
    EXPECT_EQ(Tree(), kTree);
}

TEST_F(FolderCommands, RenamesAndMovesWithEverythingBelow) {
    disk.Put("/mail/Bank/Work.PROP", "p");
    ASSERT_EQ(folders().RenameFolder("Work", std::string("表"_sjis), MailEditing::No), 0);
    EXPECT_EQ(program->Subjects(std::string("表#97"_sjis)), Names{"w97"});
    ASSERT_EQ(folders().MoveFolder(std::string("表"_sjis), "Friends", MailEditing::No), 0);
    EXPECT_EQ(Tree(), "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/0\r\n01Friends/0\r\n02" +
                          std::string("表/1\r\n"_sjis) + "0397/0\r\n");
    EXPECT_EQ(disk.Get(kCompanionPath), "Inbox\r\nOutbox\r\nTrash\r\nFriends\r\nFriends#" +
                                            std::string("表\r\nFriends#表#97\r\n"_sjis));
    EXPECT_EQ(program->Subjects(std::string("Friends#表"_sjis)), Names{"w"});
    EXPECT_EQ(program->Subjects(std::string("Friends#表#97"_sjis)), Names{"w97"});
    EXPECT_EQ(disk.Get("/mail/Bank/Friends#表.PROP"), "p");
    ASSERT_EQ(folders().RenameFolder("Friends", "FRIENDS", MailEditing::No), 0);
    EXPECT_EQ(program->Subjects("FRIENDS"), Names{"f"});
    EXPECT_TRUE(program->ui.messages.empty());
}

TEST_F(FolderCommands, AFolderThatIsBeingRenamedCanBeRead) {
    bool visited = true;
    for (int call = 1; visited; ++call) {
        SCOPED_TRACE(call);
        Begin(kTree);
        Program other(disk);
        other.mailbox.SetBankDirectory("Bank");
        disk.VisitAtCall(call, [&] {
            ASSERT_EQ(other.folders.LoadFolderTree(), 0) << "it is not waited for";
            const bool renamed = other.folders.tree().Find("Work") == nullptr;
            for (const std::string below : {"", "#97"}) {
                FolderReader reader;
                EXPECT_EQ(other.mailbox.OpenReader(reader, (renamed ? "Job" : "Work") + below), 0);
                EXPECT_EQ(reader.CountMails(), 1);
            }
        });
        EXPECT_EQ(folders().RenameFolder("Work", "Job", MailEditing::No), 0);
        visited = disk.struck();
    }
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
    EXPECT_EQ(program->Subjects("Work#97"), Names{"w97"});

    // A folder that is moved there asks before it deletes what was left, and takes all of it or nothing.
    ASSERT_EQ(folders().NewFolder("Inbox", "Work"), 0);
    program->AddTo("Inbox#Work", "new");
    program->ui.answers = {false, true};
    EXPECT_EQ(folders().MoveFolder("Inbox#Work", "Desktop", MailEditing::No), -1);
    EXPECT_EQ(program->Subjects("Work"), Names{"w"});
    EXPECT_EQ(folders().MoveFolder("Inbox#Work", "Desktop", MailEditing::No), 0);
    EXPECT_EQ(program->Subjects("Work"), Names{"new"});
    EXPECT_EQ(program->Subjects("Work#97"), Names{"w97"});

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
    EXPECT_EQ(program->Subjects("Friends"), Names{"f"});
}

/// Each change of the tree, interrupted at every call: the next start finds the old tree or the new one, and
/// every mail in the folder where that tree has it.
TEST_F(FolderCommands, TreeAndFilesAgreeAfterAnyFault) {
    const std::function<int()> changes[] = {
        [this] { return folders().RenameFolder("Work", "Job", MailEditing::No); },
        [this] { return folders().MoveFolder("Work", "Friends", MailEditing::No); },
        [this] { return folders().NewFolder("Work", "Job"); },
    };
    for (const auto& change : changes) {
        for (const Fault fault :
             {Fault::FullDisk, Fault::Killed, Fault::PowerCutDurable, Fault::PowerCutWritten}) {
            bool struck = true;
            for (int call = 1; struck; ++call) {
                SCOPED_TRACE("change " + std::to_string(&change - changes) + ", " + Describe(fault, call));
                Begin(kTree);
                Arrange(disk, fault, call);
                const int result = change();
                struck = disk.struck();
                EXPECT_TRUE(result == 0 || !program->ui.messages.empty());
                if (fault == Fault::FullDisk) {
                    EXPECT_EQ(folders().tree().Format(), Tree());
                }
                End(disk, fault);
                Program next(disk);
                ASSERT_EQ(next.folders.LoadFolderTree(), 0);
                if (result == 0) {
                    EXPECT_NE(next.folders.tree().Format(), kTree) << "what was told to be done stays done";
                }
                std::string joined;
                static_cast<void>(next.folders.ForEachFolder([&](const auto&, const auto& baseName) {
                    for (const std::string& subject : next.Subjects(baseName))
                        joined += subject + ";";
                    return 0;
                }));
                EXPECT_EQ(joined.size(), std::string("w;w97;f;").size()) << joined;
                EXPECT_NE(joined.find("w;w97;"), std::string::npos);
            }
        }
    }
}

TEST_F(FolderCommands, MovesMailsToTrash) {
    for (const char* subject : {"b", "c", "d", "e"})
        program->AddTo("Work", subject);
    const std::string text = *disk.Get("/mail/Bank/Work.mtx");
    ASSERT_EQ(folders().MoveMailsToTrash("Work", std::array{3, 1, 3}), 0);
    EXPECT_EQ(program->Subjects("Work"), (Names{"w", "c", "e"}));
    EXPECT_EQ(program->Subjects("Trash"), (Names{"b", "d"}));
    EXPECT_EQ(disk.Get("/mail/Bank/Work.mtx")->size(), text.size()) << "until it is compacted";

    const std::array missing = {0, 3};
    ExpectRefused(folders().MoveMailsToTrash("Work", missing), kNoSuchNumber);
    ExpectRefused(folders().DeleteMails("Work", std::array{-1}), kNoSuchNumber);
    ExpectRefused(folders().MoveMailsToTrash("Nowhere", missing), kNoSuchNumber);
    EXPECT_EQ(program->Subjects("Work"), (Names{"w", "c", "e"}));

    // A mail that cannot be read whole stays; the others go.
    program->AddTo("Work", "long", "HERE");
    std::string long1 = *disk.Get("/mail/Bank/Work.mtx");
    disk.Put("/mail/Bank/Work.mtx", long1.replace(long1.find("HERE"), 4, MAIL_BODY_MAX, 'x'));
    std::string index = *disk.Get("/mail/Bank/Work.loc");
    index.replace(kIndexRecordBytes, 10, "99999999  ");
    disk.Put("/mail/Bank/Work.loc", index);
    const std::array all = {0, 1, 2, 3};
    ExpectRefused(folders().MoveMailsToTrash("Work", all),
                  "2 通のメールは壊れているか長すぎるため、移動しませんでした。"_sjis);
    EXPECT_EQ(program->Subjects("Work"), (Names{"damaged", "long"}));
    EXPECT_EQ(program->Subjects("Trash"), (Names{"b", "d", "w", "e"}));
    const std::array first = {0};
    EXPECT_EQ(folders().DeleteMails("Work", first), 0);
    EXPECT_EQ(program->Subjects("Work"), Names{"long"});
    // Nobody sees one that is deleted but still in the list.
    ASSERT_EQ(program->mailbox.MarkDeleted("Work", 0), 0);
    ExpectRefused(folders().DeleteMails("Work", first), kNoSuchNumber);
    ExpectRefused(folders().MoveMailsToTrash("Work", first), kNoSuchNumber);
    // Older files have zero bytes in their lines, which end there.
    std::string zero = *disk.Get("/mail/Bank/Friends.mtx");
    disk.Put("/mail/Bank/Friends.mtx", zero.replace(zero.find("\r\nf\r\n") + 2, 1, std::string("f\0x", 3)));
    EXPECT_EQ(folders().MoveMailsToTrash("Friends", first), 0);
    EXPECT_EQ(program->Subjects("Trash").back(), "f");
}

/// Each mail is in one folder, whatever happened, and how often.
TEST_F(FolderCommands, AMoveThatFailsAndIsTriedAgainLeavesEachMailOnce) {
    for (const Fault fault : kFaults) {
        bool struck = true;
        for (int call = 1; struck && !HasFailure(); ++call) {
            SCOPED_TRACE(Describe(fault, call));
            Begin(kTree);
            program->AddTo("Work", "b");
            program->AddTo("Trash", "t");
            ASSERT_EQ(disk.SyncDirectory(kBankPath), 0);
            int result = -1;
            for (int attempt = 0; attempt < 3 && result != 0; ++attempt) {
                Program next(disk);
                next.clock.now.hour += attempt + 1;
                const int mails = next.mailbox.CountMails("Work");
                // What has gone already is not to be moved again.
                if (mails == 0) break;
                Arrange(disk, fault, call);
                result = next.folders.MoveMailsToTrash("Work", std::array{0, 1});
                struck = disk.struck();
                EXPECT_EQ(result == 0, next.ui.messages.empty());
                End(disk, fault);
            }
            // A program that knows of no move appends before the next one looks.
            {
                Program older(disk);
                FolderWriter writer(older.identifiers);
                MailRecord mail = Program::Mail("older");
                ASSERT_EQ(writer.Open(older.mailbox.FilesOf("Trash")), 0);
                ASSERT_EQ(writer.Append(mail) + writer.Commit(), 0);
            }
            Program next(disk);
            Names all = next.Subjects("Work");
            const Names trash = next.Subjects("Trash");
            EXPECT_TRUE(result != 0 || all.empty());
            all.insert(all.end(), trash.begin(), trash.end());
            std::sort(all.begin(), all.end());
            EXPECT_EQ(all, (Names{"b", "older", "t", "w"}));
            EXPECT_FALSE(disk.Exists("/mail/Bank/MailBoxInfo.$$m"));
        }
    }
}

TEST_F(FolderCommands, CompactsEveryFolder) {
    program->AddTo("Work", "b");
    const std::array first = {0};
    ASSERT_EQ(folders().MoveMailsToTrash("Work", first), 0);
    ASSERT_EQ(program->mailbox.MarkDeleted("Friends", 0), 0);
    const std::size_t before = disk.Get("/mail/Bank/Work.mtx")->size();
    program->ui.statusTexts.clear();
    program->ui.progress.clear();
    ASSERT_EQ(folders().CompactAllFolders(), 0);
    EXPECT_EQ(program->Subjects("Work"), Names{"b"});
    EXPECT_LT(disk.Get("/mail/Bank/Work.mtx")->size(), before);
    EXPECT_EQ(disk.Get("/mail/Bank/Friends.mtx"), "");
    EXPECT_EQ(folders().progressTotal(), 3U);
    EXPECT_EQ(program->ui.progress,
              (std::vector<std::pair<std::uint64_t, std::uint64_t>>{{1, 3}, {2, 3}, {3, 3}, {0, 0}}));
    Names expected;
    for (const char* name : {"DeskTop", "Inbox", "Outbox", "Trash", "Work", "97", "Friends"})
        expected.push_back(name + std::string(" をコンパクション中"_sjis));
    expected.emplace_back(" コンパクションを終了しました。"_sjis);
    EXPECT_EQ(program->ui.statusTexts, expected);
    EXPECT_EQ(folders().ForEachFolder(2), -1);
}

/// Folders with files in other letters than the tree's, as other systems leave them, and folders without.
TEST_F(FolderCommands, CostGrowsWithTheNumberOfFolders) {
    const auto costs = [this](int count) {
        std::string tree = "00Desktop\r\n01Work/0\r\n";
        for (int number = 0; number < count; ++number)
            tree += "02f" + std::to_string(number) + "/0\r\n02none" + std::to_string(number) + "/0\r\n";
        Begin(tree);
        for (int number = 0; number < count; ++number)
            disk.Put("/mail/Bank/WORK#F" + std::to_string(number) + ".LOC", "");
        std::vector<std::size_t> each;
        const auto measure = [&](int result) {
            EXPECT_EQ(result, 0);
            each.push_back(disk.cost());
        };
        measure(0);
        measure(folders().CompactAllFolders());
        measure(folders().RenameFolder("Work", "Job", MailEditing::No));
        measure(folders().CompactAllFolders());
        for (std::size_t at = each.size(); --at > 0;)
            each[at] -= each[at - 1];
        return std::vector<std::size_t>(each.begin() + 1, each.end());
    };
    const std::vector<std::size_t> few = costs(20);
    const std::vector<std::size_t> many = costs(100);
    for (std::size_t at = 0; at < few.size(); ++at)
        EXPECT_LT(many[at], 6 * few[at]) << at << ": " << few[at];
    EXPECT_TRUE(disk.Exists("/mail/Bank/Job#F99.LOC"));
}

TEST_F(FolderCommands, SwitchesBanks) {
    ExpectRefused(folders().SwitchBank(1, true), "送受信中です。"_sjis);
    for (const int refused : {1, 2}) {
        ExpectRefused(
            folders().SwitchBank(refused, false),
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
    ExpectRefused(folders().MakeBankDirectory(2),
                  "メールボックスバンク３のディレクトリが作成できませんでした。"_sjis);
    disk.Put("/mail/Second/mailboxinfo.INI", "00Desktop\r\n01Only/0\r\n");
    ASSERT_EQ(folders().SwitchBank(1, false), 0);
    EXPECT_EQ(folders().currentBank(), 1);
    EXPECT_EQ(folders().tree().Format(), "00Desktop\r\n01Only/0\r\n");
    EXPECT_EQ(program->Subjects("Work"), Names());
    ASSERT_EQ(folders().SwitchBank(0, false), 0);
    EXPECT_EQ(program->Subjects("Work"), Names{"w"});
    EXPECT_EQ(folders().tree().Format(), kTree);
}

}  // namespace
}  // namespace postkite::store
