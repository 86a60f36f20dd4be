#include "cli/terminal_user_interface.h"

#include <gtest/gtest.h>

#include <sstream>

#include "core/shift_jis.h"

namespace postkite::cli {
namespace {

using namespace core::literals;

class Terminal : public testing::Test {
  protected:
    std::istringstream in_;
    std::ostringstream out_;
    std::ostringstream err_;
    Console console_{in_, out_, err_, false, false, [](const char*) { return std::nullopt; }};
};

TEST_F(Terminal, AMessageIsOneLineThatCannotSteerTheTerminal) {
    TerminalUserInterface ui(console_, core::Language::Japanese, false);
    ui.ShowMessage("Postkite", "一行目\r\n二行目\x1B[2J"_sjis, core::MessageIcon::Stop);
    EXPECT_EQ(err_.str(), "Postkite: 一行目 二行目\uFFFD[2J\n");
    EXPECT_EQ(out_.str(), "");
}

TEST_F(Terminal, QuestionsAreAnsweredByTheTerminalOrTheOption) {
    EXPECT_FALSE(
        TerminalUserInterface(console_, core::Language::Japanese, false).AskQuestion("Postkite", "?"));
    EXPECT_NE(err_.str().find("--yes"), std::string::npos);
    EXPECT_TRUE(TerminalUserInterface(console_, core::Language::Japanese, true).AskQuestion("Postkite", "?"));
    console_.inIsTerminal = true;
    in_.str("y\nn\n\nyes\n");
    TerminalUserInterface ui(console_, core::Language::Japanese, false);
    EXPECT_TRUE(ui.AskQuestion("Postkite", "?"));
    EXPECT_FALSE(ui.AskQuestion("Postkite", "?"));
    EXPECT_FALSE(ui.AskQuestion("Postkite", "?"));
    EXPECT_TRUE(ui.AskQuestion("Postkite", "?"));
    EXPECT_FALSE(ui.AskQuestion("Postkite", "?")) << "the input has ended";
}

TEST_F(Terminal, TheStatusLineIsDrawnOnTerminalsOnlyAndMakesWayForMessages) {
    {
        TerminalUserInterface ui(console_, core::Language::Japanese, false);
        ui.SetStatusText("処理中"_sjis);
        ui.SetProgress(1, 2);
    }
    EXPECT_EQ(err_.str(), "");
    console_.errIsTerminal = true;
    {
        TerminalUserInterface ui(console_, core::Language::Japanese, false);
        ui.SetStatusText("処理中"_sjis);
        ui.SetProgress(1, 2);
        ui.SetProgress(1, 2);
        ui.ShowMessage("Postkite", "x", core::MessageIcon::None);
        ui.SetProgress(0, 0);
    }
    const std::string bar = "[##########..........] 50% 処理中";
    EXPECT_EQ(err_.str(), "処理中\r\x1B[K" + bar + "\r\x1B[KPostkite: x\n" + bar + "\r\x1B[K処理中\r\x1B[K");
}

TEST_F(Terminal, TheStatusLineEndsBeforeAnythingElseIsWritten) {
    console_.errIsTerminal = true;
    {
        TerminalUserInterface ui(console_, core::Language::Japanese, false);
        console_.endStatusLine();
        EXPECT_EQ(err_.str(), "");
        ui.SetProgress(1, 2);
        console_.endStatusLine();
        EXPECT_TRUE(err_.str().ends_with("50%\r\x1B[K")) << "a bar says nothing any more";
        err_.str("");
        ui.SetProgress(0, 0);
        ui.SetStatusText("終了"_sjis);
        console_.endStatusLine();
        console_.endStatusLine();
        EXPECT_EQ(err_.str(), "終了\n");
    }
    EXPECT_EQ(err_.str(), "終了\n");
    EXPECT_FALSE(console_.endStatusLine);
}

TEST_F(Terminal, MonitorTextKeepsItsLinesAndLosesItsEscapes) {
    {
        TerminalUserInterface ui(console_, core::Language::Japanese, false);
        ui.AppendMonitorText("MAIL>\r\n\x1B]0;x\x07"_sjis);
        EXPECT_EQ(err_.str(), "MAIL>\n\uFFFD]0;x\uFFFD");
        err_.str("");
        ui.AppendMonitorText("a\r");
        ui.AppendMonitorText("\nb\rc\n\nMAIL>");
        EXPECT_EQ(err_.str(), "a\nb\nc\n\nMAIL>") << "a line end that comes in two pieces is one";
        ui.ShowMessage("Postkite", "x", core::MessageIcon::None);
        ui.AppendMonitorText("LIB>");
        EXPECT_TRUE(err_.str().ends_with("MAIL>\nPostkite: x\nLIB>")) << err_.str();
    }
    EXPECT_TRUE(err_.str().ends_with("LIB>\n"));
}

TEST_F(Terminal, StatusTextsCanBeLinesOfTheirOwn) {
    for (const bool terminal : {false, true}) {
        console_.errIsTerminal = terminal;
        err_.str("");
        TerminalUserInterface ui(console_, core::Language::Japanese, false);
        ui.ShowStatusTexts(TerminalUserInterface::StatusTexts::Printed);
        for (const char* text : {"ダイアル中", "話し中(ﾘﾀﾞｲｱﾙ待ち)-10", "話し中(ﾘﾀﾞｲｱﾙ待ち)-9", "", "2", "3",
                                 "ウェイト 1 秒", "ウェイト 2 秒", "話し中(ﾘﾀﾞｲｱﾙ待ち)-10"}) {
            const std::string_view bytes(text);
            ui.SetStatusText(*Typed(bytes));
        }
        ui.AppendMonitorText("MAIL>");
        ui.SetStatusText("x\x1B\r\ny");
        EXPECT_EQ(err_.str(),
                  "ダイアル中\n話し中(ﾘﾀﾞｲｱﾙ待ち)-10\n2\n3\nウェイト 1 秒\nウェイト 2 秒\n"
                  "話し中(ﾘﾀﾞｲｱﾙ待ち)-10\nMAIL>\nx\uFFFD y\n");
    }
}

}  // namespace
}  // namespace postkite::cli
