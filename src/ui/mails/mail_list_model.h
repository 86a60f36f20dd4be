#pragma once

#include <QAbstractTableModel>
#include <QCache>
#include <QTimer>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "store/folder_reader.h"
#include "ui/desktop.h"
#include "ui/mails/mail_order.h"
#include "ui/mails/mail_row.h"

namespace postkite::ui {

/// The mails of one folder. Rows are read as they are shown and a few thousand of them kept; only another order than
/// the folder's own, or a filter, reads the whole index, once. The folder is open for a burst of reads and closed when
/// the event loop comes round, so that no handle stays over what others do. While the engine is busy nothing is read:
/// rows that are not known yet are shown as "…".
class MailListModel final : public QAbstractTableModel {
    Q_OBJECT

  public:
    enum Role { kMarksRole = Qt::UserRole };  ///< bits of `MailMark`

    MailListModel(Desktop& desktop, QObject* parent);

    /// What changes how rows are shown. True where the order follows the settings anew, and `Load` has to be called.
    [[nodiscard]] bool ApplySettings();

    /// Shows a folder, with the order in force. Call it while the engine is not busy, as everything below that reads.
    void Load(const std::string& folder);
    [[nodiscard]] const std::string& folder() const { return folder_; }

    /// 0, or the negated errno value for which the folder cannot be read. A folder without files is empty.
    [[nodiscard]] int error() const { return error_; }

    [[nodiscard]] const MailOrder& mailOrder() const { return wanted_; }
    /// Takes effect with the next `Load`.
    void SetMailOrder(const MailOrder& order);

    /// All of the folder, also those that a filter hides.
    [[nodiscard]] int mailCount() const { return count_; }
    /// -1 for no row.
    [[nodiscard]] int RecordAt(int row) const;
    /// -1 where the mail is not shown.
    [[nodiscard]] int RowOf(int recordNumber) const;

    /// Whether a mail is there and not deleted. What is not known while the engine is busy counts as there.
    [[nodiscard]] bool IsLive(int recordNumber) const;
    [[nodiscard]] bool IsWrittenHere(int recordNumber) const { return HasMark(recordNumber, kWrittenMark); }
    [[nodiscard]] bool IsUnread(int recordNumber) const { return HasMark(recordNumber, kUnreadMark); }
    /// As it was shown; empty where that is not known any more.
    [[nodiscard]] std::string ShownId(int recordNumber) const;
    /// As it was shown, or else as it is.
    [[nodiscard]] std::string IdOf(int recordNumber) const;
    /// Whether the folder now has so many mails, and these with those identifiers among them.
    [[nodiscard]] bool Holds(int mails, const std::vector<int>& numbers, const std::vector<std::string>& ids);
    /// Where the mails with these identifiers are now, -1 for none; as a rule where `numbers` says.
    [[nodiscard]] std::vector<int> Find(const std::vector<int>& numbers, const std::vector<std::string>& ids);
    /// The next unread mail behind `row`, in the order shown, from the top again at the end; -1 for none.
    [[nodiscard]] int NextUnread(int row);
    /// The first unread mail of those at the folder's end that one read brings; -1 for none.
    [[nodiscard]] int UnreadAtEnd();

    /// The marks of mails have changed: they are read anew when they are shown.
    void ReadAnew();
    /// To be called before the engine changes the folder.
    void Close() const;

    /// How many records of the index have been read, each time counted.
    [[nodiscard]] int recordsRead() const { return recordsRead_; }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

  signals:
    /// What is in the folder is not what was read: another program has changed it.
    void ChangedOutside();

  private:
    [[nodiscard]] bool HasMark(int recordNumber, MailMark mark) const;
    [[nodiscard]] store::FolderReader* Reader() const;
    [[nodiscard]] std::string_view Record(store::FolderReader& reader, int recordNumber) const;
    [[nodiscard]] const MailRow* Row(int recordNumber) const;
    [[nodiscard]] QString Text(const MailRow& row, int column, int recordNumber) const;
    [[nodiscard]] QString ToolTip(const MailRow& row, int recordNumber) const;
    void NoticeChange() const;

    Desktop* desktop_;
    std::string folder_;
    int count_ = 0;
    MailOrder wanted_;
    std::optional<std::vector<int>> order_;  ///< record numbers; nothing: as in the folder
    std::vector<int> rows_;                  ///< where `order_` has a record, -1 for nowhere
    SubjectDisplay display_ = SubjectDisplay::Plain;
    bool numbers_ = false;
    mutable QCache<int, MailRow> cache_;
    mutable std::unique_ptr<store::FolderReader> reader_;
    mutable QTimer closing_;
    mutable QTimer telling_;
    mutable bool changeNoticed_ = false;
    mutable int error_ = 0;
    mutable int recordsRead_ = 0;
};

}  // namespace postkite::ui
