// Any bytes as index and text of a folder in each of the two older layouts. Every record is whole, cut,
// deleted or damaged, and rightly so; what was read stands in the text where the record says. Where the
// folder counts as an older one its conversion has every mail that could be read, in order, and keeps the old
// files; else it leaves them alone.
//
// The parts of an input: index, text.

#include <algorithm>

#include "fuzz/fuzz_program.h"
#include "store/conversion.h"
#include "store/older_layouts.h"

namespace {

using namespace postkite;
using fuzz::Check;
using store::FolderLayout;
using store::MailRecord;
using Condition = store::OlderFolderReader::Condition;

constexpr const char* kIndexPath = "/mail/Bank/Inbox.loc";
constexpr const char* kTextPath = "/mail/Bank/Inbox.mtx";

struct OlderFolder {
    FolderLayout layout;
    std::string index;
    std::string text;
};

constexpr std::string MailRecord::*kHeaderFields[] = {
    &MailRecord::flags,        &MailRecord::localId,  &MailRecord::address,  &MailRecord::name,
    &MailRecord::date,         &MailRecord::subject,  &MailRecord::attach,   &MailRecord::cc,
    &MailRecord::bcc,          &MailRecord::sizeText, &MailRecord::sourceId, &MailRecord::messageId,
    &MailRecord::extraAddress, &MailRecord::spare1,   &MailRecord::spare2,   &MailRecord::spare5,
};

/// Those that conversion takes over as they are.
constexpr std::string MailRecord::*kKeptFields[] = {
    &MailRecord::address,  &MailRecord::name,      &MailRecord::subject,      &MailRecord::attach,
    &MailRecord::cc,       &MailRecord::bcc,       &MailRecord::extraAddress, &MailRecord::sizeText,
    &MailRecord::sourceId, &MailRecord::messageId, &MailRecord::spare1,
};

/// The text from the body on. False where there are not all lines above it.
bool TakeHeader(const OlderFolder& folder, std::size_t offset, std::vector<std::string>& lines,
                std::string& rest) {
    std::size_t at = offset;
    if (!fuzz::TakeLines(folder.text, at, folder.layout == FolderLayout::V1 ? 11 : 16, lines)) return false;
    std::vector<std::string> sizeText;
    const std::string mark = fuzz::UpToZero(lines.back());
    const bool hasSizeText = folder.layout == FolderLayout::V1 && mark.size() > 3 && mark[3] == 'C';
    if (hasSizeText && !fuzz::TakeLines(folder.text, at, 1, sizeText)) return false;
    rest = folder.text.substr(at);
    return true;
}

void CheckBody(FolderLayout layout, Condition condition, const std::string& body, const std::string& rest) {
    const std::string end(layout == FolderLayout::V1 ? store::kBodyEndV1.substr(2) : store::kTerminator);
    if (condition == Condition::Whole) {
        Check(rest.starts_with(body + end));
        const std::string_view inner = layout == FolderLayout::V1 ? store::kBodyEndV1 : store::kTerminator;
        Check(body.find(inner) == std::string::npos);
        if (layout == FolderLayout::V1) Check(body.empty() || body.ends_with("\r\n"));
    } else {
        Check(body == rest && !rest.starts_with(end));
        Check(rest.find(layout == FolderLayout::V1 ? store::kBodyEndV1 : store::kTerminator) ==
              std::string::npos);
    }
}

void CheckMail(const OlderFolder& folder, const std::string& bytes, Condition condition,
               const MailRecord& mail) {
    Check((condition == Condition::Deleted) == bytes.starts_with(' '));
    if (condition == Condition::Deleted) return;
    std::size_t offset = 0;
    std::vector<std::string> lines;
    std::string rest;
    const bool leads =
        fuzz::TakeOffset(bytes, folder.text, offset) && TakeHeader(folder, offset, lines, rest);
    if (condition == Condition::Damaged) {
        const std::size_t digits = std::min(bytes.find_first_not_of("0123456789"), bytes.size());
        const bool wellFormed = digits <= 20 &&
                                bytes.substr(digits, 20 - digits) == std::string(20 - digits, ' ') &&
                                bytes.substr(22, 2) == "\r\n";
        // The end of a mail that is torn, or lost its text in compaction: what follows is another one's.
        const bool torn = folder.layout == FolderLayout::V2 && leads &&
                          std::find(lines.begin(), lines.end(), "\x01\x01") != lines.end();
        Check(!wellFormed || !leads || torn);
        return;
    }
    Check(leads && fuzz::UpToZero(mail.flags) == fuzz::UpToZero(lines[0]));
    const bool isV1 = folder.layout == FolderLayout::V1;
    Check(fuzz::UpToZero(mail.subject) == fuzz::UpToZero(lines[isV1 ? 4 : 5]));
    Check(fuzz::UpToZero(mail.localId) == fuzz::UpToZero(lines[isV1 ? 8 : 1]));
    for (const auto field : kHeaderFields)
        Check((mail.*field).find('\r') == std::string::npos);
    CheckBody(folder.layout, condition, mail.body, rest);
}

bool CanBeStored(const MailRecord& mail) {
    for (const auto field : kHeaderFields)
        if ((mail.*field).find('\0') != std::string::npos) return false;
    return mail.flags.size() <= 50 && mail.body.find(store::kTerminator) == std::string::npos;
}

/// The mails that conversion has to keep. `complete` becomes false where others are lost or cut.
std::vector<MailRecord> ReadAll(const OlderFolder& folder, const store::FolderFiles& files, bool& complete) {
    store::OlderFolderReader reader;
    Check(reader.Open(files, folder.layout) == 0);
    const std::size_t recordBytes =
        folder.layout == FolderLayout::V1 ? store::kIndexRecordBytesV1 : store::kIndexRecordBytesV2;
    const int count = reader.CountMails();
    Check(static_cast<std::size_t>(count) == folder.index.size() / recordBytes);
    std::vector<MailRecord> mails;
    complete = true;
    for (int number = 0; number <= count; ++number) {
        MailRecord mail;
        Condition condition{};
        Check(reader.ReadMail(number, mail, condition) == 0);
        const bool readable = condition == Condition::Whole || condition == Condition::Cut;
        // Opening the folder for each is what takes the time.
        if (number < 2 || number == count) {
            MailRecord alone;
            const int read = folder.layout == FolderLayout::V1 ? ReadMailV1(files, number, alone)
                                                               : ReadMailV2(files, number, alone);
            Check(read == (readable ? 0 : -1) && (!readable || alone.body == mail.body));
        }
        if (number == count) {
            Check(condition == Condition::Damaged);
            break;
        }
        CheckMail(folder, folder.index.substr(static_cast<std::size_t>(number) * recordBytes, recordBytes),
                  condition, mail);
        if (condition == Condition::Deleted) continue;
        const bool kept = readable && CanBeStored(mail);
        if (condition != Condition::Whole || !kept) complete = false;
        if (kept) mails.push_back(std::move(mail));
    }
    return mails;
}

void CheckConverted(const MailRecord& old, const MailRecord& mail) {
    for (const auto field : kKeptFields) {
        const bool padded = (old.*field).ends_with("\x01\x01");
        Check(mail.*field == old.*field + (padded ? " " : ""));
    }
    Check(mail.body == fuzz::StoredBody(old.body));
    Check(mail.flags.substr(0, 14).starts_with(old.flags.substr(0, 14)) && mail.flags[14] == 'Y');
    Check(mail.date.starts_with(old.date) &&
          mail.date.find_first_not_of(' ', old.date.size()) == std::string::npos);
}

void CheckConversion(support::MemoryFileSystem& disk, fuzz::Program& program, const OlderFolder& folder,
                     const std::vector<MailRecord>& mails, bool complete) {
    const store::FolderFiles files = program.mailbox.FilesOf("Inbox");
    const int converted = ConvertFolder(program.mailbox, "Inbox");
    if (mails.empty()) {
        Check(converted == -1 && program.ui.faults == 1 && disk.Names("/mail/Bank").size() == 2);
        Check(disk.Get(kIndexPath) == folder.index && disk.Get(kTextPath) == folder.text);
        return;
    }
    Check(converted == 0 && program.ui.faults == 0);
    Check(program.ui.notes == 1 && program.ui.warnings == (complete ? 0 : 1));
    const std::string suffix = folder.layout == FolderLayout::V1 ? ".v1" : ".v2";
    Check(disk.Get(kIndexPath + suffix) == folder.index && disk.Get(kTextPath + suffix) == folder.text);
    Check(disk.Names("/mail/Bank").size() == 4);
    store::FolderReader reader;
    Check(reader.Open(files) == 0);
    Check(static_cast<std::size_t>(reader.CountMails()) == mails.size());
    for (std::size_t number = 0; number < mails.size(); ++number) {
        MailRecord mail;
        Check(reader.ReadMail(static_cast<int>(number), store::MAIL_BODY_MAX, mail) ==
              store::FolderReader::Condition::Whole);
        CheckConverted(mails[number], mail);
    }
    Check(ConvertFolder(program.mailbox, "Inbox") == 0 && disk.Names("/mail/Bank").size() == 4);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = fuzz::SplitInput(data, size, 2);
    support::MemoryFileSystem disk;
    disk.Put(kIndexPath, parts[0]);
    disk.Put(kTextPath, parts[1]);
    fuzz::Program program(disk);
    const store::FolderFiles files = program.mailbox.FilesOf("Inbox");
    FolderLayout layout{};
    Check(DetectLayout(files, layout) == 0);
    for (const FolderLayout tried : {FolderLayout::V1, FolderLayout::V2}) {
        const OlderFolder folder = {tried, parts[0], parts[1]};
        bool complete = true;
        const std::vector<MailRecord> mails = ReadAll(folder, files, complete);
        if (tried != layout) continue;
        CheckConversion(disk, program, folder, mails, complete);
        return 0;
    }
    if (layout == FolderLayout::Current) {
        Check(ConvertFolder(program.mailbox, "Inbox") == 0 && program.ui.faults + program.ui.notes == 0);
        Check(disk.Get(kIndexPath) == parts[0] && disk.Get(kTextPath) == parts[1]);
    }
    return 0;
}
