#include "analyse/subjects.h"

#include <gtest/gtest.h>

#include "core/shift_jis.h"

namespace postkite::analyse {
namespace {

using namespace core::literals;

TEST(SubjectsTest, ACallStripsBlanksAndOnePrefix) {
    struct Case {
        std::string_view subject;
        int depth;
        std::string_view left;
    };
    constexpr Case kCases[] = {{"Re: x", 1, " x"},
                               {"rE:x", 1, "x"},
                               {"  RE: Re: x", 1, " Re: x"},
                               {"rE^3:x", 3, "x"},
                               {"Re^12: x", 12, " x"},
                               {"Re^a: x", 0, " x"},
                               {"Re^1a:x", 1, "x"},
                               {"Re^-5:x", 0, "x"},
                               {"Re^ 5:x", 5, "x"},
                               {"Re^:::x", 0, ":x"},
                               {"Re :x", 0, "Re :x"},
                               {"\tRe:x", 0, "\tRe:x"},
                               {"Re^123:", 0, "Re^123:"},
                               {"Re", 0, "Re"},
                               {"Re^2", 0, "Re^2"},
                               {"Re^あ:x"_sjis, 0, "x"},
                               {"Ｒｅ：x"_sjis, 0, "Ｒｅ：x"_sjis},
                               {"  ", 0, ""},
                               {"", 0, ""}};
    for (const Case& one : kCases) {
        std::string subject(one.subject);
        EXPECT_EQ(StripReplyPrefix(subject), one.depth) << one.subject;
        EXPECT_EQ(subject, one.left) << one.subject;
    }
}

TEST(SubjectsTest, DepthsAreAddedUpToThePrefixThatStandsForNone) {
    struct Case {
        std::string_view subject;
        int depth;
        std::string_view left;
        std::string_view counted;
    };
    constexpr Case kCases[] = {{"Re: Re^2: RE: Meeting", 4, "Meeting", "Re^5:Meeting"},
                               {"RE:Re:re:x", 3, "x", "Re^4:x"},
                               {"Re^0: Re: x", 0, "Re: x", "Re:Re: x"},
                               {"Re: Re^a:  Re: x", 1, "Re: x", "Re^2:Re: x"},
                               {"Re^2:", 2, "", "Re^3:"},
                               {"  Meeting", 0, "Meeting", "Re:Meeting"}};
    for (const Case& one : kCases) {
        std::string subject(one.subject);
        EXPECT_EQ(CountReplyDepth(subject), one.depth) << one.subject;
        EXPECT_EQ(subject, one.left) << one.subject;
        std::string plain(one.subject);
        MakeReplySubject(plain, 0);
        EXPECT_EQ(plain, "Re:" + std::string(one.left)) << one.subject;
        std::string counted(one.subject);
        MakeReplySubject(counted, 1);
        EXPECT_EQ(counted, one.counted) << one.subject;
    }

    // No prefix costs a pass over those behind it.
    constexpr int kMany = 100'000;
    std::string endless;
    for (int count = 0; count < kMany; ++count)
        endless += "Re^99:";
    EXPECT_EQ(CountReplyDepth(endless), kMany * 99);
    EXPECT_EQ(endless, "");
}

TEST(SubjectsTest, TheListIndentsByPrefixOrByDepth) {
    constexpr std::pair<std::string_view, std::string_view> kByPrefix[] = {
        {"re:x", "┗re:x"_sjis},     {"Re^1: x", "┗Re^1: x"_sjis}, {"RE^9:x", "        ┗RE^9:x"_sjis},
        {"Re^0:x", "┗Re^0:x"_sjis}, {"Re^a:x", "┗Re^a:x"_sjis},   {"Re^12:x", "          Re^12:x"},
        {"  Re: x", "  Re: x"},     {"Re :x", "Re :x"},           {"", ""}};
    for (const auto& [stored, shown] : kByPrefix) {
        std::string subject(stored);
        IndentSubjectByPrefix(subject);
        EXPECT_EQ(subject, shown) << stored;
    }
    constexpr std::pair<char, std::string_view> kByDepth[] = {
        {'0', "x"}, {'1', " ┗x"_sjis}, {'9', "         ┗x"_sjis}, {'/', "x"}, {':', "x"}, {'\0', "x"}};
    for (const auto& [depth, shown] : kByDepth) {
        std::string subject = "x";
        IndentSubjectByDepth(subject, depth);
        EXPECT_EQ(subject, shown) << depth;
    }
}

}  // namespace
}  // namespace postkite::analyse
