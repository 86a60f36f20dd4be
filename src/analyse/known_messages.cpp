#include "analyse/known_messages.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "analyse/hash.h"
#include "store/folder_reader.h"
#include "store/index_record.h"

namespace postkite::analyse {

namespace {

constexpr std::size_t kBits = 64;

/// Of the messages stored in a block of more than these some are forgotten: no room has that many numbers.
constexpr std::size_t kMostStoredInBlock = 128UL * 1024;
/// What a block may leave allocated for the next.
constexpr std::size_t kFewStored = 1024;

/// Places for the hashes of a run: at first, and at most where messages without a readable number are not the exception.
constexpr std::size_t kFewHashes = 256;
constexpr std::size_t kManyHashes = 64UL * 1024;

bool IsDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

/// 0 stands for an empty place.
std::uint64_t PlaceableHash(std::string_view text) {
    const std::uint64_t hash = HashOf(text);
    return hash == 0 ? 1 : hash;
}

/// A mail that a person has put among the messages has a time of day where these have their number.
bool IsMail(std::string_view indexRecord) {
    const std::string_view date = store::FieldOf(indexRecord, store::index_field::kDate);
    constexpr std::size_t kColonColumn = 11;
    return date[kColonColumn] == ':';
}

bool IsMarkedAsMessage(std::string_view indexRecord) {
    return store::FieldOf(indexRecord, store::index_field::kFlags)[store::flag::kKind] == 'N';
}

}  // namespace

int KnownMessages::LoadKnownMessageNumbers(const store::FolderFiles& files) {
    numbers_.clear();
    hashes_.clear();
    store::FolderReader reader;
    const int opened = reader.Open(files);
    if (opened < 0) return opened == -ENOENT ? 0 : opened;
    for (int number = 0;; ++number) {
        const std::string_view record = reader.IndexRecord(number);
        if (record.empty()) break;
        if (store::IsDeleted(record)) continue;
        if (!IsMarkedAsMessage(record) && (by_ == By::DateField || IsMail(record))) continue;
        const Key key = KeyOf(store::FieldOf(record, store::index_field::kDate));
        if (key.isNumber) {
            AddNumber(key.value);
        } else {
            hashes_.push_back(key.value);
        }
    }
    std::sort(hashes_.begin(), hashes_.end());
    return reader.error();
}

KnownMessages::Key KnownMessages::KeyOf(std::string_view dateField) const {
    std::string_view number =
        dateField.substr(std::min(kMessageNumberColumn, dateField.size()), kMessageNumberBytes);
    number.remove_prefix(std::min(number.find_first_not_of(' '), number.size()));
    if (by_ == By::DateField || number.empty() || !IsDigit(number.front()))
        return {false, PlaceableHash(store::WithoutTrailingBlanks(dateField))};
    std::uint64_t value = 0;
    for (const char digit : number) {
        if (!IsDigit(digit)) break;
        value = value * 10 + static_cast<std::uint64_t>(digit - '0');
    }
    return {true, value};
}

bool KnownMessages::Contains(const Key& key) const {
    if (key.isNumber) {
        const std::size_t word = key.value / kBits;
        return word < numbers_.size() && (numbers_[word] >> key.value % kBits & 1) != 0;
    }
    return std::binary_search(hashes_.begin(), hashes_.end(), key.value) ||
           (!newHashes_.empty() && newHashes_[key.value % newHashes_.size()] == key.value);
}

int KnownMessages::IsKnownMessage(const store::MailRecord& record) const {
    return Contains(KeyOf(record.date)) ? 1 : 0;
}

void KnownMessages::AddStored(const store::MailRecord& record) {
    if (stored_.size() < kMostStoredInBlock) stored_.push_back(KeyOf(record.date));
}

void KnownMessages::EndBlock() {
    for (const Key& key : stored_) {
        if (key.isNumber) {
            AddNumber(key.value);
        } else {
            Remember(key.value);
        }
    }
    stored_.clear();
    if (stored_.capacity() > kFewStored) stored_.shrink_to_fit();
}

void KnownMessages::AddNumber(std::uint64_t number) {
    const std::size_t word = number / kBits;
    if (word >= numbers_.size()) numbers_.resize(word + 1);
    numbers_[word] |= std::uint64_t{1} << number % kBits;
}

void KnownMessages::Remember(std::uint64_t hash) {
    if (newHashes_.empty()) newHashes_.resize(kFewHashes);
    if (++remembered_ > newHashes_.size() / 2 && by_ == By::DateField && newHashes_.size() < kManyHashes) {
        const std::vector<std::uint64_t> fewer =
            std::exchange(newHashes_, std::vector<std::uint64_t>(newHashes_.size() * 2));
        for (const std::uint64_t kept : fewer) {
            if (kept != 0) newHashes_[kept % newHashes_.size()] = kept;
        }
    }
    newHashes_[hash % newHashes_.size()] = hash;
}

}  // namespace postkite::analyse
