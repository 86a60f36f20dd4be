#include "store/folder_properties.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>

#include "core/line_reader.h"
#include "core/positional_file.h"

namespace postkite::store {

using namespace core::literals;

namespace {

constexpr std::string_view kCurrentMagic = "PKV238 SETTING FILE";
constexpr std::string_view kOlderMagic = "PKV232 SETTING FILE";

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kHeaderEnd = "\r\n\r\n";
constexpr std::string_view kWideBlank = "　"_sjis;

constexpr std::size_t kLongestValueBytes = 511;
/// Placeholders that take a value, and how many of the values are put in.
constexpr std::size_t kValueSlots = 10;
constexpr std::size_t kValuesPutIn = 8;

/// An open property file. Lines come in order, then the rest.
class PropertyFile {
  public:
    int Open(const FolderFiles& files) {
        const int opened = files.workspace->Open(files.properties, core::OpenMode::Read, file_);
        if (opened == 0) reader_.emplace(*file_, core::kLongestPositionalLine);
        return opened;
    }

    /// Empty where the file ends before or within it.
    std::string Line() {
        std::string value;
        core::ReadValue(*reader_, value, kLongestPropertyBytes, false);
        return value;
    }

    std::string Rest() {
        // One byte more shows whether the last one wanted has its character to itself.
        std::string bytes(kLongestPropertyBytes + 1, '\0');
        const std::int64_t count = file_->ReadAt(reader_->position(), bytes);
        if (count < 0) error_ = static_cast<int>(count);
        bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        bytes.resize(std::min(bytes.size(), bytes.find('\0')));
        return std::string(core::CutToBytes(bytes, kLongestPropertyBytes));
    }

    [[nodiscard]] int error() const { return error_ < 0 ? error_ : reader_->error(); }

  private:
    std::unique_ptr<core::File> file_;
    std::optional<core::LineReader> reader_;
    int error_ = 0;
};

std::string_view WithoutTrailingWideBlanks(std::string_view text) {
    // Only from the front is it known which bytes are a character.
    std::size_t end = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = core::CharacterLength(text, at);
        const bool blank = text.substr(at, length) == kWideBlank;
        at += length;
        if (!blank) end = at;
    }
    return text.substr(0, end);
}

/// What stands behind `start` up to the end of that line, without the blanks before it.
std::string_view HeaderValue(std::string_view header, std::string_view start) {
    const std::size_t found = header.find(start);
    if (found == std::string_view::npos) return {};
    std::string_view value = header.substr(found + start.size());
    value = value.substr(0, value.find('\r'));
    return value.substr(std::min(value.size(), value.find_first_not_of(' ')));
}

/// The lines above the first empty one, each with its end.
std::string_view HeaderOf(std::string_view mailText) {
    const std::string_view text = mailText.substr(0, MAIL_BODY_MAX);
    const std::size_t end = text.find(kHeaderEnd);
    return end == std::string_view::npos ? text : text.substr(0, end + kLineEnd.size());
}

/// The value that the letter behind a "%" stands for; nothing for any other letter.
std::optional<std::string_view> PlaceholderValue(char letter, const MailRecord& record,
                                                 std::string_view header) {
    switch (letter) {
        case 'D':
            return HeaderValue(header, "\r\nDate:");
        case 'F':
            return HeaderValue(header, "\r\nFrom:");
        case 'M':
            return HeaderValue(header, "\r\nMessage-Id:");
        case 'S':
            return record.subject;
        case 'a':
            return record.address;
        case 'n':
            return WithoutTrailingWideBlanks(record.name);
        default:
            return std::nullopt;
    }
}

std::string FillTemplate(std::string_view replyTemplate, const MailRecord& record, std::string_view header) {
    std::string filled;
    std::size_t slots = 0;
    std::size_t copied = 0;
    while (slots < kValueSlots) {
        const std::size_t percent = core::FindCharacter(replyTemplate, '%', copied);
        if (percent == std::string_view::npos || percent + 1 == replyTemplate.size()) break;
        filled += replyTemplate.substr(copied, percent - copied);
        const auto value = PlaceholderValue(replyTemplate[percent + 1], record, header);
        copied = percent + 1;
        if (!value) {
            filled += '%';
            continue;
        }
        ++copied;
        if (slots++ < kValuesPutIn) filled += core::CutToBytes(*value, kLongestValueBytes);
    }
    filled += replyTemplate.substr(copied);
    return filled;
}

}  // namespace

bool CanBeStored(const FolderProperties& properties) {
    const auto isShort = [](std::string_view text) { return text.size() <= kLongestPropertyBytes; };
    return core::FitsInLine(properties.sound) && core::FitsInLine(properties.defaultAddress) &&
           properties.replyTemplate.find('\0') == std::string::npos && isShort(properties.sound) &&
           isShort(properties.defaultAddress) && isShort(properties.replyTemplate);
}

int ReadFolderProperties(const FolderFiles& files, FolderProperties& properties) {
    properties = FolderProperties();
    PropertyFile file;
    const int opened = file.Open(files);
    if (opened < 0) return opened == -ENOENT ? 0 : opened;
    FolderProperties read;
    const std::string magic = file.Line();
    if (magic == kCurrentMagic || magic == kOlderMagic) {
        read.sound = file.Line();
        if (magic == kCurrentMagic) read.defaultAddress = file.Line();
        read.replyTemplate = file.Rest();
    }
    if (file.error() < 0) return file.error();
    properties = std::move(read);
    return 0;
}

int WriteFolderProperties(const FolderFiles& files, const FolderProperties& properties) {
    if (!CanBeStored(properties)) return -EINVAL;
    std::string bytes;
    core::AppendValue(bytes, kCurrentMagic, false);
    core::AppendValue(bytes, properties.sound, false);
    core::AppendValue(bytes, properties.defaultAddress, false);
    bytes += properties.replyTemplate;
    core::WorkspaceLock lock;
    const int locked = files.workspace->Lock(true, lock);
    return locked < 0 ? locked : files.workspace->Replace(files.properties, bytes);
}

int ReadFolderSound(const FolderFiles& files, std::string& out) {
    PropertyFile file;
    if (file.Open(files) < 0) return -1;
    static_cast<void>(file.Line());
    std::string sound = file.Line();
    if (file.error() < 0) return -1;
    out = std::move(sound);
    return 0;
}

int ReadFolderDefaultAddress(const FolderFiles& files, std::string& out) {
    PropertyFile file;
    if (file.Open(files) < 0) return -1;
    std::string address;
    if (file.Line() == kCurrentMagic) {
        static_cast<void>(file.Line());
        address = file.Line();
    }
    if (file.error() < 0) return -1;
    out = std::move(address);
    return 0;
}

int BuildReplyHeader(const FolderFiles& files, const MailRecord& record, std::string& out,
                     std::string_view mailText) {
    PropertyFile file;
    if (file.Open(files) < 0) return -1;
    static_cast<void>(file.Line());
    static_cast<void>(file.Line());
    const std::string replyTemplate = file.Rest();
    if (file.error() < 0 || replyTemplate.empty()) return -1;
    out = FillTemplate(replyTemplate, record, HeaderOf(mailText));
    return 0;
}

std::string DefaultReplyHeader(const MailRecord& record, std::string_view mailText) {
    return FillTemplate(kDefaultReplyTemplate, record, HeaderOf(mailText));
}

}  // namespace postkite::store
