#include "comm/script_file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <utility>

#include "core/shift_jis.h"
#include "tests/support/memory_file_system.h"

namespace postkite::comm {
namespace {

using namespace core::literals;

/// "LINE: what it is", in English.
std::vector<std::string> Words(const std::vector<ScriptProblem>& problems) {
    std::vector<std::string> words;
    for (const ScriptProblem& problem : problems) {
        const std::u8string text = DescribeScriptProblem(problem, core::Language::English);
        words.push_back(std::to_string(problem.line) + ": " + std::string(text.begin(), text.end()));
    }
    return words;
}

using Expected = std::vector<std::string>;

/// What reading finds.
Expected Faults(std::u8string_view text) {
    ScriptFile file;
    return Words(ParseScript(text, file));
}

/// What checking finds in a file that reading takes.
Expected CheckFaults(std::u8string_view text) {
    ScriptFile file;
    EXPECT_EQ(Words(ParseScript(text, file)), Expected());
    return Words(CheckScript(file));
}

TEST(ScriptFile, ReadsWhatPeopleWrite) {
    const std::u8string_view text =
        u8"\uFEFF# 夜の接続\r\n"
        u8"1 WAIT,OK\\r\\n,\r\n"
        u8"\r\n"
        u8" \t\n"
        u8"007 SEND,dir\\\\x\\r, 表示 \n"
        u8"8 \n"
        u8"9\n"
        u8"249 END,,完了";
    ScriptFile file;
    EXPECT_EQ(Words(ParseScript(text, file)), Expected());
    ScriptLines expected;
    expected[1] = "WAIT,OK\r\n,";
    expected[7] = "SEND,dir\\x\r, 表示 "_sjis;
    expected[249] = "END,,完了"_sjis;
    EXPECT_EQ(file.lines, expected);
    EXPECT_EQ(file.fileLines[1], 2);
    EXPECT_EQ(file.fileLines[249], 8);
    EXPECT_TRUE(FormatScript(file.lines) == u8"1 WAIT,OK\\r\\n,\n7 SEND,dir\\\\x\\r, 表示 \n249 END,,完了\n");
}

TEST(ScriptFile, NamesEveryLineThatItCannotRead) {
    const std::pair<std::u8string_view, Expected> cases[] = {
        {u8"WAIT,a,\n", {"1: does not begin with a line number and a blank"}},
        {u8" 1 WAIT,a,\n1\tWAIT\n1,WAIT\n１ WAIT\n-1 WAIT",
         {"1: does not begin with a line number and a blank",
          "2: does not begin with a line number and a blank",
          "3: does not begin with a line number and a blank",
          "4: does not begin with a line number and a blank",
          "5: does not begin with a line number and a blank"}},
        {u8"0 WAIT\n250 WAIT\n99999999999999999999999999 WAIT\n",
         {"1: the line number 0 is not one of 1 to 249", "2: the line number 250 is not one of 1 to 249",
          "3: the line number 99999999999999999999 is not one of 1 to 249"}},
        {u8"5 WAIT\n5 WAIT\n\n4 WAIT\n6 WAIT",
         {"2: the line number 5 is not above the one before",
          "4: the line number 4 is not above the one before"}},
        {u8"1 a\\t\n2 a\\\n3 a\\あ\n4 \\R",
         {"1: there is no escape \"\\t\", only \\r, \\n and \\\\",
          "2: there is no escape \"\\\", only \\r, \\n and \\\\",
          "3: there is no escape \"\\あ\", only \\r, \\n and \\\\",
          "4: there is no escape \"\\R\", only \\r, \\n and \\\\"}},
        {u8"1 a\rb\n2 a\r\r\n",
         {"1: holds a carriage return, which is written \\r",
          "2: holds a carriage return, which is written \\r"}},
        {std::u8string_view(u8"1 a\0b", 5), {"1: holds a zero byte"}},
        {u8"1 絵文字😀です\n", {"1: holds \"😀\", which Shift-JIS has no code for"}},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(Faults(text), expected);

    ScriptFile file;
    const auto problems = ParseScript(u8"1 a\\t\n2 b\xFF\xFE\n3 c\n", file);
    ASSERT_EQ(problems.size(), 2U);
    EXPECT_EQ(problems[1].fault, ScriptFault::NotInCodePage);
    EXPECT_EQ(file.lines[1] + file.lines[2] + file.lines[3], "c") << "what cannot be read is left out";
}

TEST(ScriptFile, CountsBytesOfShiftJisBehindTheEscapes) {
    std::u8string longest = u8"1 ";
    for (int i = 0; i < 38; ++i)
        longest += u8"あ";
    longest += u8"\\r\\n";
    EXPECT_EQ(Faults(longest), Expected());
    EXPECT_EQ(Faults(longest + u8"\\\\"), Expected());
    ScriptFile file;
    EXPECT_EQ(Words(ParseScript(longest + u8"う", file)),
              Expected{"1: has 80 bytes, and 79 of Shift-JIS are the most"});
    EXPECT_EQ(file.lines[1].size(), 78U) << "cut between characters";
}

TEST(ScriptFile, EveryBuiltInScriptComesBack) {
    for (const auto script : {BuiltInScript::A, BuiltInScript::B, BuiltInScript::C, BuiltInScript::D}) {
        ScriptFile file;
        EXPECT_EQ(Words(ParseScript(FormatScript(BuiltInScriptLines(script)), file)), Expected());
        EXPECT_EQ(file.lines, BuiltInScriptLines(script));
        EXPECT_EQ(HasLogOffLine(file.lines), script != BuiltInScript::D);
        file.lines[150] = "END,,";
        EXPECT_FALSE(HasLogOffLine(file.lines)) << "never loaded";
    }
}

TEST(ScriptCheck, FaultsTheBuiltInScriptsOnlyWhereTheyCannotWork) {
    EXPECT_EQ(CheckFaults(FormatScript(BuiltInScriptLines(BuiltInScript::A))), Expected());
    EXPECT_EQ(CheckFaults(FormatScript(BuiltInScriptLines(BuiltInScript::B))), Expected());
    EXPECT_EQ(CheckFaults(FormatScript(BuiltInScriptLines(BuiltInScript::C))), Expected());
    EXPECT_EQ(CheckFaults(FormatScript(BuiltInScriptLines(BuiltInScript::D))),
              Expected{"35: there is no command \"WAIT_ACTION_SAVE\""});
}

TEST(ScriptCheck, KnowsEveryCommandByItsWholeName) {
    std::u8string text;
    int number = 0;
    for (const std::string_view name : CommandNames()) {
        if (name == "END") continue;
        const bool jumps = name == "GOTO" || name == "CHKSMAIL" || name == "CHECK_SENDMAIL" ||
                           name == "DELETE_MAIL" || name == "DOWN_MAIL" || name.starts_with("READ_");
        const std::string line =
            std::to_string(++number) + " " + std::string(name) + (jumps ? ",1,\n" : ",,\n");
        text.append(line.begin(), line.end());
    }
    ASSERT_EQ(number, 72);
    EXPECT_EQ(CheckFaults(text + u8"73 END,,"), Expected());
    EXPECT_EQ(CheckFaults(u8"1 wait,a,\n2 WAIT ,a,\n3 ,WAIT\n4 WAIT@a@\n5 LABEL,,\n6 ENDE,,"),
              (Expected{"1: there is no command \"wait\"", "2: there is no command \"WAIT \"",
                        "3: there is no command \",WAIT\"", "4: there is no command \"WAIT@a@\"",
                        "5: there is no command \"LABEL\""}));
}

TEST(ScriptCheck, FollowsEveryJump) {
    EXPECT_EQ(
        CheckFaults(u8"1 GOTO,,*A\n"
                    u8"2 GOTO,0,\n"
                    u8"3 GOTO,,\n"
                    u8"4 GOTO,10x,飛ぶ\n"
                    u8"5 GOTO,11,\n"
                    u8"6 GOTO,99999999999,\n"
                    u8"7 RELJUMP,7,\n"
                    u8"8 RELJUMP,7,\n"
                    u8"9 READ_FILE_FAST,*A\\n,\n"
                    u8"10 END,,\n"),
        (Expected{"1: the label \"*A\" is not defined", "2: jumps to line 0, which is not one of 1 to 249",
                  "3: jumps to line 0, which is not one of 1 to 249", "5: jumps to line 11, behind END",
                  "6: jumps to line 2147483647, which is not one of 1 to 249",
                  "7: jumps to line 0, which is not one of 1 to 249",
                  "9: the label \"*A\\n\" is not defined"}));
    EXPECT_EQ(
        CheckFaults(u8"1 CASE_FENICS,,*X\n2 READ_MES_TO,,*X\n3 GOTOFORUM,*X,*Y\n4 GOTOFORUML,*X,*A\n"
                    u8"5 BINUP,*X,*A\n6 CHKSMAIL,250,\n7 WAITLIST,,11\n8 *A,,\n9 READ_FILE,,\n10 END"),
        (Expected{"1: the label \"*X\" is not defined", "2: the label \"*X\" is not defined",
                  "3: the label \"*X\" is not defined", "3: the label \"*Y\" is not defined",
                  "4: the label \"*X\" is not defined", "6: jumps to line 250, which is not one of 1 to 249",
                  "7: jumps to line 11, behind END", "9: jumps to line 0, which is not one of 1 to 249"}));
    EXPECT_EQ(CheckFaults(u8"1 CASE_FENICS,,経路\n2 CHECKFORUM,,確認\n3 READ_FILE_FAST,4,\n4 WAIT,*X,*X\n"
                          u8"5 GOTOMES,*X,*X\n6 GOTOFORUM,*A,\n7 *A,,\n8 END"),
              Expected())
        << "texts that are no targets";
}

TEST(ScriptCheck, CountsLabelsAndLooksForTheEnd) {
    std::u8string text;
    for (int number = 1; number <= 30; ++number) {
        const std::string line = std::to_string(number) + " *L" + std::to_string(number) + ",,\n";
        text.append(line.begin(), line.end());
    }
    EXPECT_EQ(CheckFaults(text + u8"40 END,,\n"), Expected());
    EXPECT_EQ(CheckFaults(text + u8"31 *あ,,\n33 GOTO,,*あ\n40 END,,\n"),
              (Expected{"31: the label \"*あ\" is one too many: 30 at most",
                        "32: the label \"*あ\" is not defined"}));
    EXPECT_EQ(
        CheckFaults(
            u8"1 *0123456789012345678,,\n2 *01234567890123456あ,,\n3 GOTO,,*0123456789012345678\n4 END"),
        (Expected{"1: the label \"*0123456789012345678\" is too long: 19 bytes of Shift-JIS at most",
                  "2: the label \"*01234567890123456あ\" is too long: 19 bytes of Shift-JIS at most"}));
    EXPECT_EQ(CheckFaults(u8"# nothing\n\n"), Expected{"2: there is no END"});
    EXPECT_EQ(CheckFaults(u8""), Expected{"1: there is no END"});
    EXPECT_EQ(CheckFaults(u8"1 END,,\n2 *A,,\n3 nonsense\n"),
              Expected{"2: stands behind END: from here on nothing is loaded"});
}

TEST(ScriptDirectory, IsLookedIntoWithinBounds) {
    support::MemoryFileSystem disk;
    core::Workspace workspace(disk, "/mail");
    core::Settings settings;
    std::vector<std::string> names;
    std::string bytes;
    disk.Put("/mail/secret", "x");
    EXPECT_EQ(ListScriptFiles(workspace, settings, names), 0);
    EXPECT_EQ(names, std::vector<std::string>());
    EXPECT_EQ(ReadScriptFile(workspace, settings, "secret", bytes), -ENOENT) << "no directory is named";

    disk.Put("/mail/Script/夜.txt", "1 END\n");
    disk.Put("/mail/Script/a.txt", std::string(kLongestScriptFileBytes, '#'));
    disk.Put("/mail/Script/b.txt", std::string(kLongestScriptFileBytes + 1, '#'));
    disk.PutDirectory("/mail/Script/old");
    settings.scriptDirectory = "SCRIPT\\";
    EXPECT_EQ(ListScriptFiles(workspace, settings, names), 0);
    EXPECT_EQ(names, (std::vector<std::string>{"a.txt", "b.txt", std::string("夜.txt"_sjis)}));
    EXPECT_EQ(ReadScriptFile(workspace, settings, "夜.TXT"_sjis, bytes), 0);
    EXPECT_EQ(bytes, "1 END\n");
    EXPECT_EQ(ReadScriptFile(workspace, settings, "a.txt", bytes), 0);
    EXPECT_EQ(ReadScriptFile(workspace, settings, "b.txt", bytes), -EFBIG);
    EXPECT_EQ(ReadScriptFile(workspace, settings, "old", bytes), -EISDIR);
    EXPECT_EQ(ReadScriptFile(workspace, settings, "..\\secret", bytes), -EINVAL);
    settings.scriptDirectory = "C:\\POSTKITE\\SCRIPT";
    EXPECT_EQ(ReadScriptFile(workspace, settings, "a.txt", bytes), -EINVAL);
    EXPECT_EQ(ListScriptFiles(workspace, settings, names), -EINVAL);
}

}  // namespace
}  // namespace postkite::comm
