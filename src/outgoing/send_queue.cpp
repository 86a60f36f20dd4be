#include "outgoing/send_queue.h"

#include <algorithm>
#include <new>

#include "core/error_log.h"
#include "core/error_text.h"
#include "core/line_reader.h"
#include "core/shift_jis.h"
#include "outgoing/message_file.h"
#include "outgoing/queue_builder.h"
#include "store/conversion.h"

namespace postkite::outgoing {

using namespace core::literals;

namespace {

constexpr std::string_view kIdentifierList = "BMTEMP.$$$\\MailID.tmp";

/// "subject (date): reason"
std::string Line(const Unsendable& mail, core::Language language) {
    constexpr std::size_t kWritingDateBytes = 14;
    std::string line = SubjectToSend(mail.subject) + " (";
    line += core::CutToBytes(mail.date, kWritingDateBytes);
    line += "): ";
    return line += DescribeRefusal(mail.refusal, language);
}

void TellUnsendable(store::Mailbox& mailbox, const std::vector<Unsendable>& mails, bool unattended) {
    if (mails.empty()) return;
    constexpr std::size_t kMostShown = 20;
    core::UserInterface& ui = mailbox.ui();
    std::string text(core::Choose(ui, "次のメールは送信できません。"_sjis, "These mails cannot be sent:"));
    for (std::size_t number = 0; number < mails.size(); ++number) {
        const std::string line = Line(mails[number], ui.language());
        core::LogError(mailbox.workspace(), line);
        if (number < kMostShown) text += "\r\n" + line;
    }
    if (mails.size() > kMostShown) {
        text += core::Choose(ui, "\r\nほか（error.log を参照）: "_sjis, "\r\nOthers, see error.log: ");
        text += std::to_string(mails.size() - kMostShown);
    }
    if (!unattended) ui.ShowMessage(core::kProductName, text, core::MessageIcon::Warning);
}

void Stop(store::Mailbox& mailbox, std::string_view text) {
    mailbox.ui().ShowMessage(core::kProductName, text, core::MessageIcon::Stop);
}

void TellFailure(store::Mailbox& mailbox, std::string_view outbox, const Failure& failure) {
    core::UserInterface& ui = mailbox.ui();
    if (failure.kind == Failure::Kind::Outbox) {
        mailbox.ReportFault(outbox, failure.error);
        return;
    }
    std::string text = failure.file;
    text += core::Choose(ui, " に書き込めないため、送信できません。\r\n"_sjis,
                         " cannot be written, so nothing can be sent.\r\n");
    text += core::DescribeError(failure.error, ui.language());
    core::LogError(mailbox.workspace(),
                   failure.file + ": " + core::DescribeError(failure.error, ui.language()));
    Stop(mailbox, failure.kind == Failure::Kind::MailList
                      ? "送信用作業ファイル SEND.INF を作成出来ません。"_sjis
                      : std::string_view(text));
}

/// False where it cannot be built, and the user knows.
bool BuildAndTell(QueueBuilder& builder, store::Mailbox& mailbox, std::string_view outbox) {
    try {
        const Failure failure = builder.Build(outbox);
        if (failure.kind == Failure::Kind::None) return true;
        builder.Discard();
        TellFailure(mailbox, outbox, failure);
    } catch (const std::bad_alloc&) {
        builder.Discard();
        Stop(mailbox, "メール送信に必要なメモリが確保できません。"_sjis);
    }
    return false;
}

}  // namespace

int BuildSendQueue(store::Mailbox& mailbox, const core::Settings& settings, std::string_view outbox,
                   PostOrder order, SendQueue& queue, const std::set<std::string, std::less<>>& accepted) {
    queue = SendQueue();
    QueueBuilder builder(mailbox, settings, order, accepted, queue);
    if (store::ConvertFolder(mailbox, outbox) < 0) {
        builder.Discard();
        queue.refused = true;
        return -1;
    }
    if (!BuildAndTell(builder, mailbox, outbox)) {
        queue.refused = true;
        return -1;
    }
    const bool unattended = settings.autoMode == 1;
    TellUnsendable(mailbox, builder.unsendable(), unattended);
    if (!queue.mails.empty()) return 0;
    if (builder.unsendable().empty() && !unattended) {
        mailbox.ui().ShowMessage(core::kProductName, "送信予約されたメールがありません。"_sjis,
                                 core::MessageIcon::Information);
    }
    return -1;
}

std::string QueuedMailId(const core::Workspace& workspace, int index) {
    constexpr std::size_t kLongestLine = 1024;
    std::unique_ptr<core::File> file;
    if (index < 0 || workspace.Open(kIdentifierList, core::OpenMode::Read, file) < 0) return {};
    core::LineReader reader(*file, kLongestLine);
    std::string line;
    for (int number = 0; number <= index; ++number) {
        if (core::ReadLogLine(reader, line) < 0) return {};
    }
    return line;
}

void RemoveMessageFiles(core::Workspace& workspace) {
    constexpr int kFiles = 50;
    for (int number = 0; number < kFiles; ++number) {
        if (workspace.Remove(std::to_string(number) + ".mtx") < 0) return;
    }
}

void MakeMailId(core::IdentifierMaker& identifiers, std::string& buffer) {
    buffer = identifiers.MakeMailKey();
}

}  // namespace postkite::outgoing
