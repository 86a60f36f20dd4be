#pragma once

#include <string>
#include <string_view>

/// Reply prefixes of subjects: "Re:" in any letter case and the counted "Re^2:". Texts are code page 932; a blank
/// is the ASCII space alone. Depths that no `int` holds become the largest one.
namespace postkite::analyse {

/// Removes leading blanks, then one prefix, but not the blanks behind it. Returns the depth that it stood for,
/// 0 where there was none or where it says so: a counted prefix need not hold digits.
[[nodiscard]] int StripReplyPrefix(std::string& subject);

/// Removes prefixes up to and with the first that stands for 0, and the blanks before and behind them. Returns
/// the sum of their depths.
[[nodiscard]] int CountReplyDepth(std::string& subject);

/// Makes the subject of the answer. `style` is the setting `返信タイトル`: 0 plain, any other counted. No blank is
/// put behind the prefix.
void MakeReplySubject(std::string& subject, int style);

/// For the list: a subject that begins with a prefix gets the tree mark before it, and blanks for its count. A
/// two-digit count gets ten blanks and no mark.
void IndentSubjectByPrefix(std::string& subject);

/// The same by the depth in a thread, '0' to '9': '1' already gives a blank, where a prefix of 1 gives none. Any
/// other character leaves the subject as it is.
void IndentSubjectByDepth(std::string& subject, char depthDigit);

}  // namespace postkite::analyse
