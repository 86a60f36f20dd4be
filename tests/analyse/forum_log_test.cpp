#include "analyse/forum_log.h"

#include <gtest/gtest.h>

#include <array>

#include "analyse/forum_rooms.h"
#include "core/shift_jis.h"
#include "tests/store/mailbox_program.h"

namespace postkite::analyse {
namespace {

using namespace core::literals;
using store::MailRecord;
using support::MemoryFileSystem;
using Lines = std::vector<std::string>;

constexpr const char* kCapture = "/mail/MesLog.txt";
constexpr const char* kTree = "/mail/Bank/MailBoxInfo.ini";
const std::string kPrompt = "CCS(N)>MRE\r\n";
const std::string kEnd = " \b\r\n";

std::string Room(std::string_view line) {
    return kPrompt + std::string("◆"_sjis) + std::string(line) + "\r\n";
}

/// A message with a number of three digits; its body is one line.
std::string Message(std::string_view number, std::string_view title = "Title",
                    std::string_view body = "text\r\n") {
    return std::string(number) + "/999   ABC01234  YAMADA TARO       " + std::string(title) +
           "\r\n  (1)  97/01/23 12:34  007\r\n" + std::string(body) + kEnd;
}

/// A program with the bank "Bank" and its tree.
struct Program : store::MailboxProgram {
    explicit Program(MemoryFileSystem& disk) : MailboxProgram(disk) {
        EXPECT_EQ(folders.LoadFolderTree(), 0);
    }

    int Analyse(std::string_view path = "meslog.txt") { return AnalyseForumLog(Forum(), path, result); }
    Analysis Forum() { return {workspace, settings, mailbox, folders, ui, clock, "Inbox", resultMessages}; }
    /// "date|subject" of every mail of a folder that is not deleted.
    Lines Stored(std::string_view folder) {
        Lines lines;
        store::FolderReader reader;
        if (reader.Open(mailbox.FilesOf(folder)) < 0) return lines;
        const auto field = [](std::string_view record, store::IndexField where) {
            return std::string(store::WithoutTrailingBlanks(store::FieldOf(record, where)));
        };
        for (int number = 0; number < reader.CountMails(); ++number) {
            const std::string record(reader.IndexRecord(number));
            if (store::IsDeleted(record)) continue;
            lines.push_back(field(record, store::index_field::kDate) + "|" +
                            field(record, store::index_field::kSubject));
        }
        return lines;
    }
    /// The numbers of the folder's messages, in order of the list.
    std::string Numbers(std::string_view folder) {
        std::string numbers;
        for (const std::string& line : Stored(folder))
            numbers += line.substr(11, 3) + " ";
        return numbers;
    }

    core::Settings settings;
    std::array<std::string, 1> banks = {"Bank"};
    store::Folders folders{mailbox, banks};
    bool resultMessages = true;
    ForumLogResult result;
};

struct ForumLogTest : testing::Test {
    ForumLogTest() {
        disk.PutDirectory("/mail/Setting");
        disk.PutDirectory("/mail/Bank");
        disk.Put(kTree, "00Desktop\r\n01Inbox/0\r\n01F,mes1/0\r\n");
        program.emplace(disk);
    }
    /// Analyses these bytes whole and without a word.
    int Analyse(const std::string& capture) {
        disk.Put(kCapture, capture);
        const int count = program->Analyse();
        EXPECT_TRUE(program->result.found && program->result.complete);
        EXPECT_FALSE(disk.Exists(kCapture));
        return count;
    }
    void Restart(std::string_view tree = {}) {
        if (!tree.empty()) disk.Put(kTree, tree);
        program.emplace(disk);
    }

    MemoryFileSystem disk;
    std::optional<Program> program;
};

TEST_F(ForumLogTest, AMessageIsStoredAsItsColumnsSay) {
    std::string capture = "GO F\r\n" + Room("F MES( 1) :Talk");
    const std::string first = std::string("001/003   ABC01234  山田太郎          見出し\r\n"_sjis);
    const std::string second = "00123/00200 XYZ98765  SUZUKI HANAKO    Re: x\r\n";
    capture += first + "  (1)  97/01/23 12:34  0079 and more\r\nline 1\r\n\r\n \b\r" + "\n";
    capture += second + "       97/02/03 01:02  12\r\nCCS(N)>\r\n " + kEnd + kEnd + "CCS(N)>E\r\n";
    EXPECT_EQ(Analyse(capture), 2);

    MailRecord record;
    ASSERT_EQ(program->mailbox.ReadMail("F,mes1", 0, record, 0), 0);
    EXPECT_EQ(record.flags.substr(0, 18), "Rosrr ----NOP Y   ");
    EXPECT_EQ(record.address, "ABC01234");
    EXPECT_EQ(record.name, std::string("山田太郎         "_sjis));
    EXPECT_EQ(record.subject, "見出し"_sjis);
    EXPECT_EQ(store::WithoutTrailingBlanks(record.date), "97/01/23   001   007 F");
    EXPECT_EQ(record.body, first + "  (1)  97/01/23 12:34  0079 and more\r\nline 1\r\n\r\n");
    EXPECT_EQ(record.cc + record.bcc + record.attach + record.extraAddress + record.messageId, "");
    ASSERT_EQ(program->mailbox.ReadMail("F,mes1", 1, record, 0), 0);
    EXPECT_EQ(record.address, "XYZ98765");
    EXPECT_EQ(record.name, "SUZUKI HANAKO   ");
    EXPECT_EQ(record.subject, "Re: x");
    EXPECT_EQ(store::WithoutTrailingBlanks(record.date), "97/02/03 00123    12 F");
    EXPECT_EQ(record.body, second + "       97/02/03 01:02  12\r\nCCS(N)>\r\n  \b\r\n");

    EXPECT_EQ(program->ui.statusTexts, (Lines{std::string("会議室ログの解析"_sjis), ""}));
    EXPECT_EQ(program->ui.pumps, 2);
    using Position = std::pair<std::uint64_t, std::uint64_t>;
    const std::size_t total = capture.size();
    const std::size_t behindSecond = total - std::string("CCS(N)>E\r\n").size();
    EXPECT_EQ(program->ui.progress.front(), (Position{0, total}));
    EXPECT_EQ(program->ui.progress[2], (Position{behindSecond, total}));
    EXPECT_EQ(program->ui.progress[3], (Position{total, total}));
    EXPECT_EQ(program->ui.progress.back(), (Position{0, 0}));
}

TEST_F(ForumLogTest, BlocksAndMessagesBeginAndEndWhereTheirLinesSay) {
    const std::string one = Message("001");
    const std::string two = Message("002");
    const std::pair<std::string, std::string> kCaptures[] = {
        {"", ""},
        {one, ""},
        {Room("F MES(1)") + one + two, "001 002 "},
        {Room("F MES(1)") + one + "CCS(P)>anything\r\n" + two, "001 "},
        {Room("F MES(1)") + one + kPrompt + two, "001 "},
        {Room("F MES(1)") + one + "CCS(P)>\r\n" + Room("F MES(1)") + two, "001 002 "},
        {"CCS(\x81)>MRE\r\n" + Room("F MES(1)").substr(kPrompt.size()) + one, "001 "},
        {"CCS(A)>MRE \r\n" + Room("F MES(1)").substr(kPrompt.size()) + one, ""},
        {"CCS(A)>MRE\n" + Room("F MES(1)").substr(kPrompt.size()) + one, ""},
        {"CCS(A)>MRE\r\r\n" + Room("F MES(1)").substr(kPrompt.size()) + one, ""},
        {" CCS(A)>MRE\r\n" + Room("F MES(1)").substr(kPrompt.size()) + one, ""},
        {kPrompt + std::string("◆現在未読の発言はありません◆\r\n"_sjis) + one, ""},
        {kPrompt + std::string("◆現在未読の発言はありません◆\r\n"_sjis) + Room("F MES(1)") + one, "001 "},
        {Room("F MES(1)") + Message("001", "t", "  \r\n \b\n \b \r\n"), "001 "},
        {Room("F MES(1)") + one.substr(0, one.size() - 1), ""},
        {Room("F MES(1)") + one + two.substr(0, two.size() - 2) + "\n" + kEnd, "001 002 "},
        {Room("F MES(01)") + one, "001 "},
        {Room("F longer name, MES( 1):MES(2)") + one, "001 "},
        {Room("f MES(1)") + one, "001 "}};
    for (const auto& [capture, numbers] : kCaptures) {
        SCOPED_TRACE(testing::PrintToString(capture.substr(0, 60)));
        Restart("00Desktop\r\n01Inbox/0\r\n01F,mes1/0\r\n");
        for (const char* file : {"F,mes1.loc", "F,mes1.mtx"})
            disk.Put(std::string("/mail/Bank/") + file, "");
        EXPECT_EQ(Analyse(capture), static_cast<int>(numbers.size() / 4));
        EXPECT_EQ(program->Numbers("F,mes1"), numbers);
    }
    EXPECT_EQ(program->Stored("Inbox"), Lines());
}

TEST_F(ForumLogTest, WhatALineDoesNotHaveIsEmpty) {
    struct Case {
        std::string header;
        std::string second;
        std::string stored;
    };
    const std::string id = "ABC01234  YAMADA TARO       ";
    const Case kCases[] = {
        {"001/003   " + id + "T", "       97/01/23       ", "97/01/23   001       F|T"},
        {"001/003   " + id + "T", "       97/01/23        ", "97/01/23   001       F|T"},
        {"001/003   " + id + "T", "       97/01/23        1", "97/01/23   001     1 F|T"},
        {"00123/003   " + id + "T", "       97/01/23        123456", "97/01/23 00123 12345 F| T"},
        {"00123/003   " + id + "T", "       97/01", "97/01    00123       F| T"},
        {"002", "", "           002       F|"},
        {"00", "", "            00       F|"},
        {"", "", "                     F|"},
        {std::string("0\0"
                     "4/1",
                     5),
         std::string("       97/01/23\0", 16), "97/01/23   0 4       F|"},
        // Columns that would cut a character leave it out.
        {"00\x82\xA0/", "", "         00\x82\xA0/       F|"},
        {"0000\x82\xA0", "", "          0000       F|"}};
    std::string capture = Room("F MES(1)");
    Lines expected;
    for (const Case& one : kCases) {
        capture += one.header + "\r\n" + one.second + "\r\n" + kEnd;
        expected.push_back(one.stored);
    }
    EXPECT_EQ(Analyse(capture), static_cast<int>(expected.size()));
    EXPECT_EQ(program->Stored("F,mes1"), expected);
    EXPECT_EQ(Analyse(capture), 0) << "each is known, readable or not";
}

TEST_F(ForumLogTest, AMessageThatIsThereIsSkipped) {
    EXPECT_EQ(Analyse(Room("F MES(1)") + Message("001") + Message("002", "a") + Message("002", "b")), 3)
        << "a block is compared with what was there before it";
    EXPECT_EQ(Analyse(Room("F MES(1)") + Message("002") + Message("003") + "CCS(N)>\r\n" +  //
                      Room("F MES(1)") + Message("003") + Message("004")),
              2);
    EXPECT_EQ(program->Numbers("F,mes1"), "001 002 002 003 004 ");
    // The number counts, not how it is written; of a record that is deleted nothing does.
    ASSERT_EQ(program->mailbox.MarkDeleted("F,mes1", 0), 0);
    EXPECT_EQ(Analyse(Room("F MES(1)") + Message("001") + "00002/9\r\n\r\n" + kEnd + "  3/9\r\n\r\n" + kEnd),
              1);

    // A mail that was put here has a time of day where messages have their number.
    MailRecord mail = program->Mail("mail");
    mail.date = "97/01/23 12:34 97/01/24 08:05";
    ASSERT_EQ(program->mailbox.AppendMail("F,mes1", mail, -1), 0);
    EXPECT_EQ(Analyse(Room("F MES(1)") + Message("012")), 1);
    // Lines were disturbed: nobody can say that these are the same.
    EXPECT_EQ(Analyse(Room("F MES(1)") + Message("x01") + Message("x02")), 2);
    EXPECT_EQ(Analyse(Room("F MES(1)") + Message("x02") + Message("x03") + Message("x01")), 1);
}

TEST_F(ForumLogTest, ARoomsFolderIsFoundWhereverItIs) {
    Restart("00Desktop\r\n01Inbox/0\r\n01Work/0\r\n02F,mes1/0\r\n02g,MES2/0\r\n01F,MES1/0\r\n01H,lib3/0\r\n");
    EXPECT_EQ(Analyse(Room("f MES(1)") + Message("001") + "CCS(N)>\r\n" + Room("G MES(2)") + Message("002")),
              2);
    EXPECT_EQ(program->Numbers("F,MES1"), "001 ");
    EXPECT_EQ(program->Numbers("Work#g,MES2"), "002 ");
    EXPECT_EQ(Analyse(Room("New MES(7)") + Message("003") + "CCS(N)>\r\n" + Room("Void MES(8)")), 1);
    EXPECT_EQ(program->Numbers("New,mes7"), "003 ");
    EXPECT_NE(program->folders.tree().Find("New,mes7"), nullptr);
    EXPECT_EQ(program->folders.tree().Find("Void,mes8"), nullptr) << "before its first message";

    // Another program has moved one and made one.
    disk.Put(kTree, "00Desktop\r\n01Inbox/0\r\n01F,MES1/0\r\n02New,mes7/0\r\n01K,mes9/0\r\n");
    EXPECT_EQ(
        Analyse(Room("New MES(7)") + Message("003") + "CCS(N)>\r\n" + Room("K MES(9)") + Message("004")), 2);
    EXPECT_EQ(program->Numbers("F,MES1#New,mes7"), "003 ");
    EXPECT_EQ(program->Numbers("K,mes9"), "004 ");
    // The files of a folder that was deleted still know their messages.
    EXPECT_EQ(Analyse(Room("G MES(2)") + Message("001")), 1);
    Restart("00Desktop\r\n01Inbox/0\r\n");
    EXPECT_EQ(Analyse(Room("K MES(9)") + Message("004") + Message("005")), 1);
    EXPECT_EQ(program->Numbers("K,mes9"), "004 005 ");
    EXPECT_TRUE(program->ui.messages.empty());
}

TEST_F(ForumLogTest, MessagesOfRoomsThatCanHaveNoFolderGoToTheInbox) {
    const std::pair<std::string, std::string> kRooms[] = {
        {"A#B MES(1)", "A#B,mes1"},
        {"..\\x MES(1)", "..\\x,mes1"},
        {"A/B MES(1)", "A/B,mes1"},
        {"A\x01 MES(1)", "A\x01,mes1"},
        {"A\x81", "A\x81,mes"},
        {"F MES(1234567890)", "F,mes1234567890"},
        {"F MES(12345678901)", "F,mes1234567890"},
        {"F MES(x)", "F,mes"},
        {" MES(1)", ",mes1"},
        {"0123456789ABCDEFG MES(1)", ""},
        {std::string("あいうえおかきくけ MES(2)"_sjis), ""}};
    std::string capture;
    Lines expected;
    for (int number = 0; const auto& [line, place] : kRooms) {
        capture += Room(line) + Message("0" + std::to_string(10 + ++number)) + "CCS(N)>\r\n";
        const std::string date = "97/01/23   0" + std::to_string(10 + number) + "   007 ";
        if (!place.empty()) expected.push_back(date + place + "|Title");
    }
    // The last two are cut, and then there is nothing against them.
    EXPECT_EQ(Analyse(capture), static_cast<int>(std::size(kRooms)));
    EXPECT_EQ(program->Stored("Inbox"), expected);
    EXPECT_EQ(program->Stored("0123456789ABCDE,mes1").size(), 1U);
    EXPECT_EQ(program->Stored(std::string("あいうえおかき"_sjis) + ",mes2").size(), 1U);
    const std::string told =
        std::string("フォルダを作れない会議室の発言 9 件を Inbox に保存しました。（A#B,mes1）"_sjis);
    ASSERT_EQ(program->ui.messages.size(), 1U);
    EXPECT_EQ(program->ui.messages[0], (support::ShownMessage{"Postkite", told, core::MessageIcon::Warning}));
    EXPECT_EQ(disk.Get("/mail/error.log"), told + "\r\n");

    program->settings.autoMode = 1;
    EXPECT_EQ(Analyse(capture), 0) << "they are known in the Inbox";
    EXPECT_EQ(Analyse(Room("A#B MES(2)") + Message("011") + Message("012")), 2) << "another room";
    EXPECT_EQ(program->ui.messages.size(), 1U) << "unattended";
    EXPECT_EQ(program->Stored("Inbox").size(), 11U);
}

TEST_F(ForumLogTest, ARunMakesOnlySoManyRoomsAndTheNextOneStoresNothingTwice) {
    const auto storeRooms = [this](int from, int to) {
        std::string outcomes;
        ForumRooms rooms(program->Forum(), 3);
        EXPECT_EQ(rooms.Open(), 0);
        for (int room = from; room <= to; ++room) {
            rooms.BeginBlock(ParseRoomLine("  N MES(" + std::to_string(room) + ")"));
            for (const char* number : {"001", "002"}) {
                MailRecord record = program->Mail("Title");
                record.flags[store::flag::kKind] = 'N';
                record.date = std::string("97/01/23   ") + number + "       ";
                outcomes += "SKF"[static_cast<int>(rooms.Store(record))];
            }
        }
        EXPECT_TRUE(rooms.Finish());
        return outcomes + std::to_string(rooms.misplaced());
    };
    EXPECT_EQ(storeRooms(1, 5), "SSSSSSSSSS4");
    EXPECT_EQ(program->Stored("Inbox").size(), 4U);
    // A run that broke off begins anew, and could make folders for the others by now.
    EXPECT_EQ(storeRooms(1, 6), "KKKKKKKKKKSS0");
    EXPECT_EQ(program->folders.tree().Find("N,mes4"), nullptr);
    EXPECT_EQ(program->Numbers("N,mes3") + program->Numbers("N,mes6"), "001 002 001 002 ");
}

TEST_F(ForumLogTest, ALongMessageIsCutAndNoLineOrTextFillsTheMemory) {
    const std::string line(1000, 'x');
    std::string body;
    for (int lines = 0; lines < 600; ++lines)
        body += line + "\r\n";
    const std::string endless(3 * store::MAIL_BODY_MAX, 'y');
    EXPECT_EQ(Analyse(Room("F MES(1)") + Message("001", "Long", body) +
                      Message("002", "Endless", endless + "\r\n") + Message("003")),
              3);
    std::string stored;
    for (const std::string& mail : program->Mails("F,mes1")) {
        EXPECT_LT(mail.size(), store::MAIL_BODY_MAX);
        stored += mail.substr(0, 7) + std::to_string(mail.size() / 10'000) + " ";
    }
    EXPECT_EQ(stored, "Long: 052 Endless52 Title: 0 ");
    EXPECT_NE(disk.Get("/mail/error.log").value_or("").find(std::string("発言 1 件の終わり"_sjis)),
              std::string::npos);
    // Nothing but bytes.
    EXPECT_EQ(Analyse(endless), 0);
    EXPECT_EQ(Analyse(Room("F MES(1)") + endless), 0);
    EXPECT_TRUE(program->ui.messages.empty());
}

TEST_F(ForumLogTest, ACaptureCutAnywhereLosesNothingBeforeTheCut) {
    const std::string parts[] = {Room("F MES(1)") + Message("001"), Message("002"),
                                 "CCS(N)>\r\n" + Room("G MES(2)") + Message("003")};
    const std::string whole = parts[0] + parts[1] + parts[2];
    for (std::size_t bytes = 0; bytes <= whole.size(); bytes += 1) {
        MemoryFileSystem other;
        other.PutDirectory("/mail/Bank");
        other.Put(kCapture, whole.substr(0, bytes));
        Program run(other);
        const int count = run.Analyse();
        const std::size_t end = parts[0].size() + parts[1].size();
        const int expected = bytes < parts[0].size() ? 0 : bytes < end ? 1 : bytes < whole.size() ? 2 : 3;
        ASSERT_EQ(count, expected) << bytes;
        ASSERT_TRUE(run.result.complete && !other.Exists(kCapture)) << bytes;
        ASSERT_EQ(run.Stored("F,mes1").size() + run.Stored("G,mes2").size(),
                  static_cast<std::size_t>(expected));
    }
}

/// Whichever disk call fails, the capture stays until each message is in its folder, and none is there twice.
TEST_F(ForumLogTest, AFaultLeavesTheCaptureAndTheNextRunStoresTheRest) {
    const std::string capture = Room("F MES(1)") + Message("001") + Message("x02") + "CCS(N)>\r\n" +  //
                                Room("G MES(2)") + Message("003") + "CCS(N)>\r\n" +                   //
                                Room("A#B MES(2)") + Message("004") + "CCS(N)>\r\n" +                 //
                                Room("F MES(1)") + Message("005") + Message("001");
    constexpr int kErrors[] = {-ENOSPC, -EIO, -EACCES};
    int incomplete = 0;
    for (int call = 1;; ++call) {
        const int error = kErrors[call % 3];
        SCOPED_TRACE(testing::Message() << "error " << error << " at call " << call);
        MemoryFileSystem other;
        other.PutDirectory("/mail/Bank");
        other.Put(kTree, "00Desktop\r\n01Inbox/0\r\n01F,mes1/0\r\n");
        other.Put(kCapture, capture);
        Program run(other);
        other.FailCall(call, error);
        static_cast<void>(run.Analyse());
        if (!other.struck()) break;
        ASSERT_EQ(run.result.complete, !other.Exists(kCapture));
        if (run.result.found && !run.result.complete) {
            ++incomplete;
            ASSERT_EQ(run.ui.messages.back().icon, core::MessageIcon::Warning);
        }
        Program again(other);
        static_cast<void>(again.Analyse());
        ASSERT_FALSE(other.Exists(kCapture));
        ASSERT_EQ(again.Numbers("F,mes1") + again.Numbers("G,mes2") + again.Numbers("Inbox"),
                  "001 x02 005 003 004 ");
        ASSERT_NE(again.folders.tree().Find("G,mes2"), nullptr);
    }
    EXPECT_GT(incomplete, 20);
}

TEST_F(ForumLogTest, ABlockCostsTheSameHoweverManyThereAre) {
    int calls[3] = {};
    int shown[3] = {};
    for (int round = 0; round < 3; ++round) {
        std::string capture;
        for (int block = 0; block < 500 << round; ++block)
            capture += Room("F MES(1)") + Message(std::to_string(100 + block % 900)) + "CCS(N)>\r\n";
        Restart("00Desktop\r\n01Inbox/0\r\n01F,mes1/0\r\n");
        for (const char* file : {"F,mes1.loc", "F,mes1.mtx"})
            disk.Put(std::string("/mail/Bank/") + file, "");
        const int before = disk.calls();
        EXPECT_EQ(Analyse(capture), std::min(500 << round, 900));
        calls[round] = disk.calls() - before;
        shown[round] = program->ui.pumps;
    }
    EXPECT_LT(calls[2] - calls[1], 50) << "the index is not read for each block";
    EXPECT_LT(shown[2], 2 * shown[1] + 50);
}

TEST_F(ForumLogTest, TheCountIsToldWhereSomebodyWantsToKnow) {
    EXPECT_EQ(program->Analyse(), 0);
    EXPECT_FALSE(program->result.found || program->result.complete) << "there is no capture";
    ReportForumMessages(program->Forum(), 0);
    program->settings.autoMode = 1;
    ReportForumMessages(program->Forum(), 2);
    program->settings.autoMode = 0;
    program->resultMessages = false;
    ReportForumMessages(program->Forum(), 2);
    EXPECT_TRUE(program->ui.messages.empty() && program->ui.statusTexts.empty());
    program->resultMessages = true;
    ReportForumMessages(program->Forum(), 2);
    const std::string text(" 件の会議室データを読み込みました。"_sjis);
    const support::ShownMessage told = {"Postkite", "2" + text, core::MessageIcon::Information};
    EXPECT_EQ(program->ui.messages, std::vector{told});
}

}  // namespace
}  // namespace postkite::analyse
