// Calls the practice host over a line that fails at one byte, then again over one that does not, both ends in one process
// and in a time of their own, and looks what has become of every mail.
//
//     endure_line SCRIPT TROUBLE FIRST STEP [LAST] [--keep]     SCRIPT A to D; TROUBLE lost, silent or garbled
//
// Tries the bytes FIRST, FIRST + STEP and so on, up to LAST or to the end of the session. Prints a line of what was wrong
// for each promise that was broken, and at the end how many calls were made.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/program.h"
#include "comm/serial_port.h"
#include "core/letter_case.h"
#include "core/shift_jis.h"
#include "practice/built_in_set.h"
#include "practice/listing.h"
#include "practice/practice_host.h"
#include "store/folder_reader.h"
#include "tests/support/fixed_clock.h"
#include "tests/support/memory_file_system.h"

namespace {

using namespace postkite;
using core::operator""_sjis;
using std::chrono::milliseconds;

constexpr milliseconds kTick{200};

/// The host's holdings, which remember what has become of them.
class Holdings final : public practice::BuiltInSet {
  public:
    [[nodiscard]] int DeleteMail(const std::string& key) override {
        deleted.push_back(Mail(key).value());
        return BuiltInSet::DeleteMail(key);
    }
    [[nodiscard]] int Keep(const practice::Upload& upload) override {
        uploads.push_back(upload.text);
        return 0;
    }
    std::vector<practice::Letter> deleted;
    std::vector<std::string> uploads;
};

constexpr std::string_view kQuestion = "action:";
constexpr std::string_view kAnswer = "DELETE";

/// The client's end of the line.
class Port final : public comm::SerialPort {
  public:
    Port(practice::PracticeHost& host, const core::Clock& clock) : host_(&host), clock_(&clock) {}

    [[nodiscard]] int Open(const std::string&, int) override {
        host_->Connect(clock_->TickCount());
        return 0;
    }
    void Close() override { host_->Disconnect(); }
    [[nodiscard]] std::int64_t Read(std::span<char> buffer) override {
        Advance();
        for (std::string more = host_->Output(Now()); !more.empty(); more = host_->Output(Now()))
            arrived_ += more;
        const std::size_t count = arrived_.copy(buffer.data(), buffer.size());
        arrived_.erase(0, count);
        arrivedBytes_ += count;
        if (std::string_view(buffer.data(), count).find(kAnswer) != std::string_view::npos) answered_ = false;
        return static_cast<std::int64_t>(count);
    }
    [[nodiscard]] int Write(std::string_view bytes) override {
        answered_ = answered_ || bytes.starts_with(kAnswer);
        host_->Receive(bytes, Now());
        return 0;
    }
    [[nodiscard]] std::size_t WaitingBytes() override { return 0; }
    [[nodiscard]] std::uint64_t arrivedBytes() const { return arrivedBytes_; }
    /// Whether an answer has gone out of which nothing has come back.
    [[nodiscard]] bool answeredIntoSilence() const { return answered_; }

  private:
    [[nodiscard]] milliseconds Now() const { return clock_->TickCount(); }
    void Advance() {
        for (auto next = host_->nextEvent(); next && *next <= Now(); next = host_->nextEvent()) {
            host_->Advance(std::max(*next, last_));
            last_ = std::max(*next, last_);
            const std::string more = host_->Output(last_);
            arrived_ += more;
            if (more.empty() && host_->nextEvent() == next) break;
        }
        host_->Advance(Now());
        last_ = Now();
    }

    practice::PracticeHost* host_;
    const core::Clock* clock_;
    milliseconds last_{0};
    std::string arrived_;
    std::uint64_t arrivedBytes_ = 0;
    bool answered_ = false;
};

/// Somebody who remembers what was said.
class Listener final : public core::UserInterface {
  public:
    [[nodiscard]] core::Language language() const override { return core::Language::English; }
    void ShowMessage(std::string_view, std::string_view text, core::MessageIcon) override {
        told.emplace_back(text);
    }
    [[nodiscard]] bool AskQuestion(std::string_view, std::string_view) override { return true; }
    void SetStatusText(std::string_view) override {}
    void SetProgress(std::uint64_t, std::uint64_t) override {}
    void PlaySoundFile(std::string_view) override {}
    void AppendMonitorText(std::string_view) override {}
    void ReplaceMonitorText(std::string_view) override {}
    void PumpMessages() override {}
    void RedrawMainWindow() override {}

    std::vector<std::string> told;
};

struct Case {
    char script;
    std::string trouble;
    std::uint64_t byte;
};

constexpr std::string_view kOutgoing[] = {"first to go out", "second to go out"};

bool IsCapture(const std::string& name) {
    const std::string small = core::SmallLetters(name);
    return small.starts_with("maillog.txt") || small.starts_with("meslog.txt");
}

/// One working directory at one host, through any number of calls.
class Correspondence {
  public:
    explicit Correspondence(Case tried) : case_(std::move(tried)) {
        disk_.PutDirectory("/mail/Setting");
        Client client(*this, {});
        for (const std::string_view text : kOutgoing) {
            store::MailRecord record;
            record.flags = store::kComposedMailFlags;
            record.flags[store::flag::kPosition8] = 'Y';
            record.address = "DEF01234";
            record.subject = text;
            record.body = std::string(text) + "\r\nand its second line\r\n";
            Require(client.program.mailbox().AppendMail("Outbox", record, -1) == 0, "a mail is written");
        }
        for (const std::string& key : holdings_.Mails())
            letters_.push_back(holdings_.Mail(key).value());
    }

    /// Returns how many bytes have arrived.
    std::uint64_t Call(const practice::Trouble& trouble, const char* when) {
        when_ = when;
        ui_.told.clear();
        ended_ = false;
        result_ = comm::kSessionGoesOn;
        Client client(*this, trouble);
        app::Sessions& sessions = client.program.sessions();
        if (sessions.Begin(comm::Session::Start::SendAndReceive, "line") == 0) {
            constexpr int kMostTicks = 5 * 60 * 60;  // an hour
            for (int tick = 0; tick < kMostTicks && result_ == comm::kSessionGoesOn; ++tick) {
                clock_.ticks += kTick;
                result_ = sessions.Tick();
            }
            Require(result_ != comm::kSessionGoesOn, "the session comes to an end within an hour");
            ended_ = result_ == comm::kSessionEnded && sessions.yield().allDone();
        }
        quoted_ = quoted_ || (trouble.silentAfterBytes && client.port.answeredIntoSilence());
        Judge();
        for (const std::string& text : ui_.told)
            toldOfTwice_ |= text.find("twice") != std::string::npos;
        return client.port.arrivedBytes();
    }

    /// When a call has come through.
    void JudgeEnd() {
        when_ = "at the end";
        for (const practice::Letter& letter : letters_) {
            if (IsCutAtQuotation(letter)) continue;
            const auto copies = std::count_if(stored_.begin(), stored_.end(), [&](const std::string& body) {
                return body.ends_with(practice::MailSubjectLine(letter) + letter.text);
            });
            if (case_.trouble != "garbled")
                Require(copies == 1, "every mail is there once: " + letter.subject + " is there " +
                                         std::to_string(copies) + " times");
        }
        if (stored_.size() > letters_.size()) torn = static_cast<int>(stored_.size() - letters_.size());
    }

    [[nodiscard]] bool ended() const { return ended_; }

    int torn = 0;    ///< mails in the Inbox beyond those of the host, at the end
    int broken = 0;  ///< promises

  private:
    /// The program, from its start to its end.
    struct Client {
        Client(Correspondence& of, const practice::Trouble& trouble)
            : host(OptionsFor(of.case_, trouble), of.holdings_, of.clock_),
              port(host, of.clock_),
              program(of.workspace_, of.state_, of.ui_, of.clock_, port) {
            program.Start();
            core::Settings& settings = program.settings();
            settings.userId = "PKT00099";
            settings.userPassword = "himitsu";
            settings.phoneNumber = "0312345678";
            settings.fenicsLoad = std::string(1, RouteOf(of.case_));
            if (of.case_.script == 'B' || of.case_.script == 'D') settings.forumName = "FSORA";
            of.Require(program.OpenBank() == 0, "the bank opens");
        }
        static char RouteOf(const Case& tried) { return tried.script <= 'B' ? '2' : '1'; }
        static practice::HostOptions OptionsFor(const Case& tried, const practice::Trouble& trouble) {
            practice::HostOptions options;
            options.route = RouteOf(tried);
            options.trouble = trouble;
            return options;
        }
        practice::PracticeHost host;
        Port port;
        app::Program program;
    };

    void Judge() {
        ReadStored();
        for (const practice::Letter& letter : holdings_.deleted)
            Require(IsKept(letter) || IsCutAtQuotation(letter),
                    "what the host deleted is stored or in a capture: " + letter.subject);
        for (const std::string_view text : kOutgoing)
            JudgeSent(text);
        Require(ended_ || !ui_.told.empty(), "no failure without a word");
        if (!ended_) {
            missing_ = holdings_.deleted.size() - std::min(stored_.size(), holdings_.deleted.size());
            return;
        }
        Require(holdings_.Mails().empty(), "status 0 means that all was received");
        Require(stored_.size() + missing_ >= holdings_.deleted.size(), "status 0 means that all was stored");
        for (const std::string_view text : kOutgoing)
            Require(Uploads(text) > 0, "status 0 means that all was sent");
    }

    void Require(bool holds, const std::string& what) {
        if (holds) return;
        ++broken;
        std::printf("BROKEN %c %s %llu: %s: %s (result %d)\n", case_.script, case_.trouble.c_str(),
                    static_cast<unsigned long long>(case_.byte), when_, Utf8(what).c_str(), result_);
    }
    static std::string Utf8(std::string_view text) {
        const std::u8string utf8 = core::ToShownUtf8(text);
        return {utf8.begin(), utf8.end()};
    }

    void ReadStored() {
        stored_.clear();
        disk_.Restart();
        Listener ui;
        core::IdentifierMaker identifiers(clock_);
        store::Mailbox mailbox(workspace_, state_, ui, clock_, identifiers);
        mailbox.SetBankDirectory("MailBox1");
        store::FolderReader reader;
        if (reader.Open(mailbox.FilesOf("Inbox")) < 0) return;
        store::MailRecord record;
        for (int number = 0; number < reader.CountMails(); ++number) {
            Require(reader.ReadMail(number, store::MAIL_BODY_MAX, record) ==
                        store::FolderReader::Condition::Whole,
                    "every mail is whole");
            stored_.push_back(record.body);
        }
    }

    /// One garbled byte may have taken a line of it, or two where it was the line end.
    [[nodiscard]] bool IsKept(const practice::Letter& letter) const {
        std::string kept;
        for (const std::string& body : stored_)
            kept += body;
        for (const std::string& name : disk_.Names("/mail")) {
            const std::optional<std::string> bytes = disk_.Get("/mail/" + name);
            if (bytes && IsCapture(name)) kept += *bytes;
        }
        int missing = 0;
        std::string_view left = letter.text;
        while (!left.empty()) {
            const std::size_t end = std::min(left.find("\r\n"), left.size());
            if (kept.find(left.substr(0, end)) == std::string::npos) ++missing;
            left.remove_prefix(std::min(end + 2, left.size()));
        }
        return missing <= (case_.trouble == "garbled" ? 2 : 0);
    }

    /// A text that quotes the host's question is answered where the line falls silent right behind that: nothing tells it
    /// from the question.
    [[nodiscard]] bool IsCutAtQuotation(const practice::Letter& letter) const {
        return quoted_ && letter.text.find(kQuestion) != std::string::npos;
    }

    [[nodiscard]] std::size_t Uploads(std::string_view text) const {
        return static_cast<std::size_t>(
            std::count_if(holdings_.uploads.begin(), holdings_.uploads.end(),
                          [&](const std::string& upload) { return upload.find(text) != std::string::npos; }));
    }
    void JudgeSent(std::string_view text) {
        std::size_t& before = sent_[std::string(text)];
        const std::size_t now = Uploads(text);
        if (now > 1 && now > before)
            Require(toldOfTwice_,
                    "what the host accepted is not sent again in silence: " + std::string(text));
        before = now;
    }

    Case case_;
    support::MemoryFileSystem disk_;
    support::FixedClock clock_;
    core::Workspace workspace_{disk_, "/mail"};
    core::Workspace state_{disk_, "/state"};
    Listener ui_;
    Holdings holdings_;
    std::vector<practice::Letter> letters_;
    std::vector<std::string> stored_;
    std::map<std::string, std::size_t> sent_;
    int result_ = 0;
    bool ended_ = false;
    bool toldOfTwice_ = false;
    bool quoted_ = false;      ///< the line fell silent behind a question, or what looks like one
    std::size_t missing_ = 0;  ///< in calls that did not end with 0: two mails may have become one
    const char* when_ = "";
};

struct Sum {
    int calls = 0;
    int broken = 0;
    int torn = 0;
};

practice::Trouble TroubleOf(const Case& tried) {
    practice::Trouble trouble;
    trouble.seed = static_cast<std::uint32_t>(tried.byte);
    if (tried.trouble == "lost") trouble.dropAfterBytes = tried.byte;
    if (tried.trouble == "silent") trouble.silentAfterBytes = tried.byte;
    if (tried.trouble == "garbled") trouble.garbledByte = tried.byte;
    return trouble;
}

void Try(const Case& tried, Sum& sum) {
    Correspondence correspondence(tried);
    correspondence.Call(TroubleOf(tried), "in the call with the trouble");
    constexpr int kMostCalls = 3;
    int calls = 1;
    do {
        correspondence.Call({}, "in a call after it");
    } while (!correspondence.ended() && tried.script != 'D' && ++calls < kMostCalls);
    if (correspondence.ended()) correspondence.JudgeEnd();
    sum.calls += calls + 1;
    sum.broken += correspondence.broken;
    sum.torn += correspondence.torn;
}

}  // namespace

int main(int argumentCount, char** argumentList) {
    const std::vector<std::string> arguments(argumentList + 1, argumentList + argumentCount);
    if (arguments.size() < 4) return EXIT_FAILURE;
    Case tried{arguments[0][0], arguments[1], 0};
    const std::uint64_t step = std::max(1UL, std::stoul(arguments[3]));
    Sum sum;
    Correspondence clean(tried);
    const std::uint64_t bytes = clean.Call({}, "without trouble");
    sum.broken += clean.broken;
    const std::uint64_t last = arguments.size() > 4 ? std::stoul(arguments[4]) : bytes;
    for (tried.byte = std::stoul(arguments[2]); tried.byte <= last; tried.byte += step)
        Try(tried, sum);
    std::printf("bytes %llu calls %d broken %d torn %d\n", static_cast<unsigned long long>(bytes), sum.calls,
                sum.broken, sum.torn);
    return sum.broken == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
