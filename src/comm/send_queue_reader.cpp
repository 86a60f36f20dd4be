#include "comm/send_queue_reader.h"

#include <cerrno>

#include "core/error_log.h"
#include "core/error_text.h"

namespace postkite::comm {

void SendQueueReader::OpenOne(core::Workspace& workspace, std::string_view name, QueueFile& queueFile) {
    queueFile.reader.reset();
    const int error = workspace.Open(name, core::OpenMode::Read, queueFile.file);
    if (error == 0) {
        queueFile.reader.emplace(*queueFile.file, kLongestQueueLine);
        return;
    }
    queueFile.file.reset();
    if (error == -ENOENT || error == -ENOTDIR) return;
    core::LogError(workspace, std::string(name) + ": " + core::DescribeError(error, core::Language::English));
}

void SendQueueReader::Open(core::Workspace& workspace) {
    OpenOne(workspace, kMailQueueFile, mails_);
    OpenOne(workspace, kPostQueueFile, posts_);
    OpenOne(workspace, kMailIdFile, mailIds_);
    nextMailId_ = 0;
}

void SendQueueReader::Close() {
    mails_ = {};
    posts_ = {};
    mailIds_ = {};
}

bool SendQueueReader::Read(QueueFile& queueFile, std::string& line) {
    return queueFile.reader && core::ReadLogLine(*queueFile.reader, line) == 0;
}

SendQueueReader::Next SendQueueReader::ReadMailLineIf(std::string_view prefix, std::string& line) {
    if (!mails_.reader) return Next::End;
    const std::uint64_t position = mails_.reader->position();
    std::string next;
    if (!Read(mails_, next)) return Next::End;
    if (!next.starts_with(prefix)) {
        mails_.reader->Seek(position);
        return Next::Other;
    }
    line = std::move(next);
    return Next::Taken;
}

std::string SendQueueReader::MailId(int index) {
    if (index < 0 || !mailIds_.reader) return {};
    if (index < nextMailId_) {
        mailIds_.reader->Seek(0);
        nextMailId_ = 0;
    }
    std::string line;
    while (nextMailId_ <= index) {
        if (!Read(mailIds_, line)) return {};
        ++nextMailId_;
    }
    return line;
}

}  // namespace postkite::comm
