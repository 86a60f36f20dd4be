#include "ui/window/session_control.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include "core/shift_jis.h"
#include "tests/ui/desktop_test.h"
#include "ui/folders/folder_tree_view.h"
#include "ui/mails/mail_list_view.h"
#include "ui/mails/message_view.h"
#include "ui/window/commands.h"
#include "ui/window/main_window.h"
#include "ui/window/monitor_dock.h"

namespace postkite::ui {
namespace {

using namespace core::literals;

constexpr int kLongestSessionMilliseconds = 120'000;

/// A main window whose sessions run as fast as the practice host answers.
class SessionControlTest : public DesktopTest {
  protected:
    SessionControlTest() {
        qputenv("PATH", QByteArray(POSTKITE_HOST_DIRECTORY ":") + qgetenv("PATH"));
        window_ = std::make_unique<MainWindow>(*desktop_);
        window_->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window_.get()));
        session_ = window_->findChild<SessionControl*>();
        QObject::connect(session_, &SessionControl::Started, session_,
                         [this] { session_->findChild<QTimer*>(QStringLiteral("timer 1"))->setInterval(1); });
    }

    void Trigger(Command command) const { window_->findChild<Commands*>()->action(command)->trigger(); }

    /// Until the session has ended and its boxes have been closed.
    void WaitForTheEnd(const QSignalSpy& ended) const {
        EXPECT_TRUE(QTest::qWaitFor([&ended] { return !ended.isEmpty(); }, kLongestSessionMilliseconds));
        QApplication::processEvents();
    }

    std::unique_ptr<MainWindow> window_;
    SessionControl* session_ = nullptr;
};

TEST_F(SessionControlTest, ANewcomerCallsThePracticeHostAndReadsWhatArrived) {
    const QSignalSpy ended(session_, &SessionControl::Ended);
    person_.ClicksOk(QStringLiteral("通のメールを受信しました。"));
    Trigger(Command::CallPracticeHost);
    ASSERT_TRUE(session_->running());
    window_->showMinimized();
    WaitForTheEnd(ended);
    ASSERT_EQ(ended.count(), 1);
    EXPECT_FALSE(window_->isMinimized()) << "mail has come";
    auto* mails = window_->findChild<MailListView*>();
    EXPECT_GT(mails->mailCount(), 0);
    EXPECT_TRUE(
        window_->findChild<MonitorDock*>()->findChild<QPlainTextEdit*>()->toPlainText().contains("MAIL"));
    mails->Choose(0);
    EXPECT_GT(window_->findChild<MessageView*>()->toPlainText().size(), 20);
    EXPECT_TRUE(program_->settings().userId.empty()) << "the account was only borrowed";
    // Everything has been fetched: the next call to the same host brings nothing more.
    const int received = mails->mailCount();
    const QSignalSpy endedAgain(session_, &SessionControl::Ended);
    person_.ClicksOk(QStringLiteral("新規受信メールはありませんでした。"));
    Trigger(Command::CallPracticeHost);
    WaitForTheEnd(endedAgain);
    EXPECT_EQ(mails->mailCount(), received);
}

TEST_F(SessionControlTest, ARunningSessionForbidsWhatWouldDisturbIt) {
    program_->settings().autoMode = 1;  // however far the session comes, it does not tell
    ASSERT_EQ(program_->folders().NewFolder("Desktop", "FSORA,mes1"), 0);
    window_->findChild<FolderTreeView*>()->Reload();
    window_->findChild<FolderTreeView*>()->Select("FSORA,mes1");
    const QSignalSpy ended(session_, &SessionControl::Ended);
    Trigger(Command::CallPracticeHost);
    ASSERT_TRUE(session_->running());
    const QString settings = QStringLiteral("送受信中は環境設定を変更できません。");
    const QString busy = QStringLiteral("送受信中です。");
    const std::pair<Command, QString> refused[] = {
        {Command::EditSettings, settings}, {Command::EditEnvironments, settings},
        {Command::EditRules, settings},    {Command::ReadCondition, settings},
        {Command::SendAndReceive, busy},   {Command::ReceiveOnly, busy},
        {Command::CallPracticeHost, busy}, {Command::CompactAll, busy},
        {Command::ResetFolders, busy},
    };
    for (const auto& [command, text] : refused) {
        person_.ClicksOk(text);
        Trigger(command);
    }
    person_.ClicksOk(QStringLiteral("送受信中には環境を切り替える事はできません。"));
    window_->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window_.get()));
    QTest::keyClick(window_.get(), Qt::Key_F2, Qt::ShiftModifier);
    EXPECT_EQ(program_->settings().currentId, 0);
    person_.ClicksCancel(QStringLiteral("回線を切断して終了しますか？"));
    EXPECT_FALSE(window_->close());
    EXPECT_TRUE(session_->running());
    Trigger(Command::Disconnect);
    WaitForTheEnd(ended);
    EXPECT_EQ(ended.count(), 1);
    EXPECT_FALSE(session_->running());
}

TEST_F(SessionControlTest, ClosingHangsUpAndKeepsTheAccountOfThePerson) {
    program_->settings().userId = "ABC00123";
    person_.ClicksOk(QStringLiteral("練習用ホストに接続します。"));
    Trigger(Command::CallPracticeHost);
    ASSERT_TRUE(session_->running());
    window_->End();
    EXPECT_FALSE(session_->running());
    const std::string saved = FileBytes("Setting/setting.ini");
    EXPECT_NE(saved.find("USERID=ABC00123\r\n"), std::string::npos);
    EXPECT_EQ(saved.find("PKT00099"), std::string::npos);
}

TEST_F(SessionControlTest, ALineThatIsLostEndsTheSessionAndLeavesTheWindowAtWork) {
    app::PracticeHostProcess host;
    ASSERT_EQ(host.Start({}, {"--user", "PKT00099", "--password", "practice", "--drop-after", "1500"}), 0);
    qputenv("POSTKITE_COM7", QByteArray::fromStdString(host.device()));
    core::Settings& settings = program_->settings();
    settings.rsPort = "7";
    settings.userId = "PKT00099";
    settings.userPassword = "practice";
    settings.phoneNumber = "03-1234-5678";
    settings.autoMode = 1;  // how far it has come is not told
    const QSignalSpy ended(session_, &SessionControl::Ended);
    QTest::keyClick(window_.get(), Qt::Key_F8);
    ASSERT_TRUE(session_->running());
    WaitForTheEnd(ended);
    ASSERT_EQ(ended.count(), 1);
    EXPECT_LT(ended.value(0).value(0).toInt(), 0);
    EXPECT_FALSE(FileBytes("error.log").empty());
    Trigger(Command::CompactAll);
    EXPECT_TRUE(window_->isEnabled());
}

TEST_F(SessionControlTest, APortThatIsNotThereIsToldAndNothingRuns) {
    program_->settings().rsPort = "99";
    qputenv("POSTKITE_COM99", "/nowhere/at/all");
    person_.ClicksOk(QStringLiteral("通信ポートをオープン出来ませんでした。"));
    QTest::keyClick(window_.get(), Qt::Key_F8);
    EXPECT_FALSE(session_->running());
    program_->settings().rsPort = "no number";
    person_.ClicksOk(QStringLiteral("no number"));
    Trigger(Command::SendAndReceive);
    EXPECT_FALSE(session_->running());
    program_->settings().autoMode = 1;
    Trigger(Command::ReceiveOnly);
    EXPECT_FALSE(session_->running());
}

}  // namespace
}  // namespace postkite::ui
