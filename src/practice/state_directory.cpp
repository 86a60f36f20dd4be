#include "practice/state_directory.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <utility>

#include "core/shift_jis.h"
#include "core/time_stamp.h"
#include "practice/command.h"

namespace postkite::practice {

namespace {

constexpr std::string_view kLetterEnding = ".txt";
constexpr int kMostOfOneName = 1000;

std::string_view AsBytes(std::u8string_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size()};
}

/// The upload as a person reads it: UTF-8, lines that end in LF.
std::string FormatUpload(const Upload& upload, const core::Clock& clock) {
    std::string text = "Id: " + upload.userId + "\nDate: " + core::FormatNowDate(clock) +
                       "\nService: " + upload.service + "\n\n";
    for (const char byte : upload.text) {
        if (byte != '\r') text += byte;  // lines end in CR LF, and the keyboard gives no other CR
    }
    return std::string(AsBytes(core::ToShownUtf8(text)));
}

}  // namespace

StateDirectory::StateDirectory(core::FileSystem& files, const core::Clock& clock, Path root)
    : files_(&files), clock_(&clock), root_(std::move(root)) {
}

int StateDirectory::Prepare() {
    if (const int result = MakeDirectory(root_); result < 0) return result;
    for (const char* name : {"mail", "forum", "received", "deleted", "read"}) {
        if (const int result = MakeDirectory(root_ / name); result < 0) return result;
    }
    const int opened = files_->Open(root_ / "session.log", core::OpenMode::ReadWriteOrCreate, log_);
    if (opened < 0) return opened;
    const std::int64_t size = log_->Size();
    if (size < 0) return static_cast<int>(size);
    logBytes_ = static_cast<std::uint64_t>(size);
    return 0;
}

int StateDirectory::MakeDirectory(const Path& path) {
    const int result = files_->CreateDirectory(path);
    if (result != -EEXIST) return result;
    core::EntryKind kind = core::EntryKind::Missing;
    if (const int inspected = files_->Inspect(path, kind); inspected < 0) return inspected;
    return kind == core::EntryKind::Directory ? 0 : -ENOTDIR;
}

std::vector<std::string> StateDirectory::Names(const Path& directory) {
    std::vector<Path> entries;
    if (files_->List(directory, entries) < 0) return {};  // a directory that is not there holds nothing
    std::vector<std::string> names;
    for (const Path& entry : entries) {
        if (!entry.native().starts_with('.')) names.push_back(entry.native());
    }
    std::sort(names.begin(), names.end());
    if (names.size() > kMostFiles) names.resize(kMostFiles);
    return names;
}

std::vector<std::string> StateDirectory::LetterNames(const Path& directory) {
    std::vector<std::string> names = Names(directory);
    std::erase_if(names, [this, &directory](const std::string& name) {
        core::EntryKind kind = core::EntryKind::Missing;
        return !name.ends_with(kLetterEnding) || files_->Inspect(directory / name, kind) < 0 ||
               kind != core::EntryKind::File;
    });
    return names;
}

std::optional<Letter> StateDirectory::ReadLetter(const Path& path) {
    std::unique_ptr<core::File> file;
    if (files_->Open(path, core::OpenMode::Read, file) < 0) return std::nullopt;
    const std::int64_t size = file->Size();
    if (size < 0) return std::nullopt;
    std::u8string text(std::min(static_cast<std::size_t>(size), kLargestLetter), u8'\0');
    const std::int64_t read = file->ReadAt(0, {reinterpret_cast<char*>(text.data()), text.size()});
    if (read < 0) return std::nullopt;
    text.resize(static_cast<std::size_t>(read));
    return ParseLetter(text, core::FormatNowDate(*clock_));
}

std::vector<std::string> StateDirectory::Mails() {
    return LetterNames(root_ / "mail");
}

std::optional<Letter> StateDirectory::Mail(const std::string& key) {
    return ReadLetter(root_ / "mail" / key);
}

int StateDirectory::DeleteMail(const std::string& key) {
    return MoveInto(root_ / "mail" / key, root_ / "deleted");
}

std::vector<std::string> StateDirectory::Forums() {
    std::vector<std::string> forums;
    for (const std::string& name : Names(root_ / "forum")) {
        forums.push_back(Upper(name));
    }
    return forums;
}

/// The room's directory as it is spelled; one that is not there where it is missing.
std::filesystem::path StateDirectory::RoomDirectory(const std::string& forum, int room) {
    for (const std::string& forumName : Names(root_ / "forum")) {
        if (Upper(forumName) != forum) continue;
        for (const std::string& roomName : Names(root_ / "forum" / forumName)) {
            if (WholeNumber(roomName) == room) return Path(forumName) / roomName;
        }
    }
    return ".none";
}

std::vector<std::string> StateDirectory::Messages(const std::string& forum, int room) {
    return LetterNames(root_ / "forum" / RoomDirectory(forum, room));
}

std::optional<Letter> StateDirectory::Message(const std::string& forum, int room, const std::string& key) {
    return ReadLetter(root_ / "forum" / RoomDirectory(forum, room) / key);
}

int StateDirectory::MarkMessageRead(const std::string& forum, int room, const std::string& key) {
    const Path roomDirectory = RoomDirectory(forum, room);
    Path target = root_ / "read";
    for (const Path& part : roomDirectory) {
        target /= part;
        if (const int result = MakeDirectory(target); result < 0) return result;
    }
    return MoveInto(root_ / "forum" / roomDirectory / key, target);
}

bool StateDirectory::IsTaken(const Path& path) {
    core::EntryKind kind = core::EntryKind::Missing;
    return files_->Inspect(path, kind) < 0 || kind != core::EntryKind::Missing;
}

/// A letter of the same name that is there already stays.
int StateDirectory::MoveInto(const Path& from, const Path& directory) {
    Path target = directory / from.filename();
    for (int i = 2; IsTaken(target); ++i) {
        if (i > kMostOfOneName) return -EEXIST;
        target = directory / (from.stem().native() + "-" + std::to_string(i) + std::string(kLetterEnding));
    }
    return files_->Rename(from, target);
}

int StateDirectory::Keep(const Upload& upload) {
    if (uploadedBytes_ + upload.text.size() > kMostUploaded) return -ENOSPC;
    uploadedBytes_ += upload.text.size();
    const std::string stamp = core::FormatNowStamp(*clock_);
    std::string name;
    do {
        char serial[16];
        std::snprintf(serial, sizeof serial, "-%04d", ++uploads_);
        name = stamp + serial + std::string(kLetterEnding);
    } while (uploads_ < INT32_MAX && IsTaken(root_ / "received" / name));
    return WriteWhole(root_ / "received", name, FormatUpload(upload, *clock_));
}

int StateDirectory::WriteWhole(const Path& directory, const std::string& name, std::string_view bytes) {
    const Path beside = directory / ("." + name);
    int result = 0;
    {
        std::unique_ptr<core::File> file;
        result = files_->Open(beside, core::OpenMode::CreateNew, file);
        if (result < 0) return result;
        result = file->WriteAt(0, bytes);
        if (result >= 0) result = file->Sync();
    }
    if (result >= 0) result = files_->Rename(beside, directory / name);
    if (result < 0) static_cast<void>(files_->Remove(beside));  // the first failure is the one to report
    return result;
}

void StateDirectory::AppendLog(std::u8string_view lines) {
    // A record that cannot be written is no reason to end the dialogue.
    if (!log_ || log_->WriteAt(logBytes_, AsBytes(lines)) < 0) return;
    logBytes_ += lines.size();
}

}  // namespace postkite::practice
