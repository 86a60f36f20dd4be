// Whoever changes something has the lock of the working directory: while another program has it, nothing is changed.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "tests/support/command_line.h"

namespace postkite::cli {
namespace {

/// What all files hold, "error.log" aside, which is only ever appended to.
std::map<std::string, std::string> Contents(const support::MemoryFileSystem& files,
                                            const std::string& directory) {
    std::map<std::string, std::string> contents;
    for (const std::string& name : files.Names(directory)) {
        const std::string path = directory + "/" + name;
        if (const auto content = files.Get(path)) {
            if (name != "error.log") contents[path] = *content;
        } else {
            contents.merge(Contents(files, path));
        }
    }
    return contents;
}

using Command = std::vector<std::string>;

/// What there is before each change.
const Command kBefore[] = {
    {"settings", "set", "MAILBOXPATHNAME1", "MailBox2"},
    {"environments", "set", "0", "name=home"},
    {"folders", "new", "Desktop", "Work"},
    {"folders", "new", "Desktop", "Spare"},
    {"mail", "add", "Outbox", "--subject", "out", "--address", "ABC00123"},
    {"mail", "reserve", "Outbox", "0"},
    {"rules", "add", "first", "Subject:", "one", "Work"},
    {"mail", "add", "Inbox", "--subject", "one"},
    {"mail", "add", "Inbox", "--subject", "two"},
};

/// "ID" is the identifier of the mail that was added last.
const Command kChanges[] = {
    {"settings", "set", "REDIALINTER", "7"},
    {"environments", "set", "1", "telephone=03-1111-1111"},
    {"environments", "switch", "1"},
    {"banks", "switch", "1"},
    {"folders", "new", "Desktop", "Fresh"},
    {"folders", "rename", "Work", "Job"},
    {"folders", "move", "Work", "Spare"},
    {"folders", "delete", "Work"},
    {"folders", "reset"},
    {"folders", "properties", "Work", "--sound", "ding.wav"},
    {"compact"},
    {"mail", "add", "Inbox", "--subject", "new"},
    {"mail", "replace", "Inbox", "ID", "--subject", "new"},
    {"mail", "flag", "Inbox", "1", "5", "7"},
    {"mail", "read", "Inbox", "1"},
    {"mail", "reserve", "Inbox", "1"},
    {"mail", "sent", "Inbox", "1"},
    {"mail", "trash", "Inbox", "1"},
    {"mail", "delete", "Inbox", "1"},
    {"mail", "reply", "Inbox", "1"},
    {"rules", "add", "rule", "Subject:", "two", "Work"},
    {"rules", "remove", "0"},
    {"sort"},
    {"queue"},
    {"analyse", "mail"},
    {"analyse", "forum"},
    {"forums", "set", "FABC,mes1", "perday"},
};

TEST(LockCommandLine, NothingIsChangedWithoutTheLock) {
    for (Command change : kChanges) {
        SCOPED_TRACE(testing::PrintToString(change));
        support::MemoryFileSystem files;
        const auto run = [&files](Command command) {
            command.insert(command.begin(), "--yes");
            return support::RunPostkite(files, std::move(command));
        };
        support::RunResult added;
        for (const Command& step : kBefore) {
            added = run(step);
            ASSERT_EQ(added.status, kDone) << testing::PrintToString(step);
        }
        std::string identifier = added.out.substr(added.out.find(' ') + 1);
        identifier.pop_back();
        std::replace(change.begin(), change.end(), std::string("ID"), identifier);
        files.Put("/mail/maillog.txt", "no mail\r\n");
        files.Put("/mail/meslog.txt", "no message\r\n");

        const auto contents = Contents(files, "/mail");
        std::unique_ptr<core::FileLock> elsewhere;
        ASSERT_EQ(files.Lock("/mail", false, elsewhere), 0);
        const auto refused = run(change);
        EXPECT_EQ(refused.status, kRefused);
        EXPECT_NE(refused.err, "");
        EXPECT_EQ(Contents(files, "/mail"), contents);
        elsewhere.reset();
        EXPECT_EQ(run(change).status, kDone);
        EXPECT_NE(Contents(files, "/mail"), contents);
    }
}

/// Building a queue, analysing and a session exclude each other, whatever else goes on.
TEST(LockCommandLine, OneProgramAtATimeHasASession) {
    support::MemoryFileSystem files;
    files.PutDirectory("/mail/BMTEMP.$$$");
    files.Put("/mail/maillog.txt", "no mail\r\n");
    files.Put("/mail/meslog.txt", "no message\r\n");
    for (const std::vector<std::string>& command :
         std::vector<std::vector<std::string>>{{"queue"},
                                               {"analyse", "mail"},
                                               {"analyse", "forum"},
                                               {"session", "--port", "tcp:localhost:1"}}) {
        SCOPED_TRACE(testing::PrintToString(command));
        std::unique_ptr<core::FileLock> session;
        ASSERT_EQ(files.Lock("/mail/BMTEMP.$$$", false, session), 0);
        const auto refused = support::RunPostkite(files, command);
        EXPECT_EQ(refused.status, kRefused);
        EXPECT_NE(refused.err.find("ほかの Postkite が通信中です。"), std::string::npos) << refused.err;
        EXPECT_EQ(Contents(files, "/mail").count("/mail/maillog.txt"), 1U);
    }
}

}  // namespace
}  // namespace postkite::cli
