#include "store/mail_moving.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "store/compaction.h"
#include "store/conversion.h"
#include "store/index_record.h"
#include "store/pending_move.h"
#include "store/text_record.h"

namespace postkite::store {

namespace {

/// Index records wait in memory for their texts to be on the disk; no more than these wait, however many
/// folders they are for.
constexpr std::size_t kMostGathered = 2 * 1024 * 1024 / kIndexRecordBytes;

}  // namespace

MailMoving::MailMoving(Mailbox& mailbox, std::string_view source, std::span<const std::string> targets)
    : mailbox_(&mailbox), source_(source), sourceFiles_(mailbox.FilesOf(source)) {
    for (const std::string& name : targets)
        targets_.push_back({name, nullptr, targets_.size(), false, false, {}});
}

void MailMoving::Prepare(int number) {
    Target& target = targets_[static_cast<std::size_t>(number)];
    if (!std::exchange(target.prepared, true) && ConvertFolder(*mailbox_, target.name) < 0) GiveUp(target);
}

/// The target that takes the mails for `number`; nullptr where it has failed. Two names can mean the same
/// files.
MailMoving::Target* MailMoving::OpenTarget(int number) {
    Target& named = targets_[static_cast<std::size_t>(number)];
    Target& target = targets_[named.sharesWith];
    if (named.failed || target.failed) return nullptr;
    if (target.writer != nullptr) return &target;
    const FolderFiles files = mailbox_->FilesOf(mailbox_->FolderWritten(target.name));
    std::filesystem::path path;
    if (files.workspace->Locate(files.text, path) == 0) {
        const auto [open, isNew] = byPath_.try_emplace(std::move(path), named.sharesWith);
        if (!isNew) {
            named.sharesWith = open->second;
            return OpenTarget(number);
        }
    }
    target.writer = mailbox_->OpenWriter(target.name);
    if (target.writer != nullptr) return &target;
    GiveUp(target);
    return nullptr;
}

void MailMoving::GiveUp(Target& target) {
    failed_ = target.failed = true;
    // The writer stays: mails that were committed before may have to be taken back.
    if (target.writer != nullptr && target.writer->hasLeftovers()) mayBeTwice_ = true;
    gathered_ -= target.uncommitted.size();
    target.uncommitted.clear();
}

int MailMoving::Begin(FolderReader& reader, std::span<const MailMove> moves) {
    std::vector<std::string> names;
    for (const Target& target : targets_)
        names.emplace_back(mailbox_->FolderWritten(target.name));
    PendingMove note(source_, names);
    // All of them before the first identifier is made, which keeps clear of those in the folders.
    for (const MailMove& move : moves)
        static_cast<void>(OpenTarget(move.target));
    for (const MailMove& move : moves) {
        const std::string copyId = MakeIdentifierOfNewMail(mailbox_->identifiers());
        copyIds_ += copyId;
        copyIds_ += '\n';
        const std::string_view record = reader.IndexRecord(move.recordNumber);
        if (record.empty() || OpenTarget(move.target) == nullptr) continue;
        note.Add({move.recordNumber, SumOfRecord(record), static_cast<std::size_t>(move.target), copyId});
    }
    // The clipboard folder lies elsewhere, under no lock that it has in common with a bank.
    if (sourceFiles_.workspace != &mailbox_->workspace()) return 0;
    const int noted = note.Write(*sourceFiles_.workspace, sourceFiles_.bankDirectory);
    if (noted < 0) mailbox_->ReportFault(source_, noted);
    isNoted_ = noted == 0;
    return noted < 0 ? -1 : 0;
}

void MailMoving::CopyMail(const MailMove& move, std::string_view copyId, MailRecord& record) {
    Target* const target = OpenTarget(move.target);
    if (target == nullptr) return;
    const int added = mailbox_->AppendTo(*target->writer, record, copyId);
    if (added == 0) {
        target->uncommitted.push_back(move.recordNumber);
        if (++gathered_ >= kMostGathered) CommitAll();
    } else if (added == -EINVAL || added == -EMSGSIZE) {
        // One that could not be stored again stays where it is.
        ++left_;
    } else {
        mailbox_->ReportFault(target->name, added);
        GiveUp(*target);
    }
}

void MailMoving::CommitAll() {
    for (Target& target : targets_) {
        if (target.writer == nullptr || target.failed || target.uncommitted.empty()) continue;
        if (mailbox_->Commit(*target.writer, target.name) < 0) {
            GiveUp(target);
            continue;
        }
        copied_.insert(copied_.end(), target.uncommitted.begin(), target.uncommitted.end());
        target.uncommitted.clear();
    }
    gathered_ = 0;
}

void MailMoving::Copy(FolderReader& reader, std::span<const MailMove> moves) {
    MailRecord record;
    std::string_view copyIds = copyIds_;
    for (std::size_t done = 0; done < moves.size(); ++done) {
        mailbox_->ui().SetProgress(done, moves.size());
        const std::size_t end = copyIds.find('\n');
        const std::string_view copyId = copyIds.substr(0, end);
        copyIds.remove_prefix(end + 1);
        const auto condition =
            reader.ReadMail(moves[done].recordNumber, MAIL_BODY_MAX - kReadHeadroomBytes, record);
        condition == FolderReader::Condition::Whole ? CopyMail(moves[done], copyId, record)
                                                    : static_cast<void>(++left_);
    }
    CommitAll();
    std::sort(copied_.begin(), copied_.end());
}

int MailMoving::Finish() {
    bool takesEffect = false;
    const int removed = copied_.empty() ? 0 : RemoveRecords(sourceFiles_, copied_, &takesEffect);
    if (removed < 0) mailbox_->ReportFault(source_, removed);
    if (removed < 0 && !takesEffect) {
        copied_.clear();
        if (!TakeBackCopies()) mayBeTwice_ = true;
    }
    // Where they go sooner or later, a power cut may yet undo that.
    const bool isSettled = !mayBeTwice_ && !(removed < 0 && takesEffect);
    if (isNoted_ && isSettled) PendingMove::Remove(*sourceFiles_.workspace, sourceFiles_.bankDirectory);
    return removed < 0 ? -1 : 0;
}

/// False where some may be there.
bool MailMoving::TakeBackCopies() {
    bool done = true;
    for (Target& target : targets_) {
        if (target.writer != nullptr && target.writer->TakeBackAll() < 0) done = false;
    }
    return done;
}

}  // namespace postkite::store
