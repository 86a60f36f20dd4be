#include "outgoing/sending_notes.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <utility>

#include "core/file_system.h"

namespace postkite::outgoing {

namespace {

/// No queue comes near. A larger file is not one of these.
constexpr std::int64_t kLargestFile = 64 * 1024 * 1024;
constexpr char kSeparator = '\t';
constexpr std::string_view kStates = "-?+.";

std::string Format(const SendingNotes::Note& note) {
    std::string line{static_cast<char>(note.state), ' '};
    line += note.localId;
    for (const std::string* field : {&note.bank, &note.folder, &note.subject})
        (line += kSeparator) += *field;
    return line += "\r\n";
}

std::string TakeField(std::string_view& line) {
    const std::size_t end = std::min(line.find(kSeparator), line.size());
    std::string field(line.substr(0, end));
    line.remove_prefix(std::min(end + 1, line.size()));
    return field;
}

/// An earlier version wrote the identifiers of mails that were going out, and nothing else.
SendingNotes::Note Parse(std::string_view line) {
    SendingNotes::Note note;
    note.state = SendingNotes::State::GoingOut;
    if (line.size() >= 2 && line[1] == ' ' && kStates.find(line[0]) != std::string_view::npos) {
        note.state = static_cast<SendingNotes::State>(line[0]);
        line.remove_prefix(2);
    }
    note.localId = TakeField(line);
    note.bank = TakeField(line);
    note.folder = TakeField(line);
    note.subject = line;
    return note;
}

int ReadWhole(const core::Workspace& workspace, std::string& bytes) {
    std::unique_ptr<core::File> file;
    const int opened = workspace.Open(SendingNotes::kFile, core::OpenMode::Read, file);
    if (opened < 0) return opened == -ENOENT || opened == -ENOTDIR ? 0 : opened;
    const std::int64_t size = file->Size();
    if (size < 0) return static_cast<int>(size);
    if (size > kLargestFile) return -EFBIG;
    bytes.resize(static_cast<std::size_t>(size));
    const std::int64_t count = file->ReadAt(0, bytes);
    if (count < 0) return static_cast<int>(count);
    bytes.resize(static_cast<std::size_t>(count));
    return 0;
}

}  // namespace

int SendingNotes::Load() {
    notes_.clear();
    offsets_.clear();
    std::string bytes;
    const int result = ReadWhole(*workspace_, bytes);
    unread_ = result < 0;
    std::size_t start = 0;
    for (std::size_t end = 0; (end = bytes.find('\r', start)) != std::string::npos; start = end + 2) {
        Note note = Parse(std::string_view(bytes).substr(start, end - start));
        if (note.localId.empty()) continue;
        notes_.push_back(std::move(note));
        offsets_.push_back(start);
    }
    return result;
}

int SendingNotes::Begin(std::vector<Note> queued) {
    std::vector<Note> notes;
    std::copy_if(notes_.begin(), notes_.end(), std::back_inserter(notes),
                 [](const Note& note) { return note.state == State::Accepted; });
    notes.insert(notes.end(), std::make_move_iterator(queued.begin()), std::make_move_iterator(queued.end()));
    std::vector<std::size_t> offsets;
    std::string bytes;
    for (const Note& note : notes) {
        offsets.push_back(bytes.size());
        bytes += Format(note);
    }
    core::WorkspaceLock lock;
    int result = unread_ ? -EIO : workspace_->Lock(true, lock);
    if (result == 0) result = workspace_->Replace(kFile, bytes);
    if (result < 0) return result;
    notes_ = std::move(notes);
    offsets_ = std::move(offsets);
    return 0;
}

const SendingNotes::Note* SendingNotes::Find(std::string_view localId) const {
    const auto found = std::find_if(notes_.begin(), notes_.end(),
                                    [localId](const Note& note) { return note.localId == localId; });
    return found == notes_.end() ? nullptr : &*found;
}

std::set<std::string, std::less<>> SendingNotes::Accepted() const {
    std::set<std::string, std::less<>> identifiers;
    for (const Note& note : notes_) {
        if (note.state == State::Accepted) identifiers.insert(note.localId);
    }
    return identifiers;
}

int SendingNotes::Set(std::string_view localId, State state) {
    return Write(localId, state, true);
}

void SendingNotes::Settle(std::string_view localId) {
    static_cast<void>(Write(localId, State::Settled, false));
}

int SendingNotes::Write(std::string_view localId, State state, bool sync) {
    const Note* found = Find(localId);
    if (found == nullptr) return -ENOENT;
    const auto at = static_cast<std::size_t>(found - notes_.data());
    notes_[at].state = state;
    const char byte = static_cast<char>(state);
    std::unique_ptr<core::File> file;
    int result = workspace_->Open(kFile, core::OpenMode::ReadWrite, file);
    if (result == 0) result = file->WriteAt(offsets_[at], {&byte, 1});
    return result == 0 && sync ? file->Sync() : result;
}

void SendingNotes::Tidy() {
    const bool wanted = std::any_of(notes_.begin(), notes_.end(), [](const Note& note) {
        return note.state == State::Accepted || note.state == State::GoingOut;
    });
    if (unread_ || wanted) return;
    // Where it cannot be removed it says of each mail that nothing is left to be done.
    static_cast<void>(workspace_->Remove(kFile));
    notes_.clear();
    offsets_.clear();
}

}  // namespace postkite::outgoing
