// Every window and dialog as a person sees it: nothing is cut off, nothing overlaps, everything fits the screen. With
// $POSTKITE_SCREENSHOTS set to a directory, a picture of each is left there.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QLayout>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QListWidget>
#include <QPalette>
#include <QScreen>
#include <QScrollBar>
#include <QStyleFactory>
#include <QTest>
#include <QToolBar>
#include <QTranslator>

#include "core/shift_jis.h"
#include "organise/rule_file.h"
#include "tests/ui/desktop_test.h"
#include "ui/dialogs/start_up_password_dialog.h"
#include "ui/folders/folder_tree_view.h"
#include "ui/mails/mail_list_view.h"
#include "ui/window/commands.h"
#include "ui/window/main_window.h"

namespace postkite::ui {
namespace {

using namespace core::literals;

struct Look {
    const char* name;
    bool english;
    bool dark;
    double fontScale;
};

void PrintTo(const Look& look, std::ostream* out) {
    *out << look.name;
}

QPalette DarkPalette() {
    QPalette palette;
    const QColor window(45, 45, 48);
    const QColor base(30, 30, 30);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Button, window);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::BrightText})
        palette.setColor(role, Qt::white);
    palette.setColor(QPalette::ToolTipBase, window);
    palette.setColor(QPalette::ToolTipText, Qt::white);
    palette.setColor(QPalette::PlaceholderText, Qt::lightGray);
    palette.setColor(QPalette::Link, QColor(100, 170, 255));
    palette.setColor(QPalette::Highlight, QColor(40, 100, 190));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, Qt::gray);
    return palette;
}

class LooksTest : public DesktopTest, public ::testing::WithParamInterface<Look> {
  protected:
    LooksTest() : font_(QApplication::font()), palette_(QApplication::palette()) {
        QFont font = font_;
        font.setPointSizeF(font.pointSizeF() * GetParam().fontScale);
        QApplication::setFont(font);
        if (GetParam().dark) QApplication::setPalette(DarkPalette());
        EXPECT_TRUE(GetParam().english
                        ? translator_.load(QStringLiteral(":/i18n/postkite_en.qm"))
                        : translator_.load(QLocale(QLocale::Japanese), QStringLiteral("qtbase"),
                                           QStringLiteral("_"),
                                           QLibraryInfo::path(QLibraryInfo::TranslationsPath)));
        QApplication::installTranslator(&translator_);
        FillMailbox();
    }
    ~LooksTest() override {
        QApplication::removeTranslator(&translator_);
        QApplication::setPalette(palette_);
        QApplication::setFont(font_);
    }

    void FillMailbox() {
        core::Environment& home = program_->environments().entries[0];
        home.name = "自宅"_sjis;
        home.userId = "ABC00123";
        program_->environments().entries[1].name = "会社"_sjis;
        EXPECT_EQ(program_->SaveEnvironments(), 0);
        for (const std::string_view folder :
             {"server"_sjis, "仕事"_sjis, "FSORA,mes1"_sjis, "FSORA,lib1"_sjis})
            EXPECT_EQ(program_->folders().NewFolder("Desktop", folder), 0);
        EXPECT_EQ(program_->folders().NewFolder("仕事"_sjis, "97"), 0);
        AddMail("Inbox", "日曜の凧あげ"_sjis,
                "日曜日、水門の横で凧をあげます。\r\n地図は http://kites.example/map にあります。\r\n"
                "> 手袋は持っていきますか？\r\n> 糸巻は？\r\n両方ともお願いします。\r\n"_sjis);
        AddMail("Inbox", "Re:日曜の凧あげ"_sjis, "了解です。\r\n"_sjis, "RosRR ---- OP     ");
        AddMail("Inbox", "Re^2:日曜の凧あげ"_sjis, "では一時に。\r\n"_sjis, "RosRr ---- OP     ");
        AddMail("FSORA,mes1", "犬の耳"_sjis, "凧の音が聞こえるようです。\r\n"_sjis, "Rosrr ---- NP     ");
        const organise::SortingRule rule{true,    false,      std::string("凧の仲間"_sjis),
                                         "From:", "PKT00021", std::string("仕事"_sjis)};
        EXPECT_EQ(organise::SaveRules(*workspace_, organise::kRuleFile, std::array{rule}).result, 0);
    }

    static void Check(QWidget& window, const char* name) {
        // The counts of unread mail are read while nothing else is done.
        for (int round = 0; round < 20; ++round)
            QApplication::processEvents();
        const QRect screen = window.screen()->availableGeometry();
        EXPECT_LE(window.width(), screen.width()) << name;
        EXPECT_LE(window.height(), screen.height()) << name;
        for (const QWidget* widget : window.findChildren<QWidget*>())
            CheckWidget(*widget, name);
        const QString directory = qEnvironmentVariable("POSTKITE_SCREENSHOTS");
        if (directory.isEmpty()) return;
        EXPECT_TRUE(
            window.grab().save(QStringLiteral("%1/%2-%3.png")
                                   .arg(directory, QLatin1String(name), QLatin1String(GetParam().name))));
    }

    static void CheckWidget(const QWidget& widget, const char* name) {
        if (!widget.isVisible()) return;
        const auto* label = qobject_cast<const QLabel*>(&widget);
        const auto* button = qobject_cast<const QAbstractButton*>(&widget);
        const QString text = label != nullptr    ? label->text()
                             : button != nullptr ? button->text()
                                                 : QString();
        const bool givesWay = widget.sizePolicy().horizontalPolicy() == QSizePolicy::Ignored;
        if (!text.isEmpty() && !givesWay && (label == nullptr || !label->wordWrap())) {
            EXPECT_GE(widget.width(), widget.sizeHint().width())
                << name << ": cut off: " << text.toStdString();
        }
        if (label != nullptr && label->wordWrap()) {
            EXPECT_GE(widget.height(), label->heightForWidth(widget.width()))
                << name << ": " << text.toStdString();
        }
        if (const auto* line = qobject_cast<const QLineEdit*>(&widget);
            line != nullptr && qobject_cast<const QAbstractSpinBox*>(line->parentWidget()) == nullptr) {
            EXPECT_GE(widget.width(), 3 * widget.fontMetrics().averageCharWidth())
                << name << ": no room to type";
        }
        if (const auto* area = qobject_cast<const QAbstractScrollArea*>(&widget);
            area != nullptr && area->inherits("postkite::ui::SettingsPage")) {
            EXPECT_FALSE(area->horizontalScrollBar()->isVisible()) << name << ": scrolls sideways";
        }
        if (widget.layout() == nullptr) return;
        const QLayout& layout = *widget.layout();
        for (int left = 0; left < layout.count(); ++left) {
            for (int right = left + 1; right < layout.count(); ++right) {
                const QWidget* a = layout.itemAt(left)->widget();
                const QWidget* b = layout.itemAt(right)->widget();
                if (a == nullptr || b == nullptr || !a->isVisible() || !b->isVisible()) continue;
                EXPECT_FALSE(a->geometry().intersects(b->geometry()))
                    << name << ": " << a->metaObject()->className() << " over "
                    << b->metaObject()->className();
            }
        }
    }

    /// Has the next dialog looked at, its pages one after another where it has any, and dismissed.
    void ExpectDialog(const char* name) {
        person_.Meets([name](QDialog& dialog) {
            QApplication::processEvents();
            auto* pages = dialog.findChild<QListWidget*>();
            const int count =
                QLatin1String(name) == QLatin1String("settings") && pages != nullptr ? pages->count() : 1;
            for (int page = 0; page < count; ++page) {
                if (count > 1) pages->setCurrentRow(page);
                const QByteArray numbered =
                    QByteArray(name) + (count > 1 ? QByteArray::number(page) : QByteArray());
                Check(dialog, numbered.constData());
            }
            dialog.reject();
        });
    }

    QFont font_;
    QPalette palette_;
    QTranslator translator_;
};

TEST_P(LooksTest, NothingIsCutOffOrOverlaps) {
    program_->settings().mailWindowWidth = 1200;
    program_->settings().mailWindowHeight = 740;
    MainWindow window(*desktop_);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    auto* folders = window.findChild<FolderTreeView*>();
    folders->expandAll();
    window.findChild<MailListView*>()->Choose(0);
    Check(window, "main");
    // The offscreen platform's screen is too narrow for all three bands in a row.
    constexpr int kRoomForAllBands = 1100;
    for (const int band : {1, 2}) {
        if (window.width() < kRoomForAllBands) break;
        const auto* bar = window.findChild<QToolBar*>(QStringLiteral("band%1").arg(band));
        EXPECT_TRUE(bar->findChild<QComboBox*>()->isVisible()) << "chooser " << band;
    }

    const Commands& commands = *window.findChild<Commands*>();
    const std::pair<Command, const char*> dialogs[] = {
        {Command::EditSettings, "settings"}, {Command::EditEnvironments, "environments"},
        {Command::EditRules, "rules"},       {Command::FolderProperties, "properties"},
        {Command::MoveMails, "chooser"},     {Command::ShowShortcuts, "shortcuts"},
        {Command::ShowAbout, "about"},
    };
    for (const auto& [command, name] : dialogs) {
        ExpectDialog(name);
        commands.action(command)->trigger();
    }
    for (const auto& [folder, name] : {std::pair{"FSORA,mes1", "room"}, std::pair{"FSORA,lib1", "library"}}) {
        folders->Select(folder);
        ExpectDialog(name);
        commands.action(Command::ReadCondition)->trigger();
    }
    program_->settings().askStartUpPassword = 1;
    program_->settings().startUpPassword = "secret";
    ExpectDialog("password");
    EXPECT_FALSE(StartUpPasswordDialog::Ask(*desktop_, nullptr));
}

INSTANTIATE_TEST_SUITE_P(Looks, LooksTest,
                         ::testing::Values(Look{"ja-light", false, false, 1.0},
                                           Look{"ja-dark", false, true, 1.0},
                                           Look{"en-light", true, false, 1.0},
                                           Look{"en-dark", true, true, 1.0},
                                           Look{"ja-large", false, false, 1.5}),
                         [](const auto& instance) {
                             std::string name = instance.param.name;
                             name.erase(name.find('-'), 1);
                             return name;
                         });

}  // namespace
}  // namespace postkite::ui
