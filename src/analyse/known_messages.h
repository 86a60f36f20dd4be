#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>
#include <vector>

#include "store/folder_files.h"
#include "store/mail_record.h"

namespace postkite::analyse {

/// Where the date field of a forum message holds its number, right-aligned; the date is before it, the number of
/// the message that it answers and the forum's name behind it.
inline constexpr std::size_t kMessageNumberColumn = 9;
inline constexpr std::size_t kMessageNumberBytes = 5;

/// The messages that a folder holds, told by their numbers. A number has at most five digits, so that a folder
/// with all of them takes 12,500 bytes.
///
/// A message whose number cannot be read, because the line was disturbed, is told by its whole date field: two of
/// them need not be the same.
class KnownMessages {
  public:
    enum class By {
        Number,     ///< a room's folder
        DateField,  ///< a folder with the messages of several rooms; its mails do not count
    };
    explicit KnownMessages(By by = By::Number) : by_(by) {}

    /// Takes the messages of the folder's index in the place of what it held; deleted ones do not count. Returns 0,
    /// also where there is no index, or a negated errno value.
    [[nodiscard]] int LoadKnownMessageNumbers(const store::FolderFiles& files);

    /// 1 when the message is known, else 0. Takes the record as it is before or after it was stored.
    [[nodiscard]] int IsKnownMessage(const store::MailRecord& record) const;

    /// The message was stored; it is known once the room's block has ended.
    void AddStored(const store::MailRecord& record);
    void EndBlock();

  private:
    struct Key {
        bool isNumber;
        std::uint64_t value;
    };
    [[nodiscard]] Key KeyOf(std::string_view dateField) const;
    [[nodiscard]] bool Contains(const Key& key) const;
    void AddNumber(std::uint64_t number);
    void Remember(std::uint64_t hash);

    By by_;
    std::vector<std::uint64_t> numbers_;  ///< a bit a number
    std::deque<std::uint64_t> hashes_;    ///< of the index, sorted; grows without being copied
    /// Those of this run, each at a place of its own: what needs the place of another makes it forgotten, so that
    /// messages without end do not fill the memory.
    std::vector<std::uint64_t> newHashes_;
    std::size_t remembered_ = 0;
    std::vector<Key> stored_;  ///< in this block
};

}  // namespace postkite::analyse
