#include "practice/listing.h"

#include <gtest/gtest.h>

#include "core/shift_jis.h"
#include "practice/built_in_set.h"

namespace postkite::practice {
namespace {

using namespace core::literals;

Letter MakeLetter(std::string name, std::string id) {
    Letter letter;
    letter.name = std::move(name);
    letter.id = std::move(id);
    letter.date = "97/01/23 12:34";
    letter.subject = std::string("能力テスト"_sjis);
    letter.number = 7;
    return letter;
}

TEST(Listing, MailHeaderHasItsColumnsWhateverIsInIt) {
    const Letter letters[] = {MakeLetter(std::string("凪野 ひさし"_sjis), "PKT00021"), MakeLetter("", ""),
                              MakeLetter(std::string(15, 'x') + std::string("あ"_sjis), std::string(40, 'i')),
                              MakeLetter("INET GATE", "INET#GATE AND MORE")};
    for (const Letter& letter : letters) {
        const std::string line = MailHeaderLine(12345, letter);
        ASSERT_EQ(line.size(), 54u + 2);
        EXPECT_EQ(line[39], ' ');
        EXPECT_EQ(line.substr(40), "97/01/23 12:34\r\n");
    }
    EXPECT_EQ(MailHeaderLine(3, letters[0]),
              "  3 " + std::string("凪野 ひさし"_sjis) + "       PKT00021          97/01/23 12:34\r\n");
    // A name is never cut within a character.
    EXPECT_EQ(MailHeaderLine(1, letters[2]).substr(4, 18), std::string(15, 'x') + "   ");
    EXPECT_EQ(MailHeaderLine(1, letters[3]).substr(22, 18), "INET#GATE         ");
    EXPECT_EQ(MailSubjectLine(letters[0]).substr(10), std::string("能力テスト\r\n"_sjis));
}

TEST(Listing, MessageLinesHaveTwoLayouts) {
    Letter message = MakeLetter(std::string("海老名みどりです長い"_sjis), "PKT00034XX");
    message.replyTo = 5;
    const std::string narrow = MessageHeaderLine(message, 12, WidthFor(12));
    EXPECT_EQ(narrow.substr(0, 10), "007/012   ");
    EXPECT_EQ(narrow.substr(10, 10), "PKT00034  ");
    EXPECT_EQ(narrow.substr(20, 18), std::string("海老名みどりです"_sjis) + "  ");
    EXPECT_EQ(narrow.substr(38), std::string("能力テスト\r\n"_sjis));
    EXPECT_EQ(MessageSecondLine(message, WidthFor(999)),
              "       97/01/23 12:34  005" + std::string("へのコメント\r\n"_sjis));
    const std::string wide = MessageHeaderLine(message, 1000, WidthFor(1000));
    EXPECT_EQ(wide.substr(0, 12), "00007/01000 ");
    EXPECT_EQ(wide.substr(12, 10), "PKT00034  ");
    EXPECT_EQ(wide.substr(22, 17), std::string("海老名みどりです"_sjis) + " ");
    EXPECT_EQ(wide.substr(39), std::string("能力テスト\r\n"_sjis));
    EXPECT_EQ(MessageSecondLine(message, WidthFor(1000)).substr(23, 5), "00005");
    message.replyTo = 0;
    EXPECT_LE(MessageSecondLine(message, NumberWidth::Three).size(), 22u + 2);
}

TEST(Letter, ReadsWhatPeopleWrite) {
    const Letter letter = ParseLetter(
        u8"\uFEFFsubject:  題 名 \r\nX-Else: y\nno colon\nID:PKT1\nNAME: a\tb\nDate: 97/1/2 3:4\n"
        u8"number: 12\nReply-To: -3\n\n一行目\r\n\n\xFF😀〜最後",
        "97/01/01 00:00");
    EXPECT_EQ(letter.subject, std::string("題 名"_sjis));
    EXPECT_EQ(letter.id, "PKT1");
    EXPECT_EQ(letter.name, "a b");
    EXPECT_EQ(letter.date, "97/01/01 00:00");
    EXPECT_EQ(letter.number, 12);
    EXPECT_EQ(letter.replyTo, 0);
    EXPECT_EQ(letter.text, std::string("一行目\r\n\r\n〓〓～最後\r\n"_sjis));
    EXPECT_EQ(ParseLetter(u8"Number: 99999999999\nDate: 97/01/02 03:04", "").date, "97/01/02 03:04");
    EXPECT_EQ(ParseLetter(u8"", "97/01/01 00:00").text, "");
}

TEST(BuiltInSet, IsWholeInTheCodePage) {
    BuiltInSet set;
    int letters = 0;
    const auto check = [&letters](const std::optional<Letter>& letter) {
        ASSERT_TRUE(letter);
        ++letters;
        EXPECT_EQ(core::FindText(letter->text + letter->name + letter->subject, "〓"_sjis),
                  std::string::npos);
        EXPECT_FALSE(letter->id.empty() || letter->name.empty() || letter->subject.empty() ||
                     letter->text.empty());
        EXPECT_LE(letter->name.size(), 16u);
    };
    for (const std::string& key : set.Mails()) {
        check(set.Mail(key));
    }
    EXPECT_GE(letters, 3);
    for (const std::string& forum : set.Forums()) {
        for (int room = 1; room <= 20; ++room) {
            for (const std::string& key : set.Messages(forum, room)) {
                check(set.Message(forum, room, key));
                EXPECT_GT(set.Message(forum, room, key)->number, 0);
            }
        }
    }
    EXPECT_GE(letters, 8);
}

}  // namespace
}  // namespace postkite::practice
