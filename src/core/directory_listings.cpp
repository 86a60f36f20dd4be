#include "core/directory_listings.h"

#include <functional>
#include <optional>

#include "core/letter_case.h"
#include "core/shift_jis.h"

namespace postkite::core {

namespace {

std::size_t HashOf(std::string_view component) {
    return std::hash<std::string>()(SmallLetters(component));
}

/// Nothing for a name that the code page lacks.
std::optional<std::size_t> HashOfEntry(const std::filesystem::path& name) {
    const std::optional<std::string> spelled = FromUtf8(name.u8string());
    return spelled ? std::optional(HashOf(*spelled)) : std::nullopt;
}

}  // namespace

void DirectoryListings::AddTo(Listing& listing, const std::filesystem::path& name) {
    if (const auto hash = HashOfEntry(name)) listing.emplace(*hash, name.native());
}

int DirectoryListings::Matching(FileSystem& fileSystem, const std::filesystem::path& directory,
                                std::string_view component, std::vector<std::filesystem::path>& names) {
    names.clear();
    // As the parent of an entry is spelled.
    const std::filesystem::path key = (directory / ".").parent_path();
    auto found = directories_.find(key);
    if (found == directories_.end()) {
        const int listed = fileSystem.List(directory, names);
        if (listed < 0) return listed;
        found = directories_.try_emplace(key).first;
        for (const std::filesystem::path& name : names)
            AddTo(found->second, name);
        names.clear();
    }
    const auto [first, last] = found->second.equal_range(HashOf(component));
    for (auto entry = first; entry != last; ++entry)
        names.emplace_back(entry->second);
    return 0;
}

void DirectoryListings::Add(const std::filesystem::path& path) {
    const auto found = directories_.find(path.parent_path());
    if (found != directories_.end()) AddTo(found->second, path.filename());
}

void DirectoryListings::Remove(const std::filesystem::path& path) {
    const auto found = directories_.find(path.parent_path());
    const auto hash = found == directories_.end() ? std::nullopt : HashOfEntry(path.filename());
    if (!hash) return;
    const auto [first, last] = found->second.equal_range(*hash);
    for (auto entry = first; entry != last; ++entry) {
        if (entry->second != path.filename().native()) continue;
        found->second.erase(entry);
        return;
    }
}

}  // namespace postkite::core
