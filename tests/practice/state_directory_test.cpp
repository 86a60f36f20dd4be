#include "practice/state_directory.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/practice/practised_call.h"
#include "tests/support/memory_file_system.h"

namespace postkite::practice {
namespace {

using namespace core::literals;
using Names = std::vector<std::string>;

std::string Bytes(std::u8string_view text) {
    return {text.begin(), text.end()};
}

class StateDirectoryTest : public testing::Test {
  protected:
    void SetUp() override {
        files.PutDirectory("/");
        ASSERT_EQ(state.Prepare(), 0);
    }

    support::MemoryFileSystem files;
    support::FixedClock clock;
    StateDirectory state{files, clock, "/state"};
};

TEST_F(StateDirectoryTest, MailsAreReadInOrderAndMovedWhenDeleted) {
    files.Put("/state/mail/b.txt", Bytes(u8"Name: 凪野\nId: PKT1\nSubject: 二\n\n本文\n"));
    files.Put("/state/mail/a.txt", "Subject: 1\n\none\n");
    files.Put("/state/mail/.hidden.txt", "Subject: no\n\n");
    files.Put("/state/mail/notes.md", "no\n");
    files.PutDirectory("/state/mail/z.txt");
    files.Put("/state/deleted/a.txt", "older");
    PractisedCall call(state);
    call.GoToMail();
    call.Client("READ ALL\r");
    call.Host("\r\none\r\naction:");
    call.Client("DELETE\r");
    call.Host(std::string("本文\r\naction:"_sjis));
    call.Client("\r");
    call.Host("MAIL>");  // what is no file is passed over
    EXPECT_EQ(files.Names("/state/mail"), (Names{".hidden.txt", "b.txt", "notes.md", "z.txt"}));
    EXPECT_EQ(files.Get("/state/deleted/a.txt"), "older");
    EXPECT_EQ(files.Get("/state/deleted/a-2.txt"), "Subject: 1\n\none\n");
    call.Client("READ NEW\r");
    call.Host("－未読メールはありません－\r\nMAIL>"_sjis);
    files.Put("/state/mail/c.txt", "Subject: 3\n\nthree\n");  // while the host runs
    call.Client("READ NEW\r");
    call.Host("\r\nthree\r\naction:");
}

TEST_F(StateDirectoryTest, MessagesAreReadWhenTheClientAnswers) {
    files.Put("/state/forum/FKaze/02/1.txt",
              "Number: 998\nName: n\nId: PKT1\nDate: 97/01/02 03:04\nSubject: s\n\nt\n");
    files.Put("/state/forum/FKaze/02/2.txt", "Name: n\nId: PKT1\nDate: 97/01/02 03:05\nSubject: s2\n\nt2\n");
    const std::string listing =
        "MRE\r\n" + std::string("◆FKAZE MES(2)\r\n"_sjis) +
        "998/999   PKT1      n                 s\r\n       97/01/02 03:04\r\nt\r\n \b\r\n"
        "999/999   PKT1      n                 s2\r\n       97/01/02 03:05\r\nt2\r\n \b\r\nCCS(N)>";
    {
        HostOptions options;
        options.trouble.chunkBytes = 1;
        PractisedCall lost(state, options);
        lost.GoToRoom("fkaze", "mes2");
        lost.Client("MRE\r");
        EXPECT_EQ(lost.heard, listing);
        lost.host.Disconnect();
    }
    EXPECT_EQ(files.Names("/state/forum/FKaze/02"), (Names{"1.txt", "2.txt"}));
    PractisedCall call(state);
    call.GoToRoom("FKAZE", "MES 2");
    call.host.Receive("MRE\r", call.now);
    call.host.Receive("OFF\r", call.now);  // in the middle of it: nothing has been seen
    call.Listen();
    EXPECT_EQ(core::FindText(call.heard, "◆"_sjis), std::string::npos);
    call.Host("NO CARRIER\r\n");
    EXPECT_EQ(files.Names("/state/forum/FKaze/02").size(), 2u);
    call.GoToRoom("FKAZE", "MES 2");
    call.Client("MRE\r");
    EXPECT_EQ(call.heard, listing);
    call.Client("OFF\r");
    EXPECT_EQ(files.Names("/state/read/FKaze/02"), (Names{"1.txt", "2.txt"}));
    call.GoToRoom("FKAZE", "MES 2");
    call.Client("MRE\r");
    EXPECT_EQ(call.heard, "MRE\r\n" + std::string("◆現在未読の発言はありません◆\r\nCCS(N)>"_sjis));
}

TEST_F(StateDirectoryTest, KeepsUploadsWhole) {
    clock.now = {1997, 1, 24, 8, 5, 9};
    ASSERT_EQ(state.Keep({"FKAZE MES 3", "PKT00099", std::string("SUB:題\r\n能\r\n"_sjis)}), 0);
    EXPECT_EQ(files.Names("/state/received"), (Names{"970124080509-0001.txt"}));
    EXPECT_EQ(files.Get("/state/received/970124080509-0001.txt"),
              Bytes(u8"Id: PKT00099\nDate: 97/01/24 08:05\nService: FKAZE MES 3\n\nSUB:題\n能\n"));
    files.ShortWrite(1, 10);
    EXPECT_LT(state.Keep({"MAIL", "PKT00099", "x\r\n"}), 0);
    EXPECT_EQ(files.Names("/state/received").size(), 1u);
    StateDirectory later(files, clock, "/state");  // a second program in the same second
    ASSERT_EQ(later.Prepare(), 0);
    ASSERT_EQ(later.Keep({"MAIL", "PKT00099", "y\r\n"}), 0);
    EXPECT_EQ(files.Names("/state/received").size(), 2u);
    EXPECT_EQ(state.Keep({"MAIL", "A", std::string(StateDirectory::kMostUploaded, 'x')}), -ENOSPC);
}

TEST_F(StateDirectoryTest, NamesFromTheLineReachNothing) {
    files.Put("/forum/1/secret.txt", "Subject: s\n\nsecret\n");
    files.Put("/state/forum/1/1/secret.txt", "Subject: s\n\nsecret\n");
    PractisedCall call(state);
    call.LogIn();
    for (const char* name : {"../forum", ".", "..", "/", "f/../..", ""}) {
        call.Client("GO " + std::string(name) + "\r");
        call.Host("＞"_sjis);
        call.Client("MES 1\r");
        call.Client("MRE\r");
        EXPECT_EQ(call.heard.find("secret"), std::string::npos);
    }
    call.Client("GO FKAZE\r");
    for (const char* room : {"MES ../1", "MES 0", "MES 21", "MES 99999999999", "LIB ..", "mes"}) {
        call.Client(std::string(room) + "\r");
        call.Host("＞"_sjis);
    }
}

TEST_F(StateDirectoryTest, RecordsTheDialogueWithoutThePassword) {
    {
        PractisedCall call(state);
        call.LogIn();
        call.Client("OFF\r");
    }
    const std::string log = files.Get("/state/session.log").value_or("");
    EXPECT_NE(log.find("97/01/24 08:05:09 C ATDT0,0312345678\n97/01/24 08:05:09 M CONNECT 14400\n"),
              std::string::npos);
    EXPECT_NE(log.find(" H Enter User-ID  --->\n97/01/24 08:05:09 C PKT00099\n"), std::string::npos);
    EXPECT_NE(log.find(" C ********\n"), std::string::npos);
    EXPECT_EQ(log.find("himitsu"), std::string::npos);
    EXPECT_NE(log.find(Bytes(u8" H ＞\n97/01/24 08:05:09 C OFF\n")), std::string::npos);
    const std::size_t before = log.size();
    StateDirectory later(files, clock, "/state");
    ASSERT_EQ(later.Prepare(), 0);
    later.AppendLog(u8"more\n");
    EXPECT_EQ(files.Get("/state/session.log")->substr(before), "more\n");
}

TEST(StateDirectory, SaysWhatIsInTheWay) {
    support::MemoryFileSystem files;
    support::FixedClock clock;
    files.Put("/state/mail", "a file");
    EXPECT_EQ(StateDirectory(files, clock, "/state").Prepare(), -ENOTDIR);
    EXPECT_LT(StateDirectory(files, clock, "/none/state").Prepare(), 0);
}

}  // namespace
}  // namespace postkite::practice
