#include "comm/serial_line.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <span>

#include "core/error_log.h"

namespace postkite::comm {

namespace {

/// Bytes that are taken out of what the host sends: zero bytes, bell, tab, form feed, XON and XOFF. Tabs go
/// on purpose.
constexpr std::array<bool, 256> kIsRemoved = [] {
    std::array<bool, 256> removed{};
    for (const std::size_t byte : {0x00U, 0x07U, 0x09U, 0x0CU, 0x11U, 0x13U})
        removed[byte] = true;
    return removed;
}();

/// Cleans in place; returns what is left.
std::string_view Clean(std::span<char> text) {
    std::size_t kept = 0;
    for (const char byte : text) {
        text[kept] = byte;
        kept += kIsRemoved[static_cast<unsigned char>(byte)] ? 0 : 1;
    }
    return {text.data(), kept};
}

/// The digits that a text begins with, as a number; 0 without any.
int LeadingNumber(std::string_view text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace

SerialLine::SerialLine(SerialPort& port, core::Workspace& workspace, const core::Settings& settings,
                       core::UserInterface& ui, const core::Clock& clock)
    : port_(&port),
      workspace_(&workspace),
      settings_(&settings),
      captures_(workspace, settings, ui, clock),
      monitor_(settings, ui),
      receiveBuffer_(kReceiveBufferBytes) {
}

int SerialLine::OpenLine(const std::string& device) {
    CloseLine();
    received_ = false;
    captures_.BeginSession();
    error_ = port_->Open(device, LeadingNumber(settings_->rsSpeed));
    if (error_ < 0) return -1;
    error_ = 0;
    open_ = true;
    return 0;
}

int SerialLine::CloseLine() {
    if (open_) port_->Close();
    open_ = false;
    heldBack_.clear();
    return 0;
}

int SerialLine::PollReceive(std::string& buffer) {
    buffer.clear();
    received_ = false;
    if (captures_.HasTrouble() && captures_.Retry() < 0) return 0;
    if (!heldBack_.empty()) {
        // To the host's clock it is as if all that had come only now.
        received_ = true;
        buffer.swap(heldBack_);
        return 0;
    }
    if (!open_) return 0;
    const std::int64_t count = port_->Read(std::span(receiveBuffer_).first(kReceiveBufferBytes - 1));
    if (count < 0) {
        error_ = static_cast<int>(count);
        return -1;
    }
    if (count == 0) return 0;
    received_ = true;
    const auto receivedBytes = static_cast<std::size_t>(count);
    const std::string_view cleaned = Clean(std::span(receiveBuffer_).first(receivedBytes));
    if (captures_.switches.sessionLogging) monitor_.AppendMonitor(cleaned);
    captures_.Take(cleaned, receivedBytes);
    (captures_.HasTrouble() ? heldBack_ : buffer) = cleaned;
    return 0;
}

int SerialLine::SendText(std::string_view text) {
    if (text.empty()) return 0;
    const int result = open_ ? port_->Write(text) : -EBADF;
    if (result < 0) {
        core::LogError(*workspace_, "send error GetLastError = " + std::to_string(-result));
        core::LogError(*workspace_, "Send Length Error");
    }
    return 0;
}

int SerialLine::OutputDrained() {
    constexpr std::size_t kFewBytes = 10;
    return port_->WaitingBytes() < kFewBytes ? 0 : -1;
}

}  // namespace postkite::comm
