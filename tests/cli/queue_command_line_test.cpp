// `postkite queue` and `postkite mail reply` from the words typed to the files.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/shift_jis.h"
#include "tests/support/command_line.h"

namespace postkite::cli {
namespace {

using namespace core::literals;
using Json = nlohmann::json;

class QueueCommandLine : public testing::Test {
  protected:
    support::RunResult Run(std::vector<std::string> arguments, const std::string& input = {}) {
        return support::RunPostkite(files, std::move(arguments), {}, input);
    }
    Json RunJson(std::vector<std::string> arguments, int status, const std::string& input = {}) {
        arguments.insert(arguments.begin(), "--json");
        const auto result = Run(std::move(arguments), input);
        EXPECT_EQ(result.status, status) << result.err;
        return Json::parse(result.out, nullptr, false);
    }
    Json Add(const std::string& address, const std::string& subject) {
        return RunJson({"mail", "add", "Outbox", "--address", address, "--subject", subject, "--body", "-"},
                       kDone, "text\n");
    }

    support::MemoryFileSystem files;
};

TEST_F(QueueCommandLine, SaysWhatWouldGoOut) {
    const auto nothing = Run({"queue"});
    EXPECT_EQ(nothing.status, kRefused);
    EXPECT_EQ(nothing.out, "");
    EXPECT_EQ(nothing.err, "Postkite: 送信予約されたメールがありません。\n");
    const Json none = Json::array();
    EXPECT_EQ(RunJson({"queue"}, kRefused), Json({{"queued", 0}, {"mails", none}, {"forum", none}}));

    Add("kept", "not reserved");
    const Json host = Add("ABC00123 (山田), a@b.c", "題名");
    Add("/FORUMB,MES2,7", "post");
    Add("/FORUMA,MES1", "another");
    Add("", "nowhere");
    EXPECT_EQ(Run({"mail", "reserve", "Outbox", "1", "2", "3", "4"}).status, kDone);
    const auto text = Run({"queue"});
    EXPECT_EQ(text.status, kDone);
    EXPECT_EQ(text.out,
              "    1  ABC00123, INET:a@b.c  題名  bmtemp.$$$\\1.mtx\n"
              "    2  FORUMB,MES 2  post  bmtemp.$$$\\2.mtx\n"
              "    3  FORUMA,MES 1  another  bmtemp.$$$\\3.mtx\n");
    EXPECT_NE(text.err.find("nowhere ("), std::string::npos) << text.err;
    EXPECT_EQ(RunJson({"queue"}, kDone),
              Json({{"queued", 3},
                    {"mails",
                     {{{"number", 1},
                       {"localId", host.at("localId")},
                       {"to", {"ABC00123", "INET:a@b.c"}},
                       {"subject", "題名"},
                       {"file", "bmtemp.$$$\\1.mtx"}}}},
                    {"forum",
                     {{{"target", "FORUMA,MES 1"}, {"file", "bmtemp.$$$\\3.mtx"}},
                      {{"target", "FORUMB,MES 2"}, {"file", "bmtemp.$$$\\2.mtx"}}}}}));
    EXPECT_EQ(files.Get("/mail/BMTEMP.$$$/2.mtx").value_or(""),
              "SUB:post\r\nRE:007\r\ntext\r\n\r\n\r\n/POST\r\n");

    EXPECT_EQ(Run({"settings", "set", "USEHIDETERM", "1"}).status, kDone);
    const auto refused = Run({"--json", "queue"});
    EXPECT_EQ(refused.status, kRefused);
    EXPECT_EQ(refused.out, "") << "no queue could be built";
    EXPECT_NE(refused.err.find("hideterm"), std::string::npos) << refused.err;
}

TEST_F(QueueCommandLine, AReplyWaitsInTheOutbox) {
    const std::vector<std::string> words = {
        "mail",      "add",  "Inbox",  "--flags", "Rosrr ---- OP     ", "--address", "ABC00123",
        "--subject", "news", "--body", "-"};
    EXPECT_EQ(Run(words, "一行目\n").status, kDone);
    const Json made = RunJson({"mail", "reply", "inbox", "0", "--body", "-"}, kDone, "返事\n");
    const Json reply = RunJson({"mail", "show", "Outbox", "0"}, kDone);
    EXPECT_EQ(made, Json({{"folder", "Outbox"}, {"number", 0}, {"localId", reply.at("localId")}}));
    EXPECT_EQ(reply.at("subject"), "Re:news");
    EXPECT_EQ(reply.at("address"), "ABC00123");
    EXPECT_TRUE(reply.at("body").get<std::string>().ends_with("\r\n>一行目\r\n返事\r\n")) << reply.at("body");
    EXPECT_EQ(RunJson({"mail", "list", "Inbox"}, kDone).at(0).at("flags"), "RosrR ---- OP Y");
    EXPECT_EQ(Run({"queue"}).status, kRefused) << "it is not reserved";
    EXPECT_EQ(Run({"mail", "reserve", "Outbox", "0"}).status, kDone);
    EXPECT_EQ(Run({"queue"}).status, kDone);

    EXPECT_EQ(Run({"mail", "reply", "Inbox", "0"}).out.substr(0, 2), "1 ");
    for (const auto& [folder, number, body] :
         {std::tuple{"Inbox", "1", "-"}, {"Nowhere", "0", "-"}, {"Inbox", "0", "/none"}}) {
        const auto refused = Run({"mail", "reply", folder, number, "--body", body});
        EXPECT_EQ(refused.status, kRefused) << folder << number << body;
        EXPECT_NE(refused.err, "");
    }
    EXPECT_EQ(Run({"mail", "reply", "Inbox"}).status, kWrongUsage);
    EXPECT_EQ(RunJson({"mail", "list", "Outbox"}, kDone).size(), 2U);
}

}  // namespace
}  // namespace postkite::cli
