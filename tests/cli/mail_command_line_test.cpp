// `postkite mail` from the words typed to the bytes in the files.

#include <gtest/gtest.h>

#include <cerrno>
#include <nlohmann/json.hpp>
#include <regex>

#include "core/shift_jis.h"
#include "store/mail_record.h"
#include "tests/support/command_line.h"

namespace postkite::cli {
namespace {

using namespace core::literals;
using Json = nlohmann::json;

constexpr const char* kIndex = "/mail/MailBox1/Inbox.loc";
constexpr const char* kText = "/mail/MailBox1/Inbox.mtx";

class MailCommandLine : public testing::Test {
  protected:
    support::RunResult Run(std::vector<std::string> arguments, const std::string& input = {}) {
        return support::RunPostkite(files, std::move(arguments), {}, input);
    }
    Json RunJson(std::vector<std::string> arguments, const std::string& input = {}) {
        arguments.insert(arguments.begin(), "--json");
        const auto result = Run(std::move(arguments), input);
        EXPECT_EQ(result.status, kDone) << result.err;
        return Json::parse(result.out, nullptr, false);
    }
    void Add(const std::string& subject) {
        EXPECT_EQ(Run({"mail", "add", "Inbox", "--subject", subject}).status, kDone);
    }
    std::vector<std::string> Subjects(const std::string& folder) {
        std::vector<std::string> subjects;
        for (const Json& mail : RunJson({"mail", "list", folder}))
            subjects.push_back(mail.at("subject"));
        return subjects;
    }
    std::string Flags(int number) { return RunJson({"mail", "list", "Inbox"}).at(number).at("flags"); }
    /// Refused, with the files as they were.
    void ExpectRefused(std::vector<std::string> arguments, const std::string& message,
                       const std::string& input = {}) {
        const auto index = files.Get(kIndex);
        const auto text = files.Get(kText);
        const auto result = Run(std::move(arguments), input);
        EXPECT_EQ(result.status, kRefused);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(message), std::string::npos) << result.err;
        EXPECT_EQ(files.Get(kIndex), index);
        EXPECT_EQ(files.Get(kText), text);
    }

    support::MemoryFileSystem files;
};

using Subject = std::vector<std::string>;

TEST_F(MailCommandLine, AMailComesBackAsItWasAdded) {
    files.Put("/body.txt", "一行目\n\r\n三行目\r終わり");
    const Json added = RunJson({"mail",
                                "add",
                                "Inbox",
                                "--address",
                                "ABC",
                                "--name",
                                "山田 ",
                                "--date",
                                "97/01/24 08:05",
                                "--subject",
                                "件名ソ",
                                "--attach",
                                "a.txt",
                                "--cc",
                                "C",
                                "--bcc",
                                "B",
                                "--extra-address",
                                "E",
                                "--message-id",
                                "<1>",
                                "--body",
                                "/body.txt"});
    EXPECT_EQ(added.at("folder"), "Inbox");
    EXPECT_EQ(added.at("number"), 0);
    const std::string localId = added.at("localId");
    const Json row = RunJson({"mail", "list", "Inbox"}).at(0);
    EXPECT_EQ(row, Json({{"number", 0},
                         {"flags", "Sosrr ---- 0P Y"},
                         {"localId", localId},
                         {"address", "ABC"},
                         {"name", "山田"},
                         {"date", "97/01/24 08:05"},
                         {"subject", "件名ソ"},
                         {"sizeText", ""},
                         {"attach", "a.txt"},
                         {"sourceId", ""},
                         {"messageId", "<1>"}}));
    const Json mail = RunJson({"mail", "show", "Inbox", "0"});
    EXPECT_EQ(mail.size(), 19U);
    EXPECT_EQ(mail.at("name"), "山田 ");
    EXPECT_EQ(mail.at("extraAddress"), "E");
    EXPECT_EQ(mail.at("bcc"), "B");
    const std::string body = "一行目\r\n\r\n三行目\r\n終わり\r\n";
    EXPECT_EQ(mail.at("body"), body);
    EXPECT_EQ(Run({"mail", "show", "Inbox", "0", "--raw"}).out, "一行目\r\n\r\n三行目\r\n終わり\r\n"_sjis);
    const std::string shown = Run({"mail", "show", "Inbox", "0"}).out;
    EXPECT_NE(shown.find("Subject: 件名ソ\n"), std::string::npos);
    EXPECT_TRUE(shown.ends_with("\n\n" + body));
    EXPECT_EQ(Run({"mail", "list", "Inbox"}).out, "    0 *  97/01/24 08:05  山田  件名ソ\n");
    EXPECT_EQ(Run({"mail", "find", "Inbox", localId}).out, "0\n");
}

TEST_F(MailCommandLine, DefaultsAndStandardInput) {
    EXPECT_EQ(Run({"mail", "list", "Empty"}).out, "");
    EXPECT_EQ(Run({"mail", "list", "Empty", "--json"}).out, "[]\n");
    EXPECT_EQ(Run({"mail", "add", "Inbox", "--body", "-"},
                  "\xEF\xBB\xBF"
                  "a\n")
                  .out.substr(0, 2),
              "0 ");
    const Json mail = RunJson({"mail", "show", "Inbox", "0"});
    EXPECT_EQ(mail.at("body"), "a\r\n");
    EXPECT_TRUE(
        std::regex_match(mail.at("date").get<std::string>(), std::regex(R"(\d\d/\d\d/\d\d \d\d:\d\d *)")));
}

TEST_F(MailCommandLine, WhatAMailCannotHoldIsRefused) {
    Add("x");
    ExpectRefused({"mail", "add", "Inbox", "--subject", "한"}, "「한」");
    ExpectRefused({"mail", "add", "Inbox", "--name", "a\nb"}, "--name");
    ExpectRefused({"mail", "add", "Inbox", "--cc", "a\rb"}, "--cc");
    ExpectRefused({"mail", "add", "Inbox", "--bcc", "\x01\x01"}, "--bcc");
    ExpectRefused({"mail", "add", "Inbox", "--flags", std::string(51, 'a')}, "--flags");
    ExpectRefused({"mail", "add", "Inbox", "--body", "/none"}, "/none");
    ExpectRefused({"mail", "add", "Inbox", "--body", "-"}, "「한」", "abc한");
    ExpectRefused({"mail", "add", "Inbox", "--body", "-"}, "本文", "a\x01\x01\n");
    ExpectRefused({"mail", "add", "../Inbox"}, "../Inbox");
    const std::size_t longest = store::MAIL_BODY_MAX - 1000;
    ExpectRefused({"mail", "add", "Inbox", "--body", "-"}, "長すぎます", std::string(longest, 'a'));
    ExpectRefused({"mail", "add", "Inbox", "--body", "-"}, "長すぎます", std::string(longest * 4, 'a'));
    const std::pair<const char*, std::size_t> capacities[] = {
        {"--flags", 50},           {"--address", 2499}, {"--name", 511}, {"--date", 50},
        {"--subject", 513},        {"--attach", 999},   {"--cc", 2499},  {"--bcc", 2499},
        {"--extra-address", 1023}, {"--message-id", 99}};
    std::vector<std::string> full = {"mail", "add", "Full"};
    for (const auto& [option, bytes] : capacities) {
        ExpectRefused({"mail", "add", "Inbox", option, std::string(bytes + 1, 'a')}, option);
        full.insert(full.end(), {option, std::string(bytes, 'a')});
    }
    EXPECT_EQ(Run(full).status, kDone);
    // Each of them fits, but a compaction could not find the end of all.
    std::vector<std::string> tooLong = full;
    tooLong[2] = "Inbox";
    tooLong.insert(tooLong.end(), {"--body", "-"});
    ExpectRefused(tooLong, "大きすぎます", std::string(longest - 7, 'a'));
    // The longest that is taken is read back whole.
    EXPECT_EQ(Run({"mail", "add", "Inbox", "--body", "-"}, std::string(longest - 7, 'a')).status, kDone);
    EXPECT_EQ(Run({"mail", "show", "Inbox", "1", "--raw"}).out, std::string(longest - 7, 'a') + "\r\n");
}

TEST_F(MailCommandLine, ReplacingKeepsWhatIsNotGiven) {
    Add("one");
    EXPECT_EQ(Run({"mail", "add", "Inbox", "--subject", "two", "--name", "N", "--body", "-"}, "text").status,
              kDone);
    Add("three");
    const std::string localId = RunJson({"mail", "list", "Inbox"}).at(1).at("localId");
    const Json replaced = RunJson({"mail", "replace", "Inbox", localId, "--subject", "new", "--name", ""});
    EXPECT_EQ(replaced.at("number"), 1);
    EXPECT_EQ(Subjects("Inbox"), (Subject{"one", "new", "three"}));
    const Json mail = RunJson({"mail", "show", "Inbox", "1"});
    EXPECT_EQ(mail.at("localId"), replaced.at("localId"));
    EXPECT_EQ(mail.at("name"), "");
    EXPECT_EQ(mail.at("body"), "text\r\n");
    ExpectRefused({"mail", "replace", "Inbox", "nobody"}, "nobody");
    ExpectRefused({"mail", "replace", "Inbox", ""}, "識別子");
    ExpectRefused({"mail", "find", "Inbox", localId}, localId);
}

TEST_F(MailCommandLine, FlagsAreChangedInListAndMail) {
    for (const char* subject : {"0", "1", "2"})
        Add(subject);
    const auto mark = [this](std::vector<std::string> words) {
        words.insert(words.begin(), "mail");
        EXPECT_EQ(Run(words).status, kDone);
    };
    mark({"read", "Inbox", "0", "2"});
    mark({"reserve", "Inbox", "1", "0"});
    EXPECT_EQ(Flags(0), "SosRr --Y- 0P Y");
    mark({"unread", "Inbox", "2"});
    mark({"unreserve", "Inbox", "0"});
    mark({"sent", "Inbox", "1"});
    mark({"flag", "Inbox", "2", "10", "L"});
    EXPECT_EQ(Flags(0), "SosRr --y- 0P Y");
    EXPECT_EQ(Flags(1), "SoSrr --y- 0P Y");
    EXPECT_EQ(Flags(2), "Sosrr ----L0P Y");
    EXPECT_EQ(RunJson({"mail", "show", "Inbox", "1"}).at("flags"), "SoSrr --y- 0P Y   ");
    EXPECT_GT(RunJson({"mail", "list", "Inbox"}).at(1).at("date").get<std::string>().size(), 20U);
    mark({"unsent", "Inbox", "1"});
    EXPECT_EQ(Flags(1), "Sosrr --y- 0P Y");

    ExpectRefused({"mail", "unread", "Inbox", "0", "3"}, "3");
    ExpectRefused({"mail", "flag", "Inbox", "0", "3", "あ"}, "CHARACTER");
    ExpectRefused({"mail", "flag", "Inbox", "0", "14", "N"}, "14");
    ExpectRefused({"mail", "flag", "Inbox", "0", "40", "N"}, "0");
    ExpectRefused({"mail", "read", "Nowhere", "0"}, "Nowhere");
    EXPECT_EQ(Run({"mail", "flag", "Inbox", "0", "50", "N"}).status, kWrongUsage);
}

TEST_F(MailCommandLine, SeveralNumbersAreThoseOfTheListBefore) {
    for (const char* subject : {"0", "1", "2", "3", "4"})
        Add(subject);
    EXPECT_EQ(Run({"mail", "trash", "Inbox", "3", "1"}).status, kDone);
    EXPECT_EQ(Subjects("Inbox"), (Subject{"0", "2", "4"}));
    EXPECT_EQ(Subjects("Trash"), (Subject{"1", "3"}));
    EXPECT_EQ(Run({"mail", "delete", "Inbox", "0", "1"}).status, kDone);
    EXPECT_EQ(Subjects("Inbox"), Subject{"4"});
    ExpectRefused({"mail", "delete", "Inbox", "0", "1"}, "番号");
    ExpectRefused({"mail", "trash", "Inbox", "7"}, "番号");
    Add("5");
    std::string index = *files.Get(kIndex);
    index.front() = ' ';  // deleted, by a program that has not taken it out of the list
    files.Put(kIndex, index);
    ASSERT_EQ(Subjects("Inbox"), Subject{"5"});
    ExpectRefused({"mail", "trash", "Inbox", "0", "1"}, "番号 0 ");
    ExpectRefused({"mail", "delete", "Inbox", "0"}, "番号 0 ");
}

TEST_F(MailCommandLine, AFolderIsSpelledAsTheTreeOrTheDiskHasIt) {
    EXPECT_EQ(Run({"mail", "add", "inBOX"}).err, "");
    const auto unknown = Run({"mail", "add", "Inbx"});
    EXPECT_EQ(unknown.status, kDone);
    EXPECT_NE(unknown.err.find("Inbx"), std::string::npos) << "the tree does not show it";
    EXPECT_EQ(RunJson({"mail", "add", "INBX"}).at("folder"), "Inbx");
    EXPECT_EQ(files.Names("/mail/MailBox1"), (std::vector<std::string>{"Inbox.loc", "Inbox.mtx", "Inbx.loc",
                                                                       "Inbx.mtx", "MailBoxInfo.ini"}));
    EXPECT_EQ(Subjects("inbx").size(), 2U);
}

TEST_F(MailCommandLine, TheClipboardMakesItsDirectory) {
    const std::map<std::string, std::string> home = {{"HOME", "/home/taro"}};
    EXPECT_EQ(support::RunPostkite(files, {"mail", "list", "$PostkiteClipFile$"}, home).status, kDone);
    EXPECT_FALSE(files.Exists("/home"));
    EXPECT_EQ(support::RunPostkite(files, {"mail", "add", "$postkiteclipfile$"}, home).err, "");
    EXPECT_EQ(files.Names("/home/taro/.local/state/postkite"),
              (std::vector<std::string>{"$PostkiteClipFile$.loc", "$PostkiteClipFile$.mtx"}));
}

TEST_F(MailCommandLine, LinesOfAFieldAndBytesThatAreNoCharacter) {
    EXPECT_EQ(Run({"mail", "add", "Inbox", "--address", "AAA@ BBB@ ", "--subject", "x@y@z@", "--body", "-"},
                  "\x1B[2J\n")
                  .status,
              kDone);
    std::string text = *files.Get(kText);
    for (const auto& [from, to] : {std::pair<std::string, std::string>{"AAA@ BBB@ ", "AAA\xA0 BBB\xA0 "},
                                   {"x@y@z@", "x\x80y\xFFz\xA0"}}) {
        text.replace(text.find(from), from.size(), to);
    }
    files.Put(kText, text);
    const std::string shown = Run({"mail", "show", "Inbox", "0"}).out;
    EXPECT_NE(shown.find("\nAddress: AAA\n    BBB\nDate:"), std::string::npos) << shown;
    EXPECT_NE(shown.find("\nSubject: x\uFFFDy\uFFFDz\uFFFD\n"), std::string::npos) << shown;
    EXPECT_TRUE(shown.ends_with("\n\n\uFFFD[2J\r\n")) << shown;
    const Json mail = RunJson({"mail", "show", "Inbox", "0"});
    EXPECT_EQ(mail.at("address"), "AAA\uFFFD BBB\uFFFD ");
    EXPECT_EQ(mail.at("subject"), "x\uFFFDy\uFFFDz\uFFFD");
}

TEST_F(MailCommandLine, ADamagedMailIsToldAndTheOthersAreThere) {
    Add("one");
    Add("two");
    std::string index = *files.Get(kIndex);
    index.replace(0, 20, "99999               ");
    files.Put(kIndex, index);
    EXPECT_EQ(Subjects("Inbox"), (Subject{"one", "two"}));
    ExpectRefused({"mail", "show", "Inbox", "0"}, "壊れている");
    ExpectRefused({"mail", "read", "Inbox", "0"}, "0");
    ExpectRefused({"mail", "show", "Inbox", "2"}, "2");
    EXPECT_EQ(Run({"mail", "show", "Inbox", "1"}).status, kDone);
}

TEST_F(MailCommandLine, AnUnwritableDiskIsNoSuccess) {
    Add("one");
    for (int call = 1;; ++call) {
        files.FailCall(call, -EIO);
        const auto result = Run({"mail", "add", "Inbox"});
        const bool struck = files.struck();
        files.Restart();
        const auto subjects = Subjects("Inbox").size();
        if (result.status == kDone) {
            EXPECT_EQ(result.out.substr(0, result.out.find(' ')), std::to_string(subjects - 1)) << call;
        } else {
            EXPECT_NE(result.err, "") << call;
        }
        if (!struck) break;
    }
}

}  // namespace
}  // namespace postkite::cli
