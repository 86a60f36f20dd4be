// Any bytes as a capture of the host's mail listing. A first run fails, or ends, at a disk call of the input's choice; a second one
// goes on. The Inbox has then, each once, the mails that a plain reading of the capture gives, byte for byte. With any bytes
// in the part file nothing but mails of the capture is stored, and the capture goes only when the run was complete.
//
// The parts of an input: the disk call and what happens there, what the part file is made to say, the capture.

#include <algorithm>
#include <cerrno>

#include "analyse/mail_addresses.h"
#include "analyse/mail_log.h"
#include "core/shift_jis.h"
#include "fuzz/fuzz_program.h"
#include "store/folder_commands.h"

namespace {

using namespace postkite;
using core::operator""_sjis;
using fuzz::Check;
using Bodies = std::vector<std::string>;

constexpr const char* kCapturePath = "/mail/maillog.txt";
constexpr const char* kPartPath = "/mail/maillog.txt.part";

/// A CR ends a line and takes the byte behind it along.
std::vector<std::string> LinesOf(std::string_view capture) {
    std::vector<std::string> lines;
    while (!capture.empty()) {
        const std::size_t end = std::min(capture.find('\r'), capture.size());
        lines.emplace_back(capture.substr(0, end));
        capture.remove_prefix(std::min(end + 2, capture.size()));
    }
    return lines;
}

bool IsHeader(const std::string& line) {
    return line.size() == 54 && line[39] == ' ' && line[42] == '/' && line[45] == '/' && line[48] == ' ' &&
           line[51] == ':';
}

bool IsEnd(const std::string& line) {
    return line.find("action:DELETE") != std::string::npos ||
           line == "受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis ||
           line == "受信後 (1:削除  2:保存  *:返信  *:返信＋削除  5:転送  6:転送＋削除  E:終了)"_sjis;
}

std::string AsStored(std::string body) {
    std::replace(body.begin(), body.end(), '\0', ' ');
    for (std::size_t at = body.find("\x01\x01\r\n"); at != std::string::npos; at = body.find("\x01\x01\r\n"))
        body.insert(at + 2, " ");
    return body;
}

/// What the capture holds, and how many header lines open a mail.
Bodies MailsOf(const std::string& capture, int& headerLines) {
    const std::vector<std::string> lines = LinesOf(capture);
    Bodies bodies;
    headerLines = 0;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        if (!IsHeader(lines[at])) continue;
        ++headerLines;
        if (at + 1 == lines.size()) break;
        std::string body = lines[at] + "\r\n" + lines[at + 1] + "\r\n";
        for (at += 2; at <= lines.size(); ++at) {
            const std::string& line = lines[std::min(at, lines.size() - 1)];
            if (IsEnd(line)) break;
            body += line + "\r\n";
        }
        bodies.push_back(AsStored(std::move(body)));
    }
    return bodies;
}

struct MailProgram : fuzz::Program {
    explicit MailProgram(support::MemoryFileSystem& disk) : Program(disk) {}

    int Analyse() {
        const analyse::Analysis analysis{workspace, settings, mailbox, folders, ui, clock, "Inbox"};
        return analyse::AnalyseMailLog(analysis, "maillog.txt", result);
    }
    Bodies Stored() {
        Bodies bodies;
        store::MailRecord record;
        for (int number = 0; number < mailbox.CountMails("Inbox"); ++number) {
            Check(mailbox.ReadMail("Inbox", number, record, 0) == 0);
            Check(record.flags == "Rosrr ---- OP Y   " && record.date.size() == 50);
            bodies.push_back(record.body);
        }
        std::sort(bodies.begin(), bodies.end());
        return bodies;
    }

    store::Folders folders{mailbox, {}};
    core::Settings settings;
    analyse::MailLogResult result;
};

void CheckAddresses(const std::string& capture) {
    for (std::string line : LinesOf(capture)) {
        std::string address = "none";
        const int found = analyse::ExtractInetAddress(line, address);
        Check(found == 0 ? line.find(address) != std::string::npos : address == "none");
        const std::size_t length = line.size();
        analyse::ExtractDisplayName(line);
        Check(line.size() <= length && !line.starts_with(' ') && !line.ends_with(' '));
    }
}

/// Whether each of the mails is one of the capture's, and none there more often than in it.
bool AreAmong(const Bodies& stored, const Bodies& captured) {
    return std::includes(captured.begin(), captured.end(), stored.begin(), stored.end());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = fuzz::SplitInput(data, size, 3);
    const std::string& capture = parts[2];
    CheckAddresses(capture);
    int headerLines = 0;
    Bodies captured = MailsOf(capture, headerLines);
    std::sort(captured.begin(), captured.end());

    support::MemoryFileSystem disk;
    disk.Put(kCapturePath, capture);
    bool complete = false;
    {
        MailProgram program(disk);
        Check(analyse::CountCapturedMails(program.workspace, "maillog.txt") == headerLines);
        if (parts[0].size() > 1) {
            const int call = 1 + static_cast<unsigned char>(parts[0][0]) % 128;
            const int kind = parts[0][1] % 3;
            kind == 0 ? disk.StopAtCall(call) : disk.FailCall(call, kind == 1 ? -ENOSPC : -EACCES);
        }
        static_cast<void>(program.Analyse());
        complete = program.result.complete;
    }
    disk.Restart();
    if (!complete && disk.Exists(kCapturePath)) {
        const auto part = disk.Get(kPartPath);
        const bool changed = part && !parts[1].empty();
        // The first two lines say of which capture it is.
        if (changed)
            disk.Put(kPartPath, part->substr(0, part->find("\r\n", part->find("\r\n") + 1) + 2) + parts[1]);
        MailProgram program(disk);
        Check(program.Analyse() >= 0 && program.result.complete && !disk.Exists(kCapturePath));
        if (changed) {
            // One more where it says that a mail begins in the middle of another.
            Check(program.Stored().size() <= 2 * captured.size() + 1);
            return 0;
        }
        Check(program.result.stored == static_cast<int>(captured.size()));
    }
    MailProgram program(disk);
    Check(AreAmong(program.Stored(), captured) && program.Stored().size() == captured.size());
    return 0;
}
