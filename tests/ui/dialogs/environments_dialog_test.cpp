#include "ui/dialogs/environments_dialog.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QStackedWidget>
#include <filesystem>

#include "core/shift_jis.h"
#include "tests/ui/desktop_test.h"
#include "tests/ui/dialogs/dialog_hands.h"
#include "ui/dialogs/environment_page.h"

namespace postkite::ui {
namespace {

using namespace core::literals;

struct EnvironmentsDialogTest : DesktopTest {
    core::Environment& Entry(std::size_t number) { return program_->environments().entries[number]; }

    /// The field behind a label, found as its access key finds it.
    template <typename Widget>
    Widget& Field(EnvironmentsDialog& dialog, int number, const QString& label) {
        EnvironmentPage* page =
            dialog.findChild<QStackedWidget*>()->widget(number)->findChild<EnvironmentPage*>();
        for (QLabel* each : page->findChildren<QLabel*>()) {
            if (!each->text().startsWith(label + "(&")) continue;
            if (auto* widget = qobject_cast<Widget*>(each->buddy())) return *widget;
            return *each->buddy()->findChild<Widget*>();
        }
        throw std::runtime_error("no such label");
    }
    static void Choose(QComboBox& box, const QString& words) {
        const int index = box.findText(words, Qt::MatchStartsWith);
        ASSERT_GE(index, 0) << words.toStdString();
        box.setCurrentIndex(index);
    }
};

TEST_F(EnvironmentsDialogTest, SavesWhatWasChanged) {
    Entry(0).integer = 77;
    Entry(3).telephone = "03\x81\t";
    Entry(4).route = "x";
    Entry(4).dialling = "??";
    Entry(4).speed = "fast";
    program_->settings().bank[14] = 99;
    program_->settings().bank[3] = 5;
    ASSERT_EQ(program_->folders().NewFolder("Inbox", "控え"_sjis), 0);
    EnvironmentsDialog dialog(*desktop_, nullptr);
    dialog.show();
    auto* list = dialog.findChild<QListWidget*>();
    ASSERT_EQ(list->count(), 10);
    EXPECT_TRUE(list->item(0)->text().contains(QStringLiteral("使用中")));
    TypeOver(Field<QLineEdit>(dialog, 0, QStringLiteral("環境の名前")), QStringLiteral("自宅"));
    EXPECT_EQ(list->item(0)->text(), QStringLiteral("1: 自宅（使用中）"));
    TypeOver(Field<QLineEdit>(dialog, 0, QStringLiteral("ユーザー ID")), "ABC00123");
    QLineEdit& password = Field<QLineEdit>(dialog, 0, QStringLiteral("パスワード"));
    EXPECT_EQ(password.echoMode(), QLineEdit::Password);
    TypeOver(password, "secret");
    Choose(Field<QComboBox>(dialog, 0, QStringLiteral("アクセス経路")), "7");
    Choose(Field<QComboBox>(dialog, 0, QStringLiteral("ダイアル方式")), "PB");
    TypeOver(Field<QLineEdit>(dialog, 0, QStringLiteral("通信速度（bit/s）")), "9600");
    auto& modem = Field<QComboBox>(dialog, 0, QStringLiteral("モデム初期化コマンド"));
    QTest::keyClick(&modem, Qt::Key_Down);
    EXPECT_EQ(modem.currentText(), "ATQ0V1E0") << "without the words that say what it is for";
    Choose(Field<QComboBox>(dialog, 0, QStringLiteral("受信フォルダ")), QStringLiteral("Inbox#控え"));
    TypeOver(Field<QLineEdit>(dialog, 0, QStringLiteral("送信フォルダ")), QStringLiteral("下書き"));
    Choose(Field<QComboBox>(dialog, 0, QStringLiteral("使うバンク")), QStringLiteral("バンク 3（MailBox3）"));
    EXPECT_EQ(FileBytes("Setting/Hostdata.ini"), "");
    ClickOk(dialog);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_TRUE(dialog.hasChangedActiveBank());

    const core::Settings& settings = program_->settings();
    EXPECT_EQ(settings.userId, "ABC00123");
    EXPECT_EQ(settings.userPassword, "secret");
    EXPECT_EQ(settings.fenicsLoad, "7");
    EXPECT_EQ(settings.pbDp, "PB");
    EXPECT_EQ(settings.rsSpeed, "9600");
    EXPECT_EQ(settings.bank[10], 2);
    EXPECT_EQ(settings.bank[14], 99) << "kept";
    EXPECT_EQ(settings.bank[3], 5) << "of a host entry";
    EXPECT_EQ(program_->Inbox(), "Inbox#控え"_sjis);
    const std::string file = FileBytes("Setting/Hostdata.ini");
    EXPECT_TRUE(file.starts_with(
        "自宅\r\nABC00123\r\n0204190A1605\r\n\r\n7\r\n9600\r\nPB\r\n\r\nATQ0V1E0\r\n下書き\r\nInbox#控え\r\n\r\n77\r\n"_sjis))
        << file.substr(0, 200);
    EXPECT_NE(file.find("\r\n03\x81\t\r\n"), std::string::npos) << "bytes that are no character stay";
    EXPECT_NE(file.find("\r\nx\r\nfast\r\n??\r\n"), std::string::npos);
}

TEST_F(EnvironmentsDialogTest, CancelChangesNothing) {
    const core::Settings before = program_->settings();
    EnvironmentsDialog dialog(*desktop_, nullptr);
    dialog.show();
    for (QLineEdit* field : dialog.findChildren<QLineEdit*>())
        TypeOver(*field, "1");
    for (QComboBox* box : dialog.findChildren<QComboBox*>())
        box->setCurrentIndex(box->count() - 1);
    ClickCancel(dialog);
    EXPECT_EQ(Entry(9).name, "");
    EXPECT_EQ(Entry(9).route, "3");
    EXPECT_EQ(program_->settings().bank, before.bank);
    EXPECT_EQ(program_->settings().userId, before.userId);
    EXPECT_EQ(FileBytes("Setting/Hostdata.ini"), "");
}

TEST_F(EnvironmentsDialogTest, RefusesWhatTheFileCannotHold) {
    struct Refused {
        const char* label;
        QString typed;
        QString why;
    };
    const Refused refusals[] = {
        {"環境の名前", QString(10, u'家'), QStringLiteral("「環境の名前」は 19 バイトまで")},
        {"パスワード", QString(36, u'x'), QStringLiteral("35 バイトまで")},
        {"通信速度（bit/s）", "115200", QStringLiteral("5 バイトまで")},
        {"通信速度（bit/s）", "fast", QStringLiteral("数字で")},
        {"メールの差出人行（From）", QStringLiteral("\u2665"), QStringLiteral("文字「\u2665」を使えません")},
        {"受信フォルダ", QString(512, u'x'), QStringLiteral("511 バイトまで")},
    };
    for (const Refused& refused : refusals) {
        EnvironmentsDialog dialog(*desktop_, nullptr);
        dialog.show();
        TypeOver(Field<QLineEdit>(dialog, 0, QStringLiteral("電話番号")), "1");
        QLineEdit& field = Field<QLineEdit>(dialog, 6, QString::fromUtf8(refused.label));
        TypeOver(field, refused.typed);
        person_.ClicksOk(refused.why);
        ClickOk(dialog);
        EXPECT_TRUE(person_.hasSeenAll()) << refused.label;
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(dialog.findChild<QListWidget*>()->currentRow(), 6);
        EXPECT_TRUE(dialog.focusWidget() == &field || dialog.focusWidget() == field.parentWidget());
        EXPECT_TRUE(field.isVisible());
    }
    EXPECT_EQ(Entry(0).telephone, "");
    EXPECT_EQ(FileBytes("Setting/Hostdata.ini"), "");
}

TEST_F(EnvironmentsDialogTest, TakesEverythingBackWhereSavingFails) {
    program_->settings().pbDp = "PB";
    std::filesystem::create_directory(workspace_->root() / "Setting" / "Hostdata.ini");
    EnvironmentsDialog dialog(*desktop_, nullptr);
    dialog.show();
    TypeOver(Field<QLineEdit>(dialog, 0, QStringLiteral("ユーザー ID")), "ABC00123");
    Choose(Field<QComboBox>(dialog, 0, QStringLiteral("使うバンク")), QStringLiteral("バンク 3"));
    person_.ClicksOk(QStringLiteral("保存できませんでした"));
    ClickOk(dialog);
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(Entry(0).userId, "");
    EXPECT_EQ(program_->settings().userId, "");
    EXPECT_EQ(program_->settings().pbDp, "PB");
    EXPECT_EQ(program_->settings().bank[10], 0);
}

}  // namespace
}  // namespace postkite::ui
