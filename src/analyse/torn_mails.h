#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/mailbox.h"

namespace postkite::analyse {

/// The file that holds them, in the working directory. The layout is in docs/formats/torn-mails.md.
inline constexpr std::string_view kTornMailsFile = "TornMail.inf";

/// Remembers the mails that a lost line has cut, or that the host may not have deleted, until they come whole: what comes
/// then takes their place, as long as nobody has touched them. Borrows the mailbox. Hold the lock.
///
/// A body is handed in as it is stored (`MakeStorable`). Two bodies are compared without the number that the host gives a mail
/// anew in each call, and without what it asks behind a mail.
class TornMails {
  public:
    explicit TornMails(store::Mailbox& mailbox) : mailbox_(&mailbox) {}

    /// Reads the file, and those of its mails that are in the current bank and as they were stored. What cannot be read is
    /// not remembered.
    void Load();

    enum class Relation {
        None,
        HasAll,     ///< nothing in the mail that came is missing in the one that is stored
        Continues,  ///< the mail that came has all of the one that is stored, and may have more
    };
    struct Found {
        Relation relation = Relation::None;
        std::size_t entry = 0;
    };
    /// `textBytes` is how much of the body of a mail that is torn again is its text; nothing for a whole one.
    [[nodiscard]] Found Find(std::string_view body, std::optional<std::size_t> textBytes) const;

    [[nodiscard]] const std::string& FolderOf(std::size_t entry) const { return entries_[entry].folder; }

    /// Replaces the stored mail by `record`, whose localId becomes the new one. A run that is broken off before it has
    /// called `Save` can be made again: `TakeReplaced` knows the mail. -1 where it fails; the user knows.
    [[nodiscard]] int Replace(std::size_t entry, store::MailRecord& record);

    /// Whether an earlier run over this capture has put that body in the place of a torn mail. It is taken once; `folder` and
    /// `localId` are where it is.
    [[nodiscard]] bool TakeReplaced(std::string_view body, std::string& folder, std::string& localId);

    /// The mail came whole.
    void Forget(std::size_t entry) { entries_[entry].done = true; }
    /// A mail of the current bank, which need not be on the disk yet. Written at once. Of more than `kMost` the oldest is
    /// forgotten.
    static constexpr std::size_t kMost = 8;
    void Remember(std::string_view folder, std::string_view localId, std::size_t textBytes);

    /// When the capture is gone: writes what is left to remember, or removes the file.
    void Save();

  private:
    struct Entry {
        std::size_t textBytes = 0;
        std::string localId;
        std::optional<std::uint64_t> replacement;  ///< hash of the body that takes its place
        std::string path;                          ///< the folder, with its bank's directory
        std::string folder;                        ///< its base name; empty in another bank
        std::string text;
        bool usable = false;    ///< is there and as it was stored
        bool replaced = false;  ///< by an earlier run over the same capture
        bool done = false;
    };

    [[nodiscard]] bool Parse(std::string_view line, Entry& entry) const;
    void LookAt(Entry& entry);
    [[nodiscard]] static bool LookForReplacement(Entry& entry, store::FolderReader& reader);
    [[nodiscard]] int Write(bool withDone);
    [[nodiscard]] std::string BankPrefix() const;

    store::Mailbox* mailbox_;
    std::vector<Entry> entries_;
    bool fileIsThere_ = false;
};

}  // namespace postkite::analyse
