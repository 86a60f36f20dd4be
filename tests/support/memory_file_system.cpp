#include "tests/support/memory_file_system.h"

#include <algorithm>
#include <cerrno>

namespace postkite::support {

using core::EntryKind;
using core::OpenMode;
using std::filesystem::path;

namespace {

// By the bytes: taking a path apart as such is most of what a call would cost.
std::string_view ParentOf(const path& entry) {
    const std::string_view whole = entry.native();
    return whole.substr(0, whole.rfind('/'));
}

std::string_view NameOf(const path& entry) {
    const std::string_view whole = entry.native();
    return whole.substr(whole.rfind('/') + 1);
}

/// A file's bytes, and what to undo to have those of its last sync again. Cheap for many appends to a large
/// file.
class Content {
  public:
    [[nodiscard]] const std::string& bytes() const { return bytes_; }

    void Write(std::size_t offset, std::string_view bytes) {
        if (bytes.empty()) return;
        undo_.push_back({bytes_.size(), offset, Part(offset, bytes.size())});
        bytes_.resize(std::max(bytes_.size(), offset + bytes.size()));
        bytes_.replace(offset, bytes.size(), bytes);
    }
    void Truncate(std::size_t size) {
        undo_.push_back({bytes_.size(), size, Part(size, std::string::npos)});
        bytes_.resize(size);
    }
    void Sync() { undo_.clear(); }
    void Revert() {
        for (; !undo_.empty(); undo_.pop_back()) {
            const Change& change = undo_.back();
            bytes_.resize(change.size);
            if (!change.bytes.empty()) bytes_.replace(change.offset, change.bytes.size(), change.bytes);
        }
    }

  private:
    /// The size before, and the bytes that then stood at `offset`.
    struct Change {
        std::size_t size;
        std::size_t offset;
        std::string bytes;
    };

    [[nodiscard]] std::string Part(std::size_t offset, std::size_t size) const {
        return offset < bytes_.size() ? bytes_.substr(offset, size) : std::string();
    }

    std::string bytes_;
    std::vector<Change> undo_;
};

}  // namespace

struct MemoryFileSystem::Node {
    explicit Node(bool isADirectory) : isDirectory(isADirectory) {}

    void ForgetReaders() {
        readers = 0;
        for (const auto& [name, node] : entries)
            node->ForgetReaders();
    }

    void Revert(NamesKept names) {
        content.Revert();
        if (names == NamesKept::Durable) entries = durableEntries;
        durableEntries = entries;
        for (const auto& [name, node] : entries)
            node->Revert(names);
    }

    bool isDirectory;
    int readers = 0;  ///< open files that have said so
    Content content;
    std::map<std::string, std::shared_ptr<Node>, std::less<>> entries;
    std::map<std::string, std::shared_ptr<Node>, std::less<>> durableEntries;
};

class MemoryFileSystem::OpenFile final : public core::File {
  public:
    OpenFile(MemoryFileSystem& fileSystem, std::shared_ptr<Node> node, bool writable)
        : fileSystem_(&fileSystem), node_(std::move(node)), writable_(writable), run_(fileSystem.run_) {}
    ~OpenFile() override {
        if (IsReading()) --node_->readers;
    }

    std::int64_t ReadAt(std::uint64_t offset, std::span<char> buffer) override {
        if (const int error = Enter(); error < 0) return error;
        // The system counts the places of a file in 63 bits.
        constexpr std::uint64_t kFarthest = std::uint64_t{1} << 63U;
        if (offset >= kFarthest || offset + buffer.size() >= kFarthest) return -EINVAL;
        const std::string& bytes = node_->content.bytes();
        return offset < bytes.size()
                   ? static_cast<std::int64_t>(bytes.copy(buffer.data(), buffer.size(), offset))
                   : 0;
    }

    int WriteAt(std::uint64_t offset, std::string_view bytes) override {
        if (const int error = EnterWriting(offset + bytes.size()); error < 0) return error;
        const auto fault = fileSystem_->writeFaults_.find(++fileSystem_->writes_);
        const bool whole = fault == fileSystem_->writeFaults_.end();
        node_->content.Write(offset, whole ? bytes : bytes.substr(0, fault->second.storedBytes));
        if (whole) return 0;
        fileSystem_->struck_ = true;
        fileSystem_->stopped_ = fault->second.stops;
        return fault->second.stops ? -EIO : -ENOSPC;
    }

    std::int64_t Size() override {
        const int error = Enter();
        return error < 0 ? error : static_cast<std::int64_t>(node_->content.bytes().size());
    }

    int Truncate(std::uint64_t size) override {
        const int error = EnterWriting(size);
        if (error == 0) node_->content.Truncate(size);
        return error;
    }

    int Sync() override {
        const int error = Enter();
        if (error == 0) node_->content.Sync();
        return error;
    }

    int Identify(core::FileIdentity& identity) override {
        identity = {0, reinterpret_cast<std::uintptr_t>(node_.get())};
        return Enter();
    }

    int BeginReading() override {
        const int error = Enter();
        if (error == 0 && !IsReading()) ++node_->readers;
        isReading_ |= error == 0;
        return error;
    }

    int HasReaders(bool& hasReaders) override {
        hasReaders = node_->readers > (IsReading() ? 1 : 0);
        return Enter();
    }

  private:
    /// Those of an earlier program do not count.
    [[nodiscard]] bool IsReading() const { return isReading_ && run_ == fileSystem_->run_; }
    [[nodiscard]] int Enter() {
        const int error = fileSystem_->Enter();
        return error == 0 && run_ != fileSystem_->run_ ? -EBADF : error;
    }
    [[nodiscard]] int EnterWriting(std::uint64_t newEnd) {
        // A wrong offset is to fail, not to fill the memory.
        constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30U;
        if (const int error = Enter(); error < 0) return error;
        if (!writable_) return -EBADF;
        return newEnd > kLargestFile ? -EFBIG : 0;
    }

    MemoryFileSystem* fileSystem_;
    std::shared_ptr<Node> node_;
    bool writable_;
    bool isReading_ = false;
    int run_;
};

class MemoryFileSystem::HeldLock final : public core::FileLock {
  public:
    HeldLock(MemoryFileSystem& fileSystem, const Node* node)
        : fileSystem_(&fileSystem), node_(node), run_(fileSystem.run_) {}
    ~HeldLock() override {
        if (run_ == fileSystem_->run_) fileSystem_->locked_.erase(node_);
    }

  private:
    MemoryFileSystem* fileSystem_;
    const Node* node_;
    int run_;
};

MemoryFileSystem::MemoryFileSystem() : root_(std::make_shared<Node>(true)) {
}

MemoryFileSystem::~MemoryFileSystem() = default;

std::shared_ptr<MemoryFileSystem::Node> MemoryFileSystem::MakeDirectories(const path& wanted) {
    std::shared_ptr<Node> made = root_;
    for (const path& component : wanted.relative_path()) {
        std::shared_ptr<Node>& next = made->entries[component];
        if (next == nullptr) next = std::make_shared<Node>(true);
        made->durableEntries[component] = next;
        made = std::shared_ptr<Node>(next);
    }
    return made;
}

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
    const std::shared_ptr<Node> node = Find(file.native());
    return node == nullptr || node->isDirectory ? std::nullopt : std::optional(node->content.bytes());
}

std::vector<std::string> MemoryFileSystem::Names(const path& directory) const {
    const std::shared_ptr<Node> node = Find(directory.native());
    std::vector<std::string> names;
    if (node == nullptr) return names;
    for (const auto& entry : node->entries)
        names.push_back(entry.first);
    return names;
}

void MemoryFileSystem::Restart() {
    failures_.clear();
    writeFaults_.clear();
    visits_.clear();
    stopAt_ = 0;
    stopped_ = false;
    struck_ = false;
    locked_.clear();
    root_->ForgetReaders();
    ++run_;
}

void MemoryFileSystem::PowerCut(NamesKept names) {
    Restart();
    root_->Revert(names);
}

/// Counts a call. Returns 0, or what the call is to fail with.
int MemoryFileSystem::Enter() {
    if (visiting_) return 0;
    ++calls_;
    if (const auto visit = visits_.extract(calls_); !visit.empty()) {
        visiting_ = true;
        visit.mapped()();
        visiting_ = false;
        struck_ = true;
    }
    if (calls_ == stopAt_) stopped_ = true;
    const auto failure = failures_.find(calls_);
    if (!stopped_ && failure == failures_.end()) return 0;
    struck_ = true;
    return stopped_ ? -EIO : failure->second;
}

/// The same for a call on what stands in a directory.
int MemoryFileSystem::EnterDirectory(std::string_view directory, std::shared_ptr<Node>& node) {
    if (const int error = Enter(); error < 0) return error;
    node = Find(directory);
    if (node == nullptr) return -ENOENT;
    return node->isDirectory ? 0 : -ENOTDIR;
}

/// nullptr where there is nothing.
std::shared_ptr<MemoryFileSystem::Node> MemoryFileSystem::Find(std::string_view left) const {
    const std::shared_ptr<Node>* found = &root_;
    while (!left.empty()) {
        const std::string_view component = left.substr(0, left.find('/'));
        left.remove_prefix(std::min(component.size() + 1, left.size()));
        if (component.empty()) continue;
        const auto entry = (*found)->entries.find(component);
        if (entry == (*found)->entries.end()) return nullptr;
        found = &entry->second;
    }
    return *found;
}

int MemoryFileSystem::Open(const path& wanted, OpenMode mode, std::unique_ptr<core::File>& file) {
    std::shared_ptr<Node> directory;
    if (const int error = EnterDirectory(ParentOf(wanted), directory); error < 0) return error;
    std::shared_ptr<Node> node = Find(wanted.native());
    if (node != nullptr && mode == OpenMode::CreateNew) return -EEXIST;
    if (node != nullptr && node->isDirectory) return -EISDIR;
    if (node == nullptr) {
        if (mode == OpenMode::Read || mode == OpenMode::ReadWrite) return -ENOENT;
        node = std::make_shared<Node>(false);
        directory->entries[std::string(NameOf(wanted))] = node;
    }
    file = std::make_unique<OpenFile>(*this, std::move(node), mode != OpenMode::Read);
    return 0;
}

int MemoryFileSystem::Inspect(const path& entry, EntryKind& kind) {
    if (const int error = Enter(); error < 0) return error;
    const std::shared_ptr<Node> node = Find(entry.native());
    kind = EntryKind::Missing;
    if (node != nullptr) kind = node->isDirectory ? EntryKind::Directory : EntryKind::File;
    return 0;
}

int MemoryFileSystem::List(const path& directory, std::vector<path>& names) {
    names.clear();
    std::shared_ptr<Node> node;
    if (const int error = EnterDirectory(directory.native(), node); error < 0) return error;
    // Backwards, since nobody may rely on an order.
    for (auto entry = node->entries.rbegin(); entry != node->entries.rend(); ++entry)
        names.emplace_back(entry->first);
    namesListed_ += names.size();
    return 0;
}

int MemoryFileSystem::Rename(const path& from, const path& to) {
    std::shared_ptr<Node> target;
    if (const int error = EnterDirectory(ParentOf(to), target); error < 0) return error;
    const std::shared_ptr<Node> node = Find(from.native());
    const std::shared_ptr<Node> replaced = Find(to.native());
    if (node == nullptr) return -ENOENT;
    if (node == replaced) return 0;
    if (replaced != nullptr) {
        if (replaced->isDirectory != node->isDirectory) return replaced->isDirectory ? -EISDIR : -ENOTDIR;
        if (!replaced->entries.empty()) return -ENOTEMPTY;
    }
    Find(ParentOf(from))->entries.erase(std::string(NameOf(from)));
    target->entries[std::string(NameOf(to))] = node;
    return 0;
}

int MemoryFileSystem::Remove(const path& entry) {
    std::shared_ptr<Node> directory;
    if (const int error = EnterDirectory(ParentOf(entry), directory); error < 0) return error;
    const std::shared_ptr<Node> node = Find(entry.native());
    if (node == nullptr) return -ENOENT;
    if (node->isDirectory) return -EISDIR;
    directory->entries.erase(std::string(NameOf(entry)));
    return 0;
}

int MemoryFileSystem::CreateDirectory(const path& wanted) {
    std::shared_ptr<Node> parent;
    if (const int error = EnterDirectory(ParentOf(wanted), parent); error < 0) return error;
    const bool made =
        parent->entries.try_emplace(std::string(NameOf(wanted)), std::make_shared<Node>(true)).second;
    return made ? 0 : -EEXIST;
}

int MemoryFileSystem::SyncDirectory(const path& directory) {
    std::shared_ptr<Node> node;
    const int error = EnterDirectory(directory.native(), node);
    if (error == 0) node->durableEntries = node->entries;
    return error;
}

int MemoryFileSystem::Lock(const path& directory, bool wait, std::unique_ptr<core::FileLock>& lock) {
    std::shared_ptr<Node> node;
    if (const int error = EnterDirectory(directory.native(), node); error < 0) return error;
    if (!locked_.insert(node.get()).second) return wait ? -EDEADLK : -EWOULDBLOCK;
    lock = std::make_unique<HeldLock>(*this, node.get());
    return 0;
}

}  // namespace postkite::support
