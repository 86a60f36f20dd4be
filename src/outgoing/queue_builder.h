#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/settings.h"
#include "outgoing/destination.h"
#include "outgoing/queue_files.h"
#include "outgoing/send_queue.h"
#include "store/folder_reader.h"
#include "store/mailbox.h"

namespace postkite::outgoing {

/// A reserved mail that stays.
struct Unsendable {
    std::string subject;
    std::string date;
    Refusal refusal;
};

/// What keeps a queue from being built.
struct Failure {
    enum class Kind { None, MailList, File, Outbox };
    Kind kind = Kind::None;
    int error = 0;     ///< a negated errno value
    std::string file;  ///< for `File`
};

/// One building of the queue: reads, checks and writes, and says nothing. Holds the lock only while `Build` runs.
/// Borrows everything.
class QueueBuilder {
  public:
    QueueBuilder(store::Mailbox& mailbox, const core::Settings& settings, PostOrder order,
                 const std::set<std::string, std::less<>>& accepted, SendQueue& queue)
        : mailbox_(&mailbox),
          settings_(&settings),
          order_(order),
          accepted_(&accepted),
          queue_(&queue),
          files_(mailbox.workspace()) {}

    [[nodiscard]] Failure Build(std::string_view outbox);

    /// As `QueueFiles::Discard`, and nothing is queued.
    void Discard();

    [[nodiscard]] const std::vector<Unsendable>& unsendable() const { return unsendable_; }

  private:
    /// What a mail becomes.
    struct Outgoing {
        Destination destination;
        QueuedMail queued;
        std::string body;
    };

    [[nodiscard]] Failure CreateFiles();
    [[nodiscard]] Failure QueueMails(std::string_view outbox);
    /// Reads a reserved mail and puts it into the queue or among those that stay.
    [[nodiscard]] Failure QueueMail(store::FolderReader& reader, int number, std::string localId,
                                    bool isFirst);
    /// Checks everything, so that nothing of a mail is written that does not go out.
    [[nodiscard]] Refusal Prepare(store::MailRecord& record, Outgoing& outgoing) const;
    [[nodiscard]] Failure Write(Outgoing& outgoing);
    /// The external terminal program's upload directory where that program is used.
    [[nodiscard]] std::string_view MessageDirectory() const;
    [[nodiscard]] std::string NextMessageFile() const;
    [[nodiscard]] Failure FileFailure(int result) const;

    store::Mailbox* mailbox_;
    const core::Settings* settings_;
    PostOrder order_;
    const std::set<std::string, std::less<>>* accepted_;  ///< by the host, and without a mark
    SendQueue* queue_;
    QueueFiles files_;
    std::vector<Post> posts_;
    std::vector<Unsendable> unsendable_;
};

}  // namespace postkite::outgoing
