#include "store/pending_move.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>

#include "store/checksum.h"
#include "store/compaction.h"
#include "store/index_record.h"
#include "store/older_layouts.h"
#include "store/text_record.h"
#include "store/text_window.h"

namespace postkite::store {

namespace {

constexpr std::string_view kFileName = "MailBoxInfo.$$m";
constexpr std::string_view kFirstLine = "move 1";
constexpr std::string_view kLastLine = "end ";
constexpr std::string_view kLineEnd = "\r\n";

std::string NameOf(std::string_view bankDirectory) {
    std::string name(bankDirectory);
    if (!name.empty()) name += '\\';
    return name += kFileName;
}

void AppendNumber(std::string& text, std::uint64_t number, int base = 10) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, base).ptr;
    text.append(digits.data(), end);
}

template <class Number>
bool TakeNumber(std::string_view& text, Number& number, int base = 10) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc()) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (text.starts_with(' ')) text.remove_prefix(1);
    return true;
}

bool TakeLine(std::string_view& text, std::string_view& line) {
    const std::size_t end = text.find(kLineEnd);
    if (end == std::string_view::npos) return false;
    line = text.substr(0, end);
    text.remove_prefix(end + kLineEnd.size());
    return true;
}

/// A note as it was read; its texts lie in `text`.
struct Note {
    std::string text;
    std::string source;
    std::vector<std::string> targets;
    std::vector<PendingMail> mails;
};

/// False for one that is not whole: nothing has been done by it.
bool Parse(Note& note) {
    std::string_view rest = note.text;
    std::string_view line;
    std::uint64_t sum = kFirstSum;  // of the lines before the present one
    std::uint64_t nextSum = kFirstSum;
    const auto next = [&] {
        sum = nextSum;
        if (!TakeLine(rest, line)) return false;
        nextSum = SumOf(line, sum);
        return true;
    };
    std::size_t targets = 0;
    if (!next() || line != kFirstLine || !next() || !TakeNumber(line, targets) || !next()) return false;
    note.source = line;
    for (; targets > 0; --targets) {
        if (!next()) return false;
        note.targets.emplace_back(line);
    }
    while (next() && !line.starts_with(kLastLine)) {
        PendingMail mail;
        if (!TakeNumber(line, mail.number) || !TakeNumber(line, mail.target) ||
            !TakeNumber(line, mail.record, 16) || mail.target >= note.targets.size())
            return false;
        mail.copyId = line;
        note.mails.push_back(mail);
    }
    if (!line.starts_with(kLastLine)) return false;
    line.remove_prefix(kLastLine.size());
    std::size_t mails = 0;
    std::uint64_t noted = 0;
    return TakeNumber(line, mails) && mails == note.mails.size() && TakeNumber(line, noted, 16) &&
           noted == sum;
}

int ReadWhole(core::Workspace& workspace, const std::string& name, std::string& text) {
    std::unique_ptr<core::File> file;
    int result = workspace.OpenExactly(name, core::OpenMode::Read, file);
    if (result < 0) return result;
    const std::int64_t size = file->Size();
    if (size < 0) return static_cast<int>(size);
    text.resize(static_cast<std::size_t>(size));
    const std::int64_t read = file->ReadAt(0, text);
    if (read < 0) return static_cast<int>(read);
    text.resize(static_cast<std::size_t>(read));
    return 0;
}

std::string_view IdentifierOf(std::string_view record) {
    return WithoutTrailingBlanks(FieldOf(record, index_field::kLocalId));
}

/// An index that may have rows of the move; none where there is no such folder.
class Rows {
  public:
    int Open(const FolderFiles& files) {
        int result = FinishOwnChanges(files);
        if (result == 0) result = files.workspace->Open(files.index, core::OpenMode::Read, file_);
        if (result == 0) result = RequireCurrentLayout(*file_);
        if (result == -ENOENT || result == -ENOTSUP) return 0;
        if (result == 0) result = CountRecords(*file_, count_);
        if (result == 0) window_.emplace(*file_);
        return result;
    }
    [[nodiscard]] std::uint64_t count() const { return count_; }
    /// Empty where there is none, and for a deleted one.
    std::string_view Live(std::uint64_t number) {
        if (number >= count_) return {};
        const std::string_view record = window_->At(number * kIndexRecordBytes, kIndexRecordBytes);
        return record.size() < kIndexRecordBytes || IsDeleted(record) ? std::string_view() : record;
    }
    [[nodiscard]] int error() const { return window_ ? window_->error() : 0; }
    int Sync() { return file_->Sync(); }

  private:
    std::unique_ptr<core::File> file_;
    std::optional<TextWindow> window_;
    std::uint64_t count_ = 0;
};

class Settling {
  public:
    Settling(core::Workspace& workspace, std::string_view bankDirectory, const Note& note)
        : workspace_(workspace), bankDirectory_(bankDirectory), note_(note), mails_(note.mails.size()) {}

    int Run() {
        int result = LookForSources();
        for (std::size_t target = 0; result == 0 && target < note_.targets.size(); ++target)
            result = LookForCopies(target);
        if (result < 0) return result;
        for (std::size_t mail = 0; mail < mails_.size(); ++mail)
            Decide(mail);
        for (auto& [index, leaving] : leaving_) {
            std::sort(leaving.numbers.begin(), leaving.numbers.end());
            if (result == 0) result = RemoveRecords(leaving.files, leaving.numbers);
        }
        return result;
    }

  private:
    struct Mail {
        std::optional<int> source;  ///< where its records are, as far as they are there
        std::optional<int> copy;
        bool copyIsWhole = false;
    };
    struct Leaving {
        FolderFiles files;
        std::vector<int> numbers;
    };

    [[nodiscard]] FolderFiles FilesOf(std::string_view folder) const {
        return store::FilesOf(workspace_, bankDirectory_, folder);
    }

    /// By its number, and where others have gone or come meanwhile by what it holds.
    int LookForSources() {
        Rows rows;
        int result = rows.Open(FilesOf(note_.source));
        if (result < 0) return result;
        std::unordered_multimap<std::uint64_t, std::size_t> elsewhere;
        std::vector<bool> taken(rows.count());
        for (std::size_t mail = 0; mail < mails_.size(); ++mail) {
            const PendingMail& noted = note_.mails[mail];
            const std::string_view record = rows.Live(static_cast<std::uint64_t>(noted.number));
            if (!record.empty() && SumOfRecord(record) == noted.record) {
                mails_[mail].source = noted.number;
                taken[static_cast<std::size_t>(noted.number)] = true;
            } else {
                elsewhere.emplace(noted.record, mail);
            }
        }
        for (std::uint64_t number = 0; !elsewhere.empty() && number < rows.count(); ++number) {
            const std::string_view record = taken[number] ? std::string_view() : rows.Live(number);
            const auto found = record.empty() ? elsewhere.end() : elsewhere.find(SumOfRecord(record));
            if (found == elsewhere.end()) continue;
            mails_[found->second].source = static_cast<int>(number);
            elsewhere.erase(found);
        }
        return rows.error();
    }

    int LookForCopies(std::size_t target) {
        std::unordered_map<std::string_view, std::size_t> wanted;
        for (std::size_t mail = 0; mail < mails_.size(); ++mail) {
            if (note_.mails[mail].target == target) wanted.emplace(note_.mails[mail].copyId, mail);
        }
        const FolderFiles files = FilesOf(note_.targets[target]);
        Rows rows;
        int result = rows.Open(files);
        std::unique_ptr<core::File> text;
        if (result == 0) result = files.workspace->Open(files.text, core::OpenMode::Read, text);
        if (result < 0 && result != -ENOENT) return result;
        std::optional<TextWindow> window;
        if (result == 0) window.emplace(*text);
        bool found = false;
        for (std::uint64_t number = 0; number < rows.count(); ++number) {
            const std::string_view record = rows.Live(number);
            const auto one = record.empty() ? wanted.end() : wanted.find(IdentifierOf(record));
            if (one == wanted.end()) continue;
            found = true;
            mails_[one->second].copy = static_cast<int>(number);
            mails_[one->second].copyIsWhole = window && IsWhole(*window, record);
        }
        if (rows.error() < 0 || !window || !found) return rows.error();
        if (window->error() < 0) return window->error();
        // A killed program has left to the system what it had written: nothing leaves the source before
        // that is on the disk.
        result = text->Sync();
        if (result == 0) result = rows.Sync();
        return result < 0 ? result : files.workspace->SyncNames(files.index);
    }

    static bool IsWhole(TextWindow& text, std::string_view record) {
        const auto offset = TextOffsetOf(record);
        const std::string_view whole = offset ? WholeTextRecord(text, *offset, 0) : std::string_view();
        return !whole.empty() && IdentifierLineOf(whole) == IdentifierOf(record);
    }

    void Decide(std::size_t number) {
        const Mail& mail = mails_[number];
        if (!mail.source) return;
        if (mail.copyIsWhole) {
            Leave(note_.source, *mail.source);
        } else if (mail.copy) {
            Leave(note_.targets[note_.mails[number].target], *mail.copy);
        }
    }

    void Leave(const std::string& folder, int number) {
        auto known = byName_.find(folder);
        if (known == byName_.end()) {
            FolderFiles files = FilesOf(folder);
            const std::string index = files.index;
            known = byName_
                        .emplace(folder,
                                 &leaving_.try_emplace(index, Leaving{std::move(files), {}}).first->second)
                        .first;
        }
        known->second->numbers.push_back(number);
    }

    core::Workspace& workspace_;
    std::string_view bankDirectory_;
    const Note& note_;
    std::vector<Mail> mails_;
    std::map<std::string, Leaving> leaving_;  ///< by the index: two names can mean one
    std::map<std::string, Leaving*, std::less<>> byName_;
};

bool IsConcerned(const FolderFiles& folder, const Note& note) {
    const auto isIt = [&folder](std::string_view name) {
        return FilesOf(*folder.workspace, folder.bankDirectory, name).index == folder.index;
    };
    return isIt(note.source) || std::any_of(note.targets.begin(), note.targets.end(), isIt);
}

}  // namespace

std::uint64_t SumOfRecord(std::string_view record) {
    constexpr IndexField kIdentity = {index_field::kLocalId.offset,
                                      index_field::kDate.offset - index_field::kLocalId.offset};
    std::uint64_t sum = SumOf(FieldOf(record, kIdentity), kFirstSum);
    sum = SumOf(FieldOf(record, index_field::kSubject), sum);
    return SumOf(FieldOf(record, index_field::kMessageId), sum);
}

PendingMove::PendingMove(std::string_view source, std::span<const std::string> targets) : sum_(kFirstSum) {
    AddLine(kFirstLine);
    AddLine(std::to_string(targets.size()));
    AddLine(source);
    for (const std::string& target : targets)
        AddLine(target);
}

void PendingMove::AddLine(std::string_view line) {
    sum_ = SumOf(line, sum_);
    text_ += line;
    text_ += kLineEnd;
}

void PendingMove::Add(const PendingMail& mail) {
    ++mails_;
    const std::size_t start = text_.size();
    AppendNumber(text_, static_cast<std::uint64_t>(mail.number));
    text_ += ' ';
    AppendNumber(text_, mail.target);
    text_ += ' ';
    AppendNumber(text_, mail.record, 16);
    text_ += ' ';
    text_ += mail.copyId;
    sum_ = SumOf(std::string_view(text_).substr(start), sum_);
    text_ += kLineEnd;
}

int PendingMove::Write(core::Workspace& workspace, std::string_view bankDirectory) const {
    const std::string name = NameOf(bankDirectory);
    std::string end(kLastLine);
    AppendNumber(end, mails_);
    end += ' ';
    AppendNumber(end, sum_, 16);
    end += kLineEnd;
    std::unique_ptr<core::File> file;
    int result = workspace.OpenExactly(name, core::OpenMode::CreateNew, file);
    if (result < 0) return result;
    result = file->WriteAt(0, text_);
    if (result == 0) result = file->WriteAt(text_.size(), end);
    if (result == 0) result = file->Sync();
    if (result == 0) result = workspace.SyncNames(name);
    if (result < 0) Remove(workspace, bankDirectory);
    return result;
}

void PendingMove::Remove(core::Workspace& workspace, std::string_view bankDirectory) {
    static_cast<void>(workspace.Remove(NameOf(bankDirectory)));
}

int SettlePendingMove(core::Workspace& workspace, std::string_view bankDirectory,
                      const FolderFiles* concerned, std::string* source) {
    const std::string name = NameOf(bankDirectory);
    core::EntryKind kind{};
    int result = workspace.InspectExactly(name, kind);
    if (result < 0 || kind == core::EntryKind::Missing) return result;
    core::WorkspaceLock lock;
    result = workspace.Lock(false, lock);
    if (result < 0) return result == -EWOULDBLOCK ? 0 : result;
    Note note;
    result = ReadWhole(workspace, name, note.text);
    if (result < 0) return result == -ENOENT ? 0 : result;
    const bool isWhole = Parse(note);
    if (isWhole && concerned != nullptr && !IsConcerned(*concerned, note)) return 0;
    if (isWhole) result = Settling(workspace, bankDirectory, note).Run();
    if (result < 0 && source != nullptr) *source = note.source;
    return result < 0 ? result : workspace.Remove(name);
}

}  // namespace postkite::store
