#include "tests/dialogue/dialogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace postkite::dialogue {

namespace {

/// More than the longest time-out and the closing.
constexpr int kMostTicksOfSilence = 400;

struct Capture {
    std::string_view file;
    bool comm::CaptureSwitches::*isOn;
};
constexpr Capture kCaptures[] = {
    {comm::kMailLogFile, &comm::CaptureSwitches::captureMail},
    {comm::kForumLogFile, &comm::CaptureSwitches::captureForum},
    {comm::kBinListFile, &comm::CaptureSwitches::captureBinList},
};

std::vector<std::string> Lines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = text.find("\r\n");
        const std::size_t length = end == std::string_view::npos ? text.size() : end + 2;
        lines.emplace_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return lines;
}

std::filesystem::path PathOf(std::string_view file) {
    return std::filesystem::path("/w") / file;
}

}  // namespace

int FakePort::Open(const std::string& name, int bitsPerSecond) {
    if (openError < 0) return openError;
    device = name;
    speed = bitsPerSecond;
    open = true;
    return 0;
}

std::int64_t FakePort::Read(std::span<char> buffer) {
    EXPECT_TRUE(open) << "read from a closed port";
    const std::size_t count = toClient.copy(buffer.data(), buffer.size());
    toClient.erase(0, count);
    return count == 0 && gone ? -EIO : static_cast<std::int64_t>(count);
}

int FakePort::Write(std::string_view bytes) {
    EXPECT_TRUE(open) << "written to a closed port: " << bytes;
    if (gone) return -EIO;
    fromClient += bytes;
    writes.emplace_back(bytes);
    return 0;
}

Stage::Stage(const core::Settings& chosen) : settings(chosen) {
    disk.PutDirectory("/w");
}

int Stage::Tick() {
    std::vector<const Capture*> on;
    for (const Capture& capture : kCaptures) {
        if (session.line().captures().switches.*capture.isOn) on.push_back(&capture);
    }
    const std::string before = port.toClient;
    const bool mailWasOn = session.line().captures().switches.captureMail;
    const int result = session.Tick();
    const std::string taken = before.substr(0, before.size() - port.toClient.size());
    for (const Capture* capture : on)
        expected[std::string(capture->file)] += taken;
    // "maillog.txt" begins anew.
    if (!mailWasOn && session.line().captures().switches.captureMail)
        expected[std::string(comm::kMailLogFile)].clear();
    return result;
}

int Stage::TickUntilEnd(int most) {
    for (int tick = 0; tick < most; ++tick) {
        if (const int result = Tick(); result != comm::kSessionGoesOn) return result;
    }
    ADD_FAILURE() << "no end after " << most << " ticks, at line " << session.currentLine();
    return 0;
}

void Stage::Ticks(int count) {
    for (int tick = 0; tick < count; ++tick)
        ASSERT_EQ(Tick(), comm::kSessionGoesOn) << "after " << tick << " ticks";
}

/// One performance.
struct Dialogue::Performance {
    Performance(const Dialogue& spoken, Way how, int cutAfterLine, Cut cutHow)
        : dialogue(spoken), way(how), cutAfter(cutAfterLine), cut(cutHow), stage(spoken.settings) {
        for (const auto& [name, content] : spoken.files)
            stage.disk.Put(PathOf(name), content);
        stage.partners.lastAccess = spoken.lastAccess;
    }

    [[nodiscard]] bool ended() const { return result != comm::kSessionGoesOn; }
    [[nodiscard]] std::string Where() const {
        std::string where = "line " + std::to_string(stage.session.currentLine()) + " of the script";
        if (way == Way::ByteByByte) where += ", byte by byte";
        if (cutAfter != kNoCut) where += ", cut after line " + std::to_string(cutAfter) + " of the host";
        return where;
    }

    void Tick() {
        if (ended()) return;
        ++ticks;
        result = stage.Tick();
    }

    void Host(const std::string& text) {
        for (const std::string& line : Lines(text)) {
            if (cutDone || ended()) return;
            if (way == Way::Whole) {
                stage.port.toClient += line;
                if (cutAfter != kNoCut) Tick();
            } else {
                for (const char byte : line) {
                    stage.port.toClient += byte;
                    Tick();
                }
            }
            cutDone = hostLines++ == cutAfter;
        }
        if (!cutDone) Tick();
    }

    void Client(const std::string& text) {
        for (int tick = 0; tick < kMostTicksOfSilence && !ended(); ++tick) {
            if (stage.port.fromClient.size() >= text.size()) break;
            Tick();
        }
        const std::string said = stage.port.fromClient.substr(0, text.size());
        EXPECT_EQ(said, text) << Where();
        failed = said != text;
        stage.port.fromClient.erase(0, text.size());
    }

    void Quiet(int count) {
        for (int tick = 0; tick < count && !ended(); ++tick)
            Tick();
        EXPECT_EQ(stage.port.fromClient, "") << Where();
    }

    void Begin() {
        result = stage.session.Begin(dialogue.start, "/dev/modem", dialogue.lists, dialogue.script);
        ASSERT_EQ(result, 0);
    }

    void Speak() {
        for (const Turn& turn : dialogue.turns_) {
            if (cutDone || failed) break;
            switch (turn.kind) {
                case Turn::Kind::Host:
                    Host(turn.text);
                    break;
                case Turn::Kind::Client:
                    Client(turn.text);
                    break;
                case Turn::Kind::Quiet:
                    Quiet(turn.ticks);
                    break;
                case Turn::Kind::Disconnect:
                    stage.session.Disconnect();
                    break;
            }
        }
    }

    /// The end that the dialogue has, or the one that a cut brings.
    void Finish() {
        if (cutDone && cut == Cut::LineLost) stage.port.gone = true;
        // Each line that is sent, and each pause, gives a silent host its time anew.
        int silence = 0;
        std::size_t writes = stage.port.writes.size();
        while (!ended() && silence < kMostTicksOfSilence) {
            Tick();
            ++silence;
            if (stage.port.writes.size() != writes) silence = 0;
            writes = stage.port.writes.size();
            if (silence == kMostTicksOfSilence && dialogue.hasDownload) {
                stage.session.Disconnect();
                silence = 0;
            }
        }
        EXPECT_TRUE(ended()) << "the session hangs at " << Where();
        EXPECT_FALSE(stage.port.open) << Where();
        EXPECT_FALSE(stage.session.running()) << Where();
        if (!cutDone) {
            EXPECT_EQ(stage.port.fromClient, "") << "was sent as well, " << Where();
            EXPECT_EQ(result, dialogue.result_) << Where();
        } else if (cut == Cut::LineLost) {
            EXPECT_EQ(result, comm::kSessionLineLost) << Where();
        } else if (result != comm::kSessionGaveUp) {
            EXPECT_TRUE(HungUp()) << Where();
        }
    }

    /// Whether the modem was told to, after the last call if there was one.
    [[nodiscard]] bool HungUp() const {
        const auto begins = [](std::string_view with) {
            return [with](const std::string& text) { return text.starts_with(with); };
        };
        const auto& writes = stage.port.writes;
        const auto hangUp = std::find_if(writes.rbegin(), writes.rend(), begins("ATH"));
        const auto call = std::find_if(writes.rbegin(), writes.rend(), begins("ATD"));
        return call == writes.rend() || hangUp < call;
    }

    /// Every byte that came while a capture was on, and no other.
    void CompareCaptures() {
        stage.disk.PowerCut();
        for (const auto& [file, text] : stage.expected) {
            EXPECT_EQ(stage.disk.Get(PathOf(file)).value_or(""), text) << file << ", " << Where();
        }
    }

    const Dialogue& dialogue;
    Way way;
    int cutAfter;
    Cut cut;
    Stage stage;
    int result = 0;
    int ticks = 0;
    int hostLines = 0;
    bool cutDone = false;
    bool failed = false;
};

Dialogue& Dialogue::Host(std::string_view text) {
    turns_.push_back({Turn::Kind::Host, std::string(text), 0});
    return *this;
}

Dialogue& Dialogue::Client(std::string_view text) {
    turns_.push_back({Turn::Kind::Client, std::string(text), 0});
    return *this;
}

Dialogue& Dialogue::Quiet(int ticks) {
    turns_.push_back({Turn::Kind::Quiet, {}, ticks});
    return *this;
}

Dialogue& Dialogue::UserDisconnects() {
    turns_.push_back({Turn::Kind::Disconnect, {}, 0});
    return *this;
}

int Dialogue::HostLines() const {
    int count = 0;
    for (const Turn& turn : turns_) {
        if (turn.kind == Turn::Kind::Host) count += static_cast<int>(Lines(turn.text).size());
    }
    return count;
}

Outcome Dialogue::Perform(Way way, int cutAfter, Cut cut) const {
    Performance play(*this, way, cutAfter, cut);
    play.Begin();
    play.Speak();
    play.Finish();
    play.CompareCaptures();
    Outcome outcome;
    outcome.result = play.result;
    outcome.ticks = play.ticks;
    outcome.sent = play.stage.session.sent();
    for (const std::string_view file : {comm::kMailLogFile, comm::kForumLogFile, comm::kLibraryLogFile,
                                        comm::kBinListFile, comm::kSupplementLogFile}) {
        const std::string name(file);
        outcome.captures[name] = play.stage.disk.Get(PathOf(name)).value_or("");
    }
    outcome.marked = play.stage.partners.marked;
    outcome.accessed = play.stage.partners.accessed;
    outcome.downloaded = play.stage.partners.downloaded;
    outcome.messages = play.stage.ui.messages;
    outcome.statusTexts = play.stage.ui.statusTexts;
    outcome.sounds = play.stage.ui.sounds;
    return outcome;
}

Outcome Dialogue::PlayEveryWay() const {
    Outcome whole = Perform(Way::Whole, kNoCut, {});
    if (::testing::Test::HasFailure()) return whole;
    const Outcome bytes = Perform(Way::ByteByByte, kNoCut, {});
    EXPECT_EQ(bytes.captures, whole.captures);
    EXPECT_EQ(bytes.sent, whole.sent);
    for (int line = 0; line < HostLines(); ++line) {
        for (const Cut cut : {Cut::LineLost, Cut::HostSilent}) {
            const Outcome outcome = Perform(Way::Whole, line, cut);
            // What was marked before the cut was marked in full; nothing is marked that the host has not
            // taken.
            EXPECT_LE(outcome.marked.size(), whole.marked.size());
        }
        if (::testing::Test::HasFailure()) break;
    }
    return whole;
}

comm::ScriptLines ScriptOf(const std::map<int, std::string>& lines) {
    comm::ScriptLines script;
    for (const auto& [number, text] : lines)
        script[static_cast<std::size_t>(number)] = text;
    return script;
}

}  // namespace postkite::dialogue
