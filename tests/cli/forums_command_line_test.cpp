// `postkite forums` and `analyse` from the words typed to the files.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/shift_jis.h"
#include "tests/support/command_line.h"

namespace postkite::cli {
namespace {

using namespace core::literals;
using Json = nlohmann::json;

const std::string kForumCapture =
    "CCS(N)>MRE\r\n\x81\x9F"
    "FABC MES( 1)\r\n"
    "001/001   ABC01234  YAMADA TARO       Title\r\n  (1)  97/01/23 12:34\r\ntext\r\n \b\r\nCCS(N)>\r\n";
const std::string kMailCapture =
    "  1 YAMADA TARO       ABC01234          97/01/23 12:34\r\nSubject:  "
    "Meeting\r\ntext\r\naction:DELETE\r\n";

struct ForumsCommandLine : testing::Test {
    support::RunResult Run(std::vector<std::string> arguments) {
        return support::RunPostkite(files, std::move(arguments));
    }
    void Expect(std::vector<std::string> arguments, int status = kDone) {
        const auto result = Run(std::move(arguments));
        EXPECT_EQ(result.status, status) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err.empty(), status == kDone) << result.err;
    }
    std::string FileOf(const std::string& place) {
        return files.Get("/mail/Setting/" + place).value_or("missing");
    }
    std::size_t MailsOf(const std::string& folder) {
        return Json::parse(Run({"--json", "mail", "list", folder}).out).size();
    }

    support::MemoryFileSystem files;
    const std::string condition{"読み込み条件="_sjis};
};

TEST_F(ForumsCommandLine, ReadConditionsAreSetAndListed) {
    Expect({"forums"});
    Expect({"folders", "new", "Desktop", "FABC,mes1"});
    Expect({"folders", "new", "FABC,mes1", "LONGER,lib2"});
    Expect({"forums", "set", "fabc,MES1", "perday"});
    EXPECT_EQ(FileOf("FABC,mes1"), condition + "perday\r\nlast access=93/01/01\r\n");
    Expect({"forums", "set", "FABC,mes1", "read", "--last-access", "97/01/24"});
    Expect({"forums", "set", "FABC,mes1", "perday"});
    EXPECT_EQ(FileOf("FABC,mes1"), condition + "perday\r\nlast access=97/01/24\r\n");
    Expect({"forums", "set", "New,mes3", "read"});
    files.Put("/mail/Setting/X,lib9", condition + "some\x1B\x81\r\n");
    EXPECT_EQ(Run({"forums"}).out,
              "FABC,mes1    perday   97/01/24\n"
              "LONGER,lib2  notread\n"
              "New,mes3     read     93/01/01\n"
              "X,lib9       some\uFFFD\uFFFD\n");
    const Json places = Json::parse(Run({"--json", "forums"}).out);
    ASSERT_EQ(places.size(), 4U);
    EXPECT_EQ(places[0],
              Json({{"folder", "FABC,mes1"}, {"condition", "perday"}, {"lastAccess", "97/01/24"}}));
    EXPECT_EQ(places[1], Json({{"folder", "LONGER,lib2"}, {"condition", "notread"}, {"lastAccess", ""}}));

    for (const char* folder : {"Inbox", "setting.ini", "FABC", "..\\FABC,mes1", "FABC,mes 1"})
        Expect({"forums", "set", folder, "read"}, kRefused);
    const auto wrongDate = Run({"forums", "set", "FABC,mes1", "read", "--last-access", "1997-01-24"});
    EXPECT_EQ(wrongDate.status, kRefused);
    EXPECT_EQ(wrongDate.err, "Postkite: 最終アクセス日の指定が違います。\n");
    EXPECT_EQ(Run({"forums", "set", "FABC,mes1", "always"}).status, kWrongUsage);
    EXPECT_EQ(FileOf("FABC,mes1"), condition + "perday\r\nlast access=97/01/24\r\n");
}

TEST_F(ForumsCommandLine, TheCapturesOfTheWorkingDirectoryAreAnalysedAndRemoved) {
    files.Put("/mail/MesLog.txt", kForumCapture);
    files.Put("/mail/maillog.txt", kMailCapture);
    const auto messages = Run({"analyse", "forum"});
    EXPECT_EQ(messages.status, kDone);
    EXPECT_EQ(messages.out, "保存した会議室データ: 1\n");
    EXPECT_EQ(messages.err, "Postkite: 1 件の会議室データを読み込みました。\n");
    EXPECT_EQ(Run({"--json", "analyse", "mail"}).out, "{\n  \"mails\": 1\n}\n");
    EXPECT_FALSE(files.Exists("/mail/MesLog.txt") || files.Exists("/mail/maillog.txt"));
    EXPECT_EQ(MailsOf("FABC,mes1"), 1U);
    EXPECT_EQ(MailsOf("Inbox"), 1U);
    files.Put("/mail/MesLog.txt", kForumCapture);
    EXPECT_EQ(Json::parse(Run({"--json", "analyse", "forum", "MESLOG.TXT"}).out), Json({{"messages", 0}}));
    EXPECT_FALSE(files.Exists("/mail/MesLog.txt"));
    for (const char* kind : {"mail", "forum"}) {
        Expect({"analyse", kind}, kRefused);
        Expect({"analyse", kind, "/elsewhere/capture.txt"}, kRefused);
        Expect({"analyse", kind, "Setting"}, kRefused);
    }
}

TEST_F(ForumsCommandLine, AnyOtherFileStaysAndACopyIsAnalysed) {
    files.Put("/elsewhere/capture.txt", kMailCapture);
    files.Put("/mail/old.txt", kForumCapture);
    Expect({"folders", "new", "Desktop", "FABC,mes1"});
    const auto settings = files.Get("/mail/Setting/setting.ini");
    EXPECT_EQ(Run({"analyse", "mail", "/elsewhere/capture.txt"}).status, kDone);
    EXPECT_EQ(Run({"analyse", "forum", "old.txt"}).out, "保存した会議室データ: 1\n");
    EXPECT_EQ(Run({"analyse", "forum", "/mail/MailBox1/MailBoxInfo.ini"}).status, kDone) << "that holds none";
    EXPECT_EQ(MailsOf("Inbox") + MailsOf("FABC,mes1"), 2U);
    EXPECT_TRUE(files.Exists("/elsewhere/capture.txt") && files.Exists("/mail/old.txt"));
    EXPECT_TRUE(files.Exists("/mail/MailBox1/MailBoxInfo.ini"));
    for (const std::string& name : files.Names("/mail"))
        EXPECT_FALSE(name.starts_with("maillog") || name.starts_with("meslog")) << name;

    // What could not be stored waits in the copy; nothing is put in its place.
    files.Put("/mail/meslog-copy.txt", "CCS(N)>MRE\r\n");
    const auto refused = Run({"analyse", "forum", "/mail/old.txt"});
    EXPECT_EQ(refused.status, kRefused);
    EXPECT_NE(refused.err.find("postkite analyse forum meslog-copy.txt"), std::string::npos) << refused.err;
    EXPECT_EQ(Run({"analyse", "forum", "meslog-copy.txt"}).status, kDone);
    EXPECT_FALSE(files.Exists("/mail/meslog-copy.txt"));
}

}  // namespace
}  // namespace postkite::cli
