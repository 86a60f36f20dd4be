#include "comm/system_serial_port.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pty.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

namespace postkite::comm {
namespace {

constexpr int kSoon = 5000;  ///< milliseconds; what is waited for is on this machine

/// The other side of the line.
class OtherSide {
  public:
    explicit OtherSide(int number = -1) : number_(number) {}
    OtherSide(OtherSide&& other) noexcept : number_(other.number_) { other.number_ = -1; }
    OtherSide& operator=(OtherSide&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~OtherSide() { Close(); }

    [[nodiscard]] int number() const { return number_; }
    void Close() {
        if (number_ >= 0) close(number_);
        number_ = -1;
    }
    [[nodiscard]] bool Waits(short events) const {
        pollfd waiting{number_, events, 0};
        return poll(&waiting, 1, kSoon) == 1 && (waiting.revents & events) != 0;
    }
    void Send(std::string_view bytes) const {
        ASSERT_EQ(write(number_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    /// At least one byte, at most `size`; empty when nothing comes.
    [[nodiscard]] std::string Receive(std::size_t size) const {
        std::string bytes(size, '\0');
        if (!Waits(POLLIN)) return {};
        const ssize_t count = read(number_, bytes.data(), size);
        bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return bytes;
    }

  private:
    int number_;
};

/// A pseudo-terminal: the test is the modem.
class PseudoTerminal {
  public:
    PseudoTerminal() {
        int modem = -1;
        int line = -1;
        std::array<char, 64> name{};
        EXPECT_EQ(openpty(&modem, &line, name.data(), nullptr, nullptr), 0);
        modem_ = OtherSide(modem);
        line_ = OtherSide(line);
        path_ = name.data();
    }

    [[nodiscard]] const std::string& path() const { return path_; }
    OtherSide& modem() { return modem_; }
    /// A second descriptor of the device, which keeps it and its settings when the port is closed.
    OtherSide& line() { return line_; }
    [[nodiscard]] termios Settings() const {
        termios settings{};
        EXPECT_EQ(tcgetattr(line_.number(), &settings), 0);
        return settings;
    }

  private:
    OtherSide modem_;
    OtherSide line_;
    std::string path_;
};

/// Reads until `size` bytes have come or nothing more comes within reason.
std::string ReadAll(SystemSerialPort& port, std::size_t size, const OtherSide& readable) {
    std::string all;
    std::string buffer(32'867, '\0');
    while (all.size() < size && readable.Waits(POLLIN)) {
        const std::int64_t count = port.Read(buffer);
        if (count < 0) break;
        all.append(buffer, 0, static_cast<std::size_t>(count));
    }
    return all;
}

TEST(SystemSerialPortTest, TheTerminalIsRawAndPutBackAsItWas) {
    PseudoTerminal terminal;
    termios before = terminal.Settings();
    before.c_lflag |= ICANON | ECHO;
    before.c_oflag |= OPOST | ONLCR;
    before.c_cflag |= CSTOPB;
    ASSERT_EQ(tcsetattr(terminal.line().number(), TCSANOW, &before), 0);
    before = terminal.Settings();
    {
        SystemSerialPort port;
        ASSERT_EQ(port.Open(terminal.path(), 2400), 0);
        const termios during = terminal.Settings();
        EXPECT_EQ(during.c_lflag & static_cast<tcflag_t>(ICANON | ECHO | ISIG | IEXTEN), 0U);
        EXPECT_EQ(during.c_oflag & static_cast<tcflag_t>(OPOST), 0U);
        EXPECT_EQ(during.c_iflag & static_cast<tcflag_t>(IXON | IXOFF | IXANY | ICRNL | ISTRIP),
                  static_cast<tcflag_t>(IXON | IXOFF));
        EXPECT_EQ(during.c_cflag & static_cast<tcflag_t>(CSIZE | CSTOPB | PARENB | CRTSCTS | CREAD | CLOCAL),
                  static_cast<tcflag_t>(CS8 | CREAD | CLOCAL));
        EXPECT_EQ(during.c_cc[VSTART], 0x11);
        EXPECT_EQ(during.c_cc[VSTOP], 0x13);
        for (const auto& [asked, name] : {std::pair<int, speed_t>{2400, B2400},
                                          {57600, B57600},
                                          {56000, B57600},
                                          {28800, B19200},
                                          {1, B50},
                                          {2'000'000'000, B4000000}}) {
            ASSERT_EQ(port.Open(terminal.path(), asked), 0) << "opening again closes first";
            EXPECT_EQ(cfgetospeed(std::array{terminal.Settings()}.data()), name) << asked;
        }
        ASSERT_EQ(port.Open(terminal.path(), 0), 0);
        EXPECT_EQ(terminal.Settings().c_cflag & CBAUD, before.c_cflag & CBAUD) << "the speed that it had";
    }
    const termios after = terminal.Settings();
    EXPECT_EQ(after.c_iflag, before.c_iflag);
    EXPECT_EQ(after.c_oflag, before.c_oflag);
    EXPECT_EQ(after.c_cflag, before.c_cflag);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    EXPECT_TRUE(std::equal(std::begin(after.c_cc), std::end(after.c_cc), std::begin(before.c_cc)));
}

TEST(SystemSerialPortTest, EveryByteGoesBothWays) {
    PseudoTerminal terminal;
    SystemSerialPort port;
    ASSERT_EQ(port.Open(terminal.path(), 9600), 0);
    std::string buffer(32'867, '\0');
    EXPECT_EQ(port.Read(buffer), 0) << "nothing waits";
    std::string every;
    for (int byte = 0; byte < 256; ++byte)
        every += static_cast<char>(byte);
    // XON and XOFF are the flow control's.
    std::erase_if(every, [](char byte) { return byte == 0x11 || byte == 0x13; });
    terminal.modem().Send(every);
    EXPECT_EQ(ReadAll(port, every.size(), terminal.line()), every);
    ASSERT_EQ(port.Write(every), 0);
    EXPECT_EQ(terminal.modem().Receive(300), every);
    EXPECT_EQ(port.WaitingBytes(), 0U);
    port.Close();
    EXPECT_EQ(port.Read(buffer), -EBADF);
    EXPECT_EQ(port.Write("x"), -EBADF);
    EXPECT_EQ(port.WaitingBytes(), 0U);
}

// A session polls five times a second; 18,000 bytes a second are 3,600 bytes a poll.
TEST(SystemSerialPortTest, OneReadGetsWhatTheTerminalHolds) {
    PseudoTerminal terminal;
    SystemSerialPort port;
    ASSERT_EQ(port.Open(terminal.path(), 9600), 0);
    const std::string sent(4000, 'x');
    terminal.modem().Send(sent);
    std::string buffer(32'867, '\0');
    int inInput = 0;
    ASSERT_TRUE(terminal.line().Waits(POLLIN));
    ASSERT_EQ(ioctl(terminal.line().number(), FIONREAD, &inInput), 0);
    EXPECT_GE(port.Read(buffer), inInput);
}

TEST(SystemSerialPortTest, WhatTheDeviceDoesNotTakeGoesOutLater) {
    PseudoTerminal terminal;
    SystemSerialPort port;
    ASSERT_EQ(port.Open(terminal.path(), 9600), 0);
    std::string sent;
    for (int i = 0; sent.size() < 300'000; ++i)
        sent += std::to_string(i) + ",";
    ASSERT_EQ(port.Write(std::string_view(sent).substr(0, 200'000)), 0);
    ASSERT_EQ(port.Write(std::string_view(sent).substr(200'000)), 0);
    const std::size_t waiting = port.WaitingBytes();
    EXPECT_GT(waiting, 200'000U) << "a terminal holds far less";
    EXPECT_EQ(port.Write(std::string(SystemSerialPort::kLongestQueue - waiting + 50'000, 'y')), -ENOBUFS);
    EXPECT_LE(port.WaitingBytes(), waiting) << "nothing of it was taken";
    std::string received;
    char none = 0;
    while (received.size() < sent.size()) {
        const std::string piece = terminal.modem().Receive(65'536);
        ASSERT_FALSE(piece.empty());
        received += piece;
        // Reading sends on as well.
        ASSERT_EQ(port.Read(std::span(&none, 1)), 0);
    }
    EXPECT_EQ(received, sent);
    EXPECT_EQ(port.WaitingBytes(), 0U);
}

TEST(SystemSerialPortTest, FlowControlHoldsTheOutput) {
    PseudoTerminal terminal;
    SystemSerialPort port;
    ASSERT_EQ(port.Open(terminal.path(), 9600), 0);
    // The terminal obeys XOFF when it gets round to it; a byte behind it shows when it has.
    terminal.modem().Send("\x13.");
    EXPECT_EQ(ReadAll(port, 1, terminal.line()), ".");
    ASSERT_EQ(port.Write("held"), 0);
    EXPECT_EQ(port.WaitingBytes(), 4U);
    terminal.modem().Send("\x11.");
    EXPECT_EQ(ReadAll(port, 1, terminal.line()), ".");
    EXPECT_EQ(port.WaitingBytes(), 0U);
    EXPECT_EQ(terminal.modem().Receive(100), "held");
}

TEST(SystemSerialPortTest, AClosedOtherSideIsAnError) {
    PseudoTerminal terminal;
    SystemSerialPort port;
    ASSERT_EQ(port.Open(terminal.path(), 9600), 0);
    terminal.modem().Close();
    std::string buffer(100, '\0');
    EXPECT_EQ(port.Read(buffer), -EIO);
    EXPECT_EQ(port.Read(buffer), -EIO) << "it stays gone";
    EXPECT_EQ(port.Write("ATH\r"), -EIO);
    port.Close();
}

TEST(SystemSerialPortTest, OneProgramHasTheDevice) {
    PseudoTerminal terminal;
    SystemSerialPort first;
    SystemSerialPort second;
    ASSERT_EQ(first.Open(terminal.path(), 9600), 0);
    const termios settings = terminal.Settings();
    EXPECT_EQ(second.Open(terminal.path(), 300), -EBUSY);
    EXPECT_EQ(terminal.Settings().c_cflag, settings.c_cflag) << "the holder's settings are left alone";
    ASSERT_EQ(first.Write("still there"), 0);
    EXPECT_EQ(terminal.modem().Receive(100), "still there");
    first.Close();
    EXPECT_EQ(second.Open(terminal.path(), 300), 0);
}

TEST(SystemSerialPortTest, WhatIsNoTerminalIsRefused) {
    SystemSerialPort port;
    std::string file = ::testing::TempDir() + "serial_port_test.XXXXXX";
    const OtherSide made(mkstemp(file.data()));
    made.Send("not to be touched");
    EXPECT_EQ(port.Open(file, 9600), -ENOTTY);
    EXPECT_EQ(port.Open(::testing::TempDir(), 9600), -EISDIR);
    EXPECT_EQ(port.Open("/dev/null", 9600), -ENOTTY);
    EXPECT_EQ(port.Open(file + ".none", 9600), -ENOENT);
    EXPECT_EQ(port.Open("", 9600), -EINVAL);
    unlink(file.c_str());
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(port.Open(file, 9600), -ENOTTY) << "and nobody waits for the pipe's other end";
    unlink(file.c_str());
    for (const char* wrong : {"tcp:", "tcp:localhost", "tcp::23", "tcp:localhost:", "tcp:localhost:0",
                              "tcp:localhost:65536", "tcp:localhost:23x", "tcp:localhost:telnet",
                              "tcp:::1:23", "tcp:[::1]", "tcp:[]:23", "telnet:localhost", "telnet::23"}) {
        EXPECT_EQ(port.Open(wrong, 9600), -EINVAL) << wrong;
    }
}

TEST(SystemSerialPortTest, ClosedStandardStreamsAreNotTakenForTheLine) {
    PseudoTerminal terminal;
    const int kept = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    SystemSerialPort port;
    const int opened = port.Open(terminal.path(), 9600);
    const bool taken = fcntl(STDIN_FILENO, F_GETFD) != -1;
    if (kept >= 0) dup2(kept, STDIN_FILENO);
    close(kept);
    EXPECT_EQ(opened, 0);
    EXPECT_FALSE(taken);
}

/// A modem emulator that listens on a port of this machine.
class Listener {
  public:
    explicit Listener(int family = AF_INET) : socket_(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in6 six{};
        sockaddr_in four{};
        six.sin6_family = AF_INET6;
        six.sin6_addr = in6addr_loopback;
        four.sin_family = AF_INET;
        four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* address =
            family == AF_INET6 ? reinterpret_cast<sockaddr*>(&six) : reinterpret_cast<sockaddr*>(&four);
        socklen_t size = family == AF_INET6 ? sizeof six : sizeof four;
        listens_ = bind(socket_.number(), address, size) == 0 && listen(socket_.number(), 1) == 0 &&
                   getsockname(socket_.number(), address, &size) == 0;
        port_ = std::to_string(ntohs(family == AF_INET6 ? six.sin6_port : four.sin_port));
    }

    [[nodiscard]] bool listens() const { return listens_; }
    [[nodiscard]] int number() const { return socket_.number(); }
    [[nodiscard]] const std::string& port() const { return port_; }
    [[nodiscard]] OtherSide Accept() const {
        return OtherSide(socket_.Waits(POLLIN) ? accept(socket_.number(), nullptr, nullptr) : -1);
    }
    void Close() { socket_.Close(); }

  private:
    OtherSide socket_;
    bool listens_ = false;
    std::string port_;
};

/// Reads until something has come, which takes the kernel no time that matters.
std::int64_t ReadWhenReady(SystemSerialPort& port, std::string& buffer) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kSoon);
    std::int64_t count = 0;
    while (count == 0 && std::chrono::steady_clock::now() < end) {
        count = port.Read(buffer);
        if (count == 0) sched_yield();
    }
    return count;
}

TEST(SystemSerialPortTest, AConnectionIsALine) {
    Listener listener;
    ASSERT_TRUE(listener.listens());
    SystemSerialPort port;
    ASSERT_EQ(port.Open("tcp:127.0.0.1:" + listener.port(), 2400), 0);
    OtherSide modem = listener.Accept();
    std::string buffer(32'867, '\0');
    EXPECT_EQ(port.Read(buffer), 0);
    ASSERT_EQ(port.Write("ATZ\r"), 0);
    EXPECT_EQ(modem.Receive(100), "ATZ\r");
    modem.Send("OK\r\n");
    ASSERT_EQ(ReadWhenReady(port, buffer), 4);
    EXPECT_EQ(buffer.substr(0, 4), "OK\r\n");
    // 100,000 bytes a second are 20,000 a poll: one read brings them.
    modem.Send(std::string(20'000, 'x'));
    for (int unacknowledged = 1; unacknowledged != 0;)
        ASSERT_EQ(ioctl(modem.number(), TIOCOUTQ, &unacknowledged), 0);
    EXPECT_EQ(port.Read(buffer), 20'000);
    modem.Send("bye");
    modem.Close();
    EXPECT_EQ(ReadWhenReady(port, buffer), 3) << "what was sent before the end comes first";
    EXPECT_EQ(ReadWhenReady(port, buffer), -ECONNRESET);
    EXPECT_EQ(port.Read(buffer), -ECONNRESET);
    // The first write is taken, the second one finds that nobody is there; no signal ends the program.
    int written = port.Write("ATH\r");
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kSoon);
    while (written == 0 && std::chrono::steady_clock::now() < end)
        written = port.Write("ATH\r");
    EXPECT_EQ(written, -EPIPE);
    EXPECT_EQ(port.WaitingBytes(), 0U);
}

TEST(SystemSerialPortTest, ATelnetConnectionNegotiatesAndDoubles) {
    Listener listener;
    ASSERT_TRUE(listener.listens());
    SystemSerialPort port;
    ASSERT_EQ(port.Open("telnet:127.0.0.1:" + listener.port(), 2400), 0);
    OtherSide modem = listener.Accept();
    std::string buffer(100, '\0');
    ASSERT_EQ(port.Write("AT\xFF\r"), 0);
    EXPECT_EQ(modem.Receive(6), std::string("AT\xFF\xFF\r\0", 6));
    modem.Send("O\xFF\xFF\xFF\xFD\x18\xFF");
    ASSERT_EQ(ReadWhenReady(port, buffer), 2);
    EXPECT_EQ(buffer.substr(0, 2), "O\xFF");
    EXPECT_EQ(modem.Receive(3), "\xFF\xFC\x18") << "refused";
    modem.Send(std::string("\xFB\0K", 3));
    ASSERT_EQ(ReadWhenReady(port, buffer), 1);
    EXPECT_EQ(modem.Receive(6), std::string("\xFF\xFD\0\xFF\xFB\0", 6));
    ASSERT_EQ(port.Open("tcp:127.0.0.1:" + listener.port(), 2400), 0);
    modem = listener.Accept();
    ASSERT_EQ(port.Write("\xFF\r"), 0);
    EXPECT_EQ(modem.Receive(2), "\xFF\r") << "as it is";
}

TEST(SystemSerialPortTest, ASlowConnectionKeepsTheRestQueued) {
    Listener listener;
    ASSERT_TRUE(listener.listens());
    SystemSerialPort port;
    ASSERT_EQ(port.Open("tcp:localhost:" + listener.port(), 2400), 0) << "whatever else that name means";
    OtherSide modem = listener.Accept();
    const std::string block(500'000, 'z');
    std::size_t sent = 0;
    int result = 0;
    for (int writes = 0; writes < 100 && result == 0; ++writes) {
        result = port.Write(block);
        if (result == 0) sent += block.size();
    }
    EXPECT_EQ(result, -ENOBUFS) << "neither side takes 50 MB";
    std::size_t received = 0;
    while (received < sent) {
        const std::string piece = modem.Receive(1'000'000);
        ASSERT_FALSE(piece.empty());
        received += piece.size();
        static_cast<void>(port.WaitingBytes());
    }
    EXPECT_EQ(received, sent);
}

TEST(SystemSerialPortTest, LastWordsArriveThoughSomethingIsUnread) {
    Listener listener;
    ASSERT_TRUE(listener.listens());
    // So little is taken at once that the most of it is still on this side when the port is closed.
    const int smallest = 1;
    ASSERT_EQ(setsockopt(listener.number(), SOL_SOCKET, SO_RCVBUF, &smallest, sizeof smallest), 0);
    SystemSerialPort port;
    ASSERT_EQ(port.Open("tcp:127.0.0.1:" + listener.port(), 2400), 0);
    OtherSide modem = listener.Accept();
    modem.Send("unread");
    std::string first(1, '\0');
    ASSERT_EQ(ReadWhenReady(port, first), 1);
    const std::string lastWords = std::string(12'000, 'x') + "ATH\r";
    ASSERT_EQ(port.Write(lastWords), 0);
    port.Close();
    std::string received;
    for (std::string piece = modem.Receive(65'536); !piece.empty(); piece = modem.Receive(65'536))
        received += piece;
    EXPECT_EQ(received.size(), lastWords.size());
    EXPECT_TRUE(received.ends_with("ATH\r"));
}

TEST(SystemSerialPortTest, NobodyListens) {
    Listener listener;
    ASSERT_TRUE(listener.listens());
    listener.Close();
    SystemSerialPort port;
    EXPECT_EQ(port.Open("tcp:127.0.0.1:" + listener.port(), 2400), -ECONNREFUSED);
    Listener six(AF_INET6);
    if (!six.listens()) GTEST_SKIP() << "this machine has no IPv6";
    ASSERT_EQ(port.Open("tcp:[::1]:" + six.port(), 2400), 0);
    OtherSide modem = six.Accept();
    ASSERT_EQ(port.Write("x"), 0);
    EXPECT_EQ(modem.Receive(1), "x");
}

}  // namespace
}  // namespace postkite::comm
