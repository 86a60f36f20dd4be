#include "cli/commands/analyse_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>

#include "cli/application.h"
#include "core/error_text.h"
#include "core/letter_case.h"
#include "core/shift_jis.h"

namespace postkite::cli {

namespace {

/// What an analyser did.
struct Outcome {
    int result = 0;  ///< as it returned
    bool found = false;
    bool complete = false;
};

Outcome AnalyseMails(app::Sessions& sessions, const std::string& name) {
    analyse::MailLogResult mails;
    const int result = sessions.AnalyseMailLog(name, mails);
    // Of a capture that stays only what is stored has been received.
    const int received = result > 0 && !mails.complete ? mails.stored : result;
    return {received, result != -1, mails.complete};
}

Outcome AnalyseMessages(app::Sessions& sessions, const std::string& name) {
    analyse::ForumLogResult messages;
    const int result = sessions.AnalyseForumLog(name, messages);
    return {result, messages.found, messages.complete};
}

struct Analyser {
    const char* command;
    Bilingual about;
    const char* capture;
    /// What any other file is copied to: an analyser removes its file when all is stored, and that must not be
    /// somebody's only copy, or a file that is no capture at all.
    const char* copy;
    Outcome (*run)(app::Sessions& sessions, const std::string& name);
    Bilingual printed;
    const char* key;
};

constexpr Analyser kAnalysers[] = {
    {"mail",
     {"メールのキャプチャを解析する", "Analyse a capture of mails"},
     "maillog.txt",
     "maillog-copy.txt",
     AnalyseMails,
     {"受信したメール: {}\n", "Mails received: {}\n"},
     "mails"},
    {"forum",
     {"会議室のキャプチャを解析する", "Analyse a capture of forum messages"},
     "meslog.txt",
     "meslog-copy.txt",
     AnalyseMessages,
     {"保存した会議室データ: {}\n", "Messages stored: {}\n"},
     "messages"},
};

int RefuseFile(CommandContext& context, const std::string& file, int error) {
    return context.Refuse(
        {"キャプチャファイル {} を開けません。（{}）", "The capture file {} cannot be opened: {}."}, file,
        Utf8Bytes(core::DescribeError(error, context.language())));
}

/// The path as it was typed, or else that of a file of the working directory. 0 or a negated errno value.
int FindFile(CommandContext& context, Session& session, const std::string& typed,
             std::filesystem::path& path) {
    core::EntryKind kind{};
    path = std::filesystem::absolute(typed).lexically_normal();
    const int inspected = context.fileSystem().Inspect(path, kind);
    if (inspected < 0 || kind != core::EntryKind::Missing) return inspected;
    const auto name = Typed(typed);
    if (!name || session.workspace.Inspect(*name, kind) < 0 || kind == core::EntryKind::Missing)
        return -ENOENT;
    return session.workspace.Locate(*name, path);
}

/// Whether the file is the working directory's own of that name.
bool IsOwn(const Session& session, const std::filesystem::path& path, std::string_view name) {
    const auto root = std::filesystem::absolute(session.workspace.root()).lexically_normal();
    const auto relative = path.lexically_relative(root);
    const auto spelled = core::FromUtf8(relative.u8string());
    return spelled && core::EqualIgnoringCase(*spelled, name);
}

int CopyBytes(core::File& source, core::File& copy) {
    constexpr std::size_t kPieceBytes = 256UL * 1024;
    std::vector<char> piece(kPieceBytes);
    int result = copy.Truncate(0);
    for (std::uint64_t offset = 0; result == 0;) {
        const std::int64_t count = source.ReadAt(offset, piece);
        if (count < 0) return static_cast<int>(count);
        if (count == 0) return copy.Sync();
        result = copy.WriteAt(offset, {piece.data(), static_cast<std::size_t>(count)});
        offset += static_cast<std::uint64_t>(count);
    }
    return result;
}

/// Under another name first, so that half a copy is never taken for one.
int CopyInto(CommandContext& context, core::Workspace& workspace, const std::filesystem::path& path,
             const std::string& name) {
    const std::string unfinished = name + ".$$$";
    std::unique_ptr<core::File> source;
    std::unique_ptr<core::File> copy;
    int result = context.fileSystem().Open(path, core::OpenMode::Read, source);
    if (result == 0) result = workspace.Open(unfinished, core::OpenMode::ReadWriteOrCreate, copy);
    if (result < 0) return result;
    result = CopyBytes(*source, *copy);
    copy.reset();
    if (result == 0) result = workspace.Rename(unfinished, name);
    if (result == 0) result = workspace.SyncNames(name);
    if (result < 0) static_cast<void>(workspace.Remove(unfinished));
    return result;
}

/// What is analysed.
struct Capture {
    std::string name;
    bool copied = false;
};

/// Finds what to analyse, and copies it where it is not the working directory's own capture. Returns the exit
/// status.
int TakeFile(CommandContext& context, Session& session, const Analyser& analyser, const std::string& typed,
             Capture& capture) {
    std::filesystem::path path;
    int result = FindFile(context, session, typed, path);
    if (result < 0) return RefuseFile(context, typed, result);
    for (const char* own : {analyser.capture, analyser.copy}) {
        if (!IsOwn(session, path, own)) continue;
        capture.name = own;
        return kDone;
    }
    core::WorkspaceLock lock;
    core::EntryKind kind{};
    capture = {analyser.copy, true};
    result = session.workspace.Lock(true, lock);
    if (result == 0) result = session.workspace.Inspect(capture.name, kind);
    if (result == 0 && kind != core::EntryKind::Missing) {
        return context.Refuse(
            {"前に解析を完了できなかった {} があります。先に解析してください: postkite analyse {} {}",
             "There is {}, which could not be analysed to the end. Analyse it first: "
             "postkite analyse {} {}"},
            capture.name, std::string(analyser.command), capture.name);
    }
    if (result == 0) result = CopyInto(context, session.workspace, path, capture.name);
    return result < 0 ? RefuseFile(context, typed, result) : kDone;
}

int Analyse(CommandContext& context, const Analyser& analyser, const std::string& file) {
    const auto session = context.OpenBank();
    if (session == nullptr) return kRefused;
    app::Sessions& sessions = session->program.sessions();
    Capture capture{analyser.capture};
    if (!file.empty() && TakeFile(context, *session, analyser, file, capture) != kDone) return kRefused;
    const Outcome outcome = analyser.run(sessions, capture.name);
    if (outcome.result == app::Sessions::kRefused) {
        if (capture.copied) static_cast<void>(session->workspace.Remove(capture.name));
        return kRefused;
    }
    if (!outcome.found) {
        std::unique_ptr<core::File> opened;
        const int error = session->workspace.Open(capture.name, core::OpenMode::Read, opened);
        return RefuseFile(context, capture.name, error < 0 ? error : -ENOENT);
    }
    const std::string count = std::to_string(std::max(outcome.result, 0));
    const int printed = context.json ? context.PrintJson({{analyser.key, std::max(outcome.result, 0)}})
                                     : context.Print(analyser.printed.In(context.language(), {count}));
    return outcome.complete ? printed : kRefused;
}

void Add(CLI::App& analyse, CommandContext& context, const Analyser& analyser) {
    auto file = std::make_shared<std::string>();
    CLI::App* command = analyse.add_subcommand(analyser.command, analyser.about.In(context.language()));
    command
        ->add_option(
            "FILE", *file,
            Bilingual{"キャプチャファイル（既定: 作業ディレクトリの {}。すべて保存すると削除する。"
                      "ほかのファイルは写しを解析し、そのまま残す）",
                      "The capture file (default: {} of the working directory, which is removed when all "
                      "is stored; of any other file a copy is analysed, and the file stays)"}
                .In(context.language(), {analyser.capture}))
        ->type_name("");
    command->callback([&context, &analyser, file] {
        context.run = [&context, &analyser, file] { return Analyse(context, analyser, *file); };
    });
}

}  // namespace

void AddAnalyseCommand(CLI::App& application, CommandContext& context) {
    CLI::App* analyse = application.add_subcommand(
        "analyse", Bilingual{"キャプチャを解析し、メールや発言を保存する", "Store what is in a capture"}.In(
                       context.language()));
    analyse->require_subcommand(1);
    for (const Analyser& analyser : kAnalysers)
        Add(*analyse, context, analyser);
}

}  // namespace postkite::cli
