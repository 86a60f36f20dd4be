#include <algorithm>
#include <cerrno>
#include <set>
#include <utility>

#include "core/shift_jis.h"
#include "store/conversion.h"
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

int Folders::OpenChosen(std::string_view folder, std::span<const int> numbers, ChosenMails& chosen) {
    int opened = workspace().Lock(true, chosen.lock);
    if (opened == 0) opened = chosen.reader.Open(mailbox_->FilesOf(folder));
    if (opened < 0 && opened != -ENOENT) {
        mailbox_->ReportFault(folder, opened);
        return -1;
    }
    chosen.numbers.assign(numbers.begin(), numbers.end());
    std::sort(chosen.numbers.begin(), chosen.numbers.end());
    chosen.numbers.erase(std::unique(chosen.numbers.begin(), chosen.numbers.end()), chosen.numbers.end());
    const bool areThere = std::all_of(chosen.numbers.begin(), chosen.numbers.end(), [&](int number) {
        const std::string_view record = opened == 0 ? chosen.reader.IndexRecord(number) : std::string_view();
        return !record.empty() && !IsDeleted(record);
    });
    if (areThere) return 0;
    if (opened == 0 && chosen.reader.error() < 0) {
        mailbox_->ReportFault(folder, chosen.reader.error());
        return -1;
    }
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
        if (added == 0 || added == -EINVAL || added == -EMSGSIZE) continue;
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
    if (recordNumbers.empty()) return 0;
    // Asks, and nobody is kept waiting for the answer.
    if (ConvertFolder(*mailbox_, target) < 0) return -1;
    ChosenMails chosen;
    if (OpenChosen(folder, recordNumbers, chosen) < 0) return -1;
    std::vector<int> copied;
    int result = CopyMails(chosen.reader, chosen.numbers, target, copied);
    // On the disk over there for good: from here on a failure leaves a mail in both folders, and never in
    // none.
    if (result == 0 && !copied.empty()) result = DeleteRecords(folder, copied);
    ui().SetProgress(0, 0);
    if (result < 0 || copied.size() == chosen.numbers.size()) return result;
    const std::size_t left = chosen.numbers.size() - copied.size();
    std::string text = std::to_string(left);
    text += Choose(ui(), " 通のメールは壊れているか長すぎるため、移動しませんでした。"_sjis,
                   left == 1 ? " mail is damaged or too long and was not moved."
                             : " mails are damaged or too long and were not moved.");
    return Refuse(text);
}

int Folders::DeleteMails(std::string_view folder, std::span<const int> recordNumbers) {
    if (recordNumbers.empty()) return 0;
    ChosenMails chosen;
    if (OpenChosen(folder, recordNumbers, chosen) < 0) return -1;
    return DeleteRecords(folder, chosen.numbers);
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

Folders::Action Folders::ActionOf(int number) {
    switch (number) {
        case kCompactText:
            return [this](const auto& name, const auto& baseName) { return CompactOne(name, baseName); };
        case kCountMails:
            return [this](const auto&, const auto& baseName) {
                const int count = mailbox_->CountMails(baseName);
                progressTotal_ += static_cast<std::uint64_t>(std::max(count, 0));
                return std::min(count, 0);
            };
        default:
            return nullptr;
    }
}

int Folders::ForEachFolder(int action) {
    const Action known = ActionOf(action);
    return known ? ForEachFolder(known) : -1;
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
    std::set<std::string> left;
    int result = ForEachFolder([&](const auto&, const auto& baseName) {
        // Deleted mails do not count.
        const bool ready = ConvertFolder(*mailbox_, baseName) == 0 && mailbox_->CompactIndex(baseName) == 0;
        if (!ready) left.insert(baseName);
        return ready ? 0 : -1;
    });
    const auto forTheOthers = [&](const Action& action) {
        const int done = ForEachFolder([&](const auto& name, const auto& baseName) {
            return left.contains(baseName) ? 0 : action(name, baseName);
        });
        if (done < 0) result = -1;
    };
    forTheOthers(ActionOf(kCountMails));
    forTheOthers(ActionOf(kCompactText));
    ui().SetProgress(0, 0);
    ui().SetStatusText(" コンパクションを終了しました。"_sjis);
    return result;
}

}  // namespace postkite::store
