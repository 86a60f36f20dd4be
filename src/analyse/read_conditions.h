#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/clock.h"
#include "core/workspace.h"
#include "store/folder_tree.h"

/// Which forum rooms and libraries a session reads: a file "setting\%s" each, named after the folder, of two lines.
///
///     読み込み条件=perday CR LF
///     last access=97/01/23 CR LF
///
/// `folder` is the folder's name, "%s,mes%d" or "%s,lib%d" with "mes" and "lib" in any letter case. Any other name
/// has no file, so none leads to another file of the directory, and neither does one that no file can have. Dates
/// are YY/MM/DD; years 00 to 69 come after 70 to 99.
namespace postkite::analyse {

inline constexpr std::string_view kNotRead = "notread";
inline constexpr std::string_view kRead = "read";
inline constexpr std::string_view kPerDay = "perday";  ///< read when today is later than the last access

/// What is shown as the last access of a place that got its file just now.
inline constexpr std::string_view kFirstAccessDate = "93/01/01";

struct ReadCondition {
    /// As the file has it, which may be anything; empty where the first line says something else.
    std::string condition = std::string(kNotRead);
    std::string lastAccess;  ///< YY/MM/DD, or empty
    bool hasFile = false;    ///< as it was read

    bool operator==(const ReadCondition&) const = default;
};

/// A room or a library, from a folder's name.
struct ForumPlace {
    std::string forum;
    int number = 0;
    bool library = false;
};

/// False, and `place` is left alone, where the name is neither a room's nor a library's or no file can have it.
[[nodiscard]] bool ParseForumPlace(std::string_view folder, ForumPlace& place);

/// Reads the file. "notread" and no date where there is none. Returns 0, also then, or a negated errno value.
[[nodiscard]] int ReadReadCondition(const core::Workspace& workspace, std::string_view folder,
                                    ReadCondition& condition);

/// Writes it. Returns 0 or a negated errno value, -EINVAL for a folder that has no file and for texts that its
/// lines cannot hold. Takes the lock.
[[nodiscard]] int WriteReadCondition(core::Workspace& workspace, std::string_view folder,
                                     const ReadCondition& condition);

/// Gives a place that has no file the one that says "notread", without a date. Nothing where there is one. Returns 0 or
/// a negated errno value, -EINVAL for a folder that has no file. Takes the lock.
[[nodiscard]] int CreateReadCondition(core::Workspace& workspace, std::string_view folder);

/// Two digits, "/", two digits, "/", two digits.
[[nodiscard]] bool IsAccessDate(std::string_view text);

/// What people are told who give another.
[[nodiscard]] std::string_view WrongAccessDateText();

/// Below, equal to or above 0 as `left` is earlier than, the same as or later than `right`. What is no date comes before
/// all dates.
[[nodiscard]] int CompareAccessDates(std::string_view left, std::string_view right);

/// 1 when the folder is to be read in a session that begins today, else 0, also where its file cannot be read.
/// `lastAccess` gets the stored date in either case.
[[nodiscard]] int ShouldReadFolder(const core::Workspace& workspace, const core::Clock& clock,
                                   std::string_view folder, std::string& lastAccess);

/// 0 "notread" or no file, 1 "read", 2 any other condition. `lastAccess` gets the stored date.
[[nodiscard]] int GetReadCondition(const core::Workspace& workspace, std::string_view folder,
                                   std::string& lastAccess);

/// Today becomes the last access; the first line stays byte for byte, whatever it says. Nothing where there is no
/// file. Returns 0 or a negated errno value. Takes the lock.
[[nodiscard]] int RecordLastAccess(core::Workspace& workspace, const core::Clock& clock,
                                   std::string_view folder);

/// The rooms and libraries of the tree in tree order, then those that only have a file, in the order of their
/// names; each once, whatever its letter case. A room can be chosen before its first message makes its folder.
[[nodiscard]] std::vector<std::string> ForumFoldersOf(const core::Workspace& workspace,
                                                      const store::FolderTree& tree);

}  // namespace postkite::analyse
