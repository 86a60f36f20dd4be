#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "core/clock.h"
#include "core/time_stamp.h"
#include "core/user_interface.h"
#include "core/workspace.h"
#include "store/folder_files.h"
#include "store/folder_marker.h"
#include "store/folder_reader.h"
#include "store/folder_writer.h"
#include "store/mail_record.h"

namespace postkite::store {

struct TextCompaction;

/// The mails of the current bank. A folder is named by its file base name, a mail by its record number, its
/// place in the list counted from 0. One a program. Borrows what it is made from.
///
/// Every operation opens the folder's files, does its work and closes them. For many mails at once take a
/// reader, writer or marker, or the operations that take several numbers.
///
/// Operations return 0 or -1 unless stated, and have told the user when a disk fault is why; a mail that is
/// not there is no fault.
class Mailbox {
  public:
    /// `programState` is the directory that holds the clipboard folder, outside the working directory.
    Mailbox(core::Workspace& workspace, core::Workspace& programState, core::UserInterface& ui,
            const core::Clock& clock, core::IdentifierMaker& identifiers);
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    /// The directory of the current bank, relative to the working directory; empty for the working directory
    /// itself.
    [[nodiscard]] const std::string& bankDirectory() const { return bankDirectory_; }
    void SetBankDirectory(std::string_view directory) { bankDirectory_ = directory; }

    /// While on, every mail goes to the folder "server", as an entry of the list of mails kept on the host.
    void SetServerListMode(bool on) { serverListMode_ = on; }

    /// The folder that mails for `folder` are written to.
    [[nodiscard]] std::string_view FolderWritten(std::string_view folder) const;

    /// The folder that a mail was last appended to.
    [[nodiscard]] const std::string& lastWrittenFolder() const { return lastWrittenFolder_; }

    [[nodiscard]] core::Workspace& workspace() { return *workspace_; }
    [[nodiscard]] core::UserInterface& ui() { return *ui_; }
    [[nodiscard]] core::IdentifierMaker& identifiers() { return *identifiers_; }
    [[nodiscard]] FolderFiles FilesOf(std::string_view folder) const;

    /// Opens a folder for reading, wherever a renaming that goes on has brought its files. As `FolderReader::Open`, and tells
    /// nobody.
    [[nodiscard]] int OpenReader(FolderReader& reader, std::string_view folder) const;

    /// Whether a folder of that base name can have files: no separator, nothing that no file name holds.
    [[nodiscard]] static bool IsUsableName(std::string_view folder);

    /// Opens a folder to append many mails; settles a move that it is in, which may change the numbers of
    /// records. nullptr when that fails; the user knows, and `error` gets the negated errno value.
    [[nodiscard]] std::unique_ptr<FolderWriter> OpenWriter(std::string_view folder, int* error = nullptr);
    /// As `AppendMail` at the end of the list, in an open writer of that folder. `localId` as
    /// `FolderWriter::Append` has it.
    [[nodiscard]] int AppendTo(FolderWriter& writer, MailRecord& record, std::string_view localId = {});
    /// Commits; tells the user and "error.log" when it fails.
    [[nodiscard]] int Commit(FolderWriter& writer, std::string_view folder);

    /// Writes a mail: at the end of the list for `recordNumber` -1, else in the place of that record. The
    /// record is changed as it is stored.
    [[nodiscard]] int AppendMail(std::string_view folder, MailRecord& record, int recordNumber);

    /// Writes the record in the place of the one that bears its localId; `recordNumber` is not looked at.
    /// Does nothing where none does. 0 as well then.
    [[nodiscard]] int ReplaceMail(std::string_view folder, int recordNumber, MailRecord& record);

    /// Reads a whole mail. `mode` 1 reads a short body. A damaged mail gives -1 and what the index knows of
    /// it.
    [[nodiscard]] int ReadMail(std::string_view folder, int recordNumber, MailRecord& record, int mode);

    [[nodiscard]] int ReadListEntry(std::string_view folder, int recordNumber, MailListEntry& entry);

    /// The first record that bears the identifier, or -1.
    [[nodiscard]] int FindMail(std::string_view folder, std::string_view localId);
    /// The same, marked deleted.
    [[nodiscard]] int FindAndDeleteMail(std::string_view folder, std::string_view localId);

    /// 0 for a folder without an index; -1 when it cannot be read.
    [[nodiscard]] int CountMails(std::string_view folder);

    [[nodiscard]] int SetFlag(std::string_view folder, int recordNumber, std::size_t position,
                              char character);
    [[nodiscard]] int SetRead(std::string_view folder, int recordNumber, bool read);
    [[nodiscard]] int SetPosition8(std::string_view folder, int recordNumber, bool on);
    [[nodiscard]] int SetCharacter5(std::string_view folder, int recordNumber, char character);
    [[nodiscard]] int SetDigit(std::string_view folder, int recordNumber, int value);
    [[nodiscard]] int MarkSent(std::string_view folder, int recordNumber, bool sent);
    [[nodiscard]] int MarkDeleted(std::string_view folder, int recordNumber);

    /// Settles a move of mails in the bank that a killed program has left half done; to be called under the
    /// lock before mails are chosen for another. -1 where it cannot be settled, and the user knows.
    [[nodiscard]] int SettleMoves();

    /// Does `mark` with an open marker of the folder and commits: many flags with one open and one sync.
    /// `mark` returns 0 or a negated errno value, which ends the work and is returned; what was marked before
    /// stays.
    [[nodiscard]] int MarkMany(std::string_view folder, const std::function<int(FolderMarker&)>& mark);

    /// Takes the deleted records out of the list.
    [[nodiscard]] int CompactIndex(std::string_view folder);
    /// Deletes mails for good, those with these numbers in rising order, in one step: they and the deleted
    /// records leave the list.
    [[nodiscard]] int RemoveMails(std::string_view folder, std::span<const int> recordNumbers);
    /// Takes what no record points to out of the text. `onMail` is called behind each mail, for the progress
    /// bar.
    [[nodiscard]] int CompactText(std::string_view folder, const std::function<void()>& onMail);

    /// Makes an empty folder. 0, also when there are files already, or 2 when that fails.
    [[nodiscard]] int CreateFolderFiles(std::string_view newName);
    /// Gives a folder's files, and those of every folder below it, another base name.
    [[nodiscard]] int RenameFolderFiles(std::string_view oldName, std::string_view newName);

    [[nodiscard]] int DeleteClipboardFiles();

    /// Read a mail of a folder in one of the two older layouts.
    [[nodiscard]] int ReadMailV1(std::string_view folder, int recordNumber, MailRecord& record);
    [[nodiscard]] int ReadMailV2(std::string_view folder, int recordNumber, MailRecord& record);

    /// Tells the user that something could not be done with a folder, and why, and puts it in "error.log".
    void ReportFault(std::string_view folder, int error);

  private:
    [[nodiscard]] std::unique_ptr<FolderWriter> OpenWriterOf(std::string_view target, int* error);
    /// In server-list mode: the size text and the flag of an entry of that list.
    void PrepareForServerList(MailRecord& record) const;
    /// False where there is no folder and, when the user has been told, where it cannot be read.
    [[nodiscard]] bool OpenForReading(FolderReader& reader, std::string_view folder);
    void ReportLostTexts(std::string_view folder, const TextCompaction& done);

    core::Workspace* workspace_;
    core::Workspace* programState_;
    core::UserInterface* ui_;
    const core::Clock* clock_;
    core::IdentifierMaker* identifiers_;
    std::string bankDirectory_;
    std::string lastWrittenFolder_;
    bool serverListMode_ = false;
    std::function<void(const std::string&)> onPutAside_;
};

}  // namespace postkite::store
