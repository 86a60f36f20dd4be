#include "cli/terminal_user_interface.h"

#include <algorithm>
#include <istream>
#include <ostream>

#include "cli/language.h"
#include "core/shift_jis.h"

namespace postkite::cli {

namespace {

/// A message of several lines as one line.
std::string OneLine(std::string_view text) {
    std::string line;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = core::CharacterLength(text, at);
        const char byte = text[at];
        if (length == 1 && (byte == '\r' || byte == '\n')) {
            if (!line.empty() && line.back() != ' ') line += ' ';
        } else {
            line += text.substr(at, length);
        }
        at += length;
    }
    return line;
}

/// "Wait-17" and "Wait-16" are one text.
std::string_view WithoutCountdown(std::string_view text) {
    const std::size_t end = text.find_last_not_of("0123456789");
    const bool counts = end != std::string_view::npos && end + 1 < text.size() && text[end] == '-';
    return counts ? text.substr(0, end) : text;
}

constexpr std::size_t kBarColumns = 20;

std::string DrawBar(int percent) {
    const std::size_t filled = static_cast<std::size_t>(percent) * kBarColumns / 100;
    return "[" + std::string(filled, '#') + std::string(kBarColumns - filled, '.') + "] " +
           std::to_string(percent) + "%";
}

}  // namespace

TerminalUserInterface::TerminalUserInterface(Console& console, core::Language language, bool yes)
    : console_(&console), language_(language), yes_(yes) {
    console_->endStatusLine = [this] { EndStatusLine(); };
}

TerminalUserInterface::~TerminalUserInterface() {
    ClearStatusLine();
    console_->endStatusLine = nullptr;
}

void TerminalUserInterface::ShowMessage(std::string_view caption, std::string_view text, core::MessageIcon) {
    ClearStatusLine();
    console_->err << Printable(caption) << ": " << Printable(OneLine(text)) << '\n';
    DrawStatusLine();
}

bool TerminalUserInterface::AskQuestion(std::string_view caption, std::string_view text) {
    ClearStatusLine();
    console_->err << Printable(caption) << ": " << Printable(OneLine(text)) << " [y/N] " << std::flush;
    bool agreed = yes_;
    if (yes_) {
        console_->err << "y\n";
    } else if (!console_->inIsTerminal) {
        const Bilingual refused = {"（端末がないため中止します。--yes で続行します）",
                                   "(refused: no terminal to answer on; --yes goes on)"};
        console_->err << refused.In(language_) << '\n';
    } else {
        std::string answer;
        std::getline(console_->in, answer);
        agreed = answer == "y" || answer == "Y" || answer == "yes";
    }
    DrawStatusLine();
    return agreed;
}

void TerminalUserInterface::SetStatusText(std::string_view text) {
    statusText_ = text;
    statusTexts_ == StatusTexts::Printed ? PrintStatusText() : DrawStatusLine();
}

void TerminalUserInterface::PrintStatusText() {
    const std::string_view text = WithoutCountdown(statusText_);
    if (text == printedText_) return;
    printedText_ = text;
    if (statusText_.empty() || !ErrTakesMore()) return;
    ClearStatusLine();
    console_->err << Printable(OneLine(statusText_)) << std::endl;
}

bool TerminalUserInterface::ErrTakesMore() const {
    return !console_->errTakesMore || console_->errTakesMore();
}

void TerminalUserInterface::SetProgress(std::uint64_t position, std::uint64_t total) {
    const int percent = total == 0 ? kNoBar
                                   : static_cast<int>(static_cast<double>(std::min(position, total)) * 100 /
                                                      static_cast<double>(total));
    // Work on many mails calls for each of them.
    if (percent == percent_) return;
    percent_ = percent;
    bar_ = percent == kNoBar ? std::string() : DrawBar(percent);
    DrawStatusLine();
}

void TerminalUserInterface::DrawStatusLine() {
    if (!console_->errIsTerminal) return;
    // A text takes as many columns as it has bytes: two for a double-byte character, one for any other.
    constexpr std::size_t kTextColumns = 48;
    std::string line = bar_;
    if (!statusText_.empty() && statusTexts_ == StatusTexts::Drawn) {
        if (!line.empty()) line += ' ';
        line += Printable(core::CutToBytes(statusText_, kTextColumns));
    }
    if (line == drawn_ || !ErrTakesMore()) return;
    ClearStatusLine();
    console_->err << line << std::flush;
    drawn_ = line;
}

void TerminalUserInterface::ClearStatusLine() {
    if (inMonitorLine_) console_->err << '\n';
    inMonitorLine_ = false;
    if (drawn_.empty()) return;
    console_->err << "\r\x1B[K" << std::flush;
    drawn_.clear();
}

/// A text that no bar stands beside says how the work went, and stays as a line of its own.
void TerminalUserInterface::EndStatusLine() {
    if (drawn_.empty() || !bar_.empty()) return ClearStatusLine();
    console_->err << '\n' << std::flush;
    drawn_.clear();
    statusText_.clear();
}

// A terminal is no place for music: whoever wants the sounds has the desktop.
void TerminalUserInterface::PlaySoundFile(std::string_view) {
}

void TerminalUserInterface::AppendMonitorText(std::string_view text) {
    if (text.empty()) return;
    if (!drawn_.empty()) ClearStatusLine();
    const std::string shown = Printable(text, LineEnds::Kept);
    std::string lines;
    lines.reserve(shown.size());
    for (const char byte : shown) {
        // A CR alone would let the host write over what stands there.
        if (byte != '\n' || !monitorEndsInReturn_) lines += byte == '\r' ? '\n' : byte;
        monitorEndsInReturn_ = byte == '\r';
    }
    if (lines.empty()) return;
    // Where nobody reads what is written, the line is worth more than its picture: a tick must not wait.
    for (std::string_view left = lines; !left.empty() && ErrTakesMore();) {
        const std::string_view piece = left.substr(0, Console::kErrPieceBytes);
        console_->err << piece << std::flush;
        inMonitorLine_ = piece.back() != '\n';
        left.remove_prefix(piece.size());
    }
}

// There are no windows: nothing waits and nothing is drawn.
void TerminalUserInterface::PumpMessages() {
}
void TerminalUserInterface::RedrawMainWindow() {
}

}  // namespace postkite::cli
