#include "ui/folders/unread_counter.h"

#include <cerrno>

#include "store/folder_reader.h"
#include "store/index_record.h"
#include "store/older_layouts.h"

namespace postkite::ui {

namespace {

/// About 20 ms of work.
constexpr int kRecordsAtATime = 100000;
constexpr int kBusyMilliseconds = 100;

}  // namespace

struct UnreadCounter::Count {
    std::string folder;
    store::FolderReader reader;
    int nextRecord = 0;
    int unread = 0;
};

UnreadCounter::~UnreadCounter() = default;

UnreadCounter::UnreadCounter(Desktop& desktop, QObject* parent) : QObject(parent), desktop_(&desktop) {
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, &UnreadCounter::Work);
}

void UnreadCounter::Ask(std::string_view folder, bool next) {
    std::string name(folder);
    // What was counted of it so far is not true any more.
    if (count_ && count_->folder == name) count_.reset();
    const bool added = waiting_.insert(name).second;
    if (next && (queue_.empty() || queue_.front() != name)) {
        queue_.push_front(std::move(name));
    } else if (added) {
        queue_.push_back(std::move(name));
    }
    if (!timer_.isActive()) timer_.start(0);
}

void UnreadCounter::ForgetAll() {
    queue_.clear();
    waiting_.clear();
    count_.reset();
}

void UnreadCounter::Work() {
    if (desktop_->ui.busy()) {
        timer_.start(kBusyMilliseconds);
        return;
    }
    if (count_) {
        CountOn();
    } else if (!queue_.empty()) {
        const std::string folder = std::move(queue_.front());
        queue_.pop_front();
        // One that was asked for twice has had its turn.
        if (waiting_.erase(folder) > 0) Begin(folder);
    }
    if (count_ || !queue_.empty()) timer_.start(0);
}

void UnreadCounter::Begin(const std::string& folder) {
    if (!store::Mailbox::IsUsableName(folder)) return Finish(folder, 0);
    const store::FolderFiles files = desktop_->program.mailbox().FilesOf(folder);
    store::FolderLayout layout{};
    int result = store::DetectLayout(files, layout);
    // The mails of an older layout are counted when it has been converted.
    if (result == 0 && layout != store::FolderLayout::Current) return Finish(folder, 0);
    count_ = std::make_unique<Count>();
    count_->folder = folder;
    if (result == 0) result = count_->reader.Open(files);
    if (result == 0) return CountOn();
    count_.reset();
    Finish(folder, result == -ENOENT ? 0 : -1);
}

void UnreadCounter::CountOn() {
    for (const int end = count_->nextRecord + kRecordsAtATime; count_->nextRecord < end;
         ++count_->nextRecord) {
        const std::string_view record = count_->reader.IndexRecord(count_->nextRecord);
        if (record.empty()) {
            const std::string folder = count_->folder;
            const int counted = count_->reader.error() < 0 ? -1 : count_->unread;
            count_.reset();
            return Finish(folder, counted);
        }
        const bool unread = store::FieldOf(record, store::index_field::kFlags)[store::flag::kRead] == 'r';
        if (unread && !store::IsDeleted(record)) ++count_->unread;
    }
}

void UnreadCounter::Finish(const std::string& folder, int unread) {
    emit Counted(folder, unread);
}

}  // namespace postkite::ui
