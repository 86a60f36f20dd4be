#include "outgoing/destination.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "core/shift_jis.h"

namespace postkite::outgoing {

namespace {

constexpr char kForumMark = '/';
constexpr char kSeparator = ',';
constexpr char kFieldLineEnd = '\xA0';
constexpr std::string_view kAddresseeLine = "TO:";
constexpr std::string_view kGateway = "INET:";

/// No character of the code page has such a byte, so bytes are enough here; behind a lead byte it would end
/// the line all the same.
bool HoldsControl(std::string_view text) {
    constexpr unsigned char kDelete = 0x7F;
    return std::any_of(text.begin(), text.end(), [](char byte) {
        return static_cast<unsigned char>(byte) < ' ' || static_cast<unsigned char>(byte) == kDelete;
    });
}

/// False where the brackets do not match.
bool Clean(std::string_view text, std::string& cleaned) {
    std::size_t depth = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::string_view character = text.substr(at, core::CharacterLength(text, at));
        at += character.size();
        if (character == "(") {
            ++depth;
        } else if (character == ")") {
            if (depth-- == 0) return false;
        } else if (depth == 0 && character != " " && character[0] != kFieldLineEnd) {
            cleaned += character;
        }
    }
    return depth == 0;
}

std::vector<std::string_view> SplitAtCommas(std::string_view text) {
    std::vector<std::string_view> fields;
    for (;;) {
        const std::size_t end = core::FindCharacter(text, kSeparator);
        fields.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return fields;
        text.remove_prefix(end + 1);
    }
}

/// The number that the text begins with; 0 where there is none that an int holds.
int LeadingNumber(std::string_view text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? number : 0;
}

std::string_view BehindCharacters(std::string_view text, int count) {
    while (count-- > 0 && !text.empty())
        text.remove_prefix(core::CharacterLength(text, 0));
    return text;
}

Refusal ParseRoom(std::string_view text, Destination& destination) {
    constexpr int kCharactersBeforeNumber = 3;
    const std::vector<std::string_view> fields = SplitAtCommas(text);
    const auto field = [&fields](std::size_t number) {
        return number < fields.size() ? fields[number] : std::string_view();
    };
    const std::string_view forum = field(0).substr(1);
    if (forum.empty()) return Refusal::NoForum;
    const int room = LeadingNumber(BehindCharacters(field(1), kCharactersBeforeNumber));
    if (room < 1) return Refusal::NoRoom;
    const std::string_view answered = field(2);
    const bool digits = answered.find_first_not_of("0123456789") == std::string_view::npos;
    destination.answered = LeadingNumber(answered);
    if (!digits || (destination.answered == 0 && answered.find_first_not_of('0') != std::string_view::npos))
        return Refusal::AnsweredNumber;
    for (std::size_t number = 3; number < fields.size(); ++number) {
        if (!fields[number].empty()) return Refusal::SeveralRooms;
    }
    destination.room = std::string(forum) + ",MES " + std::to_string(room);
    return destination.room.size() > kLongestPostLine ? Refusal::LongForum : Refusal::None;
}

Refusal ParseAddressees(std::string_view text, Destination& destination) {
    constexpr std::size_t kLineEndBytes = 2;
    std::size_t lineBytes = 0;
    for (const std::string_view field : SplitAtCommas(text)) {
        if (field.empty()) continue;
        if (field.size() > kLongestAddresseeBytes) return Refusal::LongAddressee;
        const bool beyondGateway = core::FindCharacter(field, '@') != std::string_view::npos;
        destination.addressees.push_back((beyondGateway ? std::string(kGateway) : "") + std::string(field));
        lineBytes += kAddresseeLine.size() + destination.addressees.back().size() + kLineEndBytes;
        if (lineBytes > kLongestAddresseeLines) return Refusal::TooManyAddressees;
    }
    return destination.addressees.empty() ? Refusal::NoDestination : Refusal::None;
}

}  // namespace

Refusal ParseDestination(std::string_view text, Destination& destination) {
    destination = Destination();
    std::string cleaned;
    if (HoldsControl(text)) return Refusal::ControlCharacter;
    if (!Clean(text, cleaned)) return Refusal::OpenBracket;
    if (cleaned.empty()) return Refusal::NoDestination;
    return cleaned.front() == kForumMark ? ParseRoom(cleaned, destination)
                                         : ParseAddressees(cleaned, destination);
}

}  // namespace postkite::outgoing
