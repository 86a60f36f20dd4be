#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "comm/serial_port.h"
#include "comm/session.h"
#include "core/settings.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/recording_user_interface.h"

namespace postkite::dialogue {

/// The device, as host and test see it from the other end.
class FakePort final : public comm::SerialPort {
  public:
    [[nodiscard]] int Open(const std::string& device, int bitsPerSecond) override;
    void Close() override { open = false; }
    [[nodiscard]] std::int64_t Read(std::span<char> buffer) override;
    [[nodiscard]] int Write(std::string_view bytes) override;
    [[nodiscard]] std::size_t WaitingBytes() override { return waitingBytes; }

    int openError = 0;  ///< negated errno value
    bool gone = false;  ///< the device has disappeared
    bool open = false;
    std::string device;
    int speed = 0;
    std::string toClient;             ///< what the client has not read yet
    std::string fromClient;           ///< what the test has not looked at yet
    std::vector<std::string> writes;  ///< all of them, one by one
    std::size_t waitingBytes = 0;
};

/// Remembers what a session asks for, and answers from the maps.
class FakePartners final : public comm::SessionPartners {
  public:
    void MarkMailSent(std::string_view localId) override { marked.emplace_back(localId); }
    void RecordLastAccess(const comm::PatrolEntry& place) override {
        accessed.push_back(place.forum + "," + place.place);
    }
    [[nodiscard]] std::string LastAccess(const comm::PatrolEntry& place) override {
        const auto found = lastAccess.find(place.forum + "," + place.place);
        return found == lastAccess.end() ? std::string() : found->second;
    }
    void MarkDownloadDone(const comm::PatrolEntry& download) override {
        downloaded.push_back(download.recordNumber);
    }
    [[nodiscard]] int MailGoesOut(std::string_view) override { return noteError; }
    [[nodiscard]] int CountCapturedMails() override { return capturedMails; }

    std::vector<std::string> marked;
    std::vector<std::string> accessed;
    std::vector<int> downloaded;
    std::map<std::string, std::string> lastAccess;
    int capturedMails = 0;
    int noteError = 0;  ///< a negated errno value
};

/// A session with everything around it, on files in memory below "/w".
struct Stage {
    explicit Stage(const core::Settings& chosen);

    /// A tick, with what the captures should have taken in it; see `expected`.
    [[nodiscard]] int Tick();
    /// Ticks until a result other than `kSessionGoesOn`, at most `most`.
    [[nodiscard]] int TickUntilEnd(int most = 1000);
    void Ticks(int count);

    core::Settings settings;
    support::MemoryFileSystem disk;
    core::Workspace workspace{disk, "/w"};
    support::RecordingUserInterface ui;
    support::FixedClock clock;
    FakePort port;
    FakePartners partners;
    comm::Session session{port, workspace, settings, ui, clock, partners};

    /// What arrived while its switch was on, by capture file: must be what the file holds after the end.
    std::map<std::string, std::string> expected;
};

/// What a connection came to.
struct Outcome {
    int result = 0;
    int ticks = 0;
    int sent = 0;
    std::map<std::string, std::string> captures;
    std::vector<std::string> marked;  ///< and the like: as `FakePartners` has them
    std::vector<std::string> accessed;
    std::vector<int> downloaded;
    std::vector<support::ShownMessage> messages;
    std::vector<std::string> statusTexts;
    std::vector<std::string> sounds;
};

/// What is said on the line, in order, and then said:
///
///     dialogue.Client("READ ALL\r").Host("...MAIL>").Client("OFF\r").Ends(comm::kSessionEnded);
///
/// The host speaks at once and the client is given the ticks that it needs. Whatever else the client sends
/// fails the test. A host that is fed byte by byte must not have a prompt in the middle of a text.
class Dialogue {
  public:
    explicit Dialogue(const core::Settings& chosen) : settings(chosen) {}

    Dialogue& Host(std::string_view text);
    Dialogue& Client(std::string_view text);
    /// The client stays silent for that long, unless the session ends by it.
    Dialogue& Quiet(int ticks);
    Dialogue& UserDisconnects();
    void Ends(int result) { result_ = result; }

    /// Once as it stands, then with the host's bytes one a tick, then with the line lost after every line of
    /// the host and with the host silent from there on. Returns what the first came to.
    Outcome PlayEveryWay() const;
    Outcome Play() const { return Perform(Way::Whole, kNoCut, {}); }

    core::Settings settings;
    std::map<std::string, std::string> files;  ///< by path below the working directory
    comm::PatrolLists lists;
    comm::Session::Start start = comm::Session::Start::SendAndReceive;
    const comm::ScriptLines* script = nullptr;
    std::map<std::string, std::string> lastAccess;
    /// A download has no time-out: where the host falls silent the user ends the session.
    bool hasDownload = false;

  private:
    enum class Way { Whole, ByteByByte };
    enum class Cut { LineLost, HostSilent };
    static constexpr int kNoCut = -1;
    struct Turn {
        enum class Kind { Host, Client, Quiet, Disconnect } kind;
        std::string text;
        int ticks = 0;
    };
    struct Performance;

    Outcome Perform(Way way, int cutAfter, Cut cut) const;
    [[nodiscard]] int HostLines() const;

    std::vector<Turn> turns_;
    int result_ = 0;
};

/// The lines of a script by number, as the table of a built-in one.
[[nodiscard]] comm::ScriptLines ScriptOf(const std::map<int, std::string>& lines);

}  // namespace postkite::dialogue
