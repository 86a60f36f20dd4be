#include "ui/dialogs/settings_dialog.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QSpinBox>
#include <QStackedWidget>
#include <algorithm>
#include <filesystem>
#include <map>

#include "core/settings_table.h"
#include "core/shift_jis.h"
#include "tests/ui/desktop_test.h"
#include "tests/ui/dialogs/dialog_hands.h"
#include "ui/dialogs/setting_pages.h"
#include "ui/dialogs/settings_page.h"
#include "ui/text.h"

namespace postkite::ui {
namespace {

using namespace core::literals;
using Lines = std::set<int>;

TEST(SettingPages, HasEachSettingOnce) {
    std::map<int, int> places;
    for (const SettingPage& page : SettingPages()) {
        for (const auto& rows : {page.used, page.keptOnly}) {
            for (const SettingRow& row : rows) {
                ++places[row.line];
                const bool number = row.editor == EditorKind::CheckBox || row.editor == EditorKind::Number ||
                                    row.editor == EditorKind::FontHeight || row.editor == EditorKind::Colour;
                const auto& line = core::SettingLines()[static_cast<std::size_t>(row.line) - 1];
                const bool integer = line.kind == core::SettingLine::Kind::Integer;
                EXPECT_TRUE(integer == number || row.editor == EditorKind::Choice) << row.line;
                EXPECT_TRUE(line.kind != core::SettingLine::Kind::Secret ||
                            row.editor == EditorKind::NewSecret)
                    << row.line;
            }
        }
    }
    for (const SettingElsewhere& elsewhere : SettingsElsewhere()) {
        for (int line = elsewhere.firstLine; line <= elsewhere.lastLine; ++line)
            ++places[line];
    }
    for (int line = 1; line <= static_cast<int>(core::kSettingLineCount); ++line)
        EXPECT_EQ(places[line], 1) << line;
    EXPECT_EQ(places.size(), core::kSettingLineCount);
}

struct SettingsDialogTest : DesktopTest {
    core::Settings& settings() { return program_->settings(); }

    template <typename Widget>
    Widget& In(SettingsDialog& dialog, int line) {
        return *dialog.findChild<QWidget*>(QStringLiteral("setting%1").arg(line))->findChild<Widget*>();
    }
    /// All values as the file would have them.
    std::vector<std::string> Values() {
        std::vector<std::string> values;
        for (const core::SettingLine& line : core::SettingLines())
            values.push_back(line.kind == core::SettingLine::Kind::Integer
                                 ? std::to_string(line.integer(settings()))
                                 : line.text(settings()));
        return values;
    }
};

TEST_F(SettingsDialogTest, ChangesOnlyWhatWasChanged) {
    // Values that no editor can show as they are.
    settings().log = 7;
    settings().redialInterval = -5;
    settings().fontSize = 3;
    settings().titleTree = 9;
    settings().volume = "x";
    settings().logFilePath = "a\x81\tb\xFF";
    settings().rsPort = "COM9";
    settings().patrol = "abc";
    settings().editColor = -1;
    const auto before = Values();
    {
        SettingsDialog dialog(*desktop_, nullptr);
        dialog.show();
        ClickOk(dialog);
        EXPECT_EQ(dialog.result(), QDialog::Accepted);
        EXPECT_EQ(dialog.changedLines(), Lines());
    }
    EXPECT_EQ(Values(), before);

    SettingsDialog dialog(*desktop_, nullptr);
    dialog.show();
    dialog.GoTo(37);
    QTest::keyClick(dialog.focusWidget(), Qt::Key_Space);
    In<QSpinBox>(dialog, 26).setValue(45);
    In<QSpinBox>(dialog, 86).setValue(12);
    In<QComboBox>(dialog, 120).setCurrentIndex(2);
    In<QComboBox>(dialog, 17).setCurrentIndex(3);
    TypeOver(In<QLineEdit>(dialog, 8), "3");
    TypeOver(In<QLineEdit>(dialog, 46), QStringLiteral("＞"));
    TypeOver(In<QLineEdit>(dialog, 87), "IPAGothic");
    TypeOver(In<QLineEdit>(dialog, 151), QString(20, u'1'));
    TypeOver(In<QLineEdit>(dialog, 28), "sound\\hello.wav");
    EXPECT_EQ(Values(), before) << "nothing before OK";
    ClickOk(dialog);
    EXPECT_EQ(dialog.changedLines(), (Lines{8, 17, 26, 28, 37, 46, 86, 87, 120, 151}));
    EXPECT_FALSE(dialog.hasMovedOpenBank());
    EXPECT_EQ(settings().redial, 0);
    EXPECT_EQ(settings().redialInterval, 45);
    EXPECT_EQ(settings().fontSize, -12);
    EXPECT_EQ(settings().titleTree, 2);
    EXPECT_EQ(settings().volume, "3");
    EXPECT_EQ(settings().rsPort, "3");
    EXPECT_EQ(settings().quotationMark, "＞"_sjis);
    EXPECT_EQ(settings().fontName, "IPAGothic");
    EXPECT_EQ(settings().patrol, std::string(20, '1'));
    EXPECT_EQ(settings().connectSound, "sound\\hello.wav");
    EXPECT_EQ(settings().logFilePath, "a\x81\tb\xFF") << "untouched";
    EXPECT_EQ(FileBytes("Setting/setting.ini"), "") << "written at the end alone";
    EXPECT_EQ(program_->End(), 0);
    EXPECT_NE(FileBytes("Setting/setting.ini").find("REDIALINTER=45\r\n"), std::string::npos);
}

TEST_F(SettingsDialogTest, CancelChangesNothing) {
    const auto before = Values();
    SettingsDialog dialog(*desktop_, nullptr);
    dialog.show();
    for (QLineEdit* field : dialog.findChildren<QLineEdit*>())
        TypeOver(*field, "1");
    for (QCheckBox* box : dialog.findChildren<QCheckBox*>())
        box->toggle();
    ClickCancel(dialog);
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_EQ(Values(), before);
    EXPECT_FALSE(std::filesystem::exists(workspace_->root() / "1"));
}

TEST_F(SettingsDialogTest, RefusesWhatCannotBeKept) {
    const auto before = Values();
    struct Refused {
        int line;
        QString typed;
        QString why;
    };
    const Refused refusals[] = {
        {46, QStringLiteral("a\u20AC"), QStringLiteral("「引用符」には文字「\u20AC」を使えません。")},
        {65, QStringLiteral("\U0001F4E7"), QStringLiteral("文字「\U0001F4E7」を使えません")},
        {65, QString(257, u'様'), QStringLiteral("「宛名に付ける敬称」は 512 バイトまで")},
        {25, QString(512, u'x'), QStringLiteral("511 バイトまで")},
        {65, QStringLiteral("a\nb"), QStringLiteral("制御文字")},
        {8, "0", QStringLiteral("1 から 256 まで")},
        {8, "COM2", QStringLiteral("1 から 256 まで")},
        {151, "012", QStringLiteral("20 文字")},
    };
    for (const Refused& refused : refusals) {
        SettingsDialog dialog(*desktop_, nullptr);
        dialog.show();
        In<QCheckBox>(dialog, 37).toggle();
        QLineEdit& field = In<QLineEdit>(dialog, refused.line);
        TypeOver(field, refused.typed);
        person_.ClicksOk(refused.why);
        ClickOk(dialog);
        EXPECT_TRUE(person_.hasSeenAll()) << refused.line;
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_TRUE(field.isVisible()) << "its page is shown";
        EXPECT_EQ(dialog.focusWidget(), &field);
    }
    EXPECT_EQ(Values(), before);
}

TEST_F(SettingsDialogTest, TakesNewPasswordsTwice) {
    settings().startUpPassword = "old";
    SettingsDialog dialog(*desktop_, nullptr);
    dialog.show();
    const auto fields = dialog.findChild<QWidget*>("setting115")->findChildren<QLineEdit*>();
    ASSERT_EQ(fields.size(), 2);
    for (QLineEdit* field : fields)
        EXPECT_EQ(field->echoMode(), QLineEdit::Password);
    EXPECT_EQ(In<QLineEdit>(dialog, 93).echoMode(), QLineEdit::Password);
    EXPECT_FALSE(fields[1]->isEnabled());
    TypeOver(*fields[0], "new");
    TypeOver(*fields[1], "now");
    person_.ClicksOk(QStringLiteral("一致しません"));
    ClickOk(dialog);
    EXPECT_EQ(settings().startUpPassword, "old");
    TypeOver(*fields[0], QString(36, u'x'));
    TypeOver(*fields[1], QString(36, u'x'));
    person_.ClicksOk(QStringLiteral("35 バイトまで"));
    ClickOk(dialog);
    // One that is asked for has to be there.
    TypeOver(*fields[0], "");
    In<QCheckBox>(dialog, 40).setChecked(true);
    person_.ClicksOk(QStringLiteral("起動時パスワードを入力してください"));
    ClickOk(dialog);
    TypeOver(*fields[0], "new");
    TypeOver(*fields[1], "new");
    ClickOk(dialog);
    EXPECT_EQ(settings().startUpPassword, "new");
    EXPECT_EQ(dialog.changedLines(), (Lines{40, 115}));
}

TEST_F(SettingsDialogTest, MakesBankDirectories) {
    const auto before = Values();
    WriteFile("file", "");
    SettingsDialog dialog(*desktop_, nullptr);
    dialog.show();
    TypeOver(In<QLineEdit>(dialog, 143), QStringLiteral("控え\\第二"));
    TypeOver(In<QLineEdit>(dialog, 145), "file");
    In<QCheckBox>(dialog, 37).toggle();
    person_.ClicksOk(QStringLiteral("メールボックスバンク４のディレクトリが作成できませんでした。"));
    ClickOk(dialog);
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(dialog.focusWidget(), &In<QLineEdit>(dialog, 145));
    EXPECT_EQ(Values(), before);
    TypeOver(In<QLineEdit>(dialog, 145), "..\\outside");
    person_.ClicksOk(QStringLiteral("メールボックスバンク４"));
    ClickOk(dialog);
    EXPECT_FALSE(std::filesystem::exists(workspace_->root() / "../outside"));

    TypeOver(In<QLineEdit>(dialog, 145), "MailBox4");
    TypeOver(In<QLineEdit>(dialog, 25), "Other");
    ClickOk(dialog);
    EXPECT_EQ(dialog.changedLines(), (Lines{25, 37, 143}));
    EXPECT_TRUE(dialog.hasMovedOpenBank());
    EXPECT_TRUE(std::filesystem::is_directory(workspace_->root() / "Other"));
    EXPECT_TRUE(std::filesystem::is_directory(workspace_->root() / "控え" / "第二"));
    EXPECT_EQ(settings().mailBoxPathName[1], "控え\\第二"_sjis);
}

TEST_F(SettingsDialogTest, FindsSettingsByWord) {
    SettingsDialog dialog(*desktop_, nullptr);
    dialog.show();
    auto* list = dialog.findChild<QListWidget*>();
    QLineEdit* search = nullptr;
    for (QLabel* label : dialog.findChildren<QLabel*>()) {
        if (label->text().contains(QStringLiteral("検索"))) search = qobject_cast<QLineEdit*>(label->buddy());
    }
    ASSERT_NE(search, nullptr);
    const auto pages = [list] {
        int shown = 0;
        for (int row = 0; row < list->count(); ++row)
            shown += list->isRowHidden(row) ? 0 : 1;
        return shown;
    };
    EXPECT_EQ(pages(), list->count());
    TypeOver(*search, QStringLiteral("リダイアル 回数"));
    EXPECT_EQ(pages(), 1);
    EXPECT_EQ(list->currentItem()->text(), QStringLiteral("モデムと回線"));
    EXPECT_TRUE(In<QSpinBox>(dialog, 27).isVisible());
    EXPECT_FALSE(In<QSpinBox>(dialog, 26).isVisible());
    EXPECT_FALSE(In<QCheckBox>(dialog, 43).isVisible());
    TypeOver(*search, QStringLiteral("ｂａｎｋ？"));
    EXPECT_EQ(pages(), 0);
    EXPECT_FALSE(dialog.findChild<QStackedWidget*>()->isVisible());
    dialog.GoTo(43);
    EXPECT_EQ(pages(), list->count()) << "what is to be seen is shown";
    EXPECT_TRUE(In<QCheckBox>(dialog, 43).isVisible());
}

TEST_F(SettingsDialogTest, HasOneAccessKeyForEachSettingOfAPage) {
    SettingsDialog dialog(*desktop_, nullptr);
    for (SettingsPage* page : dialog.findChildren<SettingsPage*>()) {
        std::map<QString, int> keys = {{"F", 1}, {"L", 1}, {"O", 1}, {"C", 1}};
        for (QCheckBox* box : page->findChildren<QCheckBox*>())
            ++keys[QKeySequence::mnemonic(box->text()).toString().right(1)];
        for (QLabel* label : page->findChildren<QLabel*>()) {
            if (label->buddy() != nullptr) ++keys[QKeySequence::mnemonic(label->text()).toString().right(1)];
        }
        EXPECT_EQ(keys.size(), page->editors().size() + 4) << page->title().toStdString();
    }
}

TEST(PathEditor, NamesPathsFromTheWorkingDirectoryOn) {
    EXPECT_EQ(PathForSetting("/home/a/mail/sound/x.wav", "/home/a/mail"), "sound\\x.wav");
    EXPECT_EQ(PathForSetting("/home/a/other/x.wav", "/home/a/mail"), "/home/a/other/x.wav");
    EXPECT_EQ(PathForSetting("/home/a/mail2", "/home/a/mail"), "/home/a/mail2");
}

}  // namespace
}  // namespace postkite::ui
