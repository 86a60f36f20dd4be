#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include "core/telnet_codec.h"
#include "practice/command.h"
#include "practice/line_device.h"

namespace postkite::practice {

namespace {

/// A client that negotiates by the telnet protocol is answered by it from then on, and its negotiation is no input. With
/// `beginsTelnet` every client is taken for one.
class TcpListener final : public LineDevice {
  public:
    TcpListener(int listener, bool beginsTelnet) : listener_(listener), beginsTelnet_(beginsTelnet) {}
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
        telnet_.reset();
        unsent_.clear();
        answers_.clear();
        beingSent_ = 0;
    }
    [[nodiscard]] int Send(std::string_view bytes);
    [[nodiscard]] int SendAnswers();

    int listener_;
    bool beginsTelnet_;
    int client_ = -1;
    std::optional<core::TelnetCodec> telnet_;
    std::string answers_;        ///< of the negotiation, that are not out yet
    std::string unsent_;         ///< what is not out of a write, as it goes over the line
    std::size_t beingSent_ = 0;  ///< the bytes of that write
};

int TcpListener::Accept() {
    client_ = ::accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (client_ >= 0) {
        // Pieces are to arrive as they were written.
        const int on = 1;
        static_cast<void>(::setsockopt(client_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
        if (beginsTelnet_) {
            answers_ = telnet_.emplace(true).Offer();
            static_cast<void>(SendAnswers());
        }
        return 1;
    }
    const bool passes = errno == EAGAIN || errno == EINTR || errno == ECONNABORTED;
    return passes ? 0 : -errno;
}

int TcpListener::Read(char* buffer, std::size_t size) {
    const ssize_t count = ::recv(client_, buffer, size, 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return 0;
    if (count <= 0) return -EPIPE;
    const std::span<char> bytes(buffer, static_cast<std::size_t>(count));
    // In no text that the host takes there is such a byte.
    constexpr char kCommand = static_cast<char>(core::TelnetCodec::kCommand);
    if (!telnet_ && std::find(bytes.begin(), bytes.end(), kCommand) != bytes.end()) telnet_.emplace(true);
    if (!telnet_) return static_cast<int>(count);
    const std::size_t data = telnet_->Decode(bytes, answers_);
    const int sent = SendAnswers();
    return sent < 0 && data == 0 ? sent : static_cast<int>(data);
}

int TcpListener::Send(std::string_view bytes) {
    const ssize_t count = ::send(client_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count >= 0) return static_cast<int>(count);
    return errno == EAGAIN || errno == EINTR ? 0 : -EPIPE;
}

/// Never in the middle of what a write has begun.
int TcpListener::SendAnswers() {
    if (answers_.empty() || !unsent_.empty()) return 0;
    const int sent = Send(answers_);
    if (sent > 0) answers_.erase(0, static_cast<std::size_t>(sent));
    return sent;
}

int TcpListener::Write(std::string_view bytes) {
    if (!telnet_) return Send(bytes);
    if (const int sent = SendAnswers(); sent < 0) return sent;
    if (!answers_.empty()) return 0;
    if (unsent_.empty()) {
        telnet_->Encode(bytes, unsent_);
        beingSent_ = bytes.size();
    }
    const int sent = Send(unsent_);
    if (sent < 0) return sent;
    unsent_.erase(0, static_cast<std::size_t>(sent));
    return unsent_.empty() ? static_cast<int>(beingSent_) : 0;
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

int OpenListener(const std::string& address, bool telnet, std::unique_ptr<LineDevice>& device,
                 std::string& heard) {
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
    device = std::make_unique<TcpListener>(listener, telnet);
    heard = shown + ":" + PortOf(listener);
    return 0;
}

}  // namespace postkite::practice
