// Any bytes as a property file, with any mail to reply to. What is read is within its lengths, comes back
// from the file that it is written to, and is refused there only for what no line holds; the head of a reply
// is what a plain reading of the template gives, and no longer than it can be.
//
// The parts of an input: property file, sender's name, subject, address, stored text of the mail.

#include <algorithm>
#include <cerrno>

#include "core/shift_jis.h"
#include "fuzz/fuzz_program.h"
#include "store/folder_properties.h"

namespace {

using namespace postkite;
using fuzz::Check;

constexpr const char* kPath = "/mail/Bank/Inbox.PROP";
constexpr std::size_t kValuesPutIn = 8;
constexpr std::size_t kLongestValueBytes = 511;
constexpr std::string_view kUntouched = "untouched";
constexpr std::string_view kValueEnd("\r\0", 2);

/// What stands behind the line end that is the `count`th in the file; nothing where there are fewer.
std::string BehindLine(const std::string& bytes, int count) {
    std::size_t at = 0;
    for (int line = 0; line < count; ++line) {
        const std::size_t end = bytes.find('\r', at);
        if (end == std::string::npos) return {};
        at = std::min(end + 2, bytes.size());
    }
    return bytes.substr(at);
}

/// The value of the first line below the first one that begins with `key`, above the first empty line.
std::string HeaderLine(const std::string& text, std::string_view key) {
    for (std::size_t end = text.find("\r\n"); end != std::string::npos; end = text.find("\r\n", end + 2)) {
        const std::string below = text.substr(end + 2);
        if (below.starts_with("\r\n")) break;
        if (!below.starts_with(key)) continue;
        std::string value = below.substr(key.size(), below.find('\r', key.size()) - key.size());
        value.erase(0, std::min(value.find_first_not_of(' '), value.size()));
        return value;
    }
    return {};
}

std::string WithoutWideBlanks(const std::string& text) {
    std::vector<std::string> characters;
    for (std::size_t at = 0; at < text.size(); at += characters.back().size())
        characters.push_back(text.substr(at, core::CharacterLength(text, at)));
    while (!characters.empty() && characters.back() == "\x81\x40")
        characters.pop_back();
    std::string result;
    for (const std::string& character : characters)
        result += character;
    return result;
}

std::string ValueOf(char letter, const store::MailRecord& mail, const std::string& text) {
    std::string value;
    if (letter == 'D') value = HeaderLine(text, "Date:");
    if (letter == 'F') value = HeaderLine(text, "From:");
    if (letter == 'M') value = HeaderLine(text, "Message-Id:");
    if (letter == 'S') value = mail.subject;
    if (letter == 'a') value = mail.address;
    if (letter == 'n') value = WithoutWideBlanks(mail.name);
    return std::string(core::CutToBytes(value, kLongestValueBytes));
}

/// The template filled one character after the other.
std::string ExpectedReply(const std::string& wanted, const store::MailRecord& mail, const std::string& text) {
    std::string reply;
    std::size_t values = 0;
    for (std::size_t at = 0; at < wanted.size();) {
        const std::size_t length = core::CharacterLength(wanted, at);
        const bool isValue = wanted[at] == '%' && at + 1 < wanted.size() &&
                             std::string_view("DFMSan").find(wanted[at + 1]) != std::string_view::npos;
        if (isValue && values < kValuesPutIn + 2) {
            if (values++ < kValuesPutIn) reply += ValueOf(wanted[at + 1], mail, text);
            at += 2;
            continue;
        }
        reply += wanted.substr(at, length);
        at += length;
    }
    return reply;
}

void CheckReading(const store::FolderFiles& files, const std::string& bytes,
                  const store::FolderProperties& read) {
    for (const std::string& text : {read.sound, read.defaultAddress, read.replyTemplate}) {
        Check(text.size() <= store::kLongestPropertyBytes && text.find('\0') == std::string::npos);
        Check(bytes.find(text) != std::string::npos);
    }
    Check(read.sound.find('\r') == std::string::npos && read.defaultAddress.find('\r') == std::string::npos);
    const std::size_t lineEnd = std::min(bytes.find('\r'), bytes.size());
    const std::string version = lineEnd < bytes.size() ? bytes.substr(0, bytes.find_first_of(kValueEnd)) : "";
    const bool current = version == "PKV238 SETTING FILE";
    const bool older = version == "PKV232 SETTING FILE";
    std::string sound;
    std::string address;
    Check(ReadFolderSound(files, sound) == 0 && ReadFolderDefaultAddress(files, address) == 0);
    if (current || older) Check(sound == read.sound);
    Check(address == read.defaultAddress);
    if (!current) Check(address.empty());
    if (current) Check(BehindLine(bytes, 3).starts_with(read.replyTemplate));
    if (older) Check(BehindLine(bytes, 2).starts_with(read.replyTemplate));
}

void CheckReply(const store::FolderFiles& files, const std::string& bytes, const store::MailRecord& mail,
                const std::string& text) {
    std::string reply(kUntouched);
    const int result = BuildReplyHeader(files, mail, reply, text);
    std::string wanted = BehindLine(bytes, 2);
    wanted.resize(std::min(wanted.find('\0'), wanted.size()));
    wanted.resize(core::CutToBytes(wanted, store::kLongestPropertyBytes).size());
    if (wanted.empty()) {
        Check(result == -1 && reply == kUntouched);
        return;
    }
    Check(result == 0);
    Check(reply.size() <= store::kLongestPropertyBytes + kValuesPutIn * kLongestValueBytes);
    Check(reply == ExpectedReply(wanted, mail, text));
}

void CheckWriting(support::MemoryFileSystem& disk, const store::FolderFiles& files, const std::string& bytes,
                  const store::FolderProperties& read) {
    // The one thing that a line of an old file holds and that nobody may put there anew.
    const bool refused = (read.sound + read.defaultAddress).find('\n') != std::string::npos;
    Check(WriteFolderProperties(files, read) == (refused ? -EINVAL : 0));
    if (refused) {
        Check(disk.Get(kPath) == bytes);
        return;
    }
    store::FolderProperties again;
    Check(ReadFolderProperties(files, again) == 0);
    Check(again.sound == read.sound && again.defaultAddress == read.defaultAddress &&
          again.replyTemplate == read.replyTemplate);
    Check(disk.Names("/mail/Bank").size() == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = fuzz::SplitInput(data, size, 5);
    support::MemoryFileSystem disk;
    disk.Put(kPath, parts[0]);
    fuzz::Program program(disk);
    const store::FolderFiles files = program.mailbox.FilesOf("Inbox");
    store::FolderProperties read{"old", "old", "old"};
    Check(ReadFolderProperties(files, read) == 0);
    CheckReading(files, parts[0], read);
    store::MailRecord mail;
    mail.name = parts[1];
    mail.subject = parts[2];
    mail.address = parts[3];
    CheckReply(files, parts[0], mail, parts[4]);
    CheckWriting(disk, files, parts[0], read);
    return 0;
}
