#include "comm/script.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <vector>

#include "core/shift_jis.h"

namespace postkite::comm {
namespace {

using namespace core::literals;

using Fields = std::vector<std::string>;

Fields Split(std::string_view line, std::string_view fenicsLoad = "2") {
    const ScriptFields fields = SplitLine(line, fenicsLoad);
    return {std::string(fields.command), std::string(fields.first), std::string(fields.second)};
}

ScriptLines LinesOf(const std::map<std::size_t, std::string>& numbered) {
    ScriptLines lines;
    for (const auto& [number, text] : numbered)
        lines.at(number) = text;
    return lines;
}

TEST(SplitLine, TakesFieldsAsTheyStand) {
    EXPECT_EQ(Split("GOTO,,*LOGIN"), (Fields{"GOTO", "", "*LOGIN"}));
    EXPECT_EQ(Split("WAIT,MAIL>"), (Fields{"WAIT", "MAIL>", ""}));
    EXPECT_EQ(Split("LOGOFF"), (Fields{"LOGOFF", "", ""}));
    EXPECT_EQ(Split("SEND, a ,b,c,"), (Fields{"SEND", " a ", "b,c,"})) << "the second one is the rest";
    EXPECT_EQ(Split(",x,y"), (Fields{",x", "y", ""})) << "the first character is the command's";
    EXPECT_EQ(Split(",,"), (Fields{",", "", ""}));
    EXPECT_EQ(Split(","), (Fields{",", "", ""}));
    EXPECT_EQ(Split(""), (Fields{"", "", ""}));
}

TEST(SplitLine, RoutesFourAndFiveSplitAtTheAtSign) {
    for (const char* route : {"4", "5"}) {
        EXPECT_EQ(Split("WAIT_TIME,2,", route), (Fields{"WAIT_TIME,2,", "", ""}));
        EXPECT_EQ(Split("WAIT_TIME@2@a@b", route), (Fields{"WAIT_TIME", "2", "a@b"}));
        EXPECT_EQ(Split("@x@y", route), (Fields{"@x", "y", ""}));
        // The second byte of each of these two is the separator's.
        EXPECT_EQ(Split("ァ@ダ@ァダ"_sjis, route),
                  (Fields{std::string("ァ"_sjis), std::string("ダ"_sjis), std::string("ァダ"_sjis)}));
        EXPECT_EQ(Split("SEND@\x83", route), (Fields{"SEND", "\x83", ""})) << "a lead byte at the end";
    }
    for (const char* route : {"", "1", "3", "7", "45", "9"})
        EXPECT_EQ(Split("WAIT_TIME@2@,x", route), (Fields{"WAIT_TIME@2@", "x", ""})) << route;
}

TEST(WorkingScript, CopiesUpToTheLineThatEndsAScript) {
    WorkingScript script;
    script.Load(LinesOf({{1, "SEND,a,"}, {5, "SEND,b,"}, {7, "END,,x"}}), "2");
    script.Load(LinesOf({{1, "SEND,c,"}, {3, "ENDLESS"}, {4, "SEND,never,"}, {5, "SEND,never,"}}), "2");
    EXPECT_EQ(script.line(1), "SEND,c,");
    EXPECT_EQ(script.line(2), "");
    EXPECT_EQ(script.line(3), "ENDLESS");
    EXPECT_EQ(script.line(4), "");
    EXPECT_EQ(script.line(5), "SEND,b,") << "of the script before";
    EXPECT_EQ(script.line(7), "END,,x");

    script.Load(LinesOf({{249, "*LAST,,"}}), "2");
    EXPECT_EQ(script.line(3), "");
    EXPECT_EQ(script.line(249), "*LAST,,");
    EXPECT_EQ(script.LineOf("*LAST"), 249) << "a script without an END goes to the last line";
}

TEST(WorkingScript, FindsLabelsByTheirWholeNames) {
    WorkingScript script;
    script.Load(LinesOf({{1, "*A,,"}, {2, "*AB,x,y"}, {3, "*A,,"}, {4, "SEND,*C,"}, {5, "END"}, {6, "*D"}}),
                "2");
    EXPECT_EQ(script.LineOf("*A"), 1) << "the first of two";
    EXPECT_EQ(script.LineOf("*AB"), 2);
    for (const char* label : {"*C", "*D", "*a", "A", "*A,,"})
        EXPECT_EQ(script.LineOf(label), -1) << label;

    script.Load(LinesOf({{4, "*A,,"}, {9, "END"}}), "5");
    EXPECT_EQ(script.LineOf("*A,,"), 4) << "the separator is another one";
    EXPECT_EQ(script.LineOf("*A"), -1);
}

TEST(WorkingScript, TheEmptyNameFindsTheLineThatAnUnusedEntryKept) {
    WorkingScript script;
    EXPECT_EQ(script.LineOf(""), 0);
    script.Load(LinesOf({{10, "*A,,"}, {20, "*B,,"}, {30, "END"}}), "2");
    EXPECT_EQ(script.LineOf(""), 0);
    script.Load(LinesOf({{5, "*A,,"}, {30, "END"}}), "2");
    EXPECT_EQ(script.LineOf(""), 20);
    EXPECT_EQ(script.LineOf("*B"), -1);
}

TEST(WorkingScript, KeepsWithinItsTables) {
    ScriptLines lines;
    for (std::size_t number = 1; number <= 40; ++number)
        lines.at(number) = "*L" + std::to_string(number) + ",,";
    // 77 bytes, then a character of two, of which the table has room for both, and then for one.
    lines[41] = std::string(77, 'x') + std::string("あい"_sjis);
    lines[42] = std::string(78, 'x') + std::string("あい"_sjis);
    lines[43] = "*" + std::string(17, 'x') + std::string("あ"_sjis);
    WorkingScript script;
    script.Load(lines, "2");
    EXPECT_EQ(script.LineOf("*L30"), 30);
    EXPECT_EQ(script.LineOf("*L31"), -1);
    EXPECT_EQ(script.LineOf(""), -1) << "no entry is unused";
    EXPECT_EQ(script.line(41), std::string(77, 'x') + std::string("あ"_sjis));
    EXPECT_EQ(script.line(42), std::string(78, 'x'));

    std::fill(lines.begin(), lines.begin() + 41, std::string());
    script.Load(lines, "2");
    EXPECT_EQ(script.LineOf("*" + std::string(17, 'x')), 43) << "20 bytes are one too many";
}

TEST(BuiltInScripts, AreChosenByRouteAndForum) {
    core::Settings settings;
    for (const char* route : {"2", "3", "4", "7", "", "11"}) {
        settings.fenicsLoad = route;
        settings.forumName.clear();
        EXPECT_EQ(ChooseScript(settings), BuiltInScript::A) << route;
        settings.forumName = "FKITE";
        EXPECT_EQ(ChooseScript(settings), BuiltInScript::B) << route;
    }
    settings.fenicsLoad = "1";
    EXPECT_EQ(ChooseScript(settings), BuiltInScript::D);
    settings.forumName.clear();
    EXPECT_EQ(ChooseScript(settings), BuiltInScript::C);
}

/// FNV-1a over number, line and a zero byte of every line that is not empty.
std::uint32_t Fingerprint(const ScriptLines& lines) {
    std::uint32_t hash = 2166136261U;
    const auto add = [&hash](char byte) { hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619U; };
    for (std::size_t number = 0; number < lines.size(); ++number) {
        if (lines.at(number).empty()) continue;
        add(static_cast<char>(number));
        for (const char byte : lines.at(number))
            add(byte);
        add('\0');
    }
    return hash;
}

TEST(BuiltInScripts, AreWhatTheyHaveAlwaysBeen) {
    EXPECT_EQ(Fingerprint(BuiltInScriptLines(BuiltInScript::A)), 2090404956U);
    EXPECT_EQ(Fingerprint(BuiltInScriptLines(BuiltInScript::B)), 3106063733U);
    EXPECT_EQ(Fingerprint(BuiltInScriptLines(BuiltInScript::C)), 2782758116U);
    EXPECT_EQ(Fingerprint(BuiltInScriptLines(BuiltInScript::D)), 1589027073U);

    const ScriptLines& a = BuiltInScriptLines(BuiltInScript::A);
    EXPECT_EQ(a[10], "WAIT,HOST NAME?\r\n*,");
    EXPECT_EQ(a[33], "WAIT,MAIL>");
    EXPECT_EQ(a[67], "SEND,COM\r");
    EXPECT_EQ(a[37], "WAIT,本文 (3000行まで　終了は行頭で/E　修正編集は 300行迄です)\r\n,"_sjis);
    EXPECT_EQ(BuiltInScriptLines(BuiltInScript::B)[38], "CHKSMAIL,120,");
    EXPECT_EQ(BuiltInScriptLines(BuiltInScript::D)[60], "WAIT_ACTION_SAVE,,");
}

TEST(BuiltInScripts, JumpToWhereTheyMean) {
    WorkingScript script;
    script.Load(BuiltInScriptLines(BuiltInScript::A), "2");
    for (const auto& [label, line] : std::map<std::string, int>{{"*ROAD7", 13},
                                                                {"*LOGIN", 18},
                                                                {"*READMAILTOP", 46},
                                                                {"*WMESTOP", 52},
                                                                {"*MESTOP", 74},
                                                                {"*MESEND", 94},
                                                                {"*ALLEND", kLogOffLine}})
        EXPECT_EQ(script.LineOf(label), line) << label;
    // Script B has one label, so the entry behind it is one of script A's.
    script.Load(BuiltInScriptLines(BuiltInScript::B), "7");
    EXPECT_EQ(script.LineOf("*ALLEND"), kLogOffLine);
    EXPECT_EQ(script.LineOf(""), 18);
    script.Load(BuiltInScriptLines(BuiltInScript::C), "1");
    EXPECT_EQ(script.LineOf("*NIFTY_LOGIN"), 18);
    EXPECT_EQ(script.LineOf("*LOGIN"), -1);
    script.Load(BuiltInScriptLines(BuiltInScript::D), "1");
    EXPECT_EQ(script.line(72), "END,,回線切断完了"_sjis);
    EXPECT_EQ(script.line(kLogOffLine), "*ALLEND,,") << "of the script before";
}

}  // namespace
}  // namespace postkite::comm
