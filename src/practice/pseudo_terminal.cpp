#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "practice/line_device.h"

namespace postkite::practice {

namespace {

class PseudoTerminal final : public LineDevice {
  public:
    explicit PseudoTerminal(std::filesystem::path link) : link_(std::move(link)) {}
    ~PseudoTerminal() override;

    [[nodiscard]] int Open();

    [[nodiscard]] int waitingDescriptor() const override { return -1; }
    [[nodiscard]] int Accept() override;
    [[nodiscard]] int descriptor() const override { return master_; }
    [[nodiscard]] int Read(char* buffer, std::size_t size) override;
    [[nodiscard]] int Write(std::string_view bytes) override;
    [[nodiscard]] int Release() override;
    [[nodiscard]] int HangUp() override;

  private:
    [[nodiscard]] int MakeLink();
    [[nodiscard]] bool LinkIsOurs() const;
    void Close();

    std::filesystem::path link_;
    std::filesystem::path terminal_;
    int master_ = -1;
};

PseudoTerminal::~PseudoTerminal() {
    if (LinkIsOurs()) static_cast<void>(::unlink(link_.c_str()));
    Close();
}

void PseudoTerminal::Close() {
    if (master_ >= 0) ::close(master_);
    master_ = -1;
}

/// A serial port changes no byte and echoes none. A terminal does both until it is told not to.
void MakeRaw(int descriptor) {
    termios state{};
    if (::tcgetattr(descriptor, &state) != 0) return;
    ::cfmakeraw(&state);
    static_cast<void>(::tcsetattr(descriptor, TCSANOW, &state));  // a client sets its own line as well
}

int PseudoTerminal::Open() {
    master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (master_ < 0) return -errno;
    if (::grantpt(master_) != 0 || ::unlockpt(master_) != 0) return -errno;
    char name[128];
    if (const int error = ::ptsname_r(master_, name, sizeof name); error != 0) return -error;
    terminal_ = name;
    // Opened and closed once, it tells from now on whether a client has it open: before, it looks as if one
    // had.
    const int client = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (client < 0) return -errno;
    MakeRaw(client);
    ::close(client);
    return MakeLink();
}

int PseudoTerminal::MakeLink() {
    std::error_code error;
    if (std::filesystem::is_symlink(std::filesystem::symlink_status(link_, error))) {
        const std::filesystem::path target = std::filesystem::read_symlink(link_, error);
        const bool stale = !std::filesystem::exists(link_, error);
        if (!stale && !target.native().starts_with("/dev/pts/")) return -EEXIST;
        if (::unlink(link_.c_str()) != 0) return -errno;
    }
    return ::symlink(terminal_.c_str(), link_.c_str()) == 0 ? 0 : -errno;
}

bool PseudoTerminal::LinkIsOurs() const {
    std::error_code error;
    return !terminal_.empty() && std::filesystem::read_symlink(link_, error) == terminal_;
}

int PseudoTerminal::Accept() {
    pollfd state{master_, POLLIN, 0};
    if (::poll(&state, 1, 0) < 0) return errno == EINTR ? 0 : -errno;
    // Nobody is there while it says hung up, unless somebody was, wrote and has gone already.
    return (state.revents & POLLHUP) == 0 || (state.revents & POLLIN) != 0 ? 1 : 0;
}

int PseudoTerminal::Read(char* buffer, std::size_t size) {
    const ssize_t count = ::read(master_, buffer, size);
    if (count > 0) return static_cast<int>(count);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return 0;
    return -EPIPE;  // a terminal that nobody has open gives EIO
}

int PseudoTerminal::Write(std::string_view bytes) {
    const ssize_t count = ::write(master_, bytes.data(), bytes.size());
    if (count >= 0) return static_cast<int>(count);
    return errno == EAGAIN || errno == EINTR ? 0 : -EPIPE;
}

/// The same terminal stays, so that the link never leads nowhere. What the last client has not read is not
/// for the next.
int PseudoTerminal::Release() {
    // From either side only a part of what is on the way can be thrown away.
    static_cast<void>(::tcflush(master_, TCOFLUSH));
    const int client = ::open(terminal_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (client < 0) return -errno;
    static_cast<void>(::tcflush(client, TCIFLUSH));
    MakeRaw(client);
    ::close(client);
    return 0;
}

/// The client sees its end of the line go, and the link leads to a new one.
int PseudoTerminal::HangUp() {
    const bool ours = LinkIsOurs();
    Close();
    if (ours) static_cast<void>(::unlink(link_.c_str()));
    return Open();
}

}  // namespace

int OpenPseudoTerminal(const std::filesystem::path& link, std::unique_ptr<LineDevice>& device) {
    auto terminal = std::make_unique<PseudoTerminal>(link);
    if (const int result = terminal->Open(); result < 0) return result;
    device = std::move(terminal);
    return 0;
}

}  // namespace postkite::practice
