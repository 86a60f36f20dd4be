#include "store/mailbox.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <new>

#include "core/error_log.h"
#include "core/error_text.h"
#include "core/letter_case.h"
#include "core/shift_jis.h"
#include "store/compaction.h"
#include "store/folder_renaming.h"
#include "store/older_layouts.h"
#include "store/pending_move.h"
#include "store/recovery.h"

namespace postkite::store {

using namespace core::literals;

namespace {

constexpr std::string_view kServerFolder = "server";

/// "%4d Kbyte" of the length of the body from its fifth byte on.
std::string ServerListSize(std::string_view body) {
    constexpr std::size_t kUncountedBytes = 4;
    const std::size_t counted = body.size() - std::min(body.size(), kUncountedBytes);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%4zu Kbyte", counted / 1000 + 1);
    return text.data();
}

std::size_t BodyLimit(int mode) {
    constexpr int kShortMode = 1;
    return (mode == kShortMode ? kShortReadBytes : MAIL_BODY_MAX) - kReadHeadroomBytes;
}

}  // namespace

Mailbox::Mailbox(core::Workspace& workspace, core::Workspace& programState, core::UserInterface& ui,
                 const core::Clock& clock, core::IdentifierMaker& identifiers)
    : workspace_(&workspace),
      programState_(&programState),
      ui_(&ui),
      clock_(&clock),
      identifiers_(&identifiers),
      onPutAside_([this](const std::string& kept) {
          const std::string text = TextOfPutAside(kept, ui_->language());
          core::LogError(*workspace_, text);
          ui_->ShowMessage(core::kProductName, text, core::MessageIcon::Warning);
      }) {
}

FolderFiles Mailbox::FilesOf(std::string_view folder) const {
    FolderFiles files = core::EqualIgnoringCase(folder, kClipboardFolder)
                            ? store::FilesOf(*programState_, {}, folder)
                            : store::FilesOf(*workspace_, bankDirectory_, folder);
    files.onPutAside = &onPutAside_;
    return files;
}

bool Mailbox::IsUsableName(std::string_view folder) {
    return core::Workspace::IsSafeComponent(folder) &&
           core::Workspace::IsSafeComponent(std::string(folder) + ".loc") && FitsFileNames(folder, ".PROP");
}

void Mailbox::ReportFault(std::string_view folder, int error) {
    const bool japanese = ui_->language() == core::Language::Japanese;
    std::string text(japanese ? "フォルダ "_sjis : "The folder "_sjis);
    text += folder;
    text += japanese ? " を処理できませんでした。（"_sjis : " could not be worked on: "_sjis;
    text += core::DescribeError(error, ui_->language());
    text += japanese ? "）"_sjis : "."_sjis;
    core::LogError(*workspace_, text);
    ui_->ShowMessage(core::kProductName, text, core::MessageIcon::Stop);
}

std::string_view Mailbox::FolderWritten(std::string_view folder) const {
    return serverListMode_ ? kServerFolder : folder;
}

std::unique_ptr<FolderWriter> Mailbox::OpenWriter(std::string_view folder, int* error) {
    const std::string_view target = FolderWritten(folder);
    const FolderFiles files = FilesOf(target);
    static_cast<void>(SettlePendingMove(*files.workspace, files.bankDirectory, &files));
    return OpenWriterOf(target, error);
}

std::unique_ptr<FolderWriter> Mailbox::OpenWriterOf(std::string_view target, int* error) {
    auto writer = std::make_unique<FolderWriter>(*identifiers_);
    const int opened = writer->Open(FilesOf(target));
    if (opened < 0) {
        if (error != nullptr) *error = opened;
        ReportFault(target, opened);
        return nullptr;
    }
    lastWrittenFolder_ = target;
    return writer;
}

void Mailbox::PrepareForServerList(MailRecord& record) const {
    if (!serverListMode_) return;
    record.sizeText = ServerListSize(record.body);
    if (record.flags.size() <= flag::kServerList) record.flags.resize(flag::kServerList + 1, ' ');
    record.flags[flag::kServerList] = 'S';
}

int Mailbox::AppendTo(FolderWriter& writer, MailRecord& record, std::string_view localId) {
    PrepareForServerList(record);
    return writer.Append(record, localId);
}

int Mailbox::SettleMoves() {
    std::string source;
    const int settled = SettlePendingMove(*workspace_, bankDirectory_, nullptr, &source);
    if (settled == 0) return 0;
    ReportFault(source, settled);
    return -1;
}

int Mailbox::Commit(FolderWriter& writer, std::string_view folder) {
    const int committed = writer.Commit();
    if (committed == 0) return 0;
    ReportFault(folder, committed);
    return -1;
}

int Mailbox::AppendMail(std::string_view folder, MailRecord& record, int recordNumber) {
    const auto writer =
        recordNumber == -1 ? OpenWriter(folder) : OpenWriterOf(FolderWritten(folder), nullptr);
    if (writer == nullptr) return -1;
    const MailRecord before = record;
    PrepareForServerList(record);
    const int added = recordNumber == -1 ? writer->Append(record) : writer->Overwrite(recordNumber, record);
    if (added < 0) ReportFault(folder, added);
    if (added == 0 && Commit(*writer, folder) == 0) return 0;
    // As it was, so that the caller can try again: a mail that is replaced is found by its old identifier.
    record = before;
    return -1;
}

int Mailbox::OpenReader(FolderReader& reader, std::string_view folder) const {
    // Between two looks a file can be given the one name and, where that is taken back, the other.
    constexpr int kMostAttempts = 5;
    int opened = -ENOENT;
    for (int attempt = 0; opened == -ENOENT && attempt < kMostAttempts; ++attempt) {
        opened = reader.Open(FilesOf(folder));
        if (opened != -ENOENT) break;
        const auto newName = NameAfterRenaming(*workspace_, bankDirectory_, folder);
        if (!newName) break;
        opened = reader.Open(FilesOf(*newName));
    }
    return opened;
}

bool Mailbox::OpenForReading(FolderReader& reader, std::string_view folder) {
    const int opened = OpenReader(reader, folder);
    if (opened < 0 && opened != -ENOENT) ReportFault(folder, opened);
    return opened == 0;
}

int Mailbox::ReplaceMail(std::string_view folder, int, MailRecord& record) {
    core::WorkspaceLock lock;
    const FolderFiles files = FilesOf(folder);
    FolderReader reader;
    int result = files.workspace->Lock(true, lock);
    if (result == 0) result = reader.Open(files);
    if (result == -ENOENT) return 0;
    const int found = result == 0 ? reader.FindMail(record.localId) : -1;
    if (result == 0) result = reader.error();
    if (result < 0) {
        ReportFault(folder, result);
        return -1;
    }
    if (found == -1) return 0;
    const auto oldText = TextOffsetOf(reader.IndexRecord(found));
    MailRecord old;
    const bool oldTextIsThere = reader.ReadMail(found, 0, old) != FolderReader::Condition::Damaged;
    reader.Close();
    if (AppendMail(folder, record, found) < 0) return -1;
    // The old text is marked last: until then it is the mail, and what happens to the mark now does not
    // matter.
    std::unique_ptr<core::File> text;
    if (oldTextIsThere && old.flags.size() > flag::kDeleted && !serverListMode_ &&
        files.workspace->Open(files.text, core::OpenMode::ReadWrite, text) == 0) {
        static_cast<void>(text->WriteAt(*oldText + flag::kDeleted, "x"));
    }
    return 0;
}

int Mailbox::ReadMail(std::string_view folder, int recordNumber, MailRecord& record, int mode) {
    FolderReader reader;
    if (!OpenForReading(reader, folder)) return -1;
    const FolderReader::Condition condition = reader.ReadMail(recordNumber, BodyLimit(mode), record);
    return condition == FolderReader::Condition::Damaged ? -1 : 0;
}

int Mailbox::ReadListEntry(std::string_view folder, int recordNumber, MailListEntry& entry) {
    FolderReader reader;
    return OpenForReading(reader, folder) ? reader.ReadListEntry(recordNumber, entry) : -1;
}

int Mailbox::FindMail(std::string_view folder, std::string_view localId) {
    FolderReader reader;
    if (!OpenForReading(reader, folder)) return -1;
    const int found = reader.FindMail(localId);
    if (found == -1 && reader.error() < 0) ReportFault(folder, reader.error());
    return found;
}

int Mailbox::FindAndDeleteMail(std::string_view folder, std::string_view localId) {
    core::WorkspaceLock lock;
    const int locked = workspace_->Lock(true, lock);
    if (locked < 0) ReportFault(folder, locked);
    const int found = locked < 0 ? -1 : FindMail(folder, localId);
    if (found == -1) return -1;
    return MarkDeleted(folder, found) == 0 ? found : -1;
}

int Mailbox::CountMails(std::string_view folder) {
    FolderReader reader;
    int count = OpenReader(reader, folder);
    if (count == 0) count = reader.CountMails();
    if (count >= 0 || count == -ENOENT) return std::max(count, 0);
    ReportFault(folder, count);
    return -1;
}

int Mailbox::MarkMany(std::string_view folder, const std::function<int(FolderMarker&)>& mark) {
    FolderMarker marker;
    int result = marker.Open(FilesOf(folder));
    // A folder without files has no mail that could be marked.
    if (result == -ENOENT) return -1;
    if (result == 0) {
        result = mark(marker);
        const int committed = marker.Commit();
        if (result == -EINVAL && committed == 0) return -1;
        if (result == 0) result = committed;
    }
    if (result == 0) return 0;
    ReportFault(folder, result);
    return -1;
}

int Mailbox::SetFlag(std::string_view folder, int recordNumber, std::size_t position, char character) {
    return MarkMany(folder,
                    [=](FolderMarker& marker) { return marker.SetFlag(recordNumber, position, character); });
}

int Mailbox::SetRead(std::string_view folder, int recordNumber, bool read) {
    return SetFlag(folder, recordNumber, flag::kRead, read ? 'R' : 'r');
}

int Mailbox::SetPosition8(std::string_view folder, int recordNumber, bool on) {
    return SetFlag(folder, recordNumber, flag::kPosition8, on ? 'Y' : 'y');
}

int Mailbox::SetCharacter5(std::string_view folder, int recordNumber, char character) {
    return SetFlag(folder, recordNumber, flag::kCharacter5, character);
}

int Mailbox::SetDigit(std::string_view folder, int recordNumber, int value) {
    return SetFlag(folder, recordNumber, flag::kDigit, static_cast<char>('0' + value));
}

int Mailbox::MarkSent(std::string_view folder, int recordNumber, bool sent) {
    return MarkMany(folder,
                    [&](FolderMarker& marker) { return marker.MarkSent(recordNumber, sent, *clock_); });
}

int Mailbox::MarkDeleted(std::string_view folder, int recordNumber) {
    return MarkMany(folder, [=](FolderMarker& marker) { return marker.MarkDeleted(recordNumber); });
}

int Mailbox::CompactIndex(std::string_view folder) {
    return RemoveMails(folder, {});
}

int Mailbox::RemoveMails(std::string_view folder, std::span<const int> recordNumbers) {
    const int result = RemoveRecords(FilesOf(folder), recordNumbers);
    if (result == 0 || result == -ENOENT) return 0;
    ReportFault(folder, result);
    return -1;
}

int Mailbox::CompactText(std::string_view folder, const std::function<void()>& onMail) {
    const TextCompaction done = RewriteText(FilesOf(folder), onMail);
    if (done.result < 0) {
        ReportFault(folder, done.result);
        return -1;
    }
    if (done.lostMails > 0) ReportLostTexts(folder, done);
    return 0;
}

void Mailbox::ReportLostTexts(std::string_view folder, const TextCompaction& done) {
    const bool japanese = ui_->language() == core::Language::Japanese;
    std::string text(folder);
    text += japanese ? " の "_sjis : ": the text of "_sjis;
    text += std::to_string(done.lostMails);
    text += japanese ? " 通のメールは本文が見つからないため失われました。"_sjis
                     : (done.lostMails == 1 ? " mail was not found and is gone."_sjis
                                            : " mails were not found and are gone."_sjis);
    if (!done.keptAs.empty()) {
        text += japanese ? "元のファイルを "_sjis : " The old files are kept, the text as "_sjis;
        text += done.keptAs;
        text += japanese ? " として残しました。"_sjis : "."_sjis;
    }
    ui_->ShowMessage(core::kProductName, text, core::MessageIcon::Warning);
}

int Mailbox::CreateFolderFiles(std::string_view newName) {
    constexpr int kCannotCreate = 2;
    const FolderFiles files = FilesOf(newName);
    core::EntryKind kind{};
    int result = files.workspace->Inspect(files.index, kind);
    if (result == 0 && kind != core::EntryKind::Missing) return 0;
    std::unique_ptr<core::File> index;
    if (result == 0) result = files.workspace->Open(files.index, core::OpenMode::CreateNew, index);
    if (result == 0) result = files.workspace->SyncNames(files.index);
    if (result == 0) return 0;
    ui_->ShowMessage(core::kProductName, "メールボックスファイルの初期化ができませんでした。"_sjis,
                     core::MessageIcon::Stop);
    return kCannotCreate;
}

int Mailbox::RenameFolderFiles(std::string_view oldName, std::string_view newName) {
    return store::RenameFolderFiles(*workspace_, bankDirectory_, oldName, newName, *ui_);
}

int Mailbox::DeleteClipboardFiles() {
    const FolderFiles files = FilesOf(kClipboardFolder);
    int result = 0;
    for (const std::string& name : {files.index, files.text}) {
        const int removed = files.workspace->Remove(name);
        if (removed < 0 && removed != -ENOENT) result = -1;
    }
    return result;
}

int Mailbox::ReadMailV1(std::string_view folder, int recordNumber, MailRecord& record) {
    try {
        return store::ReadMailV1(FilesOf(folder), recordNumber, record);
    } catch (const std::bad_alloc&) {
        ui_->ShowMessage(core::kProductName, "メール読み込みの為のメモリが確保できませんでした。"_sjis,
                         core::MessageIcon::Stop);
        return -1;
    }
}

int Mailbox::ReadMailV2(std::string_view folder, int recordNumber, MailRecord& record) {
    return store::ReadMailV2(FilesOf(folder), recordNumber, record);
}

}  // namespace postkite::store
