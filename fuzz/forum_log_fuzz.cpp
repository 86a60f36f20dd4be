// Any bytes as a capture of forum messages, in a bank whose tree is any bytes as well. The capture goes when all is stored,
// a second one of the same bytes stores nothing, and where any one disk call fails the next run makes up for it: then
// the folders hold what they hold without the fault. Nothing is written anywhere else.
//
// The other two parts of an input are a read-condition file and a subject.

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <vector>

#include "analyse/forum_log.h"
#include "analyse/read_conditions.h"
#include "analyse/subjects.h"
#include "core/letter_case.h"
#include "fuzz/fuzz_program.h"
#include "store/folder_reader.h"

namespace {

using namespace postkite;
using fuzz::Check;

constexpr const char* kCapturePath = "/mail/meslog.txt";
constexpr const char* kTreePath = "/mail/Bank/MailBoxInfo.ini";

struct ForumProgram : fuzz::Program {
    explicit ForumProgram(support::MemoryFileSystem& disk) : Program(disk) {
        Check(folders.LoadFolderTree() == 0);
    }
    int Analyse() {
        const analyse::Analysis analysis = {workspace, settings, mailbox, folders, ui, clock, "Inbox"};
        return analyse::AnalyseForumLog(analysis, "meslog.txt", result);
    }
    /// Flags, date and body of every mail of every folder, sorted.
    std::vector<std::string> Mails() {
        std::vector<std::string> mails;
        std::set<std::string> seen;
        const auto add = [&](const std::string&, const std::string& folder) {
            const std::string name = core::SmallLetters(folder);
            store::FolderReader reader;
            store::MailRecord record;
            if (!seen.insert(name).second || reader.Open(mailbox.FilesOf(folder)) < 0) return 0;
            for (int number = 0; number < reader.CountMails(); ++number) {
                Check(reader.ReadMail(number, store::MAIL_BODY_MAX, record) ==
                      store::FolderReader::Condition::Whole);
                Check(record.flags.at(store::flag::kKind) == 'N');
                mails.push_back(name + "\n" + record.date + "\n" + record.body);
            }
            return 0;
        };
        // Not every tree of these has an Inbox.
        Check(folders.ForEachFolder(add) == 0 && add({}, "Inbox") == 0);
        std::sort(mails.begin(), mails.end());
        return mails;
    }

    core::Settings settings;
    std::array<std::string, 1> banks = {"Bank"};
    store::Folders folders{mailbox, banks};
    analyse::ForumLogResult result;
};

/// A second time nothing is stored. Nothing is written but in the bank and beside the settings.
void CheckAgain(support::MemoryFileSystem& disk, ForumProgram& program, const std::string& capture) {
    disk.Put(kCapturePath, capture);
    Check(program.Analyse() == 0 && program.result.complete);
    const std::vector<std::string> names = {"Bank", "Setting"};
    for (const std::string& name : disk.Names("/mail"))
        Check(name == "error.log" || std::find(names.begin(), names.end(), name) != names.end());
}

void CheckCapture(const std::string& capture, const std::string& tree) {
    support::MemoryFileSystem disk;
    if (!tree.empty()) disk.Put(kTreePath, tree);
    disk.Put(kCapturePath, capture);
    ForumProgram program(disk);
    const int before = disk.calls();
    const int stored = program.Analyse();
    const int calls = disk.calls() - before;
    Check(program.result.complete && !disk.Exists(kCapturePath));
    const std::vector<std::string> mails = program.Mails();
    Check(mails.size() == static_cast<std::size_t>(stored) && program.ui.faults == 0);
    // Not with every input, since each takes as long as all before.
    const std::size_t choice = (capture.size() + tree.size()) % 8;
    if (choice == 0) CheckAgain(disk, program, capture);
    if (choice != 1) return;

    support::MemoryFileSystem faulty;
    if (!tree.empty()) faulty.Put(kTreePath, tree);
    faulty.Put(kCapturePath, capture);
    ForumProgram first(faulty);
    faulty.FailCall(1 + static_cast<int>(capture.size() * 7 + tree.size()) % calls, -EIO);
    static_cast<void>(first.Analyse());
    Check(first.result.complete == !faulty.Exists(kCapturePath));
    ForumProgram second(faulty);
    static_cast<void>(second.Analyse());
    Check(!faulty.Exists(kCapturePath) && second.Mails() == mails);
}

void CheckCondition(const std::string& bytes) {
    constexpr const char* kRoom = "FABC,mes1";
    constexpr const char* kPath = "/mail/Setting/FABC,mes1";
    support::MemoryFileSystem disk;
    fuzz::Program program(disk);
    disk.Put(kPath, bytes);
    analyse::ReadCondition condition;
    Check(analyse::ReadReadCondition(program.workspace, kRoom, condition) == 0);
    Check(condition.lastAccess.empty() || analyse::IsAccessDate(condition.lastAccess));
    const std::string firstLine = bytes.substr(0, bytes.find('\r'));
    const int recorded = analyse::RecordLastAccess(program.workspace, program.clock, kRoom);
    if (recorded == 0 && !bytes.empty()) Check(disk.Get(kPath) == firstLine + "\r\nlast access=97/01/24\r\n");
    std::string date;
    const int known = analyse::GetReadCondition(program.workspace, kRoom, date);
    if (known < 2) Check(analyse::ShouldReadFolder(program.workspace, program.clock, kRoom, date) == known);

    // Whatever is a place's name, its file is the only one that is reached.
    analyse::ForumPlace place;
    if (!analyse::ParseForumPlace(bytes, place)) return;
    Check(!place.forum.empty() && place.number >= 0);
    Check(analyse::WriteReadCondition(program.workspace, bytes, {"read", ""}) == 0);
    Check(disk.Names("/mail/Setting").size() <= 2 && disk.Names("/mail").size() == 2);
}

void CheckSubject(const std::string& bytes) {
    std::string bare = bytes;
    const int depth = analyse::CountReplyDepth(bare);
    Check(depth >= 0 && bytes.ends_with(bare) && !bare.starts_with(' '));
    std::string reply = bytes;
    analyse::MakeReplySubject(reply, 1);
    Check(analyse::CountReplyDepth(reply) >= 1 || depth >= 99);
    std::string shown = bytes;
    analyse::IndentSubjectByPrefix(shown);
    Check(shown.ends_with(bytes) && shown.size() <= bytes.size() + 10);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = fuzz::SplitInput(data, size, 4);
    CheckCapture(parts[0], parts[1]);
    if (!parts[2].empty()) CheckCondition(parts[2]);
    CheckSubject(parts[3]);
    return 0;
}
