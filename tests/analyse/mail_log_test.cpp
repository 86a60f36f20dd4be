#include "analyse/mail_log.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/shift_jis.h"
#include "tests/analyse/analysing_program.h"

namespace postkite::analyse {
namespace {

using namespace core::literals;
using support::ShownMessage;
using Mails = std::vector<std::string>;

constexpr std::string_view kQuestion =
    "受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis;
constexpr std::string_view kOtherQuestion =
    "受信後 (1:削除  2:保存  *:返信  *:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis;

struct MailLogTest : testing::Test {
    MemoryFileSystem disk;

    void SetUp() override { Empty(); }
    void Empty() {
        disk.PutDirectory(store::kBankPath);
        disk.PutDirectory("/mail/Setting");
        for (const std::string& name : disk.Names(store::kBankPath))
            static_cast<void>(disk.Remove(std::string(store::kBankPath) + "/" + name));
    }
};

std::string TrimmedHeaderLine() {
    const std::string line = HeaderLine();
    return line.substr(0, line.size() - 2);
}

TEST(MailLogLines, HeaderLinesAndTheEndOfAMail) {
    const std::string header = TrimmedHeaderLine();
    EXPECT_TRUE(IsMailHeaderLine(header));
    EXPECT_FALSE(IsMailHeaderLine(header + " "));
    EXPECT_FALSE(IsMailHeaderLine(header.substr(0, 53)));
    EXPECT_FALSE(IsMailHeaderLine(""));
    for (const std::size_t column : {39, 42, 45, 48, 51})
        EXPECT_FALSE(IsMailHeaderLine(std::string(header).replace(column, 1, "x"))) << column;
    for (const std::size_t column : {0, 20, 40, 53})
        EXPECT_TRUE(IsMailHeaderLine(std::string(header).replace(column, 1, "x"))) << column;

    for (const std::string& line : {std::string(kQuestion), std::string(kOtherQuestion),
                                    std::string("action:DELETE"), std::string("1: x action:DELETE y")})
        EXPECT_TRUE(EndsMail(line)) << line;
    for (const std::string& line :
         {" " + std::string(kQuestion), std::string(kQuestion) + " ", std::string(kQuestion.substr(1)),
          std::string("action:delete"), std::string("action: DELETE"), std::string(":DELETE"), std::string()})
        EXPECT_FALSE(EndsMail(line)) << line;
}

/// What a capture becomes: the number of header lines and the Inbox.
TEST_F(MailLogTest, CutsCapturesIntoMails) {
    const std::string header = HeaderLine();
    const std::string question = std::string(kQuestion) + "\r\n";
    const auto inMail = [&](const std::string& text) { return header + "subject:  S\r\n" + text; };
    const struct {
        const char* what;
        std::string capture;
        int count;
        Mails mails;
    } kCaptures[] = {
        {"nothing", "", 0, {}},
        {"no mail", "MAIL>\r\n55 " + header + "x\r\n", 0, {}},
        {"two, and the host's own lines",
         "\r\nMAIL>\r\n" + Captured("A", "1\r\n") + "menu\r\n" + inMail("2\r\n") + question + "bye\r\n",
         2,
         {Stored("A", "1\r\n"), Stored("S", "2\r\n")}},
        {"a header line in the text",
         inMail("x\r\n" + header + "y\r\n") + question,
         1,
         {Stored("S", "x\r\n" + header + "y\r\n")}},
        {"a question with more around it",
         inMail("x" + question) + question,
         1,
         {Stored("S", "x" + question)}},
        {"a short subject line", header + "subject: \r\n" + question, 1, {": " + header + "subject: \r\n"}},
        {"no question: the last line comes twice", inMail("x\r\ny\r\n"), 1, {Stored("S", "x\r\ny\r\ny\r\n")}},
        {"also without its line end", inMail("x\r\ny"), 1, {Stored("S", "x\r\ny\r\ny\r\n")}},
        {"a shorter last line", inMail("long line\r\ny"), 1, {Stored("S", "long line\r\ny\r\ny\r\n")}},
        {"ended within a line end", inMail("x\r\ny\r"), 1, {Stored("S", "x\r\ny\r\ny\r\n")}},
        {"a question without its line end", inMail("x\r\naction:DELETE"), 1, {Stored("S", "x\r\n")}},
        {"an empty last line", inMail("x\r\n\r\n"), 1, {Stored("S", "x\r\n\r\n\r\n")}},
        {"the subject last", header + "subject:  S\r\n", 1, {Stored("S", "subject:  S\r\n")}},
        {"the subject last, without its line end",
         header + "subject:  S",
         1,
         {Stored("S", "subject:  S\r\n")}},
        {"a header line last", Captured("A", "") + header, 2, {Stored("A", "")}},
        {"a header line last, without its line end", TrimmedHeaderLine(), 1, {}},
        {"the end mark in the text",
         inMail("\x01\x01\r\nx\r\n") + question,
         1,
         {Stored("S", "\x01\x01 \r\nx\r\n")}},
        {"zero bytes", inMail(std::string("a\0b\r\n", 5)) + question, 1, {Stored("S", "a b\r\n")}},
        {"CR and another byte", inMail("a\rXb\r\n") + question, 1, {Stored("S", "a\r\nb\r\n")}},
    };
    for (const auto& [what, capture, count, mails] : kCaptures) {
        SCOPED_TRACE(what);
        Empty();
        disk.Put(kCapturePath, capture);
        AnalysingProgram program(disk);
        EXPECT_EQ(CountCapturedMails(program.workspace, "maillog.txt"), count);
        EXPECT_EQ(program.Analyse(), count);
        EXPECT_EQ(program.Mails(), mails);
        EXPECT_TRUE(program.result.complete);
        EXPECT_EQ(program.result.stored, static_cast<int>(mails.size()));
        EXPECT_FALSE(disk.Exists(kCapturePath) || disk.Exists(kPartPath));
    }
}

TEST_F(MailLogTest, CutAnywhereItLosesNothingBeforeTheCut) {
    const std::string first = Captured("A", "one\r\n\r\nline\r\n");
    const std::string capture = "MAIL>\r\n" + first + Captured("B", "2\r\n") + Captured("C", "3\r\n");
    for (std::size_t length = 0; length <= capture.size(); ++length) {
        Empty();
        disk.Put(kCapturePath, capture.substr(0, length));
        AnalysingProgram program(disk);
        const int count = program.Analyse();
        std::string all;
        for (const std::string& mail : program.Mails())
            all += mail;
        // Every line of the mails but the question is there, in order.
        std::size_t at = 0;
        bool inMail = false;
        for (std::size_t from = 7; from < length;) {
            const std::size_t end = std::min(capture.find("\r\n", from), length);
            const std::string line = capture.substr(from, end - from);
            from = end + 2;
            // A header line opens a mail when it is whole and something follows.
            inMail = inMail ? !EndsMail(line) : IsMailHeaderLine(line) && from < length;
            if (!inMail) continue;
            at = all.find(line, at);
            ASSERT_NE(at, std::string::npos) << length << ": " << line;
        }
        ASSERT_TRUE(program.result.complete && count >= program.result.stored) << length;
    }
}

TEST_F(MailLogTest, FillsTheRecordAndSaysHowManyCame) {
    disk.Put(kCapturePath, HeaderLine("16 bytes of name", "") + "subject:  It is\r\nx\r\n" +
                               std::string(kPrompt) + Captured("B", ""));
    AnalysingProgram program(disk);
    EXPECT_EQ(program.Analyse(), 2);
    store::MailRecord record;
    ASSERT_EQ(program.mailbox.ReadMail("Inbox", 0, record, 0), 0);
    EXPECT_EQ(record.flags, "Rosrr ---- OP Y   ");
    EXPECT_EQ(record.name, "16 bytes of name");
    EXPECT_EQ(record.address, "");
    EXPECT_EQ(record.subject, "It is");
    EXPECT_EQ(record.date, "97/01/23 12:34 97/01/24 08:05" + std::string(21, ' '));
    EXPECT_EQ(record.localId, "970124080509-1000-2") << "the analyser makes one, the store two";
    ASSERT_EQ(program.mailbox.ReadMail("Inbox", 1, record, 0), 0);
    EXPECT_EQ(record.name, "YAMADA TARO     ");
    EXPECT_EQ(record.address, "ABC01234");
    EXPECT_EQ(program.ui.messages,
              (std::vector<ShownMessage>{{std::string("受信メール情報"_sjis),
                                          std::string("       2 通のメールを受信しました。       "_sjis),
                                          core::MessageIcon::None}}));
    const std::uint64_t total = program.ui.progress.front().second;
    EXPECT_EQ(program.ui.progress.back(), std::pair(std::uint64_t{0}, std::uint64_t{0}));
    EXPECT_EQ(program.ui.progress.size(), 5U) << "beginning, each mail, end, none";
    EXPECT_EQ(program.ui.progress[3], std::pair(total, total));
    EXPECT_EQ(program.ui.redraws, 2);
    EXPECT_EQ(program.ui.statusTexts.front(), "受信メール解析中"_sjis);

    program.ui.messages.clear();
    EXPECT_EQ(program.Analyse(), -1) << "there is none any more";
    EXPECT_TRUE(program.ui.messages.empty());
    disk.Put(kCapturePath, "");
    EXPECT_EQ(program.Analyse(), 0);
    EXPECT_EQ(program.ui.messages,
              (std::vector<ShownMessage>{{std::string("受信メール情報"_sjis),
                                          std::string("新規受信メールはありませんでした。"_sjis),
                                          core::MessageIcon::Information}}));
    program.ui.messages.clear();
    program.settings.autoMode = 1;
    disk.Put(kCapturePath, "");
    EXPECT_EQ(program.Analyse(), 0);
    program.settings.autoMode = 0;
    program.analysis.resultMessages = false;
    disk.Put(kCapturePath, "");
    EXPECT_EQ(program.Analyse(), 0);
    EXPECT_TRUE(program.ui.messages.empty());
}

TEST_F(MailLogTest, MailFromTheInternetHasItsSenderInTheText) {
    const struct {
        std::string_view name;
        std::string_view text;
        std::string_view sender;
        std::string_view address;
    } kMails[] = {
        {"INET GATE", "Date: x\r\nFrom: Taro <t@x>\r\nFrom: Hanako <h@x>\r\n", "Taro", "t@x"},
        {"INET GATE", "From Taro t@x\r\nFrom: Hanako <h@x>\r\n", "INET GATE       ", "t@x"},
        {"INET GATE", "From: Taro\r\nFrom: h@x\r\n", "Taro", "ABC01234"},
        {"INET GATEWAY", "From: t@x (Taro)\r\n", "Taro", "t@x"},
        {"INET GATE", "from: t@x\r\n From: t@x\r\n", "INET GATE       ", "ABC01234"},
        {"Inet Gate", "From: Taro <t@x>\r\n", "Inet Gate       ", "ABC01234"},
        {"INET GATE", "From: Ta\nro <t@x>\r\n", "Ta ro", "t@x"},
    };
    std::string capture;
    for (const auto& mail : kMails)
        capture += HeaderLine(mail.name) + "subject:  S\r\n" + std::string(mail.text) + std::string(kPrompt);
    // Fields take what they have always taken.
    capture += HeaderLine("INET GATE") + "subject:  " + std::string(5000, 's') +
               "\r\nFrom: " + std::string(5000, 'n') + " <" + std::string(5000, 'a') + "@x>\r\n" +
               std::string(kPrompt);
    disk.Put(kCapturePath, capture);
    AnalysingProgram program(disk);
    EXPECT_EQ(program.Analyse(), 8);
    store::MailRecord record;
    for (int number = 0; number < 7; ++number) {
        ASSERT_EQ(program.mailbox.ReadMail("Inbox", number, record, 0), 0);
        EXPECT_EQ(record.name, kMails[number].sender) << number;
        EXPECT_EQ(record.address, kMails[number].address) << number;
        EXPECT_TRUE(record.body.ends_with(kMails[number].text)) << "the line stays in the text";
    }
    ASSERT_EQ(program.mailbox.ReadMail("Inbox", 7, record, 0), 0);
    EXPECT_EQ(record.subject.size(), 513U);
    EXPECT_EQ(record.name.size(), 511U);
    EXPECT_EQ(record.address.size(), 2499U);
}

TEST_F(MailLogTest, LongMailsAndLongLinesAreCutAndCanBeRead) {
    const std::string line = std::string(98, 'x') + "\r\n";
    std::string lines;
    while (lines.size() < store::MAIL_BODY_MAX)
        lines += line;
    const std::string kanji = std::string("字"_sjis);
    std::string longLine;
    while (longLine.size() < 2 * store::MAIL_BODY_MAX)
        longLine += kanji;
    disk.Put(kCapturePath, Captured("many", lines + "short\r\n") +
                               Captured("long", "a\r\n" + longLine + "\r\nb\r\n") +
                               Captured("next", "1\r\n"));
    AnalysingProgram program(disk);
    EXPECT_EQ(program.Analyse(), 3);
    const Mails mails = program.Mails();
    ASSERT_EQ(mails.size(), 3U);
    const std::size_t head = Stored("many", "").size() - 6;
    const std::size_t kept =
        (store::MAIL_BODY_MAX - 3000 - head + line.size() - 1) / line.size() * line.size();
    EXPECT_TRUE(mails[0] == Stored("many", lines.substr(0, kept)))
        << "whole lines up to the limit, and none behind it";
    EXPECT_TRUE(mails[1].starts_with(Stored("long", "a\r\n")) && mails[1].ends_with(kanji + "\r\n"));
    EXPECT_GT(mails[1].size(), store::MAIL_BODY_MAX - 1100);
    EXPECT_EQ(mails[2], Stored("next", "1\r\n"));
    const std::string log = disk.Get("/mail/error.log").value_or("");
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << "what was cut off is noted";
    EXPECT_EQ(program.ui.messages.size(), 1U);
}

TEST_F(MailLogTest, SortsByTheRulesWhereTheSettingSaysSo) {
    const std::string capture =
        Captured("for A", "1\r\n") + Captured("for B", "2\r\n") + Captured("x", "3\r\n");
    disk.Put("/mail/Bank/MailBoxInfo.ini",
             "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/0\r\n01A/0\r\n01B/0\r\n");
    disk.Put("/mail/Setting/filter.ini",
             "1\r\na\r\nSubject:\r\nfor A\r\nA\r\n1\r\nb\r\nSubject:\r\nfor B\r\nB\r\n");
    for (const int filterReceive : {0, 1}) {
        disk.Put(kCapturePath, capture);
        AnalysingProgram program(disk);
        program.settings.filterReceive = filterReceive;
        EXPECT_EQ(program.Analyse(), 3);
    }
    AnalysingProgram program(disk);
    EXPECT_EQ(program.Subjects("Inbox"), (Mails{"for A", "for B", "x", "x"}));
    EXPECT_EQ(program.Subjects("A"), Mails{"for A"});
    EXPECT_EQ(program.Subjects("B"), Mails{"for B"});

    // A folder that cannot take mail: told once, and the Inbox takes it.
    static_cast<void>(disk.Remove("/mail/Bank/A.mtx"));
    disk.PutDirectory("/mail/Bank/A.mtx");
    disk.Put(kCapturePath, capture + capture);
    program.settings.filterReceive = 1;
    EXPECT_EQ(program.Analyse(), 6);
    EXPECT_TRUE(program.result.complete);
    EXPECT_EQ(program.ui.messages.size(), 2U);
    EXPECT_EQ(program.Subjects("Inbox"), (Mails{"for A", "for B", "x", "x", "for A", "x", "for A", "x"}));
    EXPECT_EQ(program.Subjects("B"), (Mails{"for B", "for B", "for B"}));
}

/// Twice, thrice the capture must not take more than twice, thrice the calls; whatever is in it.
TEST_F(MailLogTest, CostsAreLinear) {
    const std::string kPieces[] = {
        std::string(1000, 'x'), std::string(1000, ':'),
        std::string(500, '\r'), "line\r\n",
        HeaderLine(),           HeaderLine() + "\r\n" + std::string(kPrompt),
    };
    for (const std::string& piece : kPieces) {
        int calls[2] = {};
        for (const std::size_t kilobytes : {400, 1600}) {
            Empty();
            std::string capture = HeaderLine() + "subject:  S\r\n";
            while (capture.size() < kilobytes * 1000)
                capture += piece;
            disk.Put(kCapturePath, capture);
            AnalysingProgram program(disk);
            const int before = disk.calls();
            EXPECT_GT(program.Analyse(), 0);
            calls[kilobytes == 1600] = disk.calls() - before;
        }
        EXPECT_LT(calls[1], calls[0] * 4 + 10) << piece.substr(0, 60);
    }
}

}  // namespace
}  // namespace postkite::analyse
