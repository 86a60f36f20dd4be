#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/file_system.h"
#include "store/folder_reader.h"
#include "store/folder_tree.h"
#include "store/mailbox.h"

namespace postkite::analyse {

/// What stands behind the name of a capture in the name of its part file. The part file goes where the capture goes.
inline constexpr std::string_view kPartSuffix = ".part";

/// How far the analysis of a capture has got, kept beside it in "`path`.part", so that an analysis that was broken off goes
/// on where it was and stores no mail twice. The layout is in docs/formats/captures.md.
///
/// Two things are known of a capture that has one: the mails before `offset` are all stored; and those behind it went to
/// the folders listed, behind the record that was their last, and may have been moved from there since. Borrows the mailbox. Operations return 0
/// or a negated errno value. Hold the lock.
class CapturePart {
  public:
    CapturePart(store::Mailbox& mailbox, std::string_view path);

    /// Reads the part file where there is one of this very capture, else begins anew.
    [[nodiscard]] int Load(core::File& capture);

    [[nodiscard]] std::uint64_t offset() const { return offset_; }
    /// The mails before it.
    [[nodiscard]] int mails() const { return mails_; }

    /// Looks for the mails behind `offset` that are in the listed folders, and among what the tree's other folders have got
    /// since.
    [[nodiscard]] int FindStored(const store::FolderTree& tree);

    /// Whether mails were found there that nobody has taken.
    [[nodiscard]] bool hasStored() const { return storedLeft_ > 0; }
    /// Whether one of them has this body, as it is stored. Each is taken once.
    [[nodiscard]] bool TakeStored(std::string_view body);

    /// Lists a folder that is going to get a mail.
    [[nodiscard]] int AddFolder(std::string_view folder);

    /// Everything before `offset` is in its folder for good, and nobody has to be found any more. Where this fails the file
    /// says what it said before.
    [[nodiscard]] int Advance(std::uint64_t offset, int mails);

    void Remove();

  private:
    struct ListedFolder {
        std::string name;  ///< with its bank's directory
        int records = 0;
        std::string lastIdentifier;  ///< of the last of them; empty where there is none
    };

    [[nodiscard]] bool Parse(std::string_view bytes);
    [[nodiscard]] std::string Format() const;
    [[nodiscard]] int LookAt(ListedFolder& folder);
    [[nodiscard]] int FindStoredIn(const ListedFolder& folder);
    [[nodiscard]] int FindMovedTo(const std::string& name, std::string_view since);
    void AddStored(store::FolderReader& reader, int number);
    [[nodiscard]] std::string PathOf(std::string_view folder) const;
    [[nodiscard]] bool IsListed(std::string_view name) const;

    store::Mailbox* mailbox_;
    std::string fileName_;
    std::string fingerprint_;
    std::uint64_t captureBytes_ = 0;
    std::uint64_t offset_ = 0;
    int mails_ = 0;
    std::vector<ListedFolder> folders_;
    std::vector<std::uint64_t> stored_;  ///< hashes of bodies, in order
    std::vector<std::uint32_t> taken_;   ///< of equal hashes, at the first of them
    std::size_t storedLeft_ = 0;
};

}  // namespace postkite::analyse
