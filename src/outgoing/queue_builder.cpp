#include "outgoing/queue_builder.h"

#include <algorithm>
#include <cerrno>
#include <unordered_set>
#include <utility>

#include "outgoing/message_file.h"
#include "store/index_record.h"
#include "store/text_record.h"

namespace postkite::outgoing {

namespace {

constexpr char kReserved = 'Y';
/// What stands behind a body with the line end that is added to it: another one, and "/POST" with its own.
constexpr std::uint64_t kBytesBehindBody = 9;

/// Whether the session can find the mail by it, and the list of identifiers hold it.
bool IsUsable(std::string_view localId) {
    return !localId.empty() && std::none_of(localId.begin(), localId.end(),
                                            [](char byte) { return static_cast<unsigned char>(byte) < ' '; });
}

}  // namespace

Failure QueueBuilder::FileFailure(int result) const {
    if (result == 0) return {};
    return {Failure::Kind::File, result, files_.fault()};
}

Failure QueueBuilder::Build(std::string_view outbox) {
    core::WorkspaceLock lock;
    if (const int locked = mailbox_->workspace().Lock(true, lock); locked < 0)
        return {Failure::Kind::Outbox, locked, {}};
    Failure failure = CreateFiles();
    if (failure.kind == Failure::Kind::None) failure = QueueMails(outbox);
    if (failure.kind != Failure::Kind::None) return failure;
    SortPosts(posts_, order_);
    for (const Post& post : posts_)
        queue_->posts.push_back(post.mail);
    return FileFailure(files_.Finish(posts_));
}

Failure QueueBuilder::CreateFiles() {
    if (const int created = files_.CreateMailList(); created < 0)
        return {Failure::Kind::MailList, created, files_.fault()};
    return FileFailure(files_.CreateOthers());
}

Failure QueueBuilder::QueueMails(std::string_view outbox) {
    store::FolderReader reader;
    const int opened = reader.Open(mailbox_->FilesOf(outbox));
    if (opened == -ENOENT) return {};
    if (opened < 0) return {Failure::Kind::Outbox, opened, {}};
    // A mail that was sent is looked for by its identifier, and the first record that bears it is marked.
    std::unordered_set<std::string> identifiers;
    for (int number = 0;; ++number) {
        const std::string_view record = reader.IndexRecord(number);
        if (record.empty()) break;
        std::string localId(store::WithoutTrailingBlanks(FieldOf(record, store::index_field::kLocalId)));
        const bool isFirst = identifiers.insert(localId).second;
        if (store::IsDeleted(record) ||
            FieldOf(record, store::index_field::kFlags)[store::flag::kPosition8] != kReserved)
            continue;
        Failure failure = QueueMail(reader, number, std::move(localId), isFirst);
        if (failure.kind != Failure::Kind::None) return failure;
    }
    if (reader.error() < 0) return {Failure::Kind::Outbox, reader.error(), {}};
    return {};
}

Failure QueueBuilder::QueueMail(store::FolderReader& reader, int number, std::string localId, bool isFirst) {
    using Condition = store::FolderReader::Condition;
    store::MailRecord record;
    const Condition condition =
        reader.ReadMail(number, store::MAIL_BODY_MAX - store::kReadHeadroomBytes, record);
    if (reader.error() < 0) return {Failure::Kind::Outbox, reader.error(), {}};
    Outgoing outgoing;
    Refusal refusal = Refusal::None;
    if (condition == Condition::Damaged) {
        refusal = Refusal::Damaged;
    } else if (condition == Condition::Cut) {
        refusal = Refusal::Endless;
    } else if (!IsUsable(localId)) {
        refusal = Refusal::NoIdentifier;
    } else if (!isFirst) {
        refusal = Refusal::SameIdentifier;
    } else if (accepted_->contains(localId)) {
        refusal = Refusal::AlreadyTaken;
    } else {
        refusal = Prepare(record, outgoing);
    }
    if (refusal != Refusal::None) {
        unsendable_.push_back({std::move(record.subject), std::move(record.date), refusal});
        return {};
    }
    outgoing.queued.recordNumber = number;
    outgoing.queued.localId = std::move(localId);
    return Write(outgoing);
}

Refusal QueueBuilder::Prepare(store::MailRecord& record, Outgoing& outgoing) const {
    if (const Refusal refusal = ParseDestination(record.address, outgoing.destination);
        refusal != Refusal::None)
        return refusal;
    std::string signature;
    const char choice =
        record.flags.size() > store::flag::kSignature ? record.flags[store::flag::kSignature] : ' ';
    if (ReadSignature(mailbox_->workspace(), choice, signature) < 0) return Refusal::Signature;
    outgoing.body = std::move(record.body);
    outgoing.body += signature;
    if (HoldsEndOfText(outgoing.body)) return Refusal::EndOfText;
    outgoing.body += "\r\n";
    outgoing.queued.subject = SubjectToSend(record.subject);
    outgoing.queued.file = NextMessageFile();
    const bool isPost = !outgoing.destination.room.empty();
    return isPost && outgoing.queued.file.size() > kLongestPostLine ? Refusal::LongPath : Refusal::None;
}

Failure QueueBuilder::Write(Outgoing& outgoing) {
    QueuedMail& queued = outgoing.queued;
    // Only who has something to send needs the directory.
    int result = queue_->mails.empty() ? files_.RequireNoFolders(MessageDirectory()) : 0;
    if (result == 0) result = files_.AddIdentifier(queued.localId);
    if (outgoing.destination.room.empty()) {
        queued.addressees = std::move(outgoing.destination.addressees);
        if (result == 0) result = files_.AddMail(queued.addressees, queued.subject, queued.file);
    } else {
        queued.target = outgoing.destination.room;
        posts_.push_back({queued.target, queued.file, queue_->mails.size()});
    }
    if (result == 0) {
        result = files_.WriteMessageFile(queued.file, FormatMessageFile(outgoing.destination, queued.subject,
                                                                        settings_->nifFrom, outgoing.body));
    }
    if (result < 0) return FileFailure(result);
    queue_->uploadBytes += outgoing.body.size() + kBytesBehindBody;
    queue_->mails.push_back(std::move(queued));
    return {};
}

std::string_view QueueBuilder::MessageDirectory() const {
    return settings_->useHideTerm == 1 ? std::string_view(settings_->upDirectory) : kQueueDirectory;
}

std::string QueueBuilder::NextMessageFile() const {
    return std::string(MessageDirectory()) + "\\" + std::to_string(queue_->mails.size() + 1) + ".mtx";
}

void QueueBuilder::Discard() {
    queue_->mails.clear();
    queue_->posts.clear();
    queue_->uploadBytes = 0;
    files_.Discard();
}

}  // namespace postkite::outgoing
