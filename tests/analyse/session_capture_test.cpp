// What the account of deletions beside a session's capture adds: what could not be read is kept, and a mail that was torn
// comes whole into its place.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "core/shift_jis.h"
#include "tests/analyse/analysing_program.h"
#include "tests/store/faults.h"

namespace postkite::analyse {
namespace {

using namespace core::literals;
using store::Fault;
using Mails = std::vector<std::string>;

constexpr const char* kBak = "/mail/maillog.txt.bak";
constexpr const char* kTorn = "/mail/TornMail.inf";
constexpr const char* kAccount = "/mail/maillog.txt.deleted";
constexpr std::string_view kMenu =
    "受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)\r\n："_sjis;
constexpr std::string_view kUnread = "読み取れなかった受信データ: "_sjis;

/// A mail as the host shows it, without its question.
std::string Shown(std::string_view subject, std::string_view body, int number = 1) {
    std::string header = HeaderLine();
    header[2] = static_cast<char>('0' + number);
    return header + "subject:  " + std::string(subject) + "\r\n" + std::string(body);
}

std::string StoredAs(std::string_view subject, const std::string& text) {
    return std::string(subject) + ": " + text;
}

/// A session's capture while it grows.
struct Session {
    std::string capture;
    std::string account = "Postkite deletions 1\r\n";

    Session& Prints(std::string_view text) {
        capture += text;
        return *this;
    }
    /// The script's answer to the question that stands there, and what the host makes of it.
    Session& Deletes(std::string_view echo = "DELETE\r\n") {
        account += std::to_string(capture.size()) + "\r\n";
        return Prints(echo);
    }
    Session& Mail(std::string_view shown) { return Prints(shown).Prints("action:").Deletes(); }
    Session& MenuMail(std::string_view shown) { return Prints(shown).Prints(kMenu).Deletes("1\r\n"); }
    void LeaveOn(MemoryFileSystem& disk) const {
        disk.Put(kCapturePath, capture);
        disk.Put(kAccount, account);
    }
};

struct SessionCaptureTest : testing::Test {
    SessionCaptureTest() { Empty(); }
    void Empty() {
        if (disk.Exists("/mail/Bank/Inbox.loc")) {
            EXPECT_EQ(disk.Remove("/mail/Bank/Inbox.loc") + disk.Remove("/mail/Bank/Inbox.mtx"), 0);
        }
        for (const char* file : {kBak, kTorn, kAccount}) {
            if (disk.Exists(file)) static_cast<void>(disk.Remove(file));
        }
        disk.PutDirectory("/state");
        disk.PutDirectory("/mail/Other");
        disk.Put("/mail/Bank/MailBoxInfo.ini", "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/0\r\n");
    }
    MemoryFileSystem disk;
};

TEST_F(SessionCaptureTest, WhatTheHostDeletedAndNobodyCanReadIsKept) {
    const std::string a = Shown("A", "one\r\n");
    const std::string c = Shown("C", "three\r\n");
    const std::string garbled = "x" + Shown("B", "two\r\n");
    const std::string quoting = Shown("Q", "  action:DELETE\r\nthe rest\r\n");
    const std::string menuEnd(kMenu.substr(0, kMenu.size() - 2));
    const std::string storedA = StoredAs("A", a);
    const std::string storedC = StoredAs("C", c);
    const struct {
        const char* what;
        Session session;
        int unread;
        Mails mails;
    } kCases[] = {
        {"all of it", Session().Mail(a).Mail(c).Prints("MAIL>"), 0, {storedA, storedC}},
        {"all of it, at the menu", Session().MenuMail(a).MenuMail(c).Prints("> "), 0, {storedA, storedC}},
        {"no mail", Session().Prints("MAIL>"), 0, {}},
        {"a garbled header line",
         Session().Prints("READ ALL\r\n").Mail(a).Prints("deleted\r\n").Mail(garbled).Mail(c).Prints("MAIL>"),
         1,
         {storedA, std::string(kUnread) + "deleted\r\n" + garbled + "action:DELETE\r\n", storedC}},
        {"the same at the menu",
         Session().MenuMail(a).MenuMail(garbled).MenuMail(c).Prints("> "),
         1,
         {storedA, std::string(kUnread) + garbled + std::string(kMenu) + "1\r\n", storedC}},
        {"and as the last one, its echo cut",
         Session().Mail(a).Prints(garbled).Prints("action:").Deletes("DEL"),
         1,
         {storedA, std::string(kUnread) + garbled + "action:DEL\r\n"}},
        {"a garbled echo: two mails become one",
         Session().Prints(a).Prints("action:").Deletes("DExETE\r\n").Mail(c).Prints("MAIL>"),
         1,
         {StoredAs("A", a + "action:DExETE\r\n" + c)}},
        {"a garbled question at the menu",
         Session().Prints(a + "x").MenuMail("").MenuMail(c).Prints("> "),
         1,
         {StoredAs("A", a + "x" + menuEnd + std::string("：1\r\n"_sjis) + c)}},
        {"a text that quotes the answer",
         Session().Mail(quoting).Mail(c).Prints("MAIL>"),
         1,
         {StoredAs("Q", Shown("Q", "")), std::string(kUnread) + "the rest\r\naction:DELETE\r\n", storedC}},
    };
    for (const auto& [what, session, unread, mails] : kCases) {
        SCOPED_TRACE(what);
        Empty();
        session.LeaveOn(disk);
        AnalysingProgram program(disk);
        program.settings.autoMode = 1;
        EXPECT_GE(program.Analyse(), 0);
        EXPECT_TRUE(program.result.complete);
        EXPECT_EQ(program.result.unread, unread);
        EXPECT_EQ(program.Mails(), mails);
        EXPECT_FALSE(disk.Exists(kCapturePath) || disk.Exists(kAccount) || disk.Exists(kPartPath));
        EXPECT_EQ(disk.Get(kBak), unread > 0 ? std::optional(session.capture) : std::nullopt);
        EXPECT_EQ(disk.Exists("/mail/error.log"), unread > 0);
        EXPECT_TRUE(program.ui.messages.empty()) << "nobody is there";
        if (unread == 0) continue;
        EXPECT_EQ(disk.Remove("/mail/error.log"), 0);

        // By hand nothing is known of deletions.
        disk.Put(kCapturePath, session.capture);
        EXPECT_GE(program.Analyse(), 0);
        EXPECT_EQ(program.result.unread, 0);
        EXPECT_FALSE(disk.Exists(kCapturePath));
    }
    Session().Mail(garbled).LeaveOn(disk);
    disk.Put(kBak, "older");
    AnalysingProgram program(disk);
    EXPECT_EQ(program.Analyse(), 0);
    EXPECT_EQ(disk.Get(kBak), "older");
    EXPECT_TRUE(disk.Exists("/mail/maillog.txt.bak2"));
    ASSERT_EQ(program.ui.messages.size(), 1U);
    EXPECT_NE(program.ui.messages[0].text.find("maillog.txt.bak2"), std::string::npos);

    // Of what is deleted by number only the count is known.
    Session byNumber;
    byNumber.account += "0\r\n0\r\n";
    byNumber.Prints(a).LeaveOn(disk);
    EXPECT_EQ(program.Analyse(), 1);
    EXPECT_EQ(program.result.unread, 1);
}

/// The host's side of a session that is cut at a byte: three mails, and what it prints around them.
struct CutSession {
    explicit CutSession(bool menu) : menu_(menu) {}

    /// Begins with mail `first`, prints `most` bytes at most. Returns how many mails the client has let it delete; `unsure`
    /// when nothing shows that the last answer has reached it.
    int Call(int first, std::size_t most, Session& session, bool& unsure) const {
        unsure = false;
        const auto prints = [&](std::string_view text) {
            session.Prints(text.substr(0, most - std::min(most, session.capture.size())));
            return session.capture.size() < most;
        };
        static const std::string kBodies[] = {"one\r\n\r\n", std::string("二つ目\r\nの"_sjis) + "\r\n",
                                              "3\r\n3\r\n"};
        for (int mail = first; mail < 3; ++mail) {
            const std::string shown = Shown("mail " + std::to_string(mail), kBodies[mail], mail - first + 1);
            if (!prints(shown) || !prints(menu_ ? kMenu : "action:")) return mail - first;
            session.Deletes("");
            unsure = !prints(menu_ ? "1\r\n" : "DELETE\r\n");
            if (unsure) return mail - first + 1;
            if (!prints(menu_ ? "" : "deleted\r\n")) return mail - first + 1;
        }
        prints("MAIL>");
        return 3 - first;
    }

  private:
    bool menu_;
};

/// Wherever the line is lost, once or twice, and whether or not the last answer has reached the host: in the end each mail is
/// there once and whole.
TEST_F(SessionCaptureTest, ATornMailComesWholeIntoItsPlace) {
    for (const bool menu : {false, true}) {
        const CutSession host(menu);
        Session whole;
        bool unsure = false;
        ASSERT_EQ(host.Call(0, 10000, whole, unsure), 3);
        Empty();
        whole.LeaveOn(disk);
        AnalysingProgram first(disk);
        ASSERT_EQ(first.Analyse(), 3);
        EXPECT_FALSE(disk.Exists(kTorn) || first.result.open);
        Mails expected = first.Mails();
        for (std::string& mail : expected)
            mail.erase(0, 12);
        int replaced = 0;
        for (std::size_t cut = 1; cut < whole.capture.size(); cut += menu ? 2 : 1) {
            for (const std::size_t again : {std::size_t{10000}, cut * (cut % 5) / 3}) {
                for (const bool lastAnswerArrives : {true, false}) {
                    SCOPED_TRACE(std::to_string(cut) + " and " + std::to_string(again));
                    Empty();
                    AnalysingProgram program(disk);
                    int atHost = 0;
                    for (const std::size_t most : {cut, again, std::size_t{10000}}) {
                        Session session;
                        const int deleted = host.Call(atHost, most, session, unsure);
                        session.LeaveOn(disk);
                        EXPECT_GE(program.Analyse(), 0);
                        EXPECT_TRUE(program.result.complete);
                        EXPECT_EQ(program.result.unread, 0);
                        EXPECT_EQ(program.result.open, program.ui.messages.size() > 1) << "and told";
                        replaced += program.result.open ? 1 : 0;
                        program.ui.messages.clear();
                        atHost += unsure && !lastAnswerArrives ? deleted - 1 : deleted;
                    }
                    Mails mails = program.Mails();
                    for (std::string& mail : mails)
                        mail.erase(0, 12);
                    EXPECT_EQ(mails, expected);
                    if (testing::Test::HasFailure()) return;
                }
            }
        }
        EXPECT_GT(replaced, 100);
    }
}

TEST_F(SessionCaptureTest, OnlyAMailThatNobodyHasTouchedGivesItsPlace) {
    const std::string torn = Shown("T", "long line of te");
    const std::string whole = Shown("T", "long line of text\r\nand more\r\n", 2);
    using Touch = std::function<void(AnalysingProgram&)>;
    const struct {
        const char* what;
        Touch touch;
        std::size_t mails;
    } kCases[] = {
        {"nobody", [](AnalysingProgram&) {}, 2},
        {"read", [](AnalysingProgram& program) { EXPECT_EQ(program.mailbox.SetRead("Inbox", 1, true), 0); },
         3},
        {"marked", [](AnalysingProgram& program) { EXPECT_EQ(program.mailbox.SetDigit("Inbox", 1, 3), 0); },
         3},
        {"deleted",
         [](AnalysingProgram& program) {
             EXPECT_EQ(program.mailbox.MarkDeleted("Inbox", 1) + program.mailbox.CompactIndex("Inbox"), 0);
         },
         2},
        {"another bank", [](AnalysingProgram& program) { program.mailbox.SetBankDirectory("Other"); }, 1},
    };
    for (const auto& [what, touch, mails] : kCases) {
        SCOPED_TRACE(what);
        Empty();
        AnalysingProgram program(disk);
        EXPECT_EQ(program.Add("before"), 0);
        Session().Prints(torn).LeaveOn(disk);
        EXPECT_EQ(program.Analyse(), 1);
        EXPECT_TRUE(program.result.open);
        touch(program);
        Session().Mail(whole).Prints("MAIL>").LeaveOn(disk);
        EXPECT_EQ(program.Analyse(), 1);
        const Mails stored = program.Mails();
        EXPECT_EQ(stored.size(), mails);
        EXPECT_EQ(stored.back(), StoredAs("T", whole));
        EXPECT_EQ(disk.Exists(kTorn), program.mailbox.bankDirectory() == "Other");
    }
    // Another text, a text that differs, another subject.
    for (const std::string& other :
         {Shown("T", "long line\r\n"), Shown("T", "long lines of text\r\n"), Shown("U", "")}) {
        Empty();
        AnalysingProgram program(disk);
        Session().Prints(torn).LeaveOn(disk);
        EXPECT_EQ(program.Analyse(), 1);
        Session().Mail(other).Prints("MAIL>").LeaveOn(disk);
        EXPECT_EQ(program.Analyse(), 1);
        EXPECT_EQ(program.Mails().size(), 2U);
        EXPECT_TRUE(disk.Exists(kTorn));
    }
}

/// Strikes at every call of the analysis of a capture that replaces a torn mail, has one that cannot be read and ends in another
/// torn one. The run after it leaves each mail once.
TEST_F(SessionCaptureTest, ABrokenOffRunLosesAndDoublesNothing) {
    for (const Fault fault : store::kFaults) {
        bool struck = true;
        for (int call = 1; struck; ++call) {
            SCOPED_TRACE(store::Describe(fault, call));
            MemoryFileSystem files;
            files.PutDirectory("/state");
            files.Put("/mail/Bank/MailBoxInfo.ini", "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/0\r\n");
            const std::string whole = Shown("T", "text\r\nmore\r\n", 2);
            {
                AnalysingProgram program(files);
                Session().Prints(Shown("T", "te")).LeaveOn(files);
                EXPECT_EQ(program.Analyse() + program.Add("between"), 1);
            }
            EXPECT_EQ(files.SyncDirectory("/mail/Bank") + files.SyncDirectory("/mail"), 0);
            Session()
                .Mail(Shown("A", "a\r\n"))
                .Mail(whole)
                .Mail("x" + Shown("B", "b\r\n"))
                .Mail(Shown("A", "a\r\n"))
                .Prints(Shown("C", "c\r\nc"))
                .LeaveOn(files);
            {
                AnalysingProgram program(files);
                program.clock.now.hour = 9;
                store::Arrange(files, fault, call);
                static_cast<void>(program.Analyse());
            }
            struck = files.struck();
            store::End(files, fault);
            AnalysingProgram program(files);
            program.clock.now.hour = 10;
            if (files.Exists(kCapturePath)) {
                static_cast<void>(program.Analyse());
                EXPECT_TRUE(program.result.complete);
            }
            Mails subjects = program.Subjects("Inbox");
            // One read that fails may keep a torn mail beside the whole one.
            const bool mayBeTwice = fault == Fault::FullDisk || fault == Fault::BadDisk;
            const auto twice = std::find(subjects.rbegin(), subjects.rend(), "T");
            if (mayBeTwice && subjects.size() == 7) subjects.erase(std::next(twice).base());
            std::sort(subjects.begin(), subjects.end());
            const std::string unread(kUnread.substr(0, kUnread.size() - 2));
            EXPECT_EQ(subjects, (Mails{"A", "A", "C", "T", "between", unread}));
            const Mails mails = program.Mails();
            EXPECT_EQ(std::count(mails.begin(), mails.end(), StoredAs("T", whole)), 1);
            EXPECT_TRUE(files.Exists(kBak));

            // The torn one is remembered, whatever happened.
            Session().Mail(Shown("C", "c\r\ncc\r\n")).Prints("MAIL>").LeaveOn(files);
            EXPECT_EQ(program.Analyse(), 1);
            EXPECT_TRUE(program.result.complete);
            EXPECT_EQ(program.Mails().size(), mails.size());
            EXPECT_EQ(program.Mails().back(), StoredAs("C", Shown("C", "c\r\ncc\r\n")));
            EXPECT_EQ(files.Get(kTorn), std::nullopt);
            if (testing::Test::HasFailure()) return;
        }
    }
}

}  // namespace
}  // namespace postkite::analyse
