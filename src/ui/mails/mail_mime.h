#pragma once

#include <QMimeData>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace postkite::ui {

/// Mails on their way from the list to a folder of the same window.
struct DraggedMails {
    std::string folder;              ///< base name
    std::vector<int> recordNumbers;  ///< rising
};

inline constexpr auto kDraggedMailsType = "application/x-postkite-mails";
/// What the folder tree drags: a folder, by its base name.
inline constexpr auto kDraggedFolderType = "application/x-postkite-folder";

[[nodiscard]] std::unique_ptr<QMimeData> PackMails(const DraggedMails& mails);
/// Nothing where the data are not mails, or were not made by `PackMails`.
[[nodiscard]] std::optional<DraggedMails> UnpackMails(const QMimeData& data);

}  // namespace postkite::ui
