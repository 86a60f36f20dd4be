#include "cli/command_context.h"

#include <cerrno>
#include <cstdio>
#include <istream>
#include <nlohmann/json.hpp>
#include <ostream>

#include "app/surroundings.h"
#include "cli/application.h"
#include "core/error_text.h"
#include "core/positional_file.h"
#include "core/shift_jis.h"

namespace postkite::cli {

Session::Session(core::FileSystem& fileSystem, const std::filesystem::path& directory,
                 const std::filesystem::path& stateDirectory, Console& console, core::Language language,
                 bool yes)
    : workspace(fileSystem, directory),
      programState(fileSystem, stateDirectory),
      ui(console, language, yes),
      program(workspace, programState, ui, clock,
              console.serialPort != nullptr ? *console.serialPort : systemPort) {
}

CommandContext::CommandContext(core::FileSystem& fileSystem, Console& console)
    : fileSystem_(&fileSystem), console_(&console), language_(app::LanguageOf(console.variable)) {
}

std::unique_ptr<Session> CommandContext::NewSession(const std::filesystem::path& path,
                                                    const std::filesystem::path& stateDirectory) {
    return std::make_unique<Session>(*fileSystem_, path, stateDirectory, *console_, language_, yes);
}

std::unique_ptr<Session> CommandContext::OpenDirectory() {
    const auto path = directory ? std::make_optional<std::filesystem::path>(*directory)
                                : app::WorkingDirectory(console_->variable);
    if (!path) {
        static_cast<void>(Refuse({"作業ディレクトリが決まりません。--dir で指定してください。",
                                  "There is no working directory; name one with --dir."}));
        return nullptr;
    }
    auto session = NewSession(*path, app::StateDirectory(console_->variable).value_or(*path));
    const app::OpenedDirectory opened = app::OpenWorkingDirectory(session->workspace, *fileSystem_);
    if (opened.result < 0) {
        static_cast<void>(Refuse(
            {"作業ディレクトリ {} を使用できません。（{}）", "The working directory {} cannot be used: {}."},
            path->string(), Utf8Bytes(core::DescribeError(opened.result, language_))));
        return nullptr;
    }
    if (!opened.settingDirectories.empty()) {
        std::string names;
        for (const std::u8string& spelling : opened.settingDirectories) {
            if (!names.empty()) names += ", ";
            names.append(spelling.begin(), spelling.end());
        }
        static_cast<void>(
            Refuse({"設定のディレクトリがいくつもあります。一つだけ残してください。（{}）",
                    "There is more than one directory of settings; keep only one of them ({})."},
                   names));
        return nullptr;
    }
    return session;
}

std::unique_ptr<Session> CommandContext::Open() {
    auto session = OpenDirectory();
    if (session != nullptr) session->program.Start();
    return session;
}

std::unique_ptr<Session> CommandContext::OpenBank() {
    auto session = Open();
    return session != nullptr && session->program.OpenBank() == 0 ? std::move(session) : nullptr;
}

std::unique_ptr<Session> CommandContext::OpenForChange(core::WorkspaceLock& lock) {
    auto session = OpenDirectory();
    if (session == nullptr) return nullptr;
    int locked = session->workspace.Lock(false, lock);
    if (locked == -EWOULDBLOCK) {
        Remark(
            {"ほかの Postkite の処理が終わるのを待っています…", "Waiting for another Postkite to finish..."});
        locked = session->workspace.Lock(true, lock);
    }
    if (locked < 0) {
        static_cast<void>(Refuse(
            {"作業ディレクトリをロックできません。（{}）", "The working directory cannot be locked: {}."},
            Utf8Bytes(core::DescribeError(locked, language_))));
        return nullptr;
    }
    session->program.Start();
    if (session->program.PrepareChange() < 0) return nullptr;
    return session;
}

/// Fills `bytes`, as far as there are any, from what is no regular file. Returns 0 or a negated errno value.
int CommandContext::ReadStream(const std::string& file, std::string& bytes) {
    const auto close = [](std::FILE* stream) { static_cast<void>(std::fclose(stream)); };
    errno = 0;
    const std::unique_ptr<std::FILE, decltype(close)> stream(std::fopen(file.c_str(), "rb"), close);
    if (stream == nullptr) return errno == 0 ? -EIO : -errno;
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), stream.get()));
    if (std::ferror(stream.get()) == 0) return 0;
    return errno == 0 ? -EIO : -errno;
}

int CommandContext::ReadBytes(const std::string& file, std::size_t longest, std::string& bytes) {
    bytes.resize(longest + 1);
    if (file == "-") {
        console_->in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        bytes.resize(static_cast<std::size_t>(console_->in.gcount()));
        return console_->in.bad() ? -EIO : 0;
    }
    core::EntryKind kind{};
    int result = fileSystem_->Inspect(file, kind);
    if (result == 0 && kind == core::EntryKind::Other) return ReadStream(file, bytes);
    std::unique_ptr<core::File> opened;
    if (result == 0) result = fileSystem_->Open(file, core::OpenMode::Read, opened);
    if (result < 0) return result;
    const std::int64_t count = opened->ReadAt(0, bytes);
    if (count < 0) return static_cast<int>(count);
    bytes.resize(static_cast<std::size_t>(count));
    return 0;
}

std::optional<std::string> CommandContext::TextFile(const std::string& file, std::size_t longest) {
    // Two bytes of the code page take three in UTF-8, and one takes three at most.
    constexpr std::size_t kGrowth = 3;
    std::string bytes;
    const int read = ReadBytes(file, longest * kGrowth, bytes);
    if (read < 0) {
        static_cast<void>(Refuse({"{} を読み込めません。（{}）", "{} cannot be read: {}."}, file,
                                 Utf8Bytes(core::DescribeError(read, language_))));
        return std::nullopt;
    }
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    std::string_view rest = bytes;
    if (rest.starts_with(kByteOrderMark)) rest.remove_prefix(kByteOrderMark.size());
    std::string lines;
    lines.reserve(rest.size());
    for (std::size_t at = 0; at < rest.size(); ++at) {
        const bool lineEnd = rest[at] == '\r' || rest[at] == '\n';
        if (rest[at] == '\r' && at + 1 < rest.size() && rest[at + 1] == '\n') ++at;
        lineEnd ? lines += "\r\n" : lines += rest[at];
    }
    std::string refused;
    // What was not read to its end may end within a character, and is too long anyway.
    auto text = bytes.size() > longest * kGrowth ? std::optional<std::string>(lines) : Typed(lines, &refused);
    if (!text) {
        static_cast<void>(Refuse({"{} に Shift-JIS で表せない文字「{}」があります。",
                                  "{} holds \"{}\", which Shift-JIS has no code for."},
                                 file, refused));
    } else if (text->size() > longest) {
        static_cast<void>(Refuse({"{} が長すぎます。（{} バイトまで）", "{} is too long: at most {} bytes."},
                                 file, std::to_string(longest)));
        text.reset();
    } else if (text->find('\0') != std::string::npos) {
        static_cast<void>(Refuse({"{} にゼロバイトがあります。", "{} holds a zero byte."}, file));
        text.reset();
    }
    return text;
}

int CommandContext::Print(std::string_view text) {
    if (console_->endStatusLine) console_->endStatusLine();
    console_->out << text << std::flush;
    if (console_->out) return kDone;
    return Refuse({"出力に書き込めません。", "Standard output cannot be written."});
}

int CommandContext::PrintJson(const nlohmann::ordered_json& document) {
    constexpr int kIndent = 2;
    return Print(document.dump(kIndent) + "\n");
}

void CommandContext::HintAtBankDirectory(Session& session, int bank) {
    const auto& banks = session.program.settings().mailBoxPathName;
    if (!console_->errIsTerminal || bank < 0 || static_cast<std::size_t>(bank) >= banks.size()) return;
    const std::string& bankDirectory = banks[static_cast<std::size_t>(bank)];
    core::EntryKind kind{};
    std::filesystem::path path;
    if (session.workspace.Inspect(bankDirectory, kind) < 0 || kind != core::EntryKind::Missing) return;
    if (session.workspace.Locate(bankDirectory, path) < 0) return;
    std::string quoted;
    for (const char byte : path.string()) {
        quoted += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
    }
    Remark({"ディレクトリを新しく作るには: mkdir -p '{}'", "To make the directory anew: mkdir -p '{}'"},
           quoted);
}

void CommandContext::Say(std::string_view text) {
    if (console_->endStatusLine) console_->endStatusLine();
    console_->err << core::kProductName << ": " << Visible(text) << '\n';
}

int CommandContext::RefuseWith(std::string_view text) {
    Say(text);
    return kRefused;
}

std::optional<std::string> CommandContext::LineValue(std::string_view what, std::string_view typed,
                                                     std::size_t longest) {
    std::string refused;
    auto value = Typed(typed, &refused);
    if (!value) {
        static_cast<void>(Refuse({"{} の値に Shift-JIS で表せない文字「{}」があります。",
                                  "The value of {} holds \"{}\", which Shift-JIS has no code for."},
                                 what, refused));
        return std::nullopt;
    }
    if (!core::FitsInLine(*value)) {
        static_cast<void>(Refuse({"{} の値に改行やゼロバイトは使えません。",
                                  "The value of {} can hold no line end and no zero byte."},
                                 what));
        return std::nullopt;
    }
    if (value->size() > longest) {
        static_cast<void>(Refuse({"{} の値が長すぎます。（{} バイト、{} バイトまで）",
                                  "The value of {} is too long: {} bytes, at most {}."},
                                 what, std::to_string(value->size()), std::to_string(longest)));
        return std::nullopt;
    }
    return value;
}

}  // namespace postkite::cli
