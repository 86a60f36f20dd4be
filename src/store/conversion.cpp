#include "store/conversion.h"

#include <cerrno>
#include <new>
#include <string>

#include "core/letter_case.h"
#include "core/shift_jis.h"
#include "store/folder_files.h"
#include "store/folder_writer.h"
#include "store/index_record.h"
#include "store/older_layouts.h"

namespace postkite::store {

using namespace core::literals;

namespace {

constexpr int kMailsBetweenPumps = 20;

struct FilePair {
    std::string index;
    std::string text;
};

int IsFree(const FolderFiles& files, const std::string& name, bool& isFree) {
    core::EntryKind kind{};
    const int inspected = files.workspace->Inspect(name, kind);
    isFree = kind == core::EntryKind::Missing;
    return inspected;
}

/// The first pair of names with `suffix` behind those of the folder of which neither is taken.
int FindFreeNames(const FolderFiles& files, std::string_view suffix, FilePair& names) {
    constexpr int kMostCopies = 999;
    for (int number = 1; number <= kMostCopies; ++number) {
        std::string ending(suffix);
        if (number > 1) ending += "-" + std::to_string(number);
        names = {files.index + ending, files.text + ending};
        bool indexIsFree = false;
        bool textIsFree = false;
        int result = IsFree(files, names.index, indexIsFree);
        if (result == 0) result = IsFree(files, names.text, textIsFree);
        if (result < 0 || (indexIsFree && textIsFree)) return result;
    }
    return -EEXIST;
}

int RemoveIfThere(const FolderFiles& files, const std::string& name) {
    const int removed = files.workspace->Remove(name);
    return removed == -ENOENT ? 0 : removed;
}

bool AskToConvert(core::UserInterface& ui, FolderLayout layout) {
    std::string text(layout == FolderLayout::V1
                         ? "このメールボックスファイルはV1.xxタイプのフォーマットです。"_sjis
                         : "このメールボックスファイルはV2.xxタイプのフォーマットです。"_sjis);
    text += core::Choose(
        ui, "\r\n現在のフォーマットに変換しますか？（元のファイルは別の名前で残します。）"_sjis,
        "\r\nShall it be converted to the current format? The old files are kept under other names.");
    return ui.AskQuestion(core::kProductName, text);
}

/// One conversion, under the lock. Steps return 0 or a negated errno value.
class Conversion {
  public:
    Conversion(Mailbox& mailbox, std::string_view folder, FolderLayout layout)
        : mailbox_(mailbox),
          folder_(folder),
          layout_(layout),
          files_(mailbox.FilesOf(folder)),
          working_(mailbox.FilesOf(kConversionFolder)) {}

    [[nodiscard]] int Run() {
        int result = ClearWorkingFolder();
        if (result == 0) result = ConvertMails();
        ShowProgress(0, 0);
        mailbox_.ui().SetStatusText("");
        if (result == 0 && converted_ == 0) return GiveUp();
        if (result == 0) result = PutInPlace();
        if (result < 0) {
            if (!takesEffect_) Discard();
            mailbox_.ReportFault(folder_, result);
            return -1;
        }
        ReportDone();
        return 0;
    }

  private:
    /// What is left there by a crash goes; what has mails in its list may be somebody's, and is kept.
    int ClearWorkingFolder() {
        int result = FinishOwnChanges(working_);
        if (result < 0) return result;
        std::unique_ptr<core::File> index;
        result = files_.workspace->Open(working_.index, core::OpenMode::Read, index);
        if (result < 0 && result != -ENOENT) return result;
        const std::int64_t size = result == 0 ? index->Size() : 0;
        if (size < 0) return static_cast<int>(size);
        if (size >= static_cast<std::int64_t>(kIndexRecordBytes)) return SetWorkingFolderAside();
        result = RemoveIfThere(working_, working_.index);
        if (result == 0) result = RemoveIfThere(working_, working_.text);
        return result;
    }

    int SetWorkingFolderAside() {
        FilePair kept;
        int result = FindFreeNames(working_, ".bak", kept);
        // The index last: as long as it is there the folder counts as one that has mails.
        if (result == 0) result = files_.workspace->Rename(working_.text, kept.text);
        if (result == -ENOENT) result = 0;
        if (result == 0) result = files_.workspace->SyncNames(working_.index);
        if (result == 0) result = files_.workspace->Rename(working_.index, kept.index);
        if (result == 0) result = files_.workspace->SyncNames(working_.index);
        if (result < 0) return result;
        const bool japanese = mailbox_.ui().language() == core::Language::Japanese;
        std::string text(japanese ? "作業用フォルダ ConvertTemp に残っていたメールを "_sjis
                                  : "Mails that were in the working folder ConvertTemp are kept as "_sjis);
        text += KeptNames(kept) + std::string(japanese ? " として残しました。"_sjis : "."_sjis);
        mailbox_.ui().ShowMessage(core::kProductName, text, core::MessageIcon::Warning);
        return 0;
    }

    int ConvertMails() {
        const core::UserInterface& ui = mailbox_.ui();
        std::string status(core::Choose(ui, ""_sjis, "Converting "_sjis));
        status += folder_;
        status += core::Choose(ui, " を変換中"_sjis, ""_sjis);
        mailbox_.ui().SetStatusText(status);

        OlderFolderReader reader;
        int result = reader.Open(files_, layout_);
        const int count = result < 0 ? result : reader.CountMails();
        if (count < 0) return count;
        FolderWriter writer(mailbox_.identifiers());
        result = writer.Open(working_);
        for (int number = 0; result == 0 && number < count; ++number) {
            ShowProgress(number, count);
            result = ConvertMail(reader, number, writer);
        }
        return result < 0 ? result : writer.Commit();
    }

    int ConvertMail(OlderFolderReader& reader, int number, FolderWriter& writer) {
        MailRecord record;
        OlderFolderReader::Condition condition{};
        const int read = reader.ReadMail(number, record, condition);
        if (read < 0 || condition == OlderFolderReader::Condition::Deleted) return read;
        if (condition != OlderFolderReader::Condition::Whole) ++damaged_;
        if (condition == OlderFolderReader::Condition::Damaged) return 0;
        const int added = writer.Append(record);
        if (added == 0) ++converted_;
        if (added != -EINVAL && added != -EMSGSIZE) return added;
        // It holds what no mail can, so its record leads to something else.
        if (condition == OlderFolderReader::Condition::Whole) ++damaged_;
        return 0;
    }

    void ShowProgress(int position, int total) {
        if (position % kMailsBetweenPumps != 0) return;
        mailbox_.ui().SetProgress(static_cast<std::uint64_t>(position), static_cast<std::uint64_t>(total));
        mailbox_.ui().PumpMessages();
    }

    int PutInPlace() {
        core::Workspace& workspace = *files_.workspace;
        FilePair kept;
        int result = FindFreeNames(files_, layout_ == FolderLayout::V1 ? ".v1" : ".v2", kept);
        if (result < 0) return result;
        result = workspace.Copy(files_.index, kept.index);
        if (result < 0) return result;
        kept_ = kept;
        result = workspace.Rename(working_.text, files_.compactionText);
        // On the disk before the other one: that one alone would look like a change half done.
        if (result == 0) result = workspace.SyncNames(files_.compactionText);
        if (result == 0) result = workspace.Rename(working_.index, files_.compactionIndex);
        if (result == 0) result = workspace.SyncNames(files_.compactionIndex);
        if (result == 0) result = workspace.Rename(files_.text, kept_.text);
        if (result < 0) return result;
        takesEffect_ = true;
        result = workspace.SyncNames(files_.text);
        return result < 0 ? result : FinishOwnChanges(files_);
    }

    /// Nothing of the new files counts; what cannot be removed now is the next one's to remove.
    void Discard() {
        int removed = RemoveIfThere(files_, files_.compactionIndex);
        // The text alone means nothing to whoever finds it; the index alone would.
        if (removed == 0) removed = RemoveIfThere(files_, files_.compactionText);
        if (removed == 0 && !kept_.index.empty()) removed = RemoveIfThere(files_, kept_.index);
        if (removed == 0) removed = RemoveIfThere(working_, working_.index);
        if (removed == 0) static_cast<void>(RemoveIfThere(working_, working_.text));
    }

    int GiveUp() {
        Discard();
        mailbox_.ui().ShowMessage(core::kProductName, DamagedText(), core::MessageIcon::Stop);
        return -1;
    }

    [[nodiscard]] std::string DamagedText() const {
        const bool japanese = mailbox_.ui().language() == core::Language::Japanese;
        return std::to_string(damaged_) +
               std::string(japanese ? " 通のメールは壊れているため完全には変換できませんでした。"_sjis
                                    : " damaged mails could not be converted completely."_sjis);
    }

    [[nodiscard]] std::string KeptNames(const FilePair& kept) const {
        return kept.index + std::string(core::Choose(mailbox_.ui(), " と "_sjis, " and "_sjis)) + kept.text;
    }

    void ReportDone() {
        const bool japanese = mailbox_.ui().language() == core::Language::Japanese;
        std::string text(japanese ? "フォルダ "_sjis : "The folder "_sjis);
        text += folder_;
        text += japanese ? " を変換しました。元のファイルは "_sjis
                         : " is converted. The old files are kept as "_sjis;
        text += KeptNames(kept_);
        text += japanese ? " として残しました。"_sjis : "."_sjis;
        if (damaged_ > 0) text += "\r\n" + DamagedText();
        mailbox_.ui().ShowMessage(core::kProductName, text,
                                  damaged_ > 0 ? core::MessageIcon::Warning : core::MessageIcon::Information);
    }

    Mailbox& mailbox_;
    std::string_view folder_;
    FolderLayout layout_;
    FolderFiles files_;
    FolderFiles working_;
    FilePair kept_;
    int converted_ = 0;
    int damaged_ = 0;
    bool takesEffect_ = false;
};

int RunConversion(Mailbox& mailbox, std::string_view folder, FolderLayout layout) {
    try {
        return Conversion(mailbox, folder, layout).Run();
    } catch (const std::bad_alloc&) {
        mailbox.ui().ShowMessage(core::kProductName,
                                 "メール読み込みの為のメモリが確保できませんでした。"_sjis,
                                 core::MessageIcon::Stop);
        return -1;
    }
}

int FindLayout(const FolderFiles& files, FolderLayout& layout) {
    // Most folders are current, and those who only read wait for nobody.
    const int detected = DetectLayout(files, layout);
    if (detected < 0 || layout == FolderLayout::Current) return detected;
    const int finished = FinishInterruptedChanges(files);
    return finished < 0 ? finished : DetectLayout(files, layout);
}

}  // namespace

int ConvertFolder(Mailbox& mailbox, std::string_view folder) {
    // It holds what was copied last, outside the bank that the working folder is in.
    if (folder == kClipboardFolder) return 0;
    const FolderFiles files = mailbox.FilesOf(folder);
    FolderLayout layout{};
    int result = FindLayout(files, layout);
    if (result == 0 && layout != FolderLayout::Current) {
        if (core::EqualIgnoringCase(folder, kConversionFolder)) {
            result = -EEXIST;
        } else if (!AskToConvert(mailbox.ui(), layout)) {
            return -1;
        }
    }
    core::WorkspaceLock lock;
    if (result == 0 && layout != FolderLayout::Current) result = files.workspace->Lock(true, lock);
    // Another program may have been asked the same meanwhile.
    if (result == 0 && layout != FolderLayout::Current) result = FindLayout(files, layout);
    if (result < 0) {
        mailbox.ReportFault(folder, result);
        return -1;
    }
    return layout == FolderLayout::Current ? 0 : RunConversion(mailbox, folder, layout);
}

}  // namespace postkite::store
