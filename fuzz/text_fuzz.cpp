// Any bytes as text and as a name: conversions come back, steps and cuts stay on characters, and no name
// leaves the working directory.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "core/line_reader.h"
#include "core/shift_jis.h"
#include "core/workspace.h"
#include "tests/support/memory_file_system.h"

namespace {

using namespace postkite;

void CheckConversions(const std::string& text) {
    const std::u8string utf8 = core::ToUtf8(text);
    if (utf8.find(u8"\uFFFD") == std::u8string::npos) {
        const auto back = core::FromUtf8(utf8);
        if (!back || core::ToUtf8(*back) != utf8) std::abort();
    }
    const std::u8string_view typed(reinterpret_cast<const char8_t*>(text.data()), text.size());
    std::size_t refusedAt = typed.size();
    if (const auto stored = core::FromUtf8(typed, &refusedAt)) {
        if (core::FromUtf8(core::ToUtf8(*stored)) != stored) std::abort();
    } else if (refusedAt >= typed.size() || !core::FromUtf8(typed.substr(0, refusedAt))) {
        std::abort();
    }
}

void CheckSteps(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size())
        at += core::CharacterLength(text, at);
    if (at != text.size()) std::abort();
    for (std::size_t length = 0; length <= text.size(); ++length) {
        const std::string_view cut = core::CutToBytes(text, length);
        if (cut.size() > length || cut.size() + 1 < length) std::abort();
    }
}

void CheckName(const std::string& name) {
    support::MemoryFileSystem files;
    files.PutDirectory("/mail");
    core::Workspace workspace(files, "/mail");
    std::filesystem::path path;
    if (workspace.Locate(name, path) < 0) return;
    if (path.native().find("/mail") != 0 || path.lexically_normal() != path) std::abort();
}

/// Reads the bytes as lines in the plainest way and compares.
void CheckLines(const std::string& bytes) {
    support::MemoryFileSystem files;
    files.Put("/file", bytes);
    std::unique_ptr<core::File> file;
    if (files.Open("/file", core::OpenMode::Read, file) != 0) std::abort();
    core::LineReader reader(*file);
    std::string line;
    std::size_t at = 0;
    for (std::size_t end = bytes.find('\r'); end != std::string::npos; end = bytes.find('\r', at)) {
        if (ReadLogLine(reader, line) != 0 || line != bytes.substr(at, end - at)) std::abort();
        // The byte behind the CR, where there is one.
        at = std::min(end + 2, bytes.size());
        if (reader.position() != at) std::abort();
    }
    if (ReadLogLine(reader, line) != -1) std::abort();

    core::LineReader raw(*file);
    std::string all;
    while (ReadRawLine(raw, line) == 0) {
        if (line.find('\n') + 1 != line.size() && all.size() + line.size() != bytes.size()) std::abort();
        all += line;
    }
    if (all != bytes) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    CheckConversions(bytes);
    CheckSteps(bytes);
    CheckName(bytes);
    CheckLines(bytes);
    return 0;
}
