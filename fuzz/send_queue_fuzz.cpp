// Any bytes as the destinations, subjects and texts of reserved mails. Every mail is queued or told; the lists hold
// nothing but what a session reads from them, line by line, and say the same about how many mails there are; a host
// that hears a message file takes all of it for one text.
//
// The parts of an input: "FROM" line, signature, then destination, subject and body of one mail after the other.

#include <algorithm>

#include "core/shift_jis.h"
#include "fuzz/fuzz_program.h"
#include "outgoing/destination.h"
#include "outgoing/send_queue.h"
#include "practice/command.h"
#include "practice/keyboard.h"

namespace {

using namespace postkite;
using fuzz::Check;
using Lines = std::vector<std::string>;

constexpr std::size_t kMails = 3;
constexpr std::size_t kLongestQueueLine = 1024;

bool HasControl(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < ' ' || byte == '\x7F'; });
}

/// The lines of a list; each has its end and fits what the session reads of it.
Lines LinesOf(const support::MemoryFileSystem& disk, const char* name) {
    std::string text = disk.Get(std::string("/mail/bmtemp.$$$/") + name).value();
    Lines lines;
    while (!text.empty()) {
        const std::size_t end = text.find("\r\n");
        Check(end != std::string::npos);
        lines.push_back(text.substr(0, end));
        Check(!HasControl(lines.back()) && lines.back().size() <= kLongestQueueLine);
        text.erase(0, end + 2);
    }
    return lines;
}

void CheckAddressee(const std::string& addressee) {
    Check(!addressee.empty() && core::FindCharacter(addressee, ' ') == std::string::npos);
    Check(core::FindCharacter(addressee, ',') == std::string::npos);
    const bool beyondGateway = core::FindCharacter(addressee, '@') != std::string::npos;
    Check(!beyondGateway || addressee.starts_with("INET:"));
}

void CheckMailList(const Lines& lines, const outgoing::SendQueue& queue) {
    auto line = lines.begin();
    for (const outgoing::QueuedMail& mail : queue.mails) {
        if (!mail.target.empty()) continue;
        Check(!mail.addressees.empty() && mail.subject.size() <= 40 && !mail.subject.empty());
        for (const std::string& addressee : mail.addressees) {
            CheckAddressee(addressee);
            Check(line != lines.end() && *line++ == "TO:" + addressee);
        }
        Check(line != lines.end() && *line++ == "SUB:" + mail.subject);
        Check(line != lines.end() && *line++ == mail.file);
    }
    Check(line == lines.end());
}

void CheckPostList(const Lines& lines, const outgoing::SendQueue& queue) {
    Check(lines.size() == queue.posts.size() * 2);
    for (std::size_t at = 0; at < queue.posts.size(); ++at) {
        const outgoing::QueuedMail& mail = queue.mails[queue.posts[at]];
        Check(lines[at * 2] == mail.target && lines[at * 2 + 1] == mail.file);
        Check(mail.target.size() <= outgoing::kLongestPostLine && mail.addressees.empty());
        const std::size_t comma = core::FindCharacter(mail.target, ',');
        Check(comma != 0 && comma != std::string::npos && mail.target.substr(comma).starts_with(",MES "));
        Check(at == 0 || lines[at * 2 - 2] <= lines[at * 2]);
    }
}

void CheckMessageFile(const support::MemoryFileSystem& disk, std::size_t number, bool isPost) {
    const std::string text = disk.Get("/mail/bmtemp.$$$/" + std::to_string(number) + ".mtx").value();
    Check(text.ends_with("\r\n\r\n/POST\r\n"));
    Check(!isPost || (text.starts_with("SUB:") && text.find("\r\nRE:") != std::string::npos));
    practice::Keyboard keyboard;
    std::string echo;
    bool ended = false;
    for (const char byte : text) {
        const auto line = keyboard.Hear(byte, echo);
        if (!line) continue;
        Check(!ended);
        ended = practice::Upper(*line) == "/POST" || practice::Upper(*line) == "/E";
    }
    Check(ended);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = fuzz::SplitInput(data, size, 2 + kMails * 3);
    support::MemoryFileSystem disk;
    fuzz::Program program(disk);
    core::Settings settings;
    settings.nifFrom = fuzz::UpToZero(parts[0]);
    std::replace(settings.nifFrom.begin(), settings.nifFrom.end(), '\r', ' ');
    std::replace(settings.nifFrom.begin(), settings.nifFrom.end(), '\n', ' ');
    disk.Put("/mail/Setting/sign1.txt", parts[1]);
    Lines identifiers;
    for (std::size_t mail = 0; mail < kMails; ++mail) {
        store::MailRecord record;
        record.flags = store::kComposedMailFlags;
        record.flags[store::flag::kPosition8] = 'Y';
        record.flags[store::flag::kSignature] = mail == 1 ? '1' : '0';
        record.address = parts[2 + mail * 3];
        record.subject = parts[3 + mail * 3];
        record.body = parts[4 + mail * 3];
        if (program.mailbox.AppendMail("Outbox", record, -1) == 0) identifiers.push_back(record.localId);
    }
    program.ui.warnings = 0;
    outgoing::SendQueue queue;
    const int built =
        BuildSendQueue(program.mailbox, settings, "Outbox", outgoing::PostOrder::Ascending, queue);
    Check(built == (queue.mails.empty() ? -1 : 0) && !queue.refused);
    Check((queue.mails.size() < identifiers.size()) == (program.ui.warnings == 1));
    const Lines queued = LinesOf(disk, "MailID.Tmp");
    Check(queued.size() == queue.mails.size());
    for (std::size_t at = 0; at < queue.mails.size(); ++at) {
        const outgoing::QueuedMail& mail = queue.mails[at];
        Check(queued[at] == mail.localId &&
              mail.localId == identifiers[static_cast<std::size_t>(mail.recordNumber)]);
        Check(mail.file == "bmtemp.$$$\\" + std::to_string(at + 1) + ".mtx");
        CheckMessageFile(disk, at + 1, !mail.target.empty());
    }
    CheckMailList(LinesOf(disk, "send.inf"), queue);
    CheckPostList(LinesOf(disk, "mes.inf"), queue);
    return 0;
}
