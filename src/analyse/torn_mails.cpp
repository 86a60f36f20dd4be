#include "analyse/torn_mails.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <memory>
#include <utility>

#include "analyse/captured_lines.h"
#include "analyse/deliveries.h"
#include "analyse/hash.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/line_reader.h"
#include "store/folder_reader.h"
#include "store/index_record.h"
#include "store/text_record.h"

namespace postkite::analyse {

namespace {

constexpr std::string_view kFirstLine = "Postkite torn mails 1";
constexpr std::string_view kNoHash = "-";
constexpr std::size_t kHashDigits = 16;
/// A folder's name and its bank's, far more than they can have.
constexpr std::size_t kLongestLine = 4096;
/// The number that the host gives a mail, anew in each call.
constexpr std::size_t kNumberBytes = 4;
constexpr std::string_view kLineEnd = "\r\n";
/// What an identifier begins with: date and time to the second.
constexpr std::size_t kStampBytes = 12;

std::string_view WithoutNumber(std::string_view body) {
    return body.substr(std::min(kNumberBytes, body.size()));
}

/// Whether `text` is the beginning of `whole`, as far as it goes, and of something that the host asks behind that.
bool Begins(std::string_view text, std::string_view whole) {
    text = WithoutNumber(text);
    whole = WithoutNumber(whole);
    if (text.size() <= whole.size()) return whole.starts_with(text);
    if (!text.starts_with(whole)) return false;
    const std::string_view rest = text.substr(whole.size());
    const auto questions = QuestionsBehindMail();
    return std::any_of(questions.begin(), questions.end(),
                       [rest](std::string_view question) { return question.starts_with(rest); });
}

bool IsAsStored(std::string_view indexRecord) {
    std::string flags(store::kReceivedMailFlags);
    flags[store::flag::kLine17] = 'Y';
    return !store::IsDeleted(indexRecord) &&
           store::WithoutTrailingBlanks(FieldOf(indexRecord, store::index_field::kFlags)) ==
               store::WithoutTrailingBlanks(flags);
}

std::string_view IdentifierOf(std::string_view indexRecord) {
    return store::WithoutTrailingBlanks(FieldOf(indexRecord, store::index_field::kLocalId));
}

bool ReadBody(store::FolderReader& reader, int number, store::MailRecord& record) {
    return reader.ReadMail(number, store::MAIL_BODY_MAX - store::kReadHeadroomBytes, record) ==
           store::FolderReader::Condition::Whole;
}

std::string_view TakeWord(std::string_view& line) {
    const std::size_t blank = line.find(' ');
    const std::string_view word = line.substr(0, blank);
    line.remove_prefix(blank == std::string_view::npos ? line.size() : blank + 1);
    return word;
}

template <typename Number>
bool ParseWhole(std::string_view text, Number& number, int base) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

std::string TornMails::BankPrefix() const {
    const std::string& bank = mailbox_->bankDirectory();
    return bank.empty() ? std::string() : bank + "\\";
}

bool TornMails::Parse(std::string_view line, Entry& entry) const {
    if (!ParseWhole(TakeWord(line), entry.textBytes, 10)) return false;
    entry.localId = TakeWord(line);
    const std::string_view hash = TakeWord(line);
    std::uint64_t value = 0;
    if (hash != kNoHash && (hash.size() != kHashDigits || !ParseWhole(hash, value, 16))) return false;
    if (hash != kNoHash) entry.replacement = value;
    entry.path = line;
    const std::string prefix = BankPrefix();
    if (!line.starts_with(prefix)) return !entry.localId.empty() && !line.empty();
    line.remove_prefix(prefix.size());
    // A name with a separator is another bank's.
    if (store::Mailbox::IsUsableName(line)) entry.folder = line;
    return !entry.localId.empty() && !entry.path.empty();
}

void TornMails::Load() {
    std::unique_ptr<core::File> file;
    if (mailbox_->workspace().Open(kTornMailsFile, core::OpenMode::Read, file) < 0) return;
    fileIsThere_ = true;
    core::LineReader reader(*file, kLongestLine);
    std::string line;
    if (core::ReadLogLine(reader, line) < 0 || line != kFirstLine) return;
    while (entries_.size() < kMost && core::ReadLogLine(reader, line) == 0) {
        if (Entry entry; Parse(line, entry)) entries_.push_back(std::move(entry));
    }
    for (Entry& entry : entries_) {
        if (!entry.folder.empty()) LookAt(entry);
    }
}

void TornMails::LookAt(Entry& entry) {
    store::FolderReader reader;
    if (reader.Open(mailbox_->FilesOf(entry.folder)) == 0) {
        const int number = reader.FindMail(entry.localId);
        store::MailRecord record;
        if (number < 0 && reader.error() == 0 && entry.replacement) {
            entry.replaced = LookForReplacement(entry, reader);
        } else if (number >= 0 && IsAsStored(reader.IndexRecord(number)) &&
                   ReadBody(reader, number, record)) {
            entry.usable = record.body.size() >= entry.textBytes;
            entry.text = record.body.substr(0, entry.textBytes);
            if (entry.text.ends_with(kLineEnd)) entry.text.resize(entry.text.size() - kLineEnd.size());
        }
    }
    if (!entry.replaced) entry.replacement.reset();
    // It has come whole, or somebody has read, moved or deleted it: it is that person's now.
    entry.done = !entry.usable && !entry.replaced;
}

/// The new mail's identifier is younger than that of the one whose place it took.
bool TornMails::LookForReplacement(Entry& entry, store::FolderReader& reader) {
    const std::string since = entry.localId.substr(0, kStampBytes);
    for (int number = 0;; ++number) {
        const std::string_view indexRecord = reader.IndexRecord(number);
        if (indexRecord.empty()) return false;
        const std::string identifier(IdentifierOf(indexRecord));
        store::MailRecord record;
        if (store::IsDeleted(indexRecord) || identifier.substr(0, kStampBytes) < since ||
            !ReadBody(reader, number, record) || HashOf(record.body) != *entry.replacement)
            continue;
        entry.localId = identifier;
        return true;
    }
}

TornMails::Found TornMails::Find(std::string_view body, std::optional<std::size_t> textBytes) const {
    std::string_view text = body.substr(0, textBytes.value_or(body.size()));
    if (textBytes && text.ends_with(kLineEnd)) text.remove_suffix(kLineEnd.size());
    for (std::size_t number = 0; number < entries_.size(); ++number) {
        const Entry& entry = entries_[number];
        if (!entry.usable || entry.done) continue;
        if (textBytes && Begins(text, entry.text + std::string(kLineEnd))) return {Relation::HasAll, number};
        if (Begins(entry.text, text)) return {Relation::Continues, number};
    }
    return {};
}

int TornMails::Replace(std::size_t number, store::MailRecord& record) {
    Entry& entry = entries_[number];
    entry.replacement = HashOf(record.body);
    if (const int error = Write(true); error < 0) {
        mailbox_->ReportFault(entry.folder, error);
        return -1;
    }
    record.localId = entry.localId;
    if (mailbox_->ReplaceMail(entry.folder, -1, record) < 0) return -1;
    entry.done = true;
    return 0;
}

bool TornMails::TakeReplaced(std::string_view body, std::string& folder, std::string& localId) {
    for (Entry& entry : entries_) {
        if (entry.done || !entry.replaced || *entry.replacement != HashOf(body)) continue;
        folder = entry.folder;
        localId = entry.localId;
        entry.done = true;
        return true;
    }
    return false;
}

void TornMails::Remember(std::string_view folder, std::string_view localId, std::size_t textBytes) {
    Entry entry;
    entry.textBytes = textBytes;
    entry.localId = localId;
    entry.path = BankPrefix() + std::string(folder);
    entries_.push_back(std::move(entry));
    if (entries_.size() > kMost) entries_.erase(entries_.begin());
    // Where it cannot be written, the mail comes beside its torn beginning.
    if (const int error = Write(true); error < 0) {
        core::LogError(mailbox_->workspace(), std::string(kTornMailsFile) + ": " +
                                                  core::DescribeError(error, core::Language::English));
    }
}

/// What is done is still written while the capture is there: a run over it that begins again has to know it.
int TornMails::Write(bool withDone) {
    std::string bytes;
    for (const Entry& entry : entries_) {
        if (entry.done && !withDone) continue;
        bytes += std::to_string(entry.textBytes) + " " + entry.localId + " ";
        bytes += entry.replacement ? HexadecimalOf(*entry.replacement) : std::string(kNoHash);
        bytes.append(" ").append(entry.path).append(kLineEnd);
    }
    if (bytes.empty()) {
        const int removed = fileIsThere_ ? mailbox_->workspace().Remove(kTornMailsFile) : 0;
        if (removed == 0) fileIsThere_ = false;
        return removed;
    }
    fileIsThere_ = true;
    return mailbox_->workspace().Replace(kTornMailsFile, std::string(kFirstLine).append(kLineEnd) + bytes);
}

void TornMails::Save() {
    // An earlier run over the capture, which is gone now, may have got past the mail that took the place.
    for (Entry& entry : entries_)
        entry.done = entry.done || entry.replaced;
    const bool anyDone =
        std::any_of(entries_.begin(), entries_.end(), [](const Entry& entry) { return entry.done; });
    // What stays is only passed over at the next time.
    if (fileIsThere_ && (anyDone || entries_.empty())) static_cast<void>(Write(false));
}

}  // namespace postkite::analyse
