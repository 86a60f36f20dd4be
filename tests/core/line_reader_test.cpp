#include "core/line_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "tests/support/memory_file_system.h"

namespace postkite::core {
namespace {

constexpr std::size_t kBlockBytes = 64 * 1024;

/// A reader on a file with this content.
struct Reading {
    explicit Reading(std::string_view content, std::size_t longestLine = LineReader::kNoLimit) {
        disk.Put("/file", content);
        EXPECT_EQ(disk.Open("/file", OpenMode::Read, file), 0);
        reader.emplace(*file, longestLine);
    }
    int Next() { return ReadLogLine(*reader, line); }
    /// The lines up to the end, each in brackets, and what the buffer then holds.
    std::string All() {
        std::string all;
        while (Next() == 0)
            all += '[' + line + ']';
        return all + line;
    }

    support::MemoryFileSystem disk;
    std::unique_ptr<File> file;
    std::optional<LineReader> reader;
    std::string line;
};

TEST(LineReaderTest, ACrEndsALineAndTheByteBehindItIsDropped) {
    EXPECT_EQ(Reading("").All(), "");
    EXPECT_EQ(Reading("a\r\n\r\nb\r\n").All(), "[a][][b]b");
    EXPECT_EQ(Reading("ab\rXcd\r\n").All(), "[ab][cd]cd");
    EXPECT_EQ(Reading("a\r\rb\r\n").All(), "[a][b]b");
    EXPECT_EQ(Reading("a\nb\n\r\n").All(), "[a\nb\n]a\nb\n");
    EXPECT_EQ(Reading("abc\r").All(), "[abc]abc");
    EXPECT_EQ(Reading(std::string_view("a\0b\r\n\0\r\n", 8)).All(), std::string("[a\0b][\0]\0", 9));
}

TEST(LineReaderTest, AtTheEndTheBufferKeepsWhatTheCutLineDoesNotOverwrite) {
    Reading whole("previous\r\n");
    EXPECT_EQ(whole.All(), "[previous]previous");
    EXPECT_EQ(whole.reader->cutLineBytes(), 0U);
    EXPECT_EQ(whole.Next(), -1);
    EXPECT_EQ(whole.line, "previous");

    Reading shorter("previous\r\ncut");
    EXPECT_EQ(shorter.All(), "[previous]cutvious");
    EXPECT_EQ(shorter.reader->cutLineBytes(), 3U);
    EXPECT_EQ(shorter.reader->position(), 13U);
    EXPECT_EQ(shorter.Next(), -1);
    EXPECT_EQ(shorter.line, "cutvious");
    EXPECT_EQ(shorter.reader->error(), 0);

    EXPECT_EQ(Reading("a\r\nlonger").All(), "[a]longer");
}

TEST(LineReaderTest, ThePositionIsThatOfTheNextByte) {
    const std::string_view content = "one\r\n\r\nthree\r";
    Reading on(content);
    for (const std::size_t position : {std::size_t{0}, std::size_t{5}, std::size_t{7}, content.size()}) {
        EXPECT_EQ(on.reader->position(), position);
        EXPECT_EQ(on.Next(), position == content.size() ? -1 : 0);
    }
    for (const auto& [position, line] : {std::pair{7U, "three"}, {0U, "one"}, {5U, ""}, {2U, "e"}}) {
        on.reader->Seek(position);
        ASSERT_EQ(on.Next(), 0);
        EXPECT_EQ(on.line, line);
    }
    on.reader->Seek(1000);
    EXPECT_EQ(on.Next(), -1);
}

TEST(LineReaderTest, BlocksDoNotShow) {
    for (std::size_t length = 2 * kBlockBytes - 5; length <= 2 * kBlockBytes + 2; ++length) {
        SCOPED_TRACE(length);
        const std::string first(length, 'a');
        Reading on(first + "\r\nbc\r\ncut");
        ASSERT_EQ(on.Next(), 0);
        EXPECT_TRUE(on.line == first);
        EXPECT_EQ(on.reader->position(), length + 2);
        EXPECT_EQ(on.All(), "[bc]cut");
        on.reader->Seek(length - 1);
        EXPECT_EQ(on.All(), "[a][bc]cut");
    }
}

TEST(LineReaderTest, OfALongLineTheBeginningIsKept) {
    EXPECT_EQ(Reading("abcdef\r\nwxyz\r\nno\r\n", 4).All(), "[abcd][wxyz][no]no");
    Reading on("previous\r\nabcdef", 4);
    EXPECT_EQ(on.All(), "[prev]abcd");
    EXPECT_EQ(on.reader->cutLineBytes(), 4U);
}

/// A line of 10 MB that is nowhere, and a short one. Remembers how much was asked for at once.
class HugeLine final : public File {
  public:
    std::int64_t ReadAt(std::uint64_t offset, std::span<char> buffer) override {
        constexpr std::uint64_t kHuge = 10 * 1024 * 1024;
        constexpr std::string_view kRest = "\r\nb\r\n";
        mostAsked = std::max(mostAsked, buffer.size());
        std::size_t count = 0;
        for (; count < buffer.size() && offset < kHuge + kRest.size(); ++count, ++offset)
            buffer[count] = offset < kHuge ? 'a' : kRest[offset - kHuge];
        return static_cast<std::int64_t>(count);
    }
    int WriteAt(std::uint64_t, std::string_view) override { return -EBADF; }
    std::int64_t Size() override { return -EBADF; }
    int Truncate(std::uint64_t) override { return -EBADF; }
    int Sync() override { return -EBADF; }
    int Identify(FileIdentity&) override { return -EBADF; }
    int BeginReading() override { return -EBADF; }
    int HasReaders(bool&) override { return -EBADF; }

    std::size_t mostAsked = 0;
};

TEST(LineReaderTest, AHugeLineDoesNotFillTheMemory) {
    HugeLine file;
    LineReader reader(file, 100);
    std::string line;
    ASSERT_EQ(ReadLogLine(reader, line), 0);
    EXPECT_EQ(line, std::string(100, 'a'));
    EXPECT_LE(line.capacity(), 1000U);
    EXPECT_LE(file.mostAsked, 1024U * 1024U);
    ASSERT_EQ(ReadLogLine(reader, line), 0);
    EXPECT_EQ(line, "b");
}

TEST(LineReaderTest, AReadThatFailsEndsTheReading) {
    const std::string beginning(kBlockBytes - 13, 'x');
    Reading on("previous\r\n" + beginning + "ab cd\r\nlast\r\n");
    on.disk.FailCall(2, -EIO);
    ASSERT_EQ(on.Next(), 0);
    EXPECT_EQ(on.reader->error(), 0);
    EXPECT_EQ(on.Next(), -1);
    EXPECT_EQ(on.reader->error(), -EIO);
    EXPECT_TRUE(on.line == beginning + "ab ");
    EXPECT_EQ(on.Next(), -1) << "would go on in the middle of a line";
    EXPECT_EQ(on.reader->error(), -EIO);
}

/// The raw lines up to the end, each in brackets, and what the buffer then holds.
std::string AllRaw(Reading& reading) {
    std::string all;
    while (ReadRawLine(*reading.reader, reading.line) == 0)
        all += '[' + reading.line + ']';
    return all + (reading.line.size() > 99 ? "" : reading.line);
}

TEST(LineReaderTest, ARawLineEndsBehindItsLf) {
    const std::pair<std::string_view, std::string_view> kFiles[] = {{"", ""},
                                                                    {"a\r\n\r\nb\n", "[a\r\n][\r\n][b\n]b\n"},
                                                                    {"a\rb\r\n\n", "[a\rb\r\n][\n]\n"},
                                                                    {"a\r\nb\r", "[a\r\n][b\r]b\r"},
                                                                    {"\r", "[\r]\r"}};
    for (const auto& [bytes, lines] : kFiles) {
        Reading reading(bytes);
        EXPECT_EQ(AllRaw(reading), lines) << testing::PrintToString(bytes);
    }
    Reading both("raw\r\nlog\r\nraw\ncut");
    ASSERT_EQ(ReadRawLine(*both.reader, both.line), 0);
    ASSERT_EQ(both.Next(), 0);
    EXPECT_EQ(both.line, "log");
    EXPECT_EQ(AllRaw(both), "[raw\n][cut]cut");

    Reading tooLong("12345\r\n1234\n123\n", 4);
    EXPECT_EQ(AllRaw(tooLong), "[1234][1234][123\n]123\n");
    const std::string first = std::string(kBlockBytes - 1, 'x') + "\r\n";
    Reading atBlockEnd(first + "y\n");
    EXPECT_TRUE(AllRaw(atBlockEnd) == '[' + first + "][y\n]y\n");

    Reading failing("a\n" + std::string(kBlockBytes, 'x'));
    failing.disk.FailCall(2, -EIO);
    EXPECT_EQ(AllRaw(failing), "[a\n]a\n") << "half a line is none";
    EXPECT_EQ(failing.reader->error(), -EIO);
}

}  // namespace
}  // namespace postkite::core
