#include "outgoing/send_queue.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <tuple>

#include "core/shift_jis.h"
#include "outgoing/destination.h"
#include "outgoing/message_file.h"
#include "tests/store/mailbox_program.h"

namespace postkite::outgoing {
namespace {

using namespace core::literals;
using core::MessageIcon;
using support::MemoryFileSystem;

constexpr const char* kMails = "/mail/bmtemp.$$$/send.inf";
constexpr const char* kPosts = "/mail/bmtemp.$$$/mes.inf";
std::string Bytes(std::initializer_list<std::string_view> pieces) {
    std::string text;
    for (const std::string_view piece : pieces)
        text += piece;
    return text;
}

/// A program with an Outbox.
struct Sending : store::MailboxProgram {
    using MailboxProgram::MailboxProgram;

    /// Adds a reserved mail and returns its identifier.
    std::string Reserve(std::string_view address, std::string_view subject,
                        std::string_view body = "text\r\n", char signature = '0') {
        store::MailRecord record;
        record.flags = store::kComposedMailFlags;
        record.flags[store::flag::kPosition8] = 'Y';
        record.flags[store::flag::kSignature] = signature;
        record.address = address;
        record.date = "97/01/23 12:34";
        record.subject = subject;
        record.body = body;
        EXPECT_EQ(mailbox.AppendMail("Outbox", record, -1), 0);
        return record.localId;
    }
    int Build(PostOrder order = PostOrder::Ascending,
              const std::set<std::string, std::less<>>& accepted = {}) {
        return BuildSendQueue(mailbox, settings, "Outbox", order, queue, accepted);
    }

    core::Settings settings;
    SendQueue queue;
};

class SendQueueTest : public testing::Test {
  protected:
    SendQueueTest() { Prepare(disk_); }
    static void Prepare(MemoryFileSystem& disk) {
        disk.PutDirectory("/mail/Bank");
        disk.PutDirectory("/mail/Setting");
        disk.PutDirectory("/state");
    }

    MemoryFileSystem disk_;
    Sending program_{disk_};
};

TEST_F(SendQueueTest, TheFilesByteForByte) {
    disk_.Put("/mail/Setting/SIGN2.TXT", "-- \r\nTARO");
    disk_.Put("/mail/BMTEMP.$$$/SEND.INF", std::string(500, 'x'));
    disk_.Put("/mail/BMTEMP.$$$/1.mtx", std::string(500, 'x'));
    program_.settings.nifFrom = "Taro";
    const auto file = [this](const char* name) {
        return disk_.Get(std::string("/mail/BMTEMP.$$$/") + name).value_or("missing");
    };
    std::vector<std::string> ids;
    ASSERT_EQ(program_.AddTo("Outbox", "not reserved"), 0);
    ids.push_back(program_.Reserve("ABC 00123 (山田(太), ソ) , taro@example.jp"_sjis, "題名ソ"_sjis));
    ids.push_back(program_.Reserve("/FB,MES5,12", "", "body\r\n", '2'));
    program_.Reserve("GONE", "deleted");
    ASSERT_EQ(program_.mailbox.MarkDeleted("Outbox", 3), 0);
    ids.push_back(program_.Reserve("/FA,MES3", "a\nb"));
    ids.push_back(program_.Reserve("DEF", std::string(45, 's'), "", '2'));
    ids.push_back(program_.Reserve("/FB,MES5,1234,", "again"));

    ASSERT_EQ(program_.Build(), 0);
    EXPECT_TRUE(program_.ui.messages.empty());
    EXPECT_EQ(file("SEND.INF"), Bytes({"TO:ABC00123\r\nTO:INET:taro@example.jp\r\nSUB:", "題名ソ"_sjis,
                                       "\r\nbmtemp.$$$\\1.mtx\r\nTO:DEF\r\nSUB:", std::string(39, 's'),
                                       "\r\nbmtemp.$$$\\4.mtx\r\n"}));
    EXPECT_EQ(file("mes.inf"),
              "FA,MES 3\r\nbmtemp.$$$\\3.mtx\r\nFB,MES 5\r\nbmtemp.$$$\\2.mtx\r\n"
              "FB,MES 5\r\nbmtemp.$$$\\5.mtx\r\n");
    EXPECT_EQ(file("1.mtx"), "FROM:Taro\r\ntext\r\n\r\n\r\n/POST\r\n");
    EXPECT_EQ(file("2.mtx"), "SUB:none titile\r\nRE:012\r\nbody\r\n-- \r\nTARO\r\n\r\n/POST\r\n");
    EXPECT_EQ(file("3.mtx"), "SUB:a b\r\nRE:NON\r\ntext\r\n\r\n\r\n/POST\r\n");
    EXPECT_EQ(file("4.mtx"), "FROM:Taro\r\n\r\n-- \r\nTARO\r\n\r\n/POST\r\n");
    EXPECT_EQ(file("5.mtx").substr(0, 20), "SUB:again\r\nRE:1234\r\n");
    std::string lines;
    for (std::size_t number = 0; number < ids.size(); ++number) {
        lines += ids[number] + "\r\n";
        EXPECT_EQ(QueuedMailId(program_.workspace, static_cast<int>(number)), ids[number]);
        EXPECT_EQ(program_.queue.mails[number].localId, ids[number]);
    }
    EXPECT_EQ(file("MailID.Tmp"), lines);
    EXPECT_EQ(QueuedMailId(program_.workspace, 5), "");
    EXPECT_EQ(QueuedMailId(program_.workspace, -1), "");
    EXPECT_EQ(program_.queue.mails[2].recordNumber, 4);
    EXPECT_EQ(program_.queue.posts, (std::vector<std::size_t>{2, 1, 4}));
    EXPECT_EQ(program_.queue.uploadBytes, 3 * (8 + 9) + (17 + 9) + (13 + 9));

    ASSERT_EQ(program_.Build(PostOrder::Descending), 0);
    EXPECT_EQ(file("mes.inf").substr(0, 28), "FB,MES 5\r\nbmtemp.$$$\\2.mtx\r\n")
        << "queue order within a room";
    EXPECT_EQ(program_.queue.posts, (std::vector<std::size_t>{1, 4, 2}));
}

TEST_F(SendQueueTest, NothingThatCouldBeSent) {
    ASSERT_EQ(program_.AddTo("Outbox", "not reserved"), 0);
    disk_.Put(kMails, "TO:OLD\r\n");
    EXPECT_EQ(program_.Build(), -1);
    EXPECT_EQ(disk_.Get(kMails), "");
    EXPECT_EQ(disk_.Get(kPosts), "");
    const support::ShownMessage nothing{"Postkite", std::string("送信予約されたメールがありません。"_sjis),
                                        MessageIcon::Information};
    EXPECT_EQ(program_.ui.messages, std::vector{nothing});
    program_.settings.autoMode = 1;
    EXPECT_EQ(program_.Build(), -1);
    EXPECT_EQ(program_.ui.messages.size(), 1U);
    EXPECT_FALSE(program_.queue.refused);

    for (int number = 0; number < 25; ++number)
        program_.Reserve("", "x");
    program_.settings.autoMode = 0;
    program_.ui.spoken = core::Language::English;
    EXPECT_EQ(program_.Build(), -1);
    ASSERT_EQ(program_.ui.messages.size(), 2U) << "they are reserved: nothing else is said";
    EXPECT_TRUE(program_.ui.messages[1].text.ends_with("it has no destination\r\nOthers, see error.log: 5"));
}

struct Parsed {
    std::string_view text;
    std::vector<std::string> addressees;
    std::string room;
    int answered = 0;
};

TEST(Destinations, WhatIsTakenApart) {
    const Parsed table[] = {
        {"ABC00123(name),a@b.c", {"ABC00123", "INET:a@b.c"}, {}},
        {" A B\xA0 C ,, (x,y) ,D", {"ABC", "D"}, {}},
        {"((a)b(c))Z", {"Z"}, {}},
        // Trail bytes "@", "(", ",", "/", blank: none of them is a character.
        {"\x83\x40", {"\x83\x40"}, {}},
        {"A\x81(B\x81,C\x81 D", {"A\x81(B\x81,C\x81 D"}, {}},
        {"\x81/FA,MES1", {"\x81/FA", "MES1"}, {}},
        {"\x81\xA0X", {"\x81\xA0X"}, {}},
        {"A,/FA,MES1", {"A", "/FA", "MES1"}, {}},
        {" (x)/FA, MES 5", {}, "FA,MES 5"},
        {"/FA,MES10x,", {}, "FA,MES 10"},
        {"/FA,ＭＥＳ7,0012,,"_sjis, {}, "FA,MES 7", 12},
        {"/FA,MES1,000", {}, "FA,MES 1"},
        {"/01234567890123456789ABCDE,MES1", {}, "01234567890123456789ABCDE,MES 1"},
    };
    for (const Parsed& wanted : table) {
        Destination destination;
        EXPECT_EQ(ParseDestination(wanted.text, destination), Refusal::None) << wanted.text;
        EXPECT_EQ(std::tie(destination.addressees, destination.room, destination.answered),
                  std::tie(wanted.addressees, wanted.room, wanted.answered))
            << wanted.text;
    }
}

TEST(Destinations, WhatIsRefused) {
    std::string many;
    while (many.size() < 110'000)
        many += "@,";
    const std::pair<std::string, Refusal> table[] = {
        {"", Refusal::NoDestination},
        {" (nobody) ,\xA0,", Refusal::NoDestination},
        {"A(b", Refusal::OpenBracket},
        {"A)b(", Refusal::OpenBracket},
        {"A\nTO:B", Refusal::ControlCharacter},
        {"A\x81\nB", Refusal::ControlCharacter},
        {"A(\x7F)", Refusal::ControlCharacter},
        {"B," + std::string(1001, 'A'), Refusal::LongAddressee},
        {many, Refusal::TooManyAddressees},
        {"/", Refusal::NoForum},
        {"/,MES1", Refusal::NoForum},
        {"/FA", Refusal::NoRoom},
        {"/FA,5", Refusal::NoRoom},
        {"/FA,MES0", Refusal::NoRoom},
        {"/FA,MES-1", Refusal::NoRoom},
        {"/FA,MES99999999999", Refusal::NoRoom},
        {"/FA,MES1,12a", Refusal::AnsweredNumber},
        {"/FA,MES1,-1", Refusal::AnsweredNumber},
        {"/FA,MES1,99999999999", Refusal::AnsweredNumber},
        {"/FA,MES1,/FB,MES2", Refusal::AnsweredNumber},
        {"/FA,MES1,,/FB", Refusal::SeveralRooms},
        {"/01234567890123456789ABCDEF,MES1", Refusal::LongForum},
    };
    for (const auto& [text, wanted] : table) {
        Destination destination;
        EXPECT_EQ(ParseDestination(text, destination), wanted) << text.substr(0, 40);
    }
}

TEST(MessageFiles, SubjectsAndLinesThatEndTheText) {
    const std::string kanji(std::string(38, 'a') + "\x83\x5C\x83\x5C");
    const std::pair<std::string, std::string> subjects[] = {
        {std::string(40, 'a'), std::string(40, 'a')},
        {std::string(41, 'a'), std::string(39, 'a')},
        {kanji, kanji.substr(0, 40)},
        {"a" + kanji, "a" + kanji.substr(0, 38)},
        {"a\r\nTO:B\x7F", "a  TO:B "},
    };
    for (const auto& [subject, wanted] : subjects)
        EXPECT_EQ(SubjectToSend(subject), wanted) << subject;

    for (const char* body : {"/POST", "a\r\n/post \r\nb", "a\n/E\nb", "a\r/e\rb", "/P\x01OST\r\n",
                             "/POSX\bT\r\n", "\x83\x5C\x7F/E\r\n", "\x81\r\n/E"})
        EXPECT_TRUE(HoldsEndOfText(body)) << body;
    for (const char* body :
         {"", "a/POST\r\n", "/POSTED\r\n", "/EX\r\n", " /E\r\n", "/E\\\r\n", "\x83/E\r\n", "> /POST\r\n"})
        EXPECT_FALSE(HoldsEndOfText(body)) << body;
}

TEST_F(SendQueueTest, WhatCannotBeSentIsNamedAndTheOthersGoOut) {
    program_.Reserve("", "one");
    const std::string sent = program_.Reserve("OK", "two");
    const std::string copied = program_.Reserve("ABC", "copied");
    program_.Reserve("ABC", "damaged");
    const std::string longBody(store::MAIL_BODY_MAX - 1100, 'a');
    program_.Reserve("ABC", "endless", longBody);
    program_.Reserve("ABC", "three", "a\r\n/e\r\nOFF\r\n");
    const std::string last = program_.Reserve("OK", "five");
    const std::string accepted = program_.Reserve("OK", "taken");
    std::string index = *disk_.Get("/mail/Bank/Outbox.loc");
    std::string text = *disk_.Get("/mail/Bank/Outbox.mtx");
    index.replace(index.find(copied), copied.size(), sent);
    text.replace(text.find(copied), copied.size(), sent);
    index.replace(3 * 900, 20, "99999999            ");
    text.replace(text.find("\x01\x01", text.find(longBody)), 2, "aa");
    disk_.Put("/mail/Bank/Outbox.loc", index);
    disk_.Put("/mail/Bank/Outbox.mtx", text);

    ASSERT_EQ(program_.Build(PostOrder::Ascending, {accepted}), 0);
    EXPECT_EQ(disk_.Get(kMails),
              "TO:OK\r\nSUB:two\r\nbmtemp.$$$\\1.mtx\r\nTO:OK\r\nSUB:five\r\nbmtemp.$$$\\2.mtx\r\n");
    EXPECT_EQ(QueuedMailId(program_.workspace, 1), last);
    const std::string lines = Bytes(
        {"one (97/01/23 12:34): ", "宛先がありません"_sjis,
         "\r\ncopied (97/01/23 12:34): ", "ほかのメールと同じ識別子を持っています"_sjis,
         "\r\ndamaged (97/01/23 12:34): ", "メールが壊れています"_sjis,
         "\r\nendless (97/01/23 12:34): ", "本文が長すぎるか、終わりがありません"_sjis,
         "\r\nthree (97/01/23 12:34): ", "本文に入力の終わりと見なされる行（/POST または /E）があります"_sjis,
         "\r\ntaken (97/01/23 12:34): ", "ホストに送信済みですが、送信済みの印を付けられません"_sjis});
    const support::ShownMessage told{"Postkite", Bytes({"次のメールは送信できません。"_sjis, "\r\n", lines}),
                                     MessageIcon::Warning};
    EXPECT_EQ(program_.ui.messages, std::vector{told});
    EXPECT_EQ(disk_.Get("/mail/error.log"), lines + "\r\n");

    program_.settings.autoMode = 1;
    ASSERT_EQ(program_.Build(PostOrder::Ascending, {accepted}), 0);
    EXPECT_EQ(program_.ui.messages.size(), 1U) << "nobody is there to see it";
    EXPECT_EQ(disk_.Get("/mail/error.log"), lines + "\r\n" + lines + "\r\n");
}

TEST_F(SendQueueTest, TheUploadDirectoryOfTheExternalProgram) {
    program_.Reserve("/F,MES1", "x");
    program_.Reserve("ABC", "x");
    program_.settings.useHideTerm = 1;
    program_.settings.upDirectory = "up";
    disk_.PutDirectory("/mail/up");
    ASSERT_EQ(program_.Build(), 0);
    EXPECT_EQ(disk_.Get(kPosts), "F,MES 1\r\nup\\1.mtx\r\n");
    EXPECT_EQ(disk_.Get(kMails), "TO:ABC\r\nSUB:x\r\nup\\2.mtx\r\n");
    EXPECT_TRUE(disk_.Exists("/mail/up/2.mtx"));

    disk_.PutDirectory("/mail/directory/with-a-long-name");
    program_.settings.upDirectory = "directory\\with-a-long-name";
    ASSERT_EQ(program_.Build(), 0) << "only a post's path has to be short";
    EXPECT_EQ(disk_.Get(kMails), "TO:ABC\r\nSUB:x\r\ndirectory\\with-a-long-name\\1.mtx\r\n");

    // Outside the working directory, nowhere, and where a folder "1" could be.
    for (const char* directory : {"c:\\hideterm\\upload", "..", "", "nowhere", "Bank"}) {
        program_.ui.messages.clear();
        program_.settings.upDirectory = directory;
        EXPECT_EQ(program_.Build(), -1) << directory;
        EXPECT_TRUE(program_.queue.refused) << directory;
        EXPECT_EQ(program_.ui.messages.size(), 1U) << directory;
        EXPECT_FALSE(disk_.Exists(kMails)) << directory;
    }
    EXPECT_EQ(disk_.Names("/mail/Bank").size(), 2U);
}

TEST_F(SendQueueTest, NoFaultLeavesAQueueThatCouldBeSent) {
    const auto prepare = [](MemoryFileSystem& disk, Sending& program) {
        disk.Put(kMails, "TO:OLD\r\nSUB:x\r\nbmtemp.$$$\\1.mtx\r\n");
        disk.Put(kPosts, "OLD,MES 1\r\nbmtemp.$$$\\2.mtx\r\n");
        disk.Put("/mail/Setting/sign1.txt", "signature");
        program.Reserve("ABC", "x", "body\r\n", '1');
        program.Reserve("/F,MES1", "x");
    };
    prepare(disk_, program_);
    ASSERT_EQ(program_.Build(), 0);
    bool struck = true;
    int refused = 0;
    for (int call = 1; struck; ++call) {
        MemoryFileSystem disk;
        Prepare(disk);
        Sending program(disk);
        prepare(disk, program);
        disk.FailCall(call, call % 2 == 0 ? -ENOSPC : -EIO);
        const int built = program.Build();
        struck = disk.struck();
        EXPECT_EQ(disk.Get("/mail/Bank/Outbox.mtx"), disk_.Get("/mail/Bank/Outbox.mtx"));
        if (built < 0) {
            ++refused;
            EXPECT_TRUE(program.queue.refused && program.queue.mails.empty()) << call;
            EXPECT_FALSE(disk.Exists(kMails) || disk.Exists(kPosts)) << call;
            EXPECT_EQ(program.ui.messages.size(), 1U) << call;
        } else if (program.queue.mails.size() < 2) {
            EXPECT_EQ(disk.Get(kMails), "") << call << ": the signature could not be read";
            EXPECT_EQ(program.ui.messages.size(), 1U) << call;
        } else {
            for (const std::string& file : disk_.Names("/mail/bmtemp.$$$"))
                EXPECT_EQ(disk.Get("/mail/bmtemp.$$$/" + file), disk_.Get("/mail/bmtemp.$$$/" + file))
                    << call;
        }
    }
    EXPECT_GT(refused, 10);
}

TEST_F(SendQueueTest, FixedTextsAndSmallOperations) {
    disk_.Put("/mail/bmtemp.$$$", "a file");
    program_.Reserve("ABC", "x");
    EXPECT_EQ(program_.Build(), -1);
    program_.ExpectTold("送信用作業ファイル SEND.INF を作成出来ません。"_sjis);
    EXPECT_EQ(QueuedMailId(program_.workspace, 0), "");

    disk_.Put("/mail/1.mtx", "");
    RemoveMessageFiles(program_.workspace);
    EXPECT_TRUE(disk_.Exists("/mail/1.mtx")) << "there is no 0";
    for (const char* name : {"/mail/0.mtx", "/mail/3.mtx"})
        disk_.Put(name, "");
    RemoveMessageFiles(program_.workspace);
    EXPECT_FALSE(disk_.Exists("/mail/0.mtx") || disk_.Exists("/mail/1.mtx"));
    EXPECT_TRUE(disk_.Exists("/mail/3.mtx"));

    std::string signature;
    disk_.Put("/mail/Setting/sign9.txt", std::string(kLongestSignature - 1, 'a') + "\x83\x5C");
    EXPECT_EQ(ReadSignature(program_.workspace, '9', signature), 0);
    EXPECT_EQ(signature, std::string(kLongestSignature - 1, 'a'));
    for (const char none : {'1', '0', ' ', ':'}) {
        EXPECT_EQ(ReadSignature(program_.workspace, none, signature), 0);
        EXPECT_EQ(signature, "");
    }
}

}  // namespace
}  // namespace postkite::outgoing
