#include "practice/transcript.h"

#include <cstdio>

#include "core/shift_jis.h"

namespace postkite::practice {

namespace {

/// A longer line is recorded in pieces.
constexpr std::size_t kLongestLine = 4096;

}  // namespace

void Transcript::Host(std::string_view text) {
    for (const char byte : text) {
        if (byte == '\n' || hostLine_.size() >= kLongestLine) {
            EndHostLine();
            if (byte == '\n') continue;
        }
        if (byte != '\r') hostLine_ += byte;
    }
}

void Transcript::EndHostLine() {
    if (!hostLine_.empty()) Write('H', hostLine_);
    hostLine_.clear();
}

void Transcript::Client(std::string_view line) {
    EndHostLine();
    Write('C', line);
}

void Transcript::Modem(std::string_view line) {
    EndHostLine();
    Write('M', line);
}

void Transcript::Event(std::string_view line) {
    EndHostLine();
    Write('*', line);
}

void Transcript::Write(char who, std::string_view line) {
    if (written_ > kMostBytes) return;
    const core::LocalTime now = clock_->Now();
    char head[48];
    std::snprintf(head, sizeof head, "%02d/%02d/%02d %02d:%02d:%02d %c ", now.year % 100, now.month, now.day,
                  now.hour, now.minute, now.second, who);
    std::u8string text = core::ToShownUtf8(std::string(head) + std::string(line));
    for (char8_t& character : text) {
        if (character < 0x20 || character == 0x7F) character = u8'?';
    }
    written_ += text.size() + 1;
    lines_ += written_ > kMostBytes ? u8"* the record is full" : text;
    lines_ += u8'\n';
}

void Transcript::Flush() {
    if (lines_.empty()) return;
    holdings_->AppendLog(lines_);
    lines_.clear();
}

}  // namespace postkite::practice
