#pragma once

#include <string>
#include <string_view>

#include "store/older_layouts.h"

namespace postkite::store {

/// Index and text of a folder as the older programs left them, made byte by byte.
struct OlderFolder {
    FolderLayout layout = FolderLayout::V2;
    std::string index;
    std::string text;

    [[nodiscard]] std::size_t recordBytes() const {
        return layout == FolderLayout::V1 ? kIndexRecordBytesV1 : kIndexRecordBytesV2;
    }

    void AddRecord(std::string_view offset) {
        std::string record(offset);
        record.resize(20, ' ');
        record += layout == FolderLayout::V1 ? "10\r\n" : "20\r\n";
        const std::size_t lines = layout == FolderLayout::V1 ? 2 : 13;
        for (std::size_t line = 0; line < lines; ++line)
            record += std::string(50, line == 0 ? 'f' : ' ') + "\r\n";
        if (layout == FolderLayout::V1) record += "      \r\n";
        index += record;
    }

    /// A mail whose texts tell its number, with a body of two lines.
    void AddMail(int number) {
        AddRecord(std::to_string(text.size()));
        std::string mail =
            layout == FolderLayout::V1
                ? "Rosrr ---- OP Y\naddress#\nname#\n97/01/24 08:05\nsubject#\nattach#\ncc#\nbcc#\n"
                  "id#\nextra#\nxxxC\nsize#\nline #\nend\n/E\n"
                : "RoSRr ---- OP Y\nid#\naddress#\nname#\n97/01/24 08:05 97/01/25 09:00\n"
                  "subject#\nattach#\ncc#\nbcc#\nextra#\nsize#\nsource#\n<message#>\nspare#\n\n\n"
                  "line #\nend\n\x01\x01\n";
        for (const char byte : mail) {
            if (byte == '\n') text += '\r';
            text += byte == '#' ? static_cast<char>('0' + number) : byte;
        }
    }

    /// As marking a mail deleted leaves its record.
    void Delete(std::size_t number) {
        index.replace(number * recordBytes(), 22, 22, ' ');
        index[number * recordBytes() + 25] = 'x';
    }
};

inline OlderFolder MakeOlderFolder(FolderLayout layout, int mails) {
    OlderFolder folder;
    folder.layout = layout;
    for (int number = 0; number < mails; ++number)
        folder.AddMail(number % 10);
    return folder;
}

}  // namespace postkite::store
