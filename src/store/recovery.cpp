#include "store/recovery.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <utility>
#include <vector>

#include "core/shift_jis.h"
#include "store/index_record.h"
#include "store/older_layouts.h"
#include "store/text_record.h"
#include "store/text_window.h"

namespace postkite::store {

using namespace core::literals;

namespace {

int OpenIfThere(const FolderFiles& files, const std::string& name, std::unique_ptr<core::File>& file) {
    const int opened = files.workspace->Open(name, core::OpenMode::Read, file);
    return opened == -ENOENT ? 0 : opened;
}

/// Whether the record is one that compaction writes: what stands behind its head may be damaged as it was
/// before.
bool HasHead(std::string_view record, std::int64_t textBytes) {
    if (IsDeleted(record)) return true;
    const auto offset = TextOffsetOf(record);
    return offset && static_cast<std::int64_t>(*offset) < textBytes &&
           FieldOf(record, index_field::kLayoutMark) == "30";
}

/// The ending of the name that a file gets instead of `name`.
std::string_view EndingOf(const FolderFiles& files, const std::string& name) {
    if (name == files.journal) return ".jnl.new";
    return name == files.compactionIndex ? ".loc.new" : ".mtx.new";
}

}  // namespace

int CountReadable(const FolderFiles& files, const std::string& text, const RecordSource& records,
                  std::uint64_t count, std::uint64_t& readable) {
    readable = 0;
    std::unique_ptr<core::File> file;
    const int opened = OpenIfThere(files, text, file);
    if (opened < 0 || file == nullptr) return opened;
    std::vector<std::uint64_t> offsets;
    for (std::uint64_t number = 0; number < count; ++number) {
        const std::string_view record = records(number);
        if (record.size() < kIndexRecordBytes) return -EIO;
        const auto offset = IsDeleted(record) ? std::nullopt : TextOffsetOf(record);
        const std::int64_t flagBytes = offset ? FlagLineBytes(*file, *offset, record) : 0;
        if (flagBytes < 0) return static_cast<int>(flagBytes);
        if (flagBytes > 0) offsets.push_back(*offset);
    }
    std::sort(offsets.begin(), offsets.end());
    readable = static_cast<std::uint64_t>(std::unique(offsets.begin(), offsets.end()) - offsets.begin());
    return 0;
}

int ExamineList(const FolderFiles& files, const std::string& index, const std::string& text,
                ListCondition& condition) {
    condition = ListCondition();
    std::unique_ptr<core::File> file;
    std::unique_ptr<core::File> textFile;
    int result = OpenIfThere(files, index, file);
    if (result < 0 || file == nullptr) return result;
    result = RequireCurrentLayout(*file);
    if (result == -ENOTSUP) condition.isWhole = false;
    if (result < 0) return result == -ENOTSUP ? 0 : result;
    result = OpenIfThere(files, text, textFile);
    if (result < 0) return result;
    const std::int64_t size = file->Size();
    const std::int64_t textBytes = textFile == nullptr ? 0 : textFile->Size();
    if (size < 0 || textBytes < 0) return static_cast<int>(std::min(size, textBytes));
    condition.records = static_cast<std::uint64_t>(size) / kIndexRecordBytes;
    condition.isWhole = static_cast<std::uint64_t>(size) % kIndexRecordBytes == 0;
    TextWindow window(*file);
    const RecordSource record = [&](std::uint64_t number) {
        const std::string_view bytes = window.At(number * kIndexRecordBytes, kIndexRecordBytes);
        if (bytes.size() == kIndexRecordBytes && !HasHead(bytes, textBytes)) condition.isWhole = false;
        return bytes;
    };
    result = CountReadable(files, text, record, condition.records, condition.readable);
    if (textFile == nullptr && condition.records > 0) condition.isWhole = false;
    return window.error() < 0 ? window.error() : result;
}

int PutAside(const FolderFiles& files, std::span<const std::string> names, std::vector<std::string>& kept) {
    constexpr int kMostCopies = 999;
    const std::string base = files.index.substr(0, files.index.size() - std::string_view(".loc").size());
    for (int number = 1; number <= kMostCopies; ++number) {
        kept.clear();
        bool isFree = true;
        for (const std::string& name : names) {
            kept.push_back(base + std::string(EndingOf(files, name)) +
                           (number == 1 ? std::string() : std::to_string(number)));
            core::EntryKind kind{};
            const int inspected = files.workspace->Inspect(kept.back(), kind);
            if (inspected < 0) return inspected;
            isFree = isFree && kind == core::EntryKind::Missing;
        }
        if (!isFree) continue;
        for (std::size_t name = 0; name < names.size(); ++name) {
            const int renamed = files.workspace->Rename(names[name], kept[name]);
            if (renamed < 0) return renamed;
        }
        return files.workspace->SyncNames(files.index);
    }
    return -EEXIST;
}

std::string TextOfPutAside(std::string_view kept, core::Language language) {
    const bool japanese = language == core::Language::Japanese;
    std::string text(
        japanese
            ? "中断された処理の途中のファイルは、壊れているか読めるメールが減るため使いませんでした。"_sjis
            : "A file of a change that was cut off is damaged, or mails would be lost with it. It is "
              "not used and kept as "_sjis);
    text += kept;
    text += japanese ? " として残しました。"_sjis : "."_sjis;
    return text;
}

}  // namespace postkite::store
