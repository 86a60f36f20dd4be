#include "comm/send_queue_reader.h"

#include <cerrno>

#include "core/error_log.h"
#include "core/error_text.h"

namespace postkite::comm {

void SendQueueReader::OpenOne(core::Workspace& workspace, std::string_view name, QueueFile& queueFile) {
    queueFile.reader.reset();
    queueFile.error = 0;
    const int error = workspace.Open(name, core::OpenMode::Read, queueFile.file);
    if (error == 0) {
        queueFile.reader.emplace(*queueFile.file, kLongestQueueLine);
        return;
    }
    queueFile.file.reset();
    if (error == -ENOENT || error == -ENOTDIR) return;
    queueFile.error = error;
    core::LogError(workspace, std::string(name) + ": " + core::DescribeError(error, core::Language::English));
}

void SendQueueReader::Open(core::Workspace& workspace) {
    OpenOne(workspace, kMailQueueFile, mails_);
    OpenOne(workspace, kPostQueueFile, posts_);
    OpenOne(workspace, kMailIdFile, mailIds_);
    nextMailId_ = 0;
}

void SendQueueReader::Close() {
    for (QueueFile* queueFile : {&mails_, &posts_, &mailIds_}) {
        queueFile->reader.reset();
        queueFile->file.reset();
    }
}

int SendQueueReader::error() const {
    return mails_.error != 0 ? mails_.error : posts_.error != 0 ? posts_.error : mailIds_.error;
}

bool SendQueueReader::Read(QueueFile& queueFile, std::string& line) {
    if (!queueFile.reader) return false;
    if (core::ReadLogLine(*queueFile.reader, line) == 0) return true;
    if (queueFile.error == 0) queueFile.error = queueFile.reader->error();
    return false;
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

int SendQueueReader::MailId(int index, std::string& localId) {
    localId.clear();
    if (index < 0 || !mailIds_.reader) return mailIds_.error;
    if (index < nextMailId_) {
        mailIds_.reader->Seek(0);
        nextMailId_ = 0;
    }
    std::string line;
    while (nextMailId_ <= index) {
        if (!Read(mailIds_, line)) return mailIds_.error;
        ++nextMailId_;
    }
    localId = std::move(line);
    return 0;
}

}  // namespace postkite::comm
