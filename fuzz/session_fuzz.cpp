// A whole session against any bytes that a host, a modem or noise may send, at any pace, on a line that may
// be lost and a disk that may fail: every wait comes to an end, a capture file holds exactly the bytes that
// arrived while it was switched on, and the line is closed afterwards.
//
// The parts of an input: options, the queue of mails, the queue of posts, what happens on the line. The
// options are letters (see `MakeSettings`), of which a digit is the route. On the line a byte is a byte that
// arrives, but 0xFF and the byte behind it are something else that happens (see `Play`).

#include <array>
#include <cerrno>
#include <map>
#include <span>

#include "comm/session.h"
#include "core/shift_jis.h"
#include "fuzz/fuzz_program.h"

namespace {

using namespace postkite;
using namespace core::literals;
using comm::CaptureSwitches;
using fuzz::Check;

/// The longest time that a command gives the host, 120 seconds, and the tick that finds it over.
constexpr int kMostTicksAtOneLine = 120 * comm::kTicksPerSecond + 1;
/// Of a script that hears nothing any more, with every pause, wait and redialling on its way.
constexpr int kMostTicksOfSilence = 2000;
/// The longest header of a mail, and more than a tick sends of a file.
constexpr std::size_t kMostSentAtOnce = 300'000;

constexpr char kMark = '\xff';

class FuzzedPort final : public comm::SerialPort {
  public:
    [[nodiscard]] int Open(const std::string&, int) override {
        open = true;
        return 0;
    }
    void Close() override { open = false; }
    [[nodiscard]] std::int64_t Read(std::span<char> buffer) override {
        Check(open);
        const std::size_t count = toClient.copy(buffer.data(), buffer.size());
        taken += toClient.substr(0, count);
        toClient.erase(0, count);
        return count == 0 && gone ? -EIO : static_cast<std::int64_t>(count);
    }
    [[nodiscard]] int Write(std::string_view bytes) override {
        Check(open);
        sentBytes += bytes.size();
        return gone ? -EIO : 0;
    }
    [[nodiscard]] std::size_t WaitingBytes() override { return clogged && !gone ? 100 : 0; }

    bool open = false;
    bool gone = false;
    bool clogged = false;  ///< what is written never goes out
    std::string toClient;
    std::string taken;  ///< in this tick
    std::size_t sentBytes = 0;
};

class IdlePartners final : public comm::SessionPartners {
  public:
    void MarkMailSent(std::string_view) override {}
    void RecordLastAccess(const comm::PatrolEntry&) override {}
    [[nodiscard]] std::string LastAccess(const comm::PatrolEntry&) override { return {}; }
    void MarkDownloadDone(const comm::PatrolEntry&) override {}
    [[nodiscard]] int MailGoesOut(std::string_view) override { return 0; }
    [[nodiscard]] int CountCapturedMails() override { return 0; }
};

struct Capture {
    const char* path;
    bool CaptureSwitches::*isOn;
    bool beginsAnew;  ///< when it is switched on
};
/// Those that the built-in scripts switch on.
constexpr std::array<Capture, 2> kCaptures = {{
    {"/w/maillog.txt", &CaptureSwitches::captureMail, true},
    {"/w/MesLog.txt", &CaptureSwitches::captureForum, false},
}};

core::Settings MakeSettings(const std::string& options) {
    core::Settings settings;
    settings.phoneNumber = "03-1234";
    settings.userId = "KIT00001";
    settings.userPassword = "sesame";
    settings.redialInterval = 1;
    settings.redialTimes = 2;
    settings.fenicsLoad = "2";
    settings.forumName.clear();
    for (const char option : options) {
        if (option >= '0' && option <= '9') settings.fenicsLoad = option;
        if (option == 'f') settings.forumName = "FKITE";
        if (option == 'h') settings.highSpeedUpload = 1;
        if (option == 'a') settings.autoMode = 1;
        if (option == 'l') settings.log = 0;
        if (option == 'n') settings.redial = 0;
        if (option == 's') settings.sendLog = 1;
        if (option == 'm') settings.monitorWindow = 0;
    }
    return settings;
}

comm::PatrolLists MakeLists() {
    comm::PatrolLists lists;
    lists.rooms = {{"FKITE", "mes3", {}, {}, 0}, {"FKITE", "mes5", {}, {}, 0}, {"FWIND", "mes1", {}, {}, 0}};
    return lists;
}

/// What the command waits for. `time` numbers the prompts, so that there is not always one more mail.
std::string PromptOf(const comm::ScriptFields& fields, int time) {
    static const std::map<std::string_view, std::string_view> kPrompts = {
        {"WAIT_CONNECT", "CONNECT 9600\r\n"},
        {"CASE_FENICS", "\r\n"},
        {"WAIT_CONNECTIONID", "\r\nEnter Connection-ID  --->"},
        {"WAIT_TOP", "\r\n＞"_sjis},
        {"WAIT_ACTION", "\r\n  1 A\r\n\r\naction:"},
        {"WAIT_FORUM", "E:終了\r\n＞"_sjis},
        {"WAITCCS", "CCS(N)>"},
    };
    if (fields.command == "WAIT") return std::string(fields.first);
    if (fields.command == "WAIT_ACTION" && time % 3 == 2) return "MAIL>";
    const auto found = kPrompts.find(fields.command);
    return std::string(found == kPrompts.end() ? "MAIL>" : found->second);
}

class Connection {
  public:
    explicit Connection(const std::vector<std::string>& parts) : settings_(MakeSettings(parts[0])) {
        disk_.PutDirectory("/w");
        disk_.Put("/w/BMTEMP.$$$/1.mtx", "hello\r\n\r\n/POST\r\n");
        disk_.Put("/w/BMTEMP.$$$/2.mtx", "\x83\x82 no end");
        disk_.Put("/w/BMTEMP.$$$/MailID.Tmp", "id-0\r\nid-1\r\n");
        if (!parts[1].empty()) disk_.Put("/w/BMTEMP.$$$/send.inf", parts[1]);
        if (!parts[2].empty()) disk_.Put("/w/BMTEMP.$$$/mes.inf", parts[2]);
        const bool receiveOnly = parts[0].find('r') != std::string::npos;
        port_.clogged = parts[0].find('c') != std::string::npos;
        Check(session_.Begin(
                  receiveOnly ? comm::Session::Start::ReceiveOnly : comm::Session::Start::SendAndReceive,
                  "fuzzed", MakeLists()) == 0);
    }

    void Play(std::string_view line) {
        for (std::size_t at = 0; at < line.size() && session_.running(); ++at) {
            if (line[at] != kMark || at + 1 == line.size()) {
                port_.toClient += line[at];
                continue;
            }
            const auto what = static_cast<unsigned char>(line[++at]);
            switch (what) {
                case 'd':
                    session_.Disconnect();
                    break;
                case 'h':
                    session_.HangUp();
                    break;
                case 'g':
                    port_.gone = true;
                    break;
                case 'p':  // the host says what it is waited for to say
                    Prompt();
                    break;
                case 'P':  // and so many times
                    for (int time = 0; time < 20; ++time)
                        Prompt();
                    break;
                case 'F':  // a call of the file system fails
                    disk_.FailCall(at + 1 < line.size() ? 1 + (line[++at] & 31) : 1, -ENOSPC);
                    break;
                case 'W':  // a write is short
                    disk_.ShortWrite(at + 1 < line.size() ? 1 + (line[++at] & 7) : 1, 3);
                    break;
                case 'L':  // much of the same without a line end
                    port_.toClient.append(2'000, at + 1 < line.size() ? line[++at] : 'L');
                    break;
                case 0xff:
                    port_.toClient += kMark;
                    break;
                default:
                    Ticks(what % 64 + 1);
                    break;
            }
        }
    }

    void GoOnInSilence() {
        int silentTicks = 0;
        while (session_.running()) {
            Tick();
            silentTicks = port_.taken.empty() ? silentTicks + 1 : 0;
            Check(silentTicks < kMostTicksOfSilence);
        }
    }

    void CheckEnd() {
        Check(!port_.open && session_.currentLine() == 0 && session_.Tick() == comm::kSessionGoesOn);
        // A disk that failed last of all has room again.
        session_.line().captures().FlushCapture();
        Check(session_.line().captures().Retry() == 0);
        for (std::size_t index = 0; index < kCaptures.size(); ++index) {
            const auto content = disk_.Get(kCaptures.at(index).path);
            Check(content.value_or("") == expected_.at(index));
        }
    }

  private:
    [[nodiscard]] comm::ScriptFields CurrentLine() const {
        const comm::ScriptLines& lines = BuiltInScriptLines(comm::ChooseScript(settings_));
        return comm::SplitLine(lines.at(static_cast<std::size_t>(session_.currentLine())),
                               settings_.fenicsLoad);
    }

    void Prompt() {
        constexpr int kMostTicksToWait = 40;
        const auto waits = [this] {
            const std::string_view command = CurrentLine().command;
            return command.starts_with("WAIT") && command != "WAIT_TIME";
        };
        for (int tick = 0; tick < kMostTicksToWait && session_.running() && !waits(); ++tick)
            Tick();
        port_.toClient += PromptOf(CurrentLine(), prompts_++);
        Ticks(1);
    }

    void Ticks(int count) {
        for (int tick = 0; tick < count && session_.running(); ++tick)
            Tick();
    }

    void Tick() {
        const CaptureSwitches before = Switches();
        const int line = session_.currentLine();
        const std::size_t sentBefore = port_.sentBytes;
        port_.taken.clear();
        const int result = session_.Tick();
        const bool goesOn = result == comm::kSessionGoesOn;
        Check(goesOn == session_.running() && goesOn == port_.open);
        Check(session_.currentLine() >= 0 && session_.currentLine() < comm::kScriptLines);
        Check(port_.sentBytes - sentBefore < kMostSentAtOnce);
        Check(session_.line().monitor().text().size() <=
              comm::MonitorText::kBytesBeforeHalving + comm::SerialLine::kReceiveBufferBytes);
        NoteCaptured(before);
        const bool stays = port_.taken.empty() && session_.currentLine() == line;
        ticksAtLine_ = stays ? ticksAtLine_ + 1 : 0;
        Check(ticksAtLine_ <= kMostTicksAtOneLine);
    }

    void NoteCaptured(const CaptureSwitches& before) {
        std::erase_if(port_.taken, [](char byte) {
            return std::string_view("\0\a\t\f\x11\x13", 6).find(byte) != std::string_view::npos;
        });
        for (std::size_t index = 0; index < kCaptures.size(); ++index) {
            const Capture& capture = kCaptures.at(index);
            if (before.*capture.isOn) expected_.at(index) += port_.taken;
            const bool switchedOn = !(before.*capture.isOn) && Switches().*capture.isOn;
            if (switchedOn && capture.beginsAnew) expected_.at(index).clear();
        }
    }

    [[nodiscard]] const CaptureSwitches& Switches() { return session_.line().captures().switches; }

    core::Settings settings_;
    support::MemoryFileSystem disk_;
    core::Workspace workspace_{disk_, "/w"};
    fuzz::AgreeingUserInterface ui_;
    support::FixedClock clock_;
    FuzzedPort port_;
    IdlePartners partners_;
    comm::Session session_{port_, workspace_, settings_, ui_, clock_, partners_};
    std::array<std::string, kCaptures.size()> expected_;
    int prompts_ = 0;
    int ticksAtLine_ = 0;  ///< without a byte read
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = fuzz::SplitInput(data, size, 4);
    Connection connection(parts);
    connection.Play(parts[3]);
    connection.GoOnInSilence();
    connection.CheckEnd();
    return 0;
}
