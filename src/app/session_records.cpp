#include "app/session_records.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <utility>

#include "analyse/mail_log.h"
#include "analyse/read_conditions.h"
#include "comm/capture_logs.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/file_system.h"
#include "core/line_reader.h"
#include "store/folder_tree.h"

namespace postkite::app {

namespace {

/// The folder whose mails say what is to be downloaded.
constexpr std::string_view kDownloadFolder = "Download";

/// Holds the identifiers of the mails that have begun to go out and are not marked yet.
constexpr std::string_view kUnsureFile = "BMTEMP.$$$\\Unsure.tmp";

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
    : workspace_(&workspace), clock_(&clock), active_(active), mailbox_(&mailbox) {
}

bool SessionRecords::MarkSentIn(std::string_view folder, std::string_view localId) {
    const int recordNumber = mailbox_->FindMail(folder, localId);
    return recordNumber >= 0 && mailbox_->MarkSent(folder, recordNumber, true) == 0;
}

void SessionRecords::MailGoesOut(std::string_view localId) {
    unsure_.emplace_back(localId);
    WriteUnsure();
}

/// Where this fails the session goes on: the worst is that a killed program is silent about a mail.
void SessionRecords::WriteUnsure() {
    if (unsure_.empty()) {
        static_cast<void>(workspace_->Remove(kUnsureFile));
        return;
    }
    std::string lines;
    for (const std::string& localId : unsure_)
        lines += localId + "\r\n";
    std::unique_ptr<core::File> file;
    int result = workspace_->Open(kUnsureFile, core::OpenMode::ReadWriteOrCreate, file);
    if (result == 0) result = file->Truncate(0);
    if (result == 0) result = file->WriteAt(0, lines);
    if (result == 0) result = file->Sync();
    if (result == 0) return;
    core::LogError(*workspace_,
                   std::string(kUnsureFile) + ": " + core::DescribeError(result, core::Language::English));
}

std::vector<std::string> SessionRecords::TakeUnsure() {
    constexpr std::size_t kLongestLine = 64;
    std::vector<std::string> identifiers;
    {
        std::unique_ptr<core::File> file;
        if (workspace_->Open(kUnsureFile, core::OpenMode::Read, file) < 0) return {};
        core::LineReader reader(*file, kLongestLine);
        for (std::string localId; core::ReadLogLine(reader, localId) == 0;)
            identifiers.push_back(localId);
    }
    unsure_.clear();
    WriteUnsure();
    return identifiers;
}

void SessionRecords::MarkMailSent(std::string_view localId) {
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
    for (std::string& localId : std::exchange(sentMails_, {})) {
        if (!Mark(localId)) unmarkedMails_.push_back(std::move(localId));
    }
    if (waiting == Waiting::Yes) {
        for (const std::string& localId : std::exchange(unmarkedMails_, {})) {
            if (Mark(localId)) continue;
            ++unmarked_;
            core::LogError(*workspace_, "MarkMailSent: " + localId + " was sent and is not marked");
        }
    }
    for (const std::string& folder : std::exchange(placesRead_, {}))
        WriteLastAccess(folder);
    for (const int recordNumber : std::exchange(downloadsDone_, {}))
        static_cast<void>(mailbox_->MarkSent(kDownloadFolder, recordNumber, true));
}

bool SessionRecords::Mark(std::string_view localId) {
    const std::string outbox = active_.Outbox();
    bool marked = MarkSentIn(outbox, localId);
    if (!marked && outbox != store::kOutbox) marked = MarkSentIn(store::kOutbox, localId);
    if (marked && std::erase(unsure_, localId) > 0) WriteUnsure();
    return marked;
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
