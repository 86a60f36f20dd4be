#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/workspace.h"

namespace postkite::outgoing {

/// What has become of the mails that a session sends, in "BMTEMP.$$$\Unsure.tmp", so that none goes out twice in
/// silence: neither when the program is killed between the host's word and the mark in the Outbox, nor when the mark
/// cannot be written. Whoever has the session's lock owns the file.
///
/// All notes of a session are written before it begins; from then on single bytes are changed in place, which a full
/// disk takes as well. Operations return 0 or a negated errno value. Borrows the workspace.
class SendingNotes {
  public:
    static constexpr std::string_view kFile = "BMTEMP.$$$\\Unsure.tmp";

    /// As it stands in the file.
    enum class State : char {
        Queued = '-',
        GoingOut = '?',  ///< has begun to go out; whether the host has taken it is not known
        Accepted = '+',  ///< taken by the host, and not marked as sent yet
        Settled = '.'    ///< marked, or somebody has been told
    };
    struct Note {
        State state = State::Queued;
        std::string localId;
        std::string bank;    ///< the directory of the bank
        std::string folder;  ///< the mail's, by its base name
        std::string subject;
    };

    explicit SendingNotes(core::Workspace& workspace) : workspace_(&workspace) {}

    /// Reads the file; none is as good as an empty one. Where this fails nobody knows what has been sent.
    [[nodiscard]] int Load();

    /// Puts a note for each mail that is to go out into the file, behind those of accepted mails that have no mark yet.
    /// What becomes of the others is settled by then. Takes the working directory's lock.
    [[nodiscard]] int Begin(std::vector<Note> queued);

    /// Returns 0 when it is on the disk for good. Where it is not, the notes here have it all the same. -ENOENT for a
    /// mail without a note.
    [[nodiscard]] int Set(std::string_view localId, State state);
    /// As `Set`, where nothing is lost by a machine that loses its power: no sync.
    void Settle(std::string_view localId);

    /// Removes the file where nothing in it is accepted or going out. It stays where it could not be read.
    void Tidy();

    [[nodiscard]] const std::vector<Note>& notes() const { return notes_; }
    /// nullptr where there is none.
    [[nodiscard]] const Note* Find(std::string_view localId) const;
    /// The identifiers of accepted mails that have no mark yet.
    [[nodiscard]] std::set<std::string, std::less<>> Accepted() const;

  private:
    [[nodiscard]] int Write(std::string_view localId, State state, bool sync);

    core::Workspace* workspace_;
    std::vector<Note> notes_;
    std::vector<std::size_t> offsets_;  ///< of each note's state in the file
    bool unread_ = false;
};

}  // namespace postkite::outgoing
