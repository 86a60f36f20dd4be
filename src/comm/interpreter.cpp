#include "comm/interpreter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "core/shift_jis.h"

namespace postkite::comm {

using namespace core::literals;

namespace {

constexpr std::int32_t kSecondsToBegin = 10;
constexpr std::int32_t kSecondsToLogOff = 60;
constexpr std::int32_t kSecondsWhileMailArrives = 30;

constexpr std::string_view kBusyStatus = "話し中"_sjis;
constexpr std::string_view kBusyCountdown = "話し中(ﾘﾀﾞｲｱﾙ待ち)-%d"_sjis;

}  // namespace

std::span<const Interpreter::Command> Interpreter::Commands() {
    using I = Interpreter;
    static constexpr auto kCommands = std::to_array<Command>({
        {"SEND_GOMAIL", &I::SendGoMail},
        {"CLEAR_RING_BUF", &I::ClearRingBuffer},
        {"WAIT_NEXT_LIST", &I::WaitNextList},
        {"WAIT_CONNECTIONID", &I::WaitConnectionId},
        {"MODEM_INIT", &I::ModemInit},
        {"CHECK_NEW_MAIL", &I::CheckNewMail},
        {"CHECK_SENDLOGF", &I::CheckSendLog},
        {"LOGOFF", &I::LogOff},
        {"LOGON", &I::LogOn},
        {"CHECK_SENDMAIL", &I::CheckSendMail},
        {"DELETE_MAIL", &I::DeleteMail},
        {"DOWN_MAIL", &I::DownMail},
        {"RELJUMP", &I::RelativeJump},
        {"SET_VOL", &I::SetVolume},
        {"SET_ATM", &I::SetVolume},
        {"WAIT_OSIRASE", &I::WaitNotice},
        {"WAIT", &I::Wait},
        {"WAIT_FORUM", &I::WaitForum},
        {"WAIT_TOP", &I::WaitTop},
        {"WAIT2", &I::WaitEither},
        {"WAIT3", &I::WaitEither},
        {"WAIT_CONNECT", &I::WaitConnect},
        {"SEND", &I::SendArgument},
        {"SEND_ID", &I::SendId},
        {"SEND_DIAL", &I::SendDial},
        {"SEND_PASSWORD", &I::SendPassword},
        {"WAIT_TIME", &I::WaitTime},
        {"READ_ID", &I::ReadId},
        {"READ_VANID", &I::ReadVanId},
        {"SEND_DID", &I::SendDestinationId},
        {"UPLOAD_HEADER", &I::UploadHeader},
        {"READ_MES_TO", &I::ReadMessageTarget},
        {"READ_FILE_FAST", &I::ReadFileFast},
        {"READ_FILE", &I::ReadFile},
        {"CHKSMAIL", &I::CheckSendMail},
        {"SEND_FBUF", &I::SendFileBuffer},
        {"GOTO", &I::GoTo},
        {"UPLOAD_FBUF", &I::UploadFileBuffer},
        {"WAIT_ACTION", &I::WaitAction},
        {"WAIT_SP1", &I::WaitSp1},
        {"END", &I::EndOfScript},
        {"MAIL_LOG_ON", &I::MailLogOn},
        {"MAIL_LOG_OFF", &I::MailLogOff},
        {"CHECK_SEND_END", &I::CheckSendEnd},
        {"CASE_FENICS", &I::CaseFenics},
        {"LIBLOGON", &I::LibraryLogOn},
        {"LIBLOGOFF", &I::LibraryLogOff},
        {"MESLOGON", &I::ForumLogOn},
        {"MESLOGOFF", &I::ForumLogOff},
        {"CHECKFORUM", &I::CheckForum},
        {"GOTOFORUM", &I::GoToForum},
        {"GOTOFORUML", &I::GoToLibraryForum},
        {"GOTOFORUMD", &I::GoToDownloadForum},
        {"GOTOMES", &I::GoToMessages},
        {"WRITEMESLASTACCESS", &I::WriteLastAccess},
        {"GOTOLIB", &I::GoToLibrary},
        {"GOTODOWNLIB", &I::GoToDownloadLibrary},
        {"DOLIST", &I::DoList},
        {"DODOWN", &I::DoDownload},
        {"WAITCCS", &I::WaitCcs},
        {"SENDFILENAME", &I::SendFileName},
        {"CHECKDOWNEND", &I::CheckDownEnd},
        {"WAIT05", &I::Wait05},
        {"WAITKOUMOKU", &I::WaitItem},
        {"BINUP", &I::BinaryUpload},
        {"SENDUPLOADFILENAME", &I::SendUploadFileName},
        {"SENDBINID", &I::SendBinaryId},
        {"WAITLIST", &I::WaitList},
        {"BINLISTON", &I::BinListOn},
        {"BINLISTOFF", &I::BinListOff},
        {"SENDBINMAILFNAME", &I::SendUploadFileName},
        {"HOSOKULOGON", &I::SupplementLogOn},
        {"HOSOKULOGOFF", &I::SupplementLogOff},
    });
    static_assert(kCommands.size() == kScriptCommands);
    return kCommands;
}

Interpreter::Interpreter(SerialLine& line, const WorkingScript& script, core::Workspace& workspace,
                         const core::Settings& settings, core::UserInterface& ui, SessionPartners& partners)
    : line_(&line),
      script_(&script),
      workspace_(&workspace),
      settings_(&settings),
      ui_(&ui),
      partners_(&partners) {
}

void Interpreter::Begin(PatrolLists lists, int logOffLine) {
    upload_.Close();
    state_ = State{};
    message_.reset();
    statusText_.clear();
    lists_ = std::move(lists);
    logOffLine_ = logOffLine;
    state_.line = 1;
    SetTimeOut(kSecondsToBegin);
}

int Interpreter::Step() {
    if (state_.line == 0) return kSessionGoesOn;
    if (state_.waitTicks != kNoTimeOut && --state_.waitTicks < 0) return Abandon();
    ShowRedialCountdown();
    if (state_.pauseTicks != 0) {
        --state_.pauseTicks;
        return kSessionGoesOn;
    }
    if (state_.fileSending) return SendUploadLines();
    return RunLine();
}

/// The code goes by the number of the line that waited, whatever stands in it: 2 is where the built-in
/// scripts set up the modem, 3 where they wait for its answer.
int Interpreter::Abandon() {
    state_.lastLine = state_.line;
    state_.ending = Ending::TimeOut;
    End();
    if (state_.lastLine == 2 || state_.lastLine == 3 || state_.lastLine == 17) return -state_.lastLine;
    return kSessionTimedOut;
}

int Interpreter::RunLine() {
    const int number = state_.line;
    int result = Execute(script_->line(number));
    if (result != kSessionGoesOn) {
        state_.lastLine = number;
        End();
    } else if (state_.line < 1 || state_.line >= kScriptLines) {
        state_.lastLine = number;
        state_.ending = Ending::NowhereToGo;
        End();
        result = kSessionTimedOut;
    }
    return result;
}

int Interpreter::Execute(std::string_view line) {
    const ScriptFields fields = SplitLine(line, settings_->fenicsLoad);
    if (line.empty() || fields.command.starts_with('*')) {
        Advance();
        return kSessionGoesOn;
    }
    if (!fields.second.empty()) ShowStatus(fields.second);
    if (EndsScript(line)) return EndOfScript(fields);
    for (const Command& command : Commands()) {
        if (command.name == fields.command) return (this->*command.run)(fields);
    }
    // A name that is no command's is tried again until the wait counter runs out.
    return kSessionGoesOn;
}

void Interpreter::HostIsAlive() {
    if (state_.line != 0 && state_.waitTicks != kNoTimeOut) SetTimeOut(kSecondsWhileMailArrives);
}

bool Interpreter::Disconnect() {
    if (logOffLine_ == 0) return false;
    CloseUpload();
    GoToLogOff();
    state_.answerOwed = state_.deletionNoted = false;
    state_.pauseTicks = 1;
    SetTimeOut(kSecondsToLogOff);
    return true;
}

void Interpreter::End() {
    if (state_.lastLine == 0) state_.lastLine = state_.line;
    CloseUpload();
    queue_.Close();
    state_.line = 0;
}

bool Interpreter::TakeUnconfirmed(std::string& localId) {
    localId = std::exchange(state_.uploadedId, {});
    return std::exchange(state_.uploaded, false);
}

void Interpreter::ShowRedialCountdown() {
    if (!std::string_view(statusText_).starts_with(kBusyStatus)) return;
    std::array<char, 48> text{};
    const int length =
        std::snprintf(text.data(), text.size(), kBusyCountdown.data(), state_.pauseTicks / kTicksPerSecond);
    ShowStatus(std::string_view(text.data(), static_cast<std::size_t>(length)));
}

void Interpreter::ShowStatus(std::string_view text) {
    // A line that waits shows its text on every tick; the status line has it already.
    if (text == statusText_) return;
    statusText_.assign(text);
    ui_->SetStatusText(text);
}

void Interpreter::Send(std::string_view text) {
    if (text.empty()) return;
    state_.callMayBeUp = true;
    line_->SendText(text);
}

bool Interpreter::Arrived(std::string_view text) {
    return line_->ring().RingEndsWith(text) == 0;
}

bool Interpreter::AnyArrived(std::span<const std::string_view> texts) {
    return std::any_of(texts.begin(), texts.end(), [this](std::string_view text) { return Arrived(text); });
}

int Interpreter::AdvanceAt(std::span<const std::string_view> prompts, std::int32_t seconds) {
    if (!AnyArrived(prompts)) return kSessionGoesOn;
    Advance();
    SetTimeOut(seconds);
    return kSessionGoesOn;
}

bool Interpreter::AnswerAt(std::string_view prompt, std::string_view answer, std::int32_t seconds) {
    if (!Arrived(prompt)) return false;
    Send(answer);
    SetTimeOut(seconds);
    return true;
}

void Interpreter::JumpTo(std::string_view target) {
    state_.line = target.starts_with('*') ? script_->LineOf(target) : Number(target);
}

void Interpreter::JumpToLabel(std::string_view target) {
    // The empty label is found too: at the first unused entry of the table, which has a line of an earlier
    // script or 0.
    state_.line = target.empty() || target.starts_with('*') ? script_->LineOf(target) : Number(target);
}

void Interpreter::GoToLogOff() {
    state_.line = logOffLine_;
}

std::int32_t Interpreter::Number(std::string_view text) {
    constexpr std::int32_t kLargest = 1'000'000;
    std::int32_t number = 0;
    for (const char character : text) {
        if (character < '0' || character > '9') break;
        number = std::min(number * 10 + (character - '0'), kLargest);
    }
    return number;
}

void Interpreter::Tell(std::string_view caption, std::string_view text) {
    if (settings_->autoMode == 0) message_ = Message{std::string(caption), std::string(text)};
}

}  // namespace postkite::comm
