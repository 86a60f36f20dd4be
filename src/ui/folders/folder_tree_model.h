#pragma once

#include <QAbstractItemModel>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "store/folder_tree.h"
#include "ui/desktop.h"

namespace postkite::ui {

class UnreadCounter;

/// The program's folder tree as it was at the last `Read`, with the counts of unread mail. It can be asked at any time.
class FolderTreeModel final : public QAbstractItemModel {
    Q_OBJECT

  public:
    enum Role {
        kBaseNameRole = Qt::UserRole,  ///< QByteArray, code page 932
        kUnreadRole,                   ///< 0 where it is not known, too
        kImageRole,                    ///< `store::FolderImage` as int
    };

    FolderTreeModel(Desktop& desktop, QObject* parent);
    ~FolderTreeModel() override;

    /// Whether the program's tree has the same folders still.
    [[nodiscard]] bool IsUpToDate() const;
    /// Takes the program's tree; counts of folders that were there stay, the others are asked for.
    void Read();
    /// The folders from now on are those of another bank.
    void ForgetCounts();
    void AskForCounts();
    void AskForCount(std::string_view folder);

    /// The folder spelled so, else one in another letter case.
    [[nodiscard]] QModelIndex Find(std::string_view baseName) const;
    /// Empty for no folder, as is `NameOf`.
    [[nodiscard]] static std::string BaseNameOf(const QModelIndex& index);
    [[nodiscard]] static std::string NameOf(const QModelIndex& index);
    /// Whether the state numbers want the folder to be expanded after loading.
    [[nodiscard]] static bool WasExpanded(const QModelIndex& index);
    /// Every folder, in tree order.
    [[nodiscard]] std::vector<QModelIndex> All() const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDragActions() const override;
    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

  signals:
    /// These two come while the dropping goes on; the work is for later.
    void FolderDropped(const std::string& source, const std::string& target);
    void MailsDropped(const std::string& folder, const std::vector<int>& recordNumbers,
                      const std::string& target);

  private:
    struct Node {
        std::string name;
        std::string baseName;
        std::int32_t state = 0;
        Node* parent = nullptr;
        int row = 0;
        std::vector<std::unique_ptr<Node>> children;
        std::optional<int> unread;
        store::FolderImage image = store::FolderImage::Ordinary;
    };
    [[nodiscard]] static std::unique_ptr<Node> Copy(const store::Folder& folder, Node* parent, int row);
    [[nodiscard]] static bool IsSame(const store::Folder& folder, const Node& node);
    [[nodiscard]] static Node& NodeOf(const QModelIndex& index);
    [[nodiscard]] QModelIndex IndexOf(const Node& node) const;
    [[nodiscard]] store::FolderImage ReadImage(const std::string& name) const;
    void TakeCount(const std::string& folder, int unread);
    [[nodiscard]] bool CanTakeFolder(const QByteArray& source, const Node& target) const;

    Desktop* desktop_;
    UnreadCounter* counter_;
    std::unique_ptr<Node> root_;                         ///< nullptr before the first `Read`
    std::unordered_map<std::string, Node*> byBaseName_;  ///< the first one of each
};

}  // namespace postkite::ui
