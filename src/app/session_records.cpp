#include "app/session_records.h"

#include <cerrno>
#include <utility>

#include "app/captured_mails.h"
#include "core/error_log.h"
#include "store/folder_tree.h"

namespace postkite::app {

SessionRecords::SessionRecords(core::Workspace& workspace, const core::Settings& settings,
                               const core::Environments& environments, store::Mailbox& mailbox)
    : workspace_(&workspace), settings_(&settings), environments_(&environments), mailbox_(&mailbox) {
}

std::string_view SessionRecords::Outbox() const {
    const std::int32_t number = settings_->currentId;
    const auto slot = static_cast<std::size_t>(number);
    if (number < 0 || slot >= core::kEnvironmentCount) return store::kOutbox;
    const std::string& folder = environments_->entries[slot].outbox;
    return store::Mailbox::IsUsableName(folder) ? std::string_view(folder) : store::kOutbox;
}

bool SessionRecords::MarkSentIn(std::string_view folder, std::string_view localId) {
    const int recordNumber = mailbox_->FindMail(folder, localId);
    return recordNumber >= 0 && mailbox_->MarkSent(folder, recordNumber, true) == 0;
}

void SessionRecords::MarkMailSent(std::string_view localId) {
    waiting_.emplace_back(localId);
    SetWaitingMarks(Waiting::No);
}

void SessionRecords::SetWaitingMarks(Waiting waiting) {
    if (waiting_.empty()) return;
    // Nobody takes records out of the list between the search and the mark. Where the lock fails the mark does too, and
    // says so.
    core::WorkspaceLock lock;
    if (workspace_->Lock(waiting == Waiting::Yes, lock) == -EWOULDBLOCK) return;
    for (const std::string& localId : std::exchange(waiting_, {}))
        Mark(localId);
}

void SessionRecords::Mark(std::string_view localId) {
    const std::string_view outbox = Outbox();
    bool marked = MarkSentIn(outbox, localId);
    if (!marked && outbox != store::kOutbox) marked = MarkSentIn(store::kOutbox, localId);
    if (marked) return;
    ++unmarked_;
    core::LogError(*workspace_, "MarkMailSent: " + std::string(localId) + " was sent and is not marked");
}

// The files that say which places to read will keep this date.
void SessionRecords::RecordLastAccess(const comm::PatrolEntry&) {
}

std::string SessionRecords::LastAccess(const comm::PatrolEntry&) {
    return {};
}

// Waits for the list of downloads, which says what is done with its mails.
void SessionRecords::MarkDownloadDone(const comm::PatrolEntry&) {
}

int SessionRecords::CountCapturedMails() {
    return app::CountCapturedMails(*workspace_);
}

}  // namespace postkite::app
