#include "tests/support/memory_file_system.h"

#include <algorithm>
#include <cerrno>

namespace postkite::support {

using core::EntryKind;
using core::OpenMode;
using std::filesystem::path;

namespace {

/// A file's bytes, and what to undo to have those of its last sync again. Cheap for many appends to a large
/// file.
class Content {
  public:
    [[nodiscard]] const std::string& bytes() const { return bytes_; }

    void Write(std::size_t offset, std::string_view bytes) {
        if (bytes.empty()) return;
        const std::size_t size = bytes_.size();
        undo_.push_back({size, offset, offset < size ? bytes_.substr(offset, bytes.size()) : std::string()});
        bytes_.resize(std::max(size, offset + bytes.size()));
        std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(offset));
    }

    void Truncate(std::size_t size) {
        undo_.push_back({bytes_.size(), size, size < bytes_.size() ? bytes_.substr(size) : std::string()});
        bytes_.resize(size);
    }

    void Sync() { undo_.clear(); }

    void Revert() {
        for (; !undo_.empty(); undo_.pop_back()) {
            const Change& change = undo_.back();
            bytes_.resize(change.size);
            std::copy(change.bytes.begin(), change.bytes.end(),
                      bytes_.begin() + static_cast<std::ptrdiff_t>(std::min(change.offset, change.size)));
        }
    }

  private:
    /// The size before, and the bytes that then stood at `offset`.
    struct Change {
        std::size_t size;
        std::size_t offset;
        std::string bytes;
    };
    std::string bytes_;
    std::vector<Change> undo_;
};

}  // namespace

struct MemoryFileSystem::Node {
    explicit Node(bool isADirectory) : isDirectory(isADirectory) {}

    bool isDirectory;
    Content content;
    std::map<std::string, std::shared_ptr<Node>> entries;
    std::map<std::string, std::shared_ptr<Node>> durableEntries;

    void Revert(NamesKept names) {
        content.Revert();
        if (names == NamesKept::Durable) entries = durableEntries;
        durableEntries = entries;
        for (const auto& [name, node] : entries)
            node->Revert(names);
    }
};

class MemoryFileSystem::OpenFile final : public core::File {
  public:
    OpenFile(MemoryFileSystem& fileSystem, std::shared_ptr<Node> node, bool writable)
        : fileSystem_(&fileSystem), node_(std::move(node)), writable_(writable), run_(fileSystem.run_) {}

    std::int64_t ReadAt(std::uint64_t offset, std::span<char> buffer) override {
        if (const int error = Enter(false); error < 0) return error;
        const std::string& bytes = node_->content.bytes();
        if (offset >= bytes.size()) return 0;
        const std::size_t count = std::min<std::size_t>(buffer.size(), bytes.size() - offset);
        std::copy_n(bytes.data() + offset, count, buffer.data());
        return static_cast<std::int64_t>(count);
    }

    int WriteAt(std::uint64_t offset, std::string_view bytes) override {
        if (const int error = Enter(true); error < 0) return error;
        if (offset + bytes.size() > kLargestFile) return -EFBIG;
        const auto fault = fileSystem_->writeFaults_.find(++fileSystem_->writes_);
        if (fault == fileSystem_->writeFaults_.end()) {
            node_->content.Write(offset, bytes);
            return 0;
        }
        node_->content.Write(offset, bytes.substr(0, fault->second.storedBytes));
        fileSystem_->struck_ = true;
        fileSystem_->stopped_ = fault->second.stops;
        return fault->second.stops ? -EIO : -ENOSPC;
    }

    std::int64_t Size() override {
        if (const int error = Enter(false); error < 0) return error;
        return static_cast<std::int64_t>(node_->content.bytes().size());
    }

    int Truncate(std::uint64_t size) override {
        if (const int error = Enter(true); error < 0) return error;
        if (size > kLargestFile) return -EFBIG;
        node_->content.Truncate(size);
        return 0;
    }

    int Sync() override {
        if (const int error = Enter(false); error < 0) return error;
        node_->content.Sync();
        return 0;
    }

  private:
    /// A wrong offset is to fail, not to fill the memory.
    static constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30U;

    [[nodiscard]] int Enter(bool toWrite) {
        if (const int error = fileSystem_->Enter(); error < 0) return error;
        return run_ != fileSystem_->run_ || (toWrite && !writable_) ? -EBADF : 0;
    }

    MemoryFileSystem* fileSystem_;
    std::shared_ptr<Node> node_;
    bool writable_;
    int run_;
};

class MemoryFileSystem::HeldLock final : public core::FileLock {
  public:
    HeldLock(MemoryFileSystem& fileSystem, std::shared_ptr<Node> node)
        : fileSystem_(&fileSystem), node_(std::move(node)), run_(fileSystem.run_) {}
    ~HeldLock() override {
        if (run_ == fileSystem_->run_) fileSystem_->locked_.erase(node_.get());
    }

  private:
    MemoryFileSystem* fileSystem_;
    std::shared_ptr<Node> node_;
    int run_;
};

MemoryFileSystem::MemoryFileSystem() : root_(std::make_shared<Node>(true)) {
}

MemoryFileSystem::~MemoryFileSystem() = default;

void MemoryFileSystem::Put(const path& file, std::string_view bytes) {
    const std::shared_ptr<Node> directory = MakeDirectories(file.parent_path());
    const auto node = std::make_shared<Node>(false);
    node->content.Write(0, bytes);
    node->content.Sync();
    directory->entries[file.filename()] = node;
    directory->durableEntries[file.filename()] = node;
}

void MemoryFileSystem::PutDirectory(const path& directory) {
    static_cast<void>(MakeDirectories(directory));
}

std::optional<std::string> MemoryFileSystem::Get(const path& file) const {
    std::shared_ptr<Node> node;
    if (Find(file, node) < 0 || node->isDirectory) return std::nullopt;
    return node->content.bytes();
}

bool MemoryFileSystem::Exists(const path& entry) const {
    std::shared_ptr<Node> node;
    return Find(entry, node) == 0;
}

std::vector<std::string> MemoryFileSystem::Names(const path& directory) const {
    std::shared_ptr<Node> node;
    std::vector<std::string> names;
    if (FindDirectory(directory, node) < 0) return names;
    for (const auto& entry : node->entries)
        names.push_back(entry.first);
    return names;
}

void MemoryFileSystem::FailCall(int n, int error) {
    failures_[calls_ + n] = error;
}

void MemoryFileSystem::ShortWrite(int n, std::size_t storedBytes) {
    writeFaults_[writes_ + n] = {storedBytes, false};
}

void MemoryFileSystem::StopAtCall(int n) {
    stopAt_ = calls_ + n;
}

void MemoryFileSystem::StopWithinWrite(int n, std::size_t storedBytes) {
    writeFaults_[writes_ + n] = {storedBytes, true};
}

void MemoryFileSystem::Restart() {
    failures_.clear();
    writeFaults_.clear();
    stopAt_ = 0;
    stopped_ = false;
    struck_ = false;
    locked_.clear();
    ++run_;
}

void MemoryFileSystem::PowerCut(NamesKept names) {
    Restart();
    root_->Revert(names);
}

/// Counts a call. Returns 0, or what the call is to fail with.
int MemoryFileSystem::Enter() {
    ++calls_;
    if (calls_ == stopAt_) stopped_ = true;
    const auto failure = failures_.find(calls_);
    if (!stopped_ && failure == failures_.end()) return 0;
    struck_ = true;
    return stopped_ ? -EIO : failure->second;
}

int MemoryFileSystem::Find(const path& wanted, std::shared_ptr<Node>& node) const {
    std::shared_ptr<Node> found = root_;
    for (const path& component : wanted.relative_path()) {
        if (component.empty() || component == ".") continue;
        if (!found->isDirectory) return -ENOTDIR;
        const auto entry = found->entries.find(component);
        if (entry == found->entries.end()) return -ENOENT;
        found = std::shared_ptr<Node>(entry->second);
    }
    node = std::move(found);
    return 0;
}

int MemoryFileSystem::FindDirectory(const path& wanted, std::shared_ptr<Node>& node) const {
    const int result = Find(wanted, node);
    return result == 0 && !node->isDirectory ? -ENOTDIR : result;
}

std::shared_ptr<MemoryFileSystem::Node> MemoryFileSystem::MakeDirectories(const path& wanted) {
    std::shared_ptr<Node> made = root_;
    for (const path& component : wanted.relative_path()) {
        if (component.empty() || component == ".") continue;
        std::shared_ptr<Node> next = made->entries[component];
        if (next == nullptr) next = std::make_shared<Node>(true);
        made->entries[component] = next;
        made->durableEntries[component] = next;
        made = std::move(next);
    }
    return made;
}

int MemoryFileSystem::Open(const path& wanted, OpenMode mode, std::unique_ptr<core::File>& file) {
    if (const int error = Enter(); error < 0) return error;
    std::shared_ptr<Node> directory;
    if (const int error = FindDirectory(wanted.parent_path(), directory); error < 0) return error;
    std::shared_ptr<Node> node;
    const int found = Find(wanted, node);
    if (found == 0 && mode == OpenMode::CreateNew) return -EEXIST;
    if (found == 0 && node->isDirectory) return -EISDIR;
    if (found < 0) {
        if (mode == OpenMode::Read || mode == OpenMode::ReadWrite) return found;
        node = std::make_shared<Node>(false);
        directory->entries[wanted.filename()] = node;
    }
    file = std::make_unique<OpenFile>(*this, std::move(node), mode != OpenMode::Read);
    return 0;
}

int MemoryFileSystem::Inspect(const path& entry, EntryKind& kind) {
    if (const int error = Enter(); error < 0) return error;
    std::shared_ptr<Node> node;
    kind = Find(entry, node) < 0 ? EntryKind::Missing
                                 : (node->isDirectory ? EntryKind::Directory : EntryKind::File);
    return 0;
}

int MemoryFileSystem::List(const path& directory, std::vector<path>& names) {
    if (const int error = Enter(); error < 0) return error;
    names.clear();
    std::shared_ptr<Node> node;
    if (const int error = FindDirectory(directory, node); error < 0) return error;
    for (const auto& entry : node->entries)
        names.emplace_back(entry.first);
    // Nobody may rely on an order.
    std::reverse(names.begin(), names.end());
    return 0;
}

int MemoryFileSystem::Rename(const path& from, const path& to) {
    if (const int error = Enter(); error < 0) return error;
    std::shared_ptr<Node> node;
    if (const int error = Find(from, node); error < 0) return error;
    std::shared_ptr<Node> source;
    std::shared_ptr<Node> target;
    if (const int error = FindDirectory(from.parent_path(), source); error < 0) return error;
    if (const int error = FindDirectory(to.parent_path(), target); error < 0) return error;
    std::shared_ptr<Node> replaced;
    if (Find(to, replaced) == 0) {
        if (replaced == node) return 0;
        if (replaced->isDirectory != node->isDirectory) return replaced->isDirectory ? -EISDIR : -ENOTDIR;
        if (!replaced->entries.empty()) return -ENOTEMPTY;
    }
    source->entries.erase(from.filename());
    target->entries[to.filename()] = std::move(node);
    return 0;
}

int MemoryFileSystem::Remove(const path& entry) {
    if (const int error = Enter(); error < 0) return error;
    std::shared_ptr<Node> node;
    if (const int error = Find(entry, node); error < 0) return error;
    if (node->isDirectory) return -EISDIR;
    if (const int error = FindDirectory(entry.parent_path(), node); error < 0) return error;
    node->entries.erase(entry.filename());
    return 0;
}

int MemoryFileSystem::CreateDirectory(const path& directory) {
    if (const int error = Enter(); error < 0) return error;
    std::shared_ptr<Node> node;
    if (Find(directory, node) == 0) return -EEXIST;
    if (const int error = FindDirectory(directory.parent_path(), node); error < 0) return error;
    node->entries[directory.filename()] = std::make_shared<Node>(true);
    return 0;
}

int MemoryFileSystem::SyncDirectory(const path& directory) {
    if (const int error = Enter(); error < 0) return error;
    std::shared_ptr<Node> node;
    if (const int error = FindDirectory(directory, node); error < 0) return error;
    node->durableEntries = node->entries;
    return 0;
}

int MemoryFileSystem::Lock(const path& directory, bool wait, std::unique_ptr<core::FileLock>& lock) {
    if (const int error = Enter(); error < 0) return error;
    std::shared_ptr<Node> node;
    if (const int error = FindDirectory(directory, node); error < 0) return error;
    if (!locked_.insert(node.get()).second) return wait ? -EDEADLK : -EWOULDBLOCK;
    lock = std::make_unique<HeldLock>(*this, std::move(node));
    return 0;
}

}  // namespace postkite::support
