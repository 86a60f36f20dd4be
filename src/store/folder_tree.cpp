#include "store/folder_tree.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "core/letter_case.h"
#include "core/positional_file.h"

namespace postkite::store {

namespace {

using core::EqualIgnoringCase;

constexpr std::string_view kLineEnd = "\r\n";
constexpr char kStateMark = '/';
constexpr std::size_t kDepthDigits = 2;

/// What a file name's 255 bytes leave for a base name; a text has never more bytes in the code page than in
/// UTF-8.
constexpr std::size_t kLongestBaseName = 251;

struct Line {
    int depth;
    std::string_view name;
    std::int32_t state;
    bool understood;  ///< nothing of it is lost when it is written again
};

/// The next line up to its CR; the byte behind that is passed over. False where the text ends before a CR.
bool NextLine(std::string_view& bytes, std::string_view& line) {
    const std::size_t end = bytes.find('\r');
    if (end == std::string_view::npos) return false;
    line = bytes.substr(0, end);
    bytes.remove_prefix(std::min(bytes.size(), end + kLineEnd.size()));
    return true;
}

bool IsDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

/// Nothing for a line that names no folder.
std::optional<Line> ParseLine(std::string_view text) {
    const std::string_view line = text.substr(0, text.find('\0'));
    if (line.size() <= kDepthDigits || !IsDigit(line[0]) || !IsDigit(line[1])) return std::nullopt;
    const std::string_view rest = line.substr(kDepthDigits);
    // "/" is never a trail byte, so a broken character before it does not hide it.
    const std::size_t mark = rest.find(kStateMark);
    const std::string_view name = rest.substr(0, mark);
    if (name.empty()) return std::nullopt;
    const std::string_view state = mark == std::string_view::npos ? "0" : rest.substr(mark + 1);
    const std::int32_t number = core::ParseInteger(state);
    const bool understood = line.size() == text.size() && state == std::to_string(number);
    return Line{(line[0] - '0') * 10 + (line[1] - '0'), name, number, understood};
}

Folder* AddChild(Folder& parent, std::string_view name, std::int32_t state) {
    parent.children.push_back(std::make_unique<Folder>(Folder{std::string(name), state, &parent, {}}));
    return parent.children.back().get();
}

void FormatFolders(const Folder& parent, int depth, std::string& output) {
    for (const auto& folder : parent.children) {
        if (depth < 10) output += '0';
        output += std::to_string(depth);
        output += folder->name;
        output += kStateMark;
        output += std::to_string(folder->state);
        output += kLineEnd;
        FormatFolders(*folder, depth + 1, output);
    }
}

using Visit = std::function<bool(Folder&, const std::string&)>;

/// `prefix` is what stands before the names of the folders below `parent`.
bool WalkBelow(Folder& parent, std::string& prefix, const Visit& visit) {
    const std::size_t length = prefix.size();
    for (const auto& folder : parent.children) {
        prefix += folder->name;
        if (!visit(*folder, prefix)) return false;
        // A folder of the root's name, which only a damaged file brings, begins the base names anew.
        std::string anew;
        const bool restarts = EqualIgnoringCase(folder->name, kDesktop);
        if (!restarts) prefix += kBaseNameSeparator;
        if (!WalkBelow(*folder, restarts ? anew : prefix, visit)) return false;
        prefix.resize(length);
    }
    return true;
}

struct Search {
    std::string_view baseName;
    Folder* exact;
    Folder* found;  ///< the first in any letter case
};

/// Looks below `parent` for the folder whose base name ends in `rest`; what stands before that is the parent's.
void FindBelow(Folder& parent, std::string_view rest, Search& search) {
    for (const auto& folder : parent.children) {
        const std::string_view name = folder->name;
        const bool fits = name.size() <= rest.size() && EqualIgnoringCase(name, rest.substr(0, name.size()));
        if (fits && name.size() == rest.size()) {
            if (search.found == nullptr) search.found = folder.get();
            if (BaseNameOf(*folder) == search.baseName) search.exact = folder.get();
        } else if (fits && rest[name.size()] == kBaseNameSeparator) {
            FindBelow(*folder, rest.substr(name.size() + 1), search);
        }
        if (search.exact != nullptr) return;
    }
}

int HeightOf(const Folder& folder) {
    int height = 0;
    for (const auto& child : folder.children)
        height = std::max(height, 1 + HeightOf(*child));
    return height;
}

std::unique_ptr<Folder> TakeOut(Folder& folder) {
    auto& siblings = folder.parent->children;
    const auto place = std::find_if(siblings.begin(), siblings.end(),
                                    [&folder](const auto& sibling) { return sibling.get() == &folder; });
    std::unique_ptr<Folder> taken = std::move(*place);
    siblings.erase(place);
    return taken;
}

bool ContainsIgnoringCase(std::string_view text, std::string_view part) {
    for (std::size_t at = 0; at + part.size() <= text.size(); ++at) {
        if (EqualIgnoringCase(text.substr(at, part.size()), part)) return true;
    }
    return false;
}

// A comma is never a trail byte, so these are found only where they stand.
bool IsForumName(std::string_view name) {
    return ContainsIgnoringCase(name, ",mes") || ContainsIgnoringCase(name, ",lib");
}

bool IsServerName(std::string_view name) {
    return EqualIgnoringCase(name, "server");
}

}  // namespace

FolderClass ClassOf(std::string_view name) {
    if (name == kDesktop) return FolderClass::Desktop;
    if (name == kInbox) return FolderClass::Inbox;
    if (name == kOutbox) return FolderClass::Outbox;
    return name == kTrash ? FolderClass::Trash : FolderClass::Other;
}

bool IsFixedName(std::string_view name) {
    constexpr std::string_view kDownload = "Download";
    constexpr std::array kFixed = {kDesktop, kInbox, kOutbox, kDownload, kTrash};
    return std::any_of(kFixed.begin(), kFixed.end(),
                       [name](std::string_view fixed) { return EqualIgnoringCase(name, fixed); });
}

bool IsSpecialName(std::string_view name) {
    return IsServerName(name) || IsForumName(name);
}

FolderImage ImageOf(std::string_view name,
                    const std::function<FolderImage(std::string_view)>& classifyForum) {
    if (EqualIgnoringCase(name, kTrash)) return FolderImage::Trash;
    if (IsServerName(name)) return FolderImage::Server;
    return IsForumName(name) ? classifyForum(name.substr(0, name.find(' '))) : FolderImage::Ordinary;
}

std::string BaseNameOf(const Folder& folder) {
    std::string baseName = folder.name;
    for (const Folder* above = folder.parent; above != nullptr; above = above->parent) {
        if (EqualIgnoringCase(above->name, kDesktop)) break;
        baseName.insert(0, above->name + kBaseNameSeparator);
    }
    return baseName;
}

int DepthOf(const Folder& folder) {
    int depth = 0;
    for (const Folder* above = folder.parent; above != nullptr; above = above->parent)
        ++depth;
    return depth;
}

Folder* ChildOf(const Folder& parent, std::string_view name) {
    for (const auto& child : parent.children) {
        if (EqualIgnoringCase(child->name, name)) return child.get();
    }
    return nullptr;
}

FolderTree::FolderTree() : root_(std::make_unique<Folder>(Folder{std::string(kDesktop), 0, nullptr, {}})) {
}

bool FolderTree::Read(std::string_view bytes) {
    *this = FolderTree();
    // The folders that the next line can be below, the last one deepest, with the depths that their lines
    // gave.
    std::vector<std::pair<int, Folder*>> above = {{0, root_.get()}};
    bool understood = true;
    std::string_view text;
    for (bool first = true; NextLine(bytes, text); first = false) {
        const std::optional<Line> line = ParseLine(text);
        understood = understood && line && line->understood;
        if (!line) continue;
        // Every tree file begins with the root. One in the middle comes from two files joined, and says
        // nothing new.
        const bool isRoot = line->depth == 0 && EqualIgnoringCase(line->name, kDesktop);
        if (first && !isRoot) understood = false;
        if (isRoot || (first && line->depth == 0)) continue;
        const int depth = std::max(line->depth, 1);
        while (above.back().first >= depth)
            above.pop_back();
        above.emplace_back(depth, AddChild(*above.back().second, line->name, line->state));
        hasSecondRoot_ = hasSecondRoot_ || EqualIgnoringCase(line->name, kDesktop);
    }
    return understood && bytes.empty();
}

std::string FolderTree::Format() const {
    std::string output = "00" + std::string(kDesktop) + std::string(kLineEnd);
    FormatFolders(*root_, 1, output);
    return output;
}

std::string FolderTree::FormatBaseNames() const {
    std::string output;
    Walk([&](const Folder& folder, const std::string& baseName) {
        if (&folder == root_.get()) return true;
        if (baseName.size() <= kLongestBaseName) output += baseName;
        output += kLineEnd;
        return true;
    });
    return output;
}

Folder* FolderTree::Find(std::string_view baseName) {
    Search search{baseName, nullptr, nullptr};
    if (hasSecondRoot_) {
        Walk([&](Folder& folder, const std::string& name) {
            if (search.found == nullptr && EqualIgnoringCase(name, baseName)) search.found = &folder;
            if (name == baseName) search.exact = &folder;
            return search.exact == nullptr;
        });
    } else {
        if (EqualIgnoringCase(baseName, root_->name)) search.found = root_.get();
        if (baseName == root_->name) return root_.get();
        FindBelow(*root_, baseName, search);
    }
    return search.exact != nullptr ? search.exact : search.found;
}

Folder* FolderTree::FirstOf(FolderClass folderClass) {
    Folder* found = nullptr;
    Walk([&](Folder& folder, const std::string&) {
        if (ClassOf(folder.name) == folderClass) found = &folder;
        return found == nullptr;
    });
    return found;
}

Folder* FolderTree::Add(Folder& parent, std::string_view name) {
    return DepthOf(parent) < kDeepestFolder ? AddChild(parent, name, 0) : nullptr;
}

void FolderTree::Remove(Folder& folder) {
    TakeOut(folder);
}

bool FolderTree::FitsBelow(const Folder& folder, const Folder& parent) {
    return DepthOf(parent) + 1 + HeightOf(folder) <= kDeepestFolder;
}

void FolderTree::Move(Folder& folder, Folder& parent) {
    std::unique_ptr<Folder> taken = TakeOut(folder);
    taken->parent = &parent;
    parent.children.push_back(std::move(taken));
}

void FolderTree::Walk(const Visit& visit) const {
    std::string prefix;
    if (visit(*root_, root_->name)) WalkBelow(*root_, prefix, visit);
}

}  // namespace postkite::store
