// Any bytes as index and text of a folder. Every record is listed and read as it stands in both files; a mail
// that is appended reads back whole and changes nothing before it; compaction keeps every mail that was
// whole, says what it lost and keeps the old files then. A folder of an older layout is left alone.
//
// The parts of an input: index, text, body of the mail to be appended.

#include <algorithm>

#include "fuzz/fuzz_program.h"
#include "store/index_record.h"
#include "store/older_layouts.h"

namespace {

using namespace postkite;
using fuzz::Check;
using store::kIndexRecordBytes;
using store::MailRecord;
using Condition = store::FolderReader::Condition;

constexpr const char* kIndexPath = "/mail/Bank/Inbox.loc";
constexpr const char* kTextPath = "/mail/Bank/Inbox.mtx";
constexpr const char* kKeptIndexPath = "/mail/Bank/Inbox.loc.bak";
constexpr const char* kKeptTextPath = "/mail/Bank/Inbox.mtx.bak";

constexpr std::string MailRecord::*kFields[] = {
    &MailRecord::flags,     &MailRecord::localId,  &MailRecord::address,      &MailRecord::name,
    &MailRecord::date,      &MailRecord::subject,  &MailRecord::attach,       &MailRecord::cc,
    &MailRecord::bcc,       &MailRecord::sizeText, &MailRecord::extraAddress, &MailRecord::sourceId,
    &MailRecord::messageId, &MailRecord::spare1,   &MailRecord::spare2,       &MailRecord::spare3,
    &MailRecord::spare5,    &MailRecord::body,
};

struct Mail {
    std::string index;  ///< the record's bytes
    Condition condition = Condition::Damaged;
    MailRecord record;
};
using Mails = std::vector<Mail>;

/// Whether nothing of a mail that was whole has changed, whatever has become of one that was not.
bool IsKept(const Mail& before, const Mail& after) {
    if (before.condition != Condition::Whole) return true;
    return after.condition == Condition::Whole &&
           std::all_of(std::begin(kFields), std::end(kFields),
                       [&](auto field) { return before.record.*field == after.record.*field; });
}

/// A mail read by itself is the one that was read among all. One of them stands for all.
void CheckAlone(store::Mailbox& mailbox, const Mails& mails, std::size_t number) {
    MailRecord alone;
    Check(mailbox.ReadMail("Inbox", static_cast<int>(mails.size()), alone, 0) == -1);
    if (mails.empty()) return;
    const Mail& mail = mails[number % mails.size()];
    const int record = static_cast<int>(number % mails.size());
    const int read = mailbox.ReadMail("Inbox", record, alone, 0);
    Check((read == 0) == (mail.condition != Condition::Damaged) && alone.body == mail.record.body);
    store::MailListEntry entry;
    entry.ownerValue = 7;
    Check(mailbox.ReadListEntry("Inbox", record, entry) == 0 && entry.ownerValue == 7);
    Check(entry.subject.view() == fuzz::UpToZero(FieldOf(mail.index, store::index_field::kSubject)));
    const std::string messageId(FieldOf(mail.index, store::index_field::kMessageId));
    Check(fuzz::UpToZero(messageId).starts_with(entry.messageId.view()));
}

/// Whether the mail stands in the text where its record says.
void CheckPlace(const Mail& mail, const std::string& text) {
    std::size_t at = 0;
    std::vector<std::string> lines;
    const bool leads = fuzz::TakeOffset(mail.index, text, at) && fuzz::TakeLines(text, at, 16, lines);
    if (mail.condition == Condition::Damaged) return;
    Check(leads && mail.record.flags == fuzz::UpToZero(lines[0]) &&
          mail.record.localId == fuzz::UpToZero(lines[1]) && mail.record.subject == fuzz::UpToZero(lines[5]));
    if (mail.record.flags.size() > 14 && mail.record.flags[14] == 'Y')
        Check(fuzz::TakeLines(text, at, 1, lines) &&
              fuzz::UpToZero(mail.record.spare5) == fuzz::UpToZero(lines[0]));
    if (mail.condition == Condition::Whole) {
        Check(text.substr(at).starts_with(mail.record.body + std::string(store::kTerminator)));
        Check(mail.record.body.find(store::kTerminator) == std::string::npos);
    } else {
        Check(text.substr(at) == mail.record.body);
    }
}

/// The rows that bytes can be: a power cut leaves zeros behind the last one that was written.
std::size_t CountRows(std::string_view index) {
    constexpr std::size_t kLineEnds[] = {22, 74, 126, 178, 230, 282, 334, 386, 438, 490, 592, 694, 796, 898};
    std::size_t count = index.size() / kIndexRecordBytes;
    for (; count > 0; --count) {
        const std::string_view row = index.substr((count - 1) * kIndexRecordBytes, kIndexRecordBytes);
        const auto isUnwritten = [row](std::size_t at) { return row[at] == 0 && row[at + 1] == 0; };
        if (row[0] != 0 && std::none_of(std::begin(kLineEnds), std::end(kLineEnds), isUnwritten)) break;
    }
    return count;
}

Mails ReadAll(support::MemoryFileSystem& disk, store::Mailbox& mailbox) {
    const std::string index = disk.Get(kIndexPath).value();
    const std::string text = disk.Get(kTextPath).value();
    store::FolderReader reader;
    Check(reader.Open(mailbox.FilesOf("Inbox")) == 0);
    const int count = reader.CountMails();
    Check(static_cast<std::size_t>(count) == CountRows(index));
    Check(mailbox.CountMails("Inbox") == count);
    Mails mails;
    for (int number = 0; number < count; ++number) {
        Mail mail;
        mail.index = index.substr(static_cast<std::size_t>(number) * kIndexRecordBytes, kIndexRecordBytes);
        mail.condition =
            reader.ReadMail(number, store::MAIL_BODY_MAX - store::kReadHeadroomBytes, mail.record);
        if (mail.index.front() == ' ') Check(mail.condition == Condition::Damaged);
        CheckPlace(mail, text);
        mails.push_back(std::move(mail));
    }
    return mails;
}

void CheckOlderFolder(support::MemoryFileSystem& disk, fuzz::Program& program, MailRecord& mail) {
    const auto index = disk.Get(kIndexPath);
    const auto text = disk.Get(kTextPath);
    Check(program.mailbox.AppendMail("Inbox", mail, -1) == -1);
    Check(program.mailbox.CompactIndex("Inbox") == -1);
    Check(program.mailbox.CompactText("Inbox", [] {}) == -1);
    Check(program.ui.faults == 3);
    Check(disk.Get(kIndexPath) == index && disk.Get(kTextPath) == text);
}

/// The mails with the one that was appended, where it could be.
Mails CheckAppending(support::MemoryFileSystem& disk, fuzz::Program& program, MailRecord mail,
                     const Mails& before) {
    const std::string index = disk.Get(kIndexPath).value();
    const std::string text = disk.Get(kTextPath).value();
    const std::string body = mail.body;
    const int appended = program.mailbox.AppendMail("Inbox", mail, -1);
    if (body.find(store::kTerminator) != std::string::npos) {
        Check(appended == -1 && program.ui.faults == 1);
        Check(disk.Get(kIndexPath) == index && disk.Get(kTextPath) == text);
        return before;
    }
    Check(appended == 0 && program.ui.faults == 0);
    const std::size_t whole = before.size() * kIndexRecordBytes;
    Check(disk.Get(kIndexPath)->size() == std::max(index.size(), whole + kIndexRecordBytes));
    Check(disk.Get(kIndexPath)->starts_with(index.substr(0, whole)) &&
          disk.Get(kTextPath)->starts_with(text));
    Mails after = ReadAll(disk, program.mailbox);
    Check(after.size() == before.size() + 1);
    for (std::size_t number = 0; number < before.size(); ++number)
        Check(IsKept(before[number], after[number]));
    const Mail& last = after.back();
    Check(last.condition == Condition::Whole && last.record.localId == mail.localId);
    Check(last.record.subject == "appended" && last.record.body == fuzz::StoredBody(body));
    return after;
}

void CheckListCompaction(support::MemoryFileSystem& disk, store::Mailbox& mailbox, Mails& mails) {
    const auto text = disk.Get(kTextPath);
    const bool anyDeleted =
        std::any_of(mails.begin(), mails.end(), [](const Mail& mail) { return mail.index.front() == ' '; });
    std::string expected = disk.Get(kIndexPath).value();
    if (anyDeleted) expected.clear();
    std::erase_if(mails, [](const Mail& mail) { return mail.index.front() == ' '; });
    for (std::size_t number = 0; anyDeleted && number < mails.size(); ++number)
        expected += mails[number].index;
    Check(mailbox.CompactIndex("Inbox") == 0);
    Check(disk.Get(kIndexPath) == expected && disk.Get(kTextPath) == text);
    // One that was never wholly written is a row only as long as others stand behind it.
    mails.resize(CountRows(expected));
}

/// `mails` are those that are not deleted.
void CheckCompaction(support::MemoryFileSystem& disk, fuzz::Program& program, const Mails& mails) {
    const auto index = disk.Get(kIndexPath);
    const auto text = disk.Get(kTextPath);
    const auto count = [&mails](Condition condition) {
        return std::count_if(mails.begin(), mails.end(),
                             [condition](const Mail& mail) { return mail.condition == condition; });
    };
    // The second time there is nothing new to be told, but of damaged mails: one that lacks header lines takes some of what
    // is behind it for its own.
    const bool twice = count(Condition::Damaged) == 0 && (count(Condition::Cut) > 0 || text->size() % 4 == 0);
    for (int round = 0; round < (twice ? 2 : 1); ++round) {
        std::size_t copied = 0;
        Check(program.mailbox.CompactText("Inbox", [&copied] { ++copied; }) == 0 && copied == mails.size());
        const Mails after = ReadAll(disk, program.mailbox);
        Check(after.size() == mails.size());
        for (std::size_t number = 0; number < mails.size(); ++number) {
            Check(IsKept(mails[number], after[number]));
            Check(mails[number].index.substr(24) == after[number].index.substr(24));
        }
        if (count(Condition::Cut) > 0) Check(program.ui.notes == 1);
        if (count(Condition::Cut) + count(Condition::Damaged) == 0) Check(program.ui.notes == 0);
        Check(program.ui.notes <= 1);
        if (program.ui.notes == 1)
            Check(disk.Get(kKeptIndexPath) == index && disk.Get(kKeptTextPath) == text);
        Check(disk.Names("/mail/Bank").size() == (program.ui.notes == 1 ? 4U : 2U));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = fuzz::SplitInput(data, size, 3);
    support::MemoryFileSystem disk;
    disk.Put(kIndexPath, parts[0]);
    disk.Put(kTextPath, parts[1]);
    fuzz::Program program(disk);
    MailRecord mail;
    mail.flags = store::kReceivedMailFlags;
    mail.subject = "appended";
    mail.body = parts[2];
    store::FolderLayout layout{};
    Check(DetectLayout(program.mailbox.FilesOf("Inbox"), layout) == 0);
    if (layout != store::FolderLayout::Current) {
        CheckOlderFolder(disk, program, mail);
        return 0;
    }
    // Not all with every input: each opens the folder again and again, which is what takes the time.
    const std::size_t choice = parts[2].size() % 8;
    Mails mails = ReadAll(disk, program.mailbox);
    if (choice < 2) CheckAlone(program.mailbox, mails, size);
    if (choice == 2 || choice == 3 || choice == 7) mails = CheckAppending(disk, program, mail, mails);
    if (choice < 4) return 0;
    CheckListCompaction(disk, program.mailbox, mails);
    if (choice < 6) return 0;
    // Damaged records alone, their marks too, can look like anything.
    Check(DetectLayout(program.mailbox.FilesOf("Inbox"), layout) == 0);
    if (layout != store::FolderLayout::Current) return 0;
    CheckCompaction(disk, program, mails);
    return 0;
}
