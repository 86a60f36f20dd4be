// The practice host against whatever a client may type, at any pace, read by it or not, with every kind of
// trouble: what it prints is bounded by what it has heard, it never asks for time that brings nothing, and it
// comes to rest when the client falls silent.
//
// The parts of an input: options, what the client does. The options are letters (see `MakeOptions`), of which
// a digit is the route. What the client does: a byte is a byte typed, but 0xFF and the byte behind it are
// something else (see `Play`).

#include <algorithm>
#include <chrono>

#include "fuzz/fuzz_program.h"
#include "practice/built_in_set.h"
#include "practice/practice_host.h"
#include "practice/transcript.h"

namespace {

using namespace postkite;
using namespace std::chrono_literals;
using fuzz::Check;
using std::chrono::milliseconds;

constexpr char kMark = '\xff';

/// What one line of the client can bring at most: every mail and message of the built-in set, and a screen.
constexpr std::size_t kMostForOneLine = 16 * 1024;
/// What one byte can bring in front of that: echo, and noise for each byte of it.
constexpr std::size_t kMostForOneByte = 16;
/// The host speaks of its own accord: greetings, the good-bye to a silent client.
constexpr std::size_t kMostUnasked = 4096;

constexpr int kRepetitions = 200;
constexpr std::size_t kMostRepeatedBytes = 32;

/// The built-in set, with the length of its record.
class RecordedSet final : public practice::BuiltInSet {
  public:
    void AppendLog(std::u8string_view lines) override { logBytes += lines.size(); }
    std::size_t logBytes = 0;
};

practice::HostOptions MakeOptions(const std::string& text) {
    practice::HostOptions options;
    options.trouble.seed = static_cast<std::uint32_t>(text.size());
    for (const char option : text) {
        if (std::string_view("1237").find(option) != std::string_view::npos) options.route = option;
        if (option == 't') options.modem = false;
        if (option == 's') options.speedBps = 2400;
        if (option == 'u') options.account.user = "KIT00001";
        if (option == 'w') options.account.password = "sesame";
        if (option == 'b') ++options.trouble.busyCalls;
        if (option == 'n') options.trouble.noisePerMille = 300;
        if (option == 'c') ++options.trouble.chunkBytes;
        if (option == 'a') ++options.trouble.askHostNameAgain;
        if (option == 'd') options.trouble.dropAfterBytes = options.trouble.dropAfterBytes.value_or(0) + 300;
        if (option == 'q')
            options.trouble.silentAfterBytes = options.trouble.silentAfterBytes.value_or(0) + 200;
        if (option == 'C') options.trouble.noCarrier = true;
        if (option == 'D') options.trouble.noDialtone = true;
    }
    return options;
}

class Client {
  public:
    explicit Client(const std::string& options) : host_(MakeOptions(options), set_, clock_) {
        host_.Connect(now_);
    }

    void Play(std::string_view actions) {
        std::string typed;
        std::string lastTyped;
        for (std::size_t at = 0; at < actions.size(); ++at) {
            if (actions[at] != kMark || at + 1 == actions.size()) {
                typed += actions[at];
                continue;
            }
            Type(typed);
            if (!typed.empty()) lastTyped = std::exchange(typed, std::string()).substr(0, kMostRepeatedBytes);
            const auto what = static_cast<unsigned char>(actions[++at]);
            switch (what) {
                case 'r':  // reads what has come by now
                    static_cast<void>(Read());
                    break;
                case 'l':  // listens until the host has nothing more to say
                    Listen(1s);
                    break;
                case 'R':  // types the same again and again, and reads nothing of what comes
                    for (int time = 0; time < kRepetitions; ++time)
                        Type(lastTyped);
                    break;
                case 'x':  // goes, and comes back
                    host_.Disconnect();
                    Check(!host_.nextEvent() && host_.Output(now_).empty());
                    host_.Connect(now_);
                    NoteCall();
                    break;
                case 'L':  // log-in of route 3 without a modem, to where the services are
                    Listen(1s);
                    for (const char* line : {"C NIF\r", "SVC\r", "KIT00001\r", "sesame\r"}) {
                        Type(line);
                        Listen(1s);
                    }
                    break;
                case 0xff:
                    typed += kMark;
                    break;
                default:  // lets time pass
                    Pass(milliseconds(what % 64 * 50));
                    break;
            }
        }
        Type(typed);
    }

    /// Nothing is typed any more: all is read, the host logs a silent client off, and is at rest then.
    void FallSilent() {
        Listen(1h);
        if (host_.nextEvent()) Check(*host_.nextEvent() > now_);
        Check(host_.takesInput());
        Check(set_.logBytes <= practice::Transcript::kMostBytes + kMostForOneLine);
        host_.Disconnect();
        Check(!host_.nextEvent() && host_.Output(now_).empty());
    }

  private:
    void NoteCall() { mostPrinted_ += kMostUnasked; }

    void Type(const std::string& bytes) {
        if (bytes.empty()) return;
        // Who runs the host does not read from a client that leaves too much unread.
        if (!host_.takesInput()) Listen(1s);
        const auto lines =
            std::count_if(bytes.begin(), bytes.end(), [](char byte) { return byte == '\r' || byte == '\n'; });
        // Each may be a call as well.
        mostPrinted_ += static_cast<std::size_t>(lines) * (kMostForOneLine + kMostUnasked);
        mostPrinted_ += bytes.size() * kMostForOneByte;
        host_.Receive(bytes, now_);
    }

    [[nodiscard]] bool Read() {
        const std::string output = host_.Output(now_);
        printed_ += output.size();
        Check(printed_ <= mostPrinted_);
        return !output.empty();
    }

    /// Until the host has nothing to say or do for so long.
    void Listen(milliseconds quiet) {
        // An event that has come and changes nothing would have the host's own event loop run in circles.
        constexpr int kMostVainSteps = 16;
        int vainSteps = 0;
        while (true) {
            if (Read()) {
                vainSteps = 0;
                continue;
            }
            const auto next = host_.nextEvent();
            if (!next || *next > now_ + quiet) return;
            vainSteps = *next > now_ ? 0 : vainSteps + 1;
            Check(vainSteps < kMostVainSteps);
            now_ = std::max(now_, *next);
            host_.Advance(now_);
        }
    }

    void Pass(milliseconds time) {
        now_ += time;
        host_.Advance(now_);
    }

    support::FixedClock clock_;
    RecordedSet set_;
    practice::PracticeHost host_;
    milliseconds now_{1000};
    std::size_t printed_ = 0;
    std::size_t mostPrinted_ = kMostUnasked;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = fuzz::SplitInput(data, size, 2);
    Client client(parts[0]);
    client.Play(parts[1]);
    client.FallSilent();
    return 0;
}
