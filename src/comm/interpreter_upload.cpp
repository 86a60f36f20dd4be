#include <string>

#include "comm/interpreter.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/shift_jis.h"

/// The part of a step that comes before the script's line while a file is sent.
namespace postkite::comm {

using namespace core::literals;

namespace {

constexpr std::int32_t kSecondsForALine = 30;
/// At high speed too a tick comes to its end, where the device takes whatever it is given.
constexpr std::uint64_t kMostBytesATick = 1'048'576;

}  // namespace

int Interpreter::SendUploadLines() {
    const std::string_view route = std::string_view(settings_->fenicsLoad).substr(0, 1);
    const bool prompted = route == "4" || route == "5";
    if (prompted && state_.routePrompt && Arrived("\r\n>")) state_.routePrompt = false;

    const std::uint64_t before = state_.bytesSent;
    while (state_.fileSending && !state_.routePrompt && line_->OutputDrained() == 0) {
        std::string_view text;
        const UploadFile::Piece piece = upload_.Next(text);
        if (piece == UploadFile::Piece::End) {
            state_.uploaded = true;
            CloseUpload();
            break;
        }
        if (piece == UploadFile::Piece::Fault) {
            RefuseUpload(upload_.error());
            break;
        }
        SendUploadPiece(piece, text);
        // A part of a line is no line yet: the host prompts for the next one behind a line's end alone.
        if (piece == UploadFile::Piece::Line && prompted) state_.routePrompt = true;
        if (settings_->highSpeedUpload != 1 || state_.bytesSent - before >= kMostBytesATick) break;
    }
    return kSessionGoesOn;
}

void Interpreter::SendUploadPiece(UploadFile::Piece piece, std::string_view text) {
    SetTimeOut(kSecondsForALine);
    state_.bytesSent += text.size();
    state_.fileBytesSent += text.size();
    outgoing_.assign(text);
    if (piece == UploadFile::Piece::Line) {
        // The LF stays behind: a line goes out ending in CR, also one that the file ends without.
        if (outgoing_.back() == '\n') outgoing_.pop_back();
        if (outgoing_.empty() || outgoing_.back() != '\r') outgoing_ += '\r';
    }
    Send(outgoing_);
    ui_->SetProgress(state_.fileBytesSent, upload_.sizeBytes());
    ui_->RedrawMainWindow();
}

/// The file cannot be opened, or not be read to its end: what has gone out of it is no mail, and the log-off
/// ends it.
void Interpreter::RefuseUpload(int error) {
    core::LogError(*workspace_,
                   state_.lineBuffer + ": " + core::DescribeError(error, core::Language::English));
    CloseUpload();
    GoToLogOff();
    state_.refusedUpload = true;
    message_ = Message{"Error", std::string("アップロードファイルを認識出来ません。(ERROR-1)"_sjis)};
}

/// Without a note a program that is killed behind the host's word would send the mail again, and nobody would know. The
/// mail stays reserved, and the log-off ends the session.
void Interpreter::RefuseToNote(int error) {
    core::LogError(*workspace_, "UPLOAD_FBUF " + state_.lineBuffer + ": " +
                                    core::DescribeError(error, core::Language::English));
    state_.uploadedId.clear();
    CloseUpload();
    GoToLogOff();
    state_.refusedUpload = true;
    std::string text(core::Choose(*ui_, "送信の記録を書き込めないため、送信を中止しました。\r\n"_sjis,
                                  "What is sent cannot be noted down, so nothing more was sent.\r\n"));
    Tell(core::kProductName, text + core::DescribeError(error, ui_->language()));
}

void Interpreter::CloseUpload() {
    upload_.Close();
    if (!state_.fileSending) return;
    state_.fileSending = false;
    ui_->SetProgress(0, 0);
}

}  // namespace postkite::comm
