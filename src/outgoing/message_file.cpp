#include "outgoing/message_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>

#include "core/shift_jis.h"
#include "store/mail_record.h"

namespace postkite::outgoing {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr char kBackspace = '\b';
constexpr char kDelete = '\x7F';

bool IsControl(char byte) {
    return static_cast<unsigned char>(byte) < ' ' || byte == kDelete;
}

std::string WithoutControls(std::string_view text) {
    std::string line(text);
    std::replace_if(line.begin(), line.end(), IsControl, ' ');
    return line;
}

/// A line as the host hears it, which corrects what people type.
class HeardLine {
  public:
    void Hear(char byte) {
        const auto value = static_cast<unsigned char>(byte);
        if (byte == kBackspace || byte == kDelete) {
            if (!characters_.empty()) characters_.pop_back();
        } else if (IsControl(byte)) {
            return;
        } else if (!characters_.empty() && IsOpen(characters_.back())) {
            characters_.back() = static_cast<char16_t>(characters_.back() << 8U | value);
        } else {
            characters_ += static_cast<char16_t>(value);
        }
    }

    [[nodiscard]] bool EndsText() const {
        std::u16string_view line = characters_;
        while (line.ends_with(u' '))
            line.remove_suffix(1);
        return Is(line, u"/POST") || Is(line, u"/E");
    }

    void Clear() { characters_.clear(); }

  private:
    /// A lead byte that waits for its trail byte.
    static bool IsOpen(char16_t character) {
        constexpr char16_t kLastSingleByte = 0xFF;
        return character <= kLastSingleByte && core::IsLeadByte(static_cast<char>(character));
    }
    static bool Is(std::u16string_view line, std::u16string_view end) {
        return std::equal(
            line.begin(), line.end(), end.begin(), end.end(), [](char16_t heard, char16_t upper) {
                return heard == upper || (heard >= u'a' && heard <= u'z' && heard - u'a' + u'A' == upper);
            });
    }

    std::u16string characters_;  ///< bytes, or lead and trail byte together
};

}  // namespace

std::string SubjectToSend(std::string_view subject) {
    constexpr std::size_t kLongestSubject = 40;
    // Spelled so ever since.
    if (subject.empty()) return "none titile";
    std::string line = WithoutControls(subject);
    store::CutToWidth(line, kLongestSubject);
    return line;
}

int ReadSignature(const core::Workspace& workspace, char choice, std::string& signature) {
    signature.clear();
    if (choice < '1' || choice > '9') return 0;
    std::unique_ptr<core::File> file;
    const int opened =
        workspace.Open(std::string("setting\\sign") + choice + ".txt", core::OpenMode::Read, file);
    if (opened < 0) return opened == -ENOENT ? 0 : opened;
    // One byte more shows whether the last one wanted has its character to itself.
    std::string bytes(kLongestSignature + 1, '\0');
    const std::int64_t count = file->ReadAt(0, bytes);
    if (count < 0) return static_cast<int>(count);
    bytes.resize(static_cast<std::size_t>(count));
    bytes.resize(std::min(bytes.size(), bytes.find('\0')));
    signature = core::CutToBytes(bytes, kLongestSignature);
    return 0;
}

bool HoldsEndOfText(std::string_view body) {
    HeardLine line;
    for (const char byte : body) {
        if (byte != '\r' && byte != '\n') {
            line.Hear(byte);
            continue;
        }
        if (line.EndsText()) return true;
        line.Clear();
    }
    return line.EndsText();
}

std::string FormatMessageFile(const Destination& destination, std::string_view subject,
                              std::string_view nifFrom, std::string_view body) {
    std::string text;
    const auto line = [&text](std::string_view key, std::string_view value) {
        text.append(key).append(value).append(kLineEnd);
    };
    if (!destination.room.empty()) {
        std::array<char, 16> number = {"NON"};
        if (destination.answered > 0)
            std::snprintf(number.data(), number.size(), "%03d", destination.answered);
        line("SUB:", subject);
        line("RE:", number.data());
    } else if (!nifFrom.empty()) {
        line("FROM:", WithoutControls(nifFrom));
    }
    text += body;
    text += kLineEnd;
    line("/POST", {});
    return text;
}

}  // namespace postkite::outgoing
