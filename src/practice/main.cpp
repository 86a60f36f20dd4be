#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/error_text.h"
#include "core/shift_jis.h"
#include "core/system_clock.h"
#include "core/system_file_system.h"
#include "practice/built_in_set.h"
#include "practice/event_loop.h"
#include "practice/line_device.h"
#include "practice/practice_host.h"
#include "practice/state_directory.h"

namespace postkite::practice {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

/// What the command line says. Texts are as the shell gives them, UTF-8.
struct CommandLine {
    std::string link;
    std::string address;
    std::string state;
    std::string user;
    std::string password;
    std::string route = "2";
    bool once = false;
    bool noModem = false;
    bool telnet = false;
    HostOptions host;
};

/// English for people who have set another language than Japanese, as `postkite` has it.
core::Language LanguageOfUser() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value == nullptr || *value == '\0') continue;
        const std::string_view locale =
            std::string_view(value).substr(0, std::string_view(value).find_first_of("._@"));
        // The locales without a language are what a machine has where nobody has chosen one.
        const bool chosen = locale != "C" && locale != "POSIX" && !locale.starts_with("ja");
        return chosen ? core::Language::English : core::Language::Japanese;
    }
    return core::Language::Japanese;
}

struct Texts {
    core::Language language;
    [[nodiscard]] std::string operator()(const char* japanese, const char* english) const {
        return language == core::Language::Japanese ? japanese : english;
    }
};

void SpeakJapanese(CLI::App& application) {
    const auto formatter = std::make_shared<CLI::Formatter>();
    formatter->label("Usage", "使い方");
    formatter->label("OPTIONS", "オプション");
    application.formatter(formatter);
    application.failure_message([](const CLI::App*, const CLI::Error& error) {
        return std::string(error.what()) + "\n使い方は --help で表示します。\n";
    });
    for (CLI::Option* option : application.get_options()) {
        option->group("オプション");
    }
}

void AddLineOptions(CLI::App& application, CommandLine& line, const Texts& say) {
    application.set_help_flag("-h,--help", say("この説明を表示する", "Print this help"));
    application.set_version_flag("--version", "postkite-host " POSTKITE_VERSION,
                                 say("バージョンを表示する", "Print the version"));
    application
        .add_option("--pty", line.link,
                    say("疑似端末を作り、LINK をそれへのリンクにする",
                        "Make a pseudo-terminal and LINK a symbolic link to it"))
        ->type_name("LINK");
    application
        .add_option("--listen", line.address,
                    say("TCP 接続を一つずつ受ける", "Take TCP connections, one after another"))
        ->type_name("ADDRESS:PORT");
    application
        .add_option("--state", line.state,
                    say("メールと発言のディレクトリ（既定: 内蔵のもの）",
                        "Directory of mails and messages (default: a built-in set)"))
        ->type_name("DIR");
    application.add_option("--user", line.user, say("受け付けるユーザＩＤ", "The only user let in"))
        ->type_name("ID");
    application.add_option("--password", line.password, say("そのパスワード", "That user's password"))
        ->type_name("TEXT");
    application
        .add_option("--route", line.route,
                    say("アクセス網（既定: 2）", "Which access network to play (default: 2)"))
        ->type_name("1|2|3|7")
        ->check(CLI::IsMember({"1", "2", "3", "7"}).description(""));
    application.add_flag("--once", line.once, say("一度の接続で終わる", "End after one connection"));
    application
        .add_option("--speed", line.host.speedBps,
                    say("毎秒 BPS ビットより速く送らない", "Print no faster than BPS bits a second"))
        ->type_name("BPS")
        ->check(CLI::Range(10, 10000000).description(""));
    application.add_flag("--echo-late-lf", line.host.echoLateLineFeeds,
                         say("モデムエミュレータのように、OK のあとに LF をエコーする",
                             "Echo a command's LF behind the answer, as modem emulators do"));
    application.add_flag("--telnet", line.telnet,
                         say("telnet プロトコルの交渉を始める（--listen のとき）",
                             "Begin to negotiate the telnet protocol (with --listen)"));
    application.add_flag("--no-modem", line.noModem,
                         say("モデムの役をしない", "Leave the modem to a real one in front"));
}

void AddTroubleOptions(CLI::App& application, Trouble& trouble, const Texts& say) {
    constexpr int kMost = std::numeric_limits<int>::max();
    const auto add = [&application](const char* name, auto& value, const std::string& text, const char* type,
                                    int least, int most) {
        application.add_option(name, value, text)
            ->type_name(type)
            ->check(CLI::Range(least, most).description(""));
    };
    add("--busy", trouble.busyCalls, say("最初の N 回は話し中", "The first N calls are busy"), "N", 0, kMost);
    application.add_flag("--no-carrier", trouble.noCarrier,
                         say("どの呼び出しもつながらない", "Every call ends in NO CARRIER"));
    application.add_flag("--no-dialtone", trouble.noDialtone, say("発信音がない", "There is no dial tone"));
    add("--ask-host-name-again", trouble.askHostNameAgain,
        say("HOST NAME? を N 回聞きなおす", "Ask HOST NAME? N times more"), "N", 0, kMost);
    add("--chunk", trouble.chunkBytes,
        say("N バイトずつ送る（文字が分かれる）", "Write in pieces of N bytes, splitting characters"), "N", 1,
        kMost);
    add("--noise", trouble.noisePerMille,
        say("千バイトに N の割合で雑音を混ぜる", "Put garbage in front of N of a thousand bytes"),
        "PER-MILLE", 0, 1000);
    const auto addBytes = [&application](const char* name, auto& value, const std::string& text) {
        application.add_option(name, value, text)->type_name("BYTES");
    };
    addBytes("--garble-at", trouble.garbledByte,
             say("BYTES 番目のバイトが化ける", "Garble the byte of that number"));
    addBytes("--drop-after", trouble.dropAfterBytes,
             say("BYTES 送ったところで切れる", "Lose the carrier when BYTES have been printed"));
    addBytes("--silent-after", trouble.silentAfterBytes,
             say("BYTES 送ったところで黙る", "Fall silent when BYTES have been printed"));
    application.add_option("--seed", trouble.seed, say("雑音の種（既定: 0）", "Seed of chance (default: 0)"))
        ->type_name("N");
}

int Fail(const std::string& what, int error, core::Language language) {
    const std::u8string reason = core::ToShownUtf8(core::DescribeError(error, language));
    std::cerr << "postkite-host: " << what << ": " << std::string(reason.begin(), reason.end()) << "\n";
    return kFailed;
}

std::optional<std::string> ToCodePage(const std::string& text) {
    return core::FromUtf8(std::u8string(text.begin(), text.end()));
}

/// False for a text that nobody can send.
bool TakeAccount(const CLI::App& application, const CommandLine& line, Account& account) {
    if (application.count("--user") > 0) account.user = ToCodePage(line.user);
    if (application.count("--password") > 0) account.password = ToCodePage(line.password);
    return (application.count("--user") == 0 || account.user) &&
           (application.count("--password") == 0 || account.password);
}

int Serve(const CommandLine& line, core::Language language) {
    core::SystemFileSystem files;
    const core::SystemClock clock;
    std::unique_ptr<Holdings> holdings;
    if (line.state.empty()) {
        holdings = std::make_unique<BuiltInSet>();
    } else {
        auto directory = std::make_unique<StateDirectory>(files, clock, line.state);
        if (const int result = directory->Prepare(); result < 0) return Fail(line.state, result, language);
        holdings = std::move(directory);
    }

    std::unique_ptr<LineDevice> device;
    std::string where = line.link;
    const int opened = line.link.empty() ? OpenListener(line.address, line.telnet, device, where)
                                         : OpenPseudoTerminal(line.link, device);
    if (opened < 0) return Fail(line.link.empty() ? line.address : line.link, opened, language);
    std::cout << where << std::endl;  // whoever starts this waits for the line

    PracticeHost host(line.host, *holdings, clock);
    const int result = RunEventLoop(*device, host, clock, line.once);
    return result < 0 ? Fail(where, result, language) : 0;
}

int Run(int argumentCount, char** arguments) {
    const core::Language language = LanguageOfUser();
    const Texts say{language};
    CommandLine line;
    CLI::App application(
        say("モデムとテキストメニュー型ホストの練習相手", "A modem and a text-menu host to practise on"),
        "postkite-host");
    AddLineOptions(application, line, say);
    AddTroubleOptions(application, line.host.trouble, say);
    if (language == core::Language::Japanese) SpeakJapanese(application);
    try {
        application.parse(argumentCount, arguments);
    } catch (const CLI::ParseError& error) {
        return application.exit(error) == 0 ? 0 : kWrongUsage;
    }
    if (line.link.empty() == line.address.empty()) {
        std::cerr << "postkite-host: "
                  << say("--pty LINK か --listen ADDRESS:PORT のどちらかが要ります",
                         "one of --pty LINK and --listen ADDRESS:PORT is needed")
                  << "\n";
        return kWrongUsage;
    }
    if (line.telnet && line.address.empty()) {
        std::cerr << "postkite-host: "
                  << say("--telnet は --listen とともに使います", "--telnet goes with --listen") << "\n";
        return kWrongUsage;
    }
    line.host.modem = !line.noModem;
    line.host.route = line.route.front();
    if (!TakeAccount(application, line, line.host.account)) {
        std::cerr << "postkite-host: --user, --password: "
                  << say("ホストの文字コードにない文字があります",
                         "a character that the host's code page lacks")
                  << "\n";
        return kWrongUsage;
    }
    return Serve(line, language);
}

}  // namespace
}  // namespace postkite::practice

int main(int argumentCount, char** arguments) {
    // A client that closes its line, or a limit on the size of files, is an error of the write and not the
    // end.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return postkite::practice::Run(argumentCount, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "postkite-host: %s\n", error.what());
        return postkite::practice::kFailed;
    }
}
