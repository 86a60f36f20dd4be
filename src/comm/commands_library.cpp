#include <array>
#include <cerrno>
#include <memory>
#include <string>

#include "comm/interpreter.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/shift_jis.h"

/// Libraries: listing them, fetching files, sending files; and the captures beside mail and forum.
namespace postkite::comm {

using namespace core::literals;

namespace {

constexpr std::int32_t kSecondsAfterPrompt = 30;
constexpr std::int32_t kSecondsForHost = 60;

constexpr std::string_view kDownDirectory = "down\\";
/// What opens a library's part of "LibLog.txt" and a transfer's line of "HosokuLog.txt".
constexpr std::string_view kPartMark = "\r\n\b";

constexpr auto kItemPrompts = std::to_array<std::string_view>({"項目 (1:OK  2:NG  E:終了)\r\n："_sjis});

/// "2" of "lib2" and of "LIB 2". Digits are no trail bytes.
std::string_view LibraryNumber(std::string_view place) {
    const std::size_t digits = place.find_first_of("0123456789");
    return digits == std::string_view::npos ? place : place.substr(digits);
}

}  // namespace

const PatrolEntry* Interpreter::CurrentLibrary() const {
    return state_.libraryIndex < lists_.libraries.size() ? &lists_.libraries[state_.libraryIndex] : nullptr;
}

const PatrolEntry* Interpreter::CurrentDownload() const {
    return state_.downloadIndex < lists_.downloads.size() ? &lists_.downloads[state_.downloadIndex] : nullptr;
}

int Interpreter::GoToLibraryForum(const ScriptFields& fields) {
    return EnterForum(CurrentLibrary(), fields);
}

int Interpreter::GoToDownloadForum(const ScriptFields& fields) {
    return EnterForum(CurrentDownload(), fields);
}

int Interpreter::GoToLibrary(const ScriptFields&) {
    return SendPlace(CurrentLibrary());
}

int Interpreter::GoToDownloadLibrary(const ScriptFields&) {
    return SendPlace(CurrentDownload());
}

int Interpreter::DoList(const ScriptFields&) {
    if (const PatrolEntry* library = CurrentLibrary(); library != nullptr) {
        CaptureLogs& captures = line_->captures();
        captures.FlushCapture();
        std::string part(kPartMark);
        part += state_.currentForum + ",lib";
        part += LibraryNumber(library->place);
        captures.AppendLibraryLog(part + "\r\n");
        const std::string since = partners_->LastAccess(*library);
        Send("SCA DATE:" + (since.empty() ? std::string("950101") : since) + "\r");
        partners_->RecordLastAccess(*library);
        ++state_.libraryIndex;
    }
    Advance();
    return kSessionGoesOn;
}

int Interpreter::DoDownload(const ScriptFields&) {
    if (const PatrolEntry* download = CurrentDownload(); download != nullptr) {
        Send("DOW " + download->file + " PROT:BPL\r");
    }
    Advance();
    state_.waitTicks = kNoTimeOut;
    return kSessionGoesOn;
}

int Interpreter::SendFileName(const ScriptFields&) {
    line_->ring().RingClear();
    if (const PatrolEntry* download = CurrentDownload(); download != nullptr) {
        const std::string name = std::string(kDownDirectory) + download->local;
        Send(name + "\r");
        const int error = workspace_->Remove(name);
        if (error < 0 && error != -ENOENT && error != -ENOTDIR) {
            core::LogError(*workspace_, name + ": " + core::DescribeError(error, core::Language::English));
        }
    }
    Advance();
    return kSessionGoesOn;
}

int Interpreter::CheckDownEnd(const ScriptFields&) {
    if (const PatrolEntry* download = CurrentDownload(); download != nullptr) {
        partners_->MarkDownloadDone(*download);
        RecordTransfer(*download);
        ++state_.downloadIndex;
    }
    Advance();
    SetTimeOut(kSecondsAfterPrompt);
    return kSessionGoesOn;
}

/// A line of the supplementary log while that is captured, behind what has been received by now.
void Interpreter::RecordTransfer(const PatrolEntry& download) {
    CaptureLogs& captures = line_->captures();
    if (!captures.switches.captureSupplement) return;
    captures.FlushCapture();
    std::string record(kPartMark);
    record += download.forum + "," + download.place + "," + download.file + ",";
    record += kDownDirectory;
    record += download.local + "\r\n";
    std::unique_ptr<core::File> file;
    int error = workspace_->Open(kSupplementLogFile, core::OpenMode::ReadWriteOrCreate, file);
    if (error == 0) {
        const std::int64_t size = file->Size();
        error = size < 0 ? static_cast<int>(size) : file->WriteAt(static_cast<std::uint64_t>(size), record);
        if (error < 0 && size >= 0) static_cast<void>(file->Truncate(static_cast<std::uint64_t>(size)));
    }
    if (error == 0) return;
    core::LogError(*workspace_, std::string(kSupplementLogFile) + ": " +
                                    core::DescribeError(error, core::Language::English));
}

int Interpreter::Wait05(const ScriptFields&) {
    if (!Arrived("\x05")) return kSessionGoesOn;
    Advance();
    // A download has no time-out.
    if (state_.waitTicks != kNoTimeOut) SetTimeOut(kSecondsAfterPrompt);
    return kSessionGoesOn;
}

int Interpreter::WaitItem(const ScriptFields& fields) {
    if (Arrived("LIB>")) {
        // The file is not there.
        ++state_.downloadIndex;
        JumpToLabel(fields.second);
        SetTimeOut(kSecondsAfterPrompt);
    } else if (AnyArrived(kItemPrompts)) {
        Advance();
        SetTimeOut(kSecondsAfterPrompt);
    }
    return kSessionGoesOn;
}

/// Takes the next file that is to be sent; the commands below send its name.
int Interpreter::BinaryUpload(const ScriptFields& fields) {
    if (state_.uploadIndex < lists_.uploads.size()) {
        ++state_.uploadIndex;
        Advance();
    } else {
        JumpToLabel(fields.second);
    }
    return kSessionGoesOn;
}

/// `SENDUPLOADFILENAME` and `SENDBINMAILFNAME`.
int Interpreter::SendUploadFileName(const ScriptFields&) {
    if (state_.uploadIndex > 0) Send(lists_.uploads[state_.uploadIndex - 1] + "\r");
    Advance();
    SetTimeOut(kSecondsForHost);
    return kSessionGoesOn;
}

/// The identifier that `READ_ID` or `READ_VANID` has read.
int Interpreter::SendBinaryId(const ScriptFields&) {
    Send(state_.identifier + "\r");
    Advance();
    SetTimeOut(kSecondsForHost);
    return kSessionGoesOn;
}

int Interpreter::LibraryLogOn(const ScriptFields&) {
    line_->captures().switches.captureLibrary = true;
    state_.libraryIndex = 0;
    state_.downloadIndex = 0;
    Advance();
    return kSessionGoesOn;
}

int Interpreter::LibraryLogOff(const ScriptFields&) {
    return StopCapture(&CaptureSwitches::captureLibrary);
}

int Interpreter::BinListOn(const ScriptFields&) {
    return StartAnew(kBinListFile, &CaptureSwitches::captureBinList);
}

int Interpreter::BinListOff(const ScriptFields&) {
    return StopCapture(&CaptureSwitches::captureBinList);
}

int Interpreter::SupplementLogOn(const ScriptFields&) {
    line_->captures().FlushCapture();
    return StartAnew(kSupplementLogFile, &CaptureSwitches::captureSupplement);
}

int Interpreter::SupplementLogOff(const ScriptFields&) {
    return StopCapture(&CaptureSwitches::captureSupplement);
}

/// Where the old file cannot be deleted the new text comes behind it.
int Interpreter::StartAnew(std::string_view file, bool CaptureSwitches::*which) {
    CaptureLogs& captures = line_->captures();
    if (const int error = captures.Delete(file); error < 0) {
        core::LogError(*workspace_,
                       std::string(file) + ": " + core::DescribeError(error, core::Language::English));
    }
    captures.switches.*which = true;
    Advance();
    return kSessionGoesOn;
}

int Interpreter::StopCapture(bool CaptureSwitches::*which) {
    line_->captures().FlushCapture();
    line_->captures().switches.*which = false;
    Advance();
    return kSessionGoesOn;
}

}  // namespace postkite::comm
