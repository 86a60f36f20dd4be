#include "ui/folders/folder_tree_view.h"

#include <QAction>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

#include "core/shift_jis.h"
#include "store/folder_properties.h"
#include "tests/ui/desktop_test.h"
#include "ui/folders/folder_tree_model.h"
#include "ui/mails/mail_mime.h"
#include "ui/text.h"

namespace postkite::ui {
namespace {

using namespace core::literals;

class FolderTreeViewTest : public DesktopTest {
  protected:
    void Show() {
        view_ = std::make_unique<FolderTreeView>(*desktop_, nullptr);
        view_->resize(400, 400);
        view_->show();
        QApplication::setActiveWindow(view_.get());
        view_->ShowBank({});
        view_->setFocus();
    }
    void Make(std::string_view parent, std::string_view name) {
        ASSERT_EQ(program_->folders().NewFolder(parent, name), 0);
    }
    [[nodiscard]] FolderTreeModel& Model() { return *qobject_cast<FolderTreeModel*>(view_->model()); }
    [[nodiscard]] QVariant Data(std::string_view folder, int role = Qt::DisplayRole) {
        return Model().Find(folder).data(role);
    }
    [[nodiscard]] bool Expanded(std::string_view folder) { return view_->isExpanded(Model().Find(folder)); }
    [[nodiscard]] bool Has(std::string_view folder) { return Model().Find(folder).isValid(); }
    [[nodiscard]] bool InTree(std::string_view folder) {
        return program_->folders().tree().Find(folder) != nullptr;
    }
    [[nodiscard]] QLineEdit* Editor() { return view_->findChild<QLineEdit*>(); }
    void Type(const QString& name, Qt::Key end = Qt::Key_Return) {
        ASSERT_NE(Editor(), nullptr);
        Editor()->selectAll();
        Editor()->insert(name);
        QTest::keyClick(Editor(), end);
    }
    /// Everything that the view put off has been done, and no editor is left.
    void Settle() {
        ASSERT_TRUE(QTest::qWaitFor([this] { return Editor() == nullptr; }));
        bool done = false;
        QTimer::singleShot(5, view_.get(), [&done] { done = true; });
        ASSERT_TRUE(QTest::qWaitFor([&done] { return done; }));
    }
    [[nodiscard]] bool Drop(const QMimeData& data, std::string_view target) {
        const bool taken = Model().dropMimeData(&data, Qt::MoveAction, -1, -1, Model().Find(target));
        Settle();
        return taken;
    }
    [[nodiscard]] std::unique_ptr<QMimeData> Dragged(std::string_view folder) {
        return std::unique_ptr<QMimeData>(Model().mimeData({Model().Find(folder)}));
    }
    [[nodiscard]] std::string BankFile(const std::string& name) {
        return FileBytes(program_->mailbox().bankDirectory() + "/" + name);
    }

    std::unique_ptr<FolderTreeView> view_;
};

TEST_F(FolderTreeViewTest, ShowsTheBankAndItsInbox) {
    Show();
    EXPECT_EQ(view_->current(), "Inbox");
    EXPECT_TRUE(Expanded("Desktop"));
    QStringList names;
    for (const QModelIndex& folder : Model().All())
        names << folder.data().toString();
    EXPECT_EQ(names.join(u'|'), QStringLiteral("Desktop|Inbox|Outbox|Trash"));
    for (const QModelIndex& folder : Model().All())
        EXPECT_FALSE(folder.data(Qt::DecorationRole).value<QIcon>().isNull());
}

TEST_F(FolderTreeViewTest, UnreadMailsAreShownAndSpoken) {
    AddMail("Inbox", "one");
    AddMail("Inbox", "two");
    AddMail("Inbox", "deleted", "x\r\n");
    ASSERT_EQ(program_->mailbox().MarkDeleted("Inbox", 2), 0);
    Show();
    ASSERT_TRUE(QTest::qWaitFor([this] { return Data("Inbox") == "Inbox (2)"; }));
    EXPECT_EQ(Data("Inbox", Qt::AccessibleTextRole).toString(), QStringLiteral("Inbox、未読 2 通"));
    EXPECT_TRUE(Data("Inbox", Qt::FontRole).value<QFont>().bold());
    EXPECT_EQ(Data("Inbox", Qt::EditRole), "Inbox");

    ASSERT_EQ(program_->mailbox().SetRead("Inbox", 0, true), 0);
    ASSERT_EQ(program_->mailbox().SetRead("Inbox", 1, true), 0);
    view_->RefreshCount("inbox");
    ASSERT_TRUE(QTest::qWaitFor([this] { return Data("Inbox") == "Inbox"; }));
    EXPECT_FALSE(Data("Inbox", Qt::FontRole).isValid());

    AddMail("Trash", "three");
    view_->RefreshCounts();
    ASSERT_TRUE(QTest::qWaitFor([this] { return Data("Trash") == "Trash (1)"; }));
}

TEST_F(FolderTreeViewTest, ForumFoldersAreDrawnAsTheyAreRead) {
    Make("Desktop", "FABC,mes1");
    Make("Desktop", "FABC,lib2");
    Make("Desktop", "FABC,mes3");
    WriteFile("Setting/FABC,mes1", "読み込み条件=read\r\nlast access=97/01/23\r\n"_sjis);
    WriteFile("Setting/FABC,lib2", "読み込み条件=perday\r\nlast access=97/01/23\r\n"_sjis);
    Show();
    const auto image = [this](std::string_view folder) {
        return static_cast<store::FolderImage>(Data(folder, FolderTreeModel::kImageRole).toInt());
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return image("FABC,mes1") == store::FolderImage::ForumRead; }));
    EXPECT_TRUE(QTest::qWaitFor([&] { return image("FABC,lib2") == store::FolderImage::ForumPerDay; }));
    EXPECT_EQ(image("FABC,mes3"), store::FolderImage::ForumNotRead);
}

TEST_F(FolderTreeViewTest, AFolderIsRenamedInItsPlace) {
    Make("Desktop", "Work");
    Make("Work", "97");
    Make("Work#97", "Deep");
    AddMail("Work#97", "kept");
    Show();
    view_->setExpanded(Model().Find("Work"), true);
    view_->setExpanded(Model().Find("Work#97"), true);
    view_->Select("Work");
    const QSignalSpy changed(view_.get(), &FolderTreeView::TreeChanged);

    QTest::keyClick(view_.get(), Qt::Key_F2);
    ASSERT_NE(Editor(), nullptr);
    EXPECT_EQ(Editor()->text(), "Work");
    Type(QStringLiteral("仕事"));
    Settle();
    const std::string named("仕事"_sjis);
    EXPECT_EQ(view_->current(), named);
    EXPECT_TRUE(Expanded(named));
    EXPECT_TRUE(Expanded(named + "#97"));
    EXPECT_TRUE(InTree(named + "#97#Deep"));
    EXPECT_EQ(program_->mailbox().CountMails(named + "#97"), 1);
    EXPECT_EQ(changed.count(), 1);

    // Escape, and a name that stays, change nothing; neither does the Tab key go on to the next folder.
    for (const Qt::Key end : {Qt::Key_Escape, Qt::Key_Tab}) {
        view_->RenameSelected();
        Type(end == Qt::Key_Escape ? QStringLiteral("Other") : QStringLiteral("仕事"), end);
        Settle();
        EXPECT_EQ(view_->current(), named);
    }
    EXPECT_EQ(changed.count(), 1);
}

TEST_F(FolderTreeViewTest, BadNamesAreNotTaken) {
    Make("Desktop", "Work");
    Make("Desktop", "Play");
    Show();
    view_->Select("Work");
    // In silence: these are not names.
    for (const char* name : {"", "a#b", "inbox", "Download"}) {
        view_->RenameSelected();
        Type(QString::fromUtf8(name));
        Settle();
        EXPECT_EQ(Data("Work"), "Work") << name;
    }
    // With the engine's reason.
    for (const char* name : {"a/b", "play"}) {
        view_->RenameSelected();
        person_.ClicksOk({});
        Type(QString::fromUtf8(name));
        Settle();
        EXPECT_TRUE(person_.hasSeenAll()) << name;
        EXPECT_EQ(Data("Work"), "Work") << name;
    }
    // With ours; the editor stays, to type on.
    view_->RenameSelected();
    person_.ClicksOk(QStringLiteral("「€」"));
    Type(QStringLiteral("a€"));
    ASSERT_NE(Editor(), nullptr);
    EXPECT_EQ(view_->focusWidget(), Editor());
    EXPECT_EQ(Editor()->text(), QStringLiteral("a€"));
    Type("Fine");
    Settle();
    EXPECT_TRUE(InTree("Fine"));
    // No more than fits.
    view_->RenameSelected();
    Editor()->clear();
    Editor()->insert(QString(64, QChar(u'漢')));
    EXPECT_EQ(Editor()->text(), QString());
    Type(QString(63, QChar(u'漢')));
    Settle();
    EXPECT_EQ(Model().All().back().parent().row(), 0);
    EXPECT_EQ(Shown(view_->current()), QString(63, QChar(u'漢')));
}

TEST_F(FolderTreeViewTest, LeavingTheEditorTakesTheName) {
    Make("Desktop", "Work");
    Show();
    view_->Select("Work");
    view_->RenameSelected();
    Editor()->setText("Left");
    view_->setFocus();
    Settle();
    EXPECT_TRUE(InTree("Left"));
    // What cannot be taken then goes back, and is told.
    view_->RenameSelected();
    Editor()->setText(QStringLiteral("€"));
    person_.ClicksOk(QStringLiteral("「€」"));
    view_->setFocus();
    Settle();
    EXPECT_EQ(Data("Left"), "Left");
}

TEST_F(FolderTreeViewTest, ACommandTakesTheNameThatIsBeingTyped) {
    Make("Desktop", "Work");
    Show();
    view_->Select("Work");
    view_->RenameSelected();
    Editor()->setText("Named");
    view_->NewFolder();
    EXPECT_TRUE(InTree("Named"));
    EXPECT_EQ(view_->current(), "Named#New folder");
    QTest::qWait(0);  // the old editor goes
    Type("Below");
    Settle();
    EXPECT_TRUE(InTree("Named#Below"));
}

TEST_F(FolderTreeViewTest, TheDeleteKeyIsForFoldersHere) {
    Make("Desktop", "Work");
    QWidget window;
    auto* deleteMails = new QAction(&window);
    deleteMails->setShortcut(QKeySequence::Delete);
    window.addAction(deleteMails);
    const QSignalSpy deleted(deleteMails, &QAction::triggered);
    Show();
    view_->setParent(&window);
    window.show();
    QApplication::setActiveWindow(&window);
    view_->show();
    view_->Select("Work");
    person_.ClicksOk(QStringLiteral("フォルダを削除してもよろしいですか？"));
    QTest::keyClick(view_.get(), Qt::Key_Delete);
    EXPECT_FALSE(InTree("Work"));
    EXPECT_EQ(deleted.count(), 0);
    view_.reset();
}

TEST_F(FolderTreeViewTest, FixedFoldersKeepTheirNamesAndPlaces) {
    WriteFile(program_->mailbox().bankDirectory() + "/MailBoxInfo.ini",
              std::string(store::kDefaultTree) + "01Download/0\r\n");
    ASSERT_EQ(program_->folders().LoadFolderTree(), 0);
    Show();
    for (const char* folder : {"Desktop", "Inbox", "Outbox", "Trash", "Download"}) {
        view_->Select(folder);
        person_.ClicksOk(QStringLiteral("このフォルダは名前を変更できません。"));
        QTest::keyClick(view_.get(), Qt::Key_F2);
        EXPECT_EQ(Editor(), nullptr) << folder;
        person_.ClicksOk(QStringLiteral("このフォルダは削除出来ません。"));
        QTest::keyClick(view_.get(), Qt::Key_Delete);
        EXPECT_TRUE(person_.hasSeenAll()) << folder;
        EXPECT_TRUE(InTree(folder));
    }
    person_.ClicksOk(QStringLiteral("このフォルダは移動できません。"));
    EXPECT_TRUE(Drop(*Dragged("Download"), "Inbox"));
    EXPECT_TRUE(Has("Download"));
}

TEST_F(FolderTreeViewTest, ANewFolderIsSelectedAndNamed) {
    Show();
    const QSignalSpy changed(view_.get(), &FolderTreeView::TreeChanged);
    view_->Select("Inbox");
    view_->NewFolder();
    EXPECT_EQ(view_->current(), "Inbox#New folder");
    EXPECT_TRUE(Expanded("Inbox"));
    EXPECT_EQ(changed.count(), 1);
    // A window that shows everything anew takes nothing away from who is typing.
    view_->Reload();
    Type("1997");
    Settle();
    EXPECT_EQ(view_->current(), "Inbox#1997");
    EXPECT_EQ(FileBytes("Setting/MailBoxInfo.ini.tmp"), "Inbox\r\nInbox#1997\r\nOutbox\r\nTrash\r\n");
    EXPECT_EQ(program_->mailbox().CountMails("Inbox#1997"), 0);

    view_->Select("Inbox");
    view_->NewFolder();
    Type("x", Qt::Key_Escape);
    Settle();
    EXPECT_TRUE(InTree("Inbox#New folder"));
    view_->Select("Inbox");
    person_.ClicksOk(QStringLiteral("同名のフォルダがあります。"));
    view_->NewFolder();
    EXPECT_EQ(Editor(), nullptr);
}

TEST_F(FolderTreeViewTest, DeletingKeepsTheFiles) {
    Make("Desktop", "Work");
    Make("Work", "97");
    AddMail("Work#97", "kept");
    Show();
    view_->Select("Work#97");
    person_.ClicksCancel(QStringLiteral("フォルダを削除してもよろしいですか？"));
    QTest::keyClick(view_.get(), Qt::Key_Delete);
    EXPECT_TRUE(Has("Work#97"));

    view_->Select("Work");
    const QSignalSpy chosen(view_.get(), &FolderTreeView::FolderChosen);
    person_.ClicksOk(QStringLiteral("階層化のすべてのフォルダを削除して良いですか？"));
    view_->DeleteSelected();
    EXPECT_FALSE(Has("Work"));
    EXPECT_FALSE(InTree("Work#97"));
    EXPECT_EQ(view_->current(), "Desktop");
    ASSERT_EQ(chosen.count(), 1);
    EXPECT_EQ(chosen[0][0].value<std::string>(), "Desktop");
    EXPECT_EQ(BankFile("Work#97.loc").size(), 900U);
    EXPECT_FALSE(BankFile("Work#97.mtx").empty());
}

TEST_F(FolderTreeViewTest, TheTreeIsReset) {
    Make("Desktop", "Work");
    Show();
    view_->Select("Work");
    person_.ClicksCancel(QStringLiteral("フォルダを初期状態に戻します。"));
    view_->ResetTree();
    EXPECT_TRUE(Has("Work"));
    person_.ClicksOk(QStringLiteral("メールボックスを初期化しますか？"));
    view_->ResetTree();
    EXPECT_FALSE(Has("Work"));
    EXPECT_EQ(BankFile("MailBoxInfo.ini"), store::kDefaultTree);
    EXPECT_EQ(view_->current(), "Desktop");
    EXPECT_TRUE(Expanded("Desktop"));
}

TEST_F(FolderTreeViewTest, FoldersAreMovedByDraggingAndByCommand) {
    Make("Desktop", "Work");
    Make("Work", "97");
    Make("Desktop", "Old");
    AddMail("Work#97", "kept");
    Show();
    view_->Select("Work#97");
    EXPECT_TRUE(Drop(*Dragged("Work#97"), "Old"));
    EXPECT_EQ(view_->current(), "Old#97");
    EXPECT_TRUE(Expanded("Old"));
    EXPECT_EQ(program_->mailbox().CountMails("Old#97"), 1);

    view_->MoveSelectedTo("Desktop");
    EXPECT_EQ(view_->current(), "97");
    EXPECT_TRUE(InTree("97"));

    Make("Old", "97");
    view_->Reload();
    person_.ClicksOk(QStringLiteral("移動先に同名のフォルダがあります。"));
    EXPECT_TRUE(Drop(*Dragged("97"), "Old"));
    EXPECT_TRUE(InTree("97"));

    // Nowhere to go: into itself, below itself, where it is; and nothing is copied.
    for (const char* target : {"Old", "Old#97", "Desktop", "nowhere"})
        EXPECT_FALSE(Drop(*Dragged("Old"), target)) << target;
    const auto copied = Dragged("97");
    EXPECT_FALSE(Model().canDropMimeData(copied.get(), Qt::CopyAction, -1, -1, Model().Find("Work")));
    EXPECT_FALSE(Model().flags(Model().Find("Desktop")).testFlag(Qt::ItemIsDragEnabled));
    QMimeData hostile;
    hostile.setData(kDraggedFolderType, "..\\..\\x");
    EXPECT_FALSE(Drop(hostile, "Work"));
    hostile.setData(kDraggedFolderType, "");
    EXPECT_FALSE(Drop(hostile, "Work"));
}

TEST_F(FolderTreeViewTest, MailsAreDroppedOnFolders) {
    Show();
    std::vector<std::string> seen;
    std::vector<int> numbers;
    QObject::connect(
        view_.get(), &FolderTreeView::MailsDropped,
        [&](const std::string& folder, const std::vector<int>& records, const std::string& target) {
            seen = {folder, target};
            numbers = records;
        });
    EXPECT_FALSE(Drop(*PackMails({"Inbox", {1, 3}}), "Inbox"));
    EXPECT_FALSE(Drop(*PackMails({"Inbox", {}}), "Trash"));
    QMimeData torn;
    torn.setData(kDraggedMailsType, "\1\2");
    EXPECT_FALSE(Drop(torn, "Trash"));
    EXPECT_TRUE(seen.empty());
    EXPECT_TRUE(Drop(*PackMails({"Inbox", {1, 3}}), "Trash"));
    EXPECT_EQ(seen, (std::vector<std::string>{"Inbox", "Trash"}));
    EXPECT_EQ(numbers, (std::vector<int>{1, 3}));
}

TEST_F(FolderTreeViewTest, WhatIsExpandedIsKept) {
    Make("Desktop", "Work");
    Make("Work", "97");
    Make("Work#97", "Deep");
    Make("Desktop", "Play");
    Make("Play", "98");
    Show();
    EXPECT_FALSE(Expanded("Work"));
    view_->setExpanded(Model().Find("Work"), true);
    view_->setExpanded(Model().Find("Work#97"), true);
    view_->KeepExpanded();
    ASSERT_EQ(program_->folders().SaveFolderTree(), 0);
    EXPECT_EQ(BankFile("MailBoxInfo.ini"),
              "00Desktop\r\n01Inbox/1\r\n01Outbox/1\r\n01Trash/1\r\n01Work/1\r\n0297/1\r\n03Deep/1\r\n"
              "01Play/1\r\n0298/0\r\n");
    Show();
    EXPECT_TRUE(Expanded("Work"));
    EXPECT_TRUE(Expanded("Work#97"));
    EXPECT_FALSE(Expanded("Play"));

    // Another program's folders come in; what was collapsed, with the current folder in it, stays so.
    view_->Select("Work#97#Deep");
    view_->setExpanded(Model().Find("Work#97"), false);
    Make("Desktop", "Late");
    const QSignalSpy chosen(view_.get(), &FolderTreeView::FolderChosen);
    view_->Reload();
    EXPECT_TRUE(Has("Late"));
    EXPECT_TRUE(Expanded("Work"));
    EXPECT_FALSE(Expanded("Work#97"));
    EXPECT_EQ(view_->current(), "Work#97#Deep");
    // One that has gone is followed by the one above it.
    program_->folders().tree().Remove(*program_->folders().tree().Find("Work#97"));
    view_->Reload();
    EXPECT_EQ(view_->current(), "Work");
    EXPECT_EQ(chosen.count(), 0);
}

TEST_F(FolderTreeViewTest, KeysFindAndChooseFolders) {
    Make("Desktop", "Ｗｏｒｋ"_sjis);
    Make("Desktop", "Wide");
    Show();
    const QSignalSpy chosen(view_.get(), &FolderTreeView::FolderChosen);
    QTest::keyClicks(view_.get(), "wo");
    EXPECT_EQ(view_->current(), "Ｗｏｒｋ"_sjis);
    // After a while another word begins.
    QApplication::setKeyboardInputInterval(1);
    ASSERT_TRUE(QTest::qWaitFor([this] {
        QTest::keyClick(view_.get(), Qt::Key_T);
        return view_->current() == "Trash";
    }));
    const auto before = chosen.count();
    QTest::keyClick(view_.get(), Qt::Key_Return);
    ASSERT_EQ(chosen.count(), before + 1);
    EXPECT_EQ(chosen.back()[0].value<std::string>(), "Trash");
    QTest::keyClick(view_.get(), Qt::Key_Up);
    EXPECT_EQ(chosen.back()[0].value<std::string>(), "Outbox");
}

TEST_F(FolderTreeViewTest, ABrokenTreeFileIsShownAsFarAsItGoes) {
    WriteFile(program_->mailbox().bankDirectory() + "/MailBoxInfo.ini",
              "00Desktop\r\n01Inbox/0\r\n05\x81/7\r\n01a\tb\x07/1\r\n01%1 & <b>x</b>/0\r\nxx");
    ASSERT_EQ(program_->folders().LoadFolderTree(), 0);
    Show();
    QStringList names;
    for (const QModelIndex& folder : Model().All())
        names << folder.data().toString();
    EXPECT_EQ(names.join(u'|'), QStringLiteral("Desktop|Inbox|\uFFFD|a\u2409b\u2407|%1 & <b>x<"));
    EXPECT_TRUE(Expanded("Inbox"));
    Settle();
    for (const QModelIndex& folder : Model().All())
        EXPECT_EQ(folder.data(FolderTreeModel::kUnreadRole), 0);
}

}  // namespace
}  // namespace postkite::ui
