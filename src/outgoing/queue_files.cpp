#include "outgoing/queue_files.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "core/letter_case.h"

namespace postkite::outgoing {

namespace {

constexpr std::string_view kMailList = "BMTEMP.$$$\\send.inf";
constexpr std::string_view kPostList = "BMTEMP.$$$\\mes.inf";
constexpr std::string_view kIdentifierList = "bmtemp.$$$\\MailID.Tmp";

int EmptyFile(int opened, const std::unique_ptr<core::File>& file) {
    return opened < 0 ? opened : file->Truncate(0);
}

}  // namespace

int QueueFiles::Fail(std::string_view name, int result) {
    if (result < 0) fault_ = name;
    return result;
}

int QueueFiles::Create(std::string_view name, List& list) {
    const int opened = workspace_->Open(name, core::OpenMode::ReadWriteOrCreate, list.file);
    const int result = EmptyFile(opened, list.file);
    if (result == 0) list.output = store::BlockOutput(*list.file, 0);
    return Fail(name, result);
}

int QueueFiles::CreateMailList() {
    const int made = workspace_->CreateDirectory(kQueueDirectory);
    return made < 0 && made != -EEXIST ? Fail(kQueueDirectory, made) : Create(kMailList, mails_);
}

int QueueFiles::CreateOthers() {
    const int created = Create(kPostList, posts_);
    return created < 0 ? created : Create(kIdentifierList, identifiers_);
}

int QueueFiles::RequireNoFolders(std::string_view directory) {
    constexpr std::string_view kIndexEnding = ".loc";
    std::vector<std::string> names;
    if (const int listed = workspace_->List(directory, names); listed < 0) return Fail(directory, listed);
    for (const std::string& name : names) {
        const std::size_t stem = name.size() - std::min(name.size(), kIndexEnding.size());
        if (core::EqualIgnoringCase(std::string_view(name).substr(stem), kIndexEnding))
            return Fail(std::string(directory) + "\\" + name, -EEXIST);
    }
    return 0;
}

int QueueFiles::AddIdentifier(std::string_view localId) {
    return Fail(kIdentifierList, identifiers_.output.Add(std::string(localId) + "\r\n"));
}

int QueueFiles::AddMail(const std::vector<std::string>& addressees, std::string_view subject,
                        std::string_view file) {
    std::string lines;
    for (const std::string& addressee : addressees)
        lines += "TO:" + addressee + "\r\n";
    lines.append("SUB:").append(subject).append("\r\n").append(file).append("\r\n");
    return Fail(kMailList, mails_.output.Add(lines));
}

int QueueFiles::WriteMessageFile(const std::string& file, std::string_view text) {
    std::unique_ptr<core::File> opened;
    int result = workspace_->OpenExactly(file, core::OpenMode::ReadWriteOrCreate, opened);
    result = EmptyFile(result, opened);
    return Fail(file, result < 0 ? result : opened->WriteAt(0, text));
}

int QueueFiles::Finish(const std::vector<Post>& posts) {
    int result = Fail(kIdentifierList, identifiers_.output.Flush());
    if (result == 0) result = Fail(kMailList, mails_.output.Flush());
    if (result == 0) result = Fail(kPostList, posts_.output.Add(FormatPosts(posts)));
    return result < 0 ? result : Fail(kPostList, posts_.output.Flush());
}

void QueueFiles::Discard() {
    for (const auto& [name, list] : {std::pair(kMailList, &mails_), std::pair(kPostList, &posts_)}) {
        list->file.reset();
        // Where there is none, or the disk takes nothing at all any more, nothing is left to be done: no session
        // begins without a queue, and the next one is built anew.
        static_cast<void>(workspace_->Remove(name));
    }
}

}  // namespace postkite::outgoing
