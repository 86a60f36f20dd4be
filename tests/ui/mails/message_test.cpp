#include <QAction>
#include <QClipboard>
#include <QFile>
#include <QFileDialog>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPrinter>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>

#include "core/shift_jis.h"
#include "tests/ui/desktop_test.h"
#include "ui/mails/find_bar.h"
#include "ui/mails/message_printing.h"
#include "ui/mails/message_text.h"
#include "ui/mails/message_view.h"
#include "ui/mails/message_window.h"
#include "ui/mails/text_links.h"

namespace postkite::ui {
namespace {

using namespace core::literals;

class MessageTest : public DesktopTest {
  protected:
    core::Settings& settings() { return program_->settings(); }

    MessageView& ShowBody(std::string_view body) {
        AddMail("Inbox", "subject"_sjis, body);
        return Show(program_->mailbox().CountMails("Inbox") - 1);
    }
    MessageView& Show(int number) {
        if (view_ == nullptr) {
            view_ = std::make_unique<MessageView>(*desktop_, nullptr);
            view_->resize(600, 300);
            view_->show();
            view_->SetLinkOpener([this](const QUrl& url) { opened_.append(url.toString()); });
        }
        view_->ShowMail("Inbox", number);
        QCoreApplication::processEvents();
        return *view_;
    }
    [[nodiscard]] QStringList Lines() const { return view_->toPlainText().split(u'\n'); }
    [[nodiscard]] bool HasColour(int block) const {
        for (const auto& range : view_->document()->findBlockByNumber(block).layout()->formats()) {
            if (range.format.hasProperty(QTextFormat::ForegroundBrush) && !range.format.fontUnderline())
                return true;
        }
        return false;
    }

    std::unique_ptr<MessageView> view_;
    QStringList opened_;
};

TEST_F(MessageTest, HeaderLinesStandAboveAsTheSettingsSay) {
    store::MailRecord record;
    record.flags = store::kComposedMailFlags;
    record.address = "PKT00021\xA0 PKT00022";
    record.name = "森"_sjis;
    record.date = "97/01/23 04:05 97/01/24 05:06";
    record.subject = "題"_sjis;
    record.cc = "PKT00023";
    record.attach = "a.txt";
    record.body = "body\r\n";
    ASSERT_EQ(program_->mailbox().AppendMail("Inbox", record, -1), 0);
    settings().hideCc = 0;
    settings().displayHeader = 2;
    Show(0);
    EXPECT_EQ(Lines(), QStringList({"宛先: 森 (PKT00021, PKT00022)", "日付: 97/01/23 04:05",
                                    "送信日付: 97/01/24 05:06", "題名: 題", "CC: PKT00023", "添付: a.txt", "",
                                    "body"}));
    settings().hideCc = 1;
    view_->ApplySettings();
    EXPECT_FALSE(view_->toPlainText().contains("CC"));
    settings().displayHeader = 0;
    view_->ApplySettings();
    EXPECT_EQ(view_->toPlainText(), "body");
    view_->Clear();
    EXPECT_EQ(view_->toPlainText(), "");
    EXPECT_FALSE(view_->showsMail());
}

TEST_F(MessageTest, HalfAMegabyteInOneLineIsShownInPieces) {
    constexpr std::size_t kBytes = 500000;
    std::string body;
    while (body.size() < kBytes)
        body += "> あa"_sjis;
    settings().displayHeader = 0;
    ShowBody(body);
    const QString whole = QString::fromUtf8("> あa").repeated(static_cast<int>(body.size() / 5));
    int blocks = 0;
    QString shown;
    for (QTextBlock block = view_->document()->begin(); block.isValid(); block = block.next()) {
        ASSERT_LE(block.text().size(), kLongestShownLine);
        shown += block.text();
        ++blocks;
    }
    EXPECT_EQ(blocks, (whole.size() + kLongestShownLine - 1) / kLongestShownLine);
    EXPECT_EQ(shown, whole);
    EXPECT_TRUE(HasColour(0));
    EXPECT_TRUE(HasColour(blocks - 1));
    // What is copied has the line whole.
    view_->selectAll();
    view_->copy();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), whole);
}

TEST_F(MessageTest, AsManyLinesAsAMailCanHaveAreShown) {
    settings().displayHeader = 0;
    std::string body;
    for (int line = 0; line < 250000; ++line)
        body += "\r\n";
    ShowBody(body);
    EXPECT_EQ(view_->document()->blockCount(), 250000);
}

TEST_F(MessageTest, HostileTextIsShownAndDoesNothing) {
    settings().displayHeader = 0;
    ShowBody("<b>x</b>\x1b[31m\x07\tend\rlone\nfeed\x81");
    EXPECT_EQ(Lines(),
              QStringList({QString("<b>x</b>\u241b[31m\u2407\tend"), "lone", QString("feed\uFFFD")}));
    // A mail that leads nowhere.
    std::string index = FileBytes("MailBox1/Inbox.loc");
    index.replace(0, 5, "99999");
    WriteFile("MailBox1/Inbox.loc", index);
    settings().displayHeader = 1;
    Show(0);
    EXPECT_TRUE(view_->toPlainText().contains("題名: subject"));
    EXPECT_TRUE(view_->toPlainText().contains("壊れているか"));
    Show(77);
    EXPECT_TRUE(view_->toPlainText().contains("なくなっています"));
}

TEST_F(MessageTest, QuotedLinesHaveAColour) {
    settings().displayHeader = 0;
    settings().quotationMark = "％"_sjis;
    ShowBody("> a\r\n \t＞b\r\n　|c\r\n％d\r\nplain > e\r\n"_sjis);
    EXPECT_TRUE(HasColour(0) && HasColour(1) && HasColour(2) && HasColour(3));
    EXPECT_FALSE(HasColour(4));
}

TEST(TextLinksTest, FindsLinksAndNothingElse) {
    const auto links = [](const QString& line) {
        QStringList found;
        for (const TextLink& link : FindLinks(line))
            found.append(UrlOf(QStringView(line).sliced(link.start, link.length)).toString());
        return found;
    };
    EXPECT_EQ(links("見よhttp://a.example/b?c=1。HTTPS://b.example), ftp://c.example."),
              QStringList({"http://a.example/b?c=1", "https://b.example", "ftp://c.example"}));
    EXPECT_EQ(links("<aya.mori@example.com>, mailto:b@c.example"),
              QStringList({"mailto:aya.mori@example.com", "mailto:b@c.example"}));
    EXPECT_EQ(links("(http://a.example/(x))"), QStringList({"http://a.example/(x))"}));
    for (const char* line :
         {"javascript:x file:///etc/passwd", "a@b", "@example.com", "http://", "xhttp://a.b", "a@.com"})
        EXPECT_EQ(links(line), QStringList()) << line;
    EXPECT_EQ(FindLinks(QString("a@").repeated(100000)).size(), 0U);
    EXPECT_EQ(FindLinks(QString("mail").repeated(100000)).size(), 0U);
}

TEST_F(MessageTest, LinksAreOpenedByClickAndKey) {
    settings().displayHeader = 0;
    ShowBody("see http://a.example/ now\r\nnothing\r\n");
    QTextCursor cursor(view_->document());
    cursor.setPosition(8);
    const QPoint over = view_->cursorRect(cursor).center() + QPoint(2, 0);
    QTest::mouseMove(view_->viewport(), over);
    EXPECT_EQ(view_->viewport()->cursor().shape(), Qt::PointingHandCursor);
    QTest::mouseClick(view_->viewport(), Qt::LeftButton, {}, over);
    EXPECT_EQ(opened_, QStringList({"http://a.example/"}));
    QTest::mouseClick(view_->viewport(), Qt::LeftButton, {}, QPoint(over.x() + 400, over.y()));
    QTest::mouseMove(view_->viewport(), QPoint(2, over.y()));
    EXPECT_EQ(view_->viewport()->cursor().shape(), Qt::IBeamCursor);
    cursor.setPosition(5);
    view_->setTextCursor(cursor);
    QTest::keyClick(view_.get(), Qt::Key_Return);
    EXPECT_EQ(opened_.size(), 2);
    QTest::keyClick(view_.get(), Qt::Key_Down);
    QTest::keyClick(view_.get(), Qt::Key_Return);
    EXPECT_EQ(opened_.size(), 2);
}

TEST_F(MessageTest, TheSpaceBarPagesAndAsksForTheNextMail) {
    std::string body;
    for (int line = 0; line < 50; ++line)
        body += "line\r\n";
    ShowBody(body);
    QSignalSpy asked(view_.get(), &MessageView::NextUnreadAsked);
    QScrollBar* bar = view_->verticalScrollBar();
    ASSERT_GT(bar->maximum(), 0);
    int pages = 0;
    while (bar->value() < bar->maximum() && pages < 50) {
        QTest::keyClick(view_.get(), Qt::Key_Space);
        ++pages;
    }
    EXPECT_GT(pages, 1);
    EXPECT_EQ(asked.count(), 0);
    QTest::keyClick(view_.get(), Qt::Key_Space);
    EXPECT_EQ(asked.count(), 1);
    const int end = bar->value();
    QTest::keyClick(view_.get(), Qt::Key_Space, Qt::ShiftModifier);
    EXPECT_LT(bar->value(), end);
    while (bar->value() > 0 && pages-- > 0)
        QTest::keyClick(view_.get(), Qt::Key_Backspace);
    EXPECT_EQ(bar->value(), 0);

    // The same mail under another number stays where it is being read.
    QTest::keyClick(view_.get(), Qt::Key_Space);
    const int read = bar->value();
    Show(0);
    EXPECT_EQ(bar->value(), read);
}

TEST_F(MessageTest, FindsInTheTextRoundTheEnd) {
    settings().displayHeader = 0;
    ShowBody("one Two\r\ntwo three\r\n");
    EXPECT_TRUE(view_->FindNext("TWO", false));
    EXPECT_EQ(view_->textCursor().selectionStart(), 4);
    EXPECT_TRUE(view_->FindNext("two", false));
    EXPECT_EQ(view_->textCursor().selectionStart(), 8);
    EXPECT_TRUE(view_->FindNext("two", false));
    EXPECT_EQ(view_->textCursor().selectionStart(), 4);
    EXPECT_TRUE(view_->FindNext("two", true));
    EXPECT_EQ(view_->textCursor().selectionStart(), 8);
    EXPECT_FALSE(view_->FindNext("none", false));
}

TEST_F(MessageTest, SavesTheStoredBytesOrUtf8) {
    const std::string body = std::string("日本"_sjis) + "\xFF";
    AddMail("Inbox", "報告/1"_sjis, body);
    Show(0);
    const std::string header(
        "差出人: Mori, Aya (PKT00021)\r\n日付: 97/01/23 04:05\r\n題名: 報告/1\r\n\r\n"_sjis);
    const auto save = [&](const QString& name, const QString& filter) {
        const QString path = QString::fromStdString((directory_.path() / name.toStdString()).string());
        person_.Meets([&](QDialog& shown) {
            auto& dialog = dynamic_cast<QFileDialog&>(shown);
            auto* line = dialog.findChild<QLineEdit*>();
            EXPECT_EQ(line->text(), "報告_1.txt");
            line->setText(path);
            for (const QString& offered : dialog.nameFilters())
                if (offered.contains(filter)) dialog.selectNameFilter(offered);
            QTest::keyClick(line, Qt::Key_Return);
        });
        view_->SaveAsText();
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll().toStdString();
    };
    EXPECT_EQ(save("b.txt", "シフト"), header + body + "\r\n");
    EXPECT_EQ(save("c.txt", "UTF-8"),
              "差出人: Mori, Aya (PKT00021)\n日付: 97/01/23 04:05\n題名: 報告/1\n\n日本\uFFFD\n");
    for (const auto& [subject, name] :
         {std::pair("../etc", "_etc"), std::pair("", "mail"), std::pair("...", "mail"),
          std::pair("a\nb", "a_b"), std::pair("-rf *", "rf _")}) {
        EXPECT_EQ(FileNameOf(subject), QString(name));
    }
}

TEST_F(MessageTest, NothingIsPrintedOrSavedWithoutTheDialogsConsent) {
    settings().displayHeader = 0;
    Show(0);
    // There is no mail: no dialog comes.
    view_->Print();
    view_->SaveAsText();
    ShowBody("text");
    int dialogs = 0;
    const auto leave = [&](QDialog& dialog) {
        ++dialogs;
        dialog.reject();
    };
    person_.Meets(leave);
    view_->Print();
    person_.Meets(leave);
    view_->SaveAsText();
    EXPECT_EQ(dialogs, 2);
}

TEST_F(MessageTest, PrintsPagesWithTheWholeText) {
    std::string body;
    for (int line = 0; line < 200; ++line)
        body += "line " + std::to_string(line) + "\r\n";
    ShowBody(body + std::string(5000, 'x'));
    const QString path = QString::fromStdString((directory_.path() / "mail.pdf").string());
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(path);
    EXPECT_TRUE(PrintText(printer, view_->toPlainText(), "title", view_->font()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    EXPECT_TRUE(bytes.startsWith("%PDF"));
    EXPECT_GE(bytes.count("/Type /Page\n"), 4);

    const QFontMetricsF metrics(view_->font());
    const qreal width = metrics.horizontalAdvance('x') * 10.5;
    EXPECT_EQ(RowsOf(QString(25, 'x') + "\n\nab", metrics, width),
              QStringList({QString(10, 'x'), QString(10, 'x'), QString(5, 'x'), "", "ab"}));
}

TEST_F(MessageTest, TheWindowKeepsItsPlace) {
    AddMail("Inbox", "＆ subject"_sjis);
    settings().bodyLeft = 30;
    settings().bodyTop = 40;
    settings().bodyWidth = 500;
    settings().bodyHeight = 50;
    auto* window = new MessageWindow(*desktop_, nullptr);
    window->ShowMail("Inbox", 0);
    window->show();
    EXPECT_EQ(window->geometry().size(), QSize(500, 200));
    EXPECT_EQ(window->windowTitle(), "＆ subject");
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    window->move(60, 70);
    window->resize(450, 350);

    QTest::keyClick(window, Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(window->findBar().isVisible());
    auto* line = window->findBar().findChild<QLineEdit*>();
    QTest::keyClicks(line, "TEXT");
    QTest::keyClick(line, Qt::Key_Return);
    EXPECT_EQ(window->view().textCursor().selectedText(), "text");
    QTest::keyClick(line, Qt::Key_Escape);
    EXPECT_FALSE(window->findBar().isVisible());

    QSignalSpy gone(window, &QObject::destroyed);
    QTest::keyClick(window, Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([&] { return gone.count() == 1; }));
    EXPECT_EQ(settings().bodyLeft, 60);
    EXPECT_EQ(settings().bodyTop, 70);
    EXPECT_EQ(settings().bodyWidth, 450);
    EXPECT_EQ(settings().bodyHeight, 350);
}

TEST(FindBarTest, FiltersAsOneTypesAndFindsInTheText) {
    QWidget window;
    FindBar bar(true, &window);
    window.show();
    QSignalSpy filter(&bar, &FindBar::FilterChanged);
    QSignalSpy asked(&bar, &FindBar::FindAsked);
    bar.Open(FindBar::Mode::List);
    auto* line = bar.findChild<QLineEdit*>();
    QTest::keyClicks(line, "abc");
    EXPECT_TRUE(QTest::qWaitFor([&] { return filter.count() == 1; }));
    EXPECT_EQ(filter[0][0].toString(), "abc");
    bar.Open(FindBar::Mode::Text);
    EXPECT_EQ(filter.last()[0].toString(), "");
    QTest::keyClick(line, Qt::Key_Return);
    QTest::keyClick(line, Qt::Key_Return, Qt::ShiftModifier);
    ASSERT_EQ(asked.count(), 2);
    EXPECT_FALSE(asked[0][1].toBool());
    EXPECT_TRUE(asked[1][1].toBool());
    bar.Open(FindBar::Mode::List);
    EXPECT_EQ(filter.last()[0].toString(), "abc");
    bar.ForgetFilter();
    EXPECT_EQ(bar.text(), "");
    QTest::keyClick(line, Qt::Key_Escape);
    EXPECT_FALSE(bar.isVisible());
}

}  // namespace
}  // namespace postkite::ui
