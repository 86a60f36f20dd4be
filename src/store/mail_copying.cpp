#include "store/mail_copying.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "store/conversion.h"
#include "store/index_record.h"
#include "store/text_record.h"

namespace postkite::store {

namespace {

/// Index records wait in memory for their texts to be on the disk; no more than these wait, however many folders they are
/// for.
constexpr std::size_t kMostGathered = 2 * 1024 * 1024 / kIndexRecordBytes;

}  // namespace

MailCopying::MailCopying(Mailbox& mailbox, std::span<const std::string> targets) : mailbox_(&mailbox) {
    for (const std::string& name : targets)
        targets_.push_back({name, nullptr, targets_.size(), false, false, {}});
}

void MailCopying::Prepare(int number) {
    Target& target = targets_[static_cast<std::size_t>(number)];
    if (!std::exchange(target.prepared, true) && ConvertFolder(*mailbox_, target.name) < 0) GiveUp(target);
}

/// The target that takes the mails for `number`; nullptr where it has failed. Two names can mean the same files.
MailCopying::Target* MailCopying::OpenTarget(int number) {
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

void MailCopying::GiveUp(Target& target) {
    failed_ = target.failed = true;
    target.writer.reset();
    gathered_ -= target.uncommitted.size();
    target.uncommitted.clear();
}

void MailCopying::CopyMail(const MailMove& move, MailRecord& record) {
    Target* const target = OpenTarget(move.target);
    if (target == nullptr) return;
    const int added = mailbox_->AppendTo(*target->writer, record);
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

void MailCopying::CommitAll() {
    for (Target& target : targets_) {
        if (target.writer == nullptr || target.uncommitted.empty()) continue;
        if (mailbox_->Commit(*target.writer, target.name) < 0) {
            GiveUp(target);
            continue;
        }
        copied_.insert(copied_.end(), target.uncommitted.begin(), target.uncommitted.end());
        target.uncommitted.clear();
    }
    gathered_ = 0;
}

void MailCopying::Run(FolderReader& reader, std::span<const MailMove> moves) {
    MailRecord record;
    for (std::size_t done = 0; done < moves.size(); ++done) {
        mailbox_->ui().SetProgress(done, moves.size());
        const auto condition =
            reader.ReadMail(moves[done].recordNumber, MAIL_BODY_MAX - kReadHeadroomBytes, record);
        condition == FolderReader::Condition::Whole ? CopyMail(moves[done], record)
                                                    : static_cast<void>(++left_);
    }
    CommitAll();
    for (Target& target : targets_)
        target.writer.reset();
}

std::vector<int> MailCopying::TakeCopied() {
    std::sort(copied_.begin(), copied_.end());
    return std::move(copied_);
}

}  // namespace postkite::store
