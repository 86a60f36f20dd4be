#include "ui/folders/folder_tree_view.h"

#include <QApplication>
#include <QDropEvent>
#include <QKeyEvent>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <algorithm>

#include "core/letter_case.h"
#include "ui/folders/folder_name_delegate.h"
#include "ui/folders/folder_tree_model.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

constexpr int kPutOffMilliseconds = 50;
constexpr int kExpandWhileDraggingMilliseconds = 600;

/// Texts that differ in letter case or width alone become the same.
QString Folded(const QString& text) {
    return text.normalized(QString::NormalizationForm_KC).toCaseFolded();
}

bool IsDelete(const QKeyEvent& event) {
    return event.key() == Qt::Key_Delete && (event.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
}

std::string BaseNameBelow(const std::string& parent, const std::string& name) {
    return core::EqualIgnoringCase(parent, store::kDesktop) ? name
                                                            : parent + store::kBaseNameSeparator + name;
}

/// `folder` as it is called when `oldName` has become `newName`.
std::string Renamed(const std::string& folder, const std::string& oldName, const std::string& newName) {
    if (folder == oldName) return newName;
    const std::string above = oldName + store::kBaseNameSeparator;
    return folder.starts_with(above) ? newName + folder.substr(oldName.size()) : folder;
}

}  // namespace

FolderTreeView::FolderTreeView(Desktop& desktop, QWidget* parent)
    : QTreeView(parent), desktop_(&desktop), model_(new FolderTreeModel(desktop, this)) {
    setModel(model_);
    auto* delegate = new FolderNameDelegate(desktop.ui, this);
    setItemDelegate(delegate);
    setAccessibleName(tr("フォルダ一覧"));
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setEditTriggers(NoEditTriggers);
    setDragDropMode(DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    // Onto folders, not between them: their order is that of the file.
    setDragDropOverwriteMode(true);
    setAutoExpandDelay(kExpandWhileDraggingMilliseconds);

    reloadLater_.setSingleShot(true);
    reloadLater_.setInterval(kPutOffMilliseconds);
    connect(&reloadLater_, &QTimer::timeout, this, &FolderTreeView::Reload);
    renameLater_.setSingleShot(true);
    connect(&renameLater_, &QTimer::timeout, this, &FolderTreeView::Rename);
    // Boxes may come up behind these, which neither a closing editor nor a drop can wait for.
    connect(delegate, &FolderNameDelegate::NameTyped, this,
            [this](const QModelIndex& index, const QString& name) {
                renamed_ = FolderTreeModel::BaseNameOf(index);
                newName_ = name;
                renameLater_.start(0);
            });
    connect(model_, &FolderTreeModel::FolderDropped, this, &FolderTreeView::Move, Qt::QueuedConnection);
    connect(model_, &FolderTreeModel::MailsDropped, this, &FolderTreeView::MailsDropped,
            Qt::QueuedConnection);
}

// What is shown.

void FolderTreeView::Reload() {
    const bool first = model_->rowCount() == 0;
    if (desktop_->ui.busy() || state() == EditingState) {
        reloadLater_.start();
        return;
    }
    reloadLater_.stop();
    if (model_->IsUpToDate()) return;
    const QScopedValueRollback quiet(quiet_, true);
    const Kept kept = Keep();
    model_->Read();
    if (first) {
        ShowStates();
        GoTo(model_->Find(store::kInbox));
    } else {
        Restore(kept);
    }
}

void FolderTreeView::ShowBank(std::string_view selected) {
    const QScopedValueRollback quiet(quiet_, true);
    reloadLater_.stop();
    model_->ForgetCounts();
    model_->Read();
    ShowStates();
    const QModelIndex wanted = model_->Find(selected);
    const QModelIndex inbox = model_->Find(store::kInbox);
    GoTo(wanted.isValid() ? wanted : inbox.isValid() ? inbox : model_->index(0, 0));
}

FolderTreeView::Kept FolderTreeView::Keep() const {
    Kept kept;
    kept.current = current();
    kept.scrolled = verticalScrollBar()->value();
    for (const QModelIndex& folder : model_->All()) {
        if (isExpanded(folder)) kept.expanded.insert(FolderTreeModel::BaseNameOf(folder));
    }
    return kept;
}

void FolderTreeView::Restore(const Kept& kept) {
    // The current folder is not scrolled to: it may lie in one that is collapsed.
    setAutoScroll(false);
    for (const std::string& folder : kept.expanded)
        setExpanded(model_->Find(folder), true);
    // Of a folder that has gone, the nearest one above it that is there.
    std::string name = kept.current;
    QModelIndex found = model_->Find(name);
    while (!found.isValid() && !name.empty()) {
        const std::size_t end = name.rfind(store::kBaseNameSeparator);
        name = end == std::string::npos ? std::string() : name.substr(0, end);
        found = model_->Find(name);
    }
    if (!found.isValid()) found = model_->index(0, 0);
    setCurrentIndex(found);
    executeDelayedItemsLayout();
    verticalScrollBar()->setValue(kept.scrolled);
    setAutoScroll(true);
}

void FolderTreeView::ShowStates() {
    for (const QModelIndex& folder : model_->All())
        setExpanded(folder, !folder.parent().isValid() || FolderTreeModel::WasExpanded(folder));
}

void FolderTreeView::GoTo(const QModelIndex& folder) {
    if (!folder.isValid()) return;
    setCurrentIndex(folder);
    scrollTo(folder);
}

std::string FolderTreeView::current() const {
    return FolderTreeModel::BaseNameOf(currentIndex());
}

void FolderTreeView::Select(std::string_view folder) {
    GoTo(model_->Find(folder));
}

void FolderTreeView::RefreshCounts() {
    model_->AskForCounts();
}

void FolderTreeView::RefreshCount(std::string_view folder) {
    model_->AskForCount(folder);
}

void FolderTreeView::KeepExpanded() {
    if (desktop_->ui.busy() || model_->rowCount() == 0) return;
    desktop_->program.folders().tree().Walk([this](store::Folder& folder, const std::string&) {
        if (folder.parent == nullptr) return true;
        const QModelIndex parent = model_->Find(store::BaseNameOf(*folder.parent));
        if (parent.isValid()) folder.state = isExpanded(parent) ? 1 : 0;
        return true;
    });
}

void FolderTreeView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTreeView::currentChanged(current, previous);
    if (!quiet_ && current.isValid()) emit FolderChosen(FolderTreeModel::BaseNameOf(current));
}

// The commands. Each one shows the tree anew, whatever became of it: another program may have changed it.

void FolderTreeView::NewFolder() {
    if (desktop_->ui.busy()) return;
    FinishEditing();
    const std::string parent = current().empty() ? std::string(store::kDesktop) : current();
    const int result = desktop_->program.folders().NewFolder(parent);
    Reload();
    if (result < 0) return;
    setExpanded(model_->Find(parent), true);
    Select(BaseNameBelow(parent, std::string(store::kNewFolderName)));
    emit TreeChanged();
    RenameSelected();
}

void FolderTreeView::RenameSelected() {
    if (desktop_->ui.busy() || state() == EditingState) return;
    FinishEditing();
    if (!currentIndex().isValid()) return;
    const std::string folder = current();
    const int result = desktop_->program.folders().BeginRename(folder, desktop_->editing());
    Reload();
    // It may have gone meanwhile.
    if (result < 0 || current() != folder) return;
    setFocus();
    scrollTo(currentIndex());
    edit(currentIndex());
}

void FolderTreeView::FinishEditing() {
    if (state() == EditingState) setFocus();
    if (renameLater_.isActive()) Rename();
}

void FolderTreeView::Rename() {
    renameLater_.stop();
    if (desktop_->ui.busy()) {
        renameLater_.start(kPutOffMilliseconds);
        return;
    }
    const std::string folder = renamed_;
    const QModelIndex index = model_->Find(folder);
    if (!index.isValid() || !qobject_cast<FolderNameDelegate*>(itemDelegate())->CanBeTyped(newName_)) return;
    const std::string name = Typed(newName_).value_or(std::string());
    const std::string above = folder.substr(0, folder.size() - FolderTreeModel::NameOf(index).size());
    if (desktop_->program.folders().RenameFolder(folder, name, desktop_->editing()) < 0) {
        Reload();
        return;
    }
    ReloadRenamed(folder, above + name);
    emit TreeChanged();
}

void FolderTreeView::ReloadRenamed(const std::string& oldName, const std::string& newName) {
    const QScopedValueRollback quiet(quiet_, true);
    const Kept before = Keep();
    Kept kept;
    kept.current = Renamed(before.current, oldName, newName);
    kept.scrolled = before.scrolled;
    for (const std::string& folder : before.expanded)
        kept.expanded.insert(Renamed(folder, oldName, newName));
    model_->Read();
    Restore(kept);
}

void FolderTreeView::DeleteSelected() {
    if (desktop_->ui.busy()) return;
    FinishEditing();
    if (!currentIndex().isValid()) return;
    const int result = desktop_->program.folders().DeleteFolder(current(), desktop_->editing());
    if (result == 0) Select(store::kDesktop);
    Reload();
    if (result == 0) emit TreeChanged();
}

void FolderTreeView::ResetTree() {
    if (desktop_->ui.busy()) return;
    FinishEditing();
    const int result = desktop_->program.folders().ResetFolderTree();
    Reload();
    if (result == 0) emit TreeChanged();
}

void FolderTreeView::MoveSelectedTo(std::string_view target) {
    if (desktop_->ui.busy()) return;
    FinishEditing();
    if (currentIndex().isValid()) Move(current(), std::string(target));
}

void FolderTreeView::Move(const std::string& source, const std::string& target) {
    const QModelIndex index = model_->Find(source);
    if (desktop_->ui.busy() || !index.isValid()) return;
    const std::string name = FolderTreeModel::NameOf(index);
    if (desktop_->program.folders().MoveFolder(source, target, desktop_->editing()) < 0) {
        Reload();
        return;
    }
    ReloadRenamed(source, BaseNameBelow(target, name));
    setExpanded(model_->Find(target), true);
    emit TreeChanged();
}

// Keys.

bool FolderTreeView::event(QEvent* event) {
    // A command of the window that deletes mails is not meant here.
    if (event->type() == QEvent::ShortcutOverride && IsDelete(*static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QTreeView::event(event);
}

void FolderTreeView::keyPressEvent(QKeyEvent* event) {
    const int key = event->key();
    if (IsDelete(*event)) {
        DeleteSelected();
    } else if (key == Qt::Key_F2) {
        RenameSelected();
    } else if ((key == Qt::Key_Return || key == Qt::Key_Enter) && state() != EditingState) {
        if (currentIndex().isValid()) emit FolderChosen(current());
    } else {
        QTreeView::keyPressEvent(event);
    }
}

void FolderTreeView::keyboardSearch(const QString& search) {
    const bool anew =
        !sinceSearch_.isValid() || sinceSearch_.hasExpired(QApplication::keyboardInputInterval());
    if (anew) searched_.clear();
    searched_ += search;
    sinceSearch_.start();
    // The same key again and again goes from one to the next.
    const QString again = searched_.left(1);
    const bool same = searched_.count(again) == searched_.size();
    const QString wanted = Folded(same ? again : searched_);
    if (wanted.isEmpty()) return;
    std::vector<QModelIndex> shown;
    for (QModelIndex at = model_->index(0, 0); at.isValid(); at = indexBelow(at))
        shown.push_back(at);
    const auto place = std::find(shown.begin(), shown.end(), currentIndex());
    if (place != shown.end()) std::rotate(shown.begin(), same ? place + 1 : place, shown.end());
    const auto found = std::find_if(shown.begin(), shown.end(), [&wanted](const QModelIndex& folder) {
        return Folded(folder.data(Qt::EditRole).toString()).startsWith(wanted);
    });
    if (found != shown.end()) setCurrentIndex(*found);
}

// Drops come from this program's own windows alone.

void FolderTreeView::dragEnterEvent(QDragEnterEvent* event) {
    if (event->source() != nullptr) QTreeView::dragEnterEvent(event);
}

void FolderTreeView::dragMoveEvent(QDragMoveEvent* event) {
    if (event->source() != nullptr) QTreeView::dragMoveEvent(event);
}

void FolderTreeView::dropEvent(QDropEvent* event) {
    if (event->source() != nullptr) QTreeView::dropEvent(event);
}

}  // namespace postkite::ui
