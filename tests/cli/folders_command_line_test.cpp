// `postkite banks`, `folders` and `compact` from the words typed to the files.

#include <gtest/gtest.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "core/shift_jis.h"
#include "tests/store/older_folder.h"
#include "tests/support/command_line.h"

namespace postkite::cli {
namespace {

using namespace core::literals;
using Json = nlohmann::json;

class FoldersCommandLine : public testing::Test {
  protected:
    support::RunResult Run(std::vector<std::string> arguments, const std::string& input = {}) {
        return support::RunPostkite(files, std::move(arguments), {}, input);
    }
    void Expect(std::vector<std::string> arguments, int status = kDone) {
        const auto result = Run(std::move(arguments));
        EXPECT_EQ(result.status, status) << result.err;
        EXPECT_EQ(result.err.empty(), status == kDone) << result.err;
    }
    Json Folders() { return Json::parse(Run({"folders", "--json"}).out); }
    std::vector<std::string> BaseNames() {
        std::vector<std::string> names;
        for (const Json& folder : Folders())
            names.push_back(folder.at("baseName"));
        return names;
    }

    support::MemoryFileSystem files;
};

using Names = std::vector<std::string>;

TEST_F(FoldersCommandLine, BanksAreSwitchedAndStaySo) {
    Expect({"mail", "add", "Inbox"});
    const auto unmounted = Run({"banks", "switch", "2"});
    EXPECT_EQ(unmounted.status, kRefused);
    EXPECT_EQ(unmounted.err,
              "Postkite: メールボックスディレクトリ MailBox3 アクセスできません。 "
              "メールボックスバンク切り替えを中止しました。\n");
    EXPECT_FALSE(files.Exists("/mail/MailBox3"));
    EXPECT_EQ(Json::parse(Run({"--json", "banks"}).out)[0].at("active"), true);
    files.PutDirectory("/mail/MailBox3");
    Expect({"banks", "switch", "2"});
    const Json banks = Json::parse(Run({"--json", "banks"}).out);
    ASSERT_EQ(banks.size(), 20U);
    EXPECT_EQ(banks[2], Json({{"number", 2}, {"directory", "MailBox3"}, {"active", true}}));
    EXPECT_EQ(banks[0].at("active"), false);
    EXPECT_EQ(Folders()[1].at("mails"), 0);
    Expect({"banks", "switch", "0"});
    EXPECT_EQ(Folders()[1].at("mails"), 1);
    EXPECT_EQ(Run({"banks", "switch", "20"}).status, kWrongUsage);

    files.Put("/mail/MailBox4", "a file is in the way");
    const auto settings = files.Get("/mail/Setting/setting.ini");
    Expect({"banks", "switch", "3"}, kRefused);
    EXPECT_EQ(files.Get("/mail/Setting/setting.ini"), settings);
}

TEST_F(FoldersCommandLine, TheTreeIsChangedByNamesInAnyLetterCase) {
    Expect({"folders", "new", "desktop", "仕事"});
    Expect({"folders", "new", "仕事", "Plan"});
    Expect({"mail", "add", "仕事#Plan"});
    EXPECT_EQ(Folders()[5], Json({{"depth", 2},
                                  {"name", "Plan"},
                                  {"baseName", "仕事#Plan"},
                                  {"state", 0},
                                  {"mails", 1},
                                  {"unread", 1}}));
    Expect({"folders", "rename", "仕事#PLAN", "97"});
    EXPECT_EQ(Run({"folders"}).out,
              "Desktop  0 (0)\n  Inbox  0 (0)\n  Outbox  0 (0)\n  Trash  0 (0)\n  仕事  0 (0)\n"
              "    97  1 (1)  仕事#97\n");
    Expect({"folders", "move", "仕事#97", "Inbox"});
    EXPECT_EQ(BaseNames(), (Names{"Desktop", "Inbox", "Inbox#97", "Outbox", "Trash", "仕事"}));
    EXPECT_EQ(Folders()[2].at("mails"), 1);

    // Questions: refused without a terminal.
    Expect({"folders", "delete", "inbox#97"}, kRefused);
    Expect({"folders", "reset"}, kRefused);
    EXPECT_EQ(BaseNames().size(), 6U);
    EXPECT_EQ(Run({"--yes", "folders", "delete", "inbox#97"}).status, kDone);
    EXPECT_EQ(BaseNames().size(), 5U);
    EXPECT_EQ(Run({"--yes", "folders", "reset"}).status, kDone);
    EXPECT_EQ(BaseNames(), (Names{"Desktop", "Inbox", "Outbox", "Trash"}));
}

TEST_F(FoldersCommandLine, WhatTheTreeCannotHoldIsRefused) {
    Expect({"folders", "new", "Nowhere", "a"}, kRefused);
    Expect({"folders", "rename", "Inbox", "a"}, kRefused);
    for (const char* name : {"", "a#b", "Trash", "..", "a/b", "a\nb", "한"}) {
        Expect({"folders", "new", "Desktop", name}, kRefused);
    }
    EXPECT_EQ(BaseNames().size(), 4U);
}

TEST_F(FoldersCommandLine, PropertiesKeepWhatIsNotGiven) {
    Expect({"folders", "properties", "inbox", "--sound", "a.wav", "--address", "ABC"});
    EXPECT_EQ(
        Run({"folders", "properties", "Inbox", "--template", "-", "--address", ""}, "%n さん\n\n").status,
        kDone);
    EXPECT_EQ(files.Get("/mail/MailBox1/Inbox.PROP"),
              "PKV238 SETTING FILE\r\na.wav\r\n\r\n%n さん\r\n\r\n"_sjis);
    EXPECT_EQ(
        Json::parse(Run({"--json", "folders", "properties", "INBOX"}).out),
        Json({{"folder", "Inbox"}, {"sound", "a.wav"}, {"address", ""}, {"template", "%n さん\r\n\r\n"}}));
    const auto before = files.Get("/mail/MailBox1/Inbox.PROP");
    Expect({"folders", "properties", "Inbox", "--sound", "a\r\nb"}, kRefused);
    Expect({"folders", "properties", "Inbox", "--sound", "b", "--template", "/none"}, kRefused);
    EXPECT_EQ(Run({"folders", "properties", "Inbox", "--template", "-"}, std::string(1025, 'x')).status,
              kRefused);
    Expect({"folders", "properties", "Nowhere"}, kRefused);
    EXPECT_EQ(files.Get("/mail/MailBox1/Inbox.PROP"), before);
}

TEST_F(FoldersCommandLine, CompactTakesDeletedTextsAway) {
    for (const char* subject : {"one", "two", "three"})
        Expect({"mail", "add", "Inbox", "--subject", subject});
    const std::size_t size = files.Get("/mail/MailBox1/Inbox.mtx")->size();
    Expect({"mail", "delete", "Inbox", "1"});
    EXPECT_EQ(Run({"--json", "compact"}).out, "{\n  \"mails\": 2\n}\n");
    EXPECT_EQ(support::RunPostkite(files, {"compact"}, {{"LANG", "en"}}).out, "2 mails\n");
    EXPECT_LT(files.Get("/mail/MailBox1/Inbox.mtx")->size(), size);
    EXPECT_NE(Run({"mail", "show", "Inbox", "1"}).out.find("Subject: three\n"), std::string::npos);
    Expect({"mail", "delete", "Inbox", "0"});
    EXPECT_EQ(support::RunPostkite(files, {"compact"}, {{"LANG", "en"}}).out, "1 mail\n");
}

TEST_F(FoldersCommandLine, AFailingDiskNeverLooksLikeTheEndOfAList) {
    for (const char* subject : {"one", "two"})
        Expect({"mail", "add", "Inbox", "--subject", subject});
    const std::string localId = Json::parse(Run({"--json", "mail", "list", "Inbox"}).out)[1].at("localId");
    for (const Names& command : {Names{"--json", "folders"}, Names{"--json", "mail", "list", "Inbox"},
                                 Names{"mail", "list", "Inbox"}, Names{"mail", "find", "Inbox", localId},
                                 Names{"mail", "show", "Inbox", "1"}}) {
        const std::string whole = Run(command).out;
        for (int call = 1;; ++call) {
            files.FailCall(call, -EIO);
            const auto result = Run(command);
            const bool struck = files.struck();
            files.Restart();
            if (result.status == kDone) {
                EXPECT_EQ(result.out, whole) << command[1] << ' ' << call;
            } else {
                EXPECT_NE(result.err, "") << command[1] << ' ' << call;
                EXPECT_EQ(result.err.find("ありません"), std::string::npos) << result.err;
            }
            if (!struck) break;
        }
    }
}

TEST_F(FoldersCommandLine, AnOlderFolderIsConvertedWhenItIsWanted) {
    const auto older = store::MakeOlderFolder(store::FolderLayout::V2, 3);
    files.Put("/mail/MailBox1/Inbox.loc", older.index);
    files.Put("/mail/MailBox1/Inbox.mtx", older.text);
    EXPECT_EQ(Folders()[1].at("mails"), 3);
    for (const Names& command :
         {Names{"mail", "list", "Inbox"}, Names{"mail", "add", "Inbox"},
          Names{"mail", "delete", "Inbox", "0"}, Names{"folders", "convert", "inbox"}}) {
        Expect(command, kRefused);
        EXPECT_EQ(files.Get("/mail/MailBox1/Inbox.loc"), older.index);
    }
    EXPECT_EQ(Run({"--yes", "folders", "convert", "inbox"}).status, kDone);
    EXPECT_EQ(files.Get("/mail/MailBox1/Inbox.loc.v2"), older.index);
    const Json mails = Json::parse(Run({"--json", "mail", "list", "Inbox"}).out);
    ASSERT_EQ(mails.size(), 3U);
    EXPECT_EQ(mails[2].at("subject"), "subject2");

    files.Put("/mail/MailBox1/Trash.loc", older.index);
    files.Put("/mail/MailBox1/Trash.mtx", older.text);
    Expect({"mail", "trash", "Inbox", "0"}, kRefused);
    EXPECT_EQ(Run({"--yes", "mail", "trash", "Inbox", "0"}).status, kDone);
    EXPECT_EQ(Json::parse(Run({"--json", "mail", "list", "Trash"}).out).size(), 4U);
}

}  // namespace
}  // namespace postkite::cli
