#include "analyse/subjects.h"

#include <algorithm>
#include <limits>

#include "core/letter_case.h"
#include "core/positional_file.h"
#include "core/shift_jis.h"

namespace postkite::analyse {

using namespace core::literals;

namespace {

constexpr std::string_view kPlain = "re:";
constexpr std::string_view kCounted = "re^";
constexpr std::string_view kTreeMark = "┗"_sjis;
constexpr std::size_t kBlanksForTwoDigits = 10;

bool BeginsWith(std::string_view subject, std::string_view prefix) {
    return core::EqualIgnoringCase(subject.substr(0, prefix.size()), prefix);
}

/// What a subject begins with. No blanks are passed over.
struct Prefix {
    std::size_t bytes = 0;        ///< 0: none
    std::string_view count = {};  ///< of a counted one
};

Prefix PrefixOf(std::string_view subject) {
    if (BeginsWith(subject, kPlain)) return {kPlain.size()};
    if (!BeginsWith(subject, kCounted)) return {};
    for (const std::size_t digits : {1U, 2U}) {
        const std::size_t colon = kCounted.size() + digits;
        if (subject.size() > colon && subject[colon] == ':')
            return {colon + 1, subject.substr(kCounted.size(), digits)};
    }
    return {};
}

void RemoveLeadingBlanks(std::string_view& subject) {
    subject.remove_prefix(std::min(subject.find_first_not_of(' '), subject.size()));
}

/// `StripReplyPrefix` without moving the text, which many prefixes would make costly.
int TakePrefix(std::string_view& subject) {
    RemoveLeadingBlanks(subject);
    const Prefix prefix = PrefixOf(subject);
    subject.remove_prefix(prefix.bytes);
    if (prefix.count.empty()) return prefix.bytes == 0 ? 0 : 1;
    // "-1" is two bytes, too; an answer is never above its mail.
    return std::max(core::ParseInteger(prefix.count), 0);
}

int AddDepths(int left, int right) {
    return left > std::numeric_limits<int>::max() - right ? std::numeric_limits<int>::max() : left + right;
}

void IndentBy(std::string& subject, std::size_t blanks) {
    subject.insert(0, std::string(blanks, ' ') + std::string(kTreeMark));
}

}  // namespace

int StripReplyPrefix(std::string& subject) {
    std::string_view left = subject;
    const int depth = TakePrefix(left);
    subject.erase(0, subject.size() - left.size());
    return depth;
}

int CountReplyDepth(std::string& subject) {
    std::string_view left = subject;
    int sum = 0;
    while (const int depth = TakePrefix(left))
        sum = AddDepths(sum, depth);
    RemoveLeadingBlanks(left);
    subject.erase(0, subject.size() - left.size());
    return sum;
}

void MakeReplySubject(std::string& subject, int style) {
    const int depth = CountReplyDepth(subject);
    const bool plain = style == 0 || depth == 0;
    subject.insert(0, plain ? "Re:" : "Re^" + std::to_string(AddDepths(depth, 1)) + ":");
}

void IndentSubjectByPrefix(std::string& subject) {
    const Prefix prefix = PrefixOf(subject);
    if (prefix.bytes == 0) return;
    if (prefix.count.size() == 2) {
        // Two-digit counts have never had the mark.
        subject.insert(0, kBlanksForTwoDigits, ' ');
    } else {
        const int count = core::ParseInteger(prefix.count);
        IndentBy(subject, static_cast<std::size_t>(std::max(count - 1, 0)));
    }
}

void IndentSubjectByDepth(std::string& subject, char depthDigit) {
    if (depthDigit < '1' || depthDigit > '9') return;
    IndentBy(subject, static_cast<std::size_t>(depthDigit - '0'));
}

}  // namespace postkite::analyse
