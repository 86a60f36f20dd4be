#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/file_system.h"

namespace postkite::support {

/// Files in memory, with faults at the call of a test's choice, and with what a disk would keep: the content
/// that a file had at its last `Sync`, the entries that a directory had at its last `SyncDirectory`. Paths
/// are taken from "/", letter case counts, there are no links. Calls and writes are numbered from 1, the next
/// one that is made.
class MemoryFileSystem final : public core::FileSystem {
  public:
    MemoryFileSystem();
    ~MemoryFileSystem() override;

    // For arranging and asserting. None of these is a counted call, and what they make is durable.

    /// Makes the directories of the path as well. Replaces what stands there.
    void Put(const std::filesystem::path& path, std::string_view bytes);
    void PutDirectory(const std::filesystem::path& path);
    /// The written content; nullopt where there is no file.
    [[nodiscard]] std::optional<std::string> Get(const std::filesystem::path& path) const;
    [[nodiscard]] bool Exists(const std::filesystem::path& path) const {
        return Find(path.native()) != nullptr;
    }
    /// The names in a directory, in order.
    [[nodiscard]] std::vector<std::string> Names(const std::filesystem::path& directory) const;

    /// The n-th call does nothing and fails with `error`, a negated errno value.
    void FailCall(int n, int error) { failures_[calls_ + n] = error; }
    /// The n-th write stores `storedBytes` of its bytes, then the disk is full.
    void ShortWrite(int n, std::size_t storedBytes) { writeFaults_[writes_ + n] = {storedBytes, false}; }
    /// From the n-th call on, every call fails with -EIO and changes nothing: the program is gone.
    void StopAtCall(int n) { stopAt_ = calls_ + n; }
    /// The same from within the n-th write, which has stored `storedBytes`.
    void StopWithinWrite(int n, std::size_t storedBytes) { writeFaults_[writes_ + n] = {storedBytes, true}; }
    /// Before the n-th call `visit` is done: what another program does then. Its calls do not count, and meet no fault.
    void VisitAtCall(int n, std::function<void()> visit) { visits_[calls_ + n] = std::move(visit); }
    /// Whether one of these has come about since the last restart.
    [[nodiscard]] bool struck() const { return struck_; }
    /// Calls made, since the beginning.
    [[nodiscard]] int calls() const { return calls_; }
    /// The same, and the names that listings have brought.
    [[nodiscard]] std::size_t cost() const { return static_cast<std::size_t>(calls_) + namesListed_; }

    /// The program was killed and a new one comes: what was written stays, locks are free, what was open is
    /// dead, and faults that have not come about will not.
    void Restart();

    enum class NamesKept { Durable, Written };
    /// The machine lost its power. Contents are those of the last sync of each file. So are the names, or
    /// else all of them had already reached the disk by themselves, which a disk is free to do as well.
    void PowerCut(NamesKept names = NamesKept::Durable);

    [[nodiscard]] int Open(const std::filesystem::path& path, core::OpenMode mode,
                           std::unique_ptr<core::File>& file) override;
    [[nodiscard]] int Inspect(const std::filesystem::path& path, core::EntryKind& kind) override;
    [[nodiscard]] int List(const std::filesystem::path& directory,
                           std::vector<std::filesystem::path>& names) override;
    [[nodiscard]] int Rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
    [[nodiscard]] int Remove(const std::filesystem::path& path) override;
    [[nodiscard]] int CreateDirectory(const std::filesystem::path& path) override;
    [[nodiscard]] int SyncDirectory(const std::filesystem::path& directory) override;
    /// Waiting for a lock that is held would be for ever here: -EDEADLK.
    [[nodiscard]] int Lock(const std::filesystem::path& directory, bool wait,
                           std::unique_ptr<core::FileLock>& lock) override;

  private:
    struct Node;
    class OpenFile;
    class HeldLock;
    struct WriteFault {
        std::size_t storedBytes;
        bool stops;
    };

    [[nodiscard]] int Enter();
    [[nodiscard]] int EnterDirectory(std::string_view path, std::shared_ptr<Node>& node);
    [[nodiscard]] std::shared_ptr<Node> Find(std::string_view path) const;
    [[nodiscard]] std::shared_ptr<Node> MakeDirectories(const std::filesystem::path& path);

    std::shared_ptr<Node> root_;
    int calls_ = 0;
    int writes_ = 0;
    std::size_t namesListed_ = 0;
    bool visiting_ = false;
    std::map<int, std::function<void()>> visits_;  ///< by call
    std::map<int, int> failures_;                  ///< by call
    std::map<int, WriteFault> writeFaults_;        ///< by write
    int stopAt_ = 0;
    bool stopped_ = false;
    bool struck_ = false;
    int run_ = 0;  ///< of the program; files and locks of an earlier one are dead
    std::set<const Node*> locked_;
};

}  // namespace postkite::support
