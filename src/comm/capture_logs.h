#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/clock.h"
#include "core/settings.h"
#include "core/user_interface.h"
#include "core/workspace.h"

namespace postkite::comm {

/// Where the received text goes besides the monitor. Set and cleared by the script's commands.
struct CaptureSwitches {
    bool captureMail = false;        ///< "maillog.txt"
    bool captureSupplement = false;  ///< "HosokuLog.txt"
    bool captureForum = false;       ///< "MesLog.txt"
    bool captureLibrary = false;     ///< "LibLog.txt"
    bool captureBinList = false;     ///< "BinList.txt"
    bool sessionLogging = false;     ///< session log and monitor
};

inline constexpr std::string_view kMailLogFile = "maillog.txt";
/// Beside it: where the script has let the host delete a mail. The layout is in docs/formats/captures.md.
inline constexpr std::string_view kMailDeletionsFile = "maillog.txt.deleted";
inline constexpr std::string_view kSupplementLogFile = "HosokuLog.txt";
inline constexpr std::string_view kForumLogFile = "MesLog.txt";
inline constexpr std::string_view kLibraryLogFile = "LibLog.txt";
inline constexpr std::string_view kBinListFile = "BinList.txt";

/// How the host is let to delete a mail: as the answer to what it asks behind the mail that was captured last, or
/// by the mail's number in a listing.
enum class Deletion { BehindMail, ByNumber };

/// The received text on its way to the session log and the capture files: gathered until more than 1,024
/// bytes wait, then appended to each file whose switch is on. Files are opened, appended to and closed for
/// each write, so that whoever reads them finds them whole after a flush. Borrows what it is made from.
///
/// A file that does not take its bytes (a full disk, a directory in its place) is left as it was before the
/// write, and the bytes wait in memory for the next write to it. The user is told once a session, in
/// "error.log" and the status line alone where the session is unattended (`AUTOMODE`).
/// - While a capture file has bytes waiting, `HasTrouble()` is true and `SerialLine` neither reads the line
///   nor gives the script what it has read: the script deletes each mail on the host when it has seen it. The
///   flow control makes the host wait, the write is tried again on every tick, and the session goes on where
///   it stopped or ends by its wait counter. So what waits in memory is never more than one chunk of the line
///   and the pending text, a file.
/// - The session log holds nothing up. At most 1 MB of it waits; what comes then is missing in it.
class CaptureLogs {
  public:
    /// The pending text is written when it is longer than this, and so is a chunk, at once.
    static constexpr std::size_t kMostPendingBytes = 1024;
    static constexpr std::size_t kMostWaitingSessionLogBytes = std::size_t{1} << 20U;

    CaptureLogs(core::Workspace& workspace, const core::Settings& settings, core::UserInterface& ui,
                const core::Clock& clock);

    CaptureSwitches switches;

    /// The user has not been told of anything in the session that begins now.
    void BeginSession();

    /// Takes a chunk of received text after cleaning; `receivedBytes` is its length before.
    void Take(std::string_view cleaned, std::size_t receivedBytes);

    /// Writes what has been received and is still gathered, to where `Take` would, before there is enough of
    /// it: the host is about to be told to forget it. `HasTrouble()` says whether it is in the files.
    void WritePending();

    /// Writes what waits at once: to the session log whatever the settings and switches say, which is on
    /// purpose, and to the capture files whose switches are on.
    void FlushCapture();

    /// Begins "maillog.txt" anew, and the account of deletions beside it. Returns 0 or a negated errno value.
    [[nodiscard]] int BeginMail();

    /// The host is about to be told to delete a mail: puts it into the account. Nothing where no mail has been captured in
    /// this session.
    void NoteDeletion(Deletion deletion);

    /// Whether all that "maillog.txt" and the account got is on the disk itself; syncs them first. Where that fails it
    /// is trouble, and tried again by `Retry`.
    [[nodiscard]] bool MailIsOnDisk();

    /// Ends all captures; the session log goes on. What a modem says to a lost carrier is taken off the end of
    /// "maillog.txt". Flush first.
    void EndCaptures();

    /// Whether a capture file has bytes waiting that it did not take, or is not on the disk and has to be.
    [[nodiscard]] bool HasTrouble() const { return hasTrouble_; }

    /// Tries to write and to sync them. Returns 0 when no capture file has any left, else a negated errno value.
    [[nodiscard]] int Retry();

    /// Appends to "LibLog.txt" when that capture is on. The pending text is not written: flush first.
    void AppendLibraryLog(std::string_view text);

    /// Makes a capture file anew and empty, or deletes it, also where there is none. What waited for it is
    /// gone with it. Returns 0 or a negated errno value.
    [[nodiscard]] int Empty(std::string_view file);
    [[nodiscard]] int Delete(std::string_view file);

    /// Returns when all that was written is on the disk itself: after a flush, before the line is hung up. 0,
    /// or a negated errno value when a capture file is not whole there. The session log is synced too, but
    /// counts for nothing.
    [[nodiscard]] int Sync();

    /// The names of the session logs of the dial-up route and of the Internet route, relative to the working
    /// directory.
    [[nodiscard]] std::string SessionLogPath() const;
    [[nodiscard]] std::string InetSessionLogPath() const;

  private:
    /// A file that is written to, and the bytes that it has not taken.
    struct Target {
        std::string_view file;                  ///< empty: the session log, whose name has the date
        bool CaptureSwitches::*isOn = nullptr;  ///< none: the session log
        std::string waiting{};                  ///< bytes that the file has not taken
        std::optional<std::uint64_t>
            tornAt{};  ///< where a part of them may stand that could not be taken back
        bool unsynced = false;
        bool syncFailed = false;        ///< and has to work before anything else goes on
        bool nameIsSynced = false;      ///< in this session
        std::uint64_t bytes = 0;        ///< after the last write
        std::uint64_t syncedBytes = 0;  ///< of the file's beginning, as far as is known
    };
    enum TargetIndex : std::size_t { SessionLog, Mail, Supplement, Forum, Library, BinList, Deletions };
    struct Trouble {
        std::string file;
        int error = 0;  ///< a negated errno value; 0 when there is none
        bool told = false;
    };

    [[nodiscard]] std::string LogPath(std::string_view suffix) const;
    [[nodiscard]] std::string NameOf(const Target& target) const;
    [[nodiscard]] Target* FindTarget(std::string_view file);
    [[nodiscard]] int OpenForAppending(const std::string& name, std::unique_ptr<core::File>& file);
    [[nodiscard]] int AppendToFile(Target& target, std::string_view bytes);
    void Append(Target& target, std::string_view bytes);
    [[nodiscard]] int WriteWaiting(Target& target);
    [[nodiscard]] int SyncTarget(Target& target);
    /// Whether it is on the disk itself. Where it is not, that is trouble until `Retry` has brought it there.
    bool SyncOrHold(Target& target);
    [[nodiscard]] static int WriteUnsyncedAnew(core::File& file, const Target& target);
    void CutModemAnswer();
    void NoteTrouble(const Target& target, int error);
    void TellTrouble();

    core::Workspace* workspace_;
    const core::Settings* settings_;
    core::UserInterface* ui_;
    const core::Clock* clock_;
    std::string pending_;
    std::array<Target, 7> targets_;
    bool hasTrouble_ = false;
    bool mailBegun_ = false;          ///< in this session
    std::uint64_t deletedBytes_ = 0;  ///< of "maillog.txt" before the last deletion
    Trouble captureTrouble_;
    Trouble sessionLogTrouble_;
};

}  // namespace postkite::comm
