#pragma once

#include <QMimeData>
#include <QTimer>
#include <QTreeView>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/workspace.h"
#include "store/folder_marker.h"
#include "ui/desktop.h"
#include "ui/mails/mail_order.h"

namespace postkite::ui {

class MailListModel;

/// The mails of one folder, a row each, and what people do with the selected ones.
class MailListView final : public QTreeView {
    Q_OBJECT

  public:
    /// Settings that say what the list looks like are taken at once and by `ApplySettings`.
    MailListView(Desktop& desktop, QWidget* parent);

    /// Font, columns and display as the settings are now.
    void ApplySettings();
    /// Puts the column widths into the settings.
    void KeepWidths();

    /// Shows a folder, from its last mail or the first unread one on. A folder of an older layout is converted first,
    /// if the user wants it.
    void Open(const std::string& folder);
    [[nodiscard]] const std::string& folder() const;
    /// Reads the folder anew; the selection stays with its mails as far as they are there.
    void Refresh();

    [[nodiscard]] int mailCount() const;
    /// Record numbers, rising.
    [[nodiscard]] std::vector<int> selected() const;
    /// Their localIds.
    [[nodiscard]] std::vector<std::string> selectedIds() const;
    /// The mail with the cursor; -1 for none.
    [[nodiscard]] int current() const;
    /// Puts the cursor on it, alone selected; clears a filter that hides it.
    void Choose(int recordNumber);
    /// The next unread mail behind the cursor, in the order shown, from the top again at the end; -1 for none.
    [[nodiscard]] int nextUnread() const;

    /// Shows only the mails with `text` in subject, name or address, in any letter case and width; all for none.
    void SetFilter(const QString& text);

    /// Sorts from now on, other folders too.
    void SortBy(MailSortKey key, bool backwards);
    /// What a click on a column does: sorts, the second time backwards, the third time no more.
    void CycleSort(MailSortKey key);
    [[nodiscard]] const MailOrder& mailOrder() const;

    /// What a drag carries; nullptr for no selected mail.
    [[nodiscard]] std::unique_ptr<QMimeData> PackSelected() const;

    // The commands, for the selected mails. A selection that another program has changed meanwhile is not touched: the
    // user is told, and the folder is shown anew.
    void MarkRead(bool read);
    /// One mail, which is being shown, becomes read, if that can be; says nothing. Later, while another program works on
    /// the directory.
    void MarkShown(int recordNumber);
    void MarkReplied(bool replied);
    void Reserve(bool reserved);
    void MoveToTrash();
    void MoveTo(const std::string& target);
    void DeleteForGood();  ///< asks
    void SortByRules();    ///< `Sorter::SortSelected`

  signals:
    /// The cursor is on this mail; -1: on none.
    void MailChosen(int recordNumber);
    /// Enter or a double click.
    void MailOpened(int recordNumber);
    /// The space bar: whoever shows the mail turns its pages.
    void PageAsked();
    /// Mails of this folder have changed, been moved or marked.
    void FolderChanged(const std::string& folder);
    /// As shown: how many of how many mails, UTF-16 text for the status line.
    void CountsChanged(const QString& text);
    /// `Open` or `Choose` took the filter away.
    void FilterCleared();

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void startDrag(Qt::DropActions actions) override;
    /// Searching for what is typed would read the whole folder.
    void keyboardSearch(const QString& text) override;

  protected slots:
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

  private:
    /// Where the user is: mails by number and identifier, as they may be elsewhere after a change.
    struct Cursor {
        int number = -1;
        std::string id;  ///< empty where it was never read
    };
    struct Place {
        Cursor current;
        std::vector<int> selected;
        std::vector<std::string> selectedIds;
        int mails = 0;
        int firstRow = -1;
        int scrolled = 0;
    };
    [[nodiscard]] Place WhereItIs() const;
    void Restore(const Place& place);
    void SelectRows(std::vector<int> rows);

    void SetUpHeader();
    void ShowSortIndicator();
    void DoWhatWaits();
    void ShowMails();
    void LoadOrder(const MailOrder& order, const Place& place);
    void TellChosen();
    void TellCounts();
    [[nodiscard]] std::vector<int> ChosenRecords() const;

    /// Mails that a command is for, as they were when it was given.
    struct Chosen {
        std::string folder;
        int mails = 0;  ///< of the folder
        std::vector<int> numbers;
        std::vector<std::string> ids;
    };
    /// False where there is nothing to be done.
    [[nodiscard]] bool CanBegin(Chosen& chosen) const;
    /// False where the folder holds other mails now, and the user has been told.
    [[nodiscard]] bool LockAsShown(const Chosen& chosen, core::WorkspaceLock& lock);
    void Mark(const Chosen& chosen, std::size_t position, char character);
    void MarkSelected(std::size_t position, char character);
    void AfterChange();

    Desktop* desktop_;
    MailListModel* model_;
    std::optional<std::string> folderToOpen_;
    bool refreshWaits_ = false;
    bool isRestoring_ = false;
    Cursor beforeFilter_;  ///< where the cursor was before a filter hid it
    QTimer waiting_;
    QTimer telling_;
};

}  // namespace postkite::ui
