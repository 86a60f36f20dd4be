// `postkite script` from the words typed to what is printed.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "comm/script_file.h"
#include "tests/support/command_line.h"

namespace postkite::cli {
namespace {

using support::MemoryFileSystem;
using support::RunResult;

class ScriptCommandLine : public testing::Test {
  protected:
    RunResult Run(std::vector<std::string> arguments, const std::string& input = {}) {
        return support::RunPostkite(files_, std::move(arguments), {{"LANG", "en_GB.UTF-8"}}, input);
    }

    MemoryFileSystem files_;
};

TEST_F(ScriptCommandLine, ListSaysWhatTheSettingsChoose) {
    files_.Put("/mail/Script/夜.txt", "1 END\n");
    EXPECT_EQ(Run({"script", "list"}).out.substr(0, 2), "*A");
    ASSERT_EQ(Run({"settings", "set", "FENICS LOAD", "1"}).status, 0);
    ASSERT_EQ(Run({"settings", "set", "FORUM NAME", "FKITE"}).status, 0);
    ASSERT_EQ(Run({"settings", "set", "SCRIPTDIRECTORY", "script"}).status, 0);
    const RunResult list = Run({"script", "list"});
    EXPECT_EQ(list.status, 0);
    EXPECT_NE(list.out.find("\n*D  "), std::string::npos) << list.out;
    EXPECT_NE(list.out.find("\n 夜.txt\n"), std::string::npos) << list.out;
    const auto document = nlohmann::json::parse(Run({"--json", "script", "list"}).out);
    ASSERT_EQ(document.size(), 5U);
    EXPECT_EQ(document[0].at("name"), "A");
    EXPECT_EQ(document[0].at("chosen"), false);
    EXPECT_EQ(document[3].at("chosen"), true);
    EXPECT_EQ(document[4],
              nlohmann::json({{"name", "夜.txt"}, {"builtIn", false}, {"chosen", false}, {"use", ""}}));

    ASSERT_EQ(Run({"settings", "set", "SCRIPTDIRECTORY", "C:\\SCRIPT"}).status, 0);
    const RunResult lost = Run({"script", "list"});
    EXPECT_EQ(lost.status, 0);
    EXPECT_NE(lost.err.find("SCRIPTDIRECTORY"), std::string::npos);
    EXPECT_EQ(lost.out.substr(0, 2), " A");
}

TEST_F(ScriptCommandLine, ShowPrintsTheFormThatItReads) {
    const RunResult shown = Run({"script", "show", "D"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_TRUE(shown.out.starts_with("1 WAIT_TIME,1,\n2 MODEM_INIT,,モデム初期化中\n3 WAIT,OK\\r\\n,\n"))
        << shown.out;
    EXPECT_TRUE(shown.out.ends_with("71 WAIT_TIME,1,\n72 END,,回線切断完了\n")) << shown.out;
    files_.Put("/here/d", "# a comment\n" + shown.out);
    EXPECT_EQ(Run({"script", "show", "/here/d"}).out, shown.out);
    EXPECT_EQ(Run({"script", "show", "-"}, shown.out).out, shown.out);
    const auto document = nlohmann::json::parse(Run({"script", "show", "D", "--json"}).out);
    ASSERT_EQ(document.size(), 47U);
    EXPECT_EQ(document[2], nlohmann::json({{"number", 3}, {"line", "WAIT,OK\r\n,"}}));

    files_.Put("/here/bad", "1 SEND,\\x,\n");
    const RunResult refused = Run({"script", "show", "/here/bad"});
    EXPECT_EQ(refused.status, kRefused);
    EXPECT_EQ(refused.out, "");
    EXPECT_NE(refused.err.find("/here/bad:1: there is no escape \"\\x\""), std::string::npos) << refused.err;
}

TEST_F(ScriptCommandLine, CheckNamesLineAndProblem) {
    const std::string text = "# 調べる\n1 WAIT,a,\n2 SEMD,b\x1B[31m,\n3 GOTO,,*A\n3 SEND,c,\n4 SEND,\\q,\n";
    files_.Put("/here/s", text);
    const RunResult checked = Run({"script", "check", "/here/s"});
    EXPECT_EQ(checked.status, kRefused);
    EXPECT_EQ(checked.out,
              "/here/s:3: there is no command \"SEMD\"\n"
              "/here/s:4: the label \"*A\" is not defined\n"
              "/here/s:5: the line number 3 is not above the one before\n"
              "/here/s:6: there is no escape \"\\q\", only \\r, \\n and \\\\\n"
              "/here/s:6: there is no END\n");
    const RunResult inJson = Run({"script", "check", "--json", "-"}, text);
    EXPECT_EQ(inJson.status, kRefused);
    const auto document = nlohmann::json::parse(inJson.out);
    ASSERT_EQ(document.size(), 5U);
    EXPECT_EQ(document[0], nlohmann::json({{"line", 3}, {"problem", "there is no command \"SEMD\""}}));

    // Nothing that the file holds steers the terminal or breaks the document.
    const RunResult odd =
        Run({"script", "check", "--json", "-"}, "1 \x1B[31m\n2 SEND,\xED\xA0\x80\n3 a\\\xFF");
    EXPECT_EQ(nlohmann::json::parse(odd.out).size(), 4U);
    EXPECT_EQ(Run({"script", "check", "-"}, "1 \x1B[31m\n").out.find('\x1B'), std::string::npos);
}

TEST_F(ScriptCommandLine, CheckIsContentWithAScriptThatCanWork) {
    const std::string whole = Run({"script", "show", "A"}).out;
    RunResult checked = Run({"script", "check", "-", "--json"}, whole);
    EXPECT_EQ(checked.status, 0);
    EXPECT_EQ(checked.out, "[]\n");
    EXPECT_EQ(checked.err, "");
    checked = Run({"script", "check", "-"}, "1 SEND,ATZ\\r,\n2 END,,\n");
    EXPECT_EQ(checked.status, 0);
    EXPECT_EQ(checked.out, "");
    EXPECT_NE(checked.err.find("200"), std::string::npos) << "a remark, and no problem";
}

TEST_F(ScriptCommandLine, FilesAreLookedForInTheScriptDirectoryToo) {
    files_.Put("/mail/Script/夜.txt", "1 END\n");
    EXPECT_EQ(Run({"script", "check", "夜.txt"}).status, kRefused);
    ASSERT_EQ(Run({"settings", "set", "SCRIPTDIRECTORY", "SCRIPT"}).status, 0);
    EXPECT_EQ(Run({"script", "show", "夜.txt"}).out, "1 END\n");
    for (const char* missing : {"朝.txt", "/nowhere/夜.txt", "../夜.txt", "😀", ""}) {
        const RunResult result = Run({"script", "check", missing});
        EXPECT_EQ(result.status, kRefused) << missing;
        EXPECT_NE(result.err.find("cannot be read"), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
    files_.Put("/here/long", std::string(comm::kLongestScriptFileBytes + 1, '\n'));
    const RunResult tooLong = Run({"script", "check", "/here/long"});
    EXPECT_EQ(tooLong.status, kRefused);
    EXPECT_NE(tooLong.err.find("too large"), std::string::npos) << tooLong.err;
    EXPECT_EQ(Run({"script"}).status, kWrongUsage);
    EXPECT_EQ(Run({"complete", "--", "script", "show", ""}).out, "A\nB\nC\nD\n");
    EXPECT_EQ(Run({"script", "show"}).status, kWrongUsage);
}

}  // namespace
}  // namespace postkite::cli
