#pragma once

#include <string>
#include <string_view>

#include "core/workspace.h"
#include "outgoing/destination.h"

/// What goes up to the host of a mail.
namespace postkite::outgoing {

/// The subject as it goes out: "none titile" for an empty one, a blank for a control character, at most 40
/// bytes.
[[nodiscard]] std::string SubjectToSend(std::string_view subject);

/// Reads the stored signature, "setting\sign%d.txt", of a choice '1' to '9': at most `kLongestSignature` bytes,
/// cut between characters, up to a zero byte. Any other choice has none, and a file that is missing is an
/// empty one. Returns 0 or the negated errno value of what kept the file from being read.
[[nodiscard]] int ReadSignature(const core::Workspace& workspace, char choice, std::string& signature);

inline constexpr std::size_t kLongestSignature = 12'288;

/// Whether one of the lines, however they end, is what the host takes for the end of a text: "/POST" or "/E" in
/// any letter case. What would stand behind it is commands to the host. Control characters and blanks behind it
/// do not hide it, backspaces neither.
[[nodiscard]] bool HoldsEndOfText(std::string_view body);

/// The message file: the lines before the body, `body`, which has the CR LF that is added to every one, an empty
/// line and "/POST". `subject` is as it goes out; `nifFrom` the setting.
[[nodiscard]] std::string FormatMessageFile(const Destination& destination, std::string_view subject,
                                            std::string_view nifFrom, std::string_view body);

}  // namespace postkite::outgoing
