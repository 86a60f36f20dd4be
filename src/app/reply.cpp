#include "app/reply.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <memory>

#include "analyse/mail_log.h"
#include "analyse/read_conditions.h"
#include "analyse/subjects.h"
#include "core/error_text.h"
#include "core/shift_jis.h"
#include "core/time_stamp.h"
#include "store/conversion.h"
#include "store/folder_properties.h"
#include "store/folder_reader.h"
#include "store/text_record.h"

namespace postkite::app {

using namespace core::literals;

namespace {

using store::MailRecord;

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kLongestBody = store::MAIL_BODY_MAX - store::kReadHeadroomBytes;

char FlagOf(const MailRecord& record, std::size_t position) {
    return position < record.flags.size() ? record.flags[position] : ' ';
}

bool WasReceived(const MailRecord& record) {
    const char origin = FlagOf(record, store::flag::kOrigin);
    return origin == 'R' || origin == 'r';
}

bool IsForumMessage(const MailRecord& record) {
    return FlagOf(record, store::flag::kKind) == 'N';
}

/// Takes the first line off the text, without its end: CR LF, or one of the two alone.
std::string_view TakeLine(std::string_view& text) {
    const std::size_t end = std::min(text.find_first_of(kLineEnd), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end);
    text.remove_prefix(text.starts_with(kLineEnd) ? kLineEnd.size() : std::min<std::size_t>(text.size(), 1));
    return line;
}

/// The number of a forum message, from the date field; 0 where there is none.
int MessageNumberOf(const MailRecord& record) {
    constexpr std::size_t kColumn = 9;
    constexpr std::size_t kColumns = 5;
    const std::string_view date = record.date;
    std::string_view digits = date.substr(std::min(date.size(), kColumn), kColumns);
    digits.remove_prefix(std::min(digits.find_first_not_of(' '), digits.size()));
    int number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc() && end == digits.data() + digits.size() ? std::max(number, 0) : 0;
}

/// Whether the text begins with the two lines by which the host opens a mail or a message.
bool BeginsWithHostLines(const MailRecord& record) {
    if (!WasReceived(record)) return false;
    std::string_view rest = record.body;
    const std::string_view first = TakeLine(rest);
    if (!IsForumMessage(record)) return analyse::IsMailHeaderLine(first);
    const int number = MessageNumberOf(record);
    int written = 0;
    const std::size_t blanks = std::min(first.find_first_not_of(' '), first.size());
    std::from_chars(first.data() + blanks, first.data() + first.size(), written);
    return number > 0 && written == number;
}

std::string Quoted(const MailRecord& record, std::string_view mark) {
    const std::string_view markAlone = store::WithoutTrailingBlanks(mark);
    std::string_view rest = record.body;
    if (BeginsWithHostLines(record)) {
        static_cast<void>(TakeLine(rest));
        static_cast<void>(TakeLine(rest));
    }
    std::string quoted;
    while (!rest.empty()) {
        const std::string_view line = TakeLine(rest);
        quoted.append(line.empty() ? markAlone : mark).append(line).append(kLineEnd);
    }
    return quoted;
}

/// "/FORUM,MESn,number"; empty where the mail is no message in the folder of its room.
std::string RoomOf(const MailRecord& record, std::string_view folder) {
    if (!IsForumMessage(record)) return {};
    const std::size_t parents = core::FindLastCharacter(folder, '#');
    analyse::ForumPlace place;
    const std::string_view name = parents == std::string_view::npos ? folder : folder.substr(parents + 1);
    if (!analyse::ParseForumPlace(name, place) || place.library) return {};
    const int number = MessageNumberOf(record);
    return "/" + place.forum + ",MES" + std::to_string(place.number) +
           (number > 0 ? "," + std::to_string(number) : "");
}

std::string HeadOf(const store::FolderFiles& files, const MailRecord& record) {
    std::string head;
    core::EntryKind kind{};
    if (files.workspace->Inspect(files.properties, kind) == 0 && kind == core::EntryKind::Missing) {
        head = store::DefaultReplyHeader(record, record.body);
    } else {
        // A file that cannot be read is no reason not to answer.
        static_cast<void>(store::BuildReplyHeader(files, record, head, record.body));
    }
    if (!head.empty() && !head.ends_with('\n')) head += kLineEnd;
    return head;
}

MailRecord Compose(store::Mailbox& mailbox, const core::Settings& settings, const core::Clock& clock,
                   const store::FolderFiles& files, const MailRecord& answered, std::string_view folder) {
    MailRecord reply;
    reply.flags = store::kComposedMailFlags;
    const std::string_view signature = settings.signature;
    if (signature.size() == 1 && signature[0] >= '1' && signature[0] <= '9')
        reply.flags[store::flag::kSignature] = signature[0];
    const std::string room = RoomOf(answered, folder);
    reply.address = room.empty() ? answered.address : room;
    reply.name = store::WithoutTrailingBlanks(answered.name);
    reply.date = core::FormatNowDate(clock);
    reply.subject = answered.subject;
    analyse::MakeReplySubject(reply.subject, settings.replySubjectStyle);
    // Left empty where there is none.
    static_cast<void>(store::ReadFolderDefaultAddress(files, reply.extraAddress));
    reply.sourceId = answered.localId;
    reply.messageId = mailbox.identifiers().MakeMessageId(settings.userId);
    reply.body = HeadOf(files, answered) + Quoted(answered, settings.quotationMark);
    return reply;
}

int Refuse(store::Mailbox& mailbox, int number, std::string_view japanese, std::string_view english) {
    core::UserInterface& ui = mailbox.ui();
    std::string text(core::Choose(ui, "メール "_sjis, "Mail "));
    text += std::to_string(number);
    text += core::Choose(ui, japanese, english);
    ui.ShowMessage(core::kProductName, text, core::MessageIcon::Stop);
    return -1;
}

int ReadAnswered(store::Mailbox& mailbox, const AnsweredMail& answered, MailRecord& record) {
    using Condition = store::FolderReader::Condition;
    const int number = answered.recordNumber;
    store::FolderReader reader;
    const int opened = reader.Open(mailbox.FilesOf(answered.folder));
    if (opened < 0 && opened != -ENOENT) {
        mailbox.ReportFault(answered.folder, opened);
        return -1;
    }
    const std::string_view row = opened == 0 ? reader.IndexRecord(number) : std::string_view();
    const bool isThere = !row.empty() && !store::IsDeleted(row);
    const Condition condition = isThere ? reader.ReadMail(number, kLongestBody, record) : Condition::Damaged;
    if (opened == 0 && reader.error() < 0) {
        mailbox.ReportFault(answered.folder, reader.error());
        return -1;
    }
    if (!isThere) return Refuse(mailbox, number, " はありません。"_sjis, " is not there.");
    if (condition == Condition::Damaged) {
        return Refuse(mailbox, number, " は壊れているため返信できません。"_sjis,
                      " is damaged and cannot be answered.");
    }
    if (condition == Condition::Cut) {
        return Refuse(mailbox, number, " の本文は長すぎるか、終わりがないため返信できません。"_sjis,
                      " has a body that is too long or has no end, and cannot be answered.");
    }
    return 0;
}

/// Whether the body can be read back: behind it come a line end, where it needs one, and the mark that ends a mail.
bool IsReadable(std::string_view body) {
    return body.size() + kLineEnd.size() + 1 + store::kTerminator.size() <= kLongestBody;
}

int Store(store::Mailbox& mailbox, std::string_view outbox, int answeredNumber, MailRecord& record,
          Reply& reply) {
    const auto writer = mailbox.OpenWriter(outbox);
    if (writer == nullptr) return -1;
    const int number = writer->nextRecordNumber();
    const int added = IsReadable(record.body) ? mailbox.AppendTo(*writer, record) : -EMSGSIZE;
    if (added == -EMSGSIZE)
        return Refuse(mailbox, answeredNumber, " への返信は長すぎます。"_sjis,
                      ": the reply would be too long.");
    if (added == -EINVAL) {
        return Refuse(mailbox, answeredNumber,
                      " への返信にメールの終わりの印があるため、保存できません。"_sjis,
                      ": the reply would hold the mark that ends a mail and cannot be stored.");
    }
    if (added < 0) {
        mailbox.ReportFault(outbox, added);
        return -1;
    }
    if (mailbox.Commit(*writer, outbox) < 0) return -1;
    reply = {number, record.localId, false};
    return 0;
}

}  // namespace

int MakeReply(store::Mailbox& mailbox, const core::Settings& settings, const core::Clock& clock,
              const AnsweredMail& answered, std::string_view outbox, std::string_view text, Reply& reply) {
    if (store::ConvertFolder(mailbox, outbox) < 0) return -1;
    // So that the record is still the same one when it gets its mark.
    core::WorkspaceLock lock;
    if (const int locked = mailbox.workspace().Lock(true, lock); locked < 0) {
        mailbox.ReportFault(outbox, locked);
        return -1;
    }
    MailRecord original;
    if (ReadAnswered(mailbox, answered, original) < 0) return -1;
    MailRecord record =
        Compose(mailbox, settings, clock, mailbox.FilesOf(answered.folder), original, answered.folder);
    record.body += text;
    if (Store(mailbox, outbox, answered.recordNumber, record, reply) < 0) return -1;
    reply.marked = mailbox.SetFlag(answered.folder, answered.recordNumber, store::flag::kReply, 'R') == 0;
    return 0;
}

}  // namespace postkite::app
