#include <QHeaderView>
#include <QSignalSpy>
#include <QTest>

#include "core/shift_jis.h"
#include "organise/rule_file.h"
#include "store/index_record.h"
#include "tests/store/older_folder.h"
#include "tests/ui/desktop_test.h"
#include "ui/mails/mail_list_columns.h"
#include "ui/mails/mail_list_model.h"
#include "ui/mails/mail_list_view.h"
#include "ui/mails/mail_mime.h"
#include "ui/mails/mail_order.h"

namespace postkite::ui {
namespace {

using namespace core::literals;

class MailListTest : public DesktopTest {
  protected:
    core::Settings& settings() { return program_->settings(); }

    /// Puts a mail at the end; what is not given stays as `AddMail` has it.
    void Add(std::string_view folder, const std::function<void(store::MailRecord&)>& change) {
        store::MailRecord record;
        record.flags = store::kReceivedMailFlags;
        record.address = "PKT00021";
        record.name = "Mori, Aya";
        record.date = "97/01/23 04:05";
        record.subject = "subject";
        record.body = "text\r\n";
        change(record);
        ASSERT_EQ(program_->mailbox().AppendMail(folder, record, -1), 0);
    }
    void AddMany(std::string_view folder, int count) {
        const auto writer = program_->mailbox().OpenWriter(folder);
        for (int number = 0; number < count; ++number) {
            store::MailRecord record;
            record.flags = "RosRr ---- OP     ";
            record.subject = "mail " + std::to_string(number);
            record.date = "97/01/23 04:05";
            ASSERT_EQ(program_->mailbox().AppendTo(*writer, record), 0);
        }
        ASSERT_EQ(program_->mailbox().Commit(*writer, folder), 0);
    }

    MailListView& Show(const std::string& folder) {
        view_ = std::make_unique<MailListView>(*desktop_, nullptr);
        view_->resize(900, 400);
        view_->show();
        view_->Open(folder);
        QCoreApplication::processEvents();
        return *view_;
    }
    [[nodiscard]] MailListModel& model() { return *dynamic_cast<MailListModel*>(view_->model()); }
    [[nodiscard]] QString Text(int row, int column, int role = Qt::DisplayRole) {
        return model().index(row, column).data(role).toString();
    }
    [[nodiscard]] QStringList Column(int column) {
        QStringList texts;
        for (int row = 0; row < model().rowCount(); ++row)
            texts.append(Text(row, column));
        return texts;
    }
    void SelectRows(std::vector<int> rows) {
        view_->selectionModel()->clear();
        for (const int row : rows) {
            view_->selectionModel()->setCurrentIndex(model().index(row, 0),
                                                     QItemSelectionModel::Select | QItemSelectionModel::Rows);
        }
    }
    void ClickHeader(int column) {
        QHeaderView* header = view_->header();
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          QPoint(header->sectionViewportPosition(column) + 10, header->height() / 2));
    }
    [[nodiscard]] char FlagOf(std::string_view folder, int number, std::size_t position) {
        return Entry(folder, number).flags.view()[position];
    }

    std::unique_ptr<MailListView> view_;
};

TEST_F(MailListTest, OpensAndShowsALargeFolderByReadingAFewScreens) {
    AddMany("Inbox", 10000);
    Show("Inbox");
    view_->grab();
    EXPECT_EQ(view_->mailCount(), 10000);
    EXPECT_EQ(view_->current(), 9999);
    EXPECT_LT(model().recordsRead(), 600);

    const int before = model().recordsRead();
    QTest::keyClick(view_.get(), Qt::Key_Home);
    view_->grab();
    QTest::keyClick(view_.get(), Qt::Key_M);
    EXPECT_EQ(view_->current(), 0);
    EXPECT_LT(model().recordsRead() - before, 200);
    EXPECT_EQ(Text(5000, kSubjectColumn), "mail 5000");
}

TEST_F(MailListTest, MarksAreDrawnAndSaid) {
    struct Case {
        std::string_view flags;
        std::string_view attach;
        QStringList icons;
        QString words;
    };
    const Case cases[] = {
        {"Rosrr ---- OP     ", "", {"mail-unread"}, "未読、件名"},
        {"RosRR ---- OP     ", "", {"mail-read", "mail-replied"}, "既読、返信済み、件名"},
        {"SoSRr --Y- 0P     ",
         "a.txt",
         {"mail-written", "mail-sent", "mail-reserved", "mail-attachment"},
         "既読、作成したメール、送信済み、送信予約、添付あり、件名"},
        {"Rosrr ----NOP     ", "", {"forum-message"}, "未読、フォーラムの発言、件名"},
        {"RosRr ----LOP     ", "", {"library-entry"}, "既読、ライブラリのデータ、件名"},
    };
    for (const Case& known : cases) {
        Add("Inbox", [&](store::MailRecord& record) {
            record.flags = known.flags;
            record.flags[store::flag::kPosition8] =
                known.flags.find('Y') != std::string_view::npos ? 'Y' : '-';
            record.attach = known.attach;
        });
    }
    Show("Inbox");
    for (int row = 0; row < 5; ++row) {
        const Case& known = cases[row];
        const unsigned marks = model().index(row, 0).data(MailListModel::kMarksRole).toUInt();
        EXPECT_EQ(IconsOf(marks), known.icons) << row;
        EXPECT_TRUE(Text(row, 0, Qt::AccessibleTextRole).startsWith(known.words))
            << Text(row, 0, Qt::AccessibleTextRole).toStdString();
    }
    settings().lineNumberDisplay = 1;
    view_->ApplySettings();
    EXPECT_EQ(Text(3, 0), "4");
}

TEST_F(MailListTest, UnreadIsBoldAndTheCursorIsOnTheFirstOfThemAtTheEnd) {
    AddMail("Inbox", "a", "text\r\n", "RosRr ---- OP     ");
    AddMail("Inbox", "b");
    AddMail("Inbox", "c");
    Show("Inbox");
    EXPECT_EQ(view_->current(), 1);
    EXPECT_EQ(view_->nextUnread(), 2);
    view_->Choose(2);
    EXPECT_EQ(view_->nextUnread(), 1);
    view_->SortBy(MailSortKey::Subject, true);
    EXPECT_EQ(view_->nextUnread(), 1);
    SelectRows({0, 1});
    view_->MarkRead(true);
    EXPECT_EQ(view_->nextUnread(), -1);
}

TEST_F(MailListTest, SortsByEachColumnByClicks) {
    const auto add = [&](const char* address, const char* name, const char* date, const char* subject,
                         std::size_t bodyBytes) {
        Add("Inbox", [&](store::MailRecord& record) {
            record.address = address;
            record.name = name;
            record.date = date;
            record.subject = subject;
            record.body = std::string(bodyBytes, 'x');
        });
    };
    add("B", "kato", "05/01/01 00:00", "Re: apple", 9000);
    add("a", "Ito", "99/12/31 23:59", "banana", 10);
    add("C", "abe", "70/01/01 00:00", "apple", 5000);
    add("a", "ABE", "99/12/31 23:59", "Re^2:apple", 10);
    Show("Inbox");
    const auto order = [&] {
        std::vector<int> numbers;
        for (int row = 0; row < model().rowCount(); ++row)
            numbers.push_back(model().RecordAt(row));
        return numbers;
    };
    using Numbers = std::vector<int>;
    const std::pair<int, Numbers> sorted[] = {
        {kIdColumn, {1, 3, 0, 2}},   {kNameColumn, {2, 3, 1, 0}},    {kSizeColumn, {3, 1, 2, 0}},
        {kDateColumn, {2, 1, 3, 0}}, {kSubjectColumn, {2, 0, 3, 1}},
    };
    for (const auto& [column, numbers] : sorted) {
        ClickHeader(column);
        EXPECT_EQ(order(), numbers) << column;
        EXPECT_TRUE(view_->header()->isSortIndicatorShown());
    }
    ClickHeader(kSubjectColumn);
    EXPECT_EQ(order(), Numbers({1, 3, 0, 2}));
    ClickHeader(kSubjectColumn);
    EXPECT_EQ(order(), Numbers({0, 1, 2, 3}));
    ClickHeader(kMarksColumn);
    EXPECT_EQ(order(), Numbers({3, 2, 1, 0}));
}

TEST_F(MailListTest, FiltersInAnyCaseAndWidth) {
    AddMail("Inbox", "Ａｐｐｌｅ pie"_sjis);
    AddMail("Inbox", "ｶﾀｶﾅ"_sjis);
    Add("Inbox", [](store::MailRecord& record) { record.name = "APPLEBY"; });
    Add("Inbox", [](store::MailRecord& record) { record.address = "apple@example.com"; });
    Show("Inbox");
    QSignalSpy counts(view_.get(), &MailListView::CountsChanged);
    view_->SetFilter("apple");
    EXPECT_EQ(model().rowCount(), 3);
    EXPECT_EQ(counts.last()[0].toString(), "4 通中 3 通を表示");
    view_->SetFilter("カタカナ");
    ASSERT_EQ(model().rowCount(), 1);
    EXPECT_EQ(model().RecordAt(0), 1);
    view_->SetFilter("nothing");
    EXPECT_EQ(model().rowCount(), 0);
    EXPECT_EQ(view_->current(), -1);
    view_->SetFilter("");
    EXPECT_EQ(view_->current(), 0);
    view_->SetFilter("katakana");
    QSignalSpy cleared(view_.get(), &MailListView::FilterCleared);
    view_->Choose(2);
    EXPECT_EQ(cleared.count(), 1);
    EXPECT_EQ(view_->current(), 2);
    EXPECT_EQ(model().rowCount(), 4);
}

TEST_F(MailListTest, IndentsByPrefixAndPutsThreadsTogether) {
    const auto add = [&](std::string_view subject, const char* date, char digit) {
        Add("Inbox", [&](store::MailRecord& record) {
            record.subject = subject;
            record.date = date;
            record.flags[store::flag::kDigit] = digit;
        });
    };
    const std::string longSubject(48, 'x');
    add("one", "97/01/01 00:00", '-');
    add(longSubject, "97/01/02 00:00", '-');
    add("Re^3:one", "97/01/05 00:00", '-');
    add("Re:one", "97/01/03 00:00", '4');
    add("Re:" + longSubject, "97/01/04 00:00", '-');
    add("", "97/01/04 00:00", '-');
    add("Re:", "97/01/04 00:00", '-');
    settings().titleTree = 1;
    Show("Inbox");
    EXPECT_EQ(Text(2, kSubjectColumn), "  ┗Re^3:one");
    EXPECT_EQ(Text(3, kSubjectColumn), "┗Re:one");

    settings().titleTree = 2;
    view_->ApplySettings();
    const QStringList expected = {"one", "    ┗Re:one", "   ┗Re^3:one", QString(48, 'x')};
    EXPECT_EQ(Column(kSubjectColumn).first(4), expected);
    EXPECT_EQ(model().RecordAt(4), 4);
    EXPECT_EQ(model().RecordAt(5), 5);
    EXPECT_EQ(view_->current(), 0);
    view_->SortBy(MailSortKey::Number, true);
    EXPECT_EQ(model().RecordAt(0), 6);
    EXPECT_EQ(model().RecordAt(4), 0);
    EXPECT_EQ(model().RecordAt(5), 3);
}

TEST_F(MailListTest, MarksGoIntoTheFiles) {
    AddMail("Inbox", "a");
    AddMail("Inbox", "b");
    AddMail("Inbox", "c");
    Show("Inbox");
    QSignalSpy changed(view_.get(), &MailListView::FolderChanged);
    SelectRows({0, 2});
    view_->MarkRead(true);
    view_->MarkReplied(true);
    EXPECT_EQ(changed.count(), 2);
    for (const int number : {0, 2}) {
        EXPECT_EQ(FlagOf("Inbox", number, store::flag::kRead), 'R');
        EXPECT_EQ(FlagOf("Inbox", number, store::flag::kReply), 'R');
    }
    EXPECT_EQ(FlagOf("Inbox", 1, store::flag::kRead), 'r');
    EXPECT_EQ(view_->selected(), std::vector<int>({0, 2}));
    EXPECT_TRUE(Text(0, 0, Qt::AccessibleTextRole).startsWith("既読、返信済み"));
    view_->MarkRead(false);
    EXPECT_EQ(FlagOf("Inbox", 2, store::flag::kRead), 'r');
}

TEST_F(MailListTest, ReadingDoesNotWaitForAnotherProgram) {
    AddMail("Inbox", "one");
    Show("Inbox").Choose(0);
    core::Workspace other(fileSystem_, workspace_->root());
    core::WorkspaceLock lock;
    ASSERT_EQ(other.Lock(true, lock), 0);
    view_->MarkShown(0);
    EXPECT_EQ(Entry("Inbox", 0).flags.view()[store::flag::kRead], 'r');
    lock = {};
    EXPECT_TRUE(
        QTest::qWaitFor([this] { return Entry("Inbox", 0).flags.view()[store::flag::kRead] == 'R'; }));
}

TEST_F(MailListTest, ReservesOnlyWhatWasWrittenHere) {
    AddMail("Outbox", "received");
    AddMail("Outbox", "written", "text\r\n", store::kComposedMailFlags);
    Show("Outbox");
    SelectRows({0, 1});
    person_.ClicksOk("1 通はそのままです");
    view_->Reserve(true);
    EXPECT_EQ(FlagOf("Outbox", 0, store::flag::kPosition8), '-');
    EXPECT_EQ(FlagOf("Outbox", 1, store::flag::kPosition8), 'Y');
    SelectRows({1});
    view_->Reserve(false);
    EXPECT_EQ(FlagOf("Outbox", 1, store::flag::kPosition8), 'y');
}

TEST_F(MailListTest, TheDeleteKeyMovesToTrashAndDeletesThere) {
    for (const char* subject : {"a", "b", "c", "d"})
        AddMail("Inbox", subject);
    Show("Inbox");
    QSignalSpy chosen(view_.get(), &MailListView::MailChosen);
    SelectRows({1, 2});
    QTest::keyClick(view_.get(), Qt::Key_Delete);
    EXPECT_EQ(Column(kSubjectColumn), QStringList({"a", "d"}));
    EXPECT_EQ(view_->current(), 1);
    EXPECT_EQ(chosen.last()[0].toInt(), 1);
    ASSERT_EQ(program_->mailbox().CountMails("Trash"), 2);

    view_->Open("Trash");
    SelectRows({0});
    person_.ClicksCancel("選択したメールを削除してもよろしいですか？");
    QTest::keyClick(view_.get(), Qt::Key_Delete);
    EXPECT_EQ(program_->mailbox().CountMails("Trash"), 2);
    person_.ClicksOk("選択したメールを削除してもよろしいですか？");
    QTest::keyClick(view_.get(), Qt::Key_Delete);
    EXPECT_EQ(Column(kSubjectColumn), QStringList({"c"}));
    EXPECT_EQ(program_->mailbox().CountMails("Trash"), 1);
}

TEST_F(MailListTest, MovesToAnotherFolderAndDragsItsMails) {
    for (const char* subject : {"a", "b", "c"})
        AddMail("Inbox", subject);
    Show("Inbox");
    SelectRows({2, 0});
    const auto dragged = view_->PackSelected();
    ASSERT_NE(dragged, nullptr);
    const auto mails = UnpackMails(*dragged);
    ASSERT_TRUE(mails);
    EXPECT_EQ(mails->folder, "Inbox");
    EXPECT_EQ(mails->recordNumbers, std::vector<int>({0, 2}));
    QSignalSpy changed(view_.get(), &MailListView::FolderChanged);
    view_->MoveTo("Outbox");
    EXPECT_EQ(Column(kSubjectColumn), QStringList({"b"}));
    EXPECT_EQ(program_->mailbox().CountMails("Outbox"), 2);
    EXPECT_EQ(changed.last()[0].value<std::string>(), "Outbox");
    view_->MoveTo("Inbox");
    EXPECT_EQ(program_->mailbox().CountMails("Inbox"), 1);
}

TEST_F(MailListTest, SortsTheSelectedByTheRules) {
    const organise::SortingRule rule = {true, false, "rule", "Subject:", "a", "Outbox"};
    ASSERT_EQ(organise::SaveRules(*workspace_, organise::kRuleFile, std::array{rule}).result, 0);
    for (const char* subject : {"a", "b", "a"})
        AddMail("Inbox", subject);
    Show("Inbox");
    SelectRows({0, 1});
    view_->SortByRules();
    EXPECT_EQ(Column(kSubjectColumn), QStringList({"b", "a"}));
    EXPECT_EQ(program_->mailbox().CountMails("Outbox"), 1);
}

TEST_F(MailListTest, TheSelectionStaysWithItsMails) {
    for (const char* subject : {"a", "b", "c", "d", "e"})
        AddMail("Inbox", subject);
    Show("Inbox");
    view_->grab();
    SelectRows({2, 4});
    QCoreApplication::processEvents();
    QSignalSpy chosen(view_.get(), &MailListView::MailChosen);
    view_->Refresh();
    EXPECT_EQ(chosen.count(), 0);
    ASSERT_EQ(program_->folders().DeleteMails("Inbox", std::vector<int>{0, 3}), 0);
    view_->Refresh();
    EXPECT_EQ(view_->selected(), std::vector<int>({1, 2}));
    EXPECT_EQ(view_->current(), 2);
    EXPECT_EQ(chosen.last()[0].toInt(), 2);
    EXPECT_EQ(Column(kSubjectColumn), QStringList({"b", "c", "e"}));
}

TEST_F(MailListTest, AFolderThatShrinksBehindItsBackIsShownAnewAndNothingElseIsDeleted) {
    for (const char* subject : {"a", "b", "c", "d"})
        AddMail("Inbox", subject);
    Show("Inbox");
    view_->grab();
    SelectRows({1});
    ASSERT_EQ(program_->folders().DeleteMails("Inbox", std::vector<int>{0}), 0);
    person_.ClicksOk("選択したメールを削除してもよろしいですか？");
    person_.ClicksOk("もう一度選択してください");
    view_->DeleteForGood();
    EXPECT_EQ(Column(kSubjectColumn), QStringList({"b", "c", "d"}));
    EXPECT_EQ(view_->selected(), std::vector<int>({0}));

    // One taken out and one added: the count is the same.
    AddMail("Inbox", "e");
    view_->Refresh();
    view_->grab();
    SelectRows({2});
    ASSERT_EQ(program_->folders().DeleteMails("Inbox", std::vector<int>{0}), 0);
    AddMail("Inbox", "f");
    person_.ClicksOk("もう一度選択してください");
    view_->MoveToTrash();
    EXPECT_EQ(program_->mailbox().CountMails("Trash"), 0);
    EXPECT_EQ(view_->selected(), std::vector<int>({1}));

    // Found out while painting.
    WriteFile("MailBox1/Inbox.loc", "");
    model().ReadAnew();
    view_->grab();
    EXPECT_TRUE(QTest::qWaitFor([&] { return model().rowCount() == 0; }));
    EXPECT_EQ(view_->current(), -1);
}

TEST_F(MailListTest, NothingIsDoneWithDeletedRecords) {
    AddMail("Inbox", "a");
    AddMail("Inbox", "b");
    ASSERT_EQ(program_->mailbox().MarkDeleted("Inbox", 0), 0);
    Show("Inbox");
    QSignalSpy opened(view_.get(), &MailListView::MailOpened);
    SelectRows({0});
    EXPECT_EQ(view_->current(), -1);
    QTest::keyClick(view_.get(), Qt::Key_Return);
    EXPECT_EQ(opened.count(), 0);
    EXPECT_EQ(view_->PackSelected(), nullptr);
    EXPECT_TRUE(Text(0, 0, Qt::AccessibleTextRole).startsWith("削除済み"));
    QTest::keyClick(view_.get(), Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(view_->selected(), std::vector<int>({1}));
    view_->MarkRead(true);
    EXPECT_EQ(FlagOf("Inbox", 1, store::flag::kRead), 'R');
    view_->Choose(1);
    QTest::keyClick(view_.get(), Qt::Key_Return);
    EXPECT_EQ(opened.last()[0].toInt(), 1);
}

TEST_F(MailListTest, ReadsNothingWhileTheEngineIsBusy) {
    AddMany("Inbox", 300);
    Show("Inbox");
    view_->grab();
    int read = -1;
    QString unknown;
    QTimer::singleShot(0, [&] {
        const int before = model().recordsRead();
        unknown = Text(100, kSubjectColumn);
        view_->Open("Outbox");
        view_->Refresh();
        view_->grab();
        read = model().recordsRead() - before;
    });
    ui_.PumpMessages();
    EXPECT_EQ(read, 0);
    EXPECT_EQ(unknown, "…");
    EXPECT_TRUE(QTest::qWaitFor([&] { return view_->folder() == "Outbox"; }));
    EXPECT_EQ(view_->mailCount(), 0);
}

TEST_F(MailListTest, AFolderOfAnOlderLayoutIsConvertedWhereTheUserWantsIt) {
    const store::OlderFolder older = store::MakeOlderFolder(store::FolderLayout::V2, 3);
    WriteFile("MailBox1/Old.loc", older.index);
    WriteFile("MailBox1/Old.mtx", older.text);
    person_.ClicksCancel("V2.xxタイプのフォーマットです");
    Show("Old");
    EXPECT_EQ(view_->mailCount(), 0);
    EXPECT_EQ(view_->current(), -1);
    person_.ClicksOk("V2.xxタイプのフォーマットです");
    person_.ClicksOk("フォルダ Old を変換しました");
    view_->Open("Old");
    EXPECT_EQ(Column(kSubjectColumn), QStringList({"subject0", "subject1", "subject2"}));
}

TEST_F(MailListTest, HostileFieldsAreShownAsTheyAre) {
    AddMail("Inbox", "<b>x</b>\x1b[2J\x07 \x81");
    Show("Inbox");
    EXPECT_EQ(Text(0, kSubjectColumn), QString("<b>x</b>\u241b[2J\u2407 \uFFFD"));
    EXPECT_EQ(Text(0, kSubjectColumn, Qt::ToolTipRole),
              QString("<span>&lt;b&gt;x&lt;/b&gt;\u241b[2J\u2407 \uFFFD</span>"));
    const std::string whole = "whole subject of more than fifty bytes that the index cuts";
    AddMail("Inbox", whole);
    view_->Refresh();
    EXPECT_EQ(Text(1, kSubjectColumn, Qt::ToolTipRole), QString::fromStdString("<span>" + whole + "</span>"));

    // Records that hold anything, and a torn last one.
    std::string junk(store::kIndexRecordBytes * 3 + 77, '\xFF');
    for (std::size_t at = 0; at < junk.size(); ++at)
        junk[at] = static_cast<char>(at * 37);
    std::string first = FileBytes("MailBox1/Inbox.loc").substr(0, store::kIndexRecordBytes);
    WriteFile("MailBox1/Inbox.loc", first + junk);
    settings().titleTree = 2;
    view_->ApplySettings();
    view_->Open("Inbox");
    view_->grab();
    EXPECT_EQ(view_->mailCount(), 4);
    for (const MailSortKey key : {MailSortKey::Size, MailSortKey::Date, MailSortKey::Subject})
        view_->SortBy(key, true);
    view_->grab();
}

TEST_F(MailListTest, ColumnsComeFromTheSettingsAndGoBack) {
    settings().listWidth = {0, 50, 52, 263, -5, 450, 2000000000, 7, 8, 9};
    settings().idDisplay = 0;
    settings().fontSize = -12;
    Show("Inbox");
    EXPECT_EQ(view_->columnWidth(kMarksColumn), 50);
    EXPECT_TRUE(view_->isColumnHidden(kIdColumn));
    EXPECT_EQ(view_->columnWidth(kNameColumn), 211);
    EXPECT_EQ(view_->columnWidth(kSizeColumn), 63);
    EXPECT_EQ(view_->columnWidth(kSubjectColumn), 1150);
    EXPECT_EQ(view_->font().pixelSize(), 12);
    const QFontMetrics metrics(view_->font());
    EXPECT_EQ(metrics.horizontalAdvance(u'i'), metrics.horizontalAdvance(u'W'));
    EXPECT_EQ(metrics.horizontalAdvance(u'あ'), 2 * metrics.horizontalAdvance(u'W'));
    view_->setColumnWidth(kNameColumn, 100);
    view_->KeepWidths();
    const std::array<std::int32_t, 10> kept = {0, 50, 126, 226, 289, 744, 1894, 7, 8, 9};
    EXPECT_EQ(settings().listWidth, kept);
    settings().idDisplay = 1;
    view_->ApplySettings();
    EXPECT_FALSE(view_->isColumnHidden(kIdColumn));
    EXPECT_EQ(view_->columnWidth(kIdColumn), 76);
}

}  // namespace
}  // namespace postkite::ui
