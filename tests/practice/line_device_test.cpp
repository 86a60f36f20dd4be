#include "practice/line_device.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>

namespace postkite::practice {
namespace {

class PseudoTerminalTest : public testing::Test {
  protected:
    void SetUp() override {
        std::string form = testing::TempDir() + "/line_device_XXXXXX";
        ASSERT_NE(::mkdtemp(form.data()), nullptr);
        directory = form;
        link = directory / "com2";
    }
    void TearDown() override { std::filesystem::remove_all(directory); }

    [[nodiscard]] int OpenClient() const { return ::open(link.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK); }

    std::filesystem::path directory;
    std::filesystem::path link;
};

TEST_F(PseudoTerminalTest, PassesBytesAsTheyAreToOneClientAfterAnother) {
    std::unique_ptr<LineDevice> device;
    ASSERT_EQ(OpenPseudoTerminal(link, device), 0);
    const std::string bytes = "\r\n\x03\x04\x11\x13\xFF\x81 x\r";
    char buffer[64];
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(device->Accept(), 0);
        const int client = OpenClient();
        ASSERT_GE(client, 0);
        EXPECT_EQ(device->Accept(), 1);
        EXPECT_EQ(device->Read(buffer, sizeof buffer), 0);
        ASSERT_EQ(device->Write(bytes), static_cast<int>(bytes.size()));
        ASSERT_EQ(::read(client, buffer, sizeof buffer), static_cast<ssize_t>(bytes.size()));
        EXPECT_EQ(std::string(buffer, bytes.size()), bytes);
        ASSERT_EQ(::write(client, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        ASSERT_EQ(device->Read(buffer, sizeof buffer), static_cast<int>(bytes.size()));
        EXPECT_EQ(std::string(buffer, bytes.size()), bytes);
        EXPECT_EQ(device->Read(buffer, sizeof buffer), 0);  // nothing is echoed
        ASSERT_EQ(device->Write("left over"), 9);
        ::close(client);
        EXPECT_EQ(device->Read(buffer, sizeof buffer), -EPIPE);
        EXPECT_EQ(device->Release(), 0);
    }
}

TEST_F(PseudoTerminalTest, HangsUpAndLeavesNoLink) {
    std::unique_ptr<LineDevice> device;
    ASSERT_EQ(OpenPseudoTerminal(link, device), 0);
    const int client = OpenClient();
    ASSERT_GE(client, 0);
    ASSERT_EQ(device->HangUp(), 0);
    char byte = 0;
    EXPECT_LE(::read(client, &byte, 1), 0);
    EXPECT_NE(errno, EAGAIN);
    const int next = OpenClient();
    ASSERT_GE(next, 0);
    EXPECT_EQ(device->Accept(), 1);
    ::close(next);
    ::close(client);
    device.reset();
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(link)));
}

TEST_F(PseudoTerminalTest, TakesNobodysPlace) {
    std::unique_ptr<LineDevice> device;
    std::ofstream(link) << "a file";
    EXPECT_EQ(OpenPseudoTerminal(link, device), -EEXIST);
    std::filesystem::rename(link, directory / "file");
    std::filesystem::create_symlink("file", link);
    EXPECT_EQ(OpenPseudoTerminal(link, device), -EEXIST);
    std::filesystem::remove(directory / "file");
    EXPECT_EQ(OpenPseudoTerminal(link, device), 0);  // what a program that was killed has left
    // A link that somebody else has made meanwhile stays.
    std::filesystem::remove(link);
    std::filesystem::create_symlink("other", link);
    device.reset();
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(OpenPseudoTerminal(directory / "none" / "com2", device), -ENOENT);
}

TEST(Listener, TakesAddressesOfOneForm) {
    std::unique_ptr<LineDevice> device;
    std::string heard;
    for (const char* address : {"", "127.0.0.1", "127.0.0.1:", "127.0.0.1:x", ":99999", "127.0.0.1:-1"}) {
        EXPECT_EQ(OpenListener(address, false, device, heard), -EINVAL) << address;
    }
    ASSERT_EQ(OpenListener("127.0.0.1:0", false, device, heard), 0);
    EXPECT_TRUE(heard.starts_with("127.0.0.1:"));
    EXPECT_NE(heard, "127.0.0.1:0");
    EXPECT_EQ(device->Accept(), 0);
}

/// A client at a listener on this machine.
struct Client {
    explicit Client(bool telnet) {
        std::string heard;
        EXPECT_EQ(OpenListener("127.0.0.1:0", telnet, device, heard), 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(heard.substr(heard.find(':') + 1))));
        EXPECT_EQ(::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(device->Accept(), 1);
    }
    ~Client() { ::close(socket); }
    /// What the device takes for input.
    std::string Type(const std::string& bytes) const {
        EXPECT_EQ(::send(socket, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
        pollfd state{device->descriptor(), POLLIN, 0};
        EXPECT_EQ(::poll(&state, 1, 10'000), 1);
        char buffer[64];
        const int count = device->Read(buffer, sizeof buffer);
        return count < 0 ? "gone" : std::string(buffer, static_cast<std::size_t>(count));
    }
    [[nodiscard]] std::string Receive(std::size_t bytes) const {
        std::string received(bytes, '\0');
        const ssize_t count = ::recv(socket, received.data(), bytes, MSG_WAITALL);
        return received.substr(0, count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::unique_ptr<LineDevice> device;
};

TEST(Listener, WhatAClientNegotiatesIsNoInput) {
    const Client plain(false);
    EXPECT_EQ(plain.Type("ATZ\r"), "ATZ\r");
    EXPECT_EQ(plain.device->Write("a\r"), 2);
    EXPECT_EQ(plain.Receive(2), "a\r");
    // From the first negotiation on the protocol is spoken: window size refused, binary transmission taken.
    EXPECT_EQ(plain.Type("\xFF\xFB\x1F"
                         "AT\xFF"),
              "AT");
    EXPECT_EQ(plain.Receive(3), "\xFF\xFE\x1F");
    EXPECT_EQ(plain.Type(std::string("\xF1\r\0Z\xFF\xFF", 6)), "\rZ\xFF");
    EXPECT_EQ(plain.device->Write("a\r\xFF"), 3);
    EXPECT_EQ(plain.Receive(5), std::string("a\r\0\xFF\xFF", 5));
    EXPECT_EQ(plain.Type(std::string("\xFF\xFB\0", 3)), "");
    EXPECT_EQ(plain.Receive(6), std::string("\xFF\xFD\0\xFF\xFB\0", 6));

    const Client telnet(true);
    EXPECT_EQ(telnet.Receive(15),
              std::string("\xFF\xFB\x01\xFF\xFB\x03\xFF\xFD\x03\xFF\xFB\0\xFF\xFD\0", 15));
}

}  // namespace
}  // namespace postkite::practice
