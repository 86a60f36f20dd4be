#include "store/conversion.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "core/shift_jis.h"
#include "core/time_stamp.h"
#include "tests/store/older_folder.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::store {
namespace {

using namespace core::literals;
using support::MemoryFileSystem;

class ConversionTest : public ::testing::Test {
  protected:
    ConversionTest() { Reset({}); }

    /// An empty disk but for the folder.
    void Reset(const OlderFolder& folder) {
        disk.Restart();
        for (const std::string& name : disk.Names("/w/bank"))
            EXPECT_EQ(disk.Remove("/w/bank/" + name), 0);
        disk.PutDirectory("/w/bank");
        disk.PutDirectory("/state");
        ui.messages.clear();
        ui.questions.clear();
        ui.answers.clear();
        if (folder.index.empty()) return;
        disk.Put("/w/bank/Inbox.loc", folder.index);
        disk.Put("/w/bank/Inbox.mtx", folder.text);
    }

    int Convert(bool answer = true) {
        ui.answers = {answer};
        return ConvertFolder(mailbox, "Inbox");
    }

    std::string Get(const std::string& name) { return disk.Get("/w/bank/" + name).value_or("(none)"); }

    /// The subjects of a folder of the current layout, each mail read whole.
    std::string Subjects(const std::string& folder) {
        FolderReader reader;
        std::string subjects;
        if (reader.Open(mailbox.FilesOf(folder)) < 0) return "(none)";
        for (int number = 0; number < reader.CountMails(); ++number) {
            MailRecord record;
            const bool whole =
                reader.ReadMail(number, MAIL_BODY_MAX, record) == FolderReader::Condition::Whole;
            subjects += record.subject + (whole ? " " : "? ");
        }
        return subjects;
    }

    /// That the folder is the old one, or converted with the old files beside.
    void ExpectOldOrConverted(const OlderFolder& old, const std::string& context) {
        EXPECT_EQ(FinishInterruptedChanges(mailbox.FilesOf("Inbox")), 0) << context;
        FolderLayout layout{};
        EXPECT_EQ(DetectLayout(mailbox.FilesOf("Inbox"), layout), 0) << context;
        if (layout == old.layout) {
            EXPECT_EQ(Get("Inbox.loc"), old.index) << context;
            EXPECT_EQ(Get("Inbox.mtx"), old.text) << context;
        } else {
            ExpectConverted(old, context);
        }
    }

    void ExpectConverted(const OlderFolder& old, const std::string& context) {
        EXPECT_EQ(Subjects("Inbox"), "subject0 subject2 ") << context;
        bool textKept = false;
        bool indexKept = false;
        for (const std::string& name : disk.Names("/w/bank")) {
            textKept = textKept || (name.starts_with("Inbox.mtx.v2") && Get(name) == old.text);
            indexKept = indexKept || (name.starts_with("Inbox.loc.v2") && Get(name) == old.index);
        }
        EXPECT_TRUE(textKept && indexKept) << context;
    }

    MemoryFileSystem disk;
    core::Workspace workspace{disk, "/w"};
    core::Workspace programState{disk, "/state"};
    support::RecordingUserInterface ui;
    support::FixedClock clock;
    core::IdentifierMaker identifiers{clock};
    Mailbox mailbox = MakeMailbox();

  private:
    Mailbox MakeMailbox() {
        Mailbox made(workspace, programState, ui, clock, identifiers);
        made.SetBankDirectory("bank");
        return made;
    }
};

OlderFolder ThreeMailsOneDeleted() {
    OlderFolder folder = MakeOlderFolder(FolderLayout::V2, 3);
    folder.Delete(1);
    return folder;
}

TEST_F(ConversionTest, BothLayoutsKeepEveryField) {
    for (const FolderLayout layout : {FolderLayout::V1, FolderLayout::V2}) {
        const OlderFolder old = MakeOlderFolder(layout, 2);
        Reset(old);
        // Mails that are only listed on the host go elsewhere; these are not of that kind.
        mailbox.SetServerListMode(true);
        ASSERT_EQ(Convert(), 0);
        mailbox.SetServerListMode(false);
        const std::string version = layout == FolderLayout::V1 ? "v1" : "v2";
        EXPECT_EQ(disk.Names("/w/bank"), (std::vector<std::string>{"Inbox.loc", "Inbox.loc." + version,
                                                                   "Inbox.mtx", "Inbox.mtx." + version}));
        EXPECT_EQ(Get("Inbox.loc." + version), old.index);
        EXPECT_EQ(Get("Inbox.mtx." + version), old.text);
        MailRecord before;
        MailRecord after;
        disk.Put("/w/Old.loc", old.index);
        disk.Put("/w/Old.mtx", old.text);
        const FolderFiles oldFiles = FilesOf(workspace, "", "Old");
        ASSERT_EQ(
            layout == FolderLayout::V1 ? ReadMailV1(oldFiles, 1, before) : ReadMailV2(oldFiles, 1, before),
            0);
        ASSERT_EQ(mailbox.ReadMail("Inbox", 1, after, 0), 0);
        before.date.resize(50, ' ');
        for (const auto member :
             {&MailRecord::flags, &MailRecord::address, &MailRecord::name, &MailRecord::date,
              &MailRecord::subject, &MailRecord::body, &MailRecord::attach, &MailRecord::cc, &MailRecord::bcc,
              &MailRecord::extraAddress, &MailRecord::sizeText, &MailRecord::sourceId, &MailRecord::messageId,
              &MailRecord::spare1}) {
            EXPECT_EQ(after.*member, before.*member);
        }
        ui.questions.clear();
        EXPECT_EQ(ConvertFolder(mailbox, "Inbox"), 0);
        EXPECT_TRUE(ui.questions.empty()) << "it is a current one now";
    }
}

TEST_F(ConversionTest, SaysWhatItAsksAndWhatItDid) {
    Reset(ThreeMailsOneDeleted());
    EXPECT_EQ(Convert(false), -1);
    EXPECT_EQ(Get("Inbox.loc"), ThreeMailsOneDeleted().index);
    EXPECT_EQ(disk.Names("/w/bank").size(), 2U);
    EXPECT_TRUE(ui.messages.empty());
    EXPECT_EQ(Convert(), 0);
    ASSERT_EQ(ui.questions.size(), 2U);
    EXPECT_EQ(ui.questions[1].caption, "Postkite");
    EXPECT_EQ(
        ui.questions[1].text,
        "このメールボックスファイルはV2.xxタイプのフォーマットです。\r\n現在のフォーマットに変換しますか？（元のファイルは別の名前で残します。）"_sjis);
    EXPECT_EQ(ui.messages,
              (std::vector<support::ShownMessage>{
                  {"Postkite",
                   std::string("フォルダ Inbox を変換しました。元のファイルは bank\\Inbox.loc.v2 と "
                               "bank\\Inbox.mtx.v2 として残しました。"_sjis),
                   core::MessageIcon::Information}}));
    Reset(MakeOlderFolder(FolderLayout::V1, 1));
    EXPECT_EQ(Convert(false), -1);
    EXPECT_TRUE(
        ui.questions[0].text.starts_with("このメールボックスファイルはV1.xxタイプのフォーマットです。"_sjis));
    EXPECT_EQ(ConvertFolder(mailbox, "Nowhere"), 0);
    EXPECT_EQ(ConvertFolder(mailbox, "..\\x"), -1);
}

TEST_F(ConversionTest, DamagedMailsAreCountedAndTheOthersConverted) {
    OlderFolder folder = MakeOlderFolder(FolderLayout::V2, 1);
    folder.AddRecord("999999");
    folder.AddMail(2);
    folder.AddRecord(std::to_string(folder.text.size()));
    folder.text += std::string(60, 'f');  // flags that no mail has
    for (int line = 0; line < 16; ++line)
        folder.text += "\r\n";
    folder.text += "\x01\x01\r\n";
    folder.AddMail(4);
    folder.text.resize(folder.text.size() - 4);  // its body's end is lost
    Reset(folder);
    ui.spoken = core::Language::English;
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(Subjects("Inbox"), "subject0 subject2 subject4 ");
    ASSERT_EQ(ui.messages.size(), 1U);
    EXPECT_EQ(ui.messages[0].text,
              "The folder Inbox is converted. The old files are kept as bank\\Inbox.loc.v2 and "
              "bank\\Inbox.mtx.v2.\r\n3 damaged mails could not be converted completely.");
    EXPECT_EQ(ui.messages[0].icon, core::MessageIcon::Warning);

    Reset(ThreeMailsOneDeleted());
    EXPECT_EQ(disk.Remove("/w/bank/Inbox.mtx"), 0);
    EXPECT_EQ(Convert(), -1) << "nothing is left to convert";
    EXPECT_EQ(disk.Names("/w/bank"), (std::vector<std::string>{"Inbox.loc"}));
    ASSERT_EQ(ui.messages.size(), 1U);
    EXPECT_EQ(ui.messages[0].text, "2 damaged mails could not be converted completely.");
}

TEST_F(ConversionTest, NothingThatHasTheNamesAlreadyIsLost) {
    Reset(ThreeMailsOneDeleted());
    MailRecord record;
    record.subject = "mine";
    ASSERT_EQ(mailbox.AppendMail("ConvertTemp", record, -1), 0);
    const std::string mine = Get("ConvertTemp.loc");
    disk.Put("/w/bank/Inbox.mtx.v2", "kept before");
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(Subjects("Inbox"), "subject0 subject2 ");
    EXPECT_EQ(Get("ConvertTemp.loc.bak"), mine);
    EXPECT_EQ(Get("Inbox.mtx.v2"), "kept before");
    EXPECT_EQ(Get("Inbox.mtx.v2-2"), ThreeMailsOneDeleted().text);
    EXPECT_EQ(Get("Inbox.loc.v2-2"), ThreeMailsOneDeleted().index);
    EXPECT_EQ(ui.messages.size(), 2U);

    Reset({});
    disk.Put("/w/bank/INBOX.LOC", ThreeMailsOneDeleted().index);
    disk.Put("/w/bank/INBOX.MTX", ThreeMailsOneDeleted().text);
    EXPECT_EQ(Convert(), 0);
    ExpectConverted(ThreeMailsOneDeleted(), "names in capitals");

    disk.Put("/w/bank/ConvertTemp.loc", ThreeMailsOneDeleted().index);
    EXPECT_EQ(ConvertFolder(mailbox, "converttemp"), -1) << "the working folder itself";
    EXPECT_EQ(Get("ConvertTemp.loc"), ThreeMailsOneDeleted().index);
}

TEST_F(ConversionTest, EveryFailedCallLeavesTheOldFolderOrTheConvertedOne) {
    const OlderFolder old = ThreeMailsOneDeleted();
    for (const int error : {-ENOSPC, -EIO}) {
        bool struck = true;
        for (int call = 1; struck; ++call) {
            Reset(old);
            const std::string context = "call " + std::to_string(call);
            disk.FailCall(call, error);
            const int result = Convert();
            struck = disk.struck();
            disk.Restart();
            EXPECT_FALSE(ui.messages.empty()) << context;
            if (result == 0) ExpectConverted(old, context);
            ExpectOldOrConverted(old, context);
            EXPECT_EQ(Convert(), 0) << context;
            ExpectConverted(old, context);
            EXPECT_EQ(Get("ConvertTemp.loc"), "(none)") << context;
        }
    }
    bool struck = true;
    for (int write = 1; struck; ++write) {
        Reset(old);
        disk.ShortWrite(write, 10);
        const int result = Convert();
        struck = disk.struck();
        if (!struck) break;
        EXPECT_EQ(result, -1) << write;
        EXPECT_EQ(Get("Inbox.loc"), old.index) << "full disk at write " << write;
        EXPECT_EQ(Get("Inbox.mtx"), old.text) << "full disk at write " << write;
        EXPECT_EQ(disk.Names("/w/bank").size(), 2U) << "the room is given back at write " << write;
        EXPECT_EQ(ui.messages.size(), 1U) << write;
    }
}

TEST_F(ConversionTest, EveryStopLeavesTheOldFolderOrTheConvertedOne) {
    const OlderFolder old = ThreeMailsOneDeleted();
    const std::function<void()> ends[] = {
        [this] { disk.Restart(); },
        [this] { disk.PowerCut(); },
        [this] { disk.PowerCut(MemoryFileSystem::NamesKept::Written); },
    };
    for (const auto& end : ends) {
        bool struck = true;
        for (int call = 1; struck; ++call) {
            Reset(old);
            const std::string context = "call " + std::to_string(call);
            disk.StopAtCall(call);
            const int result = Convert();
            struck = disk.struck();
            end();
            if (result == 0) ExpectConverted(old, context);
            ExpectOldOrConverted(old, context);
            EXPECT_EQ(Convert(), 0) << context;
            ExpectConverted(old, context);
        }
    }
}

}  // namespace
}  // namespace postkite::store
