#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QTreeView>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "ui/desktop.h"

namespace postkite::ui {

class FolderTreeModel;

/// The folder tree of the current bank, and what people do with folders in it. Folders are named by their base names.
class FolderTreeView final : public QTreeView {
    Q_OBJECT

  public:
    FolderTreeView(Desktop& desktop, QWidget* parent);

    /// Shows the program's tree as it is now. What was selected and expanded stays so; at the first time, and after
    /// `ShowBank`, the state numbers say what is expanded. While a name is being edited or the engine is busy, it is
    /// put off.
    void Reload();
    /// Another bank's tree: expanded as its state numbers say, the root at least; `selected`, or else the Inbox, is
    /// selected.
    void ShowBank(std::string_view selected);

    /// The selected folder; "Desktop" for the root, empty where nothing is.
    [[nodiscard]] std::string current() const;
    void Select(std::string_view folder);

    /// The counts of unread mail are read anew, one folder at a time while nothing else is to be done.
    void RefreshCounts();
    void RefreshCount(std::string_view folder);

    /// Puts what is expanded into the state numbers, which `Folders::SaveFolderTree` keeps.
    void KeepExpanded();

    // The commands. Refusals and questions are the engine's.
    void NewFolder();
    void RenameSelected();  ///< begins to edit the label, where that is not refused
    void DeleteSelected();
    void ResetTree();
    void MoveSelectedTo(std::string_view target);

    /// Finds a folder by the beginning of its name, in any letter case and width.
    void keyboardSearch(const QString& search) override;

  signals:
    /// People went to another folder, or chose the one that they are in with the Enter key; also behind `Select` and the
    /// commands, not behind `Reload` and `ShowBank`.
    void FolderChosen(const std::string& folder);
    /// Folders have been made, renamed, moved or deleted.
    void TreeChanged();
    void MailsDropped(const std::string& folder, const std::vector<int>& recordNumbers,
                      const std::string& target);

  protected:
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    /// Base names of folders, kept while the model changes.
    struct Kept {
        std::string current;
        std::set<std::string> expanded;
        int scrolled = 0;
    };
    [[nodiscard]] Kept Keep() const;
    void Restore(const Kept& kept);
    void ShowStates();
    void GoTo(const QModelIndex& folder);
    /// A folder has got another base name, with all below it.
    void ReloadRenamed(const std::string& oldName, const std::string& newName);
    void Move(const std::string& source, const std::string& target);
    /// A name that is being edited is taken as it stands.
    void FinishEditing();
    void Rename();

    Desktop* desktop_;
    FolderTreeModel* model_;
    QTimer reloadLater_;
    QTimer renameLater_;
    std::string renamed_;  ///< the folder that `renameLater_` is for
    QString newName_;      ///< as it was typed
    bool quiet_ = false;   ///< what becomes the current folder was not chosen
    QString searched_;
    QElapsedTimer sinceSearch_;
};

}  // namespace postkite::ui
