#include "store/pending_move.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "store/folder_commands.h"
#include "tests/store/mailbox_program.h"

namespace postkite::store {
namespace {

constexpr const char* kNotePath = "/mail/Bank/MailBoxInfo.$$m";

struct Program : MailboxProgram {
    using MailboxProgram::MailboxProgram;
    Folders folders{mailbox, {}};
    int Trash() { return folders.MoveMailsToTrash("Inbox", std::array{0, 2}); }
    Names All() {
        Names all = Subjects("Inbox");
        const Names trash = Subjects("Trash");
        all.insert(all.end(), trash.begin(), trash.end());
        std::sort(all.begin(), all.end());
        return all;
    }
};

/// The mails 1, 2 and 3 in the Inbox.
void Arrange(MemoryFileSystem& disk) {
    disk.PutDirectory("/mail/Setting");
    disk.PutDirectory("/state");
    disk.Put("/mail/Bank/MailBoxInfo.ini", "00Desktop\r\n01Inbox/0\r\n01Trash/0\r\n01Work/0\r\n");
    Program program(disk);
    for (const char* subject : {"1", "2", "3"})
        ASSERT_EQ(program.Add(subject), 0);
}
const Names kAll = {"1", "2", "3"};

/// The bank as a move that was stopped at its n-th call leaves it; false where it was not stopped.
bool StopAt(MemoryFileSystem& disk, int call) {
    Arrange(disk);
    Program program(disk);
    disk.StopAtCall(call);
    static_cast<void>(program.Trash());
    const bool struck = disk.struck();
    disk.Restart();
    return struck;
}

/// One call that fails, and a second one not far behind it: taking back fails too.
TEST(PendingMove, WhatCannotBeTakenBackIsSettledByTheNext) {
    int notesLeft = 0;
    bool struck = true;
    for (int call = 1; struck; ++call) {
        for (int further = 1; further <= 5; ++further) {
            MemoryFileSystem disk;
            Arrange(disk);
            {
                Program program(disk);
                disk.FailCall(call, -EIO);
                disk.FailCall(call + further, -ENOSPC);
                const int result = program.Trash();
                struck = disk.struck();
                EXPECT_EQ(result == 0, program.ui.messages.empty());
                disk.Restart();
            }
            if (disk.Exists(kNotePath)) ++notesLeft;
            EXPECT_EQ(Program(disk).All(), kAll) << call << " " << further;
            EXPECT_FALSE(disk.Exists(kNotePath));
        }
    }
    EXPECT_GT(notesLeft, 3);
}

/// Reading waits for nobody; appending, renaming and moving settle first.
TEST(PendingMove, IsSettledByWhoeverNextOpensEitherFolder) {
    int settled = 0;
    for (int call = 1;; ++call) {
        SCOPED_TRACE(call);
        MemoryFileSystem disk;
        if (!StopAt(disk, call)) break;
        // One that is not whole goes with the first look.
        if (disk.Get(kNotePath).value_or("").find("end ") == std::string::npos) continue;
        ++settled;
        Program program(disk);
        if (!disk.Exists("/mail/Bank/Inbox.$$i")) {
            core::Workspace other(disk, "/mail");
            core::WorkspaceLock lock;
            ASSERT_EQ(other.Lock(false, lock), 0);
            EXPECT_GE(program.All().size(), kAll.size());
            EXPECT_TRUE(disk.Exists(kNotePath));
        }
        EXPECT_TRUE(program.Subjects("Work").empty());
        EXPECT_TRUE(disk.Exists(kNotePath)) << "that folder has nothing to do with it";
        Names all = kAll;
        switch (call % 4) {
            case 0:
                ASSERT_EQ(program.AddTo("TRASH", "4"), 0);
                all.emplace_back("4");
                break;
            case 1:
                ASSERT_EQ(program.mailbox.CompactText("Inbox", [] {}), 0);
                break;
            case 2:
                ASSERT_EQ(program.folders.LoadFolderTree(), 0);
                ASSERT_EQ(program.folders.RenameFolder("Work", "Play", MailEditing::No), 0);
                break;
            default:
                ASSERT_EQ(program.AddTo("Work", "5"), 0);
                ASSERT_EQ(program.folders.MoveMails("Work", std::array{0}, "Inbox"), 0);
                all.emplace_back("5");
        }
        EXPECT_FALSE(disk.Exists(kNotePath));
        EXPECT_EQ(program.All(), all);
    }
    EXPECT_GT(settled, 20);
}

/// One that is not whole: nothing has been copied by it.
TEST(PendingMove, ATornOrForeignNoteDoesNothing) {
    MemoryFileSystem disk;
    int call = 1;
    do {
        disk.Restart();
        for (const std::string& name : disk.Names(kBankPath))
            ASSERT_EQ(disk.Remove(std::string(kBankPath) + "/" + name), 0);
        ASSERT_TRUE(StopAt(disk, call++));
    } while (!disk.Exists("/mail/Bank/Trash.loc") || disk.Get("/mail/Bank/Trash.loc")->empty());
    const std::string note = disk.Get(kNotePath).value_or("");
    ASSERT_GT(note.size(), 100U);
    const std::string index = disk.Get(kIndexPath).value();
    const std::string trash = disk.Get("/mail/Bank/Trash.loc").value();
    for (std::size_t at = 0; at < note.size(); ++at) {
        std::string garbled = note;
        garbled[at] ^= 1;
        for (const std::string& bytes : {note.substr(0, at), garbled}) {
            disk.Put(kNotePath, bytes);
            Program program(disk);
            EXPECT_EQ(program.Subjects("Inbox"), kAll) << at;
            EXPECT_EQ(disk.Get(kIndexPath), index);
            EXPECT_EQ(disk.Get("/mail/Bank/Trash.loc"), trash);
            EXPECT_FALSE(disk.Exists(kNotePath)) << at;
        }
    }
    disk.Put(kNotePath, note);
    EXPECT_EQ(Program(disk).All(), kAll);
}

/// Another program, which knows of no notes, has made the source's numbers and places others.
TEST(PendingMove, RecordsAreKnownWhereverTheyHaveGone) {
    MemoryFileSystem disk;
    int call = 1;
    do {
        disk.Restart();
        for (const std::string& name : disk.Names(kBankPath))
            ASSERT_EQ(disk.Remove(std::string(kBankPath) + "/" + name), 0);
        ASSERT_TRUE(StopAt(disk, call++));
    } while (disk.Get("/mail/Bank/Trash.loc").value_or("").size() < 1800);
    const std::string index = disk.Get(kIndexPath).value();
    const std::string text = disk.Get(kTextPath).value();
    std::string other = index.substr(900, 900);
    other.replace(76, 5, "other");
    std::string marked = index.substr(0, 900);
    marked[24 + flag::kRead] = 'R';
    std::string changed = other + marked + index.substr(900) + index.substr(1800);
    disk.Put(kIndexPath, changed);
    EXPECT_EQ(Program(disk).Subjects("Trash"), (Names{"1", "3"}));
    // One that is there twice goes once: which of the two was meant does not matter.
    EXPECT_EQ(disk.Get(kIndexPath), other + index.substr(900));
    EXPECT_EQ(disk.Get(kTextPath)->size(), text.size());
}

}  // namespace
}  // namespace postkite::store
