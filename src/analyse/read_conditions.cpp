#include "analyse/read_conditions.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <set>

#include "core/letter_case.h"
#include "core/line_reader.h"
#include "core/positional_file.h"
#include "core/shift_jis.h"
#include "core/time_stamp.h"
#include "store/folder_files.h"

namespace postkite::analyse {

using namespace core::literals;

namespace {

constexpr std::string_view kDirectory = "Setting";
constexpr std::string_view kConditionKey = "読み込み条件="_sjis;
constexpr std::string_view kAccessKey = "last access=";
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kDateBytes = 8;
constexpr std::size_t kMostNumberDigits = 9;

/// A longer line is somebody else's file, and is not written back cut.
constexpr std::size_t kLongestLine = 64UL * 1024;

bool IsDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

/// Empty where the folder has no file.
std::string FileOf(std::string_view folder) {
    ForumPlace place;
    if (!ParseForumPlace(folder, place)) return {};
    return std::string(kDirectory) + "\\" + std::string(folder);
}

struct Lines {
    bool hasFirst = false;
    std::string first;
    std::string second;
};

/// A line that the file's end cuts is one too: people write these files in editors.
bool ReadLine(core::LineReader& file, std::string& line) {
    line.clear();
    return ReadLogLine(file, line) == 0 || !line.empty();
}

/// -ENOENT where there is no file.
int ReadLines(const core::Workspace& workspace, std::string_view folder, Lines& lines) {
    const std::string name = FileOf(folder);
    if (name.empty()) return -ENOENT;
    std::unique_ptr<core::File> file;
    const int opened = workspace.Open(name, core::OpenMode::Read, file);
    if (opened < 0) return opened;
    core::LineReader reader(*file, kLongestLine);
    lines.hasFirst = ReadLine(reader, lines.first);
    if (lines.hasFirst) static_cast<void>(ReadLine(reader, lines.second));
    return reader.error();
}

std::string DateOf(std::string_view line) {
    if (!line.starts_with(kAccessKey)) return {};
    const std::string_view date = line.substr(kAccessKey.size(), kDateBytes);
    return std::string(IsAccessDate(date) ? date : std::string_view());
}

int Replace(core::Workspace& workspace, std::string_view folder, std::string_view firstLine,
            std::string_view date) {
    std::string bytes(firstLine);
    bytes += kLineEnd;
    bytes += kAccessKey;
    bytes += date;
    bytes += kLineEnd;
    return workspace.Replace(FileOf(folder), bytes);
}

std::string Today(const core::Clock& clock) {
    return core::FormatNowDate(clock).substr(0, kDateBytes);
}

/// A key that sorts as the dates do.
std::string SortKey(std::string_view date) {
    if (!IsAccessDate(date)) return {};
    constexpr char kFirstDecadeOfTheOldCentury = '7';
    return (date.front() < kFirstDecadeOfTheOldCentury ? '2' : '1') + std::string(date);
}

}  // namespace

bool ParseForumPlace(std::string_view folder, ForumPlace& place) {
    const std::size_t comma = core::FindLastCharacter(folder, ',');
    constexpr std::size_t kKindBytes = 3;
    if (comma == std::string_view::npos || comma == 0 || !core::Workspace::IsSafeComponent(folder) ||
        !store::FitsFileNames(folder))
        return false;
    const std::string_view kind = folder.substr(comma + 1, kKindBytes);
    const bool library = core::EqualIgnoringCase(kind, "lib");
    if (!library && !core::EqualIgnoringCase(kind, "mes")) return false;
    const std::string_view digits = folder.substr(comma + 1 + kKindBytes);
    if (digits.empty() || digits.size() > kMostNumberDigits || (digits.front() == '0' && digits.size() > 1) ||
        !std::all_of(digits.begin(), digits.end(), IsDigit))
        return false;
    place = {std::string(folder.substr(0, comma)), core::ParseInteger(digits), library};
    return true;
}

int ReadReadCondition(const core::Workspace& workspace, std::string_view folder, ReadCondition& condition) {
    condition = {};
    Lines lines;
    const int result = ReadLines(workspace, folder, lines);
    if (result < 0) return result == -ENOENT ? 0 : result;
    condition.hasFile = true;
    if (!lines.hasFirst) return 0;
    const bool says = lines.first.starts_with(kConditionKey);
    condition.condition = says ? lines.first.substr(kConditionKey.size()) : std::string();
    condition.lastAccess = DateOf(lines.second);
    return 0;
}

int WriteReadCondition(core::Workspace& workspace, std::string_view folder, const ReadCondition& condition) {
    if (FileOf(folder).empty() || !core::FitsInLine(condition.condition) ||
        condition.condition.size() + kConditionKey.size() >= kLongestLine ||
        (!condition.lastAccess.empty() && !IsAccessDate(condition.lastAccess)))
        return -EINVAL;
    core::WorkspaceLock lock;
    const int locked = workspace.Lock(true, lock);
    if (locked < 0) return locked;
    return Replace(workspace, folder, std::string(kConditionKey) + condition.condition, condition.lastAccess);
}

int CreateReadCondition(core::Workspace& workspace, std::string_view folder) {
    const std::string file = FileOf(folder);
    if (file.empty()) return -EINVAL;
    core::WorkspaceLock lock;
    int result = workspace.Lock(true, lock);
    ReadCondition known;
    if (result == 0) result = ReadReadCondition(workspace, folder, known);
    if (result < 0 || known.hasFile) return result;
    return workspace.Replace(file,
                             std::string(kConditionKey) + std::string(kNotRead) + std::string(kLineEnd));
}

bool IsAccessDate(std::string_view text) {
    constexpr std::string_view kForm = "00/00/00";
    return text.size() == kForm.size() &&
           std::equal(text.begin(), text.end(), kForm.begin(),
                      [](char byte, char form) { return form == '/' ? byte == '/' : IsDigit(byte); });
}

std::string_view WrongAccessDateText() {
    return "最終アクセス日の指定が違います。"_sjis;
}

int CompareAccessDates(std::string_view left, std::string_view right) {
    return SortKey(left).compare(SortKey(right));
}

int ShouldReadFolder(const core::Workspace& workspace, const core::Clock& clock, std::string_view folder,
                     std::string& lastAccess) {
    ReadCondition condition;
    if (ReadReadCondition(workspace, folder, condition) < 0) condition = {};
    lastAccess = condition.lastAccess;
    if (condition.condition == kPerDay) return CompareAccessDates(Today(clock), lastAccess) > 0 ? 1 : 0;
    return condition.condition == kRead ? 1 : 0;
}

int GetReadCondition(const core::Workspace& workspace, std::string_view folder, std::string& lastAccess) {
    ReadCondition condition;
    if (ReadReadCondition(workspace, folder, condition) < 0) condition = {};
    lastAccess = condition.lastAccess;
    if (condition.condition == kNotRead) return 0;
    return condition.condition == kRead ? 1 : 2;
}

int RecordLastAccess(core::Workspace& workspace, const core::Clock& clock, std::string_view folder) {
    core::WorkspaceLock lock;
    int result = workspace.Lock(true, lock);
    Lines lines;
    if (result == 0) result = ReadLines(workspace, folder, lines);
    if (result < 0) return result == -ENOENT ? 0 : result;
    if (!lines.hasFirst) lines.first = std::string(kConditionKey) + std::string(kNotRead);
    if (lines.first.size() == kLongestLine) return -EMSGSIZE;
    return Replace(workspace, folder, lines.first, Today(clock));
}

std::vector<std::string> ForumFoldersOf(const core::Workspace& workspace, const store::FolderTree& tree) {
    std::vector<std::string> folders;
    std::set<std::string> seen;
    const auto add = [&](const std::string& name) {
        ForumPlace place;
        if (ParseForumPlace(name, place) && seen.insert(core::SmallLetters(name)).second)
            folders.push_back(name);
    };
    tree.Walk([&add](const store::Folder& folder, const std::string&) {
        add(folder.name);
        return true;
    });
    std::vector<std::string> files;
    static_cast<void>(workspace.List(kDirectory, files));
    std::for_each(files.begin(), files.end(), add);
    return folders;
}

}  // namespace postkite::analyse
