#include "app/session_records.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

#include "analyse/mail_log.h"
#include "analyse/read_conditions.h"
#include "comm/capture_logs.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/file_system.h"
#include "store/folder_reader.h"
#include "store/folder_tree.h"
#include "store/index_record.h"

namespace postkite::app {

namespace {

using State = outgoing::SendingNotes::State;

/// The folder whose mails say what is to be downloaded.
constexpr std::string_view kDownloadFolder = "Download";

/// The name of a room's or library's folder, from its entry in a patrol list or from a queued message's target: "mes3" and
/// "MES 3" are one room.
std::string FolderOf(const comm::PatrolEntry& place) {
    std::string name = place.forum + ",";
    std::copy_if(place.place.begin(), place.place.end(), std::back_inserter(name),
                 [](char byte) { return byte != ' '; });
    std::transform(name.begin() + static_cast<std::ptrdiff_t>(place.forum.size()), name.end(),
                   name.begin() + static_cast<std::ptrdiff_t>(place.forum.size()), [](char byte) {
                       return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 0x20) : byte;
                   });
    return name;
}

}  // namespace

comm::PatrolLists PatrolOfToday(const core::Workspace& workspace, const core::Clock& clock,
                                const store::FolderTree& tree) {
    comm::PatrolLists lists;
    for (const std::string& folder : analyse::ForumFoldersOf(workspace, tree)) {
        std::string lastAccess;
        analyse::ForumPlace place;
        if (!analyse::ParseForumPlace(folder, place) ||
            analyse::ShouldReadFolder(workspace, clock, folder, lastAccess) == 0)
            continue;
        comm::PatrolEntry entry;
        entry.forum = place.forum;
        entry.place = (place.library ? "lib" : "mes") + std::to_string(place.number);
        (place.library ? lists.libraries : lists.rooms).push_back(std::move(entry));
    }
    return lists;
}

SessionRecords::SessionRecords(core::Workspace& workspace, const core::Clock& clock,
                               const ActiveFolders& active, store::Mailbox& mailbox)
    : workspace_(&workspace), clock_(&clock), active_(active), mailbox_(&mailbox), notes_(workspace) {
}

int SessionRecords::MailGoesOut(std::string_view localId) {
    return notes_.Set(localId, State::GoingOut);
}

bool SessionRecords::IsOfThisBank(const outgoing::SendingNotes::Note& note) const {
    return note.bank == mailbox_->bankDirectory();
}

int SessionRecords::TakeOver(std::vector<std::string>& marked) {
    sentMails_.clear();
    unmarkedMails_.clear();
    if (const int loaded = notes_.Load(); loaded < 0) return loaded;
    const std::vector<outgoing::SendingNotes::Note> notes = notes_.notes();
    for (const auto& note : notes) {
        // Another bank's mails are not in the way here.
        if (note.state != State::Accepted || !IsOfThisBank(note)) continue;
        TryToMark(note.localId, true);
        if (notes_.Find(note.localId)->state == State::Settled) marked.push_back(note.subject);
    }
    return 0;
}

std::vector<outgoing::SendingNotes::Note> SessionRecords::TakeUnsure() {
    std::vector<outgoing::SendingNotes::Note> unsure;
    std::copy_if(notes_.notes().begin(), notes_.notes().end(), std::back_inserter(unsure),
                 [](const auto& note) { return note.state == State::GoingOut; });
    for (const auto& note : unsure)
        notes_.Settle(note.localId);
    return unsure;
}

int SessionRecords::Reserve(const outgoing::SendQueue& queue) {
    std::vector<outgoing::SendingNotes::Note> notes;
    for (const outgoing::QueuedMail& mail : queue.mails)
        notes.push_back(
            {State::Queued, mail.localId, mailbox_->bankDirectory(), active_.Outbox(), mail.subject});
    return notes_.Begin(std::move(notes));
}

std::vector<std::string> SessionRecords::Unmarked() const {
    std::vector<std::string> subjects;
    for (const auto& note : notes_.notes()) {
        if (note.state == State::Accepted && IsOfThisBank(note)) subjects.push_back(note.subject);
    }
    return subjects;
}

/// The note comes first. Where it fails the mark is tried all the same; without either the next session finds a mail that
/// was going out, and tells.
void SessionRecords::MarkMailSent(std::string_view localId) {
    if (const int noted = notes_.Set(localId, State::Accepted); noted < 0) {
        core::LogError(*workspace_, std::string(outgoing::SendingNotes::kFile) + ": " +
                                        core::DescribeError(noted, core::Language::English));
    }
    sentMails_.emplace_back(localId);
    WriteWaiting(Waiting::No);
}

void SessionRecords::RecordLastAccess(const comm::PatrolEntry& place) {
    placesRead_.push_back(FolderOf(place));
    WriteWaiting(Waiting::No);
}

std::string SessionRecords::LastAccess(const comm::PatrolEntry& place) {
    std::string date;
    static_cast<void>(analyse::GetReadCondition(*workspace_, FolderOf(place), date));
    std::erase(date, '/');
    return date;
}

void SessionRecords::MarkDownloadDone(const comm::PatrolEntry& download) {
    downloadsDone_.push_back(download.recordNumber);
    WriteWaiting(Waiting::No);
}

void SessionRecords::WriteWaiting(Waiting waiting) {
    const bool triesAgain = waiting == Waiting::Yes && !unmarkedMails_.empty();
    if (sentMails_.empty() && placesRead_.empty() && downloadsDone_.empty() && !triesAgain) return;
    // Nobody takes records out of the list between the search and the mark. Where the lock fails the mark does too, and
    // says so.
    core::WorkspaceLock lock;
    if (workspace_->Lock(waiting == Waiting::Yes, lock) == -EWOULDBLOCK) return;
    // A mark that fails is tried once more when the session is over, and not at every tick.
    for (const std::string& localId : std::exchange(sentMails_, {}))
        TryToMark(localId, false);
    if (waiting == Waiting::Yes) {
        for (const std::string& localId : std::exchange(unmarkedMails_, {}))
            TryToMark(localId, true);
    }
    for (const std::string& folder : std::exchange(placesRead_, {}))
        WriteLastAccess(folder);
    for (const int recordNumber : std::exchange(downloadsDone_, {}))
        static_cast<void>(mailbox_->MarkSent(kDownloadFolder, recordNumber, true));
}

void SessionRecords::TryToMark(const std::string& localId, bool forTheLastTime) {
    const Marking marking = Mark(localId);
    if (marking != Marking::Failed) {
        notes_.Settle(localId);
        if (marking == Marking::Done) return;
        core::LogError(*workspace_, "MarkMailSent: " + localId + " was sent and is no longer in the Outbox");
    } else if (forTheLastTime) {
        core::LogError(*workspace_, "MarkMailSent: " + localId + " was sent and is not marked");
    } else {
        unmarkedMails_.push_back(localId);
    }
}

SessionRecords::Marking SessionRecords::Mark(std::string_view localId) {
    const outgoing::SendingNotes::Note* note = notes_.Find(localId);
    if (note != nullptr && !note->folder.empty()) return MarkSentIn(note->folder, localId);
    const std::string outbox = active_.Outbox();
    const Marking marking = MarkSentIn(outbox, localId);
    return marking == Marking::Done || outbox == store::kOutbox ? marking
                                                                : MarkSentIn(store::kOutbox, localId);
}

/// A list that is missing while its text is there may come back, and the mail with it.
SessionRecords::Marking SessionRecords::MarkSentIn(std::string_view folder, std::string_view localId) {
    int recordNumber = -1;
    {
        const store::FolderFiles files = mailbox_->FilesOf(folder);
        store::FolderReader reader;
        if (const int opened = reader.Open(files); opened < 0) {
            core::EntryKind text{};
            const bool isGone = opened == -ENOENT && workspace_->Inspect(files.text, text) == 0 &&
                                text == core::EntryKind::Missing;
            return isGone ? Marking::Gone : Marking::Failed;
        }
        recordNumber = reader.FindMail(localId);
        if (reader.error() < 0) return Marking::Failed;
        if (recordNumber < 0 || store::IsDeleted(reader.IndexRecord(recordNumber))) return Marking::Gone;
    }
    return mailbox_->MarkSent(folder, recordNumber, true) == 0 ? Marking::Done : Marking::Failed;
}

/// A date that is not written only means that the place is read once more.
void SessionRecords::WriteLastAccess(const std::string& folder) {
    const int written = analyse::RecordLastAccess(*workspace_, *clock_, folder);
    if (written == 0) return;
    core::LogError(*workspace_, "RecordLastAccess: " + folder + ": " +
                                    core::DescribeError(written, core::Language::English));
}

int SessionRecords::CountCapturedMails() {
    return analyse::CountCapturedMails(*workspace_, comm::kMailLogFile);
}

}  // namespace postkite::app
