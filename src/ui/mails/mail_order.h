#pragma once

#include <QString>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/folder_reader.h"

namespace postkite::ui {

/// What the mails of a list are sorted by. `Number`: as they stand in the folder.
enum class MailSortKey { Number, Id, Name, Size, Date, Subject };

/// Which mails of a folder a list shows, and in what order.
struct MailOrder {
    MailSortKey key = MailSortKey::Number;
    bool backwards = false;
    bool threads = false;  ///< with `Number` alone: mails of the same subject stand behind the first of them
    QString filter;        ///< text that subject, name or address has to hold, in any letter case and width

    /// Whether all mails are shown as they stand in the folder, so that nothing has to be read to know the order.
    [[nodiscard]] bool IsFolderOrder() const {
        return key == MailSortKey::Number && !backwards && !threads && filter.isEmpty();
    }
};

/// The record numbers in that order, with one pass over the index. Mails that are equal stand in folder order,
/// backwards too.
[[nodiscard]] std::vector<int> MakeMailOrder(store::FolderReader& reader, const MailOrder& order);

/// The same for all texts that differ in letter case and width alone.
[[nodiscard]] QString FoldedForSearch(const QString& text);

/// Dates "YY/MM/DD HH:MM" as texts that sort as the dates do: years 70 to 99 before 00 to 69.
[[nodiscard]] std::string DateSortKey(std::string_view date);

}  // namespace postkite::ui
