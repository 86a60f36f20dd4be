#include <gtest/gtest.h>

#include <QLabel>
#include <QTreeWidget>

#include "core/shift_jis.h"
#include "tests/ui/desktop_test.h"
#include "tests/ui/dialogs/dialog_hands.h"
#include "ui/dialogs/about_dialog.h"
#include "ui/dialogs/shortcuts_dialog.h"
#include "ui/dialogs/start_up_password_dialog.h"

namespace postkite::ui {
namespace {

using namespace core::literals;

struct StartUpPasswordTest : DesktopTest {
    StartUpPasswordTest() {
        program_->settings().askStartUpPassword = 1;
        program_->settings().startUpPassword = "開け∪ごま"_sjis;
    }
    bool Ask() { return StartUpPasswordDialog::Ask(*desktop_, nullptr); }
    /// Types each of them, and sees that all but the last are refused.
    void Types(const QStringList& passwords, bool lastIsWrong) {
        person_.Meets([passwords, lastIsWrong](QDialog& dialog) {
            Person inner;
            auto* field = dialog.findChild<QLineEdit*>();
            EXPECT_EQ(field->echoMode(), QLineEdit::Password);
            for (const QString& password : passwords) {
                EXPECT_EQ(field->text(), "");
                TypeOver(*field, password);
                if (lastIsWrong || password != passwords.back())
                    inner.ClicksOk(QStringLiteral("パスワードが違います。"));
                ClickOk(dialog);
            }
        });
    }
};

TEST_F(StartUpPasswordTest, AsksThreeTimes) {
    const QString right = QStringLiteral("開け∪ごま");
    Types({right}, false);
    EXPECT_TRUE(Ask());
    Types({"x", QStringLiteral("\u2603"), right}, false);
    EXPECT_TRUE(Ask());
    Types({"", "x", right + "x"}, true);
    EXPECT_FALSE(Ask());
    person_.Meets([](QDialog& dialog) { ClickCancel(dialog); });
    EXPECT_FALSE(Ask());
    // The other code of the same character.
    program_->settings().startUpPassword = "\x87\x9C";
    Types({QStringLiteral("∪")}, false);
    EXPECT_TRUE(Ask());
}

TEST_F(StartUpPasswordTest, AsksOnlyForOneThatIsThere) {
    program_->settings().askStartUpPassword = 0;
    EXPECT_TRUE(Ask());
    program_->settings().askStartUpPassword = 1;
    program_->settings().startUpPassword.clear();
    EXPECT_TRUE(Ask());
}

TEST(SmallDialogs, ShowWhatTheyHave) {
    AboutDialog about(nullptr);
    about.show();
    ClickOk(about);
    EXPECT_FALSE(about.isVisible());

    ShortcutsDialog shortcuts({{QStringLiteral("送受信(&S)..."), "F5"}, {"&Find && go", "Ctrl+F"}}, nullptr);
    shortcuts.show();
    auto* list = shortcuts.findChild<QTreeWidget*>();
    ASSERT_EQ(list->topLevelItemCount(), 2);
    EXPECT_EQ(list->topLevelItem(0)->text(0), QStringLiteral("送受信"));
    EXPECT_EQ(list->topLevelItem(0)->text(1), "F5");
    EXPECT_EQ(list->topLevelItem(1)->text(0), "Find & go");
    Click(shortcuts, QDialogButtonBox::Close);
    EXPECT_FALSE(shortcuts.isVisible());
    ShortcutsDialog empty({}, nullptr);
}

}  // namespace
}  // namespace postkite::ui
