#pragma once

#include <QString>
#include <optional>
#include <string>
#include <string_view>

/// Between the engine's texts, code page 932, and those of the windows.
namespace postkite::ui {

/// One line for people: bytes that are no character become U+FFFD, and each control character becomes the picture
/// of itself (U+2400 and on), so that no stored text can break a line, hide or steer anything.
[[nodiscard]] QString Shown(std::string_view text);

/// The same for texts of several lines: CR LF, a lone CR and a lone LF each end a line ("\n"), tabs stay.
[[nodiscard]] QString ShownLines(std::string_view text);

/// What was typed, in code page 932; "\n" becomes CR LF. Nothing where it holds a character that the code page
/// lacks; `refused`, if given, is that character then.
[[nodiscard]] std::optional<std::string> Typed(const QString& text, QString* refused = nullptr);

/// A file's path as people see it.
[[nodiscard]] QString ShownPath(const std::u8string& path);

/// How settings and properties name a path of the system: from the working directory on, with "\" between the
/// components, where it lies in there; as it is otherwise.
[[nodiscard]] QString PathForSetting(const QString& path, const QString& workingDirectory);

}  // namespace postkite::ui
