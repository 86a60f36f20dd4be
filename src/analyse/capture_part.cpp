#include "analyse/capture_part.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>

#include "analyse/hash.h"
#include "core/letter_case.h"
#include "store/folder_reader.h"
#include "store/index_record.h"
#include "store/text_record.h"

namespace postkite::analyse {

namespace {

constexpr std::string_view kFirstLine = "Postkite mail log 1";
constexpr std::string_view kNoIdentifier = "-";
/// What an identifier begins with: date and time to the second.
constexpr std::size_t kStampBytes = 12;

/// The size of a capture and a hash of its beginning and its end: both hold dates, and no two captures have the same.
int MakeFingerprint(core::File& capture, std::uint64_t& bytes, std::string& fingerprint) {
    constexpr std::size_t kPieceBytes = 4096;
    std::array<char, kPieceBytes> piece{};
    const std::int64_t size = capture.Size();
    if (size < 0) return static_cast<int>(size);
    bytes = static_cast<std::uint64_t>(size);
    std::uint64_t hash = kHashOfNothing;
    for (const std::uint64_t offset :
         {std::uint64_t{0}, bytes - std::min<std::uint64_t>(bytes, kPieceBytes)}) {
        const std::int64_t count = capture.ReadAt(offset, piece);
        if (count < 0) return static_cast<int>(count);
        hash = HashOf({piece.data(), static_cast<std::size_t>(count)}, hash);
    }
    fingerprint = std::to_string(bytes) + " " + HexadecimalOf(hash);
    return 0;
}

/// Takes what stands before `end` from the front of `text`. Nothing where `end` is not there.
std::optional<std::string_view> TakeUpTo(std::string_view& text, std::string_view end) {
    const std::size_t at = text.find(end);
    if (at == std::string_view::npos) return std::nullopt;
    const std::string_view taken = text.substr(0, at);
    text.remove_prefix(at + end.size());
    return taken;
}

template <typename Number>
bool ParseNumber(std::optional<std::string_view> text, Number& number) {
    if (!text) return false;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    return error == std::errc() && end == text->data() + text->size() && !text->starts_with('-');
}

std::string_view IdentifierOf(std::string_view indexRecord) {
    return store::WithoutTrailingBlanks(FieldOf(indexRecord, store::index_field::kLocalId));
}

/// The first record behind those that the folder had.
int FirstNewRecord(store::FolderReader& reader, int records, std::string_view lastIdentifier) {
    if (records == 0) return 0;
    const std::string_view last = reader.IndexRecord(records - 1);
    if (lastIdentifier.empty() || (!last.empty() && IdentifierOf(last) == lastIdentifier)) return records;
    // Mails before it have been taken out of the list since. Where it is gone itself, all that are left are looked at.
    return reader.FindMail(lastIdentifier) + 1;
}

int ReadWhole(const core::Workspace& workspace, std::string_view name, std::string& bytes) {
    std::unique_ptr<core::File> file;
    const int opened = workspace.Open(name, core::OpenMode::Read, file);
    if (opened < 0) return opened;
    // Far more than one with the most folders has.
    constexpr std::size_t kMostBytes = 1024 * 1024;
    const std::int64_t size = file->Size();
    if (size < 0) return static_cast<int>(size);
    bytes.resize(std::min(static_cast<std::size_t>(size), kMostBytes));
    const std::int64_t count = file->ReadAt(0, bytes);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return count < 0 ? static_cast<int>(count) : 0;
}

}  // namespace

CapturePart::CapturePart(store::Mailbox& mailbox, std::string_view path)
    : mailbox_(&mailbox), fileName_(std::string(path) + std::string(kPartSuffix)) {
}

int CapturePart::Load(core::File& capture) {
    int result = MakeFingerprint(capture, captureBytes_, fingerprint_);
    std::string bytes;
    if (result == 0) result = ReadWhole(mailbox_->workspace(), fileName_, bytes);
    if (result < 0) return result == -ENOENT ? 0 : result;
    if (!Parse(bytes)) {
        offset_ = 0;
        mails_ = 0;
        folders_.clear();
    }
    return 0;
}

bool CapturePart::Parse(std::string_view bytes) {
    constexpr std::string_view kLineEnd = "\r\n";
    if (TakeUpTo(bytes, kLineEnd) != kFirstLine || TakeUpTo(bytes, kLineEnd) != fingerprint_) return false;
    if (!ParseNumber(TakeUpTo(bytes, " "), offset_) || !ParseNumber(TakeUpTo(bytes, kLineEnd), mails_))
        return false;
    // Nobody here has written what would pass over mails.
    if (offset_ > captureBytes_ || static_cast<std::uint64_t>(mails_) > offset_) return false;
    while (!bytes.empty()) {
        ListedFolder folder;
        if (!ParseNumber(TakeUpTo(bytes, " "), folder.records)) return false;
        const auto identifier = TakeUpTo(bytes, " ");
        const auto name = TakeUpTo(bytes, kLineEnd);
        if (!identifier || !name) return false;
        if (*identifier != kNoIdentifier) folder.lastIdentifier = *identifier;
        folder.name = *name;
        folders_.push_back(std::move(folder));
    }
    return true;
}

std::string CapturePart::Format() const {
    std::string bytes(kFirstLine);
    bytes += "\r\n" + fingerprint_ + "\r\n" + std::to_string(offset_) + " " + std::to_string(mails_) + "\r\n";
    for (const ListedFolder& folder : folders_) {
        bytes += std::to_string(folder.records) + " ";
        bytes += folder.lastIdentifier.empty() ? kNoIdentifier : std::string_view(folder.lastIdentifier);
        bytes += " " + folder.name + "\r\n";
    }
    return bytes;
}

int CapturePart::FindStored(const store::FolderTree& tree) {
    std::string_view since;
    int result = 0;
    for (const ListedFolder& folder : folders_) {
        if (result == 0) result = FindStoredIn(folder);
        since = std::max(since, std::string_view(folder.lastIdentifier).substr(0, kStampBytes));
    }
    if (result == 0 && !folders_.empty()) {
        tree.Walk([&](const store::Folder&, const std::string& baseName) {
            const std::string name = PathOf(baseName);
            if (store::Mailbox::IsUsableName(baseName) && !IsListed(name)) result = FindMovedTo(name, since);
            return result == 0;
        });
    }
    std::sort(stored_.begin(), stored_.end());
    taken_.assign(stored_.size(), 0);
    storedLeft_ = stored_.size();
    return result;
}

int CapturePart::FindStoredIn(const ListedFolder& folder) {
    store::FolderReader reader;
    const int opened = reader.Open(store::FilesOf(mailbox_->workspace(), {}, folder.name));
    // Nothing was written to a folder of an older layout, or to what a damaged file takes for one.
    if (opened < 0) return opened == -ENOENT || opened == -ENOTSUP || opened == -EINVAL ? 0 : opened;
    const int count = reader.CountMails();
    if (count < 0) return count;
    for (int number = FirstNewRecord(reader, folder.records, folder.lastIdentifier); number < count; ++number)
        AddStored(reader, number);
    return reader.error();
}

/// A mail that is moved gets a new identifier, which begins with the time.
int CapturePart::FindMovedTo(const std::string& name, std::string_view since) {
    store::FolderReader reader;
    const int opened = reader.Open(store::FilesOf(mailbox_->workspace(), {}, name));
    if (opened < 0) return opened == -ENOENT || opened == -ENOTSUP ? 0 : opened;
    for (int number = 0;; ++number) {
        const std::string_view indexRecord = reader.IndexRecord(number);
        if (indexRecord.empty()) return reader.error();
        if (IdentifierOf(indexRecord).substr(0, kStampBytes) >= since) AddStored(reader, number);
    }
}

void CapturePart::AddStored(store::FolderReader& reader, int number) {
    const std::string_view indexRecord = reader.IndexRecord(number);
    if (indexRecord.empty() || store::IsDeleted(indexRecord)) return;
    store::MailRecord record;
    const auto condition = reader.ReadMail(number, store::MAIL_BODY_MAX - store::kReadHeadroomBytes, record);
    if (condition == store::FolderReader::Condition::Whole) stored_.push_back(HashOf(record.body));
}

std::string CapturePart::PathOf(std::string_view folder) const {
    const std::string& bank = mailbox_->bankDirectory();
    return (bank.empty() ? std::string() : bank + "\\") + std::string(folder);
}

bool CapturePart::IsListed(std::string_view name) const {
    return std::any_of(folders_.begin(), folders_.end(), [name](const ListedFolder& folder) {
        return core::EqualIgnoringCase(folder.name, name);
    });
}

bool CapturePart::TakeStored(std::string_view body) {
    if (storedLeft_ == 0) return false;
    const auto [first, last] = std::equal_range(stored_.begin(), stored_.end(), HashOf(body));
    if (first == last) return false;
    std::uint32_t& taken = taken_[static_cast<std::size_t>(first - stored_.begin())];
    if (taken == static_cast<std::size_t>(last - first)) return false;
    ++taken;
    --storedLeft_;
    return true;
}

int CapturePart::LookAt(ListedFolder& folder) {
    store::FolderReader reader;
    folder.records = 0;
    folder.lastIdentifier.clear();
    const int opened = reader.Open(store::FilesOf(mailbox_->workspace(), {}, folder.name));
    if (opened < 0) return opened == -ENOENT ? 0 : opened;
    const int count = reader.CountMails();
    if (count < 0) return count;
    folder.records = count;
    if (count == 0) return 0;
    const std::string_view last = reader.IndexRecord(count - 1);
    if (last.empty()) return reader.error() < 0 ? reader.error() : -EIO;
    folder.lastIdentifier = IdentifierOf(last);
    // The file's lines are cut at blanks.
    if (folder.lastIdentifier.find_first_of(" \r\n") != std::string::npos) folder.lastIdentifier.clear();
    return 0;
}

int CapturePart::AddFolder(std::string_view folder) {
    ListedFolder listed;
    listed.name = PathOf(folder);
    if (IsListed(listed.name)) return 0;
    int result = LookAt(listed);
    if (result < 0) return result;
    folders_.push_back(std::move(listed));
    result = mailbox_->workspace().Replace(fileName_, Format());
    if (result < 0) folders_.pop_back();
    return result;
}

int CapturePart::Advance(std::uint64_t offset, int mails) {
    const auto before = std::tuple(offset_, mails_, folders_);
    int result = 0;
    for (ListedFolder& folder : folders_) {
        if (result == 0) result = LookAt(folder);
    }
    offset_ = offset;
    mails_ = mails;
    if (result == 0) result = mailbox_->workspace().Replace(fileName_, Format());
    if (result < 0) std::tie(offset_, mails_, folders_) = before;
    return result;
}

void CapturePart::Remove() {
    static_cast<void>(mailbox_->workspace().Remove(fileName_));
}

}  // namespace postkite::analyse
