#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/file_system.h"
#include "core/workspace.h"
#include "outgoing/destination.h"
#include "outgoing/posts.h"
#include "store/block_output.h"

namespace postkite::outgoing {

/// The directory of the queue; elsewhere it is spelled "BMTEMP.$$$".
inline constexpr std::string_view kQueueDirectory = "bmtemp.$$$";

/// The files of a queue while it is built. Borrows the workspace. Operations return 0 or a negated errno value,
/// and `fault` has the file's name then.
class QueueFiles {
  public:
    explicit QueueFiles(core::Workspace& workspace) : workspace_(&workspace) {}

    /// Makes the directory and "send.inf", empty.
    [[nodiscard]] int CreateMailList();
    /// Makes "mes.inf" and "MailID.Tmp", empty.
    [[nodiscard]] int CreateOthers();
    /// -EEXIST where mail folders lie in the directory that the message files are to go to: theirs are named alike,
    /// and a folder "1" would lose its mails.
    [[nodiscard]] int RequireNoFolders(std::string_view directory);

    [[nodiscard]] int AddIdentifier(std::string_view localId);
    /// The lines of a host mail in "send.inf".
    [[nodiscard]] int AddMail(const std::vector<std::string>& addressees, std::string_view subject,
                              std::string_view file);
    [[nodiscard]] int WriteMessageFile(const std::string& file, std::string_view text);
    /// Writes what is not written yet, with "mes.inf".
    [[nodiscard]] int Finish(const std::vector<Post>& posts);

    /// Removes the lists, so that no session sends half a queue or an older one.
    void Discard();

    [[nodiscard]] const std::string& fault() const { return fault_; }

  private:
    struct List {
        std::unique_ptr<core::File> file;
        store::BlockOutput output;
    };
    [[nodiscard]] int Create(std::string_view name, List& list);
    [[nodiscard]] int Fail(std::string_view name, int result);

    core::Workspace* workspace_;
    List mails_;
    List posts_;
    List identifiers_;
    std::string fault_;
};

}  // namespace postkite::outgoing
