#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/active_folders.h"
#include "comm/session_partners.h"
#include "core/clock.h"
#include "core/workspace.h"
#include "store/mailbox.h"

namespace postkite::app {

/// What a session patrols: the rooms and libraries whose read conditions ask for it today, those of the tree
/// first. Nothing is downloaded or sent in binary: no list of such files is kept.
[[nodiscard]] comm::PatrolLists PatrolOfToday(const core::Workspace& workspace, const core::Clock& clock,
                                              const store::FolderTree& tree);

/// Keeps what a session has done: marks in the mailbox, dates in the read conditions. Borrows everything.
///
/// A tick must not wait. What another program keeps from being written just now is written later, by
/// `WriteWaiting`.
class SessionRecords final : public comm::SessionPartners {
  public:
    SessionRecords(core::Workspace& workspace, const core::Clock& clock, const ActiveFolders& active,
                   store::Mailbox& mailbox);

    /// Written to "BMTEMP.$$$\Unsure.tmp", which stays there only where the program is killed.
    void MailGoesOut(std::string_view localId) override;
    /// Looks in the Outbox of the active environment, then in "Outbox".
    void MarkMailSent(std::string_view localId) override;
    void RecordLastAccess(const comm::PatrolEntry& place) override;
    [[nodiscard]] std::string LastAccess(const comm::PatrolEntry& place) override;
    void MarkDownloadDone(const comm::PatrolEntry& download) override;
    [[nodiscard]] int CountCapturedMails() override;

    /// Writes what waits, where nobody else works in the directory now; with `Waiting::Yes` when he is done.
    enum class Waiting { No, Yes };
    void WriteWaiting(Waiting waiting);

    /// The identifiers of mails that went out in a session whose program was killed before they were marked. Told once.
    [[nodiscard]] std::vector<std::string> TakeUnsure();

    /// Mails that could not be marked sent since the last `BeginSession`; "error.log" names them.
    [[nodiscard]] int unmarked() const { return unmarked_; }
    void BeginSession() { unmarked_ = 0; }

  private:
    void WriteUnsure();
    [[nodiscard]] bool Mark(std::string_view localId);
    [[nodiscard]] bool MarkSentIn(std::string_view folder, std::string_view localId);
    void WriteLastAccess(const std::string& folder);

    core::Workspace* workspace_;
    const core::Clock* clock_;
    ActiveFolders active_;
    store::Mailbox* mailbox_;
    std::vector<std::string> sentMails_;  ///< identifiers of mails that have gone out and have no mark yet
    std::vector<std::string> unmarkedMails_;  ///< those of them that could not be marked
    std::vector<std::string> placesRead_;     ///< folder names whose last access is not written yet
    std::vector<int> downloadsDone_;          ///< record numbers in the folder "Download"
    std::vector<std::string> unsure_;         ///< what "Unsure.tmp" holds
    int unmarked_ = 0;
};

}  // namespace postkite::app
