#include "ui/dialogs/rules_dialog.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QTreeWidget>
#include <filesystem>

#include "core/shift_jis.h"
#include "tests/ui/desktop_test.h"
#include "tests/ui/dialogs/dialog_hands.h"
#include "ui/dialogs/rule_dialog.h"

namespace postkite::ui {
namespace {

using namespace core::literals;

struct RulesDialogTest : DesktopTest {
    RulesDialogTest() {
        EXPECT_EQ(program_->folders().NewFolder("Desktop", "仕事"_sjis), 0);
        EXPECT_EQ(program_->folders().NewFolder("仕事"_sjis, "97"), 0);
    }

    static std::string Rule(std::string_view state, std::string_view name, std::string_view field,
                            std::string_view text, std::string_view folder) {
        std::string lines;
        for (const std::string_view line : {state, name, field, text, folder})
            lines += std::string(line) + "\r\n";
        return lines;
    }
    /// Two that work, one whose folder is gone.
    std::string WriteRules() {
        const std::string bytes = Rule("1", "Modems", "Subject:", "modem", "仕事#97"_sjis) +
                                  Rule("0", "Gone", "From:", "x", "Gone") +
                                  Rule("3", "私信"_sjis, "本文:"_sjis, "森"_sjis, "Trash");
        WriteFile("Setting/filter.ini", bytes);
        return bytes;
    }
    bool Edit(std::function<void(QDialog&)> act) {
        person_.Meets(std::move(act));
        return RulesDialog::Edit(*desktop_, "Inbox", nullptr);
    }
    static QTreeWidget& ListOf(QDialog& dialog) { return *dialog.findChild<QTreeWidget*>(); }
    static void Press(QDialog& dialog, const QString& text) {
        for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
            if (button->text().startsWith(text)) return QTest::mouseClick(button, Qt::LeftButton);
        }
        FAIL() << "no button " << text.toStdString();
    }
    static QStringList Row(QDialog& dialog, int number) {
        QStringList cells;
        for (int column = 0; column < ListOf(dialog).columnCount(); ++column)
            cells.append(ListOf(dialog).topLevelItem(number)->text(column));
        return cells;
    }
};

TEST_F(RulesDialogTest, ShowsTheRules) {
    const std::string before = WriteRules();
    EXPECT_FALSE(Edit([](QDialog& dialog) {
        QStringList header;
        for (int column = 0; column < 6; ++column)
            header.append(ListOf(dialog).headerItem()->text(column));
        EXPECT_EQ(header,
                  QStringList({QStringLiteral("振り分け名"), QStringLiteral("状態"), QStringLiteral("動作"),
                               QStringLiteral("...に"), QStringLiteral("...が含まれるメールを"),
                               QStringLiteral("...へ移動する")}));
        ASSERT_EQ(ListOf(dialog).topLevelItemCount(), 3);
        EXPECT_EQ(Row(dialog, 0), QStringList({"Modems", QStringLiteral("有効"), "", "Subject:", "modem",
                                               QStringLiteral("仕事#97")}));
        EXPECT_EQ(Row(dialog, 1), QStringList({"Gone", QStringLiteral("無効"), "", "From:", "x",
                                               QStringLiteral("Gone（フォルダがありません）")}));
        EXPECT_EQ(Row(dialog, 2)[2], QStringLiteral("自動"));
        ClickOk(dialog);
    }));
    EXPECT_EQ(FileBytes("Setting/filter.ini"), before);
}

TEST_F(RulesDialogTest, RefusesPartsThatCannotWork) {
    organise::SortingRule empty;
    empty.field = "To:";
    RuleDialog rule(*desktop_, "仕事#97"_sjis, empty, nullptr);
    rule.show();
    EXPECT_EQ(rule.windowTitle(), QStringLiteral("仕事#97 フォルダの振り分け設定"));
    const auto texts = rule.findChildren<QLineEdit*>();
    const auto boxes = rule.findChildren<QComboBox*>();
    ASSERT_EQ(texts.size(), 2);
    ASSERT_EQ(boxes.size(), 2);
    EXPECT_EQ(boxes[0]->count(), 8);
    EXPECT_EQ(boxes[1]->findText("Desktop"), -1);
    const auto refused = [&](const QString& why) {
        person_.ClicksOk(why);
        ClickOk(rule);
        EXPECT_TRUE(person_.hasSeenAll()) << why.toStdString();
    };
    refused(QStringLiteral("「振り分け名」を入力してください。"));
    TypeOver(*texts[0], QStringLiteral("大事"));
    refused(QStringLiteral("「含まれる文字列」を入力してください。"));
    TypeOver(*texts[1], QString(128, u'森'));
    refused(QStringLiteral("255 バイトまで"));
    TypeOver(*texts[1], QStringLiteral("\u2603"));
    refused(QStringLiteral("文字「\u2603」を使えません"));
    EXPECT_EQ(rule.focusWidget(), texts[1]);
    TypeOver(*texts[1], QStringLiteral("至急"));
    refused(QStringLiteral("移動先のフォルダを選んでください。"));
    EXPECT_EQ(rule.rule(), empty);
    boxes[1]->setCurrentText(QStringLiteral("仕事"));
    ClickOk(rule);
    EXPECT_EQ(rule.rule(), (organise::SortingRule{true, false, std::string("大事"_sjis), "To:",
                                                  std::string("至急"_sjis), std::string("仕事"_sjis)}));
}

TEST_F(RulesDialogTest, AddsAndEditsRules) {
    WriteRules();
    person_.Meets([](QDialog& dialog) {
        Person inner;
        // A rule can be renamed while its folder is missing.
        ListOf(dialog).setCurrentItem(ListOf(dialog).topLevelItem(1));
        inner.Meets([](QDialog& rule) {
            TypeOver(*rule.findChildren<QLineEdit*>()[0], "Later");
            ClickOk(rule);
        });
        QTest::keyClick(&ListOf(dialog), Qt::Key_Return);
        inner.Meets([](QDialog& rule) {
            TypeOver(*rule.findChildren<QLineEdit*>()[0], QStringLiteral("大事"));
            TypeOver(*rule.findChildren<QLineEdit*>()[1], QStringLiteral("至急"));
            rule.findChildren<QComboBox*>()[0]->setCurrentText("Cc:");
            rule.findChildren<QComboBox*>()[1]->setCurrentText(QStringLiteral("仕事"));
            rule.findChildren<QCheckBox*>()[1]->click();
            ClickOk(rule);
        });
        Press(dialog, QStringLiteral("追加"));
        EXPECT_EQ(Row(dialog, 3),
                  QStringList({QStringLiteral("大事"), QStringLiteral("有効"), QStringLiteral("自動"),
                               "Cc:", QStringLiteral("至急"), QStringLiteral("仕事")}));
        ListOf(dialog).setCurrentItem(ListOf(dialog).topLevelItem(1));
        // A dialog that is cancelled changes nothing.
        inner.Meets([](QDialog& rule) {
            TypeOver(*rule.findChildren<QLineEdit*>()[0], "No");
            ClickCancel(rule);
        });
        Press(dialog, QStringLiteral("編集"));
        ClickOk(dialog);
    });
    EXPECT_TRUE(RulesDialog::Edit(*desktop_, "Inbox", nullptr));
    EXPECT_EQ(FileBytes("Setting/filter.ini"), Rule("1", "Modems", "Subject:", "modem", "仕事#97"_sjis) +
                                                   Rule("0", "Later", "From:", "x", "Gone") +
                                                   Rule("3", "私信"_sjis, "本文:"_sjis, "森"_sjis, "Trash") +
                                                   Rule("3", "大事"_sjis, "Cc:", "至急"_sjis, "仕事"_sjis));
}

TEST_F(RulesDialogTest, OrdersCopiesDeletesAndSwitches) {
    WriteRules();
    EXPECT_TRUE(Edit([](QDialog& dialog) {
        QTest::keyClick(&ListOf(dialog), Qt::Key_Down, Qt::AltModifier);
        QTest::keyClick(&ListOf(dialog), Qt::Key_Down, Qt::AltModifier);
        QTest::keyClick(&ListOf(dialog), Qt::Key_Down, Qt::AltModifier);
        EXPECT_EQ(Row(dialog, 2)[0], "Modems");
        EXPECT_EQ(ListOf(dialog).currentItem()->text(0), "Modems") << "stays selected";
        QTest::keyClick(&ListOf(dialog), Qt::Key_Up, Qt::AltModifier);
        Press(dialog, QStringLiteral("複写"));
        QTest::keyClick(&ListOf(dialog), Qt::Key_Space);
        EXPECT_EQ(Row(dialog, 2)[1], QStringLiteral("無効"));
        ListOf(dialog).setCurrentItem(ListOf(dialog).topLevelItem(0));
        QTest::keyClick(&ListOf(dialog), Qt::Key_Delete);
        ClickOk(dialog);
    }));
    const std::string modems = Rule("1", "Modems", "Subject:", "modem", "仕事#97"_sjis);
    const std::string saved =
        modems + "0" + modems.substr(1) + Rule("3", "私信"_sjis, "本文:"_sjis, "森"_sjis, "Trash");
    EXPECT_EQ(FileBytes("Setting/filter.ini"), saved);
    EXPECT_FALSE(Edit([](QDialog& dialog) {
        for (int times = 0; times < 4; ++times)
            Press(dialog, QStringLiteral("削除"));
        EXPECT_EQ(ListOf(dialog).topLevelItemCount(), 0);
        ClickCancel(dialog);
    }));
    EXPECT_EQ(FileBytes("Setting/filter.ini"), saved);
}

TEST_F(RulesDialogTest, TriesRulesBeforeTheyAreSaved) {
    const std::string before = WriteRules();
    AddMail("Inbox", "About modems");
    AddMail("Inbox", "Other", "森\r\n"_sjis);
    AddMail("Inbox", "Nothing");
    EXPECT_FALSE(Edit([](QDialog& dialog) {
        Person inner;
        inner.Meets([](QDialog& trial) {
            ASSERT_EQ(ListOf(trial).topLevelItemCount(), 2);
            EXPECT_EQ(Row(trial, 0), QStringList({"About modems", "Mori, Aya", "97/01/23 04:05", "Modems",
                                                  QStringLiteral("仕事#97")}));
            EXPECT_EQ(Row(trial, 1)[4], "Trash");
            Click(trial, QDialogButtonBox::Close);
        });
        Press(dialog, QStringLiteral("試す"));
        Press(dialog, QStringLiteral("削除"));
        inner.Meets([](QDialog& trial) {
            EXPECT_EQ(ListOf(trial).topLevelItemCount(), 1);
            EXPECT_TRUE(trial.findChild<QLabel*>()->text().contains(QStringLiteral("1 通")));
            Click(trial, QDialogButtonBox::Close);
        });
        Press(dialog, QStringLiteral("試す"));
        ClickCancel(dialog);
    }));
    EXPECT_EQ(FileBytes("Setting/filter.ini"), before);
    EXPECT_EQ(program_->mailbox().CountMails("Inbox"), 3) << "nothing has moved";
}

TEST_F(RulesDialogTest, MeetsOtherProgramsAndBadFiles) {
    WriteRules();
    const std::string others = Rule("1", "Other", "To:", "a", "Trash");
    for (const bool over : {false, true}) {
        EXPECT_EQ(Edit([this, &others, over](QDialog& dialog) {
                      Press(dialog, QStringLiteral("複写"));
                      WriteFile("Setting/filter.ini", others);
                      const auto box = over ? &Person::ClicksOk : &Person::ClicksCancel;
                      Person inner;
                      (inner.*box)(QStringLiteral("ほかのプログラムで変更されています"));
                      ClickOk(dialog);
                      EXPECT_EQ(dialog.isVisible(), !over);
                      if (!over) ClickCancel(dialog);
                  }),
                  over);
        EXPECT_EQ(FileBytes("Setting/filter.ini") == others, !over);
        WriteRules();
    }
    // A line that holds what no dialog could write.
    WriteFile("Setting/filter.ini", Rule("1", "a\x01\x81", "Date:", std::string(300, 'x'), "") + "1\r\ncut");
    EXPECT_FALSE(Edit([](QDialog& dialog) {
        ASSERT_EQ(ListOf(dialog).topLevelItemCount(), 2);
        EXPECT_EQ(Row(dialog, 0)[3], QStringLiteral("Date:（使えない項目）"));
        EXPECT_TRUE(Row(dialog, 0)[4].endsWith(QStringLiteral("（長すぎます）")));
        EXPECT_EQ(Row(dialog, 0)[5], QStringLiteral("（空です）"));
        ClickOk(dialog);
    }));
    std::filesystem::remove(workspace_->root() / "Setting/filter.ini");
    std::filesystem::create_directory(workspace_->root() / "Setting/filter.ini");
    person_.ClicksOk(QStringLiteral("読み込めません"));
    EXPECT_FALSE(RulesDialog::Edit(*desktop_, "Inbox", nullptr));
}

}  // namespace
}  // namespace postkite::ui
