#pragma once

#include <string>
#include <string_view>
#include <vector>

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
        const std::string n = std::to_string(number);
        const std::vector<std::string> lines =
            layout == FolderLayout::V1
                ? std::vector<std::string>{"Rosrr ---- OP Y", "address" + n, "name" + n, "97/01/24 08:05",
                                           "subject" + n,     "attach" + n,  "cc" + n,   "bcc" + n,
                                           "id" + n,          "extra" + n,   "xxxC",     "size" + n}
                : std::vector<std::string>{"RoSRr ---- OP Y",
                                           "id" + n,
                                           "address" + n,
                                           "name" + n,
                                           "97/01/24 08:05 97/01/25 09:00",
                                           "subject" + n,
                                           "attach" + n,
                                           "cc" + n,
                                           "bcc" + n,
                                           "extra" + n,
                                           "size" + n,
                                           "source" + n,
                                           "<message" + n + ">",
                                           "spare" + n,
                                           "",
                                           ""};
        for (const std::string& line : lines)
            text += line + "\r\n";
        text += "line " + n + "\r\nend\r\n";
        text += layout == FolderLayout::V1 ? "/E\r\n" : std::string("\x01\x01\r\n");
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
        folder.AddMail(number);
    return folder;
}

}  // namespace postkite::store
