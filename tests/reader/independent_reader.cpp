// independent_reader DIRECTORY: tells what mails a working directory holds, for checks that must not trust the
// program they check. Written from docs/formats alone: it shares no code with the program, writes nothing, and knows
// no journal, so that what it sees is what an older program would see.
//
// One line a thing, fields separated by tabs, bytes that are no printable ASCII as \xHH. Numbers are decimal.
//
//     bank    BANK
//     tree    BANK  HASH  FOLDERS          the tree file; FOLDERS: how many lines name one
//     folder  BANK/N  ROWS                 rows of the index, deleted ones included
//     mail    BANK/N  ROW  ID  FLAGS  TEXT-FLAGS  OFFSET  SUBJECT  HASH  LASTING
//     gone    BANK/N  ROW                  a deleted record
//     fault   BANK/N  ROW  WHAT            a record that leads to no mail, or not to its own; row -1: the files
//     note    BANK/N  ROW  WHAT            nothing lost, but not what a program at rest leaves
//     older   BANK/N  HASH                 a folder of an older layout; HASH is of index and text
//     pending BANK/FILE                    a file of a change that is under way
//     file    NAME  HASH                   the files of Setting and of the send queue, captures, properties of folders
//
// HASH is of a mail's whole text with its terminator. LASTING leaves out what differs between two copies of a mail and
// between two runs that make it: flags, local identifier, date, message identifier.
//
// Exit status 0, or 2 where the directory cannot be read.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kRecordBytes = 900;
constexpr std::string_view kTerminator("\x01\x01\r\n", 4);

struct Field {
    const char* name;
    std::size_t offset;
    std::size_t width;
    std::size_t textLine;  ///< from 1, of the mail's header lines
};
constexpr Field kFields[] = {
    {"flags", 24, 50, 1},      {"local identifier", 76, 50, 2},
    {"address", 128, 50, 3},   {"name", 180, 50, 4},
    {"date", 232, 50, 5},      {"subject", 284, 50, 6},
    {"attached", 336, 50, 7},  {"size", 388, 50, 11},
    {"source", 440, 50, 12},   {"message", 492, 100, 13},
    {"spare 1", 594, 100, 14}, {"spare 2", 696, 100, 15},
    {"spare 3", 798, 100, 16},
};
constexpr std::size_t kFlags = 0;
constexpr std::size_t kLocalId = 1;
constexpr std::size_t kSubjectLine = 6;
constexpr std::size_t kDateLine = 5;
constexpr std::size_t kMessageIdLine = 13;

std::string Printable(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        std::array<char, 5> code{};
        std::snprintf(code.data(), code.size(), "\\x%02X", static_cast<unsigned char>(byte));
        const bool plain = byte >= 0x20 && byte <= 0x7e && byte != '\\';
        text += plain ? std::string(1, byte) : std::string(code.data());
    }
    return text;
}

std::string Hash(std::string_view bytes) {
    std::uint64_t hash = 14695981039346656037U;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211U;
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(hash));
    return digits.data();
}

void Say(std::initializer_list<std::string> fields) {
    const char* separator = "";
    for (const std::string& field : fields) {
        std::printf("%s%s", separator, field.c_str());
        separator = "\t";
    }
    std::printf("\n");
}

std::string Read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
    });
    return text;
}

bool EndsIn(const std::string& name, std::string_view ending) {
    return Lower(name).ends_with(ending);
}

/// A file that says what was under way ends in .$$ and a letter; one that is being written, in .$$$.
bool IsPending(const std::string& name) {
    return name.size() > 4 && name.substr(name.size() - 4, 3) == ".$$" && name.back() != '$';
}

std::string_view WithoutBlanks(std::string_view text) {
    const std::size_t last = text.find_last_not_of(' ');
    return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

/// The entries of a directory by name.
std::map<std::string, fs::path> EntriesOf(const fs::path& directory) {
    std::map<std::string, fs::path> entries;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory))
        entries[entry.path().filename().string()] = entry.path();
    return entries;
}

struct Mail {
    std::vector<std::string_view> lines;  ///< header lines, from 0
    std::string_view body;
    std::string_view whole;  ///< with the terminator
};

/// The mail at a place of the text; what is wrong with it where there is none.
std::string TakeMail(std::string_view text, std::size_t offset, Mail& mail) {
    if (offset >= text.size()) return "leads behind the end of the text";
    std::size_t at = offset;
    std::size_t wanted = 16;
    while (mail.lines.size() < wanted) {
        const std::size_t end = text.find('\r', at);
        if (end == std::string_view::npos) return "the text ends in the header lines";
        mail.lines.push_back(text.substr(at, end - at));
        at = end + 2;
        if (mail.lines[0].size() > 14 && mail.lines[0][14] == 'Y') wanted = 17;
    }
    const std::size_t end = at <= text.size() ? text.find(kTerminator, at) : std::string_view::npos;
    if (end == std::string_view::npos) return "no terminator";
    mail.body = text.substr(at, end - at);
    mail.whole = text.substr(offset, end + kTerminator.size() - offset);
    return mail.whole.find('\0') == std::string_view::npos ? "" : "zero bytes in the text";
}

/// Where a record leads to; what is wrong with it where it is no whole record.
std::string TakeOffset(std::string_view record, std::size_t& offset) {
    const std::string_view digits = WithoutBlanks(record.substr(0, 20));
    if (digits.empty() || digits.size() > 18 ||
        digits.find_first_not_of("0123456789") != std::string_view::npos)
        return "the offset is no number";
    if (record.substr(20, 4) != "30\r\n") return "no mark of the layout";
    for (const Field& field : kFields) {
        if (record.substr(field.offset + field.width, 2) != "\r\n")
            return std::string("no line end: ") + field.name;
    }
    offset = std::stoull(std::string(digits));
    return "";
}

/// What the row says that the mail's text does not; empty where they agree.
std::string Difference(std::string_view record, const Mail& mail) {
    for (const Field& field : kFields) {
        // Flags and the date of sending may be in one file alone after a crash.
        if (field.textLine == kFields[kFlags].textLine || field.textLine == kDateLine) continue;
        const std::string_view inRow = WithoutBlanks(record.substr(field.offset, field.width));
        const std::string_view inText = mail.lines[field.textLine - 1];
        if (!inText.starts_with(inRow) || (inText.size() < field.width && inRow != WithoutBlanks(inText)))
            return std::string("row and text differ: ") + field.name;
    }
    return "";
}

std::string Lasting(const Mail& mail) {
    std::string lasting;
    for (std::size_t line = 3; line <= mail.lines.size(); ++line) {
        if (line != kDateLine && line != kMessageIdLine) lasting.append(mail.lines[line - 1]).append("\n");
    }
    return Hash(lasting.append(mail.body));
}

void TellRecord(const std::string& folder, std::size_t row, std::string_view record, std::string_view text,
                std::map<std::string, std::size_t>& rowsById,
                std::map<std::size_t, std::size_t>& rowsByOffset) {
    const std::string number = std::to_string(row);
    if (record[0] == ' ') return Say({"gone", folder, number});
    if (record.find_first_not_of('\0') == std::string_view::npos)
        return Say({"note", folder, number, "zeros"});
    std::size_t offset = 0;
    std::string wrong = TakeOffset(record, offset);
    Mail mail;
    if (wrong.empty()) wrong = TakeMail(text, offset, mail);
    const std::string id(WithoutBlanks(record.substr(kFields[kLocalId].offset, kFields[kLocalId].width)));
    if (wrong.empty()) wrong = Difference(record, mail);
    if (wrong.empty() && !rowsById.try_emplace(id, row).second) wrong = "the identifier of another row";
    if (wrong.empty() && !rowsByOffset.try_emplace(offset, row).second) wrong = "leads to another row's mail";
    if (!wrong.empty()) return Say({"fault", folder, number, wrong});
    const std::string_view flags =
        WithoutBlanks(record.substr(kFields[kFlags].offset, kFields[kFlags].width));
    Say({"mail", folder, number, Printable(id), Printable(flags), Printable(WithoutBlanks(mail.lines[0])),
         std::to_string(offset), Printable(mail.lines[kSubjectLine - 1]), Hash(mail.whole), Lasting(mail)});
}

/// The first record ends its offset line where every layout does, and has another mark than today's.
bool IsOlder(std::string_view index) {
    return index.size() >= 24 && index[0] >= '0' && index[0] <= '9' && index.substr(22, 2) == "\r\n" &&
           index.substr(20, 2) != "30";
}

void TellFolder(const std::string& folder, const fs::path& indexPath,
                const std::optional<fs::path>& textPath) {
    const std::string index = Read(indexPath);
    const std::string text = textPath ? Read(*textPath) : std::string();
    if (IsOlder(index)) return Say({"older", folder, Hash(index + text)});
    Say({"folder", folder, std::to_string(index.size() / kRecordBytes)});
    std::map<std::string, std::size_t> rowsById;
    std::map<std::size_t, std::size_t> rowsByOffset;
    for (std::size_t row = 0; row < index.size() / kRecordBytes; ++row) {
        TellRecord(folder, row, std::string_view(index).substr(row * kRecordBytes, kRecordBytes), text,
                   rowsById, rowsByOffset);
    }
    if (index.size() % kRecordBytes != 0) Say({"note", folder, "-1", "a torn last record"});
}

void TellBank(const std::string& bank, const std::map<std::string, fs::path>& entries) {
    Say({"bank", Printable(bank)});
    for (const auto& [name, path] : entries) {
        const std::string printed = Printable(bank + "/" + name);
        if (Lower(name) == "mailboxinfo.ini") {
            const std::string tree = Read(path);
            const auto folders = std::count(tree.begin(), tree.end(), '\r');
            Say({"tree", Printable(bank), Hash(tree), std::to_string(folders)});
            if (!tree.starts_with("00Desktop\r\n"))
                Say({"fault", Printable(bank), "-1", "the tree has no root"});
        } else if (EndsIn(name, ".loc")) {
            const std::string base = name.substr(0, name.size() - 4);
            const auto text = std::find_if(entries.begin(), entries.end(), [&base](const auto& entry) {
                return Lower(entry.first) == Lower(base + ".mtx");
            });
            TellFolder(Printable(bank + "/" + base), path,
                       text == entries.end() ? std::nullopt : std::optional(text->second));
        } else if (EndsIn(name, ".prop")) {
            Say({"file", printed, Hash(Read(path))});
        } else if (IsPending(name)) {
            Say({"pending", printed});
        }
    }
}

/// All files but those that are being written, or made anew each time.
void TellFiles(const std::string& directory, const std::map<std::string, fs::path>& entries) {
    for (const auto& [name, path] : entries) {
        if (!fs::is_regular_file(path) || EndsIn(name, ".$$$") || Lower(name) == "mailboxinfo.ini.tmp")
            continue;
        if (IsPending(name)) {
            Say({"pending", Printable(directory + name)});
        } else {
            Say({"file", Printable(directory + name), Hash(Read(path))});
        }
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    std::error_code error;
    if (argumentCount != 2 || !fs::is_directory(arguments[1], error)) {
        std::fprintf(stderr, "independent_reader: name a working directory\n");
        return 2;
    }
    for (const auto& [name, path] : EntriesOf(arguments[1])) {
        if (!fs::is_directory(path)) continue;
        const std::map<std::string, fs::path> entries = EntriesOf(path);
        const bool isBank = std::any_of(entries.begin(), entries.end(), [](const auto& entry) {
            return Lower(entry.first) == "mailboxinfo.ini" || EndsIn(entry.first, ".loc");
        });
        if (isBank) TellBank(name, entries);
        if (Lower(name) == "setting" || Lower(name) == "bmtemp.$$$") TellFiles(name + "/", entries);
    }
    TellFiles("", EntriesOf(arguments[1]));
    return 0;
}
