#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// The folders of a bank as a plain model, and the tree file that keeps them: "MailBoxInfo.ini" in the bank's
/// directory, one line a folder in depth-first order,
///
///     00Desktop CR LF             always the first line
///     01Work/1 CR LF              depth in two digits, name, "/", state number
///     0297/0 CR LF                below Work; its base name is Work#97
///
/// Texts are code page 932.
namespace postkite::store {

/// The root's name; in any letter case it is also where the names of a base name end.
inline constexpr std::string_view kDesktop = "Desktop";
inline constexpr std::string_view kInbox = "Inbox";
inline constexpr std::string_view kOutbox = "Outbox";
inline constexpr std::string_view kTrash = "Trash";

/// Between the names of a base name.
inline constexpr char kBaseNameSeparator = '#';

inline constexpr std::string_view kDefaultTree = "00Desktop\r\n01Inbox\r\n01Outbox\r\n01Trash\r\n";

/// Two digits hold no more; the root has 0.
inline constexpr int kDeepestFolder = 99;

/// Bytes of a folder name that a person gives. Longer ones in a tree file are kept.
inline constexpr std::size_t kLongestFolderName = 127;

/// One folder, owned by its parent.
struct Folder {
    std::string name;  ///< as displayed
    /// Kept for the views: where it is not 0 the folder's parent is shown expanded after loading.
    std::int32_t state = 0;
    Folder* parent = nullptr;  ///< nullptr for the root
    std::vector<std::unique_ptr<Folder>> children;
};

enum class FolderClass { Desktop = 0, Inbox = 1, Outbox = 2, Trash = 3, Other = 9 };

/// By the letters as they stand: "inbox" is another folder here.
[[nodiscard]] FolderClass ClassOf(std::string_view name);

/// Whether folders of that name, in any letter case, cannot be renamed, deleted or moved.
[[nodiscard]] bool IsFixedName(std::string_view name);

/// Whether it is the name of the host's mail list, a forum room (",mes") or a library (",lib"), in any letter
/// case.
[[nodiscard]] bool IsSpecialName(std::string_view name);

/// Which pair of images a folder is drawn with. Forum rooms and libraries have one for each way in which they
/// are read.
enum class FolderImage { Ordinary, Trash, Server, ForumNotRead, ForumRead, ForumPerDay };

/// `classifyForum` gets the part of a forum folder's name before its first blank and gives one of the three
/// last.
[[nodiscard]] FolderImage ImageOf(std::string_view name,
                                  const std::function<FolderImage(std::string_view)>& classifyForum);

/// The chain of names from the top-level folder down, joined with "#"; "Desktop" for the root.
[[nodiscard]] std::string BaseNameOf(const Folder& folder);

[[nodiscard]] int DepthOf(const Folder& folder);

/// The folder of that name in any letter case right below `parent`; nullptr when there is none.
[[nodiscard]] Folder* ChildOf(const Folder& parent, std::string_view name);

/// A tree always has its root and is never deeper than `kDeepestFolder`. Pointers to folders hold until the
/// folder is taken out or the tree is read anew.
class FolderTree {
  public:
    FolderTree();

    [[nodiscard]] Folder& root() { return *root_; }
    [[nodiscard]] const Folder& root() const { return *root_; }

    /// Takes the tree from a tree file's bytes, whatever they are: lines that name no folder are passed over,
    /// a folder too deep for what stands before it goes below the last one that is less deep, a last line
    /// without its end does not count. Returns whether `Format` would write all that the file said of
    /// folders.
    bool Read(std::string_view bytes);

    /// The tree file.
    [[nodiscard]] std::string Format() const;

    /// The companion list: the base name of each folder below the root on a line of its own, in the same
    /// order. The line is empty where the name is longer than any file's can be.
    [[nodiscard]] std::string FormatBaseNames() const;

    /// The folder of that base name: the one spelled so, else the first in another letter case; nullptr when
    /// there is none.
    [[nodiscard]] Folder* Find(std::string_view baseName);

    /// The first folder of a class; nullptr when there is none.
    [[nodiscard]] Folder* FirstOf(FolderClass folderClass);

    /// Adds a folder behind the others below `parent`; nullptr where that is too deep.
    Folder* Add(Folder& parent, std::string_view name);

    /// Takes a folder, not the root, with all below it out of the tree.
    void Remove(Folder& folder);

    /// Whether `folder` with all below it can go below `parent`, which is neither itself nor below it.
    [[nodiscard]] static bool FitsBelow(const Folder& folder, const Folder& parent);
    /// Puts it there, behind the others.
    void Move(Folder& folder, Folder& parent);

    /// Calls `visit` for the root and every folder below it in tree order, until it returns false.
    void Walk(const std::function<bool(Folder&, const std::string& baseName)>& visit) const;

  private:
    std::unique_ptr<Folder> root_;
    /// Whether a folder has the root's name, as only a damaged file brings it: base names begin anew below it, and say no
    /// more where a folder is.
    bool hasSecondRoot_ = false;
};

}  // namespace postkite::store
