#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "practice/command.h"
#include "practice/line_device.h"

namespace postkite::practice {

namespace {

class TcpListener final : public LineDevice {
  public:
    explicit TcpListener(int listener) : listener_(listener) {}
    ~TcpListener() override {
        CloseClient();
        ::close(listener_);
    }

    [[nodiscard]] int waitingDescriptor() const override { return listener_; }
    [[nodiscard]] int Accept() override;
    [[nodiscard]] int descriptor() const override { return client_; }
    [[nodiscard]] int Read(char* buffer, std::size_t size) override;
    [[nodiscard]] int Write(std::string_view bytes) override;
    [[nodiscard]] int Release() override {
        CloseClient();
        return 0;
    }
    [[nodiscard]] int HangUp() override { return Release(); }

  private:
    void CloseClient() {
        if (client_ >= 0) ::close(client_);
        client_ = -1;
    }

    int listener_;
    int client_ = -1;
};

int TcpListener::Accept() {
    client_ = ::accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (client_ >= 0) {
        // Pieces are to arrive as they were written.
        const int on = 1;
        static_cast<void>(::setsockopt(client_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
        return 1;
    }
    const bool passes = errno == EAGAIN || errno == EINTR || errno == ECONNABORTED;
    return passes ? 0 : -errno;
}

int TcpListener::Read(char* buffer, std::size_t size) {
    const ssize_t count = ::recv(client_, buffer, size, 0);
    if (count > 0) return static_cast<int>(count);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return 0;
    return -EPIPE;
}

int TcpListener::Write(std::string_view bytes) {
    const ssize_t count = ::send(client_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count >= 0) return static_cast<int>(count);
    return errno == EAGAIN || errno == EINTR ? 0 : -EPIPE;
}

int Listen(const addrinfo& address) {
    const int listener = ::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (listener < 0) return -errno;
    const int on = 1;
    static_cast<void>(::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on));
    if (::bind(listener, address.ai_addr, address.ai_addrlen) == 0 && ::listen(listener, 8) == 0)
        return listener;
    const int error = errno;
    ::close(listener);
    return -error;
}

std::string PortOf(int listener) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    char port[16] = "";
    if (::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) == 0) {
        static_cast<void>(::getnameinfo(reinterpret_cast<const sockaddr*>(&address), size, nullptr, 0, port,
                                        sizeof port, NI_NUMERICSERV));
    }
    return port;
}

}  // namespace

int OpenListener(const std::string& address, std::unique_ptr<LineDevice>& device, std::string& heard) {
    const std::size_t colon = address.rfind(':');
    if (colon == std::string::npos) return -EINVAL;
    constexpr int kHighestPort = 65535;
    const int port = WholeNumber(std::string_view(address).substr(colon + 1)).value_or(-1);
    if (port < 0 || port > kHighestPort) return -EINVAL;
    const std::string shown = address.substr(0, colon);
    const bool bracketed = shown.starts_with('[') && shown.ends_with(']');
    const std::string host = bracketed ? shown.substr(1, shown.size() - 2) : shown;
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.empty() ? nullptr : host.c_str(), std::to_string(port).c_str(), &hints, &found) !=
        0) {
        return -EINVAL;
    }
    const int listener = Listen(*found);
    ::freeaddrinfo(found);
    if (listener < 0) return listener;
    device = std::make_unique<TcpListener>(listener);
    heard = shown + ":" + PortOf(listener);
    return 0;
}

}  // namespace postkite::practice
