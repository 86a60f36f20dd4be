// A script file as somebody wrote it: what is read keeps within the tables, comes back from the form in which
// it is shown, and can be loaded.

#include "comm/script_file.h"
#include "core/shift_jis.h"
#include "fuzz/fuzz_program.h"

namespace postkite {

namespace {

using fuzz::Check;

void CheckProblems(const std::vector<comm::ScriptProblem>& problems, int lastLine) {
    for (const comm::ScriptProblem& problem : problems) {
        Check(problem.line >= 1 && problem.line <= lastLine);
        Check(!DescribeScriptProblem(problem, core::Language::Japanese).empty());
        Check(!DescribeScriptProblem(problem, core::Language::English).empty());
    }
}

void CheckLines(const comm::ScriptFile& file) {
    int lastFileLine = 0;
    Check(file.lines.front().empty());
    for (std::size_t number = 0; number < file.lines.size(); ++number) {
        const std::string& line = file.lines.at(number);
        Check(line.size() <= comm::kLongestScriptLine && line.find('\0') == std::string::npos);
        const int fileLine = file.fileLines.at(number);
        Check(line.empty() || fileLine > 0);
        if (fileLine == 0) continue;
        Check(fileLine > lastFileLine && fileLine <= file.lastFileLine);
        lastFileLine = fileLine;
    }
}

void CheckLoading(const comm::ScriptLines& lines, const std::string& route) {
    comm::WorkingScript script;
    script.Load(lines, route);
    for (int number = 0; number < comm::kScriptLines; ++number) {
        const std::string& line = script.line(number);
        Check(line == lines.at(static_cast<std::size_t>(number)));
        const comm::ScriptFields fields = comm::SplitLine(line, route);
        Check(fields.command.empty() == line.empty());
        Check(line.starts_with(fields.command) && line.ends_with(fields.second));
        const int found = script.LineOf(fields.command.substr(0, comm::kLongestLabel));
        Check(found >= -1 && found <= number);
        if (comm::EndsScript(line)) break;
    }
}

}  // namespace

}  // namespace postkite

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace postkite;
    const std::u8string text(data, data + size);
    comm::ScriptFile file;
    const auto unread = ParseScript(text, file);
    CheckLines(file);
    CheckProblems(unread, file.lastFileLine);
    CheckProblems(CheckScript(file), file.lastFileLine);
    CheckLoading(file.lines, "2");
    CheckLoading(file.lines, "5");
    comm::ScriptFile again;
    fuzz::Check(ParseScript(comm::FormatScript(file.lines), again).empty());
    fuzz::Check(again.lines == file.lines);
    return 0;
}
