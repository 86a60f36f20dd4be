#include "analyse/mail_addresses.h"

#include <algorithm>
#include <cstddef>

namespace postkite::analyse {

namespace {

/// The addresses' own range: 0xFD and 0xFE count here, 0xFC is the last elsewhere.
bool IsLeadByteOfAddress(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return (value >= 0x80 && value <= 0x9F) || (value >= 0xE0 && value <= 0xFE);
}

std::size_t FindAt(std::string_view line) {
    for (std::size_t at = 0; at < line.size(); at += IsLeadByteOfAddress(line[at]) ? 2 : 1) {
        if (line[at] == '@') return at;
    }
    return std::string_view::npos;
}

std::string_view Trim(std::string_view text) {
    const std::size_t start = text.find_first_not_of(' ');
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(' ') + 1 - start);
}

/// An address value on the way to its display name: what of it is to be kept.
class AddressValue {
  public:
    explicit AddressValue(std::string_view text) : text_(text), end_(text.size()) {}

    /// The part to be kept.
    std::string_view Walk() {
        bool goesOn = true;
        for (std::size_t at = 0; goesOn && at < text_.size(); ++at) {
            if (at == 0 || text_[at - 1] != '\\') goesOn = Look(at);
        }
        return start_ < end_ ? std::string_view(text_).substr(start_, end_ - start_) : std::string_view();
    }

  private:
    /// False where nothing behind this byte counts any more.
    bool Look(std::size_t at) {
        switch (text_[at]) {
            case '<':
                if (quoted_ || depth_ > 0) return true;
                if (at > 0) end_ = at;
                inAngles_ = true;
                return true;
            case '>':
                if (inAngles_) CloseAngles(at);
                return !inAngles_;
            case '(':
                if (quoted_ || inAngles_) return true;
                if (depth_++ == 0) start_ = at + 1;
                return true;
            case ')':
                if (depth_ == 0 || --depth_ > 0) return true;
                end_ = at;
                return false;
            case '"':
                if (!inAngles_ && depth_ == 0) quoted_ = !quoted_;
                return true;
            default:
                return true;
        }
    }

    void CloseAngles(std::size_t at) {
        if (at + 1 == end_) {
            // Nothing but an address in brackets.
            ++start_;
            --end_;
        } else if (at >= end_) {
            // A name, the brackets, and more: the name goes on with that.
            text_.erase(end_, at + 1 - end_);
            end_ = text_.size();
        } else {
            start_ = at + 1;
        }
    }

    std::string text_;
    std::size_t start_ = 0;
    std::size_t end_;  ///< behind the last byte
    bool quoted_ = false;
    bool inAngles_ = false;
    std::size_t depth_ = 0;  ///< of comments
};

}  // namespace

int ExtractInetAddress(std::string_view line, std::string& out) {
    const std::size_t at = FindAt(line);
    if (at == std::string_view::npos) return -1;
    const std::size_t before = line.substr(0, at).find_last_of(" <([");
    // The very first byte has never counted as the one before an address.
    if (before == std::string_view::npos || before == 0) {
        constexpr std::size_t kFromBytes = 6;
        out = line.substr(std::min(kFromBytes, line.size()));
        return 0;
    }
    const std::size_t end = std::min(line.find_first_of(" >)]\r", at), line.size());
    out = line.substr(before + 1, end - before - 1);
    return 0;
}

void ExtractDisplayName(std::string& text) {
    const std::string_view value = std::string_view(text).substr(0, text.find("(by way of "));
    AddressValue address(Trim(value));
    std::string_view name = Trim(address.Walk());
    if (name.starts_with('"') || name.starts_with('(')) {
        name.remove_prefix(1);
        if (name.ends_with('"') || name.ends_with(')')) name.remove_suffix(1);
    }
    text = std::string(Trim(name));
}

}  // namespace postkite::analyse
