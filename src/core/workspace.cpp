#include "core/workspace.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

#include "core/directory_listings.h"
#include "core/letter_case.h"
#include "core/shift_jis.h"

namespace postkite::core {

namespace {

constexpr char kSeparator = '\\';

/// Behind the name of a file while its new content is being written.
constexpr std::string_view kUnfinishedSuffix = ".$$$";

constexpr std::array<std::string_view, 6> kDevices = {"CON", "PRN", "AUX", "NUL", "CLOCK$", "CONFIG$"};
constexpr std::array<std::string_view, 2> kConsoleDevices = {"CONIN$", "CONOUT$"};
constexpr std::array<std::string_view, 2> kNumberedDevices = {"COM", "LPT"};

/// Device names stay what they are with an extension ("nul.txt") and with blanks behind them.
bool IsDeviceName(std::string_view component) {
    std::string_view stem = component.substr(0, FindCharacter(component, '.'));
    while (!stem.empty() && stem.back() == ' ')
        stem.remove_suffix(1);
    constexpr std::size_t kShortest = 3;
    constexpr std::size_t kLongest = 7;
    if (stem.size() < kShortest || stem.size() > kLongest) return false;
    const auto isStem = [&stem](std::string_view device) { return EqualIgnoringCase(stem, device); };
    if (std::any_of(kDevices.begin(), kDevices.end(), isStem)) return true;
    if (std::any_of(kConsoleDevices.begin(), kConsoleDevices.end(), isStem)) return true;
    constexpr std::size_t kNumberedLength = 4;
    if (stem.size() != kNumberedLength || stem.back() < '0' || stem.back() > '9') return false;
    stem.remove_suffix(1);
    return std::any_of(kNumberedDevices.begin(), kNumberedDevices.end(), isStem);
}

bool IsControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

/// The component as the operating system spells it, or nothing when it is refused.
std::optional<std::u8string> NativeComponent(std::string_view component) {
    if (component.empty() || component.back() == '.' || component.back() == ' ') return std::nullopt;
    constexpr std::string_view kNeverInNames = "<>:\"/\\|?*";
    for (std::size_t at = 0; at < component.size(); at += CharacterLength(component, at)) {
        const char byte = component[at];
        if (!IsLeadByte(byte) && kNeverInNames.find(byte) != std::string_view::npos) return std::nullopt;
        if (IsControl(static_cast<unsigned char>(byte)) && !IsLeadByte(byte)) return std::nullopt;
    }
    if (IsDeviceName(component)) return std::nullopt;
    std::u8string native = ToUtf8(component);
    if (native.find(u8"\uFFFD") != std::u8string::npos) return std::nullopt;
    return native;
}

bool IsAbsolute(std::string_view name) {
    return name.empty() || name.front() == kSeparator;
}

}  // namespace

Workspace::Workspace(FileSystem& fileSystem, std::filesystem::path root)
    : fileSystem_(&fileSystem), root_(std::move(root)) {
}

int Workspace::MakeRoot() {
    std::filesystem::path made;
    for (const std::filesystem::path& component : root_) {
        made /= component;
        EntryKind kind{};
        const int inspected = fileSystem_->Inspect(made, kind);
        if (inspected < 0) return inspected;
        if (kind == EntryKind::Directory) continue;
        const int created = MakeDirectory(made);
        if (created < 0 && created != -EEXIST) return created;
    }
    return 0;
}

int Workspace::Prepare() {
    const int made = MakeRoot();
    if (made < 0) return made;
    EntryKind kind{};
    const int inspected = Inspect("Setting", kind);
    if (inspected < 0) return inspected;
    return kind == EntryKind::Missing ? CreateDirectory("Setting") : 0;
}

std::vector<std::string> Workspace::SpellingsOf(std::string_view name) const {
    std::vector<std::string> names;
    static_cast<void>(List(".", names));
    std::erase_if(names, [name](const std::string& entry) { return !EqualIgnoringCase(entry, name); });
    return names;
}

bool Workspace::IsSafeComponent(std::string_view component) {
    return NativeComponent(component).has_value();
}

int Workspace::LocateComponent(const std::filesystem::path& directory, std::string_view component,
                               LetterCase letterCase, std::filesystem::path& path) const {
    const std::optional<std::u8string> native = NativeComponent(component);
    if (!native) return -EINVAL;
    // By the bytes: putting paths together as such is most of what finding a name would cost.
    std::string joined;
    joined.reserve(directory.native().size() + 1 + native->size());
    joined += directory.native();
    if (!joined.empty() && joined.back() != '/') joined += '/';
    joined.append(native->begin(), native->end());
    path = std::move(joined);
    if (letterCase == LetterCase::AsSpelled) return 0;
    EntryKind kind{};
    const int inspected = fileSystem_->Inspect(path, kind);
    if (inspected < 0 || kind != EntryKind::Missing) return inspected;

    std::vector<std::filesystem::path> names;
    const auto listings = listings_.lock();
    const int listed = listings != nullptr ? listings->Matching(*fileSystem_, directory, component, names)
                                           : fileSystem_->List(directory, names);
    if (listed < 0) return listed == -ENOENT || listed == -ENOTDIR ? 0 : listed;
    // Of two names that differ in case alone the first in order counts, so that every call finds the same
    // one.
    std::sort(names.begin(), names.end());
    for (const std::filesystem::path& name : names) {
        const std::optional<std::string> spelled = FromUtf8(name.u8string());
        if (spelled && EqualIgnoringCase(*spelled, component)) {
            path = directory / name;
            break;
        }
    }
    return 0;
}

int Workspace::Locate(std::string_view name, std::filesystem::path& path) const {
    return Locate(name, LetterCase::Any, path);
}

int Workspace::Locate(std::string_view name, LetterCase lastComponent, std::filesystem::path& path) const {
    if (IsAbsolute(name)) return -EINVAL;
    std::filesystem::path found = root_;
    while (!name.empty()) {
        const std::size_t end = FindCharacter(name, kSeparator);
        const std::string_view component = name.substr(0, end);
        name = end == std::string_view::npos ? std::string_view() : name.substr(end + 1);
        // "log\" and ".\log" are ways to say "log".
        if (component.empty() || component == ".") continue;
        std::filesystem::path next;
        const LetterCase letterCase = name.empty() ? lastComponent : LetterCase::Any;
        const int located = LocateComponent(found, component, letterCase, next);
        if (located < 0) return located;
        found = std::move(next);
    }
    path = std::move(found);
    return 0;
}

std::string Workspace::AsOnDisk(std::string_view name) const {
    std::filesystem::path path;
    if (Locate(name, path) < 0) return std::string(name);
    const std::size_t separator = FindLastCharacter(name, kSeparator);
    const std::size_t last = separator == std::string_view::npos ? 0 : separator + 1;
    const std::optional<std::string> spelled = FromUtf8(path.filename().u8string());
    const bool found = spelled && EqualIgnoringCase(*spelled, name.substr(last));
    return std::string(name.substr(0, last)) + (found ? *spelled : std::string(name.substr(last)));
}

int Workspace::Open(std::string_view name, OpenMode mode, std::unique_ptr<File>& file) const {
    std::filesystem::path path;
    const int located = Locate(name, path);
    return located < 0 ? located : OpenPath(path, mode, file);
}

int Workspace::Inspect(std::string_view name, EntryKind& kind) const {
    std::filesystem::path path;
    const int located = Locate(name, path);
    return located < 0 ? located : fileSystem_->Inspect(path, kind);
}

int Workspace::InspectExactly(std::string_view name, EntryKind& kind) const {
    std::filesystem::path path;
    const int located = Locate(name, LetterCase::AsSpelled, path);
    return located < 0 ? located : fileSystem_->Inspect(path, kind);
}

int Workspace::OpenExactly(std::string_view name, OpenMode mode, std::unique_ptr<File>& file) const {
    std::filesystem::path path;
    const int located = Locate(name, LetterCase::AsSpelled, path);
    return located < 0 ? located : OpenPath(path, mode, file);
}

int Workspace::CreateDirectory(std::string_view name) {
    std::filesystem::path path;
    const int located = Locate(name, path);
    return located < 0 ? located : MakeDirectory(path);
}

int Workspace::Remove(std::string_view name) {
    std::filesystem::path path;
    const int located = LocateFile(name, path);
    return located < 0 ? located : RemovePath(path);
}

int Workspace::Rename(std::string_view from, std::string_view to) {
    std::filesystem::path fromPath;
    std::filesystem::path toPath;
    int result = LocateFile(from, fromPath);
    if (result == 0) result = LocateFile(to, toPath);
    return result < 0 ? result : RenamePath(fromPath, toPath);
}

int Workspace::SyncNames(std::string_view name) {
    std::filesystem::path path;
    const int located = LocateFile(name, path);
    return located < 0 ? located : fileSystem_->SyncDirectory(path.parent_path());
}

int Workspace::List(std::string_view directory, std::vector<std::string>& names) const {
    names.clear();
    std::filesystem::path path;
    int result = Locate(directory, path);
    std::vector<std::filesystem::path> entries;
    if (result == 0) result = fileSystem_->List(path, entries);
    if (result < 0) return result;
    for (const std::filesystem::path& entry : entries) {
        if (std::optional<std::string> name = FromUtf8(entry.u8string())) names.push_back(std::move(*name));
    }
    std::sort(names.begin(), names.end());
    return 0;
}

std::shared_ptr<const DirectoryListings> Workspace::KeepListings() const {
    auto listings = listings_.lock();
    if (listings == nullptr) listings_ = listings = std::make_shared<DirectoryListings>();
    return listings;
}

bool Workspace::Exists(const std::filesystem::path& path) const {
    EntryKind kind{};
    return fileSystem_->Inspect(path, kind) == 0 && kind != EntryKind::Missing;
}

int Workspace::OpenPath(const std::filesystem::path& path, OpenMode mode, std::unique_ptr<File>& file) const {
    const bool makes = mode == OpenMode::CreateNew || mode == OpenMode::ReadWriteOrCreate;
    const auto listings = makes ? listings_.lock() : nullptr;
    const bool isNew = listings != nullptr && !Exists(path);
    const int opened = fileSystem_->Open(path, mode, file);
    if (opened == 0 && isNew) listings->Add(path);
    return opened;
}

int Workspace::RenamePath(const std::filesystem::path& from, const std::filesystem::path& to) {
    const auto listings = listings_.lock();
    const bool isNew = listings != nullptr && !Exists(to);
    const int renamed = fileSystem_->Rename(from, to);
    if (renamed < 0 || listings == nullptr) return renamed;
    listings->Remove(from);
    if (isNew) listings->Add(to);
    return 0;
}

int Workspace::RemovePath(const std::filesystem::path& path) {
    const int removed = fileSystem_->Remove(path);
    const auto listings = removed == 0 ? listings_.lock() : nullptr;
    if (listings != nullptr) listings->Remove(path);
    return removed;
}

int Workspace::MakeDirectory(const std::filesystem::path& path) {
    const int created = fileSystem_->CreateDirectory(path);
    if (created < 0) return created;
    if (const auto listings = listings_.lock(); listings != nullptr) listings->Add(path);
    return fileSystem_->SyncDirectory(path.has_parent_path() ? path.parent_path() : ".");
}

int Workspace::CreateAnew(const std::filesystem::path& path, std::unique_ptr<File>& file) {
    // Left behind by a program that was killed; the lock says that nobody is writing it now.
    const int removed = RemovePath(path);
    if (removed < 0 && removed != -ENOENT) return removed;
    return OpenPath(path, OpenMode::CreateNew, file);
}

int Workspace::WriteBeside(const std::filesystem::path& beside, std::string_view bytes) {
    std::unique_ptr<File> file;
    int result = CreateAnew(beside, file);
    if (result == 0) result = file->WriteAt(0, bytes);
    if (result == 0) result = file->Sync();
    return result;
}

int Workspace::LocateFile(std::string_view name, std::filesystem::path& path) const {
    const int located = Locate(name, path);
    // What is written beside the root would be outside.
    return located == 0 && path == root_ ? -EISDIR : located;
}

int Workspace::Replace(std::string_view name, std::string_view bytes) {
    std::filesystem::path path;
    int result = LocateFile(name, path);
    if (result < 0) return result;
    std::filesystem::path beside = path;
    beside += kUnfinishedSuffix;
    result = WriteBeside(beside, bytes);
    if (result == 0) result = RenamePath(beside, path);
    if (result < 0) {
        // The reason of the failure counts, not whether the tidying up worked.
        static_cast<void>(RemovePath(beside));
        return result;
    }
    return fileSystem_->SyncDirectory(path.parent_path());
}

int Workspace::Copy(std::string_view name, std::string_view copyName) {
    std::filesystem::path copyPath;
    int result = LocateFile(copyName, copyPath);
    if (result < 0) return result;
    std::unique_ptr<File> source;
    result = Open(name, OpenMode::Read, source);
    if (result < 0) return result;
    EntryKind kind{};
    result = fileSystem_->Inspect(copyPath, kind);
    if (result == 0 && kind != EntryKind::Missing) result = -EEXIST;
    if (result < 0) return result;
    std::filesystem::path beside = copyPath;
    beside += kUnfinishedSuffix;
    std::unique_ptr<File> copy;
    result = CreateAnew(beside, copy);
    if (result < 0) return result;

    constexpr std::size_t kPieceBytes = 32 * 1024;
    std::vector<char> piece(kPieceBytes);
    std::uint64_t offset = 0;
    for (;;) {
        const std::int64_t count = source->ReadAt(offset, piece);
        if (count < 0) result = static_cast<int>(count);
        if (count <= 0) break;
        result = copy->WriteAt(offset, {piece.data(), static_cast<std::size_t>(count)});
        if (result < 0) break;
        offset += static_cast<std::uint64_t>(count);
    }
    if (result == 0) result = copy->Sync();
    if (result == 0) result = RenamePath(beside, copyPath);
    if (result == 0) return fileSystem_->SyncDirectory(copyPath.parent_path());
    static_cast<void>(RemovePath(beside));
    return result;
}

int Workspace::Lock(bool wait, WorkspaceLock& lock) {
    lock.share_ = held_.lock();
    if (lock.share_ != nullptr) return 0;
    std::unique_ptr<FileLock> taken;
    const int result = fileSystem_->Lock(root_, wait, taken);
    if (result < 0) return result;
    lock.share_ = std::move(taken);
    held_ = lock.share_;
    return 0;
}

int Workspace::LockDirectory(std::string_view name, std::unique_ptr<FileLock>& lock) const {
    std::filesystem::path path;
    const int located = Locate(name, path);
    return located < 0 ? located : fileSystem_->Lock(path, false, lock);
}

}  // namespace postkite::core
