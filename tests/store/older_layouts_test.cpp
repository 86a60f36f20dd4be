#include "store/older_layouts.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "core/shift_jis.h"
#include "store/index_record.h"
#include "tests/store/older_folder.h"
#include "tests/support/memory_file_system.h"

namespace postkite::store {
namespace {

using namespace core::literals;

using Condition = OlderFolderReader::Condition;

class OlderLayoutsTest : public ::testing::Test {
  protected:
    OlderLayoutsTest() { disk.PutDirectory("/w"); }

    void Put(const OlderFolder& folder) {
        disk.Put("/w/Inbox.loc", folder.index);
        disk.Put("/w/Inbox.mtx", folder.text);
    }
    FolderLayout Detect(std::string_view index) {
        disk.Put("/w/Inbox.loc", index);
        FolderLayout layout{};
        EXPECT_EQ(DetectLayout(files, layout), 0);
        return layout;
    }
    Condition Read(FolderLayout layout, int number, MailRecord& record) {
        OlderFolderReader reader;
        Condition condition{};
        EXPECT_EQ(reader.Open(files, layout), 0);
        EXPECT_EQ(reader.ReadMail(number, record, condition), 0);
        return condition;
    }
    /// The index of a current folder with mails that have next to nothing in their fields, or the fullest
    /// ones.
    std::string CurrentIndex(int mails, bool full) {
        std::string index;
        for (int number = 0; number < mails; ++number) {
            MailRecord record;
            record.flags = kReceivedMailFlags;
            record.localId = "970124080509-1000-" + std::to_string(number);
            if (full) {
                record.address = record.name = record.subject = record.attach = std::string(50, '7');
                record.date = "97/01/24 08:05 97/01/25 09:00";
                record.messageId = record.spare1 = std::string(100, '7');
            }
            index += FormatIndexRecord(static_cast<std::uint64_t>(number) * 1000, record);
        }
        return index;
    }

    support::MemoryFileSystem disk;
    core::Workspace workspace{disk, "/w"};
    FolderFiles files = FilesOf(workspace, "", "Inbox");
};

TEST_F(OlderLayoutsTest, NoCurrentFolderIsTakenForAnOlderOne) {
    for (const bool full : {false, true}) {
        const std::string three = CurrentIndex(3, full);
        for (std::size_t length = 0; length <= three.size(); ++length)
            EXPECT_EQ(Detect(three.substr(0, length)), FolderLayout::Current) << length;
        for (int mails = 1; mails < 100; mails += 7) {
            std::string index = CurrentIndex(mails, full);
            // A line end within a field, a lost line end, a lost mark, a lost beginning, a deleted record.
            for (const auto& [offset, bytes] : {std::pair<std::size_t, std::string>(300, "\r\n"),
                                                {898, "  "},
                                                {20, "20"},
                                                {0, std::string(30, '\0')},
                                                {0, std::string(700, '\0')},
                                                {0, std::string(kDeletedBlankBytes, ' ')}}) {
                std::string damaged = index;
                damaged.replace(offset, bytes.size(), bytes);
                EXPECT_EQ(Detect(damaged), FolderLayout::Current) << mails << " mails, at " << offset;
            }
            for (std::size_t at = 0; at < index.size(); at += kIndexRecordBytes)
                index.replace(at, kDeletedBlankBytes, kDeletedBlankBytes, ' ');
            EXPECT_EQ(Detect(index), FolderLayout::Current) << "all of " << mails << " deleted";
        }
    }
    for (const std::size_t size : {700U, 1400U, 136U, 1360U}) {
        EXPECT_EQ(Detect(std::string(size, '\0')), FolderLayout::Current);
        EXPECT_EQ(Detect(std::string(size, ' ')), FolderLayout::Current);
    }
    std::string damaged = "0                   30\r\n";
    damaged.resize(kIndexRecordBytes, ' ');
    damaged.replace(700 + 22, 2, "\r\n");
    EXPECT_EQ(Detect(damaged), FolderLayout::Current) << "the only mail, like one of V2 and a deleted one";
    damaged.replace(20, 2, "20");
    EXPECT_EQ(Detect(damaged), FolderLayout::V2);
    FolderLayout layout{};
    EXPECT_EQ(DetectLayout(FilesOf(workspace, "", "Nowhere"), layout), 0);
    EXPECT_EQ(layout, FolderLayout::Current);
    for (int call = 1; call <= 3; ++call) {
        disk.FailCall(call, -EIO);
        EXPECT_EQ(DetectLayout(files, layout), -EIO) << call;
    }
}

/// A terabyte of holes behind, or between, the bytes that there are.
class HollowFile final : public core::File {
  public:
    explicit HollowFile(std::string start, std::uint64_t every) : start_(std::move(start)), every_(every) {}
    std::int64_t ReadAt(std::uint64_t offset, std::span<char> buffer) override {
        bytesRead += buffer.size();
        for (char& byte : buffer) {
            const std::uint64_t at = every_ == 0 ? offset : offset % every_;
            byte = at < start_.size() ? start_[at] : '\0';
            ++offset;
        }
        return static_cast<std::int64_t>(buffer.size());
    }
    int WriteAt(std::uint64_t, std::string_view) override { return -EBADF; }
    std::int64_t Size() override { return std::int64_t{1} << 40; }
    int Truncate(std::uint64_t) override { return -EBADF; }
    int Sync() override { return -EBADF; }
    int Identify(core::FileIdentity&) override { return -EBADF; }
    int BeginReading() override { return -EBADF; }
    int HasReaders(bool&) override { return -EBADF; }

    std::size_t bytesRead = 0;

  private:
    std::string start_;
    std::uint64_t every_;
};

TEST_F(OlderLayoutsTest, ASizeThatTheContentDeniesIsRefusedAtOnce) {
    const OlderFolder v2 = MakeOlderFolder(FolderLayout::V2, 3);
    const std::string current = CurrentIndex(3, true);
    const struct {
        std::string start;
        std::uint64_t every;
        int result;
    } cases[] = {{"", 0, -EUCLEAN},
                 {current, 0, -EUCLEAN},
                 {current, current.size(), 0},
                 {current, current.size() * 2, 0},  // every second one is damaged
                 {v2.index, 0, -EUCLEAN}};
    for (const auto& [start, every, result] : cases) {
        HollowFile file(start, every);
        FolderLayout layout{};
        EXPECT_EQ(DetectLayout(file, layout), result) << start.size() << " bytes every " << every;
        EXPECT_LT(file.bytesRead, 100000U);
    }
}

TEST_F(OlderLayoutsTest, OlderFoldersAreKnownByTheirRecords) {
    for (const FolderLayout layout : {FolderLayout::V1, FolderLayout::V2}) {
        for (int mails = 1; mails < 200; mails += mails < 12 ? 1 : 20) {
            OlderFolder folder = MakeOlderFolder(layout, mails);
            EXPECT_EQ(Detect(folder.index), layout) << mails;
            EXPECT_EQ(Detect(folder.index + folder.index.substr(0, 100)), layout)
                << mails << " and a torn one";
            if (mails < 2) continue;
            folder.Delete(0);
            EXPECT_EQ(Detect(folder.index), layout) << mails << ", the first deleted";
            if (mails < 4) continue;
            folder.index.replace(folder.recordBytes() * 2, 4, "????");
            EXPECT_EQ(Detect(folder.index), layout) << mails << ", one of them damaged";
        }
        // Padding that says nothing but the offset, in its shortest form.
        std::string bare;
        for (const char* offset : {"0\r\n", "512\r\n", "70000\r\n"})
            bare += offset +
                    std::string(MakeOlderFolder(layout, 1).recordBytes() - std::string(offset).size(), ' ');
        EXPECT_EQ(Detect(bare), layout);
    }
    // So short, an index with other line ends than today's is known as one by its layout mark alone.
    const std::string line = std::string(50, ' ') + "\r\n";
    EXPECT_EQ(Detect("0                   10\r\n" + line + line + "        "), FolderLayout::V1);
    EXPECT_EQ(Detect("0                   30\r\n" + line + line + "        "), FolderLayout::Current);
}

/// Every field but the flags, the date and the body.
std::string Joined(const MailRecord& mail) {
    return mail.localId + "|" + mail.address + "|" + mail.name + "|" + mail.subject + "|" + mail.attach +
           "|" + mail.cc + "|" + mail.bcc + "|" + mail.extraAddress + "|" + mail.sizeText + "|" +
           mail.sourceId + "|" + mail.messageId + "|" + mail.spare1 + "|" + mail.spare5;
}

TEST_F(OlderLayoutsTest, ReadsEveryFieldOfV2) {
    Put(MakeOlderFolder(FolderLayout::V2, 2));
    MailRecord record;
    record.spare5 = "of another mail";
    ASSERT_EQ(ReadMailV2(files, 1, record), 0);
    EXPECT_EQ(record.flags, "RoSRr ---- OP Y") << "a Y at position 14 means nothing here";
    EXPECT_EQ(Joined(record),
              "id1|address1|name1|subject1|attach1|cc1|bcc1|extra1|size1|source1|<message1>|spare1|");
    EXPECT_EQ(record.date, "97/01/24 08:05 97/01/25 09:00");
    EXPECT_EQ(record.body, "line 1\r\nend\r\n");
    EXPECT_EQ(ReadMailV2(files, 2, record), -1);
    EXPECT_EQ(ReadMailV2(files, -1, record), -1);
}

TEST_F(OlderLayoutsTest, ReadsEveryFieldOfV1) {
    OlderFolder folder = MakeOlderFolder(FolderLayout::V1, 1);
    const std::string header = "R\r\na\r\nn\r\nd\r\ns\r\nt\r\nc\r\nb\r\ni\r\ne\r\n";
    folder.AddRecord(std::to_string(folder.text.size()));
    folder.text += header + "xxxD\r\nxxxC\r\n/E \r\nx/E\r\n\r\n/E\r\n";
    folder.AddRecord(std::to_string(folder.text.size()));
    folder.text += header + "xxxC\r\n" + std::string(49, 's') + std::string("能"_sjis) + "\r\n/E\r\n";
    Put(folder);
    MailRecord record;
    ASSERT_EQ(ReadMailV1(files, 0, record), 0);
    EXPECT_EQ(record.flags, "Rosrr ---- OP Y");
    EXPECT_EQ(Joined(record), "id0|address0|name0|subject0|attach0|cc0|bcc0|extra0|size0||||");
    EXPECT_EQ(record.date, "97/01/24 08:05");
    EXPECT_EQ(record.body, "line 0\r\nend\r\n");
    ASSERT_EQ(ReadMailV1(files, 1, record), 0);
    EXPECT_EQ(record.sizeText, "");
    EXPECT_EQ(record.body, "xxxC\r\n/E \r\nx/E\r\n\r\n");
    ASSERT_EQ(ReadMailV1(files, 2, record), 0);
    EXPECT_EQ(record.sizeText, std::string(49, 's'));
    EXPECT_EQ(record.body, "") << "the end follows the header at once";
}

TEST_F(OlderLayoutsTest, DamageStaysWithItsMail) {
    for (const FolderLayout layout : {FolderLayout::V1, FolderLayout::V2}) {
        const OlderFolder whole = MakeOlderFolder(layout, 2);
        const std::size_t second = MakeOlderFolder(layout, 1).text.size();
        const std::size_t bodyAt = whole.text.find("line 1");
        for (std::size_t length = second; length <= whole.text.size(); ++length) {
            disk.Put("/w/Inbox.loc", whole.index);
            disk.Put("/w/Inbox.mtx", whole.text.substr(0, length));
            MailRecord record;
            EXPECT_EQ(Read(layout, 0, record), Condition::Whole);
            EXPECT_EQ(record.body, "line 0\r\nend\r\n");
            const Condition expected = length == whole.text.size() ? Condition::Whole
                                       : length + 1 < bodyAt       ? Condition::Damaged
                                                                   : Condition::Cut;
            EXPECT_EQ(Read(layout, 1, record), expected) << length;
            if (expected == Condition::Cut && length > bodyAt) {
                EXPECT_EQ(record.body, whole.text.substr(bodyAt, length - bodyAt));
            }
        }
        for (const char* offset : {"1000000", "18446744073709551615", "99999999999999999999", "12x"}) {
            OlderFolder damaged = whole;
            damaged.AddRecord(offset);
            damaged.AddMail(3);
            damaged.Delete(1);
            Put(damaged);
            MailRecord record;
            EXPECT_EQ(Read(layout, 1, record), Condition::Deleted);
            EXPECT_EQ(Read(layout, 2, record), Condition::Damaged) << offset;
            EXPECT_EQ(Read(layout, 3, record), Condition::Whole);
            EXPECT_EQ(Read(layout, 4, record), Condition::Damaged) << "behind the last one";
        }
        // The end of a body is found wherever it stands among the pieces that are read.
        for (std::size_t bodyBytes = 4080; bodyBytes < 4100; ++bodyBytes) {
            OlderFolder longer = whole;
            longer.text.insert(bodyAt, std::string(bodyBytes, 'x'));
            longer.AddMail(2);
            Put(longer);
            MailRecord record;
            EXPECT_EQ(Read(layout, 1, record), Condition::Whole);
            EXPECT_EQ(record.body, std::string(bodyBytes, 'x') + "line 1\r\nend\r\n");
        }
        OlderFolder endless = whole;
        const std::size_t endAt = endless.text.rfind(layout == FolderLayout::V1 ? "/E" : "\x01\x01");
        endless.text.insert(endAt, std::string(MAIL_BODY_MAX, 'x'));
        Put(endless);
        MailRecord record;
        EXPECT_EQ(Read(layout, 1, record), Condition::Cut);
        EXPECT_EQ(record.body.size(), MAIL_BODY_MAX - 1000);
        EXPECT_EQ(workspace.Remove("Inbox.mtx"), 0);
        EXPECT_EQ(Read(layout, 0, record), Condition::Damaged);
    }
}

}  // namespace
}  // namespace postkite::store
