#include <algorithm>
#include <array>
#include <cerrno>
#include <set>
#include <utility>

#include "core/shift_jis.h"
#include "store/conversion.h"
#include "store/folder_commands.h"
#include "store/index_record.h"
#include "store/mail_moving.h"

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
    // The numbers are those of the list without what a killed program has left in it.
    if (opened == 0 && mailbox_->SettleMoves() < 0) return -1;
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

int Folders::MoveMails(std::string_view folder, std::span<const int> recordNumbers, std::string_view target) {
    std::vector<int> numbers(recordNumbers.begin(), recordNumbers.end());
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    std::vector<MailMove> moves;
    for (const int number : numbers)
        moves.push_back({number, 0});
    return MoveMails(folder, moves, std::array{std::string(target)});
}

int Folders::MoveMails(std::string_view folder, std::span<const MailMove> moves,
                       std::span<const std::string> targets, std::vector<int>* moved) {
    if (moved != nullptr) moved->clear();
    if (moves.empty()) return 0;
    const auto listings = workspace().KeepListings();
    MailMoving moving(*mailbox_, folder, targets);
    std::vector<int> numbers;
    for (const MailMove& move : moves) {
        numbers.push_back(move.recordNumber);
        // Asks, and nobody is kept waiting for the answer.
        moving.Prepare(move.target);
    }
    ChosenMails chosen;
    if (OpenChosen(folder, numbers, chosen) < 0 || moving.Begin(chosen.reader, moves) < 0) return -1;
    moving.Copy(chosen.reader, moves);
    chosen.reader.Close();
    const int finished = moving.Finish();
    ui().SetProgress(0, 0);
    if (moved != nullptr) *moved = moving.TakeMoved();
    if (moving.left() == 0) return moving.failed() ? -1 : finished;
    std::string text = std::to_string(moving.left());
    text += Choose(ui(), " 通のメールは壊れているか長すぎるため、移動しませんでした。"_sjis,
                   moving.left() == 1 ? " mail is damaged or too long and was not moved."
                                      : " mails are damaged or too long and were not moved.");
    return Refuse(text);
}

int Folders::DeleteMails(std::string_view folder, std::span<const int> recordNumbers) {
    if (recordNumbers.empty()) return 0;
    ChosenMails chosen;
    if (OpenChosen(folder, recordNumbers, chosen) < 0) return -1;
    chosen.reader.Close();
    return mailbox_->RemoveMails(folder, chosen.numbers);
}

int Folders::ForEachFolder(const Action& action) {
    const auto listings = workspace().KeepListings();
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

void Folders::ShowCompaction(const std::string& name, const std::string& baseName) {
    std::string text(baseName == kDesktop ? "DeskTop" : name);
    ui().SetStatusText(text += " をコンパクション中"_sjis);
    ui().RedrawMainWindow();
}

int Folders::CompactOne(const std::string& name, const std::string& baseName) {
    ShowCompaction(name, baseName);
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
    const FoldersWithFiles withFiles(workspace(), mailbox_->bankDirectory());
    std::set<std::string> left;
    int result = ForEachFolder([&](const auto&, const auto& baseName) {
        if (!withFiles.Contains(baseName)) return 0;
        // Deleted mails do not count.
        const bool ready = ConvertFolder(*mailbox_, baseName) == 0 && mailbox_->CompactIndex(baseName) == 0;
        if (!ready) left.insert(baseName);
        return ready ? 0 : -1;
    });
    const auto forTheOthers = [&](const Action& action, bool showsAll) {
        const int done = ForEachFolder([&](const auto& name, const auto& baseName) {
            if (left.contains(baseName)) return 0;
            if (withFiles.Contains(baseName)) return action(name, baseName);
            if (showsAll) ShowCompaction(name, baseName);
            return 0;
        });
        if (done < 0) result = -1;
    };
    forTheOthers(ActionOf(kCountMails), false);
    forTheOthers(ActionOf(kCompactText), true);
    ui().SetProgress(0, 0);
    ui().SetStatusText(" コンパクションを終了しました。"_sjis);
    return result;
}

}  // namespace postkite::store
