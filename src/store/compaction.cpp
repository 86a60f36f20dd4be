#include "store/compaction.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <vector>

#include "store/block_output.h"
#include "store/index_journal.h"
#include "store/index_record.h"
#include "store/older_layouts.h"
#include "store/text_record.h"
#include "store/text_search.h"
#include "store/text_window.h"

namespace postkite::store {

namespace {

/// A new file that is written from its beginning to its end.
class NewFile {
  public:
    int Create(const FolderFiles& files, const std::string& name) {
        int result = files.workspace->Remove(name);
        if (result == 0 || result == -ENOENT)
            result = files.workspace->Open(name, core::OpenMode::CreateNew, file_);
        if (result == 0) output_ = BlockOutput(*file_, 0);
        return result;
    }

    int Add(std::string_view bytes) { return output_.Add(bytes); }

    int Finish() {
        const int flushed = output_.Flush();
        return flushed < 0 ? flushed : file_->Sync();
    }

    [[nodiscard]] std::uint64_t size() const { return output_.end(); }

  private:
    std::unique_ptr<core::File> file_;
    BlockOutput output_;
};

/// Whether nothing is lost with the record: it is deleted, or holds zeros alone.
bool IsNoMail(std::string_view record) {
    return IsDeleted(record) || record.find_first_not_of('\0') == std::string_view::npos;
}

/// Whether record `number` is one of those in `numbers`, which rise; those before it have been asked for.
bool TakeNumber(std::span<const int>& numbers, std::uint64_t number) {
    while (!numbers.empty() && static_cast<std::int64_t>(numbers.front()) < static_cast<std::int64_t>(number))
        numbers = numbers.subspan(1);
    return !numbers.empty() && static_cast<std::uint64_t>(numbers.front()) == number;
}

/// The first record that goes; the number of records where none does.
std::uint64_t FirstToGo(TextWindow& index, std::span<const int> numbers) {
    for (std::uint64_t number = 0;; ++number) {
        const std::string_view record = index.At(number * kIndexRecordBytes, kIndexRecordBytes);
        if (record.size() < kIndexRecordBytes || IsNoMail(record) || TakeNumber(numbers, number))
            return number;
    }
}

/// An index of which more records than these are to be written, the greater part of it, is made anew.
constexpr std::uint64_t kMostJournalled = 1000;

/// The mails of a folder whose records go, marked in the text once they are gone.
class TextMarks {
  public:
    int Open(const FolderFiles& files) {
        const int result = files.workspace->Open(files.text, core::OpenMode::ReadWrite, text_);
        // Without its text a mail can still go.
        return result == -ENOENT ? 0 : result;
    }

    void Add(std::string_view record) {
        const auto offset = TextOffsetOf(record);
        if (text_ == nullptr || !offset) return;
        if (FlagLineBytes(*text_, *offset, record) > static_cast<std::int64_t>(flag::kDeleted))
            offsets_.push_back(*offset);
    }

    /// Not synced, and no matter if it fails: no record leads there any more.
    void Write() {
        for (const std::uint64_t offset : offsets_)
            static_cast<void>(text_->WriteAt(offset + flag::kDeleted, "x"));
    }

  private:
    std::unique_ptr<core::File> text_;
    std::vector<std::uint64_t> offsets_;
};

class TextRewriting {
  public:
    explicit TextRewriting(const FolderFiles& files) : files_(files) {}

    TextCompaction Run(const std::function<void()>& onMail) {
        TextCompaction done;
        done.result = OpenAll();
        if (done.result == -ENOENT) return {};  // no index, no mails
        if (done.result == 0) done.result = CopyMails(onMail, done.lostMails);
        if (done.result == 0) done.result = FinishNewFiles();
        if (done.result == 0 && done.lostMails > 0) done.result = KeepOldFiles(done.keptAs);
        if (done.result == 0) done.result = files_.workspace->Rename(files_.compactionText, files_.text);
        if (done.result < 0) {
            Discard();
            return done;
        }
        // From here on there is no way back: the new index alone means that it has to follow its text.
        done.result = files_.workspace->SyncNames(files_.text);
        if (done.result == 0) done.result = files_.workspace->Rename(files_.compactionIndex, files_.index);
        if (done.result == 0) done.result = files_.workspace->SyncNames(files_.index);
        return done;
    }

  private:
    int OpenAll() {
        int result = files_.workspace->Open(files_.index, core::OpenMode::Read, index_);
        if (result == 0) result = RequireCurrentLayout(*index_);
        if (result < 0) return result;
        oldIndex_.emplace(*index_);
        result = CountRecords(*index_, count_);
        if (result < 0) return result;
        result = files_.workspace->Open(files_.text, core::OpenMode::Read, text_);
        if (result < 0 && result != -ENOENT) return result;
        if (result == 0) oldText_.emplace(*text_);
        result = newText_.Create(files_, files_.compactionText);
        // On the disk before the other one: that one alone would look like a change half done.
        if (result == 0) result = files_.workspace->SyncNames(files_.compactionText);
        return result < 0 ? result : newIndex_.Create(files_, files_.compactionIndex);
    }

    int CopyMails(const std::function<void()>& onMail, int& lostMails) {
        for (std::uint64_t number = 0; number < count_; ++number) {
            const std::string_view record = oldIndex_->At(number * kIndexRecordBytes, kIndexRecordBytes);
            if (oldIndex_->error() < 0) return oldIndex_->error();
            if (record.size() < kIndexRecordBytes) return 0;
            if (IsNoMail(record)) continue;
            std::string head = std::to_string(newText_.size());
            head.resize(index_field::kTextOffset.width, ' ');
            int result = newIndex_.Add(head);
            if (result == 0) result = newIndex_.Add("30\r\n");
            if (result == 0) result = newIndex_.Add(record.substr(index_field::kFlags.offset));
            if (result == 0) result = CopyText(record, lostMails);
            if (result < 0) return result;
            onMail();
        }
        return 0;
    }

    int CopyText(std::string_view record, int& lostMails) {
        // Without its text the index says where the mails are, should the text come back: it is not to be
        // lost too.
        if (!oldText_) return -ENODATA;
        std::string_view text;
        const auto offset = TextOffsetOf(record);
        if (offset) text = WholeTextRecord(*oldText_, *offset, kBytesBehindTerminator);
        if (oldText_->error() < 0) return oldText_->error();
        if (!text.empty() && BearsIdentifierOf(record, IdentifierLineOf(text))) return newText_.Add(text);
        const bool wasLost = text.starts_with(kTerminator);
        const int found = FindElsewhere(record, text);
        if (found < 0) return found;
        if (!text.empty()) return newText_.Add(text);
        // A terminator alone is all that an earlier compaction has left of it, and has been told.
        if (!wasLost) ++lostMails;
        return newText_.Add(kTerminator);
    }

    /// The text of a mail that is not where its record says but somewhere else in the file; empty where it
    /// is not.
    int FindElsewhere(std::string_view record, std::string_view& text) {
        text = {};
        if (!elsewhere_) {
            const int searched = SearchLostTexts();
            if (searched < 0) return searched;
        }
        const auto found = places_.extract(std::string(IdentifierOf(record)));
        if (found.empty() || !found.mapped()) return 0;
        text = WholeTextRecord(*elsewhere_, *found.mapped(), kBytesBehindTerminator);
        return elsewhere_->error();
    }

    static std::string_view IdentifierOf(std::string_view record) {
        return WithoutTrailingBlanks(FieldOf(record, index_field::kLocalId));
    }

    /// For all records at once that lead nowhere.
    int SearchLostTexts() {
        elsewhere_.emplace(*text_);
        int result = VisitRecords([this](std::string_view record, bool leadsToItsText) {
            const std::string_view identifier = IdentifierOf(record);
            if (!leadsToItsText && !identifier.empty()) places_.try_emplace(std::string(identifier));
        });
        // A text that another record leads to is that one's.
        if (result == 0) {
            result = VisitRecords([this](std::string_view record, bool leadsToItsText) {
                const auto same = leadsToItsText ? places_.find(IdentifierOf(record)) : places_.end();
                if (same != places_.end()) places_.erase(same);
            });
        }
        return result < 0 || places_.empty() ? result : FindTexts(*text_, places_);
    }

    int VisitRecords(const std::function<void(std::string_view record, bool leadsToItsText)>& visit) {
        TextWindow index(*index_);
        for (std::uint64_t number = 0; number < count_; ++number) {
            const std::string_view record = index.At(number * kIndexRecordBytes, kIndexRecordBytes);
            if (record.size() < kIndexRecordBytes) break;
            const auto offset = TextOffsetOf(record);
            const std::int64_t flagBytes = offset ? FlagLineBytes(*text_, *offset, record) : 0;
            if (flagBytes < 0) return static_cast<int>(flagBytes);
            if (!IsNoMail(record)) visit(record, flagBytes > 0);
        }
        return index.error();
    }

    int FinishNewFiles() {
        int result = newText_.Finish();
        if (result == 0) result = newIndex_.Finish();
        return result < 0 ? result : files_.workspace->SyncNames(files_.compactionIndex);
    }

    int KeepOldFiles(std::string& keptAs) {
        constexpr int kMostCopies = 999;
        for (int number = 1; number <= kMostCopies; ++number) {
            const std::string ending = ".bak" + (number == 1 ? std::string() : std::to_string(number));
            keptAs = files_.text + ending;
            core::EntryKind text{};
            core::EntryKind index{};
            int result = files_.workspace->Inspect(keptAs, text);
            if (result == 0) result = files_.workspace->Inspect(files_.index + ending, index);
            if (result < 0) return result;
            if (text != core::EntryKind::Missing || index != core::EntryKind::Missing) continue;
            // A text without the offsets of its mails is hard to read.
            result = files_.workspace->Copy(files_.index, files_.index + ending);
            if (result == 0) result = files_.workspace->Rename(files_.text, keptAs);
            return result < 0 ? result : files_.workspace->SyncNames(files_.text);
        }
        return -EEXIST;
    }

    void Discard() {
        bool textIsThere = false;
        core::EntryKind kind{};
        if (files_.workspace->Inspect(files_.text, kind) == 0) textIsThere = kind != core::EntryKind::Missing;
        // Kept under another name already, the old text leaves its place to the new one, now or at the next
        // start.
        if (oldText_ && !textIsThere) return;
        const int removed = files_.workspace->Remove(files_.compactionIndex);
        // The text alone means nothing to whoever finds it; the index alone would.
        if (removed == 0 || removed == -ENOENT)
            static_cast<void>(files_.workspace->Remove(files_.compactionText));
    }

    const FolderFiles& files_;
    std::unique_ptr<core::File> index_;
    std::unique_ptr<core::File> text_;
    std::uint64_t count_ = 0;  ///< records of the old index
    std::optional<TextWindow> oldIndex_;
    std::optional<TextWindow> oldText_;
    std::optional<TextWindow> elsewhere_;  ///< the old text, where its records do not lead
    TextPlaces places_;                    ///< of the mails there
    NewFile newText_;
    NewFile newIndex_;
};

}  // namespace

int RemoveRecords(const FolderFiles& files, std::span<const int> numbers, bool* takesEffect) {
    if (takesEffect != nullptr) *takesEffect = false;
    core::WorkspaceLock lock;
    int result = files.workspace->Lock(true, lock);
    if (result == 0) result = numbers.empty() ? FinishInterruptedChanges(files) : FinishOwnChanges(files);
    std::unique_ptr<core::File> file;
    if (result == 0) result = files.workspace->Open(files.index, core::OpenMode::Read, file);
    if (result == 0) result = RequireCurrentLayout(*file);
    std::uint64_t count = 0;
    if (result == 0) result = CountRecords(*file, count);
    TextMarks marks;
    if (result == 0 && !numbers.empty()) result = marks.Open(files);
    if (result < 0) return result;
    TextWindow index(*file);
    const std::uint64_t first = FirstToGo(index, numbers);
    if (index.error() < 0) return index.error();
    if (first >= count) return 0;

    IndexJournal journal(files);
    const bool anew = count - first > std::max(kMostJournalled, count / 2);
    result = anew ? journal.BeginAnew() : journal.Begin(first, count);
    for (std::uint64_t number = anew ? 0 : first; result == 0 && number < count; ++number) {
        const std::string_view record = index.At(number * kIndexRecordBytes, kIndexRecordBytes);
        if (record.size() < kIndexRecordBytes) break;
        const bool wasDeleted = IsNoMail(record);
        const bool goes = TakeNumber(numbers, number);
        if (goes && !wasDeleted) marks.Add(record);
        if (!goes && !wasDeleted) result = journal.Add(record);
    }
    if (result == 0) result = index.error();
    if (result == 0) result = journal.Apply(IndexJournal::End::CutBehind);
    if (takesEffect != nullptr) *takesEffect = journal.stands();
    if (result == 0) marks.Write();
    return result;
}

TextCompaction RewriteText(const FolderFiles& files, const std::function<void()>& onMail) {
    core::WorkspaceLock lock;
    TextCompaction failed;
    failed.result = files.workspace->Lock(true, lock);
    if (failed.result == 0) failed.result = FinishInterruptedChanges(files);
    if (failed.result < 0) return failed;
    return TextRewriting(files).Run(onMail);
}

}  // namespace postkite::store
