// Any bytes as a tree file, then any commands on it. What was read is saved and read again as the same tree;
// what the old file said and the new one does not is kept beside and told; no command is refused without a
// word but for the names that are to be passed over; tree and file always say the same.
//
// The second part of an input has a command a line: "n" a new folder, "r" renaming, "d" deleting, "m" moving,
// then one or two names with "|" between.

#include <algorithm>
#include <array>
#include <vector>

#include "core/letter_case.h"
#include "fuzz/fuzz_program.h"
#include "store/folder_commands.h"
#include "store/folder_tree.h"

namespace {

using namespace postkite;
using fuzz::Check;

constexpr const char* kTreePath = "/mail/Bank/MailBoxInfo.ini";
constexpr const char* kCompanionPath = "/mail/Setting/MailBoxInfo.ini.tmp";
constexpr std::string_view kRootLine = "00Desktop";

struct Row {
    int depth;
    std::string name;
    std::int32_t state;
    bool operator==(const Row&) const = default;
};

/// The folders below the root, in order.
std::vector<Row> RowsOf(const store::FolderTree& tree) {
    std::vector<Row> rows;
    tree.Walk([&](const store::Folder& folder, const std::string&) {
        if (folder.parent == nullptr) return true;
        rows.push_back({store::DepthOf(folder), folder.name, folder.state});
        Check(rows.back().depth <= store::kDeepestFolder && !folder.name.empty());
        return true;
    });
    return rows;
}

void CheckFinding(store::FolderTree& tree) {
    int left = 50;
    tree.Walk([&](const store::Folder&, const std::string& baseName) {
        const store::Folder* found = tree.Find(baseName);
        Check(found != nullptr && store::BaseNameOf(*found) == baseName);
        return --left > 0;
    });
}

/// The lines as the bytes in front of each CR. The byte behind a CR is thrown away in all text files.
std::vector<std::string> LinesOf(const std::string& bytes) {
    std::vector<std::string> lines;
    std::size_t at = 0;
    for (std::size_t end = bytes.find('\r'); end != std::string::npos; end = bytes.find('\r', at)) {
        lines.push_back(bytes.substr(at, end - at));
        at = std::min(end + 2, bytes.size());
    }
    if (at < bytes.size()) lines.push_back(bytes.substr(at));
    return lines;
}

/// Whether the rows have the name and the state of every folder that the bytes name. Depths may have been
/// mended. A state of the root says nothing, for it has no parent.
bool SaysTheSame(const std::string& bytes, const std::vector<Row>& rows) {
    std::size_t number = 0;
    for (const std::string& line : LinesOf(bytes)) {
        if (core::EqualIgnoringCase(line.substr(0, line.find('/')), kRootLine)) continue;
        if (number == rows.size()) return false;
        const Row& row = rows[number++];
        const std::string state = row.state == 0 ? "" : "/" + std::to_string(row.state);
        const std::string said = line.substr(std::min<std::size_t>(line.size(), 2));
        if (said != row.name + state && said != row.name + "/" + std::to_string(row.state)) return false;
    }
    return number == rows.size();
}

/// The file as another program would read it.
std::vector<Row> RowsOnDisk(support::MemoryFileSystem& disk) {
    fuzz::Program other(disk);
    const std::array<std::string, 1> banks = {"Bank"};
    store::Folders folders(other.mailbox, banks);
    Check(folders.LoadFolderTree() == 0 && other.ui.faults == 0);
    return RowsOf(folders.tree());
}

void CheckSaving(support::MemoryFileSystem& disk, fuzz::Program& program, store::Folders& folders,
                 const std::string& bytes) {
    const std::vector<Row> rows = RowsOf(folders.tree());
    if (bytes.size() % 4 == 0) CheckFinding(folders.tree());
    Check(disk.Get(kTreePath) == bytes);
    Check(folders.SaveFolderTree() == 0 && program.ui.faults == 0);
    Check(RowsOf(folders.tree()) == rows && RowsOnDisk(disk) == rows);
    const auto kept = disk.Get(std::string(kTreePath) + ".bak");
    Check(kept ? kept == bytes && program.ui.notes == 1 : program.ui.notes == 0);
    if (!kept) Check(SaysTheSame(bytes, rows));

    const std::string companion = disk.Get(kCompanionPath).value();
    Check(static_cast<std::size_t>(std::count(companion.begin(), companion.end(), '\r')) == rows.size());

    if (bytes.size() % 4 != 1) return;
    const auto saved = disk.Get(kTreePath);
    const std::vector<std::string> names = disk.Names("/mail/Bank");
    Check(folders.SaveFolderTree() == 0);
    Check(disk.Get(kTreePath) == saved && disk.Names("/mail/Bank") == names);
}

bool IsPassedOver(const std::string& name) {
    return name.empty() || name.find('#') != std::string::npos || store::IsFixedName(name);
}

void RunCommand(support::MemoryFileSystem& disk, fuzz::Program& program, store::Folders& folders,
                const std::string& line) {
    const auto before = disk.Get(kTreePath);
    const std::size_t count = RowsOf(folders.tree()).size();
    const int faults = program.ui.faults;
    const std::size_t bar = std::min(line.find('|'), line.size());
    const std::string first = line.substr(1, bar == 0 ? 0 : bar - 1);
    const std::string second = bar < line.size() ? line.substr(bar + 1) : std::string();
    int result = 0;
    switch (line.front()) {
        case 'n':
            result = folders.NewFolder(first, second);
            break;
        case 'r':
            result = folders.RenameFolder(first, second, store::MailEditing::No);
            break;
        case 'd':
            result = folders.DeleteFolder(first, store::MailEditing::No);
            break;
        case 'm':
            result = folders.MoveFolder(first, second, store::MailEditing::No);
            break;
        default:
            return;
    }
    const std::size_t now = RowsOf(folders.tree()).size();
    Check(disk.Get(kTreePath) == folders.tree().Format());
    Check((result == -1) == (program.ui.faults > faults));
    if (result < 0) Check(disk.Get(kTreePath) == before);
    if (result == store::kNameNotTaken) {
        Check((line.front() == 'n' || line.front() == 'r') && IsPassedOver(second));
    } else if (line.front() == 'd') {
        Check(result == 0 ? now < count : now == count);
    } else {
        Check(now == count + (line.front() == 'n' && result == 0 ? 1 : 0));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = fuzz::SplitInput(data, size, 2);
    support::MemoryFileSystem disk;
    disk.Put(kTreePath, parts[0]);
    fuzz::Program program(disk);
    const std::array<std::string, 1> banks = {"Bank"};
    store::Folders folders(program.mailbox, banks);
    Check(folders.LoadFolderTree() == 0 && program.ui.faults + program.ui.notes == 0);
    CheckSaving(disk, program, folders, parts[0]);
    constexpr std::size_t kMostCommands = 8;
    std::size_t commands = 0;
    std::size_t at = 0;
    while (at < parts[1].size() && commands++ < kMostCommands) {
        const std::size_t end = std::min(parts[1].find('\n', at), parts[1].size());
        if (end > at) RunCommand(disk, program, folders, parts[1].substr(at, end - at));
        at = end + 1;
    }
    if (commands > 0) Check(RowsOnDisk(disk) == RowsOf(folders.tree()));
    return 0;
}
