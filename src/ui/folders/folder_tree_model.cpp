#include "ui/folders/folder_tree_model.h"

#include <QFont>
#include <QMimeData>
#include <array>
#include <functional>
#include <utility>

#include "analyse/read_conditions.h"
#include "core/letter_case.h"
#include "ui/folders/unread_counter.h"
#include "ui/icons/palette_icon.h"
#include "ui/mails/mail_mime.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

using store::FolderClass;
using store::FolderImage;

QString IconOf(FolderImage image, FolderClass folderClass) {
    static const std::array<std::pair<FolderImage, QString>, 5> kByImage{{
        {FolderImage::Trash, QStringLiteral("trash")},
        {FolderImage::Server, QStringLiteral("server")},
        {FolderImage::ForumNotRead, QStringLiteral("forum-not-read")},
        {FolderImage::ForumRead, QStringLiteral("forum-read")},
        {FolderImage::ForumPerDay, QStringLiteral("forum-per-day")},
    }};
    static const std::array<std::pair<FolderClass, QString>, 3> kByClass{{
        {FolderClass::Desktop, QStringLiteral("desktop")},
        {FolderClass::Inbox, QStringLiteral("inbox")},
        {FolderClass::Outbox, QStringLiteral("outbox")},
    }};
    for (const auto& [of, name] : kByImage) {
        if (of == image) return name;
    }
    for (const auto& [of, name] : kByClass) {
        if (of == folderClass) return name;
    }
    return QStringLiteral("folder");
}

FolderImage ImageBeforeReading(const std::string& name) {
    return store::ImageOf(name, [](std::string_view) { return FolderImage::ForumNotRead; });
}

}  // namespace

FolderTreeModel::FolderTreeModel(Desktop& desktop, QObject* parent)
    : QAbstractItemModel(parent), desktop_(&desktop), counter_(new UnreadCounter(desktop, this)) {
    connect(counter_, &UnreadCounter::Counted, this, &FolderTreeModel::TakeCount);
}

FolderTreeModel::~FolderTreeModel() = default;

// The snapshot.

std::unique_ptr<FolderTreeModel::Node> FolderTreeModel::Copy(const store::Folder& folder, Node* parent,
                                                             int row) {
    auto node = std::make_unique<Node>();
    node->name = folder.name;
    node->baseName = store::BaseNameOf(folder);
    node->state = folder.state;
    node->parent = parent;
    node->row = row;
    node->image = ImageBeforeReading(folder.name);
    for (const auto& child : folder.children)
        node->children.push_back(Copy(*child, node.get(), static_cast<int>(node->children.size())));
    return node;
}

bool FolderTreeModel::IsSame(const store::Folder& folder, const Node& node) {
    if (folder.name != node.name || folder.children.size() != node.children.size()) return false;
    for (std::size_t child = 0; child < node.children.size(); ++child) {
        if (!IsSame(*folder.children[child], *node.children[child])) return false;
    }
    return true;
}

bool FolderTreeModel::IsUpToDate() const {
    return root_ != nullptr && IsSame(desktop_->program.folders().tree().root(), *root_);
}

void FolderTreeModel::Read() {
    beginResetModel();
    const std::unique_ptr<Node> before = std::move(root_);
    const auto known = std::exchange(byBaseName_, {});
    root_ = Copy(desktop_->program.folders().tree().root(), nullptr, 0);
    const std::function<void(Node&)> add = [&](Node& node) {
        byBaseName_.emplace(node.baseName, &node);
        if (const auto old = known.find(node.baseName); old != known.end() && old->second->unread) {
            node.unread = old->second->unread;
            node.image = old->second->image;
        } else {
            counter_->Ask(node.baseName, false);
        }
        for (const auto& child : node.children)
            add(*child);
    };
    add(*root_);
    endResetModel();
}

void FolderTreeModel::ForgetCounts() {
    counter_->ForgetAll();
    for (const auto& [name, node] : byBaseName_)
        node->unread.reset();
}

void FolderTreeModel::AskForCounts() {
    for (const QModelIndex& folder : All())
        counter_->Ask(NodeOf(folder).baseName, false);
}

void FolderTreeModel::AskForCount(std::string_view folder) {
    const QModelIndex found = Find(folder);
    if (found.isValid()) counter_->Ask(NodeOf(found).baseName, true);
}

FolderImage FolderTreeModel::ReadImage(const std::string& name) const {
    return store::ImageOf(name, [this](std::string_view place) {
        static constexpr std::array kByCondition{FolderImage::ForumNotRead, FolderImage::ForumRead,
                                                 FolderImage::ForumPerDay};
        std::string lastAccess;
        const int condition = analyse::GetReadCondition(desktop_->workspace, place, lastAccess);
        return kByCondition.at(static_cast<std::size_t>(condition));
    });
}

void FolderTreeModel::TakeCount(const std::string& folder, int unread) {
    const auto found = byBaseName_.find(folder);
    if (found == byBaseName_.end()) return;
    Node& node = *found->second;
    const FolderImage image = ReadImage(node.name);
    const int count = unread < 0 ? 0 : unread;
    const bool same = node.unread.value_or(0) == count && node.image == image;
    node.unread = count;
    node.image = image;
    if (!same) emit dataChanged(IndexOf(node), IndexOf(node));
}

FolderTreeModel::Node& FolderTreeModel::NodeOf(const QModelIndex& index) {
    return *static_cast<Node*>(index.internalPointer());
}

QModelIndex FolderTreeModel::IndexOf(const Node& node) const {
    return createIndex(node.row, 0, &node);
}

QModelIndex FolderTreeModel::Find(std::string_view baseName) const {
    const auto found = byBaseName_.find(std::string(baseName));
    if (found != byBaseName_.end()) return IndexOf(*found->second);
    for (const QModelIndex& folder : All()) {
        if (core::EqualIgnoringCase(NodeOf(folder).baseName, baseName)) return folder;
    }
    return {};
}

std::string FolderTreeModel::BaseNameOf(const QModelIndex& index) {
    return index.isValid() ? NodeOf(index).baseName : std::string();
}

std::string FolderTreeModel::NameOf(const QModelIndex& index) {
    return index.isValid() ? NodeOf(index).name : std::string();
}

bool FolderTreeModel::WasExpanded(const QModelIndex& index) {
    for (const auto& child : NodeOf(index).children) {
        if (child->state != 0) return true;
    }
    return false;
}

std::vector<QModelIndex> FolderTreeModel::All() const {
    std::vector<QModelIndex> all;
    const std::function<void(const Node&)> add = [&](const Node& node) {
        all.push_back(IndexOf(node));
        for (const auto& child : node.children)
            add(*child);
    };
    if (root_ != nullptr) add(*root_);
    return all;
}

// What views ask.

QModelIndex FolderTreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    return IndexOf(parent.isValid() ? *NodeOf(parent).children[static_cast<std::size_t>(row)] : *root_);
}

QModelIndex FolderTreeModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || NodeOf(child).parent == nullptr) return {};
    return IndexOf(*NodeOf(child).parent);
}

int FolderTreeModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return root_ == nullptr ? 0 : 1;
    return static_cast<int>(NodeOf(parent).children.size());
}

int FolderTreeModel::columnCount(const QModelIndex&) const {
    return 1;
}

QVariant FolderTreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Node& node = NodeOf(index);
    const int unread = node.unread.value_or(0);
    const QString name = Shown(node.name);
    switch (role) {
        case Qt::DisplayRole:
            //: %1: a folder's name, %2: how many unread mails it has
            return unread > 0 ? tr("%1 (%2)").arg(name, QString::number(unread)) : name;
        case Qt::AccessibleTextRole:
            return unread > 0 ? tr("%1、未読 %2 通").arg(name, QString::number(unread)) : name;
        case Qt::EditRole:
            return name;
        case Qt::DecorationRole:
            return PaletteIcon(IconOf(node.image, store::ClassOf(node.name)));
        case Qt::FontRole: {
            QFont font;
            font.setBold(true);
            return unread > 0 ? QVariant(font) : QVariant();
        }
        case kBaseNameRole:
            return QByteArray::fromStdString(node.baseName);
        case kUnreadRole:
            return unread;
        case kImageRole:
            return static_cast<int>(node.image);
        default:
            return {};
    }
}

Qt::ItemFlags FolderTreeModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    const Qt::ItemFlags usual =
        Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable | Qt::ItemIsDropEnabled;
    return NodeOf(index).parent == nullptr ? usual : usual | Qt::ItemIsDragEnabled;
}

// Dragging and dropping.

Qt::DropActions FolderTreeModel::supportedDragActions() const {
    return Qt::MoveAction;
}

Qt::DropActions FolderTreeModel::supportedDropActions() const {
    return Qt::MoveAction;
}

QStringList FolderTreeModel::mimeTypes() const {
    return {kDraggedFolderType, kDraggedMailsType};
}

QMimeData* FolderTreeModel::mimeData(const QModelIndexList& indexes) const {
    if (indexes.isEmpty()) return nullptr;
    auto data = std::make_unique<QMimeData>();
    data->setData(kDraggedFolderType, QByteArray::fromStdString(BaseNameOf(indexes.front())));
    return data.release();
}

/// Neither itself, nor what lies below it, nor where it is already.
bool FolderTreeModel::CanTakeFolder(const QByteArray& source, const Node& target) const {
    const auto found = byBaseName_.find(source.toStdString());
    if (found == byBaseName_.end() || found->second->parent == &target) return false;
    for (const Node* at = &target; at != nullptr; at = at->parent) {
        if (at == found->second) return false;
    }
    return true;
}

bool FolderTreeModel::canDropMimeData(const QMimeData* data, Qt::DropAction action, int, int,
                                      const QModelIndex& parent) const {
    if (data == nullptr || action != Qt::MoveAction || !parent.isValid()) return false;
    const Node& target = NodeOf(parent);
    if (data->hasFormat(kDraggedFolderType)) return CanTakeFolder(data->data(kDraggedFolderType), target);
    const auto mails = UnpackMails(*data);
    return mails && !mails->recordNumbers.empty() && !core::EqualIgnoringCase(mails->folder, target.baseName);
}

bool FolderTreeModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                   const QModelIndex& parent) {
    if (!canDropMimeData(data, action, row, column, parent)) return false;
    const std::string target = BaseNameOf(parent);
    if (data->hasFormat(kDraggedFolderType)) {
        emit FolderDropped(data->data(kDraggedFolderType).toStdString(), target);
    } else if (const auto mails = UnpackMails(*data)) {
        emit MailsDropped(mails->folder, mails->recordNumbers, target);
    }
    return true;
}

}  // namespace postkite::ui
