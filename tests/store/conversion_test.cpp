#include "store/conversion.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "core/shift_jis.h"
#include "tests/store/mailbox_program.h"
#include "tests/store/older_folder.h"

namespace postkite::store {
namespace {

using namespace core::literals;

const Mails kConverted = {"subject0: line 0\r\nend\r\n", "subject2: line 2\r\nend\r\n"};

OlderFolder ThreeMailsOneDeleted() {
    OlderFolder folder = MakeOlderFolder(FolderLayout::V2, 3);
    folder.Delete(1);
    return folder;
}

struct ConversionTest : InboxTest {
    support::RecordingUserInterface& ui = program.ui;

    /// An empty disk but for the folder.
    void Reset(const OlderFolder& folder, const std::string& baseName = "Inbox") {
        disk.Restart();
        for (const std::string& name : disk.Names(kBankPath))
            EXPECT_EQ(disk.Remove("/mail/Bank/" + name), 0);
        EXPECT_EQ(disk.SyncDirectory(kBankPath), 0);
        ui.messages.clear();
        ui.questions.clear();
        disk.Put("/mail/Bank/" + baseName + ".loc", folder.index);
        disk.Put("/mail/Bank/" + baseName + ".mtx", folder.text);
    }

    int Convert(bool answer = true) {
        ui.answers = {answer};
        return ConvertFolder(mailbox, "Inbox");
    }

    std::string Get(const std::string& name) { return disk.Get("/mail/Bank/" + name).value_or("(none)"); }

    /// That the folder is converted with the old files beside, or else the old one.
    void ExpectConverted(const OlderFolder& old, bool orOld = false) {
        EXPECT_EQ(FinishInterruptedChanges(mailbox.FilesOf("Inbox")), 0);
        FolderLayout layout{};
        EXPECT_EQ(DetectLayout(mailbox.FilesOf("Inbox"), layout), 0);
        if (orOld && layout == old.layout) {
            EXPECT_EQ(Index(), old.index);
            EXPECT_EQ(Text(), old.text);
            return;
        }
        EXPECT_EQ(program.Mails(), kConverted);
        bool textKept = false;
        bool indexKept = false;
        for (const std::string& name : disk.Names(kBankPath)) {
            textKept = textKept || (name.starts_with("Inbox.mtx.v2") && Get(name) == old.text);
            indexKept = indexKept || (name.starts_with("Inbox.loc.v2") && Get(name) == old.index);
        }
        EXPECT_TRUE(textKept && indexKept);
    }
};

TEST_F(ConversionTest, BothLayoutsKeepEveryField) {
    for (const FolderLayout layout : {FolderLayout::V1, FolderLayout::V2}) {
        const OlderFolder old = MakeOlderFolder(layout, 2);
        Reset(old);
        // Mails that are only listed on the host go elsewhere; these are not of that kind.
        mailbox.SetServerListMode(true);
        ASSERT_EQ(Convert(), 0);
        mailbox.SetServerListMode(false);
        const std::string version = layout == FolderLayout::V1 ? "v1" : "v2";
        EXPECT_EQ(disk.Names(kBankPath),
                  (Names{"Inbox.loc", "Inbox.loc." + version, "Inbox.mtx", "Inbox.mtx." + version}));
        EXPECT_EQ(Get("Inbox.loc." + version), old.index);
        EXPECT_EQ(Get("Inbox.mtx." + version), old.text);
        MailRecord before;
        MailRecord after;
        disk.Put("/mail/Bank/Old.loc", old.index);
        disk.Put("/mail/Bank/Old.mtx", old.text);
        const FolderFiles oldFiles = mailbox.FilesOf("Old");
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
    EXPECT_EQ(disk.Names(kBankPath).size(), 2U);
    EXPECT_TRUE(ui.messages.empty());
    EXPECT_EQ(Convert(), 0);
    ASSERT_EQ(ui.questions.size(), 2U);
    EXPECT_EQ(ui.questions[1].caption, "Postkite");
    EXPECT_EQ(
        ui.questions[1].text,
        "このメールボックスファイルはV2.xxタイプのフォーマットです。\r\n現在のフォーマットに変換しますか？（元のファイルは別の名前で残します。）"_sjis);
    EXPECT_EQ(ui.messages,
              (std::vector<ShownMessage>{
                  {"Postkite",
                   std::string("フォルダ Inbox を変換しました。元のファイルは Bank\\Inbox.loc.v2 と "
                               "Bank\\Inbox.mtx.v2 として残しました。"_sjis),
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
    folder.AddMail(3);  // with its header longer than a mail of today may be
    folder.text.insert(folder.text.find("cc3"), 2000, 'c');
    folder.text.insert(folder.text.find("line 3"), MAIL_BODY_MAX, 'x');
    folder.AddMail(4);
    folder.text.resize(folder.text.size() - 4);  // its body's end is lost
    Reset(folder);
    ui.spoken = core::Language::English;
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(program.Subjects("Inbox"), (Names{"subject0", "subject2", "subject4"}));
    ASSERT_EQ(ui.messages.size(), 1U);
    EXPECT_EQ(ui.messages[0].text,
              "The folder Inbox is converted. The old files are kept as Bank\\Inbox.loc.v2 and "
              "Bank\\Inbox.mtx.v2.\r\n4 damaged mails could not be converted completely.");
    EXPECT_EQ(ui.messages[0].icon, core::MessageIcon::Warning);

    Reset(ThreeMailsOneDeleted());
    EXPECT_EQ(disk.Remove("/mail/Bank/Inbox.mtx"), 0);
    EXPECT_EQ(Convert(), -1) << "nothing is left to convert";
    EXPECT_EQ(disk.Names(kBankPath), Names{"Inbox.loc"});
    ASSERT_EQ(ui.messages.size(), 1U);
    EXPECT_EQ(ui.messages[0].text, "2 damaged mails could not be converted completely.");
}

TEST_F(ConversionTest, NothingThatHasTheNamesAlreadyIsLost) {
    const OlderFolder old = ThreeMailsOneDeleted();
    Reset(old);
    ASSERT_EQ(program.AddTo("ConvertTemp", "mine"), 0);
    const std::string mine = Get("ConvertTemp.loc");
    disk.Put("/mail/Bank/Inbox.mtx.v2", "kept before");
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(program.Mails(), kConverted);
    EXPECT_EQ(Get("ConvertTemp.loc.bak"), mine);
    EXPECT_EQ(Get("Inbox.mtx.v2"), "kept before");
    EXPECT_EQ(Get("Inbox.mtx.v2-2"), old.text);
    EXPECT_EQ(Get("Inbox.loc.v2-2"), old.index);
    EXPECT_EQ(ui.messages.size(), 2U);

    Reset(old, "INBOX");
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(program.Mails(), kConverted);
    EXPECT_EQ(Get("INBOX.mtx.v2"), old.text) << "spelled like the folder's files";
    EXPECT_EQ(Get("INBOX.loc.v2"), old.index);

    disk.Put("/mail/Bank/ConvertTemp.loc", old.index);
    EXPECT_EQ(ConvertFolder(mailbox, "converttemp"), -1) << "the working folder itself";
    EXPECT_EQ(Get("ConvertTemp.loc"), old.index);
}

TEST_F(ConversionTest, EveryFaultLeavesTheOldFolderOrTheConvertedOne) {
    const OlderFolder old = ThreeMailsOneDeleted();
    const struct {
        std::function<void(int)> arrange;
        std::function<void()> end;
    } faults[] = {
        {[this](int call) { disk.FailCall(call, -ENOSPC); }, [this] { disk.Restart(); }},
        {[this](int call) { disk.FailCall(call, -EIO); }, [this] { disk.Restart(); }},
        {[this](int call) { disk.StopAtCall(call); }, [this] { disk.Restart(); }},
        {[this](int call) { disk.StopAtCall(call); }, [this] { disk.PowerCut(); }},
        {[this](int call) { disk.StopAtCall(call); },
         [this] { disk.PowerCut(MemoryFileSystem::NamesKept::Written); }},
    };
    for (const auto& fault : faults) {
        bool struck = true;
        for (int call = 1; struck; ++call) {
            SCOPED_TRACE("fault " + std::to_string(&fault - faults) + " at call " + std::to_string(call));
            Reset(old);
            fault.arrange(call);
            const int result = Convert();
            struck = disk.struck();
            fault.end();
            EXPECT_FALSE(ui.messages.empty());
            ExpectConverted(old, result != 0);
            EXPECT_EQ(Convert(), 0);
            ExpectConverted(old);
            EXPECT_EQ(Get("ConvertTemp.loc"), "(none)");
        }
    }
    for (int write = 1;; ++write) {
        SCOPED_TRACE("full disk at write " + std::to_string(write));
        Reset(old);
        disk.ShortWrite(write, 10);
        const int result = Convert();
        if (!disk.struck()) break;
        EXPECT_EQ(result, -1);
        EXPECT_EQ(Index() + Text(), old.index + old.text);
        EXPECT_EQ(disk.Names(kBankPath).size(), 2U) << "the room is given back";
        EXPECT_EQ(ui.messages.size(), 1U);
    }
}

}  // namespace
}  // namespace postkite::store
