#include "comm/capture_logs.h"

#include <algorithm>
#include <cerrno>

#include "core/error_log.h"
#include "core/error_text.h"
#include "core/shift_jis.h"

namespace postkite::comm {

using namespace core::literals;

namespace {

constexpr std::string_view kDeletionsFirstLine = "Postkite deletions 1\r\n";
constexpr std::string_view kLostCarrier = "\r\nNO CARRIER\r\n";

}  // namespace

CaptureLogs::CaptureLogs(core::Workspace& workspace, const core::Settings& settings, core::UserInterface& ui,
                         const core::Clock& clock)
    : workspace_(&workspace),
      settings_(&settings),
      ui_(&ui),
      clock_(&clock),
      targets_{{{""},
                {kMailLogFile, &CaptureSwitches::captureMail},
                {kSupplementLogFile, &CaptureSwitches::captureSupplement},
                {kForumLogFile, &CaptureSwitches::captureForum},
                {kLibraryLogFile, &CaptureSwitches::captureLibrary},
                {kBinListFile, &CaptureSwitches::captureBinList},
                {kMailDeletionsFile, &CaptureSwitches::captureMail}}} {
    pending_.reserve(2 * kMostPendingBytes + 1);
}

void CaptureLogs::BeginSession() {
    captureTrouble_ = {};
    sessionLogTrouble_ = {};
    mailBegun_ = false;
    for (Target& target : targets_)
        target.syncFailed = target.nameIsSynced = false;
}

void CaptureLogs::Take(std::string_view cleaned, std::size_t receivedBytes) {
    pending_ += cleaned;
    // A chunk of that length goes out with what waits before it, however short cleaning has made it.
    const bool overflow = receivedBytes > kMostPendingBytes;
    if (overflow || pending_.size() > kMostPendingBytes) WritePending();
}

void CaptureLogs::WritePending() {
    if (pending_.empty()) return;
    if (settings_->log != 0 && switches.sessionLogging) Append(targets_[SessionLog], pending_);
    for (const TargetIndex index : {Mail, Supplement, Forum, Library, BinList}) {
        if (switches.*targets_[index].isOn) Append(targets_[index], pending_);
    }
    pending_.clear();
    TellTrouble();
}

void CaptureLogs::FlushCapture() {
    if (pending_.empty()) {
        static_cast<void>(WriteWaiting(targets_[SessionLog]));
        static_cast<void>(Retry());
    } else {
        Append(targets_[SessionLog], pending_);
        for (const TargetIndex index : {Mail, Forum, Library, BinList, Supplement}) {
            if (switches.*targets_[index].isOn) Append(targets_[index], pending_);
        }
        pending_.clear();
    }
    TellTrouble();
}

int CaptureLogs::Retry() {
    int result = 0;
    hasTrouble_ = false;
    for (Target& target : targets_) {
        if (target.isOn == nullptr) continue;
        int tried = WriteWaiting(target);
        if (tried == 0 && target.syncFailed) tried = SyncTarget(target);
        if (tried < 0) result = tried;
        if (tried < 0) hasTrouble_ = true;
    }
    return result;
}

int CaptureLogs::BeginMail() {
    mailBegun_ = false;
    // The account first, and on the disk: a capture without one is one that nobody can vouch for.
    int result = Empty(kMailDeletionsFile);
    if (result < 0) return result;
    Append(targets_[Deletions], kDeletionsFirstLine);
    SyncOrHold(targets_[Deletions]);
    result = Empty(kMailLogFile);
    if (result < 0) return result;
    mailBegun_ = true;
    deletedBytes_ = 0;
    TellTrouble();
    return 0;
}

void CaptureLogs::NoteDeletion(Deletion deletion) {
    if (!mailBegun_) return;
    deletedBytes_ = targets_[Mail].bytes + targets_[Mail].waiting.size();
    const std::uint64_t place = deletion == Deletion::ByNumber ? 0 : deletedBytes_;
    Append(targets_[Deletions], std::to_string(place) + "\r\n");
    TellTrouble();
}

bool CaptureLogs::MailIsOnDisk() {
    if (hasTrouble_) return false;
    for (const TargetIndex index : {Mail, Deletions}) {
        if (targets_[index].unsynced && !SyncOrHold(targets_[index])) break;
    }
    TellTrouble();
    return !hasTrouble_;
}

void CaptureLogs::EndCaptures() {
    if (switches.captureMail) CutModemAnswer();
    switches = {.sessionLogging = switches.sessionLogging};
}

/// The host said nothing behind it, so it is the modem's. Nothing depends on it: what is not told apart stays, and what a
/// host has really said there it says again, since it has not been let to delete that mail.
void CaptureLogs::CutModemAnswer() {
    const Target& mail = targets_[Mail];
    if (!mailBegun_ || !mail.waiting.empty() || mail.bytes < deletedBytes_ + kLostCarrier.size()) return;
    std::unique_ptr<core::File> file;
    if (workspace_->Open(mail.file, core::OpenMode::ReadWrite, file) < 0) return;
    const std::uint64_t end = mail.bytes - kLostCarrier.size();
    std::string tail(kLostCarrier.size(), '\0');
    if (file->Size() != static_cast<std::int64_t>(mail.bytes) ||
        file->ReadAt(end, tail) != static_cast<std::int64_t>(tail.size()) || tail != kLostCarrier)
        return;
    if (file->Truncate(end) == 0) targets_[Mail].bytes = end;
    targets_[Mail].unsynced = true;
}

void CaptureLogs::AppendLibraryLog(std::string_view text) {
    if (!switches.captureLibrary) return;
    Append(targets_[Library], text);
    TellTrouble();
}

int CaptureLogs::Empty(std::string_view file) {
    std::unique_ptr<core::File> opened;
    int result = workspace_->Open(file, core::OpenMode::ReadWriteOrCreate, opened);
    if (result == 0) result = opened->Truncate(0);
    Target* target = FindTarget(file);
    if (result < 0 || target == nullptr) return result;
    target->waiting.clear();
    target->tornAt.reset();
    target->unsynced = true;
    target->syncFailed = target->nameIsSynced = false;
    target->bytes = target->syncedBytes = 0;
    static_cast<void>(Retry());
    return 0;
}

int CaptureLogs::Delete(std::string_view file) {
    const int result = workspace_->Remove(file);
    if (result < 0 && result != -ENOENT) return result;
    Target* target = FindTarget(file);
    if (target == nullptr) return 0;
    target->waiting.clear();
    target->tornAt.reset();
    target->unsynced = target->syncFailed = target->nameIsSynced = false;
    target->bytes = target->syncedBytes = 0;
    static_cast<void>(Retry());
    return 0;
}

int CaptureLogs::Sync() {
    int result = Retry();
    for (Target& target : targets_) {
        const int synced = target.unsynced ? SyncTarget(target) : 0;
        if (synced < 0 && target.isOn != nullptr && result == 0) result = synced;
    }
    TellTrouble();
    return result;
}

std::string CaptureLogs::SessionLogPath() const {
    return LogPath("log.nif");
}

std::string CaptureLogs::InetSessionLogPath() const {
    return LogPath("log.inet");
}

std::string CaptureLogs::LogPath(std::string_view suffix) const {
    std::string path;
    // A directory that begins with "." counts as none, on purpose.
    const std::string& directory = settings_->logFilePath;
    if (!directory.empty() && directory.front() != '.') path.append(directory).append("\\");
    if (settings_->dateLogName == 1) {
        const core::LocalTime now = clock_->Now();
        for (const int number : {now.year / 10 % 10, now.year % 10, now.month / 10, now.month % 10})
            path += static_cast<char>('0' + number);
    } else {
        path += "bmail";
    }
    return path.append(".").append(suffix);
}

std::string CaptureLogs::NameOf(const Target& target) const {
    return target.isOn == nullptr ? SessionLogPath() : std::string(target.file);
}

CaptureLogs::Target* CaptureLogs::FindTarget(std::string_view file) {
    const auto found = std::find_if(targets_.begin(), targets_.end(), [file](const Target& target) {
        return target.isOn != nullptr && target.file == file;
    });
    return found == targets_.end() ? nullptr : &*found;
}

int CaptureLogs::OpenForAppending(const std::string& name, std::unique_ptr<core::File>& file) {
    const int opened = workspace_->Open(name, core::OpenMode::ReadWriteOrCreate, file);
    if (opened != -ENOENT) return opened;
    for (std::size_t end = core::FindCharacter(name, '\\'); end != std::string::npos;
         end = core::FindCharacter(name, '\\', end + 1)) {
        const int made = workspace_->CreateDirectory(std::string_view(name).substr(0, end));
        if (made < 0 && made != -EEXIST) return made;
    }
    return workspace_->Open(name, core::OpenMode::ReadWriteOrCreate, file);
}

/// Appends all of `bytes`, or leaves the file as it was.
int CaptureLogs::AppendToFile(Target& target, std::string_view bytes) {
    std::unique_ptr<core::File> file;
    const int opened = OpenForAppending(NameOf(target), file);
    if (opened < 0) return opened;
    const std::int64_t size = file->Size();
    if (size < 0) return static_cast<int>(size);
    auto end = static_cast<std::uint64_t>(size);
    if (target.tornAt) end = std::min(end, *target.tornAt);
    target.unsynced = true;
    const int written = file->WriteAt(end, bytes);
    target.tornAt.reset();
    if (written < 0 && file->Truncate(end) < 0) target.tornAt = end;
    target.bytes = written < 0 ? end : end + bytes.size();
    return written;
}

void CaptureLogs::Append(Target& target, std::string_view bytes) {
    if (target.waiting.empty()) {
        const int written = AppendToFile(target, bytes);
        if (written == 0) return;
        NoteTrouble(target, written);
        target.waiting = bytes;
        return;
    }
    const bool isSessionLog = target.isOn == nullptr;
    if (!isSessionLog || target.waiting.size() + bytes.size() <= kMostWaitingSessionLogBytes) {
        target.waiting += bytes;
    }
    static_cast<void>(WriteWaiting(target));
}

int CaptureLogs::WriteWaiting(Target& target) {
    if (target.waiting.empty()) return 0;
    const int written = AppendToFile(target, target.waiting);
    if (written < 0) NoteTrouble(target, written);
    if (written == 0) target.waiting = {};
    return written;
}

int CaptureLogs::SyncTarget(Target& target) {
    const std::string name = NameOf(target);
    std::unique_ptr<core::File> file;
    int result = workspace_->Open(name, core::OpenMode::ReadWrite, file);
    if (result == 0 && target.syncFailed) result = WriteUnsyncedAnew(*file, target);
    if (result == 0) result = file->Sync();
    if (result == 0 && !target.nameIsSynced) result = workspace_->SyncNames(name);
    if (result < 0) {
        NoteTrouble(target, result);
        return result;
    }
    target.unsynced = target.syncFailed = false;
    target.syncedBytes = target.bytes;
    // The session log's name goes with the date.
    target.nameIsSynced = target.isOn != nullptr;
    return 0;
}

bool CaptureLogs::SyncOrHold(Target& target) {
    target.syncFailed = !target.waiting.empty() || SyncTarget(target) < 0;
    return !target.syncFailed;
}

/// A system that could not bring bytes to the disk takes them for written from then on, so they are written once more.
int CaptureLogs::WriteUnsyncedAnew(core::File& file, const Target& target) {
    constexpr std::size_t kPieceBytes = 4096;
    std::array<char, kPieceBytes> piece{};
    for (std::uint64_t offset = target.syncedBytes;;) {
        const std::int64_t count = file.ReadAt(offset, piece);
        if (count <= 0) return static_cast<int>(count);
        const std::string_view bytes(piece.data(), static_cast<std::size_t>(count));
        if (const int written = file.WriteAt(offset, bytes); written < 0) return written;
        offset += bytes.size();
    }
}

void CaptureLogs::NoteTrouble(const Target& target, int error) {
    if (target.isOn != nullptr) hasTrouble_ = true;
    Trouble& trouble = target.isOn == nullptr ? sessionLogTrouble_ : captureTrouble_;
    if (trouble.error != 0) return;
    trouble.error = error;
    trouble.file = NameOf(target);
}

/// Last of all in an operation: while a message box is open, a window's timer may come back here.
void CaptureLogs::TellTrouble() {
    for (Trouble* trouble : {&captureTrouble_, &sessionLogTrouble_}) {
        if (trouble->error == 0 || trouble->told) continue;
        trouble->told = true;
        const bool japanese = ui_->language() == core::Language::Japanese;
        std::string text(japanese ? "受信した内容を "_sjis : "What is received cannot be written to "_sjis);
        text.append(trouble->file).append(japanese ? " に書き込めません: "_sjis : ": "_sjis);
        text.append(core::DescribeError(trouble->error, ui_->language()))
            .append(japanese ? "。"_sjis : "."_sjis);
        core::LogError(*workspace_, text);
        const bool isCapture = trouble == &captureTrouble_;
        text.append("\r\n").append(
            isCapture ? core::Choose(*ui_, "書き込めるようになるまで受信を止めます。"_sjis,
                                     "Nothing more is received until it can.")
                      : core::Choose(*ui_, "通信は続けます。"_sjis, "The session goes on without it."));
        if (settings_->autoMode != 0) {
            ui_->SetStatusText(text.substr(0, text.find('\r')));
        } else {
            ui_->ShowMessage(core::kProductName, text, core::MessageIcon::Warning);
        }
    }
}

}  // namespace postkite::comm
