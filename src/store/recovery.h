#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "store/folder_files.h"

/// What recovery looks at before it puts something in the place of something else, and what becomes of
/// files that it does not put there. Results are 0 or negated errno values.
namespace postkite::store {

/// A list of records, from wherever: the 900 bytes of one, valid until the next call.
using RecordSource = std::function<std::string_view(std::uint64_t number)>;

/// How many mails of the list can be read: those whose record leads to a text that bears its identifier, a
/// text counted once. None where there is no text.
[[nodiscard]] int CountReadable(const FolderFiles& files, const std::string& text,
                                const RecordSource& records, std::uint64_t count, std::uint64_t& readable);

/// An index together with the text that it would lead into.
struct ListCondition {
    bool isWhole = true;  ///< as long as its records, each of which leads into the text
    std::uint64_t records = 0;
    std::uint64_t readable = 0;
};
/// Of a missing index, nothing; of one of an older layout, not whole and nothing readable.
[[nodiscard]] int ExamineList(const FolderFiles& files, const std::string& index, const std::string& text,
                              ListCondition& condition);

/// What a person reads about a file that has been put aside, code page 932.
[[nodiscard]] std::string TextOfPutAside(std::string_view kept, core::Language language);

/// Gives files that are not to be used names that nothing has: "N.$$l" becomes "N.loc.new", or "N.loc.new2"
/// and so on, "N.$$t" "N.mtx.new", "N.$$i" "N.jnl.new"; all of them the same number. `kept` gets the names.
/// Hold the lock.
[[nodiscard]] int PutAside(const FolderFiles& files, std::span<const std::string> names,
                           std::vector<std::string>& kept);

}  // namespace postkite::store
