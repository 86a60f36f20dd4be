#include "ui/mails/mail_list_model.h"

#include <algorithm>
#include <cerrno>
#include <unordered_map>

#include "store/index_record.h"
#include "ui/mails/mail_list_columns.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

constexpr int kRowsKept = 4000;
/// Records that one read of the reader brings, about.
constexpr int kRecordsARead = 280;

std::string_view LocalIdOf(std::string_view record) {
    return store::WithoutTrailingBlanks(store::FieldOf(record, store::index_field::kLocalId));
}

}  // namespace

MailListModel::MailListModel(Desktop& desktop, QObject* parent)
    : QAbstractTableModel(parent), desktop_(&desktop), cache_(kRowsKept) {
    closing_.setSingleShot(true);
    connect(&closing_, &QTimer::timeout, this, [this] { Close(); });
    telling_.setSingleShot(true);
    connect(&telling_, &QTimer::timeout, this, &MailListModel::ChangedOutside);
    static_cast<void>(ApplySettings());
}

bool MailListModel::ApplySettings() {
    const core::Settings& settings = desktop_->program.settings();
    display_ = SubjectDisplayOf(settings.titleTree);
    numbers_ = settings.lineNumberDisplay != 0;
    const bool threads = display_ == SubjectDisplay::Threads;
    const bool changed = wanted_.threads != threads;
    wanted_.threads = threads;
    ReadAnew();
    emit headerDataChanged(Qt::Horizontal, 0, kMailColumnCount - 1);
    return changed;
}

void MailListModel::Load(const std::string& folder) {
    beginResetModel();
    Close();
    cache_.clear();
    folder_ = folder;
    count_ = 0;
    order_.reset();
    rows_.clear();
    changeNoticed_ = false;
    error_ = 0;
    store::FolderReader* reader = Reader();
    if (reader != nullptr) count_ = std::max(reader->CountMails(), 0);
    if (reader != nullptr && !wanted_.IsFolderOrder()) {
        order_ = MakeMailOrder(*reader, wanted_);
        recordsRead_ += count_;
        // Mails may have come meanwhile; the next time.
        std::erase_if(*order_, [this](int number) { return number >= count_; });
        rows_.assign(static_cast<std::size_t>(count_), -1);
        for (std::size_t row = 0; row < order_->size(); ++row)
            rows_[static_cast<std::size_t>((*order_)[row])] = static_cast<int>(row);
    }
    endResetModel();
}

void MailListModel::SetMailOrder(const MailOrder& order) {
    wanted_ = order;
    wanted_.threads = display_ == SubjectDisplay::Threads;
}

int MailListModel::RecordAt(int row) const {
    if (row < 0 || row >= rowCount()) return -1;
    return order_ ? (*order_)[static_cast<std::size_t>(row)] : row;
}

int MailListModel::RowOf(int recordNumber) const {
    if (recordNumber < 0 || recordNumber >= count_) return -1;
    return order_ ? rows_[static_cast<std::size_t>(recordNumber)] : recordNumber;
}

store::FolderReader* MailListModel::Reader() const {
    if (desktop_->ui.busy() || folder_.empty()) return nullptr;
    if (reader_ == nullptr) {
        auto reader = std::make_unique<store::FolderReader>();
        const int opened = reader->Open(desktop_->program.mailbox().FilesOf(folder_));
        error_ = opened == -ENOENT ? 0 : opened;
        if (opened == -ENOENT && count_ > 0) NoticeChange();
        if (opened < 0) return nullptr;
        reader_ = std::move(reader);
        closing_.start(0);
        if (count_ > 0 && reader_->CountMails() != count_) NoticeChange();
    }
    return reader_.get();
}

void MailListModel::Close() const {
    closing_.stop();
    reader_.reset();
}

void MailListModel::NoticeChange() const {
    if (changeNoticed_) return;
    changeNoticed_ = true;
    // Not in the middle of a paint.
    telling_.start(0);
}

std::string_view MailListModel::Record(store::FolderReader& reader, int recordNumber) const {
    ++recordsRead_;
    return reader.IndexRecord(recordNumber);
}

const MailRow* MailListModel::Row(int recordNumber) const {
    const MailRow* known = cache_.object(recordNumber);
    if (known != nullptr && !known->isStale) return known;
    store::FolderReader* reader = Reader();
    if (reader == nullptr) return known;
    // One behind the other: a record is valid until the next is asked for.
    const std::string record(Record(*reader, recordNumber));
    if (record.empty()) return known;
    auto row =
        std::make_unique<MailRow>(MakeMailRow(record, reader->IndexRecord(recordNumber + 1), display_));
    if (known != nullptr && known->localId != row->localId) NoticeChange();
    const MailRow* kept = row.get();
    cache_.insert(recordNumber, row.release());
    return kept;
}

bool MailListModel::IsLive(int recordNumber) const {
    const MailRow* known = cache_.object(recordNumber);
    if (known != nullptr) return (known->marks & kDeletedMark) == 0;
    store::FolderReader* reader = Reader();
    if (reader == nullptr) return desktop_->ui.busy();
    const std::string_view record = Record(*reader, recordNumber);
    return !record.empty() && !store::IsDeleted(record);
}

bool MailListModel::HasMark(int recordNumber, MailMark mark) const {
    store::FolderReader* reader = Reader();
    const std::string_view record = reader == nullptr ? std::string_view() : Record(*reader, recordNumber);
    return !record.empty() && (MarksOf(record) & mark) != 0;
}

std::string MailListModel::ShownId(int recordNumber) const {
    const MailRow* known = cache_.object(recordNumber);
    return known == nullptr ? std::string() : known->localId;
}

std::string MailListModel::IdOf(int recordNumber) const {
    const MailRow* known = cache_.object(recordNumber);
    if (known != nullptr) return known->localId;
    store::FolderReader* reader = Reader();
    const std::string_view record = reader == nullptr ? std::string_view() : Record(*reader, recordNumber);
    return record.empty() ? std::string() : std::string(LocalIdOf(record));
}

bool MailListModel::Holds(int mails, const std::vector<int>& numbers, const std::vector<std::string>& ids) {
    Close();
    store::FolderReader* reader = Reader();
    if (reader == nullptr || reader->CountMails() != mails) return false;
    for (std::size_t at = 0; at < numbers.size(); ++at) {
        const std::string_view record = Record(*reader, numbers[at]);
        if (record.empty() || LocalIdOf(record) != ids[at]) return false;
    }
    return true;
}

std::vector<int> MailListModel::Find(const std::vector<int>& numbers, const std::vector<std::string>& ids) {
    std::vector<int> found(ids.size(), -1);
    store::FolderReader* reader = Reader();
    if (reader == nullptr) return found;
    // The mail with the cursor is selected as well.
    std::unordered_multimap<std::string_view, std::size_t> missing;
    for (std::size_t at = 0; at < ids.size(); ++at) {
        const std::string_view record = Record(*reader, numbers[at]);
        if (!record.empty() && LocalIdOf(record) == ids[at]) {
            found[at] = numbers[at];
        } else if (!ids[at].empty()) {
            missing.emplace(ids[at], at);
        }
    }
    for (int number = 0; !missing.empty() && number < count_; ++number) {
        const std::string_view record = Record(*reader, number);
        if (record.empty()) break;
        const auto [first, last] = missing.equal_range(LocalIdOf(record));
        for (auto entry = first; entry != last; ++entry)
            found[entry->second] = number;
        missing.erase(first, last);
    }
    return found;
}

int MailListModel::NextUnread(int row) {
    store::FolderReader* reader = Reader();
    if (reader == nullptr) return -1;
    const auto isUnread = [&](int number) {
        const std::string_view record = Record(*reader, number);
        return !record.empty() && (MarksOf(record) & kUnreadMark) != 0;
    };
    const int rows = rowCount();
    if (!order_) {
        for (int next = row + 1; next < rows; ++next)
            if (isUnread(next)) return next;
        for (int next = 0; next <= row && next < rows; ++next)
            if (isUnread(next)) return next;
        return -1;
    }
    // In folder order, as the index is read in blocks.
    int behind = rows;
    int fromTop = rows;
    for (int number = 0; number < count_; ++number) {
        const int place = RowOf(number);
        if (place < 0 || (place >= behind && place >= fromTop) || !isUnread(number)) continue;
        int& best = place > row ? behind : fromTop;
        best = std::min(best, place);
    }
    const int next = behind < rows ? behind : fromTop;
    return next < rows ? RecordAt(next) : -1;
}

int MailListModel::UnreadAtEnd() {
    store::FolderReader* reader = Reader();
    if (reader == nullptr) return -1;
    for (int number = std::max(count_ - kRecordsARead, 0); number < count_; ++number) {
        const std::string_view record = Record(*reader, number);
        if (!record.empty() && (MarksOf(record) & kUnreadMark) != 0 && RowOf(number) >= 0) return number;
    }
    return -1;
}

void MailListModel::ReadAnew() {
    const QList<int> known = cache_.keys();
    for (const int number : known)
        cache_.object(number)->isStale = true;
    const int rows = rowCount();
    if (rows > 0) emit dataChanged(index(0, 0), index(rows - 1, kMailColumnCount - 1));
}

int MailListModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid()) return 0;
    return order_ ? static_cast<int>(order_->size()) : count_;
}

int MailListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kMailColumnCount;
}

QString MailListModel::Text(const MailRow& row, int column, int recordNumber) const {
    switch (column) {
        case kMarksColumn:
            return numbers_ ? QString::number(recordNumber + 1) : QString();
        case kIdColumn:
            return row.id;
        case kNameColumn:
            return row.name;
        case kSizeColumn:
            return row.size;
        case kDateColumn:
            return row.date;
        default:
            // A sorted list has no threads to indent for.
            return display_ == SubjectDisplay::Threads && wanted_.key != MailSortKey::Number
                       ? row.subject
                       : row.shownSubject;
    }
}

QString MailListModel::ToolTip(const MailRow& row, int recordNumber) const {
    QString subject = row.subject;
    store::FolderReader* reader = row.isCut ? Reader() : nullptr;
    store::MailRecord record;
    if (reader != nullptr &&
        reader->ReadMail(recordNumber, 0, record) != store::FolderReader::Condition::Damaged) {
        subject = Shown(record.subject);
    }
    // Plain text that looks like markup would be taken for it.
    return QStringLiteral("<span>") + subject.toHtmlEscaped() + QStringLiteral("</span>");
}

QVariant MailListModel::data(const QModelIndex& index, int role) const {
    const int number = RecordAt(index.row());
    if (number < 0) return {};
    if (role == Qt::TextAlignmentRole && index.column() == kSizeColumn)
        return static_cast<int>(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole && role != kMarksRole && role != Qt::ToolTipRole &&
        role != Qt::AccessibleTextRole) {
        return {};
    }
    const MailRow* row = Row(number);
    if (row == nullptr) {
        if (role == kMarksRole) return 0U;
        return role == Qt::DisplayRole && index.column() != kMarksColumn ? QStringLiteral("…") : QString();
    }
    if (role == kMarksRole) return row->marks;
    if (role == Qt::ToolTipRole) return ToolTip(*row, number);
    if (role == Qt::AccessibleTextRole && index.column() == kMarksColumn) {
        return tr("%1、件名 %2、%3、%4")
            .arg(WordsOf(row->marks).join(tr("、", "between marks")), row->subject, row->name, row->date);
    }
    return Text(*row, index.column(), number);
}

QVariant MailListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    const QString titles[] = {
        numbers_ ? tr("番号と印") : tr("印"), tr("ID"), tr("名前"), tr("サイズ"), tr("日付"), tr("件名")};
    return section >= 0 && section < kMailColumnCount ? titles[section] : QVariant();
}

Qt::ItemFlags MailListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
}

}  // namespace postkite::ui
