#include "ui/mails/mail_order.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <unordered_map>

#include "analyse/subjects.h"
#include "core/letter_case.h"
#include "store/index_record.h"
#include "ui/mails/mail_row.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

namespace field = store::index_field;

/// A mail with what it is sorted by.
struct Entry {
    int number;
    std::string text;
    std::int64_t value = 0;
};

std::string_view Field(std::string_view record, store::IndexField place) {
    return store::WithoutTrailingBlanks(store::FieldOf(record, place));
}

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return (byte & 0x80) == 0; });
}

class Filter {
  public:
    explicit Filter(const QString& text) : wanted_(FoldedForSearch(text)) {}

    [[nodiscard]] bool Matches(std::string_view record) const {
        return wanted_.isEmpty() || Holds(Field(record, field::kSubject)) ||
               Holds(Field(record, field::kName)) || Holds(Field(record, field::kAddress));
    }

  private:
    [[nodiscard]] bool Holds(std::string_view text) const {
        if (!IsAscii(text)) return FoldedForSearch(Shown(text)).contains(wanted_);
        return QLatin1String(text.data(), static_cast<qsizetype>(text.size()))
            .contains(wanted_, Qt::CaseInsensitive);
    }

    QString wanted_;
};

Entry MakeEntry(int number, std::string_view record, MailSortKey key) {
    switch (key) {
        case MailSortKey::Id:
            return {number, core::SmallLetters(Field(record, field::kAddress))};
        case MailSortKey::Name:
            return {number, core::SmallLetters(Field(record, field::kName))};
        case MailSortKey::Date:
            return {number, DateSortKey(Field(record, field::kDate))};
        case MailSortKey::Subject: {
            std::string subject(Field(record, field::kSubject));
            const int depth = analyse::CountReplyDepth(subject);
            return {number, core::SmallLetters(subject), depth};
        }
        case MailSortKey::Number:
        case MailSortKey::Size:
            break;
    }
    return {number, {}};
}

/// Every record that the filter lets through, in folder order.
std::vector<Entry> ReadEntries(store::FolderReader& reader, const MailOrder& order) {
    const Filter filter(order.filter);
    const bool bySize = order.key == MailSortKey::Size;
    std::vector<Entry> entries;
    std::string before;
    for (int number = 0;; ++number) {
        const std::string_view record = reader.IndexRecord(number);
        // A size ends where the next mail begins.
        if (bySize && !before.empty() && !entries.empty() && entries.back().number == number - 1)
            entries.back().value = SizeOf(before, record).value_or(-1);
        if (record.empty()) break;
        if (bySize) before = record;
        if (filter.Matches(record)) entries.push_back(MakeEntry(number, record, order.key));
    }
    return entries;
}

void Sort(std::vector<Entry>& entries, bool backwards) {
    const auto isBefore = [](const Entry& left, const Entry& right) {
        const int compared = left.text.compare(right.text);
        return compared != 0 ? compared < 0 : left.value < right.value;
    };
    std::stable_sort(entries.begin(), entries.end(), [&](const Entry& left, const Entry& right) {
        return backwards ? isBefore(right, left) : isBefore(left, right);
    });
}

/// Puts mails together by their subjects. The index cuts long ones, and with a prefix before them earlier, so that a
/// cut subject stands for every longer one that begins with it.
class Threads {
  public:
    void Add(int number, std::string_view record) {
        std::string subject(Field(record, field::kSubject));
        const bool isWhole = subject.size() + 1 < field::kSubject.width;
        static_cast<void>(analyse::CountReplyDepth(subject));
        const bool isCut = !isWhole && subject.size() >= kShortestCut;
        Thread& thread = threads_[Find(subject, isCut)];
        thread.mails.push_back({number, DateSortKey(Field(record, field::kDate))});
    }

    [[nodiscard]] std::vector<int> TakeOrder(bool backwards) {
        if (backwards) std::reverse(threads_.begin(), threads_.end());
        std::vector<int> order;
        for (Thread& thread : threads_) {
            if (thread.mails.empty()) continue;
            std::stable_sort(thread.mails.begin() + 1, thread.mails.end(),
                             [](const Entry& left, const Entry& right) { return left.text < right.text; });
            for (const Entry& mail : thread.mails)
                order.push_back(mail.number);
        }
        return order;
    }

  private:
    struct Thread {
        std::vector<Entry> mails;
    };

    [[nodiscard]] std::size_t Find(const std::string& subject, bool isCut) {
        // Mails without a subject have nothing in common.
        if (subject.empty()) return NewThread();
        const auto longer = bySubject_.lower_bound(subject);
        if (longer != bySubject_.end() &&
            (isCut ? longer->first.starts_with(subject) : longer->first == subject))
            return longer->second;
        for (std::size_t length = kShortestCut; length < subject.size(); ++length) {
            const auto shorter = cut_.find(subject.substr(0, length));
            if (shorter != cut_.end()) return shorter->second;
        }
        const std::size_t thread = NewThread();
        bySubject_.emplace(subject, thread);
        if (isCut) cut_.emplace(subject, thread);
        return thread;
    }

    [[nodiscard]] std::size_t NewThread() {
        threads_.emplace_back();
        return threads_.size() - 1;
    }

    /// What a cut subject has to have left behind its prefixes to stand for a longer one.
    static constexpr std::size_t kShortestCut = 32;

    std::vector<Thread> threads_;
    std::map<std::string, std::size_t> bySubject_;
    std::unordered_map<std::string, std::size_t> cut_;
};

std::vector<int> MakeThreads(store::FolderReader& reader, const MailOrder& order) {
    const Filter filter(order.filter);
    Threads threads;
    for (int number = 0;; ++number) {
        const std::string_view record = reader.IndexRecord(number);
        if (record.empty()) break;
        if (filter.Matches(record)) threads.Add(number, record);
    }
    return threads.TakeOrder(order.backwards);
}

}  // namespace

std::vector<int> MakeMailOrder(store::FolderReader& reader, const MailOrder& order) {
    if (order.threads && order.key == MailSortKey::Number) return MakeThreads(reader, order);
    std::vector<Entry> entries = ReadEntries(reader, order);
    if (order.key != MailSortKey::Number) {
        Sort(entries, order.backwards);
    } else if (order.backwards) {
        std::reverse(entries.begin(), entries.end());
    }
    std::vector<int> numbers;
    numbers.reserve(entries.size());
    for (const Entry& entry : entries)
        numbers.push_back(entry.number);
    return numbers;
}

QString FoldedForSearch(const QString& text) {
    return text.normalized(QString::NormalizationForm_KC).toCaseFolded();
}

std::string DateSortKey(std::string_view date) {
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    const bool hasYear = date.size() >= 2 && isDigit(date[0]) && isDigit(date[1]);
    constexpr char kFirstYear = '7';
    // What is no date comes first.
    std::string key(!hasYear ? "0" : date[0] >= kFirstYear ? "19" : "20");
    key += date;
    return key;
}

}  // namespace postkite::ui
