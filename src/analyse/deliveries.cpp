#include "analyse/deliveries.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "core/error_log.h"
#include "core/letter_case.h"
#include "core/shift_jis.h"
#include "store/index_record.h"
#include "store/text_record.h"

namespace postkite::analyse {

using namespace core::literals;

namespace {

/// The sorting rules' targets and the Inbox.
constexpr std::size_t kMostOpenFolders = 110;

/// What a full disk takes back at most.
constexpr std::uint64_t kBytesOfBatch = 16 * 1024 * 1024;

/// Many folders with a little each must not fill the memory.
constexpr std::size_t kMostGatheredBytes = 2 * 1024 * 1024;

bool IsDiskFault(int error) {
    return error == -ENOSPC || error == -EDQUOT || error == -EIO || error == -EROFS;
}

struct FieldWidth {
    std::string store::MailRecord::*member;
    std::size_t bytes;
};

constexpr FieldWidth kFields[] = {
    {&store::MailRecord::flags, 50},     {&store::MailRecord::localId, 50},
    {&store::MailRecord::address, 2499}, {&store::MailRecord::name, 511},
    {&store::MailRecord::date, 50},      {&store::MailRecord::subject, 513},
    {&store::MailRecord::attach, 999},   {&store::MailRecord::cc, 2499},
    {&store::MailRecord::bcc, 2499},     {&store::MailRecord::extraAddress, 1023},
    {&store::MailRecord::sizeText, 99},  {&store::MailRecord::sourceId, 99},
    {&store::MailRecord::messageId, 99}, {&store::MailRecord::spare1, 99},
    {&store::MailRecord::spare5, 99},
};

/// What a line adds to its field: CR LF, and a blank behind what would look like the end mark.
constexpr std::size_t kMostAddedToLine = 3;

/// Makes the fields storable. Returns how many bytes the header lines take at most.
std::size_t MakeFieldsStorable(store::MailRecord& record) {
    std::size_t bytes = store::kMostHeaderLines * kMostAddedToLine + store::kDateLineBytes +
                        store::index_field::kLocalId.width;
    for (const FieldWidth& field : kFields) {
        std::string& value = record.*field.member;
        if (value.size() > field.bytes) value.resize(core::CutToBytes(value, field.bytes).size());
        for (char& byte : value) {
            if (byte == '\r' || byte == '\n' || byte == '\0') byte = ' ';
        }
        bytes += value.size();
    }
    return bytes;
}

/// The blank goes where the store puts one into what ends so.
void BreakEndMarks(std::string& body) {
    std::size_t mark = body.find(store::kTerminator);
    if (mark == std::string::npos) return;
    std::string broken;
    std::size_t from = 0;
    for (; mark != std::string::npos; mark = body.find(store::kTerminator, from)) {
        const std::size_t lineEnd = mark + 2;
        broken.append(body, from, lineEnd - from) += ' ';
        from = lineEnd;
    }
    broken.append(body, from);
    body = std::move(broken);
}

/// What the store puts between the body and the end mark.
std::string_view LineEndBehind(std::string_view body) {
    const std::string_view end = store::EndBehind(body);
    return end.substr(0, end.size() - store::kTerminator.size());
}

}  // namespace

bool MakeStorable(store::MailRecord& record) {
    const std::size_t headerBytes = MakeFieldsStorable(record);
    // What is read at most, and what compaction copies at most, both with the end mark.
    const std::size_t limit = std::min(store::MAIL_BODY_MAX - store::kReadHeadroomBytes,
                                       store::kLongestTextRecordBytes - headerBytes) -
                              store::kTerminator.size();
    std::string& body = record.body;
    if (const std::size_t zero = body.find('\0'); zero != std::string::npos)
        std::replace(body.begin() + static_cast<std::ptrdiff_t>(zero), body.end(), '\0', ' ');
    BreakEndMarks(body);
    const bool cut = body.size() + LineEndBehind(body).size() > limit;
    if (cut) body.resize(core::CutToBytes(body, limit - kMostAddedToLine).size());
    body += LineEndBehind(body);
    return cut;
}

Deliveries::Deliveries(store::Mailbox& mailbox, BeforeFirst beforeFirst)
    : mailbox_(&mailbox), beforeFirst_(std::move(beforeFirst)) {
}

Deliveries::Target& Deliveries::TargetOf(std::string_view folder) {
    folder = mailbox_->FolderWritten(folder);
    const auto found = targets_.find(folder);
    if (found != targets_.end()) return *found->second;
    // A folder open twice would lose what the one or the other wrote.
    const auto same = std::find_if(targets_.begin(), targets_.end(), [folder](const auto& target) {
        return core::EqualIgnoringCase(target.first, folder);
    });
    auto target = same == targets_.end() ? std::make_shared<Target>() : same->second;
    if (same == targets_.end()) target->folder = folder;
    return *targets_.emplace(folder, std::move(target)).first->second;
}

int Deliveries::OpenFolder(std::string_view folder) {
    Target& target = TargetOf(folder);
    target.lastUse = ++uses_;
    if (target.writer == nullptr && target.state == State::Usable) Open(target);
    return target.state == State::CannotBeOpened ? -1 : 0;
}

void Deliveries::Open(Target& target) {
    if (openTargets_ >= kMostOpenFolders) CloseLeastUsed();
    int error = 0;
    target.writer = mailbox_->OpenWriter(target.folder, &error);
    if (target.writer != nullptr) {
        ++openTargets_;
        return;
    }
    target.state = target.begun ? State::Failed : State::CannotBeOpened;
    if (!IsDiskFault(error)) return;
    hopeless_ = true;
    complete_ = false;
}

void Deliveries::CloseLeastUsed() {
    Target* least = nullptr;
    for (const auto& [name, target] : targets_) {
        if (target->writer != nullptr && (least == nullptr || target->lastUse < least->lastUse))
            least = target.get();
    }
    if (least == nullptr) return;
    Commit(*least);
    Close(*least);
}

int Deliveries::Deliver(std::string_view folder, store::MailRecord& record) {
    Target& target = TargetOf(folder);
    if (OpenFolder(folder) < 0 || target.state != State::Usable || hopeless_) {
        complete_ = false;
        return -1;
    }
    const bool cut = MakeStorable(record);
    const int added = Append(target, record);
    if (added < 0) {
        Fail(target, added);
        return -1;
    }
    if (cut) LogCutBody(target, record);
    if (deliveredBytes_ > kBytesOfBatch || gatheredBytes_ > kMostGatheredBytes) CommitAll();
    return target.state == State::Usable ? 0 : -1;
}

int Deliveries::Append(Target& target, store::MailRecord& record) {
    if (!target.begun && beforeFirst_) {
        const int allowed = beforeFirst_(target.folder);
        if (allowed < 0) return allowed;
    }
    target.begun = true;
    const int added = mailbox_->AppendTo(*target.writer, record);
    if (added < 0) return added;
    ++target.uncommitted;
    deliveredBytes_ += record.body.size() + store::kIndexRecordBytes;
    CountGathered(target);
    return 0;
}

void Deliveries::CountGathered(Target& target) {
    gatheredBytes_ -= target.gatheredBytes;
    target.gatheredBytes = target.writer == nullptr ? 0 : target.writer->gatheredBytes();
    gatheredBytes_ += target.gatheredBytes;
}

void Deliveries::CommitAll() {
    for (const auto& [name, target] : targets_)
        Commit(*target);
    deliveredBytes_ = 0;
}

void Deliveries::Commit(Target& target) {
    if (target.writer == nullptr || target.uncommitted == 0) return;
    const int committed = target.writer->Commit();
    if (committed < 0) return Fail(target, committed);
    committed_ += std::exchange(target.uncommitted, 0);
    CountGathered(target);
}

/// The whole batch goes back, that of the other folders too: so what is stored of a capture ends where the last batch did.
void Deliveries::Fail(Target& target, int error) {
    // A full disk fails one folder after the other: once is enough.
    if (!hopeless_) mailbox_->ReportFault(target.folder, error);
    hopeless_ = true;
    takenBack_ = true;
    target.state = State::Failed;
    complete_ = false;
    for (const auto& [name, other] : targets_) {
        other->uncommitted = 0;
        Close(*other);
    }
}

void Deliveries::Close(Target& target) {
    if (target.writer == nullptr) return;
    target.writer.reset();
    --openTargets_;
    CountGathered(target);
}

int Deliveries::Release(std::string_view folder) {
    CommitAll();
    Close(TargetOf(folder));
    return complete_ ? 0 : -1;
}

int Deliveries::Finish() {
    CommitAll();
    for (const auto& [name, target] : targets_)
        Close(*target);
    return complete_ ? 0 : -1;
}

void Deliveries::LogCutBody(const Target& target, const store::MailRecord& record) {
    const bool japanese = mailbox_->ui().language() == core::Language::Japanese;
    std::string text(japanese ? "フォルダ "_sjis : "The folder "_sjis);
    text += target.folder;
    text += japanese ? " のメール「"_sjis : ": the mail \""_sjis;
    text += record.subject;
    text += japanese ? "」は長すぎるため途中で切りました。"_sjis : "\" is too long and was cut."_sjis;
    core::LogError(mailbox_->workspace(), text);
}

}  // namespace postkite::analyse
