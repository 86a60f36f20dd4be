#include "ui/window/main_window.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <filesystem>
#include <limits>

#include "core/shift_jis.h"
#include "organise/rule_file.h"
#include "tests/ui/desktop_test.h"
#include "ui/folders/folder_tree_view.h"
#include "ui/mails/mail_list_view.h"
#include "ui/mails/message_view.h"
#include "ui/mails/message_window.h"
#include "ui/text.h"
#include "ui/window/commands.h"
#include "ui/window/monitor_dock.h"
#include "ui/window/status_line.h"

namespace postkite::ui {
namespace {

using namespace core::literals;

/// The main window as it is after the start of the program.
class MainWindowTest : public DesktopTest {
  protected:
    void Open() {
        window_ = std::make_unique<MainWindow>(*desktop_);
        window_->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window_.get()));
        folders_ = window_->findChild<FolderTreeView*>();
        mails_ = window_->findChild<MailListView*>();
        message_ = window_->findChild<MessageView*>();
    }

    /// Ends the program as a person does, and starts it anew in the same directory.
    void Restart() {
        Settle();
        EXPECT_TRUE(window_->close());
        window_.reset();
        StartProgram();
        EXPECT_EQ(program_->OpenBank(), 0);
        Open();
    }

    /// Whatever waits is done.
    static void Settle() {
        for (int i = 0; i < 5; ++i)
            QApplication::processEvents();
    }

    void Trigger(Command command) const { window_->findChild<Commands*>()->action(command)->trigger(); }

    [[nodiscard]] QString StatusText() const {
        return window_->findChild<StatusLine*>()->findChild<QLabel*>()->text();
    }

    /// The labels of a menu's entries.
    [[nodiscard]] QStringList Labels(const QString& title) const {
        QStringList labels;
        for (const QAction* menu : window_->menuBar()->actions()) {
            if (menu->text() != title) continue;
            for (const QAction* action : menu->menu()->actions())
                labels += action->text();
        }
        return labels;
    }

    std::unique_ptr<MainWindow> window_;
    FolderTreeView* folders_ = nullptr;
    MailListView* mails_ = nullptr;
    MessageView* message_ = nullptr;
};

TEST_F(MainWindowTest, TheFirstStartShowsTheInboxAndTheEndWritesTheSettings) {
    Open();
    EXPECT_EQ(folders_->current(), "Inbox");
    EXPECT_EQ(mails_->mailCount(), 0);
    EXPECT_TRUE(window_->windowTitle().contains("Inbox"));
    EXPECT_TRUE(StatusText().contains(QStringLiteral("練習用ホスト")));
    EXPECT_TRUE(FileBytes("Setting/setting.ini").empty()) << "nothing is saved before the end";
    EXPECT_TRUE(window_->close());
    EXPECT_NE(FileBytes("Setting/setting.ini").find("MAIL WINDOW LEFT="), std::string::npos);
}

TEST_F(MainWindowTest, MailsAreReadInOrderWithTheSpaceBar) {
    AddMail("Inbox", "one"_sjis, "first text\r\n");
    AddMail("Inbox", "二"_sjis, "本文\r\n"_sjis);
    Open();
    EXPECT_EQ(Entry("Inbox", 0).flags.view()[store::flag::kRead], 'r') << "the start reads nothing";
    mails_->Choose(0);
    EXPECT_TRUE(message_->toPlainText().contains("first text"));
    EXPECT_EQ(Entry("Inbox", 0).flags.view()[store::flag::kRead], 'R');
    EXPECT_EQ(Entry("Inbox", 1).flags.view()[store::flag::kRead], 'r');
    for (int press = 0; press < 10 && mails_->current() == 0; ++press)
        QTest::keyClick(message_, Qt::Key_Space);
    EXPECT_EQ(mails_->current(), 1);
    EXPECT_TRUE(message_->toPlainText().contains(QStringLiteral("本文")));
    EXPECT_EQ(Entry("Inbox", 1).flags.view()[store::flag::kRead], 'R');
}

TEST_F(MainWindowTest, EverythingStandsWhereItWasAfterARestart) {
    ASSERT_EQ(program_->folders().NewFolder("Desktop", "Work"), 0);
    ASSERT_EQ(program_->folders().NewFolder("Work", "97"), 0);
    Open();
    window_->setGeometry(40, 30, 700, 640);
    Settle();
    auto* panes = window_->findChildren<QSplitter*>().value(0);
    ASSERT_NE(panes, nullptr);
    folders_->expandAll();
    mails_->setColumnWidth(2, 140);
    Trigger(Command::ShowMonitor);
    Trigger(Command::ShowHeader);
    Trigger(Command::ListTitleTree);
    Trigger(Command::LargerFont);
    Settle();
    const QSize size = window_->size();
    const QPoint place = window_->pos();
    const int folderWidth = folders_->width();
    const int listHeight = mails_->height();
    Restart();
    Settle();
    EXPECT_EQ(window_->size(), size);
    EXPECT_EQ(window_->pos(), place);
    EXPECT_EQ(folders_->width(), folderWidth);
    EXPECT_NEAR(mails_->height(), listHeight, size.height() / 100 + 1) << "kept in per cent";
    EXPECT_EQ(mails_->columnWidth(2), 140);
    EXPECT_FALSE(window_->findChild<MonitorDock*>()->isVisible());
    EXPECT_EQ(program_->settings().displayHeader, 0);
    EXPECT_EQ(program_->settings().titleTree, 1);
    EXPECT_EQ(program_->settings().fontSize, -17);
    folders_->Select("Work#97");
    EXPECT_EQ(folders_->current(), "Work#97");
    window_->showMaximized();
    Settle();
    Restart();
    EXPECT_TRUE(window_->isMaximized());
}

TEST_F(MainWindowTest, AWindowFromElsewhereIsBroughtOntoTheScreen) {
    program_->settings().mailWindowLeft = 90000;
    program_->settings().mailWindowTop = -90000;
    program_->settings().mailWindowWidth = 2000000000;
    Open();
    EXPECT_TRUE(window_->screen()->availableGeometry().intersects(window_->geometry()));
    EXPECT_LE(window_->width(), window_->screen()->availableGeometry().width());
    window_.reset();
    program_->settings().mailWindowLeft = std::numeric_limits<std::int32_t>::max();
    program_->settings().mailWindowTop = std::numeric_limits<std::int32_t>::min();
    program_->settings().mailWindowHeight = std::numeric_limits<std::int32_t>::max();
    Open();
    EXPECT_TRUE(window_->screen()->availableGeometry().intersects(window_->geometry()));
}

TEST_F(MainWindowTest, TheEndOfTheSystemCancelsDialogsLetsTheEngineFinishAndAsksNothing) {
    Open();
    QTimer::singleShot(0, window_.get(), [this] { window_->End(); });
    ui_.PumpMessages();
    EXPECT_TRUE(window_->isVisible()) << "the engine is in the middle of something";
    EXPECT_TRUE(FileBytes("Setting/setting.ini").empty());
    EXPECT_FALSE(ui_.AskQuestion("", "a box would wait for ever"));
    person_.Meets([this](QDialog&) { window_->End(); });
    Trigger(Command::EditSettings);
    EXPECT_TRUE(window_->isVisible()) << "the dialog's caller goes on first";
    EXPECT_TRUE(QTest::qWaitFor([this] { return !window_->isVisible(); }));
    EXPECT_FALSE(FileBytes("Setting/setting.ini").empty());
}

TEST_F(MainWindowTest, TheBandsComeBackInTheirOrderAndStayHidden) {
    program_->settings().bandOrder = "201";
    program_->settings().bandWidth = {300, 150, 180, 100};
    Open();
    Settle();
    const auto band = [this](int number) {
        return window_->findChild<QToolBar*>(QStringLiteral("band%1").arg(number));
    };
    EXPECT_LT(band(2)->x(), band(0)->x());
    EXPECT_LT(band(0)->x(), band(1)->x());
    EXPECT_GE(band(2)->width(), 180);
    Restart();
    EXPECT_EQ(program_->settings().bandOrder, "201");
    Trigger(Command::ShowToolBar);
    EXPECT_FALSE(band(0)->isVisible());
    Restart();
    EXPECT_FALSE(band(0)->isVisible());
    EXPECT_EQ(program_->settings().bandOrder, "201");
}

TEST_F(MainWindowTest, TheBandsLetTheWindowGetNarrower) {
    Open();
    EXPECT_EQ(window_->width(), 600);
    window_->resize(1200, 600);
    Settle();
    // Takes the widths of the bands over, and applies them anew.
    Trigger(Command::ShowHeader);
    window_->resize(600, 600);
    Settle();
    EXPECT_EQ(window_->width(), 600);
}

TEST_F(MainWindowTest, AMenuThatIsOpenStaysAsItIs) {
    Open();
    QMenu* rules = nullptr;
    for (const QAction* menu : window_->menuBar()->actions()) {
        if (menu->text() == QStringLiteral("振り分け(&R)")) rules = menu->menu();
    }
    ASSERT_NE(rules, nullptr);
    std::vector<organise::SortingRule> one(1);
    one[0] = {true, false, "new", "Subject:", "kite", "Trash"};
    ASSERT_EQ(organise::SaveRules(*workspace_, organise::kRuleFile, one).result, 0);
    rules->popup(window_->pos());
    const QList<QAction*> before = rules->actions();
    ui_.RedrawMainWindow();
    Settle();
    EXPECT_EQ(rules->actions(), before);
    rules->close();
    EXPECT_TRUE(QTest::qWaitFor([rules] { return rules->actions().value(0)->text().startsWith("new"); }));
}

TEST_F(MainWindowTest, AnOpenMailWindowIsAtItsPlaceTheNextTime) {
    AddMail("Inbox", "one");
    Open();
    mails_->Choose(0);
    Trigger(Command::OpenMail);
    auto* mail = window_->findChild<MessageWindow*>();
    ASSERT_NE(mail, nullptr);
    mail->setGeometry(60, 50, 420, 310);
    const QPoint place = mail->pos();
    Restart();
    EXPECT_EQ(program_->settings().bodyWidth, 420);
    EXPECT_EQ(program_->settings().bodyLeft, place.x());
}

TEST_F(MainWindowTest, DroppedMailsMoveUnlessTheyAreOthersNow) {
    for (const char* subject : {"one", "two", "three"})
        AddMail("Inbox", subject);
    ASSERT_EQ(program_->folders().NewFolder("Desktop", "Work"), 0);
    Open();
    mails_->Choose(1);
    // Another program has taken the first mail away since; the list still shows it.
    ASSERT_EQ(program_->folders().DeleteMails("Inbox", std::vector<int>{0}), 0);
    person_.ClicksOk(QStringLiteral("フォルダの内容が変わった"));
    emit folders_->MailsDropped("Inbox", {1}, "Work");
    EXPECT_EQ(program_->mailbox().CountMails("Work"), 0);
    ASSERT_EQ(mails_->selected(), std::vector<int>{0}) << "the selection has gone with its mail";
    emit folders_->MailsDropped("Inbox", {0}, "Work");
    EXPECT_TRUE(Entry("Work", 0).subject.view().starts_with("two"));
    EXPECT_EQ(mails_->mailCount(), 1);
}

TEST_F(MainWindowTest, ClosingWithF1OrCtrlAnalysesACaptureInstead) {
    Open();
    WriteFile("maillog.txt", "nothing of a mail\r\n");
    WriteFile("meslog.txt", "nothing of a message\r\n");
    QTest::keyPress(window_.get(), Qt::Key_F1);
    person_.ClicksOk(QStringLiteral("新規受信メールはありませんでした。"));
    EXPECT_FALSE(window_->close());
    EXPECT_FALSE(std::filesystem::exists(workspace_->root() / "maillog.txt"));
    EXPECT_TRUE(std::filesystem::exists(workspace_->root() / "meslog.txt"));
    QTest::keyRelease(window_.get(), Qt::Key_F1);
    QTest::keyPress(window_.get(), Qt::Key_Control, Qt::ControlModifier);
    EXPECT_FALSE(window_->close());
    EXPECT_FALSE(std::filesystem::exists(workspace_->root() / "meslog.txt"));
    EXPECT_TRUE(window_->isVisible());
    QTest::keyRelease(window_.get(), Qt::Key_Control);
    EXPECT_TRUE(window_->close());
}

TEST_F(MainWindowTest, EnvironmentsAreChosenByMenuKeyAndChooser) {
    auto& entries = program_->environments().entries;
    entries[0].name = "自宅 & 庭"_sjis;
    entries[0].userId = "ABC00123";
    entries[2].name = "会社"_sjis;
    entries[2].userId = "ABC00456";
    ASSERT_EQ(program_->SaveEnvironments(), 0);
    Open();
    const QStringList labels = Labels(QStringLiteral("接続環境(&N)"));
    EXPECT_EQ(labels.value(0), QStringLiteral("自宅 && 庭 (ABC00123) \tShift + F1"));
    EXPECT_EQ(labels.value(1), QStringLiteral("会社 (ABC00456) \tShift + F3"));
    QTest::keyClick(window_.get(), Qt::Key_F3, Qt::ShiftModifier);
    EXPECT_EQ(program_->settings().currentId, 2);
    EXPECT_TRUE(window_->windowTitle().contains("ABC00456"));
    auto* chooser = window_->findChild<QToolBar*>(QStringLiteral("band1"))->findChild<QComboBox*>();
    EXPECT_EQ(chooser->currentText(), QStringLiteral("会社"));
    QTest::keyClick(chooser, Qt::Key_Up);
    EXPECT_EQ(program_->settings().currentId, 0);
}

TEST_F(MainWindowTest, RulesAreInTheMenuAndUnderCtrlAndADigit) {
    ASSERT_EQ(program_->folders().NewFolder("Desktop", "Kites"), 0);
    std::vector<organise::SortingRule> rules(2);
    rules[0] = {true, false, "凧"_sjis.data(), "Subject:", "kite", "Kites"};
    rules[1] = {false, false, "gone", "Subject:", "kite", "Missing"};
    ASSERT_EQ(organise::SaveRules(*workspace_, organise::kRuleFile, rules).result, 0);
    AddMail("Inbox", "a kite");
    AddMail("Inbox", "a boat");
    Open();
    const QStringList labels = Labels(QStringLiteral("振り分け(&R)"));
    EXPECT_EQ(labels.value(0), QStringLiteral("凧\t( Ctrl+0 )"));
    EXPECT_TRUE(labels.contains(QStringLiteral("表示中フォルダ個別振分(&F)")));
    QTest::keyClick(window_.get(), Qt::Key_0, Qt::ControlModifier);
    EXPECT_EQ(mails_->mailCount(), 1);
    EXPECT_EQ(program_->mailbox().CountMails("Kites"), 1);
    QTest::keyClick(window_.get(), Qt::Key_1, Qt::ControlModifier);
    EXPECT_EQ(program_->mailbox().CountMails("Inbox"), 1);
    EXPECT_TRUE(StatusText().contains(QStringLiteral("実行できません")));
}

TEST_F(MainWindowTest, ABankThatIsNotThereLeavesTheOpenOne) {
    Open();
    const QString refusal = QStringLiteral("アクセスできません。");
    person_.ClicksOk(refusal);
    auto* chooser = window_->findChild<QToolBar*>(QStringLiteral("band2"))->findChild<QComboBox*>();
    QTest::keyClick(chooser, Qt::Key_Down);
    EXPECT_EQ(program_->folders().currentBank(), 0);
    Settle();
    EXPECT_EQ(chooser->currentIndex(), 0) << "the chooser goes back";
    ASSERT_EQ(program_->folders().MakeBankDirectory(1), 0);
    QTest::keyClick(chooser, Qt::Key_Down);
    EXPECT_EQ(program_->folders().currentBank(), 1);
    EXPECT_EQ(folders_->current(), "Inbox");
    Restart();
    EXPECT_EQ(program_->folders().currentBank(), 1);
}

TEST_F(MainWindowTest, WithoutABankTheWindowOpensAndNothingCrashes) {
    WriteFile("blocked", "a file");
    program_->settings().mailBoxPathName[0] = "blocked";
    ASSERT_EQ(program_->SaveSettings(), 0);
    StartProgram();
    person_.ClicksOk(QStringLiteral("バンク"));
    ASSERT_EQ(program_->OpenBank(), -1);
    Open();
    for (const CommandInfo& info : CommandTable()) {
        if (info.menu == MenuId::Folder || info.menu == MenuId::Mail || info.menu == MenuId::Connection)
            Trigger(info.command);
    }
    Settle();
    EXPECT_EQ(mails_->mailCount(), 0);
    EXPECT_TRUE(window_->close());
}

TEST_F(MainWindowTest, ABankThatVanishesIsTold) {
    AddMail("Inbox", "one");
    Open();
    std::filesystem::rename(workspace_->root() / "MailBox1", workspace_->root() / "away");
    Trigger(Command::Refresh);
    EXPECT_TRUE(StatusText().contains("MailBox1")) << StatusText().toStdString();
    std::filesystem::rename(workspace_->root() / "away", workspace_->root() / "MailBox1");
    Trigger(Command::Refresh);
    EXPECT_EQ(mails_->mailCount(), 1);
}

TEST_F(MainWindowTest, TheMenuSortsAndTurnsTheOrderRound) {
    for (const char* subject : {"b", "a", "c"})
        AddMail("Inbox", subject);
    Open();
    const auto first = [this] { return mails_->model()->index(0, 5).data().toString(); };
    Trigger(Command::SortBySubject);
    EXPECT_EQ(first(), "a");
    Trigger(Command::SortBySubject);
    EXPECT_EQ(first(), "c");
    Trigger(Command::SortByNumber);
    EXPECT_EQ(first(), "b");
}

TEST_F(MainWindowTest, CompactionTakesTheTextsOfDeletedMailsAway) {
    AddMail("Inbox", "one", std::string(5000, 'x') + "\r\n");
    AddMail("Inbox", "two");
    Open();
    mails_->Choose(0);
    Trigger(Command::MoveToTrash);
    EXPECT_EQ(mails_->mailCount(), 1);
    EXPECT_EQ(program_->mailbox().CountMails("Trash"), 1);
    const std::size_t before = FileBytes("MailBox1/Inbox.mtx").size();
    Trigger(Command::CompactAll);
    EXPECT_LT(FileBytes("MailBox1/Inbox.mtx").size(), before - 5000);
    EXPECT_EQ(StatusText(), QStringLiteral(" コンパクションを終了しました。"));
}

}  // namespace
}  // namespace postkite::ui
