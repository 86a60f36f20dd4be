#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "comm/script.h"
#include "comm/send_queue_reader.h"
#include "comm/serial_line.h"
#include "comm/session_partners.h"
#include "comm/session_result.h"
#include "comm/upload_file.h"
#include "core/settings.h"
#include "core/user_interface.h"
#include "core/workspace.h"

namespace postkite::comm {

/// Five ticks make a second; every time in a script is counted in them.
inline constexpr std::int32_t kTicksPerSecond = 5;

/// Runs a script against the line, a step a tick. A step never waits: a command that waits for something
/// leaves the current line as it is and is tried again with the next step. Holds all that a session
/// remembers. Borrows everything it is made from; the working script must not change while it runs.
class Interpreter {
  public:
    /// The wait counter that never runs out.
    static constexpr std::int32_t kNoTimeOut = 32767;

    Interpreter(SerialLine& line, const WorkingScript& script, core::Workspace& workspace,
                const core::Settings& settings, core::UserInterface& ui, SessionPartners& partners);

    /// Forgets the session before and stands at line 1 with ten seconds to go. `logOffLine` is where the
    /// script's log-off begins, 0 when it has none. The send queue is the caller's to open, before or after.
    void Begin(PatrolLists lists, int logOffLine);

    /// A tick. Returns `kSessionGoesOn`, or how the script has come out: the current line is 0 then.
    [[nodiscard]] int Step();

    /// A message that the user is to see once the step is over.
    struct Message {
        std::string caption;
        std::string text;
    };
    /// The one of the last step, if there is one. It is the caller's now.
    [[nodiscard]] std::optional<Message> TakeMessage() { return std::exchange(message_, std::nullopt); }

    /// What has just arrived, cleaned, before the step: for the numbers of the mails that the host lists, and for the
    /// modem's answer.
    void Heard(std::string_view text);

    /// While mail is captured, whatever arrives gives the host another 30 seconds.
    void HostIsAlive();

    /// Goes on with the log-off. False when the script has none.
    [[nodiscard]] bool Disconnect();

    /// Closes all files; the current line becomes 0.
    void End();

    [[nodiscard]] int currentLine() const { return state_.line; }
    [[nodiscard]] std::int32_t waitTicks() const { return state_.waitTicks; }
    [[nodiscard]] std::int32_t pauseTicks() const { return state_.pauseTicks; }
    [[nodiscard]] std::uint64_t bytesSent() const { return state_.bytesSent; }
    /// Mails and posts that the host has taken.
    [[nodiscard]] int sent() const { return state_.sent; }
    /// Those of them whose mail in the Outbox could not be named, and so is not marked.
    [[nodiscard]] int unmarked() const { return state_.unmarked; }
    /// Whether something that was to be sent was not, for want of its file or of a note of it. The user knows.
    [[nodiscard]] bool refusedUpload() const { return state_.refusedUpload; }

    /// Whether a mail went out whole and the script has not come to its confirmation by the host. Told once; `localId` is the
    /// mail's identifier, empty where it has none.
    [[nodiscard]] bool TakeUnconfirmed(std::string& localId);

    /// Whether a call may be up: something has been sent since the modem was last set up or told to hang up.
    [[nodiscard]] bool callMayBeUp() const { return state_.callMayBeUp; }
    /// Whether the modem has said "OK" since it was last set up, whatever came behind it.
    [[nodiscard]] bool modemSaidOk() const { return state_.modemAnswer.find("OK") != std::string::npos; }
    /// Whether the host has been left: what is lost of the line from then on is no fault.
    [[nodiscard]] bool loggedOff() const { return state_.loggedOff; }
    /// Where the script was when it came out.
    [[nodiscard]] int lastLine() const { return state_.lastLine; }
    /// Why it came out. A time-out of line 17 and a busy line have one code.
    enum class Ending { None, End, TimeOut, NowhereToGo, Busy, GaveUp };
    [[nodiscard]] Ending ending() const { return state_.ending; }

    [[nodiscard]] SendQueueReader& queue() { return queue_; }

    using Handler = int (Interpreter::*)(const ScriptFields& fields);
    struct Command {
        std::string_view name;
        Handler run;
    };
    /// The 73 commands, in the order in which they are told apart.
    [[nodiscard]] static std::span<const Command> Commands();

  private:
    /// All that a session remembers. A new session begins with a new one.
    struct State {
        int line = 0;
        std::int32_t waitTicks = 0;
        std::int32_t pauseTicks = 0;
        int redials = 0;
        int hostNameRetries = 0;
        bool callMayBeUp = false;
        std::string modemAnswer;  ///< the beginning of what has arrived since the modem was set up
        int lastLine = 0;
        Ending ending = Ending::None;

        // Mail.
        std::vector<int> listedMails;  ///< the numbers that the host lists them by
        std::size_t deleteIndex = 0;   ///< of the one that is deleted next
        std::size_t downIndex = 0;     ///< of the one that is read next
        std::string listingLine;       ///< what has arrived of a line of the listing
        bool loggedOff = false;        ///< `LOGOFF` has run in this call
        bool answerOwed = false;       ///< an after-reading prompt has been seen and not answered
        bool deletionNoted = false;    ///< the deletion that comes next is in the account
        std::string header;
        std::string lineBuffer;
        std::string identifier;

        // The file that is sent line by line.
        bool fileSending = false;
        bool routePrompt = false;  ///< routes 4 and 5: the host's prompt comes before the next line
        bool uploaded = false;     ///< a whole file since the last "CHECK_SEND_END"
        std::string uploadedId;    ///< of the mail in the file that is sent
        int mailIndex = -1;        ///< of the mail in it
        std::uint64_t bytesSent = 0;
        std::uint64_t fileBytesSent = 0;
        int sent = 0;
        int unmarked = 0;
        bool refusedUpload = false;

        // Forums, libraries.
        std::string currentForum;
        bool queueTarget = false;  ///< the current room is the one below, not one of the list
        PatrolEntry target;        ///< of a forum message from the queue
        std::size_t roomIndex = 0;
        std::size_t libraryIndex = 0;
        std::size_t downloadIndex = 0;
        std::size_t uploadIndex = 0;  ///< of the next entry; 0 before the first "BINUP"
    };

    // The step.
    [[nodiscard]] int Abandon();
    [[nodiscard]] int RunLine();
    [[nodiscard]] int Execute(std::string_view line);
    [[nodiscard]] int SendUploadLines();
    void SendUploadPiece(UploadFile::Piece piece, std::string_view text);
    void RefuseUpload(int error);
    void RefuseToNote(int error);
    void CloseUpload();
    void ShowRedialCountdown();

    // What commands are made of.
    void Advance() { ++state_.line; }
    void SetTimeOut(std::int32_t seconds) { state_.waitTicks = seconds * kTicksPerSecond; }
    void ShowStatus(std::string_view text);
    void Send(std::string_view text);
    [[nodiscard]] bool Arrived(std::string_view text);
    [[nodiscard]] bool AnyArrived(std::span<const std::string_view> texts);
    [[nodiscard]] int AdvanceAt(std::span<const std::string_view> prompts, std::int32_t seconds);
    [[nodiscard]] bool AnswerAt(std::string_view prompt, std::string_view answer, std::int32_t seconds);
    [[nodiscard]] bool MayDelete(Deletion deletion);
    /// To a line number, or to a label. The empty text is line 0 for the first and the empty label for the
    /// second.
    void JumpTo(std::string_view target);
    void JumpToLabel(std::string_view target);
    void GoToLogOff();
    /// The digits at the beginning, 0 when there are none, at most 1,000,000.
    [[nodiscard]] static std::int32_t Number(std::string_view text);
    /// When the step is over, unless the session is unattended (`AUTOMODE`).
    void Tell(std::string_view caption, std::string_view text);

    // commands_modem.cpp
    int ModemInit(const ScriptFields& fields);
    int SendDial(const ScriptFields& fields);
    int WaitConnect(const ScriptFields& fields);
    [[nodiscard]] int Connected();
    [[nodiscard]] int Busy();
    [[nodiscard]] int NoDialTone();
    int CaseFenics(const ScriptFields& fields);
    int WaitConnectionId(const ScriptFields& fields);
    int SendId(const ScriptFields& fields);
    int SendPassword(const ScriptFields& fields);
    int WaitTop(const ScriptFields& fields);
    int LogOn(const ScriptFields& fields);
    int LogOff(const ScriptFields& fields);
    int SetVolume(const ScriptFields& fields);

    // commands_mail.cpp
    int MailLogOn(const ScriptFields& fields);
    int MailLogOff(const ScriptFields& fields);
    int CheckNewMail(const ScriptFields& fields);
    int CheckSendLog(const ScriptFields& fields);
    int CheckSendMail(const ScriptFields& fields);
    int ReadFileFast(const ScriptFields& fields);
    int ReadFile(const ScriptFields& fields);
    int UploadHeader(const ScriptFields& fields);
    int UploadFileBuffer(const ScriptFields& fields);
    int SendFileBuffer(const ScriptFields& fields);
    int CheckSendEnd(const ScriptFields& fields);
    int WaitAction(const ScriptFields& fields);
    int WaitSp1(const ScriptFields& fields);
    int DeleteMail(const ScriptFields& fields);
    int DownMail(const ScriptFields& fields);
    [[nodiscard]] int SendListedNumber(const ScriptFields& fields, std::size_t& index,
                                       std::string_view before);
    int WaitNextList(const ScriptFields& fields);
    int WaitNotice(const ScriptFields& fields);
    int WaitList(const ScriptFields& fields);
    int ReadId(const ScriptFields& fields);
    int ReadVanId(const ScriptFields& fields);
    int SendDestinationId(const ScriptFields& fields);
    void TakeIdentifier();
    void TakeListingLine();

    // commands_forum.cpp
    int SendGoMail(const ScriptFields& fields);
    int WaitForum(const ScriptFields& fields);
    int WaitCcs(const ScriptFields& fields);
    int ReadMessageTarget(const ScriptFields& fields);
    int CheckForum(const ScriptFields& fields);
    int GoToForum(const ScriptFields& fields);
    int GoToMessages(const ScriptFields& fields);
    int WriteLastAccess(const ScriptFields& fields);
    int ForumLogOn(const ScriptFields& fields);
    int ForumLogOff(const ScriptFields& fields);
    [[nodiscard]] int EnterForum(const PatrolEntry* entry, const ScriptFields& fields);
    [[nodiscard]] int SendPlace(const PatrolEntry* entry);
    [[nodiscard]] const PatrolEntry* CurrentRoom() const;

    // commands_library.cpp
    int GoToLibraryForum(const ScriptFields& fields);
    int GoToDownloadForum(const ScriptFields& fields);
    int GoToLibrary(const ScriptFields& fields);
    int GoToDownloadLibrary(const ScriptFields& fields);
    int DoList(const ScriptFields& fields);
    int DoDownload(const ScriptFields& fields);
    int SendFileName(const ScriptFields& fields);
    int CheckDownEnd(const ScriptFields& fields);
    int Wait05(const ScriptFields& fields);
    int WaitItem(const ScriptFields& fields);
    int BinaryUpload(const ScriptFields& fields);
    int SendUploadFileName(const ScriptFields& fields);
    int SendBinaryId(const ScriptFields& fields);
    int LibraryLogOn(const ScriptFields& fields);
    int LibraryLogOff(const ScriptFields& fields);
    int BinListOn(const ScriptFields& fields);
    int BinListOff(const ScriptFields& fields);
    int SupplementLogOn(const ScriptFields& fields);
    int SupplementLogOff(const ScriptFields& fields);
    [[nodiscard]] int StartAnew(std::string_view file, bool CaptureSwitches::*which);
    [[nodiscard]] int StopCapture(bool CaptureSwitches::*which);
    [[nodiscard]] const PatrolEntry* CurrentLibrary() const;
    [[nodiscard]] const PatrolEntry* CurrentDownload() const;
    void RecordTransfer(const PatrolEntry& download);

    // commands_flow.cpp
    int ClearRingBuffer(const ScriptFields& fields);
    int Wait(const ScriptFields& fields);
    int WaitEither(const ScriptFields& fields);
    int SendArgument(const ScriptFields& fields);
    int WaitTime(const ScriptFields& fields);
    int GoTo(const ScriptFields& fields);
    int RelativeJump(const ScriptFields& fields);
    int EndOfScript(const ScriptFields& fields);

    SerialLine* line_;
    const WorkingScript* script_;
    core::Workspace* workspace_;
    const core::Settings* settings_;
    core::UserInterface* ui_;
    SessionPartners* partners_;
    PatrolLists lists_;
    int logOffLine_ = 0;
    SendQueueReader queue_;
    UploadFile upload_;
    State state_;
    std::optional<Message> message_;
    std::string statusText_;  ///< what the status line shows, as far as the session has written it
    std::string outgoing_;    ///< a line on its way out; kept for its memory
};

}  // namespace postkite::comm
