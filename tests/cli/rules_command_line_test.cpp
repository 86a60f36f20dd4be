// `postkite rules` and `sort` from the words typed to the files.

#include <gtest/gtest.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "core/shift_jis.h"
#include "tests/support/command_line.h"

namespace postkite::cli {
namespace {

using namespace core::literals;
using Json = nlohmann::json;

constexpr const char* kRulePath = "/mail/Setting/filter.ini";

class RulesCommandLine : public testing::Test {
  protected:
    void SetUp() override {
        Expect({"folders", "new", "Desktop", "仕事"});
        Expect({"folders", "new", "仕事", "Plan"});
    }
    support::RunResult Run(std::vector<std::string> arguments, const std::string& language = "ja") {
        return support::RunPostkite(files, std::move(arguments), {{"LC_ALL", language + "_JP.UTF-8"}});
    }
    void Expect(std::vector<std::string> arguments, int status = kDone) {
        const std::string line = testing::PrintToString(arguments);
        const auto result = Run(std::move(arguments));
        EXPECT_EQ(result.status, status) << line << result.err;
        EXPECT_EQ(result.err.empty(), status == kDone) << line << result.err;
    }
    Json Parsed(std::vector<std::string> arguments, int status = kDone) {
        arguments.emplace_back("--json");
        const auto result = Run(std::move(arguments));
        EXPECT_EQ(result.status, status) << result.err;
        return Json::parse(result.out);
    }
    std::vector<std::string> Subjects(const std::string& folder) {
        std::vector<std::string> subjects;
        for (const Json& mail : Parsed({"mail", "list", folder}))
            subjects.push_back(mail.at("subject"));
        return subjects;
    }

    support::MemoryFileSystem files;
};

using Names = std::vector<std::string>;

TEST_F(RulesCommandLine, RulesAreKeptInOrder) {
    EXPECT_EQ(Parsed({"rules"}), Json::array());
    Expect({"rules", "add", "会議", "subject", "会議", "仕事#plan"});
    Expect({"rules", "add", "%s", "BODY", " x ", "TRASH", "--disabled", "--automatic"});
    Expect({"rules", "add", "", "本文", "y", "仕事"});
    EXPECT_EQ(files.Get(kRulePath),
              "1\r\n会議\r\nSubject:\r\n会議\r\n仕事#Plan\r\n"
              "2\r\n%s\r\n本文:\r\n x \r\nTrash\r\n"
              "1\r\n\r\n本文:\r\ny\r\n仕事\r\n"_sjis);
    EXPECT_EQ(Parsed({"rules"})[1], Json({{"number", 1},
                                          {"enabled", false},
                                          {"automatic", true},
                                          {"name", "%s"},
                                          {"field", "本文:"},
                                          {"text", " x "},
                                          {"folder", "Trash"}}));
    EXPECT_EQ(Run({"rules"}).out,
              "    0  有効       会議  Subject:に 会議が含まれるメールを 仕事#Planへ移動する\n"
              "    1  無効 自動  %s  本文:に  x が含まれるメールを Trashへ移動する\n"
              "    2  有効         本文:に yが含まれるメールを 仕事へ移動する\n");
    EXPECT_EQ(Run({"rules"}, "en").out.substr(0, 52), "    0  enabled             会議  Subject: with 会");
    Expect({"rules", "remove", "1"});
    EXPECT_EQ(Parsed({"rules"}).size(), 2U);
    EXPECT_EQ(Parsed({"rules"})[1].at("text"), "y");
    Expect({"rules", "remove", "2"}, kRefused);
}

TEST_F(RulesCommandLine, WhatCannotWorkIsRefused) {
    const std::string longest(255, 'x');
    Expect({"rules", "add", longest, "To:", longest, "Trash"});
    const auto before = files.Get(kRulePath);
    const std::vector<Names> refused = {
        {longest + "x", "To", "a", "Trash"},
        {"n", "To", longest + "x", "Trash"},
        {"n", "To", "", "Trash"},
        {"n", "Date", "a", "Trash"},
        {"n", "", "a", "Trash"},
        {"n", "To", "a", "Nowhere"},
        {"n", "To", "a", "Desktop"},
        {"n", "To", "a", ""},
        {"n\r", "To", "a", "Trash"},
        {"n", "To", "a\nb", "Trash"},
        {"n", "To", "한", "Trash"},
        {"n", "To", "a", "Tr\nash"},
    };
    for (Names words : refused) {
        words.insert(words.begin(), {"rules", "add"});
        Expect(words, kRefused);
    }
    EXPECT_EQ(Run({"rules", "add", "n", "Date", "a", "Trash"}, "en").err,
              "Postkite: There is no field Date; the fields are Address: To: From: Subject: Cc: Bcc: Attach: "
              "本文:.\n");
    EXPECT_EQ(Run({"rules", "add", "n", "To"}).status, kWrongUsage);
    EXPECT_EQ(files.Get(kRulePath), before);

    // A file that cannot be read is not written over.
    for (const Names& words :
         {Names{"rules", "add", "n", "To", "a", "Trash"}, Names{"rules", "remove", "0"}}) {
        support::MemoryFileSystem broken;
        broken.PutDirectory("/mail/Setting/filter.ini");
        const auto result = support::RunPostkite(broken, words);
        EXPECT_EQ(result.status, kRefused);
        EXPECT_NE(result.err.find("filter.ini"), std::string::npos) << result.err;
        EXPECT_TRUE(broken.Names("/mail/Setting/filter.ini").empty());
    }
}

TEST_F(RulesCommandLine, SortingMovesWhatTheDryRunShows) {
    for (const char* subject : {"会議の件", "other", "x", "会議"})
        Expect({"mail", "add", "Inbox", "--subject", subject});
    Expect({"rules", "add", "off", "Subject", "other", "Trash", "--disabled"});
    Expect({"rules", "add", "会議", "Subject", "会議", "仕事#Plan"});
    Expect({"rules", "add", "x", "subject:", "X", "Trash"});
    const Json mails = {{{"number", 0}, {"rule", 1}, {"folder", "仕事#Plan"}},
                        {{"number", 2}, {"rule", 2}, {"folder", "Trash"}},
                        {{"number", 3}, {"rule", 1}, {"folder", "仕事#Plan"}}};
    EXPECT_EQ(Parsed({"sort", "--dry-run"}), Json({{"moved", 0}, {"mails", mails}}));
    EXPECT_EQ(Run({"sort", "inbox", "--dry-run"}).out,
              "0  1 会議  仕事#Plan\n2  2 x  Trash\n3  1 会議  仕事#Plan\n");
    EXPECT_EQ(Subjects("Inbox").size(), 4U);
    EXPECT_EQ(Parsed({"sort"}), Json({{"moved", 3}, {"mails", mails}}));
    EXPECT_EQ(Subjects("Inbox"), Names{"other"});
    EXPECT_EQ(Subjects("仕事#Plan"), (Names{"会議の件", "会議"}));
    EXPECT_EQ(Parsed({"sort"}), Json({{"moved", 0}, {"mails", Json::array()}}));
    EXPECT_EQ(Run({"sort", "--rule", "0"}).out, "1 通のメールを移動しました。\n") << "enabled or not";
    EXPECT_EQ(Run({"sort", "trash"}, "en").out, "1 mail was moved.\n") << "to its own end";

    Expect({"sort", "Nowhere"}, kRefused);
    Expect({"sort", "--rule", "3"}, kRefused);
}

TEST_F(RulesCommandLine, WhatStaysGivesAFailedStatus) {
    for (const char* subject : {"a", "b"})
        Expect({"mail", "add", "Inbox", "--subject", subject});
    Expect({"rules", "add", "a", "Subject", "a", "Trash"});
    Expect({"rules", "add", "b", "Subject", "b", "仕事"});
    files.PutDirectory("/mail/MailBox1/Trash.mtx");
    const Json mails = {{{"number", 1}, {"rule", 1}, {"folder", "仕事"}}};
    EXPECT_EQ(Parsed({"sort"}, kRefused), Json({{"moved", 1}, {"mails", mails}}));
    EXPECT_EQ(Subjects("Inbox"), Names{"a"});
    // A rule whose folder has gone is passed over, and refused where it is asked for by name.
    files.Put(kRulePath, "1\r\nn\r\nSubject:\r\na\r\nGone\r\n");
    EXPECT_EQ(Parsed({"sort"}).at("moved"), 0);
    Expect({"sort", "--rule", "0"}, kRefused);
}

}  // namespace
}  // namespace postkite::cli
