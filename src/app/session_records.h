#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "app/active_folders.h"
#include "comm/session_partners.h"
#include "core/clock.h"
#include "core/workspace.h"
#include "outgoing/send_queue.h"
#include "outgoing/sending_notes.h"
#include "store/mailbox.h"

namespace postkite::app {

/// What a session patrols: the rooms and libraries whose read conditions ask for it today, those of the tree
/// first. Nothing is downloaded or sent in binary: no list of such files is kept.
[[nodiscard]] comm::PatrolLists PatrolOfToday(const core::Workspace& workspace, const core::Clock& clock,
                                              const store::FolderTree& tree);

/// Keeps what a session has done: marks in the mailbox, dates in the read conditions. Borrows everything.
///
/// A tick must not wait. What another program keeps from being written just now is written later, by
/// `WriteWaiting`. What the host has taken stays in the sending notes until its mark is written for good.
class SessionRecords final : public comm::SessionPartners {
  public:
    SessionRecords(core::Workspace& workspace, const core::Clock& clock, const ActiveFolders& active,
                   store::Mailbox& mailbox);

    [[nodiscard]] int MailGoesOut(std::string_view localId) override;
    /// Looks in the folder that the mail was queued from, in the Outbox of the active environment, then in "Outbox".
    void MarkMailSent(std::string_view localId) override;
    void RecordLastAccess(const comm::PatrolEntry& place) override;
    [[nodiscard]] std::string LastAccess(const comm::PatrolEntry& place) override;
    void MarkDownloadDone(const comm::PatrolEntry& download) override;
    [[nodiscard]] int CountCapturedMails() override;

    /// Writes what waits, where nobody else works in the directory now; with `Waiting::Yes` when he is done.
    enum class Waiting { No, Yes };
    void WriteWaiting(Waiting waiting);

    /// Reads the notes of earlier sessions and marks the mails of this bank that the host took then. `marked` gets their
    /// subjects. Returns 0, or a negated errno value where nobody can know what was sent: nothing may be sent then.
    /// Whoever has the session's lock may call it.
    [[nodiscard]] int TakeOver(std::vector<std::string>& marked);
    /// The mails that went out in a session whose program was killed before the host had confirmed them. Told once.
    [[nodiscard]] std::vector<outgoing::SendingNotes::Note> TakeUnsure();
    /// Those that the host has taken and that have no mark, by their identifiers.
    [[nodiscard]] std::set<std::string, std::less<>> Accepted() const { return notes_.Accepted(); }
    /// Notes down what is to go out. 0, or a negated errno value: it must not go out then.
    [[nodiscard]] int Reserve(const outgoing::SendQueue& queue);
    /// The notes go where nothing in them is open.
    void Tidy() { notes_.Tidy(); }

    /// The subjects of this bank's mails that the host has taken and that could not be marked.
    [[nodiscard]] std::vector<std::string> Unmarked() const;

  private:
    enum class Marking { Done, Gone, Failed };
    [[nodiscard]] Marking Mark(std::string_view localId);
    [[nodiscard]] Marking MarkSentIn(std::string_view folder, std::string_view localId);
    void TryToMark(const std::string& localId, bool forTheLastTime);
    [[nodiscard]] bool IsOfThisBank(const outgoing::SendingNotes::Note& note) const;
    void WriteLastAccess(const std::string& folder);

    core::Workspace* workspace_;
    const core::Clock* clock_;
    ActiveFolders active_;
    store::Mailbox* mailbox_;
    std::vector<std::string> sentMails_;  ///< identifiers of mails that have gone out and have no mark yet
    std::vector<std::string> unmarkedMails_;  ///< those of them that could not be marked
    outgoing::SendingNotes notes_;
    std::vector<std::string> placesRead_;  ///< folder names whose last access is not written yet
    std::vector<int> downloadsDone_;       ///< record numbers in the folder "Download"
};

}  // namespace postkite::app
