#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <fstream>

#include "core/shift_jis.h"
#include "tests/ui/desktop_test.h"
#include "ui/folders/folder_properties_dialog.h"
#include "ui/folders/read_conditions_dialog.h"
#include "ui/text.h"

namespace postkite::ui {
namespace {

using namespace core::literals;

void Click(QDialog& dialog, QDialogButtonBox::StandardButton which) {
    QTest::mouseClick(dialog.findChild<QDialogButtonBox*>()->button(which), Qt::LeftButton);
}

/// The button whose text begins so.
QPushButton& Button(QDialog& dialog, const QString& text) {
    for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
        if (button->text().startsWith(text)) return *button;
    }
    ADD_FAILURE() << "no button " << text.toStdString();
    return *dialog.findChild<QPushButton*>();
}

struct Fields {
    explicit Fields(QDialog& dialog)
        : sound(dialog.findChildren<QLineEdit*>().at(0)),
          address(dialog.findChildren<QLineEdit*>().at(1)),
          replyTemplate(dialog.findChild<QPlainTextEdit*>()) {}
    QLineEdit* sound;
    QLineEdit* address;
    QPlainTextEdit* replyTemplate;
};

class FolderDialogsTest : public DesktopTest {
  protected:
    [[nodiscard]] std::string PropertyName(const std::string& folder) {
        return program_->mailbox().bankDirectory() + "/" + folder + ".PROP";
    }
    [[nodiscard]] std::string Properties(const std::string& folder) {
        return FileBytes(PropertyName(folder));
    }
    /// What the person does in the properties of the Inbox that are in its file now.
    void InProperties(const std::function<void(QDialog&, Fields&)>& act) {
        store::FolderProperties properties;
        ASSERT_EQ(store::ReadFolderProperties(program_->mailbox().FilesOf("Inbox"), properties), 0);
        FolderPropertiesDialog dialog(*desktop_, "Inbox", properties, nullptr);
        dialog.show();
        Fields fields(dialog);
        act(dialog, fields);
    }
};

TEST_F(FolderDialogsTest, PropertiesAreTypedAndFoundInTheFile) {
    person_.Meets([this](QDialog& dialog) {
        Fields fields(dialog);
        EXPECT_EQ(dialog.windowTitle(),
                  Shown(program_->mailbox().bankDirectory()) + QStringLiteral("\\97 のプロパティ"));
        EXPECT_EQ(fields.sound->text() + fields.address->text() + fields.replyTemplate->toPlainText(),
                  QString());
        QTest::keyClicks(fields.sound, "wav\\new.wav");
        QTest::keyClicks(fields.address, "PKT00001");
        QTest::mouseClick(&Button(dialog, QStringLiteral("初期値")), Qt::LeftButton);
        Click(dialog, QDialogButtonBox::Ok);
    });
    EXPECT_TRUE(FolderPropertiesDialog::Show(*desktop_, "Inbox#97", nullptr));
    EXPECT_EQ(Properties("Inbox#97"), "PKV238 SETTING FILE\r\nwav\\new.wav\r\nPKT00001\r\n" +
                                          std::string(store::kDefaultReplyTemplate));

    // Cancelled, and confirmed as it is: not a byte is another.
    const std::string odd = "PKV238 SETTING FILE\r\na\x81\x01.wav\r\nb\tc\r\nlone\nline\r\nand\xFD end";
    WriteFile(PropertyName("Inbox"), odd);
    InProperties([](QDialog& dialog, Fields& fields) {
        fields.sound->setText("other");
        Click(dialog, QDialogButtonBox::Cancel);
        EXPECT_FALSE(dialog.isVisible());
    });
    EXPECT_EQ(Properties("Inbox"), odd);
    InProperties([](QDialog& dialog, Fields&) { Click(dialog, QDialogButtonBox::Ok); });
    EXPECT_EQ(Properties("Inbox"), odd);
}

TEST_F(FolderDialogsTest, AnOlderPropertyFileIsReadAndWrittenAnew) {
    WriteFile(PropertyName("Inbox"), "PKV232 SETTING FILE\r\nold.wav\r\n%n\r\n");
    InProperties([](QDialog& dialog, Fields& fields) {
        EXPECT_EQ(fields.sound->text(), "old.wav");
        EXPECT_EQ(fields.address->text(), QString());
        EXPECT_EQ(fields.replyTemplate->toPlainText(), "%n\n");
        fields.replyTemplate->appendPlainText("x");
        Click(dialog, QDialogButtonBox::Ok);
    });
    EXPECT_EQ(Properties("Inbox"), "PKV238 SETTING FILE\r\nold.wav\r\n\r\n%n\r\n\r\nx");
}

TEST_F(FolderDialogsTest, WhatAPropertyCannotHoldIsRefused) {
    InProperties([this](QDialog& dialog, Fields& fields) {
        const auto refused = [&](QWidget* field, const QString& why) {
            person_.ClicksOk(why);
            Click(dialog, QDialogButtonBox::Ok);
            EXPECT_TRUE(person_.hasSeenAll()) << why.toStdString();
            EXPECT_TRUE(dialog.isVisible());
            EXPECT_EQ(dialog.focusWidget(), field);
        };
        fields.sound->setText(QStringLiteral("a€.wav"));
        refused(fields.sound, QStringLiteral("文字「€」"));
        fields.sound->setText("a\rb");
        refused(fields.sound, QStringLiteral("制御文字"));
        fields.sound->setText("a.wav");
        fields.address->setText(QString(513, QChar(u'漢')));
        refused(fields.address, QStringLiteral("1024 バイトまで"));
        fields.address->setText(QString(512, QChar(u'漢')));
        fields.replyTemplate->setPlainText(QString(1025, u'x'));
        refused(fields.replyTemplate, QStringLiteral("1024 バイトまで"));
        EXPECT_EQ(Properties("Inbox"), "");
        fields.replyTemplate->setPlainText(QString(512, u'\n'));
        Click(dialog, QDialogButtonBox::Ok);
        EXPECT_FALSE(dialog.isVisible());
    });
    EXPECT_EQ(Properties("Inbox").size(), 21U + 7U + 1026U + 1024U);
}

TEST_F(FolderDialogsTest, PropertiesThatCannotBeReadOrWrittenAreTold) {
    std::filesystem::create_directories(workspace_->root() / PropertyName("Inbox"));
    person_.ClicksOk(QStringLiteral("フォルダのプロパティを扱えません。"));
    EXPECT_FALSE(FolderPropertiesDialog::Show(*desktop_, "Inbox", nullptr));
    EXPECT_TRUE(person_.hasSeenAll());
    FolderPropertiesDialog dialog(*desktop_, "Inbox", {}, nullptr);
    dialog.show();
    person_.ClicksOk(QStringLiteral("フォルダのプロパティを扱えません。"));
    Click(dialog, QDialogButtonBox::Ok);
    EXPECT_TRUE(dialog.isVisible());
}

TEST_F(FolderDialogsTest, ASoundIsPicked) {
    WriteFile("wav/ring.wav", "RIFF");
    std::ofstream(directory_.path() / "outside.wav") << "RIFF";
    InProperties([this](QDialog& dialog, Fields& fields) {
        const auto pick = [&](const std::filesystem::path& path) {
            person_.Meets([path](QDialog& files) {
                auto* picker = qobject_cast<QFileDialog*>(&files);
                ASSERT_NE(picker, nullptr);
                EXPECT_EQ(picker->nameFilters(), QStringList("Wave File (*.wav *.WAV)"));
                picker->selectFile(QString::fromStdString(path.string()));
                picker->findChild<QLineEdit*>()->setText(QString::fromStdString(path.string()));
                QMetaObject::invokeMethod(picker, "accept");
            });
            QTest::mouseClick(&Button(dialog, QStringLiteral("参照")), Qt::LeftButton);
        };
        pick(workspace_->root() / "wav/ring.wav");
        EXPECT_EQ(fields.sound->text(), "wav\\ring.wav");
        pick(directory_.path() / "outside.wav");
        EXPECT_EQ(fields.sound->text(), QString::fromStdString((directory_.path() / "outside.wav").string()));
    });
}

TEST_F(FolderDialogsTest, AReadConditionIsMadeAndChanged) {
    const std::string made("読み込み条件=notread\r\n"_sjis);
    person_.Meets([&](QDialog& dialog) {
        EXPECT_EQ(FileBytes("Setting/FABC,mes1"), made);
        EXPECT_EQ(dialog.findChild<QLineEdit*>()->text(), "93/01/01");
        EXPECT_TRUE(dialog.findChildren<QRadioButton*>().at(0)->isChecked());
        EXPECT_TRUE(dialog.findChild<QLabel*>()->text().startsWith(
            QStringLiteral("FABC,mes1 会議室の読み込み条件の設定\n\n最終アクセス日で指定された日より")));
        Click(dialog, QDialogButtonBox::Cancel);
    });
    EXPECT_FALSE(ReadConditionsDialog::Show(*desktop_, "Desktop2#FABC,mes1", nullptr));
    EXPECT_EQ(FileBytes("Setting/FABC,mes1"), made);

    person_.Meets([](QDialog& dialog) {
        EXPECT_TRUE(dialog.findChild<QLabel*>()->text().startsWith(QStringLiteral(
            "FABC,lib2 ライブラリの読み込み条件の設定\n\n最終アクセス日で指定された日以降に")));
        QTest::keyClick(dialog.findChildren<QRadioButton*>().at(2), Qt::Key_Space);
        auto* date = dialog.findChild<QLineEdit*>();
        date->selectAll();
        QTest::keyClicks(date, "97/01/23");
        Click(dialog, QDialogButtonBox::Ok);
    });
    EXPECT_TRUE(ReadConditionsDialog::Show(*desktop_, "FABC,lib2", nullptr));
    EXPECT_EQ(FileBytes("Setting/FABC,lib2"), "読み込み条件=perday\r\nlast access=97/01/23\r\n"_sjis);
    // As it is there, then.
    person_.Meets([](QDialog& dialog) {
        EXPECT_TRUE(dialog.findChildren<QRadioButton*>().at(2)->isChecked());
        EXPECT_EQ(dialog.findChild<QLineEdit*>()->text(), "97/01/23");
        QTest::keyClick(dialog.findChildren<QRadioButton*>().at(1), Qt::Key_Space);
        Click(dialog, QDialogButtonBox::Ok);
    });
    EXPECT_TRUE(ReadConditionsDialog::Show(*desktop_, "FABC,lib2", nullptr));
    EXPECT_EQ(FileBytes("Setting/FABC,lib2"), "読み込み条件=read\r\nlast access=97/01/23\r\n"_sjis);
}

TEST_F(FolderDialogsTest, AWrongDateKeepsTheDialogOpen) {
    ReadConditionsDialog dialog(*desktop_, "FABC,mes1", {}, nullptr);
    dialog.show();
    auto* date = dialog.findChild<QLineEdit*>();
    for (const char* wrong : {"", "97/1/23", "97/01/234", "97-01-23", "９７/01/23", "€"}) {
        date->setText(QString::fromUtf8(wrong));
        person_.ClicksOk(QStringLiteral("最終アクセス日の指定が違います。"));
        Click(dialog, QDialogButtonBox::Ok);
        EXPECT_TRUE(person_.hasSeenAll()) << wrong;
        EXPECT_TRUE(dialog.isVisible()) << wrong;
        EXPECT_EQ(FileBytes("Setting/FABC,mes1"), "") << wrong;
    }
    EXPECT_EQ(dialog.focusWidget(), date);

    person_.ClicksOk(QStringLiteral("Inbox は会議室でもライブラリでもありません。"));
    EXPECT_FALSE(ReadConditionsDialog::Show(*desktop_, "Inbox", nullptr));
    EXPECT_EQ(FileBytes("Setting/Inbox"), "");
}

}  // namespace
}  // namespace postkite::ui
