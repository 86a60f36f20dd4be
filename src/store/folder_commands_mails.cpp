#include <algorithm>
#include <cerrno>
#include <utility>

#include "core/shift_jis.h"
#include "store/folder_commands.h"
#include "store/index_record.h"
#include "store/text_record.h"

/// What people do with the mails of a folder, and of all folders.
namespace postkite::store {

using namespace core::literals;

namespace {

using core::Choose;

/// How often the main window is drawn during compaction, in mails.
constexpr std::uint64_t kMailsARedraw = 20;

/// Actions of `ForEachFolder`.
constexpr int kCompactText = 0;
constexpr int kCountMails = 1;

}  // namespace

int Folders::CheckNumbers(FolderReader& reader, std::string_view folder, std::span<const int> numbers,
                          std::vector<int>& inListOrder) {
    if (numbers.empty()) return 0;
    const int opened = reader.Open(mailbox_->FilesOf(folder));
    if (opened < 0 && opened != -ENOENT) {
        mailbox_->ReportFault(folder, opened);
        return -1;
    }
    inListOrder.assign(numbers.begin(), numbers.end());
    std::sort(inListOrder.begin(), inListOrder.end());
    inListOrder.erase(std::unique(inListOrder.begin(), inListOrder.end()), inListOrder.end());
    const int count = opened == 0 ? reader.CountMails() : 0;
    if (inListOrder.front() >= 0 && inListOrder.back() < count) return 0;
    return Refuse(
        Choose(ui(), "指定された番号のメールはありません。"_sjis, "There is no mail of that number."));
}

int Folders::CopyMails(FolderReader& reader, const std::vector<int>& numbers, std::string_view target,
                       std::vector<int>& copied) {
    const auto writer = mailbox_->OpenWriter(target);
    if (writer == nullptr) return -1;
    MailRecord record;
    for (std::size_t done = 0; done < numbers.size(); ++done) {
        ui().SetProgress(done, numbers.size());
        const auto condition = reader.ReadMail(numbers[done], MAIL_BODY_MAX - kReadHeadroomBytes, record);
        if (condition != FolderReader::Condition::Whole) continue;
        const int added = mailbox_->AppendTo(*writer, record);
        if (added == 0) copied.push_back(numbers[done]);
        // One that could not be stored again stays where it is.
        if (added == 0 || added == -EINVAL) continue;
        mailbox_->ReportFault(target, added);
        return -1;
    }
    return mailbox_->Commit(*writer, target);
}

int Folders::DeleteRecords(std::string_view folder, const std::vector<int>& numbers) {
    const int marked = mailbox_->MarkMany(folder, [&numbers](FolderMarker& marker) {
        for (const int number : numbers) {
            const int result = marker.MarkDeleted(number);
            // Already marked.
            if (result < 0 && result != -EINVAL) return result;
        }
        return 0;
    });
    return marked == 0 ? mailbox_->CompactIndex(folder) : -1;
}

int Folders::MoveMails(std::string_view folder, std::span<const int> recordNumbers, std::string_view target) {
    core::WorkspaceLock lock;
    const int locked = workspace().Lock(true, lock);
    if (locked < 0) {
        mailbox_->ReportFault(folder, locked);
        return -1;
    }
    FolderReader reader;
    std::vector<int> numbers;
    if (CheckNumbers(reader, folder, recordNumbers, numbers) < 0) return -1;
    // Nobody sees those that were deleted before.
    std::erase_if(numbers, [&reader](int number) {
        const std::string_view record = reader.IndexRecord(number);
        return !record.empty() && IsDeleted(record);
    });
    if (numbers.empty()) return 0;
    std::vector<int> copied;
    int result = CopyMails(reader, numbers, target, copied);
    // On the disk over there for good: from here on a failure leaves a mail in both folders, and never in
    // none.
    if (result == 0 && !copied.empty()) result = DeleteRecords(folder, copied);
    ui().SetProgress(0, 0);
    if (result < 0 || copied.size() == numbers.size()) return result;
    std::string text = std::to_string(numbers.size() - copied.size());
    text += Choose(ui(), " 通のメールは壊れているか長すぎるため、移動しませんでした。"_sjis,
                   " mails are damaged or too long and were not moved.");
    return Refuse(text);
}

int Folders::DeleteMails(std::string_view folder, std::span<const int> recordNumbers) {
    core::WorkspaceLock lock;
    const int locked = workspace().Lock(true, lock);
    if (locked < 0) {
        mailbox_->ReportFault(folder, locked);
        return -1;
    }
    FolderReader reader;
    std::vector<int> numbers;
    if (CheckNumbers(reader, folder, recordNumbers, numbers) < 0) return -1;
    return numbers.empty() ? 0 : DeleteRecords(folder, numbers);
}

int Folders::ForEachFolder(const Action& action) {
    // What the action does may let the windows change the tree.
    std::vector<std::pair<std::string, std::string>> folders;
    tree_.Walk([&folders](const Folder& folder, const std::string& baseName) {
        if (Mailbox::IsUsableName(baseName)) folders.emplace_back(folder.name, baseName);
        return true;
    });
    int result = 0;
    for (const auto& [name, baseName] : folders) {
        if (action(name, baseName) != 0) result = -1;
    }
    return result;
}

int Folders::ForEachFolder(int action) {
    switch (action) {
        case kCompactText:
            return ForEachFolder(
                [this](const auto& name, const auto& baseName) { return CompactOne(name, baseName); });
        case kCountMails:
            return ForEachFolder([this](const auto&, const auto& baseName) {
                progressTotal_ += static_cast<std::uint64_t>(mailbox_->CountMails(baseName));
                return 0;
            });
        default:
            return -1;
    }
}

int Folders::CompactOne(const std::string& name, const std::string& baseName) {
    std::string text(baseName == kDesktop ? "DeskTop" : name);
    ui().SetStatusText(text += " をコンパクション中"_sjis);
    ui().RedrawMainWindow();
    return mailbox_->CompactText(baseName, [this] {
        ++progressPosition_;
        ui().SetProgress(progressPosition_, progressTotal_);
        if (progressPosition_ % kMailsARedraw != 0) return;
        ui().RedrawMainWindow();
        ui().PumpMessages();
    });
}

int Folders::CompactAllFolders() {
    progressTotal_ = 0;
    progressPosition_ = 0;
    // Deleted mails do not count.
    int result =
        ForEachFolder([this](const auto&, const auto& baseName) { return mailbox_->CompactIndex(baseName); });
    if (ForEachFolder(kCountMails) < 0) result = -1;
    if (ForEachFolder(kCompactText) < 0) result = -1;
    ui().SetProgress(0, 0);
    ui().SetStatusText(" コンパクションを終了しました。"_sjis);
    return result;
}

}  // namespace postkite::store
