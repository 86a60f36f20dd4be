#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "comm/session_partners.h"
#include "core/environments.h"
#include "core/settings.h"
#include "core/workspace.h"
#include "store/mailbox.h"

namespace postkite::app {

/// Puts into the mailbox what a session has done. Borrows everything.
///
/// Rooms, libraries and downloads are on no list yet: what says which of them to read is not built. A session
/// has empty patrol lists so far, and the three operations about them are never called.
class SessionRecords final : public comm::SessionPartners {
  public:
    SessionRecords(core::Workspace& workspace, const core::Settings& settings,
                   const core::Environments& environments, store::Mailbox& mailbox);

    /// Looks in the outgoing folder of the active host, then in "Outbox". While another program works on the mail, the
    /// mark waits: a tick must not.
    void MarkMailSent(std::string_view localId) override;
    void RecordLastAccess(const comm::PatrolEntry& place) override;
    [[nodiscard]] std::string LastAccess(const comm::PatrolEntry& place) override;
    void MarkDownloadDone(const comm::PatrolEntry& download) override;
    [[nodiscard]] int CountCapturedMails() override;

    /// Sets the marks that wait, where nobody else works on the mail now; with `Waiting::Yes` when he is done.
    enum class Waiting { No, Yes };
    void SetWaitingMarks(Waiting waiting);

    /// Mails that could not be marked sent since the last `BeginSession`; "error.log" names them.
    [[nodiscard]] int unmarked() const { return unmarked_; }
    void BeginSession() { unmarked_ = 0; }

  private:
    [[nodiscard]] std::string_view Outbox() const;
    void Mark(std::string_view localId);
    [[nodiscard]] bool MarkSentIn(std::string_view folder, std::string_view localId);

    core::Workspace* workspace_;
    const core::Settings* settings_;
    const core::Environments* environments_;
    store::Mailbox* mailbox_;
    std::vector<std::string> waiting_;  ///< identifiers of mails that have gone out and have no mark yet
    int unmarked_ = 0;
};

}  // namespace postkite::app
