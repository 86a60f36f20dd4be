#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/settings.h"
#include "core/time_stamp.h"
#include "core/workspace.h"
#include "outgoing/posts.h"
#include "store/mailbox.h"

/// What waits in the Outbox, as files that a session uploads.
namespace postkite::outgoing {

/// A mail of the Outbox that was put into the queue.
struct QueuedMail {
    int recordNumber;  ///< in the Outbox when the queue was built
    std::string localId;
    std::string subject;                  ///< as it goes out
    std::vector<std::string> addressees;  ///< of a host mail, as behind "TO:"; empty for a forum message
    std::string target;                   ///< of a forum message, "%s,MES %d"; empty for a host mail
    std::string file;                     ///< path of the message file
};

struct SendQueue {
    std::vector<QueuedMail> mails;   ///< in queue order: entry n has message file n + 1
    std::vector<std::size_t> posts;  ///< the forum messages among them, in the order of "mes.inf"
    std::uint64_t uploadBytes =
        0;                 ///< for the progress bar: what stands in the message files from the bodies on
    bool refused = false;  ///< the queue could not be built, as opposed to: there is nothing to send
};

/// Makes the upload files of every mail of `outbox` that is reserved for sending, as "bmtemp.$$$\send.inf",
/// "mes.inf", "MailID.Tmp" and "%d.mtx". Deleted mails are left out. A mail that cannot be sent (`Refusal`) is
/// named to the user, in a message for all of them and in "error.log", and the others are queued. The Outbox is
/// not changed, but for one of an older layout, which is converted if the user wants it. Nobody else may have a
/// session meanwhile. Takes the lock. `accepted` are the identifiers of mails that the host has taken and that have
/// no mark: one of them that is still reserved is refused like those that cannot be sent.
///
/// Returns 0 when at least one mail was queued, else -1, and the user knows why: in an unattended program
/// (`AUTOMODE`) that nothing was reserved goes unsaid, and what cannot be sent is in "error.log" alone. Where it
/// is refused the lists of mails and forum messages, an older queue's too, are gone.
[[nodiscard]] int BuildSendQueue(store::Mailbox& mailbox, const core::Settings& settings,
                                 std::string_view outbox, PostOrder order, SendQueue& queue,
                                 const std::set<std::string, std::less<>>& accepted = {});

/// Line `index`, from 0, of "bmtemp.$$$\MailID.tmp": the identifier of the mail in message file `index` + 1.
/// Empty where there is no such line or file.
[[nodiscard]] std::string QueuedMailId(const core::Workspace& workspace, int index);

/// Deletes "0.mtx", "1.mtx" and so on up to "49.mtx" in the working directory itself, until one cannot be deleted.
/// The queue numbers its files from 1 and keeps them elsewhere, so this deletes nothing of it: it is kept as it
/// has always been. With a bank in the working directory a folder could be called "0": ask yourself twice.
void RemoveMessageFiles(core::Workspace& workspace);

/// A new mail identifier, "%s-%d-%d".
void MakeMailId(core::IdentifierMaker& identifiers, std::string& buffer);

}  // namespace postkite::outgoing
