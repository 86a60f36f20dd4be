#include <array>
#include <charconv>
#include <string>
#include <system_error>
#include <utility>

#include "comm/interpreter.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/shift_jis.h"

/// Sending the queued mails, listing and reading those that wait.
namespace postkite::comm {

using namespace core::literals;

namespace {

constexpr std::int32_t kSecondsAfterLogOn = 20;
constexpr std::int32_t kSecondsAfterPrompt = 30;
constexpr std::int32_t kSecondsForHost = 60;
constexpr std::int32_t kSecondsForUpload = 120;

constexpr std::string_view kAddressee = "TO:";
constexpr std::string_view kGateway = "INET:";
constexpr std::string_view kSubject = "SUB:";
/// The header of more than a thousand addressees. A queue file that has no "SUB:" line does not fill the
/// memory.
constexpr std::size_t kLongestHeader = 262144;

/// A mail's line in the host's listing, and what of it holds the number.
constexpr std::size_t kListedLineBytes = 54;
constexpr std::size_t kListedNumberBytes = 4;
constexpr std::size_t kMostListedMails = 10000;

constexpr auto kNextListPrompts = std::to_array<std::string_view>({
    "(M,S,F,H,Q,B,RBn,SCn,Dn,RT,PFn,J,DLn)=",
    "(M,S,F,H,Q,N,RBn,SCn,Dn,RT,PFn,J,DLn)=",
    "(M,S,F,H,Q,RBn,SCn,Dn,RT,PFn,J,DLn)=",
    "(M,S,F,H,Q,RBn,SCn,Dn,E,RT,PFn,J,DLn)=",
    "(M,S,F,H,Q,B,RBn,SCn,Dn,E,RT,PFn,J,DLn)=",
});
constexpr auto kFurtherPagePrompts = std::to_array<std::string_view>({
    "(M,S,F,H,Q,N,B,RBn,SCn,Dn,RT,PFn,J,DLn)=",
    "(M,S,F,H,Q,N,B,RBn,SCn,Dn,E,RT,PFn,J,DLn)=",
    "(M,S,F,H,Q,N,RBn,SCn,Dn,E,RT,PFn,J,DLn)=",
});
constexpr std::string_view kEmptyListPrompt = "(M,F,H,Q,R,RB,SC,J)=";

constexpr auto kMailMenuPrompts =
    std::to_array<std::string_view>({"電子メール（1:受信　2:送信　3:送信簿　0:その他　E:終了）\r\n＞"_sjis});
constexpr auto kAfterReadingPrompts = std::to_array<std::string_view>({
    "受信後 (1:削除  2:保存  *:返信  *:返信＋削除  5:転送  6:転送＋削除  E:終了)\r\n："_sjis,
    "受信後 (1:削除  2:保存  3:返信  4:返信＋削除  5:転送  6:転送＋削除  E:終了)\r\n："_sjis,
});
constexpr auto kContinuePrompts = std::to_array<std::string_view>({
    "続き (改行で表示　E:終了)\r\n＞"_sjis,
    "続き (改行で次頁　S:次文書　E:終了)\r\n＞"_sjis,
});

constexpr auto kRefusingPrompts = std::to_array<std::string_view>({"(Y,N)=", "(Y,N,GW)="});
constexpr auto kNoticesReadPrompts = std::to_array<std::string_view>({"(H,Q,J)=", "さい="_sjis});

}  // namespace

/// Whatever is read afterwards is deleted on the host, so nothing is read that cannot be captured.
int Interpreter::MailLogOn(const ScriptFields&) {
    CaptureLogs& captures = line_->captures();
    if (const int error = captures.BeginMail(); error < 0) {
        core::LogError(*workspace_, std::string(kMailLogFile) + ": " +
                                        core::DescribeError(error, core::Language::English));
        std::string text(core::Choose(*ui_, "受信ファイル maillog.txt を作成出来ません。"_sjis,
                                      "The capture file maillog.txt cannot be made."));
        text += "\r\n" + core::DescribeError(error, ui_->language());
        GoToLogOff();
        Tell(core::kProductName, text);
        return kSessionGoesOn;
    }
    captures.FlushCapture();
    captures.switches.captureMail = true;
    line_->mailCaptureArmed = true;
    Advance();
    SetTimeOut(kSecondsAfterLogOn);
    return kSessionGoesOn;
}

int Interpreter::MailLogOff(const ScriptFields&) {
    line_->captures().FlushCapture();
    line_->captures().switches.captureMail = false;
    Advance();
    SetTimeOut(kSecondsForHost);
    return kSessionGoesOn;
}

int Interpreter::CheckNewMail(const ScriptFields&) {
    const int count = partners_->CountCapturedMails();
    if (count > 0) {
        ShowStatus(std::to_string(count) + std::string(" メイルあり"_sjis));
    } else {
        ShowStatus("未読メールはありません。"_sjis);
    }
    Advance();
    return kSessionGoesOn;
}

int Interpreter::CheckSendLog(const ScriptFields& fields) {
    if (settings_->sendLog == 1) {
        Advance();
    } else {
        JumpToLabel(fields.second);
    }
    return kSessionGoesOn;
}

/// `CHECK_SENDMAIL` and `CHKSMAIL`.
int Interpreter::CheckSendMail(const ScriptFields& fields) {
    if (queue_.hasMails()) {
        Advance();
    } else {
        JumpTo(fields.first);
    }
    return kSessionGoesOn;
}

int Interpreter::ReadFileFast(const ScriptFields& fields) {
    state_.header.clear();
    std::string line;
    while (state_.header.size() < kLongestHeader && queue_.ReadMailLine(line)) {
        state_.header += line;
        state_.header += '\r';
        if (!line.starts_with(kSubject)) continue;
        if (!queue_.ReadMailLine(state_.lineBuffer)) break;
        Advance();
        SetTimeOut(kSecondsForHost);
        return kSessionGoesOn;
    }
    if (!state_.header.empty()) {
        // The name of the mail before still stands in the line buffer: going on would send that one again.
        core::LogError(*workspace_, std::string(kMailQueueFile) + ": a mail without subject or file");
        state_.header.clear();
    }
    JumpToLabel(fields.first);
    return kSessionGoesOn;
}

int Interpreter::ReadFile(const ScriptFields& fields) {
    if (!queue_.ReadMailLine(state_.lineBuffer)) {
        JumpTo(fields.first);
        return kSessionGoesOn;
    }
    Advance();
    SetTimeOut(kSecondsForHost);
    return kSessionGoesOn;
}

int Interpreter::UploadHeader(const ScriptFields&) {
    Send(state_.header);
    Advance();
    return kSessionGoesOn;
}

int Interpreter::UploadFileBuffer(const ScriptFields&) {
    state_.uploaded = false;
    if (const int error = upload_.Open(*workspace_, state_.lineBuffer); error < 0) {
        RefuseUpload(error);
        return kSessionGoesOn;
    }
    // The file's own name is its number. In the queue's directory that is what stands behind its eleven
    // characters.
    const std::string_view name = state_.lineBuffer;
    const std::size_t separator = core::FindLastCharacter(name, '\\');
    state_.mailIndex = Number(separator == std::string_view::npos ? name : name.substr(separator + 1)) - 1;
    int noted = queue_.MailId(state_.mailIndex, state_.uploadedId);
    if (noted == 0 && !state_.uploadedId.empty()) noted = partners_->MailGoesOut(state_.uploadedId);
    if (noted < 0) {
        RefuseToNote(noted);
        return kSessionGoesOn;
    }
    Advance();
    state_.fileSending = true;
    state_.routePrompt = false;
    state_.fileBytesSent = 0;
    SetTimeOut(kSecondsForUpload);
    return kSessionGoesOn;
}

int Interpreter::SendFileBuffer(const ScriptFields&) {
    Send(state_.lineBuffer + "\r");
    Advance();
    SetTimeOut(kSecondsForHost);
    return kSessionGoesOn;
}

int Interpreter::CheckSendEnd(const ScriptFields&) {
    if (std::string localId; TakeUnconfirmed(localId)) {
        ++state_.sent;
        if (!localId.empty()) {
            partners_->MarkMailSent(localId);
        } else {
            ++state_.unmarked;
            core::LogError(*workspace_, "CHECK_SEND_END: no identifier for " + state_.lineBuffer);
        }
    }
    Advance();
    SetTimeOut(kSecondsForHost);
    return kSessionGoesOn;
}

/// The host forgets a mail with the command that follows, so what has been received of it, and that it is forgotten, is on
/// the disk first. False where the disk does not take it.
bool Interpreter::MayDelete(Deletion deletion) {
    CaptureLogs& captures = line_->captures();
    captures.WritePending();
    if (captures.HasTrouble()) return false;
    if (!state_.deletionNoted) captures.NoteDeletion(deletion);
    state_.deletionNoted = true;
    if (!captures.MailIsOnDisk()) return false;
    state_.deletionNoted = false;
    return true;
}

int Interpreter::WaitAction(const ScriptFields&) {
    if (Arrived("action:")) state_.answerOwed = true;
    if (state_.answerOwed) {
        if (!MayDelete(Deletion::BehindMail)) return kSessionGoesOn;
        state_.answerOwed = false;
        Send("DELETE\r");
        SetTimeOut(kSecondsForHost);
    } else if (Arrived("MAIL>")) {
        Advance();
        SetTimeOut(kSecondsForHost);
    }
    return kSessionGoesOn;
}

int Interpreter::WaitSp1(const ScriptFields&) {
    if (AnyArrived(kMailMenuPrompts)) {
        Advance();
        SetTimeOut(kSecondsAfterPrompt);
    } else if (state_.answerOwed || AnyArrived(kAfterReadingPrompts)) {
        state_.answerOwed = !MayDelete(Deletion::BehindMail);
        if (state_.answerOwed) return kSessionGoesOn;
        Send("1\r");
        SetTimeOut(kSecondsAfterPrompt);
    } else if (AnyArrived(kContinuePrompts)) {
        Send("\r");
        SetTimeOut(kSecondsAfterPrompt);
    }
    return kSessionGoesOn;
}

int Interpreter::DeleteMail(const ScriptFields& fields) {
    const bool deletes = state_.deleteIndex < state_.listedMails.size();
    if (deletes && !MayDelete(Deletion::ByNumber)) return kSessionGoesOn;
    return SendListedNumber(fields, state_.deleteIndex, "D");
}

int Interpreter::DownMail(const ScriptFields& fields) {
    return SendListedNumber(fields, state_.downIndex, "rb");
}

int Interpreter::SendListedNumber(const ScriptFields& fields, std::size_t& index, std::string_view before) {
    if (index >= state_.listedMails.size()) {
        JumpTo(fields.first);
        return kSessionGoesOn;
    }
    Send(std::string(before) + std::to_string(state_.listedMails[index]) + "\r\n");
    ++index;
    Advance();
    return kSessionGoesOn;
}

int Interpreter::WaitNextList(const ScriptFields&) {
    if (line_->ring().RingHasNoUnreadMail() == 1 || Arrived(kEmptyListPrompt)) {
        GoToLogOff();
    } else if (AnyArrived(kNextListPrompts)) {
        Advance();
        SetTimeOut(kSecondsForHost);
    } else if (AnyArrived(kFurtherPagePrompts)) {
        Send("\r\n");
        SetTimeOut(kSecondsForHost);
    }
    return kSessionGoesOn;
}

int Interpreter::WaitNotice(const ScriptFields&) {
    if (AnyArrived(kRefusingPrompts)) {
        Send("N\r\n");
        SetTimeOut(kSecondsAfterPrompt);
    } else if (AnyArrived(kNoticesReadPrompts)) {
        Advance();
        SetTimeOut(kSecondsAfterPrompt);
    }
    return kSessionGoesOn;
}

int Interpreter::WaitList(const ScriptFields& fields) {
    if (Arrived("－あなた宛のメールはありません－\r\nMAIL>"_sjis)) {
        JumpToLabel(fields.second);
        SetTimeOut(kSecondsForHost);
    } else if (Arrived("MAIL>")) {
        Advance();
        SetTimeOut(kSecondsForHost);
    }
    return kSessionGoesOn;
}

/// The next line of the queue, an addressee or not.
int Interpreter::ReadId(const ScriptFields&) {
    if (!queue_.ReadMailLine(state_.identifier)) state_.identifier.clear();
    TakeIdentifier();
    Advance();
    return kSessionGoesOn;
}

/// The next addressee. At the end of the queue the script goes on without one; a line that is no addressee
/// stays where it is, for `READ_FILE` and the like, and the script goes to its first argument.
int Interpreter::ReadVanId(const ScriptFields& fields) {
    const SendQueueReader::Next next = queue_.ReadMailLineIf(kAddressee, state_.identifier);
    if (next != SendQueueReader::Next::Taken) state_.identifier.clear();
    TakeIdentifier();
    if (next == SendQueueReader::Next::Other) {
        JumpTo(fields.first);
    } else {
        Advance();
    }
    return kSessionGoesOn;
}

/// The identifier alone: what stands before it in the queue is written anew by `SEND_DID`.
void Interpreter::TakeIdentifier() {
    for (const std::string_view before : {kAddressee, kGateway}) {
        if (state_.identifier.starts_with(before)) state_.identifier.erase(0, before.size());
    }
}

int Interpreter::SendDestinationId(const ScriptFields&) {
    const std::string_view route = settings_->fenicsLoad;
    if (route == "1" || route == "2" || route == "3") Send(kGateway);
    Send("INET#" + state_.identifier + "\r");
    Advance();
    return kSessionGoesOn;
}

void Interpreter::Heard(std::string_view text) {
    if (state_.line == 0) return;
    constexpr std::size_t kLongestAnswer = 256;
    if (state_.modemAnswer.size() < kLongestAnswer)
        state_.modemAnswer += text.substr(0, kLongestAnswer - state_.modemAnswer.size());
    const std::string& line = script_->line(state_.line);
    if (SplitLine(line, settings_->fenicsLoad).command != "WAIT_NEXT_LIST") {
        state_.listingLine.clear();
        return;
    }
    for (const char byte : text) {
        if (byte == '\r' || byte == '\n') {
            TakeListingLine();
        } else if (state_.listingLine.size() <= kListedLineBytes) {
            state_.listingLine += byte;
        }
    }
}

/// A mail's line in the listing has its number in front of the sender's name, and the date and time at its
/// end.
void Interpreter::TakeListingLine() {
    const std::string line = std::exchange(state_.listingLine, {});
    if (line.size() != kListedLineBytes || line[39] != ' ' || line[42] != '/' || line[45] != '/' ||
        line[48] != ' ' || line[51] != ':')
        return;
    const std::size_t digits = line.find_first_not_of(' ');
    if (digits >= kListedNumberBytes || state_.listedMails.size() == kMostListedMails) return;
    int number = 0;
    const auto [end, error] = std::from_chars(line.data() + digits, line.data() + kListedNumberBytes, number);
    if (error == std::errc()) state_.listedMails.push_back(number);
}

}  // namespace postkite::comm
