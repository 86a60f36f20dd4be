#include "comm/system_serial_port.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <memory>

namespace postkite::comm {

namespace {

constexpr std::string_view kConnectionPrefix = "tcp:";
constexpr std::string_view kTelnetPrefix = "telnet:";

struct Speed {
    int bitsPerSecond;
    speed_t name;
};

constexpr Speed kSpeeds[] = {
    {50, B50},           {75, B75},           {110, B110},         {134, B134},         {150, B150},
    {200, B200},         {300, B300},         {600, B600},         {1200, B1200},       {1800, B1800},
    {2400, B2400},       {4800, B4800},       {9600, B9600},       {19200, B19200},     {38400, B38400},
#ifdef B57600
    {57600, B57600},     {115200, B115200},   {230400, B230400},
#endif
#ifdef B460800
    {460800, B460800},   {500000, B500000},   {576000, B576000},   {921600, B921600},   {1000000, B1000000},
    {1152000, B1152000}, {1500000, B1500000}, {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000},
    {3500000, B3500000}, {4000000, B4000000},
#endif
};

speed_t NearestSpeed(int bitsPerSecond) {
    const auto distance = [bitsPerSecond](const Speed& speed) {
        return std::abs(speed.bitsPerSecond - bitsPerSecond);
    };
    const auto nearest = std::min_element(
        std::begin(kSpeeds), std::end(kSpeeds),
        [&distance](const Speed& left, const Speed& right) { return distance(left) < distance(right); });
    return nearest->name;
}

/// The numbers of the standard streams are left to them, even where they are closed: whatever is printed
/// would go over the line.
int AwayFromStandardStreams(int descriptor) {
    if (descriptor < 0) return -errno;
    if (descriptor > STDERR_FILENO) return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(descriptor);
    return moved < 0 ? -error : moved;
}

bool IsPseudoTerminal(const struct stat& status) {
    constexpr unsigned kFirstMajor = 136;
    constexpr unsigned kLastMajor = 143;
    const unsigned number = major(status.st_rdev);
    return number >= kFirstMajor && number <= kLastMajor;
}

struct HostAndPort {
    std::string host;
    std::string port;
};

/// "HOST:PORT" or "[ADDRESS]:PORT".
std::optional<HostAndPort> SplitHostAndPort(std::string_view text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos) return std::nullopt;
    std::string_view host = text.substr(0, colon);
    const std::string_view port = text.substr(colon + 1);
    const bool bracketed = host.size() >= 2 && host.front() == '[' && host.back() == ']';
    if (bracketed) host = host.substr(1, host.size() - 2);
    if (host.empty() || (!bracketed && host.find(':') != std::string_view::npos)) return std::nullopt;
    if (host.find_first_of({"\0[]", 3}) != std::string_view::npos) return std::nullopt;

    constexpr int kLastPort = 65535;
    int number = 0;
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), number);
    if (error != std::errc() || end != port.data() + port.size()) return std::nullopt;
    if (number < 1 || number > kLastPort) return std::nullopt;
    return HostAndPort{std::string(host), std::to_string(number)};
}

using Addresses = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

int Resolve(const HostAndPort& wanted, Addresses& addresses) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int result = getaddrinfo(wanted.host.c_str(), wanted.port.c_str(), &hints, &found);
    if (result == EAI_SYSTEM) return -errno;
    if (result == EAI_MEMORY) return -ENOMEM;
    if (result != 0) return -EHOSTUNREACH;
    addresses.reset(found);
    return 0;
}

/// A connected descriptor that never waits, or a negated errno value. A signal ends the attempt with -EINTR,
/// so that whoever interrupts the program need not wait for it.
int Connect(const addrinfo& address, int limitMilliseconds) {
    const int descriptor = AwayFromStandardStreams(
        socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, address.ai_protocol));
    if (descriptor < 0) return descriptor;
    int error = connect(descriptor, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
    if (error == EINPROGRESS) {
        pollfd waiting{descriptor, POLLOUT, 0};
        const int ready = poll(&waiting, 1, limitMilliseconds);
        error = ready < 0 ? errno : ETIMEDOUT;
        socklen_t size = sizeof error;
        if (ready > 0 && getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
    }
    if (error == 0) return descriptor;
    close(descriptor);
    return -error;
}

}  // namespace

SystemSerialPort::~SystemSerialPort() {
    Close();
}

int SystemSerialPort::Open(const std::string& device, int bitsPerSecond) {
    Close();
    int result = 0;
    if (device.starts_with(kConnectionPrefix)) {
        result = OpenConnection(std::string_view(device).substr(kConnectionPrefix.size()));
    } else if (device.starts_with(kTelnetPrefix)) {
        result = OpenConnection(std::string_view(device).substr(kTelnetPrefix.size()));
        telnet_.emplace();
    } else {
        result = OpenTerminal(device, bitsPerSecond);
    }
    if (result < 0) Close();
    return result;
}

int SystemSerialPort::OpenTerminal(const std::string& path, int bitsPerSecond) {
    if (path.empty() || path.find('\0') != std::string::npos) return -EINVAL;
    // O_NONBLOCK: a line without a carrier would keep the open waiting, and reads and writes never wait.
    descriptor_ = AwayFromStandardStreams(open(path.c_str(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (descriptor_ < 0) return descriptor_;
    if (isatty(descriptor_) == 0) return -ENOTTY;
    const int taken = TakeAlone();
    if (taken < 0) return taken;
    termios settings{};
    if (tcgetattr(descriptor_, &settings) != 0) return -errno;
    found_ = settings;
    Configure(bitsPerSecond);
    tcflush(descriptor_, TCIOFLUSH);
    return 0;
}

int SystemSerialPort::TakeAlone() {
    if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0) return errno == EWOULDBLOCK ? -EBUSY : -errno;
    struct stat status {};
    // A pseudo-terminal stays exclusive until its other side is closed, even when the program that made it so
    // has been killed; the lock above has to do.
    if (fstat(descriptor_, &status) != 0 || IsPseudoTerminal(status)) return 0;
    // A privileged program is let in to a device that another one has to itself.
    int exclusive = 0;
    if (ioctl(descriptor_, TIOCGEXCL, &exclusive) == 0 && exclusive != 0) return -EBUSY;
    isExclusive_ = ioctl(descriptor_, TIOCEXCL) == 0;
    return 0;
}

/// Faults are passed over: the line is used as far as it goes.
void SystemSerialPort::Configure(int bitsPerSecond) {
    termios settings = *found_;
    cfmakeraw(&settings);
    settings.c_iflag &= ~static_cast<tcflag_t>(IXANY | INPCK);
    settings.c_iflag |= IXON | IXOFF | IGNBRK;
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | CRTSCTS);
    settings.c_cflag |= CREAD | CLOCAL;
    settings.c_cc[VSTART] = 0x11;
    settings.c_cc[VSTOP] = 0x13;
    // With VMIN 0 an idle line could not be told from one that is gone.
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    const termios atFoundSpeed = settings;
    if (bitsPerSecond > 0) {
        cfsetispeed(&settings, NearestSpeed(bitsPerSecond));
        cfsetospeed(&settings, NearestSpeed(bitsPerSecond));
    }
    if (tcsetattr(descriptor_, TCSANOW, &settings) != 0) tcsetattr(descriptor_, TCSANOW, &atFoundSpeed);
    const int lines = TIOCM_DTR | TIOCM_RTS;
    static_cast<void>(ioctl(descriptor_, TIOCMBIS, &lines));
}

int SystemSerialPort::OpenConnection(std::string_view hostAndPort) {
    constexpr int kLimitMilliseconds = 10'000;
    constexpr int kMostAddresses = 4;
    const std::optional<HostAndPort> wanted = SplitHostAndPort(hostAndPort);
    if (!wanted) return -EINVAL;
    Addresses addresses(nullptr, freeaddrinfo);
    int result = Resolve(*wanted, addresses);
    if (result < 0) return result;
    int count = 0;
    for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next)
        ++count;
    count = std::min(count, kMostAddresses);
    const addrinfo* address = addresses.get();
    for (int tried = 0; tried < count; ++tried, address = address->ai_next) {
        result = Connect(*address, kLimitMilliseconds / count);
        if (result >= 0 || result == -EINTR) break;
    }
    if (result < 0) return result;
    descriptor_ = result;
    isConnection_ = true;
    // A short line at once is worth more here than full packets.
    const int on = 1;
    static_cast<void>(setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
    return 0;
}

void SystemSerialPort::Close() {
    if (descriptor_ >= 0) {
        SendQueued();
        if (found_) tcsetattr(descriptor_, TCSANOW, &*found_);
        if (isExclusive_) static_cast<void>(ioctl(descriptor_, TIOCNXCL));
        if (isConnection_) {
            // A connection that is closed with unread bytes is reset, and the other side may never see the
            // last ones written here.
            shutdown(descriptor_, SHUT_WR);
            constexpr int kMostReads = 16;
            std::array<char, 16384> unread;
            for (int reads = 0; reads < kMostReads; ++reads) {
                if (recv(descriptor_, unread.data(), unread.size(), 0) <= 0) break;
            }
        }
        close(descriptor_);
    }
    descriptor_ = -1;
    isConnection_ = false;
    isExclusive_ = false;
    found_.reset();
    telnet_.reset();
    queue_.clear();
    queueStart_ = 0;
    writeError_ = 0;
}

std::int64_t SystemSerialPort::Read(std::span<char> buffer) {
    if (descriptor_ < 0) return -EBADF;
    if (!queue_.empty()) SendQueued();
    const std::int64_t count = ReadSome(buffer);
    if (count <= 0 || !telnet_) return count;
    std::string answers;
    const std::size_t data = telnet_->Decode(buffer.first(static_cast<std::size_t>(count)), answers);
    // Where the other end takes nothing, the next read or write says so.
    if (!answers.empty()) static_cast<void>(WriteBytes(answers));
    return static_cast<std::int64_t>(data);
}

std::int64_t SystemSerialPort::ReadSome(std::span<char> buffer) {
    std::size_t done = 0;
    while (done < buffer.size()) {
        const std::size_t wanted = buffer.size() - done;
        const ssize_t count = read(descriptor_, buffer.data() + done, wanted);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
            // A connection gives all it has at once; a terminal at most 4,096 bytes a call.
            if (isConnection_ && static_cast<std::size_t>(count) < wanted) break;
            continue;
        }
        const int error = count < 0 ? errno : 0;
        if (error == EINTR) continue;
        // What has been read comes first; the next call finds the device gone again.
        if (done > 0) break;
        if (error == EAGAIN) return writeError_;
        if (error != 0) return -error;
        return isConnection_ ? -ECONNRESET : -EIO;
    }
    return static_cast<std::int64_t>(done);
}

int SystemSerialPort::Write(std::string_view bytes) {
    if (descriptor_ < 0) return -EBADF;
    if (!telnet_) return WriteBytes(bytes);
    std::string line;
    telnet_->Encode(bytes, line);
    return WriteBytes(line);
}

int SystemSerialPort::WriteBytes(std::string_view bytes) {
    SendQueued();
    if (writeError_ != 0) return writeError_;
    const std::size_t waiting = queue_.size() - queueStart_;
    if (bytes.size() > kLongestQueue - waiting) return -ENOBUFS;
    std::size_t written = 0;
    if (waiting == 0) {
        const int result = WriteSome(bytes, written);
        if (result < 0) return writeError_ = result;
    }
    queue_.append(bytes.substr(written));
    return 0;
}

std::size_t SystemSerialPort::WaitingBytes() {
    if (descriptor_ < 0) return 0;
    SendQueued();
    // Of a device that is gone nothing goes out any more.
    if (writeError_ != 0) return 0;
    int inDevice = 0;
    if (ioctl(descriptor_, TIOCOUTQ, &inDevice) != 0 || inDevice < 0) inDevice = 0;
    return queue_.size() - queueStart_ + static_cast<std::size_t>(inDevice);
}

/// Writes what the device takes now. A device that takes nothing is no fault.
int SystemSerialPort::WriteSome(std::string_view bytes, std::size_t& written) const {
    written = 0;
    while (written < bytes.size()) {
        const std::string_view rest = bytes.substr(written);
        const ssize_t count = isConnection_ ? send(descriptor_, rest.data(), rest.size(), MSG_NOSIGNAL)
                                            : write(descriptor_, rest.data(), rest.size());
        if (count > 0) {
            written += static_cast<std::size_t>(count);
            continue;
        }
        if (count == 0 || errno == EAGAIN) return 0;
        if (errno != EINTR) return -errno;
    }
    return 0;
}

void SystemSerialPort::SendQueued() {
    if (queue_.empty()) return;
    std::size_t written = 0;
    const int result = WriteSome(std::string_view(queue_).substr(queueStart_), written);
    queueStart_ += written;
    if (result < 0) writeError_ = result;
    if (result < 0 || queueStart_ == queue_.size()) {
        queue_.clear();
        queueStart_ = 0;
    } else if (queueStart_ >= kLongestQueue) {
        // Else the sent bytes of a queue that never runs empty would pile up.
        queue_.erase(0, queueStart_);
        queueStart_ = 0;
    }
}

}  // namespace postkite::comm
