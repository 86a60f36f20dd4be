#include "ui/mails/mail_list_view.h"

#include <QApplication>
#include <QDrag>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>

#include "store/conversion.h"
#include "ui/mails/list_font.h"
#include "ui/mails/mail_list_columns.h"
#include "ui/mails/mail_list_model.h"
#include "ui/mails/mail_mime.h"
#include "ui/mails/mail_row_delegate.h"

namespace postkite::ui {

namespace {

constexpr int kTryAgainMilliseconds = 100;

constexpr MailSortKey kKeyOfColumn[kMailColumnCount] = {MailSortKey::Number, MailSortKey::Id,
                                                        MailSortKey::Name,   MailSortKey::Size,
                                                        MailSortKey::Date,   MailSortKey::Subject};

}  // namespace

MailListView::MailListView(Desktop& desktop, QWidget* parent)
    : QTreeView(parent), desktop_(&desktop), model_(new MailListModel(desktop, this)) {
    setAccessibleName(tr("メール一覧"));
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(NoEditTriggers);
    setDragEnabled(true);
    setTextElideMode(Qt::ElideRight);
    setHorizontalScrollMode(ScrollPerPixel);
    setModel(model_);
    setItemDelegate(new MailRowDelegate(this));
    SetUpHeader();

    waiting_.setSingleShot(true);
    telling_.setSingleShot(true);
    connect(&waiting_, &QTimer::timeout, this, [this] { DoWhatWaits(); });
    connect(&telling_, &QTimer::timeout, this, [this] { TellChosen(); });
    connect(model_, &MailListModel::ChangedOutside, this, [this] {
        Refresh();
        emit FolderChanged(folder());
    });
    connect(this, &QTreeView::doubleClicked, this, [this] {
        if (current() >= 0) emit MailOpened(current());
    });
    ApplySettings();
}

void MailListView::SetUpHeader() {
    header()->setStretchLastSection(false);
    header()->setSectionsMovable(false);
    header()->setSectionsClickable(true);
    header()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    connect(header(), &QHeaderView::sectionClicked, this,
            [this](int column) { CycleSort(kKeyOfColumn[column]); });
}

void MailListView::ApplySettings() {
    const core::Settings& settings = desktop_->program.settings();
    setFont(ListFont(settings));
    // The header's words are the window's own.
    header()->setFont(QApplication::font(header()));
    const ColumnWidths widths = ColumnWidthsOf(settings);
    for (int column = 0; column < kMailColumnCount; ++column) {
        setColumnWidth(column, widths[static_cast<std::size_t>(column)]);
        setColumnHidden(column, !IsColumnShown(settings, column));
    }
    const bool orderChanges = model_->ApplySettings();
    // Rows of another font have another height.
    scheduleDelayedItemsLayout();
    if (orderChanges && !folder().empty()) Refresh();
}

void MailListView::KeepWidths() {
    core::Settings& settings = desktop_->program.settings();
    ColumnWidths widths = ColumnWidthsOf(settings);
    for (int column = 0; column < kMailColumnCount; ++column) {
        if (!isColumnHidden(column)) widths[static_cast<std::size_t>(column)] = columnWidth(column);
    }
    KeepColumnWidths(widths, settings);
}

// What is shown.

void MailListView::Open(const std::string& folder) {
    if (desktop_->ui.busy()) {
        folderToOpen_ = folder;
        waiting_.start(kTryAgainMilliseconds);
        return;
    }
    folderToOpen_.reset();
    refreshWaits_ = false;
    store::Mailbox& mailbox = desktop_->program.mailbox();
    const bool usable =
        folder.empty() || !store::Mailbox::IsUsableName(folder) || store::ConvertFolder(mailbox, folder) == 0;
    MailOrder order = model_->mailOrder();
    const bool wasFiltered = !order.filter.isEmpty();
    order.filter.clear();
    isRestoring_ = true;
    beforeFilter_ = {};
    model_->SetMailOrder(order);
    model_->Load(folder);
    isRestoring_ = false;
    // Why a folder stays in an older layout has been told.
    if (usable && model_->error() < 0) mailbox.ReportFault(folder, model_->error());
    if (wasFiltered) emit FilterCleared();
    ShowMails();
}

void MailListView::ShowMails() {
    const int unread = model_->UnreadAtEnd();
    const int row = model_->RowOf(unread >= 0 ? unread : model_->mailCount() - 1);
    isRestoring_ = true;
    if (row >= 0) {
        const QModelIndex index = model_->index(row, 0);
        setCurrentIndex(index);
        scrollTo(index, unread >= 0 ? PositionAtTop : EnsureVisible);
    }
    isRestoring_ = false;
    horizontalScrollBar()->setValue(0);
    TellCounts();
    TellChosen();
}

const std::string& MailListView::folder() const {
    return model_->folder();
}

void MailListView::Refresh() {
    if (desktop_->ui.busy()) {
        refreshWaits_ = true;
        waiting_.start(kTryAgainMilliseconds);
        return;
    }
    refreshWaits_ = false;
    LoadOrder(model_->mailOrder(), WhereItIs());
}

void MailListView::LoadOrder(const MailOrder& order, const Place& place) {
    const int before = current();
    isRestoring_ = true;
    model_->SetMailOrder(order);
    model_->Load(folder());
    Restore(place);
    isRestoring_ = false;
    TellCounts();
    // The mail shown stays so, unless it is another one or has another number now.
    const int now = current();
    const bool isSame = now == before && now == place.current.number &&
                        (place.current.id.empty() || model_->IdOf(now) == place.current.id);
    if (!isSame && (now >= 0 || before >= 0)) TellChosen();
}

MailListView::Place MailListView::WhereItIs() const {
    Place place;
    place.current.number = model_->RecordAt(currentIndex().row());
    place.current.id = model_->ShownId(place.current.number);
    place.mails = model_->mailCount();
    place.scrolled = verticalScrollBar()->value();
    place.firstRow = currentIndex().row();
    for (const QItemSelectionRange& range : selectionModel()->selection()) {
        place.firstRow = std::min(place.firstRow < 0 ? range.top() : place.firstRow, range.top());
        for (int row = range.top(); row <= range.bottom(); ++row) {
            const int number = model_->RecordAt(row);
            place.selected.push_back(number);
            place.selectedIds.push_back(model_->ShownId(number));
        }
    }
    return place;
}

void MailListView::Restore(const Place& place) {
    std::vector<int> numbers = place.selected;
    std::vector<std::string> ids = place.selectedIds;
    numbers.push_back(place.current.number);
    ids.push_back(place.current.id);
    const std::vector<int> found = model_->Find(numbers, ids);
    std::vector<int> rows;
    for (std::size_t at = 0; at < found.size(); ++at) {
        // One that was never read is only known by its number.
        const bool isUnknown = ids[at].empty() && model_->mailCount() == place.mails;
        rows.push_back(model_->RowOf(isUnknown ? numbers[at] : found[at]));
    }
    int currentRow = rows.back();
    rows.pop_back();
    std::erase(rows, -1);
    // The cursor of a mail that went goes to one that was chosen with it, or to what has taken its place.
    const bool isGone = currentRow < 0 && place.current.number >= 0 && model_->mailOrder().filter.isEmpty();
    if (isGone) currentRow = rows.empty() ? std::min(place.firstRow, model_->rowCount() - 1) : rows.front();
    auto how = QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows;
    if (!rows.empty()) how = QItemSelectionModel::NoUpdate;
    // Read now, so that they are found again the next time too.
    constexpr std::size_t kMostRead = 1000;
    for (std::size_t at = 0; at < std::min(rows.size(), kMostRead); ++at)
        static_cast<void>(model_->index(rows[at], 0).data(MailListModel::kMarksRole));
    SelectRows(std::move(rows));
    if (currentRow >= 0) selectionModel()->setCurrentIndex(model_->index(currentRow, 0), how);
    executeDelayedItemsLayout();
    verticalScrollBar()->setValue(place.scrolled);
    if (currentRow >= 0) scrollTo(model_->index(currentRow, 0));
}

void MailListView::SelectRows(std::vector<int> rows) {
    std::sort(rows.begin(), rows.end());
    QItemSelection selection;
    for (std::size_t at = 0; at < rows.size();) {
        std::size_t end = at + 1;
        while (end < rows.size() && rows[end] <= rows[end - 1] + 1)
            ++end;
        selection.append(QItemSelectionRange(model_->index(rows[at], 0),
                                             model_->index(rows[end - 1], kMailColumnCount - 1)));
        at = end;
    }
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}

void MailListView::DoWhatWaits() {
    if (desktop_->ui.busy()) {
        waiting_.start(kTryAgainMilliseconds);
        return;
    }
    if (folderToOpen_) {
        Open(std::string(*folderToOpen_));
    } else if (refreshWaits_) {
        Refresh();
    }
    viewport()->update();
}

void MailListView::TellCounts() {
    const int all = model_->mailCount();
    const int shown = model_->rowCount();
    emit CountsChanged(model_->mailOrder().filter.isEmpty()
                           ? tr("%L1 通").arg(all)
                           : tr("%L1 通中 %L2 通を表示").arg(all).arg(shown));
}

void MailListView::TellChosen() {
    telling_.stop();
    emit MailChosen(current());
}

int MailListView::mailCount() const {
    return model_->mailCount();
}

std::vector<int> MailListView::ChosenRecords() const {
    std::vector<int> numbers;
    for (const QItemSelectionRange& range : selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            numbers.push_back(model_->RecordAt(row));
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

std::vector<int> MailListView::selected() const {
    std::vector<int> numbers = ChosenRecords();
    std::erase_if(numbers, [this](int number) { return !model_->IsLive(number); });
    return numbers;
}

int MailListView::current() const {
    const int number = model_->RecordAt(currentIndex().row());
    return number >= 0 && model_->IsLive(number) ? number : -1;
}

void MailListView::Choose(int recordNumber) {
    if (recordNumber < 0 || recordNumber >= model_->mailCount()) return;
    MailOrder order = model_->mailOrder();
    if (model_->RowOf(recordNumber) < 0 && !order.filter.isEmpty() && !desktop_->ui.busy()) {
        order.filter.clear();
        LoadOrder(order, WhereItIs());
        emit FilterCleared();
    }
    const int row = model_->RowOf(recordNumber);
    if (row < 0) return;
    isRestoring_ = true;
    setCurrentIndex(model_->index(row, 0));
    isRestoring_ = false;
    scrollTo(model_->index(row, 0));
    TellChosen();
}

int MailListView::nextUnread() const {
    return desktop_->ui.busy() ? -1 : model_->NextUnread(currentIndex().row());
}

void MailListView::SetFilter(const QString& text) {
    MailOrder order = model_->mailOrder();
    if (order.filter == text) return;
    order.filter = text;
    if (desktop_->ui.busy()) {
        model_->SetMailOrder(order);
        Refresh();
        return;
    }
    // The cursor of a mail that a filter hid is there again behind it.
    Place place = WhereItIs();
    if (place.current.number >= 0) {
        beforeFilter_ = place.current;
    } else {
        place.current = beforeFilter_;
    }
    LoadOrder(order, place);
}

// Sorting.

const MailOrder& MailListView::mailOrder() const {
    return model_->mailOrder();
}

void MailListView::SortBy(MailSortKey key, bool backwards) {
    MailOrder order = model_->mailOrder();
    order.key = key;
    order.backwards = backwards;
    model_->SetMailOrder(order);
    ShowSortIndicator();
    Refresh();
}

void MailListView::CycleSort(MailSortKey key) {
    const MailOrder& order = model_->mailOrder();
    if (order.key != key) {
        SortBy(key, false);
    } else if (!order.backwards) {
        SortBy(key, true);
    } else {
        SortBy(MailSortKey::Number, false);
    }
}

void MailListView::ShowSortIndicator() {
    const MailOrder& order = model_->mailOrder();
    const auto* key = std::find(std::begin(kKeyOfColumn), std::end(kKeyOfColumn), order.key);
    header()->setSortIndicatorShown(order.key != MailSortKey::Number || order.backwards);
    header()->setSortIndicator(static_cast<int>(key - std::begin(kKeyOfColumn)),
                               order.backwards ? Qt::DescendingOrder : Qt::AscendingOrder);
}

// Events.

void MailListView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTreeView::currentChanged(current, previous);
    // Reads it, so that it is found again wherever it goes.
    static_cast<void>(current.data(MailListModel::kMarksRole));
    // The selection follows the cursor only after this, and a key held down passes many mails.
    if (!isRestoring_) telling_.start(0);
}

void MailListView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (event->modifiers() != Qt::NoModifier && event->modifiers() != Qt::KeypadModifier) break;
            if (current() >= 0) emit MailOpened(current());
            return;
        case Qt::Key_Space:
            if (event->modifiers() != Qt::NoModifier) break;
            emit PageAsked();
            return;
        case Qt::Key_Delete:
            if (event->modifiers() == Qt::ShiftModifier) {
                DeleteForGood();
            } else {
                MoveToTrash();
            }
            return;
        default:
            break;
    }
    QTreeView::keyPressEvent(event);
}

void MailListView::paintEvent(QPaintEvent* event) {
    QTreeView::paintEvent(event);
    // Rows that could not be read now.
    if (desktop_->ui.busy() && !waiting_.isActive()) waiting_.start(kTryAgainMilliseconds);
}

void MailListView::changeEvent(QEvent* event) {
    QTreeView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) viewport()->update();
}

void MailListView::keyboardSearch(const QString&) {
}

std::unique_ptr<QMimeData> MailListView::PackSelected() const {
    const std::vector<int> numbers = selected();
    return numbers.empty() ? nullptr : PackMails({folder(), numbers});
}

void MailListView::startDrag(Qt::DropActions) {
    std::unique_ptr<QMimeData> mails = PackSelected();
    if (mails == nullptr) return;
    const QString label = tr("%L1 通のメール").arg(selected().size());
    const QFontMetrics metrics(font());
    const int margin = metrics.height() / 2;
    const QSize size(metrics.horizontalAdvance(label) + 2 * margin, metrics.height() + margin);
    QPixmap picture(size * devicePixelRatioF());
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(palette().color(QPalette::Highlight));
    QPainter painter(&picture);
    painter.setFont(font());
    painter.setPen(palette().color(QPalette::HighlightedText));
    painter.drawText(QRect(QPoint(), size), Qt::AlignCenter, label);
    painter.end();
    // Owned by Qt, which deletes it after the drop.
    auto* drag = new QDrag(this);
    drag->setMimeData(mails.release());
    drag->setPixmap(picture);
    drag->exec(Qt::MoveAction);
}

}  // namespace postkite::ui
